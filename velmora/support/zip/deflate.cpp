#include "velmora/support/zip/deflate.h"

#include <algorithm>
#include <bit>

#include "velmora/support/core/pod_array.h"
#include "velmora/support/zip/internal/block_writer.h"
#include "velmora/support/zip/internal/match_finder.h"

namespace velmora {
namespace {

using namespace deflate;

/// Links of a hash chain that are followed for a match, and for one that must beat a good one.
constexpr unsigned kSteps = 64;
constexpr unsigned kFewSteps = 16;
constexpr unsigned kGoodLength = 8;
/// A match of this length is taken without looking for a better one.
constexpr unsigned kLongEnough = 32;
/// What a match one byte later must be ahead by, in about quarters of a byte.
constexpr int kLazyThreshold = 2;

/// x times the binary logarithm of x, in units of 2^-16 bits: exact at powers of two, within a
/// hundredth of a bit between them.
uint64_t timesLog2(uint32_t x) noexcept {
  if (x < 2) return 0;
  const auto whole = static_cast<unsigned>(std::bit_width(x)) - 1;
  const uint64_t m = ((uint64_t{x} << 16) >> whole) - 65536;  // log2(1 + m) = m + 0.344 m (1 - m)
  return x * ((uint64_t{whole} << 16) + m + (m * (65536 - m) >> 16) * 22544 / 65536);
}

/// Bits that an ideal code takes for symbols that occur so often.
uint64_t idealBits(std::span<const uint32_t> counts) noexcept {
  uint32_t total = 0;
  uint64_t bits = 0;
  for (const uint32_t count : counts) {
    total += count;
    bits += timesLog2(count);
  }
  return (timesLog2(total) - std::min(bits, timesLog2(total))) >> 16;
}

uint64_t idealBits(const SymbolCounts& counts) noexcept {
  return idealBits(counts.literals) + idealBits(counts.distances);
}

/// Collects symbols and cuts them into blocks: symbols come in chunks, and a chunk starts a block
/// of its own when codes made for it alone save more than their header costs.
class BlockBuilder {
 public:
  BlockBuilder(std::span<const unsigned char> in, DataBuffer& out) noexcept
      : m_in(in), m_out(out) {}

  bool init() noexcept { return m_symbols.reserve(std::min(m_in.size() + 1, kMaxSymbols)); }

  /// Adds a symbol for the next bytes of the input.
  bool add(Symbol symbol) noexcept {
    m_symbols.push_back(symbol);
    m_chunk.add(symbol);
    m_position += std::max(1U, lengthOf(symbol));
    return m_symbols.size() - m_chunkStart < kChunkSymbols || endChunk();
  }

  /// Writes what is left, as the final block.
  bool finish() noexcept { return endChunk() && writeFirst(m_symbols.size(), m_position, true); }

 private:
  static constexpr size_t kChunkSymbols = 4096;
  static constexpr size_t kMaxSymbols = 16 * kChunkSymbols;
  static constexpr uint64_t kHeaderBits = 500;  // of a block with its own codes, about

  /// Decides whether the chunk goes on with the block or starts the next one.
  bool endChunk() noexcept {
    SymbolCounts both = m_block;
    both.add(m_chunk);
    const uint64_t bothBits = idealBits(both), chunkBits = idealBits(m_chunk);
    if (m_blockBits + chunkBits + kHeaderBits < bothBits) {
      if (!writeFirst(m_chunkStart, m_chunkPosition, false)) return false;
      m_block = m_chunk;
      m_blockBits = chunkBits;
    } else {
      m_block = both;
      m_blockBits = bothBits;
    }
    m_chunk = SymbolCounts();
    if (m_symbols.size() + kChunkSymbols > kMaxSymbols &&
        !writeFirst(m_symbols.size(), m_position, false)) {
      return false;
    }
    m_chunkStart = m_symbols.size();
    m_chunkPosition = m_position;
    return true;
  }

  /// Writes the first symbols, which stand for the input up to `position`, as a block.
  bool writeFirst(size_t count, size_t position, bool final) noexcept {
    const std::span<const Symbol> symbols(m_symbols.data(), count);
    const auto source = m_in.subspan(m_blockPosition, position - m_blockPosition);
    if (!writeBlock(symbols, m_block, source, final, m_out)) return false;
    std::copy(m_symbols.begin() + count, m_symbols.end(), m_symbols.begin());
    m_symbols.truncate(m_symbols.size() - count);
    m_block = SymbolCounts();
    m_blockBits = 0;
    m_blockPosition = position;
    return true;
  }

  std::span<const unsigned char> m_in;
  BitWriter m_out;
  PodArray<Symbol> m_symbols;  // of the block, then of the chunk
  SymbolCounts m_block;
  SymbolCounts m_chunk;
  uint64_t m_blockBits = 0;
  size_t m_blockPosition = 0;  // where in the input the block starts
  size_t m_chunkStart = 0;     // how many symbols are the block's
  size_t m_chunkPosition = 0;  // where in the input the chunk starts
  size_t m_position = 0;       // how much of the input the symbols stand for
};

/// True when a literal and then `next`, a longer match one byte later, beat `match`: the additional
/// bytes that it covers must be worth the additional bits of a greater distance.
bool isWorthALiteral(const Match& match, const Match& next) noexcept {
  const int longer = static_cast<int>(next.length) - static_cast<int>(match.length);
  const int farther = static_cast<int>(std::bit_width(next.distance)) -
                      static_cast<int>(std::bit_width(match.distance));
  return next.length != 0 && 4 * longer - farther > kLazyThreshold;
}

/// Lazy matching: a match is taken when the next position has no better one.
bool compress(std::span<const unsigned char> in, DataBuffer& out) noexcept {
  MatchFinder finder(in);
  BlockBuilder blocks(in, out);
  if (!finder.init() || !blocks.init()) return false;
  Match match = finder.find(0, 0, kSteps);
  for (size_t position = 0; position < in.size();) {
    size_t entered = position + 1;
    Match next;
    if (match.length < kLongEnough) {
      next = finder.find(entered++, match.length, match.length < kGoodLength ? kSteps : kFewSteps);
    }
    if (match.length == 0 || isWorthALiteral(match, next)) {
      if (!blocks.add(literalSymbol(in[position++]))) return false;
      match = next;
      continue;
    }
    if (!blocks.add(matchSymbol(match.length, match.distance))) return false;
    position += match.length;
    while (entered < position) finder.insert(entered++);
    match = finder.find(position, 0, kSteps);
  }
  return blocks.finish();
}

}  // namespace

bool deflateRaw(std::span<const unsigned char> in, DataBuffer& out) noexcept {
  const size_t start = out.size();
  if (compress(in, out)) return true;
  out.truncate(start);
  return false;
}

}  // namespace velmora

#include "velmora/support/zip/internal/block_writer.h"

#include <algorithm>

#include "velmora/support/zip/internal/huffman_code.h"

namespace velmora::deflate {
namespace {

/// A pair of codes for the symbols of a block.
struct BlockCodes {
  std::array<uint8_t, kFixedLiteralSymbols> literalLengths;
  std::array<uint16_t, kFixedLiteralSymbols> literalWords;
  std::array<uint8_t, kFixedDistanceSymbols> distanceLengths;
  std::array<uint16_t, kFixedDistanceSymbols> distanceWords;

  void makeWords() noexcept {
    makeCodeWords(literalLengths, literalWords);
    makeCodeWords(distanceLengths, distanceWords);
  }
};

BlockCodes fixedCodes() noexcept {
  BlockCodes codes;
  codes.literalLengths = kFixedLiteralLengths;
  codes.distanceLengths = kFixedDistanceLengths;
  return codes;
}

BlockCodes codesFor(const SymbolCounts& counts) noexcept {
  BlockCodes codes{};
  makeCodeLengths(counts.literals, kMaxCodeLength,
                  std::span(codes.literalLengths).first<kLiteralSymbols>());
  makeCodeLengths(counts.distances, kMaxCodeLength,
                  std::span(codes.distanceLengths).first<kDistanceSymbols>());
  return codes;
}

/// Bits of the symbols under a pair of codes.
uint64_t symbolBits(const SymbolCounts& counts, const BlockCodes& codes) noexcept {
  uint64_t bits = 0;
  for (size_t i = 0; i < kLiteralSymbols; ++i) {
    const unsigned extra =
        i < kFirstLengthSymbol ? 0 : kLengthRanges[i - kFirstLengthSymbol].extraBits;
    bits += uint64_t{counts.literals[i]} * (codes.literalLengths[i] + extra);
  }
  for (size_t i = 0; i < kDistanceSymbols; ++i) {
    bits +=
        uint64_t{counts.distances[i]} * (codes.distanceLengths[i] + kDistanceRanges[i].extraBits);
  }
  return bits;
}

/// The header of a block with its own codes (RFC 1951 §3.2.7).
class CodesHeader {
 public:
  explicit CodesHeader(const BlockCodes& codes) noexcept {
    m_literals = sizeWithoutZeros(std::span(codes.literalLengths).first<kLiteralSymbols>(),
                                  kFirstLengthSymbol);
    m_distances = sizeWithoutZeros(std::span(codes.distanceLengths).first<kDistanceSymbols>(), 1);
    uint8_t lengths[kLiteralSymbols + kDistanceSymbols];
    std::copy_n(codes.literalLengths.begin(), m_literals, lengths);
    std::copy_n(codes.distanceLengths.begin(), m_distances, lengths + m_literals);
    shorten({lengths, m_literals + m_distances});
    makeCodeLengths(m_frequencies, kMaxCodeLengthCodeLength, m_lengths);
    while (m_sent > 4 && m_lengths[kCodeLengthOrder[m_sent - 1]] == 0) --m_sent;
  }

  uint64_t bits() const noexcept {
    uint64_t bits = 5 + 5 + 4 + 3 * m_sent;
    for (size_t i = 0; i < m_itemCount; ++i) {
      bits += m_lengths[m_items[i].symbol] + repeatBits(m_items[i].symbol);
    }
    return bits;
  }

  void write(BitWriter& out) const noexcept {
    out.put(m_literals - kFirstLengthSymbol, 5);
    out.put(m_distances - 1, 5);
    out.put(m_sent - 4, 4);
    for (size_t i = 0; i < m_sent; ++i) out.put(m_lengths[kCodeLengthOrder[i]], 3);
    std::array<uint16_t, kCodeLengthSymbols> words;
    makeCodeWords(m_lengths, words);
    for (size_t i = 0; i < m_itemCount; ++i) {
      const Item item = m_items[i];
      out.put(words[item.symbol], m_lengths[item.symbol]);
      out.put(item.repeat, repeatBits(item.symbol));
    }
  }

 private:
  static constexpr uint8_t kRepeatLast = 16;      // 3 to 6 times
  static constexpr uint8_t kRepeatZero = 17;      // 3 to 10 times
  static constexpr uint8_t kRepeatZeroLong = 18;  // 11 to 138 times

  struct Item {
    uint8_t symbol;
    uint8_t repeat;  // as it is sent: above the least that the symbol stands for
  };

  static size_t sizeWithoutZeros(std::span<const uint8_t> lengths, size_t least) noexcept {
    size_t size = lengths.size();
    while (size > least && lengths[size - 1] == 0) --size;
    return size;
  }

  static unsigned repeatBits(uint8_t symbol) noexcept {
    return symbol == kRepeatLast       ? 2
           : symbol == kRepeatZero     ? 3
           : symbol == kRepeatZeroLong ? 7
                                       : 0;
  }

  void add(uint8_t symbol, size_t repeat) noexcept {
    m_items[m_itemCount++] = {symbol, static_cast<uint8_t>(repeat)};
    ++m_frequencies[symbol];
  }

  /// Turns the lengths into items, runs of equal ones into repetitions.
  void shorten(std::span<const uint8_t> lengths) noexcept {
    for (size_t i = 0; i < lengths.size();) {
      const uint8_t length = lengths[i];
      size_t run = 1;
      while (i + run < lengths.size() && lengths[i + run] == length) ++run;
      i += run;
      length == 0 ? addZeros(run) : addRun(length, run);
    }
  }

  void addZeros(size_t run) noexcept {
    while (run >= 3) {
      const size_t taken = std::min<size_t>(run, 138);
      taken >= 11 ? add(kRepeatZeroLong, taken - 11) : add(kRepeatZero, taken - 3);
      run -= taken;
    }
    for (; run != 0; --run) add(0, 0);
  }

  void addRun(uint8_t length, size_t run) noexcept {
    add(length, 0);
    for (--run; run >= 3;) {
      const size_t taken = std::min<size_t>(run, 6);
      add(kRepeatLast, taken - 3);
      run -= taken;
    }
    for (; run != 0; --run) add(length, 0);
  }

  size_t m_literals;
  size_t m_distances;
  size_t m_sent = kCodeLengthSymbols;
  std::array<Item, kLiteralSymbols + kDistanceSymbols> m_items;
  size_t m_itemCount = 0;
  std::array<uint32_t, kCodeLengthSymbols> m_frequencies{};
  std::array<uint8_t, kCodeLengthSymbols> m_lengths;
};

constexpr unsigned kBlockHeaderBits = 3;

void writeBlockHeader(unsigned type, bool final, BitWriter& out) noexcept {
  out.put((final ? 1U : 0U) | type << 1, kBlockHeaderBits);
}

void writeSymbols(std::span<const Symbol> symbols, const BlockCodes& codes,
                  BitWriter& out) noexcept {
  for (const Symbol symbol : symbols) {
    const unsigned length = lengthOf(symbol);
    if (length == 0) {
      out.put(codes.literalWords[symbol], codes.literalLengths[symbol]);
      continue;
    }
    // Both code words and their extra bits, 48 at the most, go out in one piece.
    const unsigned lengthCode = kLengthCodes[length];
    const size_t lengthSymbol = kFirstLengthSymbol + lengthCode;
    uint64_t bits = codes.literalWords[lengthSymbol];
    unsigned count = codes.literalLengths[lengthSymbol];
    bits |= uint64_t{length - kLengthRanges[lengthCode].base} << count;
    count += kLengthRanges[lengthCode].extraBits;
    const unsigned distance = distanceCode(distanceOf(symbol));
    bits |= uint64_t{codes.distanceWords[distance]} << count;
    count += codes.distanceLengths[distance];
    bits |= uint64_t{distanceOf(symbol) - kDistanceRanges[distance].base} << count;
    out.put(bits, count + kDistanceRanges[distance].extraBits);
  }
  out.put(codes.literalWords[kEndOfBlock], codes.literalLengths[kEndOfBlock]);
}

/// Bits of a stored block, or of as many as the source needs, at most.
uint64_t storedBits(size_t size) noexcept {
  const uint64_t blocks = std::max<uint64_t>(1, (size + kMaxStoredLength - 1) / kMaxStoredLength);
  return blocks * (kBlockHeaderBits + 7 + 32) + uint64_t{size} * 8;
}

void writeStored(std::span<const unsigned char> source, bool final, BitWriter& out) noexcept {
  do {
    const size_t length = std::min(source.size(), kMaxStoredLength);
    writeBlockHeader(kStoredBlock, final && length == source.size(), out);
    out.alignToByte();
    out.put(length | (length ^ 0xffff) << 16, 32);
    if (length != 0) out.putBytes(source.data(), length);
    source = source.subspan(length);
  } while (!source.empty());
}

}  // namespace

bool writeBlock(std::span<const Symbol> symbols, SymbolCounts counts,
                std::span<const unsigned char> source, bool final, BitWriter& out) noexcept {
  counts.literals[kEndOfBlock] = 1;
  BlockCodes own = codesFor(counts);
  BlockCodes fixed = fixedCodes();
  const CodesHeader header(own);
  const uint64_t ownBits = kBlockHeaderBits + header.bits() + symbolBits(counts, own);
  const uint64_t fixedBits = kBlockHeaderBits + symbolBits(counts, fixed);
  const uint64_t codedBits = std::min(ownBits, fixedBits);
  const uint64_t rawBits = storedBits(source.size());
  if (!out.begin(std::min(codedBits, rawBits))) return false;
  if (rawBits < codedBits) {
    writeStored(source, final, out);
  } else {
    const bool useFixed = fixedBits <= ownBits;
    writeBlockHeader(useFixed ? kFixedBlock : kDynamicBlock, final, out);
    if (!useFixed) header.write(out);
    BlockCodes& codes = useFixed ? fixed : own;
    codes.makeWords();
    writeSymbols(symbols, codes, out);
  }
  if (final) out.alignToByte();
  out.end();
  return true;
}

}  // namespace velmora::deflate

#include "velmora/support/zip/inflate.h"

#include <algorithm>
#include <cstring>

#include "velmora/support/core/words.h"
#include "velmora/support/zip/internal/bit_reader.h"
#include "velmora/support/zip/internal/decode_table.h"
#include "velmora/support/zip/internal/deflate_format.h"
#include "velmora/support/zip/internal/output_space.h"

namespace velmora {
namespace {

using namespace deflate;

using LiteralTable = DecodeTable<11, kFixedLiteralSymbols>;
using DistanceTable = DecodeTable<8, kFixedDistanceSymbols>;
using CodeLengthTable = DecodeTable<kMaxCodeLengthCodeLength, kCodeLengthSymbols>;

constexpr std::array<uint32_t, kFixedLiteralSymbols> kLiteralMeanings = [] {
  std::array<uint32_t, kFixedLiteralSymbols> meanings{};
  meanings.fill(decode_entry::make(0, 0, decode_entry::kInvalid));
  for (uint32_t i = 0; i < kEndOfBlock; ++i) {
    meanings[i] = decode_entry::make(i, 0, decode_entry::kLiteral);
  }
  meanings[kEndOfBlock] = decode_entry::make(0, 0, decode_entry::kEnd);
  for (size_t i = 0; i < kLengthRanges.size(); ++i) {
    meanings[kFirstLengthSymbol + i] =
        decode_entry::make(kLengthRanges[i].base, kLengthRanges[i].extraBits);
  }
  return meanings;
}();

constexpr std::array<uint32_t, kFixedDistanceSymbols> kDistanceMeanings = [] {
  std::array<uint32_t, kFixedDistanceSymbols> meanings{};
  meanings.fill(decode_entry::make(0, 0, decode_entry::kInvalid));
  for (size_t i = 0; i < kDistanceRanges.size(); ++i) {
    meanings[i] = decode_entry::make(kDistanceRanges[i].base, kDistanceRanges[i].extraBits);
  }
  return meanings;
}();

constexpr std::array<uint32_t, kCodeLengthSymbols> kCodeLengthMeanings = [] {
  std::array<uint32_t, kCodeLengthSymbols> meanings{};
  for (uint32_t i = 0; i < kCodeLengthSymbols; ++i) meanings[i] = decode_entry::make(i, 0);
  return meanings;
}();

struct BlockTables {
  LiteralTable literals;
  DistanceTable distances;
};

/// Built once, so that a stream of many short fixed blocks costs no more than its length.
const BlockTables& fixedTables() noexcept {
  static const BlockTables tables = [] {
    BlockTables fixed;
    fixed.literals.build(kFixedLiteralLengths, kLiteralMeanings.data(), IncompleteCode::kRefuse);
    fixed.distances.build(kFixedDistanceLengths, kDistanceMeanings.data(), IncompleteCode::kRefuse);
    return fixed;
  }();
  return tables;
}

/// Copies a match whose source may overlap its target, byte by byte in effect. May write up to
/// kCopySlack bytes beyond the match.
constexpr size_t kCopySlack = 8;

inline void copyMatchWithSlack(unsigned char* to, size_t distance, size_t length) noexcept {
  const unsigned char* from = to - distance;
  if (distance == 1) {
    std::memset(to, *from, length);
  } else if (distance >= 8) {
    for (unsigned char* end = to + length; to < end; to += 8, from += 8) std::memcpy(to, from, 8);
  } else {
    for (; length != 0; --length) *to++ = *from++;
  }
}

void copyMatchExactly(unsigned char* to, size_t distance, size_t length) noexcept {
  for (; length != 0; --length, ++to) *to = *(to - distance);
}

class Inflater {
 public:
  Inflater(std::span<const unsigned char> in, size_t window, OutputSpace& out) noexcept
      : m_in(in), m_window(window), m_out(out) {}

  /// All blocks up to the final one.
  InflateResult run() noexcept {
    for (bool final = false; !final;) {
      m_in.refill();
      final = m_in.take(1) != 0;
      const InflateResult result = block(m_in.take(2));
      if (result != InflateResult::kOk) return result;
    }
    m_in.alignToByte();
    return InflateResult::kOk;
  }

  size_t bytesLeft() const noexcept { return m_in.bytesLeft(); }

 private:
  InflateResult block(unsigned type) noexcept {
    if (m_in.overrun()) return InflateResult::kTruncated;
    switch (type) {
      case kStoredBlock:
        return storedBlock();
      case kFixedBlock:
        return codedBlock(fixedTables());
      case kDynamicBlock: {
        const InflateResult result = readTables();
        return result == InflateResult::kOk ? codedBlock(m_tables) : result;
      }
      default:
        return InflateResult::kBadBlockType;
    }
  }

  InflateResult storedBlock() noexcept {
    m_in.alignToByte();
    if (m_in.bytesLeft() < 4) return InflateResult::kTruncated;
    const uint32_t lengths = loadLittleEndian<uint32_t>(m_in.takeBytes(4));
    const size_t length = lengths & 0xffff;
    if ((lengths >> 16 ^ length) != 0xffff) return InflateResult::kBadStoredLength;
    if (length > m_in.bytesLeft()) return InflateResult::kTruncated;
    const InflateResult room = m_out.ensure(length);
    if (room != InflateResult::kOk || length == 0) return room;
    std::memcpy(m_out.next(), m_in.takeBytes(length), length);
    m_out.advance(length);
    return InflateResult::kOk;
  }

  /// The header of a dynamic block (§3.2.7).
  InflateResult readTables() noexcept {
    m_in.refill();
    const size_t literals = m_in.take(5) + kFirstLengthSymbol;
    const size_t distances = m_in.take(5) + 1;
    const size_t codeLengths = m_in.take(4) + 4;
    if (literals > kLiteralSymbols || distances > kDistanceSymbols) {
      return InflateResult::kBadCodeLengths;
    }
    uint8_t lengths[kLiteralSymbols + kDistanceSymbols] = {};
    for (size_t i = 0; i < codeLengths; ++i) {
      m_in.refill();
      lengths[kCodeLengthOrder[i]] = static_cast<uint8_t>(m_in.take(3));
    }
    CodeLengthTable table;
    if (!table.build({lengths, kCodeLengthSymbols}, kCodeLengthMeanings.data(),
                     IncompleteCode::kRefuse)) {
      return m_in.overrun() ? InflateResult::kTruncated : InflateResult::kBadCodeLengths;
    }
    const InflateResult result = readLengths(table, {lengths, literals + distances});
    if (result != InflateResult::kOk) return result;
    const std::span<const uint8_t> all(lengths, literals + distances);
    // A block that has no code word for its end is refused.
    const bool good = all[kEndOfBlock] != 0 &&
                      m_tables.literals.build(all.first(literals), kLiteralMeanings.data(),
                                              IncompleteCode::kAllowOneSymbol) &&
                      m_tables.distances.build(all.subspan(literals), kDistanceMeanings.data(),
                                               IncompleteCode::kAllowOneOrNone);
    return good ? InflateResult::kOk : InflateResult::kBadCodeLengths;
  }

  /// Run-length coded code lengths: 0 to 15 themselves, 16 repeats the last one, 17 and 18 zeros.
  InflateResult readLengths(const CodeLengthTable& table, std::span<uint8_t> lengths) noexcept {
    for (size_t i = 0; i < lengths.size();) {
      m_in.refill();
      const uint32_t entry = table.lookup(m_in.bits());
      m_in.drop(decode_entry::codeBits(entry));
      const uint32_t symbol = decode_entry::value(entry);
      size_t repeat = 1;
      uint8_t length = 0;
      if (symbol < 16) {
        length = static_cast<uint8_t>(symbol);
      } else if (symbol == 16) {
        if (i == 0) return InflateResult::kBadCodeLengths;
        length = lengths[i - 1];
        repeat = 3 + m_in.take(2);
      } else {
        repeat = symbol == 17 ? 3 + m_in.take(3) : 11 + m_in.take(7);
      }
      if (m_in.overrun()) return InflateResult::kTruncated;
      if (repeat > lengths.size() - i) return InflateResult::kBadCodeLengths;
      std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(i), repeat, length);
      i += repeat;
    }
    return InflateResult::kOk;
  }

  InflateResult codedBlock(const BlockTables& tables) noexcept {
    bool end = false;
    while (!end) {
      InflateResult result = fastSymbols(tables, end);
      if (result == InflateResult::kOk && !end) result = carefulSymbol(tables, end);
      if (result != InflateResult::kOk) return result;
    }
    return InflateResult::kOk;
  }

  /// The symbol at the front of the stream, both steps of it; its extra bits are not taken yet.
  template <class Table>
  static uint32_t decode(BitReader& in, const Table& table) noexcept {
    uint32_t entry = table.lookup(in.bits());
    if ((entry & decode_entry::kLink) != 0) {
      in.drop(Table::kLinkBits);
      entry = table.lookupSecond(entry, in.bits());
    }
    in.drop(decode_entry::codeBits(entry));
    return entry;
  }

  static size_t takeValue(BitReader& in, uint32_t entry) noexcept {
    return decode_entry::value(entry) + in.take(decode_entry::extraBits(entry));
  }

  bool distanceFits(size_t distance, size_t produced) const noexcept {
    return distance <= produced && distance <= m_window;
  }

  /// Decodes while neither the end of the input nor that of the output's space is near, so that
  /// single steps need no such checks. Sets `end` at the end of the block.
  InflateResult fastSymbols(const BlockTables& tables, bool& end) noexcept {
    // Two refills a turn; two literals and a match.
    constexpr size_t kInputMargin = 2 * BitReader::kWordSize;
    constexpr size_t kOutputMargin = 2 + kMaxMatch + kCopySlack;
    if (m_in.bytesLeft() < kInputMargin || m_out.room() < kOutputMargin) return InflateResult::kOk;

    BitReader in = m_in;  // in registers during the loop
    unsigned char* const first = m_out.next();
    unsigned char* const last = first + (m_out.room() - kOutputMargin);
    unsigned char* next = first;
    const size_t before = m_out.produced();
    InflateResult result = InflateResult::kOk;
    while (in.bytesLeft() >= kInputMargin && next <= last) {
      in.refillFromWord();
      uint32_t entry = decode(in, tables.literals);
      for (int literals = 0; literals < 2 && (entry & decode_entry::kLiteral) != 0; ++literals) {
        *next++ = static_cast<unsigned char>(decode_entry::value(entry));
        entry = decode(in, tables.literals);
      }
      if ((entry & decode_entry::kNoMatch) != 0) {
        if ((entry & decode_entry::kLiteral) != 0) {
          *next++ = static_cast<unsigned char>(decode_entry::value(entry));
          continue;
        }
        end = (entry & decode_entry::kEnd) != 0;
        if (!end) result = InflateResult::kBadSymbol;
        break;
      }
      // Three code words took up to 45 bits; length, distance and their extra bits may take 48.
      const size_t length = takeValue(in, entry);
      in.refillFromWord();
      const uint32_t distanceEntry = decode(in, tables.distances);
      if ((distanceEntry & decode_entry::kInvalid) != 0) {
        result = InflateResult::kBadSymbol;
        break;
      }
      const size_t distance = takeValue(in, distanceEntry);
      if (!distanceFits(distance, before + static_cast<size_t>(next - first))) {
        result = InflateResult::kBadDistance;
        break;
      }
      copyMatchWithSlack(next, distance, length);
      next += length;
    }
    m_out.advance(static_cast<size_t>(next - first));
    m_in = in;
    return result;
  }

  /// Decodes one literal or match with every check.
  InflateResult carefulSymbol(const BlockTables& tables, bool& end) noexcept {
    m_in.refill();
    const uint32_t entry = decode(m_in, tables.literals);
    const bool literal = (entry & decode_entry::kLiteral) != 0;
    const size_t length = literal ? 1 : takeValue(m_in, entry);
    if (m_in.overrun()) return InflateResult::kTruncated;
    if ((entry & decode_entry::kInvalid) != 0) return InflateResult::kBadSymbol;
    end = (entry & decode_entry::kEnd) != 0;
    if (end) return InflateResult::kOk;
    size_t distance = 0;
    if (!literal) {
      m_in.refill();
      const uint32_t distanceEntry = decode(m_in, tables.distances);
      distance = takeValue(m_in, distanceEntry);
      if (m_in.overrun()) return InflateResult::kTruncated;
      if ((distanceEntry & decode_entry::kInvalid) != 0) return InflateResult::kBadSymbol;
      if (!distanceFits(distance, m_out.produced())) return InflateResult::kBadDistance;
    }
    const InflateResult room = m_out.ensure(length);
    if (room != InflateResult::kOk) return room;
    if (literal) {
      *m_out.next() = static_cast<unsigned char>(decode_entry::value(entry));
    } else {
      copyMatchExactly(m_out.next(), distance, length);
    }
    m_out.advance(length);
    return InflateResult::kOk;
  }

  BitReader m_in;
  const size_t m_window;
  OutputSpace& m_out;
  BlockTables m_tables;
};

}  // namespace

const char* inflateResultText(InflateResult result) noexcept {
  switch (result) {
    case InflateResult::kOk:
      return "success";
    case InflateResult::kTruncated:
      return "the compressed data ends too early";
    case InflateResult::kBadHeader:
      return "no zlib header";
    case InflateResult::kBadBlockType:
      return "reserved block type";
    case InflateResult::kBadStoredLength:
      return "the lengths of a stored block differ";
    case InflateResult::kBadCodeLengths:
      return "invalid code lengths";
    case InflateResult::kBadSymbol:
      return "invalid code word";
    case InflateResult::kBadDistance:
      return "a distance reaches too far back";
    case InflateResult::kBadChecksum:
      return "wrong Adler-32 checksum";
    case InflateResult::kTrailingBytes:
      return "bytes after the end of the compressed data";
    case InflateResult::kTooLarge:
      return "the output is larger than allowed";
    case InflateResult::kOutOfMemory:
      return "out of memory";
  }
  return "unknown result";
}

InflateResult inflateRaw(std::span<const unsigned char> in, size_t maxOutput, DataBuffer& out,
                         size_t& used, size_t window) noexcept {
  OutputSpace space(out, maxOutput);
  // Most streams expand less than this; a small input never gets much memory at once.
  InflateResult result = space.ensure(std::min(maxOutput, in.size() * 4));
  Inflater inflater(in, window, space);
  if (result == InflateResult::kOk) result = inflater.run();
  space.finish(result == InflateResult::kOk);
  used = in.size() - inflater.bytesLeft();
  return result;
}

}  // namespace velmora

#pragma once

// The tables by which prefix codes are decoded.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/zip/internal/deflate_format.h"

namespace velmora::deflate {

/// One step of decoding, packed into 32 bits: how many bits to drop, and what they stand for.
namespace decode_entry {

inline constexpr uint32_t kLiteral = 1U << 31;
inline constexpr uint32_t kLink = 1U << 30;     // to a second table
inline constexpr uint32_t kEnd = 1U << 29;      // end of block
inline constexpr uint32_t kInvalid = 1U << 28;  // a code word that stands for nothing
inline constexpr uint32_t kNoMatch = kLiteral | kLink | kEnd | kInvalid;

/// `value` is a literal, the base of a length or distance, or the start of a second table;
/// `extraBits` counts the bits to add to the base, or to index the second table with.
constexpr uint32_t make(uint32_t value, unsigned extraBits, uint32_t flags = 0) noexcept {
  return flags | value << 8 | extraBits << 4;
}
constexpr unsigned codeBits(uint32_t entry) noexcept {
  return entry & 15;
}
constexpr unsigned extraBits(uint32_t entry) noexcept {
  return entry >> 4 & 15;
}
constexpr uint32_t value(uint32_t entry) noexcept {
  return entry >> 8 & 0xffff;
}

}  // namespace decode_entry

/// What to accept beside complete codes, in which every sequence of bits leads to a symbol.
enum class IncompleteCode { kRefuse, kAllowOneSymbol, kAllowOneOrNone };

/// Decoding table of a canonical Huffman code (RFC 1951 §3.2.2): the next kPrimaryBits bits of the
/// stream index it; longer codes go on in second tables behind the primary one.
template <unsigned kPrimaryBits, size_t kSymbols>
class DecodeTable {
 public:
  /// Bits to drop before a link is followed.
  static constexpr unsigned kLinkBits = kPrimaryBits;

  /// Builds the table for one code length per symbol, 0 for symbols that do not occur. `meanings`
  /// holds the entry of each symbol, without its code length. False when the lengths form no code,
  /// or one that is incomplete beyond what is allowed.
  bool build(std::span<const uint8_t> lengths, const uint32_t* meanings,
             IncompleteCode incomplete) noexcept;

  uint32_t lookup(uint64_t bits) const noexcept {
    return m_entries[static_cast<size_t>(bits & kPrimaryMask)];
  }

  /// The entry that `link` leads to, once the primary bits are dropped from `bits`.
  uint32_t lookupSecond(uint32_t link, uint64_t bits) const noexcept {
    const uint64_t index = bits & ((uint64_t{1} << decode_entry::extraBits(link)) - 1);
    return m_entries[decode_entry::value(link) + static_cast<size_t>(index)];
  }

 private:
  static constexpr size_t kPrimarySize = size_t{1} << kPrimaryBits;
  static constexpr uint64_t kPrimaryMask = kPrimarySize - 1;
  // In a complete code the words that share their first kPrimaryBits bits are at least two, so
  // there are at most half as many second tables as symbols.
  static constexpr size_t kSecondSize =
      kMaxCodeLength > kPrimaryBits ? size_t{1} << (kMaxCodeLength - kPrimaryBits) : 0;
  static constexpr size_t kCapacity = kPrimarySize + kSymbols / 2 * kSecondSize;

  void fill(std::span<const uint16_t> sortedSymbols, std::span<const uint8_t> lengths,
            const uint32_t* meanings, unsigned longest) noexcept;

  std::array<uint32_t, kCapacity> m_entries;
};

template <unsigned kPrimaryBits, size_t kSymbols>
bool DecodeTable<kPrimaryBits, kSymbols>::build(std::span<const uint8_t> lengths,
                                                const uint32_t* meanings,
                                                IncompleteCode incomplete) noexcept {
  uint16_t counts[kMaxCodeLength + 1] = {};
  for (const uint8_t length : lengths) ++counts[length];
  const size_t used = lengths.size() - counts[0];
  counts[0] = 0;

  // Code words still free, in units of the longest ones.
  int32_t free = 1 << kMaxCodeLength;
  unsigned longest = 0;
  uint16_t offsets[kMaxCodeLength + 1] = {};
  for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
    free -= counts[length] << (kMaxCodeLength - length);
    offsets[length] = static_cast<uint16_t>(offsets[length - 1] + counts[length - 1]);
    if (counts[length] != 0) longest = length;
  }
  if (free < 0) return false;
  if (free > 0) {
    const bool one = used == 1 && longest == 1 && incomplete != IncompleteCode::kRefuse;
    const bool none = used == 0 && incomplete == IncompleteCode::kAllowOneOrNone;
    if (!one && !none) return false;
    std::fill_n(m_entries.begin(), kPrimarySize, decode_entry::make(0, 0, decode_entry::kInvalid));
  }

  uint16_t sorted[kSymbols];
  for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    if (lengths[symbol] != 0) sorted[offsets[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
  }
  fill({sorted, used}, lengths, meanings, longest);
  return true;
}

template <unsigned kPrimaryBits, size_t kSymbols>
void DecodeTable<kPrimaryBits, kSymbols>::fill(std::span<const uint16_t> sortedSymbols,
                                               std::span<const uint8_t> lengths,
                                               const uint32_t* meanings,
                                               unsigned longest) noexcept {
  // Code words enter the stream from their most significant bit on, so that they are counted up
  // here mirrored: `word` has its first bit lowest.
  uint32_t word = 0;
  size_t second = kPrimarySize - kSecondSize;  // the current second table: none yet
  uint64_t prefix = kPrimarySize;              // the primary bits that lead to it
  for (const uint16_t symbol : sortedSymbols) {
    const unsigned length = lengths[symbol];
    if (length <= kPrimaryBits) {
      const uint32_t entry = meanings[symbol] | length;
      for (size_t i = word; i < kPrimarySize; i += size_t{1} << length) m_entries[i] = entry;
    } else {
      const unsigned secondBits = longest - kPrimaryBits;
      if ((word & kPrimaryMask) != prefix) {
        prefix = word & kPrimaryMask;
        second += kSecondSize;
        m_entries[static_cast<size_t>(prefix)] =
            decode_entry::make(static_cast<uint32_t>(second), secondBits, decode_entry::kLink);
      }
      const uint32_t entry = meanings[symbol] | (length - kPrimaryBits);
      const size_t step = size_t{1} << (length - kPrimaryBits);
      for (size_t i = word >> kPrimaryBits; i < size_t{1} << secondBits; i += step) {
        m_entries[second + i] = entry;
      }
    }
    uint32_t carry = 1U << (length - 1);
    while ((word & carry) != 0) carry >>= 1;
    word = carry != 0 ? (word & (carry - 1)) | carry : 0;
  }
}

}  // namespace velmora::deflate

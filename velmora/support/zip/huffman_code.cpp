#include "velmora/support/zip/internal/huffman_code.h"

#include <algorithm>
#include <cstddef>

#include "velmora/support/zip/internal/deflate_format.h"

namespace velmora::deflate {
namespace {

constexpr unsigned kSymbolBits = 9;
constexpr uint32_t kSymbolMask = (1U << kSymbolBits) - 1;

/// Symbols that occur, by rising frequency: the frequency above, the symbol in the low bits.
struct SortedSymbols {
  uint32_t keys[kLiteralSymbols];
  size_t count = 0;

  explicit SortedSymbols(std::span<const uint32_t> frequencies) noexcept {
    for (size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
      if (frequencies[symbol] != 0) add(frequencies[symbol], symbol);
    }
    for (size_t symbol = 0; count < 2; ++symbol) {
      if (frequencies[symbol] == 0) add(1, symbol);
    }
    std::sort(keys, keys + count);
  }

  void add(uint32_t frequency, size_t symbol) noexcept {
    keys[count++] = frequency << kSymbolBits | static_cast<uint32_t>(symbol);
  }
  uint32_t frequency(size_t i) const noexcept { return keys[i] >> kSymbolBits; }
  size_t symbol(size_t i) const noexcept { return keys[i] & kSymbolMask; }
};

/// How many code words of each length Huffman's algorithm gives, those longer than `maxLength`
/// counted there. Leaves and inner nodes are two queues, each already in order of weight, so that
/// the two lightest nodes are always at their fronts.
void countLengths(const SortedSymbols& symbols, unsigned maxLength,
                  uint32_t (&counts)[kMaxCodeLength + 1]) noexcept {
  const size_t leaves = symbols.count;
  uint32_t weights[kLiteralSymbols];      // of inner nodes, in the order in which they arise
  uint16_t parents[2 * kLiteralSymbols];  // of leaves, then of inner nodes
  size_t leaf = 0, inner = 0;
  for (size_t made = 0; made < leaves - 1; ++made) {
    uint32_t weight = 0;
    for (int child = 0; child < 2; ++child) {
      if (inner == made || (leaf < leaves && symbols.frequency(leaf) <= weights[inner])) {
        weight += symbols.frequency(leaf);
        parents[leaf++] = static_cast<uint16_t>(made);
      } else {
        weight += weights[inner];
        parents[leaves + inner++] = static_cast<uint16_t>(made);
      }
    }
    weights[made] = weight;
  }
  uint16_t depths[kLiteralSymbols];  // of inner nodes; a parent always arises after its children
  depths[leaves - 2] = 0;
  for (size_t node = leaves - 2; node-- > 0;) {
    depths[node] = static_cast<uint16_t>(depths[parents[leaves + node]] + 1);
  }
  for (size_t i = 0; i < leaves; ++i) ++counts[std::min(depths[parents[i]] + 1U, maxLength)];
}

/// Makes room in the code space when words were shortened to `maxLength`: each step takes one of
/// the longest words away, and gives its symbol a place beside a shorter word that moves one level
/// down.
void limitLengths(unsigned maxLength, uint32_t (&counts)[kMaxCodeLength + 1]) noexcept {
  uint32_t space = 0;  // taken, in units of the longest words
  for (unsigned length = 1; length <= maxLength; ++length) {
    space += counts[length] << (maxLength - length);
  }
  for (; space > 1U << maxLength; --space) {
    unsigned length = maxLength - 1;
    while (counts[length] == 0) --length;
    --counts[length];
    counts[length + 1] += 2;
    --counts[maxLength];
  }
}

uint16_t mirrored(uint32_t word, unsigned length) noexcept {
  uint32_t result = 0;
  for (unsigned i = 0; i < length; ++i) result |= (word >> i & 1) << (length - 1 - i);
  return static_cast<uint16_t>(result);
}

}  // namespace

void makeCodeLengths(std::span<const uint32_t> frequencies, unsigned maxLength,
                     std::span<uint8_t> lengths) noexcept {
  const SortedSymbols symbols(frequencies);
  uint32_t counts[kMaxCodeLength + 1] = {};
  countLengths(symbols, maxLength, counts);
  limitLengths(maxLength, counts);
  std::fill(lengths.begin(), lengths.end(), uint8_t{0});
  size_t next = 0;
  for (unsigned length = maxLength; length != 0; --length) {
    for (uint32_t i = 0; i < counts[length]; ++i) {
      lengths[symbols.symbol(next++)] = static_cast<uint8_t>(length);
    }
  }
}

void makeCodeWords(std::span<const uint8_t> lengths, std::span<uint16_t> words) noexcept {
  uint32_t counts[kMaxCodeLength + 1] = {};
  for (const uint8_t length : lengths) ++counts[length];
  counts[0] = 0;
  uint32_t next[kMaxCodeLength + 1] = {};
  for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
    next[length] = (next[length - 1] + counts[length - 1]) << 1;
  }
  for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    const unsigned length = lengths[symbol];
    words[symbol] = length == 0 ? uint16_t{0} : mirrored(next[length]++, length);
  }
}

}  // namespace velmora::deflate

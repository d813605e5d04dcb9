#pragma once

// Writes the blocks of a deflate stream, each in its shortest form.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/zip/internal/bit_writer.h"
#include "velmora/support/zip/internal/deflate_format.h"

namespace velmora::deflate {

/// A literal, or a match: its length in the upper half and its distance in the lower.
using Symbol = uint32_t;

constexpr Symbol literalSymbol(unsigned char byte) noexcept {
  return byte;
}
constexpr Symbol matchSymbol(unsigned length, unsigned distance) noexcept {
  return length << 16 | distance;
}
constexpr unsigned lengthOf(Symbol symbol) noexcept {
  return symbol >> 16;
}  // 0 for a literal
constexpr unsigned distanceOf(Symbol symbol) noexcept {
  return symbol & 0xffff;
}

/// The index into kLengthRanges for each match length.
inline constexpr std::array<uint8_t, kMaxMatch + 1> kLengthCodes = [] {
  std::array<uint8_t, kMaxMatch + 1> codes{};
  uint8_t code = 0;
  for (size_t length = kMinMatch; length <= kMaxMatch; ++length) {
    while (code + 1U < kLengthRanges.size() && length >= kLengthRanges[code + 1].base) ++code;
    codes[length] = code;
  }
  return codes;
}();

/// The index into kDistanceRanges: the place of the highest bit and the bit after it.
constexpr unsigned distanceCode(unsigned distance) noexcept {
  const unsigned d = distance - 1;
  if (d < 4) return d;
  const auto high = static_cast<unsigned>(std::bit_width(d)) - 1;
  return 2 * high + (d >> (high - 1) & 1);
}

/// How often each literal, length and distance symbol occurs in a piece of the output.
struct SymbolCounts {
  std::array<uint32_t, kLiteralSymbols> literals{};
  std::array<uint32_t, kDistanceSymbols> distances{};

  void add(Symbol symbol) noexcept {
    const unsigned length = lengthOf(symbol);
    if (length == 0) {
      ++literals[symbol];
    } else {
      ++literals[kFirstLengthSymbol + kLengthCodes[length]];
      ++distances[distanceCode(distanceOf(symbol))];
    }
  }

  void add(const SymbolCounts& other) noexcept {
    for (size_t i = 0; i < literals.size(); ++i) literals[i] += other.literals[i];
    for (size_t i = 0; i < distances.size(); ++i) distances[i] += other.distances[i];
  }
};

/// Writes one block in the form that takes the fewest bits: stored, or coded with the fixed or with
/// its own codes. `symbols` stand for `source` and are counted in `counts` (without the end of the
/// block). False when memory ran out.
bool writeBlock(std::span<const Symbol> symbols, SymbolCounts counts,
                std::span<const unsigned char> source, bool final, BitWriter& out) noexcept;

}  // namespace velmora::deflate

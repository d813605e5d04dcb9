#pragma once

// Makes the prefix codes of a block.

#include <cstdint>
#include <span>

namespace velmora::deflate {

/// Code lengths of a prefix code for symbols with the given frequencies, none longer than
/// `maxLength`; 0 for symbols that do not occur. The code is complete, as every reader wants it: at
/// least two symbols get a code word, whether they occur or not. Needs 2 to 286 symbols,
/// frequencies whose sum is below 2^23, and 2^maxLength to be no less than the number of symbols.
void makeCodeLengths(std::span<const uint32_t> frequencies, unsigned maxLength,
                     std::span<uint8_t> lengths) noexcept;

/// The canonical code words for code lengths (RFC 1951 §3.2.2), mirrored: the first bit to send is
/// the lowest.
void makeCodeWords(std::span<const uint8_t> lengths, std::span<uint16_t> words) noexcept;

}  // namespace velmora::deflate

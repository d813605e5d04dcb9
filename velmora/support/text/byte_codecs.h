#pragma once

// Hexadecimal and base64 on raw memory, for callers that know how much room they need. None of
// these functions allocates, and none writes a closing zero.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"

namespace velmora {

/// Writes 2 * count digits.
VELMORA_API void hexEncodeUpper(const unsigned char* bytes, size_t count, char* out) noexcept;
VELMORA_API void hexEncodeLower(const unsigned char* bytes, size_t count, char* out) noexcept;

/// The length of `count` bytes in base64 with padding (RFC 4648 §4).
constexpr size_t base64Length(size_t count) noexcept {
  return (count + 2) / 3 * 4;
}

/// Writes base64Length(count) characters, padded.
VELMORA_API void base64Encode(const unsigned char* bytes, size_t count, char* out) noexcept;

/// Writes base64url without padding (RFC 4648 §5) and gives the number of characters written.
VELMORA_API size_t base64UrlEncode(const unsigned char* bytes, size_t count, char* out) noexcept;

/// What a decoder made of its text: the bytes it wrote, and whether all of the text was understood.
struct DecodeResult {
  size_t written = 0;     // bytes
  bool complete = false;  // all of the text was understood
};

/// Decodes hexadecimal digits in either letter case; white space is passed over, an odd digit at
/// the end or any other character is a fault that ends the decoding. `out` has room for text.size()
/// / 2 bytes.
VELMORA_API DecodeResult hexDecode(std::string_view text, unsigned char* out) noexcept;

/// Decodes the groups of four digits of the standard alphabet of base64 that a text starts with,
/// without anything between them; gives how many there are. `out` has room as for base64Decode.
VELMORA_API size_t base64DecodeGroups(std::string_view text, unsigned char* out) noexcept;

/// Decodes base64 in the standard alphabet or, with `url`, in the URL alphabet; white space is
/// passed over, padding is optional and ends the text. `out` has room for
/// text.size() / 4 * 3 + 3 bytes.
VELMORA_API DecodeResult base64Decode(std::string_view text, bool url, unsigned char* out) noexcept;

}  // namespace velmora

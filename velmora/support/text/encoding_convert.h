#pragma once

// From one code page to another.

#include <cstddef>
#include <string_view>

#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

class LogBase;

/// True when the machine stores the high byte of a word first.
bool vmIsBigEndian() noexcept;

/// Appends one Unicode code point as UTF-8; what is no scalar value becomes U+FFFD.
bool appendCodePointUtf8(char32_t codePoint, StringBuffer& out) noexcept;

/// True when a text is UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above
/// U+10FFFF.
bool isValidUtf8(std::string_view text) noexcept;

/// Appends bytes that stand for U+0000 to U+00FF, one each, as UTF-8.
bool appendLatin1AsUtf8(const unsigned char* bytes, size_t count, StringBuffer& out) noexcept;

/// Conversion between code pages, each known by its number: 65001 UTF-8, 1200 and 1201 UTF-16
/// little- and big-endian, 1252 Windows-1252, 28591 ISO 8859-1, 20127 US-ASCII.
class EncodingConvert {
 public:
  /// Converts `size` bytes from one code page to another and appends the result to `out`. A
  /// sequence that is invalid in the source (an unpaired surrogate, an odd last byte, a broken
  /// UTF-8 sequence: one replacement for each maximal part, as Unicode §3.9 recommends) becomes
  /// U+FFFD; a character that the target cannot hold becomes a question mark. False for an unknown
  /// code page (nothing appended) or when memory ran out. The log is not written to.
  static bool EncConvert(int fromCodePage, int toCodePage, const unsigned char* data,
                         unsigned int size, DataBuffer& out, LogBase& log) noexcept;
};

}  // namespace velmora

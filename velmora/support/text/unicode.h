#pragma once

// Reading and writing single characters of the encodings that text comes in. Nothing allocates.

#include <cstddef>

#include "velmora/support/core/export.h"

namespace velmora {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// What the readers give for a sequence that stands for no character.
inline constexpr char32_t kInvalidSequence = 0xFFFFFFFF;

/// A code point that is not a surrogate (Unicode §3.9, D76).
constexpr bool isScalarValue(char32_t c) noexcept {
  return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

/// Reads one character of UTF-8 at `at`, which lies before `end`, and moves `at` past it. When the
/// bytes are invalid it moves past the maximal part of a character (Unicode §3.9) instead and gives
/// kInvalidSequence.
VELMORA_API char32_t readUtf8(const unsigned char*& at, const unsigned char* end) noexcept;

/// The same for UTF-16: an unpaired surrogate and an odd last byte are invalid.
VELMORA_API char32_t readUtf16(const unsigned char*& at, const unsigned char* end,
                               bool bigEndian) noexcept;

/// Writes a scalar value as UTF-8; gives the number of bytes, 1 to 4.
VELMORA_API size_t writeUtf8(char32_t c, unsigned char (&out)[4]) noexcept;

/// Writes a scalar value as UTF-16; gives the number of bytes, 2 or 4.
VELMORA_API size_t writeUtf16(char32_t c, bool bigEndian, unsigned char (&out)[4]) noexcept;

/// The character of a byte in Windows-1252. The five bytes that the code page leaves undefined
/// stand for the C1 controls of the same number.
VELMORA_API char32_t windows1252ToUnicode(unsigned char byte) noexcept;

/// The other way round; false when the code page does not hold the character.
VELMORA_API bool unicodeToWindows1252(char32_t c, unsigned char& byte) noexcept;

}  // namespace velmora

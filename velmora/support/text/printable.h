#pragma once

// Writing text of any origin to where it could forge a line or drive a terminal.

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/unicode.h"

namespace velmora {

/// Characters beyond ASCII that move the cursor, turn the direction of text or end a line: C1
/// controls, bidirectional controls, line and paragraph separators, the byte order mark.
constexpr bool steersTerminal(char32_t c) noexcept {
  const bool isC1 = c >= 0x80 && c <= 0x9F;
  const bool isMark = c == 0x061C || c == 0x200E || c == 0x200F || c == 0xFEFF;
  const bool isSeparator = c == 0x2028 || c == 0x2029;
  const bool isEmbedding = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
  return isC1 || isMark || isSeparator || isEmbedding;
}

/// A set of ASCII characters.
using AsciiSet = std::array<bool, 128>;

/// The printable ASCII characters without `specials`.
constexpr AsciiSet printableWithout(std::string_view specials) noexcept {
  AsciiSet set{};
  for (size_t c = 0x20; c < 0x7F; ++c) {
    set[c] = specials.find(static_cast<char>(c)) == specials.npos;
  }
  return set;
}

/// How many characters of the text are printable ASCII and neither a quotation mark nor a
/// backslash, counted from its start in whole blocks of eight. Quicker than a look at each
/// character.
inline size_t plainStart(const unsigned char* at, const unsigned char* end) noexcept {
  constexpr uint64_t kOnes = 0x0101010101010101;
  constexpr uint64_t kTops = 0x80 * kOnes;
  size_t size = 0;
  for (; static_cast<size_t>(end - at) - size >= sizeof(uint64_t); size += sizeof(uint64_t)) {
    uint64_t block;
    std::memcpy(&block, at + size, sizeof block);
    const auto hasZero = [](uint64_t bytes) { return (bytes - kOnes) & ~bytes; };
    const uint64_t control = (block - 0x20 * kOnes) & ~block;
    const uint64_t special = hasZero(block ^ ('"' * kOnes)) | hasZero(block ^ ('\\' * kOnes)) |
                             hasZero(block ^ (0x7F * kOnes));
    if (((block | control | special) & kTops) != 0) break;
  }
  return size;
}

/// Copies text to `out`: the ASCII characters of `plain`, which lacks no printable one but a
/// quotation mark or a backslash, and what lies beyond ASCII and steers nothing. Every other
/// character goes to write(character, its bytes), as kInvalidSequence when its bytes are not UTF-8.
template <class Write>
void copyEscaped(std::string_view text, const AsciiSet& plain, StringBuffer& out, Write write) {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = at + text.size();
  const auto* run = at;
  const auto flushRun = [&](const unsigned char* upTo) {
    out.append({reinterpret_cast<const char*>(run), static_cast<size_t>(upTo - run)});
  };
  at += plainStart(at, end);
  while (at != end) {
    if (*at < 0x80 && plain[*at]) {
      ++at;
      continue;
    }
    const auto* const start = at;
    const char32_t c = readUtf8(at, end);
    if (c >= 0x80 && c != kInvalidSequence && !steersTerminal(c)) continue;
    flushRun(start);
    write(c,
          std::string_view(reinterpret_cast<const char*>(start), static_cast<size_t>(at - start)));
    run = at;
  }
  flushRun(end);
}

/// Appends the `digits` last hexadecimal digits of a value, from an alphabet of 16.
VELMORA_API void appendHexDigits(char32_t value, int digits, const char* alphabet,
                                 StringBuffer& out) noexcept;

/// Appends text for people: control characters and bytes that are not UTF-8 as \xHH, what else
/// steers a terminal as \u{HHHH}, a backslash as two, so that nothing can pass for an escape.
VELMORA_API void appendPrintable(std::string_view text, StringBuffer& out) noexcept;

}  // namespace velmora

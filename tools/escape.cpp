#include "tools/escape.h"

#include <array>

#include "support/text/unicode.h"

namespace velmora::tool {

namespace {

constexpr char kUpperDigits[] = "0123456789ABCDEF";
constexpr char kLowerDigits[] = "0123456789abcdef";

// Characters beyond ASCII that move the cursor, turn the direction of text or end a line.
bool steers(char32_t c) {
  const bool isC1 = c >= 0x80 && c <= 0x9F;
  const bool isMark = c == 0x061C || c == 0x200E || c == 0x200F || c == 0xFEFF;
  const bool isSeparator = c == 0x2028 || c == 0x2029;
  const bool isEmbedding = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
  return isC1 || isMark || isSeparator || isEmbedding;
}

using AsciiSet = std::array<bool, 128>;

// The ASCII characters that may be copied: the printable ones without `specials`.
constexpr AsciiSet printableWithout(std::string_view specials) {
  AsciiSet set{};
  for (size_t c = 0x20; c < 0x7F; ++c)
    set[c] = specials.find(static_cast<char>(c)) == specials.npos;
  return set;
}

void appendHex(char32_t value, int digits, const char* alphabet, StringBuffer& out) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out.appendChar(alphabet[(value >> shift) & 0xF]);
  }
}

// Copies text and hands what must not be copied to write(character, its bytes); the character is
// kInvalidSequence for bytes that are not UTF-8.
template <class Write>
void copyEscaped(std::string_view text, const AsciiSet& plain, StringBuffer& out, Write write) {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = at + text.size();
  const auto* run = at;
  const auto flushRun = [&](const unsigned char* upTo) {
    out.append({reinterpret_cast<const char*>(run), static_cast<size_t>(upTo - run)});
  };
  while (at != end) {
    if (*at < 0x80 && plain[*at]) {
      ++at;
      continue;
    }
    const auto* const start = at;
    const char32_t c = readUtf8(at, end);
    if (c >= 0x80 && c != kInvalidSequence && !steers(c)) continue;
    flushRun(start);
    write(c,
          std::string_view(reinterpret_cast<const char*>(start), static_cast<size_t>(at - start)));
    run = at;
  }
  flushRun(end);
}

}  // namespace

void appendPrintable(std::string_view text, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("\\");
  copyEscaped(text, kPlain, out, [&](char32_t c, std::string_view bytes) {
    if (c == '\\') {
      out.append("\\\\");
    } else if (c < 0x80 || c == kInvalidSequence) {
      for (const char byte : bytes) {
        out.append("\\x");
        appendHex(static_cast<unsigned char>(byte), 2, kUpperDigits, out);
      }
    } else {
      out.append("\\u{");
      appendHex(c, 4, kUpperDigits, out);
      out.appendChar('}');
    }
  });
}

void appendJsonText(std::string_view text, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("\"\\");
  copyEscaped(text, kPlain, out, [&](char32_t c, std::string_view) {
    if (c == '"' || c == '\\') {
      out.appendChar('\\');
      out.appendChar(static_cast<char>(c));
    } else {
      out.append("\\u");
      appendHex(c == kInvalidSequence ? kReplacementCharacter : c, 4, kLowerDigits, out);
    }
  });
}

void appendXmlText(std::string_view xml, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("");
  copyEscaped(xml, kPlain, out, [&](char32_t c, std::string_view) {
    out.append("&#");
    out.appendInt(c == kInvalidSequence ? kReplacementCharacter : c);
    out.appendChar(';');
  });
}

}  // namespace velmora::tool

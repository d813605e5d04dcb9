#include "velmora/support/text/printable.h"

namespace velmora {

void appendHexDigits(char32_t value, int digits, const char* alphabet, StringBuffer& out) noexcept {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out.appendChar(alphabet[(value >> shift) & 0xF]);
  }
}

void appendPrintable(std::string_view text, StringBuffer& out) noexcept {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  static constexpr AsciiSet kPlain = printableWithout("\\");
  copyEscaped(text, kPlain, out, [&](char32_t c, std::string_view bytes) {
    if (c == '\\') {
      out.append("\\\\");
    } else if (c < 0x80 || c == kInvalidSequence) {
      for (const char byte : bytes) {
        out.append("\\x");
        appendHexDigits(static_cast<unsigned char>(byte), 2, kDigits, out);
      }
    } else {
      out.append("\\u{");
      appendHexDigits(c, 4, kDigits, out);
      out.appendChar('}');
    }
  });
}

}  // namespace velmora

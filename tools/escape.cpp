#include "tools/escape.h"

#include "support/text/printable.h"

namespace velmora::tool {

namespace {

constexpr char kLowerDigits[] = "0123456789abcdef";

}  // namespace

void appendJsonText(std::string_view text, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("\"\\");
  copyEscaped(text, kPlain, out, [&](char32_t c, std::string_view) {
    if (c == '"' || c == '\\') {
      out.appendChar('\\');
      out.appendChar(static_cast<char>(c));
    } else {
      out.append("\\u");
      appendHexDigits(c == kInvalidSequence ? kReplacementCharacter : c, 4, kLowerDigits, out);
    }
  });
}

void appendJsonDocument(std::string_view json, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("");
  copyEscaped(json, kPlain, out, [&](char32_t c, std::string_view) {
    out.append("\\u");
    appendHexDigits(c == kInvalidSequence ? kReplacementCharacter : c, 4, kLowerDigits, out);
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

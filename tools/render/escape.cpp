#include "tools/render/escape.h"

#include <algorithm>

#include "velmora/support/text/printable.h"

namespace velmora::tool {

namespace {

void appendUnicodeEscape(char32_t c, StringBuffer& out) {
  out.append("\\u");
  appendHexDigits(c == kInvalidSequence ? kReplacementCharacter : c, 4, "0123456789abcdef", out);
}

void appendLineStart(size_t depth, StringBuffer& out) {
  out.appendChar('\n');
  for (size_t i = 0; i < depth; ++i) out.append("  ");
}

}  // namespace

void appendPrintableItem(std::string_view text, StringBuffer& out) {
  const bool isVisible = std::all_of(text.begin(), text.end(),
                                     [](char c) { return c > ' ' && c < '\x7F' && c != '"'; });
  if (isVisible && !text.empty()) return appendPrintable(text, out);
  out.appendChar('"');
  for (;;) {
    const size_t quote = text.find('"');
    appendPrintable(text.substr(0, quote), out);
    if (quote == text.npos) break;
    out.append("\\x22");
    text.remove_prefix(quote + 1);
  }
  out.appendChar('"');
}

void appendJsonText(std::string_view text, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("\"\\");
  copyEscaped(text, kPlain, out, [&](char32_t c, std::string_view) {
    if (c == '"' || c == '\\') {
      out.appendChar('\\');
      out.appendChar(static_cast<char>(c));
    } else {
      appendUnicodeEscape(c, out);
    }
  });
}

void appendJsonDocument(std::string_view json, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("");
  copyEscaped(json, kPlain, out,
              [&](char32_t c, std::string_view) { appendUnicodeEscape(c, out); });
}

void appendXmlText(std::string_view xml, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("");
  copyEscaped(xml, kPlain, out, [&](char32_t c, std::string_view) {
    out.append("&#");
    out.appendInt(c == kInvalidSequence ? kReplacementCharacter : c);
    out.appendChar(';');
  });
}

void appendIndentedXml(std::string_view xml, StringBuffer& out) {
  size_t depth = 0;
  bool isLeaf = false;  // nothing but content since the last start tag
  for (size_t at = 0; at < xml.size();) {
    const bool closes = xml.substr(at).starts_with("</");
    if (closes) --depth;
    if (at != 0 && !(closes && isLeaf)) appendLineStart(depth, out);
    if (!closes) ++depth;
    isLeaf = !closes;
    const size_t next = std::min(xml.find('<', at + 1), xml.size());
    appendXmlText(xml.substr(at, next - at), out);
    at = next;
  }
}

}  // namespace velmora::tool

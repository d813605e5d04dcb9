#include "velmora/support/xml/xml_encoding.h"

#include <algorithm>

#include "velmora/support/text/ascii.h"
#include "velmora/support/xml/xml_chars.h"

namespace velmora {
namespace {

XmlEncoding encodingNamed(std::string_view name) noexcept {
  struct Named {
    std::string_view name;
    XmlEncoding encoding;
  };
  static constexpr Named kNames[] = {
      {"UTF-8", XmlEncoding::kUtf8},
      {"UTF8", XmlEncoding::kUtf8},
      {"US-ASCII", XmlEncoding::kUsAscii},
      {"ASCII", XmlEncoding::kUsAscii},
      {"UTF-16", XmlEncoding::kUtf16},
      {"UTF-16LE", XmlEncoding::kUtf16LittleEndian},
      {"UTF-16BE", XmlEncoding::kUtf16BigEndian},
  };
  for (const Named& each : kNames) {
    if (equalsIgnoringAsciiCase(name, each.name)) return each.encoding;
  }
  return XmlEncoding::kOther;
}

bool isUtf16(XmlEncoding encoding) noexcept {
  return encoding == XmlEncoding::kUtf16 || encoding == XmlEncoding::kUtf16LittleEndian ||
         encoding == XmlEncoding::kUtf16BigEndian;
}

bool isBeyondAscii(char c) noexcept {
  return static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

void XmlDeclaration::take(std::string_view text) noexcept {
  for (const char c : text) take(c);
}

void XmlDeclaration::take(char c) noexcept {
  if (c == m_quote || (m_quote == 0 && (c == '"' || c == '\''))) {
    endWord();
    m_quote = m_quote == 0 ? c : '\0';
  } else if (m_quote == 0 && (c == '=' || xmlByteIs(c, kXmlWhite))) {
    endWord();
  } else if (m_wordSize < kMaxWord) {
    m_word[m_wordSize++] = c;
  } else {
    m_wordSize = kMaxWord + 1;
  }
}

// A word is a name, or what stands between quotes.
void XmlDeclaration::endWord() noexcept {
  if (m_quote != 0) {
    if (m_named) declare(encodingNamed(word()));
    m_named = false;
  } else if (m_wordSize != 0) {
    if (m_named) declare(XmlEncoding::kOther);
    m_named = word() == "encoding";
  }
  m_wordSize = 0;
}

// Two that differ leave none to go by.
void XmlDeclaration::declare(XmlEncoding encoding) noexcept {
  const bool isFirst = m_encoding == XmlEncoding::kUndeclared || m_encoding == encoding;
  m_encoding = isFirst ? encoding : XmlEncoding::kOther;
}

std::string_view XmlDeclaration::word() const noexcept {
  return m_wordSize > kMaxWord ? std::string_view() : std::string_view(m_word.data(), m_wordSize);
}

XmlEncoding XmlDeclaration::encoding() const noexcept {
  return m_named ? XmlEncoding::kOther : m_encoding;
}

const char* XmlDeclaration::fault(XmlEncoding mark, std::string_view document) const noexcept {
  const XmlEncoding declared = encoding();
  if (declared == XmlEncoding::kUndeclared || declared == mark) return nullptr;
  if (declared == XmlEncoding::kOther) return kXmlOtherEncoding;
  if (isUtf16(mark)) return declared == XmlEncoding::kUtf16 ? nullptr : kXmlNotAsDeclared;
  if (isUtf16(declared)) return kXmlNoUtf16Mark;
  return std::any_of(document.begin(), document.end(), isBeyondAscii) ? kXmlNotAsDeclared : nullptr;
}

}  // namespace velmora

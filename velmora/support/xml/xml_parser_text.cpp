#include <algorithm>
#include <cstring>

#include "velmora/support/text/ascii.h"
#include "velmora/support/text/unicode.h"
#include "velmora/support/xml/internal/xml_parser.h"
#include "velmora/support/xml/xml_chars.h"

// What stands between the tags, apart from the plain characters that readContent copies itself.

namespace velmora {

// Reads one character, or one reference, that may need more than a copy.
XmlParser::Cursor XmlParser::readSpecial(Cursor c) noexcept {
  const char byte = *c.at;
  if (byte == '&') return readReference(c);
  if (static_cast<unsigned char>(byte) >= 0x80) return readBeyondAscii(c);
  if (byte == '>' && c.at - m_begin >= 2 && c.at[-1] == ']' && c.at[-2] == ']') {
    return fail(c.at, "Failed to parse XML: \"]]>\" in character data.");
  }
  if (byte == '\r') {  // A line ends with LF, whatever it ended with (XML 1.0 §2.11).
    *c.out = '\n';
    return {c.at + (lookingAt(c.at, "\r\n") ? 2 : 1), c.out + 1};
  }
  if (static_cast<unsigned char>(byte) < 0x20 && !xmlByteIs(byte, kXmlWhite)) {
    return fail(c.at, kControl);
  }
  *c.out = byte;
  return {c.at + 1, c.out + 1};
}

XmlParser::Cursor XmlParser::readBeyondAscii(Cursor c) noexcept {
  const auto* at = reinterpret_cast<const unsigned char*>(c.at);
  if (readUtf8(at, reinterpret_cast<const unsigned char*>(m_end)) == kInvalidSequence) {
    return fail(c.at, kNotUtf8);
  }
  const char* const next = reinterpret_cast<const char*>(at);
  c.out = std::copy(c.at, next, c.out);
  return {next, c.out};
}

// Reference ::= '&' ('amp' | 'lt' | 'gt' | 'quot' | 'apos' | '#' ...) ';'
XmlParser::Cursor XmlParser::readReference(Cursor c) noexcept {
  struct Entity {
    std::string_view reference;
    char character;
  };
  static constexpr Entity kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
  if (lookingAt(c.at, "&#")) return readNumericReference(c);
  for (const Entity& entity : kEntities) {
    if (!lookingAt(c.at, entity.reference)) continue;
    *c.out = entity.character;
    return {c.at + entity.reference.size(), c.out + 1};
  }
  return fail(c.at, "Failed to parse XML: unknown entity.");
}

// CharRef ::= '&#' [0-9]+ ';' | '&#x' [0-9a-fA-F]+ ';'
// Control characters, NUL included, are accepted in this form, because every content must come
// back.
XmlParser::Cursor XmlParser::readNumericReference(Cursor c) noexcept {
  const bool hexadecimal = lookingAt(c.at, "&#x");
  const char32_t base = hexadecimal ? 16 : 10;
  const char* const digits = c.at + (hexadecimal ? 3 : 2);
  const char* at = digits;
  char32_t value = 0;
  for (; at != m_end && *at != ';' && value <= 0x10FFFF; ++at) {
    const char letter = asciiLower(*at);
    const bool decimal = letter >= '0' && letter <= '9';
    if (!decimal && !(hexadecimal && letter >= 'a' && letter <= 'f')) break;
    value = value * base + static_cast<char32_t>(decimal ? letter - '0' : letter - 'a' + 10);
  }
  if (at == m_end) return fail(at, kEndsEarly);
  if (*at != ';' || at == digits || !isScalarValue(value)) {
    return fail(c.at, "Failed to parse XML: numeric reference that stands for no character.");
  }
  unsigned char bytes[4];
  const size_t size = writeUtf8(value, bytes);
  m_referenceEnd = std::copy(bytes, bytes + size, c.out);
  return {at + 1, m_referenceEnd};
}

// Comments, processing instructions, CDATA sections.

// Misc ::= Comment | PI | S, as often as they come.
XmlParser::Cursor XmlParser::skipMisc(Cursor c) noexcept {
  while (c.at != nullptr) {
    c.at = skipWhite(c.at);
    if (lookingAt(c.at, "<!--")) {
      c = skipComment(c);
    } else if (lookingAt(c.at, "<?")) {
      c = skipInstruction(c);
    } else {
      break;
    }
  }
  return c;
}

XmlParser::Cursor XmlParser::readCdata(Cursor c, bool afterChild) noexcept {
  const char* const start = c.at + std::strlen("<![CDATA[");
  const std::string_view rest(start, static_cast<size_t>(m_end - start));
  const size_t size = rest.find("]]>");
  if (size == std::string_view::npos) return fail(m_end, kEndsEarly);
  if (size != 0 && afterChild) return fail(start, kTextBesideChild);
  const char* const end = start + size;
  c.at = start;
  while (c.at != nullptr && c.at != end) {
    if (*c.at == '&' || *c.at == '>') {
      *c.out++ = *c.at++;
    } else {
      c = readSpecial(c);
    }
  }
  if (c.at == nullptr) return c;
  if (size != 0) m_referenceEnd = c.out;
  return {end + std::strlen("]]>"), c.out};
}

// Comment ::= '<!--' ((Char - '-') | ('-' (Char - '-')))* '-->'
XmlParser::Cursor XmlParser::skipComment(Cursor c) noexcept {
  c = skipPast({c.at + std::strlen("<!--"), c.out}, "--");
  if (c.at == nullptr) return c;
  if (c.at == m_end) return fail(c.at, kEndsEarly);
  return *c.at == '>' ? Cursor{c.at + 1, c.out}
                      : fail(c.at, "Failed to parse XML: \"--\" inside a comment.");
}

// PI ::= '<?' PITarget (S Char*)? '?>'
XmlParser::Cursor XmlParser::skipInstruction(Cursor c) noexcept {
  const char* const target = c.at + 2;
  XmlNamed unused;
  const Cursor behind = readName({target, c.out}, unused);
  if (behind.at == nullptr) return behind;
  const std::string_view name(target, static_cast<size_t>(behind.at - target));
  if (equalsIgnoringAsciiCase(name, "xml")) {
    return fail(c.at, "Failed to parse XML: an XML declaration after the start of the text.");
  }
  if (behind.at != m_end && !xmlByteIs(*behind.at, kXmlWhite) && !lookingAt(behind.at, "?>")) {
    return fail(behind.at,
                "Failed to parse XML: white space expected after an instruction's name.");
  }
  return skipPast({behind.at, c.out}, "?>");
}

// Passes over characters that are not kept, and over the text that ends them.
XmlParser::Cursor XmlParser::skipPast(Cursor c, std::string_view closer) noexcept {
  const std::string_view rest(c.at, static_cast<size_t>(m_end - c.at));
  const size_t size = rest.find(closer);
  if (size == std::string_view::npos) return fail(m_end, kEndsEarly);
  const auto* at = reinterpret_cast<const unsigned char*>(c.at);
  const unsigned char* const end = at + size;
  while (at != end) {
    const unsigned char* const start = at;
    const char32_t character = readUtf8(at, end);
    const char* const here = reinterpret_cast<const char*>(start);
    if (character == kInvalidSequence) return fail(here, kNotUtf8);
    if (character < 0x20 && !xmlByteIs(*here, kXmlWhite)) return fail(here, kControl);
  }
  return {c.at + size + closer.size(), c.out};
}

XmlParser::Cursor XmlParser::fail(const char* at, const char* message) noexcept {
  m_fault = {message, static_cast<size_t>(at - m_begin)};
  return {nullptr, nullptr};
}

}  // namespace velmora

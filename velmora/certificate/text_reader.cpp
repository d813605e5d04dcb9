#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

TextKind stringType(const Asn1Header& header) noexcept {
  if (header.tagClass != Asn1Class::kUniversal || header.constructed) return TextKind::none;
  switch (header.tagNumber) {
    case asn1_tag::kUtf8String:
      return TextKind::utf8;
    case asn1_tag::kNumericString:
      return TextKind::numeric;
    case asn1_tag::kPrintableString:
      return TextKind::printable;
    case asn1_tag::kT61String:
      return TextKind::t61;
    case asn1_tag::kIa5String:
      return TextKind::ia5;
    case asn1_tag::kVisibleString:
      return TextKind::visible;
    case asn1_tag::kUniversalString:
      return TextKind::universal;
    case asn1_tag::kBmpString:
      return TextKind::bmp;
    default:
      return TextKind::none;
  }
}

char32_t TextReader::readUniversal() noexcept {
  if (m_end - m_at < 4) {
    m_at = m_end;
    return kInvalidSequence;
  }
  const char32_t c{loadBigEndian<uint32_t>(m_at)};
  m_at += 4;
  return isScalarValue(c) ? c : kInvalidSequence;
}

char32_t TextReader::next() noexcept {
  if (m_at == m_end) return kEnd;
  switch (m_kind) {
    case TextKind::utf8:
      return readUtf8(m_at, m_end);
    case TextKind::bmp:
      return readUtf16(m_at, m_end, true);
    case TextKind::universal:
      return readUniversal();
    case TextKind::t61:
      return *m_at++;
    default:
      return *m_at < 0x80 ? *m_at++ : (++m_at, kInvalidSequence);
  }
}

namespace {

// Looks at all octets, which is quicker than to stop at one: compilers take many at a time.
bool isAscii(Bytes content) noexcept {
  std::byte all{};
  for (const std::byte octet : content) all |= octet;
  return all < std::byte{0x80};
}

}  // namespace

TextKind textKindOf(const Asn1Element& element) noexcept {
  const TextKind kind = stringType(element.header);
  if (kind == TextKind::none || kind == TextKind::t61) return kind;
  const bool isWide = kind == TextKind::bmp || kind == TextKind::universal;
  if (!isWide && isAscii(element.content)) return kind;
  TextReader reader(kind, element.content);
  char32_t c = reader.next();
  while (c != TextReader::kEnd && c != kInvalidSequence) c = reader.next();
  return c == TextReader::kEnd ? kind : TextKind::none;
}

std::string utf8Of(TextKind kind, Bytes content) {
  if (isUtf8(kind)) return std::string(charactersOf(content));
  std::string text;
  text.reserve(content.size());
  TextReader reader(kind, content);
  for (char32_t c = reader.next(); c != TextReader::kEnd; c = reader.next()) {
    unsigned char octets[4];
    text.append(reinterpret_cast<const char*>(octets), writeUtf8(c, octets));
  }
  return text;
}

}  // namespace velmora

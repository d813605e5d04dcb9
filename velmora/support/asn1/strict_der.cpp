#include "velmora/support/asn1/strict_der.h"

namespace velmora {
namespace {

constexpr unsigned char kSignBit = 0x80;

}  // namespace

bool hasShortestHeader(const Asn1Header& header) noexcept {
  return !header.indefinite &&
         header.headerSize == identifierSize(header.tagNumber) + lengthSize(header.contentSize);
}

bool StrictDer::take(uint32_t universalTag, std::span<const unsigned char>& content) noexcept {
  return takeElement(Asn1Class::kUniversal, universalTag, false, content);
}

bool StrictDer::takeSequence(StrictDer& members) noexcept {
  std::span<const unsigned char> content;
  if (!takeElement(Asn1Class::kUniversal, asn1_tag::kSequence, true, content)) return false;
  members = StrictDer(content);
  return true;
}

bool StrictDer::takeContext(uint32_t number, StrictDer& members) noexcept {
  std::span<const unsigned char> content;
  if (!takeElement(Asn1Class::kContextSpecific, number, true, content)) return false;
  members = StrictDer(content);
  return true;
}

bool StrictDer::takeUnsigned(std::span<const unsigned char>& magnitude) noexcept {
  const DerReader before = m_reader;
  std::span<const unsigned char> content;
  if (!take(asn1_tag::kInteger, content)) return false;
  const bool zeroInFront = !content.empty() && content[0] == 0;
  const bool padded = zeroInFront && content.size() > 1 && (content[1] & kSignBit) == 0;
  if (content.empty() || (content[0] & kSignBit) != 0 || padded) {
    m_reader = before;
    return false;
  }
  magnitude = zeroInFront ? content.subspan(1) : content;
  return true;
}

bool StrictDer::takePositive(std::span<const unsigned char>& magnitude) noexcept {
  const DerReader before = m_reader;
  if (takeUnsigned(magnitude) && !magnitude.empty()) return true;
  m_reader = before;
  return false;
}

bool StrictDer::takeOctetBits(std::span<const unsigned char>& octets) noexcept {
  const DerReader before = m_reader;
  std::span<const unsigned char> content;
  if (!take(asn1_tag::kBitString, content)) return false;
  if (content.empty() || content[0] != 0) {
    m_reader = before;
    return false;
  }
  octets = content.subspan(1);
  return true;
}

bool StrictDer::takeNullIfPresent() noexcept {
  const DerReader before = m_reader;
  std::span<const unsigned char> content;
  if (!take(asn1_tag::kNull, content) || content.empty()) return true;
  m_reader = before;
  return false;
}

bool StrictDer::takeAny(std::span<const unsigned char>& element) noexcept {
  DerReader look = m_reader;
  Asn1Header header;
  std::span<const unsigned char> content;
  if (!look.readElement(header, content) || !hasShortestHeader(header)) return false;
  element = m_reader.take(header.headerSize + header.contentSize);
  return true;
}

bool StrictDer::takeElement(Asn1Class tagClass, uint32_t number, bool constructed,
                            std::span<const unsigned char>& content) noexcept {
  const DerReader before = m_reader;
  Asn1Header header;
  std::span<const unsigned char> found;
  const bool fits = m_reader.readElement(header, found) && header.tagClass == tagClass &&
                    header.tagNumber == number && header.constructed == constructed &&
                    hasShortestHeader(header);
  if (!fits) {
    m_reader = before;
    return false;
  }
  content = found;
  return true;
}

}  // namespace velmora

#include "velmora/support/asn1/der_reader.h"

#include "velmora/support/asn1/ber_walk.h"

namespace velmora {
namespace {

constexpr unsigned char kMoreFollows = 0x80;
constexpr unsigned char kLongLength = 0x80;
constexpr unsigned char kIndefinite = 0x80;
constexpr unsigned char kSignBit = 0x80;
constexpr unsigned char kReservedLength = 0xFF;
constexpr size_t kEndOfContentsSize = 2;

constexpr const char* kCutHeader = "The header of an element is cut short.";
constexpr const char* kLongForShortTag = "A tag number is not in its shortest form.";
constexpr const char* kLargeTag = "A tag number is too large.";
constexpr const char* kPrimitiveIndefinite = "A primitive element has an indefinite length.";
constexpr const char* kReserved = "A length starts with the reserved octet FF.";
constexpr const char* kBeyond = "An element is longer than what holds it.";
constexpr const char* kNotDefinite = "An element has an indefinite length.";

}  // namespace

bool DerReader::readHeaderSlowly(Asn1Header& header) noexcept {
  size_t at = m_pos;
  if (!readIdentifier(header, at) || !readLength(header, at)) return false;
  header.headerSize = at - m_pos;
  m_pos = at;
  return true;
}

bool DerReader::readIdentifier(Asn1Header& header, size_t& at) noexcept {
  if (at == m_end) return refuse(kCutHeader, at);
  const unsigned char first = m_data[at++];
  header.tagClass = static_cast<Asn1Class>(first >> 6);
  header.constructed = (first & asn1_identifier::kConstructed) != 0;
  header.tagNumber = first & asn1_identifier::kLongTag;
  return header.tagNumber != asn1_identifier::kLongTag || readLongTagNumber(header, at);
}

bool DerReader::readLongTagNumber(Asn1Header& header, size_t& at) noexcept {
  const size_t first = at;
  if (at != m_end && m_data[at] == kMoreFollows) return refuse(kLongForShortTag, at);
  uint32_t number = 0;
  unsigned char octet = kMoreFollows;
  while ((octet & kMoreFollows) != 0) {
    if (at == m_end) return refuse(kCutHeader, at);
    if (number > asn1_identifier::kMaxTagNumber >> 7) return refuse(kLargeTag, first);
    octet = m_data[at++];
    number = number << 7 | (octet & 0x7FU);
  }
  header.tagNumber = number;
  return number >= asn1_identifier::kLongTag || refuse(kLongForShortTag, first);
}

bool DerReader::readLength(Asn1Header& header, size_t& at) noexcept {
  const size_t start = at;
  if (at == m_end) return refuse(kCutHeader, at);
  const unsigned char first = m_data[at++];
  header.indefinite = first == kIndefinite;
  header.contentSize = 0;
  if (header.indefinite) return header.constructed || refuse(kPrimitiveIndefinite, start);
  if (first == kReservedLength) return refuse(kReserved, start);
  uint64_t size = first;
  if ((first & kLongLength) != 0) {
    size_t count = first & 0x7FU;
    if (count > m_end - at) return refuse(kCutHeader, m_end);
    // A size beyond the end stays beyond it whatever octets follow, and cannot overflow.
    for (size = 0; count > 0 && size <= m_end - at; --count) size = size << 8 | m_data[at++];
    if (count > 0) return refuse(kBeyond, start);
  }
  if (size > m_end - at) return refuse(kBeyond, start);
  header.contentSize = static_cast<size_t>(size);
  return true;
}

bool DerReader::peekHeader(Asn1Header& header) noexcept {
  const size_t start = m_pos;
  const bool read = readHeader(header);
  m_pos = start;
  return read;
}

bool DerReader::readElement(Asn1Header& header, Octets& content) noexcept {
  const size_t start = m_pos;
  if (!readHeader(header)) return false;
  if (header.indefinite) {
    m_pos = start;
    return refuse(kNotDefinite, start);
  }
  content = skip(header.contentSize);
  return true;
}

bool DerReader::readElement(Asn1Element& element) noexcept {
  Asn1Header header;
  if (!peekHeader(header)) return false;
  size_t size = header.headerSize + header.contentSize;
  size_t contentSize = header.contentSize;
  if (header.indefinite) {
    bool isDer = false;
    if (!scanBer({m_data + m_pos, m_end - m_pos}, size, isDer, m_fault)) {
      m_fault.offset += offset();
      return false;
    }
    contentSize = size - header.headerSize - kEndOfContentsSize;
  }
  element.header = header;
  element.offset = offset();
  element.whole = std::as_bytes(skip(size));
  element.content = element.whole.subspan(header.headerSize, contentSize);
  return true;
}

bool DerReader::seeLongestHeader(Octets bytes, Asn1Header& header) noexcept {
  return DerReader(bytes).readHeaderSlowly(header) && hasShortestHeader(header);
}

bool DerReader::takeUnsigned(Octets& magnitude) noexcept {
  DerReader look = *this;
  Asn1Element element;
  if (!look.take(asn1_tag::kInteger, element) || !isShortestInteger(element.content)) return false;
  const Octets content = octetsOf(element.content);
  if ((content[0] & kSignBit) != 0) return false;
  magnitude = content[0] == 0 ? content.subspan(1) : content;
  *this = look;
  return true;
}

bool DerReader::takePositive(Octets& magnitude) noexcept {
  DerReader look = *this;
  Octets taken;
  if (!look.takeUnsigned(taken) || taken.empty()) return false;
  magnitude = taken;
  *this = look;
  return true;
}

bool DerReader::takeOctetBits(Octets& octets) noexcept {
  DerReader look = *this;
  Octets content;
  if (!look.take(asn1_tag::kBitString, content) || content.empty() || content[0] != 0) return false;
  octets = content.subspan(1);
  *this = look;
  return true;
}

bool DerReader::takeNullIfPresent() noexcept {
  DerReader look = *this;
  Octets content;
  if (!look.take(asn1_tag::kNull, content)) return true;
  if (!content.empty()) return false;
  *this = look;
  return true;
}

bool DerReader::refuse(const char* reason, size_t position) noexcept {
  m_fault = {reason, m_base + position};
  return false;
}

}  // namespace velmora

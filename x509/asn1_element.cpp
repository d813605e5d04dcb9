#include "x509/asn1_element.h"

#include "support/asn1/ber_walk.h"

namespace velmora {

namespace {

constexpr size_t kEndOfContentsSize = 2;

size_t identifierSize(uint32_t tagNumber) {
  size_t size = 1;
  if (tagNumber < 31) return size;
  for (uint32_t rest = tagNumber; rest != 0; rest >>= 7) ++size;
  return size;
}

size_t shortestLengthSize(size_t contentSize) {
  size_t size = 1;
  if (contentSize < 0x80) return size;
  for (size_t rest = contentSize; rest != 0; rest >>= 8) ++size;
  return size;
}

// Whether DerXmlCodec writes such a header. Any constructed universal type but SEQUENCE and SET may
// be a string in pieces, which the codec joins.
bool inEncoderForm(const Asn1Header& header) {
  if (header.indefinite) return false;
  const bool maybeString = header.constructed && header.tagClass == Asn1Class::kUniversal &&
                           !header.is(asn1_tag::kSequence) && !header.is(asn1_tag::kSet);
  return !maybeString && header.headerSize == identifierSize(header.tagNumber) +
                                                  shortestLengthSize(header.contentSize);
}

}  // namespace

bool scanAsn1Element(std::span<const unsigned char> bytes, size_t base, Asn1Extent& extent,
                     Asn1Fault& fault) noexcept {
  extent = Asn1Extent();
  BerWalk walk(bytes);
  do {
    Asn1Header header;
    std::span<const unsigned char> content;
    const BerStep step = walk.next(header, content);
    if (step == BerStep::kFault) {
      fault = {walk.fault().reason, base + walk.fault().offset};
      return false;
    }
    if (step == BerStep::kElement) {
      extent.encoderForm = extent.encoderForm && inEncoderForm(header);
    }
  } while (walk.depth() != 0);
  extent.size = walk.offset();
  return true;
}

bool Asn1Members::next(Asn1Element& element) noexcept {
  if (atEnd()) return false;
  const auto rest = m_bytes.subspan(m_pos);
  DerReader reader(rest, offset());
  if (!reader.readHeader(element.header)) {
    m_fault = reader.fault();
    return false;
  }
  const Asn1Header& header = element.header;
  size_t size = header.headerSize + header.contentSize;
  size_t contentSize = header.contentSize;
  if (header.indefinite) {
    Asn1Extent extent;
    if (!scanAsn1Element(rest, offset(), extent, m_fault)) return false;
    size = extent.size;
    contentSize = size - header.headerSize - kEndOfContentsSize;
  }
  element.bytes = rest.first(size);
  element.content = rest.subspan(header.headerSize, contentSize);
  element.offset = offset();
  m_pos += size;
  return true;
}

}  // namespace velmora

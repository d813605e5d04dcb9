#include "velmora/support/asn1/asn1_element.h"

#include "velmora/support/asn1/ber_walk.h"

namespace velmora {
namespace {

constexpr size_t kEndOfContentsSize = 2;

}  // namespace

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
    bool isDer = false;
    if (!scanBer(rest, size, isDer, m_fault)) {
      m_fault.offset += offset();
      return false;
    }
    contentSize = size - header.headerSize - kEndOfContentsSize;
  }
  element.bytes = rest.first(size);
  element.content = rest.subspan(header.headerSize, contentSize);
  element.offset = offset();
  m_pos += size;
  return true;
}

}  // namespace velmora

#include "velmora/certificate/internal/der_cursor.h"

#include "velmora/support/asn1/strict_der.h"

namespace velmora {

bool DerCursor::nextUnusual(DerElement& element) noexcept {
  DerReader reader(octetsOf(m_bytes));
  if (!reader.readHeader(element.header) || !hasShortestHeader(element.header)) return false;
  pass(element);
  return true;
}

}  // namespace velmora

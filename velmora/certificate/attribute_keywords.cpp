#include "velmora/certificate/internal/attribute_keywords.h"

#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/attribute_types.h"
#include "velmora/support/text/ascii.h"

namespace velmora {

std::string_view keywordOf(Bytes type) noexcept {
  const AttributeType* const known = findAttributeType(octetsOf(type));
  return known != nullptr ? known->keyword : std::string_view();
}

Bytes typeOfKeyword(std::string_view text) noexcept {
  if (text.empty()) return {};
  for (const AttributeType& known : kAttributeTypes) {
    if (equalsIgnoringAsciiCase(known.keyword, text)) return std::as_bytes(known.oid.octets());
  }
  return {};
}

}  // namespace velmora

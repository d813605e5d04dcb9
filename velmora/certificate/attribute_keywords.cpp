#include "velmora/certificate/internal/attribute_keywords.h"

#include "velmora/certificate/internal/der_values.h"
#include "velmora/support/asn1/attribute_types.h"
#include "velmora/support/text/ascii.h"

namespace velmora {

std::string_view keywordOf(Bytes type) noexcept {
  for (const AttributeType& known : kAttributeTypes) {
    if (sameOctets(std::as_bytes(known.oid.octets()), type)) return known.keyword;
  }
  return {};
}

Bytes typeOfKeyword(std::string_view text) noexcept {
  if (text.empty()) return {};
  for (const AttributeType& known : kAttributeTypes) {
    if (equalsIgnoringAsciiCase(known.keyword, text)) return std::as_bytes(known.oid.octets());
  }
  return {};
}

}  // namespace velmora

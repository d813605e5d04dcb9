#include "velmora/certificate/internal/name_reader.h"

#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

std::optional<size_t> nameFault(Bytes name, size_t offset) noexcept {
  NameReader reader(name, offset);
  AttributeElements attribute;
  while (reader.next(attribute)) {
  }
  return reader.fault();
}

PlacedAttribute placedAttribute(const AttributeElements& elements) noexcept {
  const Asn1Element& value = elements.value;
  return {elements.type.content, value.whole, value.content, elements.rdn, textKindOf(value)};
}

Attribute attributeOf(const PlacedAttribute& placed) {
  Attribute attribute{Oid::fromDer(placed.type), placed.rdn, placed.kind, placed.text(), {}, {}};
  attribute.der.assign(placed.der.begin(), placed.der.end());
  attribute.rawType.assign(placed.type.begin(), placed.type.end());
  return attribute;
}

}  // namespace velmora

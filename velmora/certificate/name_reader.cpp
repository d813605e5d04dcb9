#include "velmora/certificate/internal/name_reader.h"

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

NameReader::NameReader(Bytes name, size_t offset) noexcept {
  DerReader cursor(name, offset);
  Asn1Element list;
  if (!cursor.takeSequence(list) || !cursor.atEnd()) {
    refuse(cursor.offset());
    return;
  }
  m_rdns = DerReader(list);
}

NameReader NameReader::ofRdn(Bytes members, size_t offset) noexcept {
  NameReader reader;
  reader.m_members = DerReader(members, offset);
  reader.m_rdnCount = 1;
  return reader;
}

bool NameReader::enterRdn() noexcept {
  if (m_rdns.atEnd()) return false;
  const size_t at = m_rdns.offset();
  Asn1Element rdn;
  if (!m_rdns.takeAny(rdn) || !rdn.isSet() || rdn.content.empty()) return refuse(at);
  m_members = DerReader(rdn);
  ++m_rdnCount;
  return true;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
bool NameReader::readAttribute(const Asn1Element& element, AttributeElements& attribute) noexcept {
  if (!element.isSequence()) return refuse(element.offset);
  DerReader members(element);
  const size_t typeAt = members.offset();
  const bool hasType =
      members.take(asn1_tag::kOid, attribute.type) && isOid(attribute.type.content);
  if (!hasType) return refuse(typeAt);
  if (!members.takeAny(attribute.value) || !members.atEnd()) return refuse(members.offset());
  return true;
}

bool NameReader::next(AttributeElements& attribute) noexcept {
  if (m_fault || (m_members.atEnd() && !enterRdn())) return false;
  const size_t at = m_members.offset();
  Asn1Element element;
  if (!m_members.takeAny(element)) return refuse(at);
  attribute.rdn = m_rdnCount - 1;
  return readAttribute(element, attribute);
}

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

#include "velmora/certificate/internal/name_reader.h"

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

NameReader::NameReader(Bytes name, uint32_t offset) noexcept {
  DerCursor cursor(name, offset);
  DerElement list;
  if (!cursor.takeSequence(list) || !cursor.atEnd()) {
    refuse(cursor.offset());
    return;
  }
  m_rdns = DerCursor(list);
}

NameReader NameReader::ofRdn(Bytes members, uint32_t offset) noexcept {
  NameReader reader;
  reader.m_members = DerCursor(members, offset);
  reader.m_rdnCount = 1;
  return reader;
}

bool NameReader::enterRdn() noexcept {
  if (m_rdns.atEnd()) return false;
  const uint32_t at = m_rdns.offset();
  DerElement rdn;
  if (!m_rdns.next(rdn) || !rdn.isSet() || rdn.content.empty()) return refuse(at);
  m_members = DerCursor(rdn);
  ++m_rdnCount;
  return true;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
bool NameReader::readAttribute(const DerElement& element, AttributeElements& attribute) noexcept {
  if (!element.isSequence()) return refuse(element.offset);
  DerCursor members(element);
  const uint32_t typeAt = members.offset();
  const bool hasType =
      members.take(asn1_tag::kOid, attribute.type) && isOid(attribute.type.content);
  if (!hasType) return refuse(typeAt);
  if (!members.next(attribute.value) || !members.atEnd()) return refuse(members.offset());
  return true;
}

bool NameReader::next(AttributeElements& attribute) noexcept {
  if (m_fault || (m_members.atEnd() && !enterRdn())) return false;
  const uint32_t at = m_members.offset();
  DerElement element;
  if (!m_members.next(element)) return refuse(at);
  attribute.rdn = m_rdnCount - 1;
  return readAttribute(element, attribute);
}

std::optional<uint32_t> nameFault(Bytes name, uint32_t offset) noexcept {
  NameReader reader(name, offset);
  AttributeElements attribute;
  while (reader.next(attribute)) {
  }
  return reader.fault();
}

Attribute attributeOf(const AttributeElements& elements) {
  const DerElement& value = elements.value;
  const Bytes type = elements.type.content;
  Attribute attribute;
  attribute.type = Oid::fromDer(type);
  attribute.rdn = elements.rdn;
  attribute.kind = textKindOf(value);
  if (attribute.kind != TextKind::none) attribute.text = utf8Of(attribute.kind, value.content);
  attribute.der.assign(value.whole.begin(), value.whole.end());
  attribute.rawType.assign(type.begin(), type.end());
  return attribute;
}

}  // namespace velmora

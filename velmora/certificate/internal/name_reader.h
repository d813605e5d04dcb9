#pragma once

// Walks over the RDNs of a Name and their attributes.

#include <optional>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/name.h"

namespace velmora {

/// An AttributeTypeAndValue where it stands.
struct AttributeElements {
  Asn1Element type;
  Asn1Element value;
  uint32_t rdn = 0;  // of which RDN it is, from 0
};

/// The attribute as programs get it, where it stands and as a copy.
PlacedAttribute placedAttribute(const AttributeElements& elements) noexcept;
Attribute attributeOf(const PlacedAttribute& placed);

/// Gives the attributes of a name one after the other (RFC 5280 §4.1.2.4):
/// Name ::= SEQUENCE OF RelativeDistinguishedName
/// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
class NameReader {
 public:
  /// `name` is the element whole, and `offset` its place in the certificate.
  NameReader(Bytes name, size_t offset) noexcept {
    DerReader cursor(name, offset);
    Asn1Element list;
    if (cursor.takeSequence(list) && cursor.atEnd()) {
      m_rdns = DerReader(list);
    } else {
      refuse(cursor.offset());
    }
  }

  /// The attributes of one RDN alone, from the content octets of its SET.
  static NameReader ofRdn(Bytes members, size_t offset) noexcept {
    NameReader reader;
    reader.m_members = DerReader(members, offset);
    reader.m_rdnCount = 1;
    return reader;
  }

  /// False at the end, and, with the fault set, before what does not belong there.
  bool next(AttributeElements& attribute) noexcept {
    if (m_fault || (m_members.atEnd() && !enterRdn())) return false;
    attribute.rdn = m_rdnCount - 1;
    return readAttribute(attribute);
  }

  /// The offset of what does not belong.
  std::optional<size_t> fault() const noexcept { return m_fault; }

 private:
  NameReader() noexcept = default;

  bool enterRdn() noexcept {
    if (m_rdns.atEnd()) return false;
    const size_t at = m_rdns.offset();
    Asn1Element rdn;
    if (!m_rdns.takeAny(rdn) || !rdn.isSet() || rdn.content.empty()) return refuse(at);
    m_members = DerReader(rdn);
    ++m_rdnCount;
    return true;
  }

  // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
  bool readAttribute(AttributeElements& attribute) noexcept {
    const size_t at = m_members.offset();
    Asn1Element element;
    if (!m_members.takeSequence(element)) return refuse(at);
    DerReader members(element);
    const size_t typeAt = members.offset();
    const bool hasType =
        members.take(asn1_tag::kOid, attribute.type) && isOid(attribute.type.content);
    if (!hasType) return refuse(typeAt);
    if (!members.takeAny(attribute.value) || !members.atEnd()) return refuse(members.offset());
    return true;
  }

  bool refuse(size_t offset) noexcept {
    m_fault = offset;
    return false;
  }

  DerReader m_rdns;
  DerReader m_members;
  uint32_t m_rdnCount = 0;
  std::optional<size_t> m_fault;
};

/// The offset of what makes the element no Name; nothing when it is one.
std::optional<size_t> nameFault(Bytes name, size_t offset) noexcept;

}  // namespace velmora

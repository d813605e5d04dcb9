#pragma once

// Walks over the RDNs of a Name and their attributes.

#include <optional>

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
  NameReader(Bytes name, size_t offset) noexcept;

  /// The attributes of one RDN alone, from the content octets of its SET.
  static NameReader ofRdn(Bytes members, size_t offset) noexcept;

  /// False at the end, and, with the fault set, before what does not belong there.
  bool next(AttributeElements& attribute) noexcept;

  /// The offset of what does not belong.
  std::optional<size_t> fault() const noexcept { return m_fault; }

 private:
  NameReader() noexcept = default;
  bool enterRdn() noexcept;
  bool readAttribute(const Asn1Element& element, AttributeElements& attribute) noexcept;
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

#pragma once

// Extensions of CRLs and of their entries, which are read alike.

#include <algorithm>

#include "velmora/path/internal/crl_data.h"

namespace velmora {

/// An extension of a CRL or of one of its entries.
struct CrlExtension {
  Bytes id;  // the content octets of extnID
  bool isCritical = false;
  Bytes value;  // the octets of extnValue

  bool is(const Oid& other) const noexcept {
    const Bytes octets = other.der();
    return std::equal(id.begin(), id.end(), octets.begin(), octets.end());
  }

  /// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
  ///   extnValue OCTET STRING }
  /// Takes the next of a list; false for what is none to the letter, but for a FALSE that is
  /// written, and for an OID of more octets than an Oid holds, which nobody knows.
  bool read(CrlMembers& list) noexcept {
    CrlElement element;
    if (!list.take(asn1_tag::kSequence, element)) return false;
    CrlMembers members(element);
    if (!members.take(asn1_tag::kOid, element)) return false;
    id = element.content;
    if (Oid::fromDer(id).isEmpty()) return false;
    isCritical = false;
    if (members.take(asn1_tag::kBoolean, element)) {
      if (element.content.size() != 1) return false;
      isCritical = element.content[0] == std::byte{0xFF};
      if (!isCritical && element.content[0] != std::byte{0}) return false;
    }
    if (!members.take(asn1_tag::kOctetString, element)) return false;
    value = element.content;
    return members.atEnd();
  }
};

}  // namespace velmora

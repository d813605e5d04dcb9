#pragma once

// Content octets of single ASN.1 types, judged and compared.

#include <cstring>

#include "velmora/certificate/bytes.h"
#include "velmora/support/asn1/asn1_element.h"

namespace velmora {

/// Whether these are the content octets of an OBJECT IDENTIFIER (X.690 §8.19.2): no arc starts with
/// an octet that adds nothing, and the last one ends. Of any size, Oid::kMaxSize or not.
inline bool isOid(Bytes content) noexcept {
  constexpr std::byte kMoreFollows{0x80};
  bool atArcStart = true;
  for (const std::byte octet : content) {
    if (atArcStart && octet == kMoreFollows) return false;
    atArcStart = (octet & kMoreFollows) == std::byte{0};
  }
  return atArcStart && !content.empty();
}

/// Whether these are the content octets of a BIT STRING (X.690 §8.6.2): one that counts the unused
/// bits of the last, and the others.
inline bool isBitString(Bytes content) noexcept {
  return !content.empty() && content[0] < std::byte{8} &&
         (content.size() > 1 || content[0] == std::byte{0});
}

/// Whether a date that can be read is in UTC to the second, with all its digits and Z (X.690 §11.7,
/// §11.8).
bool hasDerForm(const Asn1Element& date) noexcept;

/// Whether both are the same octets, in the same number. The last ones are looked at first: that is
/// where OIDs of one arc differ.
inline bool sameOctets(Bytes a, Bytes b) noexcept {
  if (a.size() != b.size()) return false;
  return a.empty() || (a.back() == b.back() && std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace velmora

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/certificate_shape.h"

// Certificate ::= SEQUENCE { tbsCertificate TBSCertificate,
//   signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
// TBSCertificate ::= SEQUENCE { version [0] EXPLICIT INTEGER DEFAULT v1, serialNumber INTEGER,
//   signature AlgorithmIdentifier, issuer Name, validity Validity, subject Name,
//   subjectPublicKeyInfo SubjectPublicKeyInfo, issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL,
//   subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL,
//   extensions [3] EXPLICIT SEQUENCE OF Extension OPTIONAL }
// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//   extnValue OCTET STRING }

namespace velmora {
namespace {

// As the index keeps it; kMaxTypedOctets leaves no other places.
uint32_t placeOf(const Asn1Element& element) noexcept {
  return static_cast<uint32_t>(element.offset);
}
uint32_t placeOf(const DerReader& reader) noexcept {
  return static_cast<uint32_t>(reader.offset());
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
bool isAlgorithm(const Asn1Element& element) noexcept {
  Asn1Element oid;
  return element.isSequence() && DerReader(element).take(asn1_tag::kOid, oid);
}

// Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
bool takeTime(DerReader& members) noexcept {
  Asn1Element time;
  return members.take(asn1_tag::kUtcTime, time) || members.take(asn1_tag::kGeneralizedTime, time);
}

bool isValidity(const Asn1Element& element) noexcept {
  DerReader members(element);
  // NOLINTNEXTLINE(misc-redundant-expression): each takes one of two
  return takeTime(members) && takeTime(members) && members.atEnd();
}

bool isPublicKey(const Asn1Element& element) noexcept {
  DerReader members(element);
  Asn1Element part;
  return members.takeAny(part) && isAlgorithm(part) && members.take(asn1_tag::kBitString, part) &&
         members.atEnd();
}

// An optional [number], in whatever form it is.
void takeTagged(DerReader& members, uint32_t number, uint32_t& at) noexcept {
  Asn1Element element;
  if (members.takeContext(number, true, element) || members.takeContext(number, false, element)) {
    at = placeOf(element);
  }
}

bool indexTbs(const Asn1Element& tbs, CertificateIndex& index) noexcept {
  DerReader members(tbs);
  Asn1Element element;
  const auto takeSequence = [&](uint32_t& at) {
    if (!members.takeSequence(element)) return false;
    at = placeOf(element);
    return true;
  };
  takeTagged(members, 0, index.version);
  if (!members.take(asn1_tag::kInteger, element)) return false;
  index.serial = placeOf(element);
  if (!takeSequence(index.innerAlgorithm) || !isAlgorithm(element)) return false;
  if (!takeSequence(index.issuer)) return false;
  if (!takeSequence(index.validity) || !isValidity(element)) return false;
  if (!takeSequence(index.subject)) return false;
  if (!takeSequence(index.spki) || !isPublicKey(element)) return false;
  takeTagged(members, 1, index.issuerUniqueId);
  takeTagged(members, 2, index.subjectUniqueId);
  takeTagged(members, 3, index.extensions);
  return members.atEnd();
}

bool indexCertificate(Bytes der, CertificateIndex& index) noexcept {
  DerReader outer(der, 0);
  Asn1Element element;
  if (!outer.takeSequence(element)) return false;
  DerReader members(element);
  if (!members.takeSequence(element)) return false;
  index.tbs = placeOf(element);
  if (!indexTbs(element, index)) return false;
  if (!members.takeSequence(element) || !isAlgorithm(element)) return false;
  index.outerAlgorithm = placeOf(element);
  if (!members.take(asn1_tag::kBitString, element)) return false;
  index.signature = placeOf(element);
  return members.atEnd();
}

// Moves to the first of the members of [3], and notes where that holds no list of members alone.
DerReader extensionsOf(Bytes der, CertificateIndex& index) noexcept {
  DerReader none;
  Asn1Element tagged;
  Asn1Element list;
  if (index.extensions == 0) return none;
  DerReader(der.subspan(index.extensions), index.extensions).takeAny(tagged);
  DerReader members(tagged);
  if (!tagged.header.constructed || !members.takeSequence(list)) {
    index.extensionFault = tagged.header.constructed ? placeOf(members) : placeOf(tagged);
    return none;
  }
  if (list.content.empty()) index.extensionFault = placeOf(list);
  if (!members.atEnd()) index.extensionFault = placeOf(members);
  return DerReader(list);
}

uint32_t count(DerReader elements) noexcept {
  uint32_t number = 0;
  for (Asn1Element element; elements.takeAny(element);) ++number;
  return number;
}

// Reads a member of the list, of which everything that is in order is kept.
ExtensionEntry readEntry(const Asn1Element& member) noexcept {
  ExtensionEntry entry{placeOf(member), 0, 0, 0, false, false, ExtensionKind::other};
  if (!member.header.constructed) return entry;
  DerReader parts(member);
  Asn1Element part;
  if (parts.take(asn1_tag::kOid, part)) {
    entry.id = placeOf(part);
    entry.kind = extensionKindOf(part.content);
    if (part.content.size() <= Oid::kMaxSize)
      entry.idSize = static_cast<uint8_t>(part.content.size());
  }
  const bool hasCritical = parts.take(asn1_tag::kBoolean, part);
  const bool isOneOctet = hasCritical && part.content.size() == 1;
  entry.critical = hasCritical && !(isOneOctet && part.content[0] == std::byte{0});
  if (parts.take(asn1_tag::kOctetString, part)) entry.value = placeOf(part);
  entry.isWellFormed = member.isSequence() && entry.id != 0 && hasCritical == isOneOctet &&
                       entry.value != 0 && parts.atEnd();
  // What else is in a malformed one may still make it critical, and hold a value.
  while (parts.takeAny(part)) {
    if (part.is(asn1_tag::kBoolean)) entry.critical = true;
    if (part.is(asn1_tag::kOctetString) && entry.value == 0) entry.value = placeOf(part);
  }
  return entry;
}

void readEntries(DerReader extensions, CertificateIndex& index, ExtensionEntry* entries) noexcept {
  for (Asn1Element member; extensions.takeAny(member); ++entries) {
    *entries = readEntry(member);
    index.extensionKinds |= bitOf(entries->kind);
    const bool isFirstFault = index.extensionFault == 0 || index.extensionFault > entries->at;
    if (!entries->isWellFormed && isFirstFault) index.extensionFault = entries->at;
  }
}

Found foundOf(DerKind kind) noexcept {
  return static_cast<Found>(kind);
}
static_assert(static_cast<int>(Found::notAsn1) == static_cast<int>(DerKind::kNotAsn1) &&
              static_cast<int>(Found::crl) == static_cast<int>(DerKind::kCrl));

Error whatElse(Bytes der) noexcept {
  const DerShape shape = classifyDer(octetsOf(der));
  return {ErrorCode::notACertificate, foundOf(shape.kind),
          static_cast<uint32_t>(shape.offset.value_or(0))};
}

}  // namespace

Result<Certificate> Certificate::parseBytes(Bytes der) noexcept {
  if (der.size() > kMaxTypedOctets) return Error{ErrorCode::tooLarge};
  if (const auto fault = derFault(der)) return *fault;
  CertificateIndex index;
  if (!indexCertificate(der, index)) return whatElse(der);
  const DerReader extensions = extensionsOf(der, index);
  index.extensionCount = count(extensions);
  Result<BlockRef> block =
      Block::create(der, index, [&](CertificateIndex& copy, ExtensionEntry* entries) {
        readEntries(extensions, copy, entries);
      });
  if (!block) return block.error();
  return Certificate(*std::move(block));
}

}  // namespace velmora

#include "velmora/certificate/internal/known_extensions.h"

#include <iterator>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/extension_productions.h"

// The extensions that are known: their productions, and the rules of RFC 5280 §4.2 and of DER that
// hold for each by itself.

namespace velmora {
namespace {

using Kind = ExtensionKind;

template <auto kProduction>
ExtensionContent readBy(ExtensionReader& value) {
  return kProduction(value);
}
template <auto kProduction>
void checkBy(ExtensionReader& value) {
  kProduction(value);
}

constexpr auto kEither = Criticality::either;
constexpr auto kMust = Criticality::must;
constexpr auto kMustNot = Criticality::mustNot;
using asn1_identifier::kConstructed, asn1_identifier::kContext;
using asn1_tag::kBitString, asn1_tag::kBoolean;

// The reasons of a distribution point, and the RDN of its name.
constexpr std::array<ContentSpot, 2> kPointSpots = {
    {{2, kContext | 1, ContentRule::namedBits},
     {3, kContext | kConstructed | 1, ContentRule::setOf}}};

template <auto kProduction>
constexpr KnownExtension row(Kind kind, const Oid& id, Criticality criticality,
                             std::array<ContentSpot, 2> spots = {}) {
  return {kind, id, criticality, readBy<kProduction>, checkBy<kProduction>, spots};
}

// In the order of the kinds.
constexpr KnownExtension kKnown[] = {
    row<readSubjectKeyId>(Kind::subjectKeyIdentifier, oid::subjectKeyIdentifier, kMustNot),
    row<readKeyUsage>(Kind::keyUsage, oid::keyUsage, kEither,
                      {{{0, kBitString, ContentRule::namedBits}}}),
    row<readAlternativeNames>(Kind::subjectAltName, oid::subjectAltName, kEither),
    row<readAlternativeNames>(Kind::issuerAltName, oid::issuerAltName, kEither),
    // Basic constraints have a rule of their own on when they are critical.
    row<readBasicConstraints>(Kind::basicConstraints, oid::basicConstraints, kEither,
                              {{{1, kBoolean, ContentRule::falseIsDefault}}}),
    row<readNameConstraints>(Kind::nameConstraints, oid::nameConstraints, kMust,
                             {{{3, kContext | 0, ContentRule::zeroIsDefault}}}),
    row<readDistributionPoints>(Kind::crlDistributionPoints, oid::crlDistributionPoints, kEither,
                                kPointSpots),
    row<readPolicies>(Kind::certificatePolicies, oid::certificatePolicies, kEither),
    row<readPolicyMappings>(Kind::policyMappings, oid::policyMappings, kEither),
    row<readAuthorityKeyId>(Kind::authorityKeyIdentifier, oid::authorityKeyIdentifier, kMustNot,
                            {{{1, kContext | 2, ContentRule::integer}}}),
    row<readPolicyConstraints>(
        Kind::policyConstraints, oid::policyConstraints, kMust,
        {{{1, kContext | 0, ContentRule::integer}, {1, kContext | 1, ContentRule::integer}}}),
    row<readExtendedKeyUsage>(Kind::extKeyUsage, oid::extKeyUsage, kEither),
    row<readDistributionPoints>(Kind::freshestCrl, oid::freshestCrl, kMustNot, kPointSpots),
    row<readInhibitAnyPolicy>(Kind::inhibitAnyPolicy, oid::inhibitAnyPolicy, kMust),
    row<readNoRevocationAvailable>(Kind::noRevAvail, oid::noRevAvail, kMustNot),
    row<readAccesses>(Kind::authorityInfoAccess, oid::authorityInfoAccess, kMustNot),
    row<readAccesses>(Kind::subjectInfoAccess, oid::subjectInfoAccess, kMustNot),
    row<readTlsFeatures>(Kind::tlsFeature, oid::tlsFeature, kEither),
    row<readOcspNoCheck>(Kind::ocspNoCheck, oid::ocspNoCheck, kEither),
    row<readSignedTimestamps>(Kind::signedTimestamps, oid::signedTimestamps, kEither),
    // Of its content nothing is known.
    {Kind::subjectDirectoryAttributes, Oid(known_oid::subjectDirectoryAttributes), kMustNot,
     nullptr, nullptr},
};

constexpr bool isInOrder() {
  size_t expected = 0;
  for (const KnownExtension& known : kKnown) {
    if (static_cast<size_t>(known.kind) != expected++) return false;
  }
  return expected == static_cast<size_t>(Kind::other);
}
static_assert(isInOrder());

// Most extensions are an arc below id-ce, 2.5.29, whose OIDs have three octets.
constexpr std::byte kIdCe[] = {std::byte{0x55}, std::byte{0x1D}};

constexpr bool isBelowIdCe(Bytes id) noexcept {
  return id.size() == 3 && id[0] == kIdCe[0] && id[1] == kIdCe[1];
}

constexpr std::array<Kind, 256> kindsBelowIdCe() {
  std::array<Kind, 256> kinds{};
  kinds.fill(Kind::other);
  for (const KnownExtension& known : kKnown) {
    const Bytes id = known.id.der();
    if (isBelowIdCe(id)) kinds[std::to_integer<size_t>(id[2])] = known.kind;
  }
  return kinds;
}

}  // namespace

ExtensionKind extensionKindOf(Bytes id) noexcept {
  static constexpr std::array<Kind, 256> kBelowIdCe = kindsBelowIdCe();
  if (isBelowIdCe(id)) return kBelowIdCe[std::to_integer<size_t>(id[2])];
  for (const KnownExtension& known : kKnown) {
    if (sameOctets(known.id.der(), id)) return known.kind;
  }
  return Kind::other;
}

const KnownExtension* knownExtension(ExtensionKind kind) noexcept {
  return kind == Kind::other ? nullptr : &kKnown[static_cast<size_t>(kind)];
}

}  // namespace velmora

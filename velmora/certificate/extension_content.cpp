#include <algorithm>
#include <functional>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/support/asn1/der_reader.h"

// The extensions that are known, and what any one of them says.

namespace velmora {
namespace {

struct KnownExtension {
  Oid id;
  ExtensionContent (*read)(ExtensionReader& value);
};

template <auto kProduction>
ExtensionContent contentBy(ExtensionReader& value) {
  return kProduction(value);
}

constexpr KnownExtension kKnown[] = {
    {oid::subjectKeyIdentifier, contentBy<readSubjectKeyId>},
    {oid::keyUsage, contentBy<readKeyUsage>},
    {oid::subjectAltName, contentBy<readAlternativeNames>},
    {oid::issuerAltName, contentBy<readAlternativeNames>},
    {oid::basicConstraints, contentBy<readBasicConstraints>},
    {oid::nameConstraints, contentBy<readNameConstraints>},
    {oid::crlDistributionPoints, contentBy<readDistributionPoints>},
    {oid::certificatePolicies, contentBy<readPolicies>},
    {oid::policyMappings, contentBy<readPolicyMappings>},
    {oid::authorityKeyIdentifier, contentBy<readAuthorityKeyId>},
    {oid::policyConstraints, contentBy<readPolicyConstraints>},
    {oid::extKeyUsage, contentBy<readExtendedKeyUsage>},
    {oid::freshestCrl, contentBy<readDistributionPoints>},
    {oid::inhibitAnyPolicy, contentBy<readInhibitAnyPolicy>},
    {oid::noRevAvail, contentBy<readNoRevocationAvailable>},
    {oid::authorityInfoAccess, contentBy<readAccesses>},
    {oid::subjectInfoAccess, contentBy<readAccesses>},
    {oid::tlsFeature, contentBy<readTlsFeatures>},
    {oid::ocspNoCheck, contentBy<readOcspNoCheck>},
    {oid::signedTimestamps, contentBy<readSignedTimestamps>},
};

const KnownExtension* findKnown(Bytes id) noexcept {
  const auto* const found = std::find_if(std::begin(kKnown), std::end(kKnown), [&](auto& known) {
    return sameOctets(known.id.der(), id);
  });
  return found != std::end(kKnown) ? found : nullptr;
}

// Whether `part` is a piece of these very octets, and not of a copy.
bool holds(Bytes whole, Bytes part) noexcept {
  constexpr std::less_equal<const std::byte*> isUpTo;
  return isUpTo(whole.data(), part.data()) &&
         isUpTo(part.data() + part.size(), whole.data() + whole.size());
}

}  // namespace

Result<ExtensionContent> Certificate::content(const Extension& extension,
                                              Strictness strictness) const& {
  const KnownExtension* const known = findKnown(extension.rawId);
  if (known == nullptr) return ExtensionContent();
  const bool mayBeRead = strictness == Strictness::lenient || extension.isWellFormed;
  // Names that are read from a value share the certificate's octets, by their place in it.
  if (!extension.hasValue || !mayBeRead || !holds(m_block.bytes(), extension.value)) {
    return Error::at(ErrorCode::malformedExtension, extension.offset);
  }
  return readValue<ExtensionContent>(m_block, extension.value, strictness, known->read);
}

std::vector<Oid> Certificate::unknownCriticalExtensions() const {
  std::vector<Oid> unknown;
  for (const ExtensionEntry& entry : m_block->extensions()) {
    const Bytes id = entry.id != 0 ? contentAt(m_block.bytes(), entry.id) : Bytes();
    if (entry.critical && findKnown(id) == nullptr) unknown.push_back(Oid::fromDer(id));
  }
  // Not ==, to which no two empty ones are the same.
  const auto isSame = [](const Oid& a, const Oid& b) { return (a <=> b) == 0; };
  std::sort(unknown.begin(), unknown.end());
  unknown.erase(std::unique(unknown.begin(), unknown.end(), isSame), unknown.end());
  return unknown;
}

}  // namespace velmora

#pragma once

// The ASN.1 productions of the extensions, each read by one function.

#include <vector>

#include "velmora/certificate/extensions.h"
#include "velmora/certificate/internal/extension_reader.h"

namespace velmora {

// The value of each known extension by its ASN.1 production, which stands above its definition.
// Each takes all of the value.

BasicConstraints readBasicConstraints(ExtensionReader& value);
KeyUsage readKeyUsage(ExtensionReader& value);
ExtendedKeyUsage readExtendedKeyUsage(ExtensionReader& value);
Bytes readSubjectKeyId(ExtensionReader& value);
AuthorityKeyId readAuthorityKeyId(ExtensionReader& value);
std::vector<GeneralName> readAlternativeNames(ExtensionReader& value);
std::vector<Access> readAccesses(ExtensionReader& value);
std::vector<DistributionPoint> readDistributionPoints(ExtensionReader& value);
std::vector<Policy> readPolicies(ExtensionReader& value);
std::vector<PolicyMapping> readPolicyMappings(ExtensionReader& value);
PolicyConstraints readPolicyConstraints(ExtensionReader& value);
InhibitAnyPolicy readInhibitAnyPolicy(ExtensionReader& value);
NameConstraints readNameConstraints(ExtensionReader& value);
std::vector<SignedTimestamp> readSignedTimestamps(ExtensionReader& value);
TlsFeatures readTlsFeatures(ExtensionReader& value);
OcspNoCheck readOcspNoCheck(ExtensionReader& value);
NoRevocationAvailable readNoRevocationAvailable(ExtensionReader& value);

}  // namespace velmora

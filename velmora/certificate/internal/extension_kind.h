#pragma once

// The extensions that this library knows, by number.

#include <cstdint>

#include "velmora/certificate/bytes.h"

namespace velmora {

/// An extension that this library knows: the row of known_extensions.cpp that tells what.
enum class ExtensionKind : uint8_t {
  subjectKeyIdentifier,
  keyUsage,
  subjectAltName,
  issuerAltName,
  basicConstraints,
  nameConstraints,
  crlDistributionPoints,
  certificatePolicies,
  policyMappings,
  authorityKeyIdentifier,
  policyConstraints,
  extKeyUsage,
  freshestCrl,
  inhibitAnyPolicy,
  noRevAvail,
  authorityInfoAccess,
  subjectInfoAccess,
  tlsFeature,
  ocspNoCheck,
  signedTimestamps,
  subjectDirectoryAttributes,
  other,  // every other one
};

/// The bit of a kind in a set of kinds.
constexpr uint32_t bitOf(ExtensionKind kind) noexcept {
  static_assert(static_cast<unsigned>(ExtensionKind::other) < 32);
  return uint32_t{1} << static_cast<unsigned>(kind);
}

/// Of the content octets of extnID.
ExtensionKind extensionKindOf(Bytes id) noexcept;

}  // namespace velmora

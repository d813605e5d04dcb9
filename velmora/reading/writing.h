#pragma once

// Certificates as files have them. All of these throw std::bad_alloc alone.

#include <span>
#include <string>

#include "velmora/certificate/certificate.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// One PEM block, "CERTIFICATE", with lines of 64 characters (RFC 7468 §5).
VELMORA_API std::string toPem(const Certificate& certificate);

/// A PEM block of each, one behind the other.
VELMORA_API std::string toPem(std::span<const Certificate> certificates);

/// A PKCS #7 bundle in DER: SignedData of version 1 without signers, whose certificates are these
/// in their order (RFC 2315 §9.1, "p7b"). As a SET OF they would be sorted in DER; the order of
/// a chain is kept, which readers expect and take.
VELMORA_API Octets toP7b(std::span<const Certificate> certificates);

}  // namespace velmora

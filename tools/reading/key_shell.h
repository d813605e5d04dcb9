#pragma once

// Public keys and requests for commands that ask certificates for their keys.

#include <optional>

#include "velmora/certificate/certificate.h"
#include "velmora/reading/certificate_reader.h"

namespace velmora::tool {

/// A certificate that has the key of a SubjectPublicKeyInfo, a PKCS #1 RSAPublicKey (RFC 8017
/// §A.1.1) or a request (RFC 2986), and nothing else: every other field of it is empty. It is for
/// asking for the key alone, in the same words as any certificate. Nothing for whatever else could
/// not be read as a certificate, and for what is not DER. Throws std::bad_alloc.
std::optional<Certificate> certificateAround(const CertificateFailure& found);

}  // namespace velmora::tool

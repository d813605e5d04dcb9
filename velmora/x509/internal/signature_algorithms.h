#pragma once

// The signature of a certificate taken apart and checked, algorithm by algorithm.

#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/rsa.h"
#include "velmora/support/key/vm_public_key.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

class _vmAsn1;

/// What of a certificate its signature is about.
struct CertificateSignature {
  DataBuffer toBeSigned;      // the DER of tbsCertificate
  DataBuffer signature;       // the octets of signatureValue
  StringBuffer algorithmOid;  // of the outer signatureAlgorithm, dotted
  int padding = RsaPrimitive::kPaddingPkcs1;
  int pssHashId = _vmHash::kSha1;
};

/// A certificate in DER (or BER) as an ASN.1 object, decoded and counted once for the caller; null,
/// with an error, when it cannot be decoded.
_vmAsn1* decodeCertificate(const DataBuffer& der, LogBase& log);

/// Takes the DER (or BER) of a certificate apart. False, with an error for each part that is
/// missing.
bool readCertificateSignature(const DataBuffer& der, CertificateSignature& parts, LogBase& log);

/// Loads the key that VelmoraX509::get_PublicKey gave for the issuer. An Ed25519 key that is no
/// point is no failure here: it leaves the key empty.
bool loadIssuerKey(const CertificateSignature& parts, const DataBuffer& keyBytes, _vmPublicKey& key,
                   LogBase& log);

/// True when the signature is the key's; else an error says why not.
bool verifyWithKey(const CertificateSignature& parts, _vmPublicKey& key, LogBase& log);

}  // namespace velmora

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/reading/known_certificate.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora::tool {

/// What came of one signature.
struct SignatureReport {
  SignatureVerdict verdict = SignatureVerdict::refused;
  std::string algorithm;  // dotted OID; empty when there is none
  std::string_view hash;  // "SHA-256"; empty when not known
  PublicKey key;          // of the signer
  std::string reason;     // safe to print; empty when good
  std::vector<std::string> warnings;
};

/// The kind of a key, the dotted OID of its algorithm where that has no name here, or nothing when
/// it cannot be read.
std::string keyType(const PublicKey& key);

/// Checks whether `signer`'s key made the signature of `certificate`. Stricter than
/// VelmoraX509::verifyCertSignature: the two algorithm identifiers have to be the same (RFC 5280
/// §4.1.1.2), the algorithm has to fit the key, the hash in an RSA signature has to be the one that
/// the algorithm names, with a digest of its full length, that of RSASSA-PSS has to be made with
/// the mask and the salt length of the parameters, and an Ed25519 signature has 64 octets.
SignatureReport checkSignature(const KnownCertificate& certificate, const KnownCertificate& signer);

/// Findings about one certificate, safe to print.
struct Findings {
  std::vector<std::string> failures;
  std::vector<std::string> warnings;
};

/// What every certificate of a chain has to be (RFC 5280 §6.1.3): valid at `at`, of a version that
/// can be read, without unknown critical extensions and without an extension that is there twice.
/// Appends.
void checkCertificate(const KnownCertificate& certificate, const VelmoraSysTime& at,
                      Findings& findings);

/// What a certificate has to be that signs others (§6.1.4 k to n): a CA by basicConstraints, with a
/// path length that `below` other CAs on the way down keep, and by keyUsage, where it is there,
/// for signing certificates. What may yet prove a root may be of a version that has no
/// extensions. Appends.
void checkIssuer(const KnownCertificate& issuer, size_t below, Findings& findings);

}  // namespace velmora::tool

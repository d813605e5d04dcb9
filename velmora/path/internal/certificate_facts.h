#pragma once

// What decisions read of a certificate, read once.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/internal/name_constraints.h"
#include "velmora/path/internal/policy_graph.h"

namespace velmora {

/// What a certificate says that decisions rest on, read once; no option changes it. Made when a
/// certificate comes into a set, and of a leaf for each verification. Never changes.
struct CertificateFacts {
  /// The certificate outlives what is read of it: a reference of its own would be a count that all
  /// threads write which verify it. Throws std::bad_alloc.
  explicit CertificateFacts(const Certificate& of) : CertificateFacts(of, of.parts()) {}
  explicit CertificateFacts(const Certificate&&) = delete;

  bool isCa() const noexcept { return basicConstraints && basicConstraints->ca; }
  bool maySignCertificates() const noexcept {
    return keyUsage ? keyUsage->has(KeyUse::keyCertSign) : keyUsage.error().isAbsent();
  }

  const Certificate& certificate;
  Bytes spki;                          // the SubjectPublicKeyInfo
  std::optional<std::string> subject;  // Name::folded(); none when malformed
  std::optional<std::string> issuer;
  bool isSelfIssued = false;  // both are the same, and not empty

  Result<int> version;
  Result<Validity> validity;
  Result<PublicKey> key;
  Result<SignatureScheme> scheme;
  Result<BasicConstraints> basicConstraints;
  Result<KeyUsage> keyUsage;
  Result<ExtendedKeyUsage> extendedKeyUsage;
  Bytes subjectKeyId;    // empty where there is none that can be read
  Bytes authorityKeyId;  // likewise
  std::vector<Departure> departures;
  CertificatePolicies
      policies;  // behind what reads them once more: both at once would double the peak
  std::vector<Oid> criticalExtensions;  // those that are known, once each, and the first others
  std::shared_ptr<const PreparedConstraints> constraints;  // null where there are none to be read

 private:
  CertificateFacts(const Certificate& of, const Parts& parts);
};

}  // namespace velmora

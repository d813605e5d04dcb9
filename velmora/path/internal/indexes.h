#pragma once

// Certificates and anchors by the folded name of their subject.

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/path/anchors.h"
#include "velmora/path/internal/certificate_facts.h"
#include "velmora/path/internal/judgement_cache.h"

namespace velmora {

/// A certificate that may stand on a way, with the digests that a JudgementCache finds it by.
struct IndexedCertificate {
  /// The certificate outlives it. Throws std::bad_alloc.
  explicit IndexedCertificate(const Certificate& certificate)
      : facts(certificate),
        fingerprint(certificate.fingerprint<Hash::sha256>()),
        keyDigest(certificate.spkiPin<Hash::sha256>()) {}

  CertificateFacts facts;
  Sha256 fingerprint;
  Sha256 keyDigest;
};

/// Certificates in the order of their octets, each once, and by the folded name of their subject.
class IntermediateIndex {
 public:
  /// Throws std::bad_alloc.
  explicit IntermediateIndex(std::span<const Certificate> certificates);

  IntermediateIndex(const IntermediateIndex&) = delete;
  IntermediateIndex& operator=(const IntermediateIndex&) = delete;

  size_t size() const noexcept { return m_certificates.size(); }

  /// Those with the subject, in the order of their octets.
  std::span<const IndexedCertificate* const> withSubject(std::string_view folded) const noexcept;

  /// Whether one of them is these octets.
  bool holds(const Certificate& certificate) const noexcept;

 private:
  std::vector<Certificate> m_owned;
  std::vector<IndexedCertificate> m_certificates;
  std::vector<const IndexedCertificate*> m_bySubject;
};

/// An anchor with what it binds by, read once.
struct IndexedAnchor {
  /// The anchor outlives it. Throws std::bad_alloc.
  explicit IndexedAnchor(const TrustAnchor& anchor);

  const TrustAnchor& anchor;
  Bytes spki;                             // the SubjectPublicKeyInfo
  std::optional<CertificateFacts> facts;  // of a certificate
  std::string name;                       // folded; empty when it is malformed, or empty
  Sha256 keyDigest;
  std::optional<PublicKey> key;
  std::optional<uint64_t> pathLength;
  std::optional<ExtendedKeyUsage> purposes;
  std::shared_ptr<const PreparedConstraints> constraints;
};

/// Anchors in an order of their contents, each once, and by the folded name.
class AnchorIndex {
 public:
  /// Throws std::bad_alloc.
  AnchorIndex(std::span<const TrustAnchor> anchors, size_t preparedKeys);

  AnchorIndex(const AnchorIndex&) = delete;
  AnchorIndex& operator=(const AnchorIndex&) = delete;

  size_t size() const noexcept { return m_anchors.size(); }

  std::span<const IndexedAnchor* const> withName(std::string_view folded) const noexcept;

  /// The anchor that is these octets; null when none is.
  const IndexedAnchor* find(const Certificate& certificate) const noexcept;

  JudgementCache& cache() const noexcept { return m_cache; }

 private:
  std::vector<TrustAnchor> m_owned;
  std::vector<IndexedAnchor> m_anchors;
  std::vector<const IndexedAnchor*> m_byName;
  mutable JudgementCache m_cache;
};

}  // namespace velmora

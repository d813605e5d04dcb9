#pragma once

// Whom a verification starts from: trust anchors, and certificates that may stand below them.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// What a trust anchor that is no certificate binds everything below it to (RFC 5937 §3.2).
struct AnchorConstraints {
  std::optional<uint64_t> pathLength = {};        // as basicConstraints has it
  std::optional<NameConstraints> names = {};      // as the extension has them
  std::optional<ExtendedKeyUsage> purposes = {};  // likewise
};

/// Whom a user trusts: a name and its key, with what they are bound to. Of a certificate those
/// that it holds; nothing else in it is judged: its signature, hash and policies prove nothing,
/// because trust in it comes from outside. Of one that was moved from nothing may be asked.
class VELMORA_API TrustAnchor {
 public:
  /// A certificate's name and key, and the constraints that it holds.
  explicit TrustAnchor(Certificate certificate) noexcept;

  /// A name and the DER of a SubjectPublicKeyInfo, which is copied (RFC 5914's TrustAnchorInfo).
  /// Error malformedName, malformedKey, outOfMemory.
  static Result<TrustAnchor> make(const Name& name, Bytes subjectPublicKeyInfo,
                                  AnchorConstraints constraints = {}) noexcept;

  /// None for a name and key.
  const std::optional<Certificate>& certificate() const& noexcept { return m_certificate; }
  const std::optional<Certificate>& certificate() const&& = delete;
  /// The name that certificates below it have as issuer.
  Name name() const noexcept;
  /// The SubjectPublicKeyInfo; it lives as long as any copy of the anchor.
  Bytes key() const& noexcept;
  Bytes key() const&& = delete;
  /// Null for a certificate; it lives as long as any copy of the anchor.
  const AnchorConstraints* constraints() const& noexcept { return m_constraints.get(); }
  const AnchorConstraints* constraints() const&& = delete;

 private:
  TrustAnchor(Name name, Octets key, AnchorConstraints constraints);

  std::optional<Certificate> m_certificate;
  std::optional<Name> m_name;
  std::shared_ptr<const Octets> m_key;
  std::shared_ptr<const AnchorConstraints> m_constraints;
};

class AnchorIndex;

/// Trust anchors, found by name. A value that copies cheaply and never changes; any thread may ask.
/// An empty one trusts nothing. It keeps what was computed with its keys (which key signed which
/// octets, keys made ready) for the verifications that use it: bounded, behind a lock of its own,
/// and without influence on any answer. Of one that was moved from nothing may be asked.
///
/// A key that signatures are checked with for the eighth time, of an anchor or of a CA below one,
/// is prepared (IssuerKey::prepare), of which at most `preparedKeys` are kept, with up to 32 KiB
/// for each; 0 keeps none. The verification that comes to it takes longer by a few signatures.
class VELMORA_API TrustAnchors {
 public:
  /// How many prepared keys are kept unless another number is given.
  static constexpr size_t kPreparedKeys = 64;

  /// Throws std::bad_alloc.
  TrustAnchors();
  /// Anchors that are the same octets count once. Throws std::bad_alloc.
  explicit TrustAnchors(std::span<const Certificate> roots, size_t preparedKeys = kPreparedKeys);
  /// Likewise, and names and keys with the same constraints.
  explicit TrustAnchors(std::span<const TrustAnchor> anchors, size_t preparedKeys = kPreparedKeys);

  /// How many there are, equal ones counted once.
  size_t size() const noexcept;
  /// Whether there is none, so that nothing can be trusted.
  bool isEmpty() const noexcept { return size() == 0; }

 private:
  friend class PathBuilder;
  std::shared_ptr<const AnchorIndex> m_index;
};

/// Certificates that may stand between a leaf and an anchor, found by name. Nothing in it is
/// trusted. A value that copies cheaply and never changes; any thread may ask. Of one that was
/// moved from nothing may be asked.
class VELMORA_API CertificateSet {
 public:
  /// Throws std::bad_alloc.
  CertificateSet();
  /// Equal octets count once. Throws std::bad_alloc.
  explicit CertificateSet(std::span<const Certificate> certificates);

  /// How many there are, equal ones counted once.
  size_t size() const noexcept;

 private:
  friend class PathBuilder;
  std::shared_ptr<const class IntermediateIndex> m_index;
};

}  // namespace velmora

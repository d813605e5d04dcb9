#pragma once

// Checks many signatures of one issuer.

#include <optional>
#include <variant>

#include "velmora/certificate/certificate.h"
#include "velmora/support/core/export.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ecdsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/key/rsa.h"

namespace velmora {

/// What of something that was signed its signature rests on: of a certificate (RFC 5280 §4.1.1), of
/// a CRL (§5.1.1).
struct SignedParts {
  Bytes tbs;             // what is signed, with identifier and length
  Bytes innerAlgorithm;  // the AlgorithmIdentifier in it, likewise
  Bytes outerAlgorithm;  // that behind it, likewise
  Bytes signature;       // the octets of the BIT STRING; empty when it has unused bits
};

/// The public key of an issuer, made ready once to check any number of signatures with; about
/// 10 KiB that stand on their own. Never changes but for prepare(); any number of threads may check
/// with one.
class VELMORA_API IssuerKey {
 public:
  /// A key that cannot be used is no failure here: every check tells.
  explicit IssuerKey(const Certificate& issuer) noexcept : IssuerKey(issuer.parts().spki) {}
  /// From the DER of a SubjectPublicKeyInfo (RFC 5280 §4.1.2.7), which is not needed afterwards.
  explicit IssuerKey(Bytes subjectPublicKeyInfo) noexcept;

  IssuerKey(const IssuerKey&) = delete;
  IssuerKey& operator=(const IssuerKey&) = delete;

  /// Whether signatures can be checked with the key: it is well-formed, of a kind and size that
  /// this library computes with, and says all of itself. DSA keys that take their parameters from
  /// their issuer's key and EC keys without a named curve do not.
  bool isUsable() const noexcept { return !std::holds_alternative<std::monostate>(m_key); }

  /// The same of the DER of a SubjectPublicKeyInfo whose key is not to be made ready: a small part
  /// of the work, but for Ed25519 and DSA.
  static bool isUsable(Bytes subjectPublicKeyInfo) noexcept;

  /// Makes the key ready for many signatures: of an EC key on P-256, P-384 or P-521 and of Ed25519
  /// every check is two to five times as fast from then on, of the others the same. Answers are the
  /// same. It takes as long as two to six checks (the first time for a kind of key four times that)
  /// and 8 to 20 KiB, which live as long as the key. False for other keys, which have nothing to
  /// prepare, and when memory runs out; the key is as it was then. No other thread may use the key
  /// meanwhile.
  bool prepare() noexcept;

  /// Whether the signature of the certificate is this key's: Certificate::checkSignature.
  SignatureCheck check(const Certificate& certificate) const noexcept;
  /// The same for whatever else is signed in this way.
  SignatureCheck check(const SignedParts& parts) const noexcept;

 private:
  bool load(const struct KeyParts& parts) noexcept;
  bool fits(const SignatureScheme& scheme) const noexcept;
  SignatureFault faultOf(const SignedParts& parts) const noexcept;
  SignatureFault compute(const SignatureScheme& scheme, const SignedParts& parts) const noexcept;

  KeyKind m_kind = KeyKind::other;           // also of a key that cannot be used
  std::optional<SignatureScheme> m_boundTo;  // a key for RSASSA-PSS with these parameters alone
  bool m_isBoundToUnknown = false;           // and one with parameters that are not understood
  std::variant<std::monostate, RsaKeyData, DsaKeyData, EccKeyData, Ed25519KeyData> m_key;
};

}  // namespace velmora

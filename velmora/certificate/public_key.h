#pragma once

// What a certificate says of its key.

#include <cstdint>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/oid.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

enum class KeyKind : uint8_t { rsa, rsaPss, dsa, ec, ed25519, other };

/// A public key described from its SubjectPublicKeyInfo (RFC 5280 §4.1.2.7), not judged: whether
/// signatures may be checked with it is another question.
struct VELMORA_API PublicKey {
  KeyKind kind = KeyKind::other;  // by its AlgorithmIdentifier
  Oid algorithm;                  // empty for one of more than Oid::kMaxSize octets
  Oid curve;                      // the named curve of an EC key; empty where there is none
  unsigned bits = 0;  // of the modulus, of the prime p, of the curve's field; 0 when not known

  /// From the DER of a SubjectPublicKeyInfo, and nothing behind it. Error malformedKey.
  static Result<PublicKey> parse(Bytes subjectPublicKeyInfo) noexcept;

  /// "RSA", "RSA-PSS", "DSA", "EC", "Ed25519"; empty for others.
  std::string_view kindName() const noexcept;
};

}  // namespace velmora

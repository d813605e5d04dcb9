#pragma once

// Hashes, and what the check of a signature can come to.

#include <cstdint>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/oid.h"
#include "velmora/certificate/public_key.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// The hashes of FIPS 180-4 that certificates are signed with and known by.
enum class Hash : uint8_t { sha1, sha256, sha384, sha512 };

constexpr size_t digestSize(Hash hash) noexcept {
  switch (hash) {
    case Hash::sha1:
      return 20;
    case Hash::sha256:
      return 32;
    case Hash::sha384:
      return 48;
    case Hash::sha512:
      break;
  }
  return 64;
}

/// "SHA-256".
VELMORA_API std::string_view hashName(Hash hash) noexcept;

/// How a signature is made, as an AlgorithmIdentifier says (RFC 4055, RFC 3279 §2.2, RFC 5758,
/// RFC 8410).
struct SignatureScheme {
  KeyKind key = KeyKind::other;  // rsa is RSASSA-PKCS1-v1_5; rsaPss takes RSA keys of both kinds
  Hash hash = Hash::sha1;        // of what is signed; of Ed25519 the one within
  Hash maskHash = Hash::sha1;    // of RSASSA-PSS, for the mask
  uint32_t saltLength = 0;       // of RSASSA-PSS, in octets
};

/// The same of the DER of an AlgorithmIdentifier. Errors unknownAlgorithm, and malformedField with
/// the offset of parameters that it must not have.
VELMORA_API Result<SignatureScheme> schemeOf(Bytes algorithmIdentifier) noexcept;

enum class SignatureVerdict : uint8_t {
  good,
  wrong,        // the signature is not the key's
  cannotCheck,  // an algorithm or key that this library does not check
  refused,      // not to the letter, whoever made it
};

/// Why a signature is not good.
enum class SignatureFault : uint8_t {
  none,
  outOfMemory,              // cannotCheck; says nothing about the certificates
  algorithmsDiffer,         // refused: inside tbsCertificate and behind it (RFC 5280 §4.1.1.2)
  algorithmUnknown,         // cannotCheck
  parametersNotUnderstood,  // cannotCheck: of RSASSA-PSS
  parametersForbidden,      // refused: ECDSA, DSA and Ed25519 have none, RSA NULL or none
  keyDoesNotFit,            // refused: a key of another kind, or bound to other PSS parameters
  keyUnusable,              // cannotCheck: malformed, too small or large, an unknown curve
  signatureMalformed,       // refused: not whole octets, no two INTEGERs, no 64 octets
  wrongSignature,           // wrong
  otherHash,                // refused: PKCS #1 names another hash than the algorithm
  shortDigest,              // refused: PKCS #1 with a digest without its leading zeros
  otherMaskHash,            // refused: PSS with another mask than the parameters say
  otherSaltLength,          // refused: PSS with another salt than the parameters say
};

/// How grave that is.
constexpr SignatureVerdict verdictOf(SignatureFault fault) noexcept {
  switch (fault) {
    case SignatureFault::none:
      return SignatureVerdict::good;
    case SignatureFault::wrongSignature:
      return SignatureVerdict::wrong;
    case SignatureFault::outOfMemory:
    case SignatureFault::algorithmUnknown:
    case SignatureFault::parametersNotUnderstood:
    case SignatureFault::keyUnusable:
      return SignatureVerdict::cannotCheck;
    default:
      return SignatureVerdict::refused;
  }
}

/// What became of one check of a signature.
struct VELMORA_API SignatureCheck {
  SignatureVerdict verdict = SignatureVerdict::cannotCheck;  // what may be concluded from it
  SignatureFault fault = SignatureFault::algorithmUnknown;   // why it is not good, when it is not

  /// A constant sentence for people; empty when the signature is good.
  std::string_view message() const noexcept;
};

}  // namespace velmora

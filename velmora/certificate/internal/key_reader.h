#pragma once

// Reads SubjectPublicKeyInfo.

#include <optional>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/internal/algorithm_reader.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/public_key.h"
#include "velmora/certificate/result.h"

namespace velmora {

/// A SubjectPublicKeyInfo (RFC 5280 §4.1.2.7) taken apart by the syntax of its algorithm. Numbers
/// are big-endian without a zero octet in front, and above 0.
struct KeyParts {
  KeyKind kind = KeyKind::other;
  Bytes algorithm;  // the content octets of its OID
  std::optional<Asn1Element> parameters;
  Bytes bits;  // of subjectPublicKey, without the octet that counts unused ones

  Bytes modulus, exponent;           // of an RSA key
  std::optional<PssParameters> pss;  // of one for RSASSA-PSS that is bound to some
  bool isBoundToUnknown = false;     // to such that are not understood

  Bytes p, q, g, y;  // of a DSA key; p, q and g are empty when they are those of the issuer's key

  Bytes curve;       // of an EC key: the content octets of the curve's OID, empty without one
  Bytes fieldPrime;  // of one with explicit parameters, where its field has a prime
};

/// The kind that the OID of the algorithm says, whatever else is wrong with the key.
KeyKind kindOfKey(const Asn1Element& spki) noexcept;

/// Error malformedKey with the offset of what is not of the syntax of RFC 3279 §2.3, RFC 4055 §1.2,
/// RFC 5480 §2 or RFC 8410 §3 and §4, in DER to the letter. Of other algorithms the outer form is
/// all that is looked at, and of EC keys the octets of the point are any.
Result<KeyParts> readKey(const Asn1Element& spki) noexcept;

/// The same into parts that are empty, as far as it goes; the fault where readKey has an error.
/// What stands behind a fault may be there or not.
std::optional<size_t> readKeyInto(const Asn1Element& spki, KeyParts& parts) noexcept;

/// Whether those octets are of SEC 1 §2.3.3: 04 and both coordinates, or 02 or 03 and one
/// (RFC 5480 §2.2), of the size of the field where that is known. Whether they are a point of the
/// curve is not looked at.
bool hasFormOfPoint(const KeyParts& key) noexcept;

/// The bits of a number; 0 for none.
unsigned bitsOf(Bytes number) noexcept;
/// The bits of the field of an EC key; 0 where the curve is not known.
unsigned bitsOfField(const KeyParts& key) noexcept;

}  // namespace velmora

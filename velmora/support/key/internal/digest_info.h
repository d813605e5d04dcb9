#pragma once

// The DigestInfo that an RSA signature of PKCS #1 holds (RFC 8017 §9.2).

#include <cstddef>
#include <span>

namespace velmora {

/// The longest hash OID that a DigestInfo may carry. Those of all known hashes take 5 to 11 octets.
/// The bound is what keeps signatures from being made without the private key: an unknown hash is
/// checked as SHA-1, so an OID may be anything, and under exponent 3 whoever can choose some two
/// thirds of a block freely finds a number whose cube it is.
inline constexpr size_t kMaxHashOidSize = 20;

/// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
/// (RFC 8017 §9.2), DER to the letter: exactly two members, a hash OID of at most kMaxHashOidSize
/// octets with parameters that are absent or NULL, a digest that is not empty, nothing after any of
/// them.
bool isStrictDigestInfo(std::span<const unsigned char> bytes) noexcept;

/// Whether code that reads the octets leniently, as BER of whatever form, could find a hash OID and
/// a digest in them: as the first part of the first part, and as the content of the second. To be
/// given at most as many octets as the largest modulus has.
bool hasHashAndDigest(std::span<const unsigned char> bytes) noexcept;

}  // namespace velmora

#pragma once

// Says what some DER is: a certificate, a bundle, or which other thing.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace velmora {

/// What some DER turned out to hold.
enum class DerKind : uint8_t {
  kCertificate,          // RFC 5280 §4.1
  kPkcs7,                // PKCS #7 SignedData, RFC 2315 §9.1, RFC 5652 §5
  kPrivateKey,           // PKCS #8, PKCS #1, SEC 1 (RFC 5915), DSA
  kEncryptedPrivateKey,  // PKCS #8 EncryptedPrivateKeyInfo, RFC 5958 §3
  kCertificateRequest,   // PKCS #10, RFC 2986
  kCrl,                  // RFC 5280 §5.1
  kPublicKey,            // SubjectPublicKeyInfo, PKCS #1 RSAPublicKey
  kPkcs12,               // RFC 7292
  kOcspResponse,         // RFC 6960 §4.2.1
  kOtherAsn1,
  kNotAsn1
};

/// The kind, said for people, and for kOtherAsn1 and kNotAsn1 where the bytes stop being a
/// certificate.
struct DerShape {
  DerKind kind = DerKind::kNotAsn1;
  const char* text = nullptr;  // a constant, such as "A private key (PKCS #8), not a certificate."
  std::optional<size_t> offset;  // from the start of the input

  bool isCertificate() const noexcept { return kind == DerKind::kCertificate; }
};

/// Tells what `bytes` hold by their outline: the types and the order of the members that make a
/// certificate one, not their values, so that a certificate with a strange field is still a
/// certificate. BER is understood. All of it must be one element, well-formed down to its last
/// member. `base` is added to the offset. Takes time proportional to the input, allocates nothing
/// and never tells a secret: kinds of keys have neither offset nor content in their text.
DerShape classifyDer(std::span<const unsigned char> bytes, size_t base = 0) noexcept;

}  // namespace velmora

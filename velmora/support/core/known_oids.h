#pragma once

// The OBJECT IDENTIFIERs that code asks for, each at this one place; what they and others are
// called stands in attribute_types.h and oid_names.cpp of support/asn1.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "velmora/support/core/export.h"

namespace velmora {

/// An OBJECT IDENTIFIER that is known when the program is compiled, as dotted text and as the
/// content octets of its DER (X.690 §8.19). Text that is no OID, or one of more octets than fit,
/// does not compile.
class VELMORA_API KnownOid {
 public:
  /// The most content octets that one may have.
  static constexpr size_t kMaxSize = 15;

  /// From decimal arcs of at most 18 digits.
  consteval KnownOid(const char* dotted) : m_dotted(dotted) {
    std::string_view text(dotted);
    const uint64_t root = takeArc(text);
    const uint64_t second = takeArc(text);
    // The first two arcs share one subidentifier.
    if (root > 2 || (root < 2 && second >= 40)) malformedLiteral();
    append(40 * root + second);
    while (!text.empty()) append(takeArc(text));
  }

  /// The text that it was made of.
  constexpr const char* dotted() const noexcept { return m_dotted; }
  /// They live as long as this object.
  constexpr std::span<const unsigned char> octets() const& noexcept {
    return {m_octets.data(), m_size};
  }
  std::span<const unsigned char> octets() const&& = delete;

  /// Whether these content octets are the OID's. Compares the last ones first: OIDs of one arc
  /// differ there.
  constexpr bool is(std::span<const unsigned char> content) const noexcept {
    if (content.size() != m_size) return false;
    for (size_t i = m_size; i-- > 0;) {
      if (content[i] != m_octets[i]) return false;
    }
    return true;
  }

 private:
  static void malformedLiteral();  // not constexpr, so that a literal at fault stops the compiler

  static consteval uint64_t takeArc(std::string_view& text) {
    uint64_t arc = 0;
    size_t size = 0;
    for (; size < text.size() && text[size] != '.'; ++size) {
      if (text[size] < '0' || text[size] > '9') malformedLiteral();
      arc = 10 * arc + static_cast<uint64_t>(text[size] - '0');
    }
    const bool isPadded = size > 1 && text[0] == '0';
    const bool endsInDot = size + 1 == text.size();
    if (size == 0 || size > 18 || isPadded || endsInDot) malformedLiteral();
    text.remove_prefix(size < text.size() ? size + 1 : size);
    return arc;
  }

  consteval void append(uint64_t arc) {
    unsigned septets = 1;
    for (uint64_t rest = arc >> 7; rest != 0; rest >>= 7) ++septets;
    if (m_size + septets > kMaxSize) malformedLiteral();
    while (septets-- > 0) {
      const unsigned more = septets != 0 ? 0x80 : 0;
      m_octets[m_size++] = static_cast<unsigned char>(more | (arc >> (7 * septets) & 0x7F));
    }
  }

  const char* m_dotted;
  std::array<unsigned char, kMaxSize> m_octets{};
  uint8_t m_size = 0;
};

namespace known_oid {

// Attribute types (X.520, RFC 4519, RFC 2985).
inline constexpr KnownOid commonName{"2.5.4.3"}, surname{"2.5.4.4"}, serialNumber{"2.5.4.5"},
    country{"2.5.4.6"}, locality{"2.5.4.7"}, state{"2.5.4.8"}, street{"2.5.4.9"},
    organization{"2.5.4.10"}, organizationalUnit{"2.5.4.11"}, title{"2.5.4.12"},
    givenName{"2.5.4.42"}, dnQualifier{"2.5.4.46"}, organizationIdentifier{"2.5.4.97"},
    domainComponent{"0.9.2342.19200300.100.1.25"}, userId{"0.9.2342.19200300.100.1.1"},
    emailAddress{"1.2.840.113549.1.9.1"};

// Keys and signatures (RFC 8017, RFC 3279, RFC 5480, RFC 5758, RFC 8410).
inline constexpr KnownOid rsaEncryption{"1.2.840.113549.1.1.1"}, mgf1{"1.2.840.113549.1.1.8"},
    rsassaPss{"1.2.840.113549.1.1.10"}, sha1WithRsa{"1.2.840.113549.1.1.5"},
    sha256WithRsa{"1.2.840.113549.1.1.11"}, sha384WithRsa{"1.2.840.113549.1.1.12"},
    sha512WithRsa{"1.2.840.113549.1.1.13"}, dsa{"1.2.840.10040.4.1"},
    dsaWithSha1{"1.2.840.10040.4.3"}, dsaWithSha256{"2.16.840.1.101.3.4.3.2"},
    ecPublicKey{"1.2.840.10045.2.1"}, ecdsaWithSha1{"1.2.840.10045.4.1"},
    ecdsaWithSha256{"1.2.840.10045.4.3.2"}, ecdsaWithSha384{"1.2.840.10045.4.3.3"},
    ecdsaWithSha512{"1.2.840.10045.4.3.4"}, ed25519{"1.3.101.112"},
    gost34310WithGost34311{"1.2.804.2.1.1.1.1.3.1.1"};

// Hashes (RFC 8017 appendix C).
inline constexpr KnownOid sha1{"1.3.14.3.2.26"}, sha256{"2.16.840.1.101.3.4.2.1"},
    sha384{"2.16.840.1.101.3.4.2.2"}, sha512{"2.16.840.1.101.3.4.2.3"};

// Curves (SEC 2, RFC 5639).
inline constexpr KnownOid p192{"1.2.840.10045.3.1.1"}, p224{"1.3.132.0.33"},
    p256{"1.2.840.10045.3.1.7"}, p384{"1.3.132.0.34"}, p521{"1.3.132.0.35"},
    secp256k1{"1.3.132.0.10"}, brainpoolP256r1{"1.3.36.3.3.2.8.1.1.7"},
    brainpoolP384r1{"1.3.36.3.3.2.8.1.1.11"}, brainpoolP512r1{"1.3.36.3.3.2.8.1.1.13"};

// Extensions (RFC 5280 §4.2, RFC 6962 §3.3, RFC 7633, RFC 6960 §4.2.2.2.1, RFC 9608).
inline constexpr KnownOid subjectDirectoryAttributes{"2.5.29.9"}, subjectKeyIdentifier{"2.5.29.14"},
    keyUsage{"2.5.29.15"}, subjectAltName{"2.5.29.17"}, issuerAltName{"2.5.29.18"},
    basicConstraints{"2.5.29.19"}, nameConstraints{"2.5.29.30"}, crlDistributionPoints{"2.5.29.31"},
    certificatePolicies{"2.5.29.32"}, policyMappings{"2.5.29.33"},
    authorityKeyIdentifier{"2.5.29.35"}, policyConstraints{"2.5.29.36"}, extKeyUsage{"2.5.29.37"},
    freshestCrl{"2.5.29.46"}, inhibitAnyPolicy{"2.5.29.54"}, noRevAvail{"2.5.29.56"},
    authorityInfoAccess{"1.3.6.1.5.5.7.1.1"}, subjectInfoAccess{"1.3.6.1.5.5.7.1.11"},
    tlsFeature{"1.3.6.1.5.5.7.1.24"}, ocspNoCheck{"1.3.6.1.5.5.7.48.1.5"},
    signedTimestamps{"1.3.6.1.4.1.11129.2.4.2"}, ctPoison{"1.3.6.1.4.1.11129.2.4.3"};

// Key purposes (RFC 5280 §4.2.1.12).
inline constexpr KnownOid anyExtendedKeyUsage{"2.5.29.37.0"}, serverAuth{"1.3.6.1.5.5.7.3.1"},
    clientAuth{"1.3.6.1.5.5.7.3.2"}, codeSigning{"1.3.6.1.5.5.7.3.3"},
    emailProtection{"1.3.6.1.5.5.7.3.4"}, timeStamping{"1.3.6.1.5.5.7.3.8"},
    ocspSigning{"1.3.6.1.5.5.7.3.9"};

// Policies and access methods (RFC 5280 §4.2.1.4 and §4.2.2).
inline constexpr KnownOid anyPolicy{"2.5.29.32.0"}, cpsQualifier{"1.3.6.1.5.5.7.2.1"},
    userNoticeQualifier{"1.3.6.1.5.5.7.2.2"}, ocsp{"1.3.6.1.5.5.7.48.1"},
    caIssuers{"1.3.6.1.5.5.7.48.2"};

}  // namespace known_oid
}  // namespace velmora

#pragma once

// OBJECT IDENTIFIERs as values, and those that questions are asked with.

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"
#include "velmora/support/core/known_oids.h"

namespace velmora {

/// An OBJECT IDENTIFIER (X.660, X.690 §8.19) as the content octets of its DER: 64 bytes, trivially
/// copyable. One of more than 63 octets does not fit and is empty; where a certificate holds such a
/// one, its octets stand beside it. An empty one stands for nothing and is equal to nothing, not
/// even to another empty one.
class VELMORA_API Oid {
 public:
  /// The most content octets that an Oid holds.
  static constexpr size_t kMaxSize = 63;

  constexpr Oid() = default;

  /// From dotted text that is known when the program is compiled; what parse() refuses does not
  /// compile.
  consteval Oid(const char* dotted) {
    if (encode(dotted)) malformedLiteral();
  }
  consteval Oid(const KnownOid& known) : Oid(known.dotted()) {}

  /// From "1.2.840.113549": two arcs or more in decimal without leading zeros, the first below 3,
  /// the second below 40 under 0 and 1, each of any size. Error malformedText with the offset of
  /// the character at fault, or tooLarge with that of the digit where kMaxSize octets do not do.
  static Result<Oid> parse(std::string_view dotted) noexcept;

  /// From content octets; empty when they are more than kMaxSize or no OID in its shortest form.
  static Oid fromDer(Bytes content) noexcept;

  /// Whether it stands for nothing.
  constexpr bool isEmpty() const noexcept { return m_size == 0; }

  /// Dotted decimal; arcs of any size are written. Empty for an empty one.
  std::string text() const;

  /// The name by which the standards know it, such as "commonName"; empty when it is not known. It
  /// lives as long as the program.
  std::string_view name() const noexcept;

  /// The content octets, which live as long as this object.
  constexpr Bytes der() const& noexcept { return {m_octets.data(), m_size}; }
  Bytes der() const&& = delete;

  friend constexpr bool operator==(const Oid& a, const Oid& b) noexcept {
    return a.m_size != 0 && a.compare(b) == 0;
  }
  /// By octets; the empty ones, which this cannot tell apart, come first.
  friend constexpr std::weak_ordering operator<=>(const Oid& a, const Oid& b) noexcept {
    return a.compare(b) <=> 0;
  }

 private:
  static void malformedLiteral();  // not constexpr, so that a literal at fault stops the compiler

  constexpr int compare(const Oid& other) const noexcept {
    for (size_t i = 0; i < m_size && i < other.m_size; ++i) {
      if (m_octets[i] != other.m_octets[i]) return m_octets[i] < other.m_octets[i] ? -1 : 1;
    }
    return static_cast<int>(m_size) - static_cast<int>(other.m_size);
  }

  // Sets the octets of an empty OID from dotted text. Ends with the first fault, and so before the
  // octets are more than there is room for, however long the text is.
  constexpr std::optional<Error> encode(std::string_view dotted) noexcept {
    if (dotted.empty() || dotted[0] < '0' || dotted[0] > '2') {
      return Error::at(ErrorCode::malformedText, 0);
    }
    const auto root = static_cast<unsigned>(dotted[0] - '0');
    for (size_t i = 1; i < dotted.size() || m_size == 0;) {
      if (i >= dotted.size() || dotted[i] != '.') return Error::at(ErrorCode::malformedText, i);
      const size_t start = m_size;
      if (const auto fault = appendArc(dotted, ++i)) return fault;
      if (start == 0) {  // the first two arcs share one subidentifier (X.690 §8.19.4)
        const bool isTooHigh = root < 2 && (m_size != 1 || m_octets[0] >= std::byte{40});
        if (isTooHigh) return Error::at(ErrorCode::malformedText, i - 1);
        if (!multiplyAdd(0, 1, 40 * root)) return Error::at(ErrorCode::tooLarge, i - 1);
      }
      for (size_t k = start; k + 1 < m_size; ++k) m_octets[k] |= std::byte{0x80};
    }
    return std::nullopt;
  }

  // Appends the arc at `i` of the text and moves past it; without the marks that more octets
  // follow.
  constexpr std::optional<Error> appendArc(std::string_view dotted, size_t& i) noexcept {
    const size_t start = m_size;
    const size_t first = i;
    for (; i < dotted.size() && dotted[i] >= '0' && dotted[i] <= '9'; ++i) {
      const bool isAfterZero = i == first + 1 && dotted[first] == '0';
      if (isAfterZero) return Error::at(ErrorCode::malformedText, i);
      const auto digit = static_cast<unsigned>(dotted[i] - '0');
      if (!multiplyAdd(start, 10, digit)) return Error::at(ErrorCode::tooLarge, i);
    }
    if (i == first) return Error::at(ErrorCode::malformedText, i);
    return std::nullopt;
  }

  // The number in the octets from `start` on, seven bits in each, times `factor` plus `addend`,
  // which is below 128; false where there is no room.
  constexpr bool multiplyAdd(size_t start, unsigned factor, unsigned addend) noexcept {
    for (size_t i = m_size; i-- > start;) {
      const unsigned sum = std::to_integer<unsigned>(m_octets[i]) * factor + addend;
      m_octets[i] = static_cast<std::byte>(sum & 0x7F);
      addend = sum >> 7;
    }
    if (addend == 0 && m_size != start) return true;
    if (m_size == kMaxSize) return false;
    for (size_t i = m_size++; i > start; --i) m_octets[i] = m_octets[i - 1];
    m_octets[start] = static_cast<std::byte>(addend);
    return true;
  }

  std::array<std::byte, kMaxSize> m_octets{};
  uint8_t m_size = 0;
};

/// OIDs that questions are asked with.
namespace oid {
/// Attribute types (X.520, RFC 4519, RFC 2985).
inline constexpr Oid commonName{known_oid::commonName}, surname{known_oid::surname},
    serialNumber{known_oid::serialNumber}, country{known_oid::country},
    locality{known_oid::locality}, state{known_oid::state}, street{known_oid::street},
    organization{known_oid::organization}, organizationalUnit{known_oid::organizationalUnit},
    title{known_oid::title}, givenName{known_oid::givenName}, dnQualifier{known_oid::dnQualifier},
    organizationIdentifier{known_oid::organizationIdentifier},
    domainComponent{known_oid::domainComponent}, userId{known_oid::userId},
    emailAddress{known_oid::emailAddress};
/// Extensions (RFC 5280 §4.2, RFC 6962 §3.3, RFC 7633, RFC 6960 §4.2.2.2.1, RFC 9608).
inline constexpr Oid subjectKeyIdentifier{known_oid::subjectKeyIdentifier},
    keyUsage{known_oid::keyUsage}, subjectAltName{known_oid::subjectAltName},
    issuerAltName{known_oid::issuerAltName}, basicConstraints{known_oid::basicConstraints},
    nameConstraints{known_oid::nameConstraints},
    crlDistributionPoints{known_oid::crlDistributionPoints},
    certificatePolicies{known_oid::certificatePolicies}, policyMappings{known_oid::policyMappings},
    authorityKeyIdentifier{known_oid::authorityKeyIdentifier},
    policyConstraints{known_oid::policyConstraints}, extKeyUsage{known_oid::extKeyUsage},
    freshestCrl{known_oid::freshestCrl}, inhibitAnyPolicy{known_oid::inhibitAnyPolicy},
    noRevAvail{known_oid::noRevAvail}, authorityInfoAccess{known_oid::authorityInfoAccess},
    subjectInfoAccess{known_oid::subjectInfoAccess}, tlsFeature{known_oid::tlsFeature},
    ocspNoCheck{known_oid::ocspNoCheck}, signedTimestamps{known_oid::signedTimestamps},
    ctPoison{known_oid::ctPoison};
/// Key purposes (RFC 5280 §4.2.1.12).
inline constexpr Oid anyExtendedKeyUsage{known_oid::anyExtendedKeyUsage},
    serverAuth{known_oid::serverAuth}, clientAuth{known_oid::clientAuth},
    codeSigning{known_oid::codeSigning}, emailProtection{known_oid::emailProtection},
    timeStamping{known_oid::timeStamping}, ocspSigning{known_oid::ocspSigning};
/// Policies and access methods (RFC 5280 §4.2.1.4 and §4.2.2).
inline constexpr Oid anyPolicy{known_oid::anyPolicy}, cpsQualifier{known_oid::cpsQualifier},
    userNoticeQualifier{known_oid::userNoticeQualifier}, ocsp{known_oid::ocsp},
    caIssuers{known_oid::caIssuers};
}  // namespace oid

}  // namespace velmora

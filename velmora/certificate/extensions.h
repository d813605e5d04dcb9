#pragma once

// What the extensions of a certificate say (RFC 5280 §4.2), as Certificate answers it. `Bytes` live
// as long as any copy of the certificate, everything else owns what it holds.
//
// They are read to the letter of their syntax and of DER, inside and out: a BOOLEAN is FF or 00, an
// INTEGER in its shortest form, unused bits are 0, a list that may not be empty is not, nothing
// follows. What does not fit is malformedExtension with the offset of the element at fault.
// Tolerated are two things that change no meaning: a default that is written all the same, and zero
// bits at the end of a named bit list. General names that are malformed stand in their lists as
// RawName, for the one who judges them.

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/general_name.h"
#include "velmora/certificate/oid.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// How an extension is read. To the letter, as every decision needs it; or leniently, to be shown:
/// taken is also what the standards forbid and what has a plain meaning all the same. These are a
/// BOOLEAN that is neither FF nor 00, a padded INTEGER, octets beyond ASCII in an IA5String, an IP
/// address with a mask where none belongs and the other way round, subtrees with distances, a
/// distribution point of reasons alone, and the parts of an authorityKeyIdentifier in disorder.
enum class Strictness : uint8_t { strict, lenient };

/// One extension as it stands there; or, in listedExtensions() alone, another member of their list.
struct Extension {
  Oid id;                    // empty for one of more than Oid::kMaxSize octets
  bool critical;             // also for a BOOLEAN that is neither 00 nor FF
  Bytes value;               // the octets of extnValue
  Bytes rawId;               // the content octets of extnID
  uint32_t offset;           // of the extension, from the start of the certificate
  bool isWellFormed = true;  // but for the octet of the BOOLEAN
  bool hasValue = true;      // there is an OCTET STRING
};

/// §4.2.1.9.
struct BasicConstraints {
  bool ca = false;  // cA
  std::optional<uint64_t>
      pathLength;  // one that 64 bits do not hold is UINT64_MAX: no limit at all
};

/// The bits of keyUsage (§4.2.1.3), bit 0 first.
enum class KeyUse : uint16_t {
  digitalSignature = 1,
  nonRepudiation = 2,
  keyEncipherment = 4,
  dataEncipherment = 8,
  keyAgreement = 16,
  keyCertSign = 32,
  crlSign = 64,
  encipherOnly = 128,
  decipherOnly = 256,
};

/// keyUsage (§4.2.1.3).
struct KeyUsage {
  uint16_t bits = 0;  // bits beyond those of KeyUse are left out
  /// Whether the bit is set.
  constexpr bool has(KeyUse use) const noexcept { return (bits & static_cast<uint16_t>(use)) != 0; }
};

/// §4.2.1.12; a purpose of more than Oid::kMaxSize octets is an empty Oid, which equals nothing.
struct VELMORA_API ExtendedKeyUsage {
  std::vector<Oid> purposes;  // in their order, anyExtendedKeyUsage like any other
  /// Whether the purpose itself is listed; anyExtendedKeyUsage stands for no other here.
  bool has(const Oid& purpose) const noexcept;
};

/// §4.2.1.1. RFC 5280 has issuer and serial both or neither; each is given as it stands there.
struct AuthorityKeyId {
  std::optional<Bytes> keyId;       // keyIdentifier, its octets
  std::vector<GeneralName> issuer;  // authorityCertIssuer; empty without it
  std::optional<Bytes> serial;      // the content octets of the INTEGER
};

/// An AccessDescription of authority or subject information access (§4.2.2).
struct Access {
  Oid method;            // accessMethod, such as oid::ocsp
  GeneralName location;  // accessLocation
};

/// The reasons of §4.2.1.13, bit 0 first; bit 0 is unused.
enum class RevocationReason : uint16_t {
  unused = 1,
  keyCompromise = 2,
  caCompromise = 4,
  affiliationChanged = 8,
  superseded = 16,
  cessationOfOperation = 32,
  certificateHold = 64,
  privilegeWithdrawn = 128,
  aaCompromise = 256,
};

/// §4.2.1.13, and of freshestCRL §4.2.1.15. One without a name and an issuer is malformed.
struct DistributionPoint {
  std::vector<GeneralName> fullName;    // the names by which the CRL is found; empty without them
  std::vector<Attribute> relativeName;  // one RDN, below the name of the CRL's issuer
  std::vector<GeneralName> crlIssuer;   // who signs it, if not the issuer of the certificate
  std::optional<uint16_t> reasons;      // bits of RevocationReason; without, all of them
};

/// issuingDistributionPoint, an extension of CRLs (§5.2.5): which certificates of its issuer a CRL
/// is about, and for which reasons.
struct VELMORA_API IssuingDistributionPoint {
  std::vector<GeneralName> fullName;    // the names by which the CRL is found; empty without them
  std::vector<Attribute> relativeName;  // one RDN, below the name of the CRL's issuer
  bool onlyUserCertificates = false;    // onlyContainsUserCerts
  bool onlyCaCertificates = false;      // onlyContainsCACerts
  std::optional<uint16_t> onlySomeReasons;  // bits of RevocationReason; without, all of them
  bool isIndirect = false;                  // it also has entries of other issuers
  bool onlyAttributeCertificates = false;   // onlyContainsAttributeCerts

  /// From the octets of extnValue. Error malformedExtension with the offset in them. Throws
  /// std::bad_alloc.
  static Result<IssuingDistributionPoint> parse(Bytes value);
};

/// The qualifiers of §4.2.1.4. Texts may have more than 200 characters.
struct CpsUri {
  std::string text;  // the URI as it stands there
};
/// A notice that is to be shown to whoever relies on the certificate.
struct UserNotice {
  std::optional<std::string> organization;  // of the reference, with its numbers
  std::vector<int64_t> numbers;     // one that 64 bits do not hold is INT64_MAX or INT64_MIN
  std::optional<std::string> text;  // explicitText, in UTF-8
};
/// A qualifier that RFC 5280 does not define.
struct VELMORA_API OtherQualifier {
  Oid id;        // policyQualifierId
  Octets value;  // the DER of one element

  /// The value, or the first of its members that is a string, in UTF-8; else absent.
  Result<std::string> text() const;
};
using PolicyQualifier = std::variant<CpsUri, UserNotice, OtherQualifier>;

/// A PolicyInformation of certificatePolicies (§4.2.1.4).
struct Policy {
  Oid id;                                   // empty for one of more than Oid::kMaxSize octets
  Octets rawId;                             // its content octets
  std::vector<PolicyQualifier> qualifiers;  // in their order; empty without any
};

/// §4.2.1.5.
struct PolicyMapping {
  Oid issuerPolicy;         // issuerDomainPolicy; empty for one that Oid does not hold
  Oid subjectPolicy;        // subjectDomainPolicy, likewise
  Octets rawIssuerPolicy;   // the content octets of the one
  Octets rawSubjectPolicy;  // and of the other
};

/// §4.2.1.11, with one of the two at least, else malformed; numbers that 64 bits do not hold are
/// UINT64_MAX.
struct PolicyConstraints {
  std::optional<uint64_t> requireExplicitPolicy;  // after how many certificates more
  std::optional<uint64_t> inhibitPolicyMapping;   // after how many certificates more
};

/// §4.2.1.14.
struct InhibitAnyPolicy {
  uint64_t skipCerts = 0;  // UINT64_MAX for a number that 64 bits do not hold
};

/// The GeneralSubtrees of nameConstraints (§4.2.1.10), one at least: minimum is 0 and maximum
/// absent, else the extension counts as malformed, as no profile gives them a meaning. IP addresses
/// are IpRange.
struct NameConstraints {
  std::vector<GeneralName> permitted;  // permittedSubtrees; empty without them
  std::vector<GeneralName> excluded;   // excludedSubtrees; empty without them
};

/// A SignedCertificateTimestamp of version 1 in the list of RFC 6962 §3.3. Those of other versions
/// are left out of the list. A time that does not fit is malformed.
struct SignedTimestamp {
  std::array<std::byte, 32> logId;                      // the SHA-256 of the log's key
  std::chrono::sys_time<std::chrono::milliseconds> at;  // when the log took the certificate, in UTC
  Octets extensions;               // the octets of CtExtensions, empty as a rule
  uint8_t hashAlgorithm = 0;       // of RFC 5246 §7.4.1.4.1: 4 is SHA-256
  uint8_t signatureAlgorithm = 0;  // 1 RSA, 3 ECDSA
  Octets signature;                // its octets
};

/// TLS feature (RFC 7633): numbers of TLS extensions, none perhaps; 5, status_request, is "must
/// staple". A number above 65535 is malformed.
struct VELMORA_API TlsFeatures {
  std::vector<uint16_t> features;  // in their order
  /// Whether the number is among them.
  bool has(uint16_t feature) const noexcept;
};

/// id-pkix-ocsp-nocheck (RFC 6960 §4.2.2.2.1) and noRevAvail (RFC 9608): that they are there is
/// all that they say.
struct OcspNoCheck {};
struct NoRevocationAvailable {};

/// What one extension says, whichever it is: nothing for one that no operation of Certificate
/// answers; the octets of a subjectKeyIdentifier; the names, accesses and points of either of the
/// two extensions that have them.
using ExtensionContent =
    std::variant<std::monostate, Bytes, KeyUsage, BasicConstraints, ExtendedKeyUsage,
                 AuthorityKeyId, NameConstraints, PolicyConstraints, InhibitAnyPolicy, TlsFeatures,
                 OcspNoCheck, NoRevocationAvailable, std::vector<GeneralName>, std::vector<Access>,
                 std::vector<DistributionPoint>, std::vector<Policy>, std::vector<PolicyMapping>,
                 std::vector<SignedTimestamp>>;

}  // namespace velmora

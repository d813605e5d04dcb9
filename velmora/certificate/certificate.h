#pragma once

// The typed certificate: what this floor is for, and where to start reading.

#include <array>
#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "velmora/certificate/block_ref.h"
#include "velmora/certificate/bytes.h"
#include "velmora/certificate/departures.h"
#include "velmora/certificate/extensions.h"
#include "velmora/certificate/general_name.h"
#include "velmora/certificate/general_name_cursor.h"
#include "velmora/certificate/name.h"
#include "velmora/certificate/oid.h"
#include "velmora/certificate/public_key.h"
#include "velmora/certificate/result.h"
#include "velmora/certificate/signature.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// The validity period (RFC 5280 §4.1.2.5), from year 0000 to 9999; fractions of a second are
/// dropped.
struct Validity {
  std::chrono::sys_seconds notBefore;  // the first second of the period
  std::chrono::sys_seconds notAfter;   // both belong to the period

  /// Whether a moment belongs to the period, both ends included.
  constexpr bool contains(std::chrono::sys_seconds t) const noexcept {
    return notBefore <= t && t <= notAfter;
  }
};

/// Where the fields of a certificate stand (RFC 5280 §4.1), each with identifier and length unless
/// said otherwise.
struct Parts {
  Bytes der;             // all of it
  Bytes tbs;             // tbsCertificate: what is signed
  Bytes version;         // the content octets of the INTEGER in version; empty where there is none
  Bytes serial;          // the content octets of serialNumber
  Bytes issuer;          // the Name of the issuer
  Bytes validity;        // the SEQUENCE of the two dates
  Bytes subject;         // the Name of the subject
  Bytes spki;            // subjectPublicKeyInfo
  Bytes innerAlgorithm;  // signature, the AlgorithmIdentifier inside tbsCertificate
  Bytes outerAlgorithm;  // signatureAlgorithm, the one behind it
  Bytes signature;       // the octets of signatureValue; empty when it has unused bits
};

/// One X.509 certificate (RFC 5280), typed: a counted pointer to its DER and an index of its parts.
/// It is eight bytes, a copy is one atomic increment, and there is no empty one; of one that was
/// moved from nothing may be asked. It never changes, holds no lock and writes no log: any number
/// of threads may ask any copy.
///
/// LIFETIME: `Bytes` point into the certificate and live as long as any copy of it; what would take
/// them out of a temporary does not compile. Everything else owns what it holds.
///
/// ERRORS are values with the offset of the octet at fault in the certificate. What is absent is
/// never mixed up with what is malformed. Of exceptions there is std::bad_alloc alone, from what is
/// not noexcept; memory that runs out in the others is ErrorCode::outOfMemory, or false.
///
/// A certificate is lenient to show and strict to decide upon: parse() refuses nothing that nobody
/// has asked about, each question is answered to the letter or not at all, and departures() lists
/// what is not as it should be.
class VELMORA_API Certificate {
 public:
  /// Copies one certificate in DER: every identifier and length in its shortest form, down to the
  /// last member, every type constructed or primitive as DER has it, nothing behind it, and the
  /// types of the fields those of RFC 5280 §4.1. What the fields, the extension values and the key
  /// say is not looked at. Errors notAsn1, notDer, trailingOctets, notACertificate (with what it
  /// is), tooLarge from 2 GiB on and for more than 100 elements inside one another or more than
  /// 65,536 and one for every 4 octets, outOfMemory. One allocation.
  template <ByteRange R>
  static Result<Certificate> parse(const R& der) noexcept {
    return parseBytes(std::as_bytes(std::span(der)));
  }
  /// The same for octets that are std::byte already.
  static Result<Certificate> parseBytes(Bytes der) noexcept;

  // Fields (§4.1).

  /// Where the fields stand; they live as long as any copy of the certificate.
  Parts parts() const& noexcept;
  Parts parts() const&& = delete;

  /// All of it; the same as parts().der.
  Bytes der() const& noexcept { return m_block.bytes(); }
  Bytes der() const&& = delete;

  /// The version as people count it (§4.1.2.1): 1 where the field is absent, else the number there
  /// plus one. Errors malformedField, where the [0] does not hold one INTEGER in its shortest form
  /// and nothing else, and tooLarge, for a number that int does not hold.
  Result<int> version() const noexcept;

  /// The content octets of the serial number in upper-case hexadecimal, the octet 00 kept that only
  /// makes it positive (§4.1.2.2).
  std::string serialHex() const;

  /// The OID of the AlgorithmIdentifier behind tbsCertificate (§4.1.1.2).
  Oid signatureAlgorithm() const noexcept;

  /// How the signature is made, by the same AlgorithmIdentifier. Errors unknownAlgorithm, for one
  /// that checkSignature cannot check, and malformedField, for parameters that it must not have,
  /// with the offset of what is at fault.
  Result<SignatureScheme> signatureScheme() const noexcept;

  /// Whom it is for (§4.1.2.6). Perhaps empty, perhaps malformed: the Name tells.
  Name subject() const noexcept;
  /// Who has issued it (§4.1.2.4), likewise.
  Name issuer() const noexcept;

  /// Whether subject and issuer are the same name (Name::matches), which an empty one is not.
  bool isSelfIssued() const noexcept;

  /// Error malformedDate with the offset of the date that cannot be read. Read is what RFC 5280
  /// §4.1.2.5 allows and what VelmoraSysTime::fromX509 reads besides: no seconds in a UTCTime,
  /// fractions, offsets.
  Result<Validity> validity() const noexcept;
  /// Either end alone, where the other one cannot be read.
  Result<std::chrono::sys_seconds> notBefore() const noexcept;
  /// The other end, likewise.
  Result<std::chrono::sys_seconds> notAfter() const noexcept;

  // The key (§4.1.2.7).

  /// What is known of the key. Error malformedKey when it is not of its algorithm's syntax; that of
  /// an EC key takes any octets for a point.
  Result<PublicKey> publicKey() const noexcept;

  /// The same for showing, also of a malformed key: what can be read of it.
  PublicKey describedKey() const noexcept;

  /// The digest of the whole certificate, its fingerprint or thumbprint.
  template <Hash kHash>
  std::array<std::byte, digestSize(kHash)> fingerprint() const noexcept {
    return digestOf<kHash>(m_block.bytes());
  }
  /// The same for a hash that is known only at run time. Throws std::bad_alloc.
  Octets fingerprint(Hash hash) const;

  /// The digest of the SubjectPublicKeyInfo, as pins have it (RFC 7469 §2.4).
  template <Hash kHash>
  std::array<std::byte, digestSize(kHash)> spkiPin() const noexcept {
    return digestOf<kHash>(parts().spki);
  }
  /// The same for a hash that is known only at run time. Throws std::bad_alloc.
  Octets spkiPin(Hash hash) const;

  // Extensions (§4.2), which count only at their place: the [3] of tbsCertificate. Each is there,
  // absent, or malformed with the offset. One that is there twice is repeatedExtension to whoever
  // asks for it; where the list is broken, what was not found is malformedExtension and not absent.
  // A value of which the lists have more than 65,536 members together is tooLarge.

  /// Those that can be read, in the certificate's order. Whether that is all of them tells
  /// departures().
  std::vector<Extension> extensions() const&;
  std::vector<Extension> extensions() const&& = delete;

  /// All members of the list in its order, for showing: those that are no Extension with what can
  /// be read of them.
  std::vector<Extension> listedExtensions() const&;
  std::vector<Extension> listedExtensions() const&& = delete;

  /// What an extension of this certificate says; one of several with its OID as well, which the
  /// operations below do not answer. Error malformedExtension, also for one of another certificate.
  Result<ExtensionContent> content(const Extension& extension,
                                   Strictness strictness = Strictness::strict) const&;
  Result<ExtensionContent> content(const Extension& extension,
                                   Strictness strictness = Strictness::strict) const&& = delete;

  /// The one with this OID, its value unread. Errors absent, repeatedExtension, malformedExtension.
  Result<Extension> extension(const Oid& id) const& noexcept;
  Result<Extension> extension(const Oid& id) const&& = delete;

  /// The OIDs of the critical ones among extensions(), in their order.
  std::vector<Oid> criticalExtensions() const;

  /// The OIDs of the critical extensions that no operation of this class answers, each once, in
  /// the order of Oid. An empty one stands for those that have none, or one that Oid does not hold.
  std::vector<Oid> unknownCriticalExtensions() const;

  /// Whether it is a CA's, and how many CAs may follow (§4.2.1.9).
  Result<BasicConstraints> basicConstraints() const noexcept;
  /// What the key may be used for (§4.2.1.3).
  Result<KeyUsage> keyUsage() const noexcept;
  /// For which purposes (§4.2.1.12).
  Result<ExtendedKeyUsage> extendedKeyUsage() const;
  /// The subject key identifier's octets (§4.2.1.2); they live as long as any copy.
  Result<Bytes> subjectKeyId() const& noexcept;
  Result<Bytes> subjectKeyId() const&& = delete;
  /// How the issuer's key is known (§4.2.1.1); its Bytes live as long as any copy.
  Result<AuthorityKeyId> authorityKeyId() const&;
  Result<AuthorityKeyId> authorityKeyId() const&& = delete;
  /// Names that are malformed are among them, as RawName.
  Result<std::vector<GeneralName>> subjectAltNames() const;
  /// The issuer's other names (§4.2.1.7), likewise.
  Result<std::vector<GeneralName>> issuerAltNames() const;
  /// The same names as subjectAltNames() gives, with the same errors, unread.
  Result<GeneralNameCursor> subjectAltNameCursor() const& noexcept;
  Result<GeneralNameCursor> subjectAltNameCursor() const&& = delete;
  /// Where the issuer's certificate and OCSP are (§4.2.2.1), in the order of the list.
  Result<std::vector<Access>> authorityInfoAccess() const;
  /// Where the subject's services are (§4.2.2.2), likewise.
  Result<std::vector<Access>> subjectInfoAccess() const;
  /// Where the CRLs are (§4.2.1.13).
  Result<std::vector<DistributionPoint>> crlDistributionPoints() const;
  /// Where the delta CRLs are (§4.2.1.15).
  Result<std::vector<DistributionPoint>> freshestCrl() const;
  /// Under which policies it was issued (§4.2.1.4), or what a CA may issue under.
  Result<std::vector<Policy>> policies() const;
  /// Which policies a CA holds for the same as its own (§4.2.1.5).
  Result<std::vector<PolicyMapping>> policyMappings() const;
  /// When policies are needed and no longer mapped below a CA (§4.2.1.11).
  Result<PolicyConstraints> policyConstraints() const noexcept;
  /// When anyPolicy stops to stand for others below a CA (§4.2.1.14).
  Result<InhibitAnyPolicy> inhibitAnyPolicy() const noexcept;
  /// What names certificates below a CA may have (§4.2.1.10).
  Result<NameConstraints> nameConstraints() const;
  /// The timestamps of certificate transparency logs that it carries (RFC 6962 §3.3).
  Result<std::vector<SignedTimestamp>> signedTimestamps() const;
  /// The TLS extensions that its server has to answer with (RFC 7633).
  Result<TlsFeatures> tlsFeatures() const;
  /// Whether an OCSP signer's certificate is not to be asked about (RFC 6960 §4.2.2.2.1).
  Result<OcspNoCheck> ocspNoCheck() const noexcept;
  /// Whether nothing is ever said about its revocation (RFC 9608).
  Result<NoRevocationAvailable> noRevocationAvailable() const noexcept;

  /// The DNS names of the subject alternative names, for who wants nothing else; the common name is
  /// never one. Empty where there are none or the extension is malformed.
  std::vector<std::string> dnsNames() const;

  // What is not as it should be.

  /// What departs from RFC 5280 §4 and X.690, in the order of the offsets: of each kind the first
  /// in a field, and in the extensions of one OID. Empty for a certificate to the letter. Of
  /// extensions that no operation of this class answers the value is not looked at.
  std::vector<Departure> departures() const;

  // One link, one question.

  /// Whether the signature is that of the issuer's key, to the letter: the two algorithm
  /// identifiers are the same, their parameters those of RFC 4055, 5758 and 8410, the algorithm is
  /// one for the kind of key, and the form is exact. Names, dates and extensions are not looked at.
  /// For many signatures of one key prepare an IssuerKey, which checks in the same way.
  SignatureCheck checkSignature(const Certificate& issuer) const noexcept;
  /// The verdict of checkSignature alone.
  SignatureVerdict signedBy(const Certificate& issuer) const noexcept {
    return checkSignature(issuer).verdict;
  }

  /// The same octets; the order is that of the octets.
  friend VELMORA_API bool operator==(const Certificate& a, const Certificate& b) noexcept;
  friend VELMORA_API std::strong_ordering operator<=>(const Certificate& a,
                                                      const Certificate& b) noexcept;

 private:
  template <Hash kHash>
  static std::array<std::byte, digestSize(kHash)> digestOf(Bytes octets) noexcept {
    std::array<std::byte, digestSize(kHash)> digest;
    writeDigest(kHash, octets, digest.data());
    return digest;
  }
  static void writeDigest(Hash hash, Bytes octets, std::byte* digest) noexcept;

  explicit Certificate(BlockRef block) noexcept : m_block(std::move(block)) {}

  BlockRef m_block;
};

}  // namespace velmora

/// Keyed with a secret of the process, so that nobody can aim certificates at one bucket.
template <>
struct std::hash<velmora::Certificate> {
  /// The hash of the certificate's octets; equal certificates have equal ones.
  VELMORA_API size_t operator()(const velmora::Certificate& certificate) const noexcept;
};

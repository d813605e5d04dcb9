#include "velmora/support/asn1/certificate_shape.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "velmora/support/asn1/ber_walk.h"

namespace velmora {

namespace {

// One letter for each type that tells structures apart; context-specific tags 0 to 9 are their
// digit.
char letterOf(const Asn1Header& header) {
  if (header.tagClass == Asn1Class::kContextSpecific && header.tagNumber < 10) {
    return static_cast<char>('0' + header.tagNumber);
  }
  if (header.tagClass != Asn1Class::kUniversal) return '?';
  switch (header.tagNumber) {
    case asn1_tag::kInteger:
      return 'I';
    case asn1_tag::kBitString:
      return 'B';
    case asn1_tag::kOctetString:
      return 'O';
    case asn1_tag::kOid:
      return 'o';
    case asn1_tag::kEnumerated:
      return 'E';
    case asn1_tag::kUtcTime:
    case asn1_tag::kGeneralizedTime:
      return 'T';
    case asn1_tag::kSequence:
      return header.constructed ? 'S' : '?';
    default:
      return '?';
  }
}

// The members of a constructed element as letters. No structure known here has as many members as
// there is room for, so a longer one fits no pattern.
class Outline {
 public:
  explicit Outline(const Asn1Element& parent) noexcept {
    DerReader members(parent);
    while (m_count < kMax && members.readElement(m_members[m_count])) {
      m_letters[m_count] = letterOf(m_members[m_count].header);
      ++m_count;
    }
    m_end = members.offset();
  }

  const Asn1Element& operator[](size_t i) const noexcept { return m_members[i]; }

  bool startsWith(char letter) const noexcept { return m_count != 0 && m_letters[0] == letter; }

  bool matches(std::string_view pattern) const noexcept {
    return firstMismatch(pattern) == std::nullopt;
  }

  // Compares the members with letters, each optional when a question mark follows it. The offset of
  // the first member that does not fit, or of the end when one is missing.
  std::optional<size_t> firstMismatch(std::string_view pattern) const noexcept {
    size_t member = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
      const bool optional = i + 1 < pattern.size() && pattern[i + 1] == '?';
      const bool same = member < m_count && m_letters[member] == pattern[i];
      if (!same && !optional) return offsetOf(member);
      if (same) ++member;
      if (optional) ++i;
    }
    return member < m_count ? std::optional<size_t>(offsetOf(member)) : std::nullopt;
  }

 private:
  static constexpr size_t kMax = 12;

  size_t offsetOf(size_t member) const noexcept {
    return member < m_count ? m_members[member].offset : m_end;
  }

  std::array<Asn1Element, kMax> m_members;
  std::array<char, kMax> m_letters;
  size_t m_count = 0;
  size_t m_end = 0;
};

bool contentStartsWith(const Asn1Element& element, std::span<const unsigned char> prefix) {
  const auto content = octetsOf(element.content);
  return content.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), content.begin());
}

// 1.2.840.113549.1.7 (PKCS #7), .1.7.2 (signedData), .1.5 (PKCS #5), .1.12.1 (PKCS #12 encryption)
constexpr unsigned char kPkcs7Arc[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07};
constexpr unsigned char kSignedDataOid[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
constexpr unsigned char kPkcs5Arc[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x05};
constexpr unsigned char kPkcs12PbeArc[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x0C, 0x01};

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
bool isAlgorithm(const Asn1Element& element) {
  return element.header.is(asn1_tag::kSequence) && Outline(element).startsWith('o');
}

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
bool isPublicKeyInfo(const Outline& info) {
  return info.matches("SB") && isAlgorithm(info[0]);
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }
bool isValidity(const Asn1Element& element) {
  return Outline(element).matches("TT");
}

// TBSCertificate ::= SEQUENCE {
//   version [0] EXPLICIT Version DEFAULT v1, serialNumber INTEGER,
//   signature AlgorithmIdentifier, issuer Name, validity Validity, subject Name,
//   subjectPublicKeyInfo SubjectPublicKeyInfo,
//   issuerUniqueID [1] OPTIONAL, subjectUniqueID [2] OPTIONAL, extensions [3] OPTIONAL }
// Gives the offset of what does not fit.
std::optional<size_t> tbsCertificateMismatch(const Asn1Element& element) {
  const Outline tbs(element);
  if (const auto offset = tbs.firstMismatch("0?ISSSSS1?2?3?")) return offset;
  const size_t serial = tbs.startsWith('0') ? 1 : 0;
  const Asn1Element& signature = tbs[serial + 1];
  const Asn1Element& validity = tbs[serial + 3];
  const Asn1Element& publicKey = tbs[serial + 5];
  if (!isAlgorithm(signature)) return signature.offset;
  if (!isValidity(validity)) return validity.offset;
  if (!isPublicKeyInfo(Outline(publicKey))) return publicKey.offset;
  return std::nullopt;
}

// CertificationRequestInfo ::= SEQUENCE { version INTEGER, subject Name,
//   subjectPKInfo SubjectPublicKeyInfo, attributes [0] Attributes }
bool isRequestInfo(const Outline& info) {
  return info.matches("ISS0?") && isPublicKeyInfo(Outline(info[2]));
}

// TBSCertList ::= SEQUENCE { version INTEGER OPTIONAL, signature AlgorithmIdentifier, issuer Name,
//   thisUpdate Time, nextUpdate Time OPTIONAL, revokedCertificates SEQUENCE OF ... OPTIONAL,
//   crlExtensions [0] OPTIONAL }
bool isTbsCertList(const Outline& list) {
  return list.matches("I?SSTT?S?0?");
}

// Certificate, CertificationRequest and CertificateList share their outer form:
//   SEQUENCE { the part that is signed, signatureAlgorithm AlgorithmIdentifier,
//   signatureValue BIT STRING }
DerShape classifySigned(const Outline& outer) {
  const auto mismatch = tbsCertificateMismatch(outer[0]);
  if (!mismatch && isAlgorithm(outer[1])) return {DerKind::kCertificate, "A certificate.", {}};
  const Outline part(outer[0]);
  if (isRequestInfo(part)) {
    return {DerKind::kCertificateRequest, "A certificate request, not a certificate.", {}};
  }
  if (isTbsCertList(part)) {
    return {DerKind::kCrl, "A certificate revocation list, not a certificate.", {}};
  }
  return {DerKind::kOtherAsn1, "Signed ASN.1 without the fields of a certificate.",
          mismatch.value_or(outer[1].offset)};
}

// PrivateKeyInfo ::= SEQUENCE { version INTEGER, privateKeyAlgorithm AlgorithmIdentifier,
//   privateKey OCTET STRING, attributes [0] OPTIONAL, publicKey [1] OPTIONAL }
bool isPkcs8(const Outline& key) {
  return key.matches("ISO0?1?") && isAlgorithm(key[1]);
}

// EncryptedPrivateKeyInfo ::= SEQUENCE { encryptionAlgorithm AlgorithmIdentifier,
//   encryptedData OCTET STRING }, told from other such pairs by the algorithm.
bool isEncryptedPkcs8(const Outline& key) {
  if (!key.matches("SO") || !isAlgorithm(key[0])) return false;
  const Asn1Element oid = Outline(key[0])[0];
  return contentStartsWith(oid, kPkcs5Arc) || contentStartsWith(oid, kPkcs12PbeArc);
}

// RSAPrivateKey ::= SEQUENCE { version, n, e, d, p, q, dP, dQ, qInv INTEGER, otherPrimeInfos
//   SEQUENCE OPTIONAL }
bool isPkcs1Private(const Outline& key) {
  return key.matches("IIIIIIIIIS?");
}

// The unnamed form of a DSA key: SEQUENCE { version, p, q, g, y, x INTEGER }
bool isDsaPrivate(const Outline& key) {
  return key.matches("IIIIII");
}

// ECPrivateKey ::= SEQUENCE { version INTEGER, privateKey OCTET STRING, parameters [0] OPTIONAL,
//   publicKey [1] OPTIONAL }
bool isSec1Private(const Outline& key) {
  return key.matches("IO0?1?");
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }, told from an ECDSA
// signature by its short exponent.
bool isPkcs1Public(const Outline& key) {
  constexpr size_t kMaxExponentOctets = 9;
  return key.matches("II") && key[1].content.size() <= kMaxExponentOctets;
}

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }
bool isPkcs12(const Outline& pfx) {
  return pfx.matches("ISS?") && isAlgorithm(pfx[1]) &&
         contentStartsWith(Outline(pfx[1])[0], kPkcs7Arc);
}

// OCSPResponse ::= SEQUENCE { responseStatus ENUMERATED, responseBytes [0] OPTIONAL }
bool isOcspResponse(const Outline& response) {
  return response.matches("E0?");
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY OPTIONAL }
bool isSignedData(const Outline& info) {
  return info.matches("o0") && contentStartsWith(info[0], kSignedDataOid);
}
bool isOtherPkcs7(const Outline& info) {
  return info.matches("o0?") && contentStartsWith(info[0], kPkcs7Arc);
}

struct KnownShape {
  bool (*fits)(const Outline& outline);
  DerKind kind;
  const char* text;
};

constexpr KnownShape kKnownShapes[] = {
    {isSignedData, DerKind::kPkcs7, "A PKCS #7 bundle, not a certificate."},
    {isPkcs8, DerKind::kPrivateKey, "A private key (PKCS #8), not a certificate."},
    {isPkcs1Private, DerKind::kPrivateKey, "A private key (PKCS #1), not a certificate."},
    {isSec1Private, DerKind::kPrivateKey, "A private key (SEC 1), not a certificate."},
    {isDsaPrivate, DerKind::kPrivateKey, "A private key (DSA), not a certificate."},
    {isEncryptedPkcs8, DerKind::kEncryptedPrivateKey,
     "An encrypted private key (PKCS #8), not a certificate."},
    {isPublicKeyInfo, DerKind::kPublicKey, "A public key, not a certificate."},
    {isPkcs1Public, DerKind::kPublicKey, "A public key (PKCS #1), not a certificate."},
    {isPkcs12, DerKind::kPkcs12, "A PKCS #12 store, which may be encrypted, not a certificate."},
    {isOcspResponse, DerKind::kOcspResponse, "An OCSP response, not a certificate."},
    {isOtherPkcs7, DerKind::kOtherAsn1, "A PKCS #7 message of a type that holds no certificates."},
};

DerShape classifyElement(const Asn1Element& element) {
  constexpr const char* kOther = "ASN.1, but not a certificate.";
  if (letterOf(element.header) != 'S') return {DerKind::kOtherAsn1, kOther, element.offset};
  const Outline outline(element);
  const auto mismatch = outline.firstMismatch("SSB");
  if (!mismatch) return classifySigned(outline);
  for (const KnownShape& known : kKnownShapes) {
    if (known.fits(outline)) return {known.kind, known.text, {}};
  }
  return {DerKind::kOtherAsn1, kOther, *mismatch};
}

}  // namespace

DerShape classifyDer(std::span<const unsigned char> bytes, size_t base) noexcept {
  size_t size = 0;
  bool isDer = false;
  Asn1Fault fault;
  if (!scanBer(bytes, size, isDer, fault)) {
    return {DerKind::kNotAsn1, fault.reason, base + fault.offset};
  }
  if (size != bytes.size()) {
    return {DerKind::kOtherAsn1, "Octets follow the element.", base + size};
  }
  Asn1Element element;
  DerReader(bytes, base).readElement(element);
  return classifyElement(element);
}

}  // namespace velmora

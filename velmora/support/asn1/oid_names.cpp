#include "velmora/support/asn1/oid_names.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <iterator>

#include "velmora/support/asn1/attribute_types.h"
#include "velmora/support/asn1/oids.h"

namespace velmora {
namespace {

struct OidName {
  KnownOid oid;
  std::string_view name;
};

// All but the attribute types, by topic.
constexpr OidName kNames[] = {
    // Keys and signatures, also those that nothing here checks, so that a reason can name them
    // (RFC 8017, RFC 3279, RFC 5480, RFC 5758, RFC 8410, RFC 8692, RFC 9215, RFC 9802, RFC 9881,
    // RFC 9909, RFC 9935, the register of NIST for the SHA-3 signatures).
    {known_oid::rsaEncryption, "rsaEncryption"},
    {"1.2.840.113549.1.1.2", "md2WithRSAEncryption"},
    {"1.2.840.113549.1.1.3", "md4WithRSAEncryption"},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption"},
    {known_oid::sha1WithRsa, "sha1WithRSAEncryption"},
    {"1.2.840.113549.1.1.7", "rsaesOaep"},
    {known_oid::mgf1, "mgf1"},
    {"1.2.840.113549.1.1.9", "pSpecified"},
    {known_oid::rsassaPss, "rsassaPss"},
    {known_oid::sha256WithRsa, "sha256WithRSAEncryption"},
    {known_oid::sha384WithRsa, "sha384WithRSAEncryption"},
    {known_oid::sha512WithRsa, "sha512WithRSAEncryption"},
    {"1.2.840.113549.1.1.14", "sha224WithRSAEncryption"},
    {"1.2.840.113549.1.1.15", "sha512-224WithRSAEncryption"},
    {"1.2.840.113549.1.1.16", "sha512-256WithRSAEncryption"},
    {"1.3.14.3.2.29", "sha1WithRSASignature"},
    {"1.3.36.3.3.1.2", "ripemd160WithRSASignature"},
    {known_oid::gost34310WithGost34311, "gost34310WithGost34311"},
    {known_oid::dsa, "dsa"},
    {known_oid::dsaWithSha1, "dsaWithSHA1"},
    {"2.16.840.1.101.3.4.3.1", "dsaWithSHA224"},
    {known_oid::dsaWithSha256, "dsaWithSHA256"},
    {"2.16.840.1.101.3.4.3.3", "dsaWithSHA384"},
    {"2.16.840.1.101.3.4.3.4", "dsaWithSHA512"},
    {"2.16.840.1.101.3.4.3.5", "dsaWithSHA3-224"},
    {"2.16.840.1.101.3.4.3.6", "dsaWithSHA3-256"},
    {"2.16.840.1.101.3.4.3.7", "dsaWithSHA3-384"},
    {"2.16.840.1.101.3.4.3.8", "dsaWithSHA3-512"},
    {known_oid::ecPublicKey, "ecPublicKey"},
    {known_oid::ecdsaWithSha1, "ecdsaWithSHA1"},
    {"1.2.840.10045.4.2", "ecdsaWithRecommended"},
    {"1.2.840.10045.4.3", "ecdsaWithSpecified"},
    {"1.2.840.10045.4.3.1", "ecdsaWithSHA224"},
    {known_oid::ecdsaWithSha256, "ecdsaWithSHA256"},
    {known_oid::ecdsaWithSha384, "ecdsaWithSHA384"},
    {known_oid::ecdsaWithSha512, "ecdsaWithSHA512"},
    {"2.16.840.1.101.3.4.3.9", "ecdsaWithSHA3-224"},
    {"2.16.840.1.101.3.4.3.10", "ecdsaWithSHA3-256"},
    {"2.16.840.1.101.3.4.3.11", "ecdsaWithSHA3-384"},
    {"2.16.840.1.101.3.4.3.12", "ecdsaWithSHA3-512"},
    {"2.16.840.1.101.3.4.3.13", "rsassaPkcs1v15WithSHA3-224"},
    {"2.16.840.1.101.3.4.3.14", "rsassaPkcs1v15WithSHA3-256"},
    {"2.16.840.1.101.3.4.3.15", "rsassaPkcs1v15WithSHA3-384"},
    {"2.16.840.1.101.3.4.3.16", "rsassaPkcs1v15WithSHA3-512"},
    {"1.3.6.1.5.5.7.6.30", "rsassaPssShake128"},
    {"1.3.6.1.5.5.7.6.31", "rsassaPssShake256"},
    {"1.3.6.1.5.5.7.6.32", "ecdsaWithShake128"},
    {"1.3.6.1.5.5.7.6.33", "ecdsaWithShake256"},
    {"1.2.840.10046.2.1", "dhPublicNumber"},
    {"1.2.840.113549.1.3.1", "dhKeyAgreement"},
    {"1.3.132.1.12", "ecDH"},
    {"1.3.132.1.13", "ecMQV"},
    {"1.3.101.110", "X25519"},
    {"1.3.101.111", "X448"},
    {known_oid::ed25519, "Ed25519"},
    {"1.3.101.113", "Ed448"},
    {"2.16.840.1.101.3.4.3.17", "mlDsa44"},
    {"2.16.840.1.101.3.4.3.18", "mlDsa65"},
    {"2.16.840.1.101.3.4.3.19", "mlDsa87"},
    {"2.16.840.1.101.3.4.3.20", "slhDsaSha2-128s"},
    {"2.16.840.1.101.3.4.3.21", "slhDsaSha2-128f"},
    {"2.16.840.1.101.3.4.3.22", "slhDsaSha2-192s"},
    {"2.16.840.1.101.3.4.3.23", "slhDsaSha2-192f"},
    {"2.16.840.1.101.3.4.3.24", "slhDsaSha2-256s"},
    {"2.16.840.1.101.3.4.3.25", "slhDsaSha2-256f"},
    {"2.16.840.1.101.3.4.3.26", "slhDsaShake-128s"},
    {"2.16.840.1.101.3.4.3.27", "slhDsaShake-128f"},
    {"2.16.840.1.101.3.4.3.28", "slhDsaShake-192s"},
    {"2.16.840.1.101.3.4.3.29", "slhDsaShake-192f"},
    {"2.16.840.1.101.3.4.3.30", "slhDsaShake-256s"},
    {"2.16.840.1.101.3.4.3.31", "slhDsaShake-256f"},
    {"2.16.840.1.101.3.4.3.32", "hashMlDsa44WithSHA512"},
    {"2.16.840.1.101.3.4.3.33", "hashMlDsa65WithSHA512"},
    {"2.16.840.1.101.3.4.3.34", "hashMlDsa87WithSHA512"},
    {"2.16.840.1.101.3.4.4.1", "mlKem512"},
    {"2.16.840.1.101.3.4.4.2", "mlKem768"},
    {"2.16.840.1.101.3.4.4.3", "mlKem1024"},
    {"1.2.840.113549.1.9.16.3.17", "hssLms"},
    {"1.3.6.1.5.5.7.6.34", "xmss"},
    {"1.3.6.1.5.5.7.6.35", "xmssMt"},
    {"1.2.643.2.2.3", "gostR3411-94WithGostR3410-2001"},
    {"1.2.643.2.2.4", "gostR3411-94WithGostR3410-94"},
    {"1.2.643.2.2.19", "gostR3410-2001"},
    {"1.2.643.2.2.20", "gostR3410-94"},
    {"1.2.643.7.1.1.1.1", "gostR3410-2012-256"},
    {"1.2.643.7.1.1.1.2", "gostR3410-2012-512"},
    {"1.2.643.7.1.1.3.2", "gostR3410-2012-256WithGostR3411-2012-256"},
    {"1.2.643.7.1.1.3.3", "gostR3410-2012-512WithGostR3411-2012-512"},
    {"1.2.156.10197.1.501", "sm2WithSM3"},

    // Hashes (RFC 8017 appendix C).
    {"1.2.840.113549.2.2", "md2"},
    {"1.2.840.113549.2.4", "md4"},
    {"1.2.840.113549.2.5", "md5"},
    {"1.3.36.3.2.1", "ripemd160"},
    {known_oid::sha1, "sha1"},
    {known_oid::sha256, "sha256"},
    {known_oid::sha384, "sha384"},
    {known_oid::sha512, "sha512"},
    {"2.16.840.1.101.3.4.2.4", "sha224"},
    {"2.16.840.1.101.3.4.2.5", "sha512-224"},
    {"2.16.840.1.101.3.4.2.6", "sha512-256"},
    {"2.16.840.1.101.3.4.2.7", "sha3-224"},
    {"2.16.840.1.101.3.4.2.8", "sha3-256"},
    {"2.16.840.1.101.3.4.2.9", "sha3-384"},
    {"2.16.840.1.101.3.4.2.10", "sha3-512"},
    {"2.16.840.1.101.3.4.2.11", "shake128"},
    {"2.16.840.1.101.3.4.2.12", "shake256"},
    {"1.2.643.2.2.9", "gostR3411-94"},
    {"1.2.643.7.1.1.2.2", "gostR3411-2012-256"},
    {"1.2.643.7.1.1.2.3", "gostR3411-2012-512"},
    {"1.2.156.10197.1.401", "sm3"},

    // Curves (FIPS 186-4, SEC 2, RFC 5639), likewise.
    {known_oid::p192, "P-192"},
    {known_oid::p256, "P-256"},
    {known_oid::secp256k1, "secp256k1"},
    {known_oid::p224, "P-224"},
    {known_oid::p384, "P-384"},
    {known_oid::p521, "P-521"},
    {"1.3.132.0.8", "secp160r1"},
    {"1.3.132.0.9", "secp160k1"},
    {"1.3.132.0.30", "secp160r2"},
    {"1.3.132.0.31", "secp192k1"},
    {"1.3.132.0.32", "secp224k1"},
    {"1.3.132.0.1", "sect163k1"},
    {"1.3.132.0.15", "sect163r2"},
    {"1.3.132.0.26", "sect233k1"},
    {"1.3.132.0.27", "sect233r1"},
    {"1.3.132.0.16", "sect283k1"},
    {"1.3.132.0.17", "sect283r1"},
    {"1.3.132.0.36", "sect409k1"},
    {"1.3.132.0.37", "sect409r1"},
    {"1.3.132.0.38", "sect571k1"},
    {"1.3.132.0.39", "sect571r1"},
    {"1.3.36.3.3.2.8.1.1.1", "brainpoolP160r1"},
    {"1.3.36.3.3.2.8.1.1.3", "brainpoolP192r1"},
    {"1.3.36.3.3.2.8.1.1.5", "brainpoolP224r1"},
    {known_oid::brainpoolP256r1, "brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.9", "brainpoolP320r1"},
    {known_oid::brainpoolP384r1, "brainpoolP384r1"},
    {known_oid::brainpoolP512r1, "brainpoolP512r1"},
    {"1.3.36.3.3.2.8.1.1.2", "brainpoolP160t1"},
    {"1.3.36.3.3.2.8.1.1.4", "brainpoolP192t1"},
    {"1.3.36.3.3.2.8.1.1.6", "brainpoolP224t1"},
    {"1.3.36.3.3.2.8.1.1.8", "brainpoolP256t1"},
    {"1.3.36.3.3.2.8.1.1.10", "brainpoolP320t1"},
    {"1.3.36.3.3.2.8.1.1.12", "brainpoolP384t1"},
    {"1.3.36.3.3.2.8.1.1.14", "brainpoolP512t1"},
    {"1.2.156.10197.1.301", "sm2p256v1"},

    // Extensions (RFC 5280 §4.2, RFC 6962, RFC 7633, RFC 3739, RFC 3779, RFC 9399, RFC 9608).
    {known_oid::subjectDirectoryAttributes, "subjectDirectoryAttributes"},
    {known_oid::subjectKeyIdentifier, "subjectKeyIdentifier"},
    {known_oid::keyUsage, "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {known_oid::subjectAltName, "subjectAltName"},
    {known_oid::issuerAltName, "issuerAltName"},
    {known_oid::basicConstraints, "basicConstraints"},
    {known_oid::nameConstraints, "nameConstraints"},
    {known_oid::crlDistributionPoints, "cRLDistributionPoints"},
    {known_oid::certificatePolicies, "certificatePolicies"},
    {known_oid::policyMappings, "policyMappings"},
    {known_oid::authorityKeyIdentifier, "authorityKeyIdentifier"},
    {known_oid::policyConstraints, "policyConstraints"},
    {known_oid::extKeyUsage, "extendedKeyUsage"},
    {known_oid::freshestCrl, "freshestCRL"},
    {known_oid::inhibitAnyPolicy, "inhibitAnyPolicy"},
    {known_oid::noRevAvail, "noRevAvail"},
    {known_oid::authorityInfoAccess, "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.2", "biometricInfo"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.5.5.7.1.7", "ipAddrBlocks"},
    {"1.3.6.1.5.5.7.1.8", "autonomousSysIds"},
    {known_oid::subjectInfoAccess, "subjectInfoAccess"},
    {"1.3.6.1.5.5.7.1.12", "logotype"},
    {known_oid::tlsFeature, "tlsFeature"},
    {known_oid::ocspNoCheck, "ocspNoCheck"},
    {known_oid::signedTimestamps, "signedCertificateTimestampList"},
    {known_oid::ctPoison, "ctPrecertificatePoison"},
    {"1.3.6.1.4.1.311.20.2", "enrollCerttypeExtension"},
    {"1.3.6.1.4.1.311.21.1", "certsrvCaVersion"},
    {"1.3.6.1.4.1.311.21.7", "certificateTemplate"},
    {"1.3.6.1.4.1.311.21.10", "applicationCertPolicies"},
    {"2.16.840.1.113730.1.1", "netscapeCertType"},
    {"2.16.840.1.113730.1.13", "netscapeComment"},

    // Key purposes (RFC 5280 §4.2.1.12 and others).
    {known_oid::anyExtendedKeyUsage, "anyExtendedKeyUsage"},
    {known_oid::serverAuth, "serverAuth"},
    {known_oid::clientAuth, "clientAuth"},
    {known_oid::codeSigning, "codeSigning"},
    {known_oid::emailProtection, "emailProtection"},
    {"1.3.6.1.5.5.7.3.5", "ipsecEndSystem"},
    {"1.3.6.1.5.5.7.3.6", "ipsecTunnel"},
    {"1.3.6.1.5.5.7.3.7", "ipsecUser"},
    {known_oid::timeStamping, "timeStamping"},
    {known_oid::ocspSigning, "OCSPSigning"},
    {"1.3.6.1.5.5.7.3.17", "ipsecIKE"},
    {"1.3.6.1.5.5.7.3.36", "documentSigning"},
    {"1.3.6.1.4.1.311.10.3.3", "serverGatedCrypto"},
    {"1.3.6.1.4.1.311.10.3.4", "encryptedFileSystem"},
    {"1.3.6.1.4.1.311.10.3.12", "documentSigningByVendor"},
    {"1.3.6.1.4.1.311.20.2.2", "smartcardLogon"},
    {"1.3.6.1.4.1.11129.2.4.4", "ctPrecertificateSigning"},
    {"1.3.6.1.5.2.3.4", "pkinitKPClientAuth"},
    {"1.3.6.1.5.2.3.5", "pkinitKPKdc"},
    {"2.16.840.1.113730.4.1", "netscapeStepUp"},

    // Access methods (RFC 5280 §4.2.2).
    {known_oid::ocsp, "ocsp"},
    {known_oid::caIssuers, "caIssuers"},
    {"1.3.6.1.5.5.7.48.3", "adTimeStamping"},
    {"1.3.6.1.5.5.7.48.5", "caRepository"},

    // Policies and qualifiers (RFC 5280 §4.2.1.4, CA/Browser Forum).
    {known_oid::anyPolicy, "anyPolicy"},
    {known_oid::cpsQualifier, "cps"},
    {known_oid::userNoticeQualifier, "userNotice"},
    {"2.23.140.1.1", "extendedValidation"},
    {"2.23.140.1.2.1", "domainValidated"},
    {"2.23.140.1.2.2", "organizationValidated"},
    {"2.23.140.1.2.3", "individualValidated"},
    {"2.23.140.1.3", "extendedValidationCodeSigning"},
    {"2.23.140.1.4.1", "codeSigningRequirements"},

    // Types of other names (RFC 4985, RFC 9598, RFC 4556).
    {"1.3.6.1.4.1.311.20.2.3", "userPrincipalName"},
    {"1.3.6.1.5.2.2", "pkinitPrincipalName"},
    {"1.3.6.1.5.5.7.8.5", "xmppAddr"},
    {"1.3.6.1.5.5.7.8.7", "srvName"},
    {"1.3.6.1.5.5.7.8.9", "smtpUTF8Mailbox"},
};

// The content octets of an OID as one number, which compares faster than text; all zero for one
// that is longer than any that is known.
struct Key {
  uint64_t high = 0;
  uint64_t low = 0;

  auto operator<=>(const Key&) const = default;
};

constexpr Key keyOf(std::span<const unsigned char> octets) noexcept {
  if (octets.size() > KnownOid::kMaxSize) return {};
  Key key{0, octets.size()};
  for (const unsigned char octet : octets) {
    key.high = key.high << 8 | key.low >> 56;
    key.low = key.low << 8 | octet;
  }
  return key;
}

struct Entry {
  Key key;
  NamedOid oid;
};

constexpr auto sortedByKey() {
  std::array<Entry, std::size(kAttributeTypes) + std::size(kNames)> table{};
  auto* to = table.begin();
  for (const AttributeType& type : kAttributeTypes) {
    *to++ = {keyOf(type.oid.octets()), {type.oid.dotted(), type.name}};
  }
  for (const OidName& known : kNames) {
    *to++ = {keyOf(known.oid.octets()), {known.oid.dotted(), known.name}};
  }
  std::sort(table.begin(), table.end(),
            [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return table;
}

constexpr auto kByKey = sortedByKey();

constexpr bool isTwice(const Entry& a, const Entry& b) {
  return a.key == b.key;
}
static_assert(std::adjacent_find(kByKey.begin(), kByKey.end(), isTwice) == kByKey.end());

}  // namespace

NamedOid namedOid(std::span<const unsigned char> content) noexcept {
  const Key key = keyOf(content);
  const auto* found =
      std::lower_bound(kByKey.begin(), kByKey.end(), key,
                       [](const Entry& entry, Key sought) { return entry.key < sought; });
  return found != kByKey.end() && found->key == key ? found->oid : NamedOid();
}

std::string_view oidName(std::string_view dotted) noexcept {
  constexpr size_t kMaxDottedSize = maxDottedSize(KnownOid::kMaxSize);
  unsigned char content[kMaxDottedSize];
  if (dotted.size() > kMaxDottedSize) return {};
  return oidName({content, writeOidContent(dotted, content)});
}

std::string_view oidOfName(std::string_view name) noexcept {
  const auto* found = std::find_if(kByKey.begin(), kByKey.end(),
                                   [&](const Entry& entry) { return entry.oid.name == name; });
  return found != kByKey.end() ? found->oid.dotted : std::string_view();
}

}  // namespace velmora

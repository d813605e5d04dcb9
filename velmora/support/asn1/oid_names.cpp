#include "velmora/support/asn1/oid_names.h"

#include <algorithm>
#include <array>

namespace velmora {
namespace {

struct OidName {
  std::string_view oid;
  std::string_view name;
};

constexpr OidName kByTopic[] = {
    // Attribute types (X.520, RFC 4519, RFC 2985, RFC 3739, CA/Browser Forum EV guidelines).
    {"2.5.4.3", "commonName"},
    {"2.5.4.4", "surname"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "countryName"},
    {"2.5.4.7", "localityName"},
    {"2.5.4.8", "stateOrProvinceName"},
    {"2.5.4.9", "streetAddress"},
    {"2.5.4.10", "organizationName"},
    {"2.5.4.11", "organizationalUnitName"},
    {"2.5.4.12", "title"},
    {"2.5.4.13", "description"},
    {"2.5.4.14", "searchGuide"},
    {"2.5.4.15", "businessCategory"},
    {"2.5.4.16", "postalAddress"},
    {"2.5.4.17", "postalCode"},
    {"2.5.4.18", "postOfficeBox"},
    {"2.5.4.19", "physicalDeliveryOfficeName"},
    {"2.5.4.20", "telephoneNumber"},
    {"2.5.4.23", "facsimileTelephoneNumber"},
    {"2.5.4.41", "name"},
    {"2.5.4.42", "givenName"},
    {"2.5.4.43", "initials"},
    {"2.5.4.44", "generationQualifier"},
    {"2.5.4.45", "uniqueIdentifier"},
    {"2.5.4.46", "dnQualifier"},
    {"2.5.4.65", "pseudonym"},
    {"2.5.4.97", "organizationIdentifier"},
    {"0.9.2342.19200300.100.1.1", "userId"},
    {"0.9.2342.19200300.100.1.25", "domainComponent"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
    {"1.2.840.113549.1.9.2", "unstructuredName"},
    {"1.2.840.113549.1.9.8", "unstructuredAddress"},
    {"1.3.6.1.4.1.311.60.2.1.1", "jurisdictionLocalityName"},
    {"1.3.6.1.4.1.311.60.2.1.2", "jurisdictionStateOrProvinceName"},
    {"1.3.6.1.4.1.311.60.2.1.3", "jurisdictionCountryName"},
    {"1.3.6.1.5.5.7.9.1", "dateOfBirth"},
    {"1.3.6.1.5.5.7.9.2", "placeOfBirth"},
    {"1.3.6.1.5.5.7.9.3", "gender"},
    {"1.3.6.1.5.5.7.9.4", "countryOfCitizenship"},
    {"1.3.6.1.5.5.7.9.5", "countryOfResidence"},

    // Keys and signatures (RFC 8017, RFC 3279, RFC 5480, RFC 5758, RFC 8410, RFC 9881, RFC 9814).
    {"1.2.840.113549.1.1.1", "rsaEncryption"},
    {"1.2.840.113549.1.1.2", "md2WithRSAEncryption"},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption"},
    {"1.2.840.113549.1.1.5", "sha1WithRSAEncryption"},
    {"1.2.840.113549.1.1.7", "rsaesOaep"},
    {"1.2.840.113549.1.1.8", "mgf1"},
    {"1.2.840.113549.1.1.10", "rsassaPss"},
    {"1.2.840.113549.1.1.11", "sha256WithRSAEncryption"},
    {"1.2.840.113549.1.1.12", "sha384WithRSAEncryption"},
    {"1.2.840.113549.1.1.13", "sha512WithRSAEncryption"},
    {"1.2.840.113549.1.1.14", "sha224WithRSAEncryption"},
    {"1.3.14.3.2.29", "sha1WithRSASignature"},
    {"1.2.840.10040.4.1", "dsa"},
    {"1.2.840.10040.4.3", "dsaWithSHA1"},
    {"2.16.840.1.101.3.4.3.1", "dsaWithSHA224"},
    {"2.16.840.1.101.3.4.3.2", "dsaWithSHA256"},
    {"2.16.840.1.101.3.4.3.3", "dsaWithSHA384"},
    {"2.16.840.1.101.3.4.3.4", "dsaWithSHA512"},
    {"1.2.840.10045.2.1", "ecPublicKey"},
    {"1.2.840.10045.4.1", "ecdsaWithSHA1"},
    {"1.2.840.10045.4.3.1", "ecdsaWithSHA224"},
    {"1.2.840.10045.4.3.2", "ecdsaWithSHA256"},
    {"1.2.840.10045.4.3.3", "ecdsaWithSHA384"},
    {"1.2.840.10045.4.3.4", "ecdsaWithSHA512"},
    {"1.2.840.10046.2.1", "dhPublicNumber"},
    {"1.3.101.110", "X25519"},
    {"1.3.101.111", "X448"},
    {"1.3.101.112", "Ed25519"},
    {"1.3.101.113", "Ed448"},
    {"2.16.840.1.101.3.4.3.17", "mlDsa44"},
    {"2.16.840.1.101.3.4.3.18", "mlDsa65"},
    {"2.16.840.1.101.3.4.3.19", "mlDsa87"},

    // Hashes (RFC 8017 appendix C).
    {"1.2.840.113549.2.5", "md5"},
    {"1.3.14.3.2.26", "sha1"},
    {"2.16.840.1.101.3.4.2.1", "sha256"},
    {"2.16.840.1.101.3.4.2.2", "sha384"},
    {"2.16.840.1.101.3.4.2.3", "sha512"},
    {"2.16.840.1.101.3.4.2.4", "sha224"},

    // Curves (FIPS 186-4, SEC 2, RFC 5639).
    {"1.2.840.10045.3.1.1", "P-192"},
    {"1.2.840.10045.3.1.7", "P-256"},
    {"1.3.132.0.10", "secp256k1"},
    {"1.3.132.0.33", "P-224"},
    {"1.3.132.0.34", "P-384"},
    {"1.3.132.0.35", "P-521"},
    {"1.3.36.3.3.2.8.1.1.3", "brainpoolP192r1"},
    {"1.3.36.3.3.2.8.1.1.5", "brainpoolP224r1"},
    {"1.3.36.3.3.2.8.1.1.7", "brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.9", "brainpoolP320r1"},
    {"1.3.36.3.3.2.8.1.1.11", "brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.13", "brainpoolP512r1"},

    // Extensions (RFC 5280 §4.2, RFC 6962, RFC 7633, RFC 3739).
    {"2.5.29.9", "subjectDirectoryAttributes"},
    {"2.5.29.14", "subjectKeyIdentifier"},
    {"2.5.29.15", "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {"2.5.29.17", "subjectAltName"},
    {"2.5.29.18", "issuerAltName"},
    {"2.5.29.19", "basicConstraints"},
    {"2.5.29.30", "nameConstraints"},
    {"2.5.29.31", "cRLDistributionPoints"},
    {"2.5.29.32", "certificatePolicies"},
    {"2.5.29.33", "policyMappings"},
    {"2.5.29.35", "authorityKeyIdentifier"},
    {"2.5.29.36", "policyConstraints"},
    {"2.5.29.37", "extendedKeyUsage"},
    {"2.5.29.46", "freshestCRL"},
    {"2.5.29.54", "inhibitAnyPolicy"},
    {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.5.5.7.1.11", "subjectInfoAccess"},
    {"1.3.6.1.5.5.7.1.24", "tlsFeature"},
    {"1.3.6.1.5.5.7.48.1.5", "ocspNoCheck"},
    {"1.3.6.1.4.1.11129.2.4.2", "signedCertificateTimestampList"},
    {"1.3.6.1.4.1.11129.2.4.3", "ctPrecertificatePoison"},
    {"1.3.6.1.4.1.311.20.2", "enrollCerttypeExtension"},
    {"1.3.6.1.4.1.311.21.1", "certsrvCaVersion"},
    {"1.3.6.1.4.1.311.21.7", "certificateTemplate"},
    {"1.3.6.1.4.1.311.21.10", "applicationCertPolicies"},
    {"2.16.840.1.113730.1.1", "netscapeCertType"},
    {"2.16.840.1.113730.1.13", "netscapeComment"},

    // Key purposes (RFC 5280 §4.2.1.12 and others).
    {"2.5.29.37.0", "anyExtendedKeyUsage"},
    {"1.3.6.1.5.5.7.3.1", "serverAuth"},
    {"1.3.6.1.5.5.7.3.2", "clientAuth"},
    {"1.3.6.1.5.5.7.3.3", "codeSigning"},
    {"1.3.6.1.5.5.7.3.4", "emailProtection"},
    {"1.3.6.1.5.5.7.3.5", "ipsecEndSystem"},
    {"1.3.6.1.5.5.7.3.6", "ipsecTunnel"},
    {"1.3.6.1.5.5.7.3.7", "ipsecUser"},
    {"1.3.6.1.5.5.7.3.8", "timeStamping"},
    {"1.3.6.1.5.5.7.3.9", "OCSPSigning"},
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
    {"1.3.6.1.5.5.7.48.1", "ocsp"},
    {"1.3.6.1.5.5.7.48.2", "caIssuers"},
    {"1.3.6.1.5.5.7.48.3", "adTimeStamping"},
    {"1.3.6.1.5.5.7.48.5", "caRepository"},

    // Policies and qualifiers (RFC 5280 §4.2.1.4, CA/Browser Forum).
    {"2.5.29.32.0", "anyPolicy"},
    {"1.3.6.1.5.5.7.2.1", "cps"},
    {"1.3.6.1.5.5.7.2.2", "userNotice"},
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

constexpr auto sortedByOid() {
  auto table = std::to_array(kByTopic);
  std::sort(table.begin(), table.end(),
            [](const OidName& a, const OidName& b) { return a.oid < b.oid; });
  return table;
}

constexpr auto kByOid = sortedByOid();

constexpr bool isTwice(const OidName& a, const OidName& b) {
  return a.oid == b.oid;
}
static_assert(std::adjacent_find(kByOid.begin(), kByOid.end(), isTwice) == kByOid.end());

}  // namespace

std::string_view oidName(std::string_view dotted) noexcept {
  const auto* found =
      std::lower_bound(kByOid.begin(), kByOid.end(), dotted,
                       [](const OidName& entry, std::string_view oid) { return entry.oid < oid; });
  return found != kByOid.end() && found->oid == dotted ? found->name : std::string_view();
}

std::string_view oidOfName(std::string_view name) noexcept {
  const auto* found = std::find_if(kByOid.begin(), kByOid.end(),
                                   [&](const OidName& entry) { return entry.name == name; });
  return found != kByOid.end() ? found->oid : std::string_view();
}

}  // namespace velmora

#pragma once

// What a certificate can depart in from RFC 5280 and DER, by name.

#include <cstdint>
#include <string_view>

#include "velmora/certificate/oid.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// In what a certificate is not as RFC 5280 §4 and, inside extension values and keys, X.690 want
/// it. docs/departures.md has them all with their clauses, and says of each why a decision may rest
/// on the certificate or may not. The order is fixed: new ones come at the end of their group.
enum class DepartureCode : uint8_t {
  // Encoding (X.690), in the fields, in extension values and in keys.
  lengthNotShortest,      // §10.1; inside an extension value or a key, also indefinite
  identifierNotShortest,  // §8.1.2; inside an extension value or a key
  stringInSegments,       // §10.2
  booleanNotDer,          // §11.1: neither 00 nor FF
  defaultEncoded,         // §11.5: a value that is the default is written all the same
  integerPadded,          // §8.3.2
  unusedBitsSet,          // §11.2.1
  trailingZeroBits,       // §11.2.2: of a named bit list
  setNotSorted,           // §11.6: the attributes of a multi-valued RDN
  contentMalformed,       // §8: contents that no INTEGER, BIT STRING, NULL or OID has
  // Fields (RFC 5280 §4.1).
  versionUnknown,             // §4.1.2.1: not 1 to 3
  versionOneEncoded,          // §4.1.2.1 and X.690 §11.5
  extensionsInOldVersion,     // §4.1.2.9: version 1 or 2 has none
  uniqueIdInVersionOne,       // §4.1.2.8
  uniqueIdentifier,           // §4.1.2.8: issuers write none, in whatever version
  serialZero,                 // §4.1.2.2
  serialNegative,             // §4.1.2.2
  serialTooLong,              // §4.1.2.2: more than 20 octets
  signatureAlgorithmsDiffer,  // §4.1.1.2
  signatureParameters,        // RFC 4055, 5758, 8410: those that the algorithm must not have
  rsaNullAbsent,              // RFC 4055 §1.2 and §5: of an RSA key or signature
  signatureNotOctets,         // §4.1.1.3: a BIT STRING with unused bits
  issuerEmpty,                // §4.1.2.4
  subjectEmpty,               // §4.1.2.6: without alternative names that are critical, or of a CA
  nameMalformed,              // §4.1.2.4
  nameTextMalformed,          // §4.1.2.4: octets that are none of the value's string type
  nameCharacters,             // X.680 §41.4: characters that the value's string type, such as
                              // PrintableString, does not have
  dateForm,                   // §4.1.2.5: a GeneralizedTime before 2050
  dateMalformed,              // §4.1.2.5: no date at all
  validityBackwards,          // §4.1.2.5: notAfter lies before notBefore
  keyMalformed,               // §4.1.2.7 and RFC 3279, 4055, 5480, 8410
  curveNotNamed,              // RFC 5480 §2.1.1
  dateNotDer,  // §4.1.2.5 and X.690 §11.7, §11.8: a time without seconds, with a fraction, an
               // offset or no Z
  // Extensions (RFC 5280 §4.2).
  extensionListMalformed,     // §4.1.2.9: no list, an empty one, or a member that is no Extension
  extensionRepeated,          // §4.2
  extensionMalformed,         // §4.2: a known one whose content is not of its syntax
  generalNameMalformed,       // §4.2.1.6: one of the names of an extension
  criticalityWrong,           // §4.2: a known one that must, or must not, be critical
  pathLengthWithoutCa,        // §4.2.1.9: or without keyCertSign
  certSignWithoutCa,          // §4.2.1.9: keyCertSign and no basicConstraints that say CA
  keyUsageEmpty,              // §4.2.1.3: no bit set
  caWithoutSubjectKeyId,      // §4.2.1.2
  caWithoutKeyUsage,          // §4.2.1.3
  noAuthorityKeyId,           // §4.2.1.1: none in a key identifier, with two different names
  authorityIssuerIncomplete,  // §4.2.1.1: the issuer's name without a serial number, or without it
  constraintsWithoutCa,       // §4.2.1.10: constraints or mappings in a certificate of no CA
  policyRepeated,             // §4.2.1.4
  anyPolicyMapped,            // §4.2.1.5
};

/// One place where a certificate is not as the standards want it.
struct VELMORA_API Departure {
  DepartureCode code{};  // which rule it departs from
  uint32_t offset = 0;   // of the element at fault, from the start of the certificate
  Oid about;  // of the extension, or of the attribute in the issuer or subject, concerned;
              // empty where there is none

  /// The code as a word that does not change, such as "serialTooLong".
  std::string_view id() const noexcept;
  /// A sentence for people, without names from the certificate: "The serial number has more than
  /// 20 octets.". A constant.
  std::string_view message() const noexcept;
  /// "RFC 5280 §4.1.2.2". A constant.
  std::string_view clause() const noexcept;
  /// Whether a decision may rest on the certificate all the same: two readers who differ in how
  /// strict they are read the same certificate. Where this is false they may not, and what rests on
  /// a decision accepts none of these.
  bool mayDecide() const noexcept;

  /// Those that are about nothing are about the same.
  friend constexpr bool operator==(const Departure& a, const Departure& b) noexcept {
    return a.code == b.code && a.offset == b.offset && (a.about <=> b.about) == 0;
  }
};

}  // namespace velmora

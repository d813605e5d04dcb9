#pragma once

// Why a certificate may not be trusted, or what is to be said of one that may: typed, each about
// one certificate of a way.

#include <cstdint>
#include <string>
#include <string_view>

#include "velmora/certificate/departures.h"
#include "velmora/certificate/oid.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// What was found. The order is that of gravity: what stands first says most about whether the
/// certificate is what it claims to be, and the last three are given as the reason of a
/// verification only if nothing else is wrong on that way, because callers tend to override them.
enum class Reason : uint8_t {
  none,
  // The question itself.
  outOfMemory,
  cancelled,       // the caller's flag was raised
  purposeUnsaid,   // VerifyOptions::purpose
  targetUnsaid,    // a server needs a host, or Target::notJudged()
  wrongTarget,     // a host for e-mail, an address for a server
  malformedInput,  // octets that were given are no certificate
  // No way to an anchor.
  noAnchors,   // nothing is trusted at all
  noIssuer,    // no certificate or anchor bears the issuer's name
  notTrusted,  // the issuers found lead to no anchor
  // Limits: ways may have been left untried.
  tooManyCertificates,
  tooManyCandidates,
  tooManySignatures,
  tooManyComparisons,
  // Signatures and keys.
  wrongSignature,       // not of the issuer's key
  signatureRefused,     // not to the letter, whoever made it
  signatureNotChecked,  // an algorithm, or a key, that is not known here
  algorithmsDiffer,     // RFC 5280 §4.1.1.2
  keyDoesNotFit,        // the issuer's key is none for the algorithm
  weakHash,             // SHA-1 that was not allowed
  weakKey,              // below the least size for its kind
  curveNotAllowed,
  keyNotKnown,   // of no kind, or on no curve, that signatures are checked with here
  keyMalformed,  // numbers or a point that no key has; parameters that are its issuer's
  // Revocation.
  revoked,
  revocationUnknown,  // CRLs are asked for and none answers
  // What the issuers allow.
  nameNotPermitted,
  nameExcluded,
  nameNotJudged,  // a name of a constrained form that cannot be read or judged
  noPolicy,       // no policy holds for the whole way and one is asked for
  notACa,
  mayNotSign,  // keyUsage without keyCertSign
  pathTooLong,
  // What must be read and cannot be.
  departure,                 // RFC 5280 §4 or DER: `departure` says which
  unknownCriticalExtension,  // `about`
  criticalNotProcessed,      // `about`: known, but of no meaning in this place
  // What it is for.
  wrongPurpose,   // extendedKeyUsage
  wrongKeyUsage,  // keyUsage
  profileRule,    // `rule` says which
  rejectedByCaller,
  notYetValid,
  expired,
  wrongHost,
};

/// What a finding means for the way.
enum class Severity : uint8_t {
  warning,  // the way holds all the same
  failure,
};

/// One finding about one certificate of a way.
struct VELMORA_API Finding {
  uint32_t certificate = 0;  // its place on the way: 0 is the leaf; behind the last certificate, at
                             // Path::certificates.size(), an anchor of name and key
  Reason reason = Reason::none;           // what was found
  Severity severity = Severity::failure;  // whether it lets the way fail
  DepartureCode departure{};              // with Reason::departure
  uint8_t rule = 0;     // with Reason::profileRule: its line in the table of rules
  uint32_t offset = 0;  // in that certificate; 0 where there is none
  Oid about;            // the extension, policy or curve; empty where there is none
  std::string detail;   // a name, a serial number, a size; as it stands in the certificate

  /// Whether the way does not hold because of it.
  bool isFailure() const noexcept { return severity == Severity::failure; }

  /// A word that does not change, such as "nameNotPermitted"; of a departure or of a rule its own.
  std::string_view id() const noexcept;
  /// Where it is demanded: "RFC 5280 §6.1.4 (k)"; empty for what no standard demands. A constant.
  std::string_view clause() const noexcept;
  /// A sentence for people. It may hold a name from the certificate, which may hold anything.
  std::string text() const;

  friend VELMORA_API bool operator==(const Finding& a, const Finding& b) noexcept;
};

/// "wrongSignature". A constant.
VELMORA_API std::string_view reasonId(Reason reason) noexcept;

/// "The signature is not of the issuer's key.". A constant.
VELMORA_API std::string_view reasonText(Reason reason) noexcept;

}  // namespace velmora

#include "velmora/path/finding.h"

#include <iterator>

#include "velmora/path/internal/profile_rules.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/core/out_of_memory.h"

namespace velmora {
namespace {

struct Kind {
  Reason reason;
  std::string_view id;
  std::string_view clause;
  std::string_view text;
};

// In the order of the reasons.
constexpr Kind kKinds[] = {
    {Reason::none, "none", "", ""},
    {Reason::outOfMemory, "outOfMemory", "", kMemoryRanOut},
    {Reason::cancelled, "cancelled", "", "The search was cancelled."},
    {Reason::purposeUnsaid, "purposeUnsaid", "", "It has to be said what for."},
    {Reason::targetUnsaid, "targetUnsaid", "RFC 9525 §6.1",
     "A server's name has to be said, or that it is judged elsewhere."},
    {Reason::wrongTarget, "wrongTarget", "",
     "The name that was asked for does not go with the purpose."},
    {Reason::malformedInput, "malformedInput", "RFC 5280 §4.1", "The octets are no certificate."},
    {Reason::noAnchors, "noAnchors", "RFC 5280 §6.1.1 (d)", "No root is trusted."},
    {Reason::noIssuer, "noIssuer", "RFC 5280 §6.1.3 (a)(4)",
     "The issuer's certificate was not found."},
    {Reason::notTrusted, "notTrusted", "RFC 5280 §6.1.1 (d)",
     "The way does not lead to a trusted root."},
    {Reason::tooManyCertificates, "tooManyCertificates", "",
     "Ways with more certificates were not tried."},
    {Reason::tooManyCandidates, "tooManyCandidates", "",
     "There are more issuers than may be tried."},
    {Reason::tooManySignatures, "tooManySignatures", "",
     "More signatures would have to be checked than is allowed."},
    {Reason::tooManyComparisons, "tooManyComparisons", "",
     "More names, policies, CRLs or findings would have to be looked at than is allowed."},
    {Reason::wrongSignature, "wrongSignature", "RFC 5280 §6.1.3 (a)(1)",
     "The signature is not of the issuer's key."},
    {Reason::signatureRefused, "signatureRefused", "RFC 5280 §6.1.3 (a)(1)",
     "The signature is not in order, whoever made it."},
    {Reason::signatureNotChecked, "signatureNotChecked", "RFC 5280 §6.1.3 (a)(1)",
     "The signature's algorithm or the issuer's key is not known."},
    {Reason::algorithmsDiffer, "algorithmsDiffer", "RFC 5280 §4.1.1.2",
     "The signature algorithms inside and behind what is signed differ."},
    {Reason::keyDoesNotFit, "keyDoesNotFit", "RFC 5280 §6.1.3 (a)(1)",
     "The issuer's key is none for the signature's algorithm."},
    {Reason::weakHash, "weakHash", "", "The signature rests on SHA-1."},
    {Reason::weakKey, "weakKey", "", "The key is too small."},
    {Reason::curveNotAllowed, "curveNotAllowed", "", "The key's curve is not allowed."},
    {Reason::keyNotKnown, "keyNotKnown", "",
     "The key is of no kind, or on no curve, that is known."},
    {Reason::keyMalformed, "keyMalformed", "RFC 5280 §4.1.2.7",
     "The key is none: a number is missing or out of range, or its point is not on the curve."},
    {Reason::revoked, "revoked", "RFC 5280 §6.1.3 (a)(3)", "The certificate is revoked."},
    {Reason::revocationUnknown, "revocationUnknown", "RFC 5280 §6.1.3 (a)(3)",
     "No CRL says whether the certificate is revoked."},
    {Reason::nameNotPermitted, "nameNotPermitted", "RFC 5280 §6.1.3 (b)",
     "A name is none of those that the issuer may name."},
    {Reason::nameExcluded, "nameExcluded", "RFC 5280 §6.1.3 (c)",
     "A name is one of those that the issuer must not name."},
    {Reason::nameNotJudged, "nameNotJudged", "RFC 5280 §4.2.1.10",
     "A name cannot be held against the issuer's constraints."},
    {Reason::noPolicy, "noPolicy", "RFC 5280 §6.1.5 (g)",
     "No policy that is asked for holds for the whole way."},
    {Reason::notACa, "notACa", "RFC 5280 §6.1.4 (k)", "The issuer is no CA."},
    {Reason::mayNotSign, "mayNotSign", "RFC 5280 §6.1.4 (n)",
     "The issuer's key is not for signing certificates."},
    {Reason::pathTooLong, "pathTooLong", "RFC 5280 §6.1.4 (l)",
     "More CAs stand below an issuer than its path length allows."},
    {Reason::departure, "departure", "", ""},
    {Reason::unknownCriticalExtension, "unknownCriticalExtension",
     "RFC 5280 §6.1.4 (o), §6.1.5 (f)", "A critical extension is not known."},
    {Reason::criticalNotProcessed, "criticalNotProcessed", "RFC 5280 §6.1.4 (o), §6.1.5 (f)",
     "A critical extension is not processed here."},
    {Reason::wrongPurpose, "wrongPurpose", "RFC 5280 §4.2.1.12",
     "The extended key usage does not allow the purpose."},
    {Reason::wrongKeyUsage, "wrongKeyUsage", "RFC 5280 §4.2.1.3",
     "The key usage does not allow the purpose."},
    {Reason::profileRule, "profileRule", "", ""},
    {Reason::rejectedByCaller, "rejectedByCaller", "", "The caller refused the way."},
    {Reason::notYetValid, "notYetValid", "RFC 5280 §6.1.3 (a)(2)",
     "The certificate is not yet valid."},
    {Reason::expired, "expired", "RFC 5280 §6.1.3 (a)(2)", "The certificate has expired."},
    {Reason::wrongHost, "wrongHost", "RFC 9525 §6", "The certificate does not speak for the name."},
};

constexpr bool isInOrder() {
  size_t expected = 0;
  for (const Kind& kind : kKinds) {
    if (static_cast<size_t>(kind.reason) != expected++) return false;
  }
  return expected == static_cast<size_t>(Reason::wrongHost) + 1;
}
static_assert(isInOrder());

const Kind& kindOf(Reason reason) noexcept {
  return kKinds[static_cast<size_t>(reason)];
}

Departure departureOf(const Finding& finding) noexcept {
  return {finding.departure, finding.offset, finding.about};
}

}  // namespace

std::string_view reasonId(Reason reason) noexcept {
  return kindOf(reason).id;
}

std::string_view reasonText(Reason reason) noexcept {
  return kindOf(reason).text;
}

std::string_view Finding::id() const noexcept {
  if (reason == Reason::departure) return departureOf(*this).id();
  if (reason == Reason::profileRule) return profileRule(rule).id;
  return kindOf(reason).id;
}

std::string_view Finding::clause() const noexcept {
  if (reason == Reason::departure) return departureOf(*this).clause();
  if (reason == Reason::profileRule) return profileRule(rule).clause;
  return kindOf(reason).clause;
}

std::string Finding::text() const {
  std::string_view sentence = kindOf(reason).text;
  if (reason == Reason::departure) sentence = departureOf(*this).message();
  if (reason == Reason::profileRule) sentence = profileRule(rule).text;
  std::string text(sentence);
  const std::string dotted = about.isEmpty() ? std::string() : about.text();
  const std::string_view name = dotted.empty() ? std::string_view() : oidName(dotted);
  for (const std::string_view part :
       {name.empty() ? std::string_view(dotted) : name, std::string_view(detail)}) {
    if (part.empty()) continue;
    text.insert(text.size() - 1, ": ");
    text.insert(text.size() - 1, part);
  }
  return text;
}

bool operator==(const Finding& a, const Finding& b) noexcept {
  return a.certificate == b.certificate && a.reason == b.reason && a.severity == b.severity &&
         a.departure == b.departure && a.rule == b.rule && a.offset == b.offset &&
         (a.about <=> b.about) == 0 && a.detail == b.detail;
}

}  // namespace velmora

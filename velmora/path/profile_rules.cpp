#include "velmora/path/internal/profile_rules.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string>

#include "velmora/support/core/known_oids.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::sys_days;

bool isLeaf(const ProfileInput& input) noexcept {
  return input.role == Role::leaf;
}

std::vector<GeneralName> alternativeNames(const ProfileInput& input) {
  return input.facts.certificate.subjectAltNames().value_or(std::vector<GeneralName>());
}

bool isServerName(const GeneralName& name) noexcept {
  return std::holds_alternative<DnsName>(name) || std::holds_alternative<IpAddress>(name);
}

bool bears(const GeneralName& name, std::string_view text) {
  if (const auto* dns = std::get_if<DnsName>(&name)) {
    return equalsIgnoringAsciiCase(dns->text, text);
  }
  const auto* address = std::get_if<IpAddress>(&name);
  return address != nullptr && address->text() == text;
}

bool hasNoServerNames(const ProfileInput& input) {
  return isLeaf(input) && alternativeNames(input).empty();
}

bool hasOtherNames(const ProfileInput& input) {
  const auto names = alternativeNames(input);
  return isLeaf(input) && !std::all_of(names.begin(), names.end(), isServerName);
}

bool hasStrangeCommonName(const ProfileInput& input) {
  if (!isLeaf(input)) return false;
  const auto attributes = input.facts.certificate.subject().attributes();
  if (!attributes) return false;
  const auto names = alternativeNames(input);
  return std::any_of(attributes->begin(), attributes->end(), [&](const Attribute& each) {
    return each.type == oid::commonName &&
           std::none_of(names.begin(), names.end(),
                        [&](const GeneralName& name) { return bears(name, each.text); });
  });
}

bool isCaAsServer(const ProfileInput& input) {
  return isLeaf(input) && input.facts.basicConstraints && input.facts.basicConstraints->ca;
}

bool hasNoPlainAuthorityKeyId(const ProfileInput& input) {
  const auto id = input.facts.certificate.authorityKeyId();
  return !id || !id->keyId || !id->issuer.empty() || id->serial;
}

bool saysNoServerAuth(const ProfileInput& input) {
  const Result<ExtendedKeyUsage>& usage = input.facts.extendedKeyUsage;
  if (isLeaf(input)) return !(usage && usage->has(oid::serverAuth));
  return usage && !usage->has(oid::serverAuth) && !usage->has(oid::anyExtendedKeyUsage);
}

bool saysAnyPurpose(const ProfileInput& input) {
  const Result<ExtendedKeyUsage>& usage = input.facts.extendedKeyUsage;
  return usage && usage->has(oid::anyExtendedKeyUsage) &&
         (isLeaf(input) || usage->has(oid::serverAuth));
}

bool hasOtherKey(const ProfileInput& input) {
  static constexpr Oid kCurves[] = {known_oid::p256, known_oid::p384, known_oid::p521};
  const Result<PublicKey>& key = input.facts.key;
  if (!key) return true;
  if (key->kind == KeyKind::rsa) return key->bits < 2048 || key->bits % 8 != 0;
  return key->kind != KeyKind::ec ||
         std::find(std::begin(kCurves), std::end(kCurves), key->curve) == std::end(kCurves);
}

bool isOldVersion(const ProfileInput& input) {
  return !(input.facts.version && *input.facts.version == 3);
}

bool hasUnreadableAccess(const ProfileInput& input) {
  const auto access = input.facts.certificate.authorityInfoAccess();
  return !access && !access.error().isAbsent();
}

// How long a certificate that is issued at a moment may be valid.
days longestValidity(std::chrono::sys_seconds issued) noexcept {
  struct Step {
    sys_days from;
    days most;
  };
  static constexpr Step kSteps[] = {{sys_days(2029y / 3 / 15), days(47)},
                                    {sys_days(2027y / 3 / 15), days(100)},
                                    {sys_days(2026y / 3 / 15), days(200)}};
  for (const Step& step : kSteps) {
    if (issued >= step.from) return step.most;
  }
  return days(398);
}

bool isValidTooLong(const ProfileInput& input) {
  const Result<Validity>& validity = input.facts.validity;
  if (!isLeaf(input) || !validity) return false;
  return validity->notAfter - validity->notBefore + 1s > longestValidity(validity->notBefore);
}

constexpr ProfileRule kWebRules[] = {
    {"webNoAlternativeNames", "BR §7.1.2.7.12", "A server's certificate has no alternative names.",
     hasNoServerNames},
    {"webOtherNames", "BR §7.1.2.7.12",
     "Among the alternative names are others than DNS names and IP addresses.", hasOtherNames},
    {"webCommonName", "BR §7.1.4.3", "The common name is none of the alternative names.",
     hasStrangeCommonName},
    {"webServerIsCa", "BR §7.1.2.7.6", "A server's certificate is that of a CA.", isCaAsServer},
    {"webAuthorityKeyId", "BR §7.1.2.11.1",
     "The issuer's key is not given by its identifier alone.", hasNoPlainAuthorityKeyId},
    {"webNoServerAuth", "BR §7.1.2.7.10", "The extended key usage does not name TLS servers.",
     saysNoServerAuth},
    {"webAnyPurpose", "BR §7.1.2.7.10", "The extended key usage names any purpose beside servers.",
     saysAnyPurpose},
    {"webKey", "BR §6.1.5", "The key is of no kind or size that public servers may have.",
     hasOtherKey},
    {"webVersion", "BR §7.1.1", "The version is not 3.", isOldVersion},
    {"webAccess", "BR §7.1.2.7.7", "The authority information access cannot be read.",
     hasUnreadableAccess},
    {"webValidity", "BR §6.3.2", "The certificate is valid for longer than public servers' may be.",
     isValidTooLong},
};

}  // namespace

const ProfileRule& profileRule(uint8_t rule) noexcept {
  return kWebRules[rule];
}

void judgeProfile(const ProfileInput& input, std::vector<Finding>& findings) {
  if (input.options.profile != Profile::web) return;
  static_assert(std::size(kWebRules) <= UINT8_MAX);
  for (size_t i = 0; i < std::size(kWebRules); ++i) {
    if (!kWebRules[i].isBroken(input)) continue;
    Finding finding;
    finding.reason = Reason::profileRule;
    finding.rule = static_cast<uint8_t>(i);
    findings.push_back(std::move(finding));
  }
}

bool refusesInRfc5280(DepartureCode code) noexcept {
  switch (code) {
    case DepartureCode::defaultEncoded:
    case DepartureCode::versionOneEncoded:
    case DepartureCode::serialZero:
    case DepartureCode::serialNegative:
    case DepartureCode::serialTooLong:
    case DepartureCode::subjectEmpty:
    case DepartureCode::criticalityWrong:
    case DepartureCode::pathLengthWithoutCa:
    case DepartureCode::certSignWithoutCa:
    case DepartureCode::caWithoutSubjectKeyId:
    case DepartureCode::caWithoutKeyUsage:
    case DepartureCode::noAuthorityKeyId:
    case DepartureCode::constraintsWithoutCa:
      return true;
    default:
      return false;
  }
}

}  // namespace velmora

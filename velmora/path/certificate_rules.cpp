#include "velmora/path/internal/certificate_rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <tuple>

#include "velmora/certificate/issuer_key.h"
#include "velmora/path/internal/stable_sort.h"

namespace velmora {
namespace {

// What is processed where, and so may be critical.
enum Processed : uint8_t {
  kNever = 0,
  kOnLeaf = 1,
  kOnIssuer = 2,
  kAlways = kOnLeaf | kOnIssuer,
  kWithCrls = 4,      // everywhere, when CRLs are judged
  kOfOcspSigner = 8,  // on a leaf that is to sign OCSP responses
};

// The extensions that are read, where they are processed, and whether a decision rests on what they
// say: if it does, one that cannot be read refuses, critical or not.
struct KnownExtension {
  Oid id;
  uint8_t processed;
  uint8_t decides;  // likewise; kNever: only shown
};

constexpr KnownExtension kKnownExtensions[] = {
    {oid::basicConstraints, kAlways, kAlways},
    {oid::keyUsage, kAlways, kAlways},
    {oid::extKeyUsage, kAlways, kAlways},
    {oid::nameConstraints, kAlways, kAlways},
    {oid::certificatePolicies, kAlways, kAlways},
    {oid::policyMappings, kAlways, kAlways},
    {oid::policyConstraints, kAlways, kAlways},
    {oid::inhibitAnyPolicy, kAlways, kAlways},
    {oid::subjectAltName, kAlways, kNever},  // where a target or a constraint is judged: there
    {oid::subjectKeyIdentifier, kAlways, kNever},
    {oid::authorityKeyIdentifier, kAlways, kNever},
    {oid::crlDistributionPoints, kWithCrls, kWithCrls},
    {oid::noRevAvail, kWithCrls, kWithCrls},
    {oid::ocspNoCheck, kOfOcspSigner, kNever},
    {oid::issuerAltName, kNever, kNever},
    {oid::freshestCrl, kNever, kNever},
    {oid::authorityInfoAccess, kNever, kNever},
    {oid::subjectInfoAccess, kNever, kNever},
    {oid::signedTimestamps, kNever, kNever},
    {oid::tlsFeature, kNever, kNever},
};

// In the order of their OIDs: a certificate may have tens of thousands that are to be found here.
constexpr auto kById = [] {
  auto all = std::to_array(kKnownExtensions);
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  return all;
}();

const KnownExtension* find(const Oid& id) noexcept {
  const auto* const found = std::lower_bound(
      kById.begin(), kById.end(), id,
      [](const KnownExtension& each, const Oid& wanted) { return each.id < wanted; });
  return found != kById.end() && found->id == id ? found : nullptr;
}

bool holds(uint8_t where, Role role, const Question& question) noexcept {
  if ((where & kOnLeaf) != 0 && role == Role::leaf) return true;
  if ((where & kOnIssuer) != 0 && role == Role::issuer) return true;
  if ((where & kWithCrls) != 0 && question.judgesCrls()) return true;
  return (where & kOfOcspSigner) != 0 && role == Role::leaf &&
         question.options.purpose == Purpose::ocspSigning;
}

void add(Reason reason, std::vector<Finding>& findings, const Oid& about = {},
         Severity severity = Severity::failure) {
  Finding finding;
  finding.reason = reason;
  finding.about = about;
  finding.severity = severity;
  findings.push_back(std::move(finding));
}

// What each purpose wants of extendedKeyUsage and keyUsage.
struct PurposeRow {
  Purpose purpose;
  Oid id;
  bool mustSay;      // absent, or anyExtendedKeyUsage, do not do
  bool isNested;     // issuers that have the extension have to allow it
  uint16_t keyUses;  // one of them, where keyUsage is there
  uint16_t rsaUses;  // and for a key for RSA of every kind
  uint16_t ecUses;   // and for a key on a curve of RFC 5480
};

constexpr auto bit(KeyUse use) noexcept {
  return static_cast<uint16_t>(use);
}
constexpr uint16_t kSign = bit(KeyUse::digitalSignature);
constexpr uint16_t kCommit = bit(KeyUse::nonRepudiation);
constexpr uint16_t kEncipher = bit(KeyUse::keyEncipherment);
constexpr uint16_t kAgree = bit(KeyUse::keyAgreement);

constexpr PurposeRow kPurposes[] = {
    {Purpose::server, oid::serverAuth, false, true, kSign, kEncipher, kAgree},
    {Purpose::client, oid::clientAuth, false, true, kSign, 0, kAgree},
    {Purpose::codeSigning, oid::codeSigning, true, true, kSign, 0, 0},
    {Purpose::email, oid::emailProtection, false, true, kSign | kCommit, kEncipher, kAgree},
    {Purpose::timeStamping, oid::timeStamping, true, true, kSign | kCommit, 0, 0},
    {Purpose::ocspSigning, oid::ocspSigning, true, false, kSign | kCommit, 0, 0},
};

// Null for Purpose::any, of which nothing is judged.
const PurposeRow* rowOf(Purpose purpose) noexcept {
  for (const PurposeRow& row : kPurposes) {
    if (row.purpose == purpose) return &row;
  }
  return nullptr;
}

// Whether the purposes of an issuer or an anchor allow one of the leaf.
bool allowsBelow(const ExtendedKeyUsage& usage, Purpose purpose) noexcept {
  const PurposeRow* const row = rowOf(purpose);
  return row == nullptr || !row->isNested || usage.has(row->id) ||
         usage.has(oid::anyExtendedKeyUsage);
}

// Whether a certificate cannot say that it is a CA, being of version 1 or 2 and without a list.
bool isWithoutExtensions(const CertificateFacts& facts) noexcept {
  const bool isOld = facts.version && (*facts.version == 1 || *facts.version == 2);
  return isOld &&
         std::none_of(facts.departures.begin(), facts.departures.end(), [](const auto& it) {
           return it.code == DepartureCode::extensionsInOldVersion;
         });
}

// Whether it is said that the key is none.
bool isKeyNamed(const std::vector<Finding>& findings) noexcept {
  return std::any_of(findings.begin(), findings.end(), [](const Finding& each) {
    return each.reason == Reason::keyNotKnown || each.reason == Reason::keyMalformed ||
           (each.reason == Reason::departure && (each.departure == DepartureCode::keyMalformed ||
                                                 each.departure == DepartureCode::curveNotNamed));
  });
}

void judgeKeySize(unsigned bits, unsigned least, std::vector<Finding>& findings) {
  if (bits >= least) return;
  add(Reason::weakKey, findings);
  findings.back().detail = std::to_string(bits) + " bits";
}

void judgeCurve(const Oid& id, const std::vector<Oid>& allowed, std::vector<Finding>& findings) {
  if (allowed.empty() || std::find(allowed.begin(), allowed.end(), id) != allowed.end()) return;
  add(Reason::curveNotAllowed, findings, id);
}

void judgeKey(const PublicKey& key, const KeyOptions& least, std::vector<Finding>& findings) {
  switch (key.kind) {
    case KeyKind::rsa:
    case KeyKind::rsaPss:
      return judgeKeySize(key.bits, least.rsaBits, findings);
    case KeyKind::dsa:
      // Parameters of the issuer's key are not taken over (RFC 3279 §2.3.2 leaves that open).
      return key.bits == 0 ? add(Reason::keyMalformed, findings)
                           : judgeKeySize(key.bits, least.dsaBits, findings);
    case KeyKind::ec:
      if (key.curve.isEmpty()) return;  // a departure
      if (key.bits == 0) return add(Reason::keyNotKnown, findings, key.curve);
      judgeKeySize(key.bits, least.ecBits, findings);
      return judgeCurve(key.curve, least.curves, findings);
    case KeyKind::ed25519:
      return judgeCurve(key.algorithm, least.curves, findings);
    case KeyKind::other:
      return add(Reason::keyNotKnown, findings, key.algorithm);
  }
}

class Judge {
 public:
  Judge(const CertificateFacts& facts, Role role, const Question& question,
        std::vector<Finding>& findings)
      : m_facts(facts), m_role(role), m_question(question), m_findings(findings) {}

  void all() {
    departures();
    criticalExtensions();
    dates();
    algorithm();
    key();
    if (m_role == Role::issuer) issuer();
    if (m_role == Role::leaf) leaf();
    judgeProfile({m_facts, m_role, m_question.options}, m_findings);
  }

  void leaf() {
    purpose();
    target();
  }

  // RFC 5280 §6.1.4 (k) and (n).
  void issuer() {
    const Result<BasicConstraints>& constraints = m_facts.basicConstraints;
    const bool isReadable = constraints || constraints.error().isAbsent();
    if (isReadable && !m_facts.isCa()) add(Reason::notACa);
    if (m_facts.keyUsage && !m_facts.maySignCertificates()) add(Reason::mayNotSign);
    const PurposeRow* const row = rowOf(m_question.options.purpose);
    if (row == nullptr || !m_facts.extendedKeyUsage) return;
    if (!allowsBelow(*m_facts.extendedKeyUsage, row->purpose)) {
      add(Reason::wrongPurpose, oid::extKeyUsage);
    }
  }

  // RFC 5280 §6.1.3 (a)(2).
  void dates() {
    if (!m_facts.validity) return;  // a departure
    if (m_question.at < m_facts.validity->notBefore) add(Reason::notYetValid);
    if (m_question.at > m_facts.validity->notAfter) add(Reason::expired);
  }

  void key() {
    if (!m_facts.key) return;  // a departure
    judgeKey(*m_facts.key, m_question.options.keys, m_findings);
  }

  // The departures of an anchor bind only where they name what it binds by, and of a key that is
  // not in DER they name but the octet.
  void anchorKey() {
    key();
    if (!m_facts.key && !isKeyNamed(m_findings)) add(Reason::keyMalformed);
  }

  // RFC 5280 §6.1.4 (o) and §6.1.5 (f).
  void criticalExtensions() {
    for (const Oid& id : m_facts.criticalExtensions) {
      const KnownExtension* const known = find(id);
      if (known == nullptr) {
        add(Reason::unknownCriticalExtension, id);
      } else if (!holds(known->processed, m_role, m_question) ||
                 (id == oid::certificatePolicies && hasOtherQualifier())) {
        add(Reason::criticalNotProcessed, id);
      }
    }
  }

  void departures() {
    for (const Departure& each : m_facts.departures) departure(each, refuses(each));
  }

  // Those of an anchor bind only where they stand in what it binds by: critical extensions, some
  // others, and what is asked of it beside.
  void anchorDepartures() {
    for (const Departure& each : m_facts.departures) {
      if (!each.mayDecide() && isBinding(each)) departure(each, true);
    }
  }

 private:
  template <class... Ids>
  static bool isIn(const Oid& id, const Ids&... ids) noexcept {
    return ((id == ids) || ...);
  }

  void add(Reason reason, const Oid& about = {}) { velmora::add(reason, m_findings, about); }

  void departure(const Departure& departure, bool refuses) {
    uint8_t& alike = m_alike[static_cast<size_t>(departure.code)][refuses ? 1 : 0];
    if (alike == kMostAlike) return;
    ++alike;
    Finding finding;
    finding.reason = Reason::departure;
    finding.departure = departure.code;
    finding.offset = departure.offset;
    finding.about = departure.about;
    finding.severity = refuses ? Severity::failure : Severity::warning;
    m_findings.push_back(std::move(finding));
  }

  bool isBinding(const Departure& each) const noexcept {
    switch (each.code) {
      case DepartureCode::extensionListMalformed:
      case DepartureCode::keyMalformed:
      case DepartureCode::curveNotNamed:
        return true;
      case DepartureCode::dateMalformed:
      case DepartureCode::dateNotDer:
        return m_question.options.judgeAnchorDates;
      case DepartureCode::nameTextMalformed:
        if (!isInside(each)) return false;
        [[fallthrough]];
      default:
        return isIn(each.about, oid::basicConstraints, oid::keyUsage, oid::nameConstraints,
                    oid::extKeyUsage) ||
               isCritical(each.about) || areNamesOfTarget(each.about);
    }
  }

  // The closed table of what refuses: what no decision may rest on, but for the contents of
  // extensions on which none does; and what the profile demands besides.
  bool refuses(const Departure& each) const noexcept {
    if (each.mayDecide()) {
      return m_question.options.profile == Profile::rfc5280 && refusesInRfc5280(each.code);
    }
    if (each.code == DepartureCode::extensionRepeated) return true;
    const KnownExtension* const known = find(each.about);
    return known == nullptr || !isInside(each) || decides(*known);
  }

  // An attribute type of the issuer or the subject may be the OID of an extension.
  bool isInside(const Departure& each) const noexcept {
    const Result<Extension> extension = m_facts.certificate.extension(each.about);
    return extension && each.offset >= extension->offset;
  }

  bool decides(const KnownExtension& known) const noexcept {
    const bool isOfProfile = m_question.options.profile == Profile::rfc5280 &&
                             isIn(known.id, oid::subjectKeyIdentifier, oid::authorityKeyIdentifier,
                                  oid::subjectAltName, oid::issuerAltName);
    return isOfProfile || holds(known.decides, m_role, m_question) || areNamesOfTarget(known.id) ||
           isCritical(known.id);
  }

  bool areNamesOfTarget(const Oid& id) const noexcept {
    return id == oid::subjectAltName && m_question.options.target.isJudged() &&
           m_role == Role::leaf;
  }

  bool isCritical(const Oid& id) const noexcept {
    const auto& critical = m_facts.criticalExtensions;
    return std::find(critical.begin(), critical.end(), id) != critical.end();
  }

  // RFC 5280 §4.2.1.4: who meets a qualifier that is neither of its two in a critical extension
  // has to refuse.
  bool hasOtherQualifier() const noexcept {
    const std::vector<Policy>& policies = m_facts.policies.policies;
    return std::any_of(policies.begin(), policies.end(), [](const Policy& policy) {
      return std::any_of(policy.qualifiers.begin(), policy.qualifiers.end(), [](const auto& each) {
        return std::holds_alternative<OtherQualifier>(each);
      });
    });
  }

  void algorithm() {
    if (!m_facts.scheme) return;  // the check of the signature says why
    if (m_question.options.allowSha1) return;
    if (m_facts.scheme->hash == Hash::sha1) add(Reason::weakHash);
  }

  void purpose() {
    const PurposeRow* const row = rowOf(m_question.options.purpose);
    if (row == nullptr) return;
    if (!saysPurpose(*row)) add(Reason::wrongPurpose, oid::extKeyUsage);
    if (m_facts.keyUsage && m_facts.key && !saysUse(*row)) {
      add(Reason::wrongKeyUsage, oid::keyUsage);
    }
  }

  bool saysPurpose(const PurposeRow& row) const noexcept {
    const Result<ExtendedKeyUsage>& usage = m_facts.extendedKeyUsage;
    if (!usage) return !row.mustSay || !usage.error().isAbsent();  // malformed: a departure
    if (row.purpose == Purpose::timeStamping) {
      // RFC 3161 §2.3.
      return isCritical(oid::extKeyUsage) && usage->purposes.size() == 1 && usage->has(row.id);
    }
    return usage->has(row.id) || (!row.mustSay && usage->has(oid::anyExtendedKeyUsage));
  }

  bool saysUse(const PurposeRow& row) const noexcept {
    uint16_t wanted = row.keyUses;
    if (m_facts.key->kind == KeyKind::rsa) wanted |= row.rsaUses;
    if (m_facts.key->kind == KeyKind::ec) wanted |= row.ecUses;
    return (m_facts.keyUsage->bits & wanted) != 0;
  }

  void target() {
    const Target& target = m_question.options.target;
    if (!target.isJudged()) return;
    const Result<bool> matches = target.matches(m_facts.certificate);
    if (!matches || *matches) return;  // names that cannot be read are a departure
    add(Reason::wrongHost);
    m_findings.back().detail = target.text();
  }

  const CertificateFacts& m_facts;
  Role m_role;
  const Question& m_question;
  std::vector<Finding>& m_findings;
  // Told so far, of each departure warnings and failures.
  std::array<std::array<uint8_t, 2>, UINT8_MAX + 1> m_alike = {};
};

}  // namespace

bool isKnownExtension(const Oid& id) noexcept {
  return find(id) != nullptr;
}

void judgeCertificate(const CertificateFacts& facts, Role role, const Question& question,
                      std::vector<Finding>& findings) {
  Judge(facts, role, question, findings).all();
}

void judgeKeyItself(const CertificateFacts& facts, std::vector<Finding>& findings) {
  if (!isKeyNamed(findings) && facts.key && !IssuerKey::isUsable(facts.spki)) {
    add(Reason::keyMalformed, findings);
  }
}

void judgeTrustedLeaf(const CertificateFacts& facts, const Question& question,
                      std::vector<Finding>& findings) {
  Judge judge(facts, Role::leaf, question, findings);
  judge.anchorDepartures();
  judge.criticalExtensions();
  if (question.options.judgeAnchorDates) judge.dates();
  judge.anchorKey();
  judgeKeyItself(facts, findings);
  judge.leaf();
}

void judgeAnchor(const IndexedAnchor& anchor, const Question& question,
                 std::vector<Finding>& findings) {
  if (anchor.facts) {
    Judge judge(*anchor.facts, Role::issuer, question, findings);
    judge.anchorDepartures();
    judge.criticalExtensions();
    if (question.options.judgeAnchorDates) judge.dates();
    judge.anchorKey();
    if (!isWithoutExtensions(*anchor.facts)) judge.issuer();
    return;
  }
  if (anchor.key) judgeKey(*anchor.key, question.options.keys, findings);
  if (anchor.purposes && !allowsBelow(*anchor.purposes, question.options.purpose)) {
    add(Reason::wrongPurpose, findings, oid::extKeyUsage);
  }
}

void sortFindings(std::vector<Finding>& findings) {
  sortStably(findings, [](const Finding& a, const Finding& b) {
    return std::tuple(a.certificate, a.reason, a.offset) <
           std::tuple(b.certificate, b.reason, b.offset);
  });
}

}  // namespace velmora

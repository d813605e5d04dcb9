#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "velmora/path/internal/path_builder.h"
#include "velmora/path/link.h"

// What is judged on a way that reaches an anchor (RFC 5280 §6.1), from the anchor downwards.

namespace velmora {
namespace {

Finding findingOf(Reason reason, size_t place) {
  Finding finding;
  finding.reason = reason;
  finding.certificate = static_cast<uint32_t>(place);
  return finding;
}

bool hasFailure(const std::vector<Finding>& findings) noexcept {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& each) { return each.isFailure(); });
}

// Appends findings that were made without a place.
void appendAt(size_t place, const std::vector<Finding>& from, std::vector<Finding>& to) {
  for (const Finding& each : from) {
    to.push_back(each);
    to.back().certificate = static_cast<uint32_t>(place);
  }
}

Reason reasonOf(SignatureFault fault) {
  switch (fault) {
    case SignatureFault::outOfMemory:
      throw std::bad_alloc();
    case SignatureFault::wrongSignature:
      return Reason::wrongSignature;
    case SignatureFault::algorithmsDiffer:
      return Reason::algorithmsDiffer;
    case SignatureFault::keyDoesNotFit:
      return Reason::keyDoesNotFit;
    default:
      return verdictOf(fault) == SignatureVerdict::cannotCheck ? Reason::signatureNotChecked
                                                               : Reason::signatureRefused;
  }
}

// Whether a self-issued certificate leaves out the identifier of its issuer's key.
bool lacksIssuersKeyId(const CertificateFacts& facts) {
  const Certificate& certificate = facts.certificate;
  const bool mayHave = facts.version && *facts.version == 3;
  if (!mayHave || !(certificate.subject() == certificate.issuer())) return false;
  const Result<AuthorityKeyId> id = certificate.authorityKeyId();
  return id ? !id->keyId : id.error().isAbsent();
}

std::string withoutFullStop(std::string_view sentence) {
  if (sentence.ends_with('.')) sentence.remove_suffix(1);
  return std::string(sentence);
}

}  // namespace

uint64_t costOf(const std::optional<PublicKey>& key) noexcept {
  if (!key) return 4;
  const uint64_t bits = key->bits;
  switch (key->kind) {
    case KeyKind::rsa:
    case KeyKind::rsaPss:
      return 1 + bits * bits / (uint64_t{2048} * 2048);
    case KeyKind::dsa:
      return 4 + 16 * bits * bits / (uint64_t{2048} * 2048);
    case KeyKind::ec:
      return bits <= 256 ? 4 : 24;
    default:
      return 4;
  }
}

std::vector<Reason> linkFaults(const Certificate& certificate, const Certificate& issuer) {
  std::vector<Reason> faults;
  const SignatureCheck check = certificate.checkSignature(issuer);
  if (check.verdict != SignatureVerdict::good) faults.push_back(reasonOf(check.fault));
  const Result<BasicConstraints> constraints = issuer.basicConstraints();
  if (!constraints || !constraints->ca) faults.push_back(Reason::notACa);
  const Result<KeyUsage> usage = issuer.keyUsage();
  if (usage ? !usage->has(KeyUse::keyCertSign) : !usage.error().isAbsent()) {
    faults.push_back(Reason::mayNotSign);
  }
  return faults;
}

std::shared_ptr<const IssuerKey> PathBuilder::readyKeyOf(const IndexedAnchor& anchor) const {
  return m_anchors.cache().key(anchor.spki, anchor.keyDigest);
}

std::shared_ptr<const IssuerKey> PathBuilder::readyKeyOf(
    const IndexedCertificate& certificate) const {
  return m_anchors.cache().key(certificate.facts.spki, certificate.keyDigest);
}

void PathBuilder::decide() {
  std::vector<Finding> findings;
  if (!judgeSignatures(findings)) return;
  if (!judgeLeafKey()) return rememberWay();  // as every other would have to be
  judgeLengths(findings);
  judgeIdentifiers(findings);
  if (!hasFailure(findings)) judgeConstraints(findings);
  if (!hasFailure(findings)) judgeWayPolicies(findings);
  if (!hasFailure(findings)) judgeRevocation(findings);
  if (hasFailure(findings)) return rememberWay();
  if (m_stopped != Reason::none || !mayHoldAnother()) return;
  const std::vector<Finding> own = ownFindings();
  findings.insert(findings.end(), own.begin(), own.end());
  accept(pathOf(std::move(findings), &anchorOfWay()));
}

// A way whose signatures hold, and which is refused for something else, tells best why none holds:
// of a crowd that anybody can make up no signature does.
void PathBuilder::rememberWay() {
  if (m_waysSigned.size() < kMostRemembered) m_waysSigned.push_back(m_way);
}

// Ways that hold are as many as a CA likes to make, and each says again what its certificates say:
// all but the first are counted by that.
bool PathBuilder::mayHoldAnother() {
  if (!std::exchange(m_holdsAny, true)) return true;
  uint64_t said = m_policies.held.size();
  for (const Step& step : m_way) said += 1 + findingsOf(step.node).size();
  return spend(m_answer.used.comparisons, m_options.limits.comparisons, said,
               Reason::tooManyComparisons);
}

// All that is wrong; but what nothing trusted vouches for is not computed with.
void PathBuilder::explain() {
  ++m_waysExplained;
  std::vector<Finding> findings;
  const bool isVouched = judgeSignatures(findings);
  if (isVouched) judgeLeafKey();
  const std::vector<Finding> own = ownFindings();
  findings.insert(findings.end(), own.begin(), own.end());
  judgeLengths(findings);
  judgeIdentifiers(findings);
  judgeConstraints(findings);
  judgeWayPolicies(findings);
  if (isVouched) judgeRevocation(findings);
  keepIfFurther(pathOf(std::move(findings), &anchorOfWay()));
}

// What the certificates of the way, and the anchor when it comes last, are found to be by
// themselves.
std::vector<Finding> PathBuilder::ownFindings() {
  std::vector<Finding> findings;
  for (size_t place = 0; place < m_way.size(); ++place) {
    appendAt(place, findingsOf(m_way[place].node), findings);
  }
  const std::vector<Link>& links = nodeAt(m_way.size() - 1).links;
  const size_t link = m_way.back().link;
  if (link < links.size() && links[link].anchor != nullptr) {
    appendAt(m_way.size(), findingsOf(*links[link].anchor), findings);
  }
  return findings;
}

// §6.1.3 (a)(1); false behind the first that does not hold, and when the limit is reached.
bool PathBuilder::judgeSignatures(std::vector<Finding>& findings) {
  for (size_t place = m_way.size(); place-- > 0;) {
    const SignatureCheck* const done = check(place);
    if (done == nullptr) {
      findings.push_back(findingOf(Reason::tooManySignatures, place));
      return false;
    }
    if (done->verdict == SignatureVerdict::good) continue;
    Finding finding = findingOf(reasonOf(done->fault), place);
    if (finding.reason != Reason::wrongSignature) finding.detail = withoutFullStop(done->message());
    findings.push_back(std::move(finding));
    return false;
  }
  return true;
}

// The check of the link that was taken, made once for each key; null when it would cost too much.
const SignatureCheck* PathBuilder::check(size_t place) {
  Node& node = nodeAt(place);
  Link& link = node.links[m_way[place].link];
  if (link.check) return &*link.check;
  std::optional<SignatureCheck>& ofKey = node.links[link.firstOfKey].ofKey;
  if (!ofKey) {
    if (!spend(m_answer.used.signatures, m_options.limits.signatures, costOf(keyOf(link)),
               Reason::tooManySignatures)) {
      return nullptr;
    }
    ofKey = compute(node, link);
  }
  link.check = ofKey;
  if (!isOpen(link)) close(m_way[place].node, link);
  return &*link.check;
}

std::optional<PublicKey> PathBuilder::keyOf(const Link& link) const {
  if (link.anchor != nullptr) return link.anchor->key;
  const Result<PublicKey>& key = m_nodes[link.issuer].facts->key;
  return key ? *key : PublicKey();
}

// Links of leaves are not kept: there are many, and each is asked for once.
SignatureCheck PathBuilder::compute(const Node& node, const Link& link) {
  const Sha256& digest = keyDigestOf(link);
  JudgementCache& cache = m_anchors.cache();
  if (node.indexed != nullptr) {
    if (const auto known = cache.find(digest, node.indexed->fingerprint)) return *known;
  }
  const auto key =
      link.anchor != nullptr ? readyKeyOf(*link.anchor) : readyKeyOf(*m_nodes[link.issuer].indexed);
  const SignatureCheck made = key->check(node.facts->certificate);
  if (node.indexed != nullptr) cache.keep(digest, node.indexed->fingerprint, made);
  return made;
}

// Whether the leaf's key is one. It is computed with only when something trusted vouches for it,
// and once; those of issuers show it by the signatures that they are to check.
bool PathBuilder::judgeLeafKey() {
  findingsOf(NodeNumber{0});
  std::vector<Finding>& findings = *m_nodes.front().findings;
  if (std::exchange(m_isLeafKeyJudged, true)) return !m_isLeafRefused;
  judgeKeyItself(m_leaf, findings);
  m_isLeafRefused = hasFailure(findings);
  if (m_isLeafRefused) m_isMeasured = false;
  return !m_isLeafRefused;
}

// §6.1.4 (l) and (m).
void PathBuilder::judgeLengths(std::vector<Finding>& findings) const {
  std::optional<uint64_t> left = anchorOfWay().pathLength;
  for (size_t place = m_way.size() - 1; place > 0; --place) {
    const CertificateFacts& facts = *nodeAt(place).facts;
    if (left && !facts.isSelfIssued) {
      if (*left == 0) {
        findings.push_back(findingOf(Reason::pathTooLong, place));
        return;
      }
      --*left;
    }
    const Result<BasicConstraints>& own = facts.basicConstraints;
    if (own && own->pathLength) left = std::min(left.value_or(UINT64_MAX), *own->pathLength);
  }
}

// §4.2.1.1: a certificate that is self-issued may leave out the identifier of its issuer's key only
// if the key is its own, which on a way it never is. Of all others departures tell.
void PathBuilder::judgeIdentifiers(std::vector<Finding>& findings) {
  if (m_options.profile != Profile::rfc5280) return;
  for (size_t place = 0; place < m_way.size(); ++place) {
    Node& node = nodeAt(place);
    if (!node.lacksIssuersKeyId) node.lacksIssuersKeyId = lacksIssuersKeyId(*node.facts);
    if (!*node.lacksIssuersKeyId) continue;
    findings.push_back(findingOf(Reason::departure, place));
    findings.back().departure = DepartureCode::noAuthorityKeyId;
    findings.back().about = oid::authorityKeyIdentifier;
  }
}

// §6.1.3 (b) and (c), §6.1.4 (g): each certificate below an issuer, but for self-issued ones that
// are not the leaf.
void PathBuilder::judgeConstraints(std::vector<Finding>& findings) {
  if (anchorOfWay().constraints) {
    judgeConstraints(*anchorOfWay().constraints, m_way.size(), findings);
  }
  for (size_t place = m_way.size() - 1; place > 0; --place) {
    const auto& constraints = nodeAt(place).facts->constraints;
    if (constraints) judgeConstraints(*constraints, place, findings);
  }
}

void PathBuilder::judgeConstraints(const PreparedConstraints& constraints, size_t below,
                                   std::vector<Finding>& findings) {
  for (size_t place = below; place-- > 0;) {
    Node& node = nodeAt(place);
    if (place != 0 && node.facts->isSelfIssued) continue;
    const auto [found, isNew] = m_constrained.try_emplace({&constraints, m_way[place].node});
    if (isNew) {
      if (!node.names) node.names = std::make_unique<const JudgedNames>(node.facts->certificate);
      const uint32_t before = comparisonsLeft();
      uint32_t left = before;
      const bool isJudged = constraints.judge(*node.names, left, found->second);
      m_answer.used.comparisons += before - left;
      if (!isJudged) {
        stopDeciding(Reason::tooManyComparisons);
        found->second.assign(1, findingOf(Reason::tooManyComparisons, 0));
      }
    }
    appendAt(place, found->second, findings);
  }
}

// §6.1.3 (d) to (f), §6.1.4 (a), (b), (h) to (j), §6.1.5.
void PathBuilder::judgeWayPolicies(std::vector<Finding>& findings) {
  std::vector<PolicyInput> way;
  way.reserve(m_way.size());
  for (size_t place = m_way.size(); place-- > 0;) {
    const CertificateFacts& facts = *nodeAt(place).facts;
    way.push_back({&facts.policies, facts.isSelfIssued});
  }
  const uint32_t before = comparisonsLeft();
  uint32_t left = before;
  m_policies = judgePolicies(way, m_options.policies, left);
  m_answer.used.comparisons += before - left;
  if (!m_policies.isCounted) {
    stopDeciding(Reason::tooManyComparisons);
    findings.push_back(findingOf(Reason::tooManyComparisons, 0));
  } else if (!m_policies.isEnough) {
    const size_t at = std::min<size_t>(m_policies.refusedAt, m_way.size() - 1);
    findings.push_back(findingOf(Reason::noPolicy, m_way.size() - 1 - at));
    if (m_policies.mapsAny) findings.back().about = oid::policyMappings;
  }
}

}  // namespace velmora

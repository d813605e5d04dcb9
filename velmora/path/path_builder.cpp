#include "velmora/path/internal/path_builder.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include "velmora/path/internal/stable_sort.h"

// The search. What is judged on a way stands in way_rules.cpp.

namespace velmora {
namespace {

constexpr uint32_t kUnreachable = UINT32_MAX;

// Ways are climbed by recursion, which whoever sets the limit must not make deep.
constexpr uint32_t kMostCertificates = 100;

// Room that most searches never need more than.
constexpr size_t kUsualCertificates = 4;

// How many ways are judged in full to say why there is none.
constexpr uint32_t kMostExplained = 64;
constexpr uint32_t kMostStepsExplained = 4096;
// What that may take beyond what the limits leave: about an eighth of what they are by default, and
// no more than they are themselves where a caller wants less to be spent, but for a little.
constexpr uint32_t kMostSignaturesExplained = 2048;
constexpr uint32_t kMostComparisonsExplained = 65'536;
constexpr uint64_t kLeastExplained = 256;

uint32_t explainedOf(uint32_t limit, uint32_t most) noexcept {
  return static_cast<uint32_t>(
      std::min<uint64_t>(std::max<uint64_t>(limit, kLeastExplained), most));
}

// What may yet be spent on signatures, and how many ways may be tried, once a way holds, to find
// one whose issuers are without warnings.
constexpr uint32_t kSignaturesForBetter = 8;
constexpr uint32_t kWaysForBetter = 64;

bool sameOctets(Bytes a, Bytes b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

// A loop is the same name and key, whatever else is in the certificates. Keys are the shorter to
// compare: names may be as long as a crowd likes.
bool isSame(const CertificateFacts& a, const CertificateFacts& b) noexcept {
  return sameOctets(a.spki, b.spki) && a.subject && a.subject == b.subject;
}

bool isSame(const CertificateFacts& a, const IndexedAnchor& b) noexcept {
  return sameOctets(a.spki, b.spki) && a.subject && *a.subject == b.name;
}

bool hasFailure(const std::vector<Finding>& findings) noexcept {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& each) { return each.isFailure(); });
}

bool warnsOfIssuers(const VerifiedPath& verified) noexcept {
  const std::vector<Finding>& findings = verified.path().findings;
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& each) { return each.certificate != 0; });
}

}  // namespace

PathBuilder::PathBuilder(const Certificate& leaf, const TrustAnchors& anchors,
                         std::span<const CertificateSet* const> intermediates,
                         const VerifyOptions& options, std::chrono::sys_seconds at)
    : m_anchors(*anchors.m_index), m_options(options), m_question{options, at}, m_leaf(leaf) {
  m_sets.reserve(intermediates.size());
  m_nodes.reserve(kUsualCertificates);
  m_way.reserve(kUsualCertificates);
  for (const CertificateSet* const set : intermediates) m_sets.push_back(set->m_index.get());
}

Verification PathBuilder::run() {
  if (m_anchors.size() == 0) stop(Reason::noAnchors);
  const IndexedAnchor* const anchor = m_anchors.find(m_leaf.certificate);
  if (!isCancelled() && anchor != nullptr) trustLeafItself(*anchor);
  m_nodes.push_back({&m_leaf});
  explore();
  if (!isDone()) search();
  if (m_isUnexplored && m_answer.verified.empty()) stop(Reason::tooManyCandidates);
  if (m_answer.verified.empty()) {
    m_mode = Mode::explain;
    for (std::vector<Step>& way : m_waysSigned) {
      if (isDone()) break;
      m_way = std::move(way);
      explain();
    }
    search();
    if (!m_hasFurthest) explainDeadEnd();
  }
  return answer();
}

// Breadth first, so that what a limit cuts off is what is furthest away, and self-issued
// certificates last: each of a crowd of them could be the issuer of all, and few ways need one.
// An anchor is found for every certificate.
void PathBuilder::explore() {
  std::vector<NodeNumber> selfIssued;
  NodeNumber number = 0;
  for (size_t later = 0; number < m_nodes.size() || later < selfIssued.size();) {
    if (isCancelled()) return;
    if (number == m_nodes.size()) {
      addIssuers(selfIssued[later++]);
      continue;
    }
    addAnchors(number);
    m_nodes[number].facts->isSelfIssued ? selfIssued.push_back(number) : addIssuers(number);
    ++number;
  }
  for (Node& node : m_nodes) {
    sortLinks(*node.facts, node.links);
    pairLinks(node.links);
  }
}

void PathBuilder::addAnchors(NodeNumber number) {
  Node& node = m_nodes[number];
  const CertificateFacts& facts = *node.facts;
  if (!facts.issuer || facts.issuer->empty()) return;
  const std::span<const IndexedAnchor* const> named = m_anchors.withName(*facts.issuer);
  for (size_t i = 0; i < named.size(); ++i) {
    // The first is not counted: whatever crowd there is, each certificate finds one.
    if (i != 0 && !countIssuer()) return;
    if (!isSame(facts, *named[i])) node.links.push_back({named[i]});
  }
}

void PathBuilder::addIssuers(NodeNumber number) {
  const CertificateFacts& facts = *m_nodes[number].facts;
  if (m_isUnexplored || !facts.issuer || facts.issuer->empty()) return;
  for (size_t set = 0; set < m_sets.size(); ++set) {
    for (const IndexedCertificate* const issuer : m_sets[set]->withSubject(*facts.issuer)) {
      if (isInSetBefore(set, issuer->facts.certificate)) continue;
      if (!countIssuer()) return;
      if (isSame(facts, issuer->facts) || isSame(m_leaf, issuer->facts)) continue;
      const NodeNumber found = numberOf(*issuer);
      m_nodes[number].links.push_back({nullptr, found});
    }
  }
}

// False when no more may be looked at. Those count, too, that turn out to be no issuers: each of a
// crowd with one name and key is held against all of them.
bool PathBuilder::countIssuer() noexcept {
  m_isUnexplored = m_explored == m_options.limits.candidates;
  if (!m_isUnexplored) ++m_explored;
  return !m_isUnexplored;
}

// What is in several sets counts once.
bool PathBuilder::isInSetBefore(size_t set, const Certificate& certificate) const noexcept {
  return std::any_of(m_sets.begin(), m_sets.begin() + static_cast<ptrdiff_t>(set),
                     [&](const IntermediateIndex* each) { return each->holds(certificate); });
}

PathBuilder::NodeNumber PathBuilder::numberOf(const IndexedCertificate& certificate) {
  const auto [found, isNew] =
      m_numbers.emplace(&certificate, static_cast<NodeNumber>(m_nodes.size()));
  if (isNew) m_nodes.push_back({&certificate.facts, &certificate});
  return found->second;
}

// Anchors first, then those whose key identifier is the one that the certificate names, those that
// have none, and the others; of those the ones that are valid, then the latest, then by
// fingerprint, whichever set they are in: octets would be dear to compare where a crowd differs
// only at the end. Identifiers order the candidates and forbid nothing.
void PathBuilder::sortLinks(const CertificateFacts& facts, std::vector<Link>& links) const {
  if (links.size() < 2) return;
  const auto rankOf = [&](const Link& link) {
    const CertificateFacts* const issuer = factsOf(link);
    int identifier = 1;
    bool isValid = false;
    int64_t from = 0;
    if (issuer != nullptr) {
      const bool areThere = !issuer->subjectKeyId.empty() && !facts.authorityKeyId.empty();
      if (areThere) identifier = sameOctets(issuer->subjectKeyId, facts.authorityKeyId) ? 0 : 2;
      isValid = issuer->validity && issuer->validity->contains(m_question.at);
      if (issuer->validity) from = issuer->validity->notBefore.time_since_epoch().count();
    }
    return std::tuple(link.anchor == nullptr, identifier, !isValid, -from);
  };
  std::sort(links.begin(), links.end(), [&](const Link& a, const Link& b) {
    const auto ours = rankOf(a);
    const auto theirs = rankOf(b);
    if (ours != theirs) return ours < theirs;
    if (a.anchor != nullptr) return a.anchor < b.anchor;  // which stand in an order of their own
    return m_nodes[a.issuer].indexed->fingerprint < m_nodes[b.issuer].indexed->fingerprint;
  });
}

// Finds for each link the first one to the same key, such as that of a certificate which was
// renewed: one check does for all of them.
void PathBuilder::pairLinks(std::vector<Link>& links) const {
  if (links.size() < 2) return;
  std::vector<uint32_t> order(links.size());
  std::iota(order.begin(), order.end(), 0U);
  std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    const Sha256& ours = keyDigestOf(links[a]);
    const Sha256& theirs = keyDigestOf(links[b]);
    return ours != theirs ? ours < theirs : a < b;
  });
  uint32_t first = order.front();
  for (const uint32_t link : order) {
    if (keyDigestOf(links[link]) != keyDigestOf(links[first])) first = link;
    links[link].firstOfKey = first;
  }
}

const Sha256& PathBuilder::keyDigestOf(const Link& link) const noexcept {
  return link.anchor != nullptr ? link.anchor->keyDigest : m_nodes[link.issuer].indexed->keyDigest;
}

const CertificateFacts* PathBuilder::factsOf(const Link& link) const noexcept {
  if (link.anchor == nullptr) return m_nodes[link.issuer].facts;
  return link.anchor->facts ? &*link.anchor->facts : nullptr;
}

uint32_t PathBuilder::mostCertificates() const noexcept {
  return std::min(m_options.limits.certificates, kMostCertificates);
}

// Each length in turn, the shortest first.
void PathBuilder::search() {
  const uint32_t most = mostCertificates();
  m_isMeasured = false;
  m_isCutShort = most < 2 && measure();
  for (uint32_t length = 2; length <= most; ++length) {
    if (isDone() || !measure()) return;
    m_isCutShort = m_nodes.front().toAnchor >= length;  // no way is as short
    if (m_isCutShort) continue;
    m_way.assign(1, {});
    climb(length - 1);
  }
  // To explain every link is followed, also those that no way that holds could have.
  const bool isTold = m_mode == Mode::decide || m_waysReached == 0;
  if (m_isCutShort && isTold && measure()) stop(Reason::tooManyCertificates);
}

// How many links each certificate is below an anchor; false when the leaf is below none. Measured
// anew only when a link was closed since.
bool PathBuilder::measure() {
  if (m_isMeasured) return m_nodes.front().toAnchor != kUnreachable;
  m_isMeasured = true;
  findBelow();
  std::vector<NodeNumber> reached;
  reached.reserve(m_nodes.size());
  for (NodeNumber number = 0; number < m_nodes.size(); ++number) {
    Node& node = m_nodes[number];
    const bool isUnderAnchor =
        std::any_of(node.links.begin(), node.links.end(),
                    [&](const Link& link) { return link.anchor != nullptr && isOpen(link); });
    const bool isReached = isUnderAnchor && isPassable(number);
    node.toAnchor = isReached ? 1 : kUnreachable;
    if (isReached) reached.push_back(number);
  }
  for (size_t i = 0; i < reached.size(); ++i) {
    for (const Below& each : belowOf(reached[i])) {
      Node& node = m_nodes[each.node];
      if (node.toAnchor != kUnreachable || !isPassable(each.node)) continue;
      node.toAnchor = m_nodes[reached[i]].toAnchor + 1;
      reached.push_back(each.node);
    }
  }
  for (const NodeNumber number : reached) m_nodes[number].nearest = nearestOf(number).second;
  return m_nodes.front().toAnchor != kUnreachable;
}

// The links that lead to each certificate: those of one in a row.
void PathBuilder::findBelow() {
  m_firstBelow.assign(m_nodes.size() + 1, 0);
  const auto forEachOpen = [&](auto visit) {
    for (NodeNumber number = 0; number < m_nodes.size(); ++number) {
      const std::vector<Link>& links = m_nodes[number].links;
      for (uint32_t i = 0; i < links.size(); ++i) {
        const bool isWanted = links[i].anchor == nullptr && isOpen(links[i]);
        if (isWanted) visit(links[i].issuer, Below{number, i});
      }
    }
  };
  forEachOpen([&](NodeNumber issuer, const Below&) { ++m_firstBelow[issuer + 1]; });
  std::partial_sum(m_firstBelow.begin(), m_firstBelow.end(), m_firstBelow.begin());
  m_below.resize(m_firstBelow.back());
  std::vector<uint32_t> ends(m_firstBelow.begin(), m_firstBelow.end() - 1);
  forEachOpen([&](NodeNumber issuer, const Below& each) { m_below[ends[issuer]++] = each; });
}

std::span<const PathBuilder::Below> PathBuilder::belowOf(NodeNumber issuer) const noexcept {
  return std::span(m_below).subspan(m_firstBelow[issuer],
                                    m_firstBelow[issuer + 1] - m_firstBelow[issuer]);
}

// By its open links: how far a certificate is from an anchor, and over how many of them.
std::pair<uint32_t, uint32_t> PathBuilder::nearestOf(NodeNumber number) {
  uint32_t distance = kUnreachable;
  uint32_t many = 0;
  for (const Link& link : m_nodes[number].links) {
    if (!isOpen(link)) continue;
    const uint32_t above = link.anchor != nullptr ? 0 : m_nodes[link.issuer].toAnchor;
    if (above == kUnreachable || above + 1 > distance) continue;
    many = above + 1 == distance ? many + 1 : 1;
    distance = above + 1;
  }
  return {distance, many};
}

// A link of a certificate was closed. Distances that rise by that are raised at once, or the search
// would go into dead ends again and again. None is raised further once it is beyond what a way may
// have, so that each link is visited no more often than that; those who issued one another and lead
// nowhere else are found out when all is measured anew.
void PathBuilder::close(NodeNumber number, const Link& link) {
  m_isMeasured = false;
  const uint32_t most = mostCertificates();
  std::vector<NodeNumber> risen;
  const auto lose = [&](NodeNumber lower, uint32_t above) {
    Node& node = m_nodes[lower];
    if (node.toAnchor < most && node.toAnchor == above + 1 && --node.nearest == 0) {
      risen.push_back(lower);
    }
  };
  lose(number, link.anchor != nullptr ? 0 : m_nodes[link.issuer].toAnchor);
  while (!risen.empty()) {
    const NodeNumber upper = risen.back();
    risen.pop_back();
    Node& node = m_nodes[upper];
    const auto [distance, many] = nearestOf(upper);
    const uint32_t before = std::exchange(node.toAnchor, distance);
    node.nearest = many;
    for (const Below& each : belowOf(upper)) {
      if (isOpen(m_nodes[each.node].links[each.link])) lose(each.node, before);
    }
  }
}

// Takes all ways on from the last certificate of the way that reach an anchor in `left` links, no
// more and no less.
void PathBuilder::climb(uint32_t left) {  // NOLINT(misc-no-recursion): kMostCertificates deep
  const NodeNumber number = m_way.back().node;
  for (size_t i = 0; i < m_nodes[number].links.size() && !isDone(); ++i) {
    const Link& link = m_nodes[number].links[i];
    const bool endsHere = left == 1;
    if (!isOpen(link)) continue;
    const uint32_t distance = link.anchor != nullptr ? 0 : m_nodes[link.issuer].toAnchor;
    if (distance == kUnreachable || (link.anchor != nullptr && !endsHere) || isOnWay(link)) {
      continue;
    }
    if (distance > left - 1) {
      m_isCutShort = true;
      continue;
    }
    if (isCancelled() || !spendStep()) return;
    m_way.back().link = i;
    if (endsHere) {
      ++m_waysReached;
      m_mode == Mode::decide ? decide() : explain();
    } else {
      m_way.push_back({link.issuer});
      climb(left - 1);
      m_way.pop_back();
    }
  }
}

// Whether a link is to be followed: to explain why there is no way, every one.
bool PathBuilder::isOpen(const Link& link) {
  if (m_mode == Mode::explain) return true;
  if (link.check && link.check->verdict != SignatureVerdict::good) return false;
  return link.anchor == nullptr || !hasFailure(findingsOf(*link.anchor));
}

bool PathBuilder::isPassable(NodeNumber number) {
  return m_mode == Mode::explain || !hasFailure(findingsOf(number));
}

bool PathBuilder::isOnWay(const Link& link) const {
  return std::any_of(m_way.begin(), m_way.end(), [&](const Step& step) {
    const CertificateFacts& facts = *m_nodes[step.node].facts;
    return link.anchor != nullptr ? isSame(facts, *link.anchor)
                                  : isSame(facts, *m_nodes[link.issuer].facts);
  });
}

bool PathBuilder::isDone() const noexcept {
  if (m_mode == Mode::explain) {
    return m_waysExplained >= kMostExplained || m_stepsExplained > kMostStepsExplained ||
           m_stopped == Reason::cancelled;
  }
  if (m_stopped != Reason::none || m_isLeafRefused) return true;
  if (m_answer.verified.size() < wanted()) return false;
  return m_isWithoutWarnings || m_waysReached - m_waysAtFirst > kWaysForBetter ||
         m_answer.used.signatures - m_signaturesAtFirst > kSignaturesForBetter;
}

const std::vector<Finding>& PathBuilder::findingsOf(NodeNumber number) {
  Node& node = m_nodes[number];
  if (!node.findings) {
    const Role role = number == 0 ? Role::leaf : Role::issuer;
    judgeCertificate(*node.facts, role, m_question, node.findings.emplace());
  }
  return *node.findings;
}

const std::vector<Finding>& PathBuilder::findingsOf(const IndexedAnchor& anchor) {
  const auto [found, isNew] = m_anchorFindings.try_emplace(&anchor);
  if (isNew) judgeAnchor(anchor, m_question, found->second);
  return found->second;
}

// A leaf that is trusted itself, octet for octet, is the whole of its way.
void PathBuilder::trustLeafItself(const IndexedAnchor& anchor) {
  std::vector<Finding> findings;
  judgeTrustedLeaf(m_leaf, m_question, findings);
  const bool holds = !hasFailure(findings);
  Path path{{m_leaf.certificate}, anchor.anchor, std::move(findings)};
  holds ? accept(std::move(path)) : keepIfFurther(std::move(path));
}

// Where no way leads to an anchor: the best links as far as they go.
void PathBuilder::explainDeadEnd() {
  const uint32_t most = mostCertificates();
  m_way.assign(1, {});
  for (bool goesOn = true; goesOn && m_way.size() < most;) {
    goesOn = false;
    const std::vector<Link>& links = nodeAt(m_way.size() - 1).links;
    for (size_t i = 0; i < links.size() && !goesOn; ++i) {
      if (links[i].anchor != nullptr || isOnWay(links[i])) continue;
      m_way.back().link = i;
      m_way.push_back({links[i].issuer});
      goesOn = true;
    }
  }
  std::vector<Finding> findings = ownFindings();
  Finding last;
  last.certificate = static_cast<uint32_t>(m_way.size() - 1);
  // That there is no issuer can be said only when all were looked for.
  const bool isWhole = m_stopped == Reason::none || m_stopped == Reason::noAnchors;
  const bool isAlone = !isNamed(nodeAt(m_way.size() - 1).facts->issuer);
  last.reason = !isWhole ? m_stopped : isAlone ? Reason::noIssuer : Reason::notTrusted;
  findings.push_back(std::move(last));
  keepIfFurther(pathOf(std::move(findings), nullptr));
}

// Whether anybody bears a name, though he may be no issuer, as a loop's end is none.
bool PathBuilder::isNamed(const std::optional<std::string>& name) const noexcept {
  if (!name || name->empty()) return false;
  return name == m_leaf.subject || !m_anchors.withName(*name).empty() ||
         std::any_of(m_sets.begin(), m_sets.end(), [&](const IntermediateIndex* each) {
           return !each->withSubject(*name).empty();
         });
}

Path PathBuilder::pathOf(std::vector<Finding> findings, const IndexedAnchor* anchor) const {
  Path path;
  path.certificates.reserve(m_way.size() + 1);
  for (const Step& step : m_way) path.certificates.push_back(m_nodes[step.node].facts->certificate);
  if (anchor != nullptr) {
    path.anchor = anchor->anchor;
    if (anchor->facts) path.certificates.push_back(anchor->facts->certificate);
  }
  path.findings = std::move(findings);
  return path;
}

// A way to an anchor is further than one that ends before; then that is further whose gravest
// failure is less grave, then the one with fewer, then the one that was met first.
void PathBuilder::keepIfFurther(Path path) {
  const auto rankOf = [](const Path& each) {
    const auto failures = std::count_if(each.findings.begin(), each.findings.end(),
                                        [](const Finding& finding) { return finding.isFailure(); });
    return std::tuple(each.anchor.has_value(), each.reason(), -failures);
  };
  if (m_hasFurthest && rankOf(path) <= rankOf(m_answer.furthest)) return;
  sortFindings(path.findings);
  m_answer.furthest = std::move(path);
  m_hasFurthest = true;
}

// The caller has the last word, once on each way that holds.
void PathBuilder::accept(Path path) {
  sortFindings(path.findings);
  if (m_options.accept && !m_options.accept(path)) {
    Finding finding;
    finding.reason = Reason::rejectedByCaller;
    path.findings.insert(path.findings.begin(), std::move(finding));
    return keepIfFurther(std::move(path));
  }
  VerifiedPath verified;
  verified.m_path = std::move(path);
  verified.m_purpose = m_options.purpose;
  verified.m_target = m_options.target;
  verified.m_at = m_question.at;
  verified.m_profile = m_options.profile;
  verified.m_anyPolicy = m_policies.holdsAny;
  verified.m_policies = std::move(m_policies.held);  // the next way has its own
  verified.m_askedPolicies = m_options.policies;
  verified.m_revocation = m_options.revocation;
  verified.m_leafVouched = m_isLeafVouched;
  verified.m_allVouched = m_areAllVouched;
  keep(std::move(verified));
}

// Of more ways than are wanted, the one without warnings takes the place of the last.
void PathBuilder::keep(VerifiedPath verified) {
  if (m_answer.verified.empty()) {
    m_signaturesAtFirst = m_answer.used.signatures;
    m_waysAtFirst = m_waysReached;
  }
  const bool isWithoutWarnings = !warnsOfIssuers(verified);
  m_isWithoutWarnings = m_isWithoutWarnings || isWithoutWarnings;
  if (m_answer.verified.size() < wanted()) {
    m_answer.verified.push_back(std::move(verified));
  } else if (isWithoutWarnings) {
    m_answer.verified.back() = std::move(verified);
  }
}

Verification PathBuilder::answer() {
  m_answer.used.candidates = std::max(m_explored, m_steps);
  std::vector<VerifiedPath>& verified = m_answer.verified;
  sortStably(verified, [](const VerifiedPath& a, const VerifiedPath& b) {
    return !warnsOfIssuers(a) && warnsOfIssuers(b);
  });
  if (!verified.empty()) {
    m_answer.furthest = {};
  } else {
    m_answer.reason = m_stopped != Reason::none ? m_stopped : m_answer.furthest.reason();
  }
  return std::move(m_answer);
}

bool PathBuilder::spend(uint32_t& used, uint32_t limit, uint64_t cost, Reason reason) noexcept {
  const uint32_t more =
      explainedOf(limit, reason == Reason::tooManySignatures ? kMostSignaturesExplained
                                                             : kMostComparisonsExplained);
  const uint64_t most = uint64_t{limit} + (m_mode == Mode::explain ? more : 0);
  if (used + cost > std::min<uint64_t>(most, UINT32_MAX)) {
    stopDeciding(reason);
    return false;
  }
  used += static_cast<uint32_t>(cost);
  return true;
}

uint32_t PathBuilder::comparisonsLeft() const noexcept {
  const uint32_t limit = m_options.limits.comparisons;
  const uint64_t more = m_mode == Mode::explain ? explainedOf(limit, kMostComparisonsExplained) : 0;
  const uint64_t most = std::min<uint64_t>(limit + more, UINT32_MAX);
  return static_cast<uint32_t>(most - std::min<uint64_t>(m_answer.used.comparisons, most));
}

// To explain has allowances of its own: that it was given up must not make the reason untrue, since
// it kept no way from being tried.
void PathBuilder::stopDeciding(Reason reason) noexcept {
  if (m_mode == Mode::decide) stop(reason);
}

bool PathBuilder::spendStep() noexcept {
  const uint32_t limit = m_options.limits.candidates;
  if (m_mode == Mode::explain) {
    return m_stepsExplained++ < explainedOf(limit, kMostStepsExplained);
  }
  return spend(m_steps, limit, 1, Reason::tooManyCandidates);
}

bool PathBuilder::isCancelled() noexcept {
  const bool isRaised =
      m_options.cancel != nullptr && m_options.cancel->load(std::memory_order_relaxed);
  if (isRaised) m_stopped = Reason::cancelled;
  return isRaised;
}

}  // namespace velmora

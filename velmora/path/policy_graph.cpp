#include "velmora/path/internal/policy_graph.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace velmora {
namespace {

// The graph of RFC 9618: for each depth one node for a policy, whose parents are all nodes above
// that expect it. The tree of RFC 5280 §6.1 has a node for each way to one, which doubles with each
// certificate that maps two policies to the same two.

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();

bool isBefore(Bytes a, Bytes b) noexcept {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}
bool isSame(Bytes a, Bytes b) noexcept {
  if (a.size() != b.size()) return false;
  return a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0;
}
Bytes anyPolicy() noexcept {
  static constexpr Oid kAny = oid::anyPolicy;
  return kAny.der();
}

// That a node expects a policy of the certificate below it.
struct Expectation {
  Bytes policy;
  uint32_t node;  // of the same level

  friend bool operator<(const Expectation& a, const Expectation& b) noexcept {
    return isBefore(a.policy, b.policy);
  }
};

struct Node {
  Bytes policy;
  const Policy* source = nullptr;  // where the certificate names it itself
  uint32_t firstParent = 0;        // a range of the expectations of the level above
  uint32_t lastParent = 0;
  bool reachesLeaf = false;
};

struct Range {
  uint32_t first = 0;
  uint32_t last = 0;
  bool isEmpty() const noexcept { return first == last; }
};

// One depth of the graph; both lists are sorted by policy.
struct Level {
  std::vector<Node> nodes;
  std::vector<Expectation> expectations;

  Range expecting(Bytes policy) const noexcept {
    const auto found =
        std::equal_range(expectations.begin(), expectations.end(), Expectation{policy, 0});
    return {static_cast<uint32_t>(found.first - expectations.begin()),
            static_cast<uint32_t>(found.second - expectations.begin())};
  }
  bool has(Bytes policy) const noexcept {
    return std::binary_search(nodes.begin(), nodes.end(), Node{policy}, isNodeBefore);
  }
  void add(const std::vector<Node>& more) {
    if (more.empty()) return;
    nodes.insert(nodes.end(), more.begin(), more.end());
    sort();
  }
  void sort() { std::sort(nodes.begin(), nodes.end(), isNodeBefore); }

  static bool isNodeBefore(const Node& a, const Node& b) noexcept {
    return isBefore(a.policy, b.policy);
  }
};

bool isMappingBefore(const MappedPolicy& a, const MappedPolicy& b) noexcept {
  if (!isSame(a.issuerPolicy, b.issuerPolicy)) return isBefore(a.issuerPolicy, b.issuerPolicy);
  return isBefore(a.subjectPolicy, b.subjectPolicy);
}
bool isSameMapping(const MappedPolicy& a, const MappedPolicy& b) noexcept {
  return isSame(a.issuerPolicy, b.issuerPolicy) && isSame(a.subjectPolicy, b.subjectPolicy);
}

std::vector<MappedPolicy> mappingsOf(const Certificate& certificate) {
  std::vector<MappedPolicy> mappings;
  Result<std::vector<PolicyMapping>> read = certificate.policyMappings();
  if (!read) return mappings;
  mappings.reserve(read->size());
  for (PolicyMapping& one : *read) {
    mappings.push_back({std::move(one.rawIssuerPolicy), std::move(one.rawSubjectPolicy)});
  }
  std::sort(mappings.begin(), mappings.end(), isMappingBefore);
  mappings.erase(std::unique(mappings.begin(), mappings.end(), isSameMapping), mappings.end());
  return mappings;
}

class PolicyJudge {
 public:
  PolicyJudge(std::span<const PolicyInput> way, const PolicyOptions& options, uint32_t& comparisons)
      : m_way(way), m_options(options), m_left(comparisons) {
    const bool isExplicit = options.requireExplicit.value_or(!options.accepted.empty());
    if (isExplicit) m_explicitPolicy = 0;
    if (options.inhibitMapping) m_policyMapping = 0;
    if (options.inhibitAny) m_inhibitAny = 0;
    m_levels.reserve(way.size() + 1);
    Level& anchor = m_levels.emplace_back();
    anchor.nodes.push_back({anyPolicy()});
    anchor.expectations.push_back({anyPolicy(), 0});
  }

  PolicyAnswer judge() {
    for (size_t i = 0; i < m_way.size(); ++i) {
      if (!addLevel(i)) break;
      if (i + 1 == m_way.size()) {
        wrapUp(*m_way[i].policies);
      } else if (!prepareNext(i)) {
        break;
      }
    }
    if (m_answer.isEnough && m_answer.isCounted) conclude();
    return std::move(m_answer);
  }

 private:
  bool spend(size_t comparisons) noexcept {
    m_answer.isCounted = comparisons <= m_left;
    m_left = m_answer.isCounted ? m_left - static_cast<uint32_t>(comparisons) : 0;
    return m_answer.isCounted;
  }

  bool refuse(size_t at) noexcept {
    m_answer.isEnough = false;
    m_answer.refusedAt = static_cast<uint32_t>(at);
    return false;
  }

  // §6.1.3 (d) to (f).
  bool addLevel(size_t i) {
    const std::vector<Policy>& policies = m_way[i].policies->policies;
    const Level& above = m_levels.back();
    size_t cost = 1 + policies.size() + above.expectations.size();
    for (const Policy& policy : policies) cost += policy.qualifiers.size();
    if (!spend(cost)) return false;
    Level level;
    level.nodes.reserve(policies.size());
    bool hasAny = false;
    for (const Policy& policy : policies) {
      const bool isAny = isSame(policy.rawId, anyPolicy());
      if (!isAny) addNode(level.nodes, above, policy);
      hasAny = hasAny || isAny;
    }
    level.sort();
    // A policy that is there twice, which §4.2.1.4 forbids, is one.
    const auto isSameNode = [](const Node& a, const Node& b) { return isSame(a.policy, b.policy); };
    const auto end = std::unique(level.nodes.begin(), level.nodes.end(), isSameNode);
    level.nodes.erase(end, level.nodes.end());
    const bool isLeaf = i + 1 == m_way.size();
    const bool mayHaveAny = m_inhibitAny > 0 || (!isLeaf && m_way[i].isSelfIssued);
    if (hasAny && mayHaveAny) addExpected(level, above);
    if (level.nodes.empty() && !m_emptyAt) m_emptyAt = i;
    m_levels.push_back(std::move(level));
    return !m_emptyAt || m_explicitPolicy > 0 || refuse(*m_emptyAt);
  }

  // (d) (1): below the nodes that expect it, or where there is none below anyPolicy.
  static void addNode(std::vector<Node>& nodes, const Level& above, const Policy& policy) {
    Range parents = above.expecting(policy.rawId);
    if (parents.isEmpty()) parents = above.expecting(anyPolicy());
    if (parents.isEmpty()) return;
    nodes.push_back({policy.rawId, &policy, parents.first, parents.last});
  }

  // (d) (2): anyPolicy stands for everything that is expected and was not named.
  static void addExpected(Level& level, const Level& above) {
    std::vector<Node> more;
    const std::vector<Expectation>& expected = above.expectations;
    for (uint32_t first = 0; first < expected.size();) {
      uint32_t last = first + 1;
      const Bytes policy = expected[first].policy;
      while (last < expected.size() && isSame(expected[last].policy, policy)) ++last;
      if (!level.has(policy)) more.push_back({policy, nullptr, first, last});
      first = last;
    }
    level.add(more);
  }

  // §6.1.4 (a), (b), (h) to (j).
  bool prepareNext(size_t i) {
    const CertificatePolicies& certificate = *m_way[i].policies;
    const std::vector<MappedPolicy>& mappings = certificate.mappings;
    for (const MappedPolicy& mapping : mappings) {
      m_answer.mapsAny |= isSame(mapping.issuerPolicy, anyPolicy());
      m_answer.mapsAny |= isSame(mapping.subjectPolicy, anyPolicy());
    }
    if (m_answer.mapsAny) return refuse(i);
    if (!spend(mappings.size())) return false;
    if (m_policyMapping > 0) addMapped(mappings);
    expect(mappings);
    count(certificate, m_way[i].isSelfIssued);
    return true;
  }

  // (b) (1): what is mapped and nobody named stands below anyPolicy.
  void addMapped(const std::vector<MappedPolicy>& mappings) {
    Level& level = m_levels.back();
    if (!level.has(anyPolicy())) return;
    const Range parents = m_levels[m_levels.size() - 2].expecting(anyPolicy());
    std::vector<Node> more;
    Bytes last;
    for (const MappedPolicy& mapping : mappings) {
      if (isSame(mapping.issuerPolicy, last) || level.has(mapping.issuerPolicy)) continue;
      last = mapping.issuerPolicy;
      more.push_back({last, nullptr, parents.first, parents.last});
    }
    level.add(more);
  }

  // (b): a policy expects itself, or what it is mapped to; where mapping is inhibited, a policy
  // that is mapped ends here.
  void expect(const std::vector<MappedPolicy>& mappings) {
    Level& level = m_levels.back();
    level.expectations.reserve(level.nodes.size() + mappings.size());
    auto mapping = mappings.begin();
    for (uint32_t node = 0; node < level.nodes.size(); ++node) {
      const Bytes policy = level.nodes[node].policy;
      while (mapping != mappings.end() && isBefore(mapping->issuerPolicy, policy)) ++mapping;
      const bool isMapped = mapping != mappings.end() && isSame(mapping->issuerPolicy, policy);
      if (!isMapped) level.expectations.push_back({policy, node});
      if (m_policyMapping == 0) continue;
      for (; mapping != mappings.end() && isSame(mapping->issuerPolicy, policy); ++mapping) {
        level.expectations.push_back({mapping->subjectPolicy, node});
      }
    }
    std::sort(level.expectations.begin(), level.expectations.end());
  }

  void count(const CertificatePolicies& certificate, bool isSelfIssued) noexcept {
    for (uint64_t* const left : {&m_explicitPolicy, &m_policyMapping, &m_inhibitAny}) {
      if (!isSelfIssued && *left != 0 && *left != kNever) --*left;
    }
    lower(m_explicitPolicy, certificate.constraints.requireExplicitPolicy);
    lower(m_policyMapping, certificate.constraints.inhibitPolicyMapping);
    lower(m_inhibitAny, certificate.inhibitAny);
  }

  static void lower(uint64_t& left, std::optional<uint64_t> bound) noexcept {
    left = std::min(left, bound.value_or(kNever));
  }

  // §6.1.5 (a) and (b).
  void wrapUp(const CertificatePolicies& leaf) noexcept {
    if (m_explicitPolicy != 0 && m_explicitPolicy != kNever) --m_explicitPolicy;
    if (leaf.constraints.requireExplicitPolicy == 0U) m_explicitPolicy = 0;
  }

  // §6.1.5 (g).
  void conclude() {
    markReaching();
    std::vector<Bytes> held = authorityPolicies();
    if (isConstrained()) held = userPolicies(held);
    const bool holds = !held.empty() || (m_answer.holdsAny && !isConstrained());
    if (m_explicitPolicy == 0 && !holds) {
      refuse(m_emptyAt.value_or(std::max<size_t>(m_way.size(), 1) - 1));
      m_answer.holdsAny = false;
      return;
    }
    m_answer.held.reserve(held.size());
    for (const Bytes policy : held) m_answer.held.push_back({Oid::fromDer(policy), {}});
    addQualifiers(held);
  }

  bool isConstrained() const noexcept {
    const std::vector<Oid>& accepted = m_options.accepted;
    return !accepted.empty() &&
           std::find(accepted.begin(), accepted.end(), oid::anyPolicy) == accepted.end();
  }

  // Nodes that nothing at the leaf stands below would have been pruned (§6.1.3 d 3).
  void markReaching() noexcept {
    for (Node& node : m_levels.back().nodes) node.reachesLeaf = true;
    for (size_t depth = m_levels.size() - 1; depth > 0; --depth) {
      Level& above = m_levels[depth - 1];
      for (const Node& node : m_levels[depth].nodes) {
        if (!node.reachesLeaf) continue;
        for (uint32_t parent = node.firstParent; parent < node.lastParent; ++parent) {
          above.nodes[above.expectations[parent].node].reachesLeaf = true;
        }
      }
    }
  }

  // The policies in the anchor's terms: those right below an anyPolicy (RFC 9618 §5.4). That one
  // may also come to the leaf.
  std::vector<Bytes> authorityPolicies() {
    std::vector<Bytes> policies;
    m_answer.holdsAny = m_levels.back().has(anyPolicy());
    for (size_t depth = 1; depth < m_levels.size(); ++depth) {
      for (const Node& node : m_levels[depth].nodes) {
        if (!node.reachesLeaf || isSame(node.policy, anyPolicy())) continue;
        const Expectation& parent = m_levels[depth - 1].expectations[node.firstParent];
        if (isSame(parent.policy, anyPolicy())) policies.push_back(node.policy);
      }
    }
    sortOnce(policies);
    return policies;
  }

  std::vector<Bytes> userPolicies(const std::vector<Bytes>& authority) const {
    std::vector<Bytes> policies;
    for (const Oid& accepted : m_options.accepted) {
      const Bytes id = accepted.der();
      const bool isHeld =
          m_answer.holdsAny || std::binary_search(authority.begin(), authority.end(), id, isBefore);
      if (isHeld && !accepted.isEmpty()) policies.push_back(id);
    }
    sortOnce(policies);
    return policies;
  }

  static void sortOnce(std::vector<Bytes>& policies) {
    std::sort(policies.begin(), policies.end(), isBefore);
    policies.erase(std::unique(policies.begin(), policies.end(), isSame), policies.end());
  }

  void addQualifiers(const std::vector<Bytes>& held) {
    for (const Level& level : m_levels) {
      for (const Node& node : level.nodes) {
        if (!node.reachesLeaf || node.source == nullptr) continue;
        const auto place = std::lower_bound(held.begin(), held.end(), node.policy, isBefore);
        if (place == held.end() || !isSame(*place, node.policy)) continue;
        auto& qualifiers = m_answer.held[static_cast<size_t>(place - held.begin())].qualifiers;
        const std::vector<PolicyQualifier>& more = node.source->qualifiers;
        qualifiers.insert(qualifiers.end(), more.begin(), more.end());
      }
    }
  }

  std::span<const PolicyInput> m_way;
  const PolicyOptions& m_options;
  uint32_t& m_left;
  // How many certificates may still come (§6.1.2 d to f).
  uint64_t m_explicitPolicy = kNever;
  uint64_t m_policyMapping = kNever;
  uint64_t m_inhibitAny = kNever;
  std::vector<Level> m_levels;      // by depth; the anchor's first
  std::optional<size_t> m_emptyAt;  // the first certificate without a node: the graph is NULL
  PolicyAnswer m_answer;
};

}  // namespace

CertificatePolicies::CertificatePolicies(const Certificate& certificate)
    : policies(certificate.policies().value_or({})),
      mappings(mappingsOf(certificate)),
      constraints(certificate.policyConstraints().value_or({})) {
  if (const Result<InhibitAnyPolicy> inhibit = certificate.inhibitAnyPolicy()) {
    inhibitAny = inhibit->skipCerts;
  }
}

PolicyAnswer judgePolicies(std::span<const PolicyInput> way, const PolicyOptions& options,
                           uint32_t& comparisons) {
  return PolicyJudge(way, options, comparisons).judge();
}

}  // namespace velmora

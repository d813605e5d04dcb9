#pragma once

// The search for ways from a leaf to an anchor.

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "velmora/path/internal/certificate_rules.h"
#include "velmora/path/internal/crl_index.h"
#include "velmora/path/internal/indexes.h"
#include "velmora/path/internal/policy_graph.h"
#include "velmora/path/verify.h"

namespace velmora {

/// What a signature of a key costs, two for one of RSA-2048: measured on one machine, and no more
/// exact than a limit has to be.
uint64_t costOf(const std::optional<PublicKey>& key) noexcept;

/// Looks for the ways of one verification. In short:
///
/// 1. From the leaf upwards by names alone: which certificates and anchors could be on a way.
/// 2. Ways of two certificates, then of three and so on, over certificates that have nothing wrong
///    by themselves, and never into a part from which no anchor is reached. On each way the
///    signatures are checked from the anchor downwards, so that a key is computed with only once
///    something trusted vouches for it; then path lengths, constraints, policies and CRLs. A
///    signature that does not hold takes its link out of the search.
/// 3. When none holds, the first few ways of all, whatever is wrong with them, are judged in full,
///    and the one that came furthest is the answer.
///
/// Places on a way count from the leaf, as in Path.
class PathBuilder {
 public:
  /// Everything outlives the builder. Throws std::bad_alloc, like all that is not noexcept.
  PathBuilder(const Certificate& leaf, const TrustAnchors& anchors,
              std::span<const CertificateSet* const> intermediates, const VerifyOptions& options,
              std::chrono::sys_seconds at);

  Verification run();

 private:
  using NodeNumber = uint32_t;

  // A step up: to an anchor, or to a certificate.
  struct Link {
    const IndexedAnchor* anchor = nullptr;
    NodeNumber issuer = 0;                     // where anchor is null
    uint32_t firstOfKey = 0;                   // the first link of the certificate to this key
    std::optional<SignatureCheck> check = {};  // once the link was taken
    std::optional<SignatureCheck> ofKey = {};  // of the first: once any of them was
  };

  // A certificate that could be on a way; the leaf is the first.
  struct Node {
    const CertificateFacts* facts = nullptr;
    const IndexedCertificate* indexed = nullptr;  // null for the leaf
    std::vector<Link> links = {};                 // the best first
    std::optional<std::vector<Finding>> findings = {};
    std::unique_ptr<const JudgedNames> names = {};
    std::optional<bool> lacksIssuersKeyId = {};  // and is self-issued
    uint32_t toAnchor = 0;                       // links up to the nearest anchor
    uint32_t nearest = 0;                        // how many of its links lead on in as many
  };

  // A link from below: whose, and which of his.
  struct Below {
    NodeNumber node = 0;
    uint32_t link = 0;
  };

  // A certificate of the way, and which of its links was taken.
  struct Step {
    NodeNumber node = 0;
    size_t link = 0;
  };

  static constexpr size_t kMostRemembered = 16;

  enum class Mode : uint8_t { decide, explain };

  // What is there.
  void explore();
  void addAnchors(NodeNumber number);
  void addIssuers(NodeNumber number);
  bool countIssuer() noexcept;
  bool isInSetBefore(size_t set, const Certificate& certificate) const noexcept;
  NodeNumber numberOf(const IndexedCertificate& certificate);
  void sortLinks(const CertificateFacts& facts, std::vector<Link>& links) const;
  void pairLinks(std::vector<Link>& links) const;
  const Sha256& keyDigestOf(const Link& link) const noexcept;
  const CertificateFacts* factsOf(const Link& link) const noexcept;

  // Ways.
  uint32_t mostCertificates() const noexcept;
  void search();
  bool measure();
  void findBelow();
  std::span<const Below> belowOf(NodeNumber issuer) const noexcept;
  std::pair<uint32_t, uint32_t> nearestOf(NodeNumber number);
  void close(NodeNumber number, const Link& link);
  void climb(uint32_t left);
  bool isOpen(const Link& link);
  bool isPassable(NodeNumber number);
  bool isOnWay(const Link& link) const;
  bool isDone() const noexcept;

  // What certificates are found to be by themselves.
  const std::vector<Finding>& findingsOf(NodeNumber number);
  const std::vector<Finding>& findingsOf(const IndexedAnchor& anchor);

  // A way that reaches an anchor.
  void decide();
  void rememberWay();
  bool mayHoldAnother();
  void explain();
  void explainDeadEnd();
  bool isNamed(const std::optional<std::string>& name) const noexcept;
  void trustLeafItself(const IndexedAnchor& anchor);
  bool judgeSignatures(std::vector<Finding>& findings);
  bool judgeLeafKey();
  const SignatureCheck* check(size_t place);
  SignatureCheck compute(const Node& node, const Link& link);
  void judgeLengths(std::vector<Finding>& findings) const;
  void judgeIdentifiers(std::vector<Finding>& findings);
  void judgeConstraints(std::vector<Finding>& findings);
  void judgeConstraints(const PreparedConstraints& constraints, size_t below,
                        std::vector<Finding>& findings);
  void judgeWayPolicies(std::vector<Finding>& findings);
  void judgeRevocation(std::vector<Finding>& findings);
  RevocationState askCrls(const CertificateFacts& facts, CrlSigners& signers);
  std::vector<Finding> ownFindings();

  Node& nodeAt(size_t place) noexcept { return m_nodes[m_way[place].node]; }
  const Node& nodeAt(size_t place) const noexcept { return m_nodes[m_way[place].node]; }
  const Link& linkAt(size_t place) const noexcept { return nodeAt(place).links[m_way[place].link]; }
  const IndexedAnchor& anchorOfWay() const noexcept { return *linkAt(m_way.size() - 1).anchor; }
  std::optional<PublicKey> keyOf(const Link& link) const;
  std::shared_ptr<const IssuerKey> readyKeyOf(const IndexedAnchor& anchor) const;
  std::shared_ptr<const IssuerKey> readyKeyOf(const IndexedCertificate& certificate) const;

  Path pathOf(std::vector<Finding> findings, const IndexedAnchor* anchor) const;
  void keepIfFurther(Path path);
  void accept(Path path);
  void keep(VerifiedPath verified);
  size_t wanted() const noexcept { return std::max(m_options.paths, 1U); }
  Verification answer();

  bool spend(uint32_t& used, uint32_t limit, uint64_t cost, Reason reason) noexcept;
  uint32_t comparisonsLeft() const noexcept;
  bool spendStep() noexcept;
  bool spendOnOthers(uint32_t& spent, uint32_t& used, uint32_t limit, uint64_t cost,
                     Reason reason) noexcept;
  void stopDeciding(Reason reason) noexcept;
  bool isCancelled() noexcept;
  void stop(Reason reason) noexcept {
    if (m_stopped == Reason::none) m_stopped = reason;
  }

  friend class WayCrlSigners;

  const AnchorIndex& m_anchors;
  std::vector<const IntermediateIndex*> m_sets;
  const VerifyOptions& m_options;
  Question m_question;
  CertificateFacts m_leaf;

  std::vector<Node> m_nodes;
  std::map<const IndexedCertificate*, NodeNumber> m_numbers;
  std::map<const IndexedAnchor*, std::vector<Finding>> m_anchorFindings;
  std::map<std::pair<const PreparedConstraints*, NodeNumber>, std::vector<Finding>> m_constrained;
  std::map<std::pair<const std::byte*, Sha256>, bool> m_crlSignatures;  // of a CRL, by a key
  std::map<const CertificateFacts*, RevocationSubject> m_subjects;
  // Of a name, those who may have signed its CRLs, by their keys.
  struct OtherSigners {
    std::map<Sha256, std::vector<const IndexedCertificate*>> byKey = {};
    bool areAll = false;  // else there are too many to look at
  };
  std::map<std::string, OtherSigners> m_otherSigners;
  std::map<std::pair<const IndexedCertificate*, Sha256>, bool> m_othersSigned;  // by a key
  uint32_t m_signaturesOfOthers = 0;  // spent on others who may have signed CRLs
  uint32_t m_looksAtOthers = 0;
  // Whether a place of the way at hand vouches for another signer of CRLs, which rests on all that
  // is above it too.
  std::map<std::pair<const IndexedCertificate*, size_t>, Signed> m_crlSigners;

  std::vector<Below> m_below;  // of each issuer those that were open when all was measured
  std::vector<uint32_t> m_firstBelow;

  Mode m_mode = Mode::decide;
  std::vector<Step> m_way;
  std::vector<std::vector<Step>> m_waysSigned;  // and refused, the first of them
  uint32_t m_waysReached = 0;                   // to an anchor
  uint32_t m_waysExplained = 0;
  uint32_t m_stepsExplained = 0;
  uint32_t m_explored = 0;      // issuers that were looked at
  uint32_t m_steps = 0;         // of the search, links that were followed
  bool m_isUnexplored = false;  // there are more issuers than may be looked at
  bool m_isMeasured = false;    // and no link was closed since
  bool m_isCutShort = false;    // there are longer ways than may be taken
  bool m_holdsAny = false;      // a way was found that holds, but for the caller's last word
  PolicyAnswer m_policies;
  bool m_isLeafKeyJudged = false;
  bool m_isLeafRefused = false;  // with the key, too
  bool m_isLeafVouched = false;
  bool m_areAllVouched = false;

  Verification m_answer;
  uint32_t m_signaturesAtFirst = 0;  // spent when the first way was found
  uint32_t m_waysAtFirst = 0;        // tried when it was
  bool m_isWithoutWarnings = false;  // a way was found that has none of issuers
  bool m_hasFurthest = false;
  Reason m_stopped = Reason::none;
};

}  // namespace velmora

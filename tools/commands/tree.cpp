#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "tools/commands/command.h"
#include "tools/reading/signature_budget.h"
#include "tools/render/dates.h"
#include "tools/render/fold.h"
#include "tools/render/name_text.h"

namespace velmora::tool {

namespace {

// Of certificates of one name so many are tried as issuer of another one: who makes them chooses
// how many there are, and each costs a signature.
constexpr size_t kMostTried = 16;
// Deeper ones stand under one another, so that long chains are not wide.
constexpr size_t kMostIndented = 32;

// What is answered, unless memory ran out for it.
template <class T>
Result<T> whole(Result<T> answer) {
  if (!answer && answer.error().code == ErrorCode::outOfMemory) throw std::bad_alloc();
  return answer;
}

// Certificates, each below the one that signed it.
class Forest {
 public:
  void add(const InputCertificate& input) {
    const size_t place = m_trees.size();
    if (m_known.contains(input.certificate)) return;
    const auto name = input.certificate.subject().folded();
    const auto id = whole(input.certificate.subjectKeyId());
    // First, so that what the others name is there wherever memory runs out.
    m_trees.push_back({input.certificate, input, {}, kNone, false});
    m_known.insert(input.certificate);
    m_budget.earn();
    if (name && id) m_identified[{*name, std::string(charactersOf(*id))}].push_back(place);
    if (name) m_named[*name].push_back(place);
  }

  void print(StringBuffer& out) {
    for (size_t i = 0; i < m_trees.size(); ++i) {
      m_trees[i].issuer = issuerOf(i);
      if (m_trees[i].issuer < m_trees.size()) m_trees[m_trees[i].issuer].issued.push_back(i);
    }
    for (size_t i = 0; i < m_trees.size(); ++i) {
      if (m_trees[i].issuer >= m_trees.size() || m_trees[i].issuer == i) printFrom(i, out);
    }
    // Those that certify one another in a ring hang below none of these.
    for (size_t i = 0; i < m_trees.size(); ++i) printFrom(i, out);
  }

 private:
  // In place of an issuer: that there is none, or that not all were tried.
  static constexpr size_t kNone = static_cast<size_t>(-1);
  static constexpr size_t kUntried = kNone - 1;

  struct Tree {
    Certificate certificate;
    InputPlace place;
    std::vector<size_t> issued;
    size_t issuer;
    bool isPrinted;
  };

  // That it signed itself is looked at first.
  size_t issuerOf(size_t place) {
    const Certificate& certificate = m_trees[place].certificate;
    const auto name = certificate.issuer().folded();
    const auto named = name ? m_named.find(*name) : m_named.end();
    if (named == m_named.end()) return kNone;
    size_t tried = 0;
    if (certificate.isSelfIssued()) {
      if (!mayTry(certificate, tried)) return kUntried;
      if (isSignedBy(certificate, certificate)) return place;
    }
    const auto authority = whole(certificate.authorityKeyId());
    if (authority && authority->keyId) {
      const auto identified =
          m_identified.find({*name, std::string(charactersOf(*authority->keyId))});
      if (identified != m_identified.end()) {
        for (const size_t other : identified->second) {
          if (other == place) continue;
          if (!mayTry(m_trees[other].certificate, tried)) return kUntried;
          if (isSignedBy(certificate, m_trees[other].certificate)) return other;
        }
      }
    }
    for (const size_t other : named->second) {
      const Certificate& issuer = m_trees[other].certificate;
      if (other == place || identifies(certificate, issuer)) continue;
      if (!mayTry(issuer, tried)) return kUntried;
      if (isSignedBy(certificate, issuer)) return other;
    }
    return kNone;
  }

  // Whether one more may be tried as issuer of a certificate: the first is free where its key is a
  // usual one, which does for nearly all there are.
  bool mayTry(const Certificate& issuer, size_t& tried) noexcept {
    const bool isFree = tried == 0 && SignatureBudget::isUsual(issuer);
    return tried++ < kMostTried && (isFree || m_budget.spend(issuer));
  }

  static bool isSignedBy(const Certificate& certificate, const Certificate& issuer) {
    const SignatureCheck check = certificate.checkSignature(issuer);
    if (check.fault == SignatureFault::outOfMemory) throw std::bad_alloc();
    return check.verdict == SignatureVerdict::good;
  }

  // Whether the one names the other's key by its identifier.
  static bool identifies(const Certificate& certificate, const Certificate& issuer) {
    const auto authority = certificate.authorityKeyId();
    const auto subject = issuer.subjectKeyId();
    return authority && authority->keyId && subject && isSame(*authority->keyId, *subject);
  }

  // Without recursion: who makes certificates chooses how deep they stand.
  void printFrom(size_t root, StringBuffer& out) {
    struct Step {
      size_t tree;
      size_t depth;
    };
    std::vector<Step> steps = {{root, 0}};
    while (!steps.empty()) {
      const Step step = steps.back();
      steps.pop_back();
      Tree& tree = m_trees[step.tree];
      if (std::exchange(tree.isPrinted, true)) continue;
      printOne(tree, step.depth, out);
      for (size_t i = tree.issued.size(); i-- > 0;) {
        steps.push_back({tree.issued[i], step.depth + 1});
      }
    }
  }

  void printOne(const Tree& tree, size_t depth, StringBuffer& out) const {
    const std::string indent(2 * std::min(depth, kMostIndented), ' ');
    StringBuffer name;
    if (!appendName(tree.certificate.subject(), name)) name.append("a name that cannot be read");
    tool::print(out, indent, depth != 0 ? "└ " : "", Safe{name.view()}, '\n', indent, "    ",
                tree.place, ", ");
    appendLife(tree.certificate, out);
    if (tree.issuer == kNone) out.append(", its issuer is not here");
    if (tree.issuer == kUntried) out.append(", too many could be its issuer");
    if (tree.issuer < m_trees.size() && &m_trees[tree.issuer] == &tree)
      out.append(", signed by itself");
    out.appendChar('\n');
  }

  void appendLife(const Certificate& certificate, StringBuffer& out) const {
    const auto end = certificate.notAfter();
    const auto start = certificate.notBefore();
    if (!end) return out.append("no end that can be read"), void();
    const bool isOver = m_now > *end;
    const bool isEarly = start && *start > m_now;
    out.append(isOver ? "expired " : isEarly ? "starts in " : "expires in ");
    appendSpan(isOver    ? secondsBetween(*end, m_now)
               : isEarly ? secondsBetween(m_now, *start)
                         : secondsBetween(m_now, *end),
               out);
    if (isOver) out.append(" ago");
  }

  std::vector<Tree> m_trees;
  std::set<Certificate> m_known;
  std::map<std::string, std::vector<size_t>> m_named;  // by their folded subjects
  // By these and the identifiers of their keys: of one name there may be any number.
  std::map<std::pair<std::string, std::string>, std::vector<size_t>> m_identified;
  SignatureBudget m_budget;
  Moment m_now = momentNow();
};

void runTree(const Arguments& arguments, Console& console) {
  Forest forest;
  visitFiles(arguments, console, [&](const InputCertificate& input) { forest.add(input); });
  const size_t start = console.out().getSize();
  forest.print(console.out());
  foldHanging(start, console.width(), console.out());
}

}  // namespace

const Command kTreeCommand = {
    "tree",
    "draw which certificate was issued by which",
    "Each certificate stands below the one that bears its issuer's name and whose key\n"
    "signed it; one that is there twice stands once. Nothing is said about trust, for\n"
    "which there is \"verify\".\n",
    {},
    runTree};

}  // namespace velmora::tool

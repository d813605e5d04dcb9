#include "velmora/path/internal/name_constraints.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "velmora/path/internal/host_names.h"
#include "velmora/path/internal/judged_keys.h"
#include "velmora/path/internal/prefix_set.h"

namespace velmora {
namespace {

// What may still be spent on comparisons.
class Budget {
 public:
  explicit Budget(uint32_t& left) noexcept : m_left(left) {}

  bool isExceeded() const noexcept { return m_isExceeded; }
  // False, and nothing more is to be compared, when it does not do.
  bool spend(size_t comparisons) noexcept {
    m_isExceeded = m_isExceeded || comparisons > m_left;
    m_left = m_isExceeded ? 0 : m_left - static_cast<uint32_t>(comparisons);
    return !m_isExceeded;
  }

 private:
  uint32_t& m_left;
  bool m_isExceeded = false;
};

// The ones in front, when there are no others.
std::optional<size_t> prefixLength(const IpAddress& mask) noexcept {
  size_t ones = 0;
  size_t before = 0;
  for (size_t i = 0; i < mask.size; ++i) {
    const auto bits = std::to_integer<unsigned char>(mask.octets[i]);
    ones += static_cast<size_t>(std::popcount(bits));
    if (before == 8 * i) before += static_cast<size_t>(std::countl_one(bits));
  }
  return ones == before ? std::optional(before) : std::nullopt;
}

// "com.example." of "com.example.www."; of one label the empty key.
std::string_view parentOf(std::string_view key) noexcept {
  key.remove_suffix(1);
  return key.substr(0, key.rfind('.') + 1);
}

// The constraints of one form that permit, or those that exclude.
class Subtrees {
 public:
  explicit Subtrees(bool areExcluded) noexcept : m_areExcluded(areExcluded) {}

  // False for a constraint that cannot be read.
  bool insert(const GeneralName& base) {
    m_isEmpty = false;
    return std::visit([this](const auto& kind) { return insertBase(kind); }, base);
  }

  void seal() {
    m_subtrees.seal();
    m_below.seal();
    m_whole.seal();
    m_certain.seal();
    for (const std::string& key : m_subtrees.keys()) {
      if (m_areExcluded && !key.empty()) m_parents.insert(std::string(parentOf(key)));
    }
    m_parents.seal();
  }

  bool isEmpty() const noexcept { return m_isEmpty; }

  // Whether a name is within one of them; false too where `budget` does not do.
  bool hold(NameForm form, const JudgedName& name, Budget& budget) const {
    if (m_isEmpty || !budget.spend(m_subtrees.cost() + m_below.cost())) return false;
    if (m_subtrees.holds(name.key)) return true;
    if (form == NameForm::dns && name.isWildcard) return holdExpansions(name, budget);
    if (m_below.holdsBelow(name.key)) return true;
    if (form == NameForm::email || form == NameForm::uri) return holdWhole(name, budget);
    return form == NameForm::directory && mayHold(name.doubtful, budget);
  }

 private:
  bool insertBase(const DnsName& dns) {
    std::string_view text = dns.text;
    const bool hasDot = text.starts_with('.');
    if (hasDot) text.remove_prefix(1);
    if ((hasDot || !text.empty()) && dnsNameFault(text)) return false;
    (hasDot && !m_areExcluded ? m_below : m_subtrees).insert(dnsKey(text));
    return true;
  }

  bool insertBase(const EmailAddress& email) {
    if (email.text.empty()) {
      m_subtrees.insert("");
      return true;
    }
    if (email.text.find('@') == std::string::npos) return insertHost(email.text);
    const std::optional<Mailbox> mailbox = readMailbox(email.text, false);
    if (mailbox) m_whole.insert(mailboxKey(mailbox->domainKey, mailbox->localPart));
    return mailbox.has_value();
  }

  bool insertBase(const Uri& uri) { return !hasNumericLastLabel(uri.text) && insertHost(uri.text); }

  // One host, or with a leading dot all below it.
  bool insertHost(std::string_view text) {
    const bool hasDot = text.starts_with('.');
    if (hasDot) text.remove_prefix(1);
    if (dnsNameFault(text)) return false;
    if (hasDot) {
      m_below.insert(dnsKey(text));
    } else {
      m_whole.insert(dnsKey(text));
    }
    return true;
  }

  bool insertBase(const IpRange& range) {
    const std::optional<size_t> length = prefixLength(range.mask);
    if (length) m_subtrees.insert(addressKey(range.address, *length));
    return length.has_value();
  }

  bool insertBase(const Name& name) {
    std::optional<std::string> folded = name.folded();
    if (!folded) return false;
    m_subtrees.insert(std::move(*folded));
    if (!m_areExcluded) return true;
    DoubtfulName base(name);
    if (base.isCertain()) m_certain.insert(base.key());
    (base.isCertain() ? m_certainBases : m_doubtfulBases).push_back(std::move(base));
    return true;
  }

  bool insertBase(const IpAddress&) const noexcept { return false; }
  bool insertBase(const RegisteredId&) const noexcept { return false; }
  bool insertBase(const OtherName&) const noexcept { return false; }
  bool insertBase(const RawName&) const noexcept { return false; }

  static std::string mailboxKey(const std::string& domain, const std::string& localPart) {
    return domain + '@' + localPart;
  }

  // The key is that of what stands behind the asterisk. All expansions are permitted when that is
  // within a subtree, of which nothing but the name itself may be left out; one is excluded when it
  // stands just above a subtree.
  bool holdExpansions(const JudgedName& name, Budget& budget) const {
    if (m_below.holds(name.key)) return true;
    return budget.spend(m_parents.cost()) && m_parents.holds(name.key);
  }

  bool holdWhole(const JudgedName& name, Budget& budget) const {
    if (!budget.spend(size_t{2} * m_whole.cost())) return false;
    return m_whole.holds(name.key) || m_whole.holds(mailboxKey(name.key, name.localPart));
  }

  // Names of which all is certain are found by their keys, the others held against each base.
  bool mayHold(const DoubtfulName& name, Budget& budget) const {
    if (!name.isCertain()) {
      if (isAnyBase(m_certainBases, name, budget)) return true;
    } else if (!budget.spend(m_certain.cost()) || m_certain.holds(name.key())) {
      return !budget.isExceeded();
    }
    return isAnyBase(m_doubtfulBases, name, budget);
  }

  static bool isAnyBase(const std::vector<DoubtfulName>& bases, const DoubtfulName& name,
                        Budget& budget) {
    const auto isBase = [&](const DoubtfulName& base) {
      return !budget.spend(1) || name.mayBeWithin(base);
    };
    return std::any_of(bases.begin(), bases.end(), isBase) && !budget.isExceeded();
  }

  PrefixSet m_subtrees;                      // the key and what is below it
  PrefixSet m_below;                         // what is below the key alone
  KeySet m_whole;                            // hosts and mailboxes
  KeySet m_parents;                          // the keys above the excluded subtrees of DNS names
  PrefixSet m_certain;                       // the keys of m_certainBases
  std::vector<DoubtfulName> m_certainBases;  // the excluded directory names, for doubtful ones
  std::vector<DoubtfulName> m_doubtfulBases;
  bool m_areExcluded;
  bool m_isEmpty = true;
};

struct FormConstraints {
  Subtrees permitted{false};
  Subtrees excluded{true};
  bool isReadable = true;  // false: a constraint is not, and nothing can be said of any name

  bool isEmpty() const noexcept { return permitted.isEmpty() && excluded.isEmpty(); }

  Reason reasonAgainst(NameForm form, const JudgedName& name, Budget& budget) const {
    if (!isReadable || !name.isReadable) return Reason::nameNotJudged;
    if (excluded.hold(form, name, budget)) return Reason::nameExcluded;
    const bool isPermitted = permitted.isEmpty() || permitted.hold(form, name, budget);
    return isPermitted ? Reason::none : Reason::nameNotPermitted;
  }
};

std::string textOf(const GeneralName& name) {
  struct {
    std::string operator()(const DnsName& dns) const { return dns.text; }
    std::string operator()(const EmailAddress& email) const { return email.text; }
    std::string operator()(const Uri& uri) const { return uri.text; }
    std::string operator()(const IpAddress& address) const { return address.text(); }
    std::string operator()(const IpRange& range) const { return range.text(); }
    std::string operator()(const Name& dn) const { return dn.rfc4514().value_or(""); }
    std::string operator()(const RegisteredId& id) const { return id.id.text(); }
    std::string operator()(const OtherName& other) const {
      return other.text().value_or(other.type.text());
    }
    std::string operator()(const RawName&) const { return ""; }
  } const text;
  return std::visit(text, name);
}

Finding findingOf(Reason reason, std::string detail) {
  Finding finding;
  finding.reason = reason;
  finding.detail = std::move(detail);
  return finding;
}

}  // namespace

struct PreparedConstraints::Forms {
  std::array<FormConstraints, kNameForms> forms;

  bool areEmpty() const noexcept {
    return std::all_of(forms.begin(), forms.end(), std::mem_fn(&FormConstraints::isEmpty));
  }
};

PreparedConstraints::PreparedConstraints(const NameConstraints& constraints)
    : m_forms(std::make_unique<Forms>()) {
  const auto formFor = [&](const GeneralName& base) -> FormConstraints& {
    return m_forms->forms[static_cast<size_t>(formOf(base))];
  };
  for (const GeneralName& base : constraints.permitted) {
    FormConstraints& form = formFor(base);
    form.isReadable &= form.permitted.insert(base);
  }
  for (const GeneralName& base : constraints.excluded) {
    FormConstraints& form = formFor(base);
    form.isReadable &= form.excluded.insert(base);
  }
  for (FormConstraints& form : m_forms->forms) {
    form.permitted.seal();
    form.excluded.seal();
  }
}

PreparedConstraints::~PreparedConstraints() = default;
PreparedConstraints::PreparedConstraints(PreparedConstraints&&) noexcept = default;
PreparedConstraints& PreparedConstraints::operator=(PreparedConstraints&&) noexcept = default;

bool PreparedConstraints::judge(const JudgedNames& names, uint32_t& comparisons,
                                std::vector<Finding>& findings) const {
  Budget budget(comparisons);
  std::vector<Finding> found;
  if (!names.areReadable() && !m_forms->areEmpty()) {
    found.push_back(findingOf(Reason::nameNotJudged, ""));
    found.back().about = oid::subjectAltName;
  }
  for (size_t i = 0; i < kNameForms; ++i) {
    const FormConstraints& constraints = m_forms->forms[i];
    if (constraints.isEmpty()) continue;
    const auto form = static_cast<NameForm>(i);
    for (const JudgedName& name : names.of(form)) {
      const Reason reason = constraints.reasonAgainst(form, name, budget);
      if (budget.isExceeded()) return false;
      if (reason == Reason::none) continue;
      found.push_back(findingOf(reason, textOf(name.name)));
      break;
    }
  }
  findings.insert(findings.end(), found.begin(), found.end());
  return true;
}

}  // namespace velmora

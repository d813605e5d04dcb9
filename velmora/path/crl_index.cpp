#include "velmora/path/internal/crl_index.h"

#include <algorithm>

#include "velmora/path/internal/crl_data.h"
#include "velmora/path/internal/general_name_key.h"

namespace velmora {
namespace {

using std::chrono::sys_seconds;

constexpr uint16_t kAllReasons = 0x1FE;  // of RevocationReason without `unused`

// So many octets of an issuing distribution point are as dear to look at as a CRL without one.
constexpr size_t kScopeOctetsOfOne = 16;

void addKeys(const std::vector<GeneralName>& names, std::vector<std::string>& keys) {
  for (const GeneralName& name : names) {
    if (std::optional<std::string> key = keyOf(name)) keys.push_back(*std::move(key));
  }
}

CrlScope scopeOf(const Crl& crl, const std::string& issuer) {
  CrlScope scope;
  scope.reasons = kAllReasons;
  const Bytes value = crl.scope();
  scope.value.assign(reinterpret_cast<const char*>(value.data()), value.size());
  const Result<IssuingDistributionPoint> point = crl.issuingDistributionPoint();
  if (!point) return scope;
  scope.isNamed = !point->fullName.empty() || !point->relativeName.empty();
  addKeys(point->fullName, scope.names);
  if (!point->relativeName.empty()) {
    if (auto key = keyBelow(issuer, point->relativeName)) scope.names.push_back(*std::move(key));
  }
  scope.onlyUserCertificates = point->onlyUserCertificates;
  scope.onlyCaCertificates = point->onlyCaCertificates;
  scope.onlyAttributeCertificates = point->onlyAttributeCertificates;
  scope.reasons &= point->onlySomeReasons.value_or(kAllReasons);
  return scope;
}

CrlIndex::Entry entryOf(const Crl& crl, std::string issuer) {
  CrlScope scope = scopeOf(crl, issuer);
  const Result<sys_seconds> thisUpdate = crl.thisUpdate();
  const Result<sys_seconds> nextUpdate = crl.nextUpdate();
  const bool mayHold = thisUpdate && nextUpdate;
  return {std::move(issuer), std::move(scope), mayHold ? *thisUpdate : sys_seconds::max(),
          mayHold ? *nextUpdate : sys_seconds::min(), crl};
}

// Newer ones first, and an order that the input's has no part in.
bool isBefore(const CrlIndex::Entry& a, const CrlIndex::Entry& b) noexcept {
  if (a.issuer != b.issuer) return a.issuer < b.issuer;
  if (a.scope.value != b.scope.value) return a.scope.value < b.scope.value;
  if (a.thisUpdate != b.thisUpdate) return a.thisUpdate > b.thisUpdate;
  const Bytes left = a.crl.der();
  const Bytes right = b.crl.der();
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
}

bool isNotRevocable(const Certificate& certificate, bool isCa) {
  if (isCa || !certificate.noRevocationAvailable()) return false;
  const auto isAbsent = [](const auto& answer) { return !answer && answer.error().isAbsent(); };
  if (!isAbsent(certificate.crlDistributionPoints()) || !isAbsent(certificate.freshestCrl())) {
    return false;
  }
  const Result<std::vector<Access>> accesses = certificate.authorityInfoAccess();
  if (!accesses) return accesses.error().isAbsent();
  return std::none_of(accesses->begin(), accesses->end(),
                      [](const Access& access) { return access.method == oid::ocsp; });
}

class RevocationJudge {
 public:
  RevocationJudge(const RevocationSubject& subject, sys_seconds at, CrlSigners& signers)
      : m_subject(subject), m_at(at), m_signers(signers) {}

  RevocationAnswer judge(std::span<const CrlIndex::Entry> entries) {
    while (!entries.empty() && !m_entry) {
      const std::string& scope = entries.front().scope.value;
      const auto end = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& entry) { return entry.scope.value != scope; });
      const auto size = static_cast<size_t>(end - entries.begin());
      if (!m_signers.mayLook(size * (1 + scope.size() / kScopeOctetsOfOne))) {
        return {RevocationState::unknown};
      }
      judgeScope(entries.first(size));
      entries = entries.subspan(size);
    }
    if (m_entry) return {RevocationState::revoked, m_entry};
    const bool isGood = m_subject.arePointsReadable() && m_isSettled && m_vouchedFor == kAllReasons;
    return {isGood ? RevocationState::good : RevocationState::unknown};
  }

 private:
  // The reasons that a CRL of that scope may vouch for; none where it is not about the certificate
  // (§6.3.3 b 2 and d).
  uint16_t reasonsOf(const CrlScope& scope) const {
    const bool isAbout = !scope.onlyAttributeCertificates &&
                         !(scope.onlyUserCertificates && m_subject.isCa()) &&
                         !(scope.onlyCaCertificates && !m_subject.isCa());
    if (!isAbout || !scope.isNamed) return isAbout ? scope.reasons : 0;
    unsigned reasons = 0;
    for (const std::string& name : scope.names) reasons |= m_subject.reasonsAt(name);
    return static_cast<uint16_t>(reasons & scope.reasons);
  }

  bool holds(const CrlIndex::Entry& entry) const noexcept {
    return entry.thisUpdate <= m_at && m_at <= entry.nextUpdate;
  }

  // Whether a CRL lists the certificate as revoked; removeFromCRL says the opposite of a base. The
  // numbers of attribute certificates are others.
  std::optional<RevokedCertificate> listed(const CrlIndex::Entry& entry) const noexcept {
    if (entry.scope.onlyAttributeCertificates) return std::nullopt;
    const Result<RevokedCertificate> found = entry.crl.find(m_subject.serial());
    if (!found || isRemoval(*found)) return std::nullopt;
    return *found;
  }

  // Of CRLs that are signed the newest decides, and those of the same second. A signature is not
  // computed for a CRL that can change nothing. What one lists is revoked, whatever its scope.
  void judgeScope(std::span<const CrlIndex::Entry> entries) {
    const uint16_t reasons = reasonsOf(entries.front().scope);
    const bool mayMatter = (reasons & ~m_vouchedFor) != 0 ||
                           std::any_of(entries.begin(), entries.end(), [&](const auto& entry) {
                             return holds(entry) && listed(entry);
                           });
    std::optional<sys_seconds> newest;
    for (const CrlIndex::Entry& entry : entries) {
      if (!holds(entry)) continue;
      const bool mayVouch = entry.crl.mayVouch();
      if (mayVouch && (!mayMatter || (newest && *newest != entry.thisUpdate))) continue;
      const std::optional<RevokedCertificate> found = listed(entry);
      if (!mayVouch && !found) continue;
      const Signed answer = m_signers.haveSigned(entry.crl, found.has_value());
      m_isSettled = m_isSettled && !(found && answer == Signed::unsettled);
      if (answer != Signed::yes) continue;
      if (found) {
        m_entry = found;
        return;
      }
      newest = entry.thisUpdate;
      m_vouchedFor |= reasons;
    }
  }

  const RevocationSubject& m_subject;
  sys_seconds m_at;
  CrlSigners& m_signers;
  bool m_isSettled = true;  // nothing lists the certificate that may be signed
  uint16_t m_vouchedFor = 0;
  std::optional<RevokedCertificate> m_entry;
};

}  // namespace

RevocationSubject::RevocationSubject(const Certificate& certificate, const std::string& issuer,
                                     bool isCa)
    : m_issuer(&issuer),
      m_isCa(isCa),
      m_serial(certificate.parts().serial),
      m_isNotRevocable(velmora::isNotRevocable(certificate, isCa)) {
  if (!m_isNotRevocable) readPoints(certificate);
}

// The certificate's points, and behind them the names of its issuer, where CRLs stand that no
// point names (§6.3.3, its end). Points with a cRLIssuer are for indirect CRLs.
void RevocationSubject::readPoints(const Certificate& certificate) {
  std::vector<std::string> keys = {'n' + *m_issuer};
  addKeys(certificate.issuerAltNames().value_or({}), keys);
  addPoint(std::move(keys), kAllReasons);
  const Result<std::vector<DistributionPoint>> points = certificate.crlDistributionPoints();
  m_arePointsReadable = points || points.error().isAbsent();
  for (const DistributionPoint& point : points.value_or({})) {
    if (!point.crlIssuer.empty()) continue;
    keys.clear();
    addKeys(point.fullName, keys);
    if (!point.relativeName.empty()) {
      if (auto key = keyBelow(*m_issuer, point.relativeName)) keys.push_back(*key);
    }
    addPoint(std::move(keys), point.reasons.value_or(kAllReasons));
  }
  sortPoints();
}

void RevocationSubject::addPoint(std::vector<std::string> keys, uint16_t reasons) {
  for (std::string& key : keys) m_points.push_back({std::move(key), reasons});
}

// A name of several points stands for the reasons of all of them.
void RevocationSubject::sortPoints() {
  std::sort(m_points.begin(), m_points.end(),
            [](const PointName& a, const PointName& b) { return a.key < b.key; });
  size_t kept = 0;
  for (size_t i = 1; i < m_points.size(); ++i) {
    if (m_points[i].key == m_points[kept].key) {
      m_points[kept].reasons |= m_points[i].reasons;
    } else if (++kept != i) {
      m_points[kept] = std::move(m_points[i]);
    }
  }
  m_points.resize(kept + 1);
}

uint16_t RevocationSubject::reasonsAt(const std::string& name) const noexcept {
  const auto point = std::lower_bound(
      m_points.begin(), m_points.end(), name,
      [](const PointName& a, const std::string& wanted) { return a.key < wanted; });
  return point != m_points.end() && point->key == name ? point->reasons : uint16_t{0};
}

CrlIndex::CrlIndex(std::span<const Crl> crls) {
  m_entries.reserve(crls.size());
  for (const Crl& crl : crls) {
    std::optional<std::string> issuer = crl.issuer().folded();
    if (issuer) m_entries.push_back(entryOf(crl, *std::move(issuer)));
  }
  std::sort(m_entries.begin(), m_entries.end(), isBefore);
  const auto isSame = [](const Entry& a, const Entry& b) { return a.crl == b.crl; };
  m_entries.erase(std::unique(m_entries.begin(), m_entries.end(), isSame), m_entries.end());
}

RevocationAnswer CrlIndex::judge(const RevocationSubject& subject, sys_seconds at,
                                 CrlSigners& signers) const {
  if (subject.isNotRevocable()) return {RevocationState::notRevocable};
  const auto first = std::lower_bound(
      m_entries.begin(), m_entries.end(), subject.issuer(),
      [](const Entry& entry, const std::string& issuer) { return entry.issuer < issuer; });
  const auto last = std::upper_bound(
      first, m_entries.end(), subject.issuer(),
      [](const std::string& issuer, const Entry& entry) { return issuer < entry.issuer; });
  if (first == last) return {RevocationState::noCrl};
  const auto ofIssuer = std::span(m_entries).subspan(static_cast<size_t>(first - m_entries.begin()),
                                                     static_cast<size_t>(last - first));
  return RevocationJudge(subject, at, signers).judge(ofIssuer);
}

CrlSet::CrlSet() : CrlSet(std::span<const Crl>()) {}

CrlSet::CrlSet(std::span<const Crl> crls) : m_index(std::make_shared<const CrlIndex>(crls)) {}

size_t CrlSet::size() const noexcept {
  return m_index->size();
}

}  // namespace velmora

#include <algorithm>
#include <map>
#include <new>
#include <string>
#include <utility>

#include "velmora/path/internal/path_builder.h"

// What CRLs say of the certificates of a way (RFC 5280 §6.1.3 (a)(3) and §6.3), and who may have
// signed them.

namespace velmora {
namespace {

constexpr uint32_t kPartForOthers = 8;  // an eighth of a limit

// Whether what CRLs say of a certificate lets it stand.
bool isGoodEnough(RevocationState state, bool isAsked) noexcept {
  switch (state) {
    case RevocationState::good:
    case RevocationState::notRevocable:
      return true;
    case RevocationState::noCrl:
      return !isAsked;
    default:
      return false;
  }
}

}  // namespace

/// Who may have signed a CRL about the certificate at a place: its issuer on the way, the anchor if
/// it has that name too, and others of that name whose certificates somebody above on the same way
/// signed (RFC 5280 §6.3.3 (f)). What CRLs say of these others is asked, but not of the others who
/// may have signed those.
class WayCrlSigners final : public CrlSigners {
 public:
  WayCrlSigners(PathBuilder& builder, size_t place, bool asksOfOthers = true)
      : m_builder(builder), m_place(place), m_asksOfOthers(asksOfOthers) {}

  Signed haveSigned(const Crl& crl, bool) override {
    const size_t issuer = m_place + 1;
    if (issuer < m_builder.m_way.size()) {
      const IndexedCertificate& certificate = *m_builder.nodeAt(issuer).indexed;
      if (maySignCrls(certificate) && hasSigned(crl, certificate) == Signed::yes) {
        return Signed::yes;
      }
    }
    return anchorHasSigned(crl) ? Signed::yes : anotherHasSigned(crl);
  }

  bool mayLook(uint64_t crls) override {
    return m_builder.spend(m_builder.m_answer.used.comparisons,
                           m_builder.m_options.limits.comparisons, crls,
                           Reason::tooManyComparisons);
  }

 private:
  static bool maySignCrls(const CertificateFacts& facts) noexcept {
    return facts.keyUsage ? facts.keyUsage->has(KeyUse::crlSign)
                          : facts.keyUsage.error().isAbsent();
  }
  static bool maySignCrls(const IndexedCertificate& certificate) noexcept {
    return maySignCrls(certificate.facts);
  }
  static bool maySignCrls(const IndexedAnchor& anchor) noexcept {
    return !anchor.facts || maySignCrls(*anchor.facts);
  }

  // Asked only of a key that something trusted vouches for.
  template <class Signer>
  Signed hasSigned(const Crl& crl, const Signer& signer, bool isAnother = false) {
    const auto [found, isNew] =
        m_builder.m_crlSignatures.try_emplace({crl.der().data(), signer.keyDigest}, false);
    if (!isNew) return found->second ? Signed::yes : Signed::no;
    const Result<SignatureScheme> scheme = schemeOf(crl.signedParts().outerAlgorithm);
    const bool isWeak = scheme && scheme->hash == Hash::sha1 && !m_builder.m_options.allowSha1;
    if (isWeak) return Signed::no;
    const uint64_t cost = costOf(keyOf(signer));
    if (!(isAnother ? mayCheckAnother(cost) : mayCheck(cost))) {
      m_builder.m_crlSignatures.erase(found);
      return Signed::unsettled;
    }
    const SignatureCheck check = m_builder.readyKeyOf(signer)->check(crl.signedParts());
    if (check.fault == SignatureFault::outOfMemory) throw std::bad_alloc();
    found->second = check.verdict == SignatureVerdict::good;
    return found->second ? Signed::yes : Signed::no;
  }

  bool mayCheck(uint64_t cost) {
    return m_builder.spend(m_builder.m_answer.used.signatures,
                           m_builder.m_options.limits.signatures, cost, Reason::tooManySignatures);
  }
  bool mayCheckAnother(uint64_t cost) {
    return m_builder.spendOnOthers(
        m_builder.m_signaturesOfOthers, m_builder.m_answer.used.signatures,
        m_builder.m_options.limits.signatures, cost, Reason::tooManySignatures);
  }
  bool mayLookAtOthers(uint64_t others) {
    return m_builder.spendOnOthers(m_builder.m_looksAtOthers, m_builder.m_answer.used.comparisons,
                                   m_builder.m_options.limits.comparisons, others,
                                   Reason::tooManyComparisons);
  }

  static std::optional<PublicKey> keyOf(const IndexedAnchor& anchor) { return anchor.key; }
  static std::optional<PublicKey> keyOf(const IndexedCertificate& certificate) {
    const Result<PublicKey>& key = certificate.facts.key;
    return key ? std::optional(*key) : std::nullopt;
  }

  // As the issuer, or with its older key where the issuer has a newer one.
  bool anchorHasSigned(const Crl& crl) {
    const IndexedAnchor& anchor = m_builder.anchorOfWay();
    return anchor.name == *m_builder.nodeAt(m_place).facts->issuer && maySignCrls(anchor) &&
           hasSigned(crl, anchor) == Signed::yes;
  }

  // First who above signed the certificate of one, then whether its key signed the CRL, once for
  // each key, and then whether it stands: nothing is computed with a key that somebody has made up.
  Signed anotherHasSigned(const Crl& crl) {
    const PathBuilder::OtherSigners& others = othersOf(*m_builder.nodeAt(m_place).facts->issuer);
    Signed answer = others.areAll ? Signed::no : Signed::unsettled;
    for (const auto& [key, signers] : others.byKey) {
      for (const IndexedCertificate* const signer : signers) {
        const Signed byThis =
            mayLookAtOthers(1) ? anotherHasSigned(crl, *signer) : Signed::unsettled;
        if (byThis == Signed::yes) return byThis;
        if (byThis == Signed::unsettled) answer = byThis;
      }
    }
    return answer;
  }

  Signed anotherHasSigned(const Crl& crl, const IndexedCertificate& signer) {
    const Signed known =
        askAbove(signer, [&](const auto& above, size_t) { return isSignedBy(signer, above); });
    if (known != Signed::yes) return known;
    const Signed byKey = hasSigned(crl, signer, true);
    if (byKey != Signed::yes) return byKey;
    return askAbove(signer, [&](const auto& above, size_t place) {
      return isVouchedForBy(signer, above, place);
    });
  }

  const PathBuilder::OtherSigners& othersOf(const std::string& name) {
    const auto [found, isNew] = m_builder.m_otherSigners.try_emplace(name);
    PathBuilder::OtherSigners& others = found->second;
    if (!isNew) return others;
    others.areAll = true;
    for (size_t set = 0; others.areAll && set < m_builder.m_sets.size(); ++set) {
      for (const IndexedCertificate* const signer : m_builder.m_sets[set]->withSubject(name)) {
        if (m_builder.isInSetBefore(set, signer->facts.certificate)) continue;
        others.areAll = others.areAll && mayLookAtOthers(1);
        if (others.areAll && maySign(*signer)) others.byKey[signer->keyDigest].push_back(signer);
      }
    }
    if (!others.areAll) others.byKey.clear();
    for (auto& [key, signers] : others.byKey) {
      std::sort(signers.begin(), signers.end(),
                [](const auto* a, const auto* b) { return a->fingerprint < b->fingerprint; });
    }
    return others;
  }

  // It need not be a CA, but nothing else may be wrong with it.
  bool maySign(const IndexedCertificate& signer) const {
    std::vector<Finding> findings;
    judgeCertificate(signer.facts, Role::issuer, m_builder.m_question, findings);
    return maySignCrls(signer) &&
           std::none_of(findings.begin(), findings.end(), [](const Finding& each) {
             const bool isAboutCas =
                 each.reason == Reason::notACa || each.reason == Reason::mayNotSign;
             return each.isFailure() && !isAboutCas;
           });
  }

  // Of those of its issuer's name above, until one says yes.
  template <class Ask>
  Signed askAbove(const IndexedCertificate& signer, const Ask& ask) {
    const size_t top = m_builder.m_way.size();
    const IndexedAnchor& anchor = m_builder.anchorOfWay();
    Signed answer = Signed::no;
    if (*signer.facts.issuer == anchor.name) answer = ask(anchor, top);
    for (size_t place = top - 1; place > m_place && answer != Signed::yes; --place) {
      const IndexedCertificate& above = *m_builder.nodeAt(place).indexed;
      if (signer.facts.issuer != above.facts.subject) continue;
      const Signed byThis = ask(above, place);
      if (byThis != Signed::no) answer = byThis;
    }
    return answer;
  }

  template <class Above>
  Signed isVouchedForBy(const IndexedCertificate& signer, const Above& above, size_t place) {
    if (!m_asksOfOthers) return isSignedBy(signer, above);
    const auto [found, isNew] = m_builder.m_crlSigners.try_emplace({&signer, place}, Signed::no);
    if (!isNew) return found->second;
    found->second = isSignedBy(signer, above);
    if (found->second == Signed::yes) found->second = doesStand(signer, above, place);
    return found->second;
  }

  // Whether CRLs let another signer stand that is below a place of the way. To let it stand takes
  // the key that vouches for it, and it alone puts the signer out; to cast doubt on it, anybody
  // does who could revoke a CA of the way there. That these might be revoked is not asked, so that
  // nobody who is asked about is asked. What one in doubt has signed vouches for nothing, and yet
  // what it lists is not good: with a stolen key, or a crowd that uses up what may be looked at,
  // nobody silences who says that a certificate is revoked.
  template <class Above>
  Signed doesStand(const IndexedCertificate& signer, const Above& above, size_t place) {
    class SignersOfOne final : public CrlSigners {
     public:
      SignersOfOne(WayCrlSigners& all, const Above& vouching, size_t below)
          : m_all(all), m_vouching(vouching), m_revoking(all.m_builder, below, false) {}
      Signed haveSigned(const Crl& crl, bool lists) override {
        const Signed byThis =
            maySignCrls(m_vouching) ? m_all.hasSigned(crl, m_vouching) : Signed::no;
        isInDoubt = isInDoubt || (lists && byThis == Signed::no &&
                                  m_revoking.haveSigned(crl, lists) != Signed::no);
        return byThis;
      }
      bool mayLook(uint64_t crls) override { return m_all.mayLook(crls); }

      bool isInDoubt = false;

     private:
      WayCrlSigners& m_all;
      const Above& m_vouching;
      WayCrlSigners m_revoking;
    } signers(*this, above, place - 1);
    const RevocationState state = m_builder.askCrls(signer.facts, signers);
    const bool isAsked = m_builder.m_options.revocation == Revocation::all;
    if (state == RevocationState::revoked) return Signed::no;
    return isGoodEnough(state, isAsked) && !signers.isInDoubt ? Signed::yes : Signed::unsettled;
  }

  template <class Signer>
  Signed isSignedBy(const IndexedCertificate& certificate, const Signer& signer) {
    const auto [found, isNew] =
        m_builder.m_othersSigned.try_emplace({&certificate, signer.keyDigest}, false);
    if (!isNew) return found->second ? Signed::yes : Signed::no;
    if (!mayCheckAnother(costOf(keyOf(signer)))) {
      m_builder.m_othersSigned.erase(found);
      return Signed::unsettled;
    }
    JudgementCache& cache = m_builder.m_anchors.cache();
    std::optional<SignatureCheck> check = cache.find(signer.keyDigest, certificate.fingerprint);
    if (!check) {
      check = m_builder.readyKeyOf(signer)->check(certificate.facts.certificate);
      if (check->fault == SignatureFault::outOfMemory) throw std::bad_alloc();
      cache.keep(signer.keyDigest, certificate.fingerprint, *check);
    }
    found->second = check->verdict == SignatureVerdict::good;
    return found->second ? Signed::yes : Signed::no;
  }

  PathBuilder& m_builder;
  size_t m_place;
  bool m_asksOfOthers;
};

// Anybody can write certificates in the name of a signer of CRLs, so that these have a part of the
// limit of their own: a crowd leaves the rest for ways.
bool PathBuilder::spendOnOthers(uint32_t& spent, uint32_t& used, uint32_t limit, uint64_t cost,
                                Reason reason) noexcept {
  if (cost > limit / kPartForOthers - spent || !spend(used, limit, cost, reason)) return false;
  spent += static_cast<uint32_t>(cost);
  return true;
}

RevocationState PathBuilder::askCrls(const CertificateFacts& facts, CrlSigners& signers) {
  const auto subject =
      m_subjects.try_emplace(&facts, facts.certificate, *facts.issuer, facts.isCa()).first;
  return m_options.crls.m_index->judge(subject->second, m_question.at, signers).state;
}

// §6.1.3 (a)(3) and §6.3.
void PathBuilder::judgeRevocation(std::vector<Finding>& findings) {
  m_isLeafVouched = false;
  m_areAllVouched = false;
  if (!m_question.judgesCrls()) return;
  m_areAllVouched = true;
  m_crlSigners.clear();
  for (size_t place = 0; place < m_way.size(); ++place) {
    const CertificateFacts& facts = *nodeAt(place).facts;
    const bool isAsked = m_options.revocation == Revocation::all ||
                         (m_options.revocation == Revocation::leaf && place == 0);
    WayCrlSigners signers(*this, place);
    const RevocationState state = askCrls(facts, signers);
    const bool isVouched = isGoodEnough(state, true);
    if (!isGoodEnough(state, isAsked)) {
      const bool isRevoked = state == RevocationState::revoked;
      Finding& finding = findings.emplace_back();
      finding.reason = isRevoked ? Reason::revoked : Reason::revocationUnknown;
      finding.certificate = static_cast<uint32_t>(place);
    }
    if (place == 0) m_isLeafVouched = isVouched;
    m_areAllVouched = m_areAllVouched && isVouched;
  }
}

}  // namespace velmora

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

  bool haveSigned(const Crl& crl, bool) override {
    const size_t issuer = m_place + 1;
    if (issuer < m_builder.m_way.size()) {
      const IndexedCertificate& certificate = *m_builder.nodeAt(issuer).indexed;
      if (maySignCrls(certificate) && hasSigned(crl, certificate)) return true;
    }
    return anchorHasSigned(crl) || anotherHasSigned(crl);
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

  template <class Signer>
  bool hasSigned(const Crl& crl, const Signer& signer) {
    const auto [found, isNew] =
        m_builder.m_crlSignatures.try_emplace({crl.der().data(), signer.keyDigest}, false);
    if (!isNew) return found->second;
    const Result<SignatureScheme> scheme = schemeOf(crl.signedParts().outerAlgorithm);
    const bool isWeak = scheme && scheme->hash == Hash::sha1 && !m_builder.m_options.allowSha1;
    if (isWeak) return false;
    if (!m_builder.spend(m_builder.m_answer.used.signatures, m_builder.m_options.limits.signatures,
                         costOf(keyOf(signer)), Reason::tooManySignatures)) {
      m_builder.m_crlSignatures.erase(found);
      return false;
    }
    const SignatureCheck check = m_builder.readyKeyOf(signer)->check(crl.signedParts());
    if (check.fault == SignatureFault::outOfMemory) throw std::bad_alloc();
    return found->second = check.verdict == SignatureVerdict::good;
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
           hasSigned(crl, anchor);
  }

  bool anotherHasSigned(const Crl& crl) {
    const std::string& name = *m_builder.nodeAt(m_place).facts->issuer;
    for (size_t set = 0; set < m_builder.m_sets.size(); ++set) {
      for (const IndexedCertificate* const signer : m_builder.m_sets[set]->withSubject(name)) {
        if (m_builder.isInSetBefore(set, signer->facts.certificate)) continue;
        if (maySign(*signer) && isVouchedFor(*signer) && hasSigned(crl, *signer)) return true;
      }
    }
    return false;
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

  bool isVouchedFor(const IndexedCertificate& signer) {
    const size_t top = m_builder.m_way.size();
    const IndexedAnchor& anchor = m_builder.anchorOfWay();
    if (*signer.facts.issuer == anchor.name && isVouchedForBy(signer, anchor, top)) return true;
    for (size_t place = top - 1; place > m_place; --place) {
      const IndexedCertificate& above = *m_builder.nodeAt(place).indexed;
      if (signer.facts.issuer != above.facts.subject) continue;
      if (isVouchedForBy(signer, above, place)) return true;
    }
    return false;
  }

  template <class Above>
  bool isVouchedForBy(const IndexedCertificate& signer, const Above& above, size_t place) {
    if (!m_asksOfOthers) return isSignedBy(signer, above);
    const auto [found, isNew] = m_builder.m_crlSigners.try_emplace({&signer, place}, false);
    if (isNew) found->second = isSignedBy(signer, above) && !isRevoked(signer, above, place);
    return found->second;
  }

  // What CRLs say of another signer that stands below a place of the way: revoked, or unknown where
  // it has to be known. To let it stand takes the key that vouches for it; to revoke it, anybody
  // does who could revoke a CA of the way there. That these might be revoked is not asked, so that
  // nobody who is asked about is asked.
  template <class Above>
  bool isRevoked(const IndexedCertificate& signer, const Above& above, size_t place) {
    class SignersOfOne final : public CrlSigners {
     public:
      SignersOfOne(WayCrlSigners& all, const Above& vouching, size_t below)
          : m_all(all), m_vouching(vouching), m_revoking(all.m_builder, below, false) {}
      bool haveSigned(const Crl& crl, bool lists) override {
        if (lists) return m_revoking.haveSigned(crl, lists);
        return maySignCrls(m_vouching) && m_all.hasSigned(crl, m_vouching);
      }

     private:
      WayCrlSigners& m_all;
      const Above& m_vouching;
      WayCrlSigners m_revoking;
    } signers(*this, above, place - 1);
    return !isGoodEnough(m_builder.askCrls(signer.facts, signers),
                         m_builder.m_options.revocation == Revocation::all);
  }

  template <class Signer>
  bool isSignedBy(const IndexedCertificate& certificate, const Signer& signer) {
    JudgementCache& cache = m_builder.m_anchors.cache();
    if (!m_builder.spend(m_builder.m_answer.used.signatures, m_builder.m_options.limits.signatures,
                         costOf(keyOf(signer)), Reason::tooManySignatures)) {
      return false;
    }
    std::optional<SignatureCheck> check = cache.find(signer.keyDigest, certificate.fingerprint);
    if (!check) {
      check = m_builder.readyKeyOf(signer)->check(certificate.facts.certificate);
      if (check->fault == SignatureFault::outOfMemory) throw std::bad_alloc();
      cache.keep(signer.keyDigest, certificate.fingerprint, *check);
    }
    return check->verdict == SignatureVerdict::good;
  }

  PathBuilder& m_builder;
  size_t m_place;
  bool m_asksOfOthers;
};

RevocationState PathBuilder::askCrls(const CertificateFacts& facts, CrlSigners& signers) const {
  return m_options.crls.m_index
      ->judge({&facts.certificate, &*facts.issuer, facts.isCa(), m_question.at}, signers)
      .state;
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

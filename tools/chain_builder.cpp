#include "tools/chain_builder.h"

#include <algorithm>

#include "x509/first_error_log.h"

namespace velmora::tool {

namespace {

constexpr size_t kMostCertificates = 16;
constexpr size_t kMostCandidates = 64;
constexpr size_t kMostSignatures = 100;

bool isGood(const ChainStep& step) {
  return step.signature && step.signature->verdict == SignatureVerdict::kGood;
}

}  // namespace

std::string_view matchesAsIssuer(const KnownCertificate& certificate,
                                 const KnownCertificate& issuer) {
  if (certificate.issuerKey.empty() || certificate.issuerKey != issuer.subjectKey) return {};
  const std::string& wanted = certificate.authorityKeyIdentifier;
  const std::string& offered = issuer.subjectKeyIdentifier;
  if (wanted.empty() || offered.empty()) return "name";
  return wanted == offered ? "name and key identifier" : std::string_view();
}

Chain ChainBuilder::build(const KnownCertificate& certificate) {
  m_best = Chain();
  m_bestScore = 0;
  m_signaturesChecked = 0;
  m_way.clear();
  m_way.emplace_back().certificate = &certificate;
  checkCertificate(certificate, m_at, m_way.back().findings);
  const bool reachedRoot = climb();
  // On the way up only a certificate without failures is passed; the lowest may have its own.
  if (!reachedRoot) return std::move(m_best);
  const bool verified = m_way.front().findings.failures.empty();
  return {std::move(m_way), verified};
}

// Looks for a root above the last certificate of the way, which grows by what is found.
bool ChainBuilder::climb() {
  if (endsAtRoot()) return true;
  // As an issuer without extensions only a root passes.
  const KnownCertificate& last = *m_way.back().certificate;
  if (m_way.size() > 1 && !last.basicConstraints.present) {
    fail("it is no trusted root, and not a CA: it has no basicConstraints");
    return false;
  }
  if (m_way.size() == kMostCertificates) {
    fail("the chain is longer than 16 certificates");
    return false;
  }
  bool any = false;
  for (const KnownCertificate* issuer : candidates()) {
    if (isOnTheWay(*issuer)) continue;
    if (m_signaturesChecked >= kMostSignatures) {
      fail("gave up: more than 100 signatures would have to be checked");
      return false;
    }
    any = true;
    if (tryIssuer(*issuer)) return true;
  }
  if (!any && !last.selfIssued) {
    fail("no issuer of it is among the certificates given");
  }
  return false;
}

// Of a certificate that is not its own issuer nothing is noted: it needs another one.
bool ChainBuilder::endsAtRoot() {
  ChainStep& step = m_way.back();
  const KnownCertificate& certificate = *step.certificate;
  if (!certificate.selfIssued) return false;
  ++m_signaturesChecked;
  step.signer = &certificate;
  step.matchedBy = "itself";
  step.signature = checkSignature(certificate, certificate);
  if (isGood(step)) {
    FirstErrorLog log;
    step.isTrustedRoot = certificate.loaded.get().verifyCertSignature(nullptr, log);
    if (!step.isTrustedRoot) fail(std::string(log.error()));
  } else {
    fail("issued by itself, but not a root that its own key signed");
  }
  return step.isTrustedRoot;
}

bool ChainBuilder::tryIssuer(const KnownCertificate& issuer) {
  ++m_signaturesChecked;
  {
    ChainStep& step = m_way.back();
    step.signer = &issuer;
    step.matchedBy = matchesAsIssuer(*step.certificate, issuer);
    step.signature = checkSignature(*step.certificate, issuer);
  }
  const bool signatureIsGood = isGood(m_way.back());
  ChainStep above;
  above.certificate = &issuer;
  checkCertificate(issuer, m_at, above.findings);
  checkIssuer(issuer, intermediatesOnTheWay(), issuer.selfIssued, above.findings);
  const bool isFit = above.findings.failures.empty();
  m_way.push_back(std::move(above));
  if (signatureIsGood && isFit) {
    if (climb()) return true;
  } else {
    remember();
  }
  m_way.pop_back();
  return false;
}

bool ChainBuilder::isOnTheWay(const KnownCertificate& certificate) const {
  return std::any_of(m_way.begin(), m_way.end(),
                     [&](const ChainStep& step) { return step.certificate == &certificate; });
}

// As a path length counts them: without the lowest certificate and without self-issued ones.
size_t ChainBuilder::intermediatesOnTheWay() const {
  return static_cast<size_t>(
      std::count_if(m_way.begin() + 1, m_way.end(),
                    [](const ChainStep& step) { return !step.certificate->selfIssued; }));
}

// Self-issued certificates come first: where one of them is a trusted root, the way is shortest.
std::vector<const KnownCertificate*> ChainBuilder::candidates() const {
  const KnownCertificate& certificate = *m_way.back().certificate;
  const bool isDirect = m_way.size() == 1 && m_directIssuers.has_value();
  const auto& offered = isDirect ? *m_directIssuers : m_pool.withSubject(certificate.issuerKey);
  std::vector<const KnownCertificate*> matching;
  for (size_t i = 0; i < std::min(offered.size(), kMostCandidates); ++i) {
    if (!matchesAsIssuer(certificate, *offered[i]).empty()) matching.push_back(offered[i]);
  }
  std::stable_partition(matching.begin(), matching.end(),
                        [](const KnownCertificate* each) { return each->selfIssued; });
  return matching;
}

// Notes why the way ends here.
void ChainBuilder::fail(std::string reason) {
  std::vector<std::string>& failures = m_way.back().findings.failures;
  failures.push_back(std::move(reason));
  remember();
  failures.pop_back();
}

// A way of more certificates came further; of two as long, the one whose last link is signed.
void ChainBuilder::remember() {
  const bool lastIsSigned = m_way.size() < 2 || isGood(m_way[m_way.size() - 2]);
  const size_t score = 2 * m_way.size() + (lastIsSigned ? 1 : 0);
  if (score <= m_bestScore) return;
  m_bestScore = score;
  m_best = {m_way, false};
}

}  // namespace velmora::tool

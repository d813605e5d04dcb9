#include "tools/reading/chain_builder.h"

#include <algorithm>

#include "velmora/support/log/first_error_log.h"

namespace velmora::tool {

namespace {

constexpr size_t kMostCertificates = 16;
constexpr size_t kMostCandidates = 64;
constexpr size_t kMostSignatures = 100;

bool isGood(const ChainStep& step) {
  return step.signature != nullptr && step.signature->verdict == SignatureVerdict::good;
}

}  // namespace

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
  const Result<BasicConstraints> constraints = last.certificate.basicConstraints();
  if (m_way.size() > 1 && !constraints && constraints.error().isAbsent()) {
    fail("it is no trusted root, and not a CA: it has no basicConstraints");
    return false;
  }
  if (m_way.size() == kMostCertificates) {
    fail("the chain is longer than 16 certificates");
    return false;
  }
  const Certificates issuers = candidates();
  bool anyIsNew = false;
  for (const KnownCertificate* issuer : issuers) {
    if (isOnTheWay(*issuer)) continue;
    if (!mayCheckAnother()) return false;
    anyIsNew = true;
    if (tryIssuer(*issuer)) return true;
  }
  // Why it is not its own issuer has been noted.
  if (!anyIsNew && m_way.back().signer == nullptr) fail(whyNoIssuer(!issuers.empty()));
  return false;
}

std::string ChainBuilder::whyNoIssuer(bool areOnTheWay) const {
  if (areOnTheWay) return "its issuers are below it in the chain";
  std::string reason = "no issuer of it is among the certificates given";
  if (offered().hasIssuerNameOf(*m_way.back().certificate)) {
    reason += ": those with the name have another key identifier";
  }
  return reason;
}

// Of a certificate that is not its own issuer nothing is noted: it needs another one.
bool ChainBuilder::endsAtRoot() {
  ChainStep& step = m_way.back();
  const KnownCertificate& certificate = *step.certificate;
  const bool isConfined = isDirect() && !m_directIssuers->holds(certificate);
  if (!certificate.selfIssued || isConfined || !mayCheckAnother()) return false;
  step.signer = &certificate;
  step.matchedBy = "itself";
  step.signature = &signature(certificate, certificate);
  if (isGood(step)) {
    const std::string& reason = distrust(certificate);
    step.isTrustedRoot = reason.empty();
    if (!step.isTrustedRoot) fail(reason);
  } else {
    fail("issued by itself, but not a root that its own key is known to have signed");
  }
  return step.isTrustedRoot;
}

bool ChainBuilder::tryIssuer(const KnownCertificate& issuer) {
  ChainStep& step = m_way.back();
  const bool byKeyIdentifier =
      !step.certificate->authorityKeyIdentifier.empty() && !issuer.subjectKeyIdentifier.empty();
  step.signer = &issuer;
  step.matchedBy = byKeyIdentifier ? "name and key identifier" : "name";
  step.signature = &signature(*step.certificate, issuer);
  const bool signatureIsGood = isGood(step);
  ChainStep above;
  above.certificate = &issuer;
  checkCertificate(issuer, m_at, above.findings);
  checkIssuer(issuer, intermediatesOnTheWay(), above.findings);
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

// What was found out before counts too, since each step of the search has to be paid for.
bool ChainBuilder::mayCheckAnother() {
  if (m_signaturesChecked == kMostSignatures) {
    fail("gave up: more than 100 signatures would have to be checked");
    return false;
  }
  ++m_signaturesChecked;
  return true;
}

const SignatureReport& ChainBuilder::signature(const KnownCertificate& certificate,
                                               const KnownCertificate& signer) {
  const Link link(&certificate, &signer);
  const auto known = m_signatures.find(link);
  if (known != m_signatures.end()) return known->second;
  return m_signatures.emplace(link, checkSignature(certificate, signer)).first->second;
}

// Why a certificate that its own key signed is no trusted root; empty when it is one.
const std::string& ChainBuilder::distrust(const KnownCertificate& root) {
  const auto known = m_distrust.find(&root);
  if (known != m_distrust.end()) return known->second;
  FirstErrorLog log;
  const bool trusted = root.loaded.get().verifyCertSignature(nullptr, log);
  std::string reason(trusted ? std::string_view() : log.empty() ? "not trusted" : log.error());
  return m_distrust.emplace(&root, std::move(reason)).first->second;
}

bool ChainBuilder::isDirect() const {
  return m_way.size() == 1 && m_directIssuers != nullptr;
}

// Where the issuers of the last certificate of the way are looked for.
const CertificateIndex& ChainBuilder::offered() const {
  return isDirect() ? *m_directIssuers : m_pool.index();
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
Certificates ChainBuilder::candidates() const {
  Certificates found = offered().issuersOf(*m_way.back().certificate, kMostCandidates);
  std::stable_partition(found.begin(), found.end(),
                        [](const KnownCertificate* each) { return each->selfIssued; });
  return found;
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

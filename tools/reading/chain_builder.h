#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/reading/link_check.h"

namespace velmora::tool {

/// One certificate on the way up.
struct ChainStep {
  const KnownCertificate* certificate = nullptr;
  Findings findings;
  const KnownCertificate* signer = nullptr;    // null when none was tried
  std::string_view matchedBy;                  // how the signer was found
  const SignatureReport* signature = nullptr;  // with the signer's key; null when none was tried
  bool isTrustedRoot = false;
};

/// A certificate and its issuers, up to a trusted root when `verified`. Refers to what the pool and
/// the builder hold.
struct Chain {
  std::vector<ChainStep> steps;
  bool verified = false;
};

/// Finds the way from certificates to the roots that TrustedRoots holds. A chain has at most 16
/// certificates, for each of them at most 64 candidates are tried, and for one certificate at most
/// 100 signatures are checked, whatever the candidates are. What was found out about a link or a
/// root is kept for the next certificate.
class ChainBuilder {
 public:
  /// The pool outlives the builder.
  ChainBuilder(const CertificatePool& pool, const VelmoraSysTime& at) : m_pool(pool), m_at(at) {}

  /// Confines the issuers of the certificates themselves, not of those above, to these, which
  /// outlive the builder.
  void setDirectIssuers(const CertificateIndex& issuers) { m_directIssuers = &issuers; }

  /// The first way that holds, or else the one that came furthest, with what was wrong.
  Chain build(const KnownCertificate& certificate);

 private:
  bool climb();
  bool endsAtRoot();
  bool tryIssuer(const KnownCertificate& issuer);
  std::string whyNoIssuer(bool areOnTheWay) const;
  bool mayCheckAnother();
  const SignatureReport& signature(const KnownCertificate& certificate,
                                   const KnownCertificate& signer);
  const std::string& distrust(const KnownCertificate& root);
  bool isDirect() const;
  const CertificateIndex& offered() const;
  bool isOnTheWay(const KnownCertificate& certificate) const;
  size_t intermediatesOnTheWay() const;
  Certificates candidates() const;
  void fail(std::string reason);
  void remember();

  const CertificatePool& m_pool;
  VelmoraSysTime m_at;
  const CertificateIndex* m_directIssuers = nullptr;
  std::vector<ChainStep> m_way;
  Chain m_best;
  size_t m_bestScore = 0;
  size_t m_signaturesChecked = 0;

  // What was found out before: many certificates have the same issuers.
  using Link = std::pair<const KnownCertificate*, const KnownCertificate*>;
  std::map<Link, SignatureReport> m_signatures;
  std::map<const KnownCertificate*, std::string> m_distrust;
};

}  // namespace velmora::tool

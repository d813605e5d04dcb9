#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/link_check.h"

namespace velmora::tool {

/// One certificate on the way up.
struct ChainStep {
  const KnownCertificate* certificate = nullptr;
  Findings findings;
  const KnownCertificate* signer = nullptr;  // null when none was tried
  std::string_view matchedBy;                // how the signer was found
  std::optional<SignatureReport> signature;  // with the signer's key
  bool isTrustedRoot = false;
};

/// A certificate and its issuers, up to a trusted root when `verified`.
struct Chain {
  std::vector<ChainStep> steps;
  bool verified = false;
};

/// Whether `issuer` may be taken for the issuer of `certificate`: "name" or "name and key
/// identifier", by which it matches, or empty. The whole names have to be equal, and the key
/// identifiers where both are there.
std::string_view matchesAsIssuer(const KnownCertificate& certificate,
                                 const KnownCertificate& issuer);

/// Finds the way from certificates to the roots that TrustedRoots holds. A chain has at most 16
/// certificates, at most 64 candidates of a name are looked at, and for one certificate at most 100
/// signatures are checked, whatever the candidates are.
class ChainBuilder {
 public:
  ChainBuilder(const CertificatePool& pool, const VelmoraSysTime& at) : m_pool(pool), m_at(at) {}

  /// Confines the issuers of the certificates themselves, not of those above, to these.
  void setDirectIssuers(std::vector<const KnownCertificate*> issuers) {
    m_directIssuers = std::move(issuers);
  }

  /// The first way that holds, or else the one that came furthest, with what was wrong.
  Chain build(const KnownCertificate& certificate);

 private:
  bool climb();
  bool endsAtRoot();
  bool tryIssuer(const KnownCertificate& issuer);
  bool isOnTheWay(const KnownCertificate& certificate) const;
  size_t intermediatesOnTheWay() const;
  std::vector<const KnownCertificate*> candidates() const;
  void fail(std::string reason);
  void remember();

  const CertificatePool& m_pool;
  VelmoraSysTime m_at;
  std::optional<std::vector<const KnownCertificate*>> m_directIssuers;
  std::vector<ChainStep> m_way;
  Chain m_best;
  size_t m_bestScore = 0;
  size_t m_signaturesChecked = 0;
};

}  // namespace velmora::tool

#pragma once

// CRLs by their issuer, and what they say about one certificate.

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "velmora/path/crl.h"

namespace velmora {

/// What is asked of CRLs about one certificate.
struct RevocationQuestion {
  const Certificate* certificate = nullptr;
  const std::string* issuer = nullptr;  // the issuer's name, folded
  bool isCa = false;                    // basicConstraints say so
  std::chrono::sys_seconds at{};
};

enum class RevocationState : uint8_t {
  good,  // CRLs vouch for it, for all reasons
  revoked,
  noCrl,         // there is no CRL of this issuer
  unknown,       // there are, but none that may vouch now: stale, of another scope, unusable
  notRevocable,  // noRevAvail (RFC 9608)
};

struct RevocationAnswer {
  RevocationState state = RevocationState::noCrl;
  std::optional<RevokedCertificate> entry = {};  // of what is revoked
};

/// Knows who may sign CRLs about a certificate: the issuer on the way, and other certificates of
/// that name under the same anchor.
class CrlSigners {
 public:
  virtual ~CrlSigners() = default;
  /// Whether one of them signed the CRL and may (cRLSign where keyUsage is there); counts what it
  /// costs to find out. `lists` says that it lists the certificate, for those who may revoke and
  /// not vouch. May throw std::bad_alloc.
  virtual bool haveSigned(const Crl& crl, bool lists) = 0;
};

/// Which certificates of its issuer a CRL is about (RFC 5280 §5.2.5), ready to be compared.
struct CrlScope {
  std::string value;  // of the extension; empty without one
  bool isNamed = false;
  std::vector<std::string> names;  // of the distribution point: keys of general names
  bool onlyUserCertificates = false;
  bool onlyCaCertificates = false;
  bool onlyAttributeCertificates = false;
  uint16_t reasons = 0;  // bits of RevocationReason
};

/// CRLs by the folded name of their issuer.
class CrlIndex {
 public:
  /// Equal octets count once, and a CRL whose issuer is malformed not at all. Throws
  /// std::bad_alloc.
  explicit CrlIndex(std::span<const Crl> crls);

  size_t size() const noexcept { return m_entries.size(); }

  /// RFC 5280 §6.3.3 without deltas and indirect CRLs, over the distribution points of the
  /// certificate and the names of its issuer. Of the CRLs of one scope that hold at the time, whose
  /// thisUpdate and nextUpdate both count, the newest that is signed decides; one that may not
  /// vouch revokes what it lists, and does nothing else, and so does one of another scope. A
  /// certificate is good when the reasons that CRLs vouch for are all there are. Linear in the CRLs
  /// of the issuer and in the names of their points, but for logarithms. Throws std::bad_alloc.
  RevocationAnswer judge(const RevocationQuestion& question, CrlSigners& signers) const;

  struct Entry {
    std::string issuer;  // folded
    CrlScope scope;
    // Of a CRL that never holds, because one of the two is not there or cannot be read, the first
    // is behind the second.
    std::chrono::sys_seconds thisUpdate;
    std::chrono::sys_seconds nextUpdate;
    Crl crl;
  };

 private:
  std::vector<Entry> m_entries;  // by issuer and scope; of these the newest first
};

}  // namespace velmora

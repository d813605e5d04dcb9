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

/// What CRLs are asked with about one certificate, read once; no option changes it.
class RevocationSubject {
 public:
  /// `issuer` is the issuer's name, folded; both outlive the subject. `isCa`: basicConstraints say
  /// so. Throws std::bad_alloc.
  RevocationSubject(const Certificate& certificate, const std::string& issuer, bool isCa);

  const std::string& issuer() const noexcept { return *m_issuer; }
  bool isCa() const noexcept { return m_isCa; }
  Bytes serial() const noexcept { return m_serial; }
  /// RFC 9608: neither a CA nor a certificate that says where revocation can be found.
  bool isNotRevocable() const noexcept { return m_isNotRevocable; }
  bool arePointsReadable() const noexcept { return m_arePointsReadable; }
  /// The reasons that CRLs from the point of that name are about (keyOf); 0 where the certificate
  /// does not name it.
  uint16_t reasonsAt(const std::string& name) const noexcept;

 private:
  struct PointName {
    std::string key;
    uint16_t reasons;
  };
  void readPoints(const Certificate& certificate);
  void addPoint(std::vector<std::string> keys, uint16_t reasons);
  void sortPoints();

  const std::string* m_issuer;
  bool m_isCa;
  Bytes m_serial;
  bool m_isNotRevocable;
  bool m_arePointsReadable = true;
  std::vector<PointName> m_points;  // by key, of which each is there once
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

/// Whether somebody signed a CRL who may. `unsettled`: it was not found out, because looking on
/// would cost too much.
enum class Signed : uint8_t { no, yes, unsettled };

/// Knows who may sign CRLs about a certificate: the issuer on the way, and other certificates of
/// that name under the same anchor.
class CrlSigners {
 public:
  virtual ~CrlSigners() = default;
  /// Whether one of them signed the CRL and may (cRLSign where keyUsage is there); counts what it
  /// costs to find out. `lists` says that it lists the certificate, for those who may revoke and
  /// not vouch. May throw std::bad_alloc.
  virtual Signed haveSigned(const Crl& crl, bool lists) = 0;
  /// Counts CRLs that are looked at; false when no more may be, and then nothing is good.
  virtual bool mayLook(uint64_t crls) = 0;
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
  /// certificate is good when the reasons that CRLs vouch for are all there are, and none lists it
  /// of which it is unsettled who signed it. Linear in the CRLs of the issuer and in the names of
  /// their points, but for logarithms. Throws std::bad_alloc.
  RevocationAnswer judge(const RevocationSubject& subject, std::chrono::sys_seconds at,
                         CrlSigners& signers) const;

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

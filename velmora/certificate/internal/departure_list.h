#pragma once

// What the parts of departures() collect into.

#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/block.h"

namespace velmora {

/// Collects departures part by part: a field, the extensions of one OID. Of each kind the first in
/// a part is kept, so that a certificate cannot have more of them than a small multiple of its
/// octets.
/// Adding throws std::bad_alloc.
class DepartureList {
 public:
  /// Starts another part, which is about the extension with that OID, whose octets outlive it.
  void beginPart(Bytes about = {}) noexcept {
    m_about = about;
    m_seen = 0;
    m_isCertain = true;
  }

  void add(DepartureCode code, size_t offset) { add(code, offset, m_about); }
  /// Of a value in a name: about its attribute type in a field, about the extension elsewhere.
  void addInName(DepartureCode code, size_t offset, Bytes type) {
    add(code, offset, m_about.empty() ? type : m_about);
  }

  /// Whether everything that was added to this part leaves it certain what the part says.
  bool isCertain() const noexcept { return m_isCertain; }

  /// All of them in the order of the offsets.
  std::vector<Departure> take() &&;

 private:
  void add(DepartureCode code, size_t offset, Bytes about);

  std::vector<Departure> m_found;
  Bytes m_about;
  uint64_t m_seen = 0;  // a bit for each code of this part
  bool m_isCertain = true;
};

/// A certificate whose departures are looked for.
struct ExaminedCertificate {
  const Certificate& certificate;
  const BlockRef& block;
  int version;  // 0 when it is none of 1 to 3

  Bytes der() const noexcept { return block->bytes(); }
  const CertificateIndex& index() const noexcept { return block->index(); }
};

// What finds them, topic by topic.

void examineFields(const ExaminedCertificate& examined, DepartureList& list);
void examineExtensions(const ExaminedCertificate& examined, DepartureList& list);

// What they say together.
void examineRules(const ExaminedCertificate& examined, DepartureList& list);

/// The RDNs and texts of a name (RFC 5280 §4.1.2.4), as part of what it stands in.
void examineName(Bytes name, size_t offset, DepartureList& list);

}  // namespace velmora

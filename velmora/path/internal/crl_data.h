#pragma once

// A CRL as it is kept: its octets, and where in them what is asked for stands, so that a list of
// millions is not turned into objects.

#include <vector>

#include "velmora/path/crl.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {

/// One member of a constructed element of a CRL.
struct CrlElement {
  Asn1Header header;
  Bytes whole;  // identifier, length and contents
  Bytes content;
  uint32_t offset = 0;  // of the identifier, from the start of the CRL
};

/// Gives the members of an element of DER that was checked, one after the other: each take names
/// the type that must come next and moves past it, or gives false and stays.
class CrlMembers {
 public:
  CrlMembers(Bytes bytes, uint32_t offset) noexcept
      : m_reader({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, offset) {}
  explicit CrlMembers(const CrlElement& parent) noexcept
      : CrlMembers(parent.content,
                   parent.offset + static_cast<uint32_t>(parent.header.headerSize)) {}

  bool atEnd() const noexcept { return m_reader.atEnd(); }
  uint32_t offset() const noexcept { return static_cast<uint32_t>(m_reader.offset()); }

  bool take(uint32_t universalTag, CrlElement& element) noexcept {
    Asn1Header next;
    return m_reader.peekHeader(next) && next.is(universalTag) && pass(element);
  }
  bool takeContext(uint32_t number, CrlElement& element) noexcept {
    Asn1Header next;
    return m_reader.peekHeader(next) && next.isContext(number) && next.constructed && pass(element);
  }

 private:
  bool pass(CrlElement& element) noexcept {
    element.offset = offset();
    std::span<const unsigned char> content;
    if (!m_reader.readElement(element.header, content)) return false;
    const size_t headerSize = element.header.headerSize;
    element.content = std::as_bytes(content);
    element.whole = std::as_bytes(
        std::span(content.data() - headerSize, headerSize + element.header.contentSize));
    return true;
  }

  DerReader m_reader;
};

/// A place in the index of a CRL's entries.
struct CrlEntryPlace {
  uint32_t mark;  // the last octets of the serial number, by which nearly all of them differ
  uint32_t at;    // where the entry starts
};

/// What is behind a Crl. All `Bytes` are of `der`.
struct CrlData {
  CrlData(Octets octets, Name name) : der(std::move(octets)), issuer(std::move(name)) {}

  Octets der;
  Name issuer;
  SignedParts parts;
  Bytes thisUpdate;  // identifier, length and contents; so is
  Bytes nextUpdate;  // which is empty where it is absent
  Bytes scope;       // the value of issuingDistributionPoint; empty where it is absent
  // By mark, then by number; in front of one number an entry that does not remove it, if there is
  // one, then as they stand.
  std::vector<CrlEntryPlace> entries;
  bool mayVouch = true;
};

/// The octets of a serial number without those in front that only repeat its sign.
Bytes shortestSerial(Bytes content) noexcept;

/// Its last four, those that are missing 0.
uint32_t markOfSerial(Bytes shortest) noexcept;

/// The shortest serial number of the entry at an offset.
Bytes serialAt(const CrlData& data, uint32_t at) noexcept;

RevokedCertificate readRevoked(const CrlElement& entry) noexcept;
RevokedCertificate readRevoked(const CrlData& data, uint32_t at) noexcept;

/// Whether an entry does nothing but remove a certificate from the list; one that cannot be read
/// lists it.
inline bool isRemoval(const RevokedCertificate& entry) noexcept {
  return entry.isReadable && entry.reason == CrlReason::removeFromCrl;
}

}  // namespace velmora

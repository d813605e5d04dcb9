#include <algorithm>
#include <limits>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/certificate/internal/extension_reader.h"

// The extensions on transparency logs, TLS and revocation (RFC 6962, RFC 7633, RFC 6960, RFC 9608).

namespace velmora {
namespace {

// Reads the presentation language of TLS (RFC 5246 §4) in the octets of an extension, whose reader
// keeps the fault.
class TlsReader {
 public:
  TlsReader(ExtensionReader& value, Bytes octets, size_t offset) noexcept
      : m_value(value), m_octets(octets), m_offset(offset) {}

  bool atEnd() const noexcept { return m_value.hasFault() || m_octets.empty(); }
  bool keeps() const noexcept { return m_value.keeps(); }
  size_t offset() const noexcept { return m_offset; }

  Bytes opaque(size_t size) noexcept {
    if (m_value.hasFault() || size > m_octets.size()) {
      m_value.refuse(m_offset);
      return {};
    }
    const Bytes taken = m_octets.first(size);
    m_octets = m_octets.subspan(size);
    m_offset += size;
    return taken;
  }

  uint64_t number(size_t octets) noexcept { return bigEndianNumber(opaque(octets)); }

  // A vector with two octets that count its octets.
  TlsReader vector() noexcept {
    const auto size = static_cast<size_t>(number(2));
    const size_t at = m_offset;
    return {m_value, opaque(size), at};
  }
  // The same <1..2^16-1>.
  TlsReader filledVector() noexcept {
    const size_t at = m_offset;
    const TlsReader content = vector();
    if (content.atEnd()) m_value.refuse(at);
    return content;
  }
  Octets octets() { return m_value.copyOf(vector().m_octets); }

  void refuse(size_t offset) noexcept { m_value.refuse(offset); }
  void end() noexcept {
    if (!atEnd()) refuse(m_offset);
  }

 private:
  ExtensionReader& m_value;
  Bytes m_octets;
  size_t m_offset;
};

// struct { Version sct_version; LogID id; uint64 timestamp; CtExtensions extensions;
//   digitally-signed struct { ... } } SignedCertificateTimestamp, without the version
// struct { HashAlgorithm hash; SignatureAlgorithm signature; opaque<0..2^16-1> } DigitallySigned
SignedTimestamp readTimestamp(TlsReader& reader) {
  SignedTimestamp stamp{};
  const Bytes id = reader.opaque(stamp.logId.size());
  std::copy(id.begin(), id.end(), stamp.logId.begin());
  const size_t timeAt = reader.offset();
  const uint64_t milliseconds = reader.number(8);
  if (milliseconds > uint64_t{std::numeric_limits<int64_t>::max()}) reader.refuse(timeAt);
  stamp.at += std::chrono::milliseconds(static_cast<int64_t>(milliseconds));
  stamp.extensions = reader.octets();
  stamp.hashAlgorithm = static_cast<uint8_t>(reader.number(1));
  stamp.signatureAlgorithm = static_cast<uint8_t>(reader.number(1));
  stamp.signature = reader.octets();
  reader.end();
  return stamp;
}

// opaque SerializedSCT<1..2^16-1>
// struct { SerializedSCT sct_list <1..2^16-1>; } SignedCertificateTimestampList
std::vector<SignedTimestamp> readTimestamps(TlsReader reader) {
  std::vector<SignedTimestamp> stamps;
  TlsReader list = reader.filledVector();
  reader.end();
  while (!list.atEnd()) {
    TlsReader serialized = list.filledVector();
    constexpr uint64_t kVersion1 = 0;
    if (serialized.number(1) != kVersion1) continue;
    SignedTimestamp stamp = readTimestamp(serialized);
    if (list.keeps()) stamps.push_back(std::move(stamp));
  }
  return stamps;
}

}  // namespace

// SignedCertificateTimestampList ::= OCTET STRING, which holds the list as TLS writes it
// (RFC 6962 §3.3).
std::vector<SignedTimestamp> readSignedTimestamps(ExtensionReader& value) {
  const Bytes list = value.octets();
  return readTimestamps({value, list, value.offset() - list.size()});
}

Result<std::vector<SignedTimestamp>> Certificate::signedTimestamps() const {
  return readExtension<std::vector<SignedTimestamp>>(m_block, ExtensionKind::signedTimestamps,
                                                     readSignedTimestamps);
}

// Features ::= SEQUENCE OF INTEGER, each the number of a TLS extension, which has 16 bits.
TlsFeatures readTlsFeatures(ExtensionReader& value) {
  const auto feature = [](ExtensionReader& list) {
    const size_t at = list.offset();
    const uint64_t number = list.unsignedInteger();
    if (number > std::numeric_limits<uint16_t>::max()) list.refuse(at);
    return static_cast<uint16_t>(number);
  };
  return {value.listOf<uint16_t>(kSequenceTag, feature)};
}

Result<TlsFeatures> Certificate::tlsFeatures() const {
  return readExtension<TlsFeatures>(m_block, ExtensionKind::tlsFeature, readTlsFeatures);
}

bool TlsFeatures::has(uint16_t feature) const noexcept {
  return std::find(features.begin(), features.end(), feature) != features.end();
}

// id-pkix-ocsp-nocheck: the value is NULL (RFC 6960 §4.2.2.2.1).
OcspNoCheck readOcspNoCheck(ExtensionReader& value) {
  value.null();
  return {};
}

Result<OcspNoCheck> Certificate::ocspNoCheck() const noexcept {
  return readExtension<OcspNoCheck>(m_block, ExtensionKind::ocspNoCheck, readOcspNoCheck);
}

// NoRevAvail ::= NULL (RFC 9608 §2).
NoRevocationAvailable readNoRevocationAvailable(ExtensionReader& value) {
  value.null();
  return {};
}

Result<NoRevocationAvailable> Certificate::noRevocationAvailable() const noexcept {
  return readExtension<NoRevocationAvailable>(m_block, ExtensionKind::noRevAvail,
                                              readNoRevocationAvailable);
}

}  // namespace velmora

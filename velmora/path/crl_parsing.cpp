#include <algorithm>
#include <new>

#include "velmora/certificate/der.h"
#include "velmora/path/internal/crl_data.h"
#include "velmora/path/internal/crl_extensions.h"
#include "velmora/path/internal/octet_order.h"

// CertificateList ::= SEQUENCE { tbsCertList TBSCertList, signatureAlgorithm AlgorithmIdentifier,
//   signatureValue BIT STRING }
// TBSCertList ::= SEQUENCE { version Version OPTIONAL, signature AlgorithmIdentifier, issuer Name,
//   thisUpdate Time, nextUpdate Time OPTIONAL,
//   revokedCertificates SEQUENCE OF SEQUENCE { ... } OPTIONAL,
//   crlExtensions [0] EXPLICIT Extensions OPTIONAL } (RFC 5280 §5.1)

namespace velmora {
namespace {

constexpr Oid kDeltaCrlIndicator{"2.5.29.27"}, kIssuingDistributionPoint{"2.5.29.28"};

bool takeTime(CrlMembers& members, CrlElement& time) noexcept {
  return members.take(asn1_tag::kUtcTime, time) || members.take(asn1_tag::kGeneralizedTime, time);
}

// What the fields of a CRL are found to be, before it is copied.
class CrlReader {
 public:
  explicit CrlReader(Bytes der) noexcept : m_der(der) {}

  // False for what is no CRL; the fault is then set.
  bool readOutside() noexcept {
    CrlMembers whole(m_der, 0);
    CrlElement list;
    if (!whole.take(asn1_tag::kSequence, list)) return refuse(whole);
    CrlMembers members(list);
    CrlElement element;
    if (!members.take(asn1_tag::kSequence, m_tbs)) return refuse(members);
    if (!takeAlgorithm(members, m_parts.outerAlgorithm)) return false;
    if (!members.take(asn1_tag::kBitString, element) || !members.atEnd()) return refuse(members);
    const Bytes bits = element.content;
    const bool isWhole = !bits.empty() && bits[0] == std::byte{0};
    m_parts.tbs = m_tbs.whole;
    m_parts.signature = isWhole ? bits.subspan(1) : Bytes();
    return readTbs();
  }

  const std::optional<Error>& fault() const noexcept { return m_fault; }
  Bytes issuer() const noexcept { return m_issuer.whole; }

  // The CRL, read from octets that are those of `data`. Throws std::bad_alloc.
  void complete(CrlData& data) {
    data.parts = m_parts;
    data.thisUpdate = m_thisUpdate.whole;
    data.nextUpdate = m_nextUpdate.whole;
    indexEntries(data);
    readExtensions(data);
  }

 private:
  bool refuse(const CrlMembers& members) noexcept {
    m_fault = Error::at(ErrorCode::malformedField, members.offset());
    return false;
  }

  // AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
  bool takeAlgorithm(CrlMembers& members, Bytes& algorithm) noexcept {
    CrlElement element;
    CrlElement oid;
    if (!members.take(asn1_tag::kSequence, element)) return refuse(members);
    algorithm = element.whole;
    CrlMembers inside(element);
    return inside.take(asn1_tag::kOid, oid) || refuse(inside);
  }

  bool readTbs() noexcept {
    CrlMembers members(m_tbs);
    if (!readVersion(members)) return false;
    if (!takeAlgorithm(members, m_parts.innerAlgorithm)) return false;
    if (!members.take(asn1_tag::kSequence, m_issuer)) return refuse(members);
    if (!takeTime(members, m_thisUpdate)) return refuse(members);
    takeTime(members, m_nextUpdate);
    members.take(asn1_tag::kSequence, m_revoked);
    members.takeContext(0, m_extensions);
    return members.atEnd() ? readEntries() : refuse(members);
  }

  // Version 1 is said by leaving it out, version 2 by 1; there is no other.
  bool readVersion(CrlMembers& members) noexcept {
    const CrlMembers before = members;
    CrlElement version;
    m_isVersion2 = members.take(asn1_tag::kInteger, version);
    const Bytes number = version.content;
    return !m_isVersion2 || (number.size() == 1 && number[0] == std::byte{1}) || refuse(before);
  }

  bool readEntries() noexcept {
    CrlElement entry;
    for (CrlMembers list(m_revoked); !list.atEnd(); ++m_count) {
      if (!list.take(asn1_tag::kSequence, entry)) return refuse(list);
      CrlMembers members(entry);
      CrlElement element;
      if (!members.take(asn1_tag::kInteger, element)) return refuse(members);
      if (!takeTime(members, element)) return refuse(members);
      const bool hasExtensions = members.take(asn1_tag::kSequence, element);
      if (!members.atEnd()) return refuse(members);
      if (hasExtensions && !m_isVersion2) m_mayVouch = false;
      const RevokedCertificate revoked = readRevoked(entry);
      // A removal makes sense beside a base alone (§5.3.1).
      m_hasRemovals = m_hasRemovals || isRemoval(revoked);
      if (!revoked.isReadable || isRemoval(revoked)) m_mayVouch = false;
    }
    return true;
  }

  void indexEntries(CrlData& data) const {
    data.entries.reserve(m_count);
    CrlElement entry;
    for (CrlMembers list(m_revoked); list.take(asn1_tag::kSequence, entry);) {
      CrlElement serial;
      CrlMembers(entry).take(asn1_tag::kInteger, serial);
      data.entries.push_back({markOfSerial(shortestSerial(serial.content)), entry.offset});
    }
    std::sort(data.entries.begin(), data.entries.end(),
              [&](const CrlEntryPlace& a, const CrlEntryPlace& b) {
                if (a.mark != b.mark) return a.mark < b.mark;
                const Bytes left = serialAt(data, a.at);
                const Bytes right = serialAt(data, b.at);
                const int order = compareOctets(left, right);
                return order != 0 ? order < 0 : a.at < b.at;
              });
    if (m_hasRemovals) putBackRemovals(data);
  }

  // Of the entries with one number, the first that does not remove it comes to the front.
  static void putBackRemovals(CrlData& data) {
    const auto end = data.entries.end();
    for (auto first = data.entries.begin(), last = first; first != end; first = last) {
      const Bytes serial = serialAt(data, first->at);
      last = std::find_if(first, end, [&](const CrlEntryPlace& each) {
        const Bytes other = serialAt(data, each.at);
        return !std::equal(serial.begin(), serial.end(), other.begin(), other.end());
      });
      const auto listed = std::find_if(first, last, [&](const CrlEntryPlace& each) {
        return !isRemoval(readRevoked(data, each.at));
      });
      if (listed != last) std::iter_swap(first, listed);
    }
  }

  // §5.2. Whatever cannot be read, or is critical and not processed here, forbids to rely on what
  // the CRL does not list.
  void readExtensions(CrlData& data) const {
    data.mayVouch = m_mayVouch;
    if (m_extensions.whole.empty()) return;
    CrlMembers tagged(m_extensions);
    CrlElement sequence;
    const bool isList = tagged.take(asn1_tag::kSequence, sequence) && tagged.atEnd();
    CrlMembers list(sequence);
    if (!isList || list.atEnd() || !m_isVersion2) data.mayVouch = false;
    for (CrlExtension extension; isList && !list.atEnd();) {
      if (!extension.read(list)) {
        data.mayVouch = false;
        return;
      }
      if (!understands(extension, data)) data.mayVouch = false;
    }
  }

  static bool understands(const CrlExtension& extension, CrlData& data) {
    if (extension.is(kDeltaCrlIndicator)) return false;
    if (!extension.is(kIssuingDistributionPoint)) return !extension.isCritical;
    if (!data.scope.empty()) return false;
    data.scope = extension.value;
    const Result<IssuingDistributionPoint> point = IssuingDistributionPoint::parse(data.scope);
    return point && !point->isIndirect;
  }

  Bytes m_der;
  CrlElement m_tbs;
  CrlElement m_issuer;
  CrlElement m_thisUpdate;
  CrlElement m_nextUpdate;
  CrlElement m_revoked;
  CrlElement m_extensions;
  SignedParts m_parts;
  size_t m_count = 0;
  bool m_isVersion2 = false;
  bool m_mayVouch = true;
  bool m_hasRemovals = false;
  std::optional<Error> m_fault;
};

}  // namespace

Result<Crl> Crl::parse(Bytes der) noexcept try {
  if (der.size() > kMaxTypedOctets) return Error{ErrorCode::tooLarge};
  if (const auto fault = derFault(der)) return *fault;
  Octets copy(der.begin(), der.end());
  CrlReader reader(copy);
  if (!reader.readOutside()) return *reader.fault();
  const Result<Name> issuer = Name::fromDer(reader.issuer());
  if (!issuer) return issuer.error();
  const auto data = std::make_shared<CrlData>(std::move(copy), *issuer);
  reader.complete(*data);
  return Crl(data);
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

}  // namespace velmora

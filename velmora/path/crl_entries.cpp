#include <algorithm>

#include "velmora/certificate/der.h"
#include "velmora/path/internal/crl_data.h"
#include "velmora/path/internal/crl_extensions.h"

// SEQUENCE { userCertificate CertificateSerialNumber, revocationDate Time,
//   crlEntryExtensions Extensions OPTIONAL } (RFC 5280 §5.1)

namespace velmora {
namespace {

constexpr Oid kReasonCode{"2.5.29.21"}, kInvalidityDate{"2.5.29.24"};

// CRLReason ::= ENUMERATED, whose 7 is not used (§5.3.1); to the letter, since what stands inside
// an OCTET STRING was not held against DER.
std::optional<CrlReason> readReason(Bytes value) noexcept {
  constexpr std::byte kEnumerated{asn1_tag::kEnumerated}, kOne{1};
  if (value.size() != 3 || value[0] != kEnumerated || value[1] != kOne) return std::nullopt;
  const auto number = std::to_integer<uint8_t>(value[2]);
  if (number > static_cast<uint8_t>(CrlReason::aaCompromise) || number == 7) return std::nullopt;
  return static_cast<CrlReason>(number);
}

// §5.3: the reason is understood, the date of invalidity changes nothing, and whatever else is
// critical, the issuer of a certificate in an indirect CRL above all, is not.
bool readEntryExtension(const CrlExtension& extension, RevokedCertificate& revoked) noexcept {
  if (extension.is(kReasonCode)) {
    const bool isRepeated = revoked.reason.has_value();
    revoked.reason = readReason(extension.value);
    return revoked.reason && !isRepeated;
  }
  return !extension.isCritical || (extension.is(kInvalidityDate) && readTime(extension.value));
}

}  // namespace

Bytes shortestSerial(Bytes content) noexcept {
  while (content.size() > 1 && !isShortestInteger(content)) content = content.subspan(1);
  return content;
}

uint32_t markOfSerial(Bytes shortest) noexcept {
  return static_cast<uint32_t>(
      bigEndianNumber(shortest.last(std::min<size_t>(shortest.size(), 4))));
}

Bytes serialAt(const CrlData& data, uint32_t at) noexcept {
  CrlElement entry;
  CrlElement serial;
  CrlMembers(Bytes(data.der).subspan(at), at).take(asn1_tag::kSequence, entry);
  CrlMembers(entry).take(asn1_tag::kInteger, serial);
  return shortestSerial(serial.content);
}

RevokedCertificate readRevoked(const CrlElement& entry) noexcept {
  RevokedCertificate revoked{};
  CrlMembers members(entry);
  CrlElement element;
  members.take(asn1_tag::kInteger, element);
  const bool hasDate = members.take(asn1_tag::kUtcTime, element) ||
                       members.take(asn1_tag::kGeneralizedTime, element);
  const auto date = hasDate ? readTime(element.whole) : std::nullopt;
  revoked.isReadable = date.has_value();
  revoked.at = date.value_or(std::chrono::sys_seconds());
  if (!members.take(asn1_tag::kSequence, element)) return revoked;
  CrlMembers list(element);
  if (list.atEnd()) revoked.isReadable = false;
  for (CrlExtension extension; revoked.isReadable && !list.atEnd();) {
    revoked.isReadable = extension.read(list) && readEntryExtension(extension, revoked);
  }
  return revoked;
}

RevokedCertificate readRevoked(const CrlData& data, uint32_t at) noexcept {
  CrlElement entry;
  CrlMembers(Bytes(data.der).subspan(at), at).take(asn1_tag::kSequence, entry);
  return readRevoked(entry);
}

}  // namespace velmora

#include "velmora/certificate/certificate.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_maker.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/hash/sip_hash.h"
#include "velmora/support/text/byte_codecs.h"

namespace velmora {
namespace {

constexpr size_t kShortHeader = 2;  // of an element whose contents are below 128 octets

template <class Digest>
void digestInto(Bytes octets, std::byte* digest) noexcept {
  Digest hash;
  hash.update(octets.data(), octets.size());
  hash.finish(reinterpret_cast<unsigned char*>(digest));
}

// Whether the extension has these contents of an Oid, which are none for an empty one.
bool hasId(Bytes der, const ExtensionEntry& entry, Bytes id) noexcept {
  if (entry.idSize != id.size() || id.empty()) return false;
  return sameOctets(der.subspan(entry.id + kShortHeader, id.size()), id);
}

Extension extensionOf(Bytes der, const ExtensionEntry& entry) noexcept {
  const Bytes id = contentAt(der, entry.id);
  return {Oid::fromDer(id), entry.critical, contentAt(der, entry.value), id, entry.at};
}

Extension listedExtensionOf(Bytes der, const ExtensionEntry& entry) noexcept {
  const Bytes id = entry.id != 0 ? contentAt(der, entry.id) : Bytes();
  const bool hasValue = entry.value != 0;
  const Bytes value = hasValue ? contentAt(der, entry.value) : Bytes();
  return {Oid::fromDer(id), entry.critical, value, id, entry.at, entry.isWellFormed, hasValue};
}

// The INTEGER of version [0] EXPLICIT, which may be of any value.
Result<Asn1Element> versionNumber(Bytes der, uint32_t at) noexcept {
  Asn1Element field;
  Asn1Element number;
  DerReader(der.subspan(at), at).takeAny(field);
  if (!field.header.constructed) return Error::at(ErrorCode::malformedField, at);
  DerReader members(field);
  const bool isThere = members.take(asn1_tag::kInteger, number);
  if (!isThere || !members.atEnd()) return Error::at(ErrorCode::malformedField, members.offset());
  return number;
}

Bytes versionOctets(Bytes der, uint32_t at) noexcept {
  if (at == 0) return {};
  const Result<Asn1Element> number = versionNumber(der, at);
  return number ? number->content : Bytes();
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }
DerReader datesOf(const BlockRef& block) noexcept {
  const uint32_t at = block->index().validity;
  Asn1Element period;
  DerReader(block.bytes().subspan(at), at).takeAny(period);
  return DerReader(period);
}

// The date that comes next.
Result<std::chrono::sys_seconds> momentOf(DerReader dates) noexcept {
  Asn1Element date;
  dates.takeAny(date);
  const std::optional<std::chrono::sys_seconds> time = readTime(date.whole);
  if (!time) return Error::at(ErrorCode::malformedDate, date.offset);
  return *time;
}

}  // namespace

Parts Certificate::parts() const& noexcept {
  const Bytes der = m_block.bytes();
  const CertificateIndex& index = m_block->index();
  Bytes signature = contentAt(der, index.signature);
  const bool wholeOctets = !signature.empty() && signature[0] == std::byte{0};
  signature = wholeOctets ? signature.subspan(1) : Bytes();
  return {der,
          elementAt(der, index.tbs),
          versionOctets(der, index.version),
          contentAt(der, index.serial),
          elementAt(der, index.issuer),
          elementAt(der, index.validity),
          elementAt(der, index.subject),
          elementAt(der, index.spki),
          elementAt(der, index.innerAlgorithm),
          elementAt(der, index.outerAlgorithm),
          signature};
}

// Version ::= INTEGER { v1(0), v2(1), v3(2) }
Result<int> Certificate::version() const noexcept {
  const uint32_t at = m_block->index().version;
  if (at == 0) return 1;
  const Result<Asn1Element> number = versionNumber(m_block.bytes(), at);
  if (!number) return number.error();
  const Bytes content = number->content;
  if (!isShortestInteger(content)) return Error::at(ErrorCode::malformedField, number->offset);
  const bool fits = content.size() <= sizeof(int);
  const int64_t version = fits ? integerValue(content) + 1 : 0;
  if (!fits || version > std::numeric_limits<int>::max()) {
    return Error::at(ErrorCode::tooLarge, number->offset);
  }
  return static_cast<int>(version);
}

std::string Certificate::serialHex() const {
  const Bytes serial = contentAt(m_block.bytes(), m_block->index().serial);
  std::string digits(2 * serial.size(), '0');
  hexEncodeUpper(octetsOf(serial).data(), serial.size(), digits.data());
  return digits;
}

Oid Certificate::signatureAlgorithm() const noexcept {
  Asn1Element oid;
  const Bytes content = contentAt(m_block.bytes(), m_block->index().outerAlgorithm);
  DerReader(content, 0).take(asn1_tag::kOid, oid);
  return Oid::fromDer(oid.content);
}

Name Certificate::subject() const noexcept {
  return NameMaker::make(m_block, m_block->index().subject);
}

Name Certificate::issuer() const noexcept {
  return NameMaker::make(m_block, m_block->index().issuer);
}

bool Certificate::isSelfIssued() const noexcept {
  const Name ours = subject();
  return !ours.isEmpty() && ours.matches(issuer());
}

Result<Validity> Certificate::validity() const noexcept {
  const Result<std::chrono::sys_seconds> from = notBefore();
  if (!from) return from.error();
  return notAfter().transform([&](std::chrono::sys_seconds until) {
    return Validity{*from, until};
  });
}

Result<std::chrono::sys_seconds> Certificate::notBefore() const noexcept {
  return momentOf(datesOf(m_block));
}

Result<std::chrono::sys_seconds> Certificate::notAfter() const noexcept {
  Asn1Element first;
  DerReader dates = datesOf(m_block);
  dates.takeAny(first);
  return momentOf(dates);
}

Octets Certificate::fingerprint(Hash hash) const {
  Octets digest(digestSize(hash));
  writeDigest(hash, m_block.bytes(), digest.data());
  return digest;
}

Octets Certificate::spkiPin(Hash hash) const {
  Octets digest(digestSize(hash));
  writeDigest(hash, parts().spki, digest.data());
  return digest;
}

std::vector<Extension> Certificate::extensions() const& {
  std::vector<Extension> extensions;
  extensions.reserve(m_block->extensions().size());
  for (const ExtensionEntry& entry : m_block->extensions()) {
    if (entry.isWellFormed) extensions.push_back(extensionOf(m_block.bytes(), entry));
  }
  return extensions;
}

std::vector<Oid> Certificate::criticalExtensions() const {
  const auto isCritical = [](const ExtensionEntry& entry) {
    return entry.isWellFormed && entry.critical;
  };
  const std::span<const ExtensionEntry> entries = m_block->extensions();
  std::vector<Oid> critical;
  critical.reserve(static_cast<size_t>(std::count_if(entries.begin(), entries.end(), isCritical)));
  for (const ExtensionEntry& entry : entries) {
    if (!isCritical(entry)) continue;
    critical.push_back(Oid::fromDer(contentAt(m_block.bytes(), entry.id)));
  }
  return critical;
}

std::vector<Extension> Certificate::listedExtensions() const& {
  std::vector<Extension> extensions;
  extensions.reserve(m_block->extensions().size());
  for (const ExtensionEntry& entry : m_block->extensions()) {
    extensions.push_back(listedExtensionOf(m_block.bytes(), entry));
  }
  return extensions;
}

Result<Extension> Certificate::extension(const Oid& id) const& noexcept {
  const Bytes der = m_block.bytes();
  const auto found = findExtension(
      *m_block, [&](const ExtensionEntry& entry) { return hasId(der, entry, id.der()); });
  if (!found) return found.error();
  return extensionOf(der, **found);
}

void Certificate::writeDigest(Hash hash, Bytes octets, std::byte* digest) noexcept {
  switch (hash) {
    case Hash::sha1:
      return digestInto<Sha1Digest>(octets, digest);
    case Hash::sha256:
      return digestInto<Sha256Digest>(octets, digest);
    case Hash::sha384:
      return digestInto<Sha384Digest>(octets, digest);
    case Hash::sha512:
      return digestInto<Sha512Digest>(octets, digest);
  }
}

bool operator==(const Certificate& a, const Certificate& b) noexcept {
  return a.der().data() == b.der().data() || sameOctets(a.der(), b.der());
}

std::strong_ordering operator<=>(const Certificate& a, const Certificate& b) noexcept {
  const Bytes left = a.der();
  const Bytes right = b.der();
  // Mostly one certificate, which may be large, is looked for in a table that holds it.
  if (left.data() == right.data()) return std::strong_ordering::equal;
  const int order = std::memcmp(left.data(), right.data(), std::min(left.size(), right.size()));
  return order != 0 ? order <=> 0 : left.size() <=> right.size();
}

}  // namespace velmora

size_t std::hash<velmora::Certificate>::operator()(
    const velmora::Certificate& certificate) const noexcept {
  static const velmora::SipHash keyed = velmora::SipHash::withSecretKey();
  return static_cast<size_t>(keyed(certificate.der()));
}

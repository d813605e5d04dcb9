#include "tools/reading/known_certificate.h"

#include <algorithm>
#include <string_view>

#include "velmora/support/asn1/oids.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// How many extensions of a kind are named, however many there are.
constexpr size_t kMostNamed = 8;

// The extensions of RFC 5280 §4.2 that change nothing about whether a signature may be trusted.
constexpr Oid kKnownExtensions[] = {
    oid::keyUsage,       oid::basicConstraints,       oid::subjectKeyIdentifier,
    oid::subjectAltName, oid::authorityKeyIdentifier, oid::issuerAltName,
    oid::extKeyUsage,    oid::crlDistributionPoints,  oid::certificatePolicies,
    oid::freshestCrl};

// Those that RFC 5280 §6 would have evaluated.
constexpr Oid kConstraints[] = {oid::nameConstraints, oid::policyMappings, oid::policyConstraints,
                                oid::inhibitAnyPolicy};

template <size_t kCount>
bool contains(const Oid (&list)[kCount], const Oid& oid) {
  return std::find(std::begin(list), std::end(list), oid) != std::end(list);
}

std::string_view viewOf(Bytes octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

void appendPart(std::string_view part, std::string& key) {
  key += std::to_string(part.size());
  key += ':';
  key += part;
}

// PrintableString, UTF8String and IA5String are compared by their text, since issuers write one
// name in more than one of them. Of every other type the element as it stands is compared.
std::string nameKey(const Name& name) {
  std::string key;
  const Result<std::vector<Attribute>> attributes = name.attributes();
  if (!attributes) return key;
  for (const Attribute& attribute : *attributes) {
    const TextKind kind = attribute.kind;
    const bool isText =
        kind == TextKind::utf8 || kind == TextKind::printable || kind == TextKind::ia5;
    key += std::to_string(attribute.rdn);
    key += ' ';
    appendPart(viewOf(attribute.rawType), key);
    key += isText ? 't' : 'x';
    appendPart(isText ? attribute.text : viewOf(attribute.der), key);
  }
  return key;
}

// `oid` are content octets, empty for none.
void nameExtension(Bytes oid, std::vector<std::string>& list) {
  StringBuffer dotted;
  if (list.size() == kMostNamed) return;
  oidToDotted(octetsOf(oid), dotted);
  list.emplace_back(whole(dotted).view());
}

void readExtensions(KnownCertificate& known) {
  std::set<std::string_view> met;
  std::set<Oid> critical;
  for (const Extension& extension : known.certificate.extensions()) {
    if (!met.insert(viewOf(extension.rawId)).second) known.repeatsExtension = true;
    if (extension.critical) critical.insert(extension.id);
    if (contains(kConstraints, extension.id)) {
      nameExtension(extension.rawId, known.uncheckedConstraints);
    } else if (extension.critical && !contains(kKnownExtensions, extension.id)) {
      nameExtension(extension.rawId, known.unknownCritical);
    }
  }
  // Those that are critical and malformed are not among them.
  for (const Oid& oid : known.certificate.unknownCriticalExtensions()) {
    if (!critical.contains(oid)) nameExtension(oid.der(), known.unknownCritical);
  }
}

void readNames(KnownCertificate& known) {
  LogNull log;
  XString subject;
  const Certificate& certificate = known.certificate;
  known.loaded.get().getDN(true, true, subject, log, 0);
  known.subject = whole(subject).view();
  known.subjectKey = nameKey(certificate.subject());
  known.issuerKey = nameKey(certificate.issuer());
  // The library compares values alone: to it CN=a and O=a are one name. But what it does not take
  // for self-issued, such as what it had no memory for, it does not take for a root either.
  known.selfIssued = known.subjectKey == known.issuerKey && known.loaded.get().isIssuerSelf(log);
  known.subjectKeyIdentifier = viewOf(certificate.subjectKeyId().value_or(Bytes()));
  if (const Result<AuthorityKeyId> authority = certificate.authorityKeyId()) {
    known.authorityKeyIdentifier = viewOf(authority->keyId.value_or(Bytes()));
  }
}

const char* readAll(const InputCertificate& input, KnownCertificate& known) {
  if (const char* reason = known.loaded.load(input.der)) return reason;
  StringBuffer place;
  appendPlace(input, place);
  known.source = input.source;
  known.index = input.index;
  known.place = whole(place).view();
  readNames(known);
  readExtensions(known);
  return nullptr;
}

}  // namespace

void CertificateIndex::add(const KnownCertificate& certificate) {
  if (!m_all.insert(&certificate).second || certificate.subjectKey.empty()) return;
  SameName& same = m_bySubject[certificate.subjectKey];
  same.all.push_back(&certificate);
  same.byKeyIdentifier[certificate.subjectKeyIdentifier].push_back(&certificate);
}

bool CertificateIndex::hasIssuerNameOf(const KnownCertificate& certificate) const {
  return m_bySubject.contains(certificate.issuerKey);
}

Certificates CertificateIndex::issuersOf(const KnownCertificate& certificate, size_t most) const {
  Certificates found;
  const auto append = [&](const Certificates& matching) {
    const size_t count = std::min(matching.size(), most - found.size());
    found.insert(found.end(), matching.begin(), matching.begin() + static_cast<ptrdiff_t>(count));
  };
  const auto same = m_bySubject.find(certificate.issuerKey);
  if (same == m_bySubject.end()) return found;
  const std::string& wanted = certificate.authorityKeyIdentifier;
  if (wanted.empty()) {
    append(same->second.all);
    return found;
  }
  for (const std::string& identifier : {wanted, std::string()}) {
    const auto matching = same->second.byKeyIdentifier.find(identifier);
    if (matching != same->second.byKeyIdentifier.end()) append(matching->second);
  }
  return found;
}

const KnownCertificate* CertificatePool::add(const InputCertificate& input, const char*& reason) {
  std::array<unsigned char, 32> digest;
  Sha256Digest hash;
  hash.update(input.der.data(), input.der.size());
  hash.finish(digest.data());
  const KnownCertificate*& known = m_byDigest[digest];
  if (known != nullptr) return known;
  KnownCertificate& added = m_certificates.emplace_back(input.certificate);
  reason = readAll(input, added);
  if (reason != nullptr) {
    m_certificates.pop_back();
    return nullptr;
  }
  m_index.add(added);
  known = &added;
  return known;
}

}  // namespace velmora::tool

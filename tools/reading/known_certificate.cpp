#include "tools/reading/known_certificate.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "tools/reading/certificate_facts.h"
#include "tools/reading/name_key.h"
#include "tools/reading/whole.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kBasicConstraints = "2.5.29.19";
constexpr std::string_view kKeyUsage = "2.5.29.15";

// How many extensions of a kind are named, however many there are.
constexpr size_t kMostNamed = 8;

// The extensions of RFC 5280 §4.2 that change nothing about whether a signature may be trusted.
constexpr std::string_view kKnownExtensions[] = {
    kKeyUsage,       kBasicConstraints, kSubjectKeyIdentifier, kAuthorityKeyIdentifier,
    kSubjectAltName, "2.5.29.18",       "2.5.29.31",           "2.5.29.32",
    "2.5.29.37",     "2.5.29.46"};

// Those that RFC 5280 §6 would have evaluated: nameConstraints, policyMappings, policyConstraints,
// inhibitAnyPolicy.
constexpr std::string_view kConstraints[] = {"2.5.29.30", "2.5.29.33", "2.5.29.36", "2.5.29.54"};

template <size_t kCount>
bool contains(const std::string_view (&list)[kCount], std::string_view oid) {
  return std::find(std::begin(list), std::end(list), oid) != std::end(list);
}

std::string_view viewOf(const DataBuffer& octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

void xmlOf(const ClsXml& at, StringBuffer& xml) {
  LogNull log;
  if (!at.getXml(true, xml, log)) throw std::bad_alloc();
  whole(xml);
}

bool sameXml(const ClsXml& a, const ClsXml& b) {
  StringBuffer textOfA;
  StringBuffer textOfB;
  xmlOf(a, textOfA);
  xmlOf(b, textOfB);
  return textOfA.equals(textOfB);
}

// INTEGER (0..MAX) in hexadecimal; what fits no 60 bits is as good as no limit.
std::optional<uint64_t> readLength(std::string_view digits) {
  if (digits.empty() || digits.front() >= '8') return std::nullopt;
  if (digits.size() >= 16) return UINT64_MAX;
  uint64_t value = 0;
  const char* const end = digits.data() + digits.size();
  if (std::from_chars(digits.data(), end, value, 16).ptr != end) return std::nullopt;
  return value;
}

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
std::optional<KnownCertificate::BasicConstraints> readBasicConstraints(const XmlHandle& at) {
  KnownCertificate::BasicConstraints constraints;
  if (!at || !at->tagEquals("sequence")) return std::nullopt;
  bool wellFormed = true;
  bool first = true;
  eachChild(*at, [&] {
    if (first && at->tagEquals("bool")) {
      constraints.isCa = !at->contentEquals("00");
    } else if (at->tagEquals("int") && !constraints.pathLength) {
      constraints.pathLength = readLength(at->contentView());
      wellFormed = wellFormed && constraints.pathLength.has_value();
    } else {
      wellFormed = false;
    }
    first = false;
  });
  return wellFormed ? std::optional(constraints) : std::nullopt;
}

// KeyUsage ::= BIT STRING { digitalSignature (0), ..., keyCertSign (5), ... }
std::optional<bool> readKeyCertSign(const XmlHandle& at) {
  constexpr unsigned kKeyCertSign = 0x80U >> 5;
  DataBuffer bits;
  if (!at || !at->tagEquals("bits") || !bits.appendEncoded(at->contentView(), "hex")) {
    return std::nullopt;
  }
  return !bits.empty() && (bits.span().front() & kKeyCertSign) != 0;
}

void nameExtension(std::string_view oid, std::vector<std::string>& list) {
  if (list.size() < kMostNamed) list.emplace_back(oid);
}

void readExtensions(const CertificateTree& tree, KnownCertificate& known) {
  std::set<std::string_view> met;
  for (const ListedExtension& extension : tree.extensions()) {
    const std::string_view oid = extension.oid;
    if (!met.insert(oid).second) known.repeatsExtension = true;
    if (contains(kConstraints, oid)) {
      nameExtension(oid, known.uncheckedConstraints);
    } else if (extension.critical && !contains(kKnownExtensions, oid)) {
      nameExtension(oid, known.unknownCritical);
    }
  }
  known.basicConstraints = {met.contains(kBasicConstraints),
                            readBasicConstraints(tree.extension(kBasicConstraints))};
  known.mayCertify = {met.contains(kKeyUsage), readKeyCertSign(tree.extension(kKeyUsage))};
}

void readKey(const CertificateTree& tree, KnownCertificate& known) {
  const XmlHandle key = tree.publicKey();
  known.key = describeKey(*key);
  known.keyAlgorithm.reset(key->getChildWithTagUtf8("sequence"));
}

void readNames(const CertificateTree& tree, KnownCertificate& known) {
  LogNull log;
  XString subject;
  known.loaded.get().getDN(true, true, subject, log, 0);
  known.subject = whole(subject).view();
  known.subjectKey = nameKey(*tree.subject());
  known.issuerKey = nameKey(*tree.issuer());
  // The library compares values alone: to it CN=a and O=a are one name. But what it does not take
  // for self-issued, such as what it had no memory for, it does not take for a root either.
  known.selfIssued = known.subjectKey == known.issuerKey && known.loaded.get().isIssuerSelf(log);
  DataBuffer octets;
  readKeyIdentifier(tree, KeyIdentifier::kSubject, octets);
  known.subjectKeyIdentifier = viewOf(octets);
  readKeyIdentifier(tree, KeyIdentifier::kAuthority, octets);
  known.authorityKeyIdentifier = viewOf(octets);
}

const char* readAll(const InputCertificate& input, KnownCertificate& known) {
  CertificateTree tree;
  if (const char* reason = known.loaded.load(input.der)) return reason;
  if (const char* reason = tree.load(input.der)) return reason;
  StringBuffer place;
  appendPlace(input, place);
  known.source = input.source;
  known.index = input.index;
  known.place = whole(place).view();
  LogNull log;
  XString version;
  readVersion(known.loaded.get(), version, log);
  known.isVersion3 = whole(version).view() == "3";
  known.outerAlgorithm = tree.outerAlgorithm();
  known.sameAlgorithms = sameXml(*tree.innerAlgorithm(), *known.outerAlgorithm);
  readNames(tree, known);
  readKey(tree, known);
  readExtensions(tree, known);
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
  DataBuffer digest;
  sha256(input.der, digest);
  const KnownCertificate*& known = m_byDigest[std::string(viewOf(whole(digest)))];
  if (known != nullptr) return known;
  KnownCertificate& added = m_certificates.emplace_back();
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

#include "tools/known_certificate.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

#include "tools/certificate_facts.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kBasicConstraints = "2.5.29.19";
constexpr std::string_view kKeyUsage = "2.5.29.15";

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

void appendPart(std::string_view part, std::string& key) {
  key += std::to_string(part.size());
  key += ':';
  key += part;
}

// The three string types of which all new certificates are made are compared by their text, since
// issuers write one name now with the one and now with the other; of every other type the element
// as it stands is compared.
void appendValue(const ClsXml& value, std::string& key) {
  const bool isText =
      value.tagEquals("printable") || value.tagEquals("utf8") || value.tagEquals("ia5");
  StringBuffer xml;
  LogNull log;
  if (!isText) value.getXml(true, xml, log);
  key += isText ? 't' : 'x';
  appendPart(isText ? value.contentView() : xml.view(), key);
}

std::string keyOfName(const XmlHandle& name) {
  std::string key;
  if (!name) return key;
  const bool wellFormed = eachAttribute(*name, [&](size_t rdn, std::string_view oid) {
    key += std::to_string(rdn);
    key += ' ';
    appendPart(oid, key);
    appendValue(*name, key);
  });
  if (!wellFormed) key.clear();
  return key;
}

bool sameXml(const XmlHandle& a, const XmlHandle& b) {
  StringBuffer textOfA;
  StringBuffer textOfB;
  LogNull log;
  return a && b && a->getXml(true, textOfA, log) && b->getXml(true, textOfB, log) &&
         textOfA.equals(textOfB);
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
  eachChild(*at, [&] {
    if (at->tagEquals("bool")) {
      constraints.isCa = !at->contentEquals("00");
    } else if (at->tagEquals("int") && !constraints.pathLength) {
      constraints.pathLength = readLength(at->contentView());
      wellFormed = wellFormed && constraints.pathLength.has_value();
    } else {
      wellFormed = false;
    }
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

void readExtensions(const CertificateTree& tree, KnownCertificate& known) {
  std::unordered_set<std::string_view> met;
  for (const ListedExtension& extension : tree.extensions()) {
    const std::string_view oid = extension.oid;
    if (!met.insert(oid).second) known.repeatsExtension = true;
    if (!extension.critical || contains(kKnownExtensions, oid)) continue;
    auto& list = contains(kConstraints, oid) ? known.uncheckedConstraints : known.unknownCritical;
    list.emplace_back(oid);
  }
  known.basicConstraints = {met.contains(kBasicConstraints),
                            readBasicConstraints(tree.extension(kBasicConstraints))};
  known.mayCertify = {met.contains(kKeyUsage), readKeyCertSign(tree.extension(kKeyUsage))};
}

void readKey(const CertificateTree& tree, KnownCertificate& known) {
  const XmlHandle key = tree.publicKey();
  if (!key) return;
  known.key = describeKey(*key);
  known.keyAlgorithm.reset(key->getChildWithTagUtf8("sequence"));
}

void readNames(const CertificateTree& tree, KnownCertificate& known) {
  LogNull log;
  XString subject;
  known.loaded.get().getDN(true, true, subject, log, 0);
  known.subject = subject.view();
  known.subjectKey = keyOfName(tree.subject());
  known.issuerKey = keyOfName(tree.issuer());
  known.selfIssued = known.loaded.get().isIssuerSelf(log);
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
  known.place = place.view();
  LogNull log;
  XString version;
  readVersion(known.loaded.get(), version, log);
  known.isVersion3 = version.view() == "3";
  known.outerAlgorithm = tree.outerAlgorithm();
  known.sameAlgorithms = sameXml(tree.innerAlgorithm(), known.outerAlgorithm);
  readNames(tree, known);
  readKey(tree, known);
  readExtensions(tree, known);
  return nullptr;
}

}  // namespace

const KnownCertificate* CertificatePool::add(const InputCertificate& input, const char*& reason) {
  DataBuffer digest;
  sha256(input.der, digest);
  const KnownCertificate*& known = m_byDigest[std::string(viewOf(digest))];
  if (known != nullptr) return known;
  KnownCertificate& added = m_certificates.emplace_back();
  reason = readAll(input, added);
  if (reason != nullptr) {
    m_certificates.pop_back();
    return nullptr;
  }
  known = &added;
  if (!added.subjectKey.empty()) m_bySubject[added.subjectKey].push_back(known);
  return known;
}

const std::vector<const KnownCertificate*>& CertificatePool::withSubject(
    const std::string& subjectKey) const {
  const auto found = m_bySubject.find(subjectKey);
  return found == m_bySubject.end() ? m_none : found->second;
}

}  // namespace velmora::tool

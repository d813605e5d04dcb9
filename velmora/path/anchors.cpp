#include "velmora/path/anchors.h"

#include <algorithm>
#include <new>
#include <tuple>

#include "velmora/path/internal/general_name_key.h"
#include "velmora/path/internal/indexes.h"
#include "velmora/path/internal/octet_order.h"
#include "velmora/support/hash/vm_hash.h"

namespace velmora {
namespace {

Sha256 digestOf(Bytes octets) noexcept {
  Sha256 digest;
  _vmHash::hashTo(octets.data(), octets.size(), _vmHash::kSha256,
                  reinterpret_cast<unsigned char*>(digest.data()));
  return digest;
}

struct NameText {
  template <class Text>
  std::string operator()(const Text& name) const {
    return keyOf(name).value_or("");
  }
  std::string operator()(const IpRange& range) const { return '/' + range.text(); }
  std::string operator()(const RawName& raw) const {
    return std::string(reinterpret_cast<const char*>(raw.der.data()), raw.der.size());
  }
};

std::vector<std::string> textsOf(const std::vector<GeneralName>& names) {
  std::vector<std::string> texts;
  texts.reserve(names.size());
  for (const GeneralName& name : names) texts.push_back(std::visit(NameText(), name));
  return texts;
}

// What orders constraints by their content.
auto termsOf(const AnchorConstraints& constraints) {
  const NameConstraints names = constraints.names.value_or(NameConstraints());
  return std::tuple(constraints.pathLength, constraints.names.has_value(), textsOf(names.permitted),
                    textsOf(names.excluded), constraints.purposes.has_value(),
                    constraints.purposes.value_or(ExtendedKeyUsage()).purposes);
}

// Certificates by their octets, before anchors by name, key and constraints. Throws std::bad_alloc.
int compareAnchors(const TrustAnchor& a, const TrustAnchor& b) {
  const bool isCertificate = a.certificate().has_value();
  if (isCertificate != b.certificate().has_value()) return isCertificate ? -1 : 1;
  if (isCertificate) return compareOctets(a.certificate()->der(), b.certificate()->der());
  const Name ourName = a.name();
  const Name theirName = b.name();
  const int byName = compareOctets(ourName.der(), theirName.der());
  if (byName != 0) return byName;
  if (const int byKey = compareOctets(a.key(), b.key()); byKey != 0) return byKey;
  const auto ours = termsOf(*a.constraints());
  const auto theirs = termsOf(*b.constraints());
  return ours < theirs ? -1 : theirs < ours ? 1 : 0;
}

// Those of `all` between two ends of equal names.
template <class Entry, class NameOf>
std::span<const Entry* const> rangeOf(const std::vector<const Entry*>& all, std::string_view name,
                                      NameOf nameOf) noexcept {
  const auto first = std::lower_bound(
      all.begin(), all.end(), name,
      [&](const Entry* entry, std::string_view wanted) { return nameOf(*entry) < wanted; });
  const auto last = std::upper_bound(
      first, all.end(), name,
      [&](std::string_view wanted, const Entry* entry) { return wanted < nameOf(*entry); });
  return std::span(all).subspan(static_cast<size_t>(first - all.begin()),
                                static_cast<size_t>(last - first));
}

// Those with a name, sorted by it; of one name in the order in which they stand, without the buffer
// of std::stable_sort, which tells nobody when there is no memory for it.
template <class Entry, class NameOf>
std::vector<const Entry*> sortedByName(const std::vector<Entry>& entries, NameOf nameOf) {
  std::vector<const Entry*> sorted;
  sorted.reserve(entries.size());
  for (const Entry& entry : entries) {
    if (!nameOf(entry).empty()) sorted.push_back(&entry);
  }
  std::sort(sorted.begin(), sorted.end(), [&](const Entry* a, const Entry* b) {
    const int order = nameOf(*a).compare(nameOf(*b));
    return order != 0 ? order < 0 : a < b;
  });
  return sorted;
}

std::string_view subjectOf(const IndexedCertificate& certificate) noexcept {
  return certificate.facts.subject ? std::string_view(*certificate.facts.subject) : "";
}

std::string_view nameOfAnchor(const IndexedAnchor& anchor) noexcept {
  return anchor.name;
}

}  // namespace

TrustAnchor::TrustAnchor(Certificate certificate) noexcept
    : m_certificate(std::move(certificate)) {}

TrustAnchor::TrustAnchor(Name name, Octets key, AnchorConstraints constraints)
    : m_name(std::move(name)),
      m_key(std::make_shared<const Octets>(std::move(key))),
      m_constraints(std::make_shared<const AnchorConstraints>(std::move(constraints))) {}

Result<TrustAnchor> TrustAnchor::make(const Name& name, Bytes subjectPublicKeyInfo,
                                      AnchorConstraints constraints) noexcept try {
  const std::optional<std::string> folded = name.folded();
  if (!folded || folded->empty()) return Error{ErrorCode::malformedName};
  if (!IssuerKey::isUsable(subjectPublicKeyInfo)) return Error{ErrorCode::malformedKey};
  return TrustAnchor(name, Octets(subjectPublicKeyInfo.begin(), subjectPublicKeyInfo.end()),
                     std::move(constraints));
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

Name TrustAnchor::name() const noexcept {
  return m_certificate ? m_certificate->subject() : *m_name;
}

Bytes TrustAnchor::key() const& noexcept {
  return m_certificate ? m_certificate->parts().spki : Bytes(*m_key);
}

IndexedAnchor::IndexedAnchor(const TrustAnchor& of)
    : anchor(of), spki(of.key()), name(of.name().folded().value_or("")), keyDigest(digestOf(spki)) {
  if (of.certificate()) {
    facts.emplace(*anchor.certificate());
    if (facts->key) key = *facts->key;
    if (facts->basicConstraints) pathLength = facts->basicConstraints->pathLength;
    if (facts->extendedKeyUsage) purposes = *facts->extendedKeyUsage;
    constraints = facts->constraints;
    return;
  }
  if (const Result<PublicKey> described = PublicKey::parse(spki)) key = *described;
  const AnchorConstraints& given = *of.constraints();
  pathLength = given.pathLength;
  purposes = given.purposes;
  if (given.names) constraints = std::make_shared<const PreparedConstraints>(*given.names);
}

AnchorIndex::AnchorIndex(std::span<const TrustAnchor> anchors, size_t preparedKeys)
    : m_cache(preparedKeys) {
  std::vector<const TrustAnchor*> sorted;
  sorted.reserve(anchors.size());
  for (const TrustAnchor& anchor : anchors) sorted.push_back(&anchor);
  std::sort(sorted.begin(), sorted.end(),
            [](const TrustAnchor* a, const TrustAnchor* b) { return compareAnchors(*a, *b) < 0; });
  m_owned.reserve(sorted.size());
  for (size_t i = 0; i < sorted.size(); ++i) {
    const bool isDouble = i != 0 && compareAnchors(*sorted[i - 1], *sorted[i]) == 0;
    if (!isDouble) m_owned.push_back(*sorted[i]);
  }
  m_anchors.reserve(m_owned.size());
  for (const TrustAnchor& each : m_owned) m_anchors.emplace_back(each);
  m_byName = sortedByName(m_anchors, nameOfAnchor);
}

std::span<const IndexedAnchor* const> AnchorIndex::withName(
    std::string_view folded) const noexcept {
  return rangeOf(m_byName, folded, nameOfAnchor);
}

const IndexedAnchor* AnchorIndex::find(const Certificate& certificate) const noexcept {
  const auto found = std::lower_bound(m_anchors.begin(), m_anchors.end(), certificate,
                                      [](const IndexedAnchor& anchor, const Certificate& wanted) {
                                        const auto& own = anchor.anchor.certificate();
                                        return own && compareOctets(own->der(), wanted.der()) < 0;
                                      });
  const bool isSame = found != m_anchors.end() && found->anchor.certificate() == certificate;
  return isSame ? &*found : nullptr;
}

IntermediateIndex::IntermediateIndex(std::span<const Certificate> certificates)
    : m_owned(certificates.begin(), certificates.end()) {
  std::sort(m_owned.begin(), m_owned.end());
  m_owned.erase(std::unique(m_owned.begin(), m_owned.end()), m_owned.end());
  m_certificates.reserve(m_owned.size());
  for (const Certificate& each : m_owned) m_certificates.emplace_back(each);
  m_bySubject = sortedByName(m_certificates, subjectOf);
}

std::span<const IndexedCertificate* const> IntermediateIndex::withSubject(
    std::string_view folded) const noexcept {
  return rangeOf(m_bySubject, folded, subjectOf);
}

bool IntermediateIndex::holds(const Certificate& certificate) const noexcept {
  const auto found = std::lower_bound(m_certificates.begin(), m_certificates.end(), certificate,
                                      [](const IndexedCertificate& each, const Certificate& of) {
                                        return each.facts.certificate < of;
                                      });
  return found != m_certificates.end() && found->facts.certificate == certificate;
}

namespace {

std::vector<TrustAnchor> anchorsOf(std::span<const Certificate> roots) {
  return {roots.begin(), roots.end()};
}

}  // namespace

TrustAnchors::TrustAnchors() : TrustAnchors(std::span<const TrustAnchor>()) {}
TrustAnchors::TrustAnchors(std::span<const Certificate> roots, size_t preparedKeys)
    : TrustAnchors(std::span<const TrustAnchor>(anchorsOf(roots)), preparedKeys) {}
TrustAnchors::TrustAnchors(std::span<const TrustAnchor> anchors, size_t preparedKeys)
    : m_index(std::make_shared<const AnchorIndex>(anchors, preparedKeys)) {}

size_t TrustAnchors::size() const noexcept {
  return m_index->size();
}

CertificateSet::CertificateSet() : CertificateSet(std::span<const Certificate>()) {}
CertificateSet::CertificateSet(std::span<const Certificate> certificates)
    : m_index(std::make_shared<const IntermediateIndex>(certificates)) {}

size_t CertificateSet::size() const noexcept {
  return m_index->size();
}

}  // namespace velmora

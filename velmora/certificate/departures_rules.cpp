#include <algorithm>
#include <array>

#include "velmora/certificate/internal/departure_list.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/known_extensions.h"

// What RFC 5280 §4 demands of an issuer across fields and extensions. Each rule rests on what can
// be read: of what is malformed another departure tells.

namespace velmora {
namespace {

using Code = DepartureCode;

template <class T>
bool isAbsent(const Result<T>& answer) noexcept {
  return !answer && answer.error().isAbsent();
}

class Rules {
 public:
  Rules(const ExaminedCertificate& examined, DepartureList& list)
      : m_certificate(examined.certificate),
        m_block(examined.block),
        m_list(list),
        m_subjectAt(examined.index().subject),
        m_tbsAt(examined.index().tbs),
        m_isVersion3(examined.version == 3),
        m_constraints(m_certificate.basicConstraints()),
        m_usage(m_certificate.keyUsage()) {}

  void examine() {
    examineSubject();
    examineBasicConstraints();
    examineKeyUsage();
    examineIdentifiers();
    examineCaAlone();
    examinePolicies();
  }

 private:
  bool isCa() const noexcept { return m_constraints && m_constraints->ca; }
  bool isSelfIssued() const noexcept { return m_certificate.subject() == m_certificate.issuer(); }
  bool mayNotSign() const noexcept { return m_usage && !m_usage->has(KeyUse::keyCertSign); }

  // Adds a departure of an extension, as a part of its own.
  void add(Code code, const Oid& about) {
    const Result<Extension> extension = m_certificate.extension(about);
    m_list.beginPart(about.der());
    m_list.add(code, extension ? extension->offset : m_tbsAt);
  }

  // §4.1.2.6: the name of a CA and of who signs CRLs is not empty; that of others is when
  // alternative names are there, and critical (§4.2.1.6).
  void examineSubject() {
    if (!contentAt(m_block.bytes(), m_subjectAt).empty()) return;
    const bool signsCrls = m_usage && m_usage->has(KeyUse::crlSign);
    const Result<Extension> names = m_certificate.extension(oid::subjectAltName);
    if (!isCa() && !signsCrls && names && names->critical) return;
    m_list.beginPart();
    m_list.add(Code::subjectEmpty, m_subjectAt);
  }

  // §4.2.1.9: critical in a CA whose key is for signatures on certificates; a path length goes with
  // the right to make such.
  void examineBasicConstraints() {
    if (!m_constraints) return;
    const Result<Extension> extension = m_certificate.extension(oid::basicConstraints);
    if (isCa() && !mayNotSign() && !extension->critical) {
      add(Code::criticalityWrong, oid::basicConstraints);
    }
    if (m_constraints->pathLength && (!isCa() || mayNotSign())) {
      add(Code::pathLengthWithoutCa, oid::basicConstraints);
    }
  }

  void examineKeyUsage() {
    if (isCa() && isAbsent(m_usage)) add(Code::caWithoutKeyUsage, oid::keyUsage);
    if (!m_usage) return;
    if (m_usage->bits == 0) add(Code::keyUsageEmpty, oid::keyUsage);
    const bool isNoCa = isAbsent(m_constraints) || (m_constraints && !m_constraints->ca);
    if (isNoCa && !mayNotSign()) add(Code::certSignWithoutCa, oid::keyUsage);
  }

  // §4.2.1.1 and §4.2.1.2. Self-issued is here whose two names are the same octets: to match them
  // takes memory, whose lack must not look like a departure.
  void examineIdentifiers() {
    if (isCa() && isAbsent(m_certificate.subjectKeyId())) {
      add(Code::caWithoutSubjectKeyId, oid::subjectKeyIdentifier);
    }
    const Result<AuthorityKeyId> authority = m_certificate.authorityKeyId();
    const bool hasNoId = authority ? !authority->keyId : authority.error().isAbsent();
    if (m_isVersion3 && hasNoId && !isSelfIssued()) {
      add(Code::noAuthorityKeyId, oid::authorityKeyIdentifier);
    }
    if (authority && authority->issuer.empty() == authority->serial.has_value()) {
      add(Code::authorityIssuerIncomplete, oid::authorityKeyIdentifier);
    }
  }

  // §4.2.1.5, §4.2.1.10, §4.2.1.11, §4.2.1.14.
  void examineCaAlone() {
    if (isCa() || (!m_constraints && !isAbsent(m_constraints))) return;
    for (const ExtensionKind kind :
         {ExtensionKind::nameConstraints, ExtensionKind::policyConstraints,
          ExtensionKind::policyMappings, ExtensionKind::inhibitAnyPolicy}) {
      if (findExtension(*m_block, kind)) add(Code::constraintsWithoutCa, knownExtension(kind)->id);
    }
  }

  void examinePolicies() {
    if (mayRepeatPolicies()) examineRepeatedPolicies();
    examineMappings();
  }

  // Whether a policy is there twice, if what can be read of the extension is a list of them: nearly
  // none is, and so nearly none has to be read.
  bool mayRepeatPolicies() const noexcept {
    constexpr size_t kMostUsual = 4;
    std::array<Bytes, kMostUsual> ids;
    size_t count = 0;
    const auto entry = findExtension(*m_block, ExtensionKind::certificatePolicies);
    if (!entry) return false;
    DerReader policies;
    DerReader policy;
    Asn1Element id;
    DerReader(contentAt(m_block.bytes(), (*entry)->value)).takeSequence(policies);
    while (policies.takeSequence(policy) && policy.takeAny(id)) {
      const auto end = ids.begin() + static_cast<ptrdiff_t>(count);
      if (count == ids.size() ||
          std::any_of(ids.begin(), end, [&](Bytes each) { return sameOctets(each, id.content); })) {
        return true;
      }
      ids[count++] = id.content;
    }
    return false;
  }

  void examineRepeatedPolicies() {
    if (const Result<std::vector<Policy>> policies = m_certificate.policies()) {
      std::vector<Bytes> ids;
      ids.reserve(policies->size());
      for (const Policy& policy : *policies) ids.emplace_back(policy.rawId);
      std::sort(ids.begin(), ids.end(), [](Bytes a, Bytes b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
      });
      if (std::adjacent_find(ids.begin(), ids.end(), sameOctets) != ids.end()) {
        add(Code::policyRepeated, oid::certificatePolicies);
      }
    }
  }

  void examineMappings() {
    if (const Result<std::vector<PolicyMapping>> mappings = m_certificate.policyMappings()) {
      const auto isOfAny = [](const PolicyMapping& mapping) {
        return mapping.issuerPolicy == oid::anyPolicy || mapping.subjectPolicy == oid::anyPolicy;
      };
      if (std::any_of(mappings->begin(), mappings->end(), isOfAny)) {
        add(Code::anyPolicyMapped, oid::policyMappings);
      }
    }
  }

  const Certificate& m_certificate;
  const BlockRef& m_block;
  DepartureList& m_list;
  uint32_t m_subjectAt;
  uint32_t m_tbsAt;
  bool m_isVersion3;
  Result<BasicConstraints> m_constraints;
  Result<KeyUsage> m_usage;
};

}  // namespace

void examineRules(const ExaminedCertificate& examined, DepartureList& list) {
  Rules(examined, list).examine();
}

}  // namespace velmora

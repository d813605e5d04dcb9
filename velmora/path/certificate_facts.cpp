#include "velmora/path/internal/certificate_facts.h"

#include <algorithm>

#include "velmora/path/internal/certificate_rules.h"

namespace velmora {
namespace {

std::shared_ptr<const PreparedConstraints> prepare(const Certificate& certificate) {
  const Result<NameConstraints> constraints = certificate.nameConstraints();
  if (!constraints) return nullptr;
  return std::make_shared<const PreparedConstraints>(*constraints);
}

Bytes authorityKeyIdOf(const Certificate& certificate) {
  const Result<AuthorityKeyId> id = certificate.authorityKeyId();
  return id && id->keyId ? *id->keyId : Bytes();
}

std::vector<Oid> criticalOf(const Certificate& certificate) {
  std::vector<Oid> all = certificate.criticalExtensions();
  auto kept = all.begin();
  size_t unknown = 0;
  for (const Oid& id : all) {
    const bool isWanted =
        isKnownExtension(id) ? std::find(all.begin(), kept, id) == kept : unknown++ < kMostAlike;
    if (isWanted) *kept++ = id;
  }
  all.erase(kept, all.end());
  return all;
}

}  // namespace

CertificateFacts::CertificateFacts(const Certificate& of, const Parts& parts)
    : certificate(of),
      spki(parts.spki),
      subject(Name::folded(parts.subject)),
      issuer(Name::folded(parts.issuer)),
      isSelfIssued(subject && issuer && !subject->empty() && *subject == *issuer),
      version(of.version()),
      validity(of.validity()),
      key(of.publicKey()),
      scheme(of.signatureScheme()),
      basicConstraints(of.basicConstraints()),
      keyUsage(of.keyUsage()),
      extendedKeyUsage(of.extendedKeyUsage()),
      subjectKeyId(certificate.subjectKeyId().value_or(Bytes())),
      authorityKeyId(authorityKeyIdOf(certificate)),
      departures(of.departures()),
      policies(of),
      criticalExtensions(criticalOf(of)),
      constraints(prepare(of)) {}

}  // namespace velmora

#include "velmora/path/internal/certificate_facts.h"

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
      criticalExtensions(of.criticalExtensions()),
      constraints(prepare(of)) {}

}  // namespace velmora

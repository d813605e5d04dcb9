#pragma once

#include <benchmark/benchmark.h>

#include <optional>

#include "velmora/certificate/certificate.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora::bench {

/// Asks typed certificates what VelmoraReader asks the other face, and every extension.
class TypedReader {
 public:
  void load(const DataBuffer& der) {
    if (Result<Certificate> certificate = Certificate::parse(der.span())) {
      m_certificate = *std::move(certificate);
    }
  }

  void unload() { m_certificate.reset(); }

  void readFields() {
    const Certificate& certificate = *m_certificate;
    keep(certificate.subject().rfc4514());
    keep(certificate.issuer().rfc4514());
    keep(certificate.serialHex());
    keep(certificate.validity());
    keep(certificate.version());
    keep(certificate.signatureAlgorithm().text());
    keep(certificate.publicKey());
  }

  void readRest() {
    const Certificate& certificate = *m_certificate;
    const Name subject = certificate.subject();
    for (const Oid& type : {oid::commonName, oid::organization, oid::country}) {
      keep(subject.find(type));
    }
    keep(certificate.parts().spki);
    keep(certificate.fingerprint<Hash::sha1>());
    keep(certificate.spkiPin<Hash::sha256>());
    keep(certificate.subjectKeyId());
    keep(certificate.authorityKeyId());
    keep(certificate.subjectAltNames());
    keep(certificate.basicConstraints());
    keep(certificate.keyUsage());
  }

  /// The extensions that are not among the rest.
  void readExtensions() {
    const Certificate& certificate = *m_certificate;
    keep(certificate.extendedKeyUsage());
    keep(certificate.issuerAltNames());
    keep(certificate.authorityInfoAccess());
    keep(certificate.subjectInfoAccess());
    keep(certificate.crlDistributionPoints());
    keep(certificate.freshestCrl());
    keep(certificate.policies());
    keep(certificate.policyMappings());
    keep(certificate.policyConstraints());
    keep(certificate.inhibitAnyPolicy());
    keep(certificate.nameConstraints());
    keep(certificate.signedTimestamps());
    keep(certificate.tlsFeatures());
    keep(certificate.ocspNoCheck());
    keep(certificate.noRevocationAvailable());
  }

 private:
  template <class Answer>
  static void keep(const Answer& answer) {
    benchmark::DoNotOptimize(&answer);
  }

  std::optional<Certificate> m_certificate;
};

}  // namespace velmora::bench

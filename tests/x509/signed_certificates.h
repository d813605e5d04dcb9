#pragma once

#include "tests/common/signed_cases.h"
#include "tests/x509/x509_test.h"
#include "velmora/support/trust/trusted_roots.h"

namespace velmora::test {

/// The certificates of tests/data/signed_certificates.txt with their issuers loaded.
struct SignedCertificates : SignedCases {
  SignedCertificates() {
    for (const auto& [name, der] : issuerDers) issuers[name] = std::make_unique<LoadedX509>(der);
  }

  VelmoraX509& issuer(const std::string& name) { return *issuers.at(name); }

  std::map<std::string, std::unique_ptr<LoadedX509>> issuers;
};

inline std::string derOf(VelmoraX509& cert) {
  DataBuffer der;
  cert.getCertDer(der);
  return std::string(der.view());
}

/// Empties the default set of trusted roots, before and after.
struct NoTrustedRoots {
  NoTrustedRoots() { TrustedRoots::clear(nullptr); }
  ~NoTrustedRoots() { TrustedRoots::clear(nullptr); }
};

}  // namespace velmora::test

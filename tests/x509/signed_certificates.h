#pragma once

#include <map>
#include <memory>

#include "tests/common/key_value_file.h"
#include "tests/x509/x509_test.h"
#include "velmora/support/trust/trusted_roots.h"

namespace velmora::test {

/// The certificates of tests/data/signed_certificates.txt.
struct SignedCertificates {
  struct Case {
    std::string name, by, der, errors, data;
    bool valid;
  };

  SignedCertificates() {
    forEachRecord(VELMORA_SOURCE_DIR "/tests/data/signed_certificates.txt",
                  [this](const KeyValueRecord& record) { add(record); });
  }

  VelmoraX509& issuer(const std::string& name) { return *issuers.at(name); }
  const Case& byName(const std::string& name) const {
    for (const Case& it : cases) {
      if (it.name == name) return it;
    }
    throw std::out_of_range(name);
  }

  std::map<std::string, std::unique_ptr<LoadedX509>> issuers;
  std::vector<Case> cases;

 private:
  void add(const KeyValueRecord& record) {
    DataBuffer bytes;
    EXPECT_TRUE(bytes.appendEncoded(record.get("Cert"), "hex"));
    const std::string der(bytes.view());
    const auto optional = [&](const char* key) { return record.has(key) ? record.get(key) : ""; };
    optional("Strict");  // of the command line alone
    optional("Typed");   // of the typed certificate alone
    if (record.has("Issuer")) {
      issuers[record.get("Issuer")] = std::make_unique<LoadedX509>(der);
    } else {
      cases.push_back({record.get("Case"), record.get("By"), der, optional("Errors"),
                       optional("Data"), record.get("Result") == "valid"});
    }
  }
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

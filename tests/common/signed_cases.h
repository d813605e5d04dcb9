#pragma once

#include <map>
#include <stdexcept>
#include <vector>

#include "tests/common/key_value_file.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora::test {

struct SignedCase {
  std::string name, by, der;
  bool valid;                 // to the library
  std::string errors, data;   // of the library
  std::string strict, typed;  // of the command line, and of the typed certificate
};

/// The certificates of tests/data/signed_certificates.txt, and the DER of their issuers.
struct SignedCases {
  SignedCases() {
    forEachRecord(VELMORA_SOURCE_DIR "/tests/data/signed_certificates.txt",
                  [this](const KeyValueRecord& record) { add(record); });
  }

  const SignedCase& byName(const std::string& name) const {
    for (const SignedCase& it : cases) {
      if (it.name == name) return it;
    }
    throw std::out_of_range(name);
  }

  std::map<std::string, std::string> issuerDers;
  std::vector<SignedCase> cases;

 private:
  void add(const KeyValueRecord& record) {
    DataBuffer bytes;
    EXPECT_TRUE(bytes.appendEncoded(record.get("Cert"), "hex"));
    const std::string der(bytes.view());
    const auto optional = [&](const char* key) { return record.has(key) ? record.get(key) : ""; };
    if (record.has("Issuer")) {
      issuerDers[record.get("Issuer")] = der;
    } else {
      cases.push_back({record.get("Case"), record.get("By"), der, record.get("Result") == "valid",
                       optional("Errors"), optional("Data"), optional("Strict"),
                       optional("Typed")});
    }
  }
};

}  // namespace velmora::test

#pragma once

#include <map>
#include <sstream>

#include "tests/common/key_value_file.h"
#include "velmora/path/verify.h"
#include "velmora/support/text/data_buffer.h"

/// The certificates and CRLs of tests/data/paths.txt by their labels, and verify() asked with them.

namespace velmora::test {

/// A question with its answer, as briefly() gives it.
struct MadeQuestion {
  std::string leaf, anchors, issuers, answer;
  bool isServer;   // the purpose, instead of any
  bool isUndated;  // the dates of anchors do not count
};

/// What paths.txt holds.
struct Pki {
  std::map<std::string, Certificate> certificates;
  std::map<std::string, Crl> crls;
  std::vector<MadeQuestion> questions;
};

inline const Pki& pki() {
  static const Pki made = [] {
    Pki pki;
    forEachRecord(VELMORA_SOURCE_DIR "/tests/data/paths.txt", [&](const KeyValueRecord& record) {
      if (record.has("Leaf")) {
        return pki.questions.push_back({record.get("Leaf"), record.get("Anchors"),
                                        record.get("Issuers"), record.get("Answer"),
                                        record.has("Server") && record.get("Server") == "yes",
                                        record.has("Undated") && record.get("Undated") == "yes"});
      }
      DataBuffer der;
      EXPECT_TRUE(der.appendEncoded(record.get("DER"), "hex"));
      if (record.has("CRL")) {
        pki.crls.emplace(record.get("CRL"), *Crl::parse(std::as_bytes(std::span(der.view()))));
      } else {
        pki.certificates.emplace(record.get("Certificate"), *Certificate::parse(der.view()));
      }
    });
    return pki;
  }();
  return made;
}

inline const Certificate& named(const std::string& label) {
  return pki().certificates.at(label);
}

template <class T>
std::vector<T> labelled(const std::map<std::string, T>& all, const std::string& labels) {
  std::vector<T> list;
  std::istringstream words(labels);
  for (std::string label; words >> label;) list.push_back(all.at(label));
  return list;
}

inline std::vector<Certificate> several(const std::string& labels) {
  return labelled(pki().certificates, labels);
}

inline VerifyOptions asked(Purpose purpose = Purpose::any) {
  VerifyOptions options;
  options.purpose = purpose;
  if (purpose == Purpose::server) options.target = Target::notJudged();
  options.at = std::chrono::sys_days(std::chrono::year(2026) / 6 / 1);
  return options;
}

/// Of its certificates; "key" stands for an anchor that is none.
inline std::string labelsOf(const Path& path) {
  std::string labels;
  for (const Certificate& each : path.certificates) {
    for (const auto& [label, certificate] : pki().certificates) {
      if (certificate == each) labels += (labels.empty() ? "" : " ") + label;
    }
  }
  return labels + (path.anchor && !path.anchor->certificate() ? " key" : "");
}

/// The ways that hold, or the reason why there is none.
inline std::string briefly(const Verification& answer) {
  EXPECT_EQ(!answer, answer.reason != Reason::none);
  std::string brief;
  for (const VerifiedPath& each : answer.verified) {
    brief += (brief.empty() ? "" : ", ") + labelsOf(each.path());
    EXPECT_EQ(each.path().reason(), Reason::none);
  }
  return answer ? brief : std::string(reasonId(answer.reason));
}

/// All that an answer holds.
inline std::string wholly(const Verification& answer) {
  std::ostringstream whole;
  whole << briefly(answer) << "; " << labelsOf(answer.furthest);
  std::vector<Finding> findings = answer.furthest.findings;
  for (const VerifiedPath& each : answer.verified) {
    const std::vector<Finding>& own = each.path().findings;
    findings.insert(findings.end(), own.begin(), own.end());
    whole << each.isLeafNotRevoked() << each.isNothingRevoked();
  }
  for (const Finding& each : findings) whole << "; " << each.certificate << ' ' << each.text();
  const Cost& used = answer.used;
  whole << "; " << used.candidates << ' ' << used.signatures << ' ' << used.comparisons;
  return whole.str();
}

inline Verification ask(const std::string& leaf, const std::string& anchors,
                        const std::string& issuers, const VerifyOptions& options = asked()) {
  return verify(named(leaf), TrustAnchors(several(anchors)), CertificateSet(several(issuers)),
                options);
}

}  // namespace velmora::test

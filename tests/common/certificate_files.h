#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "velmora/reading/certificate_reader.h"

namespace velmora::test {

/// Nothing where there is no such file, since not every system has a file of roots.
inline std::string fileContent(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The DER of each certificate of a file; what it holds of other kinds is passed over.
inline std::vector<std::string> certificatesIn(const std::string& path) {
  struct Collector final : CertificateSink {
    void certificate(const CertificatePlace&, std::span<const unsigned char> der,
                     const Result<Certificate>&) override {
      ders.emplace_back(der.begin(), der.end());
    }
    void failure(const CertificatePlace&, const CertificateFailure&) override {}
    std::vector<std::string> ders;
  } collector;
  CertificateReader reader(collector);
  reader.feed(std::string_view(fileContent(path)));
  reader.finish();
  return collector.ders;
}

inline std::vector<std::string> madeCertificates() {
  const auto ders = certificatesIn(VELMORA_SOURCE_DIR "/tests/data/certificates.pem");
  EXPECT_GT(ders.size(), 50U);
  return ders;
}

}  // namespace velmora::test

#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "support/bignum/cpu_features.h"
#include "support/key/vm_public_key.h"
#include "support/log/log_sinks.h"
#include "tests/common/key_value_file.h"

namespace velmora::test {

inline std::string keyDataFile(const std::string& name) {
  return std::string(VELMORA_SOURCE_DIR "/tests/data/key/") + name;
}

inline DataBuffer fromHex(const std::string& digits) {
  DataBuffer bytes;
  EXPECT_TRUE(bytes.appendEncoded(digits, "hex")) << digits;
  return bytes;
}

inline std::string toHex(const DataBuffer& bytes) {
  StringBuffer digits;
  bytes.encodeDB("hexlower", digits);
  return std::string(digits.view());
}

inline bool logged(const LogText& log, const std::string& message) {
  return std::string(log.text().view()).find("ERROR: " + message + "\n") != std::string::npos;
}

/// A test that runs once for each way of computing that the CPU has.
class OnEachPath : public testing::TestWithParam<vartime::ArithmeticPath> {
 protected:
  void SetUp() override {
    if (!vartime::arithmeticPathSupported(GetParam())) GTEST_SKIP() << "not on this CPU";
  }
};

inline std::string pathName(const testing::TestParamInfo<vartime::ArithmeticPath>& info) {
  std::string name;
  for (const char* c = vartime::arithmeticPathName(info.param); *c != 0; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c)) != 0) name += *c;
  }
  return name;
}

}  // namespace velmora::test

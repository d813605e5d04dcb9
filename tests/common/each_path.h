#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "velmora/support/bignum/arithmetic_path.h"

namespace velmora::test {

/// A test that runs once for each way of computing that the CPU has.
class EachPath : public testing::TestWithParam<vartime::ArithmeticPath> {
 protected:
  void SetUp() override {
    if (!vartime::arithmeticPathSupported(path())) GTEST_SKIP() << "not on this CPU";
  }
  static vartime::ArithmeticPath path() { return GetParam(); }
};

inline std::string pathName(const testing::TestParamInfo<vartime::ArithmeticPath>& info) {
  std::string name;
  for (const char* c = vartime::arithmeticPathName(info.param); *c != 0; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c)) != 0) name += *c;
  }
  return name;
}

}  // namespace velmora::test

/// Runs the tests of a fixture derived from EachPath on every path.
#define VELMORA_ON_EACH_PATH(Fixture)                                                             \
  INSTANTIATE_TEST_SUITE_P(Paths, Fixture, testing::ValuesIn(velmora::vartime::kArithmeticPaths), \
                           velmora::test::pathName)

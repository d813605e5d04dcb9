#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/trust/system_certs.h"

namespace velmora::test {

inline DataBuffer bytes(std::string_view text) {
  DataBuffer buffer;
  EXPECT_TRUE(buffer.append(text.data(), text.size()));
  return buffer;
}

inline std::vector<std::string> contents(const SystemCerts& store) {
  std::vector<std::string> result;
  DataBuffer der;
  while (store.getNthCertDer(result.size(), der)) result.emplace_back(der.view());
  EXPECT_TRUE(der.empty());
  EXPECT_EQ(store.getCount(), result.size());
  return result;
}

}  // namespace velmora::test

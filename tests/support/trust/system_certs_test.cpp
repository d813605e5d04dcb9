#include "support/trust/system_certs.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/common/allocation_fault.h"

namespace velmora {
namespace {

DataBuffer bytes(std::string_view text) {
  DataBuffer buffer;
  EXPECT_TRUE(buffer.append(text.data(), text.size()));
  return buffer;
}

std::vector<std::string> contents(const SystemCerts& store) {
  std::vector<std::string> result;
  DataBuffer der;
  while (store.getNthCertDer(result.size(), der)) result.emplace_back(der.view());
  EXPECT_TRUE(der.empty());
  EXPECT_EQ(store.getCount(), result.size());
  return result;
}

TEST(SystemCerts, KeepsEachCertificateOnceInOrder) {
  SystemCerts store;
  LogNull log;
  for (const char* der : {"b", "aa", "b", "a", "ab", "aa"}) {
    EXPECT_TRUE(store.addCertDer(bytes(der), log));
  }
  EXPECT_FALSE(store.addCertDer(DataBuffer(), log));
  EXPECT_EQ(contents(store), (std::vector<std::string>{"b", "aa", "a", "ab"}));
  store.clear();
  EXPECT_EQ(contents(store), std::vector<std::string>());
  EXPECT_TRUE(store.addCertDer(bytes("b"), log));
  EXPECT_EQ(store.getCount(), 1U);
}

TEST(SystemCerts, NothingIsHalfAddedWhenMemoryRunsOut) {
  const DataBuffer first = bytes("first");
  const DataBuffer second = bytes("second");
  LogNull log;
  bool added = false;
  SystemCerts store;
  const size_t faults = test::forEachAllocationFault(
      [&] {
        store.clear();
        added = store.addCertDer(first, log) && store.addCertDer(second, log);
      },
      [&](bool faulted) {
        ASSERT_EQ(added, !faulted);
        ASSERT_TRUE(store.addCertDer(first, log) && store.addCertDer(second, log));
        ASSERT_EQ(contents(store), (std::vector<std::string>{"first", "second"}));
      });
  EXPECT_GE(faults, 6U);

  DataBuffer out;
  bool read = true;
  {
    const test::AllocationFault fault(1);
    read = store.getNthCertDer(0, out);
  }
  EXPECT_FALSE(read);
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(out.failed());
}

TEST(SystemCerts, ServesReadersWhileItGrows) {
  SystemCerts store;
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&store] {
      LogNull log;
      for (int i = 0; i < 500; ++i) store.addCertDer(bytes(std::to_string(i)), log);
    });
    threads.emplace_back([&store] {
      DataBuffer der;
      for (int i = 0; i < 500; ++i) {
        const size_t count = store.getCount();
        if (count != 0) {
          EXPECT_TRUE(store.getNthCertDer(count - 1, der));
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(store.getCount(), 500U);
}

}  // namespace
}  // namespace velmora

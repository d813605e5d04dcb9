#include <thread>

#include "tests/support/trust/trust_test.h"

namespace velmora::test {
namespace {

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
}  // namespace velmora::test

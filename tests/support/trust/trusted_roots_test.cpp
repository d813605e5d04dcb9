#include "support/trust/trusted_roots.h"

#include <atomic>
#include <thread>

#include "tests/support/trust/trust_test.h"

namespace velmora::test {
namespace {

using Name = TrustedRoots::Name;

bool add(const Name& name, std::string_view der, std::string_view key, const char* set = nullptr) {
  LogNull log;
  return TrustedRoots::addRoot(set, name, bytes(der), bytes(key), log);
}

// What the registry says: "no", "implicit" or "explicit", the first with no DER.
std::string ask(std::string_view serial, std::string_view subject, const char* set = nullptr) {
  LogNull log;
  DataBuffer der = bytes("old");
  bool implicitly = true;
  const bool trusted = TrustedRoots::isTrustedRoot(set, serial, subject, der, implicitly, log);
  if (!trusted) {
    EXPECT_TRUE(der.empty() && !implicitly);
    return "no";
  }
  return std::string(implicitly ? "implicit " : "explicit ") + std::string(der.view());
}

class TrustedRootsTest : public testing::Test {
 protected:
  void TearDown() override {
    TrustedRoots::clear(nullptr);
    TrustedRoots::clear("other");
  }

  const Name m_root{"01", "US, Acme", "US,Acme"};
};

TEST_F(TrustedRootsTest, TrustsWhatWasRegisteredAndNothingElse) {
  EXPECT_EQ(ask("", ""), "no");
  EXPECT_EQ(ask("01", "US, Acme"), "no");
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_EQ(ask("01", "US, Acme"), "explicit der");
  EXPECT_EQ(ask("01", "US,Acme"), "explicit der");
  EXPECT_EQ(ask("01", "US, Acme", ""), "explicit der") << "the empty name is the default set";
  for (const char* subject : {"", "US, Acm", "US, Acmee", "us, acme", "US,  Acme"}) {
    EXPECT_EQ(ask("01", subject), "no") << subject;
  }
  for (const char* serial : {"", "1", "0", "001", "02"}) EXPECT_EQ(ask(serial, "US, Acme"), "no");
  EXPECT_EQ(ask("01", "US, Acme", "other"), "no");
}

TEST_F(TrustedRootsTest, CountsTextsByTheirLength) {
  const std::string withNul("US, Acme\0x", 10);
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_EQ(ask("01", withNul), "no");
  EXPECT_EQ(ask(std::string_view("01\0", 3), "US, Acme"), "no");
  ASSERT_TRUE(add({"01", withNul, withNul}, "other der", "other key"));
  EXPECT_EQ(ask("01", withNul), "explicit other der");
  EXPECT_EQ(ask("01", "US, Acme"), "explicit der");

  LogNull log;
  DataBuffer der;
  bool implicitly = true;
  EXPECT_TRUE(TrustedRoots::isTrustedRoot(nullptr, "01", "US, Acme", der, implicitly, log));
  EXPECT_FALSE(implicitly);
  const char* const none = nullptr;
  EXPECT_FALSE(TrustedRoots::isTrustedRoot(nullptr, none, none, der, implicitly, log));
}

TEST_F(TrustedRootsTest, RefusesAnotherKeyUnderAKnownName) {
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_TRUE(add(m_root, "renewed der", "key"));
  EXPECT_FALSE(add(m_root, "der", "other key"));
  EXPECT_FALSE(add({"01", "US,Acme", "US,Acme"}, "der", "other key")) << "one text in common";
  EXPECT_FALSE(add({"02", "US, Acme", "US,Acme"}, "", "key"));
  EXPECT_FALSE(add({"02", "US, Acme", "US,Acme"}, "der", ""));
  EXPECT_EQ(ask("01", "US, Acme"), "explicit der");
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 1u);
  EXPECT_TRUE(add({"02", "US, Acme", "US,Acme"}, "der 2", "other key"));
  EXPECT_TRUE(add({"01", "Root", "Root"}, "der 3", "other key"));
  EXPECT_TRUE(add(m_root, "der 4", "other key", "other"));
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 3u);
  EXPECT_EQ(TrustedRoots::getCount("other"), 1u);
  EXPECT_EQ(ask("01", "US, Acme", "other"), "explicit der 4");
}

TEST_F(TrustedRootsTest, MarksRootsThatAreNotThere) {
  LogNull log;
  ASSERT_TRUE(TrustedRoots::trustImplicitly(nullptr, m_root, log));
  EXPECT_EQ(ask("01", "US,Acme"), "implicit ");
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_EQ(ask("01", "US, Acme"), "implicit der") << "a mark stays";
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 1u);
  EXPECT_FALSE(add(m_root, "der", "other key"));

  ASSERT_TRUE(add({"02", "a, b", "a,b"}, "der 2", "key"));
  ASSERT_TRUE(TrustedRoots::trustImplicitly(nullptr, {"02", "a, b", "a, b"}, log));
  EXPECT_EQ(ask("02", "a, b"), "implicit der 2");
  EXPECT_EQ(ask("02", "a,b"), "explicit der 2") << "only the text that was marked";
}

TEST_F(TrustedRootsTest, ForgetsRoots) {
  LogNull log;
  ASSERT_TRUE(add(m_root, "der", "key"));
  ASSERT_TRUE(add({"01", "Root", "Root"}, "der", "key"));
  ASSERT_TRUE(add({"02", "US, Acme", "US,Acme"}, "der", "key"));
  ASSERT_TRUE(add(m_root, "der", "key", "other"));
  ASSERT_TRUE(TrustedRoots::trustImplicitly(nullptr, m_root, log));
  EXPECT_FALSE(TrustedRoots::removeRoot(nullptr, {"01", "unknown", "unknown"}));
  EXPECT_TRUE(TrustedRoots::removeRoot(nullptr, {"01", "US,Acme", "US,Acme"}));
  EXPECT_FALSE(TrustedRoots::removeRoot(nullptr, m_root));
  EXPECT_EQ(ask("01", "US, Acme"), "no");
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 2u);
  TrustedRoots::clear(nullptr);
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 0u);
  EXPECT_EQ(ask("01", "US, Acme", "other"), "explicit der");
  EXPECT_TRUE(add(m_root, "new der", "new key"));
}

TEST_F(TrustedRootsTest, AnswersWhileItChanges) {
  std::atomic<bool> done = false;
  std::thread changing([&] {
    LogNull log;
    while (!done) {
      add(m_root, "der", "key");
      add({"02", "US, Acme", "US,Acme"}, "der 2", "key");
      TrustedRoots::trustImplicitly(nullptr, {"03", "a", "a"}, log);
      TrustedRoots::removeRoot(nullptr, m_root);
      TrustedRoots::clear(nullptr);
    }
  });
  std::vector<std::thread> asking;
  for (int t = 0; t < 3; ++t) {
    asking.emplace_back([] {
      for (int i = 0; i < 2000; ++i) {
        const std::string answer = ask("01", "US, Acme");
        EXPECT_TRUE(answer == "no" || answer == "explicit der") << answer;
        EXPECT_LE(TrustedRoots::getCount(nullptr), 3u);
      }
    });
  }
  for (std::thread& thread : asking) thread.join();
  done = true;
  changing.join();
}

}  // namespace
}  // namespace velmora::test

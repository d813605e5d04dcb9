
#include <atomic>
#include <thread>
#include <vector>

#include "tests/common/allocation_fault.h"
#include "velmora/support/trust/system_certs.h"
#include "velmora/support/trust/trusted_roots.h"

namespace velmora::test {
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
}

TEST(SystemCerts, ServesReadersWhileItGrows) {
  SystemCerts store;
  const auto work = [&store] {
    LogNull log;
    DataBuffer der;
    for (int i = 0; i < 500; ++i) {
      EXPECT_TRUE(store.addCertDer(bytes(std::to_string(i)), log));
      EXPECT_TRUE(store.getNthCertDer(store.getCount() - 1, der));
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(store.getCount(), 500U);
}

TEST(SystemCerts, NothingIsHalfAddedWhenMemoryRunsOut) {
  const DataBuffer first = bytes("first");
  const DataBuffer second = bytes("second");
  LogNull log;
  bool added = false;
  SystemCerts store;
  const size_t faults = forEachAllocationFault(
      [&] {
        store.clear();
        added = store.addCertDer(first, log) && store.addCertDer(second, log);
      },
      [&](bool faulted) {
        ASSERT_EQ(added, !faulted);
        ASSERT_TRUE(store.addCertDer(first, log) && store.addCertDer(second, log));
        ASSERT_EQ(contents(store), (std::vector<std::string>{"first", "second"}));
      });
  EXPECT_GT(faults, 0U);
}

using Name = TrustedRoots::Name;

bool add(const Name& name, std::string_view der, std::string_view key, const char* set = nullptr) {
  LogNull log;
  return TrustedRoots::addRoot(set, name, bytes(der), bytes(key), log);
}

// What the registry says: "no", "implicit" or "explicit", the last two with the DER.
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
  EXPECT_EQ(ask("01", "US, Acme"), "no");
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_EQ(ask("01", "US, Acme"), "explicit der");
  EXPECT_EQ(ask("01", "US,Acme"), "explicit der");
  EXPECT_EQ(ask("01", "US, Acme", ""), "explicit der") << "the empty name is the default set";
  EXPECT_EQ(ask("01", "US, Acme", "other"), "no");
  const std::string withNul("US, Acme\0x", 10);
  for (const std::string& subject : {std::string(), std::string("us, acme"), withNul}) {
    EXPECT_EQ(ask("01", subject), "no") << subject;
  }
  for (const std::string_view serial : {"", "1", "001"}) EXPECT_EQ(ask(serial, "US, Acme"), "no");
  ASSERT_TRUE(add({"01", withNul, withNul}, "other der", "other key"));
  EXPECT_EQ(ask("01", withNul), "explicit other der");

  LogNull log;
  DataBuffer der;
  bool implicitly = true;
  EXPECT_TRUE(TrustedRoots::isTrustedRoot(nullptr, "01", "US, Acme", der, implicitly, log));
  EXPECT_EQ(der.view(), "der");
  const char* const none = nullptr;
  EXPECT_FALSE(TrustedRoots::isTrustedRoot(nullptr, none, none, der, implicitly, log));
}

TEST_F(TrustedRootsTest, RefusesAnotherKeyUnderAKnownName) {
  ASSERT_TRUE(add(m_root, "der", "key"));
  EXPECT_TRUE(add(m_root, "renewed der", "key"));
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

  EXPECT_FALSE(TrustedRoots::removeRoot(nullptr, {"01", "unknown", "unknown"}));
  EXPECT_TRUE(TrustedRoots::removeRoot(nullptr, {"01", "US,Acme", "US,Acme"}));
  EXPECT_EQ(ask("01", "US, Acme"), "no");
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 2u);
  TrustedRoots::clear(nullptr);
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 0u);
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
  // Of two that share a text the first DER counts, whole, and a mark of either.
  ASSERT_TRUE(add({"02", "a, b", "c"}, "der 3", "key"));
  EXPECT_EQ(ask("02", "a, b"), "implicit der 2");
}

TEST_F(TrustedRootsTest, AnswersWhileItChanges) {
  std::atomic<bool> done = false;
  std::thread changing([&] {
    LogNull log;
    while (!done) {
      add(m_root, "der", "key");
      TrustedRoots::trustImplicitly(nullptr, {"03", "a", "a"}, log);
      TrustedRoots::removeRoot(nullptr, m_root);
      TrustedRoots::clear(nullptr);
    }
  });
  for (int i = 0; i < 5000; ++i) {
    const std::string answer = ask("01", "US, Acme");
    EXPECT_TRUE(answer == "no" || answer == "explicit der") << answer;
    EXPECT_LE(TrustedRoots::getCount(nullptr), 2u);
  }
  done = true;
  changing.join();
}

// Whatever it is marked as.
TEST_F(TrustedRootsTest, ARootWhoseDerCannotBeHandedOutIsNotTrusted) {
  const std::string serial(40, '7');  // too long for a string without an allocation
  const Name name{serial, "a long subject name, b", "a long subject name,b"};
  LogNull log;
  ASSERT_TRUE(add(name, "der", "key") && TrustedRoots::trustImplicitly(nullptr, name, log));
  bool trusted = true, implicitly = true;
  DataBuffer out;
  forEachAllocationFault(
      [&] {
        out = DataBuffer();
        trusted =
            TrustedRoots::isTrustedRoot(nullptr, serial, name.subjectDn, out, implicitly, log);
      },
      [&](bool faulted) {
        EXPECT_EQ(trusted, !faulted);
        EXPECT_EQ(implicitly, !faulted);
        EXPECT_EQ(out.empty(), faulted);
      });
}

}  // namespace
}  // namespace velmora::test

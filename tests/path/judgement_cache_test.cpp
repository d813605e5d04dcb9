#include "velmora/path/internal/judgement_cache.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "tests/path/made_ways.h"
#include "velmora/path/internal/striped_shared_mutex.h"

namespace velmora::test {
namespace {

// A cache, and two keys and what they signed.
struct Asked {
  explicit Asked(size_t mostPrepared) : cache(mostPrepared) {}

  std::shared_ptr<const IssuerKey> key(size_t i) {
    return cache.key(i == 0 ? root.parts().spki : ca.parts().spki, Sha256{std::byte(i)});
  }
  void keys(size_t i, unsigned times) {
    while (times-- != 0) key(i);
  }
  bool isGood(size_t i, const IssuerKey& key) const {
    return key.check(i == 0 ? ca : leaf).verdict == SignatureVerdict::good &&
           key.check(i == 0 ? leaf : root).verdict != SignatureVerdict::good;
  }

  const Certificate& root = named("root");
  const Certificate& ca = named("ca");
  const Certificate& leaf = named("leaf");
  JudgementCache cache;
};

TEST(StripedSharedMutex, ShowsReadersNothingHalfDoneWhileItIsWritten) {
  StripedSharedMutex mutex;
  std::atomic<int> first = 0, second = 0;
  std::thread writer([&] {
    for (int i = 0; i < 1000; ++i) {
      const std::lock_guard lock(mutex);
      ++first;
      std::this_thread::yield();
      ++second;
    }
  });
  for (bool isWritten = false; !isWritten;) {
    const std::shared_lock lock(mutex);
    const int seen = first;
    std::this_thread::yield();
    EXPECT_EQ(second, seen);
    isWritten = seen == 1000;
  }
  writer.join();
}

TEST(JudgementCache, PreparesWithTheEighthUseAsManyKeysAsItMay) {
  for (const size_t most : {0U, 1U, 2U}) {
    Asked asked(most);
    std::shared_ptr<const IssuerKey> plain[2];
    for (size_t i = 0; i < 2; ++i) {
      plain[i] = asked.key(i);
      asked.keys(i, 5);
      EXPECT_EQ(asked.key(i), plain[i]);  // the seventh
      EXPECT_EQ(asked.key(i) != plain[i], most != 0);
      EXPECT_TRUE(asked.isGood(i, *asked.key(i)));
    }
    EXPECT_EQ(asked.key(0) != plain[0], most == 2);  // or it made room for the other
    EXPECT_EQ(asked.key(1) != plain[1], most != 0);
    asked.keys(0, 7);
    EXPECT_EQ(asked.key(0) != plain[0], most != 0);
    EXPECT_EQ(asked.key(1) != plain[1], most == 2);
  }
}

TEST(JudgementCache, GivesThreadsTheSameKeyByCountsOfTheirOwn) {
  for (const size_t most : {0U, 1U}) {
    Asked asked(most);
    asked.keys(0, 8);
    std::shared_ptr<const IssuerKey> keys[2];
    for (auto& key : keys) std::thread([&] { key = asked.key(0); }).join();
    EXPECT_EQ(keys[0], keys[1]);
    EXPECT_TRUE(keys[0].owner_before(keys[1]) || keys[1].owner_before(keys[0]));
  }
}

TEST(JudgementCache, PreparesWhileOthersGoOn) {
  for (int turn = 0; turn < 10; ++turn) {
    Asked asked(1);
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&asked, i = thread % 2] {
        for (int use = 0; use < 10; ++use) {
          EXPECT_TRUE(asked.isGood(i, *asked.key(i)));
        }
      });
    }
    for (std::thread& each : threads) each.join();
  }
}

// A generation of links leaves with one link more than the next one holds, and never by links of
// the other verdict, however many.
TEST(JudgementCache, KeepsTwoGenerationsOfLinks) {
  using Verdict = SignatureVerdict;
  for (const auto& [kept, other] :
       {std::pair(Verdict::good, Verdict::wrong), std::pair(Verdict::wrong, Verdict::good)}) {
    Asked asked(0);
    const auto keep = [&](std::byte key, Verdict verdict, size_t count) {
      for (size_t i = 0; i < count; ++i) {
        asked.cache.keep(Sha256{key}, Sha256{std::byte(i), std::byte(i >> 8)}, {verdict});
      }
    };
    keep(std::byte{1}, kept, JudgementCache::kMostLinks);
    keep(std::byte{2}, other, 3 * JudgementCache::kMostLinks);
    keep(std::byte{3}, kept, JudgementCache::kMostLinks);
    EXPECT_TRUE(asked.cache.find(Sha256{std::byte{1}}, Sha256{}));
    keep(std::byte{4}, kept, 1);
    EXPECT_FALSE(asked.cache.find(Sha256{std::byte{1}}, Sha256{}));
  }
}

}  // namespace
}  // namespace velmora::test

// Measures verify() beside what other libraries have for it: bench_paths [--benchmark_...].
// Options are for Google Benchmark; with them the threads are left out.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "bench/paths/chain.h"
#include "bench/peers/peers.h"
#include "bench/timings.h"
#include "velmora/certificate/issuer_key.h"

namespace velmora::bench {

namespace {

// Anchors that are made and given back at once, while no time is taken; starting and stopping the
// clock costs much less than as many verifications.
constexpr size_t kBatch = 64;

constexpr int kRounds = 300;
constexpr int kVerifications = 64;  // of one round, which the threads share out
// Of each thread before: a processor that has just got the code and the data is timed, not how long
// it takes to get them.
constexpr int kWarmUps = 4;

std::string nameOf(const Chain& chain, const char* row) {
  return std::string(chain.scheme().name) + "/" + row;
}

template <class Run>
void add(const Chain& chain, const char* row, Run run) {
  benchmark::RegisterBenchmark(nameOf(chain, row).c_str(), [run](benchmark::State& state) {
    for (auto _ : state) require(run(), "verification");
  });
}

// With keys and links that are new to the anchors each time.
void addCold(const Chain& chain) {
  benchmark::RegisterBenchmark(nameOf(chain, "cold").c_str(), [&chain](benchmark::State& state) {
    std::vector<TrustAnchors> fresh;
    size_t used = 0;
    for (auto _ : state) {
      if (used == fresh.size()) {
        state.PauseTiming();
        fresh.clear();
        for (used = 0; fresh.size() < kBatch;) fresh.push_back(chain.newAnchors());
        state.ResumeTiming();
      }
      require(chain.verify(fresh[used++]), "verification");
    }
  });
}

bool isGood(const IssuerKey& key, const velmora::Certificate& certificate) {
  return key.check(certificate).verdict == SignatureVerdict::good;
}

void registerChain(const Chain& chain, Timings& timings) {
  addCold(chain);
  add(chain, "known", [&chain, anchors = chain.newAnchors()] { return chain.verify(anchors); });
  addPeers(timings, chain.scheme().name,
           [&chain](const Peer& peer) { return peer.chainVerifier(chain.octets()); });
  add(chain, "signatures", [&chain] {
    const IssuerKey root(chain.root());
    const IssuerKey issuer(chain.intermediate());
    return isGood(root, chain.intermediate()) && isGood(issuer, chain.leaf());
  });
  const auto ready = std::make_shared<IssuerKey>(chain.intermediate());
  ready->prepare();  // as anchors do after eight uses
  add(chain, "signature", [&chain, ready] { return isGood(*ready, chain.leaf()); });
}

// Nanoseconds on the clock for all verifications of a round, of which each thread does its part.
template <class Run>
double timeOf(int threads, const Run& run) {
  using Clock = std::chrono::steady_clock;
  std::atomic<int> missing = threads;
  std::vector<Clock::time_point> starts(static_cast<size_t>(threads)), ends(starts.size());
  std::atomic<bool> isGood = true;
  const auto work = [&](size_t thread) {
    for (int i = 0; i < kWarmUps; ++i) run(thread);
    --missing;
    while (missing != 0) std::this_thread::yield();  // one that sleeps starts late
    starts[thread] = Clock::now();
    for (int i = 0; i < kVerifications / threads; ++i) {
      if (!run(thread)) isGood = false;
    }
    ends[thread] = Clock::now();
  };
  {
    std::vector<std::jthread> others;
    for (size_t thread = 1; thread < starts.size(); ++thread) others.emplace_back(work, thread);
    work(0);
  }
  require(isGood, "verification on threads");
  return std::chrono::duration<double, std::nano>(std::ranges::max(ends) - std::ranges::min(starts))
      .count();
}

// The best of the rounds, which take turns: whatever else the machine does can only make one
// longer, and hits those of two threads more often.
template <class Run>
void compareThreads(Timings& timings, const char* what, const Chain& chain, const Run& run) {
  double one = std::numeric_limits<double>::max();
  double two = one;
  for (int round = 0; round < kRounds; ++round) {
    one = std::min(one, timeOf(1, run));
    two = std::min(two, timeOf(2, run));
  }
  const double all = kVerifications * 1e9;
  timings.value(nameOf(chain, what) + "/one", all / one);
  timings.value(nameOf(chain, what) + "/two", all / two);
}

void compareThreads(Timings& timings, const Chain& chain, const Chain& other) {
  const TrustAnchors anchors = chain.newAnchors();
  const TrustAnchors others = other.newAnchors();
  compareThreads(timings, "two chains", chain, [&](size_t thread) {
    return thread == 0 ? chain.verify(anchors) : other.verify(others);
  });
  compareThreads(timings, "one leaf and anchors", chain,
                 [&](size_t) { return chain.verify(anchors); });
  // What the processors can do at all: each thread has a key and a certificate of its own.
  IssuerKey key(chain.intermediate());
  IssuerKey another(other.intermediate());
  key.prepare();
  another.prepare();
  compareThreads(timings, "signature alone", chain, [&](size_t thread) {
    return thread == 0 ? isGood(key, chain.leaf()) : isGood(another, other.leaf());
  });
  const Work openssl = peers().front()->chainVerifier(chain.octets());
  compareThreads(timings, "OpenSSL, one leaf", chain, [&](size_t) { return openssl(); });
}

// Else the heap shrinks when a batch of anchors is given back, and the next batch is timed with the
// system's work of giving the pages again, which a process has only where it makes so many at once.
void keepHeap() {
  constexpr int kMost = 1 << 30;
  mallopt(M_TRIM_THRESHOLD, kMost);
}

void run(int count, char** words) {
  keepHeap();
  const Chain chains[] = {Chain(schemes()[0]), Chain(schemes()[3])};
  Timings timings;
  for (const Chain& chain : chains) registerChain(chain, timings);
  timings.run(words[0], "0.05", {words + 1, words + count});
  for (const Chain& chain : chains) {
    if (count == 1) compareThreads(timings, chain, Chain(chain.scheme()));
  }
  timings.write();
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  velmora::bench::run(count, words);
}

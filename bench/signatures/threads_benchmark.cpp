#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <limits>
#include <thread>

#include "bench/signatures/signature_benchmarks.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/x509/trusted_root_registration.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::bench {

namespace {

constexpr size_t kIssuers = 8;
constexpr size_t kLeaves = 64;
constexpr int kRounds = 600;

// A certificate that was loaded on both sides.
struct LoadedCertificate {
  explicit LoadedCertificate(const DataBuffer& der) : velmora(VelmoraX509::createOwnedX509()) {
    LogNull log;
    const unsigned char* at = der.data();
    openssl.reset(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
    require(openssl != nullptr && velmora->loadX509DerAlt(
                                      der.data(), static_cast<unsigned>(der.size()), nullptr, log),
            "certificate");
  }

  RefOwner<VelmoraX509> velmora;
  Certificate openssl;
};

// Leaves by turns under each of a few roots, every second one of them RSA-2048, the others P-256.
struct Certificates {
  Certificates() {
    LogNull log;
    for (size_t i = 0; i < kIssuers; ++i) {
      const Scheme& scheme = schemes()[i % 2 == 0 ? 0 : 3];
      const std::string name = "Root " + std::to_string(i);
      keys.push_back(makeKey(scheme));
      roots.emplace_back(makeCertificate(scheme, keys.back().get(), name, name));
      require(addTrustedRoot(*roots.back().velmora, nullptr, log), "root");
    }
    for (size_t i = 0; i < kLeaves; ++i) {
      const Scheme& scheme = schemes()[i % 2 == 0 ? 0 : 3];
      leaves.emplace_back(makeCertificate(scheme, keys[i % kIssuers].get(),
                                          "host " + std::to_string(i),
                                          "Root " + std::to_string(i % kIssuers)));
    }
  }

  std::deque<Key> keys;
  std::deque<LoadedCertificate> roots, leaves;
};

// Verifies what belongs to the leaf of that number.
using VerifyNth = std::function<bool(size_t)>;

// Nanoseconds on the clock for all leaves, which the threads take one after the other from the same
// queue.
double timeOf(unsigned threads, const VerifyNth& verify) {
  using Clock = std::chrono::steady_clock;
  std::atomic<size_t> next = 0;
  std::atomic<bool> good = true;
  std::barrier together(threads);
  std::vector<Clock::time_point> starts(threads), ends(threads);
  const auto work = [&](size_t thread) {
    together.arrive_and_wait();
    starts[thread] = Clock::now();
    for (size_t i = next++; i < kLeaves; i = next++) {
      if (!verify(i)) good = false;
    }
    ends[thread] = Clock::now();
  };
  {
    std::vector<std::jthread> others;
    for (size_t thread = 1; thread < threads; ++thread) others.emplace_back(work, thread);
    work(0);
  }
  require(good, "verification on threads");
  return std::chrono::duration<double, std::nano>(std::ranges::max(ends) - std::ranges::min(starts))
      .count();
}

struct Road {
  const char* name;
  VerifyNth verify;
  double one = std::numeric_limits<double>::max();
  double two = std::numeric_limits<double>::max();
};

// The rounds take turns, and the best of each counts: whatever else the machine does can only make
// one longer, and hits those of two threads more often.
void measure(std::deque<Road>& roads) {
  for (int round = 0; round < kRounds; ++round) {
    for (Road& road : roads) {
      road.one = std::min(road.one, timeOf(1, road.verify));
      road.two = std::min(road.two, timeOf(2, road.verify));
    }
  }
}

std::deque<Road> roadsOf(const Certificates& all) {
  const auto verifyLeaf = [&all](size_t i) {
    LogNull log;
    VelmoraX509& root = *all.roots[i % kIssuers].velmora;
    return all.leaves[i].velmora->verifyCertSignature(&root, log);
  };
  const auto verifyRoot = [&all](size_t root) {
    LogNull log;
    return all.roots[root].velmora->verifyCertSignature(nullptr, log);
  };
  const auto verifyOpenssl = [](const LoadedCertificate& subject, const LoadedCertificate& issuer) {
    return X509_verify(subject.openssl.get(), X509_get0_pubkey(issuer.openssl.get())) > 0;
  };
  return {{"leaves", verifyLeaf},
          {"leaves and trusted roots",
           [=](size_t i) { return verifyLeaf(i) && verifyRoot(i % kIssuers); }},
          {"one trusted root, again and again", [=](size_t) { return verifyRoot(0); }},
          {"OpenSSL, leaves",
           [=, &all](size_t i) { return verifyOpenssl(all.leaves[i], all.roots[i % kIssuers]); }},
          {"OpenSSL, leaves and roots", [=, &all](size_t i) {
             const LoadedCertificate& root = all.roots[i % kIssuers];
             return verifyOpenssl(all.leaves[i], root) && verifyOpenssl(root, root);
           }}};
}

}  // namespace

void compareThreads(Timings& timings) {
  const Certificates all;
  std::deque<Road> roads = roadsOf(all);
  measure(roads);
  for (const Road& road : roads) {
    const double leaves = static_cast<double>(kLeaves) * 1e9;
    timings.value(std::string("threads/") + road.name + "/one", leaves / road.one);
    timings.value(std::string("threads/") + road.name + "/two", leaves / road.two);
  }
}

}  // namespace velmora::bench

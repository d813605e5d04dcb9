#include <benchmark/benchmark.h>
#include <malloc.h>

#include <memory>
#include <string>

#include "bench/benchmarks.h"
#include "bench/live_heap.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::bench {

namespace {

RefOwner<VelmoraX509> load(const DataBuffer& der) {
  LogNull log;
  RefOwner<VelmoraX509> certificate = VelmoraX509::createOwnedX509();
  certificate->loadX509DerAlt(der.data(), static_cast<unsigned int>(der.size()), nullptr, log);
  return certificate;
}

void loadBundle(benchmark::State& state, const DataBuffer& bundle, size_t count) {
  LogNull log;
  for (auto _ : state) {
    // Every load gets its memory from the system, as the first of a program does. The allocator
    // would keep that of a small bundle for the next one, and hand that of a large one back.
    state.PauseTiming();
    malloc_trim(0);
    state.ResumeTiming();
    SystemCerts store;
    const auto certificate = VelmoraX509::createOwnedX509();
    const bool loaded = certificate->loadX509DerAlt(
        bundle.data(), static_cast<unsigned int>(bundle.size()), &store, log);
    if (!loaded || store.getCount() != count) {
      state.SkipWithError("the bundle did not load whole");
      break;
    }
  }
}

}  // namespace

void registerBundle(const DataBuffer& bundle, size_t count) {
  benchmark::RegisterBenchmark(
      ("bundle/" + std::to_string(count)).c_str(),
      [&bundle, count](benchmark::State& state) { loadBundle(state, bundle, count); });
}

double heapOfLoaded(const Ders& ders) {
  std::vector<RefOwner<VelmoraX509>> certificates;
  certificates.reserve(ders.size());
  const LiveHeap heap;
  for (const DataBuffer& der : ders) certificates.push_back(load(der));
  const double held = static_cast<double>(heap.bytes());
  return held / static_cast<double>(ders.size());
}

}  // namespace velmora::bench

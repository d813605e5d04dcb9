#include <benchmark/benchmark.h>
#include <malloc.h>

#include <iterator>
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

template <class Ask>
void loadAndAsk(benchmark::State& state, const DataBuffer& der, Ask ask) {
  LogNull log;
  XString answer;
  for (auto _ : state) {
    const RefOwner<VelmoraX509> certificate = load(der);
    if (!ask(*certificate, answer, log)) {
      state.SkipWithError("the certificate did not answer");
      break;
    }
  }
}

void runGrowing(benchmark::State& state, const Ders& ders, size_t kind, size_t size) {
  if (kind == 0) return loadBundle(state, makeBundle(ders, size), size);
  if (kind == 1) {
    return loadAndAsk(state, makeWithAlternativeNames(size), [](auto& x, auto& out, auto& log) {
      return x.getSubjectAlternativeNameXml(out, log);
    });
  }
  loadAndAsk(state, makeWithRdns(size),
             [](auto& x, auto& out, auto& log) { return x.getDN(true, true, out, log, 0); });
}

}  // namespace

void registerGrowth(const Ders& ders) {
  for (size_t kind = 0; kind < std::size(kGrowing); ++kind) {
    for (const size_t size : kSizes) {
      benchmark::RegisterBenchmark(
          growthName(kGrowing[kind], size).c_str(),
          [&ders, kind, size](benchmark::State& state) { runGrowing(state, ders, kind, size); });
    }
  }
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

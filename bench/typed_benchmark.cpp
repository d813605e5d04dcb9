#include <benchmark/benchmark.h>

#include <optional>

#include "bench/benchmarks.h"
#include "bench/live_heap.h"
#include "velmora/certificate/certificate.h"

namespace velmora::bench {

namespace {

void parseTyped(benchmark::State& state, const Ders& ders) {
  for (auto _ : state) {
    for (const DataBuffer& der : ders) {
      const Result<Certificate> certificate = Certificate::parse(der.span());
      if (!certificate) state.SkipWithError("a certificate was refused");
      benchmark::DoNotOptimize(&certificate);
    }
  }
}

}  // namespace

void registerTyped(const Ders& ders) {
  benchmark::RegisterBenchmark("parse/typed",
                               [&](benchmark::State& state) { parseTyped(state, ders); });
}

double heapOfParsed(const Ders& ders) {
  std::vector<std::optional<Certificate>> certificates(ders.size());
  const LiveHeap heap;
  for (size_t i = 0; i < ders.size(); ++i) {
    if (Result<Certificate> certificate = Certificate::parse(ders[i].span())) {
      certificates[i] = *std::move(certificate);
    }
  }
  return static_cast<double>(heap.bytes()) / static_cast<double>(ders.size());
}

}  // namespace velmora::bench

#include <benchmark/benchmark.h>
#include <mbedtls/x509_crt.h>

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

void parseWithMbedtls(benchmark::State& state, const Ders& ders) {
  for (auto _ : state) {
    for (const DataBuffer& der : ders) {
      mbedtls_x509_crt certificate;
      mbedtls_x509_crt_init(&certificate);
      const int error = mbedtls_x509_crt_parse_der(&certificate, der.data(), der.size());
      if (error != 0) state.SkipWithError("mbedTLS refused a certificate");
      mbedtls_x509_crt_free(&certificate);
    }
  }
}

}  // namespace

void registerTyped(const Ders& ders) {
  const auto add = [&](const char* name, void (*parse)(benchmark::State&, const Ders&)) {
    benchmark::RegisterBenchmark(name, [&, parse](benchmark::State& state) { parse(state, ders); });
  };
  add("parse/typed", parseTyped);
  add("parse/mbedtls", parseWithMbedtls);
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

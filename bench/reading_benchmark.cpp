#include <benchmark/benchmark.h>

#include "bench/benchmarks.h"
#include "bench/openssl_reader.h"
#include "bench/typed_reader.h"
#include "bench/velmora_reader.h"

namespace velmora::bench {

namespace {

// What is read from a certificate after it was loaded.
enum class What { kNothing, kFields, kRest, kAll, kEverything };

template <class Reader>
void readAll(benchmark::State& state, const Ders& ders, What what) {
  Reader reader;
  for (auto _ : state) {
    for (const DataBuffer& der : ders) {
      reader.load(der);
      if (what != What::kNothing && what != What::kRest) reader.readFields();
      if (what != What::kNothing && what != What::kFields) reader.readRest();
      if constexpr (requires { reader.readExtensions(); }) {
        if (what == What::kEverything) reader.readExtensions();
      }
      reader.unload();
    }
    benchmark::DoNotOptimize(reader);
  }
}

template <class Reader>
void registerReader(const std::string& name, const Ders& ders, What what) {
  benchmark::RegisterBenchmark(
      name.c_str(), [&ders, what](benchmark::State& state) { readAll<Reader>(state, ders, what); });
}

}  // namespace

void registerReading(const Ders& ders) {
  constexpr std::pair<const char*, What> kQuestions[] = {{"load", What::kNothing},
                                                         {"fields", What::kFields},
                                                         {"rest", What::kRest},
                                                         {"all", What::kAll}};
  for (const auto& [name, what] : kQuestions) {
    registerReader<VelmoraReader>(name + std::string("/velmora"), ders, what);
    registerReader<OpensslReader>(name + std::string("/openssl"), ders, what);
  }
  registerReader<VelmoraReader>("everything/velmora", ders, What::kEverything);
  registerReader<TypedReader>("everything/typed", ders, What::kEverything);
}

}  // namespace velmora::bench

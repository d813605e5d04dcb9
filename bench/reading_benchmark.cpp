#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/benchmarks.h"
#include "bench/peers/peers.h"
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

bool readWith(Reader& reader, const DataBuffer& der, What what) {
  const bool good = reader.load(der.span()) &&
                    (what == What::kNothing || what == What::kRest || reader.readFields()) &&
                    (what == What::kNothing || what == What::kFields || reader.readRest());
  reader.unload();
  return good;
}

Work readAllWith(const Peer& peer, const Ders& ders, What what) {
  return [&ders, what, reader = std::shared_ptr<Reader>(peer.reader())] {
    return std::ranges::all_of(ders,
                               [&](const DataBuffer& der) { return readWith(*reader, der, what); });
  };
}

}  // namespace

void registerReading(const Ders& ders, Timings& timings) {
  constexpr std::pair<const char*, What> kQuestions[] = {{"load", What::kNothing},
                                                         {"fields", What::kFields},
                                                         {"rest", What::kRest},
                                                         {"all", What::kAll}};
  for (const auto& question : kQuestions) {
    const auto [name, what] = question;
    registerReader<VelmoraReader>(name + std::string("/velmora"), ders, what);
    addPeers(timings, name,
             [&ders, what](const Peer& peer) { return readAllWith(peer, ders, what); });
  }
  registerReader<VelmoraReader>("everything/velmora", ders, What::kEverything);
  registerReader<TypedReader>("everything/typed", ders, What::kEverything);
}

}  // namespace velmora::bench

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <functional>
#include <string>

#include "bench/benchmarks.h"
#include "bench/live_heap.h"
#include "bench/peers/peers.h"
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

using Ask = bool (*)(VelmoraX509&, XString&, LogBase&);

void loadAndAsk(benchmark::State& state, const DataBuffer& der, Ask ask) {
  LogNull log;
  XString answer;
  for (auto _ : state) {
    const RefOwner<VelmoraX509> certificate = load(der);
    if (!ask(*certificate, answer, log)) state.SkipWithError("the certificate did not answer");
  }
}

struct Growing {
  const char* name;
  std::function<DataBuffer(size_t)> make;
  std::function<void(benchmark::State&, const DataBuffer&, size_t)> run;
  std::function<bool(const Peer&, Reader&, const DataBuffer&, size_t)> runPeer;
};

// A quarter of the others' seconds: there are many, and the largest take longer once.
constexpr double kMinTime = 0.05;

// One certificate, of which ours is asked in one way and peers are in another.
Growing growingCertificate(const char* name, DataBuffer (*make)(size_t), Ask ask,
                           bool (Reader::*askPeer)()) {
  return {name, make,
          [ask](benchmark::State& state, const DataBuffer& der, size_t) {
            loadAndAsk(state, der, ask);
          },
          [askPeer](const Peer&, Reader& reader, const DataBuffer& der, size_t) {
            const bool good = reader.load(der.span()) && (reader.*askPeer)();
            reader.unload();
            return good;
          }};
}

std::vector<Growing> allGrowing(const Ders& ders) {
  return {
      {"bundle", [&ders](size_t size) { return makeBundle(ders, size); }, loadBundle,
       [](const Peer& peer, Reader&, const DataBuffer& bundle, size_t size) {
         return peer.loadBundle(bundle.span(), size);
       }},
      growingCertificate(
          "alternative names", makeWithAlternativeNames,
          [](VelmoraX509& x, XString& out, LogBase& log) {
            return x.getSubjectAlternativeNameXml(out, log);
          },
          &Reader::readAlternativeNames),
      growingCertificate(
          "RDNs", makeWithRdns,
          [](VelmoraX509& x, XString& out, LogBase& log) {
            return x.getDN(true, true, out, log, 0);
          },
          &Reader::readSubject),
  };
}

}  // namespace

void registerGrowth(const Ders& ders, Timings& timings) {
  for (const Growing& growing : allGrowing(ders)) {
    for (const size_t size : {10U, 100U, 1'000U, 10'000U, 100'000U}) {
      std::string name = growing.name;
      name += '/';
      name += std::to_string(size);
      benchmark::RegisterBenchmark((name + "/velmora").c_str(), [growing,
                                                                 size](benchmark::State& state) {
        growing.run(state, growing.make(size), size);
      })->MinTime(kMinTime);
      addPeers(
          timings, name,
          [growing, size](const Peer& peer) -> Work {
            const auto made = std::make_shared<DataBuffer>(growing.make(size));
            return [&peer, growing, size, made, reader = std::shared_ptr<Reader>(peer.reader())] {
              return growing.runPeer(peer, *reader, *made, size);
            };
          },
          kMinTime);
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

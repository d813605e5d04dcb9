// Measures loading and reading certificates beside other libraries: bench_certificates FILE
// [--benchmark_...].
#include <cstdio>
#include <string>

#include "bench/benchmarks.h"
#include "bench/timings.h"

namespace velmora::bench {

namespace {

int run(int count, char** words) {
  if (count < 2) {
    std::fprintf(stderr, "usage: bench_certificates FILE [--benchmark_...]\n");
    return 2;
  }
  const Ders ders = readDers(words[1]);
  if (ders.empty()) {
    std::fprintf(stderr, "bench_certificates: no certificates in %s\n", words[1]);
    return 1;
  }
  Timings timings;
  registerReading(ders, timings);
  registerTyped(ders);
  registerGrowth(ders, timings);
  timings.run(words[0], "0.2", {words + 2, words + count});
  timings.value("certificates", static_cast<double>(ders.size()));
  timings.value("heap/loaded", heapOfLoaded(ders));
  timings.value("heap/typed", heapOfParsed(ders));
  timings.write();
  return 0;
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  return velmora::bench::run(count, words);
}

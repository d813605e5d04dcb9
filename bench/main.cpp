// Measures loading and reading certificates beside OpenSSL and mbedTLS: bench_certificates FILE
// [--benchmark_...].
#include <cstdio>
#include <string>

#include "bench/benchmarks.h"
#include "bench/timings.h"

namespace velmora::bench {

namespace {

void printBeside(const Timings& timings, const char* name, const char* what, size_t count) {
  const double ours = timings.median(name + std::string("/velmora"));
  const double theirs = timings.median(name + std::string("/openssl"));
  const double per = 1 / static_cast<double>(count);
  std::printf("%-34s %10.0f %10.0f %8.2f\n", what, ours * per, theirs * per, ours / theirs);
}

void printTyped(const Timings& timings, const Ders& ders) {
  const double count = static_cast<double>(ders.size());
  const double parse = timings.median("parse/typed");
  const double everything = timings.median("everything/typed");
  const auto printRatio = [&](const char* beside, double typed, const char* name, double goal) {
    const double theirs = timings.median(name);
    std::printf("  beside %-25s %10.0f %10.4f (goal: at most %.3g)\n", beside, theirs / count,
                typed / theirs, goal);
  };
  std::printf("\n%zu typed certificates, ns each\n", ders.size());
  std::printf("parse                              %10.0f\n", parse / count);
  printRatio("mbedTLS", parse, "parse/mbedtls", 0.6);
  printRatio("load with OpenSSL", parse, "load/openssl", 0.008);
  std::printf("parse, all fields and extensions   %10.0f\n", everything / count);
  printRatio("VelmoraX509", everything, "everything/velmora", 1.0 / 3);
  std::printf("heap of a typed certificate, KB    %12.1f (goal: at most 1.5)\n",
              heapOfParsed(ders) / 1024);
}

void printGrowth(const Timings& timings, const char* what) {
  double before = 0;
  std::printf("\n%-18s           us   times (goal: at most 11)\n", what);
  for (const size_t size : kSizes) {
    const double time = timings.median(growthName(what, size));
    std::printf("%18zu %12.1f", size, time / 1e3);
    if (before != 0) std::printf(" %7.1f", time / before);
    std::printf("\n");
    before = time;
  }
}

void printResults(const Timings& timings, const Ders& ders) {
  std::printf("%s\n", describeMachine().getString());
  std::printf("%zu certificates, ns each           velmora    OpenSSL    ratio\n", ders.size());
  printBeside(timings, "load", "load", ders.size());
  printBeside(timings, "fields", "load and read the fields", ders.size());
  printBeside(timings, "rest", "load and ask the rest", ders.size());
  printBeside(timings, "all", "load, fields and the rest", ders.size());
  printTyped(timings, ders);
  for (const char* what : kGrowing) printGrowth(timings, what);
  std::printf("\nheap of a loaded certificate, KB   %12.1f (goal: at most 5)\n",
              heapOfLoaded(ders) / 1024);
}

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
  registerReading(ders);
  registerTyped(ders);
  registerGrowth(ders);
  Timings timings;
  timings.run(words[0], "0.2", {words + 2, words + count});
  printResults(timings, ders);
  return 0;
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  return velmora::bench::run(count, words);
}

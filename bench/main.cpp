// Measures loading and reading certificates beside OpenSSL: bench_certificates FILE
// [--benchmark_...].
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

#include "bench/benchmarks.h"

namespace velmora::bench {

namespace {

constexpr size_t kSmallBundle = 1'000;
constexpr size_t kLargeBundle = 10'000;

// Keeps the median of each benchmark's repetitions, in nanoseconds for one iteration.
class Medians final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") m_medians[run.run_name.function_name] = nanoseconds(run);
    }
  }

  // 0 for a benchmark that did not run or failed.
  double of(const std::string& name) const {
    const auto found = m_medians.find(name);
    return found == m_medians.end() ? 0 : found->second;
  }

 private:
  static double nanoseconds(const Run& run) {
    return run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
  }

  std::map<std::string, double> m_medians;
};

void printBeside(const Medians& medians, const char* name, const char* what, size_t count) {
  const double ours = medians.of(name + std::string("/velmora"));
  const double theirs = medians.of(name + std::string("/openssl"));
  const double per = 1 / static_cast<double>(count);
  std::printf("%-34s %10.0f %10.0f %8.2f\n", what, ours * per, theirs * per, ours / theirs);
}

void printBundle(const Medians& medians, size_t count) {
  const double time = medians.of("bundle/" + std::to_string(count));
  std::printf("p7b of %6zu certificates, ms     %12.1f\n", count, time / 1e6);
}

void printResults(const Medians& medians, const Ders& ders) {
  std::printf("%s\n", describeMachine().getString());
  std::printf("%zu certificates, ns each           velmora    OpenSSL    ratio\n", ders.size());
  printBeside(medians, "load", "load", ders.size());
  printBeside(medians, "fields", "load and read the fields", ders.size());
  printBeside(medians, "rest", "load and ask the rest", ders.size());
  printBeside(medians, "all", "load, fields and the rest", ders.size());
  std::printf("\n");
  printBundle(medians, kSmallBundle);
  printBundle(medians, kLargeBundle);
  const double growth = medians.of("bundle/" + std::to_string(kLargeBundle)) /
                        medians.of("bundle/" + std::to_string(kSmallBundle));
  std::printf("time for ten times as many         %12.2f times (goal: at most 12)\n", growth);
  std::printf("\nheap of a loaded certificate, KB   %12.1f (goal: at most 12)\n",
              heapOfLoaded(ders) / 1024);
}

// Repetitions of all benchmarks take turns, so that a machine that gets slower or faster meanwhile
// does so for all of them.
void initialize(int count, char** words) {
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::string repeat = "--benchmark_repetitions=11";
  std::string time = "--benchmark_min_time=0.2";
  std::vector<char*> all = {words[0], interleave.data(), repeat.data(), time.data()};
  all.insert(all.end(), words + 2, words + count);
  int size = static_cast<int>(all.size());
  benchmark::Initialize(&size, all.data());
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
  const DataBuffer small = makeBundle(ders, kSmallBundle);
  const DataBuffer large = makeBundle(ders, kLargeBundle);
  initialize(count, words);
  registerReading(ders);
  registerBundle(small, kSmallBundle);
  registerBundle(large, kLargeBundle);
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  printResults(medians, ders);
  return 0;
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  return velmora::bench::run(count, words);
}

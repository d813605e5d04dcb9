#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace velmora::bench {

/// Runs the registered benchmarks, of which all repetitions take turns, so that a machine that gets
/// slower or faster meanwhile does so for all of them; keeps the CPU time of each repetition.
class Timings final : public benchmark::BenchmarkReporter {
 public:
  /// `words` are options for Google Benchmark that come after those that are set here.
  void run(const char* program, const char* minTime, std::vector<char*> words);

  // Nanoseconds for one iteration of a benchmark; 0 when it did not run.
  double median(const std::string& name) const;
  double best(const std::string& name) const;

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

 private:
  std::map<std::string, double> m_medians, m_best;
};

}  // namespace velmora::bench

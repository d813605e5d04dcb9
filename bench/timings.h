#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace velmora::bench {

/// Runs the registered benchmarks, of which all repetitions take turns, so that a machine that gets
/// slower or faster meanwhile does so for all of them; keeps the CPU time of each repetition, and
/// whatever else was measured, and writes all of it as JSON.
class Timings final : public benchmark::BenchmarkReporter {
 public:
  /// `words` are options for Google Benchmark that come after those that are set here.
  void run(const char* program, const char* minTime, std::vector<char*> words);

  /// A figure from elsewhere, and a word that stands where a figure is missing.
  void value(const std::string& name, double figure) { m_values[name] = figure; }
  void note(const std::string& name, const std::string& word) { m_notes[name] = word; }

  /// To standard output one JSON object: "machine", whose members are texts; "times", each a pair
  /// of nanoseconds for one iteration, the best and the median; "values" and "notes".
  void write() const;

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

 private:
  std::map<std::string, std::vector<double>> m_times;
  std::map<std::string, double> m_values;
  std::map<std::string, std::string> m_notes;
};

}  // namespace velmora::bench

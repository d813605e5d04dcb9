#include "bench/timings.h"

#include <algorithm>
#include <cstdio>

#include "bench/benchmarks.h"

namespace velmora::bench {

namespace {

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out += '"';
}

// One member of the whole, an object with a member for each entry.
template <class Entries, class Print>
void writeMember(const char* name, const Entries& entries, const char* end, Print print) {
  std::printf("  \"%s\": {", name);
  const char* separator = "\n";
  for (const auto& [key, entry] : entries) {
    std::printf("%s    %s: ", separator, quoted(key).c_str());
    print(entry);
    separator = ",\n";
  }
  std::printf("\n  }%s\n", end);
}

void printText(const std::string& text) {
  std::printf("%s", quoted(text).c_str());
}

}  // namespace

void Timings::run(const char* program, const char* minTime, std::vector<char*> words) {
  std::string all[] = {program, "--benchmark_enable_random_interleaving=true",
                       "--benchmark_repetitions=11",
                       std::string("--benchmark_min_time=") + minTime};
  std::vector<char*> options;
  for (std::string& option : all) options.push_back(option.data());
  options.insert(options.end(), words.begin(), words.end());
  int count = static_cast<int>(options.size());
  benchmark::Initialize(&count, options.data());
  benchmark::RunSpecifiedBenchmarks(this);
}

void Timings::write() const {
  std::printf("{\n");
  writeMember("machine", describeMachine(), ",", printText);
  writeMember("times", m_times, ",", [](std::vector<double> times) {
    std::ranges::sort(times);
    std::printf("{\"best\": %.6g, \"median\": %.6g}", times.front(), times[times.size() / 2]);
  });
  writeMember("values", m_values, ",", [](double value) { std::printf("%.6g", value); });
  writeMember("notes", m_notes, "", printText);
  std::printf("}\n");
}

void Timings::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) {
      std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      continue;
    }
    if (run.run_type != Run::RT_Iteration) continue;
    m_times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime() * 1e9 /
                                                  benchmark::GetTimeUnitMultiplier(run.time_unit));
  }
}

}  // namespace velmora::bench

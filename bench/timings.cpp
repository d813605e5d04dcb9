#include "bench/timings.h"

#include <algorithm>

namespace velmora::bench {

namespace {

double valueOf(const std::map<std::string, double>& times, const std::string& name) {
  const auto found = times.find(name);
  return found == times.end() ? 0 : found->second;
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

double Timings::median(const std::string& name) const {
  return valueOf(m_medians, name);
}

double Timings::best(const std::string& name) const {
  return valueOf(m_best, name);
}

void Timings::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string& name = run.run_name.function_name;
    const double time =
        run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    if (run.aggregate_name == "median") m_medians[name] = time;
    if (run.run_type != Run::RT_Iteration) continue;
    const auto [best, isFirst] = m_best.emplace(name, time);
    if (!isFirst) best->second = std::min(best->second, time);
  }
}

}  // namespace velmora::bench

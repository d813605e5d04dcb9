// Measures the verification of signatures beside other libraries: bench_signatures
// [--benchmark_...]. Options are for Google Benchmark; with them the threads are left out. Writes
// JSON, which bench/report.py makes tables of; so do the other two programs.
#include "bench/signatures/signature_benchmarks.h"

namespace velmora::bench {

namespace {

void run(int count, char** words) {
  const std::deque<Subject> subjects = makeSubjects();
  const ExpensiveKeys expensiveKeys(subjects);
  Timings timings;
  registerPreparedKeys(subjects, timings);
  registerCertificates(subjects, timings);
  expensiveKeys.registerAll(timings);
  timings.run(words[0], "0.05", {words + 1, words + count});
  if (count == 1) compareThreads(timings);
  timings.write();
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  velmora::bench::run(count, words);
}

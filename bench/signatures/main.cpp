// Measures the verification of signatures beside OpenSSL: bench_signatures [--benchmark_...].
// Options are for Google Benchmark; with them the threads are left out.
#include <openssl/crypto.h>

#include <cstdio>
#include <thread>

#include "bench/benchmarks.h"
#include "bench/signatures/signature_benchmarks.h"
#include "velmora/support/bignum/arithmetic_path.h"

namespace velmora::bench {

namespace {

void printMachine() {
  std::printf("%s", describeMachine().getString());
  std::printf("Settings  %s\n", OPENSSL_info(OPENSSL_INFO_CPU_SETTINGS));
  std::printf("Path      %s\n", vartime::arithmeticPathName(vartime::bestArithmeticPath()));
  std::printf("Cores     %u\n", std::thread::hardware_concurrency());
}

void run(int count, char** words) {
  const std::deque<Subject> subjects = makeSubjects();
  const ExpensiveKeys expensiveKeys(subjects);
  registerPreparedKeys(subjects);
  registerCertificates(subjects);
  expensiveKeys.registerAll();
  Timings timings;
  timings.run(words[0], "0.05", {words + 1, words + count});
  printMachine();
  printPreparedKeys(timings);
  printCertificates(timings);
  expensiveKeys.print(timings);
  if (count == 1) compareThreads();
}

}  // namespace

}  // namespace velmora::bench

int main(int count, char** words) {
  velmora::bench::run(count, words);
}

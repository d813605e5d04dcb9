#include <cstdio>

#include "bench/signatures/signature_benchmarks.h"
#include "bench/signatures/signature_verifier.h"

namespace velmora::bench {

namespace {

using vartime::ArithmeticPath;

template <class Verifier>
void verifyAgain(benchmark::State& state, Verifier& verifier, const DataBuffer& spki) {
  require(verifier.load(spki), "loading of a key");
  for (auto _ : state) require(verifier.verify(), "verification");
}

void verifyVelmora(benchmark::State& state, const Subject& subject, ArithmeticPath path) {
  VelmoraVerifier verifier(subject.scheme, subject.signedMessage, path);
  verifyAgain(state, verifier, subject.spki);
}

void verifyOpenssl(benchmark::State& state, const Subject& subject) {
  OpensslVerifier verifier(subject.scheme, subject.signedMessage);
  verifyAgain(state, verifier, subject.spki);
}

std::string nameOf(const Scheme& scheme, const char* who) {
  return std::string("prepared/") + scheme.name + "/" + who;
}

}  // namespace

void registerPreparedKeys(const std::deque<Subject>& subjects) {
  for (const Subject& subject : subjects) {
    for (const ArithmeticPath path : vartime::kArithmeticPaths) {
      if (!vartime::arithmeticPathSupported(path)) continue;
      benchmark::RegisterBenchmark(
          nameOf(subject.scheme, vartime::arithmeticPathName(path)).c_str(),
          [&subject, path](benchmark::State& state) { verifyVelmora(state, subject, path); });
    }
    benchmark::RegisterBenchmark(
        nameOf(subject.scheme, "openssl").c_str(),
        [&subject](benchmark::State& state) { verifyOpenssl(state, subject); });
  }
}

void printPreparedKeys(const Timings& timings) {
  for (const ArithmeticPath path : vartime::kArithmeticPaths) {
    if (!vartime::arithmeticPathSupported(path)) continue;
    const char* pathName = vartime::arithmeticPathName(path);
    std::printf("\nprepared key, %-14s           velmora, us  OpenSSL, us    ratio%s\n", pathName,
                path == vartime::bestArithmeticPath() ? "  (the path that is used here)" : "");
    for (const Scheme& scheme : schemes()) {
      printBeside(timings, scheme.name, nameOf(scheme, pathName), nameOf(scheme, "openssl"));
    }
  }
}

}  // namespace velmora::bench

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

void verifyVelmoraAgain(benchmark::State& state, const Subject& subject, ArithmeticPath path) {
  VelmoraVerifier verifier(subject.scheme, subject.signedMessage, path);
  require(verifier.load(subject.spki) && verifier.prepare(), "preparing of a key");
  for (auto _ : state) require(verifier.verify(), "verification");
}

void prepareVelmora(benchmark::State& state, const Subject& subject, ArithmeticPath path) {
  for (auto _ : state) {
    VelmoraVerifier verifier(subject.scheme, subject.signedMessage, path);
    require(verifier.load(subject.spki) && verifier.prepare(), "preparing of a key");
  }
}

void verifyOpenssl(benchmark::State& state, const Subject& subject) {
  OpensslVerifier verifier(subject.scheme, subject.signedMessage);
  verifyAgain(state, verifier, subject.spki);
}

std::string nameOf(const Scheme& scheme, const char* who, const char* what = "prepared/") {
  return std::string(what) + scheme.name + "/" + who;
}

using Measured = void (*)(benchmark::State&, const Subject&, ArithmeticPath);

void add(const Subject& subject, ArithmeticPath path, const char* what, Measured measured) {
  const std::string name = nameOf(subject.scheme, vartime::arithmeticPathName(path), what);
  benchmark::RegisterBenchmark(name.c_str(), [&subject, path, measured](benchmark::State& state) {
    measured(state, subject, path);
  });
}

void printAgain(const Timings& timings, const char* pathName) {
  std::printf(
      "\nprepared key, asked again, %-14s velmora, us  OpenSSL, us    ratio  load and prepare, "
      "us\n",
      pathName);
  for (const Scheme& scheme : schemes()) {
    const double made = timings.best(nameOf(scheme, pathName, "prepare/")) / 1e3;
    char note[32];
    std::snprintf(note, sizeof note, "%22.1f", made);
    printBeside(timings, scheme.name, nameOf(scheme, pathName, "again/"), nameOf(scheme, "openssl"),
                note);
  }
}

}  // namespace

void registerPreparedKeys(const std::deque<Subject>& subjects) {
  for (const Subject& subject : subjects) {
    for (const ArithmeticPath path : vartime::kArithmeticPaths) {
      if (!vartime::arithmeticPathSupported(path)) continue;
      add(subject, path, "prepared/", verifyVelmora);
      add(subject, path, "again/", verifyVelmoraAgain);
      add(subject, path, "prepare/", prepareVelmora);
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
    printAgain(timings, pathName);
  }
}

}  // namespace velmora::bench

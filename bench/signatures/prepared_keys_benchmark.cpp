#include "bench/peers/peers.h"
#include "bench/signatures/signature_benchmarks.h"
#include "bench/signatures/signature_verifier.h"

namespace velmora::bench {

namespace {

using vartime::ArithmeticPath;

void verifyVelmora(benchmark::State& state, const Subject& subject, ArithmeticPath path) {
  VelmoraVerifier verifier(subject.scheme, subject.signedMessage, path);
  require(verifier.load(subject.spki), "loading of a key");
  for (auto _ : state) require(verifier.verify(), "verification");
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

using Measured = void (*)(benchmark::State&, const Subject&, ArithmeticPath);

void add(const Subject& subject, ArithmeticPath path, const char* what, Measured measured) {
  const std::string name =
      std::string(what) + subject.scheme.name + "/" + vartime::arithmeticPathName(path);
  benchmark::RegisterBenchmark(name.c_str(), [&subject, path, measured](benchmark::State& state) {
    measured(state, subject, path);
  });
}

}  // namespace

void registerPreparedKeys(const std::deque<Subject>& subjects, Timings& timings) {
  for (const Subject& subject : subjects) {
    for (const ArithmeticPath path : vartime::kArithmeticPaths) {
      if (!vartime::arithmeticPathSupported(path)) continue;
      add(subject, path, "prepared/", verifyVelmora);
      add(subject, path, "again/", verifyVelmoraAgain);
      add(subject, path, "prepare/", prepareVelmora);
    }
    addPeers(timings, std::string("prepared/") + subject.scheme.name, [&subject](const Peer& peer) {
      return peer.verifier(subject.scheme, subject.spki.span(), subject.signedMessage.view());
    });
  }
}

}  // namespace velmora::bench

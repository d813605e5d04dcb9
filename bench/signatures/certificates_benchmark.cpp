#include "bench/peers/peers.h"
#include "bench/signatures/signature_benchmarks.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::bench {

namespace {

RefOwner<VelmoraX509> loadVelmora(const DataBuffer& der, LogBase& log) {
  RefOwner<VelmoraX509> certificate = VelmoraX509::createOwnedX509();
  certificate->loadX509DerAlt(der.data(), static_cast<unsigned>(der.size()), nullptr, log);
  return certificate;
}

bool verifyVelmora(const Subject& subject, LogBase& log) {
  const auto leaf = loadVelmora(subject.leaf, log);
  const auto issuer = loadVelmora(subject.issuer, log);
  return leaf->verifyCertSignature(issuer.get(), log);
}

}  // namespace

void registerCertificates(const std::deque<Subject>& subjects, Timings& timings) {
  for (const Subject& subject : subjects) {
    const std::string name = std::string("certificate/") + subject.scheme.name;
    benchmark::RegisterBenchmark((name + "/velmora").c_str(), [&subject](benchmark::State& state) {
      LogNull log;
      for (auto _ : state) require(verifyVelmora(subject, log), "verification of a certificate");
    });
    addPeers(timings, name, [&subject](const Peer& peer) -> Work {
      return [&] {
        return peer.verifyCertificate(subject.scheme, subject.leaf.span(), subject.issuer.span());
      };
    });
  }
}

}  // namespace velmora::bench

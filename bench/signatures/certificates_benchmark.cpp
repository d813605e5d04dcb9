#include <cstdio>

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

Certificate loadOpenssl(const DataBuffer& der) {
  const unsigned char* at = der.data();
  return Certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
}

bool verifyOpenssl(const Subject& subject) {
  const Certificate leaf = loadOpenssl(subject.leaf);
  const Certificate issuer = loadOpenssl(subject.issuer);
  const Key key(X509_get_pubkey(issuer.get()));
  return X509_verify(leaf.get(), key.get()) > 0;
}

template <class Verify>
void verifyAgain(benchmark::State& state, Verify verify) {
  for (auto _ : state) require(verify(), "verification of a certificate");
}

std::string nameOf(const Scheme& scheme, const char* who) {
  return std::string("certificate/") + scheme.name + "/" + who;
}

}  // namespace

void registerCertificates(const std::deque<Subject>& subjects) {
  for (const Subject& subject : subjects) {
    benchmark::RegisterBenchmark(nameOf(subject.scheme, "velmora").c_str(),
                                 [&subject](benchmark::State& state) {
                                   LogNull log;
                                   verifyAgain(state, [&] { return verifyVelmora(subject, log); });
                                 });
    benchmark::RegisterBenchmark(nameOf(subject.scheme, "openssl").c_str(),
                                 [&subject](benchmark::State& state) {
                                   verifyAgain(state, [&] { return verifyOpenssl(subject); });
                                 });
  }
}

void printCertificates(const Timings& timings) {
  std::printf("\nload two certificates and verify         velmora, us  OpenSSL, us    ratio\n");
  for (const Scheme& scheme : schemes()) {
    printBeside(timings, scheme.name, nameOf(scheme, "velmora"), nameOf(scheme, "openssl"));
  }
}

}  // namespace velmora::bench

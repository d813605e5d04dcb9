#include "fuzz/fuzz_target.h"
#include "tests/x509/all_getters.h"
#include "velmora/reading/certificate_reader.h"

// Property: of whatever loads, every getter gives the same answer the second time, after all others
// and after a verification; without a trusted root no certificate verifies by itself; and what the
// reader of inputs of any form finds loads again.

namespace velmora {
namespace {

using fuzz::require;

std::string answerTo(const test::NamedGetter& getter, VelmoraX509& certificate) {
  LogNull log;
  log.m_verbose = true;
  test::Answer answer;
  getter.ask(certificate, log, answer);
  return answer.str();
}

void ask(std::span<const unsigned char> der) {
  LogNull log;
  VelmoraX509 certificate;
  if (!certificate.loadX509DerAlt(der.data(), static_cast<unsigned>(der.size()), nullptr, log)) {
    return;
  }
  std::string first;
  for (const test::NamedGetter& getter : test::kGetters) first += answerTo(getter, certificate);
  require(!certificate.verifyCertSignature(nullptr, log), "nothing is trusted");
  certificate.verifyCertSignature(&certificate, log);
  certificate.isIssuedBy(certificate, log);
  std::string second;
  for (const test::NamedGetter& getter : test::kGetters) second += answerTo(getter, certificate);
  require(first == second, "a second answer is the first");
}

void read(std::span<const unsigned char> bytes) {
  LogNull log;
  ExtPtrArray certificates;
  readCertificates(bytes, certificates, log);
  for (int i = 0; i < certificates.getSize(); ++i) {
    auto* holder = static_cast<VelmoraX509Holder*>(certificates.elementAt(i));
    DataBuffer der;
    holder->getX509Ptr()->getCertDer(der);
    VelmoraX509 again;
    require(again.loadX509Der(der, log), "what was read loads");
  }
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::ask({data, size});
  velmora::read({data, size});
  return 0;
}

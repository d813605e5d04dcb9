#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "tests/x509/all_getters.h"
#include "velmora/reading/certificate_reader.h"

// Property: of whatever loads, every getter gives the same answer alone, after all others, after a
// verification and where another certificate was loaded before; without a trusted root no
// certificate verifies by itself; and what the reader of inputs of any form finds loads again.

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

bool load(VelmoraX509& certificate, std::span<const unsigned char> der) {
  LogNull log;
  return certificate.loadX509DerAlt(der.data(), static_cast<unsigned>(der.size()), nullptr, log);
}

std::string allAnswersOf(VelmoraX509& certificate) {
  std::string answers;
  for (const test::NamedGetter& getter : test::kGetters) answers += answerTo(getter, certificate);
  return answers;
}

// Whether it loads.
bool ask(std::span<const unsigned char> der) {
  static VelmoraX509 reloaded;  // was another certificate before
  LogNull log;
  VelmoraX509 certificate;
  const bool loads = load(certificate, der);
  require(load(reloaded, der) == loads, "what loads, loads into an object that is in use");
  if (!loads) return false;
  std::string alone;
  for (const test::NamedGetter& getter : test::kGetters) {
    VelmoraX509 fresh;
    load(fresh, der);
    alone += answerTo(getter, fresh);
  }
  require(allAnswersOf(certificate) == alone, "no answer depends on what was asked before");
  require(!certificate.verifyCertSignature(nullptr, log), "nothing is trusted");
  certificate.verifyCertSignature(&certificate, log);
  certificate.isIssuedBy(certificate, log);
  require(allAnswersOf(certificate) == alone, "a second answer is the first");
  require(allAnswersOf(reloaded) == alone, "nothing of the certificate before is left");
  return true;
}

void read(std::span<const unsigned char> bytes) {
  LogNull log;
  ExtPtrArray certificates;
  readCertificates(bytes, certificates, log);
  for (int i = 0; i < certificates.getSize(); ++i) {
    auto* holder = static_cast<VelmoraX509Holder*>(certificates.elementAt(i));
    DataBuffer der;
    holder->getX509Ptr()->getCertDer(der);
    require(std::ranges::equal(der.span(), bytes) || ask(der.span()), "what was read loads");
  }
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::ask({data, size});
  velmora::read({data, size});
  return 0;
}

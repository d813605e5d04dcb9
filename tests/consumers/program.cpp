// What every consumer builds and runs: both faces and a verification, on a server's chain.
#include <cstdio>

#include "velmora/path/verify.h"
#include "velmora/reading/crossing.h"
#include "velmora/reading/reading.h"
#include "velmora/support/log/log_base.h"
#include "velmora/x509/velmora_x509.h"

namespace {

// The serial number as the face of texts tells it.
std::string serialOf(const velmora::Certificate& certificate) {
  velmora::LogNull log;
  velmora::XString serial;
  const auto object = velmora::objectOf(certificate);
  const bool told = object && object->get_SerialNumber(serial, log);
  return told ? std::string(serial.view()) : std::string();
}

bool isTrusted(const velmora::Reading& chain, const velmora::Reading& roots) {
  velmora::VerifyOptions options;
  options.purpose = velmora::Purpose::server;
  options.target = velmora::Target::host("www.example.org").value_or(velmora::Target());
  const velmora::TrustAnchors anchors(roots.certificates);
  const velmora::CertificateSet known(chain.certificates);
  return static_cast<bool>(velmora::verify(chain.certificates.front(), anchors, known, options));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const auto chain = velmora::readCertificateFile(argv[1]);
  const auto roots = velmora::readCertificateFile(argv[2]);
  if (chain.certificates.empty()) return 2;
  const velmora::Certificate& leaf = chain.certificates.front();
  std::printf("%s, %s, %s\n", leaf.subject().find(velmora::oid::commonName).value_or("").c_str(),
              serialOf(leaf).c_str(), isTrusted(chain, roots) ? "trusted" : "not trusted");
  return 0;
}

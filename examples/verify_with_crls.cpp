// Tells whether a client's certificate may be trusted and a CRL vouches for it.
#include <fstream>
#include <iostream>
#include <iterator>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "verify_with_crls ROOTS CRLS CHAIN\n";
    return 2;
  }
  const TrustAnchors anchors(readCertificateFile(argv[1]).certificates);
  std::ifstream file(argv[2], std::ios::binary);
  const std::string octets(std::istreambuf_iterator<char>(file), {});
  const CrlReading crls = CrlSet::read(std::as_bytes(std::span(octets)));
  for (const CrlFailure& failure : crls.failures) std::cerr << failure.reason << '\n';
  const auto sent = readCertificateFile(argv[3]).certificates;
  if (sent.empty()) {
    std::cerr << "No certificate.\n";
    return 2;
  }
  VerifyOptions options;
  options.purpose = Purpose::client;
  options.crls = CrlSet(crls.crls);
  options.revocation = Revocation::leaf;
  const Verification answer = verify(sent.front(), anchors, CertificateSet(sent), options);
  const bool isVouchedFor = answer && answer.verified.front().isLeafNotRevoked();
  std::cout << (isVouchedFor ? "trusted, and not revoked" : reasonId(answer.reason)) << '\n';
  return isVouchedFor ? 0 : 1;
}

// Tells whether the chain that a server sent, leaf first, may be trusted for a host.
#include <iostream>
#include <vector>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "verify_server HOST ROOTS CHAIN\n";
    return 2;
  }
  const Result<Target> host = Target::host(argv[1]);
  if (!host) {
    std::cerr << host.error().message() << '\n';
    return 2;
  }
  const TrustAnchors anchors(readCertificateFile(argv[2]).certificates);
  const Reading file = readCertificateFile(argv[3]);
  std::vector<Bytes> sent;  // as a TLS library hands them out
  for (size_t i = 0; i < file.certificates.size(); ++i) sent.push_back(file.originalOf(i));

  VerifyOptions options;
  options.purpose = Purpose::server;
  options.target = *host;
  const Verification answer = verify(sent, anchors, options);
  std::cout << (answer ? "trusted" : reasonId(answer.reason)) << '\n';
  return answer ? 0 : 1;
}

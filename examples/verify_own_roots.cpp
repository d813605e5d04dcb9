// Trusts a root of one's own, and that for the hosts of one domain alone, whatever it has signed.
#include <iostream>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  const auto read = [&](int at) {
    return readCertificateFile(at < argc ? argv[at] : "").certificates;
  };
  const auto roots = read(3), sent = read(4);
  const Result<Target> host = Target::host(argc > 1 ? argv[1] : "");
  if (!host || roots.empty() || sent.empty()) {
    std::cerr << "verify_own_roots HOST DOMAIN ROOT CHAIN\n";
    return 2;
  }
  AnchorConstraints constraints;
  constraints.names.emplace().permitted.push_back(DnsName{argv[2]});
  constraints.pathLength = 1;  // one CA below it, and no more
  const Result<TrustAnchor> anchor =
      TrustAnchor::make(roots[0].subject(), roots[0].parts().spki, constraints);
  if (!anchor) {
    std::cerr << anchor.error().message() << '\n';
    return 2;
  }
  VerifyOptions options;
  options.purpose = Purpose::server;
  options.target = *host;
  const TrustAnchors anchors(std::span(&*anchor, 1));
  const Verification answer = verify(sent.front(), anchors, CertificateSet(sent), options);
  std::cout << (answer ? "trusted" : reasonId(answer.reason)) << '\n';
  return answer ? 0 : 1;
}

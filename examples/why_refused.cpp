// Tells all that is wrong with the way that came furthest, certificate by certificate.
#include <iostream>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

// A text may hold a name from a certificate, which may hold what steers a terminal.
static void print(std::string_view text) {
  for (const char c : text) std::cout << (c < ' ' || c > '~' ? '?' : c);
}

int main(int argc, char** argv) {
  const auto read = [&](int at) {
    return readCertificateFile(at < argc ? argv[at] : "").certificates;
  };
  const auto roots = read(2), sent = read(3);
  const Result<Target> host = Target::host(argc > 1 ? argv[1] : "");
  if (!host || sent.empty()) {
    std::cerr << "why_refused HOST ROOTS CHAIN\n";
    return 2;
  }
  VerifyOptions options;
  options.purpose = Purpose::server;
  options.target = *host;
  options.profile = Profile::web;
  const Verification answer =
      verify(sent.front(), TrustAnchors(roots), CertificateSet(sent), options);
  std::cout << "reason: " << reasonId(answer.reason) << '\n';
  for (const Finding& each : answer.furthest.findings) {
    std::cout << "certificate " << each.certificate << ", " << each.id() << ": ";
    print(each.text());
    std::cout << ' ' << each.clause() << '\n';
  }
  return answer ? 0 : 1;
}

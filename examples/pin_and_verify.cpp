// Trusts a server only over ways that hold and on which a key stands that is pinned: that of a
// certificate which was kept.
#include <algorithm>
#include <iostream>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  const auto read = [&](int at) {
    return readCertificateFile(at < argc ? argv[at] : "").certificates;
  };
  const auto roots = read(2), kept = read(3), sent = read(4);
  const Result<Target> host = Target::host(argc > 1 ? argv[1] : "");
  if (!host || kept.empty() || sent.empty()) {
    std::cerr << "pin_and_verify HOST ROOTS PINNED CHAIN\n";
    return 2;
  }
  const auto pin = kept.front().spkiPin<Hash::sha256>();
  const auto isPinned = [&](const Path& path) noexcept {
    return std::any_of(
        path.certificates.begin(), path.certificates.end(),
        [&](const Certificate& each) { return each.spkiPin<Hash::sha256>() == pin; });
  };
  VerifyOptions options;
  options.purpose = Purpose::server;
  options.target = *host;
  options.accept = isPinned;  // asked about each way that holds, until it says yes
  const Verification answer =
      verify(sent.front(), TrustAnchors(roots), CertificateSet(sent), options);
  std::cout << (answer ? "trusted, and pinned" : reasonId(answer.reason)) << '\n';
  return answer ? 0 : 1;
}

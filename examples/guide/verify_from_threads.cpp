// Verifies one chain from several threads, which share all that the question is made of.
#include <atomic>
#include <iostream>
#include <thread>
#include <vector>

#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  const auto sent = readCertificateFile(argc > 2 ? argv[2] : "").certificates;
  const TrustAnchors anchors(readCertificateFile(argc > 1 ? argv[1] : "").certificates);
  if (sent.empty()) return 3;
  const CertificateSet intermediates(sent);
  VerifyOptions options;
  options.purpose = Purpose::server;
  options.target = Target::notJudged();

  std::atomic<int> trusted = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, leaf = sent.front()] {  // a copy of a certificate is one more count
      for (int n = 0; n < 25; ++n) {
        if (verify(leaf, anchors, intermediates, options)) ++trusted;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::cout << trusted << " of 100 verifications say trusted\n";
  return trusted == 100 ? 0 : 1;
}

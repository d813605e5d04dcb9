#include "bench/signatures/signature_benchmarks.h"

namespace velmora::bench {

std::deque<Subject> makeSubjects() {
  std::deque<Subject> subjects;
  for (const Scheme& scheme : schemes()) {
    Key key = makeKey(scheme);
    EVP_PKEY* const handle = key.get();
    subjects.push_back({scheme, std::move(key), spkiOf(handle), signMessage(scheme, handle),
                        makeCertificate(scheme, handle, "Issuer", "Root"),
                        makeCertificate(scheme, handle, "www.example.org", "Issuer")});
  }
  return subjects;
}

}  // namespace velmora::bench

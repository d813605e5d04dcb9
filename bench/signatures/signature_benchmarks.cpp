#include "bench/signatures/signature_benchmarks.h"

#include <cstdio>

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

void printBeside(const Timings& timings, const char* what, const std::string& ours,
                 const std::string& theirs, const char* note) {
  const double our = timings.best(ours);
  const double their = timings.best(theirs);
  if (our == 0 || their == 0) return;
  std::printf("%-40s %10.2f   %10.2f %8.2f%s\n", what, our / 1e3, their / 1e3, our / their, note);
}

}  // namespace velmora::bench

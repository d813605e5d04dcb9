// Tells what of a file could not be read, and of an extension whether it is absent or malformed.
#include <iostream>

#include "velmora/certificate/date_text.h"
#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  const Reading reading = readCertificateFile(argc > 1 ? argv[1] : "");
  for (const ReadFailure& each : reading.failures) {
    std::cout << "item " << each.index + 1 << ", line " << each.line << ": " << each.reason << '\n';
    const bool isKey =
        each.error.found == Found::privateKey;  // a program decides by code and found
    if (isKey) std::cout << "  keep it out of here\n";
  }
  for (const Certificate& certificate : reading.certificates) {
    const Result<std::string> end = certificate.notAfter().transform(toIso8601);
    std::cout << "until " << end.value_or("a date that cannot be read") << ": ";
    const Result<BasicConstraints> constraints = certificate.basicConstraints();
    if (constraints) {
      std::cout << (constraints->ca ? "a CA\n" : "not a CA\n");
    } else if (constraints.error().isAbsent()) {
      std::cout << "no CA, as nothing says so\n";
    } else {  // nobody knows what was meant: neither yes nor no
      std::cout << constraints.error().message() << " At " << constraints.error().offset << ".\n";
    }
    for (const Departure& each : certificate.departures()) {
      std::cout << "  " << each.id() << (each.mayDecide() ? "\n" : ", decide nothing on it\n");
    }
  }
  return reading.complete() ? 0 : 1;
}

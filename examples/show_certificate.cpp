// Shows whom the certificates of a file are for, and whether they are valid now.
#include <chrono>
#include <iostream>
#include <variant>

#include "velmora/reading/reading.h"

using namespace velmora;

int main(int argc, char** argv) {
  const Reading reading = readCertificateFile(argc > 1 ? argv[1] : "");
  for (const ReadFailure& failure : reading.failures) std::cerr << failure.reason << '\n';
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  for (const Certificate& certificate : reading.certificates) {
    std::cout << certificate.subject().rfc4514().value_or("a malformed name") << '\n';
    const Result<Validity> validity = certificate.validity();
    std::cout << (validity && validity->contains(now) ? "  valid now\n" : "  not valid now\n");
    const Result<BasicConstraints> constraints = certificate.basicConstraints();
    if (constraints) {
      std::cout << (constraints->ca ? "  a CA\n" : "  not a CA\n");
    } else if (!constraints.error().isAbsent()) {  // there, and malformed: do not decide on it
      std::cout << "  " << constraints.error().message() << '\n';
    }
    for (const GeneralName& name : certificate.subjectAltNames().value_or({})) {
      if (const auto* address = std::get_if<IpAddress>(&name)) {
        std::cout << "  for " << address->text() << '\n';
      }
    }
  }
  return reading.complete() ? 0 : 1;
}

// Asks the names of certificates for a part, and whether they are the one that a user wrote down.
#include <iostream>

#include "velmora/reading/reading.h"
#include "velmora/support/text/printable.h"

using namespace velmora;

int main(int argc, char** argv) {
  const Reading reading = readCertificateFile(argc > 1 ? argv[1] : "");
  const Result<Name> wanted = Name::parse(argc > 2 ? argv[2] : "");
  if (!wanted) {
    std::cout << wanted.error().message() << " At " << wanted.error().offset << ".\n";
    return 2;
  }
  for (const Certificate& certificate : reading.certificates) {
    const Name subject = certificate.subject();
    std::cout << subject.rfc4514().value_or("a malformed name") << '\n';
    const Result<std::string> place = subject.find(oid::locality);
    StringBuffer shown;  // the text may hold anything, escapes of a terminal included
    appendPrintable(place ? *place : place.error().message(), shown);
    std::cout << "  locality: " << shown.view() << '\n';
    std::cout << (subject.matches(*wanted) ? "  the name asked for\n" : "  another name\n");
  }
  return reading.complete() ? 0 : 1;
}

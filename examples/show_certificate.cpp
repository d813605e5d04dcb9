// Shows whom the certificates of a file belong to and how long they are valid.
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "velmora/reading/certificate_reader.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/x509/velmora_x509.h"

using namespace velmora;

int main(int argc, char** argv) {
  std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  LogText log;
  ExtPtrArray holders;
  const bool allRead = readCertificates(bytes, holders, log);
  if (!allRead) std::cerr << log.text().view();
  LogStream out(std::cout);  // writes a control character, which a name may hold, as \xHH
  for (int i = 0; i < holders.getSize(); ++i) {
    VelmoraX509* certificate = VelmoraX509Holder::getNthX509(holders, i);
    XString subject;
    VelmoraSysTime notAfter;
    StringBuffer date;
    certificate->getDN(true, true, subject, log, 0);
    certificate->get_Valid_To_or_From_UTC(false, notAfter, log);
    notAfter.appendIso8601(date);
    out.LogDataX("subject", subject);
    out.LogDataSb(certificate->isCertExpired(log) ? "not valid now, until" : "valid until", date);
  }
  return allRead ? 0 : 1;
}

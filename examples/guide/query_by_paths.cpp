// Reads whatever stands in a certificate by paths through the tree of its ASN.1 elements.
#include <iostream>

#include "velmora/reading/crossing.h"
#include "velmora/reading/reading.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/support/text/printable.h"

using namespace velmora;

int main(int argc, char** argv) {
  const Reading reading = readCertificateFile(argc > 1 ? argv[1] : "");
  if (reading.certificates.empty()) return 3;
  const RefOwner<VelmoraX509> object = objectOf(reading.certificates.front());
  const _clsOwner tree(ClsXml::createNewCls());  // a cursor, which starts on the root
  LogText log;
  XString xml;
  if (!object || !tree || !object->getXml(xml, log) || !tree->loadXml(xml.view(), true, log)) {
    std::cerr << log.text().view();
    return 3;
  }
  for (int i = 2; i < argc; ++i) {
    XString content;
    StringBuffer shown;
    const bool isThere = tree->velmoraPath(argv[i], content, log);
    appendPrintable(isThere ? content.view() : "nothing there", shown);
    std::cout << shown.view() << '\n';
  }
  return 0;
}

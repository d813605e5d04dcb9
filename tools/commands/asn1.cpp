#include "tools/commands/command.h"
#include "tools/render/escape.h"
#include "velmora/support/asn1/der_xml_codec.h"

namespace velmora::tool {

namespace {

void runAsn1(const Arguments& arguments, Console& console) {
  StringBuffer& out = console.out();
  StringBuffer xml;
  visitFiles(arguments, console, [&](const InputCertificate& input) {
    xml.weakClear();
    Asn1Fault fault;
    if (!DerXmlCodec::derToXml(input.der, xml, fault)) throw Untreated(fault.reason);
    arguments.has("--compact") ? appendXmlText(xml.view(), out)
                               : appendIndentedXml(xml.view(), out);
    out.appendChar('\n');
  });
}

constexpr OptionSpec kOptions[] = {
    {"--compact", "", "one line for each certificate, as the library keeps it"},
};

}  // namespace

const Command kAsn1Command = {"asn1", "print the ASN.1 XML form of each certificate",
                              "What it prints can be read back.\n", kOptions, runAsn1};

}  // namespace velmora::tool

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/asn1/der_xml_codec.h"

namespace velmora::tool {

namespace {

bool runAsn1(const Arguments& arguments, Console& console, std::string&) {
  StringBuffer& out = console.out();
  StringBuffer xml;
  return visitFiles(arguments, console, [&](const InputCertificate& input) -> const char* {
    xml.weakClear();
    Asn1Fault fault;
    if (!DerXmlCodec::derToXml(input.der, xml, fault)) return fault.reason;
    arguments.has("--compact") ? appendXmlText(xml.view(), out)
                               : appendIndentedXml(xml.view(), out);
    out.appendChar('\n');
    return nullptr;
  });
}

constexpr OptionSpec kOptions[] = {
    {"--compact", "", "one line for each certificate, as the library keeps it"},
};

}  // namespace

const Command kAsn1Command = {"asn1", "print the ASN.1 XML form of each certificate",
                              "What it prints can be read back.\n", kOptions, runAsn1};

}  // namespace velmora::tool

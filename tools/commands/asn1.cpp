#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/asn1/der_xml_codec.h"

namespace velmora::tool {

namespace {

class PrintXml final : public CertificateVisitor {
 public:
  PrintXml(bool compact, Console& console) : m_compact(compact), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    m_xml.weakClear();
    Asn1Fault fault;
    if (!DerXmlCodec::derToXml(input.der, m_xml, fault)) return fault.reason;
    StringBuffer& out = m_console.out();
    m_compact ? appendXmlText(m_xml.view(), out) : appendIndentedXml(m_xml.view(), out);
    out.appendChar('\n');
    return nullptr;
  }

 private:
  bool m_compact;
  Console& m_console;
  StringBuffer m_xml;
};

bool runAsn1(const Arguments& arguments, Console& console, std::string&) {
  PrintXml visitor(arguments.has("--compact"), console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--compact", "", "one line for each certificate, as the library keeps it"},
};

}  // namespace

const Command kAsn1Command = {"asn1", "print the ASN.1 XML form of each certificate",
                              "What it prints can be read back.\n", kOptions, runAsn1};

}  // namespace velmora::tool

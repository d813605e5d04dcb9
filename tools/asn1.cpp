#include <algorithm>

#include "support/asn1/der_xml_codec.h"
#include "tools/command.h"
#include "tools/escape.h"
#include "tools/input.h"

namespace velmora::tool {

namespace {

void appendLineStart(size_t depth, StringBuffer& out) {
  out.appendChar('\n');
  for (size_t i = 0; i < depth; ++i) out.append("  ");
}

// Puts each element of compact XML on a line of its own. Content is not touched, and white space
// between elements alone means nothing, so the text reads back as the same document.
void appendIndented(std::string_view xml, StringBuffer& out) {
  size_t depth = 0;
  bool isLeaf = false;  // nothing but content since the last start tag
  for (size_t at = 0; at < xml.size();) {
    const bool closes = xml.substr(at).starts_with("</");
    if (closes) --depth;
    if (at != 0 && !(closes && isLeaf)) appendLineStart(depth, out);
    if (!closes) ++depth;
    isLeaf = !closes;
    const size_t next = std::min(xml.find('<', at + 1), xml.size());
    appendXmlText(xml.substr(at, next - at), out);
    at = next;
  }
}

class PrintXml final : public CertificateVisitor {
 public:
  PrintXml(bool compact, Console& console) : m_compact(compact), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    m_xml.weakClear();
    Asn1Fault fault;
    if (!DerXmlCodec::derToXml(input.der, m_xml, fault)) return fault.reason;
    StringBuffer& out = m_console.out();
    m_compact ? appendXmlText(m_xml.view(), out) : appendIndented(m_xml.view(), out);
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

#include "tools/commands/command.h"
#include "tools/reading/certificate_tree.h"
#include "tools/reading/input.h"
#include "tools/reading/whole.h"
#include "tools/render/escape.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"

namespace velmora::tool {

namespace {

enum class Form { kXml, kDer, kHex, kText };

class PrintExtension final : public CertificateVisitor {
 public:
  PrintExtension(std::string_view oid, Form form, Console& console)
      : m_oid(oid), m_form(form), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_tree.load(input.der)) return reason;
    const ListedExtension* extension = m_tree.findExtension(m_oid);
    if (extension == nullptr || !extension->value) {
      reportAbsence(input);
      return nullptr;
    }
    m_value.clear();
    m_value.appendEncoded(*extension->value, "base64");
    whole(m_value);
    return print();
  }

 private:
  void reportAbsence(const InputCertificate& input) {
    StringBuffer line("velmora-x509: ");
    appendPlace(input, line);
    line.append(": no extension ");
    line.append(m_oid);
    m_console.error(line.view());
    m_console.raise(ExitStatus::kNo);
  }

  const char* print() {
    StringBuffer& out = m_console.out();
    if (m_form == Form::kDer) {
      out.append(m_value);
      return nullptr;
    }
    if (m_form == Form::kHex) {
      m_value.encodeDB("hex", out);
    } else if (m_form == Form::kText) {
      appendPrintable(m_value.view(), out);
    } else {
      m_xml.weakClear();
      Asn1Fault fault;
      if (!DerXmlCodec::derToXml(m_value.span(), m_xml, fault)) {
        whole(m_xml);
        return "The extension's value is not ASN.1; --hex shows it.";
      }
      appendIndentedXml(m_xml.view(), out);
    }
    out.appendChar('\n');
    return nullptr;
  }

  std::string_view m_oid;
  Form m_form;
  Console& m_console;
  CertificateTree m_tree;
  DataBuffer m_value;
  StringBuffer m_xml;
};

Form chosenForm(const Arguments& arguments) {
  if (arguments.has("--der")) return Form::kDer;
  if (arguments.has("--hex")) return Form::kHex;
  return arguments.has("--text") ? Form::kText : Form::kXml;
}

bool runExt(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!arguments.atMostOneOf({"--der", "--hex", "--xml", "--text"}, usageError)) return false;
  const std::string_view named = oidOfName(arguments.operand());
  const std::string_view oid = named.empty() ? arguments.operand() : named;
  DataBuffer content;
  if (!dottedToOid(oid, content)) {
    usageError = "neither a dotted OID nor a known name: ";
    usageError += oid;
    return false;
  }
  const Form form = chosenForm(arguments);
  if (form == Form::kDer && !console.takesBinary(usageError)) return false;
  PrintExtension visitor(oid, form, console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--xml", "", "the value as ASN.1 XML (the default)"},
    {"--der", "", "the octets of the value as they are"},
    {"--hex", "", "the octets in hexadecimal, one line for each certificate"},
    {"--text", "", "the octets taken as text, one line for each certificate"},
};

}  // namespace

const Command kExtCommand = {
    "ext",
    "print the value of an extension",
    "OID is dotted or a name as \"show\" prints it: subjectAltName for 2.5.29.17. The\n"
    "exit status is 1 when a certificate has no such extension.\n",
    kOptions,
    runExt,
    "OID"};

}  // namespace velmora::tool

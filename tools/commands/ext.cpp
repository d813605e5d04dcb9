#include <algorithm>

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "tools/render/octets.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

enum class Form { kXml, kDer, kHex, kText };

class PrintExtension final : public CertificateVisitor {
 public:
  // `content` is that of the dotted OID.
  PrintExtension(std::string_view oid, const DataBuffer& content, Form form, Console& console)
      : m_oid(oid), m_content(content), m_form(form), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    const Bytes wanted = std::as_bytes(m_content.span());
    const std::vector<Extension> extensions = input.certificate.listedExtensions();
    const auto found =
        std::find_if(extensions.begin(), extensions.end(), [&](const Extension& each) {
          return std::equal(each.rawId.begin(), each.rawId.end(), wanted.begin(), wanted.end());
        });
    if (found != extensions.end() && found->hasValue) return print(found->value);
    reportAbsence(input);
    return nullptr;
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

  const char* print(Bytes value) {
    const std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
    StringBuffer& out = m_console.out();
    if (m_form == Form::kDer) {
      out.append(text);
      return nullptr;
    }
    if (m_form == Form::kHex) {
      appendHex(value, out);
    } else if (m_form == Form::kText) {
      appendPrintable(text, out);
    } else {
      m_xml.weakClear();
      Asn1Fault fault;
      if (!DerXmlCodec::derToXml(octetsOf(value), m_xml, fault)) {
        whole(m_xml);
        return "The extension's value is not ASN.1; --hex shows it.";
      }
      appendIndentedXml(m_xml.view(), out);
    }
    out.appendChar('\n');
    return nullptr;
  }

  std::string_view m_oid;
  const DataBuffer& m_content;
  Form m_form;
  Console& m_console;
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
  PrintExtension visitor(oid, content, form, console);
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

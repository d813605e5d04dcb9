#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/octets.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

enum class Form { kPem, kDer, kOcsp, kXml, kId };

class PrintKey final : public CertificateVisitor {
 public:
  PrintKey(Form form, Console& console) : m_form(form), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (m_form == Form::kPem) return printPem(input.certificate.parts().spki);
    if (const char* reason = m_loaded.load(input.der)) return reason;
    switch (m_form) {
      case Form::kDer:
        return printOctets(m_loaded.get().get_PublicKey(m_octets, m_log));
      case Form::kOcsp:
        return printOctets(m_loaded.get().get_PublicKeyForOCSP(m_octets, m_log));
      case Form::kXml:
        return printXml();
      default:
        return printId();
    }
  }

 private:
  const char* printOctets(bool read) {
    whole(m_octets);
    if (!read) return "The public key cannot be read.";
    m_console.out().append(m_octets);
    return nullptr;
  }

  const char* printPem(Bytes spki) {
    appendPem("PUBLIC KEY", octetsOf(spki), m_console.out());
    return nullptr;
  }

  const char* printXml() {
    StringBuffer xml;
    const bool read = m_loaded.get().get_PublicKeyXml(xml, m_log);
    whole(xml);
    if (!read) return "The public key cannot be read.";
    appendIndentedXml(xml.view(), m_console.out());
    m_console.out().appendChar('\n');
    return nullptr;
  }

  const char* printId() {
    StringBuffer id;
    const bool read = m_loaded.get().getVelmoraKeyId64(id, m_log);
    whole(id);
    if (!read) {
      return "The public key is of a kind that is not supported, or damaged.";
    }
    m_console.out().append(id);
    m_console.out().appendChar('\n');
    return nullptr;
  }

  Form m_form;
  Console& m_console;
  LoadedCertificate m_loaded;
  LogNull m_log;
  DataBuffer m_octets;
};

Form chosenForm(const Arguments& arguments) {
  if (arguments.has("--der")) return Form::kDer;
  if (arguments.has("--ocsp")) return Form::kOcsp;
  if (arguments.has("--xml")) return Form::kXml;
  return arguments.has("--id") ? Form::kId : Form::kPem;
}

bool runKey(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!arguments.atMostOneOf({"--pem", "--der", "--ocsp", "--xml", "--id"}, usageError)) {
    return false;
  }
  const Form form = chosenForm(arguments);
  const bool isBinary = form == Form::kDer || form == Form::kOcsp;
  if (isBinary && !console.takesBinary(usageError)) return false;
  PrintKey visitor(form, console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--pem", "", "the SubjectPublicKeyInfo as PEM (the default)"},
    {"--der", "",
     "the octets that the library's get_PublicKey gives: RSA as PKCS #1 RSAPublicKey, DSA and EC "
     "as SubjectPublicKeyInfo, others as their bare octets"},
    {"--ocsp", "", "the octets that an OCSP request hashes: as --der, of EC the point"},
    {"--xml", "", "the SubjectPublicKeyInfo as ASN.1 XML"},
    {"--id", "", "the 64-bit key identifier of RFC 5280 (4.2.1.2, method 2) in hexadecimal"},
};

}  // namespace

const Command kKeyCommand = {"key", "print the public key of each certificate", "", kOptions,
                             runKey};

}  // namespace velmora::tool

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

const char* print(Bytes value, const Arguments& arguments, StringBuffer& out) {
  const bool isDer = arguments.has("--der");
  if (isDer || arguments.has("--text")) {
    isDer ? static_cast<void>(out.append(charactersOf(value)))
          : appendPrintable(charactersOf(value), out);
  } else if (arguments.has("--hex")) {
    appendHex(value, out);
  } else {
    StringBuffer xml;
    Asn1Fault fault;
    if (!DerXmlCodec::derToXml(octetsOf(value), xml, fault)) {
      whole(xml);
      return "The extension's value is not ASN.1; --hex shows it.";
    }
    appendIndentedXml(xml.view(), out);
  }
  if (!isDer) out.appendChar('\n');
  return nullptr;
}

void reportAbsence(const InputCertificate& input, std::string_view oid, Console& console) {
  StringBuffer line("velmora-x509: ");
  appendPlace(input, line);
  line.append(": no extension ");
  line.append(oid);
  console.error(line.view());
  console.raise(ExitStatus::kNo);
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
  if (arguments.has("--der") && !console.takesBinary(usageError)) return false;
  const Bytes wanted = std::as_bytes(content.span());
  return visitFiles(arguments, console, [&](const InputCertificate& input) -> const char* {
    const std::vector<Extension> extensions = input.certificate.listedExtensions();
    const auto found =
        std::find_if(extensions.begin(), extensions.end(),
                     [&](const Extension& each) { return isSame(each.rawId, wanted); });
    if (found != extensions.end() && found->hasValue) {
      return print(found->value, arguments, console.out());
    }
    reportAbsence(input, oid, console);
    return nullptr;
  });
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

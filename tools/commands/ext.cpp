#include <algorithm>
#include <string>

#include "tools/commands/command.h"
#include "tools/render/escape.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

void printValue(Bytes value, const Arguments& arguments, StringBuffer& out) {
  if (arguments.has("--der")) return print(out, charactersOf(value));
  if (arguments.has("--text")) {
    print(out, Safe{charactersOf(value)});
  } else if (arguments.has("--hex")) {
    print(out, Hex{value});
  } else {
    StringBuffer xml;
    Asn1Fault fault;
    const bool isRead = DerXmlCodec::derToXml(octetsOf(value), xml, fault);
    whole(xml);
    if (!isRead) throw Untreated("The extension's value is not ASN.1; --hex shows it.");
    appendIndentedXml(xml.view(), out);
  }
  out.appendChar('\n');
}

// Behind a word that is no OID: the extension of the standards that it most likely means.
std::string meantExtension(std::string_view word) {
  constexpr int kBeyondLast = 100;
  std::vector<std::string_view> names;
  for (const char* const arc : {"2.5.29.", "1.3.6.1.5.5.7.1."}) {
    for (int last = 0; last < kBeyondLast; ++last) {
      const std::string_view name = oidName(arc + std::to_string(last));
      if (!name.empty()) names.push_back(name);
    }
  }
  return didYouMean(word, names);
}

void runExt(const Arguments& arguments, Console& console) {
  arguments.wantAtMostOneOf({"--der", "--hex", "--xml", "--text"});
  const std::string_view named = oidOfName(arguments.operand());
  const std::string_view oid = named.empty() ? arguments.operand() : named;
  DataBuffer content;
  const bool isOid = dottedToOid(oid, content);
  whole(content);
  if (!isOid) {
    throw UsageError("neither a dotted OID nor a known name: " + std::string(oid) +
                     meantExtension(oid));
  }
  if (arguments.has("--der")) console.wantBinary();
  const Bytes wanted = std::as_bytes(content.span());
  visitFiles(arguments, console, [&](const InputCertificate& input) {
    const std::vector<Extension> extensions = input.certificate.listedExtensions();
    const auto found =
        std::find_if(extensions.begin(), extensions.end(),
                     [&](const Extension& each) { return isSame(each.rawId, wanted); });
    if (found != extensions.end() && found->hasValue) {
      return printValue(found->value, arguments, console.out());
    }
    console.error(input, ": no extension ", oid);
    console.raise(ExitStatus::kNo);
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

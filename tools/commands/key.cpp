#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/octets.h"
#include "tools/render/xml_layout.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr const char* kUnreadable = "The public key cannot be read.";

bool printPem(const Arguments& arguments, Console& console) {
  return visitFiles(arguments, console, [&](const InputCertificate& input) -> const char* {
    appendPem("PUBLIC KEY", octetsOf(input.certificate.parts().spki), console.out());
    return nullptr;
  });
}

bool printOctets(const Arguments& arguments, Console& console) {
  const auto get =
      arguments.has("--ocsp") ? &VelmoraX509::get_PublicKeyForOCSP : &VelmoraX509::get_PublicKey;
  LogNull log;
  DataBuffer octets;
  return visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) -> const char* {
    const bool read = (certificate.*get)(octets, log);
    whole(octets);
    if (!read) return kUnreadable;
    console.out().append(octets);
    return nullptr;
  });
}

bool printText(const Arguments& arguments, Console& console) {
  const bool isXml = arguments.has("--xml");
  LogNull log;
  return visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) -> const char* {
    StringBuffer text;
    const bool read =
        isXml ? certificate.get_PublicKeyXml(text, log) : certificate.getVelmoraKeyId64(text, log);
    whole(text);
    if (!read && isXml) return kUnreadable;
    if (!read) return "The public key is of a kind that is not supported, or damaged.";
    isXml ? appendIndentedXml(text.view(), console.out())
          : static_cast<void>(console.out().append(text));
    console.out().appendChar('\n');
    return nullptr;
  });
}

bool runKey(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!arguments.atMostOneOf({"--pem", "--der", "--ocsp", "--xml", "--id"}, usageError)) {
    return false;
  }
  if (arguments.has("--der") || arguments.has("--ocsp")) {
    return console.takesBinary(usageError) && printOctets(arguments, console);
  }
  const bool isText = arguments.has("--xml") || arguments.has("--id");
  return isText ? printText(arguments, console) : printPem(arguments, console);
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

#include "tools/commands/command.h"
#include "tools/render/escape.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr const char* kUnreadable = "The public key cannot be read.";

void printOctets(const Arguments& arguments, Console& console) {
  console.wantBinary();
  const auto get =
      arguments.has("--ocsp") ? &VelmoraX509::get_PublicKeyForOCSP : &VelmoraX509::get_PublicKey;
  LogNull log;
  DataBuffer octets;
  visitLoaded(
      arguments, console,
      [&](VelmoraX509& certificate, auto&) {
        const bool read = (certificate.*get)(octets, log);
        whole(octets);
        if (!read) throw Untreated(kUnreadable);
        console.out().append(octets);
      },
      Takes::kKeys);
}

void printText(const Arguments& arguments, Console& console) {
  const bool isXml = arguments.has("--xml");
  LogNull log;
  visitLoaded(
      arguments, console,
      [&](VelmoraX509& certificate, auto&) {
        StringBuffer text;
        const bool read = isXml ? certificate.get_PublicKeyXml(text, log)
                                : certificate.getVelmoraKeyId64(text, log);
        whole(text);
        if (!read && isXml) throw Untreated(kUnreadable);
        if (!read)
          throw Untreated("The public key is of a kind that is not supported, or damaged.");
        isXml ? appendIndentedXml(text.view(), console.out()) : print(console.out(), text);
        console.out().appendChar('\n');
      },
      Takes::kKeys);
}

void runKey(const Arguments& arguments, Console& console) {
  arguments.wantAtMostOneOf({"--pem", "--der", "--ocsp", "--xml", "--id"});
  if (arguments.has("--der") || arguments.has("--ocsp")) return printOctets(arguments, console);
  if (arguments.has("--xml") || arguments.has("--id")) return printText(arguments, console);
  visitFiles(
      arguments, console,
      [&](const InputCertificate& input) {
        appendPem("PUBLIC KEY", octetsOf(input.certificate.parts().spki), console.out());
      },
      Takes::kKeys);
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

const Command kKeyCommand = {
    "key", "print the public key of each certificate",
    "Public keys (PUBLIC KEY, RSA PUBLIC KEY) and requests are taken too.\n", kOptions, runKey};

}  // namespace velmora::tool

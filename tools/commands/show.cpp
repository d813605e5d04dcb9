#include "tools/render/show.h"

#include <utility>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"

namespace velmora::tool {

namespace {

void showXml(const Arguments& arguments, Console& console) {
  visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) {
    appendSummaryXml(certificate, console.out());
  });
}

void runShow(const Arguments& arguments, Console& console) {
  arguments.wantAtMostOneOf({"--json", "--xml", "--oids"});
  arguments.wantBoth("--with-der", "--json");
  arguments.wantBoth("--lines", "--json");
  jobsOf(arguments);
  if (arguments.has("--xml")) return showXml(arguments, console);
  if (arguments.has("--json")) {
    const bool withDer = arguments.has("--with-der");
    return visitFilesOrLines(arguments, console, [&](Answers& answers) -> Visit {
      return [&answers, withDer](const InputCertificate& input) {
        showAsJson(input, withDer, answers.out());
      };
    });
  }
  const OidStyle style = arguments.has("--oids") ? OidStyle::kNumbers : OidStyle::kNamed;
  visitFiles(arguments, console, [&, isFirst = true](const InputCertificate& input) mutable {
    if (!std::exchange(isFirst, false)) console.out().appendChar('\n');
    showAsText(input, style, console);
  });
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line: source, index, subject, issuer, serialNumber, version, notBefore, "
     "notAfter, validNow, signatureAlgorithm, publicKeyAlgorithm, subjectKeyIdentifier, "
     "authorityKeyIdentifier, subjectAltNames, emails, sha1, sha256, spkiSha256, selfIssued, "
     "publicKey, extensions, warnings, subjectRfc4514, issuerRfc4514, subjectRdns, issuerRdns, "
     "departures; or source, index, error"},
    {"--with-der", "", "with --json: also der, the certificate in base64"},
    {"--xml", "", "the summary of each certificate as XML"},
    {"--oids", "", "OIDs as numbers alone, without their names"},
    kLinesOption,
    kJobsOption,
    kProgressOption,
    kQuietOption,
};

}  // namespace

const Command kShowCommand = {
    "show", "show the fields of each certificate (what a FILE alone stands for)",
    "The index in JSON counts from 0 within each source, the blocks for people from\n"
    "1; what could not be read counts too. A date that cannot be read is null, and\n"
    "validNow with it; so is a version that is no number. warnings is a list of\n"
    "texts.\n"
    "\n"
    "subjectAltNames lists {type, value}; the types are otherName, email, dns, x400,\n"
    "directory, ediParty, uri, ip and registeredId. The value is a text, of an\n"
    "otherName {oid, text} or {oid, hex}, and of x400 and ediParty the base64 of the\n"
    "whole name in DER. Of a malformed one it is null, and that base64 is the member\n"
    "malformed. publicKey is {type, bits, curve}, extensions lists {oid, name,\n"
    "critical, value, decoded}, where value is base64 and decoded what is in it, or\n"
    "{error, offset}, or null when it is not known. The Rdns are lists of lists of\n"
    "{oid, name, value}, the departures {id, clause, offset, mayDecide, about}.\n",
    kOptions, runShow};

}  // namespace velmora::tool

#include <vector>

#include "tools/commands/command.h"
#include "tools/render/finding.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

namespace {

void appendText(const InputCertificate& input, const Finding& finding, StringBuffer& out) {
  appendPlace(input, out);
  out.append(", offset ");
  out.appendInt(finding.offset);
  if (!finding.about.isEmpty()) {
    out.append(", ");
    appendOid(DottedOid(finding.about).text(), OidStyle::kNamed, out);
  }
  out.append(": ");
  out.append(finding.message);
  if (!finding.mayDecide) out.append(" No decision may rest on it.");
  out.append(" (");
  out.append(finding.clause);
  out.append(", ");
  out.append(finding.id);
  out.append(")\n");
}

void writeJson(const InputCertificate& input, const std::vector<Finding>& findings,
               StringBuffer& out) {
  JsonLine line(out);
  line.text("source", input.source);
  line.number("index", static_cast<int64_t>(input.index));
  writeFindings(findings, true, line);
  line.end();
}

bool runLint(const Arguments& arguments, Console& console, std::string&) {
  return visitFiles(arguments, console, [&](const InputCertificate& input) -> const char* {
    const std::vector<Finding> findings = findingsOf(input);
    if (!findings.empty()) console.raise(ExitStatus::kNo);
    if (arguments.has("--json")) {
      writeJson(input, findings, console.out());
    } else {
      for (const Finding& each : findings) appendText(input, each, console.out());
    }
    return nullptr;
  });
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line for each certificate: source, index, departures, a list of {id, "
     "message, clause, offset, about, mayDecide}; or source, index, error"},
};

}  // namespace

const Command kLintCommand = {
    "lint", "list in what certificates are not as RFC 5280 and DER want them",
    "A line has the offset in the certificate, the OID of the extension or attribute\n"
    "that it is about, the departure in words, the clause, and a name that does not\n"
    "change. Only the encoding, the fields and the extensions are looked at: not the\n"
    "signature, nor what time it is. The exit status is 1 when there is any departure.\n",
    kOptions, runLint};

}  // namespace velmora::tool

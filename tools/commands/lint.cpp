#include <vector>

#include "tools/commands/command.h"
#include "tools/render/finding.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

namespace {

class LintCertificates final : public CertificateVisitor {
 public:
  LintCertificates(bool json, Console& console) : m_json(json), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    const std::vector<Finding> findings = findingsOf(input);
    m_json ? writeJson(input, findings) : writeText(input, findings);
    if (!findings.empty()) m_console.raise(ExitStatus::kNo);
    return nullptr;
  }

 private:
  void writeText(const InputCertificate& input, const std::vector<Finding>& findings) {
    StringBuffer& out = m_console.out();
    for (const Finding& each : findings) {
      appendPlace(input, out);
      out.append(", offset ");
      out.appendInt(each.offset);
      if (!each.about.isEmpty()) {
        out.append(", ");
        appendOid(DottedOid(each.about).text(), OidStyle::kNamed, out);
      }
      out.append(": ");
      out.append(each.message);
      if (!each.mayDecide) out.append(" No decision may rest on it.");
      out.append(" (");
      out.append(each.clause);
      out.append(", ");
      out.append(each.id);
      out.append(")\n");
    }
  }

  void writeJson(const InputCertificate& input, const std::vector<Finding>& findings) {
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    writeFindings(findings, true, line);
    line.end();
  }

  bool m_json;
  Console& m_console;
};

bool runLint(const Arguments& arguments, Console& console, std::string&) {
  const bool json = arguments.has("--json");
  LintCertificates visitor(json, console);
  visitCertificates(arguments.files(), json, visitor, console);
  return true;
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

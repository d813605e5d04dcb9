#include <string>
#include <vector>

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

namespace {

// A departure, or what is said of BER, for which there is no Departure: a Certificate is DER.
struct Finding {
  std::string_view id;
  std::string_view message;
  std::string_view clause;
  uint32_t offset = 0;
  std::string about;  // a dotted OID; empty where there is none
  bool mayDecide = false;
};

Finding findingOf(const Departure& departure) {
  return {departure.id(),   departure.message(),    departure.clause(),
          departure.offset, departure.about.text(), departure.mayDecide()};
}

// The offset is that in the octets as they came, those of all other findings are in the DER.
Finding berFinding(uint32_t offset) {
  return {.id = "notDer",
          .message = "The certificate is BER, and read as the DER made of it.",
          .clause = "RFC 5280 §4.1",
          .offset = offset,
          .about = {}};
}

class LintCertificates final : public CertificateVisitor {
 public:
  LintCertificates(bool json, Console& console) : m_json(json), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    find(input);
    m_json ? writeJson(input) : writeText(input);
    if (!m_findings.empty()) m_console.raise(ExitStatus::kNo);
    return nullptr;
  }

 private:
  void find(const InputCertificate& input) {
    m_findings.clear();
    if (input.berAt) m_findings.push_back(berFinding(*input.berAt));
    for (const Departure& each : input.certificate.departures()) {
      m_findings.push_back(findingOf(each));
    }
  }

  void writeText(const InputCertificate& input) {
    StringBuffer& out = m_console.out();
    for (const Finding& each : m_findings) {
      appendPlace(input, out);
      out.append(", offset ");
      out.appendInt(each.offset);
      if (!each.about.empty()) {
        out.append(", ");
        appendOid(each.about, OidStyle::kNamed, out);
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

  void writeJson(const InputCertificate& input) {
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    line.beginList("departures");
    for (const Finding& each : m_findings) {
      line.beginObject("");
      line.text("id", each.id);
      line.text("message", each.message);
      line.text("clause", each.clause);
      line.number("offset", int64_t{each.offset});
      line.textOrNull("about", each.about);
      line.boolean("mayDecide", each.mayDecide);
      line.endObject();
    }
    line.endList();
    line.end();
  }

  bool m_json;
  Console& m_console;
  std::vector<Finding> m_findings;
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

#include <optional>
#include <string>
#include <vector>

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/json_writer.h"
#include "tools/render/name_text.h"
#include "velmora/path/link.h"

namespace velmora::tool {

namespace {

// Takes the first certificate of a source.
class TakeFirst final : public CertificateVisitor {
 public:
  const char* visit(const InputCertificate& input) override {
    if (m_first) return nullptr;
    if (const char* reason = m_loaded.load(input.der)) return reason;
    m_first = input.certificate;
    return nullptr;
  }

  const std::optional<Certificate>& first() const noexcept { return m_first; }
  LoadedCertificate& loaded() noexcept { return m_loaded; }

 private:
  std::optional<Certificate> m_first;
  LoadedCertificate m_loaded;
};

class MatchIssuer final : public CertificateVisitor {
 public:
  MatchIssuer(TakeFirst& taken, bool json, Console& console)
      : m_certificate(*taken.first()), m_loaded(taken.loaded()), m_json(json), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_candidate.load(input.der)) return reason;
    const bool matches = m_loaded.get().isIssuedBy(m_candidate.get(), m_log);
    m_anyMatches = m_anyMatches || matches;
    m_json ? json(input, matches) : text(input, matches);
    return nullptr;
  }

  bool anyMatches() const noexcept { return m_anyMatches; }

 private:
  // Where both are there, they alone decide.
  bool identifiersDecide() {
    StringBuffer identifier;
    return m_loaded.get().getAuthorityKeyIdentifier(identifier, m_log) &&
           m_candidate.get().getSubjectKeyIdentifier(identifier, m_log);
  }

  bool namesAreEqual(const Certificate& candidate) const {
    const Name issuer = m_certificate.issuer();
    return !issuer.isEmpty() && issuer.matches(candidate.subject());
  }

  void json(const InputCertificate& input, bool matches) {
    const Name subject = input.certificate.subject();
    StringBuffer text;
    appendName(subject, attributesOf(subject), text);
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    line.text("subject", text.view());
    line.boolean("matches", matches);
    line.text("by", identifiersDecide() ? "keyIdentifiers" : "names");
    line.boolean("wholeNamesEqual", namesAreEqual(input.certificate));
    line.beginList("reasons");
    for (const Reason each : linkFaults(m_certificate, input.certificate)) {
      line.text("", reasonId(each));
    }
    line.endList();
    line.end();
  }

  void text(const InputCertificate& input, bool matches) {
    StringBuffer& out = m_console.out();
    out.append(matches ? "yes  " : "no   ");
    appendPlace(input, out);
    out.append(identifiersDecide() ? "  by key identifiers" : "  by names");
    out.append(namesAreEqual(input.certificate) ? "\n" : ", the whole names differ\n");
    for (const Reason each : linkFaults(m_certificate, input.certificate)) {
      out.append("     ");
      out.append(reasonText(each));
      out.appendChar('\n');
    }
  }

  const Certificate& m_certificate;
  LoadedCertificate& m_loaded;
  LoadedCertificate m_candidate;
  bool m_json;
  Console& m_console;
  LogNull m_log;
  bool m_anyMatches = false;
};

bool runIssuer(const Arguments& arguments, Console& console, std::string&) {
  TakeFirst certificate;
  visitCertificates({arguments.operand()}, arguments.has("--json"), certificate, console);
  if (!certificate.first()) return true;
  MatchIssuer visitor(certificate, arguments.has("--json"), console);
  visitCertificates(arguments.files(), arguments.has("--json"), visitor, console);
  if (!visitor.anyMatches()) console.raise(ExitStatus::kNo);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line: source, index, subject, matches, by (keyIdentifiers or names), "
     "wholeNamesEqual, reasons"},
};

}  // namespace

const Command kIssuerCommand = {
    "issuer",
    "tell which certificates may have issued another one",
    "CERT is a file whose first certificate is asked about; each FILE holds\n"
    "candidates. Where CERT has an authority and the candidate a subject key\n"
    "identifier, these decide; otherwise the common names. The reasons tell why\n"
    "\"verify\" would not take the candidate all the same: that it is no CA or may not\n"
    "sign, or did not. The exit status is 0 when any matches.\n",
    kOptions,
    runIssuer,
    "CERT"};

}  // namespace velmora::tool

#include "tools/commands/command.h"
#include "tools/reading/known_certificate.h"
#include "tools/render/json_writer.h"

namespace velmora::tool {

namespace {

// Takes the first certificate of a source.
class TakeFirst final : public CertificateVisitor {
 public:
  explicit TakeFirst(CertificatePool& pool) : m_pool(pool) {}

  const char* visit(const InputCertificate& input) override {
    const char* reason = nullptr;
    if (m_first == nullptr) m_first = m_pool.add(input, reason);
    return reason;
  }

  const KnownCertificate* first() const noexcept { return m_first; }

 private:
  CertificatePool& m_pool;
  const KnownCertificate* m_first = nullptr;
};

class MatchIssuer final : public CertificateVisitor {
 public:
  MatchIssuer(const KnownCertificate& certificate, bool json, Console& console)
      : m_certificate(certificate), m_json(json), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    CertificatePool pool;
    const char* reason = nullptr;
    const KnownCertificate* candidate = pool.add(input, reason);
    if (candidate == nullptr) return reason;
    const bool matches = m_certificate.loaded.get().isIssuedBy(candidate->loaded.get(), m_log);
    m_anyMatches = m_anyMatches || matches;
    m_json ? json(input, *candidate, matches) : text(*candidate, matches);
    return nullptr;
  }

  bool anyMatches() const noexcept { return m_anyMatches; }

 private:
  // Where both are there, they alone decide.
  bool identifiersDecide(const KnownCertificate& candidate) {
    StringBuffer identifier;
    return m_certificate.loaded.get().getAuthorityKeyIdentifier(identifier, m_log) &&
           candidate.loaded.get().getSubjectKeyIdentifier(identifier, m_log);
  }

  bool namesAreEqual(const KnownCertificate& candidate) const {
    return !m_certificate.issuerKey.empty() && m_certificate.issuerKey == candidate.subjectKey;
  }

  void json(const InputCertificate& input, const KnownCertificate& candidate, bool matches) {
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    line.text("subject", candidate.subject);
    line.boolean("matches", matches);
    line.text("by", identifiersDecide(candidate) ? "keyIdentifiers" : "names");
    line.boolean("wholeNamesEqual", namesAreEqual(candidate));
    line.end();
  }

  void text(const KnownCertificate& candidate, bool matches) {
    StringBuffer& out = m_console.out();
    out.append(matches ? "yes  " : "no   ");
    out.append(candidate.place);
    out.append(identifiersDecide(candidate) ? "  by key identifiers" : "  by names");
    out.append(namesAreEqual(candidate) ? "\n" : ", the whole names differ\n");
  }

  const KnownCertificate& m_certificate;
  bool m_json;
  Console& m_console;
  LogNull m_log;
  bool m_anyMatches = false;
};

bool runIssuer(const Arguments& arguments, Console& console, std::string&) {
  CertificatePool pool;
  TakeFirst certificate(pool);
  visitCertificates({arguments.operand()}, arguments.has("--json"), certificate, console);
  if (certificate.first() == nullptr) return true;
  MatchIssuer visitor(*certificate.first(), arguments.has("--json"), console);
  visitCertificates(arguments.files(), arguments.has("--json"), visitor, console);
  if (!visitor.anyMatches()) console.raise(ExitStatus::kNo);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line: source, index, subject, matches, by (keyIdentifiers or names), "
     "wholeNamesEqual"},
};

}  // namespace

const Command kIssuerCommand = {
    "issuer",
    "tell which certificates may have issued another one",
    "CERT is a file whose first certificate is asked about; each FILE holds\n"
    "candidates. Where CERT has an authority and the candidate a subject key\n"
    "identifier, these decide; otherwise the common names. No signature is checked:\n"
    "\"verify\" does that, and wants the whole names to be equal. The exit status is 0\n"
    "when any matches.\n",
    kOptions,
    runIssuer,
    "CERT"};

}  // namespace velmora::tool

#include "tools/render/path_report.h"

#include <algorithm>

#include "tools/reading/dates.h"
#include "tools/render/decoded_extension.h"
#include "tools/render/json_writer.h"
#include "tools/render/name_text.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/printable.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kPurposes[] = {"unsaid", "server", "client", "code",
                                          "email",  "time",   "ocsp",   "any"};
constexpr std::string_view kProfiles[] = {"basic", "rfc5280", "web"};

void appendSubject(const Name& subject, StringBuffer& out) {
  if (!appendName(subject, attributesOf(subject), out)) out.append("a name that cannot be read");
}

void appendDate(const Result<std::chrono::sys_seconds>& date, StringBuffer& out) {
  date ? static_cast<void>(momentOf(*date).appendIso8601(out)) : static_cast<void>(out.append("?"));
}

Result<std::chrono::sys_seconds> endOf(const Certificate& certificate, bool from) {
  return from ? certificate.notBefore() : certificate.notAfter();
}

// An anchor that is no certificate stands behind the last one.
bool endsInNameAndKey(const Path& path) noexcept {
  return path.anchor && !path.anchor->certificate();
}

// A way as it is drawn: the one of an answer that holds, or the one that came furthest.
class Tree {
 public:
  Tree(const PathReport& report, const Path& path, StringBuffer& out)
      : m_report(report), m_path(path), m_out(out) {}

  // The anchor on top, each certificate below the one that signed it.
  void append() {
    if (endsInNameAndKey(m_path)) {
      StringBuffer name;
      appendSubject(m_path.anchor->name(), name);
      line(name.view(), "trusted name and key");
      findings(m_path.certificates.size());
    }
    for (size_t place = m_path.certificates.size(); place-- > 0;) certificate(place);
  }

 private:
  void certificate(size_t place) {
    const Certificate& certificate = m_path.certificates[place];
    StringBuffer subject;
    appendSubject(certificate.subject(), subject);
    StringBuffer where;
    const auto found = m_report.places.find(certificate);
    if (found != m_report.places.end()) appendPlace(found->second, where);
    const bool isAnchor = m_path.anchor && place + 1 == m_path.certificates.size() &&
                          m_path.anchor->certificate().has_value();
    if (isAnchor) where.append(", trusted");
    line(subject.view(), where.view());
    indent(m_out);
    m_out.append("  ");
    appendDate(endOf(certificate, true), m_out);
    m_out.append(" to ");
    appendDate(endOf(certificate, false), m_out);
    m_out.appendChar('\n');
    findings(place);
  }

  // `where` is safe to print.
  void line(std::string_view subject, std::string_view where) {
    indent(m_out);
    if (m_depth != 0) m_out.append("└ ");
    appendPrintable(subject, m_out);
    if (!where.empty()) {
      m_out.append("  (");
      m_out.append(where);
      m_out.appendChar(')');
    }
    m_out.appendChar('\n');
    ++m_depth;
  }

  void findings(size_t place) {
    for (const velmora::Finding& each : m_path.findings) {
      if (each.certificate != place) continue;
      indent(m_out);
      m_out.append(each.isFailure() ? "  FAILED: " : "  warning: ");
      appendPrintable(each.text(), m_out);
      if (!each.clause().empty()) {
        m_out.append(" (");
        m_out.append(each.clause());
        m_out.appendChar(')');
      }
      m_out.appendChar('\n');
    }
  }

  void indent(StringBuffer& out) const {
    for (size_t i = 0; i < m_depth + 1; ++i) out.append("  ");
  }

  const PathReport& m_report;
  const Path& m_path;
  StringBuffer& m_out;
  size_t m_depth = 0;
};

void writeFinding(const velmora::Finding& finding, JsonLine& line) {
  line.beginObject("");
  line.text("id", finding.id());
  line.text("severity", finding.isFailure() ? "failure" : "warning");
  line.text("text", finding.text());
  line.textOrNull("clause", finding.clause());
  line.textOrNull("about", DottedOid(finding.about).text());
  line.number("offset", int64_t{finding.offset});
  line.textOrNull("detail", finding.detail);
  line.endObject();
}

void writeDate(std::string_view key, const Result<std::chrono::sys_seconds>& date, JsonLine& line) {
  if (!date) return line.null(key);
  StringBuffer text;
  momentOf(*date).appendIso8601(text);
  line.text(key, text.view());
}

void writeFindings(const Path& path, size_t place, JsonLine& line) {
  line.beginList("findings");
  for (const velmora::Finding& each : path.findings) {
    if (each.certificate == place) writeFinding(each, line);
  }
  line.endList();
}

void writeSubject(const Name& name, JsonLine& line) {
  StringBuffer subject;
  appendSubject(name, subject);
  line.text("subject", subject.view());
}

// As a certificate, of which it has neither place nor dates.
void writeNameAndKey(const Path& path, JsonLine& line) {
  line.beginObject("");
  writeSubject(path.anchor->name(), line);
  line.null("notBefore");
  line.null("notAfter");
  writeFindings(path, path.certificates.size(), line);
  line.endObject();
}

void writeCertificate(const PathReport& report, const Path& path, size_t place, JsonLine& line) {
  const Certificate& certificate = path.certificates[place];
  line.beginObject("");
  writeSubject(certificate.subject(), line);
  const auto found = report.places.find(certificate);
  if (found != report.places.end()) {
    line.text("source", found->second.source);
    line.number("index", static_cast<int64_t>(found->second.index));
  }
  writeDate("notBefore", endOf(certificate, true), line);
  writeDate("notAfter", endOf(certificate, false), line);
  writeFindings(path, place, line);
  line.endObject();
}

void writePath(const PathReport& report, const Path& path, const VerifiedPath* verified,
               JsonLine& line) {
  line.beginObject("");
  line.boolean("anchored", path.anchor.has_value());
  line.beginList("certificates");
  for (size_t place = 0; place < path.certificates.size(); ++place) {
    writeCertificate(report, path, place, line);
  }
  if (endsInNameAndKey(path)) writeNameAndKey(path, line);
  line.endList();
  if (verified != nullptr) {
    line.boolean("anyPolicy", verified->holdsAnyPolicy());
    line.objects("policies", verified->policies(), [&](const HeldPolicy& each) {
      writePolicy(DottedOid(each.id), each.qualifiers, line);
    });
    line.boolean("leafNotRevoked", verified->isLeafNotRevoked());
    line.boolean("nothingRevoked", verified->isNothingRevoked());
  }
  line.endObject();
}

}  // namespace

std::string_view purposeName(Purpose purpose) noexcept {
  return kPurposes[static_cast<size_t>(purpose)];
}

std::string_view profileName(Profile profile) noexcept {
  return kProfiles[static_cast<size_t>(profile)];
}

void appendPathText(const PathReport& report, const Verification& answer, StringBuffer& out) {
  appendPlace(report.place, out);
  out.append(answer ? ": verified" : ": NOT verified");
  if (!answer) {
    out.append(": ");
    appendPrintable(answer.text(), out);
  } else if (report.options.purpose != Purpose::any) {
    out.append(" for ");
    out.append(purposeName(report.options.purpose));
  }
  if (answer && report.options.target.isJudged()) {
    out.append(report.options.purpose == Purpose::any ? " for " : " ");
    appendPrintable(report.options.target.text(), out);
  }
  out.appendChar('\n');
  for (const VerifiedPath& each : answer.verified) Tree(report, each.path(), out).append();
  if (!answer) Tree(report, answer.furthest, out).append();
}

void appendPathJson(const PathReport& report, const Verification& answer, StringBuffer& out) {
  JsonLine line(out);
  line.text("source", report.place.source);
  line.number("index", static_cast<int64_t>(report.place.index));
  line.boolean("verified", static_cast<bool>(answer));
  line.textOrNull("reason", answer ? std::string_view() : reasonId(answer.reason));
  line.textOrNull("text", answer.text());
  writeDate("at", report.at, line);
  line.text("purpose", purposeName(report.options.purpose));
  line.textOrNull("target", report.options.target.text());
  line.text("profile", profileName(report.options.profile));
  line.beginList("paths");
  for (const VerifiedPath& each : answer.verified) writePath(report, each.path(), &each, line);
  if (!answer && !answer.furthest.certificates.empty()) {
    writePath(report, answer.furthest, nullptr, line);
  }
  line.endList();
  line.beginObject("used");
  line.number("candidates", int64_t{answer.used.candidates});
  line.number("signatures", int64_t{answer.used.signatures});
  line.number("comparisons", int64_t{answer.used.comparisons});
  line.endObject();
  line.end();
}

}  // namespace velmora::tool

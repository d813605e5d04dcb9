#include "tools/render/path_report.h"

#include <string>

#include "tools/render/dates.h"
#include "tools/render/decoded_extension.h"
#include "tools/render/name_text.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

StringBuffer textOf(const Name& name) {
  StringBuffer text;
  if (!appendName(name, text)) text.append("a name that cannot be read");
  return text;
}

std::string textOf(const Result<std::chrono::sys_seconds>& date) {
  return date ? toIso8601(*date) : "?";
}

std::string_view purposeOf(const PathQuestion& question) {
  return kPurposes[static_cast<size_t>(question.options.purpose)];
}

// What the library says, but for what it was told by this program itself.
template <class Refused>
std::string textOf(const Refused& refused, const PathQuestion& question) {
  if (refused.reason == Reason::noAnchors) return "No root is trusted: --roots gives none.";
  if (refused.reason != Reason::rejectedByCaller) return refused.text();
  return "The direct issuer is none of the certificates of --issuer " +
         std::string(question.issuerFile) + ".";
}

// A way as it is drawn: the one of an answer that holds, or the one that came furthest.
class Tree {
 public:
  Tree(const PathQuestion& question, const Path& path, StringBuffer& out)
      : m_question(question), m_path(path), m_out(out) {}

  // The anchor on top, each certificate below the one that signed it.
  void append() {
    const size_t size = m_path.certificates.size();
    for (size_t place = size; place-- > 0;) {
      const Certificate& certificate = m_path.certificates[place];
      StringBuffer where;
      const auto found = m_question.places.find(certificate);
      if (found != m_question.places.end()) print(where, found->second);
      if (m_path.anchor && place + 1 == size) where.append(", trusted");
      line(certificate.subject(), whole(where).view());
      indent();
      print(m_out, "  ", textOf(certificate.notBefore()), " to ", textOf(certificate.notAfter()),
            '\n');
      findings(place);
    }
  }

 private:
  // `where` is safe to print.
  void line(const Name& subject, std::string_view where) {
    indent();
    print(m_out, m_depth != 0 ? "└ " : "", Safe{textOf(subject).view()});
    if (!where.empty()) print(m_out, "  (", where, ')');
    m_out.appendChar('\n');
    ++m_depth;
  }

  void findings(size_t place) {
    for (const Finding& each : m_path.findings) {
      if (each.certificate != place) continue;
      indent();
      print(m_out, each.isFailure() ? "  FAILED: " : "  warning: ", Safe{textOf(each, m_question)});
      if (!each.clause().empty()) print(m_out, " (", each.clause(), ')');
      m_out.appendChar('\n');
    }
  }

  void indent() const {
    for (size_t i = 0; i < m_depth + 1; ++i) m_out.append("  ");
  }

  const PathQuestion& m_question;
  const Path& m_path;
  StringBuffer& m_out;
  size_t m_depth = 0;
};

void writeFindings(const PathQuestion& question, const Path& path, size_t place, JsonLine& line) {
  line.beginList("findings");
  for (const Finding& each : path.findings) {
    if (each.certificate != place) continue;
    line.object("", [&] {
      line.text("id", each.id());
      line.text("severity", each.isFailure() ? "failure" : "warning");
      line.text("text", textOf(each, question));
      line.textOrNull("clause", each.clause());
      line.textOrNull("about", DottedOid(each.about).text());
      line.number("offset", each.offset);
      line.textOrNull("detail", each.detail);
    });
  }
  line.endList();
}

// Where a certificate of a way stood, be it that the leaf stands nowhere but on its line.
const InputPlace* placeOf(const PathQuestion& question, const InputPlace& leaf,
                          const Certificate& certificate, size_t place) {
  const auto found = question.places.find(certificate);
  if (found != question.places.end()) return &found->second;
  return place == 0 ? &leaf : nullptr;
}

void writePath(const PathQuestion& question, const InputPlace& leaf, const Path& path,
               const VerifiedPath* verified, JsonLine& line) {
  line.beginObject("");
  line.boolean("anchored", path.anchor.has_value());
  size_t place = 0;
  line.objects("certificates", path.certificates, [&](const Certificate& certificate) {
    line.text("subject", textOf(certificate.subject()).view());
    const InputPlace* const where = placeOf(question, leaf, certificate, place);
    if (where != nullptr) writePlace(*where, line);
    line.word("notBefore", dateText(certificate.notBefore()));
    line.word("notAfter", dateText(certificate.notAfter()));
    writeFindings(question, path, place++, line);
  });
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

void appendPathText(const PathQuestion& question, const InputPlace& leaf,
                    const Verification& answer, StringBuffer& out) {
  const VerifyOptions& options = question.options;
  const bool isAny = options.purpose == Purpose::any;
  print(out, leaf, answer ? ": verified" : ": NOT verified");
  if (!answer) {
    print(out, ": ", Safe{textOf(answer, question)});
  } else {
    if (!isAny) print(out, " for ", purposeOf(question));
    if (options.target.isJudged()) print(out, isAny ? " for " : " ", Safe{options.target.text()});
  }
  out.appendChar('\n');
  for (const VerifiedPath& each : answer.verified) Tree(question, each.path(), out).append();
  if (!answer) Tree(question, answer.furthest, out).append();
}

void appendPathJson(const PathQuestion& question, const InputPlace& leaf,
                    const Verification& answer, StringBuffer& out) {
  const VerifyOptions& options = question.options;
  JsonLine line(out);
  writePlace(leaf, line);
  line.boolean("verified", static_cast<bool>(answer));
  line.textOrNull("reason", answer ? std::string_view() : answer.id());
  line.textOrNull("text", textOf(answer, question));
  line.word("at", toIso8601(*options.at));
  line.text("purpose", purposeOf(question));
  line.textOrNull("target", options.target.text());
  line.text("profile", kProfiles[static_cast<size_t>(options.profile)]);
  line.beginList("paths");
  for (const VerifiedPath& each : answer.verified)
    writePath(question, leaf, each.path(), &each, line);
  if (!answer && !answer.furthest.certificates.empty()) {
    writePath(question, leaf, answer.furthest, nullptr, line);
  }
  line.endList();
  line.object("used", [&] {
    line.number("candidates", answer.used.candidates);
    line.number("signatures", answer.used.signatures);
    line.number("comparisons", answer.used.comparisons);
  });
  writeLineKey(leaf, line);
  line.end();
}

}  // namespace velmora::tool

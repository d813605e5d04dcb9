#include <string>

#include "tools/commands/command.h"
#include "tools/render/dates.h"
#include "tools/render/fold.h"
#include "tools/render/name_text.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

using std::chrono::days;
using std::chrono::seconds;

constexpr int64_t kDefaultDays = 30;
constexpr int64_t kMostDays = 1'000'000;

days daysOf(const Arguments& arguments, std::string_view option, int64_t otherwise) {
  int64_t count = otherwise;
  const auto given = arguments.value(option);
  if (given && !(parseNumber(*given, count) && count >= 0 && count <= kMostDays)) {
    throw UsageError("option \"" + std::string(option) +
                     "\" needs a number of days, at most 1000000");
  }
  return days(count);
}

// When a certificate ends, seen from now.
struct End {
  Result<std::chrono::sys_seconds> at;
  bool isOver;
  bool isCritical;
  seconds span;  // until then, or since; 0 where it cannot be read

  std::string_view state() const { return isOver ? "expired" : isCritical ? "critical" : "soon"; }
  // Whole ones; those since then below 0.
  int64_t daysLeft() const { return std::chrono::floor<days>(isOver ? -span : span).count(); }
};

class Ends {
 public:
  Ends(const Arguments& arguments, Console& console)
      : m_isJson(arguments.has("--json")),
        m_judgesDays(arguments.has("--critical")),
        m_within(daysOf(arguments, "--within", kDefaultDays)),
        m_critical(daysOf(arguments, "--critical", 0)),
        m_console(console) {
    if (m_critical > m_within)
      throw UsageError("option \"--critical\" goes beyond \"--within\", which is " +
                       std::to_string(m_within.count()));
  }

  void visit(const InputCertificate& input) {
    const End end = endOf(input.certificate);
    if (!end.isOver && end.span >= m_within) return;
    const bool isCritical = m_judgesDays && (end.isOver || end.isCritical);
    m_console.raise(isCritical ? ExitStatus::kCritical : ExitStatus::kNo);
    m_isJson ? writeJson(input, end) : printText(input, end);
  }

 private:
  End endOf(const Certificate& certificate) const {
    const auto at = certificate.notAfter();
    if (!at) return {at, true, true, seconds(0)};
    const bool isOver = m_now > *at;
    const seconds span = isOver ? secondsBetween(*at, m_now) : secondsBetween(m_now, *at);
    return {at, isOver, isOver || span < m_critical, span};
  }

  void printText(const InputCertificate& input, const End& end) {
    constexpr size_t kBehindDate = 22;
    StringBuffer& out = m_console.out();
    const size_t start = out.getSize();
    if (end.at) {
      print(out, toIso8601(*end.at), end.isOver ? "  expired " : "  expires in ");
      appendSpan(end.span, out);
      print(out, end.isOver ? " ago" : "");
    } else {
      print(out, "no date that can be read");
    }
    print(out, "  ", input);
    appendSubject(": ", input.certificate, out);
    out.appendChar('\n');
    foldLines(start, m_console.width(), kBehindDate, out);
  }

  void writeJson(const InputCertificate& input, const End& end) {
    StringBuffer subject;
    const bool hasSubject = appendName(input.certificate.subject(), subject);
    JsonLine line(m_console.out());
    writePlace(input, line);
    hasSubject ? line.text("subject", whole(subject).view()) : line.null("subject");
    line.word("notAfter", dateText(end.at));
    end.at ? line.number("daysLeft", end.daysLeft()) : line.null("daysLeft");
    line.word("state", end.state());
    line.end();
  }

  bool m_isJson;
  bool m_judgesDays;
  days m_within;
  days m_critical;
  Console& m_console;
  Moment m_now = momentNow();
};

void runExpires(const Arguments& arguments, Console& console) {
  Ends ends(arguments, console);
  visitFiles(arguments, console, [&](const InputCertificate& input) { ends.visit(input); });
}

constexpr OptionSpec kOptions[] = {
    {"--within", "DAYS", "how soon is soon (default 30; 0 lists what has expired)"},
    {"--critical", "DAYS", "exit status 2 for what ends within these, or has expired"},
    {"--json", "", "one JSON object a line: source, index, subject, notAfter, daysLeft, state"},
};

}  // namespace

const Command kExpiresCommand = {
    "expires", "list the certificates that have expired or soon will",
    "The exit status is 1 when there is any, so that a script or a monitor can warn;\n"
    "with --critical it is 2 for what is worse. A certificate without an end that can\n"
    "be read counts as expired. The state in JSON is expired, critical or soon,\n"
    "daysLeft a whole number, below 0 behind the end.\n",
    kOptions, runExpires};

}  // namespace velmora::tool

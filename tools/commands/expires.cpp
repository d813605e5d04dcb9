#include <charconv>

#include "tools/commands/command.h"
#include "tools/reading/dates.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr int64_t kDefaultDays = 30;
constexpr int64_t kMostDays = 1'000'000;

class ListExpiring final : public CertificateVisitor {
 public:
  ListExpiring(int64_t days, Console& console) : m_days(days), m_console(console) {
    m_now.getCurrentGmt();
  }

  const char* visit(const InputCertificate& input) override {
    const Result<std::chrono::sys_seconds> end = input.certificate.notAfter();
    const VelmoraSysTime until = end ? momentOf(*end) : VelmoraSysTime();
    const bool expired = m_now.is_after_by_compare(until, false);
    const int64_t left = until.toUnixSeconds() - m_now.toUnixSeconds();
    if (end && !expired && left >= m_days * kSecondsInDay) return nullptr;
    if (const char* reason = m_loaded.load(input.der)) return reason;
    m_console.raise(ExitStatus::kNo);
    StringBuffer& out = m_console.out();
    if (end) {
      until.appendIso8601(out);
      out.append(expired ? "  expired " : "  expires in ");
      appendSpan(expired ? -left : left, out);
      out.append(expired ? " ago" : "");
    } else {
      // As the library judges it: what has no end that can be read is not valid.
      out.append("no date that can be read");
    }
    out.append("  ");
    appendPlace(input, out);
    appendSubject(out);
    out.appendChar('\n');
    return nullptr;
  }

 private:
  void appendSubject(StringBuffer& out) {
    XString subject;
    if (!m_loaded.get().getDN(true, true, subject, m_log, 0)) return;
    out.append(": ");
    appendPrintable(whole(subject).view(), out);
  }

  int64_t m_days;
  Console& m_console;
  VelmoraSysTime m_now;
  LoadedCertificate m_loaded;
  LogNull m_log;
};

bool parseDays(std::string_view text, int64_t& days) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), days);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() && days >= 0 &&
         days <= kMostDays;
}

bool runExpires(const Arguments& arguments, Console& console, std::string& usageError) {
  int64_t days = kDefaultDays;
  const auto given = arguments.value("--within");
  if (given && !parseDays(*given, days)) {
    usageError = "option \"--within\" needs a number of days, at most 1000000";
    return false;
  }
  ListExpiring visitor(days, console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--within", "DAYS", "how soon is soon (default 30; 0 lists what has expired)"},
};

}  // namespace

const Command kExpiresCommand = {
    "expires", "list the certificates that have expired or soon will",
    "The exit status is 1 when there is any. A certificate without an end that can be\n"
    "read counts as expired.\n",
    kOptions, runExpires};

}  // namespace velmora::tool

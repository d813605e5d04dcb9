#include "tools/commands/command.h"
#include "tools/render/dates.h"
#include "tools/render/name_text.h"

namespace velmora::tool {

namespace {

constexpr int64_t kDefaultDays = 30;
constexpr int64_t kMostDays = 1'000'000;

void runExpires(const Arguments& arguments, Console& console) {
  int64_t days = kDefaultDays;
  const auto given = arguments.value("--within");
  if (given && !(parseNumber(*given, days) && days >= 0 && days <= kMostDays)) {
    throw UsageError("option \"--within\" needs a number of days, at most 1000000");
  }
  const Moment now = momentNow();
  StringBuffer& out = console.out();
  visitFiles(arguments, console, [&](const InputCertificate& input) {
    const Result<std::chrono::sys_seconds> end = input.certificate.notAfter();
    const bool expired = !end || now > *end;
    if (!expired && secondsBetween(now, *end) >= days * std::chrono::hours(24)) return;
    console.raise(ExitStatus::kNo);
    if (end) {
      print(out, toIso8601(*end), expired ? "  expired " : "  expires in ");
      appendSpan(expired ? secondsBetween(*end, now) : secondsBetween(now, *end), out);
      print(out, expired ? " ago" : "");
    } else {
      print(out, "no date that can be read");
    }
    print(out, "  ", input);
    appendSubject(": ", input.certificate, out);
    out.appendChar('\n');
  });
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

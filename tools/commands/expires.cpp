#include "tools/commands/command.h"
#include "tools/reading/dates.h"
#include "tools/reading/input.h"
#include "tools/render/name_text.h"

namespace velmora::tool {

namespace {

constexpr int64_t kDefaultDays = 30;
constexpr int64_t kMostDays = 1'000'000;

void appendEnd(bool isRead, const VelmoraSysTime& until, const VelmoraSysTime& now,
               StringBuffer& out) {
  // As the library judges it: what has no end that can be read is not valid.
  if (!isRead) return static_cast<void>(out.append("no date that can be read"));
  const bool expired = now.is_after_by_compare(until, false);
  const int64_t left = until.toUnixSeconds() - now.toUnixSeconds();
  until.appendIso8601(out);
  out.append(expired ? "  expired " : "  expires in ");
  appendSpan(expired ? -left : left, out);
  if (expired) out.append(" ago");
}

bool runExpires(const Arguments& arguments, Console& console, std::string& usageError) {
  int64_t days = kDefaultDays;
  const auto given = arguments.value("--within");
  if (given && !(parseNumber(*given, days) && days >= 0 && days <= kMostDays)) {
    usageError = "option \"--within\" needs a number of days, at most 1000000";
    return false;
  }
  VelmoraSysTime now;
  now.getCurrentGmt();
  StringBuffer& out = console.out();
  return visitFiles(arguments, console, [&](const InputCertificate& input) -> const char* {
    const Result<std::chrono::sys_seconds> end = input.certificate.notAfter();
    const VelmoraSysTime until = end ? momentOf(*end) : VelmoraSysTime();
    const int64_t left = until.toUnixSeconds() - now.toUnixSeconds();
    const bool expired = now.is_after_by_compare(until, false);
    if (end && !expired && left >= days * kSecondsInDay) return nullptr;
    console.raise(ExitStatus::kNo);
    appendEnd(end.has_value(), until, now, out);
    out.append("  ");
    appendPlace(input, out);
    appendSubject(": ", input.certificate, out);
    out.appendChar('\n');
    return nullptr;
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

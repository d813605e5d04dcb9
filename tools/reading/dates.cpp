#include "tools/reading/dates.h"

namespace velmora::tool {

// Reading succeeds also for a text that is no date and then leaves the time alone: what two
// different times both survive was not read.
bool readDate(VelmoraX509& certificate, bool from, VelmoraSysTime& date, LogBase& log) {
  const VelmoraSysTime untouched;
  date = untouched;
  if (!certificate.get_Valid_To_or_From_UTC(from, date, log)) return false;
  if (date.toUnixSeconds() != untouched.toUnixSeconds()) return true;
  VelmoraSysTime other;
  other.fromUnixSeconds(0);
  certificate.get_Valid_To_or_From_UTC(from, other, log);
  return other.toUnixSeconds() != 0;
}

VelmoraSysTime momentOf(std::chrono::sys_seconds date) noexcept {
  VelmoraSysTime moment;
  moment.fromUnixSeconds(date.time_since_epoch().count());
  return moment;
}

bool parseIsoTime(std::string_view text, VelmoraSysTime& time) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  constexpr size_t kDateSize = 10;
  if (text.size() != kDateSize && text.size() != kForm.size()) return false;
  StringBuffer digits;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == 'd' ? !isDigit : text[i] != kForm[i]) return false;
    if (isDigit) digits.appendChar(text[i]);
  }
  if (text.size() == kDateSize) digits.append("000000");
  digits.appendChar('Z');
  LogNull log;
  return time.fromX509(digits.view(), true, log);
}

void appendSpan(int64_t seconds, StringBuffer& out) {
  if (seconds < kSecondsInHour) {
    out.append("less than an hour");
    return;
  }
  const bool inDays = seconds >= kSecondsInDay;
  const int64_t count = seconds / (inDays ? kSecondsInDay : kSecondsInHour);
  out.appendInt(count);
  out.append(inDays ? " day" : " hour");
  if (count != 1) out.appendChar('s');
}

}  // namespace velmora::tool

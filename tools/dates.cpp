#include "tools/dates.h"

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

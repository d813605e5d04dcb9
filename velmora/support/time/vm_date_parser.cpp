#include "velmora/support/time/vm_date_parser.h"

#include "velmora/support/time/internal/civil_date.h"

namespace velmora {
namespace {

// Day 0 of the calendar, 1970-01-01, was a Thursday.
constexpr const char* kDays[] = {"Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

int64_t dayNumber(int64_t seconds) noexcept {
  const int64_t days = seconds / kSecondsInDay;
  return seconds % kSecondsInDay < 0 ? days - 1 : days;
}

}  // namespace

bool _vmDateParser::generateDateRFC822(const VelmoraSysTime& t, StringBuffer& out) noexcept {
  StringBuffer iso;  // YYYY-MM-DDThh:mm:ssZ
  if (!t.appendIso8601(iso)) {
    out.markFailed();
    return false;
  }
  const int64_t day = dayNumber(t.toUnixSeconds());
  StringBuffer date(kDays[((day % 7) + 7) % 7]);
  date.append(", ");
  date.append(iso.view().substr(8, 2));
  date.append3(" ", kMonths[civilFromDays(day).month - 1], " ");
  date.append(iso.view().substr(0, 4));
  date.appendChar(' ');
  date.append(iso.view().substr(11, 8));
  date.append(" GMT");
  return out.append(date);
}

}  // namespace velmora

#include "velmora/support/time/internal/civil_date.h"

#include <algorithm>

namespace velmora {
namespace {

// Days are counted inside from -400-03-01: a year that begins in March has its leap day at the end,
// where it moves no other date, and a whole cycle of leap years before year 0 keeps every number
// positive.
constexpr int64_t kCycle = 400;
constexpr int64_t kDaysIn400Years = 146097;
constexpr int64_t kDaysTo1970 = 719468 + kDaysIn400Years;
constexpr int64_t kDaysIn100Years = 36524;
constexpr int64_t kDaysIn4Years = 1461;

constexpr bool isLeapYear(int year) noexcept {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days before month `fromMarch` (0 is March) in a year that begins in March: the months run 31, 30,
// 31, 30, 31 and again, which is 153 days in five.
constexpr int64_t daysBeforeMonth(int64_t fromMarch) noexcept {
  return (153 * fromMarch + 2) / 5;
}

}  // namespace

int daysInMonth(int year, int month) noexcept {
  static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

int64_t daysFromCivil(const CivilDate& date) noexcept {
  const int64_t year = kCycle + (date.month > 2 ? date.year : date.year - 1);
  const int64_t fromMarch = (date.month + 9) % 12;
  return 365 * year + year / 4 - year / 100 + year / 400 + daysBeforeMonth(fromMarch) + date.day -
         1 - kDaysTo1970;
}

CivilDate civilFromDays(int64_t days) noexcept {
  int64_t left = days + kDaysTo1970;
  const int64_t cycles = left / kDaysIn400Years;
  left %= kDaysIn400Years;
  // The last century of a cycle and the last year of four are a day longer than the others.
  const int64_t centuries = std::min<int64_t>(left / kDaysIn100Years, 3);
  left -= centuries * kDaysIn100Years;
  const int64_t fours = left / kDaysIn4Years;
  left %= kDaysIn4Years;
  const int64_t years = std::min<int64_t>(left / 365, 3);
  left -= years * 365;

  const int64_t fromMarch = (5 * left + 2) / 153;
  const int64_t day = left - daysBeforeMonth(fromMarch) + 1;
  const int64_t month = fromMarch < 10 ? fromMarch + 3 : fromMarch - 9;
  const int64_t year =
      kCycle * (cycles - 1) + 100 * centuries + 4 * fours + years + (month <= 2 ? 1 : 0);
  return {static_cast<int>(year), static_cast<int>(month), static_cast<int>(day)};
}

}  // namespace velmora

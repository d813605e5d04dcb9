#pragma once

// The proleptic Gregorian calendar, years 0 to 9999 (ISO 8601, where year 0 is the one before year
// 1), counted in days from 1970-01-01.

#include <cstdint>

namespace velmora {

inline constexpr int64_t kSecondsInDay = 86400;

struct CivilDate {
  int year;
  int month;  // 1 to 12
  int day;    // 1 to 31
};

/// How many days the month has.
int daysInMonth(int year, int month) noexcept;

/// The day number of a date that exists.
int64_t daysFromCivil(const CivilDate& date) noexcept;

/// The date of a day number, the other way round.
CivilDate civilFromDays(int64_t days) noexcept;

}  // namespace velmora

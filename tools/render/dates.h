#pragma once

// Dates and spans of time as people are told them.

#include <chrono>
#include <string>

#include "velmora/certificate/date_text.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Empty for what is no date.
inline std::string dateText(const Result<std::chrono::sys_seconds>& date) {
  return date ? toIso8601(*date) : std::string();
}

/// Appends a span of time in words: "3 days", "1 hour", "less than an hour".
void appendSpan(std::chrono::seconds span, StringBuffer& out);

/// Fine enough for the clock, and far from full in the year 9999, which nanoseconds do not reach.
using Moment = std::chrono::sys_time<std::chrono::microseconds>;

inline Moment momentNow() {
  return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

/// The time from one moment to a later one, both cut to whole seconds as dates have them.
inline std::chrono::seconds secondsBetween(Moment from, Moment to) {
  using std::chrono::floor;
  using std::chrono::seconds;
  return floor<seconds>(to) - floor<seconds>(from);
}

}  // namespace velmora::tool

#pragma once

// Dates and spans of time between certificates, the command line and people.

#include <chrono>
#include <optional>
#include <string_view>

#include "tools/render/json_writer.h"
#include "velmora/certificate/result.h"

namespace velmora::tool {

/// Reads "2025-01-31" or "2025-01-31T23:59:59Z", in UTC; none for any other text.
std::optional<std::chrono::sys_seconds> parseIsoTime(std::string_view text);

/// Appends "2025-01-31T23:59:59Z"; false, with nothing appended, outside the years 0 to 9999.
bool appendDate(std::chrono::sys_seconds date, StringBuffer& out);

/// Writes the same as a member; null for what is no date.
void writeDate(std::string_view key, const Result<std::chrono::sys_seconds>& date, JsonLine& line);

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

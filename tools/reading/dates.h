#pragma once

// Dates and spans of time between certificates, the command line and people.

#include <chrono>
#include <cstdint>
#include <string_view>

#include "velmora/support/time/velmora_sys_time.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

inline constexpr int64_t kSecondsInHour = 3600;
inline constexpr int64_t kSecondsInDay = 24 * kSecondsInHour;

/// Reads notBefore (`from` true) or notAfter; false when the certificate has none that is a date.
bool readDate(VelmoraX509& certificate, bool from, VelmoraSysTime& date, LogBase& log);

/// The moment of a date that a certificate says.
VelmoraSysTime momentOf(std::chrono::sys_seconds date) noexcept;

/// Reads "2025-01-31" or "2025-01-31T23:59:59Z", in UTC; false, with the time unchanged, for any
/// other text.
bool parseIsoTime(std::string_view text, VelmoraSysTime& time);

/// Appends a span of time in words: "3 days", "1 hour", "less than an hour".
void appendSpan(int64_t seconds, StringBuffer& out);

}  // namespace velmora::tool

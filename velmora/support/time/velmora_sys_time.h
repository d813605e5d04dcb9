#pragma once

// Moments, and the date texts of certificates.

#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// A moment in UTC on the proleptic Gregorian calendar, to the nanosecond, in the years 0 to 9999
/// that four digits can write. A default one lies at the start of year 1, so that a date that could
/// not be read counts as long past. A plain value.
class VELMORA_API VelmoraSysTime {
 public:
  VelmoraSysTime() noexcept = default;

  /// Reads the time text of a certificate (RFC 5280 §4.1.2.5, X.690 §11.7 and §11.8, leniently
  /// as some issuers write it): UTCTime YYMMDDhhmm[ss](Z|±hhmm) when `generalized` is false
  /// (years from 50 on are 19xx), GeneralizedTime YYYYMMDDhh[mm[ss]][(.|,)digits][Z|±hhmm] when it
  /// is true. An offset is taken into account, a GeneralizedTime without one counts as UTC; digits
  /// of a fraction beyond the ninth, of which there may be any number, are dropped. Ranges are
  /// strict: month lengths, leap years, 23:59:59 (a second of 60 is refused); the years run from
  /// 0000. False, with the time unchanged and the error "Invalid date/time." and the data item
  /// "dateTime" on the log, for anything else.
  bool fromX509(const char* text, bool generalized, LogBase& log);
  bool fromX509(std::string_view text, bool generalized, LogBase& log);

  /// The moment from its parts; false, with the time unchanged, when one is out of range (year 0 to
  /// 9999).
  bool setCivil(int year, int month, int day, int hour, int minute, int second) noexcept;

  /// Sets the moment to now, by the system's clock.
  void getCurrentGmt() noexcept;

  /// True when this moment is later than `other`. With `wholeSeconds` fractions of a second do not
  /// count.
  bool is_after_by_compare(const VelmoraSysTime& other, bool wholeSeconds) const noexcept;

  /// Seconds since 1970-01-01T00:00:00Z, negative before; the fraction is left out (rounded down).
  int64_t toUnixSeconds() const noexcept { return m_seconds; }
  /// The moment `seconds` after (before, when negative) 1970-01-01T00:00:00Z; false, with the time
  /// unchanged, outside years 0 to 9999.
  bool fromUnixSeconds(int64_t seconds) noexcept;
  /// The part of a second that toUnixSeconds leaves out, 0 to 999,999,999.
  int nanoseconds() const noexcept { return static_cast<int>(m_nanoseconds); }

  /// Appends YYYY-MM-DDThh:mm:ssZ (RFC 3339), the fraction left out.
  bool appendIso8601(StringBuffer& out) const noexcept;

 private:
  int64_t m_seconds = -62135596800;  // 0001-01-01T00:00:00Z
  uint32_t m_nanoseconds = 0;
};

}  // namespace velmora

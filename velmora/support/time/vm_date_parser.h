#pragma once

// Reads the date texts of e-mail and HTTP.

#include "velmora/support/text/string_buffer.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora {

/// Date texts of e-mail and HTTP.
class _vmDateParser {
 public:
  /// Appends the moment as an RFC 822 date with the four-digit year of RFC 1123, in GMT:
  /// "Sat, 21 Nov 2026 10:24:00 GMT". The fraction of a second is left out. False when memory ran
  /// out.
  static bool generateDateRFC822(const VelmoraSysTime& t, StringBuffer& out) noexcept;
};

}  // namespace velmora

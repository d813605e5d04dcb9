#pragma once

// The dates of certificates as people and programs write them.

#include <chrono>
#include <string>
#include <string_view>

#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// "2025-01-31T23:59:59Z" (RFC 3339 §5.6, in UTC); empty outside the years 0000 to 9999, in which
/// all dates of certificates lie. Throws std::bad_alloc alone.
VELMORA_API std::string toIso8601(std::chrono::sys_seconds date);

/// Reads "2025-01-31T23:59:59Z", or "2025-01-31", which is its start, both in UTC. Any other text,
/// a day that does not exist and a leap second are malformedDate.
VELMORA_API Result<std::chrono::sys_seconds> parseIso8601(std::string_view text) noexcept;

}  // namespace velmora

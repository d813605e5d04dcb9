#pragma once

// What is said where memory ran out.

namespace velmora {

/// As an error line of a log.
inline constexpr const char* kOutOfMemory = "Out of memory.";

/// As the reason in a result.
inline constexpr const char* kMemoryRanOut = "Memory ran out.";

}  // namespace velmora

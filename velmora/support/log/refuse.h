#pragma once

// How an operation says no.

#include "velmora/support/log/log_base.h"

namespace velmora {

/// Logs why something was refused; always false.
inline bool refuse(const char* reason, LogBase& log) {
  log.LogError(reason);
  return false;
}

}  // namespace velmora

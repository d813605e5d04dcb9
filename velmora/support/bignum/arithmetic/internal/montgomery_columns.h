#pragma once

// Montgomery multiplication in C++ alone.

#include "velmora/support/bignum/arithmetic/montgomery.h"

namespace velmora::vartime {

/// The kernel that any CPU can run.
const MontgomeryKernel& montgomeryColumnsKernel() noexcept;

}  // namespace velmora::vartime

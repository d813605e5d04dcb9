#pragma once

#include "velmora/support/bignum/arithmetic/montgomery.h"

namespace velmora::vartime {

/// The fastest kernel for moduli of so many bits among those of a path that is supported on this
/// CPU and of the paths before it.
const MontgomeryKernel& montgomeryKernel(ArithmeticPath path, size_t bits) noexcept;

}  // namespace velmora::vartime

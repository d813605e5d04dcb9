#pragma once

// The row operation of a path, for numbers of any length.

#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// r += a * b over n limbs, giving the limb carried out; r and a do not overlap.
using LimbRowFunction = Limb (*)(Limb* r, const Limb* a, size_t n, Limb b);

/// The row of a path that is supported on this CPU.
VELMORA_API LimbRowFunction limbRowFunction(ArithmeticPath path) noexcept;

}  // namespace velmora::vartime

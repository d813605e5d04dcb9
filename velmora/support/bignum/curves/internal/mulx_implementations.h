#pragma once

// The curves on mulx and adx, which are compiled apart.

#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The curves on MulxRows; for CPUs with BMI2 and ADX only.
CurveList curvesOnMulx() noexcept;
const Edwards25519& edwards25519OnMulx() noexcept;
#endif

}  // namespace velmora::vartime

#pragma once

// The curves on mul and adc, which are compiled apart.

#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"

namespace velmora::vartime {

#if defined(__x86_64__)
/// The curves on MulRows, for any x86-64 CPU.
CurveList curvesOnMul() noexcept;
const Edwards25519& edwards25519OnMul() noexcept;
#endif

}  // namespace velmora::vartime

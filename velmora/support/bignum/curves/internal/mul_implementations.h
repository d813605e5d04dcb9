#pragma once

// The curves on mul and adc, which are compiled apart.

#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The curves on MulRows, for any x86-64 CPU.
CurveList curvesOnMul() noexcept;
const Edwards25519& edwards25519OnMul() noexcept;
#endif

}  // namespace velmora::vartime

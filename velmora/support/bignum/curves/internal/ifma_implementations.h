#pragma once

// The curves on AVX-512 IFMA, which are compiled apart.

#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The curves, of which those that gain by it are on lanes and the others on MulxRows; for CPUs
/// with AVX-512 IFMA and VL, BMI2 and ADX only.
CurveList curvesOnIfma() noexcept;
const Edwards25519& edwards25519OnIfma() noexcept;
#endif

}  // namespace velmora::vartime

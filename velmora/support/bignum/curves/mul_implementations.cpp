#include "velmora/support/bignum/curves/internal/mul_implementations.h"

#include "velmora/support/bignum/curves/internal/comb_curve.h"
#include "velmora/support/bignum/curves/internal/edwards25519_implementation.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
CurveList curvesOnMul() noexcept {
  return curvesOn<MulRows>();
}

const Edwards25519& edwards25519OnMul() noexcept {
  static const Edwards25519Implementation<MulRows> curve;
  return curve;
}
#endif

}  // namespace velmora::vartime

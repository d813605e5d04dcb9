#include "velmora/support/bignum/curves/internal/mulx_implementations.h"

#include "velmora/support/bignum/curves/internal/comb_curve.h"
#include "velmora/support/bignum/curves/internal/edwards25519_implementation.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
CurveList curvesOnMulx() noexcept {
  return curvesOn<MulxRows>();
}

const Edwards25519& edwards25519OnMulx() noexcept {
  static const Edwards25519Implementation<MulxRows> curve;
  return curve;
}
#endif

}  // namespace velmora::vartime

#include "velmora/support/bignum/curves/internal/comb_curve.h"
#include "velmora/support/bignum/curves/internal/ifma_implementations.h"
#include "velmora/support/bignum/curves/internal/mul_implementations.h"
#include "velmora/support/bignum/curves/internal/mulx_implementations.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

CurveList curves([[maybe_unused]] ArithmeticPath path) noexcept {
#if defined(VELMORA_X86_64)
  if (path == ArithmeticPath::kAvx512Ifma) return curvesOnIfma();
  if (path == ArithmeticPath::kMulxAdx) return curvesOnMulx();
  if (path == ArithmeticPath::kMulAdc) return curvesOnMul();
#endif
  return curvesOn<PortableRows>();
}

const Curve* findCurve(std::span<const unsigned char> oid, ArithmeticPath path) noexcept {
  const CurveList list = curves(path);
  for (size_t i = 0; i < list.count; ++i) {
    if (list.curves[i]->parameters().oid.is(oid)) return list.curves[i];
  }
  return nullptr;
}

}  // namespace velmora::vartime

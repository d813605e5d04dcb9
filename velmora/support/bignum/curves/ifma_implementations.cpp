#include "velmora/support/bignum/curves/internal/ifma_implementations.h"

#include <type_traits>

#include "velmora/support/bignum/curves/internal/lane_curve.h"
#include "velmora/support/bignum/curves/internal/lane_edwards25519.h"
#include "velmora/support/bignum/curves/internal/mulx_implementations.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
namespace {

constexpr size_t kMaxCurves = 16;

struct CurvesOnLanes {
  LaneCurve<kP256, LanesP256> p256;
  LaneCurve<kP384, LanesP384> p384;
  const Curve* list[kMaxCurves] = {};
  size_t count = 0;

  CurvesOnLanes() {
    const CurveList others = curvesOnMulx();
    for (; count < others.count; ++count) list[count] = instead(others.curves[count]);
  }

  const Curve* instead(const Curve* curve) const {
    for (const Curve* own : {static_cast<const Curve*>(&p256), static_cast<const Curve*>(&p384)}) {
      if (&own->parameters() == &curve->parameters()) return own;
    }
    return curve;
  }
};

}  // namespace

CurveList curvesOnIfma() noexcept {
  static_assert(std::is_trivially_destructible_v<CurvesOnLanes>);
  static const CurvesOnLanes curves;
  return {curves.list, curves.count};
}

const Edwards25519& edwards25519OnIfma() noexcept {
  static_assert(std::is_trivially_destructible_v<LaneEdwards25519>);
  static const LaneEdwards25519 curve;
  return curve;
}
#endif

}  // namespace velmora::vartime

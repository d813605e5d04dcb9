#pragma once

// Four points side by side, each computed on in a lane of its own.

#include "velmora/support/bignum/fields/internal/ifma_lanes.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

/// Four points of a curve y^2 = x^3 - 3 x + b, which do not know of each other: more doublings and
/// additions in the same time than JacobianLanes does of one point, where there are four to do.
///
/// Nothing here looks at what the numbers are: infinity, and a sum of equal or opposite points,
/// leave in their lane a Z of 0, which stays 0 from then on.
template <class Prime>
struct PointLanes {
  using Number = typename Prime::Number;

  /// (X / Z^2, Y / Z^3), carried.
  struct Points {
    Number x, y, z;
  };
  /// None of which is infinity, carried.
  struct AffinePoints {
    Number x, y;
  };

  /// Numbers with the signs of the lanes of the mask turned.
  VELMORA_LANES_INLINE static Number negated(const Number& a, __mmask8 mask) {
    Number r;
    VELMORA_UNROLL
    for (size_t i = 0; i < Prime::kWords; ++i) {
      r.w[i] = _mm256_mask_sub_epi64(a.w[i], mask, _mm256_setzero_si256(), a.w[i]);
    }
    return r;
  }

  /// 2 p: with M = 3 (X^2 - Z^4), (M^2 - 8 X Y^2, M (4 X Y^2 - X') - 8 Y^4, 2 Y Z).
  VELMORA_LANES_INLINE static Points twice(const Points& p) {
    const Number z2 = Prime::multiply(p.z, p.z);
    const Number y2 = product(p.y, p.y);
    Number m = Prime::multiply(Prime::carried(minus(p.x, z2)), Prime::carried(plus(p.x, z2)));
    m = Prime::carried(plus(m, plus(m, m)));
    const Number xy2 = fourTimes(Prime::multiply(p.x, y2));
    const Number x = minus(Prime::multiply(m, m), plus(xy2, xy2));
    const Number yz = Prime::multiply(p.y, p.z);
    Number y4 = fourTimes(Prime::multiply(y2, y2));
    y4 = plus(y4, y4);
    const Number y = Prime::multiply(m, Prime::carried(minus(xy2, x)));
    return {Prime::carried(x), Prime::carried(minus(y, y4)), Prime::carried(plus(yz, yz))};
  }

  /// p + q, with -q instead of q in the lanes of the mask.
  VELMORA_LANES_INLINE static Points add(const Points& p, const AffinePoints& q, __mmask8 minusQ) {
    const Number z2 = product(p.z, p.z);
    const Number x = Prime::multiply(q.x, z2);
    const Number y = negated(Prime::multiply(q.y, product(p.z, z2)), minusQ);
    const Number h = Prime::carried(minus(x, p.x));
    return addDifferences(p.x, p.y, h, Prime::carried(minus(y, p.y)), Prime::multiply(p.z, h));
  }

  /// The sum of all four, in every lane.
  VELMORA_LANES_INLINE static Points total(const Points& p) {
    const Points pairs = add(permuted<0, 1, 0, 1>(p), permuted<2, 3, 2, 3>(p));
    return add(permuted<0, 0, 0, 0>(pairs), permuted<1, 1, 1, 1>(pairs));
  }

  /// p + q.
  VELMORA_LANES_INLINE static Points add(const Points& p, const Points& q) {
    const Number pz2 = product(p.z, p.z);
    const Number qz2 = product(q.z, q.z);
    const Number x = product(p.x, qz2);
    const Number y = product(p.y, product(qz2, q.z));
    const Number h = Prime::carried(minus(Prime::multiply(q.x, pz2), x));
    const Number r = Prime::carried(minus(Prime::multiply(q.y, product(pz2, p.z)), y));
    return addDifferences(x, y, h, r, Prime::multiply(product(p.z, q.z), h));
  }

 private:
  template <int kI0, int kI1, int kI2, int kI3>
  VELMORA_LANES_INLINE static Points permuted(const Points& p) {
    return {vartime::permuted<kI0, kI1, kI2, kI3>(p.x), vartime::permuted<kI0, kI1, kI2, kI3>(p.y),
            vartime::permuted<kI0, kI1, kI2, kI3>(p.z)};
  }

  VELMORA_LANES_INLINE static Number product(const Number& a, const Number& b) {
    return Prime::carried(Prime::multiply(a, b));
  }

  VELMORA_LANES_INLINE static Number fourTimes(const Number& a) {
    const Number twofold = plus(a, a);
    return plus(twofold, twofold);
  }

  // From x and y of one point and what must be added to them for the other's, on the same
  // denominator, and the Z of the sum.
  VELMORA_LANES_INLINE static Points addDifferences(const Number& x, const Number& y,
                                                    const Number& h, const Number& r,
                                                    const Number& z) {
    const Number h2 = product(h, h);
    const Number h3 = product(h, h2);
    const Number xh2 = Prime::multiply(x, h2);
    const Number newX = minus(Prime::multiply(r, r), plus(h3, plus(xh2, xh2)));
    const Number newY =
        minus(Prime::multiply(r, Prime::carried(minus(xh2, newX))), Prime::multiply(y, h3));
    return {Prime::carried(newX), Prime::carried(newY), Prime::carried(z)};
  }
};

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

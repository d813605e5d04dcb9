#pragma once

// Doubling and addition of points with their multiplications side by side.

#include "velmora/support/bignum/fields/internal/ifma_lanes.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

/// Points of a curve y^2 = x^3 - 3 x + b, on four lanes. A doubling has three levels of
/// multiplications that do not wait for each other, an addition behind it three more.
///
/// A point (X / Z^2, Y / Z^3) has X, 2 Y, Z and Z^4 in its lanes. With V = 2 Y and M = 3 (X^2 -
/// Z^4), twice the point is X' = M^2 - 2 X V^2, V' = 2 M (X V^2 - X') - V^4, Z' = V Z, Z'^4 = V^4
/// Z^4: the formula of Cohen, Miyaji and Ono ("Efficient elliptic curve exponentiation using mixed
/// coordinates", 1998) without its halves. Nothing here looks at what the numbers are: infinity,
/// and a sum of equal or opposite points, leave a Z of 0, which stays 0 from then on.
template <class Prime>
struct JacobianLanes {
  using Number = typename Prime::Number;
  static constexpr size_t kWords = Prime::kWords;

  /// A point that is not infinity, as carried words in Montgomery form.
  struct Affine {
    Limb x[kWords], y[kWords];
  };

  /// 1 and 1/2 in Montgomery form.
  struct Constants {
    Limb one[kWords], half[kWords];
  };

  VELMORA_LANES_INLINE static Number twice(const Number& point) {
    const Doubling d = beginDoubling(point);
    const Number b = Prime::carried(blended<12>(tangentPoint(d), permuted<0, 0, 2, 3>(d.squares)));
    const Number a = blended<4>(d.tangent, permuted<0, 0, 3, 3>(point));
    const Number r = Prime::multiply(a, b);  // M (X V^2 - X'), , V^4 Z^4
    const Number spread = permuted<0, 0, 2, 2>(r);
    Number sum = plus<2>(spread, spread);
    sum = minus<2>(sum, permuted<0, 2, 2, 3>(d.squares));
    sum = Prime::carried(sum);
    sum = blended<1>(sum, permuted<1, 1, 2, 3>(b));
    return blended<4>(sum, permuted<0, 1, 3, 3>(d.tangent));
  }

  /// 2 point + q, or 2 point - q. In the comments H = x Z^2 - X is the difference of the
  /// x-coordinates and R = y Z^3 - Y that of the y-coordinates, on the denominator of the double.
  VELMORA_LANES_INLINE static Number twiceAndAdd(const Number& point, const Affine& q, bool minusQ,
                                                 const Constants& constants) {
    const Doubling d = beginDoubling(point);
    // M (X V^2 - X'), , x Z^2, Z^3
    const Number b = Prime::carried(blended<12>(tangentPoint(d), permuted<0, 0, 3, 3>(d.squares)));
    const Number doubled = Prime::multiply(withNumber<4>(d.tangent, q.x), b);
    const Number x = permuted<1, 1, 1, 1>(b);
    // H^2, H Z, Y, y Z^3
    Number n = permuted<2, 2, 0, 3>(doubled);
    n = minus<3>(n, x);
    n = plus<4>(n, n);
    n = Prime::carried(minus<4>(n, d.squares));
    Number m = blended<2>(n, permuted<3, 3, 3, 3>(d.tangent));
    m = withNumber<8>(withNumber<4>(m, constants.half), q.y);
    return addDifferences(Prime::multiply(m, n), n, x, minusQ);
  }

  /// point + q, or point - q.
  VELMORA_LANES_INLINE static Number add(const Number& point, const Affine& q, bool minusQ,
                                         const Constants& constants) {
    const Number z = permuted<2, 2, 2, 2>(point);
    const Number z2 = Prime::carried(Prime::multiply(z, z));
    const Number product = Prime::multiply(withNumber<4>(z, q.x), z2);  // Z^3, , x Z^2
    const Number x = permuted<0, 0, 0, 0>(point);
    Number n = permuted<2, 2, 2, 0>(product);
    n = Prime::carried(minus<3>(n, x));
    n = blended<4>(n, permuted<1, 1, 1, 1>(point));
    Number m = blended<2>(n, z);
    m = withNumber<8>(withNumber<4>(m, constants.half), q.y);
    return addDifferences(Prime::multiply(m, n), n, x, minusQ);
  }

  VELMORA_LANES_INLINE static Number fromAffine(const Affine& q, bool minusQ,
                                                const Constants& constants) {
    Number r = withNumber<12>(withNumber<1>(withNumber<2>(Number{}, q.y), q.x), constants.one);
    r = plus<2>(r, r);
    if (minusQ) r = blended<2>(r, minus<2>(Number{}, r));
    return blended<12>(Prime::carried(r), r);
  }

 private:
  // After two levels.
  struct Doubling {
    Number tangent;  // M, , , Z'; carried
    Number squares;  // M^2, X V^2, V^4, Z'^2
  };

  VELMORA_LANES_INLINE static Doubling beginDoubling(const Number& point) {
    Doubling r;
    const Number squares = Prime::multiply(permuted<0, 1, 1, 3>(point), point);  // X^2, V^2, V Z
    Number m = minus<1>(permuted<0, 1, 1, 2>(squares), permuted<3, 3, 3, 3>(point));
    m = plus<1>(m, plus<1>(m, m));
    r.tangent = Prime::carried(m);  // M, V^2, V^2, Z'
    r.squares = Prime::multiply(blended<2>(r.tangent, permuted<0, 0, 2, 3>(point)), r.tangent);
    return r;
  }

  // X V^2 - X' and X'.
  VELMORA_LANES_INLINE static Number tangentPoint(const Doubling& d) {
    const Number product = permuted<1, 1, 1, 1>(d.squares);
    const Number x = minus(permuted<0, 0, 0, 0>(d.squares), plus(product, product));
    return blended<1>(x, minus(product, x));
  }

  // The last two levels, from H^2, H Z, Y and y Z^3. The second lane of `h` is H, carried; all of
  // `x` are X.
  VELMORA_LANES_INLINE static Number addDifferences(const Number& r, const Number& h,
                                                    const Number& x, bool minusQ) {
    Number n = permuted<3, 0, 2, 1>(r);
    if (minusQ) n = blended<1>(n, minus<1>(Number{}, n));
    n = Prime::carried(minus<1>(n, permuted<2, 2, 2, 2>(r)));  // R, H^2, Y, Z'
    Number m = blended<2>(blended<4>(n, x), h);
    const Number products = Prime::multiply(m, permuted<0, 1, 1, 3>(n));  // R^2, H^3, X H^2, Z'^2
    // X' = R^2 - H^3 - 2 X H^2, and X H^2 - X'
    const Number middle = permuted<2, 2, 2, 2>(products);
    const Number cube = permuted<1, 1, 1, 3>(products);
    Number sum = minus(permuted<0, 0, 0, 0>(products), plus(plus(middle, middle), cube));
    sum = blended<1>(sum, minus(middle, sum));
    const Number last = Prime::carried(blended<12>(sum, cube));  // , X', H^3, Z'^2
    m = blended<8>(n, last);
    const Number y = Prime::multiply(m, last);  // R (X H^2 - X'), , Y H^3, Z'^4
    sum = permuted<0, 0, 2, 3>(y);
    sum = minus<2>(sum, permuted<2, 2, 2, 2>(y));
    sum = Prime::carried(plus<2>(sum, sum));
    sum = blended<1>(sum, permuted<1, 1, 1, 1>(last));
    return blended<4>(sum, permuted<3, 3, 3, 3>(n));
  }
};

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

#pragma once

// Addition and doubling of the points of a named curve.

#include "velmora/support/bignum/curves/curve_data.h"
#include "velmora/support/bignum/curves/internal/window.h"
#include "velmora/support/bignum/fields/internal/prime_field.h"

namespace velmora::vartime {

enum class CurveSlope { kMinus3, kZero, kGeneral };  // the a of the curve

/// Points of y^2 = x^3 + a x + b. `Constants` has Field, kSlope and the field elements a() and b().
/// Every operation is complete: infinity, equal and opposite points give what the group law says.
/// Results may be the same objects as operands.
template <class Constants>
struct JacobianArithmetic {
  using Field = typename Constants::Field;
  using Element = typename Field::Element;

  /// A point that is not infinity.
  struct Affine {
    Element x, y;
  };
  /// (X / Z^2, Y / Z^3); infinity when Z is 0.
  struct Jacobian : Affine {
    Element z;
  };
  static Jacobian infinity() {
    Jacobian r;
    setSmall<Field>(r.x, 1);
    setSmall<Field>(r.y, 1);
    r.z = {};
    return r;
  }

  static Jacobian fromAffine(const Affine& p) {
    Jacobian r{p, {}};
    setSmall<Field>(r.z, 1);
    return r;
  }

  static bool isInfinity(const Jacobian& p) { return Field::isZero(p.z); }

  /// r = 2 p. Infinity stays infinity because Z is a factor of the new Z. The usual formula with
  /// all coordinates scaled by 1/2, which saves additions: with m = (3 X^2 + a Z^4) / 2, the new
  /// point is (m^2 - 2 X Y^2, m (X Y^2 - X') - Y^4, Y Z). The steps are ordered so that one next to
  /// another seldom waits for it.
  static void twice(Jacobian& r, const Jacobian& p) {
    Element m, y2, xy2, t, z2;
    if constexpr (Constants::kSlope == CurveSlope::kZero) {
      Field::square(t, p.x);
    } else {
      Field::square(z2, p.z);
    }
    Field::square(y2, p.y);
    if constexpr (Constants::kSlope == CurveSlope::kMinus3) {
      Field::subtract(t, p.x, z2);
      Field::add(z2, p.x, z2);
      Field::multiply(t, t, z2);
    } else if constexpr (Constants::kSlope == CurveSlope::kGeneral) {
      Field::square(t, p.x);
      Field::square(z2, z2);
      Field::multiply(z2, z2, Constants::a());
    }
    Field::multiply(xy2, p.x, y2);
    if constexpr (Constants::kSlope == CurveSlope::kGeneral) {
      Field::add(m, t, z2);
      Field::halve(m, m);
    } else {
      Field::halve(m, t);
    }
    Field::add(m, m, t);
    Field::multiply(r.z, p.y, p.z);
    Field::square(t, m);
    Field::square(y2, y2);
    Field::subtract(t, t, xy2);
    Field::subtract(r.x, t, xy2);
    Field::subtract(t, xy2, r.x);
    Field::multiply(t, t, m);
    Field::subtract(r.y, t, y2);
  }

  /// r = p + q, or p - q; in the same order of steps.
  static void add(Jacobian& r, const Jacobian& p, const Affine& q, bool minus) {
    if (isInfinity(p)) {
      r = fromAffine(q);
      if (minus) negate(r.y);
      return;
    }
    const Way way = wayTo(q, minus, p);
    if (Field::isZero(way.x)) {
      if (Field::isZero(way.y)) {
        twice(r, p);
      } else {
        r = infinity();
      }
      return;
    }
    Affine start;
    addWay(r, start, p, way);
  }

  /// r = 2 p + q, or 2 p - q, as p + (p + q), whose second sum is of points with the same Z: a
  /// multiplication less than twice() and add().
  static void twiceAndAdd(Jacobian& r, const Jacobian& p, const Affine& q, bool minus) {
    if (!isInfinity(p)) {
      const Way way = wayTo(q, minus, p);
      if (!Field::isZero(way.x)) {
        Jacobian sum;
        Affine start;
        Element ratio;  // 0 when p + q is -p, and the result infinity
        addWay(sum, start, p, way);
        addWithSameZ(r, ratio, start, sum);
        Field::multiply(r.z, sum.z, ratio);
        return;
      }
    }
    twice(r, p);
    add(r, r, q, minus);
  }

  /// y^2 == x^3 + a x + b.
  static bool isOnCurve(const Affine& p) {
    Element left, right;
    Field::square(left, p.y);
    rightSide(right, p.x);
    return Field::equal(left, right);
  }

  /// r = x^3 + a x + b.
  static void rightSide(Element& r, const Element& x) {
    Element t;
    Field::square(t, x);
    Field::add(t, t, Constants::a());
    Field::multiply(t, t, x);
    Field::add(r, t, Constants::b());
  }

  static Affine toAffine(const Jacobian& p) {
    Element inverse;
    invert<Field>(inverse, p.z);
    return scale(p, inverse);
  }

  /// table[i] = (2i + 1) p; none of them may be infinity. The multiples are made without their Z,
  /// of which only the ratios are known, and then brought to Z = 1 with one inversion.
  template <size_t kCount>
  static void oddMultiples(Affine (&table)[kCount], const Affine& p) {
    Jacobian doubled;
    twice(doubled, fromAffine(p));
    Affine step{doubled.x, doubled.y};  // 2 p with the Z of the last multiple
    Element ratio[kCount];              // of the Z of a multiple to the one before
    Element z = doubled.z;
    Field::square(ratio[0], z);
    Field::multiply(table[0].x, p.x, ratio[0]);
    Field::multiply(ratio[0], ratio[0], z);
    Field::multiply(table[0].y, p.y, ratio[0]);
    for (size_t i = 1; i < kCount; ++i) {
      addWithSameZ(table[i], ratio[i], step, table[i - 1]);
      Field::multiply(z, z, ratio[i]);
    }
    invert<Field>(z, z);
    for (size_t i = kCount - 1; i != 0; --i) {
      table[i] = scale(table[i], z);
      Field::multiply(z, z, ratio[i]);
    }
    table[0] = p;
  }

  /// The same points, none of which may be infinity, with one inversion for all.
  template <size_t kCount>
  static void toAffine(Affine (&r)[kCount], const Jacobian (&points)[kCount]) {
    Element inverses[kCount];
    for (size_t i = 0; i < kCount; ++i) inverses[i] = points[i].z;
    invertAll<Field>(inverses, kCount);
    for (size_t i = 0; i < kCount; ++i) r[i] = scale(points[i], inverses[i]);
  }

  /// sum = p + q and difference = p - q, neither of which may be infinity nor p equal to q or -q;
  /// `inverse` is 1 / (x of p - x of q). Results may be the same objects as p.
  static void addAndSubtract(Affine& sum, Affine& difference, const Affine& p, const Affine& q,
                             const Element& inverse) {
    Element upwards, downwards;
    Field::subtract(upwards, p.y, q.y);
    Field::add(downwards, p.y, q.y);
    const Affine start = p;
    chord(sum, start, q.x, upwards, inverse);
    chord(difference, start, q.x, downwards, inverse);
  }

 private:
  // What a second point is away from a first whose Z is 1, or was taken off.
  struct Way {
    Element x, y;
  };

  // From p to q or -q, with the denominators of p. Inlined by force, as addWay() is: as calls they
  // cost one to four hundredths of u1 G + u2 Q on P-256 with mulx.
  __attribute__((always_inline)) static Way wayTo(const Affine& q, bool minus, const Jacobian& p) {
    Way way;
    Element z2, z3;
    Field::square(z2, p.z);
    Field::multiply(z3, z2, p.z);
    Field::multiply(z2, q.x, z2);
    Field::multiply(z3, q.y, z3);
    Field::subtract(way.x, z2, p.x);
    if (minus) negate(z3);
    Field::subtract(way.y, z3, p.y);
    return way;
  }

  // r = the sum of p and the point at the end of the way, and start = p with the Z of r, which is 0
  // when the way goes up or nowhere.
  __attribute__((always_inline)) static void addWay(Jacobian& r, Affine& start, const Jacobian& p,
                                                    const Way& way) {
    Element x, h2, h3;
    Field::square(h2, way.x);
    Field::square(x, way.y);
    Field::multiply(h3, h2, way.x);
    Field::multiply(start.x, p.x, h2);
    Field::subtract(x, x, h3);
    Field::multiply(start.y, h3, p.y);
    Field::subtract(x, x, start.x);
    Field::subtract(r.x, x, start.x);
    Field::multiply(r.z, p.z, way.x);
    Field::subtract(x, start.x, r.x);
    Field::multiply(x, x, way.y);
    Field::subtract(r.y, x, start.y);
  }

  // sum = p + q, of the same Z, and p brought to the Z of the sum, which is `ratio` times theirs
  // and 0 when p is q or -q (Meloni, "New point addition formulae for ECC applications", 2007).
  static void addWithSameZ(Affine& sum, Element& ratio, Affine& p, const Affine& q) {
    Element square, x, t, rise;
    Field::subtract(ratio, q.x, p.x);
    Field::square(square, ratio);
    Field::subtract(rise, q.y, p.y);
    Field::multiply(x, q.x, square);
    Field::multiply(p.x, p.x, square);
    Field::square(t, rise);
    Field::subtract(square, x, p.x);
    Field::subtract(t, t, p.x);
    Field::multiply(p.y, p.y, square);
    Field::subtract(sum.x, t, x);
    Field::subtract(t, p.x, sum.x);
    Field::multiply(t, t, rise);
    Field::subtract(sum.y, t, p.y);
  }

  // Zero has no limb set in any field.
  static void negate(Element& y) { Field::subtract(y, Element{}, y); }

  // The third point on the line through p that rises by `rise` on the way from x, mirrored.
  static void chord(Affine& r, const Affine& p, const Element& x, const Element& rise,
                    const Element& inverse) {
    Element slope, t;
    Field::multiply(slope, rise, inverse);
    Field::square(t, slope);
    Field::subtract(t, t, p.x);
    Field::subtract(r.x, t, x);
    Field::subtract(t, p.x, r.x);
    Field::multiply(t, t, slope);
    Field::subtract(r.y, t, p.y);
  }

  // (X inverse^2, Y inverse^3)
  static Affine scale(const Affine& p, const Element& inverse) {
    Affine r;
    Element power;
    Field::square(power, inverse);
    Field::multiply(r.x, p.x, power);
    Field::multiply(power, power, inverse);
    Field::multiply(r.y, p.y, power);
    return r;
  }
};

}  // namespace velmora::vartime

#pragma once

// A named curve computed on in one way.

#include <utility>

#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/internal/jacobian.h"

namespace velmora::vartime {

template <const CurveParameters& kParameters>
struct CurveNumbers {
  static constexpr size_t kLimbs = limbsForBits(kParameters.bits);
  static constexpr auto kPrime = limbsFromHex<kLimbs>(kParameters.prime);
  static constexpr auto kOrder = limbsFromHex<kLimbs>(kParameters.order);
  static constexpr auto kA = limbsFromHex<kLimbs>(kParameters.a);
  static constexpr auto kB = limbsFromHex<kLimbs>(kParameters.b);
  static constexpr auto kBaseX = limbsFromHex<kLimbs>(kParameters.baseX);
  static constexpr auto kBaseY = limbsFromHex<kLimbs>(kParameters.baseY);
};

// The field that suits the shape of a curve's prime.
template <class Numbers, class Rows>
struct FieldChoice {
  using Type = MontgomeryField<Numbers, Rows>;
};
template <class Rows>
struct FieldChoice<CurveNumbers<kSecp256k1>, Rows> {
  // 2^256 - 2^32 - 977
  using Type = FoldField<CurveNumbers<kSecp256k1>, (Limb{1} << 32) + 977, Rows>;
};
template <class Rows>
struct FieldChoice<CurveNumbers<kP521>, Rows> {
  using Type = Mersenne521Field<CurveNumbers<kP521>, Rows>;
};

template <const CurveParameters& kParameters, class Rows>
struct CurveConstants {
  using Numbers = CurveNumbers<kParameters>;
  using Field = typename FieldChoice<Numbers, Rows>::Type;
  using Element = typename Field::Element;

  static constexpr CurveSlope slope() {
    Limb plus3[Numbers::kLimbs] = {};
    const Limb three[Numbers::kLimbs] = {3};
    addLimbs(plus3, Numbers::kA.data(), three, Numbers::kLimbs);
    if (isZero(Numbers::kA.data(), Numbers::kLimbs)) return CurveSlope::kZero;
    return compareLimbs(plus3, Numbers::kPrime.data(), Numbers::kLimbs) == 0 ? CurveSlope::kMinus3
                                                                             : CurveSlope::kGeneral;
  }
  static constexpr CurveSlope kSlope = slope();

  static const Element& a() {
    static const Element element = make(Numbers::kA.data());
    return element;
  }
  static const Element& b() {
    static const Element element = make(Numbers::kB.data());
    return element;
  }

 private:
  static Element make(const Limb* limbs) {
    Element element;
    Field::fromPlain(element, limbs);
    return element;
  }
};

template <const CurveParameters& kParameters, class Rows>
class CurveImplementation : public Curve {
 protected:
  using Constants = CurveConstants<kParameters, Rows>;
  using Numbers = typename Constants::Numbers;
  using Field = typename Constants::Field;
  using Element = typename Field::Element;
  using Arithmetic = JacobianArithmetic<Constants>;
  using Affine = typename Arithmetic::Affine;
  using Jacobian = typename Arithmetic::Jacobian;
  static constexpr size_t kLimbs = Field::kLimbs;

 public:
  CurveImplementation() : Curve(kParameters, Numbers::kPrime.data(), Numbers::kOrder.data()) {}

  CurvePoint basePoint() const noexcept override {
    CurvePoint point;
    copyLimbs(point.x, Numbers::kBaseX.data(), kLimbs);
    copyLimbs(point.y, Numbers::kBaseY.data(), kLimbs);
    point.infinity = false;
    return point;
  }

  bool decodePoint(CurvePoint& point, const std::uint8_t* bytes,
                   size_t size) const noexcept override {
    const size_t length = coordinateBytes();
    if (size == 0 || size < 1 + length) return false;
    const std::uint8_t form = bytes[0];
    point.infinity = false;
    if (!limbsFromBigEndian(point.x, kLimbs, bytes + 1, length)) return false;
    if (form == 4 && size == 1 + 2 * length) {
      return limbsFromBigEndian(point.y, kLimbs, bytes + 1 + length, length) && isOnCurve(point);
    }
    return (form == 2 || form == 3) && size == 1 + length && recoverY(point, form & 1);
  }

  bool isOnCurve(const CurvePoint& point) const noexcept override {
    return !point.infinity && isReduced(point.x) && isReduced(point.y) &&
           Arithmetic::isOnCurve(enter(point));
  }

  CurvePoint doubleMultiply(const Limb* u1, const Limb* u2, const CurvePoint& q,
                            const PreparedPoint* prepared) const noexcept override {
    const Jacobian sum = multiply(u1, u2, q, prepared);
    CurvePoint point{};
    point.infinity = Arithmetic::isInfinity(sum);
    if (point.infinity) return point;
    const Affine affine = Arithmetic::toAffine(sum);
    Field::toPlain(point.x, affine.x);
    Field::toPlain(point.y, affine.y);
    return point;
  }

  // x == r modulo the order, where x = X / Z^2 is below the prime: X == r Z^2 or X == (r + n) Z^2.
  bool doubleMultiplyHasX(const Limb* u1, const Limb* u2, const CurvePoint& q, const Limb* r,
                          const PreparedPoint* prepared) const noexcept override {
    const Jacobian sum = multiply(u1, u2, q, prepared);
    if (Arithmetic::isInfinity(sum)) return false;
    Element z2;
    Field::square(z2, sum.z);
    Limb candidate[kLimbs];
    copyLimbs(candidate, r, kLimbs);
    for (Limb carry = 0; carry == 0 && isReduced(candidate);) {
      Element x;
      Field::fromPlain(x, candidate);
      Field::multiply(x, x, z2);
      if (Field::equal(x, sum.x)) return true;
      carry = addLimbs(candidate, candidate, Numbers::kOrder.data(), kLimbs);
    }
    return false;
  }

 protected:
  static constexpr unsigned kPointWindow = 5;
  static constexpr unsigned kBaseWindow = 10;
  static constexpr size_t kPointMultiples = size_t{1} << (kPointWindow - 2);
  static constexpr size_t kBaseMultiples = size_t{1} << (kBaseWindow - 2);

  struct BaseTable {
    Affine multiple[kBaseMultiples];  // G, 3 G, 5 G ...
  };

  using Digits = DoubleDigits<kLimbs, kBaseWindow, kPointWindow>;

  // Made at first use, which takes about as long as two verifications.
  static const BaseTable& baseTable() {
    static const BaseTable table = makeBaseTable();
    return table;
  }

  static Affine enter(const CurvePoint& point) {
    Affine r;
    Field::fromPlain(r.x, point.x);
    Field::fromPlain(r.y, point.y);
    return r;
  }

  static Affine basePointInside() {
    Affine base;
    Field::fromPlain(base.x, Numbers::kBaseX.data());
    Field::fromPlain(base.y, Numbers::kBaseY.data());
    return base;
  }

  // u1 * G + u2 * q.
  virtual Jacobian multiply(const Limb* u1, const Limb* u2, const CurvePoint& q) const noexcept {
    const Limb zero[kLimbs] = {};
    const Digits digits(u1, q.infinity ? zero : u2);
    Affine table[kPointMultiples];
    if (!q.infinity) Arithmetic::oddMultiples(table, enter(q));
    const BaseTable& base = baseTable();
    Jacobian sum = Arithmetic::infinity();
    for (size_t i = digits.count; i-- != 0;) {
      int point = digits.point[i], other = digits.base[i];
      if (point != 0) {
        Arithmetic::twiceAndAdd(sum, sum, table[multipleAt(point)], point < 0);
      } else if (other != 0) {
        point = std::exchange(other, 0);
        Arithmetic::twiceAndAdd(sum, sum, base.multiple[multipleAt(point)], point < 0);
      } else {
        Arithmetic::twice(sum, sum);
      }
      if (other != 0) Arithmetic::add(sum, sum, base.multiple[multipleAt(other)], other < 0);
    }
    return sum;
  }

  // The same with what prepare() made of q.
  virtual Jacobian multiplyPrepared(const Limb* u1, const Limb* u2, const CurvePoint& q,
                                    const PreparedPoint&) const noexcept {
    return multiply(u1, u2, q);
  }

 private:
  Jacobian multiply(const Limb* u1, const Limb* u2, const CurvePoint& q,
                    const PreparedPoint* prepared) const noexcept {
    return prepared == nullptr ? multiply(u1, u2, q) : multiplyPrepared(u1, u2, q, *prepared);
  }

  static bool isReduced(const Limb* x) {
    return compareLimbs(x, Numbers::kPrime.data(), kLimbs) < 0;
  }

  // Completes a point from x and the lowest bit of y.
  static bool recoverY(CurvePoint& point, Limb odd) {
    if (!isReduced(point.x)) return false;
    Element x, y;
    Field::fromPlain(x, point.x);
    Arithmetic::rightSide(y, x);
    if (!squareRoot<Field>(y, y, kParameters.nonResidue)) return false;
    Field::toPlain(point.y, y);
    if ((point.y[0] & 1) == odd) return true;
    if (isZero(point.y, kLimbs)) return false;
    subLimbs(point.y, Numbers::kPrime.data(), point.y, kLimbs);
    return true;
  }

  static BaseTable makeBaseTable() {
    BaseTable table;
    Arithmetic::oddMultiples(table.multiple, basePointInside());
    return table;
  }
};

}  // namespace velmora::vartime

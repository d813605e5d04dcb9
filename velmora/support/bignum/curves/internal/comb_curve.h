#pragma once

// A named curve on which points can be prepared.

#include <memory>
#include <new>
#include <type_traits>

#include "velmora/support/bignum/curves/internal/comb.h"
#include "velmora/support/bignum/curves/internal/curve_implementation.h"

namespace velmora::vartime {

/// A curve that makes combs of points that are multiplied again and again, and one of its base
/// point to go with them.
template <const CurveParameters& kParameters, class Rows>
class CombCurve : public CurveImplementation<kParameters, Rows> {
 protected:
  using Base = CurveImplementation<kParameters, Rows>;
  using Base::kLimbs;
  using typename Base::Affine;
  using typename Base::Arithmetic;
  using typename Base::Element;
  using typename Base::Field;
  using typename Base::Jacobian;

  // The comb of the base point is there once, so that it may be larger.
  using PointShape = CombShape<kParameters.bits, 6, 4>;
  using BaseShape = CombShape<kParameters.bits, 8, 4>;
  static_assert(BaseShape::kSteps <= PointShape::kSteps);

  template <class Shape>
  class Comb {
   public:
    explicit Comb(const Affine& point);
    Affine entries[Shape::kTables][Shape::kEntries];

   private:
    void addTooth(size_t count, const Affine* teeth);
  };

 public:
  std::unique_ptr<const PreparedPoint> prepare(const CurvePoint& q) const noexcept override {
    if (q.infinity) return nullptr;
    baseComb();
    return newComb(q);
  }

 protected:
  static std::unique_ptr<const PreparedComb<Comb<PointShape>>> newComb(const CurvePoint& q) {
    using Made = PreparedComb<Comb<PointShape>>;
    return std::unique_ptr<const Made>(new (std::nothrow) Made(Base::enter(q)));
  }

  // Made at first use, which is when the first point is prepared.
  static const Comb<BaseShape>& baseComb() {
    static_assert(std::is_trivially_destructible_v<Comb<BaseShape>>);
    static const Comb<BaseShape> comb(Base::basePointInside());
    return comb;
  }

  static bool isBelowOrder(const Limb* u) {
    return compareLimbs(u, Base::Numbers::kOrder.data(), kLimbs) < 0;
  }

  // Of a number below the order, which is odd.
  template <class Shape>
  static CombDigits<Shape> digitsOf(const Limb* u) {
    Limb odd[kLimbs];
    const bool isEven = u[0] % 2 == 0;
    if (isEven) {
      subLimbs(odd, Base::Numbers::kOrder.data(), u, kLimbs);
    } else {
      copyLimbs(odd, u, kLimbs);
    }
    return CombDigits<Shape>(odd, kLimbs, isEven);
  }

  Jacobian multiplyPrepared(const Limb* u1, const Limb* u2, const CurvePoint& q,
                            const PreparedPoint& prepared) const noexcept override {
    if (!isBelowOrder(u1) || !isBelowOrder(u2)) return this->multiply(u1, u2, q);
    const auto& pointComb = PreparedComb<Comb<PointShape>>::tablesOf(prepared);
    const auto base = digitsOf<BaseShape>(u1);
    const auto point = digitsOf<PointShape>(u2);
    Jacobian sum = Arithmetic::infinity();
    for (unsigned step = PointShape::kSteps; step-- != 0;) {
      Arithmetic::twice(sum, sum);
      addStep(sum, pointComb, point, step);
      if (step < BaseShape::kSteps) addStep(sum, baseComb(), base, step);
    }
    return sum;
  }

 private:
  template <class Shape>
  static void addStep(Jacobian& sum, const Comb<Shape>& comb, const CombDigits<Shape>& digits,
                      unsigned step) {
    for (unsigned table = 0; table < Shape::kTables; ++table) {
      const CombDigit digit = digits.at(table, step);
      Arithmetic::add(sum, sum, comb.entries[table][digit.entry], digit.minus);
    }
  }
};

// No sum in here is infinity or one of equal points: every point has the order of the base point,
// so that this depends on the numbers of a comb alone.
template <const CurveParameters& kParameters, class Rows>
template <class Shape>
CombCurve<kParameters, Rows>::Comb<Shape>::Comb(const Affine& point) {
  constexpr size_t kPowers = Shape::kTeeth * Shape::kTables;
  Jacobian powers[kPowers];  // 2^(i kSteps) times the point
  powers[0] = Arithmetic::fromAffine(point);
  for (size_t i = 1; i < kPowers; ++i) {
    powers[i] = powers[i - 1];
    for (unsigned step = 0; step < Shape::kSteps; ++step) Arithmetic::twice(powers[i], powers[i]);
  }
  Affine teeth[kPowers];
  Arithmetic::toAffine(teeth, powers);
  for (size_t table = 0; table < Shape::kTables; ++table) {
    entries[table][0] = teeth[kPowers - Shape::kTables + table];
  }
  for (unsigned tooth = 0; tooth + 1 < Shape::kTeeth; ++tooth) {
    addTooth(size_t{1} << tooth, teeth + tooth * Shape::kTables);
  }
}

// Twice as many entries as `count` in each table: those that are there, less its tooth, and behind
// them the same and its tooth.
template <const CurveParameters& kParameters, class Rows>
template <class Shape>
void CombCurve<kParameters, Rows>::Comb<Shape>::addTooth(size_t count, const Affine* teeth) {
  Element inverses[Shape::kTables * Shape::kEntries / 2];
  Element* at = inverses;
  for (size_t table = 0; table < Shape::kTables; ++table) {
    for (size_t i = 0; i < count; ++i) {
      Field::subtract(*at++, entries[table][i].x, teeth[table].x);
    }
  }
  invertAll<Field>(inverses, Shape::kTables * count);
  at = inverses;
  for (size_t table = 0; table < Shape::kTables; ++table) {
    for (size_t i = 0; i < count; ++i, ++at) {
      Affine& entry = entries[table][i];
      Arithmetic::addAndSubtract(entries[table][i + count], entry, entry, teeth[table], *at);
    }
  }
}

/// All curves on one path.
template <class Rows>
CurveList curvesOn() {
  static_assert(std::is_trivially_destructible_v<CombCurve<kP256, Rows>>);
  static const CurveImplementation<kP192, Rows> p192;
  static const CurveImplementation<kP224, Rows> p224;
  static const CombCurve<kP256, Rows> p256;
  static const CombCurve<kP384, Rows> p384;
  static const CombCurve<kP521, Rows> p521;
  static const CurveImplementation<kSecp256k1, Rows> secp256k1;
  static const CurveImplementation<kBrainpoolP256r1, Rows> brainpool256;
  static const CurveImplementation<kBrainpoolP384r1, Rows> brainpool384;
  static const CurveImplementation<kBrainpoolP512r1, Rows> brainpool512;
  static const Curve* const list[] = {&p192,      &p224,         &p256,         &p384,        &p521,
                                      &secp256k1, &brainpool256, &brainpool384, &brainpool512};
  return {list, sizeof list / sizeof list[0]};
}

}  // namespace velmora::vartime

#pragma once

// A named curve on which points can be prepared.

#include <memory>
#include <new>

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

  using Shape = CombShape<kParameters.bits, 8, 4>;
  using CombNumber = CombDigits<Shape>;

  struct Comb final : PreparedPoint {
    explicit Comb(const Affine& point) { fill(entries, point); }
    Affine entries[Shape::kTables][Shape::kEntries];
  };

 public:
  std::unique_ptr<const PreparedPoint> prepare(const CurvePoint& q) const noexcept override {
    if (q.infinity) return nullptr;
    baseComb();
    return newComb(q);
  }

 protected:
  static std::unique_ptr<const Comb> newComb(const CurvePoint& q) {
    return std::unique_ptr<const Comb>(new (std::nothrow) Comb(Base::enter(q)));
  }

  // Made at first use, which is when the first point is prepared.
  static const Comb& baseComb() {
    static const Comb comb(Base::basePointInside());
    return comb;
  }

  static bool isBelowOrder(const Limb* u) {
    return compareLimbs(u, Base::Numbers::kOrder.data(), kLimbs) < 0;
  }

  // Of a number below the order, which is odd.
  static CombNumber numberOf(const Limb* u) {
    Limb odd[kLimbs];
    const bool isEven = u[0] % 2 == 0;
    if (isEven) {
      subLimbs(odd, Base::Numbers::kOrder.data(), u, kLimbs);
    } else {
      copyLimbs(odd, u, kLimbs);
    }
    return CombNumber(odd, kLimbs, isEven);
  }

  Jacobian multiplyPrepared(const Limb* u1, const Limb* u2, const CurvePoint& q,
                            const PreparedPoint& prepared) const noexcept override {
    if (!isBelowOrder(u1) || !isBelowOrder(u2)) return this->multiply(u1, u2, q);
    const auto& pointComb = static_cast<const Comb&>(prepared);
    const CombNumber base = numberOf(u1), point = numberOf(u2);
    Jacobian sum = Arithmetic::infinity();
    for (unsigned step = Shape::kSteps; step-- != 0;) {
      Arithmetic::twice(sum, sum);
      for (unsigned table = 0; table < Shape::kTables; ++table) {
        add(sum, pointComb.entries[table], point.at(table, step));
        add(sum, baseComb().entries[table], base.at(table, step));
      }
    }
    return sum;
  }

 private:
  using Entries = Affine[Shape::kTables][Shape::kEntries];

  static void add(Jacobian& sum, const Affine (&table)[Shape::kEntries], const CombDigit& digit) {
    Arithmetic::add(sum, sum, table[digit.entry], digit.minus);
  }

  // No sum in here is infinity or one of equal points: a point has the order of the base point, so
  // that this depends on the numbers of a comb alone and not on the point.
  static void fill(Entries& entries, const Affine& point) {
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
      addTooth(entries, size_t{1} << tooth, teeth + tooth * Shape::kTables);
    }
  }

  // Twice as many entries as `count` in each table: those that are there, less its tooth, and
  // behind them the same and its tooth.
  static void addTooth(Entries& entries, size_t count, const Affine* teeth) {
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
};

/// All curves on one path.
template <class Rows>
CurveList curvesOn() {
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

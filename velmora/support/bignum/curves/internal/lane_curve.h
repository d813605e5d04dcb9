#pragma once

// A named curve computed on four lanes.

#include "velmora/support/bignum/curves/internal/comb_curve.h"
#include "velmora/support/bignum/curves/internal/jacobian_lanes.h"
#include "velmora/support/bignum/curves/internal/point_lanes.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

/// A curve whose multiples are summed up with JacobianLanes; the rest, and the sums that meet
/// infinity or equal points on their way, are computed with mulx. With a prepared point each lane
/// takes one of the four tables of both combs. `Prime` is that of the lanes.
template <const CurveParameters& kParameters, class Prime>
class LaneCurve final : public CombCurve<kParameters, MulxRows> {
  using Base = CombCurve<kParameters, MulxRows>;
  using typename Base::Element;
  using typename Base::Jacobian;
  using Lane = JacobianLanes<Prime>;
  using Number = typename Lane::Number;
  // Shorter than Base's, since an addition is cheap here beside a multiple.
  static constexpr unsigned kPointWindow = 4;
  using Digits = DoubleDigits<Base::kLimbs, Base::kBaseWindow, kPointWindow>;
  static constexpr size_t kPointMultiples = size_t{1} << (kPointWindow - 2);
  static constexpr size_t kWords = Prime::kWords;
  static constexpr size_t kLimbs = Base::kLimbs;
  static constexpr auto kPrime = Base::Numbers::kPrime;

  using typename Base::BaseShape;
  using typename Base::PointShape;
  using Four = PointLanes<Prime>;

  static_assert(Base::Constants::kSlope == CurveSlope::kMinus3);

  template <class Shape>
  struct Comb {
    static_assert(Shape::kTables == 4);
    explicit Comb(const typename Base::template Comb<Shape>& comb) {
      for (size_t i = 0; i < Shape::kTables; ++i) {
        enter(entries[i], comb.entries[i], Shape::kEntries);
      }
    }
    typename Lane::Affine entries[Shape::kTables][Shape::kEntries];
  };

  struct Words {
    Limb w[kWords];
  };

  struct BaseTable {
    typename Lane::Affine multiple[Base::kBaseMultiples];
  };

  // Numbers of the field are x 2^(64 kLimbs), and those of the lanes x 2^(52 kWords); a
  // multiplication of the lanes divides by the latter.
  static constexpr size_t kFieldBits = kLimbs * kLimbBits;
  static constexpr size_t kNumberBits = kWords * kLaneBits;

  static constexpr Words wordsOf(const LimbArray<kLimbs>& limbs) {
    Words r{};
    splitWords(r.w, kWords, kLaneBits, limbs.data(), kLimbs);
    return r;
  }
  static constexpr Words kEnter = wordsOf(powerOfTwoMod(2 * kNumberBits - kFieldBits, kPrime));
  static constexpr Words kLeave = wordsOf(powerOfTwoMod(kFieldBits, kPrime));

  static constexpr typename Lane::Constants makeConstants() {
    typename Lane::Constants r{};
    const Words one = wordsOf(powerOfTwoMod(kNumberBits, kPrime));
    const Words half = wordsOf(powerOfTwoMod(kNumberBits - 1, kPrime));
    copyLimbs(r.one, one.w, kWords);
    copyLimbs(r.half, half.w, kWords);
    return r;
  }
  static constexpr typename Lane::Constants kConstants = makeConstants();

  VELMORA_LANES static void enter(typename Lane::Affine* r, const typename Base::Affine* points,
                                  size_t count) {
    for (size_t i = 0; i < count; ++i) {
      Limb x[kWords], y[kWords];
      splitWords(x, kWords, kLaneBits, points[i].x.v, kLimbs);
      splitWords(y, kWords, kLaneBits, points[i].y.v, kLimbs);
      Number n = withNumber<2>(withNumber<1>(Number{}, x), y);
      n = Prime::carried(Prime::multiply(n, withNumber<15>(n, kEnter.w)));
      for (size_t k = 0; k < kWords; ++k) {
        r[i].x[k] = static_cast<Limb>(n.w[k][0]);
        r[i].y[k] = static_cast<Limb>(n.w[k][1]);
      }
    }
  }

  // Three numbers below 2 p.
  VELMORA_LANES static Jacobian leave(const Number& point) {
    const Number n = withCarries(Prime::multiply(point, withNumber<15>(point, kLeave.w)));
    Limb words[3][kWords];
    for (size_t k = 0; k < kWords; ++k) {
      for (int lane = 0; lane < 3; ++lane) words[lane][k] = static_cast<Limb>(n.w[k][lane]);
    }
    Jacobian r;
    leave(r.x, words[0]);
    leave(r.y, words[1]);
    leave(r.z, words[2]);
    Base::Field::halve(r.y, r.y);
    return r;
  }

  static void leave(Element& r, const Limb* words) {
    Limb limbs[kLimbs + 1];
    joinWords(limbs, kLimbs + 1, words, kWords, kLaneBits);
    if (limbs[kLimbs] != 0 || compareLimbs(limbs, kPrime.data(), kLimbs) >= 0) {
      subLimbs(limbs, limbs, kPrime.data(), kLimbs);
    }
    copyLimbs(r.v, limbs, kLimbs);
  }

  // Made at first use.
  static const BaseTable& laneTable() {
    static const BaseTable table = [] {
      BaseTable r;
      enter(r.multiple, Base::baseTable().multiple, Base::kBaseMultiples);
      return r;
    }();
    return table;
  }

 public:
  std::unique_ptr<const PreparedPoint> prepare(const CurvePoint& q) const noexcept override {
    if (q.infinity) return nullptr;
    const auto comb = Base::newComb(q);
    if (comb == nullptr) return nullptr;
    laneBaseComb();
    using Made = PreparedComb<Comb<PointShape>>;
    return std::unique_ptr<const PreparedPoint>(new (std::nothrow) Made(comb->tables));
  }

 private:
  Jacobian multiply(const Limb* u1, const Limb* u2, const CurvePoint& q) const noexcept override {
    if (q.infinity) return Base::multiply(u1, u2, q);
    typename Base::Affine multiples[kPointMultiples];
    Base::Arithmetic::oddMultiples(multiples, Base::enter(q));
    typename Lane::Affine table[kPointMultiples];
    enter(table, multiples, kPointMultiples);
    const Jacobian sum = multiply(Digits(u1, u2), table, laneTable().multiple);
    return Base::Arithmetic::isInfinity(sum) ? Base::multiply(u1, u2, q) : sum;
  }

  // The sum; or infinity, where the lanes cannot tell.
  VELMORA_LANES static Jacobian multiply(const Digits& digits, const typename Lane::Affine* table,
                                         const typename Lane::Affine* base) {
    Number sum{};  // Z is 0 until the first digit
    bool begun = false;
    for (size_t i = digits.count; i-- != 0;) {
      int point = digits.point[i], other = digits.base[i];
      const typename Lane::Affine* entry = table + multipleAt(point);
      if (point == 0) {
        point = std::exchange(other, 0);
        entry = base + multipleAt(point);
      }
      if (point == 0) {
        sum = Lane::twice(sum);
      } else if (begun) {
        sum = Lane::twiceAndAdd(sum, *entry, point < 0, kConstants);
      } else {
        sum = Lane::fromAffine(*entry, point < 0, kConstants);
        begun = true;
      }
      if (other != 0) {
        sum = Lane::add(sum, base[multipleAt(other)], other < 0, kConstants);
      }
    }
    return leave(sum);
  }

  // Made at first use, which is when the first point is prepared.
  static const Comb<BaseShape>& laneBaseComb() {
    static_assert(std::is_trivially_destructible_v<Comb<BaseShape>>);
    static const Comb<BaseShape> comb(Base::baseComb());
    return comb;
  }

  Jacobian multiplyPrepared(const Limb* u1, const Limb* u2, const CurvePoint& q,
                            const PreparedPoint& prepared) const noexcept override {
    if (!Base::isBelowOrder(u1) || !Base::isBelowOrder(u2)) return multiply(u1, u2, q);
    const Jacobian sum = sumOf({Base::template digitsOf<PointShape>(u2),
                                PreparedComb<Comb<PointShape>>::tablesOf(prepared)},
                               {Base::template digitsOf<BaseShape>(u1), laneBaseComb()});
    return Base::Arithmetic::isInfinity(sum) ? Base::multiply(u1, u2, q) : sum;
  }

  // A number and the comb that it is multiplied with.
  template <class Shape>
  struct Factor {
    CombDigits<Shape> digits;
    const Comb<Shape>& comb;
  };

  // What a step adds: an entry of each table, and the lanes of those that are to be subtracted.
  struct StepEntries {
    typename Four::AffinePoints points;
    __mmask8 minus;
  };
  template <class Shape>
  VELMORA_LANES_INLINE static StepEntries entriesOf(const Factor<Shape>& factor, unsigned step) {
    const typename Lane::Affine* entries[4];
    unsigned signs = 0;
    for (unsigned table = 0; table < 4; ++table) {
      const CombDigit digit = factor.digits.at(table, step);
      entries[table] = &factor.comb.entries[table][digit.entry];
      signs |= static_cast<unsigned>(digit.minus) << table;
    }
    StepEntries r;
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      r.points.x.w[i] =
          gathered(entries[0]->x[i], entries[1]->x[i], entries[2]->x[i], entries[3]->x[i]);
      r.points.y.w[i] =
          gathered(entries[0]->y[i], entries[1]->y[i], entries[2]->y[i], entries[3]->y[i]);
    }
    r.minus = static_cast<__mmask8>(signs);
    return r;
  }
  VELMORA_LANES_INLINE static __m256i gathered(Limb a, Limb b, Limb c, Limb d) {
    return _mm256_set_epi64x(static_cast<long long>(d), static_cast<long long>(c),
                             static_cast<long long>(b), static_cast<long long>(a));
  }

  // The sum; or infinity, where the lanes cannot tell.
  VELMORA_LANES static Jacobian sumOf(const Factor<PointShape>& point,
                                      const Factor<BaseShape>& base) {
    StepEntries next = entriesOf(point, PointShape::kSteps - 1);
    typename Four::Points sums;
    sums.x = next.points.x;
    sums.y = Prime::carried(Four::negated(next.points.y, next.minus));
    sums.z = withNumber<15>(Number{}, kConstants.one);
    for (unsigned step = PointShape::kSteps - 1;;) {
      if (step < BaseShape::kSteps) {
        next = entriesOf(base, step);
        sums = Four::add(sums, next.points, next.minus);
      }
      if (step-- == 0) return leave(Four::total(sums));
      next = entriesOf(point, step);
      sums = Four::add(Four::twice(sums), next.points, next.minus);
    }
  }

  // (X / Z^2, Y / Z^3), the lanes of which are all the same.
  VELMORA_LANES_INLINE static Jacobian leave(const typename Four::Points& points) {
    const Number y = Prime::carried(plus(points.y, points.y));
    return leave(blended<4>(blended<2>(points.x, y), points.z));
  }
};

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

#pragma once

// The curve of Ed25519 computed on four lanes.

#include "velmora/support/bignum/curves/internal/edwards25519_implementation.h"
#include "velmora/support/bignum/fields/internal/ifma_lanes.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

/// The formulas of Edwards25519Implementation with their four multiplications side by side, twice
/// for each doubling and each addition; what is done once is computed with mulx.
class LaneEdwards25519 final : public Edwards25519Implementation<MulxRows> {
  using Base = Edwards25519Implementation<MulxRows>;
  using Prime = Lanes25519;
  using Number = Prime::Number;

  /// y - x, y + x, 2 d t and 2 z of a point, in the lanes of each word.
  struct alignas(32) Entry {
    Limb w[Prime::kWords][4];
  };

  struct LaneTable {
    Entry multiple[kBaseMultiples];
  };

  static Entry entryOf(const CachedAffine& affine, const Element& z2) {
    Entry r;
    const Element* const lanes[4] = {&affine.yMinusX, &affine.yPlusX, &affine.t2d, &z2};
    for (size_t lane = 0; lane < 4; ++lane) {
      Limb plain[4], words[Prime::kWords];
      Field::toPlain(plain, *lanes[lane]);
      splitWords(words, Prime::kWords, Prime::kBits, plain, 4);
      for (size_t i = 0; i < Prime::kWords; ++i) r.w[i][lane] = words[i];
    }
    return r;
  }

  // Made at first use.
  static const LaneTable& laneTable() {
    static const LaneTable table = [] {
      LaneTable r;
      Element two;
      setSmall<Field>(two, 2);
      for (size_t i = 0; i < kBaseMultiples; ++i) {
        r.multiple[i] = entryOf(baseTable().multiple[i], two);
      }
      return r;
    }();
    return table;
  }

  template <class Shape>
  struct LaneComb {
    explicit LaneComb(const Comb<Shape>& comb) {
      Element two;
      setSmall<Field>(two, 2);
      for (size_t i = 0; i < Shape::kTables * Shape::kEntries; ++i) {
        entries[i / Shape::kEntries][i % Shape::kEntries] =
            entryOf(comb.entries[i / Shape::kEntries][i % Shape::kEntries], two);
      }
      self = entryOf(comb.self, two);
    }
    Entry entries[Shape::kTables][Shape::kEntries];
    Entry self;
  };

  // Made at first use, which is when the first point is prepared.
  static const LaneComb<BaseShape>& laneBaseComb() {
    static_assert(std::is_trivially_destructible_v<LaneComb<BaseShape>>);
    static const LaneComb<BaseShape> comb(baseComb());
    return comb;
  }

  std::unique_ptr<const PreparedPoint> prepare(const EdwardsPoint& a) const noexcept override {
    const auto comb = newComb(a);
    if (comb == nullptr) return nullptr;
    laneBaseComb();
    using Made = PreparedComb<LaneComb<PointShape>>;
    return std::unique_ptr<const PreparedPoint>(new (std::nothrow) Made(comb->tables));
  }

  Projective multiplyPrepared(const CombDigits<BaseShape>& s, const CombDigits<PointShape>& minusK,
                              const PreparedPoint& prepared) const noexcept override {
    return sum(s, laneBaseComb(), minusK, PreparedComb<LaneComb<PointShape>>::tablesOf(prepared));
  }

  VELMORA_LANES static Projective sum(const CombDigits<BaseShape>& s,
                                      const LaneComb<BaseShape>& base,
                                      const CombDigits<PointShape>& minusK,
                                      const LaneComb<PointShape>& pointComb) {
    Number point = identity();
    for (unsigned step = PointShape::kSteps; step-- != 0;) {
      point = addStep(twice(point), pointComb, minusK, step);
      if (step < BaseShape::kSteps) point = addStep(point, base, s, step);
    }
    if (s.isOfNext()) point = add(point, base.self, true);
    if (minusK.isOfNext()) point = add(point, pointComb.self, false);
    return leave(point);
  }

  template <class Shape>
  VELMORA_LANES_INLINE static Number addStep(Number point, const LaneComb<Shape>& comb,
                                             const CombDigits<Shape>& digits, unsigned step) {
    for (unsigned table = 0; table < Shape::kTables; ++table) {
      const CombDigit digit = digits.at(table, step);
      point = add(point, comb.entries[table][digit.entry], digit.minus);
    }
    return point;
  }

  EdwardsPoint doubleMultiply(const Limb* s, const Limb* k, const EdwardsPoint& a,
                              const PreparedPoint* prepared) const noexcept override {
    if (prepared != nullptr) return Base::doubleMultiply(s, k, a, prepared);
    Cached multiples[kPointMultiples];
    oddMultiples(multiples, kPointMultiples, enter(a));
    Entry table[kPointMultiples];
    for (size_t i = 0; i < kPointMultiples; ++i) {
      table[i] = entryOf(multiples[i].affine, multiples[i].z2);
    }
    return toAffine(sum(Digits(s, k), table, laneTable().multiple));
  }

  VELMORA_LANES static Projective sum(const Digits& digits, const Entry* table, const Entry* base) {
    Number point = identity();
    for (size_t i = digits.count; i-- != 0;) {
      point = twice(point);
      if (digits.point[i] != 0) {
        const int digit = -digits.point[i];
        point = add(point, table[multipleAt(digit)], digit < 0);
      }
      if (digits.base[i] != 0) {
        const int digit = digits.base[i];
        point = add(point, base[multipleAt(digit)], digit < 0);
      }
    }
    return leave(point);
  }

  VELMORA_LANES_INLINE static Number identity() {
    Number r{};
    r.w[0] = _mm256_set_epi64x(0, 1, 1, 0);
    return r;
  }

  // The point's X, Y, Z and T are products that are not carried. In the comments the letters are
  // those of Completed.
  VELMORA_LANES_INLINE static Number twice(const Number& point) {
    const Number sums = plus<8>(permuted<0, 1, 2, 0>(point), permuted<0, 0, 0, 1>(point));
    const Number factors = Prime::carried(sums);
    const Number squares = Prime::multiply(factors, factors);  // X^2, Y^2, Z^2, (X + Y)^2
    const Number x2 = Prime::aboveProducts(permuted<0, 0, 0, 0>(squares));
    const Number y2 = permuted<1, 1, 1, 1>(squares);
    const Number z2 = permuted<2, 2, 2, 2>(squares);
    const Number twiceZ2 = plus(z2, z2);
    const Number h = plus(x2, y2);
    const Number g = minus(x2, y2);
    Number a = minus<9>(blended<9>(g, h), permuted<3, 3, 3, 3>(squares));
    a = plus<4>(a, twiceZ2);
    const Number b = plus<1>(blended<10>(g, h), twiceZ2);
    return complete(a, b);
  }

  VELMORA_LANES_INLINE static Number add(const Number& point, const Entry& q, bool minusQ) {
    const Number x = permuted<0, 0, 0, 0>(point);
    Number m = plus<2>(permuted<1, 1, 3, 2>(point), x);
    m = Prime::carried(minus<1>(Prime::aboveProducts(m), x));  // Y - X, Y + X, T, Z
    Number n;
    VELMORA_UNROLL
    for (size_t i = 0; i < Prime::kWords; ++i) {
      n.w[i] = _mm256_load_si256(reinterpret_cast<const __m256i*>(q.w[i]));
    }
    if (minusQ) n = permuted<1, 0, 2, 3>(n);
    const Number products = Prime::multiply(m, n);
    const Number c = permuted<0, 2, 2, 0>(products);
    const Number d = permuted<2, 0, 2, 0>(products);
    Number a = Prime::aboveProducts(permuted<1, 3, 3, 1>(products));
    Number b = Prime::aboveProducts(permuted<3, 1, 3, 1>(products));
    a = minus<9>(a, c);
    b = plus<10>(b, d);
    if (minusQ) {
      return complete(plus<4>(minus<2>(a, c), c), minus<4>(plus<1>(b, d), d));
    }
    return complete(minus<4>(plus<2>(a, c), c), plus<4>(minus<1>(b, d), d));
  }

  // (E, G, F, E) times (F, H, G, H)
  VELMORA_LANES_INLINE static Number complete(const Number& a, const Number& b) {
    return Prime::multiply(Prime::carried(a), Prime::carried(b));
  }

  VELMORA_LANES static Projective leave(const Number& point) {
    const Number n = withCarries<Prime::kBits>(Prime::carried(point));
    Projective r;
    Element* const coordinates[3] = {&r.x, &r.y, &r.z};
    for (int lane = 0; lane < 3; ++lane) {
      Limb words[Prime::kWords];
      for (size_t i = 0; i < Prime::kWords; ++i) words[i] = static_cast<Limb>(n.w[i][lane]);
      joinWords(coordinates[lane]->v, 4, words, Prime::kWords, Prime::kBits);
    }
    return r;
  }
};

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

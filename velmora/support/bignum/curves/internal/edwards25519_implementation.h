#pragma once

// The curve of Ed25519 computed on in one way.

#include <new>
#include <type_traits>

#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/bignum/curves/internal/comb.h"
#include "velmora/support/bignum/curves/internal/window.h"
#include "velmora/support/bignum/fields/internal/prime_field.h"
#include "velmora/support/core/words.h"

namespace velmora::vartime {

struct Edwards25519Numbers {
  static constexpr auto kPrime =
      limbsFromHex<4>("7fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffed");
  // -121665 / 121666
  static constexpr auto kD =
      limbsFromHex<4>("52036cee2b6ffe738cc740797779e89800700a4d4141d8ab75eb4dca135978a3");
  static constexpr auto kRootOfMinus1 =
      limbsFromHex<4>("2b8324804fc1df0b2b4d00993dfbd7a72f431806ad2fe478c4ee1b274a0ea0b0");
  static constexpr auto kBaseX =
      limbsFromHex<4>("216936d3cd6e53fec0a4e231fdd6dc5c692cc7609525a7b2c9562d608f25d51a");
  static constexpr auto kBaseY =
      limbsFromHex<4>("6666666666666666666666666666666666666666666666666666666666666658");
};

// Formulas of Hisil, Wong, Carter and Dawson ("Twisted Edwards curves revisited", 2008), which are
// complete on this curve: no point needs care.
template <class Rows>
class Edwards25519Implementation : public Edwards25519 {
 protected:
  using Numbers = Edwards25519Numbers;
  using Field = FoldField<Numbers, 38, Rows>;  // 2^256 - 38 is twice the prime
  using Element = typename Field::Element;

  // x = X / Z, y = Y / Z, and in extended form x y = T / Z.
  struct Projective {
    Element x, y, z;
  };
  struct Extended {
    Element x, y, z, t;
  };
  // X = e f, Y = g h, Z = f g, T = e h: what a formula ends with before its last multiplications.
  struct Completed {
    Element e, f, g, h;
  };
  // What an addition needs of its second operand.
  struct CachedAffine {
    Element yMinusX, yPlusX, t2d;
  };
  struct Cached {
    CachedAffine affine;
    Element z2;  // 2 Z
  };

 public:
  bool decode(EdwardsPoint& point, const std::uint8_t* bytes) const noexcept override {
    const Limb sign = bytes[31] >> 7;
    for (size_t i = 0; i < 4; ++i) point.y[i] = loadLittleEndian<Limb>(bytes + kLimbBytes * i);
    point.y[3] &= ~Limb{0} >> 1;
    if (compareLimbs(point.y, Numbers::kPrime.data(), 4) >= 0) return false;
    Element y, x, u, v;
    Field::fromPlain(y, point.y);
    Field::square(u, y);
    Field::multiply(v, u, constants().d);
    Field::subtract(u, u, constants().one);
    Field::add(v, v, constants().one);
    if (!rootOfRatio(x, u, v)) return false;
    Field::toPlain(point.x, x);
    if (isZero(point.x, 4)) return sign == 0;
    if ((point.x[0] & 1) != sign) subLimbs(point.x, Numbers::kPrime.data(), point.x, 4);
    return true;
  }

  bool hasSmallOrder(const EdwardsPoint& point) const noexcept override {
    const Extended start = enter(point);
    Projective p{start.x, start.y, start.z};
    for (int doubling = 0; doubling < 3; ++doubling) p = toProjective(twice(p));
    return Field::isZero(p.x) && Field::equal(p.y, p.z);
  }

  EdwardsPoint basePoint() const noexcept override {
    EdwardsPoint point;
    copyLimbs(point.x, Numbers::kBaseX.data(), 4);
    copyLimbs(point.y, Numbers::kBaseY.data(), 4);
    return point;
  }

  std::unique_ptr<const PreparedPoint> prepare(const EdwardsPoint& a) const noexcept override {
    baseComb();
    return newComb(a);
  }

  EdwardsPoint doubleMultiply(const Limb* s, const Limb* k, const EdwardsPoint& a,
                              const PreparedPoint* prepared) const noexcept override {
    if (prepared != nullptr) {
      return toAffine(multiplyPrepared(CombDigits<BaseShape>(s, 4, false),
                                       CombDigits<PointShape>(k, 4, true), *prepared));
    }
    const Digits digits(s, k);
    Cached multiples[kPointMultiples];
    oddMultiples(multiples, kPointMultiples, enter(a));
    const BaseTable& base = baseTable();

    Projective sum{constants().zero, constants().one, constants().one};
    for (size_t i = digits.count; i-- != 0;) {
      Completed next = twice(sum);
      if (digits.point[i] != 0) {
        const int digit = -digits.point[i];
        next = add(toExtended(next), multiples[multipleAt(digit)], digit < 0);
      }
      if (digits.base[i] != 0) {
        const int digit = digits.base[i];
        next = add(toExtended(next), base.multiple[multipleAt(digit)], digit < 0);
      }
      sum = toProjective(next);
    }
    return toAffine(sum);
  }

 protected:
  static constexpr unsigned kPointWindow = 5;
  static constexpr unsigned kBaseWindow = 8;
  static constexpr size_t kPointMultiples = size_t{1} << (kPointWindow - 2);
  static constexpr size_t kBaseMultiples = size_t{1} << (kBaseWindow - 2);

  using Digits = DoubleDigits<4, kBaseWindow, kPointWindow>;

  struct BaseTable {
    CachedAffine multiple[kBaseMultiples];  // B, 3 B, 5 B ...
  };

  // For all numbers of 256 bits, and that of the base point larger because it is there once.
  using PointShape = CombShape<256, 6, 4>;
  using BaseShape = CombShape<256, 8, 4>;
  static_assert(BaseShape::kSteps <= PointShape::kSteps);

  template <class Shape>
  struct Comb {
    explicit Comb(const Extended& point);
    CachedAffine entries[Shape::kTables][Shape::kEntries];
    CachedAffine self;  // the point
  };

  static std::unique_ptr<const PreparedComb<Comb<PointShape>>> newComb(const EdwardsPoint& a) {
    using Made = PreparedComb<Comb<PointShape>>;
    return std::unique_ptr<const Made>(new (std::nothrow) Made(enter(a)));
  }

  // Made at first use, which is when the first point is prepared.
  static const Comb<BaseShape>& baseComb() {
    static_assert(std::is_trivially_destructible_v<Comb<BaseShape>>);
    static const Comb<BaseShape> comb(basePointInside());
    return comb;
  }

  // What follows from an even scalar is taken off again: nothing is known of the order of a point.
  virtual Projective multiplyPrepared(const CombDigits<BaseShape>& s,
                                      const CombDigits<PointShape>& minusK,
                                      const PreparedPoint& prepared) const noexcept {
    const auto& pointComb = PreparedComb<Comb<PointShape>>::tablesOf(prepared);
    Completed sum{constants().zero, constants().one, constants().one, constants().one};
    for (unsigned step = PointShape::kSteps; step-- != 0;) {
      sum = twice(toProjective(sum));
      addStep(sum, pointComb, minusK, step);
      if (step < BaseShape::kSteps) addStep(sum, baseComb(), s, step);
    }
    if (s.isOfNext()) sum = add(toExtended(sum), baseComb().self, true);
    if (minusK.isOfNext()) sum = add(toExtended(sum), pointComb.self, false);
    return toProjective(sum);
  }

  template <class Shape>
  static void addStep(Completed& sum, const Comb<Shape>& comb, const CombDigits<Shape>& digits,
                      unsigned step) {
    for (unsigned table = 0; table < Shape::kTables; ++table) {
      const CombDigit digit = digits.at(table, step);
      sum = add(toExtended(sum), comb.entries[table][digit.entry], digit.minus);
    }
  }

  struct Constants {
    Element zero{}, one{}, d{}, d2{}, rootOfMinus1{};
    Constants() {
      setSmall<Field>(one, 1);
      Field::fromPlain(d, Numbers::kD.data());
      Field::add(d2, d, d);
      Field::fromPlain(rootOfMinus1, Numbers::kRootOfMinus1.data());
    }
  };
  static const Constants& constants() {
    static const Constants all;
    return all;
  }

  static Extended enter(const EdwardsPoint& point) {
    Extended r;
    Field::fromPlain(r.x, point.x);
    Field::fromPlain(r.y, point.y);
    r.z = constants().one;
    Field::multiply(r.t, r.x, r.y);
    return r;
  }

  static Extended basePointInside() {
    EdwardsPoint base;
    copyLimbs(base.x, Numbers::kBaseX.data(), 4);
    copyLimbs(base.y, Numbers::kBaseY.data(), 4);
    return enter(base);
  }

  static EdwardsPoint toAffine(const Projective& p) {
    Element inverse, t;
    EdwardsPoint r;
    invert<Field>(inverse, p.z);
    Field::multiply(t, p.x, inverse);
    Field::toPlain(r.x, t);
    Field::multiply(t, p.y, inverse);
    Field::toPlain(r.y, t);
    return r;
  }

  static Projective toProjective(const Completed& c) {
    Projective r;
    Field::multiply(r.x, c.e, c.f);
    Field::multiply(r.y, c.g, c.h);
    Field::multiply(r.z, c.f, c.g);
    return r;
  }

  static Extended toExtended(const Completed& c) {
    Extended r;
    Field::multiply(r.x, c.e, c.f);
    Field::multiply(r.y, c.g, c.h);
    Field::multiply(r.z, c.f, c.g);
    Field::multiply(r.t, c.e, c.h);
    return r;
  }

  static Completed twice(const Projective& p) {
    Completed r;
    Element x2, y2, z2;
    Field::square(x2, p.x);
    Field::add(r.e, p.x, p.y);
    Field::square(y2, p.y);
    Field::square(z2, p.z);
    Field::square(r.e, r.e);
    Field::add(z2, z2, z2);
    Field::add(r.h, x2, y2);  // all four with their signs turned, which changes no product
    Field::subtract(r.e, r.h, r.e);
    Field::subtract(r.g, x2, y2);
    Field::add(r.f, r.g, z2);
    return r;
  }

  // p + q, or p - q: -q swaps its two sums and negates its product.
  static Completed add(const Extended& p, const CachedAffine& q, bool minus) {
    Element z2;
    Field::add(z2, p.z, p.z);
    return addProducts(p, q, z2, minus);
  }

  static Completed add(const Extended& p, const Cached& q, bool minus) {
    Element z2;
    Field::multiply(z2, p.z, q.z2);
    return addProducts(p, q.affine, z2, minus);
  }

  static Completed addProducts(const Extended& p, const CachedAffine& q, const Element& z2,
                               bool minus) {
    Completed r;
    Element a, b, c;
    Field::subtract(a, p.y, p.x);
    Field::multiply(a, a, minus ? q.yPlusX : q.yMinusX);
    Field::add(b, p.y, p.x);
    Field::multiply(b, b, minus ? q.yMinusX : q.yPlusX);
    Field::multiply(c, p.t, q.t2d);
    Field::subtract(r.e, b, a);
    Field::add(r.h, b, a);
    Field::subtract(minus ? r.g : r.f, z2, c);
    Field::add(minus ? r.f : r.g, z2, c);
    return r;
  }

  static Cached cache(const Extended& p) {
    Cached r;
    Field::subtract(r.affine.yMinusX, p.y, p.x);
    Field::add(r.affine.yPlusX, p.y, p.x);
    Field::multiply(r.affine.t2d, p.t, constants().d2);
    Field::add(r.z2, p.z, p.z);
    return r;
  }

  // table[i] = (2i + 1) p.
  static void oddMultiples(Cached* table, size_t count, const Extended& p) {
    const Extended doubled = toExtended(twice(Projective{p.x, p.y, p.z}));
    table[0] = cache(p);
    for (size_t i = 1; i < count; ++i) {
      table[i] = cache(toExtended(add(doubled, table[i - 1], false)));
    }
  }

  // Made at first use, which takes as long as a few verifications.
  static const BaseTable& baseTable() {
    static const BaseTable table = makeBaseTable();
    return table;
  }

  static BaseTable makeBaseTable() {
    Cached multiples[kBaseMultiples];
    oddMultiples(multiples, kBaseMultiples, basePointInside());
    BaseTable table;
    toAffine(table.multiple, multiples);
    return table;
  }

  // The same points with Z = 1, with one inversion for all.
  template <size_t kCount>
  static void toAffine(CachedAffine (&r)[kCount], const Cached (&points)[kCount]) {
    Element inverses[kCount];
    for (size_t i = 0; i < kCount; ++i) Field::halve(inverses[i], points[i].z2);
    invertAll<Field>(inverses, kCount);
    for (size_t i = 0; i < kCount; ++i) {
      const CachedAffine& scaled = points[i].affine;
      Field::multiply(r[i].yMinusX, scaled.yMinusX, inverses[i]);
      Field::multiply(r[i].yPlusX, scaled.yPlusX, inverses[i]);
      Field::multiply(r[i].t2d, scaled.t2d, inverses[i]);
    }
  }

  // r = a^(2^k) * b.
  static void squareTimesMultiply(Element& r, const Element& a, int k, const Element& b) {
    Element t;
    Field::square(t, a);
    while (--k > 0) Field::square(t, t);
    Field::multiply(r, t, b);
  }

  // r = a^(2^252 - 3), which is a^((p - 5) / 8). `xn` is a^(2^n - 1).
  static void powerPMinus5Over8(Element& r, const Element& a) {
    Element x2, x4, x5, x10, x20, x25, x50, x100, x125, x250;
    squareTimesMultiply(x2, a, 1, a);
    squareTimesMultiply(x4, x2, 2, x2);
    squareTimesMultiply(x5, x4, 1, a);
    squareTimesMultiply(x10, x5, 5, x5);
    squareTimesMultiply(x20, x10, 10, x10);
    squareTimesMultiply(x25, x20, 5, x5);
    squareTimesMultiply(x50, x25, 25, x25);
    squareTimesMultiply(x100, x50, 50, x50);
    squareTimesMultiply(x125, x100, 25, x25);
    squareTimesMultiply(x250, x125, 125, x125);
    squareTimesMultiply(r, x250, 2, a);
  }

  // r = sqrt(u / v); false when there is none. The candidate u v^3 (u v^7)^((p - 5) / 8) is right
  // up to a factor sqrt(-1) (RFC 8032, section 5.1.3).
  static bool rootOfRatio(Element& r, const Element& u, const Element& v) {
    Element v3, t, minusU;
    Field::square(v3, v);
    Field::multiply(v3, v3, v);
    Field::square(t, v3);
    Field::multiply(t, t, v);
    Field::multiply(t, t, u);
    powerPMinus5Over8(t, t);
    Field::multiply(t, t, v3);
    Field::multiply(r, t, u);
    Field::square(t, r);
    Field::multiply(t, t, v);
    if (Field::equal(t, u)) return true;
    Field::subtract(minusU, constants().zero, u);
    if (!Field::equal(t, minusU)) return false;
    Field::multiply(r, r, constants().rootOfMinus1);
    return true;
  }
};

template <class Rows>
template <class Shape>
Edwards25519Implementation<Rows>::Comb<Shape>::Comb(const Extended& point)
    : self(cache(point).affine) {
  Extended powers[Shape::kTeeth * Shape::kTables];  // 2^(i kSteps) times the point
  powers[0] = point;
  for (size_t i = 1; i < Shape::kTeeth * Shape::kTables; ++i) {
    Completed next = twice(Projective{powers[i - 1].x, powers[i - 1].y, powers[i - 1].z});
    for (unsigned step = 1; step < Shape::kSteps; ++step) next = twice(toProjective(next));
    powers[i] = toExtended(next);
  }
  for (size_t table = 0; table < Shape::kTables; ++table) {
    Extended sums[Shape::kEntries];
    sums[0] = powers[(Shape::kTeeth - 1) * Shape::kTables + table];
    for (unsigned tooth = 0; tooth + 1 < Shape::kTeeth; ++tooth) {
      const Cached power = cache(powers[tooth * Shape::kTables + table]);
      const size_t count = size_t{1} << tooth;
      for (size_t i = 0; i < count; ++i) {
        sums[i + count] = toExtended(add(sums[i], power, false));
        sums[i] = toExtended(add(sums[i], power, true));
      }
    }
    Cached scaled[Shape::kEntries];
    for (size_t i = 0; i < Shape::kEntries; ++i) scaled[i] = cache(sums[i]);
    toAffine(entries[table], scaled);
  }
}

}  // namespace velmora::vartime

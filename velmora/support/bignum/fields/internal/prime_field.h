#pragma once

// Arithmetic modulo a prime that is known when the program is compiled.

#include "velmora/support/bignum/arithmetic/inverse.h"
#include "velmora/support/bignum/fields/internal/assembly_primes.h"
#include "velmora/support/bignum/fields/internal/mersenne521.h"
#include "velmora/support/bignum/fields/internal/mulx_p384.h"
#include "velmora/support/bignum/fields/internal/mulx_p521.h"
#include "velmora/support/bignum/fields/internal/portable_primes.h"
#include "velmora/support/bignum/fields/internal/prime_shape.h"

namespace velmora::vartime {

/// A field in Montgomery form, fully reduced; for primes of any shape.
/// `Prime` has kPrime, a LimbArray; `Rows` is the path.
template <class Prime, class Rows>
struct MontgomeryField {
  static constexpr size_t kLimbs = Prime::kPrime.size();
  static constexpr auto kPrime = Prime::kPrime;
  using Element = FieldElement<kLimbs>;
  using Operations = MontgomeryOperations<Prime, Rows, shapeOf(kPrime)>;

  static void multiply(Element& r, const Element& a, const Element& b) {
    Operations::multiply(r.v, a.v, b.v);
  }
  static void square(Element& r, const Element& a) { Operations::square(r.v, a.v); }
  static void add(Element& r, const Element& a, const Element& b) {
    Operations::add(r.v, a.v, b.v);
  }
  static void subtract(Element& r, const Element& a, const Element& b) {
    Operations::subtract(r.v, a.v, b.v);
  }
  static void halve(Element& r, const Element& a) { Operations::halve(r.v, a.v); }

  static bool isZero(const Element& a) { return vartime::isZero(a.v, kLimbs); }

  static bool equal(const Element& a, const Element& b) {
    return compareLimbs(a.v, b.v, kLimbs) == 0;
  }

  static void toPlain(Limb* limbs, const Element& a) {
    Limb t[2 * kLimbs] = {};
    copyLimbs(t, a.v, kLimbs);
    Rows::template montgomeryReduce<kLimbs>(limbs, t, kPrime.data(), kN0);
  }

  static void fromPlain(Element& r, const Limb* limbs) {
    Element plain;
    copyLimbs(plain.v, limbs, kLimbs);
    multiply(r, plain, kRSquared);
  }

 private:
  static constexpr Limb kN0 = Limb{0} - inverseModWord(kPrime[0]);
  static constexpr Element makeRSquared() {
    Element r{};
    const auto power = powerOfTwoMod(2 * kLimbs * kLimbBits, kPrime);
    copyLimbs(r.v, power.data(), kLimbs);
    return r;
  }
  static constexpr Element kRSquared = makeRSquared();
};

/// A field whose prime divides 2^256 - kFold for a small kFold: the upper half of a product, times
/// kFold, is added to the lower. Elements are any numbers below 2^256.
template <class Prime, Limb kFold, class Rows>
struct FoldField {
  static constexpr size_t kLimbs = 4;
  static constexpr auto kPrime = Prime::kPrime;
  using Element = FieldElement<kLimbs>;
  using Primes = PrimeOperations<Rows>;

  static void multiply(Element& r, const Element& a, const Element& b) {
    Limb t[2 * kLimbs];
    Rows::template multiply<kLimbs>(t, a.v, b.v);
    Primes::fold(r.v, t, kFold);
  }

  static void square(Element& r, const Element& a) {
    Limb t[2 * kLimbs];
    Rows::template square<kLimbs>(t, a.v);
    Primes::fold(r.v, t, kFold);
  }

  static void add(Element& r, const Element& a, const Element& b) {
    Primes::foldAdd(r.v, a.v, b.v, kFold);
  }

  static void subtract(Element& r, const Element& a, const Element& b) {
    Primes::foldSubtract(r.v, a.v, b.v, kFold);
  }

  static void halve(Element& r, const Element& a) {
    Rows::template halveMod<kLimbs>(r.v, a.v, kPrime.data());
  }

  static bool isZero(const Element& a) {
    Limb limbs[kLimbs];
    toPlain(limbs, a);
    return vartime::isZero(limbs, kLimbs);
  }

  static bool equal(const Element& a, const Element& b) {
    Element difference;
    subtract(difference, a, b);
    return isZero(difference);
  }

  static void toPlain(Limb* limbs, const Element& a) {
    copyLimbs(limbs, a.v, kLimbs);
    while (compareLimbs(limbs, kPrime.data(), kLimbs) >= 0) {
      subLimbs(limbs, limbs, kPrime.data(), kLimbs);
    }
  }

  static void fromPlain(Element& r, const Limb* limbs) { copyLimbs(r.v, limbs, kLimbs); }
};

/// r = 1 / a; 0 for 0.
template <class Field>
void invert(typename Field::Element& r, const typename Field::Element& a) {
  Limb plain[Field::kLimbs];
  Field::toPlain(plain, a);
  if (!inverseMod(plain, plain, Field::kPrime.data(), Field::kLimbs)) {
    clearLimbs(plain, Field::kLimbs);
  }
  Field::fromPlain(r, plain);
}

/// The first `count` numbers replaced by their inverses, with one inversion for all, none of which
/// may be 0.
template <class Field, size_t kMost>
void invertAll(typename Field::Element (&numbers)[kMost], size_t count) {
  typename Field::Element product[kMost], rest, inverse;  // product[i] is that of the first i + 1
  product[0] = numbers[0];
  for (size_t i = 1; i < count; ++i) Field::multiply(product[i], product[i - 1], numbers[i]);
  invert<Field>(rest, product[count - 1]);
  for (size_t i = count - 1; i != 0; --i) {
    Field::multiply(inverse, rest, product[i - 1]);
    Field::multiply(rest, rest, numbers[i]);
    numbers[i] = inverse;
  }
  numbers[0] = rest;
}

/// r = the small number `value`.
template <class Field>
void setSmall(typename Field::Element& r, Limb value) {
  Limb plain[Field::kLimbs] = {value};
  Field::fromPlain(r, plain);
}

/// r = a^exponent for an exponent of kLimbs limbs.
template <class Field>
void power(typename Field::Element& r, const typename Field::Element& a, const Limb* exponent) {
  typename Field::Element result;
  setSmall<Field>(result, 1);
  for (size_t bit = bitLength(exponent, Field::kLimbs); bit-- != 0;) {
    Field::square(result, result);
    if (testBit(exponent, bit)) Field::multiply(result, result, a);
  }
  r = result;
}

/// r = a square root of a, by Tonelli and Shanks; false when there is none. `nonResidue` is a
/// number without square root, used only for primes that are 1 modulo 4.
template <class Field>
bool squareRoot(typename Field::Element& r, const typename Field::Element& a, Limb nonResidue) {
  using Element = typename Field::Element;
  constexpr size_t kLimbs = Field::kLimbs;
  Limb odd[kLimbs];  // p - 1 = odd * 2^twos
  copyLimbs(odd, Field::kPrime.data(), kLimbs);
  odd[0] -= 1;
  size_t twos = 0;
  for (; (odd[0] & 1) == 0; ++twos) shiftRight(odd, odd, kLimbs, 1);
  Limb half[kLimbs];  // (odd - 1) / 2
  shiftRight(half, odd, kLimbs, 1);

  Element root, rest, one;
  setSmall<Field>(one, 1);
  Element step = one;  // of order 2^twos, when there is more than one factor 2
  power<Field>(rest, a, half);
  Field::multiply(root, rest, a);
  Field::multiply(rest, rest, root);  // root^2 = a * rest, and the order of rest divides 2^twos
  if (nonResidue != 0) {
    setSmall<Field>(step, nonResidue);
    power<Field>(step, step, odd);
  }
  if (Field::isZero(a)) rest = one;
  while (!Field::equal(rest, one)) {
    size_t order = 0;  // the order of rest is 2^order
    for (Element x = rest; order < twos && !Field::equal(x, one); ++order) Field::square(x, x);
    if (order == twos) return false;
    for (size_t i = order + 1; i < twos; ++i) Field::square(step, step);
    Field::multiply(root, root, step);
    Field::square(step, step);
    Field::multiply(rest, rest, step);
    twos = order;
  }
  r = root;
  return true;
}

}  // namespace velmora::vartime

#pragma once

// Arithmetic modulo 2^521 - 1.

#include "velmora/support/bignum/fields/internal/prime_shape.h"

namespace velmora::vartime {

/// The field of 2^521 - 1, fully reduced but for the prime itself, which may stand for 0.
template <class Prime, class Rows>
struct Mersenne521Field {
  static constexpr size_t kLimbs = 9;
  static constexpr auto kPrime = Prime::kPrime;
  using Element = FieldElement<kLimbs>;

  static void multiply(Element& r, const Element& a, const Element& b) {
    Limb t[2 * kLimbs];
    Rows::template multiply<kLimbs>(t, a.v, b.v);
    reduce(r, t);
  }

  static void square(Element& r, const Element& a) {
    Limb t[2 * kLimbs];
    Rows::template square<kLimbs>(t, a.v);
    reduce(r, t);
  }

  static void add(Element& r, const Element& a, const Element& b) {
    Rows::template add<kLimbs>(r.v, a.v, b.v);
    foldTop(r);
  }

  // a - b = a + (p - b), and p - b flips the bits of b.
  static void subtract(Element& r, const Element& a, const Element& b) {
    Limb negated[kLimbs];
    for (size_t i = 0; i < kLimbs; ++i) negated[i] = b.v[i] ^ kPrime[i];
    Rows::template add<kLimbs>(r.v, a.v, negated);
    foldTop(r);
  }

  // (a + p) / 2 for an odd a moves its lowest bit to the top.
  static void halve(Element& r, const Element& a) {
    const Limb lowest = a.v[0] & 1;
    shiftRight(r.v, a.v, kLimbs, 1);
    r.v[kLimbs - 1] |= lowest << (kTopBits - 1);
  }

  static bool isZero(const Element& a) {
    return vartime::isZero(a.v, kLimbs) || compareLimbs(a.v, kPrime.data(), kLimbs) == 0;
  }

  static bool equal(const Element& a, const Element& b) {
    Element difference;
    subtract(difference, a, b);
    return isZero(difference);
  }

  static void toPlain(Limb* limbs, const Element& a) {
    copyLimbs(limbs, a.v, kLimbs);
    if (isZero(a)) clearLimbs(limbs, kLimbs);
  }

  static void fromPlain(Element& r, const Limb* limbs) { copyLimbs(r.v, limbs, kLimbs); }

 private:
  static constexpr unsigned kTopBits = 521 % kLimbBits;
  static constexpr Limb kTopMask = (Limb{1} << kTopBits) - 1;

  // Moves the bits from 2^521 on to the bottom. The sum of two elements has at most one of them. It
  // goes beyond the lowest limb so rarely that a branch is better than a chain.
  static void foldTop(Element& r) {
    Limb carry = r.v[kLimbs - 1] >> kTopBits;
    r.v[kLimbs - 1] &= kTopMask;
    r.v[0] += carry;
    if (r.v[0] >= carry) [[likely]]
      return;
    for (size_t i = 1; i < kLimbs; ++i) r.v[i] = addWithCarry(r.v[i], 0, carry);
  }

  static void reduce(Element& r, Limb* t) {
    Limb high[kLimbs];
    for (size_t i = 0; i < kLimbs; ++i) {
      high[i] = t[i + kLimbs - 1] >> kTopBits | t[i + kLimbs] << (kLimbBits - kTopBits);
    }
    t[kLimbs - 1] &= kTopMask;
    Rows::template add<kLimbs>(r.v, t, high);
    foldTop(r);
  }
};

}  // namespace velmora::vartime

#pragma once

// What primes of a special shape allow in C++ alone.

#include "velmora/support/bignum/arithmetic/internal/portable_rows.h"
#include "velmora/support/bignum/fields/internal/prime_shape.h"

namespace velmora::vartime {

/// Arithmetic modulo 2^256 - fold for a fold below 2^34, on numbers below 2^256 that need not be
/// reduced: 2^256 counts as fold.
template <class Rows>
struct PrimeOperations {
  /// r (4 limbs) = t (8 limbs).
  static void fold(Limb* r, Limb* t, Limb fold) {
    Limb* const low = t;
    const Limb top = Rows::addMultiply(low, t + 4, 4, fold);
    const DoubleLimb product = DoubleLimb{top} * fold;
    Limb carry = 0;
    r[0] = addWithCarry(low[0], static_cast<Limb>(product), carry);
    r[1] = addWithCarry(low[1], static_cast<Limb>(product >> kLimbBits), carry);
    r[2] = addWithCarry(low[2], 0, carry);
    r[3] = addWithCarry(low[3], 0, carry);
    addSmall(r, carry * fold);
  }

  static void foldAdd(Limb* r, const Limb* a, const Limb* b, Limb fold) {
    const Limb carry = addLimbs(r, a, b, 4);
    r[0] += fold * addSmall(r, carry * fold);
  }

  static void foldSubtract(Limb* r, const Limb* a, const Limb* b, Limb fold) {
    const Limb borrow = subLimbs(r, a, b, 4);
    const Limb subtrahend[4] = {borrow * fold, 0, 0, 0};
    r[0] -= fold * subLimbs(r, r, subtrahend, 4);
  }

 private:
  static Limb addSmall(Limb* r, Limb value) {
    const Limb addend[4] = {value, 0, 0, 0};
    return addLimbs(r, r, addend, 4);
  }
};

/// The P-256 prime, for which -1/p modulo 2^64 is 1: t[i] * p is three shifts and two differences.
template <class Prime>
struct MontgomeryOperations<Prime, PortableRows, PrimeShape::kPrime256>
    : MontgomeryOperations<Prime, PortableRows, PrimeShape::kAny> {
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    Limb t[8];
    PortableRows::multiply<4>(t, a, b);
    reduce(r, t);
  }

  static void square(Limb* r, const Limb* a) {
    Limb t[8];
    PortableRows::square<4>(t, a);
    reduce(r, t);
  }

 private:
  static void reduce(Limb* r, Limb* t) {
    Limb carry = 0;
    for (size_t i = 0; i < 4; ++i) {
      const Limb q = t[i], low = q << 32, high = q >> 32;
      Limb borrow = 0, chain = 0;
      const Limb difference = subWithBorrow(q, low, borrow);
      t[i + 1] = addWithCarry(t[i + 1], low, chain);
      t[i + 2] = addWithCarry(t[i + 2], high, chain);
      t[i + 3] = addWithCarry(t[i + 3], difference, chain);
      t[i + 4] = addWithCarry(t[i + 4], q - high - borrow + chain, carry);
    }
    PortableRows::reduceOnce<4>(r, t + 4, Prime::kPrime.data(), carry);
  }
};

}  // namespace velmora::vartime

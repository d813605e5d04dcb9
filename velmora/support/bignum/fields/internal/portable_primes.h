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

}  // namespace velmora::vartime

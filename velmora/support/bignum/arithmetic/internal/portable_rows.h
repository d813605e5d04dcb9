#pragma once

// Multiplication in C++ alone.

#include "velmora/support/bignum/arithmetic/limbs.h"

namespace velmora::vartime {

/// The multiplication rows of the portable path, in C++ alone. A "row" is one number times one
/// limb; every multiplication, squaring and Montgomery reduction is made of rows. MulRows and
/// MulxRows have the same members for N, a number of limbs known at compile time, BlockProducts
/// those for any n, which are always inlined here, so that those for N are made of loops of known
/// length.
struct PortableRows {
  /// r += a * b over n limbs; the limb carried out. r and a do not overlap.
  static Limb addMultiply(Limb* r, const Limb* a, size_t n, Limb b) {
    Limb carry = 0;
    for (size_t i = 0; i < n; ++i) {
      const DoubleLimb sum = DoubleLimb{a[i]} * b + r[i] + carry;
      r[i] = static_cast<Limb>(sum);
      carry = static_cast<Limb>(sum >> kLimbBits);
    }
    return carry;
  }

  /// r (2n limbs) = a * b. r overlaps neither.
  __attribute__((always_inline)) static void multiply(Limb* r, const Limb* a, const Limb* b,
                                                      size_t n) {
    clearLimbs(r, n);
    for (size_t i = 0; i < n; ++i) r[i + n] = addMultiply(r + i, a, n, b[i]);
  }
  template <size_t N>
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    multiply(r, a, b, N);
  }

  /// r (2n limbs) = a * a. r does not overlap a.
  __attribute__((always_inline)) static void square(Limb* r, const Limb* a, size_t n) {
    clearLimbs(r, n);
    r[2 * n - 1] = 0;
    for (size_t i = 0; i + 1 < n; ++i) {
      r[i + n] = addMultiply(r + 2 * i + 1, a + i + 1, n - 1 - i, a[i]);
    }
    doubleAndAddSquares(r, a, n);
  }
  template <size_t N>
  static void square(Limb* r, const Limb* a) {
    square(r, a, N);
  }

  /// r (2n limbs) = 2 * r + the squares of the limbs of a, each at its place.
  static void doubleAndAddSquares(Limb* r, const Limb* a, size_t n) {
    Limb highBit = 0;
    Limb carry = 0;
    for (size_t i = 0; i < n; ++i) {
      const DoubleLimb square = DoubleLimb{a[i]} * a[i];
      const Limb low = r[2 * i];
      const Limb high = r[2 * i + 1];
      r[2 * i] = addWithCarry(low << 1 | highBit, static_cast<Limb>(square), carry);
      r[2 * i + 1] = addWithCarry(high << 1 | low >> (kLimbBits - 1),
                                  static_cast<Limb>(square >> kLimbBits), carry);
      highBit = high >> (kLimbBits - 1);
    }
  }

  /// The upper half of t (2n limbs) = t / 2^(64n) modulo p, below 2p, for t < p * 2^(64n); the limb
  /// carried out. The lower half is destroyed. `n0` is -1/p modulo 2^64.
  __attribute__((always_inline)) static Limb montgomeryReduce(Limb* t, const Limb* p, Limb n0,
                                                              size_t n) {
    Limb carry = 0;
    for (size_t i = 0; i < n; ++i) {
      t[i + n] = addWithCarry(t[i + n], addMultiply(t + i, p, n, t[i] * n0), carry);
    }
    return carry;
  }

  /// r (N limbs) = the same, fully reduced; t is destroyed. r may be part of t.
  template <size_t N>
  static void montgomeryReduce(Limb* r, Limb* t, const Limb* p, Limb n0) {
    const Limb carry = montgomeryReduce(t, p, n0, N);
    reduceOnce<N>(r, t + N, p, carry);
  }

  /// r = a + b modulo p, for a, b < p. Any of them may be the same.
  template <size_t N>
  static void addMod(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    Limb sum[N];
    const Limb carry = addLimbs(sum, a, b, N);
    reduceOnce<N>(r, sum, p, carry);
  }

  /// r = a - b modulo p, for a, b < p. Any of them may be the same.
  template <size_t N>
  static void subMod(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    const Limb mask = Limb{0} - subLimbs(r, a, b, N);
    Limb carry = 0;
    for (size_t i = 0; i < N; ++i) r[i] = addWithCarry(r[i], p[i] & mask, carry);
  }

  /// r = a / 2 modulo an odd p: (a + p) / 2 for an odd a. a need not be below p. r may be a.
  template <size_t N>
  static void halveMod(Limb* r, const Limb* a, const Limb* p) {
    const Limb mask = Limb{0} - (a[0] & 1);
    Limb carry = 0;
    for (size_t i = 0; i < N; ++i) r[i] = addWithCarry(a[i], p[i] & mask, carry);
    for (size_t i = 0; i + 1 < N; ++i) r[i] = r[i] >> 1 | r[i + 1] << (kLimbBits - 1);
    r[N - 1] = r[N - 1] >> 1 | carry << (kLimbBits - 1);
  }

  /// r = a, or a - p where a + carry * 2^(64N) is not below p.
  template <size_t N>
  static void reduceOnce(Limb* r, const Limb* a, const Limb* p, Limb carry) {
    Limb reduced[N];
    const Limb borrow = subLimbs(reduced, a, p, N);
    const Limb keep = Limb{0} - (borrow & (carry ^ 1));
    for (size_t i = 0; i < N; ++i) r[i] = (a[i] & keep) | (reduced[i] & ~keep);
  }
};

}  // namespace velmora::vartime

#pragma once

// What primes of a special shape allow in assembly for x86-64.

#include "velmora/support/bignum/arithmetic/internal/mul_rows.h"
#include "velmora/support/bignum/arithmetic/internal/mulx_rows.h"
#include "velmora/support/bignum/fields/internal/portable_primes.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

// One Montgomery step modulo the P-256 prime, for which -1/p modulo 2^64 is 1: adds t0 * p, which
// clears t0, to t0..t4. t0 * 2^96 is a shift, and t0 * 2^192 * (2^64 - 2^32 + 1) is another and two
// differences. The carry out is added to t5.
__attribute__((always_inline)) inline void p256Step(Limb t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4,
                                                    Limb& t5) {
  Limb lo = t0 << 32, middle = t0 >> 32, low = t0, high = t0;
  // clang-format off
  asm(
      "sub   %[lo], %[low]\n\t"
      "sbb   %[middle], %[high]\n\t"
      "add   %[lo], %[t1]\n\t"
      "adc   %[middle], %[t2]\n\t"
      "adc   %[low], %[t3]\n\t"
      "adc   %[high], %[t4]\n\t"
      "adc   $0, %[t5]\n\t"
      : [low] "+&r"(low), [high] "+&r"(high), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3),
        [t4] "+&r"(t4), [t5] "+&r"(t5)
      : [lo] "r"(lo), [middle] "r"(middle)
      : "cc");
  // clang-format on
}

// Rows and steps by turns. Before each row the number is below 2 p, and 2 p + p (2^64 - 1) is below
// 2^320 for this prime, so that a row fits its five limbs.
template <class Rows>
inline void multiplyP256(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
  Limb t0, t1, t2, t3, t4, t5 = 0, t6 = 0, t7 = 0, t8 = 0;
  Rows::firstRow4(t0, t1, t2, t3, t4, a, b[0]);
  p256Step(t0, t1, t2, t3, t4, t5);
  Rows::row4(t1, t2, t3, t4, t5, a, b[1]);
  p256Step(t1, t2, t3, t4, t5, t6);
  Rows::row4(t2, t3, t4, t5, t6, a, b[2]);
  p256Step(t2, t3, t4, t5, t6, t7);
  Rows::row4(t3, t4, t5, t6, t7, a, b[3]);
  p256Step(t3, t4, t5, t6, t7, t8);
  Rows::reduceOnce4(r, t4, t5, t6, t7, t8, p);
}

// The square is whole before the steps begin: the four of them can carry into t5..t7, once in all,
// because the sum is below 2^513.
template <class Rows>
inline void squareP256(Limb* r, const Limb* a, const Limb* p) {
  Limb t0, t1, t2, t3, t4, t5, t6, t7, high0 = 0, high1 = 0, high2 = 0, t8 = 0;
  Rows::square4(t0, t1, t2, t3, t4, t5, t6, t7, a);
  p256Step(t0, t1, t2, t3, high0, high1);
  p256Step(t1, t2, t3, high0, high1, high2);
  Limb high3 = 0, none = 0;
  p256Step(t2, t3, high0, high1, high2, high3);
  p256Step(t3, high0, high1, high2, high3, none);
  // clang-format off
  asm(
      "add   %[h0], %[t4]\n\t"
      "adc   %[h1], %[t5]\n\t"
      "adc   %[h2], %[t6]\n\t"
      "adc   %[h3], %[t7]\n\t"
      "adc   $0, %[t8]\n\t"
      : [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "+&r"(t7), [t8] "+&r"(t8)
      : [h0] "r"(high0), [h1] "r"(high1), [h2] "r"(high2), [h3] "r"(high3)
      : "cc");
  // clang-format on
  Rows::reduceOnce4(r, t4, t5, t6, t7, t8, p);
}

template <class Prime, class Rows>
struct P256Operations : MontgomeryOperations<Prime, Rows, PrimeShape::kAny> {
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    multiplyP256<Rows>(r, a, b, Prime::kPrime.data());
  }
  static void square(Limb* r, const Limb* a) { squareP256<Rows>(r, a, Prime::kPrime.data()); }
};
template <class Prime>
struct MontgomeryOperations<Prime, MulRows, PrimeShape::kPrime256>
    : P256Operations<Prime, MulRows> {};
template <class Prime>
struct MontgomeryOperations<Prime, MulxRows, PrimeShape::kPrime256>
    : P256Operations<Prime, MulxRows> {};

// clang-format off
// r = a + b or a - b of four limbs, with what carries out folded, twice.
#define VELMORA_FOLDED_CHAIN(first, next)                                                  \
  Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], mask;                                   \
  asm(                                                                                     \
      first "   0(%[b]), %[t0]\n\t"                                                        \
      next "   8(%[b]), %[t1]\n\t"                                                         \
      next "   16(%[b]), %[t2]\n\t"                                                        \
      next "   24(%[b]), %[t3]\n\t"                                                        \
      "sbb   %[mask], %[mask]\n\t"                                                         \
      "and   %[fold], %[mask]\n\t"                                                         \
      first "   %[mask], %[t0]\n\t"                                                        \
      next "   $0, %[t1]\n\t"                                                              \
      next "   $0, %[t2]\n\t"                                                              \
      next "   $0, %[t3]\n\t"                                                              \
      "sbb   %[mask], %[mask]\n\t"                                                         \
      "and   %[fold], %[mask]\n\t"                                                         \
      first "   %[mask], %[t0]\n\t"                                                        \
      : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [mask] "=&r"(mask) \
      : [b] "r"(b), [fold] "r"(fold), "m"(*reinterpret_cast<const Limb(*)[4]>(b))          \
      : "cc");                                                                             \
  AddRows::store4(r, t0, t1, t2, t3)
// clang-format on

/// The members of PrimeOperations.
template <class Rows>
struct AssemblyPrimeOperations {
  static inline void fold(Limb* r, const Limb* t, Limb fold) {
    Limb t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], top = 0;
    Rows::row4(t0, t1, t2, t3, top, t + 4, fold);
    const DoubleLimb product = DoubleLimb{top} * fold;
    Limb lo = static_cast<Limb>(product), hi = static_cast<Limb>(product >> kLimbBits);
    // clang-format off
    asm(
        "add   %[lo], %[t0]\n\t"
        "adc   %[hi], %[t1]\n\t"
        "adc   $0, %[t2]\n\t"
        "adc   $0, %[t3]\n\t"
        "sbb   %[lo], %[lo]\n\t"  // a carry leaves t below 2^68, so that one more fold cannot carry
        "and   %[fold], %[lo]\n\t"
        "add   %[lo], %[t0]\n\t"
        "adc   $0, %[t1]\n\t"
        : [lo] "+&r"(lo), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3)
        : [hi] "r"(hi), [fold] "r"(fold)
        : "cc");
    // clang-format on
    AddRows::store4(r, t0, t1, t2, t3);
  }

  static inline void foldAdd(Limb* r, const Limb* a, const Limb* b, Limb fold) {
    VELMORA_FOLDED_CHAIN("add", "adc");
  }

  static inline void foldSubtract(Limb* r, const Limb* a, const Limb* b, Limb fold) {
    VELMORA_FOLDED_CHAIN("sub", "sbb");
  }
};
template <>
struct PrimeOperations<MulRows> : AssemblyPrimeOperations<MulRows> {};
template <>
struct PrimeOperations<MulxRows> : AssemblyPrimeOperations<MulxRows> {};

}  // namespace velmora::vartime

#undef VELMORA_FOLDED_CHAIN

#endif  // defined(VELMORA_X86_64)

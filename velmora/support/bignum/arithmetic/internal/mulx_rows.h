#pragma once

// Multiplication of short numbers on mulx, adcx and adox, in assembly.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include "velmora/support/bignum/arithmetic/internal/add_rows.h"
#include "velmora/support/bignum/arithmetic/internal/block_products.h"
#include "velmora/support/bignum/arithmetic/internal/mulx_blocks.h"

// Rows on mulx, adcx and adox: mulx leaves the flags alone, adcx carries in CF and adox in OF, so
// the low halves and the high halves of the products are added in two chains that do not wait for
// each other. Compilers keep only one carry chain alive, hence the assembly. Nothing outside this
// file and its users' dispatch may run it on a CPU without BMI2 and ADX. adcx is used where adc
// would do as well: some CPUs let add and adc take turns from mulx on the only port that
// multiplies.

// The pieces that field arithmetic is made of are smaller than a call to them.
#define VELMORA_INLINE __attribute__((always_inline)) inline

// clang-format off
// One limb of a row that lives in memory: adds a[i] * rdx and the carry `in` to r[i].
#define VELMORA_MEMORY_STEP(offset, in, out)      \
  "mulx  " offset "(%[a]), %[lo], %[" out "]\n\t" \
  "adcx  %[" in "], %[lo]\n\t"                    \
  "adox  " offset "(%[r]), %[lo]\n\t"             \
  "mov   %[lo], " offset "(%[r])\n\t"

// Ends a row: both carries into the last high half.
#define VELMORA_ROW_END(last)    \
  "mov   $0, %k[lo]\n\t"         \
  "adcx  %[lo], %[" last "]\n\t" \
  "adox  %[lo], %[" last "]\n\t"

// One limb of a row whose accumulators are registers.
#define VELMORA_REGISTER_STEP(offset, low, high) \
  "mulx  " offset "(%[a]), %[lo], %[hi]\n\t"     \
  "adcx  %[lo], %[" low "]\n\t"                  \
  "adox  %[hi], %[" high "]\n\t"

// After the last step of a reduction row: adds the carry of the row before, gives this row's.
#define VELMORA_CARRY_END(top) \
  "mov   $0, %k[lo]\n\t"       \
  "adcx  %[c], %[" top "]\n\t" \
  "mov   %[lo], %[c]\n\t"      \
  "adcx  %[lo], %[c]\n\t"      \
  "adox  %[lo], %[c]\n\t"

// clang-format on

namespace velmora::vartime {

/// The rows of PortableRows for CPUs with BMI2 and ADX; the same members with the same contracts.
struct MulxRows : AddRows {
  VELMORA_INLINE static Limb addMultiply(Limb* r, const Limb* a, size_t n, Limb b) {
    Limb carry = 0;
    if ((n & 1) != 0) carry = addMultiply1(r, a, b, carry);
    if ((n & 2) != 0) carry = addMultiply2(r + (n & 1), a + (n & 1), b, carry);
    if ((n & 4) != 0) carry = addMultiply4(r + (n & 3), a + (n & 3), b, carry);
    return n < 8 ? carry : addMultiply8s(r + (n & 7), a + (n & 7), n / 8, b, carry);
  }

  template <size_t N>
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    if constexpr (N == 4) {
      multiply4(r, a, b);
    } else if constexpr (N == 6) {
      multiply6(r, a, b);
    } else if constexpr (N < 4) {
      PortableRows::multiply<N>(r, a, b);  // too short to win anything
    } else {
      static_assert(N == 8);
      BlockProducts<MulxBlocks>::multiply(r, a, b, N);
    }
  }

  template <size_t N>
  static void square(Limb* r, const Limb* a) {
    if constexpr (N == 4) {
      Limb r0, r1, r2, r3, r4, r5, r6, r7;
      square4(r0, r1, r2, r3, r4, r5, r6, r7, a);
      store4(r, r0, r1, r2, r3);
      store4(r + 4, r4, r5, r6, r7);
    } else if constexpr (N < 4) {
      PortableRows::square<N>(r, a);
    } else if constexpr (N == 8) {
      BlockProducts<MulxBlocks>::square(r, a, N);
    } else {
      static_assert(N == 6);
      clearLimbs(r, N);
      r[2 * N - 1] = 0;
      squareRows<N>(r, a);
      MulxBlocks::doubleAndAddSquares(r, a, N);
    }
  }

  template <size_t N>
  static void montgomeryReduce(Limb* r, Limb* t, const Limb* p, Limb n0) {
    if constexpr (N == 4) {
      montgomeryReduce4(r, t, p, n0);
    } else if constexpr (N == 6) {
      montgomeryReduce6(r, t, p, n0);
    } else if constexpr (N < 4) {
      PortableRows::montgomeryReduce<N>(r, t, p, n0);
    } else {
      static_assert(N == 8);
      const Limb carry = BlockProducts<MulxBlocks>::montgomeryReduce(t, p, n0, N);
      PortableRows::reduceOnce<N>(r, t + N, p, carry);
    }
  }

  // t0..t3 and t4 += a * b; the sum must fit five limbs.
  VELMORA_INLINE static void row4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4, const Limb* a,
                                  Limb b) {
    Limb lo = 0;
    Limb hi;
    // clang-format off
    asm(
        "xor   %k[lo], %k[lo]\n\t"  // clears CF and OF
        VELMORA_REGISTER_STEP("0", "t0", "t1")
        VELMORA_REGISTER_STEP("8", "t1", "t2")
        VELMORA_REGISTER_STEP("16", "t2", "t3")
        VELMORA_REGISTER_STEP("24", "t3", "t4")
        "mov   $0, %k[lo]\n\t"
        "adcx  %[lo], %[t4]\n\t"
        : [lo] "+&r"(lo), [hi] "=&r"(hi), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2),
          [t3] "+&r"(t3), [t4] "+&r"(t4)
        : [a] "r"(a), "d"(b), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc");
    // clang-format on
  }

  // t0..t3 and t4 += a * b, and t4 += carry; carry becomes the carry out.
  VELMORA_INLINE static void carryRow4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4,
                                       Limb& carry, const Limb* a, Limb b) {
    Limb lo = 0;
    Limb hi;
    // clang-format off
    asm(
        "xor   %k[lo], %k[lo]\n\t"
        VELMORA_REGISTER_STEP("0", "t0", "t1")
        VELMORA_REGISTER_STEP("8", "t1", "t2")
        VELMORA_REGISTER_STEP("16", "t2", "t3")
        VELMORA_REGISTER_STEP("24", "t3", "t4")
        VELMORA_CARRY_END("t4")
        : [lo] "+&r"(lo), [hi] "=&r"(hi), [c] "+&r"(carry), [t0] "+&r"(t0), [t1] "+&r"(t1),
          [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4)
        : [a] "r"(a), "d"(b), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc");
    // clang-format on
  }

  // t0..t4 = a * b.
  VELMORA_INLINE static void firstRow4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4,
                                       const Limb* a, Limb b) {
    Limb lo;
    // clang-format off
    asm(
        "xor   %k[lo], %k[lo]\n\t"
        "mulx  0(%[a]), %[t0], %[t1]\n\t"
        "mulx  8(%[a]), %[lo], %[t2]\n\t"
        "adcx  %[lo], %[t1]\n\t"
        "mulx  16(%[a]), %[lo], %[t3]\n\t"
        "adcx  %[lo], %[t2]\n\t"
        "mulx  24(%[a]), %[lo], %[t4]\n\t"
        "adcx  %[lo], %[t3]\n\t"
        "mov   $0, %k[lo]\n\t"
        "adcx  %[lo], %[t4]\n\t"
        : [lo] "=&r"(lo), [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3),
          [t4] "=&r"(t4)
        : [a] "r"(a), "d"(b), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc");
    // clang-format on
  }

  // r0..r7 = a * a: the six products of different limbs, doubled, plus the four squares.
  VELMORA_INLINE static void square4(Limb& r0, Limb& r1, Limb& r2, Limb& r3, Limb& r4, Limb& r5,
                                     Limb& r6, Limb& r7, const Limb* a) {
    Limb lo, hi;
    // clang-format off
    asm(
        "mov   0(%[a]), %%rdx\n\t"
        "xor   %k[r5], %k[r5]\n\t"
        "mulx  8(%[a]), %[r1], %[r2]\n\t"   // a0 a1
        "mulx  16(%[a]), %[lo], %[r3]\n\t"  // a0 a2
        "adcx  %[lo], %[r2]\n\t"
        "mulx  24(%[a]), %[lo], %[r4]\n\t"  // a0 a3
        "adcx  %[lo], %[r3]\n\t"
        "mov   8(%[a]), %%rdx\n\t"
        "adcx  %[r5], %[r4]\n\t"
        "mulx  16(%[a]), %[lo], %[hi]\n\t"  // a1 a2
        "adcx  %[lo], %[r3]\n\t"
        "adox  %[hi], %[r4]\n\t"
        "mulx  24(%[a]), %[lo], %[hi]\n\t"  // a1 a3
        "adcx  %[lo], %[r4]\n\t"
        "adox  %[hi], %[r5]\n\t"
        "mov   16(%[a]), %%rdx\n\t"
        "mulx  24(%[a]), %[lo], %[r6]\n\t"  // a2 a3
        "adcx  %[lo], %[r5]\n\t"
        "mov   $0, %k[r7]\n\t"
        "adox  %[r7], %[r6]\n\t"
        "adcx  %[r7], %[r6]\n\t"
        "xor   %k[lo], %k[lo]\n\t"          // CF doubles, OF adds the squares
        "mov   0(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[r0], %[hi]\n\t"
        "adcx  %[r1], %[r1]\n\t"
        "adox  %[hi], %[r1]\n\t"
        "mov   8(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[r2], %[r2]\n\t"
        "adox  %[lo], %[r2]\n\t"
        "adcx  %[r3], %[r3]\n\t"
        "adox  %[hi], %[r3]\n\t"
        "mov   16(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[r4], %[r4]\n\t"
        "adox  %[lo], %[r4]\n\t"
        "adcx  %[r5], %[r5]\n\t"
        "adox  %[hi], %[r5]\n\t"
        "mov   24(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[r6], %[r6]\n\t"
        "adox  %[lo], %[r6]\n\t"
        "adcx  %[r7], %[r7]\n\t"
        "adox  %[hi], %[r7]\n\t"
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
          [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [lo] "=&r"(lo), [hi] "=&r"(hi)
        : [a] "r"(a), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc", "rdx");
    // clang-format on
  }

 private:
  static inline Limb addMultiply1(Limb* r, const Limb* a, Limb b, Limb carry) {
    Limb lo, hi;
    // clang-format off
    asm volatile(
        "xor   %k[lo], %k[lo]\n\t"
        VELMORA_MEMORY_STEP("0", "c", "hi")
        VELMORA_ROW_END("hi")
        : [lo] "=&r"(lo), [hi] "=&r"(hi)
        : [r] "r"(r), [a] "r"(a), [c] "r"(carry), "d"(b)
        : "cc", "memory");
    // clang-format on
    return hi;
  }

  static inline Limb addMultiply2(Limb* r, const Limb* a, Limb b, Limb carry) {
    Limb lo, hi;
    // clang-format off
    asm volatile(
        "xor   %k[lo], %k[lo]\n\t"
        VELMORA_MEMORY_STEP("0", "c", "hi")
        VELMORA_MEMORY_STEP("8", "hi", "c")
        VELMORA_ROW_END("c")
        : [lo] "=&r"(lo), [hi] "=&r"(hi), [c] "+&r"(carry)
        : [r] "r"(r), [a] "r"(a), "d"(b)
        : "cc", "memory");
    // clang-format on
    return carry;
  }

  static inline Limb addMultiply4(Limb* r, const Limb* a, Limb b, Limb carry) {
    Limb lo, hi;
    // clang-format off
    asm volatile(
        "xor   %k[lo], %k[lo]\n\t"
        VELMORA_MEMORY_STEP("0", "c", "hi")
        VELMORA_MEMORY_STEP("8", "hi", "c")
        VELMORA_MEMORY_STEP("16", "c", "hi")
        VELMORA_MEMORY_STEP("24", "hi", "c")
        VELMORA_ROW_END("c")
        : [lo] "=&r"(lo), [hi] "=&r"(hi), [c] "+&r"(carry)
        : [r] "r"(r), [a] "r"(a), "d"(b)
        : "cc", "memory");
    // clang-format on
    return carry;
  }

  // Eights of limbs, at least one. lea and jrcxz count without touching either carry.
  static inline Limb addMultiply8s(Limb* r, const Limb* a, size_t eights, Limb b, Limb carry) {
    Limb lo, hi;
    // clang-format off
    asm volatile(
        "xor   %k[lo], %k[lo]\n"
        "1:\n\t"
        VELMORA_MEMORY_STEP("0", "c", "hi")
        VELMORA_MEMORY_STEP("8", "hi", "c")
        VELMORA_MEMORY_STEP("16", "c", "hi")
        VELMORA_MEMORY_STEP("24", "hi", "c")
        VELMORA_MEMORY_STEP("32", "c", "hi")
        VELMORA_MEMORY_STEP("40", "hi", "c")
        VELMORA_MEMORY_STEP("48", "c", "hi")
        VELMORA_MEMORY_STEP("56", "hi", "c")
        "lea   64(%[a]), %[a]\n\t"
        "lea   64(%[r]), %[r]\n\t"
        "lea   -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp   1b\n"
        "2:\n\t"
        VELMORA_ROW_END("c")
        : [lo] "=&r"(lo), [hi] "=&r"(hi), [c] "+&r"(carry), [r] "+&r"(r), [a] "+&r"(a),
          "+&c"(eights)
        : "d"(b)
        : "cc", "memory");
    // clang-format on
    return carry;
  }

  static inline void multiply4(Limb* r, const Limb* a, const Limb* b) {
    Limb t0, t1, t2, t3, t4, t5 = 0, t6 = 0, t7 = 0;
    firstRow4(t0, t1, t2, t3, t4, a, b[0]);
    row4(t1, t2, t3, t4, t5, a, b[1]);
    row4(t2, t3, t4, t5, t6, a, b[2]);
    row4(t3, t4, t5, t6, t7, a, b[3]);
    store4(r, t0, t1, t2, t3);
    store4(r + 4, t4, t5, t6, t7);
  }

  static inline void montgomeryReduce4(Limb* r, const Limb* t, const Limb* p, Limb n0) {
    Limb t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5], t6 = t[6], t7 = t[7];
    Limb carry = 0;
    carryRow4(t0, t1, t2, t3, t4, carry, p, t0 * n0);
    carryRow4(t1, t2, t3, t4, t5, carry, p, t1 * n0);
    carryRow4(t2, t3, t4, t5, t6, carry, p, t2 * n0);
    carryRow4(t3, t4, t5, t6, t7, carry, p, t3 * n0);
    reduceOnce4(r, t4, t5, t6, t7, carry, p);
  }

  VELMORA_INLINE static void row6(Limb* t, const Limb* a, Limb b) {
    Limb t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5], t6 = 0, carry = 0;
    carryRow6(t0, t1, t2, t3, t4, t5, t6, carry, a, b);
    store4(t, t0, t1, t2, t3);
    t[4] = t4;
    t[5] = t5;
    t[6] = t6;
  }

  VELMORA_INLINE static void carryRow6(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4, Limb& t5,
                                       Limb& t6, Limb& carry, const Limb* a, Limb b) {
    Limb lo = 0;
    Limb hi;
    // clang-format off
    asm(
        "xor   %k[lo], %k[lo]\n\t"
        VELMORA_REGISTER_STEP("0", "t0", "t1")
        VELMORA_REGISTER_STEP("8", "t1", "t2")
        VELMORA_REGISTER_STEP("16", "t2", "t3")
        VELMORA_REGISTER_STEP("24", "t3", "t4")
        VELMORA_REGISTER_STEP("32", "t4", "t5")
        VELMORA_REGISTER_STEP("40", "t5", "t6")
        VELMORA_CARRY_END("t6")
        : [lo] "+&r"(lo), [hi] "=&r"(hi), [c] "+&r"(carry), [t0] "+&r"(t0), [t1] "+&r"(t1),
          [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6)
        : [a] "r"(a), "d"(b), "m"(*reinterpret_cast<const Limb(*)[6]>(a))
        : "cc");
    // clang-format on
  }

  static inline void multiply6(Limb* r, const Limb* a, const Limb* b) {
    clearLimbs(r, 6);
    for (size_t i = 0; i < 6; ++i) row6(r + i, a, b[i]);
  }

  static inline void montgomeryReduce6(Limb* r, Limb* t, const Limb* p, Limb n0) {
    Limb carry = 0;
    Limb t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5];
    for (size_t i = 0; i < 6; ++i) {
      Limb t6 = t[i + 6];
      carryRow6(t0, t1, t2, t3, t4, t5, t6, carry, p, t0 * n0);
      t0 = t1;
      t1 = t2;
      t2 = t3;
      t3 = t4;
      t4 = t5;
      t5 = t6;
    }
    const Limb reduced[6] = {t0, t1, t2, t3, t4, t5};
    PortableRows::reduceOnce<6>(r, reduced, p, carry);
  }

  // The products of different limbs, row i and those below. Recursion, so that each row's length is
  // known and nothing is left to branch on.
  template <size_t N, size_t kRow = 0>
  VELMORA_INLINE static void squareRows(Limb* r, const Limb* a) {
    if constexpr (kRow + 1 < N) {
      r[kRow + N] = addMultiply(r + 2 * kRow + 1, a + kRow + 1, N - 1 - kRow, a[kRow]);
      squareRows<N, kRow + 1>(r, a);
    }
  }
};

}  // namespace velmora::vartime

#undef VELMORA_INLINE
#undef VELMORA_MEMORY_STEP
#undef VELMORA_ROW_END
#undef VELMORA_REGISTER_STEP
#undef VELMORA_CARRY_END

#endif  // defined(VELMORA_X86_64)

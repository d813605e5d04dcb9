#pragma once

// Multiplication on mul and adc, in assembly, for x86-64 CPUs without BMI2 or ADX.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include "velmora/support/bignum/arithmetic/internal/add_rows.h"

// mul changes the carry, so that four products are made before any of them is added: their low
// halves in one carry chain, then their high halves in another. Between those, high halves wait in
// memory, because rows are used where registers are short.

#define VELMORA_INLINE __attribute__((always_inline)) inline

// clang-format off
// The products of a limb and a[0] to a[3], whose low halves are added to t0 to t3. The last high
// half is in rdx, with the carry.
#define VELMORA_FOUR_PRODUCTS    \
  "mov   0(%[a]), %%rax\n\t"     \
  "mulq  %[b]\n\t"               \
  "mov   %%rax, %[low0]\n\t"     \
  "mov   %%rdx, %[high0]\n\t"    \
  "mov   8(%[a]), %%rax\n\t"     \
  "mulq  %[b]\n\t"               \
  "mov   %%rax, %[low1]\n\t"     \
  "mov   %%rdx, %[high1]\n\t"    \
  "mov   16(%[a]), %%rax\n\t"    \
  "mulq  %[b]\n\t"               \
  "mov   %%rax, %[low2]\n\t"     \
  "mov   %%rdx, %[high2]\n\t"    \
  "mov   24(%[a]), %%rax\n\t"    \
  "mulq  %[b]\n\t"               \
  "add   %[low0], %[t0]\n\t"     \
  "adc   %[low1], %[t1]\n\t"     \
  "adc   %[low2], %[t2]\n\t"     \
  "adc   %%rax, %[t3]\n\t"       \
  "adc   $0, %%rdx\n\t"

// The other high halves, after what began their chain.
#define VELMORA_HIGH_HALVES(first)  \
  first "   %[high0], %[t1]\n\t"   \
  "adc   %[high1], %[t2]\n\t"      \
  "adc   %[high2], %[t3]\n\t"

// A product, rdx:rax: the low half to a limb, the high half with the carry to the next.
#define VELMORA_ADD_PRODUCT(low, next) \
  "add   %%rax, %[" low "]\n\t"        \
  "adc   $0, %%rdx\n\t"                \
  "mov   %%rdx, %[" next "]\n\t"
// clang-format on

#define VELMORA_HALVES                                                                            \
  [low0] "=&r"(low0), [low1] "=&r"(low1), [low2] "=&r"(low2), [high0] "=&m"(high0),               \
      [high1] "=&m"(high1), [high2] "=&m"(high2), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), \
      [t3] "+&r"(t3)

namespace velmora::vartime {

/// The rows of PortableRows for any x86-64 CPU; the same members with the same contracts.
struct MulRows : AddRows {
  static Limb addMultiply(Limb* r, const Limb* a, size_t n, Limb b) {
    const size_t fours = n / 4 * 4;
    Limb carry = 0;
    for (size_t i = 0; i < fours; i += 4) {
      Limb t0 = r[i], t1 = r[i + 1], t2 = r[i + 2], t3 = r[i + 3];
      carry = addingRow4(t0, t1, t2, t3, a + i, b, carry);
      store4(r + i, t0, t1, t2, t3);
    }
    for (size_t i = fours; i < n; ++i) {
      const DoubleLimb sum = DoubleLimb{a[i]} * b + r[i] + carry;
      r[i] = static_cast<Limb>(sum);
      carry = static_cast<Limb>(sum >> kLimbBits);
    }
    return carry;
  }

  template <size_t N>
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    if constexpr (N == 4) {
      Limb t0, t1, t2, t3, t4, t5 = 0, t6 = 0, t7 = 0;
      firstRow4(t0, t1, t2, t3, t4, a, b[0]);
      row4(t1, t2, t3, t4, t5, a, b[1]);
      row4(t2, t3, t4, t5, t6, a, b[2]);
      row4(t3, t4, t5, t6, t7, a, b[3]);
      store4(r, t0, t1, t2, t3);
      store4(r + 4, t4, t5, t6, t7);
    } else {
      PortableRows::multiply<N>(r, a, b);
    }
  }

  template <size_t N>
  static void square(Limb* r, const Limb* a) {
    if constexpr (N == 4) {
      Limb r0, r1, r2, r3, r4, r5, r6, r7;
      square4(r0, r1, r2, r3, r4, r5, r6, r7, a);
      store4(r, r0, r1, r2, r3);
      store4(r + 4, r4, r5, r6, r7);
    } else {
      PortableRows::square<N>(r, a);
    }
  }

  template <size_t N>
  static void montgomeryReduce(Limb* r, Limb* t, const Limb* p, Limb n0) {
    PortableRows::montgomeryReduce<N>(r, t, p, n0);
  }

  // t0..t3 and t4 += a * b; the sum must fit five limbs.
  VELMORA_INLINE static void row4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4, const Limb* a,
                                  const Limb& b) {
    Limb low0, low1, low2, high0, high1, high2;
    // clang-format off
    asm(
        VELMORA_FOUR_PRODUCTS
        VELMORA_HIGH_HALVES("add")
        "adc   %%rdx, %[t4]\n\t"
        : VELMORA_HALVES, [t4] "+&r"(t4)
        : [a] "r"(a), [b] "rm"(b), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc", "rax", "rdx");
    // clang-format on
  }

  // t0..t3 = t0..t3 + a * b + c; the limb carried out.
  VELMORA_INLINE static Limb addingRow4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, const Limb* a,
                                        const Limb& b, const Limb& c) {
    Limb low0, low1, low2, high0, high1, high2, top;
    // clang-format off
    asm(
        VELMORA_FOUR_PRODUCTS
        "add   %[c], %[t0]\n\t"
        VELMORA_HIGH_HALVES("adc")
        "adc   $0, %%rdx\n\t"
        : VELMORA_HALVES, "=&d"(top)
        : [a] "r"(a), [b] "rm"(b), [c] "rm"(c), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc", "rax");
    // clang-format on
    return top;
  }

  // r0..r7 = a * a: the six products of different limbs, doubled, plus the four squares.
  VELMORA_INLINE static void square4(Limb& r0, Limb& r1, Limb& r2, Limb& r3, Limb& r4, Limb& r5,
                                     Limb& r6, Limb& r7, const Limb* a) {
    Limb carry;
    // clang-format off
    asm(
        "mov   0(%[a]), %%rax\n\t"   // a0 a1
        "mulq  8(%[a])\n\t"
        "mov   %%rax, %[r1]\n\t"
        "mov   %%rdx, %[r2]\n\t"
        "mov   0(%[a]), %%rax\n\t"   // a0 a2
        "mulq  16(%[a])\n\t"
        VELMORA_ADD_PRODUCT("r2", "r3")
        "mov   0(%[a]), %%rax\n\t"   // a0 a3
        "mulq  24(%[a])\n\t"
        VELMORA_ADD_PRODUCT("r3", "r4")
        "mov   8(%[a]), %%rax\n\t"   // a1 a2
        "mulq  16(%[a])\n\t"
        VELMORA_ADD_PRODUCT("r3", "c")
        "mov   8(%[a]), %%rax\n\t"   // a1 a3
        "mulq  24(%[a])\n\t"
        "add   %[c], %%rax\n\t"
        "adc   $0, %%rdx\n\t"
        VELMORA_ADD_PRODUCT("r4", "r5")
        "mov   16(%[a]), %%rax\n\t"  // a2 a3
        "mulq  24(%[a])\n\t"
        VELMORA_ADD_PRODUCT("r5", "r6")
        "mov   $0, %k[r7]\n\t"
        "add   %[r1], %[r1]\n\t"
        "adc   %[r2], %[r2]\n\t"
        "adc   %[r3], %[r3]\n\t"
        "adc   %[r4], %[r4]\n\t"
        "adc   %[r5], %[r5]\n\t"
        "adc   %[r6], %[r6]\n\t"
        "adc   %[r7], %[r7]\n\t"
        "mov   0(%[a]), %%rax\n\t"
        "mulq  %%rax\n\t"
        "mov   %%rax, %[r0]\n\t"
        "mov   %%rdx, %[c]\n\t"
        "mov   8(%[a]), %%rax\n\t"
        "mulq  %%rax\n\t"
        "add   %[c], %[r1]\n\t"
        "adc   %%rax, %[r2]\n\t"
        "adc   %%rdx, %[r3]\n\t"
        "sbb   %[c], %[c]\n\t"       // the carry, as a mask
        "mov   16(%[a]), %%rax\n\t"
        "mulq  %%rax\n\t"
        "neg   %[c]\n\t"
        "adc   %%rax, %[r4]\n\t"
        "adc   %%rdx, %[r5]\n\t"
        "sbb   %[c], %[c]\n\t"
        "mov   24(%[a]), %%rax\n\t"
        "mulq  %%rax\n\t"
        "neg   %[c]\n\t"
        "adc   %%rax, %[r6]\n\t"
        "adc   %%rdx, %[r7]\n\t"
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
          [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [c] "=&r"(carry)
        : [a] "r"(a), "m"(*reinterpret_cast<const Limb(*)[4]>(a))
        : "cc", "rax", "rdx");
    // clang-format on
  }

  // t0..t4 = a * b.
  VELMORA_INLINE static void firstRow4(Limb& t0, Limb& t1, Limb& t2, Limb& t3, Limb& t4,
                                       const Limb* a, const Limb& b) {
    t0 = t1 = t2 = t3 = t4 = 0;
    row4(t0, t1, t2, t3, t4, a, b);
  }
};

/// The blocks of four limbs that BlockProducts makes numbers of any length of.
struct MulBlocks {
  static constexpr size_t kBlock = 4;

  static inline void addMultiply(Limb* r, Limb* window, const Limb* a, const Limb* b, size_t n) {
    Limb w0 = window[0], w1 = window[1], w2 = window[2], w3 = window[3];
    for (const Limb* const end = b + n; b != end; b += kBlock, r += kBlock) {
      Limb w4 = MulRows::addingRow4(w0, w1, w2, w3, a, b[0], r[0]);
      Limb w5 = MulRows::addingRow4(w1, w2, w3, w4, a, b[1], r[1]);
      Limb w6 = MulRows::addingRow4(w2, w3, w4, w5, a, b[2], r[2]);
      Limb w7 = MulRows::addingRow4(w3, w4, w5, w6, a, b[3], r[3]);
      MulRows::store4(r, w0, w1, w2, w3);
      w0 = w4;
      w1 = w5;
      w2 = w6;
      w3 = w7;
    }
    MulRows::store4(window, w0, w1, w2, w3);
  }

  static inline void reductionSteps(Limb* q, Limb* window, const Limb* p, Limb n0) {
    for (size_t i = 0; i < kBlock; ++i) {
      q[i] = window[0] * n0;
      const Limb top = MulRows::addingRow4(window[0], window[1], window[2], window[3], p, q[i], 0);
      MulRows::store4(window, window[1], window[2], window[3], top);
    }
  }

  static inline void addWindow(Limb* r, const Limb* window, Limb& carry) {
    // clang-format off
    asm volatile(
        "neg   %[c]\n\t"  // to CF
        "adc   %[w0], 0(%[r])\n\t"
        "adc   %[w1], 8(%[r])\n\t"
        "adc   %[w2], 16(%[r])\n\t"
        "adc   %[w3], 24(%[r])\n\t"
        "mov   $0, %k[c]\n\t"
        "adc   $0, %[c]\n\t"
        : [c] "+&r"(carry)
        : [r] "r"(r), [w0] "r"(window[0]), [w1] "r"(window[1]), [w2] "r"(window[2]),
          [w3] "r"(window[3])
        : "cc", "memory");
    // clang-format on
  }

  static inline void productsOfDifferentLimbs(Limb* r, const Limb* a) {
    clearLimbs(r, 2 * kBlock);
    for (size_t i = 0; i + 1 < kBlock; ++i) {
      r[i + kBlock] = PortableRows::addMultiply(r + 2 * i + 1, a + i + 1, kBlock - 1 - i, a[i]);
    }
  }

  static inline void doubleAndAddSquares(Limb* r, const Limb* a, size_t n) {
    Limb carry = 0, highBit = 0;
    for (size_t i = 0; i < n; ++i) {
      const Limb low = r[2 * i], high = r[2 * i + 1];
      Limb x = low << 1 | highBit, y = high << 1 | low >> (kLimbBits - 1), limb = a[i];
      highBit = high >> (kLimbBits - 1);
      // clang-format off
      asm(
          "mulq  %%rax\n\t"
          "neg   %[c]\n\t"
          "adc   %%rax, %[x]\n\t"
          "adc   %%rdx, %[y]\n\t"
          "mov   $0, %k[c]\n\t"
          "adc   $0, %[c]\n\t"
          : [x] "+&r"(x), [y] "+&r"(y), [c] "+&r"(carry), "+a"(limb)
          :
          : "cc", "rdx");
      // clang-format on
      r[2 * i] = x;
      r[2 * i + 1] = y;
    }
  }
};

}  // namespace velmora::vartime

#undef VELMORA_INLINE
#undef VELMORA_FOUR_PRODUCTS
#undef VELMORA_HIGH_HALVES
#undef VELMORA_ADD_PRODUCT
#undef VELMORA_HALVES

#endif  // defined(VELMORA_X86_64)

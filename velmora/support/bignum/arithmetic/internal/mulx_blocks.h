#pragma once

// Multiplication of long numbers on mulx, adcx and adox, in assembly.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include "velmora/support/bignum/arithmetic/limbs.h"

// Products of eight limbs by many, for numbers of eights of limbs. The rows of mulx_rows.h load and
// store a limb of the sum for each product; here the eight limbs that the next products are added
// to stay in registers, and one limb of the sum is loaded and stored for eight products. Like the
// rows, nothing here may run on a CPU without BMI2 and ADX.

// The window is to live in registers from one of these pieces to the next.
#define VELMORA_INLINE __attribute__((always_inline)) inline

// clang-format off
// One product: adds the limb `low` of the window and a[i] * rdx, whose upper half takes the place
// of the limb after `low`, which so moves down by one.
#define VELMORA_WINDOW_STEP(offset, low, high)     \
  "adcx  %[" high "], %[" low "]\n\t"              \
  "mulx  " offset "(%[a]), %[lo], %[" high "]\n\t" \
  "adox  %[lo], %[" low "]\n\t"

// All but the lowest of a row, whose upper half is in w0 and whose carries are in both flags. The 0
// at the end comes from a vector register, because "mov $0" may take a turn from mulx.
#define VELMORA_WINDOW_STEPS            \
  VELMORA_WINDOW_STEP("8", "w0", "w1")  \
  VELMORA_WINDOW_STEP("16", "w1", "w2") \
  VELMORA_WINDOW_STEP("24", "w2", "w3") \
  VELMORA_WINDOW_STEP("32", "w3", "w4") \
  VELMORA_WINDOW_STEP("40", "w4", "w5") \
  VELMORA_WINDOW_STEP("48", "w5", "w6") \
  VELMORA_WINDOW_STEP("56", "w6", "w7") \
  "movq  %[zero], %[lo]\n\t"            \
  "adcx  %[lo], %[w7]\n\t"              \
  "adox  %[lo], %[w7]\n\t"

// r[i] and the window = r[i] + window + a * b[i].
#define VELMORA_PRODUCT_ROW(offset)    \
  "mov   " offset "(%[b]), %%rdx\n\t"  \
  "mov   " offset "(%[r]), %[out]\n\t" \
  "xor   %k[lo], %k[lo]\n\t"           \
  "adcx  %[w0], %[out]\n\t"            \
  "mulx  0(%[a]), %[lo], %[w0]\n\t"    \
  "adox  %[lo], %[out]\n\t"            \
  "mov   %[out], " offset "(%[r])\n\t" \
  VELMORA_WINDOW_STEPS

// q[i] = w0 * n0, and the window = (window + a * q[i]) / 2^64, which is exact.
#define VELMORA_REDUCTION_ROW(offset) \
  "mov   %[w0], %%rdx\n\t"            \
  "imul  %[n0], %%rdx\n\t"            \
  "xor   %k[lo], %k[lo]\n\t"          \
  "mulx  0(%[a]), %[lo], %[out]\n\t"  \
  "adcx  %[lo], %[w0]\n\t"            \
  "mov   %%rdx, " offset "(%[q])\n\t" \
  "mov   %[out], %[w0]\n\t"           \
  VELMORA_WINDOW_STEPS

// A product in a row of a square: its halves to the limbs of the sum, each in its own carry chain.
#define VELMORA_SQUARE_STEP(offset, low, high) \
  "mulx  " offset "(%[a]), %[lo], %[hi]\n\t"   \
  "adcx  %[lo], %[" low "]\n\t"                \
  "adox  %[hi], %[" high "]\n\t"

// The last one, whose upper half starts the next limb of the sum.
#define VELMORA_SQUARE_END(low, top)      \
  "mulx  56(%[a]), %[lo], %[" top "]\n\t" \
  "adcx  %[lo], %[" low "]\n\t"           \
  "movq  %[zero], %[lo]\n\t"              \
  "adcx  %[lo], %[" top "]\n\t"           \
  "adox  %[lo], %[" top "]\n\t"

// Starts a row, after the limbs of the sum that the row before was the last to change.
#define VELMORA_SQUARE_ROW(offset, firstAt, first, secondAt, second) \
  "mov   %[" first "], " firstAt "(%[r])\n\t"                        \
  "mov   %[" second "], " secondAt "(%[r])\n\t"                      \
  "mov   " offset "(%[a]), %%rdx\n\t"                                \
  "xor   %k[lo], %k[lo]\n\t"
// clang-format on

#define VELMORA_EIGHT(row) \
  row("0") row("8") row("16") row("24") row("32") row("40") row("48") row("56")

#define VELMORA_WINDOW                                                                        \
  [w0] "+&r"(window[0]), [w1] "+&r"(window[1]), [w2] "+&r"(window[2]), [w3] "+&r"(window[3]), \
      [w4] "+&r"(window[4]), [w5] "+&r"(window[5]), [w6] "+&r"(window[6]), [w7] "+&r"(window[7])

namespace velmora::vartime {

/// The blocks of eight limbs that BlockProducts makes numbers of any length of, for CPUs with BMI2
/// and ADX.
struct MulxBlocks {
  static constexpr size_t kBlock = 8;

  /// r (2n limbs) = 2 r + the squares of the limbs of a, each at its place, for n above 0.
  static inline void doubleAndAddSquares(Limb* r, const Limb* a, size_t n) {
    Limb lo, hi, x, y;
    // clang-format off
    asm volatile(
        "xor   %k[lo], %k[lo]\n"
        "1:\n\t"
        "mov   0(%[a]), %%rdx\n\t"
        "mov   0(%[r]), %[x]\n\t"
        "mov   8(%[r]), %[y]\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[x], %[x]\n\t"
        "adox  %[lo], %[x]\n\t"
        "mov   %[x], 0(%[r])\n\t"
        "adcx  %[y], %[y]\n\t"
        "adox  %[hi], %[y]\n\t"
        "mov   %[y], 8(%[r])\n\t"
        "lea   8(%[a]), %[a]\n\t"  // lea and jrcxz count without touching either carry
        "lea   16(%[r]), %[r]\n\t"
        "lea   -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp   1b\n"
        "2:\n\t"
        : [lo] "=&r"(lo), [hi] "=&r"(hi), [x] "=&r"(x), [y] "=&r"(y), [r] "+&r"(r), [a] "+&r"(a),
          "+&c"(n)
        :
        : "cc", "memory", "rdx");
    // clang-format on
  }

  // r (n limbs) and the window (8 limbs) above them = r + window + a * b, for a of 8 and b of n
  // limbs, n a multiple of 8. Before, the window counts from r[0] on.
  VELMORA_INLINE static void addMultiply(Limb* r, Limb* window, const Limb* a, const Limb* b,
                                         size_t n) {
    for (const Limb* const end = b + n; b != end; b += kBlock, r += kBlock) {
      Limb lo, out;
      // clang-format off
      asm volatile(
          VELMORA_EIGHT(VELMORA_PRODUCT_ROW)
          : VELMORA_WINDOW, [lo] "=&r"(lo), [out] "=&r"(out)
          : [r] "r"(r), [a] "r"(a), [b] "r"(b), [zero] "x"(0.0)
          : "cc", "memory", "rdx");
      // clang-format on
    }
  }

  // Eight steps of a Montgomery reduction: q (8 limbs) is chosen so that window + q * p is a
  // multiple of 2^512, and the window becomes that multiple. n0 is -1/p modulo 2^64.
  VELMORA_INLINE static void reductionSteps(Limb* q, Limb* window, const Limb* p, Limb n0) {
    Limb lo, out;
    // clang-format off
    asm volatile(
        VELMORA_EIGHT(VELMORA_REDUCTION_ROW)
        : VELMORA_WINDOW, [lo] "=&r"(lo), [out] "=&r"(out)
        : [q] "r"(q), [a] "r"(p), [n0] "r"(n0), [zero] "x"(0.0)
        : "cc", "memory", "rdx");
    // clang-format on
  }

  // r (8 limbs) += window + carry; carry (0 or 1) becomes the carry out.
  VELMORA_INLINE static void addWindow(Limb* r, Limb* window, Limb& carry) {
    // clang-format off
    asm volatile(
        "neg   %[c]\n\t"  // to CF
        "adc   %[w0], 0(%[r])\n\t"
        "adc   %[w1], 8(%[r])\n\t"
        "adc   %[w2], 16(%[r])\n\t"
        "adc   %[w3], 24(%[r])\n\t"
        "adc   %[w4], 32(%[r])\n\t"
        "adc   %[w5], 40(%[r])\n\t"
        "adc   %[w6], 48(%[r])\n\t"
        "adc   %[w7], 56(%[r])\n\t"
        "mov   $0, %k[c]\n\t"
        "adc   $0, %[c]\n\t"
        : VELMORA_WINDOW, [c] "+&r"(carry)
        : [r] "r"(r)
        : "cc", "memory");
    // clang-format on
  }

  // r (16 limbs) = the sum of a[i] * a[j] at i + j for i < j, of 8 limbs. The limb at k is in
  // register k modulo 8.
  static inline void productsOfDifferentLimbs(Limb* r, const Limb* a) {
    Limb x0, x1, x2, x3, x4, x5, x6, x7, lo, hi;
    // clang-format off
    asm volatile(
        "mov   0(%[a]), %%rdx\n\t"
        "xor   %k[lo], %k[lo]\n\t"
        "mov   %[lo], 0(%[r])\n\t"
        "mov   %[lo], 120(%[r])\n\t"
        "mulx  8(%[a]), %[x1], %[x2]\n\t"
        "mulx  16(%[a]), %[lo], %[x3]\n\t"
        "adcx  %[lo], %[x2]\n\t"
        "mulx  24(%[a]), %[lo], %[x4]\n\t"
        "adcx  %[lo], %[x3]\n\t"
        "mulx  32(%[a]), %[lo], %[x5]\n\t"
        "adcx  %[lo], %[x4]\n\t"
        "mulx  40(%[a]), %[lo], %[x6]\n\t"
        "adcx  %[lo], %[x5]\n\t"
        "mulx  48(%[a]), %[lo], %[x7]\n\t"
        "adcx  %[lo], %[x6]\n\t"
        VELMORA_SQUARE_END("x7", "x0")
        VELMORA_SQUARE_ROW("8", "8", "x1", "16", "x2")
        VELMORA_SQUARE_STEP("16", "x3", "x4")
        VELMORA_SQUARE_STEP("24", "x4", "x5")
        VELMORA_SQUARE_STEP("32", "x5", "x6")
        VELMORA_SQUARE_STEP("40", "x6", "x7")
        VELMORA_SQUARE_STEP("48", "x7", "x0")
        VELMORA_SQUARE_END("x0", "x1")
        VELMORA_SQUARE_ROW("16", "24", "x3", "32", "x4")
        VELMORA_SQUARE_STEP("24", "x5", "x6")
        VELMORA_SQUARE_STEP("32", "x6", "x7")
        VELMORA_SQUARE_STEP("40", "x7", "x0")
        VELMORA_SQUARE_STEP("48", "x0", "x1")
        VELMORA_SQUARE_END("x1", "x2")
        VELMORA_SQUARE_ROW("24", "40", "x5", "48", "x6")
        VELMORA_SQUARE_STEP("32", "x7", "x0")
        VELMORA_SQUARE_STEP("40", "x0", "x1")
        VELMORA_SQUARE_STEP("48", "x1", "x2")
        VELMORA_SQUARE_END("x2", "x3")
        VELMORA_SQUARE_ROW("32", "56", "x7", "64", "x0")
        VELMORA_SQUARE_STEP("40", "x1", "x2")
        VELMORA_SQUARE_STEP("48", "x2", "x3")
        VELMORA_SQUARE_END("x3", "x4")
        VELMORA_SQUARE_ROW("40", "72", "x1", "80", "x2")
        VELMORA_SQUARE_STEP("48", "x3", "x4")
        VELMORA_SQUARE_END("x4", "x5")
        VELMORA_SQUARE_ROW("48", "88", "x3", "96", "x4")
        VELMORA_SQUARE_END("x5", "x6")
        "mov   %[x5], 104(%[r])\n\t"
        "mov   %[x6], 112(%[r])\n\t"
        : [x0] "=&r"(x0), [x1] "=&r"(x1), [x2] "=&r"(x2), [x3] "=&r"(x3), [x4] "=&r"(x4),
          [x5] "=&r"(x5), [x6] "=&r"(x6), [x7] "=&r"(x7), [lo] "=&r"(lo), [hi] "=&r"(hi)
        : [r] "r"(r), [a] "r"(a), [zero] "x"(0.0)
        : "cc", "memory", "rdx");
    // clang-format on
  }
};

}  // namespace velmora::vartime

#undef VELMORA_INLINE
#undef VELMORA_WINDOW_STEP
#undef VELMORA_WINDOW_STEPS
#undef VELMORA_PRODUCT_ROW
#undef VELMORA_REDUCTION_ROW
#undef VELMORA_SQUARE_STEP
#undef VELMORA_SQUARE_END
#undef VELMORA_SQUARE_ROW
#undef VELMORA_EIGHT
#undef VELMORA_WINDOW

#endif  // defined(VELMORA_X86_64)

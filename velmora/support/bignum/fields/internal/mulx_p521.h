#pragma once

// Arithmetic modulo 2^521 - 1 on mulx and adx.

#include "velmora/support/bignum/arithmetic/internal/mulx_rows.h"
#include "velmora/support/bignum/fields/internal/mersenne521.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

// clang-format off
// One product of a row: its halves to two limbs of the sum, each in its own carry chain.
#define VELMORA_P521_PRODUCT(factor, low, high) \
  "mulx  " factor ", %[lo], %[hi]\n\t"          \
  "adcx  %[lo], %[" low "]\n\t"                 \
  "adox  %[hi], %[" high "]\n\t"

// The products of a row from limb j on.
#define VELMORA_P521_FROM_8 VELMORA_P521_PRODUCT("64(%[a])", "w8", "w9")
#define VELMORA_P521_FROM_7 VELMORA_P521_PRODUCT("56(%[a])", "w7", "w8") VELMORA_P521_FROM_8
#define VELMORA_P521_FROM_6 VELMORA_P521_PRODUCT("48(%[a])", "w6", "w7") VELMORA_P521_FROM_7
#define VELMORA_P521_FROM_5 VELMORA_P521_PRODUCT("40(%[a])", "w5", "w6") VELMORA_P521_FROM_6
#define VELMORA_P521_FROM_4 VELMORA_P521_PRODUCT("32(%[a])", "w4", "w5") VELMORA_P521_FROM_5
#define VELMORA_P521_FROM_3 VELMORA_P521_PRODUCT("24(%[a])", "w3", "w4") VELMORA_P521_FROM_4
#define VELMORA_P521_FROM_2 VELMORA_P521_PRODUCT("16(%[a])", "w2", "w3") VELMORA_P521_FROM_3

// A row, and a step of Montgomery's reduction, for which -1/p modulo 2^64 is 1: w0 * p clears w0,
// and the rest of it is a shift. It takes fourteen registers, which are all in a function with a
// frame pointer, so that the factors can only be named as "memory".
#define VELMORA_P521_ROW(products)                                                      \
  asm volatile(                                                                         \
      "xor   %k[w9], %k[w9]\n\t"                                                        \
      products                                                                          \
      "mov   $0, %k[lo]\n\t"                                                            \
      "adcx  %[lo], %[w9]\n\t"                                                          \
      "mov   %[w0], %[lo]\n\t"                                                          \
      "shl   $9, %[lo]\n\t"                                                             \
      "shr   $55, %[w0]\n\t"                                                            \
      "add   %[lo], %[w8]\n\t"                                                          \
      "adc   %[w0], %[w9]\n\t"                                                          \
      : [lo] "=&r"(lo), [hi] "=&r"(hi), [w0] "+&r"(w0), [w1] "+&r"(w1), [w2] "+&r"(w2), \
        [w3] "+&r"(w3), [w4] "+&r"(w4), [w5] "+&r"(w5), [w6] "+&r"(w6), [w7] "+&r"(w7), \
        [w8] "+&r"(w8), [w9] "=&r"(w9)                                                  \
      : [a] "r"(a), "d"(b)                                                              \
      : "cc", "memory")

// One limb of twice a number, with and without the bit carried in.
#define VELMORA_P521_DOUBLE(add, at)  \
  "mov   " #at "(%[a]), %[t]\n\t"     \
  add "   %[t], %[t]\n\t"             \
  "mov   %[t], " #at "(%[r])\n\t"     \
  "mov   " #at "(%[a]), %[t]\n\t"     \
  "lea   (%[t], %[t]), %[t]\n\t"      \
  "mov   %[t], 72+" #at "(%[r])\n\t"

// A sum or difference of nine limbs.
#define VELMORA_P521_CHAIN(first, next, operand) \
  first "   0(%[" operand "]), %[t0]\n\t"        \
  next "   8(%[" operand "]), %[t1]\n\t"         \
  next "   16(%[" operand "]), %[t2]\n\t"        \
  next "   24(%[" operand "]), %[t3]\n\t"        \
  next "   32(%[" operand "]), %[t4]\n\t"        \
  next "   40(%[" operand "]), %[t5]\n\t"        \
  next "   48(%[" operand "]), %[t6]\n\t"        \
  next "   56(%[" operand "]), %[t7]\n\t"        \
  next "   64(%[" operand "]), %[t8]\n\t"
// clang-format on

namespace velmora::vartime {

/// In Montgomery form with all 64 bits of a limb in use: what is beyond 521 bits leaves room for
/// sums that are not reduced, and a product of numbers below 2^530 is below 2^521 + 2^484.
template <class Prime>
struct Mersenne521Field<Prime, MulxRows> {
  static constexpr size_t kLimbs = 9;
  static constexpr auto kPrime = Prime::kPrime;
  using Element = FieldElement<kLimbs>;

  static void multiply(Element& r, const Element& a, const Element& b) {
    Limb t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, t6 = 0, t7 = 0, t8 = 0, t9;
    row(t0, t1, t2, t3, t4, t5, t6, t7, t8, t9, a.v, b.v[0]);
    row(t1, t2, t3, t4, t5, t6, t7, t8, t9, t0, a.v, b.v[1]);
    row(t2, t3, t4, t5, t6, t7, t8, t9, t0, t1, a.v, b.v[2]);
    row(t3, t4, t5, t6, t7, t8, t9, t0, t1, t2, a.v, b.v[3]);
    row(t4, t5, t6, t7, t8, t9, t0, t1, t2, t3, a.v, b.v[4]);
    row(t5, t6, t7, t8, t9, t0, t1, t2, t3, t4, a.v, b.v[5]);
    row(t6, t7, t8, t9, t0, t1, t2, t3, t4, t5, a.v, b.v[6]);
    row(t7, t8, t9, t0, t1, t2, t3, t4, t5, t6, a.v, b.v[7]);
    row(t8, t9, t0, t1, t2, t3, t4, t5, t6, t7, a.v, b.v[8]);
    store(r, t9, t0, t1, t2, t3, t4, t5, t6, t7);
  }

  static void square(Element& r, const Element& a) {
    Limb twice[2 * kLimbs];
    doubleLimbs(twice, a.v);
    Limb t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, t6 = 0, t7 = 0, t8 = 0, t9;
    squareRow<0>(t0, t1, t2, t3, t4, t5, t6, t7, t8, t9, twice, a.v[0]);
    squareRow<1>(t1, t2, t3, t4, t5, t6, t7, t8, t9, t0, twice, a.v[1]);
    squareRow<2>(t2, t3, t4, t5, t6, t7, t8, t9, t0, t1, twice, a.v[2]);
    squareRow<3>(t3, t4, t5, t6, t7, t8, t9, t0, t1, t2, twice, a.v[3]);
    squareRow<4>(t4, t5, t6, t7, t8, t9, t0, t1, t2, t3, twice, a.v[4]);
    squareRow<5>(t5, t6, t7, t8, t9, t0, t1, t2, t3, t4, twice, a.v[5]);
    squareRow<6>(t6, t7, t8, t9, t0, t1, t2, t3, t4, t5, twice, a.v[6]);
    squareRow<7>(t7, t8, t9, t0, t1, t2, t3, t4, t5, t6, twice, a.v[7]);
    squareRow<8>(t8, t9, t0, t1, t2, t3, t4, t5, t6, t7, twice, a.v[8]);
    store(r, t9, t0, t1, t2, t3, t4, t5, t6, t7);
  }

  static void add(Element& r, const Element& a, const Element& b) {
    Limb t0 = a.v[0], t1 = a.v[1], t2 = a.v[2], t3 = a.v[3], t4 = a.v[4], t5 = a.v[5], t6 = a.v[6],
         t7 = a.v[7], t8 = a.v[8];
    // clang-format off
    asm(VELMORA_P521_CHAIN("add", "adc", "b")
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "+&r"(t7), [t8] "+&r"(t8)
        : [b] "r"(b.v), "m"(b)
        : "cc");
    // clang-format on
    store(r, t0, t1, t2, t3, t4, t5, t6, t7, t8);
  }

  // a + (2^529 - 2^8 - b), where 2^521 then counts as 1.
  static void subtract(Element& r, const Element& a, const Element& b) {
    constexpr Limb kOnes = ~Limb{0};
    Limb t0 = kOnes << 8, t1 = kOnes, t2 = kOnes, t3 = kOnes, t4 = kOnes, t5 = kOnes, t6 = kOnes,
         t7 = kOnes, t8 = kOnes >> (64 - 17);
    // clang-format off
    asm(VELMORA_P521_CHAIN("sub", "sbb", "b")
        VELMORA_P521_CHAIN("add", "adc", "a")
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "+&r"(t7), [t8] "+&r"(t8)
        : [a] "r"(a.v), [b] "r"(b.v), "m"(a), "m"(b)
        : "cc");
    // clang-format on
    store(r, t0, t1, t2, t3, t4, t5, t6, t7, t8);
    foldTop(r);
  }

  // (a + p) / 2 for an odd a moves its lowest bit to the top.
  static void halve(Element& r, const Element& a) {
    Limb t0 = a.v[0], t1 = a.v[1], t2 = a.v[2], t3 = a.v[3], t4 = a.v[4], t5 = a.v[5], t6 = a.v[6],
         t7 = a.v[7], t8 = a.v[8];
    const Limb lowest = (t0 & 1) << (kTopBits - 1);
    // clang-format off
    asm("shr   $1, %[t8]\n\t"
        "rcr   $1, %[t7]\n\t"
        "rcr   $1, %[t6]\n\t"
        "rcr   $1, %[t5]\n\t"
        "rcr   $1, %[t4]\n\t"
        "rcr   $1, %[t3]\n\t"
        "rcr   $1, %[t2]\n\t"
        "rcr   $1, %[t1]\n\t"
        "rcr   $1, %[t0]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "+&r"(t7), [t8] "+&r"(t8)
        :
        : "cc");
    // clang-format on
    store(r, t0, t1, t2, t3, t4, t5, t6, t7, t8 + lowest);
  }

  static bool isZero(const Element& a) {
    Element r = a;
    foldTop(r);  // below 2 p now
    return vartime::isZero(r.v, kLimbs) || compareLimbs(r.v, kPrime.data(), kLimbs) == 0;
  }

  static bool equal(const Element& a, const Element& b) {
    Element difference;
    subtract(difference, a, b);
    return isZero(difference);
  }

  static void toPlain(Limb* limbs, const Element& a) {
    Element plain;
    multiply(plain, a, Element{{1}});  // at most p
    copyLimbs(limbs, plain.v, kLimbs);
    if (compareLimbs(limbs, kPrime.data(), kLimbs) == 0) clearLimbs(limbs, kLimbs);
  }

  static void fromPlain(Element& r, const Limb* limbs) {
    constexpr Element kRSquared{{0, Limb{1} << (2 * kLimbs * kLimbBits - 2 * 521 - kLimbBits)}};
    Element plain;
    copyLimbs(plain.v, limbs, kLimbs);
    multiply(r, plain, kRSquared);
  }

 private:
  static constexpr unsigned kTopBits = 521 % kLimbBits;

  // Moves the bits from 2^521 on to the bottom, which leaves less than 2^521 + 2^55. A carry goes
  // beyond the lowest limb so rarely that a branch is better than a chain.
  static void foldTop(Element& r) {
    Limb carry = r.v[8] >> kTopBits;
    r.v[8] &= (Limb{1} << kTopBits) - 1;
    r.v[0] += carry;
    if (r.v[0] >= carry) [[likely]]
      return;
    carry = 1;
    for (size_t i = 1; i < kLimbs; ++i) r.v[i] = addWithCarry(r.v[i], 0, carry);
  }

  // w1..w9 = (w0..w8 + a * b) / 2^64
  __attribute__((always_inline)) static inline void row(Limb& w0, Limb& w1, Limb& w2, Limb& w3,
                                                        Limb& w4, Limb& w5, Limb& w6, Limb& w7,
                                                        Limb& w8, Limb& w9, const Limb* a, Limb b) {
    Limb lo, hi;
    VELMORA_P521_ROW(VELMORA_P521_PRODUCT("0(%[a])", "w0", "w1")
                         VELMORA_P521_PRODUCT("8(%[a])", "w1", "w2") VELMORA_P521_FROM_2);
  }

  // The same with what row kRow of a square adds: the square of its limb b of the number, once, and
  // twice b times the limbs above, the lowest of those without the bit that doubling carries to it.
  template <size_t kRow>
  __attribute__((always_inline)) static inline void squareRow(Limb& w0, Limb& w1, Limb& w2,
                                                              Limb& w3, Limb& w4, Limb& w5,
                                                              Limb& w6, Limb& w7, Limb& w8,
                                                              Limb& w9, const Limb* a, Limb b) {
    Limb lo, hi;
    if constexpr (kRow == 0) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w0", "w1")
                           VELMORA_P521_PRODUCT("80(%[a])", "w1", "w2") VELMORA_P521_FROM_2);
    } else if constexpr (kRow == 1) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w1", "w2")
                           VELMORA_P521_PRODUCT("88(%[a])", "w2", "w3") VELMORA_P521_FROM_3);
    } else if constexpr (kRow == 2) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w2", "w3")
                           VELMORA_P521_PRODUCT("96(%[a])", "w3", "w4") VELMORA_P521_FROM_4);
    } else if constexpr (kRow == 3) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w3", "w4")
                           VELMORA_P521_PRODUCT("104(%[a])", "w4", "w5") VELMORA_P521_FROM_5);
    } else if constexpr (kRow == 4) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w4", "w5")
                           VELMORA_P521_PRODUCT("112(%[a])", "w5", "w6") VELMORA_P521_FROM_6);
    } else if constexpr (kRow == 5) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w5", "w6")
                           VELMORA_P521_PRODUCT("120(%[a])", "w6", "w7") VELMORA_P521_FROM_7);
    } else if constexpr (kRow == 6) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w6", "w7")
                           VELMORA_P521_PRODUCT("128(%[a])", "w7", "w8") VELMORA_P521_FROM_8);
    } else if constexpr (kRow == 7) {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w7", "w8")
                           VELMORA_P521_PRODUCT("136(%[a])", "w8", "w9"));
    } else {
      VELMORA_P521_ROW(VELMORA_P521_PRODUCT("%%rdx", "w8", "w9"));
    }
  }

  // r = twice a, and behind it twice each limb of a by itself. Loops that compilers make vectors of
  // would wait for limbs that were stored one by one.
  __attribute__((always_inline)) static inline void doubleLimbs(Limb* r, const Limb* a) {
    Limb t;
    // clang-format off
    asm(VELMORA_P521_DOUBLE("add", 0)
        VELMORA_P521_DOUBLE("adc", 8)
        VELMORA_P521_DOUBLE("adc", 16)
        VELMORA_P521_DOUBLE("adc", 24)
        VELMORA_P521_DOUBLE("adc", 32)
        VELMORA_P521_DOUBLE("adc", 40)
        VELMORA_P521_DOUBLE("adc", 48)
        VELMORA_P521_DOUBLE("adc", 56)
        VELMORA_P521_DOUBLE("adc", 64)
        : [t] "=&r"(t), "=m"(*reinterpret_cast<Limb(*)[2 * kLimbs]>(r))
        : [r] "r"(r), [a] "r"(a), "m"(*reinterpret_cast<const Limb(*)[kLimbs]>(a))
        : "cc");
    // clang-format on
  }

  static inline void store(Element& r, Limb t0, Limb t1, Limb t2, Limb t3, Limb t4, Limb t5,
                           Limb t6, Limb t7, Limb t8) {
    r.v[0] = t0;
    r.v[1] = t1;
    r.v[2] = t2;
    r.v[3] = t3;
    r.v[4] = t4;
    r.v[5] = t5;
    r.v[6] = t6;
    r.v[7] = t7;
    r.v[8] = t8;
  }
};

}  // namespace velmora::vartime

#undef VELMORA_P521_PRODUCT
#undef VELMORA_P521_FROM_8
#undef VELMORA_P521_FROM_7
#undef VELMORA_P521_FROM_6
#undef VELMORA_P521_FROM_5
#undef VELMORA_P521_FROM_4
#undef VELMORA_P521_FROM_3
#undef VELMORA_P521_FROM_2
#undef VELMORA_P521_ROW
#undef VELMORA_P521_CHAIN
#undef VELMORA_P521_DOUBLE

#endif  // defined(VELMORA_X86_64)

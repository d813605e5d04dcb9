#pragma once

// Arithmetic modulo the P-384 prime on mulx and adx.

#include "velmora/support/bignum/arithmetic/internal/mulx_rows.h"
#include "velmora/support/bignum/fields/internal/prime_shape.h"
#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

namespace velmora::vartime {

// Montgomery reduction modulo p = 2^384 - 2^128 - 2^96 + 2^32 - 1 needs no multiplication: -1/p
// modulo 2^64 is 2^32 + 1, so that m = t0 + t0 2^32, and t0 + m p is 2^64 times
// m 2^320 - m 2^64 - m 2^32 + (m >> 32) + the carry of m's sum.

// clang-format off
// m in t0, and m 2^64 + m 2^32 - (m >> 32) - carry in s, v, u.
#define VELMORA_P384_MULTIPLE       \
  "mov   %[t0], %[s]\n\t"           \
  "shl   $32, %[s]\n\t"             \
  "add   %[s], %[t0]\n\t"           \
  "rorx  $32, %[t0], %[u]\n\t"      \
  "mov   %k[u], %k[u]\n\t"          \
  "mov   %[t0], %[v]\n\t"           \
  "sbb   %[u], %[s]\n\t"            \
  "sbb   $0, %[v]\n\t"              \
  "add   %[u], %[v]\n\t"            \
  "mov   $0, %k[u]\n\t"             \
  "adc   %[u], %[u]\n\t"            \
  "sub   %[s], %[t1]\n\t"           \
  "sbb   %[v], %[t2]\n\t"           \
  "sbb   %[u], %[t3]\n\t"           \
  "sbb   $0, %[t4]\n\t"             \
  "sbb   $0, %[t5]\n\t"             \
  "sbb   $0, %[t0]\n\t"

// One limb of a row.
#define VELMORA_P384_PRODUCT(offset, low, high)  \
  "mulx  " offset "(%[a]), %[lo], %[hi]\n\t"     \
  "adcx  %[lo], %[" low "]\n\t"                  \
  "adox  %[hi], %[" high "]\n\t"

// One limb of the doubled products, in memory, plus a limb of a square.
#define VELMORA_P384_DOUBLE(offset, square)  \
  "mov   " offset "(%[t]), %[t4]\n\t"        \
  "adcx  %[t4], %[t4]\n\t"                  \
  "adox  %[" square "], %[t4]\n\t"          \
  "mov   %[t4], " offset "(%[t])\n\t"

// A sum or difference of six limbs.
#define VELMORA_P384_CHAIN(first, next) \
  first "   0(%[b]), %[t0]\n\t"         \
  next "   8(%[b]), %[t1]\n\t"          \
  next "   16(%[b]), %[t2]\n\t"         \
  next "   24(%[b]), %[t3]\n\t"         \
  next "   32(%[b]), %[t4]\n\t"         \
  next "   40(%[b]), %[t5]\n\t"

// Adds p where the mask is all ones; p is made of the mask.
#define VELMORA_P384_ADD_MASKED           \
  "mov   %k[mask], %k[v]\n\t"             \
  "mov   %[mask], %[u]\n\t"               \
  "shl   $32, %[u]\n\t"                   \
  "lea   (%[mask], %[mask]), %[w]\n\t"    \
  "add   %[v], %[t0]\n\t"                 \
  "adc   %[u], %[t1]\n\t"                 \
  "adc   %[w], %[t2]\n\t"                 \
  "adc   %[mask], %[t3]\n\t"              \
  "adc   %[mask], %[t4]\n\t"              \
  "adc   %[mask], %[t5]\n\t"
// clang-format on

/// The operations of MontgomeryField; sums and differences stay in registers.
template <class Prime>
struct MontgomeryOperations<Prime, MulxRows, PrimeShape::kPrime384> {
  // Rows and steps by turns; the number before each row is below 2 p.
  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    Limb t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, t6 = 0, t7;
    row(t0, t1, t2, t3, t4, t5, t6, t7, a, b[0]);
    step(t0, t1, t2, t3, t4, t5, t6, t7);
    row(t1, t2, t3, t4, t5, t6, t7, t0, a, b[1]);
    step(t1, t2, t3, t4, t5, t6, t7, t0);
    row(t2, t3, t4, t5, t6, t7, t0, t1, a, b[2]);
    step(t2, t3, t4, t5, t6, t7, t0, t1);
    row(t3, t4, t5, t6, t7, t0, t1, t2, a, b[3]);
    step(t3, t4, t5, t6, t7, t0, t1, t2);
    row(t4, t5, t6, t7, t0, t1, t2, t3, a, b[4]);
    step(t4, t5, t6, t7, t0, t1, t2, t3);
    row(t5, t6, t7, t0, t1, t2, t3, t4, a, b[5]);
    step(t5, t6, t7, t0, t1, t2, t3, t4);
    reduceOnce(r, t6, t7, t0, t1, t2, t3, t4);
  }

  static void square(Limb* r, const Limb* a) {
    Limb t[12];
    squareWide(t, a);
    reduce(r, t);
  }

  static void add(Limb* r, const Limb* a, const Limb* b) {
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], t4 = a[4], t5 = a[5], carry = 0;
    // clang-format off
    asm(VELMORA_P384_CHAIN("add", "adc")
        "adc   $0, %[c]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [c] "+&r"(carry)
        : [b] "r"(b), "m"(*reinterpret_cast<const Limb(*)[6]>(b))
        : "cc");
    // clang-format on
    reduceOnce(r, t0, t1, t2, t3, t4, t5, carry);
  }

  static void subtract(Limb* r, const Limb* a, const Limb* b) {
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], t4 = a[4], t5 = a[5], mask, u, v, w;
    // clang-format off
    asm(VELMORA_P384_CHAIN("sub", "sbb")
        "sbb   %[mask], %[mask]\n\t"
        VELMORA_P384_ADD_MASKED
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [mask] "=&r"(mask), [u] "=&r"(u), [v] "=&r"(v), [w] "=&r"(w)
        : [b] "r"(b), "m"(*reinterpret_cast<const Limb(*)[6]>(b))
        : "cc");
    // clang-format on
    store(r, t0, t1, t2, t3, t4, t5);
  }

  // (a + p) / 2 for an odd a.
  static void halve(Limb* r, const Limb* a) {
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], t4 = a[4], t5 = a[5], u, v, w;
    Limb mask = Limb{0} - (t0 & 1);
    // clang-format off
    asm(VELMORA_P384_ADD_MASKED
        "rcr   $1, %[t5]\n\t"
        "rcr   $1, %[t4]\n\t"
        "rcr   $1, %[t3]\n\t"
        "rcr   $1, %[t2]\n\t"
        "rcr   $1, %[t1]\n\t"
        "rcr   $1, %[t0]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [mask] "+&r"(mask), [u] "=&r"(u), [v] "=&r"(v), [w] "=&r"(w)
        :
        : "cc");
    // clang-format on
    store(r, t0, t1, t2, t3, t4, t5);
  }

 private:
  // One step on a number of six limbs, t0 the lowest; afterwards t0 is the highest. The number
  // stays below 2^384, and six steps leave at most p, whatever it was.
  __attribute__((always_inline)) static inline void step(Limb& t0, Limb& t1, Limb& t2, Limb& t3,
                                                         Limb& t4, Limb& t5) {
    Limb s, u, v;
    asm(VELMORA_P384_MULTIPLE
        : [s] "=&r"(s), [u] "=&r"(u), [v] "=&r"(v), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2),
          [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5)
        :
        : "cc");
  }

  // The same on eight limbs: clears t0 and adds m to t6.
  __attribute__((always_inline)) static inline void step(Limb t0, Limb& t1, Limb& t2, Limb& t3,
                                                         Limb& t4, Limb& t5, Limb& t6, Limb& t7) {
    Limb s, u, v;
    // clang-format off
    asm(VELMORA_P384_MULTIPLE
        "add   %[t0], %[t6]\n\t"
        "adc   $0, %[t7]\n\t"
        : [s] "=&r"(s), [u] "=&r"(u), [v] "=&r"(v), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2),
          [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "+&r"(t7)
        :
        : "cc");
    // clang-format on
  }

  // t0..t6 += a * b; the carry out is t7.
  __attribute__((always_inline)) static inline void row(Limb& t0, Limb& t1, Limb& t2, Limb& t3,
                                                        Limb& t4, Limb& t5, Limb& t6, Limb& t7,
                                                        const Limb* a, Limb b) {
    Limb lo, hi;
    // clang-format off
    asm("xor   %k[t7], %k[t7]\n\t"
        VELMORA_P384_PRODUCT("0", "t0", "t1")
        VELMORA_P384_PRODUCT("8", "t1", "t2")
        VELMORA_P384_PRODUCT("16", "t2", "t3")
        VELMORA_P384_PRODUCT("24", "t3", "t4")
        VELMORA_P384_PRODUCT("32", "t4", "t5")
        VELMORA_P384_PRODUCT("40", "t5", "t6")
        "mov   $0, %k[lo]\n\t"
        "adcx  %[lo], %[t6]\n\t"
        "adcx  %[lo], %[t7]\n\t"
        "adox  %[lo], %[t7]\n\t"
        : [lo] "=&r"(lo), [hi] "=&r"(hi), [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2),
          [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6), [t7] "=&r"(t7)
        : [a] "r"(a), "d"(b), "m"(*reinterpret_cast<const Limb(*)[6]>(a))
        : "cc");
    // clang-format on
  }

  // r = t, or t - p where t + carry * 2^384 is not below p.
  __attribute__((always_inline)) static inline void reduceOnce(Limb* r, Limb t0, Limb t1, Limb t2,
                                                               Limb t3, Limb t4, Limb t5,
                                                               Limb carry) {
    Limb s0 = t0, s1 = t1, s2 = t2, s3 = t3, s4 = t4, s5 = t5;
    // clang-format off
    asm("sub   %[p0], %[s0]\n\t"
        "sbb   %[p1], %[s1]\n\t"
        "sbb   $-2, %[s2]\n\t"
        "sbb   $-1, %[s3]\n\t"
        "sbb   $-1, %[s4]\n\t"
        "sbb   $-1, %[s5]\n\t"
        "sbb   $0, %[c]\n\t"
        "cmovc %[t0], %[s0]\n\t"
        "cmovc %[t1], %[s1]\n\t"
        "cmovc %[t2], %[s2]\n\t"
        "cmovc %[t3], %[s3]\n\t"
        "cmovc %[t4], %[s4]\n\t"
        "cmovc %[t5], %[s5]\n\t"
        : [s0] "+&r"(s0), [s1] "+&r"(s1), [s2] "+&r"(s2), [s3] "+&r"(s3), [s4] "+&r"(s4),
          [s5] "+&r"(s5), [c] "+&r"(carry)
        : [t0] "rm"(t0), [t1] "rm"(t1), [t2] "rm"(t2), [t3] "rm"(t3), [t4] "rm"(t4), [t5] "rm"(t5),
          [p0] "rm"(Limb{0xffffffff}), [p1] "rm"(Limb{0xffffffff00000000})
        : "cc");
    // clang-format on
    store(r, s0, s1, s2, s3, s4, s5);
  }

  static inline void store(Limb* r, Limb t0, Limb t1, Limb t2, Limb t3, Limb t4, Limb t5) {
    r[0] = t0;
    r[1] = t1;
    r[2] = t2;
    r[3] = t3;
    r[4] = t4;
    r[5] = t5;
  }

  // r = t / 2^384 for t below 2^384 p: the lower half is reduced by itself, to at most p.
  static inline void reduce(Limb* r, const Limb* t) {
    Limb t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5], carry = 0;
    step(t0, t1, t2, t3, t4, t5);
    step(t1, t2, t3, t4, t5, t0);
    step(t2, t3, t4, t5, t0, t1);
    step(t3, t4, t5, t0, t1, t2);
    step(t4, t5, t0, t1, t2, t3);
    step(t5, t0, t1, t2, t3, t4);
    // clang-format off
    asm("add   %[h0], %[t0]\n\t"
        "adc   %[h1], %[t1]\n\t"
        "adc   %[h2], %[t2]\n\t"
        "adc   %[h3], %[t3]\n\t"
        "adc   %[h4], %[t4]\n\t"
        "adc   %[h5], %[t5]\n\t"
        "adc   $0, %[c]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
          [t5] "+&r"(t5), [c] "+&r"(carry)
        : [h0] "rm"(t[6]), [h1] "rm"(t[7]), [h2] "rm"(t[8]), [h3] "rm"(t[9]), [h4] "rm"(t[10]),
          [h5] "rm"(t[11])
        : "cc");
    // clang-format on
    reduceOnce(r, t0, t1, t2, t3, t4, t5, carry);
  }

  // t (12 limbs) = a * a: the fifteen products of different limbs, doubled, plus the six squares.
  static inline void squareWide(Limb* t, const Limb* a) {
    Limb t3, t4, t5, t6, t7, t8, t9, lo, hi;
    // clang-format off
    asm("mov   0(%[a]), %%rdx\n\t"
        "xor   %k[t7], %k[t7]\n\t"
        "mulx  8(%[a]), %[lo], %[t8]\n\t"    // a0 a1
        "mov   %[lo], 8(%[t])\n\t"
        "mulx  16(%[a]), %[lo], %[t3]\n\t"   // a0 a2
        "adcx  %[lo], %[t8]\n\t"
        "mov   %[t8], 16(%[t])\n\t"
        "mulx  24(%[a]), %[lo], %[t4]\n\t"   // a0 a3
        "adcx  %[lo], %[t3]\n\t"
        "mulx  32(%[a]), %[lo], %[t5]\n\t"   // a0 a4
        "adcx  %[lo], %[t4]\n\t"
        "mulx  40(%[a]), %[lo], %[t6]\n\t"   // a0 a5
        "adcx  %[lo], %[t5]\n\t"
        "mov   8(%[a]), %%rdx\n\t"
        "adcx  %[t7], %[t6]\n\t"
        VELMORA_P384_PRODUCT("16", "t3", "t4") // a1 a2
        "mov   %[t3], 24(%[t])\n\t"
        VELMORA_P384_PRODUCT("24", "t4", "t5") // a1 a3
        "mov   %[t4], 32(%[t])\n\t"
        VELMORA_P384_PRODUCT("32", "t5", "t6") // a1 a4
        VELMORA_P384_PRODUCT("40", "t6", "t7") // a1 a5
        "mov   16(%[a]), %%rdx\n\t"
        "mov   $0, %k[t8]\n\t"
        "adcx  %[t8], %[t7]\n\t"
        VELMORA_P384_PRODUCT("24", "t5", "t6") // a2 a3
        VELMORA_P384_PRODUCT("32", "t6", "t7") // a2 a4
        VELMORA_P384_PRODUCT("40", "t7", "t8") // a2 a5
        "mov   24(%[a]), %%rdx\n\t"
        "mov   $0, %k[t9]\n\t"
        "adcx  %[t9], %[t8]\n\t"
        VELMORA_P384_PRODUCT("32", "t7", "t8") // a3 a4
        VELMORA_P384_PRODUCT("40", "t8", "t9") // a3 a5
        "mov   32(%[a]), %%rdx\n\t"
        "mulx  40(%[a]), %[lo], %[t3]\n\t"   // a4 a5
        "mov   $0, %k[t4]\n\t"
        "adcx  %[lo], %[t9]\n\t"
        "adcx  %[t4], %[t3]\n\t"
        "xor   %k[lo], %k[lo]\n\t"           // CF doubles, OF adds the squares
        "mov   0(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "mov   %[lo], 0(%[t])\n\t"
        VELMORA_P384_DOUBLE("8", "hi")
        "mov   8(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        VELMORA_P384_DOUBLE("16", "lo")
        VELMORA_P384_DOUBLE("24", "hi")
        "mov   16(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        VELMORA_P384_DOUBLE("32", "lo")
        "adcx  %[t5], %[t5]\n\t"
        "adox  %[hi], %[t5]\n\t"
        "mov   %[t5], 40(%[t])\n\t"
        "mov   24(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[t6], %[t6]\n\t"
        "adox  %[lo], %[t6]\n\t"
        "mov   %[t6], 48(%[t])\n\t"
        "adcx  %[t7], %[t7]\n\t"
        "adox  %[hi], %[t7]\n\t"
        "mov   %[t7], 56(%[t])\n\t"
        "mov   32(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[t8], %[t8]\n\t"
        "adox  %[lo], %[t8]\n\t"
        "mov   %[t8], 64(%[t])\n\t"
        "adcx  %[t9], %[t9]\n\t"
        "adox  %[hi], %[t9]\n\t"
        "mov   %[t9], 72(%[t])\n\t"
        "mov   40(%[a]), %%rdx\n\t"
        "mulx  %%rdx, %[lo], %[hi]\n\t"
        "adcx  %[t3], %[t3]\n\t"
        "adox  %[lo], %[t3]\n\t"
        "mov   %[t3], 80(%[t])\n\t"
        "mov   $0, %k[t4]\n\t"
        "adcx  %[t4], %[hi]\n\t"
        "adox  %[t4], %[hi]\n\t"
        "mov   %[hi], 88(%[t])\n\t"
        : [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5), [t6] "=&r"(t6), [t7] "=&r"(t7),
          [t8] "=&r"(t8), [t9] "=&r"(t9), [lo] "=&r"(lo), [hi] "=&r"(hi),
          "=m"(*reinterpret_cast<Limb(*)[12]>(t))
        : [t] "r"(t), [a] "r"(a), "m"(*reinterpret_cast<const Limb(*)[6]>(a))
        : "cc", "rdx");
    // clang-format on
  }
};

}  // namespace velmora::vartime

#undef VELMORA_P384_MULTIPLE
#undef VELMORA_P384_PRODUCT
#undef VELMORA_P384_DOUBLE
#undef VELMORA_P384_CHAIN
#undef VELMORA_P384_ADD_MASKED

#endif  // defined(VELMORA_X86_64)

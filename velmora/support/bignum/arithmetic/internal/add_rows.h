#pragma once

// Sums, differences and halves of short numbers on add and adc, in assembly.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include "velmora/support/bignum/arithmetic/internal/portable_rows.h"

// Compilers make a carry chain of what they see only now and then, hence the assembly. Every x86-64
// CPU can run it.

// The pieces that field arithmetic is made of are smaller than a call to them.
#define VELMORA_INLINE __attribute__((always_inline)) inline

// clang-format off
// One limb of a sum or difference in memory.
#define VELMORA_CHAIN_STEP(operation, offset) \
  "mov   " offset "(%[a]), %[t]\n\t"          \
  operation "   " offset "(%[b]), %[t]\n\t"   \
  "mov   %[t], " offset "(%[r])\n\t"

// Six limbs of one, which all lengths of more than four have.
#define VELMORA_CHAIN_OF_6(first, next) \
  VELMORA_CHAIN_STEP(first, "0")        \
  VELMORA_CHAIN_STEP(next, "8")         \
  VELMORA_CHAIN_STEP(next, "16")        \
  VELMORA_CHAIN_STEP(next, "24")        \
  VELMORA_CHAIN_STEP(next, "32")        \
  VELMORA_CHAIN_STEP(next, "40")

// A chain of any of those lengths; its last carry becomes a mask in t.
#define VELMORA_CHAIN(first, next, rest)   \
  asm volatile(                            \
      VELMORA_CHAIN_OF_6(first, next)      \
      rest                                 \
      "sbb   %[t], %[t]\n\t"               \
      : [t] "=&r"(mask)                    \
      : [r] "r"(r), [a] "r"(a), [b] "r"(b) \
      : "cc", "memory")
// clang-format on

namespace velmora::vartime {

/// The members of PortableRows that do not multiply, with the same contracts.
struct AddRows {
  template <size_t N>
  static void addMod(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    if constexpr (N == 4) {
      addMod4(r, a, b, p);
    } else if constexpr (N == 6 || N == 8) {
      Limb complement[N];  // a + b = a - (p - b)
      subChain<N>(complement, p, b);
      subMod<N>(r, a, complement, p);
    } else {
      PortableRows::addMod<N>(r, a, b, p);
    }
  }

  template <size_t N>
  static void subMod(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    if constexpr (N == 4) {
      subMod4(r, a, b, p);
    } else if constexpr (N == 6 || N == 8) {
      static constexpr Limb kZero[N] = {};
      const Limb borrow = subChain<N>(r, a, b);
      addChain<N>(r, r, borrow != 0 ? p : kZero);
    } else {
      PortableRows::subMod<N>(r, a, b, p);
    }
  }

  template <size_t N>
  static void halveMod(Limb* r, const Limb* a, const Limb* p) {
    if constexpr (N == 4) {
      halveMod4(r, a, p);
    } else {
      PortableRows::halveMod<N>(r, a, p);
    }
  }

  // r = t, or t - p where t + carry * 2^256 is not below p.
  VELMORA_INLINE static void reduceOnce4(Limb* r, Limb t0, Limb t1, Limb t2, Limb t3, Limb carry,
                                         const Limb* p) {
    Limb s0 = t0, s1 = t1, s2 = t2, s3 = t3;
    // clang-format off
    asm(
        "sub   0(%[p]), %[s0]\n\t"
        "sbb   8(%[p]), %[s1]\n\t"
        "sbb   16(%[p]), %[s2]\n\t"
        "sbb   24(%[p]), %[s3]\n\t"
        "sbb   $0, %[c]\n\t"
        "cmovc %[t0], %[s0]\n\t"
        "cmovc %[t1], %[s1]\n\t"
        "cmovc %[t2], %[s2]\n\t"
        "cmovc %[t3], %[s3]\n\t"
        : [s0] "+&r"(s0), [s1] "+&r"(s1), [s2] "+&r"(s2), [s3] "+&r"(s3), [c] "+&r"(carry)
        : [t0] "r"(t0), [t1] "r"(t1), [t2] "r"(t2), [t3] "r"(t3), [p] "r"(p),
          "m"(*reinterpret_cast<const Limb(*)[4]>(p))
        : "cc");
    // clang-format on
    store4(r, s0, s1, s2, s3);
  }

  VELMORA_INLINE static void store4(Limb* r, Limb s0, Limb s1, Limb s2, Limb s3) {
    r[0] = s0;
    r[1] = s1;
    r[2] = s2;
    r[3] = s3;
  }

 private:
  // r = a + b over 6 or 8 limbs; all ones when it carries out.
  template <size_t N>
  VELMORA_INLINE static Limb addChain(Limb* r, const Limb* a, const Limb* b) {
    Limb mask;
    if constexpr (N == 6) {
      VELMORA_CHAIN("add", "adc", "");
    } else {
      static_assert(N == 8);
      VELMORA_CHAIN("add", "adc", VELMORA_CHAIN_STEP("adc", "48") VELMORA_CHAIN_STEP("adc", "56"));
    }
    return mask;
  }

  // r = a - b over 6 or 8 limbs; all ones when it borrows.
  template <size_t N>
  VELMORA_INLINE static Limb subChain(Limb* r, const Limb* a, const Limb* b) {
    Limb mask;
    if constexpr (N == 6) {
      VELMORA_CHAIN("sub", "sbb", "");
    } else {
      VELMORA_CHAIN("sub", "sbb", VELMORA_CHAIN_STEP("sbb", "48") VELMORA_CHAIN_STEP("sbb", "56"));
    }
    return mask;
  }

  // Operands are passed in registers, not as addresses, so that a compiler can keep the numbers of
  // a chain of additions there.
  VELMORA_INLINE static void addMod4(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3], carry = 0;
    // clang-format off
    asm(
        "add   %[b0], %[t0]\n\t"
        "adc   %[b1], %[t1]\n\t"
        "adc   %[b2], %[t2]\n\t"
        "adc   %[b3], %[t3]\n\t"
        "adc   $0, %[c]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [c] "+&r"(carry)
        : [b0] "rm"(b[0]), [b1] "rm"(b[1]), [b2] "rm"(b[2]), [b3] "rm"(b[3])
        : "cc");
    // clang-format on
    reduceOnce4(r, t0, t1, t2, t3, carry, p);
  }

  VELMORA_INLINE static void subMod4(Limb* r, const Limb* a, const Limb* b, const Limb* p) {
    static constexpr Limb kZero[4] = {};
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3];
    const Limb* addend = kZero;
    // clang-format off
    asm(
        "sub   %[b0], %[t0]\n\t"
        "sbb   %[b1], %[t1]\n\t"
        "sbb   %[b2], %[t2]\n\t"
        "sbb   %[b3], %[t3]\n\t"
        "cmovc %[p], %[addend]\n\t"
        "add   0(%[addend]), %[t0]\n\t"
        "adc   8(%[addend]), %[t1]\n\t"
        "adc   16(%[addend]), %[t2]\n\t"
        "adc   24(%[addend]), %[t3]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [addend] "+&r"(addend)
        : [b0] "rm"(b[0]), [b1] "rm"(b[1]), [b2] "rm"(b[2]), [b3] "rm"(b[3]), [p] "r"(p),
          "m"(*reinterpret_cast<const Limb(*)[4]>(p)), "m"(kZero)
        : "cc");
    // clang-format on
    store4(r, t0, t1, t2, t3);
  }

  VELMORA_INLINE static void halveMod4(Limb* r, const Limb* a, const Limb* p) {
    static constexpr Limb kZero[4] = {};
    Limb t0 = a[0], t1 = a[1], t2 = a[2], t3 = a[3];
    const Limb* addend = (t0 & 1) != 0 ? p : kZero;
    // clang-format off
    asm(
        "add   0(%[addend]), %[t0]\n\t"
        "adc   8(%[addend]), %[t1]\n\t"
        "adc   16(%[addend]), %[t2]\n\t"
        "adc   24(%[addend]), %[t3]\n\t"
        "rcr   $1, %[t3]\n\t"
        "rcr   $1, %[t2]\n\t"
        "rcr   $1, %[t1]\n\t"
        "rcr   $1, %[t0]\n\t"
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3)
        : [addend] "r"(addend), "m"(*reinterpret_cast<const Limb(*)[4]>(p)), "m"(kZero)
        : "cc");
    // clang-format on
    store4(r, t0, t1, t2, t3);
  }
};

}  // namespace velmora::vartime

#undef VELMORA_INLINE
#undef VELMORA_CHAIN_STEP
#undef VELMORA_CHAIN_OF_6
#undef VELMORA_CHAIN

#endif  // defined(VELMORA_X86_64)

#pragma once

// Long numbers multiplied in blocks of limbs.

#include "velmora/support/bignum/arithmetic/limbs.h"

// Assembly takes almost all registers, which callers cannot always spare.
#define VELMORA_OUT_OF_LINE __attribute__((noinline))

namespace velmora::vartime {

/// Products and reductions of PortableRows, with the same contracts, for n a multiple of
/// Blocks::kBlock. Blocks has what is done to one block of limbs:
///
///   addMultiply(r, window, a, b, n)   r (n limbs) and the window (a block) above them = r + window
///                                     + a * b, for a of one block and b of n limbs; before, the
///                                     window counts from r[0] on
///   reductionSteps(q, window, p, n0)  chooses q (a block) so that window + q * p is a multiple of
///                                     2^(64 kBlock), and makes the window that multiple
///   addWindow(r, window, carry)       r (a block) += window + carry; carry (0 or 1) becomes the
///                                     carry out
///   productsOfDifferentLimbs(r, a)    r (two blocks) = the sum of a[i] * a[j] at i + j for i < j
///   doubleAndAddSquares(r, a, n)      that of PortableRows, for n above 0
template <class Blocks>
struct BlockProducts {
  static constexpr size_t kBlock = Blocks::kBlock;

  VELMORA_OUT_OF_LINE static void multiply(Limb* r, const Limb* a, const Limb* b, size_t n) {
    clearLimbs(r, n);
    for (size_t i = 0; i < n; i += kBlock) {
      Limb window[kBlock] = {};
      Blocks::addMultiply(r + i, window, a + i, b, n);
      copyLimbs(r + i + n, window, kBlock);
    }
  }

  VELMORA_OUT_OF_LINE static void square(Limb* r, const Limb* a, size_t n) {
    clearLimbs(r, n);
    for (size_t i = 0; i < n; i += kBlock) {
      Limb products[2 * kBlock];
      Blocks::productsOfDifferentLimbs(products, a + i);
      Limb carry = 0;
      Blocks::addWindow(r + 2 * i, products, carry);
      Limb* const window = products + kBlock;
      for (size_t j = 0; carry != 0; ++j) window[j] = addWithCarry(window[j], 0, carry);
      Blocks::addMultiply(r + 2 * i + kBlock, window, a + i, a + i + kBlock, n - i - kBlock);
      copyLimbs(r + i + n, window, kBlock);
    }
    Blocks::doubleAndAddSquares(r, a, n);
  }

  VELMORA_OUT_OF_LINE static Limb montgomeryReduce(Limb* t, const Limb* p, Limb n0, size_t n) {
    Limb carry = 0;
    for (Limb* q = t; q != t + n; q += kBlock) {
      Limb window[kBlock];
      copyLimbs(window, q, kBlock);
      Blocks::reductionSteps(q, window, p, n0);
      Blocks::addMultiply(q + kBlock, window, q, p + kBlock, n - kBlock);
      Blocks::addWindow(q + n, window, carry);
    }
    return carry;
  }
};

}  // namespace velmora::vartime

#undef VELMORA_OUT_OF_LINE

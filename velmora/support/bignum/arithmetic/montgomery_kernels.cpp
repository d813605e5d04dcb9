#include "velmora/support/bignum/arithmetic/internal/montgomery_kernels.h"

#include "velmora/support/bignum/arithmetic/internal/block_products.h"
#include "velmora/support/bignum/arithmetic/internal/montgomery_avx2.h"
#include "velmora/support/bignum/arithmetic/internal/montgomery_columns.h"
#include "velmora/support/bignum/arithmetic/internal/montgomery_ifma.h"
#include "velmora/support/bignum/arithmetic/internal/mul_rows.h"
#include "velmora/support/bignum/arithmetic/internal/mulx_blocks.h"
#include "velmora/support/core/cpu_features.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

namespace {

/// Montgomery multiplication with words of 64 bits: the whole product first, so that a square needs
/// half of the products, then the reduction. Results are below the modulus.
template <class Blocks>
struct LimbKernel {
  using Products = BlockProducts<Blocks>;

  static void multiply(Limb* r, const Limb* a, const Limb* b, const Limb* modulus, Limb n0,
                       size_t n) {
    Limb t[2 * kMaxModulusLimbs];
    Products::multiply(t, a, b, n);
    reduce(r, t, modulus, n0, n);
  }

  static void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
    Limb t[2 * kMaxModulusLimbs];
    Products::square(t, a, n);
    reduce(r, t, modulus, n0, n);
  }

  static void reduce(Limb* r, Limb* t, const Limb* modulus, Limb n0, size_t n) {
    const Limb carry = Products::montgomeryReduce(t, modulus, n0, n);
    if (carry != 0 || compareLimbs(t + n, modulus, n) >= 0) {
      subLimbs(r, t + n, modulus, n);
    } else {
      copyLimbs(r, t + n, n);
    }
  }

  static constexpr MontgomeryKernel kKernel{kLimbBits, Blocks::kBlock, 1, multiply, square};
};

}  // namespace

const MontgomeryKernel& montgomeryKernel([[maybe_unused]] ArithmeticPath path,
                                         [[maybe_unused]] size_t bits) noexcept {
#if defined(VELMORA_X86_64)
  const MontgomeryKernel* vectors = nullptr;
  if (path == ArithmeticPath::kAvx512Ifma) vectors = montgomeryIfmaKernel(bits);
  if (path >= ArithmeticPath::kMulxAdx) {
    if (vectors == nullptr && cpuFeatures().hasAvx2()) vectors = montgomeryAvx2Kernel(bits);
    return vectors != nullptr ? *vectors : LimbKernel<MulxBlocks>::kKernel;
  }
  if (path == ArithmeticPath::kMulAdc) return LimbKernel<MulBlocks>::kKernel;
#endif
  return montgomeryColumnsKernel();
}

}  // namespace velmora::vartime

#include "support/bignum/internal/montgomery_ifma.h"
#include "support/bignum/montgomery.h"
#include "support/bignum/mulx_rows.h"
#include "support/bignum/portable_rows.h"

namespace velmora::vartime {

namespace {

/// Montgomery multiplication with words of 64 bits, by rows: the whole product first, so that a
/// square needs half of the products, then one reduction row per limb. Results are below the
/// modulus.
template <class Rows>
struct RowKernel {
  static void multiply(Limb* r, const Limb* a, const Limb* b, const Limb* modulus, Limb n0,
                       size_t n) {
    Limb t[2 * kMaxModulusLimbs];
    clearLimbs(t, n);
    for (size_t i = 0; i < n; ++i) t[i + n] = Rows::addMultiply(t + i, a, n, b[i]);
    reduce(r, t, modulus, n0, n);
  }

  static void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
    Limb t[2 * kMaxModulusLimbs];
    clearLimbs(t, 2 * n);
    for (size_t i = 0; i + 1 < n; ++i) {
      t[i + n] = Rows::addMultiply(t + 2 * i + 1, a + i + 1, n - 1 - i, a[i]);
    }
    Rows::doubleAndAddSquares(t, a, n);
    reduce(r, t, modulus, n0, n);
  }

  static void reduce(Limb* r, Limb* t, const Limb* modulus, Limb n0, size_t n) {
    Limb carry = 0;
    for (size_t i = 0; i < n; ++i) {
      const Limb high = Rows::addMultiply(t + i, modulus, n, t[i] * n0);
      t[i + n] = addWithCarry(t[i + n], high, carry);
    }
    if (carry != 0 || compareLimbs(t + n, modulus, n) >= 0) {
      subLimbs(r, t + n, modulus, n);
    } else {
      copyLimbs(r, t + n, n);
    }
  }

  static constexpr MontgomeryKernel kKernel{kLimbBits, multiply, square};
};

}  // namespace

const MontgomeryKernel& montgomeryKernel([[maybe_unused]] ArithmeticPath path) noexcept {
#if defined(__x86_64__)
  if (path == ArithmeticPath::kAvx512Ifma) return montgomeryIfmaKernel();
  if (path == ArithmeticPath::kMulxAdx) return RowKernel<MulxRows>::kKernel;
#endif
  return RowKernel<PortableRows>::kKernel;
}

}  // namespace velmora::vartime

#include "velmora/support/bignum/arithmetic/limb_rows.h"

#include "velmora/support/bignum/arithmetic/internal/mul_rows.h"
#include "velmora/support/bignum/arithmetic/internal/mulx_rows.h"
#include "velmora/support/bignum/arithmetic/internal/portable_rows.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

LimbRowFunction limbRowFunction([[maybe_unused]] ArithmeticPath path) noexcept {
#if defined(VELMORA_X86_64)
  if (path >= ArithmeticPath::kMulxAdx) return MulxRows::addMultiply;
  if (path == ArithmeticPath::kMulAdc) return MulRows::addMultiply;
#endif
  return PortableRows::addMultiply;
}

}  // namespace velmora::vartime

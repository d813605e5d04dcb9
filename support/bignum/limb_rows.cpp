#include "support/bignum/limb_rows.h"

#include "support/bignum/mulx_rows.h"
#include "support/bignum/portable_rows.h"

namespace velmora::vartime {

LimbRowFunction limbRowFunction([[maybe_unused]] ArithmeticPath path) noexcept {
#if defined(__x86_64__)
  if (path != ArithmeticPath::kPortable) return MulxRows::addMultiply;
#endif
  return PortableRows::addMultiply;
}

}  // namespace velmora::vartime

#include "velmora/support/bignum/curves/edwards25519.h"

#include <type_traits>

#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/curves/internal/edwards25519_implementation.h"
#include "velmora/support/bignum/curves/internal/ifma_implementations.h"
#include "velmora/support/bignum/curves/internal/mul_implementations.h"
#include "velmora/support/bignum/curves/internal/mulx_implementations.h"
#include "velmora/support/core/target.h"
#include "velmora/support/core/words.h"

namespace velmora::vartime {

namespace {

// 2^252 + 27742317777372353535851937790883648493
constexpr auto kOrder =
    limbsFromHex<4>("1000000000000000000000000000000014def9dea2f79cd65812631a5cf5d3ed");

void limbsFromLittleEndian(Limb* limbs, size_t n, const std::uint8_t* bytes) {
  for (size_t i = 0; i < n; ++i) limbs[i] = loadLittleEndian<Limb>(bytes + i * kLimbBytes);
}

}  // namespace

void Edwards25519::encode(std::uint8_t* bytes, const EdwardsPoint& point) noexcept {
  for (size_t i = 0; i < 4; ++i) storeLittleEndian(bytes + i * kLimbBytes, point.y[i]);
  bytes[31] = static_cast<std::uint8_t>(bytes[31] | (point.x[0] & 1) << 7);
}

bool Edwards25519::scalarFromBytes(Limb* scalar, const std::uint8_t* bytes) noexcept {
  limbsFromLittleEndian(scalar, 4, bytes);
  return compareLimbs(scalar, kOrder.data(), 4) < 0;
}

void Edwards25519::scalarFromWideBytes(Limb* scalar, const std::uint8_t* bytes) noexcept {
  Limb wide[8];
  limbsFromLittleEndian(wide, 8, bytes);
  Divisor order;
  order.assign(kOrder.data(), 4);
  order.reduce(scalar, wide, 8);
}

const Edwards25519& edwards25519([[maybe_unused]] ArithmeticPath path) noexcept {
#if defined(VELMORA_X86_64)
  if (path == ArithmeticPath::kAvx512Ifma) return edwards25519OnIfma();
  if (path == ArithmeticPath::kMulxAdx) return edwards25519OnMulx();
  if (path == ArithmeticPath::kMulAdc) return edwards25519OnMul();
#endif
  static_assert(std::is_trivially_destructible_v<Edwards25519Implementation<PortableRows>>);
  static const Edwards25519Implementation<PortableRows> curve;
  return curve;
}

}  // namespace velmora::vartime

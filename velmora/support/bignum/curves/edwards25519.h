#pragma once

// The curve of Ed25519.

#include <memory>

#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/bignum/curves/prepared_point.h"
#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// A point of edwards25519 in plain affine coordinates below the prime. Identity: (0, 1).
struct EdwardsPoint {
  Limb x[4];
  Limb y[4];
};

/// The curve -x^2 + y^2 = 1 + d x^2 y^2 modulo 2^255 - 19 (RFC 8032, section 5.1), computed on in
/// one way. Objects are constant, exist once per path for the life of the program, and may be used
/// by any thread. Bytes are little-endian here, as that RFC has them; scalars have 4 limbs.
class VELMORA_API Edwards25519 {
 public:
  Edwards25519(const Edwards25519&) = delete;
  Edwards25519& operator=(const Edwards25519&) = delete;

  /// Reads 32 bytes. False, with the point unspecified, when y is not below the prime, when there
  /// is no x for it, and when x is 0 with the sign bit set (RFC 8032, section 5.1.3).
  virtual bool decode(EdwardsPoint& point, const std::uint8_t* bytes) const noexcept = 0;

  /// Writes 32 bytes.
  static void encode(std::uint8_t* bytes, const EdwardsPoint& point) noexcept;

  /// True for the eight points whose order divides 8, the identity among them.
  virtual bool hasSmallOrder(const EdwardsPoint& point) const noexcept = 0;

  virtual EdwardsPoint basePoint() const noexcept = 0;

  /// What makes multiplying a, whatever its order, two to three times as fast: 12 to 20 KiB, for
  /// which it takes as long as two to six multiplications; the first time, when the same is made of
  /// the base point, four times that. Null when memory runs out.
  virtual std::unique_ptr<const PreparedPoint> prepare(const EdwardsPoint& a) const noexcept = 0;

  /// s * B - k * a for any scalars: the R of a signature (R, s) by the key a on a message whose
  /// hash is k; with what this object prepared of a, or without. The result is the same.
  virtual EdwardsPoint doubleMultiply(const Limb* s, const Limb* k, const EdwardsPoint& a,
                                      const PreparedPoint* prepared = nullptr) const noexcept = 0;

  /// Reads 32 bytes into a scalar. False when it is not below the order of the base point.
  static bool scalarFromBytes(Limb* scalar, const std::uint8_t* bytes) noexcept;

  /// Reads 64 bytes, such as a SHA-512 hash, modulo the order of the base point.
  static void scalarFromWideBytes(Limb* scalar, const std::uint8_t* bytes) noexcept;

 protected:
  Edwards25519() = default;
  ~Edwards25519() = default;  // trivial: nothing of them ends when static objects do
};

/// The curve on a path that is supported.
VELMORA_API const Edwards25519& edwards25519(ArithmeticPath path = bestArithmeticPath()) noexcept;

}  // namespace velmora::vartime

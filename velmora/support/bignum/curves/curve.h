#pragma once

// The named curves that ECDSA signatures are checked on.

#include <memory>
#include <span>

#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/bignum/curves/curve_data.h"
#include "velmora/support/bignum/curves/prepared_point.h"
#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// Limbs of the largest field and order (P-521).
inline constexpr size_t kMaxCurveLimbs = 9;

/// A point of a curve in plain affine coordinates, each of Curve::limbs() limbs and below the
/// prime. Infinity has no coordinates.
struct CurvePoint {
  Limb x[kMaxCurveLimbs];
  Limb y[kMaxCurveLimbs];
  bool infinity;
};

/// A named curve, computed on in one way. Objects are constant, exist once per curve and path for
/// the life of the program, and may be used by any thread. Scalars and field numbers have limbs()
/// limbs.
class VELMORA_API Curve {
 public:
  Curve(const Curve&) = delete;
  Curve& operator=(const Curve&) = delete;

  const CurveParameters& parameters() const noexcept { return m_parameters; }

  /// Limbs of a coordinate, which are also those of the order.
  size_t limbs() const noexcept { return limbsForBits(m_parameters.bits); }

  /// Bytes of a coordinate.
  size_t coordinateBytes() const noexcept { return (m_parameters.bits + 7) / 8; }

  /// The prime of the field, and the order of the group; limbs() limbs each.
  const Limb* prime() const noexcept { return m_prime; }
  const Limb* order() const noexcept { return m_order; }

  /// The base point.
  virtual CurvePoint basePoint() const noexcept = 0;

  /// Reads a point as SEC 1, section 2.3.4 writes it: 04 and both coordinates, or 02 or 03 and x.
  /// False for any other form (infinity included), for a coordinate not below the prime and for a
  /// point that is not on the curve; the point is then unspecified.
  virtual bool decodePoint(CurvePoint& point, const std::uint8_t* bytes,
                           size_t size) const noexcept = 0;

  /// True for a point with coordinates below the prime that satisfy the equation.
  virtual bool isOnCurve(const CurvePoint& point) const noexcept = 0;

  /// What makes multiplying q, which is on the curve, two to five times as fast: 8 to 18 KiB on
  /// P-256, P-384 and P-521, for which it takes as long as one to three multiplications; the first
  /// time on each, when the same is made of the base point, up to seven. Null on other curves, for
  /// infinity, and when memory runs out.
  virtual std::unique_ptr<const PreparedPoint> prepare(const CurvePoint&) const noexcept {
    return nullptr;
  }

  /// u1 * G + u2 * q for any scalars, q on the curve or infinity; with what this object prepared of
  /// q, or without. The result is the same.
  virtual CurvePoint doubleMultiply(const Limb* u1, const Limb* u2, const CurvePoint& q,
                                    const PreparedPoint* prepared = nullptr) const noexcept = 0;

  /// The last step of an ECDSA verification: true when u1 * G + u2 * q is not infinity and its x
  /// coordinate is r modulo the order, for r below the order. No inversion is made.
  virtual bool doubleMultiplyHasX(const Limb* u1, const Limb* u2, const CurvePoint& q,
                                  const Limb* r,
                                  const PreparedPoint* prepared = nullptr) const noexcept = 0;

 protected:
  Curve(const CurveParameters& parameters, const Limb* prime, const Limb* order)
      : m_parameters(parameters), m_prime(prime), m_order(order) {}
  ~Curve() = default;  // trivial: nothing of them ends when static objects do

 private:
  const CurveParameters& m_parameters;
  const Limb* m_prime;
  const Limb* m_order;
};

/// The curves of a path, in the order of curve_data.h.
struct CurveList {
  const Curve* const* curves;
  size_t count;
};
VELMORA_API CurveList curves(ArithmeticPath path = bestArithmeticPath()) noexcept;

/// The curve with these content octets of an OID; null when it is none of those.
VELMORA_API const Curve* findCurve(std::span<const unsigned char> oid,
                                   ArithmeticPath path = bestArithmeticPath()) noexcept;

}  // namespace velmora::vartime

#pragma once

// Remainders modulo any number.

#include "velmora/support/bignum/arithmetic/limb_rows.h"
#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// Largest modulus of this floor, in limbs: 16,384 bits.
inline constexpr size_t kMaxModulusLimbs = 256;

/// A number prepared for being divided by again and again: normalised, with the reciprocal of its
/// two top limbs (Möller and Granlund, "Improved division by invariant integers", 2011), so that no
/// division instruction is left in the loop. Immutable after assign; then safe to share.
class VELMORA_API Divisor {
 public:
  explicit Divisor(ArithmeticPath path = bestArithmeticPath())
      : m_addMultiply(limbRowFunction(path)) {}

  /// Sets the divisor from n limbs, of which those above its highest set bit are dropped. False
  /// when it is zero or longer than kMaxModulusLimbs.
  bool assign(const Limb* d, size_t n) noexcept;

  /// Limbs of the divisor without zero limbs at the top; remainders have this length.
  size_t count() const noexcept { return m_count; }

  /// r (count() limbs) = wide modulo the divisor. `n` is at most 2 * kMaxModulusLimbs + 8. r may be
  /// the low limbs of `wide`.
  void reduce(Limb* r, const Limb* wide, size_t n) const noexcept;

  /// r = a * b modulo the divisor; a, b and r have count() limbs and may be the same.
  void multiply(Limb* r, const Limb* a, const Limb* b) const noexcept;

 private:
  Limb estimateQuotient(Limb u2, Limb u1, Limb u0) const noexcept;

  LimbRowFunction m_addMultiply;
  size_t m_count = 0;
  unsigned m_shift = 0;  // bits that bring the highest set bit to the top of its limb
  Limb m_top = 0;        // the two highest limbs of the shifted divisor
  Limb m_next = 0;
  Limb m_reciprocal = 0;             // floor((2^192 - 1) / (m_top, m_next)) - 2^64
  Limb m_negated[kMaxModulusLimbs];  // 2^(64 count) - the shifted divisor
};

}  // namespace velmora::vartime

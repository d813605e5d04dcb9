#pragma once

// DSA (FIPS 186-4 §4): keys, and whether a signature is theirs.

#include <cstddef>
#include <span>

#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// A DSA public key (FIPS 186-4 §4.1), prepared for use. Fixed in size; safe to share once set.
class VELMORA_API DsaKeyData {
 public:
  /// The bits that the prime p has at least.
  static constexpr size_t kMinPrimeBits = 512;
  /// The bits that it has at most.
  static constexpr size_t kMaxPrimeBits = 8192;
  /// The bits that the order q has at least.
  static constexpr size_t kMinOrderBits = 160;
  /// The bits that it has at most.
  static constexpr size_t kMaxOrderBits = 256;
  /// The limbs that hold any prime p.
  static constexpr size_t kMaxPrimeLimbs = kMaxPrimeBits / vartime::kLimbBits;
  /// The limbs that hold any order q.
  static constexpr size_t kMaxOrderLimbs = kMaxOrderBits / vartime::kLimbBits;

  /// The numbers of a key as big-endian octets without a leading zero.
  struct Numbers {
    /// Prime, order, generator and public value.
    std::span<const unsigned char> p, q, g, y;
  };

  /// No key yet. `path` is how numbers are computed with, and has no influence on any answer.
  explicit DsaKeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath());

  /// Sets the key. False, with the reason logged and the key not to be used, for a prime or an
  /// order that is even or outside the limits above, and unless g and y are above 1 and below
  /// p - 1: beyond these, signatures can be made up without the private key.
  ///
  /// That q divides p - 1 and that g and y have order q is not checked. It would cost more than a
  /// verification, and would keep nobody from anything: whoever chooses the key of an issuer can
  /// sign as that issuer.
  bool assign(const Numbers& numbers, LogBase& log);

  /// The bits of p.
  unsigned get_ModulusBitLen() const noexcept;

  /// Reduces modulo q; m_order.count() limbs, which order() has as well.
  const vartime::Divisor& orderDivisor() const noexcept { return m_orderDivisor; }
  /// The order q, in as many limbs as orderDivisor() has.
  const vartime::Limb* order() const noexcept { return m_order; }

  /// True when (g^u1 * y^u2 modulo p) modulo q is r; all of the length of the order.
  bool powersMatch(const vartime::Limb* u1, const vartime::Limb* u2,
                   const vartime::Limb* r) const noexcept;

 private:
  bool readBase(vartime::Limb* value, std::span<const unsigned char> octets) const noexcept;

  vartime::MontgomeryModulus m_arithmetic;
  vartime::Divisor m_orderDivisor;
  vartime::Limb m_prime[kMaxPrimeLimbs];
  vartime::Limb m_g[kMaxPrimeLimbs];
  vartime::Limb m_y[kMaxPrimeLimbs];
  vartime::Limb m_order[kMaxOrderLimbs];
};

/// Verification of DSA signatures (FIPS 186-4 §4.7).
class VELMORA_API DsaPrimitive {
 public:
  /// Checks a signature, the DER of SEQUENCE { r INTEGER, s INTEGER }, on a hash. False, with the
  /// reason logged, when it cannot be checked because it is not that or the hash is empty; else
  /// `valid` says whether it is right.
  static bool verify_hash(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                          unsigned hashLen, const DsaKeyData& key, bool& valid, LogBase& log);
};

}  // namespace velmora

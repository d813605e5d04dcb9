#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// An RSA public key (RFC 8017 §3.1), prepared for use. Fixed in size; safe to share once set.
class RsaKeyData {
 public:
  static constexpr size_t kMinModulusBits = 512;
  static constexpr size_t kMaxModulusBits = vartime::kMaxModulusLimbs * vartime::kLimbBits;
  static constexpr size_t kMaxModulusSize = kMaxModulusBits / 8;

  explicit RsaKeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath());

  /// Sets both numbers from big-endian octets without a leading zero. False, with the reason logged
  /// and the key not to be used, for a modulus that is even or outside the limits above, and for an
  /// exponent that is even, below 3 or above 64 bits.
  bool assign(std::span<const unsigned char> modulus, std::span<const unsigned char> exponent,
              LogBase& log);

  unsigned get_ModulusBitLen() const noexcept;

  /// Octets of the modulus, and so of a signature.
  size_t modulusSize() const noexcept { return (get_ModulusBitLen() + 7) / 8; }

  uint64_t publicExponent() const noexcept { return m_exponent; }

  /// block = signature ^ exponent modulo the modulus (RSAVP1, RFC 8017 §5.2.2), both modulusSize()
  /// octets, big-endian. False when the signature is not below the modulus.
  bool applyPublicExponent(const unsigned char* signature, unsigned char* block) const noexcept;

 private:
  vartime::MontgomeryModulus m_arithmetic;
  vartime::Limb m_modulus[vartime::kMaxModulusLimbs];
  uint64_t m_exponent = 0;
};

}  // namespace velmora

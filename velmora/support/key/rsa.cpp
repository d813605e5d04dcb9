#include "velmora/support/key/rsa.h"

#include "velmora/support/key/refuse.h"

namespace velmora {

using vartime::Limb;

RsaKeyData::RsaKeyData(vartime::ArithmeticPath path) : m_arithmetic(path) {}

bool RsaKeyData::assign(std::span<const unsigned char> modulus,
                        std::span<const unsigned char> exponent, LogBase& log) {
  constexpr size_t kLimbs = vartime::kMaxModulusLimbs;
  if (!vartime::limbsFromBigEndian(m_modulus, kLimbs, modulus.data(), modulus.size())) {
    return refuse("The RSA modulus is longer than 16384 bits.", log);
  }
  if (vartime::bitLength(m_modulus, kLimbs) < kMinModulusBits) {
    return refuse("The RSA modulus is shorter than 512 bits.", log);
  }
  if (!m_arithmetic.assign(m_modulus, kLimbs)) return refuse("The RSA modulus is even.", log);
  Limb value = 0;
  if (!vartime::limbsFromBigEndian(&value, 1, exponent.data(), exponent.size())) {
    return refuse("The RSA public exponent is longer than 64 bits.", log);
  }
  if (value < 3 || value % 2 == 0) {
    return refuse("The RSA public exponent is even or below 3.", log);
  }
  m_exponent = value;
  return true;
}

unsigned RsaKeyData::get_ModulusBitLen() const noexcept {
  return static_cast<unsigned>(vartime::bitLength(m_modulus, m_arithmetic.count()));
}

bool RsaKeyData::applyPublicExponent(const unsigned char* signature,
                                     unsigned char* block) const noexcept {
  const size_t n = m_arithmetic.count();
  Limb x[vartime::kMaxModulusLimbs];
  if (!vartime::limbsFromBigEndian(x, n, signature, modulusSize())) return false;
  if (vartime::compareLimbs(x, m_modulus, n) >= 0) return false;
  m_arithmetic.power(x, x, m_exponent);
  return vartime::limbsToBigEndian(block, modulusSize(), x, n);
}

}  // namespace velmora

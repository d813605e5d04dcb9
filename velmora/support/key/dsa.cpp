#include "velmora/support/key/dsa.h"

#include "velmora/support/key/internal/signature_pair.h"
#include "velmora/support/log/refuse.h"

namespace velmora {

using vartime::Limb;

DsaKeyData::DsaKeyData(vartime::ArithmeticPath path) : m_arithmetic(path), m_orderDivisor(path) {}

bool DsaKeyData::assign(const Numbers& numbers, LogBase& log) {
  if (!vartime::limbsFromBigEndian(m_prime, kMaxPrimeLimbs, numbers.p.data(), numbers.p.size()) ||
      vartime::bitLength(m_prime, kMaxPrimeLimbs) < kMinPrimeBits) {
    return refuse("The DSA prime p has fewer than 512 or more than 8192 bits.", log);
  }
  if (!m_arithmetic.assign(m_prime, kMaxPrimeLimbs)) {
    return refuse("The DSA prime p is even.", log);
  }
  if (!vartime::limbsFromBigEndian(m_order, kMaxOrderLimbs, numbers.q.data(), numbers.q.size()) ||
      vartime::bitLength(m_order, kMaxOrderLimbs) < kMinOrderBits) {
    return refuse("The DSA order q has fewer than 160 or more than 256 bits.", log);
  }
  if (m_order[0] % 2 == 0) return refuse("The DSA order q is even.", log);
  m_orderDivisor.assign(m_order, kMaxOrderLimbs);
  if (!readBase(m_g, numbers.g)) return refuse("The DSA generator g is not in its range.", log);
  return readBase(m_y, numbers.y) || refuse("The DSA public value y is not in its range.", log);
}

// Reads a number above 1 and below p - 1. Everybody knows the powers of these two: with one of them
// as g or as y, anyone can make up a signature that is valid.
bool DsaKeyData::readBase(Limb* value, std::span<const unsigned char> octets) const noexcept {
  Limb last[kMaxPrimeLimbs];  // p - 1; p is odd
  vartime::copyLimbs(last, m_prime, kMaxPrimeLimbs);
  last[0] -= 1;
  return vartime::limbsFromBigEndian(value, kMaxPrimeLimbs, octets.data(), octets.size()) &&
         vartime::bitLength(value, kMaxPrimeLimbs) > 1 &&
         vartime::compareLimbs(value, last, kMaxPrimeLimbs) < 0;
}

unsigned DsaKeyData::get_ModulusBitLen() const noexcept {
  return static_cast<unsigned>(vartime::bitLength(m_prime, m_arithmetic.count()));
}

bool DsaKeyData::powersMatch(const Limb* u1, const Limb* u2, const Limb* r) const noexcept {
  Limb v[kMaxPrimeLimbs];
  const size_t orderLimbs = m_orderDivisor.count();
  m_arithmetic.doublePower(v, m_g, u1, m_y, u2, orderLimbs);
  m_orderDivisor.reduce(v, v, m_arithmetic.count());
  return vartime::compareLimbs(v, r, orderLimbs) == 0;
}

bool DsaPrimitive::verify_hash(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                               unsigned hashLen, const DsaKeyData& key, bool& valid, LogBase& log) {
  const LogContextExitor context(log, "dsaVerifyHash");
  valid = false;
  SignaturePair pair;
  const auto outcome =
      pair.read({sig, sigLen}, {hash, hashLen}, {key.order(), key.orderDivisor()}, log);
  if (outcome == SignaturePair::Outcome::kUnreadable) return false;
  valid = outcome == SignaturePair::Outcome::kReady && key.powersMatch(pair.u1, pair.u2, pair.r);
  return true;
}

}  // namespace velmora

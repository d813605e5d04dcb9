#include "velmora/support/key/internal/signature_pair.h"

#include <algorithm>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/bignum/arithmetic/inverse.h"
#include "velmora/support/log/refuse.h"

namespace velmora {
namespace {

using vartime::Limb;

bool readInRange(Limb* value, std::span<const unsigned char> octets, const GroupOrder& order) {
  const size_t n = order.divisor.count();
  return vartime::limbsFromBigEndian(value, n, octets.data(), octets.size()) &&
         !vartime::isZero(value, n) && vartime::compareLimbs(value, order.value, n) < 0;
}

// The leftmost bits of a hash, at most as many as the order has; not reduced.
void readHash(Limb* value, std::span<const unsigned char> hash, const GroupOrder& order) {
  const size_t n = order.divisor.count();
  const size_t bits = vartime::bitLength(order.value, n);
  const size_t size = std::min(hash.size(), (bits + 7) / 8);
  vartime::limbsFromBigEndian(value, n, hash.data(), size);
  if (size * 8 > bits) {
    vartime::shiftRight(value, value, n, static_cast<unsigned>(size * 8 - bits));
  }
}

}  // namespace

SignaturePair::Outcome SignaturePair::read(std::span<const unsigned char> signature,
                                           std::span<const unsigned char> hash,
                                           const GroupOrder& order, LogBase& log) {
  DerReader der(signature);
  DerReader members;
  std::span<const unsigned char> rOctets, sOctets;
  if (!der.takeSequence(members) || !der.atEnd() || !members.takeUnsigned(rOctets) ||
      !members.takeUnsigned(sOctets) || !members.atEnd()) {
    refuse("The signature is not the DER of two integers.", log);
    return Outcome::kUnreadable;
  }
  if (hash.empty()) {
    refuse("There is no hash to check the signature against.", log);
    return Outcome::kUnreadable;
  }
  Limb s[vartime::kMaxCurveLimbs];
  // An order that is not a prime, which a DSA key can claim, may leave s without an inverse.
  if (!readInRange(r, rOctets, order) || !readInRange(s, sOctets, order) ||
      !vartime::inverseMod(s, s, order.value, order.divisor.count())) {
    refuse("A number of the signature is outside its range.", log);
    return Outcome::kOutOfRange;
  }
  readHash(u1, hash, order);
  order.divisor.multiply(u1, u1, s);
  order.divisor.multiply(u2, r, s);
  return Outcome::kReady;
}

}  // namespace velmora

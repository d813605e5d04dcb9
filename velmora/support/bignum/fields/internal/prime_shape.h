#pragma once

// Constants of a prime, made when the program is compiled.

#include <array>
#include <string_view>

#include "velmora/support/bignum/arithmetic/limbs.h"

namespace velmora::vartime {

template <size_t N>
using LimbArray = std::array<Limb, N>;

/// The number written in hexadecimal digits, which must fit N limbs.
template <size_t N>
constexpr LimbArray<N> limbsFromHex(std::string_view digits) {
  LimbArray<N> limbs{};
  size_t bit = 0;
  for (size_t i = digits.size(); i-- != 0; bit += 4) {
    const char c = digits[i];
    const Limb value = static_cast<Limb>(c <= '9' ? c - '0' : c - 'a' + 10);
    limbs[bit / kLimbBits] |= value << (bit % kLimbBits);
  }
  return limbs;
}

/// 2^exponent modulo an odd p, by doubling; for constants.
template <size_t N>
constexpr LimbArray<N> powerOfTwoMod(size_t exponent, const LimbArray<N>& p) {
  LimbArray<N> power{1};
  for (size_t i = 0; i < exponent; ++i) {
    const Limb carry = shiftLeft(power.data(), power.data(), N, 1);
    if (carry != 0 || compareLimbs(power.data(), p.data(), N) >= 0) {
      subLimbs(power.data(), power.data(), p.data(), N);
    }
  }
  return power;
}

}  // namespace velmora::vartime

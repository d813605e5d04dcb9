#pragma once

// Primes known when the program is compiled: their constants, and what any of them allows.

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

/// Integers modulo a prime of N limbs. Each field class has the members listed here; all are
/// static, and results may be the same objects as operands:
///
///   multiply, square, add, subtract   r = a * b and so on
///   halve                             r = a / 2
///   isZero, equal
///   toPlain(limbs, a)                the number, below the prime
///   fromPlain(r, limbs)              from a number below the prime
///
/// An element is opaque between fromPlain and toPlain: Montgomery form, or not fully reduced.
template <size_t N>
struct FieldElement {
  Limb v[N];
};

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

/// Primes that some path has code of its own for.
enum class PrimeShape {
  kAny,
  kPrime256,  // 2^256 - 2^224 + 2^192 + 2^96 - 1
  kPrime384,  // 2^384 - 2^128 - 2^96 + 2^32 - 1
};

template <size_t N>
constexpr PrimeShape shapeOf(const LimbArray<N>& p) {
  constexpr Limb kOnes = ~Limb{0};
  if constexpr (N == 4) {
    if (p == LimbArray<4>{kOnes, 0xffffffff, 0, 0xffffffff00000001}) return PrimeShape::kPrime256;
  } else if constexpr (N == 6) {
    if (p == LimbArray<6>{0xffffffff, kOnes << 32, kOnes - 1, kOnes, kOnes, kOnes}) {
      return PrimeShape::kPrime384;
    }
  }
  return PrimeShape::kAny;
}

/// Arithmetic modulo Prime::kPrime on numbers below it in Montgomery form: multiply, square, add,
/// subtract and halve on plain limbs.
template <class Prime, class Rows, PrimeShape kShape>
struct MontgomeryOperations {
  static constexpr auto kPrime = Prime::kPrime;
  static constexpr size_t kLimbs = kPrime.size();
  static constexpr Limb kN0 = Limb{0} - inverseModWord(kPrime[0]);

  static void multiply(Limb* r, const Limb* a, const Limb* b) {
    Limb t[2 * kLimbs];
    Rows::template multiply<kLimbs>(t, a, b);
    Rows::template montgomeryReduce<kLimbs>(r, t, kPrime.data(), kN0);
  }

  static void square(Limb* r, const Limb* a) {
    Limb t[2 * kLimbs];
    Rows::template square<kLimbs>(t, a);
    Rows::template montgomeryReduce<kLimbs>(r, t, kPrime.data(), kN0);
  }

  static void add(Limb* r, const Limb* a, const Limb* b) {
    Rows::template addMod<kLimbs>(r, a, b, kPrime.data());
  }

  static void subtract(Limb* r, const Limb* a, const Limb* b) {
    Rows::template subMod<kLimbs>(r, a, b, kPrime.data());
  }

  static void halve(Limb* r, const Limb* a) {
    Rows::template halveMod<kLimbs>(r, a, kPrime.data());
  }
};

}  // namespace velmora::vartime

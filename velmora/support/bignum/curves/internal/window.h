#pragma once

// Numbers cut into the digits that multiples of points are computed by.

#include "velmora/support/bignum/arithmetic/limbs.h"

namespace velmora::vartime {

using Digit = std::int16_t;

/// Where the multiple by an odd digit's magnitude stands among those by 1, 3, 5 and so on.
constexpr size_t multipleAt(int digit) noexcept {
  return static_cast<size_t>(digit < 0 ? -digit : digit) / 2;
}

/// Width-w non-adjacent form: writes digits[i] for i from 0 to n * 64, odd and below 2^(width - 1)
/// in magnitude or 0, so that the number is the sum of digits[i] * 2^i. Of any `width` digits in a
/// row at most one is not 0. Width at most 16. Returns the number of digits up to the last one that
/// is not 0.
inline size_t nonAdjacentForm(Digit* digits, const Limb* number, size_t n, unsigned width) {
  const size_t bits = n * kLimbBits;
  size_t used = 0;
  unsigned carry = 0;
  for (size_t i = 0; i <= bits;) {
    const unsigned low = static_cast<unsigned>(bitsAt(number, n, i) & ((1U << width) - 1)) + carry;
    if ((low & 1) == 0) {
      digits[i++] = 0;  // an even window with a carry is a 1 bit plus the carry: it carries on
      continue;
    }
    carry = low >> (width - 1) & 1;
    digits[i] = static_cast<Digit>(static_cast<int>(low) - static_cast<int>(carry << width));
    used = i + 1;
    for (size_t stop = i + width; ++i < stop && i <= bits;) digits[i] = 0;
  }
  return used;
}

/// The digits of two numbers, for one chain of doublings over `count` places.
template <size_t kLimbs, unsigned kBaseWidth, unsigned kPointWidth>
struct DoubleDigits {
  Digit base[kLimbs * kLimbBits + 1];
  Digit point[kLimbs * kLimbBits + 1];
  size_t count;

  DoubleDigits(const Limb* baseNumber, const Limb* pointNumber) {
    const size_t baseCount = nonAdjacentForm(base, baseNumber, kLimbs, kBaseWidth);
    const size_t pointCount = nonAdjacentForm(point, pointNumber, kLimbs, kPointWidth);
    count = baseCount > pointCount ? baseCount : pointCount;
    for (size_t i = baseCount; i < count; ++i) base[i] = 0;
    for (size_t i = pointCount; i < count; ++i) point[i] = 0;
  }
};

}  // namespace velmora::vartime

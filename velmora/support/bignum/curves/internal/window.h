#pragma once

// Numbers cut into the digits that powers and multiples are computed by.

#include <utility>

#include "velmora/support/bignum/arithmetic/limbs.h"

namespace velmora::vartime {

/// The odd digits of a number for exponentiation from the top bit downwards, each covering up to
/// `width` bits: the number is the sum of digitAt(i) * 2^i.
class SlidingWindow {
 public:
  SlidingWindow(const Limb* number, size_t n, unsigned width)
      : m_number(number), m_count(n), m_width(width) {}

  /// The odd digit at a bit position, or 0. To be called for every position from the top down.
  unsigned digitAt(size_t bit) {
    if (m_digit == 0) {
      if (!testBit(m_number, bit)) return 0;
      m_position = bit >= m_width ? bit - m_width + 1 : 0;
      while (!testBit(m_number, m_position)) ++m_position;
      const Limb mask = (Limb{2} << (bit - m_position)) - 1;
      m_digit = static_cast<unsigned>(bitsAt(m_number, m_count, m_position) & mask);
    }
    return bit == m_position ? std::exchange(m_digit, 0U) : 0;
  }

 private:
  const Limb* m_number;
  size_t m_count;
  unsigned m_width;
  unsigned m_digit = 0;
  size_t m_position = 0;
};

using Digit = std::int16_t;

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

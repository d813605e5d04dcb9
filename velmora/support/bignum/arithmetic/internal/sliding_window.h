#pragma once

// Exponents cut into the digits that powers are computed by.

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

}  // namespace velmora::vartime

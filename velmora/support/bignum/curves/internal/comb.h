#pragma once

// Numbers cut into the digits of a comb.

#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/curves/prepared_point.h"

namespace velmora::vartime {

/// A comb of several tables (Lim and Lee, "More flexible exponentiation with precomputation", 1994)
/// for numbers below 2^kBits whose binary digits are 1 and -1, none of them 0 (Hamburg, "Fast and
/// compact elliptic-curve cryptography", 2012). Digit number (tooth kTables + table) kSteps + step
/// belongs to that tooth of that table in that step: a number times a point takes kSteps - 1
/// doublings, and kTables additions in each step.
///
/// Entry i of a table holds, for table 0, the sum of 2^(tooth kTables kSteps) times the point over
/// all teeth, the last of which counts as 1 and the others as the bits of i say, 0 for -1; for
/// table t it is 2^(t kSteps) times that.
template <unsigned kLength, unsigned kToothCount, unsigned kTableCount>
struct CombShape {
  static constexpr unsigned kTeeth = kToothCount;
  static constexpr unsigned kTables = kTableCount;
  static constexpr unsigned kSteps = (kLength + kTeeth * kTables - 1) / (kTeeth * kTables);
  static constexpr unsigned kBits = kTeeth * kTables * kSteps;
  static constexpr size_t kEntries = size_t{1} << (kTeeth - 1);
};

/// What one table adds in one step.
struct CombDigit {
  size_t entry;
  bool minus;
};

/// The digits of an odd number, or of its negative; of an even number those of the next.
template <class Shape>
class CombDigits {
 public:
  /// The number has n limbs and is below 2^kBits.
  CombDigits(const Limb* number, size_t n, bool minus)
      : m_isOfNext(number[0] % 2 == 0), m_minus(minus) {
    // With 0 for -1 the digits are the bits of (odd + 2^kBits - 1) / 2.
    clearLimbs(m_bits, kLimbs);
    shiftRight(m_bits, number, n < kLimbs ? n : kLimbs, 1);
    m_bits[(Shape::kBits - 1) / kLimbBits] |= Limb{1} << (Shape::kBits - 1) % kLimbBits;
  }

  /// Whether the number is even.
  bool isOfNext() const { return m_isOfNext; }

  CombDigit at(unsigned table, unsigned step) const {
    size_t teeth = 0;
    for (unsigned tooth = Shape::kTeeth; tooth-- != 0;) {
      const size_t place = (tooth * Shape::kTables + table) * Shape::kSteps + step;
      teeth = teeth << 1 | (m_bits[place / kLimbBits] >> place % kLimbBits & 1);
    }
    const bool isNegative = teeth < Shape::kEntries;
    return {(isNegative ? ~teeth : teeth) & (Shape::kEntries - 1), isNegative != m_minus};
  }

 private:
  static constexpr size_t kLimbs = limbsForBits(Shape::kBits);

  Limb m_bits[kLimbs];
  bool m_isOfNext;
  bool m_minus;
};

/// The tables of a comb as what is prepared of a point. That of the base point is there without it,
/// and so without a destructor: like the curves it is used as long as anything runs.
template <class Tables>
struct PreparedComb final : PreparedPoint {
  template <class From>
  explicit PreparedComb(const From& from) : tables(from) {}

  static const Tables& tablesOf(const PreparedPoint& prepared) {
    return static_cast<const PreparedComb&>(prepared).tables;
  }

  const Tables tables;
};

}  // namespace velmora::vartime

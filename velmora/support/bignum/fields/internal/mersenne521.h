#pragma once

// Arithmetic modulo 2^521 - 1.

#include <utility>

#include "velmora/support/bignum/fields/internal/prime_shape.h"

namespace velmora::vartime {

/// The field of 2^521 - 1 in C++ alone: nine words of 58 bits, where 2^522 counts as 2. The
/// products of a column need no carries among them. Sums are not reduced: up to fifteen products,
/// differences and halves may be in the two that are multiplied, or in one that is subtracted.
template <class Prime, class Rows>
struct Mersenne521Field {
  static constexpr size_t kLimbs = 9;
  static constexpr auto kPrime = Prime::kPrime;
  using Element = FieldElement<kLimbs>;

  static void multiply(Element& r, const Element& a, const Element& b) {
    Limb factors[2 * kLimbs];  // 2 b and b, so that those from 2^522 on fall into place
    for (size_t i = 0; i < kLimbs; ++i) {
      factors[i] = b.v[i] << 1;
      factors[kLimbs + i] = b.v[i];
    }
    carryColumns(r, std::make_index_sequence<kLimbs>(), [&](auto k) {
      DoubleLimb sum = 0;
      for (size_t i = 0; i < kLimbs; ++i) sum += DoubleLimb{a.v[i]} * factors[kLimbs + k - i];
      return sum;
    });
  }

  static void square(Element& r, const Element& a) {
    Limb twice[kLimbs];
    for (size_t i = 0; i < kLimbs; ++i) twice[i] = a.v[i] << 1;
    carryColumns(r, std::make_index_sequence<kLimbs>(), [&](auto k) {
      DoubleLimb sum = 0;  // of different words, once; those from 2^522 on doubled
      for (size_t i = k / 2 + 1; i <= k; ++i) sum += DoubleLimb{a.v[i]} * a.v[k - i];
      for (size_t i = (k + kLimbs) / 2 + 1; i < kLimbs; ++i) {
        sum += DoubleLimb{a.v[i]} * twice[k + kLimbs - i];
      }
      const size_t middle = k % 2 == 0 ? k / 2 : (k + kLimbs) / 2;
      return 2 * sum + DoubleLimb{a.v[middle]} * (k % 2 == 0 ? a.v[middle] : twice[middle]);
    });
  }

  static void add(Element& r, const Element& a, const Element& b) {
    for (size_t i = 0; i < kLimbs; ++i) r.v[i] = a.v[i] + b.v[i];
  }

  // 32 p is added first, whose words are above any of b's.
  static void subtract(Element& r, const Element& a, const Element& b) {
    for (size_t i = 0; i < kLimbs; ++i) r.v[i] = a.v[i] + (kMask << 4) - b.v[i];
    r.v[0] -= 1 << 4;
    Limb carry = r.v[kLimbs - 1] >> kWordBits << 1;
    for (Limb& word : r.v) {
      const Limb next = word >> kWordBits;
      word = (word & kMask) + carry;
      carry = next;
    }
  }

  // Half of 1 is 2^520.
  static void halve(Element& r, const Element& a) {
    const Limb lowest = a.v[0] & 1;
    for (size_t i = 0; i + 1 < kLimbs; ++i) {
      r.v[i] = (a.v[i] >> 1) + ((a.v[i + 1] & 1) << (kWordBits - 1));
    }
    r.v[kLimbs - 1] = (a.v[kLimbs - 1] >> 1) + (lowest << (kTopBits - 1));
  }

  static bool isZero(const Element& a) {
    Limb limbs[kLimbs];
    toPlain(limbs, a);
    return vartime::isZero(limbs, kLimbs);
  }

  static bool equal(const Element& a, const Element& b) {
    Element difference;
    subtract(difference, a, b);
    return isZero(difference);
  }

  // What is above 2^521 is added at the bottom; the second time it is at most 1, the third time 0.
  static void toPlain(Limb* limbs, const Element& a) {
    Element r = a;
    for (int round = 0; round < 3; ++round) {
      Limb carry = 0;
      for (Limb& word : r.v) {
        word += carry;
        carry = word >> kWordBits;
        word &= kMask;
      }
      r.v[0] += carry << 1 | r.v[kLimbs - 1] >> kTopBits;
      r.v[kLimbs - 1] &= kMask >> 1;
    }
    joinWords(limbs, kLimbs, r.v, kLimbs, kWordBits);
    if (compareLimbs(limbs, kPrime.data(), kLimbs) == 0) clearLimbs(limbs, kLimbs);
  }

  static void fromPlain(Element& r, const Limb* limbs) {
    splitWords(r.v, kLimbs, kWordBits, limbs, kLimbs);
  }

 private:
  static constexpr unsigned kWordBits = 58;
  static constexpr unsigned kTopBits = 521 - (kLimbs - 1) * kWordBits;
  static constexpr Limb kMask = (Limb{1} << kWordBits) - 1;

  // r = the sum of the columns that `columnAt` gives for each k.
  template <size_t... k, class ColumnAt>
  static void carryColumns(Element& r, std::index_sequence<k...>, const ColumnAt& columnAt) {
    DoubleLimb carry = 0;
    Limb words[kLimbs];
    const auto carryOne = [&](Limb& word, DoubleLimb column) {
      column += carry;
      word = static_cast<Limb>(column) & kMask;
      carry = column >> kWordBits;
    };
    (carryOne(words[k], columnAt(std::integral_constant<size_t, k>())), ...);
    const DoubleLimb lowest = 2 * carry + words[0];
    words[0] = static_cast<Limb>(lowest) & kMask;
    words[1] += static_cast<Limb>(lowest >> kWordBits);
    copyLimbs(r.v, words, kLimbs);
  }
};

}  // namespace velmora::vartime

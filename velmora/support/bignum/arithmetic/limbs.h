#pragma once

// Numbers as rows of 64-bit limbs.

#include <bit>
#include <cstddef>
#include <cstdint>

#include "velmora/support/bignum/arithmetic/double_limb.h"
#include "velmora/support/core/words.h"

/// Multi-precision and field arithmetic for the verification of signatures.
///
/// Everything here works on public data (public keys, signatures, digests of published documents),
/// so running time and memory accesses depend on the values. No operation of this floor may ever
/// see a secret. The namespace `velmora::vartime` says so at every place of use.
///
/// Numbers are arrays of 64-bit limbs, least significant limb first; bytes are big-endian unless a
/// name says otherwise. Lengths are in limbs or bytes as named; nothing here allocates or throws.
namespace velmora::vartime {

using Limb = std::uint64_t;

inline constexpr size_t kLimbBits = 64;
inline constexpr size_t kLimbBytes = 8;

/// Limbs that hold `bits` bits.
constexpr size_t limbsForBits(size_t bits) noexcept {
  return (bits + kLimbBits - 1) / kLimbBits;
}

/// a + b + carry; carry (0 or 1) is replaced by the carry out. Of overflow asked for in these words
/// Clang makes a carry chain, and GCC half the code that it makes of a sum of double limbs.
constexpr Limb addWithCarry(Limb a, Limb b, Limb& carry) noexcept {
  Limb part = 0, sum = 0;
  const bool first = __builtin_add_overflow(a, b, &part);
  const bool second = __builtin_add_overflow(part, carry, &sum);
  carry = static_cast<Limb>(first) | static_cast<Limb>(second);
  return sum;
}

/// a - b - borrow; borrow (0 or 1) is replaced by the borrow out.
constexpr Limb subWithBorrow(Limb a, Limb b, Limb& borrow) noexcept {
  Limb part = 0, difference = 0;
  const bool first = __builtin_sub_overflow(a, b, &part);
  const bool second = __builtin_sub_overflow(part, borrow, &difference);
  borrow = static_cast<Limb>(first) | static_cast<Limb>(second);
  return difference;
}

/// r = a + b over n limbs; the carry out. r may be a or b.
constexpr Limb addLimbs(Limb* r, const Limb* a, const Limb* b, size_t n) noexcept {
  Limb carry = 0;
  for (size_t i = 0; i < n; ++i) r[i] = addWithCarry(a[i], b[i], carry);
  return carry;
}

/// r = a - b over n limbs; the borrow out. r may be a or b.
constexpr Limb subLimbs(Limb* r, const Limb* a, const Limb* b, size_t n) noexcept {
  Limb borrow = 0;
  for (size_t i = 0; i < n; ++i) r[i] = subWithBorrow(a[i], b[i], borrow);
  return borrow;
}

/// Below 0, 0 or above 0 as a is less than, equal to or greater than b.
constexpr int compareLimbs(const Limb* a, const Limb* b, size_t n) noexcept {
  while (n-- != 0) {
    if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
  }
  return 0;
}

constexpr bool isZero(const Limb* a, size_t n) noexcept {
  Limb any = 0;
  for (size_t i = 0; i < n; ++i) any |= a[i];
  return any == 0;
}

/// True when a == value.
constexpr bool equalsLimb(const Limb* a, size_t n, Limb value) noexcept {
  return n == 0 ? value == 0 : a[0] == value && isZero(a + 1, n - 1);
}

constexpr void copyLimbs(Limb* r, const Limb* a, size_t n) noexcept {
  for (size_t i = 0; i < n; ++i) r[i] = a[i];
}

constexpr void clearLimbs(Limb* r, size_t n) noexcept {
  for (size_t i = 0; i < n; ++i) r[i] = 0;
}

/// n without its zero limbs at the top.
constexpr size_t significantLimbs(const Limb* a, size_t n) noexcept {
  while (n != 0 && a[n - 1] == 0) --n;
  return n;
}

/// Position of the highest set bit, counted from 1; 0 for zero.
constexpr size_t bitLength(const Limb* a, size_t n) noexcept {
  n = significantLimbs(a, n);
  return n == 0 ? 0 : n * kLimbBits - static_cast<size_t>(std::countl_zero(a[n - 1]));
}

constexpr bool testBit(const Limb* a, size_t bit) noexcept {
  return (a[bit / kLimbBits] >> (bit % kLimbBits) & 1) != 0;
}

/// The 64 bits of a from bit `position` on; bits beyond the n limbs are 0.
constexpr Limb bitsAt(const Limb* a, size_t n, size_t position) noexcept {
  const size_t limb = position / kLimbBits;
  const size_t shift = position % kLimbBits;
  if (limb >= n) return 0;
  const Limb low = a[limb] >> shift;
  return shift == 0 || limb + 1 >= n ? low : low | a[limb + 1] << (kLimbBits - shift);
}

/// r = a << shift for a shift below 64, over n limbs; the bits shifted out. r may be a.
constexpr Limb shiftLeft(Limb* r, const Limb* a, size_t n, unsigned shift) noexcept {
  Limb low = 0;
  for (size_t i = 0; i < n; ++i) {
    const Limb limb = a[i];
    r[i] = limb << shift | low;
    low = shift == 0 ? 0 : limb >> (kLimbBits - shift);
  }
  return low;
}

/// r = a >> shift for a shift below 64, over n limbs. r may be a.
constexpr void shiftRight(Limb* r, const Limb* a, size_t n, unsigned shift) noexcept {
  for (size_t i = 0; i < n; ++i) {
    const Limb high = shift == 0 || i + 1 == n ? 0 : a[i + 1] << (kLimbBits - shift);
    r[i] = a[i] >> shift | high;
  }
}

/// Splits n limbs into `count` words of wordBits bits (at most 64), each in a limb of its own;
/// bits beyond the words are dropped. The words stand in `lanes` columns (a divisor of count): the
/// first lane of each row of `lanes` words holds the lowest words, row by row, then the second.
constexpr void splitWords(Limb* words, size_t count, unsigned wordBits, const Limb* limbs, size_t n,
                          size_t lanes = 1) noexcept {
  const Limb mask = ~Limb{0} >> (kLimbBits - wordBits);
  size_t bit = 0;
  for (size_t lane = 0; lane < lanes; ++lane) {
    for (size_t i = lane; i < count; i += lanes, bit += wordBits) {
      words[i] = bitsAt(limbs, n, bit) & mask;
    }
  }
}

/// The reverse of splitWords: `count` words into n limbs; bits beyond the limbs are dropped.
constexpr void joinWords(Limb* limbs, size_t n, const Limb* words, size_t count, unsigned wordBits,
                         size_t lanes = 1) noexcept {
  clearLimbs(limbs, n);
  size_t bit = 0;
  for (size_t lane = 0; lane < lanes; ++lane) {
    for (size_t i = lane; i < count; i += lanes, bit += wordBits) {
      const size_t limb = bit / kLimbBits;
      const size_t shift = bit % kLimbBits;
      if (limb < n) limbs[limb] |= words[i] << shift;
      if (shift + wordBits > kLimbBits && limb + 1 < n) {
        limbs[limb + 1] |= words[i] >> (kLimbBits - shift);
      }
    }
  }
}

/// The inverse of an odd number modulo 2^64.
constexpr Limb inverseModWord(Limb odd) noexcept {
  Limb inverse = odd;  // right modulo 8; each step doubles the bits that are right
  for (int step = 0; step < 5; ++step) inverse *= 2 - odd * inverse;
  return inverse;
}

/// Reads an unsigned big-endian number into all n limbs. False, with r unspecified, when it does
/// not fit; leading zero bytes never matter. Zero bytes read as 0.
inline bool limbsFromBigEndian(Limb* r, size_t n, const std::uint8_t* bytes, size_t size) noexcept {
  size_t limb = 0;
  for (; limb < n && size >= kLimbBytes; ++limb) {
    size -= kLimbBytes;
    r[limb] = loadBigEndian<Limb>(bytes + size);
  }
  clearLimbs(r + limb, n - limb);
  for (size_t i = 0; i < size; ++i) {
    const Limb byte = bytes[size - 1 - i];
    if (limb < n) {
      r[limb] |= byte << (i * 8);
    } else if (byte != 0) {
      return false;
    }
  }
  return true;
}

/// Writes exactly `size` big-endian bytes, zero-padded in front. False when the number does not fit
/// (its low bytes are then written).
inline bool limbsToBigEndian(std::uint8_t* bytes, size_t size, const Limb* a, size_t n) noexcept {
  size_t left = size;
  size_t limb = 0;
  for (; limb < n && left >= kLimbBytes; ++limb) {
    left -= kLimbBytes;
    storeBigEndian(bytes + left, a[limb]);
  }
  for (Limb rest = limb < n ? a[limb] : 0; left != 0; rest >>= 8) {
    bytes[--left] = static_cast<std::uint8_t>(rest);
  }
  return bitLength(a, n) <= size * 8;
}

}  // namespace velmora::vartime

#pragma once

// Numbers of 128 bits, for products of limbs.

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace velmora::vartime {

/// A number of 128 bits in two words, for compilers that have none (those for 32-bit CPUs), with
/// what the arithmetic here asks of one. `High` is std::uint64_t or, for two's complement,
/// std::int64_t; everything is modulo 2^128, and shifts are by 1 to 127 bits.
template <class High>
class WordPair {
 public:
  constexpr WordPair() noexcept = default;
  template <std::integral Integer>
  constexpr WordPair(Integer value) noexcept
      : m_low(static_cast<std::uint64_t>(value)),
        m_high(std::is_signed_v<Integer> && value < Integer{} ? ~std::uint64_t{} : 0) {}

  constexpr explicit operator std::uint64_t() const noexcept { return m_low; }
  constexpr explicit operator std::int64_t() const noexcept {
    return static_cast<std::int64_t>(m_low);
  }

  friend constexpr WordPair operator+(WordPair a, WordPair b) noexcept {
    const std::uint64_t low = a.m_low + b.m_low;
    return words(low, a.m_high + b.m_high + (low < a.m_low ? 1 : 0));
  }
  friend constexpr WordPair operator-(WordPair a, WordPair b) noexcept {
    return words(a.m_low - b.m_low, a.m_high - b.m_high - (a.m_low < b.m_low ? 1 : 0));
  }
  friend constexpr WordPair operator|(WordPair a, WordPair b) noexcept {
    return words(a.m_low | b.m_low, a.m_high | b.m_high);
  }
  friend constexpr WordPair operator<<(WordPair a, unsigned long bits) noexcept {
    if (bits >= 64) return words(0, a.m_low << (bits - 64));
    return words(a.m_low << bits, a.m_high << bits | a.m_low >> (64 - bits));
  }
  friend constexpr WordPair operator>>(WordPair a, unsigned long bits) noexcept {
    const auto high = static_cast<High>(a.m_high);
    if (bits >= 64) return words(static_cast<std::uint64_t>(high >> (bits - 64)), sign(high));
    return words(a.m_low >> bits | a.m_high << (64 - bits),
                 static_cast<std::uint64_t>(high >> bits));
  }
  friend constexpr WordPair operator*(WordPair a, WordPair b) noexcept {
    const WordPair low = product(a.m_low, b.m_low);
    return words(low.m_low, low.m_high + a.m_low * b.m_high + a.m_high * b.m_low);
  }
  /// Of numbers without a sign, bit by bit: for what is done once for each modulus.
  friend constexpr WordPair operator/(WordPair a, WordPair b) noexcept {
    WordPair quotient, rest;
    for (int bit = 0; bit < 128; ++bit) {
      const bool over = rest.m_high >> 63 != 0;
      rest = rest << 1 | a.m_high >> 63;
      a = a << 1;
      quotient = quotient << 1;
      if (over || rest >= b) {
        rest = rest - b;
        quotient.m_low |= 1;
      }
    }
    return quotient;
  }
  friend constexpr bool operator>=(WordPair a, WordPair b) noexcept {
    if (a.m_high != b.m_high) return static_cast<High>(a.m_high) > static_cast<High>(b.m_high);
    return a.m_low >= b.m_low;
  }
  constexpr WordPair& operator+=(WordPair b) noexcept { return *this = *this + b; }

 private:
  static constexpr std::uint64_t kHalf = 0xffffffff;

  static constexpr WordPair words(std::uint64_t low, std::uint64_t high) noexcept {
    WordPair pair;
    pair.m_low = low;
    pair.m_high = high;
    return pair;
  }
  static constexpr std::uint64_t sign(High high) noexcept {
    return high < High{} ? ~std::uint64_t{} : 0;
  }
  static constexpr WordPair product(std::uint64_t a, std::uint64_t b) noexcept {
    const std::uint64_t low = (a & kHalf) * (b & kHalf);
    const std::uint64_t first = (a >> 32) * (b & kHalf) + (low >> 32);
    const std::uint64_t second = (a & kHalf) * (b >> 32) + (first & kHalf);
    return words(second << 32 | (low & kHalf),
                 (a >> 32) * (b >> 32) + (first >> 32) + (second >> 32));
  }

  std::uint64_t m_low = 0;
  std::uint64_t m_high = 0;
};

#if defined(__SIZEOF_INT128__)
__extension__ typedef unsigned __int128 DoubleLimb;
__extension__ typedef __int128 SignedDoubleLimb;
#else
using DoubleLimb = WordPair<std::uint64_t>;
using SignedDoubleLimb = WordPair<std::int64_t>;
#endif

}  // namespace velmora::vartime

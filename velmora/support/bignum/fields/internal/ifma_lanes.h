#pragma once

// Four numbers side by side in the lanes of AVX-512 IFMA registers, modulo primes of curves.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include <immintrin.h>

#include "velmora/support/bignum/fields/internal/prime_shape.h"

// Functions that may run only on CPUs with AVX-512 IFMA and VL. All are inlined into one that has
// no callers but those who asked, so that no number leaves the registers between them.
#define VELMORA_LANES                                   \
  __attribute__((target("avx512f,avx512vl,avx512ifma"), \
                 no_sanitize("address", "thread", "undefined")))
#define VELMORA_LANES_INLINE VELMORA_LANES __attribute__((always_inline)) inline

// The loops below run over arrays that are to live in registers.
#if defined(__clang__)
#define VELMORA_UNROLL _Pragma("clang loop unroll(full)")
#else
#define VELMORA_UNROLL _Pragma("GCC unroll 16")
#endif

namespace velmora::vartime {

inline constexpr unsigned kLaneBits = 52;
inline constexpr long long kLaneMask = (1LL << kLaneBits) - 1;

/// Four numbers of N words of 52 bits; word i of all of them is w[i]. What is called carried has
/// such words, which can be multiplied; sums, differences and products have words of 64 bits with a
/// sign until they are carried.
template <size_t N>
struct Lanes {
  __m256i w[N];
};

VELMORA_LANES_INLINE __m256i laneConstant(long long value) {
  return _mm256_set1_epi64x(value);
}

/// The number of lane kI0 in lane 0, and so on.
template <int kI0, int kI1, int kI2, int kI3, size_t N>
VELMORA_LANES_INLINE Lanes<N> permuted(const Lanes<N>& a) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) {
    r.w[i] = _mm256_permute4x64_epi64(a.w[i], kI0 | kI1 << 2 | kI2 << 4 | kI3 << 6);
  }
  return r;
}

/// b in the lanes of the mask (bit 0 is lane 0), a in the others.
template <int kMask, size_t N>
VELMORA_LANES_INLINE Lanes<N> blended(const Lanes<N>& a, const Lanes<N>& b) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) r.w[i] = _mm256_mask_mov_epi64(a.w[i], kMask, b.w[i]);
  return r;
}

/// a + b in the lanes of the mask, a in the others.
template <int kMask = 15, size_t N>
VELMORA_LANES_INLINE Lanes<N> plus(const Lanes<N>& a, const Lanes<N>& b) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) {
    r.w[i] = _mm256_mask_add_epi64(a.w[i], kMask, a.w[i], b.w[i]);
  }
  return r;
}

/// a - b in the lanes of the mask, a in the others.
template <int kMask = 15, size_t N>
VELMORA_LANES_INLINE Lanes<N> minus(const Lanes<N>& a, const Lanes<N>& b) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) {
    r.w[i] = _mm256_mask_sub_epi64(a.w[i], kMask, a.w[i], b.w[i]);
  }
  return r;
}

/// A number, whose words are given, in the lanes of the mask; that of a in the others.
template <int kMask, size_t N>
VELMORA_LANES_INLINE Lanes<N> withNumber(const Lanes<N>& a, const Limb* words) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) {
    r.w[i] = _mm256_mask_set1_epi64(a.w[i], kMask, static_cast<long long>(words[i]));
  }
  return r;
}

/// Words of 52 bits out of words with a sign; the number must not be negative, and may have its
/// last word longer.
template <unsigned kBits = kLaneBits, size_t N>
VELMORA_LANES_INLINE Lanes<N> withCarries(const Lanes<N>& a) {
  Lanes<N> r;
  __m256i word = a.w[0];
  VELMORA_UNROLL
  for (size_t i = 0; i + 1 < N; ++i) {
    r.w[i] = _mm256_and_si256(word, laneConstant((1LL << kBits) - 1));
    word = _mm256_add_epi64(a.w[i + 1], _mm256_srai_epi64(word, kBits));
  }
  r.w[N - 1] = word;
  return r;
}

/// The lower and the upper halves of all products of words, summed up where the lower ones belong
/// and one word above, which makes two chains for each word of the sum.
template <size_t N>
VELMORA_LANES_INLINE void multiplyHalves(__m256i (&low)[2 * N], __m256i (&high)[2 * N],
                                         const Lanes<N>& a, const Lanes<N>& b) {
  VELMORA_UNROLL
  for (size_t i = 0; i < 2 * N; ++i) low[i] = high[i] = _mm256_setzero_si256();
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) {
    VELMORA_UNROLL
    for (size_t j = 0; j < N; ++j) {
      low[i + j] = _mm256_madd52lo_epu64(low[i + j], a.w[i], b.w[j]);
      high[i + j + 1] = _mm256_madd52hi_epu64(high[i + j + 1], a.w[i], b.w[j]);
    }
  }
}

// t[0] and t[1] += q * factor.
VELMORA_LANES_INLINE void addProduct(__m256i* t, __m256i q, long long factor) {
  t[0] = _mm256_madd52lo_epu64(t[0], q, laneConstant(factor));
  t[1] = _mm256_madd52hi_epu64(t[1], q, laneConstant(factor));
}

/// The upper half of a wide product after its lower half was cleared.
template <size_t N>
VELMORA_LANES_INLINE Lanes<N> upperHalf(const __m256i (&t)[2 * N]) {
  Lanes<N> r;
  VELMORA_UNROLL
  for (size_t i = 0; i < N; ++i) r.w[i] = t[N + i];
  return r;
}

/// Montgomery form with 2^260 modulo the P-256 prime.
struct LanesP256 {
  static constexpr size_t kWords = 5;
  using Number = Lanes<kWords>;

  /// Below 2 p for carried numbers, whose product is below 2^515, and 2^515 / 2^260 below p. The
  /// prime's -1 makes the lowest word the multiple that clears it.
  VELMORA_LANES_INLINE static Number multiply(const Number& a, const Number& b) {
    __m256i t[2 * kWords], high[2 * kWords];
    multiplyHalves(t, high, a, b);
    VELMORA_UNROLL
    for (size_t i = 1; i < 2 * kWords; ++i) t[i] = _mm256_add_epi64(t[i], high[i]);
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      const __m256i q = _mm256_and_si256(t[i], laneConstant(kLaneMask));
      t[i + 1] = _mm256_add_epi64(t[i + 1], _mm256_srai_epi64(t[i], kLaneBits));
      addProduct(t + i + 1, q, 1LL << 44);                  // 2^96
      addProduct(t + i + 3, q, 1LL << 36);                  // 2^192
      addProduct(t + i + 4, q, (1LL << 48) - (1LL << 16));  // 2^256 - 2^224
    }
    return upperHalf<kWords>(t);
  }

  /// Any number of a magnitude below 2^264, carried: to between 2^255 and 2^257 + 2^233. What is
  /// above 2^256, less one, is taken off as a multiple of the prime.
  VELMORA_LANES_INLINE static Number carried(const Number& a) {
    Number r = a;
    const __m256i top = _mm256_add_epi64(a.w[4], _mm256_srai_epi64(a.w[3], kLaneBits));
    const __m256i q = _mm256_sub_epi64(_mm256_srai_epi64(top, 48), laneConstant(1));
    r.w[0] = _mm256_add_epi64(r.w[0], q);
    r.w[1] = _mm256_sub_epi64(r.w[1], _mm256_slli_epi64(q, 44));
    r.w[3] = _mm256_sub_epi64(r.w[3], _mm256_slli_epi64(q, 36));
    r.w[4] = _mm256_add_epi64(r.w[4],
                              _mm256_sub_epi64(_mm256_slli_epi64(q, 16), _mm256_slli_epi64(q, 48)));
    return withCarries(r);
  }
};

/// Montgomery form with 2^416 modulo the P-384 prime.
struct LanesP384 {
  static constexpr size_t kWords = 8;
  using Number = Lanes<kWords>;

  /// Below 2 p for carried numbers. -1/p modulo 2^52 is 2^32 + 1.
  VELMORA_LANES_INLINE static Number multiply(const Number& a, const Number& b) {
    // Two chains would not fit the registers, and eight words keep one busy.
    __m256i t[2 * kWords];
    VELMORA_UNROLL
    for (__m256i& word : t) word = _mm256_setzero_si256();
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      VELMORA_UNROLL
      for (size_t j = 0; j < kWords; ++j) {
        t[i + j] = _mm256_madd52lo_epu64(t[i + j], a.w[i], b.w[j]);
        t[i + j + 1] = _mm256_madd52hi_epu64(t[i + j + 1], a.w[i], b.w[j]);
      }
    }
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      const __m256i q = _mm256_and_si256(_mm256_add_epi64(t[i], _mm256_slli_epi64(t[i], 32)),
                                         laneConstant(kLaneMask));
      addProduct(t + i, q, (1LL << 32) - 1);                    // 2^32 - 1
      addProduct(t + i + 1, q, (1LL << 52) - (1LL << 44));      // 2^104 - 2^96
      addProduct(t + i + 2, q, (1LL << 52) - 1 - (1LL << 24));  // 2^156 - 2^128 - 2^104
      t[i + 3] = _mm256_sub_epi64(t[i + 3], q);                 // -2^156
      addProduct(t + i + 7, q, 1LL << 20);                      // 2^384
      t[i + 1] = _mm256_add_epi64(t[i + 1], _mm256_srai_epi64(t[i], kLaneBits));
    }
    return upperHalf<kWords>(t);
  }

  /// Any number of a magnitude below 2^392, carried: to between 2^383 and 2^386, as for P-256.
  VELMORA_LANES_INLINE static Number carried(const Number& a) {
    Number r = a;
    const __m256i top = _mm256_add_epi64(a.w[7], _mm256_srai_epi64(a.w[6], kLaneBits));
    const __m256i q = _mm256_sub_epi64(_mm256_srai_epi64(top, 20), laneConstant(1));
    r.w[0] = _mm256_add_epi64(r.w[0], _mm256_sub_epi64(q, _mm256_slli_epi64(q, 32)));
    r.w[1] = _mm256_add_epi64(r.w[1], _mm256_slli_epi64(q, 44));
    r.w[2] = _mm256_add_epi64(r.w[2], _mm256_slli_epi64(q, 24));
    r.w[7] = _mm256_sub_epi64(r.w[7], _mm256_slli_epi64(q, 20));
    return withCarries(r);
  }
};

/// Words of 51 bits modulo 2^255 - 19. Here sums and differences must not be negative in any word;
/// carried words are below 2^51 + 2^16, and need not be the only ones of their number.
struct Lanes25519 {
  static constexpr size_t kWords = 5;
  static constexpr unsigned kBits = 51;
  using Number = Lanes<kWords>;

  /// Words below 2^60, for carried numbers. The upper halves of products have the weight of bit 52,
  /// which is twice that of the next word.
  VELMORA_LANES_INLINE static Number multiply(const Number& a, const Number& b) {
    __m256i low[2 * kWords], high[2 * kWords];
    multiplyHalves(low, high, a, b);
    Number r;
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      const __m256i upper = word(low[i + kWords], high[i + kWords]);
      r.w[i] = _mm256_add_epi64(word(low[i], high[i]), times19(upper));
    }
    return r;
  }

  /// Each word's bits above 51 to the next, at once; words below 2^62.
  VELMORA_LANES_INLINE static Number carried(const Number& a) {
    Number r;
    __m256i carry = times19(_mm256_srli_epi64(a.w[kWords - 1], kBits));
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      r.w[i] = _mm256_and_si256(a.w[i], laneConstant((1LL << kBits) - 1));
      r.w[i] = _mm256_add_epi64(r.w[i], carry);
      carry = _mm256_srli_epi64(a.w[i], kBits);
    }
    return r;
  }

  /// a and a multiple of the prime from which any product can be subtracted, in all lanes.
  VELMORA_LANES_INLINE static Number aboveProducts(const Number& a) {
    Number r;
    VELMORA_UNROLL
    for (size_t i = 0; i < kWords; ++i) {
      r.w[i] = _mm256_add_epi64(a.w[i], laneConstant((1LL << 61) - (i == 0 ? 19 << 10 : 1 << 10)));
    }
    return r;
  }

 private:
  VELMORA_LANES_INLINE static __m256i word(__m256i low, __m256i high) {
    return _mm256_add_epi64(low, _mm256_add_epi64(high, high));
  }
  VELMORA_LANES_INLINE static __m256i times19(__m256i a) {
    const __m256i a3 = _mm256_add_epi64(a, _mm256_add_epi64(a, a));
    return _mm256_add_epi64(a3, _mm256_slli_epi64(a, 4));
  }
};

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

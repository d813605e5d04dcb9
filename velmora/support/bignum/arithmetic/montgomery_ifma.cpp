#include "velmora/support/bignum/arithmetic/internal/montgomery_ifma.h"

#if defined(__x86_64__)

#include <immintrin.h>

#define VELMORA_IFMA __attribute__((target("avx512f,avx512ifma")))

namespace velmora::vartime {

namespace {

constexpr size_t kLanes = 8;
constexpr size_t kMaxVectors = 40;
constexpr unsigned kWordBits = 52;
constexpr Limb kWordMask = (Limb{1} << kWordBits) - 1;

// Carries each accumulator's bits above 52 into the next: at most 64 bits in, words of 52 bits out.
void propagateCarries(Limb* r, const Limb* accumulators, size_t n) {
  Limb carry = 0;
  for (size_t i = 0; i < n; ++i) {
    const Limb word = accumulators[i] + carry;
    r[i] = word & kWordMask;
    carry = word >> kWordBits;
  }
}

// One word of b per turn: acc = (acc + a * b[i] + modulus * q) / 2^52, with q chosen so that the
// division is exact. Lanes take up to four 52-bit terms per turn and are only carried at the end,
// which 64 bits allow for over 1,000 turns. The lowest word also exists as the scalar `low`, whole
// and carried, because q depends on it and the way from vector to scalar and back is long; lane 0
// of the vectors is therefore not used. Vectors is the count when known at compile time (then the
// accumulators are registers), 0 when `count` says it.
template <size_t Vectors>
VELMORA_IFMA inline __attribute__((always_inline)) void multiplyVectors(Limb* r, const Limb* a,
                                                                        const Limb* b,
                                                                        const Limb* modulus,
                                                                        Limb n0, size_t count) {
  const size_t vectors = Vectors != 0 ? Vectors : count;
  __m512i acc[(Vectors != 0 ? Vectors : kMaxVectors) + 1];
  for (size_t j = 0; j <= vectors; ++j) acc[j] = _mm512_setzero_si512();
  Limb low = 0;
  for (size_t i = 0; i < vectors * kLanes; ++i) {
    const __m512i bi = _mm512_set1_epi64(static_cast<long long>(b[i]));
    DoubleLimb sum = DoubleLimb{a[0]} * b[i] + low;
    const Limb quotient = (static_cast<Limb>(sum) * n0) & kWordMask;
    const __m512i q = _mm512_set1_epi64(static_cast<long long>(quotient));
    sum += DoubleLimb{modulus[0]} * quotient;
    __m512i current = _mm512_madd52lo_epu64(acc[0], _mm512_loadu_si512(a), bi);
    current = _mm512_madd52lo_epu64(current, _mm512_loadu_si512(modulus), q);
    for (size_t j = 0; j < vectors; ++j) {
      const __m512i aj = _mm512_loadu_si512(a + j * kLanes);
      const __m512i mj = _mm512_loadu_si512(modulus + j * kLanes);
      __m512i next = acc[j + 1];
      if (j + 1 < vectors) {
        next = _mm512_madd52lo_epu64(next, _mm512_loadu_si512(a + (j + 1) * kLanes), bi);
        next = _mm512_madd52lo_epu64(next, _mm512_loadu_si512(modulus + (j + 1) * kLanes), q);
      }
      __m512i shifted = _mm512_maskz_alignr_epi64(0xff, next, current, 1);
      if (j == 0) {
        low = static_cast<Limb>(shifted[0]) + static_cast<Limb>(sum >> kWordBits);
      }
      shifted = _mm512_madd52hi_epu64(shifted, aj, bi);
      acc[j] = _mm512_madd52hi_epu64(shifted, mj, q);
      current = next;
    }
  }
  Limb words[(Vectors != 0 ? Vectors : kMaxVectors) * kLanes];
  for (size_t j = 0; j < vectors; ++j) _mm512_storeu_si512(words + j * kLanes, acc[j]);
  words[0] = low;
  propagateCarries(r, words, vectors * kLanes);
}

// The lengths of 1,024, 1,536, 2,048, 3,072 and 4,096 bits keep their accumulators in registers.
VELMORA_IFMA void multiply(Limb* r, const Limb* a, const Limb* b, const Limb* modulus, Limb n0,
                           size_t n) {
  switch (n / kLanes) {
    case 3:
      return multiplyVectors<3>(r, a, b, modulus, n0, 3);
    case 4:
      return multiplyVectors<4>(r, a, b, modulus, n0, 4);
    case 5:
      return multiplyVectors<5>(r, a, b, modulus, n0, 5);
    case 8:
      return multiplyVectors<8>(r, a, b, modulus, n0, 8);
    case 10:
      return multiplyVectors<10>(r, a, b, modulus, n0, 10);
    default:
      return multiplyVectors<0>(r, a, b, modulus, n0, n / kLanes);
  }
}

void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
  multiply(r, a, a, modulus, n0, n);
}

constexpr MontgomeryKernel kKernel{kWordBits, multiply, square};

}  // namespace

const MontgomeryKernel& montgomeryIfmaKernel() noexcept {
  return kKernel;
}

}  // namespace velmora::vartime

#endif  // defined(__x86_64__)

#include "velmora/support/bignum/arithmetic/internal/montgomery_ifma.h"

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include <immintrin.h>

#define VELMORA_IFMA __attribute__((target("avx512f,avx512ifma")))
// Loops over vectors are unrolled whole, so that each accumulator is a register.
#if defined(__clang__)
#define VELMORA_UNROLL _Pragma("unroll")
#else
#define VELMORA_UNROLL _Pragma("GCC unroll 10")
#endif

namespace velmora::vartime {

namespace {

constexpr size_t kLanes = 8;
constexpr unsigned kWordBits = 52;
constexpr Limb kWordMask = (Limb{1} << kWordBits) - 1;

// The words stand in columns: word l * vectors + v is lane l of vector v. To divide by 2^52 then
// renames the vectors, and moves the lanes of one alone.

// Carries each word's bits above 52 into the next. One round is enough for all but some 2^-40 of
// the numbers: what the lanes of the last vector carry reaches the first one again.
VELMORA_IFMA inline __attribute__((always_inline)) void propagateCarries(__m512i* words,
                                                                         size_t vectors) {
  const __m512i mask = _mm512_set1_epi64(static_cast<long long>(kWordMask));
  do {
    __m512i carry = _mm512_setzero_si512();
    for (size_t v = 0; v < vectors; ++v) {
      const __m512i word = _mm512_add_epi64(words[v], carry);
      words[v] = _mm512_and_si512(word, mask);
      carry = _mm512_maskz_srli_epi64(0xff, word, kWordBits);
    }
    words[0] = _mm512_add_epi64(words[0], _mm512_maskz_alignr_epi64(0xfe, carry, carry, 7));
  } while (_mm512_cmpgt_epu64_mask(words[0], mask) != 0);
}

template <bool kHigh>
VELMORA_IFMA inline __attribute__((always_inline)) __m512i addHalf(__m512i sum, __m512i a,
                                                                   __m512i b) {
  return kHigh ? _mm512_madd52hi_epu64(sum, a, b) : _mm512_madd52lo_epu64(sum, a, b);
}

// Adds one half of the bits of a * word + modulus * quotient to the accumulators, whose lowest
// vector stands at `turn`. A square takes each product of words from different vectors once, in
// the turn of the word whose vector is the lower, into accumulators of its own that count twice.
template <bool kHigh, bool kSquare>
VELMORA_IFMA inline __attribute__((always_inline)) void addRow(__m512i* acc, __m512i* twice,
                                                               size_t vectors, size_t turn,
                                                               const Limb* a, Limb word,
                                                               const Limb* modulus, Limb quotient) {
  const __m512i factor = _mm512_set1_epi64(static_cast<long long>(word));
  const __m512i q = _mm512_set1_epi64(static_cast<long long>(quotient));
  VELMORA_UNROLL
  for (size_t v = 0; v < vectors; ++v) {
    const size_t to = (turn + (kHigh ? 1 : 0) + v) % vectors;
    if (!kSquare || v >= turn) {
      __m512i& sum = kSquare && v > turn ? twice[to] : acc[to];
      sum = addHalf<kHigh>(sum, _mm512_loadu_si512(a + v * kLanes), factor);
    }
    acc[to] = addHalf<kHigh>(acc[to], _mm512_loadu_si512(modulus + v * kLanes), q);
  }
}

VELMORA_IFMA inline __attribute__((always_inline)) __m512i addTwice(__m512i sum, __m512i twice) {
  return _mm512_add_epi64(sum, _mm512_add_epi64(twice, twice));
}

// One word of b per turn: acc = (acc + a * b[i] + modulus * q) / 2^52, with q chosen so that the
// division is exact. Lanes take up to four 52-bit terms per turn and are only carried at the end,
// which 64 bits allow for over 1,000 turns. Because q depends on the lowest word, and the way from
// vector to scalar and back is long, that word is made in scalars, of what the vectors held one
// turn ago; where it lies, lane 0 of the lowest vector, the vectors hold nothing of use. For a
// square b is a.
template <size_t kVectors, bool kSquare>
VELMORA_IFMA void multiplyVectors(Limb* r, const Limb* a, const Limb* b, const Limb* modulus,
                                  Limb n0, size_t) {
  static_assert(kVectors > 1, "words 0 and 1 are in different vectors");
  __m512i acc[kVectors];
  __m512i twice[kSquare ? kVectors : 1];
  for (__m512i& sum : acc) sum = _mm512_setzero_si512();
  for (__m512i& sum : twice) sum = _mm512_setzero_si512();
  Limb low = 0;
  for (size_t lane = 0; lane < kLanes; ++lane) {
    VELMORA_UNROLL
    for (size_t turn = 0; turn < kVectors; ++turn) {
      const size_t after = (turn + 1) % kVectors;
      const Limb word = b[turn * kLanes + lane];
      DoubleLimb sum = low;
      Limb next = static_cast<Limb>(acc[after][0]);
      if constexpr (kSquare) next += 2 * static_cast<Limb>(twice[after][0]);
      if (!kSquare || turn == 0) sum += DoubleLimb{a[0]} * word;
      if (!kSquare || turn <= 1) {
        next += ((a[kLanes] * word) & kWordMask) << (kSquare && turn == 0 ? 1 : 0);
      }
      const Limb quotient = (static_cast<Limb>(sum) * n0) & kWordMask;
      sum += DoubleLimb{modulus[0]} * quotient;
      low = static_cast<Limb>(sum >> kWordBits) + next + ((modulus[kLanes] * quotient) & kWordMask);
      addRow<false, kSquare>(acc, twice, kVectors, turn, a, word, modulus, quotient);
      if constexpr (kSquare) {
        acc[turn] = addTwice(acc[turn], twice[turn]);
        twice[turn] = _mm512_setzero_si512();
      }
      acc[turn] = _mm512_maskz_alignr_epi64(0x7f, acc[turn], acc[turn], 1);
      addRow<true, kSquare>(acc, twice, kVectors, turn, a, word, modulus, quotient);
    }
  }
  for (size_t v = 0; kSquare && v < kVectors; ++v) acc[v] = addTwice(acc[v], twice[v]);
  acc[0] = _mm512_mask_set1_epi64(acc[0], 1, static_cast<long long>(low));
  propagateCarries(acc, kVectors);
  for (size_t v = 0; v < kVectors; ++v) _mm512_storeu_si512(r + v * kLanes, acc[v]);
}

template <size_t kVectors>
void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
  multiplyVectors<kVectors, true>(r, a, a, modulus, n0, n);
}

template <size_t kVectors>
constexpr MontgomeryKernel kKernel{kWordBits, kVectors* kLanes, kLanes,
                                   multiplyVectors<kVectors, false>, square<kVectors>};

// For 1,024, 1,536, 2,048, 3,072 and 4,096 bits; each is fastest for all lengths that are too long
// for the one before.
constexpr const MontgomeryKernel* kKernels[] = {&kKernel<3>, &kKernel<4>, &kKernel<5>, &kKernel<8>,
                                                &kKernel<10>};
constexpr size_t kLongestForMulx = 512;

}  // namespace

const MontgomeryKernel* montgomeryIfmaKernel(size_t bits) noexcept {
  if (bits <= kLongestForMulx) return nullptr;
  for (const MontgomeryKernel* const kernel : kKernels) {
    if (kernel->wordsFor(bits) == kernel->multiple) return kernel;
  }
  return nullptr;
}

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

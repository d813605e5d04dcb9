#include "velmora/support/bignum/arithmetic/internal/montgomery_avx2.h"

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)

#include <immintrin.h>

#define VELMORA_AVX2 __attribute__((target("avx2")))
#define VELMORA_INLINE __attribute__((always_inline)) inline
#if defined(__clang__)
#define VELMORA_UNROLL _Pragma("unroll 4")
#else
#define VELMORA_UNROLL _Pragma("GCC unroll 4")
#endif

namespace velmora::vartime {

namespace {

constexpr size_t kLanes = 4;
constexpr unsigned kWordBits = 27;
constexpr Limb kWordMask = (Limb{1} << kWordBits) - 1;
constexpr size_t kShortest = 1537;
constexpr size_t kLongest = 8192;
constexpr size_t kMaxVectors = (kLongest + 2 + kLanes * kWordBits - 1) / (kLanes * kWordBits);
// A lane sums up a product of a and b's words and one of the reduction's in each turn, of which
// there are as many as words, and is only carried at the end.
static_assert(2 * kLanes * kMaxVectors < (size_t{1} << (kLimbBits - 2 * kWordBits)));

// The words stand in columns: word l * vectors + v is lane l of vector v. To divide by 2^27 is then
// to start at the next vector, and to move the lanes of one alone, which becomes the last.

VELMORA_AVX2 VELMORA_INLINE __m256i load(const Limb* words, size_t vector) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + vector * kLanes));
}

VELMORA_AVX2 VELMORA_INLINE void store(Limb* words, size_t vector, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(words + vector * kLanes), value);
}

// Every lane = the factor, whose upper half is seen by the compiler to be 0: Clang would multiply
// it as well.
VELMORA_AVX2 VELMORA_INLINE __m256i everyLane(Limb factor) {
  return _mm256_set1_epi64x(static_cast<long long>(static_cast<std::uint32_t>(factor)));
}

VELMORA_AVX2 VELMORA_INLINE __m256i addProduct(__m256i sum, __m256i a, __m256i b) {
  return _mm256_add_epi64(sum, _mm256_mul_epu32(a, b));
}

// Each lane to the one below, 0 to the highest.
VELMORA_AVX2 VELMORA_INLINE __m256i lanesDown(__m256i x) {
  return _mm256_blend_epi32(_mm256_permute4x64_epi64(x, 0x39), _mm256_setzero_si256(), 0xc0);
}

// Each lane to the one above, 0 to the lowest.
VELMORA_AVX2 VELMORA_INLINE __m256i lanesUp(__m256i x) {
  return _mm256_blend_epi32(_mm256_permute4x64_epi64(x, 0x93), _mm256_setzero_si256(), 0x03);
}

// r = the sums with each one's bits above 27 carried into the next, once around the vectors and on
// while anything is carried.
VELMORA_AVX2 void carrySums(Limb* r, const Limb* sums, size_t vectors) {
  const __m256i mask = _mm256_set1_epi64x(static_cast<long long>(kWordMask));
  __m256i carry = _mm256_setzero_si256();
  const Limb* from = sums;
  do {
    for (size_t v = 0; v < vectors; ++v) {
      if (from == r && _mm256_testz_si256(carry, carry) != 0) return;
      const __m256i sum = _mm256_add_epi64(load(from, v), carry);
      store(r, v, _mm256_and_si256(sum, mask));
      carry = _mm256_srli_epi64(sum, kWordBits);
    }
    carry = lanesUp(carry);
    from = r;
  } while (true);
}

// What two turns multiply by: a word of b each, and the multiples of the modulus that clear the two
// lowest words.
struct Turns {
  __m256i first, second;
  __m256i firstQuotient, secondQuotient;
};

// Vector v of both turns: adds the products of the first to the sum there, with what the second
// turn had of the vector before, and gives what the second has of this one. kFirst and kSecond
// say which turn multiplies a's vector.
template <bool kFirst, bool kSecond>
VELMORA_AVX2 VELMORA_INLINE __m256i addVector(Limb* sums, const Limb* a, const Limb* modulus,
                                              size_t v, const Turns& by, __m256i before) {
  const __m256i m = load(modulus, v);
  __m256i sum = addProduct(_mm256_add_epi64(load(sums, v), before), m, by.firstQuotient);
  __m256i after = _mm256_mul_epu32(m, by.secondQuotient);
  if constexpr (kFirst) sum = addProduct(sum, load(a, v), by.first);
  if constexpr (kSecond) after = addProduct(after, load(a, v), by.second);
  store(sums, v, sum);
  return after;
}

// All vectors of two turns of a product. Gives what the second has of the last.
VELMORA_AVX2 VELMORA_INLINE __m256i addProducts(Limb* sums, const Limb* a, const Limb* modulus,
                                                size_t vectors, const Turns& by) {
  __m256i after = _mm256_setzero_si256();
  VELMORA_UNROLL
  for (size_t v = 0; v < vectors; ++v) {
    after = addVector<true, true>(sums, a, modulus, v, by, after);
  }
  return after;
}

// Those of a square, the first turn with a word of vector `turn`. It takes each product of words
// from different vectors once, in the turn of the word whose vector is the lower, and twice.
VELMORA_AVX2 VELMORA_INLINE __m256i addSquares(Limb* sums, const Limb* a, const Limb* modulus,
                                               size_t vectors, size_t turn, const Turns& once) {
  Turns twice = once;
  twice.first = _mm256_slli_epi64(once.first, 1);
  twice.second = _mm256_slli_epi64(once.second, 1);
  __m256i after = _mm256_setzero_si256();
  size_t v = 0;
  if (turn + 1 == vectors) {  // the second turn is with a word of vector 0
    after = addVector<false, true>(sums, a, modulus, v++, once, after);
    for (; v < turn; ++v) after = addVector<false, true>(sums, a, modulus, v, twice, after);
    twice.first = once.first;
    return addVector<true, true>(sums, a, modulus, v, twice, after);
  }
  VELMORA_UNROLL
  for (; v < turn; ++v) after = addVector<false, false>(sums, a, modulus, v, once, after);
  after = addVector<true, false>(sums, a, modulus, v++, once, after);
  Turns second = once;
  second.first = twice.first;
  after = addVector<true, true>(sums, a, modulus, v++, second, after);
  VELMORA_UNROLL
  for (; v < vectors; ++v) after = addVector<true, true>(sums, a, modulus, v, twice, after);
  return after;
}

// a[v]'s lane 0 times the word of a turn, as often as addSquares or addProducts takes it.
template <bool kSquare>
VELMORA_INLINE Limb lowProduct(const Limb* a, size_t v, Limb word, size_t turn) {
  const Limb product = a[v * kLanes] * word;
  if (!kSquare || v == turn) return product;
  return v > turn ? 2 * product : 0;
}

// Two words of b per step: sums = (sums + a * b's words + modulus * quotients) / 2^54, with
// quotients chosen so that the division is exact. The lowest words, on which the quotients depend,
// are made in scalars, because the way from vector to scalar and back is long; where the lowest
// lies, lane 0 of the lowest vector, the vectors hold nothing of use. The sums move up in memory by
// a vector a turn. For a square b is a.
template <bool kSquare>
VELMORA_AVX2 void multiplyVectors(Limb* r, const Limb* a, const Limb* b, const Limb* modulus,
                                  Limb n0, size_t n) {
  const size_t vectors = n / kLanes;
  alignas(kKernelAlignment) Limb room[((kLanes + 1) * kMaxVectors + 1) * kLanes];
  clearLimbs(room, (vectors + 1) * kLanes);
  Limb* sums = room;
  Limb low = 0;
  size_t turn = 0, lane = 0;  // where the word of the first turn is
  for (size_t word = 0; word < n; word += 2, sums += 2 * kLanes) {
    const size_t next = turn + 1 == vectors ? 0 : turn + 1;
    const Limb x = b[turn * kLanes + lane];
    lane += next == 0;
    const Limb y = b[next * kLanes + lane];
    const auto low1 = [&](size_t v) { return lowProduct<kSquare>(a, v, x, turn); };
    const auto low2 = [&](size_t v) { return lowProduct<kSquare>(a, v, y, next); };
    Limb sum0 = low + low1(0);
    const Limb q = sum0 * n0 & kWordMask;
    sum0 += modulus[0] * q;
    Limb sum1 = sums[kLanes] + low1(1) + low2(0) + modulus[kLanes] * q + (sum0 >> kWordBits);
    const Limb s = sum1 * n0 & kWordMask;
    sum1 += modulus[0] * s;
    low = sums[2 * kLanes] + low1(2) + low2(1) + modulus[2 * kLanes] * q + modulus[kLanes] * s +
          (sum1 >> kWordBits);
    const Turns by{everyLane(x), everyLane(y), everyLane(q), everyLane(s)};
    const __m256i after = kSquare ? addSquares(sums, a, modulus, vectors, turn, by)
                                  : addProducts(sums, a, modulus, vectors, by);
    store(sums, vectors, _mm256_add_epi64(lanesDown(load(sums, 0)), after));
    store(sums, vectors + 1, lanesDown(load(sums, 1)));
    turn = next + 1 == vectors ? 0 : next + 1;
    lane += turn == 0;
  }
  sums[0] = low;
  carrySums(r, sums, vectors);
}

VELMORA_AVX2 void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
  multiplyVectors<true>(r, a, a, modulus, n0, n);
}

constexpr MontgomeryKernel kKernel{kWordBits, kLanes, kLanes, multiplyVectors<false>, square};

}  // namespace

const MontgomeryKernel* montgomeryAvx2Kernel(size_t bits) noexcept {
  return bits >= kShortest && bits <= kLongest ? &kKernel : nullptr;
}

}  // namespace velmora::vartime

#endif  // defined(VELMORA_X86_64)

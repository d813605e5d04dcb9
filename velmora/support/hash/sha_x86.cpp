#include "velmora/support/hash/internal/sha_x86.h"

#if VELMORA_SHA_X86

#include <immintrin.h>

#include <utility>

#include "velmora/support/hash/internal/sha_constants.h"
#include "velmora/support/hash/internal/sha_rounds.h"

namespace velmora::sha_x86 {
namespace {

#define VELMORA_TARGET_SHA gnu::target("sha,sse4.1,ssse3")
#define VELMORA_TARGET_AVX gnu::target("avx,bmi2")

[[VELMORA_TARGET_SHA, gnu::always_inline]] inline __m128i load(const void* bytes) noexcept {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

[[VELMORA_TARGET_SHA, gnu::always_inline]] inline void store(void* bytes, __m128i value) noexcept {
  _mm_storeu_si128(static_cast<__m128i*>(bytes), value);
}

/// Rounds 4g to 4g + 3. `m` is a ring of the last sixteen message words, `e` the state four rounds
/// ago, whose A, rotated, is the E that these rounds start with.
template <size_t g>
[[VELMORA_TARGET_SHA, gnu::always_inline]] inline void sha1FourRounds(
    __m128i& abcd, __m128i& e, __m128i (&m)[4], const unsigned char* block) noexcept {
  __m128i& words = m[g % 4];
  if constexpr (g < 4) {
    // The instructions count lanes from the top, so the sixteen bytes are reversed as a whole.
    words = _mm_shuffle_epi8(load(block + 16 * g),
                             _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f));
  } else {
    words = _mm_xor_si128(_mm_sha1msg1_epu32(words, m[(g + 1) % 4]), m[(g + 2) % 4]);
    words = _mm_sha1msg2_epu32(words, m[(g + 3) % 4]);
  }
  const __m128i start = abcd;
  const __m128i eAndWords = g == 0 ? _mm_add_epi32(e, words) : _mm_sha1nexte_epu32(e, words);
  abcd = _mm_sha1rnds4_epu32(abcd, eAndWords, static_cast<int>(g / 5));
  e = start;
}

template <size_t... g>
[[VELMORA_TARGET_SHA, gnu::always_inline]] inline void sha1Block(
    __m128i& abcd, __m128i& e, const unsigned char* block, std::index_sequence<g...>) noexcept {
  const __m128i startAbcd = abcd, startE = e;
  __m128i m[4];
  (sha1FourRounds<g>(abcd, e, m, block), ...);
  e = _mm_sha1nexte_epu32(e, startE);
  abcd = _mm_add_epi32(abcd, startAbcd);
}

/// Rounds 4g to 4g + 3; `m` is a ring of the last sixteen message words.
template <size_t g>
[[VELMORA_TARGET_SHA, gnu::always_inline]] inline void sha256FourRounds(
    __m128i& abef, __m128i& cdgh, __m128i (&m)[4], const unsigned char* block) noexcept {
  __m128i& words = m[g % 4];
  if constexpr (g < 4) {
    words = _mm_shuffle_epi8(load(block + 16 * g),
                             _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203));
  } else {
    const __m128i sevenBack = _mm_alignr_epi8(m[(g + 3) % 4], m[(g + 2) % 4], 4);
    words = _mm_add_epi32(_mm_sha256msg1_epu32(words, m[(g + 1) % 4]), sevenBack);
    words = _mm_sha256msg2_epu32(words, m[(g + 3) % 4]);
  }
  const __m128i sum = _mm_add_epi32(words, load(kSha256Constants.k + 4 * g));
  cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
  abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0e));
}

template <size_t... g>
[[VELMORA_TARGET_SHA, gnu::always_inline]] inline void sha256Block(
    __m128i& abef, __m128i& cdgh, const unsigned char* block, std::index_sequence<g...>) noexcept {
  const __m128i startAbef = abef, startCdgh = cdgh;
  __m128i m[4];
  (sha256FourRounds<g>(abef, cdgh, m, block), ...);
  abef = _mm_add_epi32(abef, startAbef);
  cdgh = _mm_add_epi32(cdgh, startCdgh);
}

/// The message schedule of SHA-512, two words at a time, beside the rounds that use it: the vector
/// units are free then, and the integer units are what the rounds are short of.
struct Sha512Schedule {
  __m128i words[8];               // a ring of the last sixteen message words
  alignas(16) uint64_t sums[16];  // the same with their round constants added
};

template <size_t kPair>
[[VELMORA_TARGET_AVX, gnu::always_inline]] inline void loadTwoWords(
    Sha512Schedule& schedule, const unsigned char* block) noexcept {
  const __m128i words =
      _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + kPair),
                       _mm_set_epi64x(0x08090a0b0c0d0e0f, 0x0001020304050607));
  schedule.words[kPair] = words;
  _mm_store_si128(
      reinterpret_cast<__m128i*>(schedule.sums) + kPair,
      _mm_add_epi64(words,
                    _mm_load_si128(reinterpret_cast<const __m128i*>(kSha512Constants) + kPair)));
}

[[VELMORA_TARGET_AVX, gnu::always_inline]] inline __m128i smallSigma0(__m128i x) noexcept {
  const __m128i rotatedBy8 =
      _mm_shuffle_epi8(x, _mm_set_epi64x(0x080f0e0d0c0b0a09, 0x0007060504030201));
  const __m128i rotatedBy1 = _mm_xor_si128(_mm_srli_epi64(x, 1), _mm_slli_epi64(x, 63));
  return _mm_xor_si128(_mm_xor_si128(rotatedBy1, rotatedBy8), _mm_srli_epi64(x, 7));
}

[[VELMORA_TARGET_AVX, gnu::always_inline]] inline __m128i smallSigma1(__m128i x) noexcept {
  const __m128i rotatedBy19 = _mm_xor_si128(_mm_srli_epi64(x, 19), _mm_slli_epi64(x, 45));
  const __m128i rotatedBy61 = _mm_xor_si128(_mm_srli_epi64(x, 61), _mm_slli_epi64(x, 3));
  return _mm_xor_si128(_mm_xor_si128(rotatedBy19, rotatedBy61), _mm_srli_epi64(x, 6));
}

/// Replaces the two words that the rounds of `kPair` have just used by those of eight pairs later.
template <size_t kPair>
[[VELMORA_TARGET_AVX, gnu::always_inline]] inline void nextTwoWords(
    Sha512Schedule& schedule) noexcept {
  constexpr size_t i = kPair % 8;
  const __m128i(&w)[8] = schedule.words;
  const __m128i fifteenBack = _mm_alignr_epi8(w[(i + 1) % 8], w[i], 8);
  const __m128i sevenBack = _mm_alignr_epi8(w[(i + 5) % 8], w[(i + 4) % 8], 8);
  const __m128i early = _mm_add_epi64(_mm_add_epi64(w[i], sevenBack), smallSigma0(fifteenBack));
  const __m128i words = _mm_add_epi64(early, smallSigma1(w[(i + 7) % 8]));
  schedule.words[i] = words;
  _mm_store_si128(
      reinterpret_cast<__m128i*>(schedule.sums) + i,
      _mm_add_epi64(
          words, _mm_load_si128(reinterpret_cast<const __m128i*>(kSha512Constants) + kPair + 8)));
}

template <size_t kPair>
[[VELMORA_TARGET_AVX, gnu::always_inline]] inline void sha512TwoRounds(
    sha_rounds::Sha2Variables<uint64_t>& s, Sha512Schedule& schedule) noexcept {
  using Shape = sha_rounds::Sha512Shape;
  sha_rounds::sha2Round<Shape, 2 * kPair>(s, schedule.sums[2 * kPair % 16]);
  sha_rounds::sha2Round<Shape, 2 * kPair + 1>(s, schedule.sums[2 * kPair % 16 + 1]);
  if constexpr (kPair < 32) nextTwoWords<kPair>(schedule);
}

template <size_t... kFirst, size_t... kPair>
[[VELMORA_TARGET_AVX, gnu::always_inline]] inline void sha512Block(
    uint64_t* state, const unsigned char* block, std::index_sequence<kFirst...>,
    std::index_sequence<kPair...>) noexcept {
  Sha512Schedule schedule;
  (loadTwoWords<kFirst>(schedule, block), ...);
  auto s = sha_rounds::sha2Start(state);
  (sha512TwoRounds<kPair>(s, schedule), ...);
  sha_rounds::sha2Add(state, s);
}

}  // namespace

// BMI2 gives the rounds a rotation that keeps its source, which saves a move each.
[[gnu::target("bmi2")]] void sha1Bmi2(uint32_t* state, const unsigned char* blocks,
                                      size_t count) noexcept {
  sha_rounds::sha1Blocks(state, blocks, count);
}

[[gnu::target("bmi2")]] void sha256Bmi2(uint32_t* state, const unsigned char* blocks,
                                        size_t count) noexcept {
  sha_rounds::sha2Blocks<sha_rounds::Sha256Shape>(state, blocks, count);
}

[[gnu::target("bmi2")]] void sha512Bmi2(uint64_t* state, const unsigned char* blocks,
                                        size_t count) noexcept {
  sha_rounds::sha2Blocks<sha_rounds::Sha512Shape>(state, blocks, count);
}

[[VELMORA_TARGET_AVX]] void sha512Avx(uint64_t* state, const unsigned char* blocks,
                                      size_t count) noexcept {
  for (; count != 0; --count, blocks += 128) {
    sha512Block(state, blocks, std::make_index_sequence<8>(), std::make_index_sequence<40>());
  }
}

[[VELMORA_TARGET_SHA]] void sha1Extensions(uint32_t* state, const unsigned char* blocks,
                                           size_t count) noexcept {
  __m128i abcd = _mm_shuffle_epi32(load(state), 0x1b);
  __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
  for (; count != 0; --count, blocks += 64) {
    sha1Block(abcd, e, blocks, std::make_index_sequence<20>());
  }
  store(state, _mm_shuffle_epi32(abcd, 0x1b));
  state[4] = static_cast<uint32_t>(_mm_extract_epi32(e, 3));
}

[[VELMORA_TARGET_SHA]] void sha256Extensions(uint32_t* state, const unsigned char* blocks,
                                             size_t count) noexcept {
  // From A..D and E..H in rising lanes to ABEF and CDGH in falling ones, and back.
  const __m128i badc = _mm_shuffle_epi32(load(state), 0xb1);
  const __m128i hgfe = _mm_shuffle_epi32(load(state + 4), 0x1b);
  __m128i abef = _mm_alignr_epi8(badc, hgfe, 8);
  __m128i cdgh = _mm_blend_epi16(hgfe, badc, 0xf0);
  for (; count != 0; --count, blocks += 64) {
    sha256Block(abef, cdgh, blocks, std::make_index_sequence<16>());
  }
  const __m128i feba = _mm_shuffle_epi32(abef, 0x1b);
  const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xb1);
  store(state, _mm_blend_epi16(feba, dchg, 0xf0));
  store(state + 4, _mm_alignr_epi8(dchg, feba, 8));
}

}  // namespace velmora::sha_x86

#endif

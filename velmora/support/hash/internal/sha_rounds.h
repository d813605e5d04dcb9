#pragma once

// The rounds of SHA-1 and SHA-2 in C++.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "velmora/support/core/words.h"
#include "velmora/support/hash/internal/sha_constants.h"

/// The compression functions of FIPS 180-4 §6 in plain C++. They are inlined into each function
/// that is built for one kind of CPU, so that the same lines serve all kinds. The rounds are
/// unrolled at compile time: indices are constants, and the state stays in registers without the
/// moves that "h = g, g = f, ..." would cost.
namespace velmora::sha_rounds {

template <size_t kRound>
[[gnu::always_inline]] inline uint32_t sha1Function(uint32_t b, uint32_t c, uint32_t d) noexcept {
  if constexpr (kRound < 20) return d ^ (b & (c ^ d));
  if constexpr (kRound >= 40 && kRound < 60) return (b & c) + (d & (b ^ c));
  return b ^ c ^ d;
}

template <size_t kRound>
[[gnu::always_inline]] inline void sha1Round(uint32_t (&v)[5], uint32_t (&w)[16],
                                             const unsigned char* block) noexcept {
  constexpr size_t t = kRound % 16;
  if constexpr (kRound < 16) {
    w[t] = loadBigEndian<uint32_t>(block + 4 * t);
  } else {
    w[t] = std::rotl(w[(t + 13) % 16] ^ w[(t + 8) % 16] ^ w[(t + 2) % 16] ^ w[t], 1);
  }
  constexpr size_t a = (80 - kRound) % 5;
  uint32_t& b = v[(a + 1) % 5];
  v[(a + 4) % 5] += std::rotl(v[a], 5) + kSha1Constants[kRound / 20] + w[t] +
                    sha1Function<kRound>(b, v[(a + 2) % 5], v[(a + 3) % 5]);
  b = std::rotl(b, 30);
}

template <size_t... kRound>
[[gnu::always_inline]] inline void sha1Block(uint32_t* state, const unsigned char* block,
                                             std::index_sequence<kRound...>) noexcept {
  uint32_t v[5] = {state[0], state[1], state[2], state[3], state[4]};
  uint32_t w[16];
  (sha1Round<kRound>(v, w, block), ...);
  for (size_t i = 0; i < 5; ++i) state[i] += v[i];
}

[[gnu::always_inline]] inline void sha1Blocks(uint32_t* state, const unsigned char* blocks,
                                              size_t count) noexcept {
  for (; count != 0; --count, blocks += 64) {
    sha1Block(state, blocks, std::make_index_sequence<80>());
  }
}

/// A linear function of FIPS 180-4 §4.1: the word rotated right by three amounts, combined by xor.
template <int kFirst, int kSecond, int kThird, class Word>
[[gnu::always_inline]] inline Word bigSigma(Word x) noexcept {
  return std::rotr(x, kFirst) ^ std::rotr(x, kSecond) ^ std::rotr(x, kThird);
}

/// As bigSigma, with the third amount shifted out.
template <int kFirst, int kSecond, int kShift, class Word>
[[gnu::always_inline]] inline Word smallSigma(Word x) noexcept {
  return std::rotr(x, kFirst) ^ std::rotr(x, kSecond) ^ (x >> kShift);
}

/// What distinguishes SHA-256 (§4.1.2, §6.2).
struct Sha256Shape {
  using Word = uint32_t;
  static constexpr size_t kRounds = 64;
  static constexpr const uint32_t* kConstants = kSha256Constants.k;
  static constexpr auto bigSigma0 = bigSigma<2, 13, 22, Word>;
  static constexpr auto bigSigma1 = bigSigma<6, 11, 25, Word>;
  static constexpr auto smallSigma0 = smallSigma<7, 18, 3, Word>;
  static constexpr auto smallSigma1 = smallSigma<17, 19, 10, Word>;
};

/// What distinguishes SHA-512 and SHA-384 (§4.1.3, §6.4).
struct Sha512Shape {
  using Word = uint64_t;
  static constexpr size_t kRounds = 80;
  static constexpr const uint64_t* kConstants = kSha512Constants;
  static constexpr auto bigSigma0 = bigSigma<28, 34, 39, Word>;
  static constexpr auto bigSigma1 = bigSigma<14, 18, 41, Word>;
  static constexpr auto smallSigma0 = smallSigma<1, 8, 7, Word>;
  static constexpr auto smallSigma1 = smallSigma<19, 61, 6, Word>;
};

/// The message word of a round; `w` is a ring of the last sixteen.
template <class Shape, size_t kRound, class Word>
[[gnu::always_inline]] inline Word sha2Word(Word (&w)[16], const unsigned char* block) noexcept {
  constexpr size_t t = kRound % 16;
  if constexpr (kRound < 16) {
    w[t] = loadBigEndian<Word>(block + sizeof(Word) * t);
  } else {
    w[t] += Shape::smallSigma1(w[(t + 14) % 16]) + w[(t + 9) % 16] +
            Shape::smallSigma0(w[(t + 1) % 16]);
  }
  return w[t];
}

/// The working variables a to h, which stay where they are while the rounds rename them, and b ^ c.
template <class Word>
struct Sha2Variables {
  Word v[8];
  Word bXorC;
};

template <class Shape, size_t kRound, class Word>
[[gnu::always_inline]] inline void sha2Round(Sha2Variables<Word>& s,
                                             Word wordPlusConstant) noexcept {
  constexpr size_t kA = (Shape::kRounds - kRound) % 8;
  const Word a = s.v[kA], b = s.v[(kA + 1) % 8];
  const Word e = s.v[(kA + 4) % 8], f = s.v[(kA + 5) % 8], g = s.v[(kA + 6) % 8];
  Word& d = s.v[(kA + 3) % 8];
  Word& h = s.v[(kA + 7) % 8];
  h += wordPlusConstant + (g ^ (e & (f ^ g))) + Shape::bigSigma1(e);
  d += h;
  // Maj(a, b, c) from two differences, the second of which is the first of the round before.
  const Word aXorB = a ^ b;
  h += Shape::bigSigma0(a) + (b ^ (aXorB & s.bXorC));
  s.bXorC = aXorB;
}

template <class Word>
[[gnu::always_inline]] inline Sha2Variables<Word> sha2Start(const Word* state) noexcept {
  Sha2Variables<Word> s;
  for (size_t i = 0; i < 8; ++i) s.v[i] = state[i];
  s.bXorC = state[1] ^ state[2];
  return s;
}

template <class Word>
[[gnu::always_inline]] inline void sha2Add(Word* state, const Sha2Variables<Word>& s) noexcept {
  for (size_t i = 0; i < 8; ++i) state[i] += s.v[i];
}

template <class Shape, class Word, size_t... kRound>
[[gnu::always_inline]] inline void sha2Block(Word* state, const unsigned char* block,
                                             std::index_sequence<kRound...>) noexcept {
  Sha2Variables<Word> s = sha2Start(state);
  Word w[16];
  (sha2Round<Shape, kRound>(s, sha2Word<Shape, kRound>(w, block) + Shape::kConstants[kRound]), ...);
  sha2Add(state, s);
}

template <class Shape>
[[gnu::always_inline]] inline void sha2Blocks(typename Shape::Word* state,
                                              const unsigned char* blocks, size_t count) noexcept {
  constexpr size_t kBlockBytes = 16 * sizeof(typename Shape::Word);
  for (; count != 0; --count, blocks += kBlockBytes) {
    sha2Block<Shape>(state, blocks, std::make_index_sequence<Shape::kRounds>());
  }
}

}  // namespace velmora::sha_rounds

#include "velmora/support/bignum/arithmetic/inverse.h"

// Division steps of Bernstein and Yang ("Fast constant-time gcd computation and modular inversion",
// 2019), 62 at a time on the lowest limbs; each batch is a matrix that is then applied to the whole
// numbers. In variable time several steps whose results are zero bits are taken at once.

namespace velmora::vartime {

namespace {

constexpr unsigned kBatch = 62;
constexpr Limb kBatchMask = (Limb{1} << kBatch) - 1;
constexpr size_t kMaxDigits = (kMaxInverseLimbs * kLimbBits + 2) / kBatch + 1;

using SignedLimb = std::int64_t;

// Digits of 62 bits, the highest one signed.
struct SignedNumber {
  SignedLimb digit[kMaxDigits] = {};
};

// (f, g) after a batch = (u f + v g, q f + r g) / 2^62.
struct StepMatrix {
  SignedLimb u, v, q, r;
};

constexpr Limb toUnsigned(SignedLimb x) {
  return static_cast<Limb>(x);
}
constexpr SignedLimb toSigned(Limb x) {
  return static_cast<SignedLimb>(x);
}

// `eta` is minus the paper's delta. The matrix is built on unsigned limbs, whose wrapping is
// defined; its entries are at most 2^62 in magnitude.
SignedLimb divisionSteps(SignedLimb eta, Limb f, Limb g, StepMatrix& matrix) {
  Limb u = 1, v = 0, q = 0, r = 1;
  for (unsigned left = kBatch;;) {
    const unsigned zeros = static_cast<unsigned>(std::countr_zero(g | ~Limb{0} << left));
    g >>= zeros;
    u <<= zeros;
    v <<= zeros;
    eta -= zeros;
    left -= zeros;
    if (left == 0) break;
    if (eta < 0) {
      eta = -eta;
      const Limb oldF = f, oldU = u, oldV = v;
      f = g;
      g = Limb{0} - oldF;
      u = q;
      q = Limb{0} - oldU;
      v = r;
      r = Limb{0} - oldV;
    }
    // f stays for eta + 1 steps: clear up to six low bits of g with one multiple of f.
    const unsigned steps = static_cast<unsigned>(eta + 1 < left ? eta + 1 : left);
    const Limb mask = (steps >= 6 ? Limb{64} : Limb{1} << steps) - 1;
    const Limb w = (f * g * (f * f - 2)) & mask;  // f (f f - 2) is -1 / f modulo 64
    g += f * w;
    q += u * w;
    r += v * w;
  }
  matrix = {toSigned(u), toSigned(v), toSigned(q), toSigned(r)};
  return eta;
}

constexpr SignedDoubleLimb product(SignedLimb a, SignedLimb b) {
  return SignedDoubleLimb{a} * b;
}

void applyToFG(SignedNumber& f, SignedNumber& g, const StepMatrix& m, size_t digits) {
  SignedDoubleLimb sumF = product(m.u, f.digit[0]) + product(m.v, g.digit[0]);
  SignedDoubleLimb sumG = product(m.q, f.digit[0]) + product(m.r, g.digit[0]);
  for (size_t i = 1; i < digits; ++i) {
    sumF = (sumF >> kBatch) + product(m.u, f.digit[i]) + product(m.v, g.digit[i]);
    sumG = (sumG >> kBatch) + product(m.q, f.digit[i]) + product(m.r, g.digit[i]);
    f.digit[i - 1] = toSigned(static_cast<Limb>(sumF) & kBatchMask);
    g.digit[i - 1] = toSigned(static_cast<Limb>(sumG) & kBatchMask);
  }
  f.digit[digits - 1] = static_cast<SignedLimb>(sumF >> kBatch);
  g.digit[digits - 1] = static_cast<SignedLimb>(sumG >> kBatch);
}

// The modulus in digits, and its inverse modulo 2^62.
struct DigitModulus {
  SignedNumber value;
  Limb inverse = 0;
  size_t digits = 0;
};

// d, e stay in (-2 modulus, modulus): a negative one counts as itself plus the modulus, and the
// multiple of the modulus that makes the sum divisible by 2^62 is taken off.
void applyToDE(SignedNumber& d, SignedNumber& e, const StepMatrix& m, const DigitModulus& p) {
  const size_t digits = p.digits;
  const SignedLimb signD = d.digit[digits - 1] >> 63;
  const SignedLimb signE = e.digit[digits - 1] >> 63;
  SignedLimb multipleD = (m.u & signD) + (m.v & signE);
  SignedLimb multipleE = (m.q & signD) + (m.r & signE);
  SignedDoubleLimb sumD = product(m.u, d.digit[0]) + product(m.v, e.digit[0]);
  SignedDoubleLimb sumE = product(m.q, d.digit[0]) + product(m.r, e.digit[0]);
  multipleD -= toSigned((p.inverse * static_cast<Limb>(sumD) + toUnsigned(multipleD)) & kBatchMask);
  multipleE -= toSigned((p.inverse * static_cast<Limb>(sumE) + toUnsigned(multipleE)) & kBatchMask);
  sumD += product(p.value.digit[0], multipleD);
  sumE += product(p.value.digit[0], multipleE);
  for (size_t i = 1; i < digits; ++i) {
    sumD = (sumD >> kBatch) + product(m.u, d.digit[i]) + product(m.v, e.digit[i]) +
           product(p.value.digit[i], multipleD);
    sumE = (sumE >> kBatch) + product(m.q, d.digit[i]) + product(m.r, e.digit[i]) +
           product(p.value.digit[i], multipleE);
    d.digit[i - 1] = toSigned(static_cast<Limb>(sumD) & kBatchMask);
    e.digit[i - 1] = toSigned(static_cast<Limb>(sumE) & kBatchMask);
  }
  d.digit[digits - 1] = static_cast<SignedLimb>(sumD >> kBatch);
  e.digit[digits - 1] = static_cast<SignedLimb>(sumE >> kBatch);
}

// x = sign * x + multiple * modulus.
void combine(SignedNumber& x, SignedLimb sign, SignedLimb multiple, const DigitModulus& p) {
  SignedLimb carry = 0;
  for (size_t i = 0; i < p.digits; ++i) {
    const SignedLimb sum = sign * x.digit[i] + multiple * p.value.digit[i] + carry;
    x.digit[i] = i + 1 == p.digits ? sum : toSigned(toUnsigned(sum) & kBatchMask);
    carry = sum >> kBatch;
  }
}

// Drops the top digit of both when it is only the sign.
size_t shorten(SignedNumber& f, SignedNumber& g, size_t digits) {
  const SignedLimb topF = f.digit[digits - 1];
  const SignedLimb topG = g.digit[digits - 1];
  if (digits == 1 || (topF ^ (topF >> 63)) != 0 || (topG ^ (topG >> 63)) != 0) return digits;
  f.digit[digits - 2] |= toSigned(toUnsigned(topF) << kBatch);
  g.digit[digits - 2] |= toSigned(toUnsigned(topG) << kBatch);
  return digits - 1;
}

bool allZero(const SignedNumber& x, size_t digits) {
  SignedLimb any = 0;
  for (size_t i = 0; i < digits; ++i) any |= x.digit[i];
  return any == 0;
}

// 1 or -1 when x is that, else 0.
SignedLimb unitSign(const SignedNumber& x, size_t digits) {
  const SignedLimb sign = x.digit[digits - 1] < 0 ? -1 : 1;
  SignedNumber copy = x;
  DigitModulus zero;
  zero.digits = digits;
  combine(copy, sign, 0, zero);
  copy.digit[0] -= 1;
  return allZero(copy, digits) ? sign : 0;
}

void toDigits(SignedNumber& x, size_t digits, const Limb* limbs, size_t n) {
  Limb words[kMaxDigits];
  splitWords(words, digits, kBatch, limbs, n);
  for (size_t i = 0; i < digits; ++i) x.digit[i] = toSigned(words[i]);
}

}  // namespace

bool inverseMod(Limb* r, const Limb* a, const Limb* modulus, size_t n) noexcept {
  DigitModulus p;
  p.digits = (bitLength(modulus, n) + 2) / kBatch + 1;
  p.inverse = inverseModWord(modulus[0]);
  toDigits(p.value, p.digits, modulus, n);
  SignedNumber f = p.value, g, d, e;
  toDigits(g, p.digits, a, n);
  e.digit[0] = 1;
  SignedLimb eta = -1;
  size_t digits = p.digits;
  while (!allZero(g, digits)) {
    StepMatrix matrix;
    eta = divisionSteps(eta, toUnsigned(f.digit[0]), toUnsigned(g.digit[0]), matrix);
    applyToDE(d, e, matrix, p);
    applyToFG(f, g, matrix, digits);
    digits = shorten(f, g, digits);
  }
  const SignedLimb sign = unitSign(f, digits);  // f is plus or minus the common divisor
  if (sign == 0) return false;
  if (d.digit[p.digits - 1] < 0) combine(d, 1, 1, p);
  combine(d, sign, 0, p);
  if (d.digit[p.digits - 1] < 0) combine(d, 1, 1, p);
  Limb words[kMaxDigits];
  for (size_t i = 0; i < p.digits; ++i) words[i] = toUnsigned(d.digit[i]);
  joinWords(r, n, words, p.digits, kBatch);
  return true;
}

}  // namespace velmora::vartime

#include "velmora/support/bignum/arithmetic/montgomery.h"

#include "velmora/support/bignum/arithmetic/internal/montgomery_kernels.h"
#include "velmora/support/bignum/arithmetic/internal/sliding_window.h"

namespace velmora::vartime {

bool MontgomeryModulus::assign(const Limb* modulus, size_t n) noexcept {
  if (n == 0 || (modulus[0] & 1) == 0 || equalsLimb(modulus, n, 1)) return false;
  if (!m_divisor.assign(modulus, n)) return false;
  const size_t bits = bitLength(modulus, n);
  m_kernel = &montgomeryKernel(m_path, bits);
  m_words = m_kernel->wordsFor(bits);
  split(m_modulus, modulus, m_divisor.count());
  m_n0 = (Limb{0} - inverseModWord(modulus[0])) & (~Limb{0} >> (kLimbBits - m_kernel->wordBits));
  return true;
}

// words = x * R modulo the modulus. Dividing x * R costs half of one multiplication, less than the
// way over R^2, which would have to be made first.
void MontgomeryModulus::enter(Limb* words, const Limb* x) const noexcept {
  Limb wide[2 * kMaxModulusLimbs + 8];
  const size_t shift = m_words * m_kernel->wordBits;
  const size_t zeros = shift / kLimbBits;
  const size_t n = count();
  clearLimbs(wide, zeros);
  wide[zeros + n] = shiftLeft(wide + zeros, x, n, static_cast<unsigned>(shift % kLimbBits));
  m_divisor.reduce(wide, wide, zeros + n + 1);
  split(words, wide, n);
}

void MontgomeryModulus::split(Limb* words, const Limb* limbs, size_t n) const noexcept {
  splitWords(words, m_words, m_kernel->wordBits, limbs, n, m_kernel->lanes);
}

// r = the plain number in `words`, below twice the modulus, fully reduced.
void MontgomeryModulus::leavePlain(Limb* r, Limb* words) const noexcept {
  Limb limbs[kMaxModulusLimbs + 1];
  const size_t n = count();
  joinWords(limbs, n + 1, words, m_words, m_kernel->wordBits, m_kernel->lanes);
  m_divisor.reduce(r, limbs, n + 1);
}

namespace {

constexpr unsigned kWindowBits = 4;
constexpr size_t kOddPowers = size_t{1} << (kWindowBits - 1);
// Bits set of an exponent above which a table of odd powers saves more multiplications than it
// takes: as many as it has entries, and one for each window.
constexpr int kDense = kOddPowers + kLimbBits / (kWindowBits + 1);

}  // namespace

// Square and multiply from the top bit. The last multiplication of an odd exponent takes the plain
// base, which leaves Montgomery form on the way: sixteen squarings and one multiplication for
// 65537.
void MontgomeryModulus::power(Limb* r, const Limb* x, std::uint64_t exponent) const noexcept {
  alignas(kKernelAlignment) Limb plain[kMaxWords];
  alignas(kKernelAlignment) Limb base[kMaxWords];
  alignas(kKernelAlignment) Limb power[kMaxWords];
  const Limb one = 1, zero = 0;
  if (std::popcount(exponent) > kDense) return doublePower(r, x, &exponent, x, &zero, 1);
  if (exponent <= 1) {
    m_divisor.reduce(r, exponent == 0 ? &one : x, exponent == 0 ? 1 : count());
    return;
  }
  enter(base, x);
  square(power, base);
  for (int bit = 62 - std::countl_zero(exponent); bit > 0; --bit) {
    if ((exponent >> bit & 1) != 0) multiply(power, power, base);
    square(power, power);
  }
  if ((exponent & 1) != 0) {
    split(plain, x, count());
  } else {
    split(plain, &one, 1);
  }
  multiply(power, power, plain);
  leavePlain(r, power);
}

// table[i] = x^(2i + 1) in Montgomery form.
void MontgomeryModulus::oddPowers(Limb* table, const Limb* x) const noexcept {
  alignas(kKernelAlignment) Limb squared[kMaxWords];
  enter(table, x);
  square(squared, table);
  for (size_t i = 1; i < kOddPowers; ++i) {
    multiply(table + i * m_words, table + (i - 1) * m_words, squared);
  }
}

void MontgomeryModulus::doublePower(Limb* r, const Limb* x, const Limb* e, const Limb* y,
                                    const Limb* f, size_t n) const noexcept {
  alignas(kKernelAlignment) Limb tableX[kOddPowers * kMaxWords];
  alignas(kKernelAlignment) Limb tableY[kOddPowers * kMaxWords];
  alignas(kKernelAlignment) Limb power[kMaxWords];
  const Limb one = 1;
  oddPowers(tableX, x);
  if (!isZero(f, n)) oddPowers(tableY, y);
  SlidingWindow windowE(e, n, kWindowBits);
  SlidingWindow windowF(f, n, kWindowBits);
  bool started = false;
  const auto take = [&](const Limb* factor) {
    if (started) {
      multiply(power, power, factor);
    } else {
      copyLimbs(power, factor, m_words);
    }
    started = true;
  };
  for (size_t bit = n * kLimbBits; bit-- != 0;) {
    if (started) square(power, power);
    if (const unsigned digit = windowE.digitAt(bit)) take(tableX + digit / 2 * m_words);
    if (const unsigned digit = windowF.digitAt(bit)) take(tableY + digit / 2 * m_words);
  }
  if (!started) return m_divisor.reduce(r, &one, 1);
  split(tableX, &one, 1);
  multiply(power, power, tableX);
  leavePlain(r, power);
}

}  // namespace velmora::vartime

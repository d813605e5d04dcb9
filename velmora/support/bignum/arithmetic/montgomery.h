#pragma once

// Powers modulo the large odd moduli of RSA and DSA.

#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// What kernels on vectors would have their numbers aligned to, in octets; it is no must.
inline constexpr size_t kKernelAlignment = 64;

/// Montgomery multiplication for moduli whose length is known at run time only (RSA and DSA), as
/// one path does it. Numbers are arrays of `n` words of wordBits bits each, n a multiple of
/// `multiple`, which stand in `lanes` columns (see splitWords); R is 2^(wordBits * n). All operands
/// are below twice the modulus and so is the result; r may be a or b.
struct MontgomeryKernel {
  unsigned wordBits;
  size_t multiple;
  size_t lanes;
  void (*multiply)(Limb* r, const Limb* a, const Limb* b, const Limb* modulus, Limb n0, size_t n);
  void (*square)(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n);

  /// Words for a modulus of so many bits. Kernels on words with room to spare leave results below
  /// twice the modulus, for which R has to be above four times the modulus.
  constexpr size_t wordsFor(size_t bits) const noexcept {
    const size_t width = wordBits * multiple;
    return (bits + (wordBits < kLimbBits ? 2 : 0) + width - 1) / width * multiple;
  }
};

/// An odd modulus of at most kMaxModulusLimbs limbs, prepared for exponentiations. About 5 KiB;
/// immutable after assign, then safe to share. The operations keep their working memory on the
/// stack (at most 64 KiB) whatever the exponent.
class VELMORA_API MontgomeryModulus {
 public:
  explicit MontgomeryModulus(ArithmeticPath path = bestArithmeticPath())
      : m_path(path), m_divisor(path) {}

  /// Sets the modulus from n limbs. False when it is even, 1, or too long.
  bool assign(const Limb* modulus, size_t n) noexcept;

  /// Limbs of the modulus without zero limbs at the top; every operand and result below has this
  /// length, in plain form.
  size_t count() const noexcept { return m_divisor.count(); }

  /// r = x^exponent modulo the modulus, for x below the modulus. r may be x.
  void power(Limb* r, const Limb* x, std::uint64_t exponent) const noexcept;

  /// r = x^e * y^f modulo the modulus, for x and y below the modulus and exponents of n limbs
  /// (n at most kMaxModulusLimbs): both exponents in one pass over sliding windows. r may be x or
  /// y.
  void doublePower(Limb* r, const Limb* x, const Limb* e, const Limb* y, const Limb* f,
                   size_t n) const noexcept;

 private:
  void enter(Limb* words, const Limb* x) const noexcept;
  void split(Limb* words, const Limb* limbs, size_t n) const noexcept;
  void leavePlain(Limb* r, Limb* words) const noexcept;
  void multiply(Limb* r, const Limb* a, const Limb* b) const noexcept {
    m_kernel->multiply(r, a, b, m_modulus, m_n0, m_words);
  }
  void square(Limb* r, const Limb* a) const noexcept {
    m_kernel->square(r, a, m_modulus, m_n0, m_words);
  }
  void oddPowers(Limb* table, const Limb* x) const noexcept;

  // 8,192 bits in words of 27 bits, with two spare bits, in fours; more than 16,384 bits have in
  // words of 58.
  static constexpr size_t kMaxWords = 304;

  ArithmeticPath m_path;
  const MontgomeryKernel* m_kernel = nullptr;
  size_t m_words = 0;
  Limb m_n0 = 0;  // -1 / modulus modulo 2^wordBits
  Divisor m_divisor;
  alignas(kKernelAlignment) Limb m_modulus[kMaxWords];
};

}  // namespace velmora::vartime

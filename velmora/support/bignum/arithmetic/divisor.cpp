#include "velmora/support/bignum/arithmetic/divisor.h"

namespace velmora::vartime {

namespace {

constexpr size_t kMaxWideLimbs = 2 * kMaxModulusLimbs + 8;

constexpr DoubleLimb join(Limb high, Limb low) {
  return DoubleLimb{high} << kLimbBits | low;
}
constexpr Limb highLimb(DoubleLimb x) {
  return static_cast<Limb>(x >> kLimbBits);
}
constexpr Limb lowLimb(DoubleLimb x) {
  return static_cast<Limb>(x);
}

// floor((2^192 - 1) / (d1, d0)) - 2^64, for d1 with its top bit set.
Limb reciprocalOfTwoLimbs(Limb d1, Limb d0) {
  Limb v = lowLimb(join(~d1, ~Limb{0}) / d1);
  Limb p = d1 * v + d0;
  if (p < d0) {
    --v;
    if (p >= d1) {
      --v;
      p -= d1;
    }
    p -= d1;
  }
  const DoubleLimb t = DoubleLimb{v} * d0;
  p += highLimb(t);
  if (p < highLimb(t)) {
    --v;
    if (join(p, lowLimb(t)) >= join(d1, d0)) --v;
  }
  return v;
}

}  // namespace

bool Divisor::assign(const Limb* d, size_t n) noexcept {
  n = significantLimbs(d, n);
  if (n == 0 || n > kMaxModulusLimbs) return false;
  m_count = n;
  m_shift = static_cast<unsigned>(std::countl_zero(d[n - 1]));
  shiftLeft(m_negated, d, n, m_shift);
  m_top = m_negated[n - 1];
  m_next = n > 1 ? m_negated[n - 2] : 0;
  m_reciprocal = reciprocalOfTwoLimbs(m_top, m_next);
  Limb carry = 1;
  for (size_t i = 0; i < n; ++i) m_negated[i] = addWithCarry(~m_negated[i], 0, carry);
  return true;
}

// floor((u2, u1, u0) / (m_top, m_next)) or the largest limb where that is larger: the quotient's
// next limb, or one more.
Limb Divisor::estimateQuotient(Limb u2, Limb u1, Limb u0) const noexcept {
  const DoubleLimb divisor = join(m_top, m_next);
  if (join(u2, u1) >= divisor) return ~Limb{0};
  const DoubleLimb q = DoubleLimb{m_reciprocal} * u2 + join(u2, u1);
  Limb q1 = highLimb(q);
  DoubleLimb r = join(u1 - q1 * m_top, u0) - DoubleLimb{m_next} * q1 - divisor;
  ++q1;
  if (highLimb(r) >= lowLimb(q)) {
    --q1;
    r += divisor;
  }
  return r >= divisor ? q1 + 1 : q1;
}

// Adding q times the negated divisor and taking q off the top is subtracting q times the divisor.
void Divisor::reduce(Limb* r, const Limb* wide, size_t n) const noexcept {
  Limb x[kMaxWideLimbs + 1];
  if (n < m_count) {
    copyLimbs(r, wide, n);
    clearLimbs(r + n, m_count - n);
    return;
  }
  x[n] = shiftLeft(x, wide, n, m_shift);
  for (size_t j = n - m_count + 1; j-- != 0;) {
    Limb* const row = x + j;
    Limb& top = row[m_count];
    const Limb below = m_count > 1 ? row[m_count - 2] : 0;
    const Limb q = estimateQuotient(top, row[m_count - 1], below);
    if (q == 0) continue;
    top += m_addMultiply(row, m_negated, m_count, q) - q;
    if (top != 0) top += 1 - subLimbs(row, row, m_negated, m_count);
  }
  shiftRight(r, x, m_count, m_shift);
}

void Divisor::multiply(Limb* r, const Limb* a, const Limb* b) const noexcept {
  Limb product[2 * kMaxModulusLimbs];
  clearLimbs(product, m_count);
  for (size_t i = 0; i < m_count; ++i) {
    product[i + m_count] = m_addMultiply(product + i, a, m_count, b[i]);
  }
  reduce(r, product, 2 * m_count);
}

}  // namespace velmora::vartime

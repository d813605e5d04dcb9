#include "velmora/support/bignum/arithmetic/internal/montgomery_columns.h"

namespace velmora::vartime {

namespace {

// Words with so many bits to spare that all products of a column, a and b's as well as those of the
// reduction, can be summed up in a double limb. Compilers make two additions of each then; limbs
// that are full would have a third word of the sum to carry into, for which C++ has no words.
constexpr unsigned kWordBits = 58;
constexpr Limb kMask = (Limb{1} << kWordBits) - 1;
constexpr size_t kMultiple = 4;
constexpr size_t kMaxWords = (kMaxModulusLimbs * kLimbBits + 2) / kWordBits + kMultiple;
static_assert(2 * kMaxWords < (size_t{1} << (2 * (kLimbBits - kWordBits))));

// sum + x[0] * y[-1] + x[1] * y[-2] and so on, `count` products. y is behind the first factor, so
// that it never comes to stand before a number, where C++ lets no pointer point.
__attribute__((always_inline)) inline DoubleLimb addProducts(DoubleLimb sum, const Limb* x,
                                                             const Limb* y, size_t count) {
  const auto add = [&](ptrdiff_t i) { sum += DoubleLimb{x[i]} * y[-1 - i]; };
  if ((count & 1) != 0) {
    add(0);
    ++x;
    --y;
  }
  if ((count & 2) != 0) {
    add(0);
    add(1);
    x += 2;
    y -= 2;
  }
  for (size_t fours = count / 4; fours != 0; --fours, x += 4, y -= 4) {
    add(0);
    add(1);
    add(2);
    add(3);
  }
  return sum;
}

// The products of a column of a * b.
struct ProductColumn {
  const Limb* b;
  DoubleLimb operator()(const Limb* first, size_t last, size_t count) const {
    return addProducts(0, first, b + last + 1, count);
  }
};

// Those of a * a: of different words once and doubled, and the square in the middle.
struct SquareColumn {
  const Limb* a;
  DoubleLimb operator()(const Limb* first, size_t last, size_t count) const {
    const DoubleLimb twice = 2 * addProducts(0, first, a + last + 1, count / 2);
    if ((count & 1) == 0) return twice;
    const Limb middle = first[count / 2];
    return twice + DoubleLimb{middle} * middle;
  }
};

// Column by column: as many as there are words, each of which a multiple of the modulus clears,
// then those that are the result. Four at a time, so that what is left of their products after
// fours is known to the compiler.
template <class Column>
__attribute__((always_inline)) inline void multiplyColumns(Limb* r, const Limb* a, Column column,
                                                           const Limb* modulus, Limb n0, size_t n) {
  Limb quotient[kMaxWords];
  Limb result[kMaxWords];
  DoubleLimb carry = 0;
  const auto clear = [&](size_t k) __attribute__((always_inline)) {
    const DoubleLimb sum = addProducts(column(a, k, k + 1), quotient, modulus + k + 1, k) + carry;
    const Limb q = static_cast<Limb>(sum) * n0 & kMask;
    quotient[k] = q;
    carry = (sum + DoubleLimb{q} * modulus[0]) >> kWordBits;
  };
  const auto keep = [&](size_t k, size_t count) __attribute__((always_inline)) {
    const DoubleLimb products = column(a + k + 1, n - 1, count);
    const DoubleLimb sum = addProducts(products, quotient + k + 1, modulus + n, count) + carry;
    result[k] = static_cast<Limb>(sum) & kMask;
    carry = sum >> kWordBits;
  };
  for (size_t four = 0; four < n / 4; ++four) {
    clear(4 * four);
    clear(4 * four + 1);
    clear(4 * four + 2);
    clear(4 * four + 3);
  }
  for (size_t four = 0, left = n / 4; left-- != 0; ++four) {
    keep(4 * four, 4 * left + 3);
    keep(4 * four + 1, 4 * left + 2);
    keep(4 * four + 2, 4 * left + 1);
    keep(4 * four + 3, 4 * left);
  }
  copyLimbs(r, result, n);
}

void multiply(Limb* r, const Limb* a, const Limb* b, const Limb* modulus, Limb n0, size_t n) {
  multiplyColumns(r, a, ProductColumn{b}, modulus, n0, n);
}

void square(Limb* r, const Limb* a, const Limb* modulus, Limb n0, size_t n) {
  multiplyColumns(r, a, SquareColumn{a}, modulus, n0, n);
}

constexpr MontgomeryKernel kKernel{kWordBits, kMultiple, 1, multiply, square};

}  // namespace

const MontgomeryKernel& montgomeryColumnsKernel() noexcept {
  return kKernel;
}

}  // namespace velmora::vartime

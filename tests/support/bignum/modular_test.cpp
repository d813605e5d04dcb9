#include "tests/support/bignum/bignum_test.h"
#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/arithmetic/internal/montgomery_kernels.h"
#include "velmora/support/bignum/arithmetic/internal/portable_rows.h"
#include "velmora/support/bignum/arithmetic/inverse.h"
#include "velmora/support/bignum/arithmetic/limb_rows.h"
#include "velmora/support/bignum/curves/internal/ifma_implementations.h"
#include "velmora/support/bignum/curves/internal/mulx_implementations.h"
#include "velmora/support/bignum/internal/fastest_path.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {
namespace {

class ModularTest : public EachPath {};
VELMORA_ON_EACH_PATH(ModularTest);

TEST(LimbsTest, BigEndianBytesAreBounded) {
  const std::uint8_t bytes[] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  Limb limbs[2];
  ASSERT_TRUE(limbsFromBigEndian(limbs, 2, bytes, sizeof bytes));
  EXPECT_EQ(limbs[0], 0x0203040506070809U);
  EXPECT_EQ(limbs[1], 1U);
  EXPECT_FALSE(limbsFromBigEndian(limbs, 1, bytes, sizeof bytes));
  EXPECT_TRUE(limbsFromBigEndian(limbs, 1, bytes + 3, 8));
  EXPECT_TRUE(limbsFromBigEndian(limbs, 2, bytes, 0));
  EXPECT_TRUE(isZero(limbs, 2));

  const Limb number[] = {0x0203040506070809, 1};
  std::uint8_t out[11];
  ASSERT_TRUE(limbsToBigEndian(out, 11, number, 2));
  EXPECT_TRUE(std::equal(bytes, bytes + 11, out));
  EXPECT_TRUE(limbsToBigEndian(out, 9, number, 2));
  EXPECT_FALSE(limbsToBigEndian(out, 8, number, 2));
}

#if defined(__SIZEOF_INT128__)
// What stands in for 128 bits on 32-bit CPUs, against the compiler's own.
template <class High, class Native>
void expectAsNative(Native x, Native y, unsigned shift) {
  using Pair = WordPair<High>;
  const auto pairOf = [](Native n) {
    return Pair(static_cast<Limb>(n >> 64)) << 64 | Pair(static_cast<Limb>(n));
  };
  const auto expectEqual = [](Pair pair, DoubleLimb n) {
    EXPECT_EQ(static_cast<Limb>(pair), static_cast<Limb>(n));
    EXPECT_EQ(static_cast<Limb>(pair >> 64), static_cast<Limb>(n >> 64));
  };
  const auto wideX = static_cast<DoubleLimb>(x), wideY = static_cast<DoubleLimb>(y);
  const Pair a = pairOf(x), b = pairOf(y);
  expectEqual(a + b, wideX + wideY);
  expectEqual(a - b, wideX - wideY);
  expectEqual(a * b, wideX * wideY);
  expectEqual(a >> shift, static_cast<DoubleLimb>(x >> shift));
  expectEqual(a << shift, wideX << shift);
  EXPECT_EQ(a >= b, x >= y);
  expectEqual(Pair(static_cast<High>(x)), static_cast<DoubleLimb>(static_cast<High>(x)));
  if constexpr (std::is_unsigned_v<High>) expectEqual(a / b, x / y);
}

TEST(LimbsTest, PairsOfWordsCountAsNumbersOf128Bits) {
  Numbers numbers;
  for (unsigned i = 0; i < 2000; ++i) {
    const DoubleLimb x = DoubleLimb{numbers.limb()} << 64 | numbers.limb();
    const DoubleLimb y = DoubleLimb{numbers.limb()} << 64 | numbers.limb() | 1;
    expectAsNative<std::uint64_t>(x, y, 1 + i % 127);
    expectAsNative<std::int64_t>(static_cast<SignedDoubleLimb>(x), static_cast<SignedDoubleLimb>(y),
                                 1 + i % 127);
  }
}
#endif

TEST(ArithmeticPaths, RestOnWhatTheCpuHas) {
  constexpr unsigned kMulx = CpuFeatures::kBmi2 | CpuFeatures::kAdx;
  constexpr unsigned kIfma =
      CpuFeatures::kAvx512F | CpuFeatures::kAvx512Ifma | CpuFeatures::kAvx512Vl;
  const struct {
    CpuFeatures cpu;
    ArithmeticPath path;
  } cases[] = {
      {{0, 0, 0}, kWithoutMulxAdx},
      {{0, ~0U ^ CpuFeatures::kAdx, ~0U}, kWithoutMulxAdx},
      {{0, kMulx, 0}, ArithmeticPath::kMulxAdx},
      {{0, ~0U, 0}, ArithmeticPath::kMulxAdx},
      {{0, ~CpuFeatures::kAvx512Vl, ~0U}, ArithmeticPath::kMulxAdx},
      {{0, kMulx | kIfma, CpuFeatures::kZmmStates}, ArithmeticPath::kAvx512Ifma},
  };
  for (const auto& c : cases) EXPECT_EQ(fastestPathOn(c.cpu), c.path) << c.cpu.leaf7Ebx;
  EXPECT_TRUE(arithmeticPathSupported(bestArithmeticPath()));
}

// Were they the same code, that of one path would be tested nowhere.
#if defined(VELMORA_X86_64)
TEST(ArithmeticPaths, EachRunsItsOwnCode) {
  if (!arithmeticPathSupported(ArithmeticPath::kMulxAdx)) GTEST_SKIP() << "no BMI2 and ADX";
  using enum ArithmeticPath;
  const auto kernel = [](ArithmeticPath path, size_t bits) {
    return &montgomeryKernel(path, bits);
  };
  for (const auto& [one, other] :
       {std::pair(kPortable, kMulAdc), {kPortable, kMulxAdx}, {kMulAdc, kMulxAdx}}) {
    EXPECT_NE(limbRowFunction(one), limbRowFunction(other));
    EXPECT_NE(kernel(one, 512), kernel(other, 512));
    EXPECT_NE(curves(one).curves, curves(other).curves);
    EXPECT_NE(&edwards25519(one), &edwards25519(other));
  }
  EXPECT_EQ(limbRowFunction(kPortable), PortableRows::addMultiply);
  const auto *const rows = kernel(kMulxAdx, 512), *const vectors = kernel(kMulxAdx, 4158);
  EXPECT_EQ(rows == vectors, !cpuFeatures().hasAvx2());
  const struct {
    size_t bits;
    const MontgomeryKernel* mulx;
    bool hasIfma;
  } lengths[] = {{512, rows, false},     {513, rows, true},     {1536, rows, true},
                 {1537, vectors, true},  {4158, vectors, true}, {4159, vectors, false},
                 {8192, vectors, false}, {8193, rows, false}};
  for (const auto& l : lengths) {
    EXPECT_EQ(kernel(kMulxAdx, l.bits), l.mulx) << l.bits;
    EXPECT_EQ(kernel(kAvx512Ifma, l.bits) != l.mulx, l.hasIfma) << l.bits;
  }
  EXPECT_EQ(curves(kMulxAdx).curves, curvesOnMulx().curves);
  EXPECT_EQ(curves(kAvx512Ifma).curves, curvesOnIfma().curves);
  EXPECT_NE(curvesOnIfma().curves, curvesOnMulx().curves);
  EXPECT_EQ(&edwards25519(kMulxAdx), &edwards25519OnMulx());
  EXPECT_EQ(&edwards25519(kAvx512Ifma), &edwards25519OnIfma());
}
#endif

TEST_P(ModularTest, RowsOfEveryLength) {
  Numbers numbers;
  for (size_t n = 0; n <= 40; ++n) {
    for (int round = 0; round < 8; ++round) {
      const bool extreme = round == 0;
      const Limbs a = extreme ? Limbs(n, ~Limb{0}) : numbers.limbs(n);
      const Limb b = extreme ? ~Limb{0} : numbers.limb();
      Limbs expected = extreme ? Limbs(n + 1, ~Limb{0}) : numbers.limbs(n + 1);
      Limbs r = expected;
      const Limb carry = PortableRows::addMultiply(expected.data(), a.data(), n, b);
      EXPECT_EQ(limbRowFunction(path())(r.data(), a.data(), n, b), carry) << n;
      EXPECT_EQ(r, expected) << n;
    }
  }
}

TEST_P(ModularTest, Division) {
  test::forEachRecord(vectorFile("division.txt"), [](const KeyValueRecord& record) {
    const Limbs wide = fromHex(record.get("Wide"));
    Divisor divisor(path());
    const Limbs d = fromHex(record.get("Divisor"), 20);
    ASSERT_TRUE(divisor.assign(d.data(), d.size()));
    Limbs remainder(divisor.count());
    divisor.reduce(remainder.data(), wide.data(), wide.size());
    EXPECT_EQ(remainder, fromHex(record.get("Remainder"), divisor.count()));
  });
}

TEST(DivisorTest, LimitsOfItsLength) {
  const Limbs ones(kMaxModulusLimbs + 1, ~Limb{0});
  Divisor divisor;
  EXPECT_FALSE(divisor.assign(ones.data(), ones.size()));
  EXPECT_FALSE(divisor.assign(Limbs(4).data(), 4));
  ASSERT_TRUE(divisor.assign(ones.data(), kMaxModulusLimbs));
  // The square of -1 at the largest size.
  Limbs a = Limbs(kMaxModulusLimbs, ~Limb{0});
  a[0] -= 1;
  divisor.multiply(a.data(), a.data(), a.data());
  EXPECT_TRUE(equalsLimb(a.data(), a.size(), 1));
}

TEST(InverseTest, Vectors) {
  test::forEachRecord(vectorFile("inverse.txt"), [](const KeyValueRecord& record) {
    const Limbs modulus = fromHex(record.get("Modulus"));
    Limbs a = fromHex(record.get("A"), modulus.size());
    const Limbs original = a;
    const std::string inverse = record.get("Inverse");
    const bool found = inverseMod(a.data(), a.data(), modulus.data(), modulus.size());
    EXPECT_EQ(found, inverse != "none");
    EXPECT_EQ(a, found ? fromHex(inverse, modulus.size()) : original);
  });
}

TEST_P(ModularTest, Powers) {
  test::forEachRecord(vectorFile("power.txt"), [](const KeyValueRecord& record) {
    const Limbs m = fromHex(record.get("Modulus"));
    MontgomeryModulus modulus(path());
    ASSERT_TRUE(modulus.assign(m.data(), m.size()));
    Limbs x = fromHex(record.get("Base"), modulus.count());
    modulus.power(x.data(), x.data(), fromHex(record.get("Exponent"))[0]);
    EXPECT_EQ(x, fromHex(record.get("Result"), modulus.count()));
  });
}

TEST_P(ModularTest, DoublePowers) {
  test::forEachRecord(vectorFile("double_power.txt"), [](const KeyValueRecord& record) {
    const Limbs m = fromHex(record.get("Modulus"));
    MontgomeryModulus modulus(path());
    ASSERT_TRUE(modulus.assign(m.data(), m.size()));
    const Limbs x = fromHex(record.get("X"), m.size());
    const Limbs y = fromHex(record.get("Y"), m.size());
    const Limbs e = fromHex(record.get("E"), 4);
    const Limbs f = fromHex(record.get("F"), 4);
    Limbs result(m.size());
    modulus.doublePower(result.data(), x.data(), e.data(), y.data(), f.data(), 4);
    EXPECT_EQ(result, fromHex(record.get("Result"), m.size()));
  });
}

TEST(MontgomeryTest, RefusesModuliThatItCannotUse) {
  const Limb one = 1, even = 6;
  const Limbs odd(kMaxModulusLimbs + 1, ~Limb{0});
  MontgomeryModulus modulus;
  EXPECT_FALSE(modulus.assign(&one, 1));
  EXPECT_FALSE(modulus.assign(&even, 1));
  EXPECT_FALSE(modulus.assign(&one, 0));
  EXPECT_FALSE(modulus.assign(odd.data(), odd.size()));
}

// Modulo 2^16384 - 1, 2^k to the power e is 2^(k e mod 16384).
TEST_P(ModularTest, LargestModulus) {
  const Limbs m(kMaxModulusLimbs, ~Limb{0});
  MontgomeryModulus modulus(path());
  ASSERT_TRUE(modulus.assign(m.data(), m.size()));
  Limbs x(kMaxModulusLimbs), expected(kMaxModulusLimbs);
  x[12345 / 64] = Limb{1} << (12345 % 64);
  const size_t k = 12345 * size_t{65537} % 16384;
  expected[k / 64] = Limb{1} << (k % 64);
  modulus.power(x.data(), x.data(), 65537);
  EXPECT_EQ(x, expected);
}

// In every second round of a length the limbs are 0, all ones or random: carries run far there.
TEST_P(ModularTest, EveryLengthAgreesWithThePortablePath) {
  Numbers numbers;
  for (size_t n = 1; n <= 132; n += n < 34 ? 1 : 14) {
    for (int round = 0; round < 16; ++round) {
      Limbs m = numbers.limbs(n), x = numbers.limbs(n);
      for (Limbs* number : {&m, &x}) {
        for (Limb& limb : *number) {
          const Limb choice = round % 2 == 0 ? 3 : numbers.limb() % 4;
          if (choice < 2) limb = Limb{0} - choice;
        }
      }
      m[0] |= 1;
      m[n - 1] |= n % 3 == 0 ? Limb{1} << 63 : 2;
      x[n - 1] = 1;
      MontgomeryModulus modulus(path()), portable(ArithmeticPath::kPortable);
      ASSERT_TRUE(modulus.assign(m.data(), n) && portable.assign(m.data(), n));
      Limbs expected(n);
      portable.power(expected.data(), x.data(), 65539);
      modulus.power(x.data(), x.data(), 65539);
      EXPECT_EQ(x, expected) << n << " round " << round;
    }
  }
}

// Numbers of many zeros and ones, in which a carry runs far and which random ones never are: what
// the kernel gives, times R, is the product by plain division.
TEST_P(ModularTest, CarriesRunFarInProductsAndSquares) {
  Numbers numbers;
  for (int round = 0; round < 2000; ++round) {
    const size_t n = round % 50 == 0 ? 128 : 8 * (1 + static_cast<size_t>(round) % 9);
    const MontgomeryKernel& kernel = montgomeryKernel(path(), n * kLimbBits);
    const unsigned bits = kernel.wordBits;
    Limbs a(n), b(n), m(n), power(2 * n + 8), expected(n), plain(n + 1), product(n);
    for (Limbs* number : {&a, &b, &m}) {
      const Limb choice = round < 10 ? 1 : 3;
      for (Limb& limb : *number) {
        limb = numbers.limb() % choice;
        limb = limb == 2 ? numbers.limb() : limb - 1;
      }
    }
    m[0] |= 1;
    m[n - 1] = ~Limb{0};
    a[n - 1] &= ~Limb{1};
    b[n - 1] &= ~Limb{1};
    const size_t count = kernel.wordsFor(n * kLimbBits);
    const auto words = [&](const Limbs& number) {
      Limbs split(count);
      splitWords(split.data(), count, bits, number.data(), n, kernel.lanes);
      return split;
    };
    Divisor divisor(ArithmeticPath::kPortable);
    ASSERT_TRUE(divisor.assign(m.data(), n));
    power[count * bits / kLimbBits] = Limb{1} << count * bits % kLimbBits;
    divisor.reduce(power.data(), power.data(), power.size());
    const auto expectProduct = [&](const Limbs& result, const Limbs& y) {
      joinWords(plain.data(), n + 1, result.data(), count, bits, kernel.lanes);
      divisor.reduce(product.data(), plain.data(), n + 1);
      divisor.multiply(product.data(), product.data(), power.data());
      divisor.multiply(expected.data(), a.data(), y.data());
      ASSERT_EQ(product, expected) << round;
    };
    const Limbs modulus = words(m);
    const Limb n0 = (Limb{0} - inverseModWord(m[0])) & (~Limb{0} >> (kLimbBits - bits));
    Limbs x = words(a), y = words(b);
    kernel.multiply(y.data(), x.data(), y.data(), modulus.data(), n0, count);
    expectProduct(y, b);
    kernel.square(x.data(), x.data(), modulus.data(), n0, count);
    expectProduct(x, a);
  }
}

}  // namespace
}  // namespace velmora::vartime

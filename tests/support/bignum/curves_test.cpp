#include "tests/support/bignum/bignum_test.h"
#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/bignum/curves/internal/curve_implementation.h"
#include "velmora/support/bignum/curves/internal/edwards25519_implementation.h"
#include "velmora/support/bignum/fields/internal/ifma_lanes.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {
namespace {

class CurvesTest : public EachPath {
 protected:
  static const Curve& curveNamed(const std::string& name) {
    const CurveList list = curves(path());
    for (size_t i = 0; i < list.count; ++i) {
      if (list.curves[i]->parameters().name == name) return *list.curves[i];
    }
    ADD_FAILURE() << "no curve " << name;
    return *list.curves[0];
  }

  static CurvePoint readPoint(const std::string& text, size_t limbs) {
    CurvePoint point{};
    point.infinity = text == "infinity";
    if (!point.infinity) readPair(text, point.x, point.y, limbs);
    return point;
  }

  static void expectEqual(const CurvePoint& a, const CurvePoint& b, size_t limbs) {
    ASSERT_EQ(a.infinity, b.infinity);
    if (a.infinity) return;
    EXPECT_EQ(compareLimbs(a.x, b.x, limbs), 0);
    EXPECT_EQ(compareLimbs(a.y, b.y, limbs), 0);
  }
};
VELMORA_ON_EACH_PATH(CurvesTest);

// One record of fields.txt on one field class.
template <class Field>
void checkField(const KeyValueRecord& record, Limb nonResidue) {
  using Element = typename Field::Element;
  constexpr size_t n = Field::kLimbs;
  const auto enter = [&](const char* key) {
    Element element;
    Field::fromPlain(element, fromHex(record.get(key), n).data());
    return element;
  };
  const Element a = enter("A"), b = enter("B");
  const auto expect = [&](const char* key, const auto& operation) {
    Element r = a;
    operation(r);
    Limbs plain(n);
    Field::toPlain(plain.data(), r);
    EXPECT_EQ(plain, fromHex(record.get(key), n)) << key;
    EXPECT_TRUE(Field::equal(r, enter(key))) << key;
    EXPECT_EQ(Field::isZero(r), isZero(plain.data(), n)) << key;
  };
  // The result is the first operand too, which every operation allows.
  expect("Product", [&](Element& r) { Field::multiply(r, r, b); });
  expect("Square", [&](Element& r) { Field::square(r, r); });
  expect("Sum", [&](Element& r) { Field::add(r, r, b); });
  expect("Difference", [&](Element& r) { Field::subtract(r, r, b); });
  expect("Half", [&](Element& r) { Field::halve(r, r); });
  expect("Inverse", [&](Element& r) { invert<Field>(r, r); });
  Element root, square;
  const bool hasRoot = squareRoot<Field>(root, a, nonResidue);
  EXPECT_EQ(hasRoot, record.get("HasRoot") == "yes");
  if (!hasRoot) return;
  Field::square(square, root);
  EXPECT_TRUE(Field::equal(square, a));
}

template <class Rows, const CurveParameters& kParameters>
bool checkCurveField(const KeyValueRecord& record) {
  if (record.get("Field") != kParameters.name) return false;
  checkField<typename CurveConstants<kParameters, Rows>::Field>(record, kParameters.nonResidue);
  return true;
}

template <class Rows>
void checkFieldRecord(const KeyValueRecord& record) {
  if (record.get("Field") == "edwards25519") {
    return checkField<FoldField<Edwards25519Numbers, 38, Rows>>(record, 2);
  }
  EXPECT_TRUE((checkCurveField<Rows, kP192>(record) || checkCurveField<Rows, kP224>(record) ||
               checkCurveField<Rows, kP256>(record) || checkCurveField<Rows, kP384>(record) ||
               checkCurveField<Rows, kP521>(record) || checkCurveField<Rows, kSecp256k1>(record) ||
               checkCurveField<Rows, kBrainpoolP256r1>(record) ||
               checkCurveField<Rows, kBrainpoolP384r1>(record) ||
               checkCurveField<Rows, kBrainpoolP512r1>(record)))
      << record.get("Field");
}

TEST_P(CurvesTest, FieldOperations) {
  test::forEachRecord(vectorFile("fields.txt"), [](const KeyValueRecord& record) {
#if defined(VELMORA_X86_64)
    if (path() >= ArithmeticPath::kMulxAdx) return checkFieldRecord<MulxRows>(record);
    if (path() == ArithmeticPath::kMulAdc) return checkFieldRecord<MulRows>(record);
#endif
    checkFieldRecord<PortableRows>(record);
  });
}

// Numbers below p: random ones with limbs of zeros and ones among them, those next to 0 and to p,
// and powers of two less one, whose sums and products carry at every limb.
template <class Field>
std::vector<Limbs> structuredNumbers() {
  constexpr size_t n = Field::kLimbs;
  const Limbs p(Field::kPrime.begin(), Field::kPrime.end());
  Numbers numbers;
  std::vector<Limbs> all;
  const auto add = [&](const Limbs& number) {
    if (compareLimbs(number.data(), p.data(), n) < 0) all.push_back(number);
  };
  for (Limb i = 0; i < 3; ++i) {
    Limbs near(n), offset(n);
    offset[0] = i;
    add(offset);
    offset[0] = i + 1;
    subLimbs(near.data(), p.data(), offset.data(), n);
    add(near);
  }
  for (size_t bit = 31; bit <= n * kLimbBits; bit += 32) {
    Limbs ones(n);
    for (size_t i = 0; i < bit; ++i) ones[i / kLimbBits] |= Limb{1} << i % kLimbBits;
    add(ones);
  }
  while (all.size() < 120) {
    Limbs number = numbers.limbs(n);
    number[n - 1] &= p[n - 1];
    add(number);
  }
  return all;
}

// The operations of a fast field on each other's results, beside those of C++ alone.
template <class Fast, class Slow>
void compareFields() {
  std::vector<Limbs> numbers = structuredNumbers<Slow>();
  for (size_t i = numbers.size(); i-- != 0;) {  // and those that look so inside an element
    typename Fast::Element inside;
    copyLimbs(inside.v, numbers[i].data(), Fast::kLimbs);
    Limbs plain(Fast::kLimbs);
    Fast::toPlain(plain.data(), inside);
    numbers.push_back(plain);
  }
  const auto expectSame = [](const typename Fast::Element& a, const typename Slow::Element& b) {
    Limbs fast(Fast::kLimbs), slow(Fast::kLimbs);
    Fast::toPlain(fast.data(), a);
    Slow::toPlain(slow.data(), b);
    ASSERT_EQ(fast, slow);
    EXPECT_EQ(Fast::isZero(a), Slow::isZero(b));
  };
  for (size_t i = 0; i < numbers.size() * numbers.size(); ++i) {
    typename Fast::Element a, b, r;
    typename Slow::Element x, y, z;
    Fast::fromPlain(a, numbers[i / numbers.size()].data());
    Fast::fromPlain(b, numbers[i % numbers.size()].data());
    Slow::fromPlain(x, numbers[i / numbers.size()].data());
    Slow::fromPlain(y, numbers[i % numbers.size()].data());
    Fast::multiply(r, a, b);
    Slow::multiply(z, x, y);
    expectSame(r, z);
    Fast::square(a, a);
    Slow::square(x, x);
    expectSame(a, x);
    Fast::add(a, a, b);
    Slow::add(x, x, y);
    Fast::add(a, a, a);
    Slow::add(x, x, x);
    expectSame(a, x);
    Fast::subtract(r, r, a);
    Slow::subtract(z, z, x);
    expectSame(r, z);
    Fast::halve(a, a);
    Slow::halve(x, x);
    Fast::square(a, a);
    Slow::square(x, x);
    expectSame(a, x);
  }
}

#if defined(VELMORA_X86_64)
template <class Rows, const CurveParameters& kParameters>
void compareCurveFields() {
  SCOPED_TRACE(std::string(kParameters.name));
  compareFields<typename CurveConstants<kParameters, Rows>::Field,
                typename CurveConstants<kParameters, PortableRows>::Field>();
}

TEST(FieldsTest, ThoseOnMulAndAdcGiveWhatPlainOnesDo) {
  compareCurveFields<MulRows, kP256>();
  compareCurveFields<MulRows, kP384>();
  compareCurveFields<MulRows, kSecp256k1>();
  compareFields<FoldField<Edwards25519Numbers, 38, MulRows>,
                FoldField<Edwards25519Numbers, 38, PortableRows>>();
}

TEST(FieldsTest, FastOnesGiveWhatPlainOnesDo) {
  if (!arithmeticPathSupported(ArithmeticPath::kMulxAdx)) GTEST_SKIP() << "no BMI2 and ADX";
  compareCurveFields<MulxRows, kP256>();
  compareCurveFields<MulxRows, kP384>();
  compareCurveFields<MulxRows, kP521>();
  compareCurveFields<MulxRows, kSecp256k1>();
  compareCurveFields<MulxRows, kBrainpoolP384r1>();
  compareCurveFields<MulxRows, kBrainpoolP512r1>();
  compareFields<FoldField<Edwards25519Numbers, 38, MulxRows>,
                FoldField<Edwards25519Numbers, 38, PortableRows>>();
}

// Four products at once, and numbers of either sign carried, beside C++ alone.
template <const CurveParameters& kParameters, class Prime>
VELMORA_LANES void compareLanes() {
  using Slow = typename CurveConstants<kParameters, PortableRows>::Field;
  constexpr size_t n = Slow::kLimbs;
  typename Slow::Element x, y, square, product, difference, divisor;
  Slow::fromPlain(divisor, powerOfTwoMod(kLaneBits * Prime::kWords, Slow::kPrime).data());
  const auto expect = [&](const typename Prime::Number& number, int lane, const auto& expected) {
    Limb words[Prime::kWords], limbs[n + 1], plain[n + 1], p[n + 1] = {};
    for (size_t i = 0; i < Prime::kWords; ++i) {
      words[i] = static_cast<Limb>(number.w[i][lane]);
      ASSERT_EQ(words[i] >> kLaneBits, 0U);
    }
    joinWords(plain, n + 1, words, Prime::kWords, kLaneBits);
    copyLimbs(p, Slow::kPrime.data(), n);
    for (int i = 0; compareLimbs(plain, p, n + 1) >= 0; ++i) {
      ASSERT_LT(i, 4);
      subLimbs(plain, plain, p, n + 1);
    }
    typename Slow::Element whole;
    Slow::fromPlain(whole, plain);
    Slow::multiply(whole, whole, divisor);
    Slow::toPlain(limbs, whole);
    Slow::toPlain(plain, expected);
    ASSERT_EQ(compareLimbs(limbs, plain, n), 0);
  };
  const std::vector<Limbs> numbers = structuredNumbers<Slow>();
  const size_t count = numbers.size();
  for (size_t i = 0; i < count * count; ++i) {
    const Limbs& first = numbers[i / count];
    const Limbs& second = numbers[i % count];
    Limb a[Prime::kWords], b[Prime::kWords];
    splitWords(a, Prime::kWords, kLaneBits, first.data(), n);
    splitWords(b, Prime::kWords, kLaneBits, second.data(), n);
    const auto m = withNumber<10>(withNumber<5>(typename Prime::Number{}, a), b);  // a, b, a, b
    const auto products = Prime::multiply(m, permuted<0, 0, 1, 1>(m));  // a a, a b, a b, b b
    Slow::fromPlain(x, first.data());
    Slow::fromPlain(y, second.data());
    Slow::square(square, x);
    Slow::multiply(product, x, y);
    expect(withCarries(products), 0, square);
    expect(withCarries(products), 2, product);
    auto sum = minus<8>(products, permuted<0, 0, 0, 1>(products));  // b b - a b, times 1 to 8
    Slow::square(difference, y);
    Slow::subtract(difference, difference, product);
    expect(Prime::carried(sum), 3, difference);
    for (int doubling = 0; doubling < 3; ++doubling) {
      sum = plus(sum, sum);
      Slow::add(difference, difference, difference);
    }
    expect(Prime::carried(minus<8>(typename Prime::Number{}, sum)), 3, [&] {
      Slow::subtract(product, typename Slow::Element{}, difference);
      return product;
    }());
  }
}

TEST(FieldsTest, LanesGiveWhatPlainFieldsDo) {
  if (!arithmeticPathSupported(ArithmeticPath::kAvx512Ifma)) GTEST_SKIP() << "no AVX-512 IFMA";
  compareLanes<kP256, LanesP256>();
  compareLanes<kP384, LanesP384>();
}
#endif

TEST_P(CurvesTest, Multiples) {
  const auto check = [](const KeyValueRecord& record) {
    const Curve& curve = curveNamed(record.get("Curve"));
    const size_t n = curve.limbs();
    const Limbs u1 = fromHex(record.get("U1"), n);
    const Limbs u2 = fromHex(record.get("U2"), n);
    const CurvePoint q = readPoint(record.get("Q"), n);
    const CurvePoint expected = readPoint(record.get("Sum"), n);
    expectEqual(curve.doubleMultiply(u1.data(), u2.data(), q), expected, n);

    Limbs r(expected.x, expected.x + n);
    if (compareLimbs(r.data(), curve.order(), n) >= 0) {
      subLimbs(r.data(), r.data(), curve.order(), n);
    }
    const auto matches = [&] {
      return curve.doubleMultiplyHasX(u1.data(), u2.data(), q, r.data());
    };
    EXPECT_EQ(matches(), !expected.infinity);
    r[0] ^= 1;
    EXPECT_FALSE(matches());
  };
  test::forEachRecord(vectorFile("curve_multiples.txt"), check);
  test::forEachRecord(vectorFile("rfc7027.txt"), check);
}

TEST_P(CurvesTest, OrderAndBasePoint) {
  const CurveList list = curves(path());
  for (size_t i = 0; i < list.count; ++i) {
    const Curve& curve = *list.curves[i];
    SCOPED_TRACE(std::string(curve.parameters().name));
    EXPECT_EQ(findCurve(curve.parameters().oid.octets(), path()), &curve);
    const Limbs zero(curve.limbs());
    CurvePoint base = curve.basePoint();
    EXPECT_TRUE(curve.isOnCurve(base));
    EXPECT_TRUE(curve.doubleMultiply(curve.order(), zero.data(), base).infinity);
    EXPECT_TRUE(curve.doubleMultiply(zero.data(), curve.order(), base).infinity);
    base.y[0] ^= 1;
    EXPECT_FALSE(curve.isOnCurve(base));
  }
  constexpr KnownOid kArc{"1.2.840.10045.3.1"};
  EXPECT_EQ(findCurve(kArc.octets(), path()), nullptr);
}

TEST_P(CurvesTest, PointEncodings) {
  test::forEachRecord(vectorFile("curve_encodings.txt"), [](const KeyValueRecord& record) {
    const Curve& curve = curveNamed(record.get("Curve"));
    const std::vector<std::uint8_t> bytes = bytesFromHex(record.get("Encoded"));
    const std::string expected = record.get("Point");
    CurvePoint point;
    ASSERT_EQ(curve.decodePoint(point, bytes.data(), bytes.size()), expected != "invalid");
    if (expected == "invalid") return;
    expectEqual(point, readPoint(expected, curve.limbs()), curve.limbs());
  });
}

void checkEdwardsEncoding(const Edwards25519& curve, const KeyValueRecord& record) {
  const std::vector<std::uint8_t> bytes = bytesFromHex(record.get("Encoded"));
  const std::string expected = record.get("Point");
  EdwardsPoint point;
  ASSERT_EQ(curve.decode(point, bytes.data()), expected != "invalid");
  if (expected == "invalid") return;
  EdwardsPoint wanted;
  readPair(expected, wanted.x, wanted.y, 4);
  EXPECT_TRUE(std::equal(point.x, point.x + 4, wanted.x));
  EXPECT_TRUE(std::equal(point.y, point.y + 4, wanted.y));
  std::vector<std::uint8_t> encoded(32);
  Edwards25519::encode(encoded.data(), point);
  EXPECT_EQ(encoded, bytes);
  EXPECT_EQ(curve.hasSmallOrder(point), record.get("SmallOrder") == "yes");
}

void checkEdwardsMultiple(const Edwards25519& curve, const KeyValueRecord& record) {
  EdwardsPoint a, wanted;
  readPair(record.get("A"), a.x, a.y, 4);
  readPair(record.get("R"), wanted.x, wanted.y, 4);
  const EdwardsPoint r = curve.doubleMultiply(fromHex(record.get("S"), 4).data(),
                                              fromHex(record.get("K"), 4).data(), a);
  EXPECT_TRUE(std::equal(r.x, r.x + 4, wanted.x));
  EXPECT_TRUE(std::equal(r.y, r.y + 4, wanted.y));
}

void checkEdwardsScalar(const KeyValueRecord& record) {
  Limbs scalar(4);
  if (record.has("Wide")) {
    Edwards25519::scalarFromWideBytes(scalar.data(), bytesFromHex(record.get("Wide")).data());
    EXPECT_EQ(scalar, fromHex(record.get("Scalar"), 4));
  } else {
    EXPECT_EQ(
        Edwards25519::scalarFromBytes(scalar.data(), bytesFromHex(record.get("Bytes")).data()),
        record.get("Below") == "yes");
  }
}

TEST_P(CurvesTest, Edwards25519) {
  const class Edwards25519& curve = edwards25519(path());
  EXPECT_FALSE(curve.hasSmallOrder(curve.basePoint()));
  test::forEachRecord(vectorFile("edwards25519.txt"), [&](const KeyValueRecord& record) {
    if (record.has("Encoded")) {
      checkEdwardsEncoding(curve, record);
    } else if (record.has("S")) {
      checkEdwardsMultiple(curve, record);
    } else {
      checkEdwardsScalar(record);
    }
  });
}

}  // namespace
}  // namespace velmora::vartime

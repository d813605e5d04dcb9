#include "tests/support/bignum/bignum_test.h"
#include "velmora/support/bignum/curves/edwards25519.h"

// What is computed with prepared points and without them, on every path, beside C++ alone without.

namespace velmora::vartime {
namespace {

constexpr const PreparedPoint* kNone = nullptr;

class PreparedPointsTest : public EachPath {};
VELMORA_ON_EACH_PATH(PreparedPointsTest);

bool isSame(const CurvePoint& a, const CurvePoint& b, size_t limbs) {
  if (a.infinity || b.infinity) return a.infinity == b.infinity;
  return compareLimbs(a.x, b.x, limbs) == 0 && compareLimbs(a.y, b.y, limbs) == 0;
}

// Scalars at the ends of the group and beyond it, powers of two, whose digits in a comb are nearly
// all alike, and random ones.
std::vector<Limbs> scalarsFor(const Curve& curve, Numbers& numbers) {
  const size_t n = curve.limbs();
  const Limbs order(curve.order(), curve.order() + n);
  std::vector<Limbs> scalars = {Limbs(n), order, Limbs(n, ~Limb{0})};
  for (Limb small = 1; small <= 3; ++small) {
    Limbs low(n), high = order;
    low[0] = small;
    high[0] -= small;
    scalars.push_back(low);
    scalars.push_back(high);
  }
  for (const size_t bit : {size_t{64}, curve.parameters().bits - size_t{1}}) {
    scalars.emplace_back(n);
    scalars.back()[bit / kLimbBits] = Limb{1} << bit % kLimbBits;
  }
  for (int i = 0; i < 4; ++i) {
    scalars.push_back(numbers.limbs(n));
    scalars.back()[n - 1] &= order[n - 1] >> 1;
  }
  return scalars;
}

// The base point and its negative, with which sums meet equal and opposite points at their start;
// multiples of it by powers of two, which are in its comb; a random point; the multiple with which,
// for the scalars 2 and 1, the first and the third of four tables sum up to equal points; infinity.
std::vector<CurvePoint> pointsFor(const Curve& plain, Numbers& numbers) {
  const size_t n = plain.limbs();
  const Limbs zero(n);
  const CurvePoint base = plain.basePoint();
  std::vector<CurvePoint> points = {base, base};
  subLimbs(points[1].y, plain.prime(), base.y, n);
  for (const size_t bit : {1U, 8U, 32U, 48U, 68U}) {
    Limbs power(n);
    power[bit / kLimbBits] = Limb{1} << bit % kLimbBits;
    points.push_back(plain.doubleMultiply(power.data(), zero.data(), base));
  }
  points.push_back(plain.doubleMultiply(numbers.limbs(n).data(), zero.data(), base));
  const Limbs meeting =
      n == 4   ? fromHex("9281cc3565ab993e9cb4b854adc9a0eaefea5be8d4be15ecae0fa372c3590cd1")
      : n == 6 ? fromHex(
                     "ccc4bb740ed83e7d0207b793eda8660725aa24cd251377f5"
                     "92273e47677130ef7adf066c27572947c8d4b19efaa353ec")
               : Limbs(n, 1);
  points.push_back(plain.doubleMultiply(meeting.data(), zero.data(), base));
  points.emplace_back().infinity = true;
  return points;
}

void compareHasX(const Curve& curve, const Limb* u1, const Limb* u2, const CurvePoint& q,
                 const PreparedPoint* prepared, const CurvePoint& sum) {
  Limbs r(sum.x, sum.x + curve.limbs());
  if (compareLimbs(r.data(), curve.order(), r.size()) >= 0) return;
  EXPECT_EQ(curve.doubleMultiplyHasX(u1, u2, q, r.data(), prepared), !sum.infinity);
  r[0] ^= 1;
  EXPECT_FALSE(curve.doubleMultiplyHasX(u1, u2, q, r.data(), prepared));
}

TEST_P(PreparedPointsTest, GiveWhatPointsAloneDo) {
  for (const CurveParameters* parameters : {&kP256, &kP384, &kP521}) {
    SCOPED_TRACE(std::string(parameters->name));
    const Curve& curve = *findCurve(parameters->oid.octets(), path());
    const Curve& plain = *findCurve(parameters->oid.octets(), ArithmeticPath::kPortable);
    Numbers numbers;
    const std::vector<Limbs> scalars = scalarsFor(plain, numbers);
    const std::vector<CurvePoint> points = pointsFor(plain, numbers);
    for (size_t i = 0; i < points.size(); ++i) {
      const auto prepared = curve.prepare(points[i]);
      ASSERT_EQ(prepared == nullptr, points[i].infinity);
      for (size_t j = 0; j < scalars.size() * scalars.size(); j += i < 2 ? 1 : 3) {
        const Limb* const u1 = scalars[j / scalars.size()].data();
        const Limb* const u2 = scalars[j % scalars.size()].data();
        const CurvePoint wanted = plain.doubleMultiply(u1, u2, points[i]);
        for (const PreparedPoint* const ahead : {prepared.get(), kNone}) {
          ASSERT_TRUE(isSame(curve.doubleMultiply(u1, u2, points[i], ahead), wanted, curve.limbs()))
              << i << ' ' << j;
          if (j % 7 == 0) compareHasX(curve, u1, u2, points[i], ahead, wanted);
        }
      }
    }
  }
}

// Also of points that are of small order or have a part that is, whose multiples are not those by
// numbers modulo the order of the base point.
TEST_P(PreparedPointsTest, GiveWhatPointsOfEdwards25519Do) {
  const Edwards25519& curve = edwards25519(path());
  const Edwards25519& plain = edwards25519(ArithmeticPath::kPortable);
  Numbers numbers;
  const Limbs order = {0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0, 0x1000000000000000};
  std::vector<Limbs> scalars = {Limbs(4), {1, 0, 0, 0}, {2, 0, 0, 0}, {8, 0, 0, 0}, order};
  scalars.push_back({order[0] - 1, order[1], 0, order[3]});
  scalars.emplace_back(4, ~Limb{0});
  scalars.push_back({~Limb{1}, ~Limb{0}, ~Limb{0}, ~Limb{0}});
  for (int i = 0; i < 6; ++i) scalars.push_back(numbers.limbs(4));
  std::vector<EdwardsPoint> points = {plain.basePoint(), {{0}, {1}}};
  const std::vector<std::uint8_t> orderEight =
      bytesFromHex("c7176a703d4dd84fba3c0b760d10670f2a2053fa2c39ccc64ec7fd7792ac037a");
  EdwardsPoint small;
  ASSERT_TRUE(plain.decode(small, orderEight.data()));
  for (unsigned multiple = 1; multiple < 8; ++multiple) {
    const Limbs k = {multiple, 0, 0, 0};
    const Limbs& s = scalars[multiple % 2 == 0 ? 0 : scalars.size() - multiple];
    points.push_back(plain.doubleMultiply(s.data(), k.data(), small));
  }
  for (const EdwardsPoint& a : points) {
    const auto prepared = curve.prepare(a);
    ASSERT_NE(prepared, nullptr);
    for (const Limbs& s : scalars) {
      for (const Limbs& k : scalars) {
        const EdwardsPoint wanted = plain.doubleMultiply(s.data(), k.data(), a);
        for (const PreparedPoint* const ahead : {prepared.get(), kNone}) {
          const EdwardsPoint r = curve.doubleMultiply(s.data(), k.data(), a, ahead);
          ASSERT_TRUE(std::equal(r.x, r.x + 4, wanted.x) && std::equal(r.y, r.y + 4, wanted.y));
        }
      }
    }
  }
}

TEST_P(PreparedPointsTest, AreMadeWhereTheyPay) {
  const CurveList list = curves(path());
  for (size_t i = 0; i < list.count; ++i) {
    const Curve& curve = *list.curves[i];
    const std::string_view name = curve.parameters().name;
    const bool pays = name == "P-256" || name == "P-384" || name == "P-521";
    EXPECT_EQ(curve.prepare(curve.basePoint()) != nullptr, pays) << name;
  }
}

}  // namespace
}  // namespace velmora::vartime

#include "tests/support/bignum/bignum_test.h"
#include "velmora/support/bignum/curves/edwards25519.h"

// What is computed with prepared points, on every path, beside C++ alone without them.

namespace velmora::vartime {
namespace {

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
// multiples of it by powers of two, which are in its comb; and a random point.
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
  return points;
}

TEST_P(PreparedPointsTest, GiveWhatPointsAloneDo) {
  for (const CurveParameters* parameters : {&kP256, &kP384, &kP521}) {
    SCOPED_TRACE(std::string(parameters->name));
    const Curve& curve = *findCurve(parameters->oid.octets(), path());
    const Curve& plain = *findCurve(parameters->oid.octets(), ArithmeticPath::kPortable);
    Numbers numbers;
    const std::vector<Limbs> scalars = scalarsFor(plain, numbers);
    for (const CurvePoint& q : pointsFor(plain, numbers)) {
      const auto prepared = curve.prepare(q);
      ASSERT_NE(prepared, nullptr);
      for (const Limbs& u1 : scalars) {
        for (const Limbs& u2 : scalars) {
          const CurvePoint wanted = plain.doubleMultiply(u1.data(), u2.data(), q);
          ASSERT_TRUE(isSame(curve.doubleMultiply(u1.data(), u2.data(), q, prepared.get()), wanted,
                             curve.limbs()))
              << &u1 - scalars.data() << ' ' << &u2 - scalars.data();
          Limbs r(wanted.x, wanted.x + curve.limbs());
          if (compareLimbs(r.data(), curve.order(), r.size()) >= 0) continue;
          const auto hasX = [&] {
            return curve.doubleMultiplyHasX(u1.data(), u2.data(), q, r.data(), prepared.get());
          };
          EXPECT_EQ(hasX(), !wanted.infinity);
          r[0] ^= 1;
          EXPECT_FALSE(hasX());
        }
      }
    }
  }
}

TEST_P(PreparedPointsTest, AreMadeWhereTheyPay) {
  CurvePoint infinity{};
  infinity.infinity = true;
  const CurveList list = curves(path());
  for (size_t i = 0; i < list.count; ++i) {
    const Curve& curve = *list.curves[i];
    const std::string_view name = curve.parameters().name;
    const bool pays = name == "P-256" || name == "P-384" || name == "P-521";
    EXPECT_EQ(curve.prepare(curve.basePoint()) != nullptr, pays) << name;
    EXPECT_EQ(curve.prepare(infinity), nullptr);
  }
}

}  // namespace
}  // namespace velmora::vartime

#include <array>
#include <map>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"

// Every arithmetic path gives what C++ alone does, with prepared points and without; and that obeys
// the law of the group: u G + v (w G) is (u + v w) G. An input is one operation on one path, with
// numbers that are short more often than not, so that hundreds are tried a second.

namespace {

using namespace velmora::vartime;
using velmora::fuzz::require;
using Limbs = std::vector<Limb>;
constexpr ArithmeticPath kPlain = ArithmeticPath::kPortable;

struct Input {
  const uint8_t* at;
  const uint8_t* end;

  // Behind the end there are zeros.
  Limb octets(int count) {
    Limb r = 0;
    while (count-- != 0) r = r << 8 | (at == end ? 0 : *at++);
    return r;
  }
  // Close to 0, to the bound, or to what its limbs, those of powers of two, ones and any make up,
  // of which mostly one is used: in such numbers carries run far, and combs meet equal points.
  Limbs number(size_t n, const Limb* bound) {
    Limbs r(n), offset(n);
    const Limb form = octets(1) % 8;
    const size_t used = form == 1 || form == 7 ? n : 1;
    for (size_t i = 0; i < used; ++i) {
      const Limb choice = form < 2 ? form : octets(1) % 6;
      const Limb simple[] = {0, bound[i], ~Limb{0}, i == 0 ? 0 : r[i - 1], Limb{1} << i * 5 % 64};
      r[i] = choice < 5 ? simple[choice] : octets(8);
    }
    offset[0] = octets(1);
    (offset[0] % 2 == 0 ? addLimbs : subLimbs)(r.data(), r.data(), offset.data(), n);
    return r;
  }
  ArithmeticPath path() {
    size_t count = 0;
    for (const ArithmeticPath path : kArithmeticPaths) count += arithmeticPathSupported(path);
    return kArithmeticPaths[octets(1) % count];
  }
};

// What a path prepared of a point, kept from input to input because it takes long.
template <class Prepare>
const PreparedPoint* kept(size_t curve, ArithmeticPath path, size_t point, const Prepare& prepare) {
  using Key = std::array<size_t, 3>;
  static std::map<Key, std::unique_ptr<const PreparedPoint>> all;
  auto& entry = all[Key{curve, static_cast<size_t>(path), point}];
  if (entry == nullptr) entry = prepare();
  return entry.get();
}

// With w times the base point, for one of a few w, or with the point with any x.
struct FuzzedPoint {
  size_t number;  // in kMultiples, or any
  Limb w;
  CurvePoint q;
};
constexpr Limb kMultiples[] = {1, 2, 3, 0x123456789abcdef};
constexpr size_t kAny = std::size(kMultiples);

bool readPoint(FuzzedPoint& point, const Curve& plain, Input& input) {
  const size_t n = plain.limbs();
  point.number = input.octets(1) % (kAny + 1);
  if (point.number != kAny) {
    Limbs w(n), zero(n);
    point.w = w[0] = kMultiples[point.number];
    point.q = plain.doubleMultiply(w.data(), zero.data(), plain.basePoint());
    return true;
  }
  const Limbs x = input.number(n, plain.prime());
  std::vector<uint8_t> encoded(1 + plain.coordinateBytes(), 2);
  limbsToBigEndian(encoded.data() + 1, encoded.size() - 1, x.data(), n);
  return plain.decodePoint(point.q, encoded.data(), encoded.size());
}

void checkCurve(size_t number, Input input) {
  const Curve& plain = *curves(kPlain).curves[number];
  const ArithmeticPath path = input.path();
  const Curve& curve = *curves(path).curves[number];
  const size_t n = plain.limbs();
  FuzzedPoint point;
  if (!readPoint(point, plain, input)) return;
  const PreparedPoint* ahead = nullptr;
  if (point.number != kAny && input.octets(1) % 2 == 0) {
    ahead = kept(number, path, point.number, [&] { return curve.prepare(point.q); });
  }
  const auto isSame = [n](const CurvePoint& a, const CurvePoint& b) {
    if (a.infinity || b.infinity) return a.infinity == b.infinity;
    return compareLimbs(a.x, b.x, n) == 0 && compareLimbs(a.y, b.y, n) == 0;
  };
  const Limbs u = input.number(n, plain.order()), v = input.number(n, plain.order());
  const CurvePoint sum = plain.doubleMultiply(u.data(), v.data(), point.q);
  const Limb what = input.octets(1) % 4;
  Divisor order(kPlain);
  order.assign(plain.order(), n);
  if (what == 0) {
    require(isSame(curve.doubleMultiply(u.data(), v.data(), point.q, ahead), sum), "the same sum");
  } else if (what < 3) {
    Limbs x(n);
    if (!sum.infinity) order.reduce(x.data(), sum.x, n);
    x[0] ^= what - 1;
    const bool hasX = curve.doubleMultiplyHasX(u.data(), v.data(), point.q, x.data(), ahead);
    require(hasX == (what == 1 && !sum.infinity), "the x of the sum, and no other");
  } else if (point.number != kAny) {
    Limbs w(n), zero(n), total(n + 1);
    w[0] = point.w;
    order.multiply(total.data(), v.data(), w.data());
    total[n] = addLimbs(total.data(), total.data(), u.data(), n);
    order.reduce(total.data(), total.data(), n + 1);
    const CurvePoint law = curve.doubleMultiply(total.data(), zero.data(), point.q);
    require(isSame(law, sum), "the law of the group");
  }
}

// With the point with any y, which has a component of small order or not; prepared for some.
void checkEdwards25519(Input input) {
  constexpr Limb kPrime[] = {~Limb{18}, ~Limb{0}, ~Limb{0}, ~Limb{0} >> 1};
  constexpr Limb kOrder[] = {0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0, Limb{1} << 60};
  const ArithmeticPath path = input.path();
  const Edwards25519& curve = edwards25519(path);
  const Limbs y = input.number(4, kPrime);
  uint8_t encoded[32];
  for (size_t i = 0; i < 32; ++i) encoded[i] = static_cast<uint8_t>(y[i / 8] >> i % 8 * 8);
  EdwardsPoint a;
  if (!edwards25519(kPlain).decode(a, encoded)) return;
  const PreparedPoint* ahead = nullptr;
  if (y[0] < 16 && isZero(y.data() + 1, 3) && input.octets(1) % 2 == 0) {
    ahead = kept(curves(kPlain).count, path, y[0], [&] { return curve.prepare(a); });
  }
  const Limbs s = input.number(4, kOrder), k = input.number(4, kOrder);
  const EdwardsPoint sum = edwards25519(kPlain).doubleMultiply(s.data(), k.data(), a);
  const EdwardsPoint r = curve.doubleMultiply(s.data(), k.data(), a, ahead);
  require(compareLimbs(r.x, sum.x, 4) == 0, "the same x");
  require(compareLimbs(r.y, sum.y, 4) == 0, "the same y");
}

// Powers modulo any odd number, as RSA and DSA need them, of lengths on both sides of where kernels
// change.
void checkPowers(Input input) {
  constexpr size_t kLengths[] = {4, 8, 9, 16, 19, 20, 24, 25, 26, 32, 33, 40, 52, 64, 65, 66, 129};
  const ArithmeticPath path = input.path();
  const size_t n = kLengths[input.octets(1) % std::size(kLengths)];
  const bool isPair = input.octets(1) % 4 == 0;
  Limbs m = input.number(n, Limbs(n, ~Limb{0}).data());
  m[0] |= 1;
  m[n - 1] |= Limb{1} << input.octets(1) % 64;
  Limbs x = input.number(n, m.data()), y = input.number(n, m.data());
  const Limb e = input.octets(n > 40 ? 1 : 2), f = input.octets(1);
  const auto compute = [&](ArithmeticPath on, Limb* r) {
    MontgomeryModulus modulus(on);
    Divisor divisor(on);
    require(modulus.assign(m.data(), n) && divisor.assign(m.data(), n), "a modulus");
    Limbs a(n), b(n);
    divisor.reduce(a.data(), x.data(), n);
    divisor.reduce(b.data(), y.data(), n);
    divisor.multiply(r, a.data(), b.data());
    if (isPair) {
      modulus.doublePower(r + n, a.data(), &e, b.data(), &f, 1);
    } else {
      modulus.power(r + n, a.data(), e);
    }
  };
  Limbs expected(2 * n), r(2 * n);
  compute(kPlain, expected.data());
  compute(path, r.data());
  require(r == expected, "the same product and powers");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input{data, data + size};
  const size_t count = curves(kPlain).count, what = input.octets(1) % (count + 4);
  if (what < count) checkCurve(what, input);
  if (what == count) checkEdwards25519(input);
  if (what > count) checkPowers(input);
  return 0;
}

#include <memory>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/edwards25519.h"

// Every arithmetic path gives what C++ alone does, with prepared points and without; and that obeys
// the law of the group: u G + v (w G) is (u + v w) G.

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
  // Close to 0, to the bound, or to what its limbs, those of powers of two, ones and any make up:
  // in such numbers carries run far, and combs meet equal points.
  Limbs number(size_t n, const Limb* bound) {
    Limbs r(n), offset(n);
    const Limb form = octets(1) % 4;
    for (size_t i = 0; i < n; ++i) {
      const Limb choice = form < 2 ? form : octets(1) % 6;
      const Limb simple[] = {0, bound[i], ~Limb{0}, i == 0 ? 0 : r[i - 1], Limb{1} << i * 5 % 64};
      r[i] = choice < 5 ? simple[choice] : octets(8);
    }
    offset[0] = octets(1);
    (offset[0] % 2 == 0 ? addLimbs : subLimbs)(r.data(), r.data(), offset.data(), n);
    return r;
  }
};

template <class Check>
void onEachPath(const Check& check) {
  for (const ArithmeticPath path : kArithmeticPaths) {
    if (arithmeticPathSupported(path)) check(path);
  }
}

// With a multiple of the base point, or the point with any x.
void checkCurve(size_t number, Input input) {
  const Curve& plain = *curves(kPlain).curves[number];
  const size_t n = plain.limbs();
  const bool isAnyX = input.octets(1) % 4 == 0;
  const Limbs w = input.number(n, isAnyX ? plain.prime() : plain.order()), zero(n);
  std::vector<uint8_t> encoded(1 + plain.coordinateBytes(), 2);
  limbsToBigEndian(encoded.data() + 1, encoded.size() - 1, w.data(), n);
  CurvePoint q = plain.doubleMultiply(w.data(), zero.data(), plain.basePoint());
  if (isAnyX && !plain.decodePoint(q, encoded.data(), encoded.size())) return;
  Divisor order(kPlain);
  order.assign(plain.order(), n);
  const auto isSame = [n](const CurvePoint& a, const CurvePoint& b) {
    if (a.infinity || b.infinity) return a.infinity == b.infinity;
    return compareLimbs(a.x, b.x, n) == 0 && compareLimbs(a.y, b.y, n) == 0;
  };
  onEachPath([&](ArithmeticPath path) {
    const Curve& curve = *curves(path).curves[number];
    const std::unique_ptr<const PreparedPoint> prepared = curve.prepare(q);
    for (Input pairs = input; pairs.at != pairs.end;) {
      const Limbs u = pairs.number(n, plain.order()), v = pairs.number(n, plain.order());
      const CurvePoint sum = plain.doubleMultiply(u.data(), v.data(), q);
      Limbs x(n), total(n + 1);
      if (!sum.infinity) order.reduce(x.data(), sum.x, n);
      order.multiply(total.data(), v.data(), w.data());
      total[n] = addLimbs(total.data(), total.data(), u.data(), n);
      order.reduce(total.data(), total.data(), n + 1);
      const CurvePoint law = curve.doubleMultiply(total.data(), zero.data(), q);
      require(isAnyX || isSame(law, sum), "the law of the group");
      for (const auto* const ahead : {prepared.get(), decltype(prepared.get())()}) {
        const CurvePoint other = curve.doubleMultiply(u.data(), v.data(), q, ahead);
        require(isSame(other, sum), "the same sum");
        for (const bool isX : {!sum.infinity, false}) {
          const bool hasX = curve.doubleMultiplyHasX(u.data(), v.data(), q, x.data(), ahead);
          require(hasX == isX, "the x of the sum, and no other");
          x[0] ^= 1;
        }
      }
    }
  });
}

// With the point with any y, which has a component of small order or not.
void checkEdwards25519(Input input) {
  constexpr Limb kPrime[] = {~Limb{18}, ~Limb{0}, ~Limb{0}, ~Limb{0} >> 1};
  constexpr Limb kOrder[] = {0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0, Limb{1} << 60};
  const Limbs y = input.number(4, kPrime);
  uint8_t encoded[32];
  for (size_t i = 0; i < 32; ++i) encoded[i] = static_cast<uint8_t>(y[i / 8] >> i % 8 * 8);
  EdwardsPoint a;
  if (!edwards25519(kPlain).decode(a, encoded)) return;
  onEachPath([&](ArithmeticPath path) {
    const std::unique_ptr<const PreparedPoint> prepared = edwards25519(path).prepare(a);
    for (Input pairs = input; pairs.at != pairs.end;) {
      const Limbs s = pairs.number(4, kOrder), k = pairs.number(4, kOrder);
      const EdwardsPoint sum = edwards25519(kPlain).doubleMultiply(s.data(), k.data(), a);
      for (const auto* const ahead : {prepared.get(), decltype(prepared.get())()}) {
        const EdwardsPoint r = edwards25519(path).doubleMultiply(s.data(), k.data(), a, ahead);
        require(compareLimbs(r.x, sum.x, 4) == 0, "the same x");
        require(compareLimbs(r.y, sum.y, 4) == 0, "the same y");
      }
    }
  });
}

// Powers modulo any odd number, as RSA and DSA need them.
void checkPowers(Input input) {
  const size_t n = 4 + input.octets(1) % 68;
  Limbs m = input.number(n, Limbs(n, ~Limb{0}).data());
  m[0] |= 1;
  Divisor plain(kPlain);
  if (!MontgomeryModulus(kPlain).assign(m.data(), n) || !plain.assign(m.data(), n)) return;
  Limbs x = input.number(n, m.data()), y = input.number(n, m.data());
  plain.reduce(x.data(), x.data(), n);
  plain.reduce(y.data(), y.data(), n);
  const Limbs e = input.number(4, m.data()), f = input.number(4, m.data());
  Limbs expected, r(3 * n);
  onEachPath([&](ArithmeticPath path) {
    MontgomeryModulus modulus(path);
    Divisor divisor(path);
    require(modulus.assign(m.data(), n) && divisor.assign(m.data(), n), "a modulus");
    modulus.power(r.data(), x.data(), e[0]);
    modulus.doublePower(r.data() + n, x.data(), e.data(), y.data(), f.data(), 4);
    divisor.multiply(r.data() + 2 * n, x.data(), y.data());
    if (path == kPlain) expected = r;
    require(r == expected, "the same powers and product");
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input{data, data + (size < 400 ? size : 400)};
  const size_t count = curves(kPlain).count, what = input.octets(1) % (count + 2);
  if (what < count) checkCurve(what, input);
  if (what == count) checkEdwards25519(input);
  if (what > count) checkPowers(input);
  return 0;
}

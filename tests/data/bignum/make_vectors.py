#!/usr/bin/env python3
"""Writes the vectors beside this script: results of Python's integers for the arithmetic tests.

Each file is a list of records, `Key = Value` lines separated by empty lines; numbers are hexadecimal.
The curves are read from the program's own table and are checked here on the way: primes, base points
on their curves, and orders.
"""
import pathlib
import random
import re

HERE = pathlib.Path(__file__).resolve().parent
CURVE_TABLE = HERE.parents[2] / "velmora/support/bignum/curves/curve_data.h"
random.seed(25519)


def write(name, records):
    lines = ["# Made by make_vectors.py.", ""]
    for record in records:
        for key, value in record.items():
            lines.append(f"{key} = {value:x}" if isinstance(value, int) else f"{key} = {value}")
        lines.append("")
    (HERE / name).write_text("\n".join(lines))


def is_probable_prime(n):
    odd, twos = n - 1, 0
    while odd % 2 == 0:
        odd, twos = odd // 2, twos + 1
    for _ in range(40):
        x = pow(random.randrange(2, n - 1), odd, n)
        if x in (1, n - 1):
            continue
        for _ in range(twos - 1):
            x = x * x % n
            if x == n - 1:
                break
        else:
            return False
    return True


def square_root(a, p):
    """A root modulo a prime, or None (Cipolla's way, so not the one under test)."""
    a %= p
    if a == 0:
        return 0
    if pow(a, (p - 1) // 2, p) != 1:
        return None
    t = next(t for t in range(p) if pow(t * t - a, (p - 1) // 2, p) == p - 1)
    w = (t * t - a) % p
    result, base, exponent = (1, 0), (t, 1), (p + 1) // 2
    times = lambda x, y: ((x[0] * y[0] + x[1] * y[1] * w) % p, (x[0] * y[1] + x[1] * y[0]) % p)
    while exponent:
        if exponent & 1:
            result = times(result, base)
        base, exponent = times(base, base), exponent >> 1
    return result[0]


class Curve:
    """y^2 = x^3 + a x + b in affine coordinates; None is infinity."""

    def __init__(self, name, p, a, b, x, y, n):
        self.name, self.p, self.a, self.b, self.g, self.n = name, p, a, b, (x, y), n
        self.bytes = (p.bit_length() + 7) // 8
        assert is_probable_prime(p) and is_probable_prime(n)
        assert self.right_side(x) == y * y % p and self.multiply(n, self.g) is None

    def right_side(self, x):
        return (x**3 + self.a * x + self.b) % self.p

    def negate(self, point):
        return point and (point[0], -point[1] % self.p)

    def add(self, s, t):
        if s is None or t is None:
            return s or t
        if s == self.negate(t):
            return None
        if s == t:
            slope = (3 * s[0] ** 2 + self.a) * pow(2 * s[1], -1, self.p)
        else:
            slope = (t[1] - s[1]) * pow(t[0] - s[0], -1, self.p)
        x = (slope**2 - s[0] - t[0]) % self.p
        return x, (slope * (s[0] - x) - s[1]) % self.p

    def multiply(self, k, point):
        result = None
        while k:
            if k & 1:
                result = self.add(result, point)
            point, k = self.add(point, point), k >> 1
        return result


def read_curves():
    curves = []
    for body in re.findall(r"CurveParameters k\w+\{(.*?)\};", CURVE_TABLE.read_text(), re.S):
        fields = ["".join(re.findall(r'"([^"]*)"', field)) for field in body.split(",\n")]
        curves.append(Curve(fields[0], *(int(field, 16) for field in fields[3:9])))
    return curves


def edge_numbers(m, bits):
    return [0, 1, 2, m - 1, m // 2, (2**64 - 1) % m, (2 ** (bits // 2) - 1) % m, (2 ** (bits - 1)) % m]


def odd_modulus(bits):
    return random.getrandbits(bits) | 1 << (bits - 1) | 1


def division_records():
    for bits in (1, 64, 65, 128, 192, 256, 521, 1024):
        divisors = [random.getrandbits(bits) | 1 << (bits - 1), 2**bits - 1, 2 ** (bits - 1)]
        for divisor in divisors:
            for wide in (0, divisor - 1, divisor, divisor * divisor - 1,
                         (divisor << 64) - 1, random.getrandbits(2 * bits + 30)):
                if bits < 256 or wide > divisor:
                    yield {"Wide": wide, "Divisor": divisor, "Remainder": wide % divisor}
    # Quotient limbs that the estimate gets wrong by one or meets at its limit.
    d = (2**63 << 128) | (2**64 - 1)
    for wide in ((d << 64) - 1, (2**63 << 192), (d * (2**64 - 1)) + d - 1, ((2**63 << 64) << 128) - 1):
        yield {"Wide": wide, "Divisor": d, "Remainder": wide % d}


def inverse_records():
    def record(a, m):
        try:
            return {"Modulus": m, "A": a, "Inverse": pow(a, -1, m)}
        except ValueError:
            return {"Modulus": m, "A": a, "Inverse": "none"}

    for m in (3, 9, 2**64 - 1, 2**62 - 1, 2**128 - 1, 2**160 - 47, odd_modulus(224), 2**256 - 1, odd_modulus(320),
              3 * odd_modulus(382), 2**521 - 1, 2**576 - 1, odd_modulus(576)):
        bits = m.bit_length()
        for a in sorted(set(edge_numbers(m, bits) + [random.randrange(m) for _ in range(4)])):
            if a < m:
                yield record(a, m)


def power_records():
    sizes = (2, 63, 64, 65, 500, 512, 1000, 1024, 1536, 2047, 2048, 3072, 4096, 5000)
    for bits in sizes:
        for m in (odd_modulus(bits), 2**bits - 1) if bits < 4096 else (odd_modulus(bits),):
            exponents = [0, 1, 2, 3, 65537, 2**64 - 1, random.getrandbits(63)] if bits < 100 else [65537]
            bases = [random.randrange(m)] + ([0, 1, m - 1] if bits < 600 else [m - 1])
            for exponent in exponents:
                for base in bases:
                    yield {"Modulus": m, "Base": base, "Exponent": exponent,
                           "Result": pow(base, exponent, m)}


def double_power_records():
    for bits in (65, 512, 1024):
        m = odd_modulus(bits)
        for e, f in ((0, 0), (1, 0), (0, 1), (2**256 - 1, 1), (2**255, 2**255), (31, 33),
                     (random.getrandbits(256), random.getrandbits(256))):
            x, y = random.randrange(m), random.randrange(m)
            yield {"Modulus": m, "X": x, "E": e, "Y": y, "F": f,
                   "Result": pow(x, e, m) * pow(y, f, m) % m}


def field_records(primes):
    for name, p in primes:
        numbers = [0, 1, p - 1, p // 2, (1 << (p.bit_length() - 1)) - 1, random.randrange(p), random.randrange(p)]
        pairs = [(a, random.choice(numbers)) for a in numbers] + [(p - 1, p - 1), (p - 1, 1), (0, p - 1)]
        for a, b in pairs:
            yield {"Field": name, "A": a, "B": b, "Product": a * b % p, "Square": a * a % p,
                   "Sum": (a + b) % p, "Difference": (a - b) % p,
                   "Half": a * pow(2, -1, p) % p, "Inverse": pow(a, -1, p) if a else 0,
                   "HasRoot": "no" if square_root(a, p) is None else "yes"}


def point_text(point):
    return "infinity" if point is None else f"{point[0]:x} {point[1]:x}"


def multiple_records(curves):
    for c in curves:
        n = c.n
        k = random.randrange(n)
        q = c.multiply(random.randrange(n), c.g)
        cases = [(0, 0, q), (1, 0, q), (0, 1, q), (1, 1, c.g), (1, 1, c.negate(c.g)), (n - 1, 1, c.g),
                 (n, 2, q), (n + 1 if (n + 1) >> 64 * -(-n.bit_length() // 64) == 0 else 2, n, q),
                 (2, n - 1, c.g), (k, k, c.negate(c.g)), (k, n - k, c.g), (3, 5, None),
                 (random.randrange(n), random.randrange(n), q)]
        for u1, u2, point in cases:
            total = c.add(c.multiply(u1, c.g), c.multiply(u2, point))
            yield {"Curve": c.name, "U1": u1, "U2": u2, "Q": point_text(point),
                   "Sum": point_text(total)}
        # A point whose x is small in Montgomery's form: numbers below 2 p leave it as p and a little more.
        x = unit = pow(2, -64 * -(-c.p.bit_length() // 64), c.p)
        while square_root(c.right_side(x), c.p) is None:
            x = (x + unit) % c.p
        small = point_text((x, square_root(c.right_side(x), c.p)))
        yield {"Curve": c.name, "U1": 0, "U2": 1, "Q": small, "Sum": small}
        # A point whose x is not below the order: only r = x - n matches it.
        if n < c.p:
            x = n
            while square_root(c.right_side(x), c.p) is None:
                x += 1
            if x < c.p:
                point = (x, square_root(c.right_side(x), c.p))
                yield {"Curve": c.name, "U1": 0, "U2": 1, "Q": point_text(point),
                       "Sum": point_text(point)}


def encoding_records(curves):
    for c in curves:
        size = 2 * c.bytes

        def record(text, point):
            return {"Curve": c.name, "Encoded": text, "Point": point_text(point) if point else "invalid"}

        for _ in range(2):
            x, y = c.multiply(random.randrange(1, c.n), c.g)
            for point in ((x, y), (x, c.p - y)):
                yield record(f"{2 + point[1] % 2:02x}{x:0{size}x}", point)
        yield record(f"04{x:0{size}x}{y:0{size}x}", (x, y))
        yield record(f"04{x:0{size}x}{(y + 1) % c.p:0{size}x}", None)
        yield record(f"06{x:0{size}x}{y:0{size}x}", None)
        yield record(f"04{x:0{size}x}{y:0{size}x}00", None)
        yield record(f"04{x:0{size}x}", None)
        yield record(f"02{c.p:0{size}x}", None)
        yield record("00", None)
        x = next(x for x in range(c.p) if square_root(c.right_side(x), c.p) is None)
        yield record(f"02{x:0{size}x}", None)


class Edwards:
    p = 2**255 - 19
    d = -121665 * pow(121666, -1, p) % p
    order = 2**252 + 27742317777372353535851937790883648493

    def x_for(self, y):
        return square_root((y * y - 1) * pow(self.d * y * y + 1, -1, self.p), self.p)

    def add(self, s, t):
        p, product = self.p, self.d * s[0] * t[0] * s[1] * t[1]
        return ((s[0] * t[1] + s[1] * t[0]) * pow(1 + product, -1, p) % p,
                (s[1] * t[1] + s[0] * t[0]) * pow(1 - product, -1, p) % p)

    def multiply(self, k, point):
        result = (0, 1)
        while k:
            if k & 1:
                result = self.add(result, point)
            point, k = self.add(point, point), k >> 1
        return result


def little_endian(value, size=32):
    return value.to_bytes(size, "little").hex()


def edwards_records():
    e = Edwards()
    y = 4 * pow(5, -1, e.p) % e.p
    x = e.x_for(y)
    base = (x if x % 2 == 0 else e.p - x, y)
    assert e.multiply(e.order, base) == (0, 1)
    torsion, y = None, 2
    while torsion is None:  # a point of order 8
        x = e.x_for(y)
        if x is not None:
            point = e.multiply(e.order, (x, y))
            torsion = point if e.multiply(4, point) != (0, 1) else None
        y += 1
    small = [e.multiply(i, torsion) for i in range(8)]
    others = [base, e.multiply(random.randrange(e.order), base), e.add(base, torsion)]
    for point in small + others:
        yield {"Encoded": little_endian(point[1] | (point[0] & 1) << 255),
               "Point": point_text(point), "SmallOrder": "yes" if point in small else "no"}
    no_root = next(y for y in range(2, 100) if e.x_for(y) is None)
    for value in (e.p, e.p + 1, 2**255 - 1, no_root, 1 | 1 << 255, (e.p - 1) | 1 << 255, e.p | 1 << 255):
        yield {"Encoded": little_endian(value), "Point": "invalid"}
    a = others[1]
    order = e.order
    for s, k, point in ((0, 0, a), (1, 0, a), (0, 1, a), (1, 1, base), (5, 5, base), (order - 1, 1, base),
                        (order - 1, order - 1, a), (7, 9, small[1]), (2**256 - 1, 2**256 - 1, a),
                        (random.randrange(order), random.randrange(order), a)):
        minus = (-point[0] % e.p, point[1])
        total = e.add(e.multiply(s, base), e.multiply(k, minus))
        yield {"S": s, "K": k, "A": point_text(point), "R": point_text(total)}
    for wide in (0, 1, order - 1, order, order + 1, order * order - 1, 2**512 - 1, random.getrandbits(512)):
        yield {"Wide": little_endian(wide, 64), "Scalar": wide % order}
    for scalar in (0, order - 1, order, order + 1, 2**256 - 1):
        yield {"Bytes": little_endian(scalar), "Below": "yes" if scalar < order else "no"}


def main():
    curves = read_curves()
    primes = [(c.name, c.p) for c in curves] + [("edwards25519", Edwards.p)]
    write("division.txt", division_records())
    write("inverse.txt", inverse_records())
    write("power.txt", power_records())
    write("double_power.txt", double_power_records())
    write("fields.txt", field_records(primes))
    write("curve_multiples.txt", multiple_records(curves))
    write("curve_encodings.txt", encoding_records(curves))
    write("edwards25519.txt", edwards_records())


if __name__ == "__main__":
    main()

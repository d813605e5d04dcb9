#!/usr/bin/env python3
"""Makes keys.txt, the vectors of the loading of public keys, in the current folder. Good keys come
from the openssl command line, the others are put together here. New keys are made in every run."""

import hashlib

from key_material import *

KEYS = Records("keys.txt")


def good_key(case, der, kind, bits, curve="", id_of=None):
    octets_of_id = id_of if id_of is not None else key_bits(der)
    last = int.from_bytes(hashlib.sha1(octets_of_id).digest()[-8:], "big")
    key_id = (4 << 60) | (last & ((1 << 60) - 1))
    KEYS.add(Case=case, Der=der, Type=kind, Bits=str(bits), Curve=curve, KeyId=f"{key_id:016X}")


def bad_key(case, der, reason, **more):
    KEYS.add(Case=case, Der=der, Refused=reason, **more)


def rsa_public(n, e):
    return sequence(integer(n), integer(e))


def rsa_key_cases():
    info = new_key("rsa", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048")
    pkcs1 = key_bits(info)
    good_key("RSA", info, "RSA", 2048)
    good_key("RSA, PKCS #1", pkcs1, "RSA", 2048, id_of=pkcs1)
    good_key("RSA without parameters", key_info(OID_RSA, b"", pkcs1), "RSA", 2048)
    good_key("RSASSA-PSS", key_info(OID_PSS, b"", pkcs1), "RSA", 2048)
    good_key("RSASSA-PSS with parameters", key_info(OID_PSS, sequence(), pkcs1), "RSA", 2048)
    n = integers(pkcs1)[0]
    for case, modulus, exponent in (
            ("modulus of 512 bits", 2**511 + 1, 3), ("modulus of 16384 bits", 2**16384 - 1, 3),
            ("exponent 3", n, 3), ("exponent of 64 bits", n, 2**64 - 1)):
        der = rsa_public(modulus, exponent)
        good_key("RSA " + case, der, "RSA", modulus.bit_length(), id_of=der)
    two_integers = "The RSA key is not the DER of two positive integers."
    for case, der, reason in (
            ("modulus of 511 bits", rsa_public(2**511 - 1, 3), "The RSA modulus is shorter than 512 bits."),
            ("modulus of 16385 bits", rsa_public(2**16384 + 1, 3), "The RSA modulus is longer than 16384 bits."),
            ("even modulus", rsa_public(n + 1, 3), "The RSA modulus is even."),
            ("exponent 1", rsa_public(n, 1), "The RSA public exponent is even or below 3."),
            ("exponent 2", rsa_public(n, 2), "The RSA public exponent is even or below 3."),
            ("exponent 65536", rsa_public(n, 65536), "The RSA public exponent is even or below 3."),
            ("exponent of 65 bits", rsa_public(n, 2**64 + 1), "The RSA public exponent is longer than 64 bits."),
            ("exponent 0", rsa_public(n, 0), two_integers), ("negative modulus", rsa_public(-n, 3), two_integers),
            ("negative exponent", rsa_public(n, -3), two_integers),
            ("padded modulus", sequence(element(2, b"\x00", integer(n)[4:]), integer(3)), two_integers),
            ("padded exponent", sequence(integer(n), element(2, b"\x00\x03")), two_integers),
            ("third member", sequence(integer(n), integer(3), integer(3)), two_integers),
            ("no exponent", sequence(integer(n)), two_integers),
            ("octets after", pkcs1 + b"\x00", "The public key is not the DER of one SEQUENCE."),
            ("long length", sequence(integer(n), b"\x02\x81\x01\x03"), two_integers),
            ("octets after the info", info + b"\x00", "The public key is not the DER of one SEQUENCE."),
            ("octets in the bits", key_info(OID_RSA, NULL, pkcs1 + b"\x00"), two_integers),
            ("unused bits", key_info(OID_RSA, NULL, pkcs1, 1), "The SubjectPublicKeyInfo is malformed."),
            ("other parameters", key_info(OID_RSA, sequence(), pkcs1), "The parameters of the RSA key are not NULL."),
            ("second parameters", key_info(OID_RSA, NULL + NULL, pkcs1), "The SubjectPublicKeyInfo is malformed."),
            ("third member of the info", sequence(*(m[2] for m in members(info)), NULL),
             "The SubjectPublicKeyInfo is malformed."),
            ("no key", sequence(sequence(oid(OID_RSA), NULL)), "The SubjectPublicKeyInfo is malformed."),
            ("empty bits", key_info(OID_RSA, NULL, b""), two_integers)):
        bad_key("RSA " + case, der, reason)
    bad_key("nothing", b"", "The public key is not the DER of one SEQUENCE.")
    bad_key("empty SEQUENCE", sequence(), two_integers)
    bad_key("unknown algorithm", key_info(b"\x2b\x65\x6e", b"", bytes(32)),
            "The algorithm of the public key is not known.")


def dsa_key_cases():
    for bits, order_bits in ((1024, 160), (2048, 256)):
        info = new_dsa_key("dsa", bits, order_bits)
        good_key(f"DSA {bits}/{order_bits}", info, "DSA", bits)
    p, q, g = dsa_numbers(info)
    y = int.from_bytes(split(key_bits(info))[0][1], "big")
    for case, numbers in (("p of 512 bits", (2**511 + 1, q, 2, 3)), ("p of 8192 bits", (2**8192 - 1, q, 2, 3)),
                          ("q of 160 bits", (p, 2**159 + 1, g, y)), ("q of 256 bits", (p, 2**256 - 1, g, y)),
                          ("g is 2", (p, q, 2, y)), ("g is p - 2", (p, q, p - 2, y)), ("y is p - 2", (p, q, g, p - 2))):
        good_key("DSA " + case, dsa_info(*numbers), "DSA", numbers[0].bit_length())
    p_size, q_size = (f"The DSA {what} has fewer than {low} or more than {high} bits." for what, low, high in
                      (("prime p", 512, 8192), ("order q", 160, 256)))
    bad_g, bad_y = "The DSA generator g is not in its range.", "The DSA public value y is not in its range."
    for case, numbers, reason in (
            ("p of 511 bits", (2**511 - 1, q, 2, 3), p_size), ("p of 8193 bits", (2**8192 + 1, q, 2, 3), p_size),
            ("even p", (p + 1, q, g, y), "The DSA prime p is even."),
            ("q of 159 bits", (p, 2**159 - 1, g, y), q_size), ("q of 257 bits", (p, 2**256 + 1, g, y), q_size),
            ("even q", (p, q + 1, g, y), "The DSA order q is even."),
            ("g is 1", (p, q, 1, y), bad_g), ("g is p - 1", (p, q, p - 1, y), bad_g), ("g is p", (p, q, p, y), bad_g),
            ("g is longer than p", (p, q, 2**8193, y), bad_g),
            ("y is 1", (p, q, g, 1), bad_y), ("y is p - 1", (p, q, g, p - 1), bad_y), ("y is p", (p, q, g, p), bad_y)):
        bad_key("DSA " + case, dsa_info(*numbers), reason)
    parameters = sequence(integer(p), integer(q), integer(g))
    three = "The parameters of the DSA key are not the DER of three positive integers."
    one = "The DSA key is not the DER of one positive integer."
    for case, der, reason in (
            ("without parameters", key_info(OID_DSA, b"", integer(y)), "The DSA key has no parameters."),
            ("with NULL for parameters", key_info(OID_DSA, NULL, integer(y)), three),
            ("with two parameters", key_info(OID_DSA, sequence(integer(p), integer(q)), integer(y)), three),
            ("with negative q", dsa_info(p, -q, g, y), three), ("with q of 0", dsa_info(p, 0, g, y), three),
            ("with four parameters", key_info(OID_DSA, sequence(integer(p), integer(q), integer(g), integer(y)),
             integer(y)), three),
            ("with octets in the bits", key_info(OID_DSA, parameters, integer(y) + b"\x00"), one),
            ("with negative y", key_info(OID_DSA, parameters, integer(-y)), one),
            ("with padded y", key_info(OID_DSA, parameters, element(2, b"\x00\x02")), one)):
        bad_key("DSA " + case, der, reason)


def ec_key_cases():
    for name, long_name, bits in CURVES:
        info = new_ec_key(name, long_name)
        good_key(name, info, "EC", bits, name)
        good_key(name + " compressed", compressed(name), "EC", bits, name)
        if name == "P-256":
            named, point = members(members(info)[0][2])[1][2], key_bits(info)
    no_point, no_curve = "The key is not a point of its curve.", "The curve of the key is not known."
    unnamed = "The EC key does not name its curve."
    p = 2**256 - 2**224 + 2**192 + 2**96 - 1
    b = 0x5ac635d8aa3a93e7b3ebbd55769886bc651d06b0cc53b0f63bce3c3e27d2604b
    without_y = next(x for x in range(100) if pow(x**3 - 3 * x + b, (p - 1) // 2, p) == p - 1)
    x, y = point[1:33], point[33:]
    for case, bits in (
            ("x off the curve", point[:1] + bytes([x[0] ^ 1]) + x[1:] + y),
            ("y off the curve", point[:-1] + bytes([y[-1] ^ 1])),
            ("hybrid", bytes([6 + y[-1] % 2]) + x + y), ("infinity", b"\x00"), ("nothing", b""),
            ("one octet short", point[:-1]), ("one octet more", point + b"\x00"),
            ("compressed and more", b"\x02" + x + b"\x00"), ("form 5", b"\x05" + x),
            ("x without y on the curve", b"\x02" + without_y.to_bytes(32, "big")),
            ("x is the prime", b"\x04" + p.to_bytes(32, "big") + y), ("0 and 0", b"\x04" + bytes(64))):
        bad_key("EC " + case, key_info(OID_EC, named, bits), no_point)
    explicit = openssl("pkey", "-in", "P-256.pem", "-pubout", "-outform", "DER", "-ec_param_enc", "explicit")
    bad_key("EC explicit curve", explicit, unnamed)
    bad_key("EC NULL for a curve", key_info(OID_EC, NULL, point), unnamed)
    bad_key("EC without a curve", key_info(OID_EC, b"", point), unnamed)
    bad_key("EC unknown curve", key_info(OID_EC, oid(bytes.fromhex("2b81040006")), point), no_curve, Curve="1.3.132.0.6")
    bad_key("EC curve of a long OID", key_info(OID_EC, oid(b"\x2a" * 40), point), no_curve, Curve="")
    bad_key("EC curve that is no OID", key_info(OID_EC, oid(b"\x2a\x80"), point), no_curve, Curve="")
    bad_key("EC point of another curve", key_info(OID_EC, oid(bytes.fromhex("2b8104000a")), point), no_point)


ED_PRIME = 2**255 - 19
# The y of the points whose order divides 8; those of order 1 and 2 have no second point, which makes
# their encodings with a sign bit wrong for that reason as well.
ED_SMALL_ORDER = (1, ED_PRIME - 1, 0, *(int.from_bytes(bytes.fromhex(y), "little") for y in (
    "26e8958fc2b227b045c3f489f2ef98f0d5dfac05d3c63339b13802886d53fc05",
    "c7176a703d4dd84fba3c0b760d10670f2a2053fa2c39ccc64ec7fd7792ac037a")))


def ed25519_key_cases():
    info = new_key("ed25519", "-algorithm", "ED25519")
    public = key_bits(info)
    good_key("Ed25519", info, "Ed25519", 255)
    good_key("Ed25519 bare", public, "Ed25519", 255, id_of=public)
    refused_point = "The Ed25519 key is not a point, or one of small order."
    for y in ED_SMALL_ORDER:
        for sign in (0, 1 << 255):
            encoded = (y | sign).to_bytes(32, "little")
            bad_key(f"Ed25519 point of small order {encoded.hex()}", encoded, refused_point)
    # 2 is the y of no point, 3 that of two.
    bad_key("Ed25519 not a point", (2).to_bytes(32, "little"), refused_point)
    below = (3).to_bytes(32, "little")
    good_key("Ed25519 below the prime", below, "Ed25519", 255, id_of=below)
    not_below = (3 + ED_PRIME).to_bytes(32, "little")
    bad_key("Ed25519 not below the prime", not_below, refused_point)
    bad_key("Ed25519 not below the prime in an info", key_info(OID_ED25519, b"", not_below), refused_point)
    bad_key("Ed25519 with parameters", key_info(OID_ED25519, NULL, public), "The Ed25519 key has parameters.")
    for size in (31, 33):
        bad_key(f"Ed25519 of {size} octets", key_info(OID_ED25519, b"", (public * 2)[:size]),
                "The Ed25519 key has not 32 octets.")


rsa_key_cases()
dsa_key_cases()
ec_key_cases()
ed25519_key_cases()

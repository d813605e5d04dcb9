#!/usr/bin/env python3
"""Makes signatures.txt, the vectors of the verification of signatures, in the current folder.

Honest signatures come from the openssl command line; those of the standards are in standards.txt.
What the command line cannot make (blocks with a wrong padding, forgeries, numbers out of range) is
computed here. New keys are made in every run, so that the file changes as a whole.
"""

import hashlib

from key_material import *

MESSAGE = b"The quick brown fox jumps over the lazy dog"
SIGNATURES = Records("signatures.txt")


def signer(name, der):
    SIGNATURES.add(Signer=name, Der=der)


def signature(case, by, scheme, sig, hash_name="sha256", message=MESSAGE, **result):
    SIGNATURES.add(Case=case, By=by, Scheme=scheme, Hash=hash_name, Message=message, Signature=sig,
                   **result)


VALID = {"Result": "valid"}
NOT_VALID = {"Result": "not valid"}


def refused(reason):
    return {"Result": "refused", "Reason": reason}


# RSA

class RsaKey:
    def __init__(self, name, bits, exponent=65537):
        self.name, self.file = name, name + ".pem"
        self.info = new_key(name, "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-pkeyopt",
                            f"rsa_keygen_pubexp:{exponent}")
        private = integers(openssl("rsa", "-in", self.file, "-traditional", "-outform", "DER"))
        self.n, self.e, self.d = private[1:4]
        self.bits, self.size = bits, (bits + 7) // 8
        signer(name, self.info)

    def raw(self, block):
        """The signature whose block this is."""
        return pow(int.from_bytes(block, "big"), self.d, self.n).to_bytes(self.size, "big")

    def sign(self, hash_name, *options, message=MESSAGE):
        return openssl("dgst", "-" + hash_name, "-sign", self.file, *options, stdin=message)


def pkcs1_block(key, content, start=b"\x00\x01", fillers=None):
    fillers = b"\xff" * (key.size - len(content) - 3) if fillers is None else fillers
    return start + fillers + b"\x00" + content


def pkcs1_cases(small, large, odd):
    for key in (small, large, odd, *(RsaKey(f"rsa{bits}", bits) for bits in (3072, 4096, 8192))):
        for hash_name in HASH_OIDS if key.bits < 3000 else ("sha256",):
            signature(f"{hash_name} by {key.name}", key.name, "rsa-pkcs1", key.sign(hash_name), Result="content",
                      Content=digest_info(hash_name, MESSAGE))
    key = small
    digest = hashlib.sha1(MESSAGE).digest()
    sha1_oid = oid(bytes.fromhex(HASH_OIDS["sha1"]))
    algorithm = sequence(sha1_oid, NULL)
    good = digest_info("sha1", MESSAGE)

    def given_out(case, content):
        signature(case, key.name, "rsa-pkcs1", key.raw(pkcs1_block(key, content)), Result="content",
                  Content=content)

    given_out("no parameters", digest_info("sha1", MESSAGE, b""))
    given_out("short digest", sequence(algorithm, octets(digest[1:])))
    given_out("unknown hash, OID of 20 octets", sequence(sequence(oid(b"\x2a" * 20), NULL), octets(digest)))
    given_out("no ASN.1", b"hello")
    given_out("nothing", b"")
    given_out("no digest", sequence(algorithm))
    given_out("empty digest", sequence(algorithm, octets(b"")))
    given_out("no hash", sequence(sequence(), octets(digest)))
    given_out("no algorithm", sequence(octets(digest)))
    given_out("a hash OID that is none", sequence(sequence(oid(b"\x2a\x80"), NULL), octets(digest)))
    given_out("broken ASN.1 behind hash and digest", element(0x30, algorithm, octets(digest), b"\x04\x05"))

    other = refused("The RSA block holds more or other than the DER of one DigestInfo.")
    for case, content in (
            ("OID of 21 octets", sequence(sequence(oid(b"\x2a" * 21), NULL), octets(digest))),
            ("octets after the DigestInfo", good + b"\x00" * 10),
            ("an element after the DigestInfo", good + NULL),
            ("third member", sequence(algorithm, octets(digest), NULL)),
            ("octets in the NULL", sequence(sequence(sha1_oid, element(5, b"abcd")), octets(digest))),
            ("parameters of another type", sequence(sequence(sha1_oid, octets(b"abcd")), octets(digest))),
            ("second parameters", sequence(sequence(sha1_oid, NULL, NULL), octets(digest))),
            ("digest of another type", sequence(algorithm, element(12, digest))),
            ("digest in a BIT STRING", sequence(algorithm, element(3, b"\x00", digest))),
            ("digest in segments", sequence(algorithm, element(0x24, octets(digest)))),
            ("long length", b"\x30\x81" + good[1:]),
            ("long length inside", sequence(algorithm, b"\x04\x81\x14" + digest)),
            ("indefinite length", b"\x30\x80" + good[2:] + b"\x00\x00"),
            ("a SET", b"\x31" + good[1:]),
            ("a SET inside", sequence(b"\x31" + algorithm[1:], octets(digest)))):
        signature(case, key.name, "rsa-pkcs1", key.raw(pkcs1_block(key, content)), **other)

    wrong_type = refused("The RSA block is not of type 1.")
    wrong_fillers = refused("The padding of the RSA block is not FF up to a zero.")
    few_fillers = refused("The padding of the RSA block is shorter than eight octets.")
    long_content = b"x" * (key.size - 11)
    whole = key.size - 3 - len(good)
    for case, block, result in (
            ("eight octets of padding", pkcs1_block(key, long_content), {"Result": "content", "Content": long_content}),
            ("seven octets of padding", pkcs1_block(key, long_content + b"x"), few_fillers),
            ("no padding", pkcs1_block(key, b"x" * (key.size - 3)), few_fillers),
            ("block type 2", pkcs1_block(key, good, b"\x00\x02"), wrong_type),
            ("block type 0", pkcs1_block(key, good, b"\x00\x00", b"\x00" * whole), wrong_type),
            ("a first octet of 1", pkcs1_block(key, good, b"\x01\x01"), wrong_type),
            ("another octet in the padding", pkcs1_block(key, good, fillers=b"\xff" * (whole - 1) + b"\xfe"),
             wrong_fillers),
            ("padding to the end", b"\x00\x01" + b"\xff" * (key.size - 2), wrong_fillers)):
        signature(case, key.name, "rsa-pkcs1", key.raw(block), **result)

    sig = key.raw(pkcs1_block(key, good))
    wrong_size = refused("The RSA signature is not as long as the modulus.")
    too_large = refused("The RSA signature is not below the modulus.")
    signature("zero in front", key.name, "rsa-pkcs1", b"\x00" + sig, **wrong_size)
    signature("one octet short", key.name, "rsa-pkcs1", sig[1:], **wrong_size)
    signature("no octets", key.name, "rsa-pkcs1", b"", **wrong_size)
    signature("the modulus", key.name, "rsa-pkcs1", key.n.to_bytes(key.size, "big"), **too_large)
    for attempt in range(10000):
        plus_n = int.from_bytes(key.raw(pkcs1_block(key, digest_info("sha1", b"%d" % attempt))), "big") + key.n
        if plus_n < 1 << (8 * key.size):
            break
    signature("the modulus added", key.name, "rsa-pkcs1", plus_n.to_bytes(key.size, "big"),
              message=b"%d" % attempt, **too_large)
    signature("0", key.name, "rsa-pkcs1", bytes(key.size), **wrong_type)

    message = next(m for m in (b"forged %d" % i for i in range(10000)) if forge_with_long_oid(key.size, m))
    signature("forged cube with a long OID", key.name, "rsa-pkcs1", forge_with_long_oid(key.size, message),
              message=message, **other)
    signature("forged cube with octets behind", odd.name, "rsa-pkcs1", forge_with_octets_behind(odd.size, MESSAGE), **other)


def mgf1(seed, size, hash_name="sha256"):
    mask = b"".join(hashlib.new(hash_name, seed + i.to_bytes(4, "big")).digest() for i in range(size // 20 + 1))
    return mask[:size]


def pss_block(key, salt=b"salt", mark=b"\x01", zeros=None, trailer=b"\xbc"):
    """The block of a SHA-256 signature, with what is to be wrong in it."""
    size = (key.bits + 6) // 8
    h = hashlib.sha256(bytes(8) + hashlib.sha256(MESSAGE).digest() + salt).digest()
    db_size = size - len(h) - 1
    zeros = bytes(db_size - len(salt) - 1) if zeros is None else zeros
    masked = bytearray(a ^ b for a, b in zip(zeros + mark + salt, mgf1(h, db_size)))
    masked[0] &= 0xFF >> (8 * size - key.bits + 1)
    return bytes(key.size - size) + bytes(masked) + h + trailer


def pss_cases(tiny, small, large, odd):
    for key, hash_name, mask, salt in (
            (small, "sha1", "sha1", "20"), (small, "sha256", "sha256", "32"), (small, "sha256", "sha256", "0"),
            (small, "sha256", "sha256", "max"), (small, "sha384", "sha384", "48"), (small, "sha256", "sha1", "20"),
            (small, "sha1", "sha512", "20"), (large, "sha512", "sha512", "64"), (large, "sha384", "sha256", "32"),
            (odd, "sha256", "sha256", "32"), (odd, "sha256", "sha256", "max"), (odd, "sha512", "sha384", "20")):
        sig = key.sign(hash_name, "-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:" + salt,
                       "-sigopt", "rsa_mgf1_md:" + mask)
        signature(f"{hash_name}, mask {mask}, salt {salt} by {key.name}", key.name, "rsa-pss", sig, hash_name, **VALID)
    bad_form = refused("The RSA block has not the form of RSASSA-PSS.")
    other = refused("The RSASSA-PSS signature is not one of this hash.")
    good = small.raw(pss_block(small))
    signature("salt of another length", small.name, "rsa-pss", good, **VALID)
    signature("another message", small.name, "rsa-pss", good, message=b"another", **other)
    signature("another hash", small.name, "rsa-pss", good, "sha512", **other)
    signature("another salt", small.name, "rsa-pss", small.raw(pss_block(small,
              b"mark") [:-33] + pss_block(small)[-33:]), **other)
    signature("trailer CC", small.name, "rsa-pss", small.raw(pss_block(small, trailer=b"\xcc")), **bad_form)
    signature("wrong mark", small.name, "rsa-pss", small.raw(pss_block(small, mark=b"\x02")), **other)
    signature("no mark", small.name, "rsa-pss", small.raw(pss_block(small, b"", b"", bytes(small.size - 33))), **other)
    zeros = bytes(small.size - 32 - 1 - 4 - 2) + b"\x03"
    signature("octet in the zeros", small.name, "rsa-pss", small.raw(pss_block(small, zeros=zeros)), **other)
    for case, key, top in (("bit above the number", small, 1 << 1023), ("octet above the number", odd, 1 << 2048)):
        blocks = (int.from_bytes(pss_block(key, b"%d" % i), "big") | top for i in range(1000))
        block = next(b for b in blocks if b < key.n)
        signature(case, key.name, "rsa-pss", key.raw(block.to_bytes(key.size, "big")), **bad_form)
    signature("unknown hash", small.name, "rsa-pss", good, "md5",
              **refused("The hash of the RSASSA-PSS signature is not known or of another size."))
    signature("no room for the hash", tiny.name, "rsa-pss", tiny.raw(b"\x00" * 64 + b"\xbc"), "sha512", **bad_form)
    signature("padding of PKCS #1", small.name, "rsa-pss", small.sign("sha256"), **bad_form)


# DSA and ECDSA

def pair(r, s):
    return sequence(integer(r), integer(s))


def pair_cases(name, scheme, order, r, s):
    """Every way in which the two numbers of a good SHA-256 signature can be wrong."""
    unreadable = refused("The signature is not the DER of two integers.")
    outside = {"Result": "not valid", "Reason": "A number of the signature is outside its range."}
    good, whole = pair(r, s), integer(r) + integer(s)
    for case, sig, result in (
            ("r is 0", pair(0, s), outside), ("s is 0", pair(r, 0), outside),
            ("r is the order", pair(order, s), outside), ("s is the order", pair(r, order), outside),
            ("order added to r", pair(r + order, s), outside), ("order added to s", pair(r, s + order), outside),
            ("r of 300 octets", pair(r + (1 << 2400), s), outside),
            ("1 added to s", pair(r, s % (order - 1) + 1), NOT_VALID), ("swapped", pair(s, r), NOT_VALID),
            ("r is negative", pair(-r, s), unreadable), ("s is negative", pair(r, -s), unreadable),
            ("padded r", sequence(element(2, b"\x00", integer(r)[2:]), integer(s)), unreadable),
            ("padded s", sequence(integer(r), element(2, b"\x00", integer(s)[2:])), unreadable),
            ("empty r", sequence(element(2), integer(s)), unreadable),
            ("one integer", sequence(integer(r)), unreadable),
            ("three integers", sequence(whole, integer(s)), unreadable),
            ("octet after", good + b"\x00", unreadable), ("octet inside", sequence(whole, b"\x00"), unreadable),
            ("cut", good[:-1], unreadable), ("nothing", b"", unreadable),
            ("long length", b"\x30\x81" + good[1:], unreadable),
            ("long length inside", sequence(b"\x02\x81" + integer(r)[1:], integer(s)), unreadable),
            ("indefinite length", b"\x30\x80" + whole + b"\x00\x00", unreadable),
            ("a SET", b"\x31" + good[1:], unreadable),
            ("an OCTET STRING inside", sequence(b"\x04" + integer(r)[1:], integer(s)), unreadable)):
        signature(f"{scheme}: {case}", name, scheme, sig, **result)
    signature(f"{scheme}: good", name, scheme, good, **VALID)
    signature(f"{scheme}: another message", name, scheme, good, message=b"another", **NOT_VALID)
    signature(f"{scheme}: unknown hash", name, scheme, good, "md5",
              **refused("There is no hash to check the signature against."))


def sign_with(name, hash_name, message=MESSAGE):
    return openssl("dgst", "-" + hash_name, "-sign", name + ".pem", stdin=message)


P256_ORDER = 0xffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551


def ecdsa_cases():
    for name, long_name, _ in CURVES:
        signer(name, new_ec_key(name, long_name))
        signer(name + " compressed", compressed(name))
        for hash_name in HASH_OIDS:
            signature(f"{name} {hash_name}", name, "ecdsa", sign_with(name, hash_name), hash_name, **VALID)
        signature(f"{name} compressed", name + " compressed", "ecdsa", sign_with(name, "sha256"), **VALID)
    r, s = integers(sign_with("P-256", "sha256"))
    pair_cases("P-256", "ecdsa", P256_ORDER, r, s)
    signature("s negated modulo the order", "P-256", "ecdsa", pair(r, P256_ORDER - s), **VALID)


def dsa_cases():
    for bits, order_bits in ((1024, 160), (2048, 224), (2048, 256), (3072, 256)):
        name = f"DSA {bits} {order_bits}"
        info = new_dsa_key(name, bits, order_bits)
        signer(name, info)
        for hash_name in HASH_OIDS:
            signature(f"{name} {hash_name}", name, "dsa", sign_with(name, hash_name), hash_name, **VALID)
        if bits == 1024:
            pair_cases(name, "dsa", dsa_numbers(info)[1], *integers(sign_with(name, "sha256")))


def prime_from(candidate, step):
    while pow(2, candidate - 1, candidate) != 1:
        candidate += step
    return candidate


def dsa_order_of_163_bits():
    """The command line makes orders of whole octets only. Of a longer hash the leftmost bits count
    (FIPS 186-4, 4.6), here 163; the same key is made in every run."""
    q = prime_from(2**162 + 1, 2)
    p = prime_from(2 * q * 2**360 + 1, 2 * q)
    g, x, k = pow(2, (p - 1) // q, p), 3**100, 5**60
    signer("DSA 524 163", dsa_info(p, q, g, pow(g, x, p)))
    for hash_name in HASH_OIDS:
        digest = hashlib.new(hash_name, MESSAGE).digest()
        z = int.from_bytes(digest, "big") >> max(0, 8 * len(digest) - 163)
        r = pow(g, k, p) % q
        signature(f"DSA 524 163 {hash_name}", "DSA 523 163", "dsa", pair(r, pow(k, -1, q) * (z + x * r) % q),
                  hash_name, **VALID)


# Ed25519

P = 2**255 - 19
L = 2**252 + 27742317777372353535851937790883648493
D = -121665 * pow(121666, -1, P) % P


def ed_point(y, sign):
    root = (y * y - 1) * pow(D * y * y + 1, -1, P) % P
    x = pow(root, (P + 3) // 8, P)
    if x * x % P != root:
        x = x * pow(2, (P - 1) // 4, P) % P
    if x * x % P != root:
        return None
    return (x if x % 2 == sign else (P - x) % P), y


def ed_add(a, b):
    t = D * a[0] * b[0] * a[1] * b[1] % P
    return ((a[0] * b[1] + b[0] * a[1]) * pow(1 + t, -1, P) % P, (a[1] * b[1] + a[0] * b[0]) * pow(1 - t, -1, P) % P)


def ed_multiply(k, a):
    result = (0, 1)
    while k:
        if k & 1:
            result = ed_add(result, a)
        a, k = ed_add(a, a), k >> 1
    return result


def ed_encode(point, added=0):
    return (point[1] + added | (point[0] & 1) << 255).to_bytes(32, "little")


ED_BASE = ed_point(4 * pow(5, -1, P) % P, 0)


def ed25519_cases():
    name = "ed25519"
    info = new_key(name, "-algorithm", "ED25519")
    signer(name, info)
    public = key_bits(info)
    seed = openssl("pkey", "-in", name + ".pem", "-outform", "DER")[-32:]
    secret = int.from_bytes(hashlib.sha512(seed).digest()[:32], "little") & (1 << 254) - 8 | 1 << 254

    def sign_r(r, nonce, message=MESSAGE):
        k = int.from_bytes(hashlib.sha512(r + public + message).digest(), "little")
        return r + ((nonce + k * secret) % L).to_bytes(32, "little")

    wrong_r = refused("R of the Ed25519 signature is not that of the message and the key.")
    wrong_s = refused("S of the Ed25519 signature is not below the group order.")
    for size in (0, 111, 112, 1000):
        message = bytes(i % 251 for i in range(size))
        with open(WORK + "/message", "wb") as file:
            file.write(message)
        made = openssl("pkeyutl", "-sign", "-inkey", name + ".pem", "-rawin", "-in", "message") if size else \
            sign_r(ed_encode(ed_multiply(7, ED_BASE)), 7, message)
        signature(f"Ed25519, {size} octets", name, name, made, message=message, **VALID)
    nonce = 123456789
    r = ed_encode(ed_multiply(nonce, ED_BASE))
    good = sign_r(r, nonce)
    s = int.from_bytes(good[32:], "little")
    signature("good", name, name, good, **VALID)
    signature("octets behind", name, name, good + b"more", **VALID)
    signature("another message", name, name, good, message=b"another", **wrong_r)
    for case, value in (("order added to S", s + L), ("S is the order", L), ("S of 256 bits", 2**256 - 1),
                        ("high bits of S", s | 7 << 253)):
        signature(case, name, name, r + value.to_bytes(32, "little"), **wrong_s)
    signature("S is the order less 1", name, name, r + (L - 1).to_bytes(32, "little"), **wrong_r)
    signature("S is 0", name, name, r + bytes(32), **wrong_r)
    signature("sign of R", name, name, r[:31] + bytes([r[31] ^ 0x80]) + good[32:], **wrong_r)
    # R is the identity, for which whoever has the private key can make a good S.
    signature("R is the identity", name, name, sign_r(ed_encode((0, 1)), 0), **VALID)
    signature("R not below the prime", name, name, sign_r(ed_encode((0, 1), P), 0), **wrong_r)
    signature("R is the identity with a sign", name, name, sign_r(ed_encode((1, 1)), 0), **wrong_r)
    mixed = ed_add(ed_multiply(nonce, ED_BASE), ed_point(int.from_bytes(ED_ORDER_8, "little"), 0))
    signature("R with a point of order 8 added", name, name, sign_r(ed_encode(mixed), nonce), **wrong_r)


def main():
    tiny, small = RsaKey("rsa520", 520), RsaKey("rsa1024", 1024, 3)
    large, odd = RsaKey("rsa2048", 2048), RsaKey("rsa2049", 2049, 3)
    pkcs1_cases(small, large, odd)
    pss_cases(tiny, small, large, odd)
    ecdsa_cases()
    dsa_cases()
    dsa_order_of_163_bits()
    ed25519_cases()


main()

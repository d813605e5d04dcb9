#!/usr/bin/env python3
"""Makes signatures.txt, the vectors of the verification of signatures, in the current folder.

Honest signatures come from the openssl command line, known answers from the standards named below.
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


def digest_info(hash_name="sha1", message=MESSAGE, parameters=NULL):
    return sequence(sequence(oid(bytes.fromhex(HASH_OIDS[hash_name])), parameters),
                    octets(hashlib.new(hash_name, message).digest()))


def pkcs1_block(key, content, start=b"\x00\x01", fillers=None):
    fillers = b"\xff" * (key.size - len(content) - 3) if fillers is None else fillers
    return start + fillers + b"\x00" + content


def cube_root(value):
    root = 1 << (value.bit_length() + 2) // 3
    while True:
        better = (2 * root + value // (root * root)) // 3
        if better >= root:
            return root
        root = better


def forge_with_long_oid(key):
    """A signature made without the private key, for exponent 3: the block is a cube whose low end
    is a digest, whose high end is the padding and the headers, and whose middle is an OID."""
    for attempt in range(10000):
        message = b"forged %d" % attempt
        low = b"\x01" + NULL + octets(hashlib.sha1(message).digest())  # the last octet of the OID
        content_size = key.size - 11
        oid_size = content_size - 6 - (len(low) - 1)
        high = (b"\x00\x01" + b"\xff" * 8 + b"\x00" + bytes([0x30, content_size - 2, 0x30, oid_size + 4, 6, oid_size]))
        if low[-1] % 2 == 0:
            continue
        bits = 8 * len(low)
        root = 1  # of the low end, lifted bit by bit
        for bit in range(1, bits):
            if (pow(root, 3) ^ int.from_bytes(low, "big")) >> bit & 1:
                root |= 1 << bit
        middle_bits = 8 * (key.size - len(high))
        start = cube_root((int.from_bytes(high, "big") << middle_bits) + (1 << (middle_bits - 1)))
        forged = (start >> bits << bits) | root
        block = pow(forged, 3).to_bytes(key.size, "big")
        arcs = block[len(high):len(high) + oid_size]
        padded = any(arcs[i] == 0x80 and (i == 0 or arcs[i - 1] < 0x80) for i in range(len(arcs)))
        if block.startswith(high) and block.endswith(low) and not padded:
            assert pow(forged, 3) < key.n
            return message, forged.to_bytes(key.size, "big")
    raise RuntimeError("no forgery found")


def pkcs1_cases(small, large, odd):
    for key in (small, large, odd):
        for hash_name in HASH_OIDS:
            signature(f"{hash_name} by {key.name}", key.name, "rsa-pkcs1", key.sign(hash_name), Result="content",
                      Content=digest_info(hash_name))
    key = small
    digest = hashlib.sha1(MESSAGE).digest()
    sha1_oid = oid(bytes.fromhex(HASH_OIDS["sha1"]))
    algorithm = sequence(sha1_oid, NULL)
    good = digest_info()

    def given_out(case, content):
        signature(case, key.name, "rsa-pkcs1", key.raw(pkcs1_block(key, content)), Result="content",
                  Content=content)

    given_out("no parameters", digest_info(parameters=b""))
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
        plus_n = int.from_bytes(key.raw(pkcs1_block(key, digest_info(message=b"%d" % attempt))), "big") + key.n
        if plus_n < 1 << (8 * key.size):
            break
    signature("the modulus added", key.name, "rsa-pkcs1", plus_n.to_bytes(key.size, "big"),
              message=b"%d" % attempt, **too_large)
    signature("0", key.name, "rsa-pkcs1", bytes(key.size), **wrong_type)

    message, forged = forge_with_long_oid(key)
    signature("forged cube with a long OID", key.name, "rsa-pkcs1", forged, message=message, **other)
    start = b"\x00\x01" + b"\xff" * 8 + b"\x00" + good
    forged = cube_root(int.from_bytes(start + b"\xff" * (odd.size - len(start)), "big"))
    assert pow(forged, 3).to_bytes(odd.size, "big").startswith(start)
    signature("forged cube with octets behind", odd.name, "rsa-pkcs1", forged.to_bytes(odd.size, "big"), **other)


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
    for bits, order_bits in ((1024, 160), (2048, 224), (2048, 256)):
        name = f"DSA {bits} {order_bits}"
        info = new_dsa_key(name, bits, order_bits)
        signer(name, info)
        for hash_name in HASH_OIDS:
            signature(f"{name} {hash_name}", name, "dsa", sign_with(name, hash_name), hash_name, **VALID)
        if bits == 1024:
            pair_cases(name, "dsa", dsa_numbers(info)[1], *integers(sign_with(name, "sha256")))


# RFC 6979, A.2.1 and A.2.5, message "sample".
RFC6979_P256 = bytes.fromhex("04"
                             "60fed4ba255a9d31c961eb74c6356d68c049b8923b61fa6ce669622e60f29fb6"
                             "7903fe1008b8bc99a41ae9e95628bc64f2f1b20c2d7e9f5177a3c294d4462299")
RFC6979_P256_SIGNATURES = {
    "sha1": (0x61340c88c3aaebeb4f6d667f672ca9759a6ccaa9fa8811313039ee4a35471d32,
             0x6d7f147dac089441bb2e2fe8f7a3fa264b9c475098fdcf6e00d7c996e1b8b7eb),
    "sha256": (0xefd48b2aacb6a8fd1140dd9cd45e81d69d2c877b56aaf991c34d0ea84eaf3716,
               0xf7cb1c942d657c41d436c7a1b6e29f65f3e900dbb9aff4064dc4ab2f843acda8)}
RFC6979_DSA_P = int(
    "86f5ca03dcfeb225063ff830a0c769b9dd9d6153ad91d7ce27f787c43278b447e6533b86b18bed6e8a48b784a14c252c"
    "5be0dbf60b86d6385bd2f12fb763ed8873abfd3f5ba2e0a8c0a59082eac056935e529daf7c610467899c77adedfc846c"
    "881870b7b19b2b58f9be0521a17002e3bdd6b86685ee90b3d9a1b02b782b1779", 16)
RFC6979_DSA_Q = 0x996f967f6c8e388d9e28d01e205fba957a5698b1
RFC6979_DSA_G = int(
    "07b0f92546150b62514bb771e2a0c0ce387f03bda6c56b505209ff25fd3c133d89bbcd97e904e09114d9a7defdeadfc9"
    "078ea544d2e401aeecc40bb9fbbf78fd87995a10a1c27cb7789b594ba7efb5c4326a9fe59a070e136db77175464adca4"
    "17be5dce2f40d10a46a3a3943f26ab7fd9c0398ff8c76ee0a56826a8a88f1dbd", 16)
RFC6979_DSA_Y = int(
    "5df5e01ded31d0297e274e1691c192fe5868fef9e19a84776454b100cf16f65392195a38b90523e2542ee61871c0440c"
    "b87c322fc4b4d2ec5e1e7ec766e1be8d4ce935437dc11c3c8fd426338933ebfe739cb3465f4d3668c5e473508253b1e6"
    "82f65cbdc4fae93c2ea212390e54905a86e2223170b44eaa7da5dd9ffcfb7f3b", 16)
RFC6979_DSA_SIGNATURES = {
    "sha1": (0x2e1a0c2562b2912caaf89186fb0f42001585da55, 0x29efb6b0aff2d7a68eb70ca313022253b9a88df5),
    "sha256": (0x81f2f5850be5bc123c43f71a3033e9384611c545, 0x4cdd914b65eb6c66a8aaad27299bee6b035f5e89)}


def standard_cases():
    signer("RFC 6979 P-256", key_info(OID_EC, oid(OID_P256), RFC6979_P256))
    for hash_name, numbers in RFC6979_P256_SIGNATURES.items():
        signature("RFC 6979 P-256 " + hash_name, "RFC 6979 P-256", "ecdsa", pair(*numbers), hash_name, b"sample",
                  **VALID)
    signer("RFC 6979 DSA", dsa_info(RFC6979_DSA_P, RFC6979_DSA_Q, RFC6979_DSA_G, RFC6979_DSA_Y))
    for hash_name, numbers in RFC6979_DSA_SIGNATURES.items():
        signature("RFC 6979 DSA " + hash_name, "RFC 6979 DSA", "dsa", pair(*numbers), hash_name, b"sample", **VALID)
    for i, (key, message, sig) in enumerate(RFC8032_VECTORS):
        signer(f"RFC 8032 {i}", bytes.fromhex(key))
        signature(f"RFC 8032 {i}", f"RFC 8032 {i}", "ed25519", bytes.fromhex(sig), message=bytes.fromhex(message),
                  **VALID)


# Ed25519

# RFC 8032, section 7.1: TEST 1, 2, 3 and SHA(abc).
RFC8032_VECTORS = (
    ("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "",
     "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701cf9b46b"
     "d25bf5f0595bbe24655141438e7a100b"),
    ("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c", "72",
     "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0f11d8c"
     "387b2eaeb4302aeeb00d291612bb0c00"),
    ("fc51cd8e6218a1a38da47ed00230f0580816ed13ba3303ac5deb911548908025", "af82",
     "6291d657deec24024827e69c3abe01a30ce548a284743a445e3680d7db5ac3ac18ff9b538d16f290ae67f760984dc659"
     "4a7c15e9716ed28dc027beceea1ec40a"),
    ("ec172b93ad5e563bf4932c70e1245034c35467ef2efd4d64ebf819683467e2bf",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd"
     "454d4423643ce80e2a9ac94fa54ca49f",
     "dc2a4459e7369633a52b1bf277839a00201009a3efbf3ecb69bea2186c26b58909351fc9ac90b3ecfdfbc7c66431e030"
     "3dca179c138ac17ad9bef1177331a704"))

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


ED_ORDER_8 = int.from_bytes(bytes.fromhex("26e8958fc2b227b045c3f489f2ef98f0d5dfac05d3c63339b13802886d53fc05"), "little")
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
    mixed = ed_add(ed_multiply(nonce, ED_BASE), ed_point(ED_ORDER_8, 0))
    signature("R with a point of order 8 added", name, name, sign_r(ed_encode(mixed), nonce), **wrong_r)


def main():
    standard_cases()
    tiny, small = RsaKey("rsa520", 520), RsaKey("rsa1024", 1024, 3)
    large, odd = RsaKey("rsa2048", 2048), RsaKey("rsa2049", 2049, 3)
    pkcs1_cases(small, large, odd)
    pss_cases(tiny, small, large, odd)
    ecdsa_cases()
    dsa_cases()
    ed25519_cases()


main()

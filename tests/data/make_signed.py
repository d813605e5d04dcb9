#!/usr/bin/env python3
"""Makes signed_certificates.txt, certificates and what verifying their signatures is to give.

Records with the key Issuer are certificates whose two names are the same: those that were signed by
their own key verify the other records, the namesakes at the end were signed by the key rsa-1024.
Honest ones are made by the openssl command line alone. The strange ones are put together here, with
signatures of the same keys. A record with the key Strict is valid for the library, which is lenient,
but not for the command line, and these words are in its reason; one with the key Typed is so for the
typed certificate, whose fault it names. New keys are made in every run, so that the file changes as a whole.
"""

import hashlib
import itertools
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE / "key"))

from key_material import *  # noqa: E402

OUT = open(HERE / "signed_certificates.txt", "w", encoding="ascii")
OUT.write("# Made by make_signed.py.\n")


def record(**values):
    OUT.write("\n")
    for key, value in values.items():
        if value:
            OUT.write(f"{key} = {value.hex() if isinstance(value, bytes) else value}\n")


def accepted(case, by, cert, errors="", data="", strict="", typed=""):
    """Errors with | between them, and the keys of data items, all of those that are always logged."""
    record(Case=case, By=by, Cert=cert, Result="valid", Strict=strict, Typed=typed, Errors=errors, Data=data)


def tolerated(case, by, cert, reason, errors=""):
    accepted(case, by, cert, errors, "", reason)


def refused(case, by, cert, errors, data=""):
    record(Case=case, By=by, Cert=cert, Result="refused", Errors=errors, Data=data)


# Honest certificates.

HASHES = ("sha1", "sha256", "sha384", "sha512")
LEAF_KEY = new_ec_key("leaf", "prime256v1")
NAMES = {}  # of the issuers, in DER


def issuer(name, hash_name="sha256"):
    """The self-signed certificate of the key in the file of that name."""
    openssl("req", "-x509", "-key", name + ".pem", "-subj", "/C=DE/O=Acme, Inc./CN=" + name, "-days", "36500",
            "-" + hash_name, "-out", name + ".crt", "-outform", "PEM")
    cert = openssl("x509", "-in", name + ".crt", "-outform", "DER")
    NAMES[name] = members(members(cert)[0][2])[5][2]
    record(Issuer=name, Cert=cert)


def leaf(name, hash_name, *options):
    return openssl("req", "-x509", "-CA", name + ".crt", "-CAkey", name + ".pem", "-key", "leaf.pem", "-subj",
                   "/CN=host", "-days", "36500", "-" + hash_name, *options, "-outform", "DER")


def pss_options(mask, salt):
    return ("-sigopt", "rsa_padding_mode:pss", "-sigopt", f"rsa_pss_saltlen:{salt}", "-sigopt", "rsa_mgf1_md:" + mask)


def pss_leaf(name, hash_name, mask, salt):
    accepted(f"PSS with {hash_name}, mask {mask}, salt {salt} by {name}", name,
             leaf(name, hash_name, *pss_options(mask, salt)))


def honest_rsa():
    for bits in (1024, 2048, 2049, 3072, 4096, 8192):
        name = f"rsa-{bits}"
        new_key(name, "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-pkeyopt",
                f"rsa_keygen_pubexp:{3 if bits in (1024, 2049) else 65537}")
        issuer(name)
        for hash_name in HASHES:
            accepted(f"{hash_name} by {name}", name, leaf(name, hash_name))
            pss_leaf(name, hash_name, hash_name, 32)
    new_key("rsa-pss", "-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:2048")
    new_key("rsa-pss-bound", "-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:1024", "-pkeyopt",
            "rsa_pss_keygen_md:sha256", "-pkeyopt", "rsa_pss_keygen_mgf1_md:sha384", "-pkeyopt",
            "rsa_pss_keygen_saltlen:24")
    issuer("rsa-pss")
    issuer("rsa-pss-bound")
    pss_leaf("rsa-pss", "sha256", "sha256", "digest")
    pss_leaf("rsa-pss-bound", "sha256", "sha384", 24)
    pss_leaf("rsa-pss-bound", "sha256", "sha384", 25)
    for hash_name, mask in zip(HASHES, HASHES[1:] + HASHES[:1]):
        for salt in (0, 20, 32, "digest", "max"):
            pss_leaf("rsa-2048", hash_name, mask, salt)
            # 32 is there already, and for the longest digest as a salt 1024 bits are too few.
            if salt != 32 and (hash_name, salt) != ("sha512", "digest"):
                pss_leaf("rsa-1024", hash_name, hash_name, salt)
        pss_leaf("rsa-2049", hash_name, mask, "max")


def honest_others():
    for name, long_name, _ in CURVES:
        new_ec_key(name, long_name)
        issuer(name)
        for hash_name in HASHES:
            accepted(f"{hash_name} by {name}", name, leaf(name, hash_name), data="modulusBitLen")
    for bits, order_bits in ((1024, 160), (2048, 224), (2048, 256), (3072, 256)):
        name = f"dsa-{bits}" if order_bits != 224 else "dsa-2048-224"
        new_dsa_key(name, bits, order_bits)
        issuer(name)
        for hash_name in ("sha1", "sha256"):
            accepted(f"{hash_name} by {name}", name, leaf(name, hash_name))
    new_key("ed25519", "-algorithm", "ED25519")
    issuer("ed25519")
    accepted("Ed25519", "ed25519", leaf("ed25519", "sha256"))


# Certificates put together.

RSA_SHA256, RSA_PSS = (bytes.fromhex("2a864886f70d0101" + last) for last in ("0b", "0a"))
ECDSA = {"sha1": "2a8648ce3d0401", "sha224": "2a8648ce3d040301", "sha256": "2a8648ce3d040302",
         "sha384": "2a8648ce3d040303", "sha512": "2a8648ce3d040304"}
ECDSA = {name: bytes.fromhex(digits) for name, digits in ECDSA.items()}
DSA_SHA1, DSA_SHA256, DSA_SHA384 = (bytes.fromhex(digits) for digits in (
    "2a8648ce380403", "608648016503040302", "608648016503040303"))
UNKNOWN_OID = b"\x2a\x03\x04"


def name_of(common_name):
    return sequence(element(0x31, sequence(oid(b"\x55\x04\x03"), element(12, common_name))))


def to_be_signed(identifier, serial, issuer_name, subject_name):
    return sequence(element(0xA0, integer(2)), integer(serial), identifier, issuer_name,
                    sequence(element(23, b"200101000000Z"), element(23, b"491231235959Z")), subject_name, LEAF_KEY)


def put_together(by, algorithm, sign, parameters=b"", inside=None, change=lambda tbs: tbs, name=None):
    """The first certificate, by serial numbers, of which sign(tbs) is a signature and not None. The
    algorithm `inside` is another one, or `change` is made to the certificate after it was signed."""
    identifier = sequence(oid(algorithm), parameters)
    for serial in itertools.count(1):
        tbs = to_be_signed(inside or identifier, serial, name or NAMES[by], name or name_of(b"host"))
        signature = sign(tbs)
        if signature is not None:
            return sequence(change(tbs), identifier, element(3, b"\x00", signature))


def signer(name, hash_name, *options):
    return lambda tbs: openssl("dgst", "-" + hash_name, "-sign", name + ".pem", *options, stdin=tbs)


def ending_in_zero(sign):
    """Only the signatures that do, without that zero."""
    def cut(tbs):
        signature = sign(tbs)
        return signature[:-1] if signature[-1] == 0 else None
    return cut


def other_serial(tbs):
    changed = bytearray(tbs)
    changed[tbs.index(b"\x02\x01", 8) + 2] ^= 0x40
    return bytes(changed)


def strange_rsa():
    by = "rsa-1024"
    n, _, d = integers(openssl("rsa", "-in", by + ".pem", "-traditional", "-outform", "DER"))[1:4]
    sha1_oid, sha256_oid = (bytes.fromhex(HASH_OIDS[h]) for h in ("sha1", "sha256"))

    def raw(block):
        return pow(int.from_bytes(block, "big"), d, n).to_bytes(128, "big")

    def pkcs1(content, start=b"\x00\x01", fillers=None):
        return raw(start + (b"\xff" * (125 - len(content)) if fillers is None else fillers) + b"\x00" + content)

    def holding(content, **options):
        """Signed with what content(tbs) gives in the block, or bytes."""
        def sign(tbs):
            held = content if isinstance(content, bytes) else content(tbs)
            return None if held is None else pkcs1(held)
        return put_together(by, RSA_SHA256, sign, NULL, **options)

    def info(hash_oid, hash_name, parameters=NULL, digest=lambda whole: whole, more=b""):
        def content(tbs):
            changed = digest(hashlib.new(hash_name, tbs).digest())
            return None if changed is None else sequence(sequence(oid(hash_oid), parameters), octets(changed), more)
        return content

    def with_zeros(zeros, change):
        return lambda whole: change(whole) if whole.startswith(bytes(zeros)) else None

    mismatch = ("Failed to verify certificate's signature.", "computedHash embeddedHash")
    no_digest = ("Failed to get digest and/or hash algorithm.", "SignatureAsn")
    tolerated("unknown hash is SHA-1", by, holding(info(UNKNOWN_OID, "sha1")), "names the hash 1.2.3.4")
    refused("unknown hash is not SHA-256", by, holding(info(UNKNOWN_OID, "sha256")), *mismatch)
    refused("MD5 is not known", by, holding(info(bytes.fromhex("2a864886f70d0205"), "md5")), *mismatch)
    accepted("hash without parameters", by, holding(info(sha256_oid, "sha256", b"")))
    tolerated("hash that is not that of the algorithm", by, holding(info(sha1_oid, "sha1")), "its algorithm another one")
    for zeros in (1, 2):
        tolerated(f"digest without its {zeros} leading zeros", by,
                  holding(info(sha256_oid, "sha256", digest=with_zeros(zeros, lambda whole: whole[zeros:]))),
                  "lacks its leading zeros")
        refused(f"digest with more than its {zeros} leading zeros", by,
                holding(info(sha256_oid, "sha256", digest=with_zeros(zeros, lambda whole: b"\x00" + whole))), *mismatch)
    refused("digest without its first octet", by, holding(info(sha256_oid, "sha256", digest=lambda whole: whole[1:])), *mismatch)
    refused("digest without its last octet", by, holding(info(sha256_oid, "sha256", digest=lambda whole: whole[:-1])), *mismatch)
    refused("digest without its last octet, a zero", by, holding(info(
        sha256_oid, "sha256", digest=lambda whole: whole[:-1] if whole[-1] == 0 else None)), *mismatch)
    refused("digest of another certificate", by, holding(info(sha256_oid, "sha256"), change=other_serial), *mismatch)
    refused("no digest", by, holding(sequence(sequence(oid(sha256_oid), NULL))), *no_digest)
    refused("empty digest", by, holding(info(sha256_oid, "sha256", digest=lambda whole: b"")), *no_digest)
    refused("no hash", by, holding(sequence(sequence(), octets(bytes(32)))), *no_digest)
    refused("empty DigestInfo", by, holding(sequence()), *no_digest)
    refused("no ASN.1", by, holding(b"hello"), "Failed to decode signature ASN.1.")
    refused("nothing signed", by, holding(b""), "Failed to decode signature ASN.1.")

    unsign = "Failed to unsign certificate signature."
    good, whole = signer(by, "sha256"), info(sha256_oid, "sha256")
    for case, content in (("octets after the DigestInfo", lambda tbs: whole(tbs) + bytes(8)),
                          ("octets in the parameters", info(sha256_oid, "sha256", element(5, b"abcd"))),
                          ("other parameters", info(sha256_oid, "sha256", octets(b"abcd"))),
                          ("third member", info(sha256_oid, "sha256", more=NULL))):
        refused(case, by, holding(content), unsign)
    for case, sign in (
            ("seven octets of padding", lambda tbs: pkcs1((whole(tbs) + bytes(128))[:118])),
            ("block type 0", lambda tbs: pkcs1(whole(tbs), b"\x00\x00", bytes(125 - len(whole(tbs))))),
            ("block type 2", lambda tbs: pkcs1(whole(tbs), b"\x00\x02")),
            ("hole in the padding", lambda tbs: pkcs1(whole(tbs), fillers=b"\xff" * (124 - len(whole(tbs))) + b"\xfe")),
            ("zero in front", lambda tbs: b"\x00" + good(tbs)), ("octet behind", lambda tbs: good(tbs) + b"\x00"),
            ("first octet, a zero, cut", lambda tbs: good(tbs)[1:] if good(tbs)[0] == 0 else None),
            ("last octet, a zero, cut", ending_in_zero(good)),
            ("zero", lambda tbs: bytes(128)), ("modulus", lambda tbs: n.to_bytes(128, "big")),
            ("forged with a long OID", lambda tbs: forge_with_long_oid(128, tbs))):
        refused("RSA signature, " + case, by, put_together(by, RSA_SHA256, sign, NULL), unsign)
    refused("RSA signature, forged with octets behind", "rsa-2049", put_together(
        "rsa-2049", RSA_SHA256, lambda tbs: forge_with_octets_behind(257, tbs), NULL), unsign)
    refused("RSA signature by another key", "rsa-2048", put_together("rsa-2048", RSA_SHA256, good, NULL), unsign)

    accepted("RSA without parameters", by, put_together(by, RSA_SHA256, good))
    accepted("RSA with parameters that are not NULL", by, put_together(by, RSA_SHA256, good, octets(b"abcd")),
             typed="parametersForbidden")

    # The key's kind decides, not the OID; that in the certificate's inside is not looked at.
    unfit, unknown, two = "does not fit the issuer's key", "cannot check this algorithm", "two different signature algorithms"
    for case, algorithm, reason in (("of ECDSA", ECDSA["sha512"], unfit), ("of DSA", DSA_SHA1, unfit),
                                    ("that is unknown", UNKNOWN_OID, unknown)):
        tolerated("RSA key and an OID " + case, by, put_together(by, algorithm, good), reason)
    tolerated("another OID inside", by, put_together(by, RSA_SHA256, good, NULL, sequence(oid(ECDSA["sha384"]))), two)
    tolerated("other parameters inside", by, put_together(by, RSA_SHA256, good, NULL, sequence(oid(RSA_SHA256))), two)

    def pss(hash_name, parameters, salt=20, mask=None, name=by):
        options = pss_options(mask or hash_name, salt)
        return put_together(name, RSA_PSS, signer(name, hash_name, *options), parameters)

    def params(hash_name, mask, salt, of_hash=NULL):
        hash_of, mask_of = (sequence(oid(bytes.fromhex(HASH_OIDS[h])), of_hash) for h in (hash_name, mask))
        return sequence(element(0xA0, hash_of), element(0xA1, sequence(oid(bytes.fromhex("2a864886f70d010108")), mask_of)),
                        element(0xA2, integer(salt)))

    no_params = "Failed to parse RSASSA-PSS params."
    for case, parameters in (("without parameters", b""), ("with NULL for parameters", NULL),
                             ("with an unknown hash", sequence(element(0xA0, sequence(oid(UNKNOWN_OID))))),
                             ("with another trailer", sequence(element(0xA3, integer(2))))):
        tolerated(f"PSS {case} is SHA-1", by, pss("sha1", parameters), "parameters that are not understood", no_params)
        refused(f"PSS {case} is not SHA-256", by, pss("sha256", parameters), no_params + "|" + unsign)
    accepted("PSS with default parameters", by, pss("sha1", sequence()))
    accepted("PSS with default parameters that are encoded", by, pss("sha1", sequence(
        *(part for _, _, part in members(params("sha1", "sha1", 20))), element(0xA3, integer(1)))))
    accepted("PSS with hashes without parameters", by, pss("sha256", params("sha256", "sha256", 20, b"")))
    accepted("PSS with all parameters", by, pss("sha256", params("sha256", "sha512", 21), 21, "sha512"))
    tolerated("PSS with another mask", by, pss("sha256", params("sha256", "sha512", 20)), "masked with SHA-256")
    tolerated("PSS with the mask of the default", by, pss("sha1", sequence(), mask="sha256"), "says with SHA-1")
    for salt in (0, 19, 21, "max"):
        tolerated(f"PSS with a salt of {salt}, not 20", by, pss("sha256", params("sha256", "sha256", 20), salt),
                  "its algorithm says of 20")
    refused("PSS with another hash", by, pss("sha1", params("sha256", "sha1", 20)), unsign)
    refused("PSS that is PKCS #1", by, put_together(by, RSA_PSS, good, params("sha256", "sha256", 20)), unsign)
    refused("PKCS #1 that is PSS", by, put_together(
        by, RSA_SHA256, signer(by, "sha256", *pss_options("sha256", 20)), NULL), unsign)
    for case, change in (("zero in front", lambda sig: b"\x00" + sig), ("cut", lambda sig: sig[:-1])):
        sign = signer(by, "sha256", *pss_options("sha256", 20))
        refused("PSS signature, " + case, by, put_together(
            by, RSA_PSS, lambda tbs: change(sign(tbs)), params("sha256", "sha256", 20)), unsign)

    # A key for PSS alone may allow but some parameters; its numbers sign with others all the same.
    bound = "rsa-pss-bound"
    with open(WORK + "/free.pem", "wb") as file:
        file.write(members(openssl("pkey", "-in", bound + ".pem", "-outform", "DER"))[2][1])
    for hash_name, mask, salt in (("sha512", "sha384", 24), ("sha256", "sha256", 24), ("sha256", "sha384", 23)):
        sign = signer("free", hash_name, *pss_options(mask, salt))
        tolerated(f"PSS that the key does not allow: {hash_name}, {mask}, {salt}", bound,
                  put_together(bound, RSA_PSS, sign, params(hash_name, mask, salt)), "bound to other parameters")

    # What was signed is the DER, also of a certificate that is not.
    def long_form(tbs):
        assert tbs[1] == 0x81
        return b"\x30\x82" + (len(tbs) - 3).to_bytes(2, "big") + tbs[3:]
    accepted("lengths that are not DER", by, put_together(by, RSA_SHA256, good, NULL, change=long_form))
    for case, common_name in (("namesake", b"issuer"), ("namesake with NUL", b"issuer\x00")):
        record(Issuer=case, Cert=put_together(by, RSA_SHA256, good, NULL, name=name_of(common_name)))


def pair(r, s):
    return sequence(integer(r), integer(s))


def strange_pairs(by, algorithm, order, unreadable, invalid, data):
    good = signer(by, "sha1")

    def changed(numbers, **options):
        return put_together(by, algorithm, lambda tbs: numbers(*integers(good(tbs))), **options)

    def padded(r, s):
        return sequence(element(2, b"\x00", integer(r)[2:]), integer(s))

    accepted(f"{by}: SHA-1", by, put_together(by, algorithm, good), "", data)
    accepted(f"{by}: parameters", by, put_together(by, algorithm, good, NULL), "", data, typed="parametersForbidden")
    for case, change in (("r is 0", lambda r, s: pair(0, s)), ("s is 0", lambda r, s: pair(r, 0)),
                         ("r is the order", lambda r, s: pair(order, s)), ("s is the order", lambda r, s: pair(r, order)),
                         ("order added to r", lambda r, s: pair(r + order, s)),
                         ("order added to s", lambda r, s: pair(r, s + order)), ("numbers swapped", lambda r, s: pair(s, r))):
        refused(f"{by}: {case}", by, changed(change), invalid, data)
    refused(f"{by}: another certificate", by, changed(pair, change=other_serial), invalid, data)
    for case, change in (("r is negative", lambda r, s: pair(-r, s)), ("s is negative", lambda r, s: pair(r, -s)),
                         ("padded r", padded), ("octet in front", lambda r, s: b"\x00" + pair(r, s)),
                         ("octet behind", lambda r, s: pair(r, s) + b"\x00"), ("cut", lambda r, s: pair(r, s)[:-1])):
        refused(f"{by}: {case}", by, changed(change), unreadable, data)
    refused(f"{by}: last octet, a zero, cut", by, put_together(by, algorithm, ending_in_zero(good)), unreadable, data)


def strange_others():
    dsa = ("Failed to verify DSA signature.", "DSA signature is invalid.", "")
    ecc = ("Failed to verify ECC signature.", "x509 ECC signature is invalid.", "modulusBitLen")
    order = int("ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551", 16)
    strange_pairs("P-256", ECDSA["sha1"], order, *ecc)
    info = openssl("pkey", "-in", "dsa-1024.pem", "-pubout", "-outform", "DER")
    strange_pairs("dsa-1024", DSA_SHA1, dsa_numbers(info)[1], *dsa)

    # Which hash is meant is told by a few OIDs; all others stand for one of the hashes.
    hashes = ("sha1", "sha224", *HASHES[1:])
    strictly = (*(ECDSA[h] for h in HASHES), DSA_SHA1, DSA_SHA256)
    for by, oids, messages in (
            ("P-256", {**{ECDSA[h]: h for h in HASHES}, ECDSA["sha224"]: "sha256", UNKNOWN_OID: "sha256", DSA_SHA1: "sha256"}, ecc),
            ("dsa-1024", {DSA_SHA1: "sha1", DSA_SHA256: "sha256", DSA_SHA384: "sha1", UNKNOWN_OID: "sha1", ECDSA["sha256"]: "sha1"}, dsa)):
        for algorithm, meant in oids.items():
            fits = (algorithm in ECDSA.values()) == (by == "P-256")
            strict = ("" if fits else "does not fit") if algorithm in strictly else "cannot check this algorithm"
            for hash_name in hashes:
                case = f"{by}: OID {algorithm.hex()} and {hash_name}"
                cert = put_together(by, algorithm, signer(by, hash_name))
                if hash_name == meant:
                    accepted(case, by, cert, "", messages[2], strict)
                else:
                    refused(case, by, cert, messages[1], messages[2])

    by = "ed25519"
    group_order = 2**252 + 27742317777372353535851937790883648493

    def good(tbs):
        with open(WORK + "/message", "wb") as file:
            file.write(tbs)
        return openssl("pkeyutl", "-sign", "-inkey", by + ".pem", "-rawin", "-in", "message")

    def larger_s(signature):
        return signature[:32] + (int.from_bytes(signature[32:], "little") + group_order).to_bytes(32, "little")

    def made(algorithm, change, **options):
        return put_together(by, algorithm, lambda tbs: change(good(tbs)), **options)

    accepted("Ed25519, put together", by, put_together(by, OID_ED25519, good))
    accepted("Ed25519 with parameters", by, put_together(by, OID_ED25519, good, NULL), typed="parametersForbidden")
    tolerated("Ed25519 key and another OID", by, put_together(by, ECDSA["sha256"], good), "does not fit")
    tolerated("Ed25519 signature with octets behind", by, made(OID_ED25519, lambda sig: sig + b"\x00"), "64 bytes, this one 65")
    no_match = "Ed25519 signature does not match."
    for case, change in (("cut", lambda sig: sig[:-1]), ("half", lambda sig: sig[:32]), ("one octet", lambda sig: sig[:1]),
                         ("octet in front", lambda sig: b"\x00" + sig), ("group order added to S", larger_s),
                         ("zero", lambda sig: bytes(64)), ("swapped", lambda sig: sig[32:] + sig[:32]),
                         ("R of order 1, S 0", lambda sig: b"\x01" + bytes(63)),
                         ("R of order 8, S 0", lambda sig: ED_ORDER_8 + bytes(32))):
        refused("Ed25519 signature, " + case, by, made(OID_ED25519, change), no_match)
    refused("Ed25519 signature, last octet, a zero, cut", by, put_together(by, OID_ED25519, ending_in_zero(good)), no_match)
    refused("Ed25519, another certificate", by, put_together(by, OID_ED25519, good, change=other_serial), no_match)
    refused("Ed25519 OID and an RSA key", "rsa-1024", put_together("rsa-1024", OID_ED25519, good),
            "The ed25519 public key must be 32 bytes in length.", "pubKeyLen")
    refused("RSA signature and an EC key", "P-256", put_together("P-256", RSA_SHA256, signer("rsa-1024", "sha256"), NULL),
            ecc[0], ecc[2])


honest_rsa()
honest_others()
strange_rsa()
strange_others()
OUT.close()

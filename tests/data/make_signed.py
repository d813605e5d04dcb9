#!/usr/bin/env python3
"""Makes signed_certificates.txt, certificates and what verifying their signatures is to give.

Records with the key Issuer are certificates whose two names are the same: those that were signed by
their own key verify the other records, the namesakes at the end were signed by the key rsa-1024. Honest ones are made by the openssl command line alone. The strange ones are put together
here, with signatures of the same keys. New keys are made in every run, so that the file changes as a
whole.
"""

import hashlib
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


def accepted(case, by, cert, errors="", data=""):
    """Errors with | between them, and the keys of data items, all of those that are always logged."""
    record(Case=case, By=by, Cert=cert, Result="valid", Errors=errors, Data=data)


def refused(case, by, cert, errors, data=""):
    record(Case=case, By=by, Cert=cert, Result="refused", Errors=errors, Data=data)


# Honest certificates.

HASHES = ("sha1", "sha256", "sha384", "sha512")
LEAF_KEY = new_ec_key("leaf", "prime256v1")


def issuer(name, hash_name="sha256"):
    """The self-signed certificate of the key in the file of that name."""
    cert = openssl("req", "-x509", "-key", name + ".pem", "-subj", "/C=DE/O=Acme, Inc./CN=" + name, "-days", "36500",
                   "-" + hash_name, "-out", name + ".crt", "-outform", "PEM")
    cert = openssl("x509", "-in", name + ".crt", "-outform", "DER")
    record(Issuer=name, Cert=cert)


def leaf(name, hash_name, *options):
    return openssl("req", "-x509", "-CA", name + ".crt", "-CAkey", name + ".pem", "-key", "leaf.pem", "-subj",
                   "/CN=host", "-days", "36500", "-" + hash_name, *options, "-outform", "DER")


def honest_rsa():
    for bits in (1024, 2048, 2049, 4096):
        name = f"rsa-{bits}"
        new_key(name, "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}")
        issuer(name)
        for hash_name in HASHES:
            accepted(f"{hash_name} by {name}", name, leaf(name, hash_name))
    new_key("rsa-pss", "-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:2048")
    issuer("rsa-pss")
    for name, hash_name, mask, salt in (
            ("rsa-1024", "sha1", "sha1", "20"), ("rsa-1024", "sha256", "sha256", "32"), ("rsa-2048", "sha1", "sha1", "0"),
            ("rsa-2048", "sha256", "sha256", "digest"), ("rsa-2048", "sha384", "sha384", "digest"),
            ("rsa-2048", "sha512", "sha512", "digest"), ("rsa-2048", "sha256", "sha256", "0"),
            ("rsa-2048", "sha512", "sha512", "20"), ("rsa-2048", "sha256", "sha256", "max"),
            ("rsa-2048", "sha256", "sha1", "20"), ("rsa-2048", "sha384", "sha512", "32"),
            ("rsa-2049", "sha256", "sha256", "32"), ("rsa-2049", "sha512", "sha512", "max"),
            ("rsa-4096", "sha512", "sha512", "digest"), ("rsa-pss", "sha256", "sha256", "digest")):
        accepted(f"PSS with {hash_name}, mask {mask}, salt {salt} by {name}", name,
                 leaf(name, hash_name, "-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:" + salt,
                      "-sigopt", "rsa_mgf1_md:" + mask))


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


def to_be_signed(algorithm=RSA_SHA256, serial=1, issuer_name=b"issuer", subject_name=b"host"):
    return sequence(element(0xA0, integer(2)), integer(serial), sequence(oid(algorithm)), name_of(issuer_name),
                    sequence(element(23, b"200101000000Z"), element(23, b"491231235959Z")), name_of(subject_name),
                    LEAF_KEY)


def certificate(algorithm, signature, tbs=None, parameters=b""):
    return sequence(tbs or to_be_signed(), sequence(oid(algorithm), parameters), element(3, b"\x00", signature))


def sign(name, hash_name, tbs=None, *options):
    return openssl("dgst", "-" + hash_name, "-sign", name + ".pem", *options, stdin=tbs or to_be_signed())


def strange_rsa():
    name, by = "rsa-1024", "rsa-1024"
    n, _, d = integers(openssl("rsa", "-in", name + ".pem", "-traditional", "-outform", "DER"))[1:4]

    def raw(content, tbs=None, algorithm=RSA_SHA256):
        block = b"\x00\x01" + b"\xff" * (125 - len(content)) + b"\x00" + content
        return certificate(algorithm, pow(int.from_bytes(block, "big"), d, n).to_bytes(128, "big"), tbs, NULL)

    def info(hash_oid, digest, parameters=NULL):
        return sequence(sequence(oid(hash_oid), parameters), octets(digest))

    sha1 = hashlib.sha1(to_be_signed()).digest()
    sha256 = hashlib.sha256(to_be_signed()).digest()
    sha1_oid, sha256_oid = (bytes.fromhex(HASH_OIDS[h]) for h in ("sha1", "sha256"))
    mismatch = ("Failed to verify certificate's signature.", "computedHash embeddedHash")
    no_digest = ("Failed to get digest and/or hash algorithm.", "SignatureAsn")
    accepted("unknown hash is SHA-1", by, raw(info(UNKNOWN_OID, sha1)))
    refused("unknown hash is not SHA-256", by, raw(info(UNKNOWN_OID, sha256)), *mismatch)
    refused("MD5 is not known", by, raw(info(bytes.fromhex("2a864886f70d0205"), hashlib.md5(to_be_signed()).digest())), *mismatch)
    accepted("hash without parameters", by, raw(info(sha256_oid, sha256, b"")))
    for zeros in (1, 2):
        tbs = next(t for t in (to_be_signed(serial=i) for i in range(10**6))
                   if hashlib.sha256(t).digest().startswith(bytes(zeros)))
        digest = hashlib.sha256(tbs).digest()
        accepted(f"digest without its {zeros} leading zeros", by, raw(info(sha256_oid, digest[zeros:]), tbs))
        refused(f"digest with more than its {zeros} leading zeros", by, raw(info(sha256_oid, b"\x00" + digest), tbs), *mismatch)
    refused("digest without its first octet", by, raw(info(sha256_oid, sha256[1:])), *mismatch)
    refused("digest without its last octet", by, raw(info(sha256_oid, sha256[:-1])), *mismatch)
    refused("digest of another certificate", by, raw(info(sha256_oid, sha256), to_be_signed(serial=2)), *mismatch)
    refused("no digest", by, raw(sequence(sequence(oid(sha256_oid), NULL))), *no_digest)
    refused("empty digest", by, raw(info(sha256_oid, b"")), *no_digest)
    refused("no hash", by, raw(sequence(sequence(), octets(sha256))), *no_digest)
    refused("empty DigestInfo", by, raw(sequence()), *no_digest)
    refused("no ASN.1", by, raw(b"hello"), "Failed to decode signature ASN.1.")
    refused("nothing signed", by, raw(b""), "Failed to decode signature ASN.1.")
    unsign = "Failed to unsign certificate signature."
    refused("octets after the DigestInfo", by, raw(info(sha256_oid, sha256) + bytes(8)), unsign)
    good = sign(name, "sha256")
    for case, signature in (("zero in front", b"\x00" + good), ("octet behind", good + b"\x00"), ("cut", good[:-1]),
                            ("zero", bytes(128)), ("modulus", n.to_bytes(128, "big"))):
        refused("RSA signature, " + case, by, certificate(RSA_SHA256, signature), unsign)
    refused("RSA signature by another key", "rsa-2048", certificate(RSA_SHA256, good), unsign)

    # The key's kind decides, not the OID; that in the certificate's inside is not looked at.
    for case, algorithm in (("of ECDSA", ECDSA["sha512"]), ("of DSA", DSA_SHA1), ("that is unknown", UNKNOWN_OID)):
        accepted("RSA key and an OID " + case, by, certificate(algorithm, good))
    inside = to_be_signed(ECDSA["sha384"])
    accepted("another OID inside", by, certificate(RSA_SHA256, sign(name, "sha256", inside), inside, NULL))

    pss = ("-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:20")
    no_params = "Failed to parse RSASSA-PSS params."
    sha256_params = sequence(element(0xA0, sequence(oid(sha256_oid))))
    for case, params in (("without parameters", b""), ("with NULL for parameters", NULL),
                         ("with an unknown hash", sequence(element(0xA0, sequence(oid(UNKNOWN_OID)))))):
        accepted(f"PSS {case} is SHA-1", by, certificate(RSA_PSS, sign(name, "sha1", None, *pss), None, params), no_params)
        refused(f"PSS {case} is not SHA-256", by, certificate(RSA_PSS, sign(name, "sha256", None, *pss), None, params),
                no_params + "|" + unsign)
    accepted("PSS with default parameters", by, certificate(RSA_PSS, sign(name, "sha1", None, *pss), None, sequence()))
    refused("PSS with another hash", by, certificate(RSA_PSS, sign(name, "sha1", None, *pss), None, sha256_params), unsign)
    refused("PSS that is PKCS #1", by, certificate(RSA_PSS, good, None, sha256_params), unsign)
    refused("PKCS #1 that is PSS", by, certificate(RSA_SHA256, sign(name, "sha256", None, *pss)), unsign)

    # What was signed is the DER, also of a certificate that is not.
    tbs = to_be_signed()
    long_form = b"\x30\x82" + (len(tbs) - 3).to_bytes(2, "big") + tbs[3:]
    assert tbs[1] == 0x81 and long_form != tbs
    accepted("lengths that are not DER", by, certificate(RSA_SHA256, good, long_form))
    for case, common_name in (("namesake", b"issuer"), ("namesake with NUL", b"issuer\x00")):
        tbs = to_be_signed(issuer_name=common_name, subject_name=common_name)
        record(Issuer=case, Cert=certificate(RSA_SHA256, sign(name, "sha256", tbs), tbs))


def pair(r, s):
    return sequence(integer(r), integer(s))


def strange_pairs(by, algorithm, order, unreadable, invalid, data):
    good = sign(by, "sha1")
    r, s = integers(good)
    accepted(f"{by}: SHA-1", by, certificate(algorithm, good), "", data)
    for case, signature in (("r is 0", pair(0, s)), ("s is 0", pair(r, 0)), ("r is the order", pair(order, s)),
                            ("order added to r", pair(r + order, s)), ("order added to s", pair(r, s + order)),
                            ("numbers swapped", pair(s, r))):
        refused(f"{by}: {case}", by, certificate(algorithm, signature), invalid, data)
    refused(f"{by}: another certificate", by, certificate(algorithm, good, to_be_signed(serial=2)), invalid, data)
    padded = sequence(element(2, b"\x00", integer(r)[2:]), integer(s))
    for case, signature in (("r is negative", pair(-r, s)), ("s is negative", pair(r, -s)), ("padded r", padded),
                            ("octet in front", b"\x00" + good), ("octet behind", good + b"\x00"), ("cut", good[:-1])):
        refused(f"{by}: {case}", by, certificate(algorithm, signature), unreadable, data)


def strange_others():
    dsa = ("Failed to verify DSA signature.", "DSA signature is invalid.", "")
    ecc = ("Failed to verify ECC signature.", "x509 ECC signature is invalid.", "modulusBitLen")
    order = int("ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551", 16)
    strange_pairs("P-256", ECDSA["sha1"], order, *ecc)
    info = openssl("pkey", "-in", "dsa-1024.pem", "-pubout", "-outform", "DER")
    strange_pairs("dsa-1024", DSA_SHA1, dsa_numbers(info)[1], *dsa)

    # Which hash is meant is told by a few OIDs; all others stand for one of the hashes.
    hashes = ("sha1", "sha224", *HASHES[1:])
    for by, oids, messages in (
            ("P-256", {**{ECDSA[h]: h for h in HASHES}, ECDSA["sha224"]: "sha256", UNKNOWN_OID: "sha256", DSA_SHA1: "sha256"}, ecc),
            ("dsa-1024", {DSA_SHA1: "sha1", DSA_SHA256: "sha256", DSA_SHA384: "sha1", UNKNOWN_OID: "sha1", ECDSA["sha256"]: "sha1"}, dsa)):
        for algorithm, meant in oids.items():
            for hash_name in hashes:
                case = f"{by}: OID {algorithm.hex()} and {hash_name}"
                cert = certificate(algorithm, sign(by, hash_name))
                if hash_name == meant:
                    accepted(case, by, cert, "", messages[2])
                else:
                    refused(case, by, cert, messages[1], messages[2])

    by = "ed25519"
    with open(WORK + "/message", "wb") as file:
        file.write(to_be_signed())
    good = openssl("pkeyutl", "-sign", "-inkey", by + ".pem", "-rawin", "-in", "message")
    group_order = 2**252 + 27742317777372353535851937790883648493
    larger_s = good[:32] + (int.from_bytes(good[32:], "little") + group_order).to_bytes(32, "little")
    accepted("Ed25519, put together", by, certificate(OID_ED25519, good))
    accepted("Ed25519 key and another OID", by, certificate(ECDSA["sha256"], good))
    accepted("Ed25519 signature with octets behind", by, certificate(OID_ED25519, good + b"\x00"))
    for case, signature in (("cut", good[:-1]), ("half", good[:32]), ("one octet", good[:1]), ("octet in front", b"\x00" + good),
                            ("group order added to S", larger_s), ("zero", bytes(64)), ("swapped", good[32:] + good[:32])):
        refused("Ed25519 signature, " + case, by, certificate(OID_ED25519, signature), "Ed25519 signature does not match.")
    refused("Ed25519, another certificate", by, certificate(OID_ED25519, good, to_be_signed(serial=2)),
            "Ed25519 signature does not match.")
    refused("Ed25519 OID and an RSA key", "rsa-1024", certificate(OID_ED25519, good),
            "The ed25519 public key must be 32 bytes in length.", "pubKeyLen")
    refused("RSA signature and an EC key", "P-256", certificate(RSA_SHA256, sign("rsa-1024", "sha256")), ecc[0], ecc[2])


honest_rsa()
honest_others()
strange_rsa()
strange_others()
OUT.close()

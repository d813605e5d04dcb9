#!/usr/bin/env python3
"""Makes certificates.pem: certificates with every kind of key, name, extension and date, each below a
line that says what it is.

Needs openssl, which makes what it can make; the rest is put together here and signed by it. The keys
are thrown away, so that another run gives other certificates of the same shapes.
"""
import base64
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE / "key"))
from key_material import (CURVES, NULL, WORK, compressed, element, integer, new_dsa_key, new_ec_key, new_key,  # noqa: E402
                          octets, oid, openssl, sequence)

UTF8, NUMERIC, PRINTABLE, T61, IA5, UTC, GENERALIZED, VISIBLE, UNIVERSAL, BMP = (
    0x0C, 0x12, 0x13, 0x14, 0x16, 0x17, 0x18, 0x1A, 0x1C, 0x1E)
ECDSA_SHA256 = sequence(oid(bytes.fromhex("2a8648ce3d040302")))
SKI, AKI, SAN, KEY_USAGE, BASIC = "2.5.29.14", "2.5.29.35", "2.5.29.17", "2.5.29.15", "2.5.29.19"
EMAIL, CN, O, OU, C, SERIAL, TITLE, DC, ORG_ID = (
    "1.2.840.113549.1.9.1", "2.5.4.3", "2.5.4.10", "2.5.4.11", "2.5.4.6", "2.5.4.5", "2.5.4.12",
    "0.9.2342.19200300.100.1.25", "2.5.4.97")
BUNDLE = []


def add(what, der):
    text = base64.encodebytes(der).decode()
    BUNDLE.append(f"{what}\n-----BEGIN CERTIFICATE-----\n{text}-----END CERTIFICATE-----\n")


# What openssl makes.

OTHER_NAMES = """[req]
distinguished_name=none
[none]
[kinds]
subjectAltName=@names
subjectKeyIdentifier=none
[names]
email.1=first@example.org
DNS.1=www.example.org
DNS.2=*.example.org
URI.1=https://example.org/?a=b,c
IP.1=192.0.2.1
IP.2=2001:db8::1
RID.1=1.2.3.4
dirName.1=directory
otherName.1=1.3.6.1.4.1.311.20.2.3;UTF8:user@example.org
otherName.2=1.2.3.4.5;IA5:text
otherName.3=1.2.3.4.6;OCT:octets
email.2=second@example.org
[directory]
C=CH
O=Söhne, AG
CN=directory
"""


def made_by_openssl(what, key, *options):
    subject = () if "-subj" in options else ("-subj", "/C=US/O=Acme/CN=" + what)
    add(what, openssl("req", "-x509", "-new", "-key", key + ".pem", "-days", "20000", "-utf8", *subject,
                      *options, "-outform", "DER"))


def keys():
    new_key("rsa", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048")
    new_key("rsa1024", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1024", "-pkeyopt", "rsa_keygen_pubexp:3")
    new_key("pss", "-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:2048")
    new_key("pss384", "-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:2048", "-pkeyopt",
            "rsa_pss_keygen_md:sha384", "-pkeyopt", "rsa_pss_keygen_mgf1_md:sha384", "-pkeyopt",
            "rsa_pss_keygen_saltlen:48")
    new_key("ed25519", "-algorithm", "ED25519")
    new_key("ed448", "-algorithm", "ED448")
    new_key("explicit", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-pkeyopt", "ec_param_enc:explicit")
    new_ec_key("binary", "sect233r1")
    new_dsa_key("dsa", 2048, 256)
    new_dsa_key("dsa1024", 1024, 160)
    for digest in ("sha1", "sha256", "sha384", "sha512"):
        made_by_openssl("RSA 2048 " + digest, "rsa", "-" + digest)
    made_by_openssl("RSA 1024 with exponent 3", "rsa1024")
    made_by_openssl("RSA key, PSS signature", "rsa", "-sigopt", "rsa_padding_mode:pss")
    made_by_openssl("RSA-PSS key", "pss")
    made_by_openssl("RSA-PSS key with parameters", "pss384", "-sha384", "-sigopt", "rsa_pss_saltlen:48")
    made_by_openssl("DSA 2048", "dsa")
    made_by_openssl("DSA 1024", "dsa1024", "-sha1")
    made_by_openssl("Ed25519", "ed25519")
    made_by_openssl("Ed448", "ed448")
    made_by_openssl("P-256 by explicit parameters", "explicit")
    made_by_openssl("Curve over a binary field", "binary")
    for curve, name, _ in CURVES:
        new_ec_key(curve, name)
        made_by_openssl(curve, curve)


def extensions():
    (pathlib.Path(WORK) / "names.cnf").write_text(OTHER_NAMES)
    made_by_openssl("Every alternative name that openssl makes", "P-256", "-config", "names.cnf", "-extensions", "kinds")
    made_by_openssl("Key identifier with issuer and serial", "P-256", "-addext", "subjectKeyIdentifier=hash",
                    "-addext", "authorityKeyIdentifier=keyid:always,issuer:always")
    made_by_openssl("Critical extensions", "P-256", "-addext", "keyUsage=critical,keyCertSign,cRLSign", "-addext",
                    "subjectAltName=critical,DNS:critical.example", "-addext", "extendedKeyUsage=serverAuth", "-addext",
                    "certificatePolicies=1.2.3.4", "-addext", "nameConstraints=permitted;DNS:.example")
    made_by_openssl("Negative serial", "P-256", "-set_serial", "-0x8001")
    made_by_openssl("Serial with a sign octet", "P-256", "-set_serial", "0xFF00FF00FF00FF00FF")


# What is put together here.

def dotted(text):
    arcs = [int(arc) for arc in text.split(".")]
    content = bytearray()
    for arc in [arcs[0] * 40 + arcs[1], *arcs[2:]]:
        septets = [arc & 0x7F]
        while arc := arc >> 7:
            septets.insert(0, 0x80 | arc & 0x7F)
        content += bytes(septets)
    return oid(bytes(content))


def context(number, *contents, primitive=False):
    return element((0x80 if primitive else 0xA0) | number, *contents)


def attribute(kind, tag, text):
    return sequence(dotted(kind), element(tag, text.encode() if isinstance(text, str) else text))


def name(*rdns):
    """Each RDN is an attribute (kind, tag, text) or a list of some."""
    return sequence(*(element(0x31, *(attribute(*one) for one in (rdn if isinstance(rdn, list) else [rdn])))
                      for rdn in rdns))


def extension(kind, value, critical=None):
    return sequence(dotted(kind), b"" if critical is None else element(1, critical), octets(value))


def names(*members):
    return extension(SAN, sequence(*members))


ISSUER = name((C, PRINTABLE, "US"), (O, UTF8, "Acme"), (CN, UTF8, "Root"))
VALIDITY = sequence(element(UTC, b"200101000000Z"), element(UTC, b"491231235959Z"))


def signed(what, subject=None, issuer=ISSUER, version=context(0, integer(2)), validity=VALIDITY, key="P-256",
           point=None, extensions=()):
    info = point or openssl("pkey", "-in", key + ".pem", "-pubout", "-outform", "DER")
    listed = context(3, sequence(*extensions)) if extensions else b""
    tbs = sequence(version, integer(4711), ECDSA_SHA256, issuer, validity, subject or name((CN, UTF8, what)), info, listed)
    signature = openssl("dgst", "-sha256", "-sign", "P-256.pem", stdin=tbs)
    add(what, sequence(tbs, ECDSA_SHA256, element(3, b"\0", signature)))


def odd_names():
    signed("String types", name(
        (C, PRINTABLE, "CH"), (O, UTF8, "Söhne"), (CN, BMP, "Zürich".encode("utf-16-be")),
        (EMAIL, IA5, "a@example.org"), (OU, T61, "Süd".encode("latin-1")), (ORG_ID, UTF8, "VATCH-123"),
        (DC, IA5, "example"), (TITLE, PRINTABLE, "Dr"), (SERIAL, PRINTABLE, "42")))
    signed("String types read as UTF-16", name(
        (SERIAL, NUMERIC, "1234"), (CN, UNIVERSAL, "Züri".encode("utf-32-be"))))
    signed("Multi-valued names", name([(CN, UTF8, "one"), (OU, UTF8, "with another")], (O, UTF8, "Acme, Inc."),
                                      [(CN, UTF8, "two"), (CN, UTF8, "three")]))
    signed("Characters that steer", name((CN, UTF8, 'a"b\\c\x00d\ne\x1b[31m\u202ef<g>&')))
    signed("Text that is not of its type", name((CN, UTF8, b"not \xff UTF-8"), (O, BMP, b"\xd8\x3d\0A\0"),
                                              (OU, VISIBLE, "Acme")))
    signed("Unknown types and an empty value", name(("1.2.3.4.5", UTF8, "x"), ("2.5.4.41", UTF8, ""), (CN, UTF8, " y ")))
    signed("No subject", name(), extensions=[names(context(2, b"only.example", primitive=True))])
    signed("Self-issued", ISSUER)


def odd_extensions():
    mail, host = context(1, b"a@b.example", primitive=True), context(2, b"c.example", primitive=True)
    kind = dotted("1.2.3.4")
    signed("General names that openssl does not make", extensions=[names(
        context(0, kind, context(0, element(PRINTABLE, b"printable"))), context(0, kind, context(0, sequence(NULL))),
        context(3, sequence(sequence())), context(5, context(1, element(UTF8, b"party"))), mail,
        context(7, b"\xc0\0\2", primitive=True), context(1, b"J\xfcrg@example.org", primitive=True),
        context(2, b"bank.example\0.evil.example", primitive=True), context(1, b"", primitive=True), host)])
    signed("Alternative names without an address", extensions=[names(context(6, b"urn:x", primitive=True))])
    signed("Empty alternative names", extensions=[names()])
    signed("Alternative names that are a bare string", extensions=[extension(SAN, octets(b"J\xfcrg@example.org"))])
    signed("Alternative names that are no DER", extensions=[extension(SAN, b"\x30\x05nothing")])
    signed("Repeated extensions", extensions=[names(mail), names(host), extension(SKI, octets(b"first")),
                                              extension(SKI, octets(b"second"), b"\xff")])
    signed("Critical as FALSE", extensions=[extension(BASIC, sequence(), b"\0"), extension(KEY_USAGE, b"\3\2\1\6", b"\xff")])
    serial = context(2, b"\x12\x67", primitive=True)
    for form, value in (("key only", [context(0, b"identifier", primitive=True)]), ("empty", []),
                        ("issuer and serial only", [context(1, context(4, ISSUER)), serial]),
                        ("all", [context(0, b"identifier", primitive=True), context(1, context(4, ISSUER)), serial])):
        signed("Authority key identifier: " + form, extensions=[extension(AKI, sequence(*value)), extension(SKI, octets(b"identifier"))])
    signed("Extensions in a certificate of version 1", version=b"", extensions=[names(host)])


def odd_others():
    signed("Version 1", version=b"")
    signed("Compressed point", point=compressed("P-256"))
    signed("Compressed point on P-521", point=compressed("P-521"))
    signed("EC key that is no point", point=sequence(
        sequence(oid(bytes.fromhex("2a8648ce3d0201")), oid(bytes.fromhex("2a8648ce3d030107"))), element(3, b"\0nothing")))
    signed("Unknown key algorithm", point=sequence(sequence(dotted("1.2.3.4.5"), NULL), element(3, b"\0key")))
    signed("GOST R 34.10-94 key", point=sequence(sequence(dotted("1.2.804.2.1.1.1.1.3.1.1"), NULL), element(3, b"\0key")))
    for what, start, end in (
            ("Dates before 1970", (UTC, b"500101000000Z"), (UTC, b"691231235959Z")),
            ("Dates before 1950 and after 2050", (GENERALIZED, b"19491231235959Z"), (GENERALIZED, b"20500101000000Z")),
            ("No end", (UTC, b"200229000000Z"), (GENERALIZED, b"99991231235959Z")),
            ("Dates without seconds and with offsets", (UTC, b"2001010130+0130"), (GENERALIZED, b"20491231235959.5-0800")),
            ("Dates that are none", (UTC, b"210229000000Z"), (GENERALIZED, b"20201301000000Z")),
            ("Dates of another type", (IA5, b"200101000000Z"), (4, b"200101000000Z"))):
        signed(what, validity=sequence(element(*start), element(*end)))


def main():
    keys()
    extensions()
    odd_names()
    odd_extensions()
    odd_others()
    (HERE / "certificates.pem").write_text("".join(BUNDLE), encoding="ascii")


main()

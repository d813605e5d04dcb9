#!/usr/bin/env python3
"""Makes tests/data/reader: what other programs write, and certificates that only an attacker writes.

Needs openssl. The keys are made for this and used nowhere else; making the data anew makes new keys.
"""
import base64
import pathlib
import subprocess
import tempfile

OUT = pathlib.Path(__file__).resolve().parent / "reader"


def openssl(*arguments, cwd):
    subprocess.run(["openssl", *arguments], cwd=cwd, check=True, capture_output=True)


# DER, as little of it as is needed.


def tlv(tag, *contents):
    content = b"".join(contents)
    if len(content) < 0x80:
        return bytes([tag, len(content)]) + content
    size = len(content).to_bytes((len(content).bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(size)]) + size + content


def oid(dotted):
    arcs = [int(arc) for arc in dotted.split(".")]
    content = bytearray()
    for arc in [arcs[0] * 40 + arcs[1], *arcs[2:]]:
        octets = [arc & 0x7F]
        while arc := arc >> 7:
            octets.insert(0, 0x80 | arc & 0x7F)
        content += bytes(octets)
    return tlv(0x06, bytes(content))


def name(*attributes):
    return tlv(0x30, *(tlv(0x31, tlv(0x30, oid(kind), value)) for kind, value in attributes))


UTF8, PRINTABLE, T61, IA5, BMP = 0x0C, 0x13, 0x14, 0x16, 0x1E
CN, O, EMAIL = "2.5.4.3", "2.5.4.10", "1.2.840.113549.1.9.1"
RSA = tlv(0x30, oid("1.2.840.113549.1.1.11"), tlv(0x05))


def certificate(subject, version=tlv(0xA0, tlv(0x02, b"\x02")), not_before=tlv(0x17, b"200101000000Z"),
                not_after=tlv(0x18, b"20991231235959Z"), extensions=(), issuer=name((CN, tlv(UTF8, b"issuer"))),
                key=tlv(0x30, tlv(0x30, oid("1.2.840.10045.2.1")), tlv(0x03, b"\0key"))):
    listed = tlv(0xA3, tlv(0x30, *extensions)) if extensions else b""
    tbs = tlv(0x30, version, tlv(0x02, b"\x00\xAB\xCD"), RSA, issuer,
              tlv(0x30, not_before, not_after), subject, key, listed)
    return tlv(0x30, tbs, RSA, tlv(0x03, b"\0signature"))


def common_name(tag, value):
    return certificate(name((CN, tlv(tag, value))))


def pem(der, label="CERTIFICATE"):
    text = base64.encodebytes(der).decode()
    return f"-----BEGIN {label}-----\n{text}-----END {label}-----\n"


HOSTILE = [
    common_name(PRINTABLE, b"Zurich"),
    common_name(UTF8, "Zürich".encode()),
    common_name(T61, "Zürich".encode("latin-1")),
    common_name(BMP, "Zürich".encode("utf-16-be")),
    certificate(name((EMAIL, tlv(IA5, b"a@example.org")), (O, tlv(UTF8, b"Acme, Inc.")))),
    common_name(UTF8, b"bad \xFF utf-8"),
    common_name(UTF8, b"host.example\0.evil.example"),
    common_name(UTF8, b"line\nvelmora-x509: forged\r\x1b[31mred\x07\x7f"),
    common_name(UTF8, "\u202egnp.exe\u2066 \u200f\u2028\u0085\u009b31m\ufeff".encode()),
    common_name(UTF8, b'back\\slash "quote" <tag> & \\x0a'),
    certificate(name((CN, tlv(UTF8, b"version 1"))), version=b""),
    certificate(name((CN, tlv(UTF8, b"no dates"))), not_before=tlv(0x17, b"never"),
                not_after=tlv(0x18, b"\x1b[2J")),
    certificate(name((CN, tlv(UTF8, b"expired"))), not_after=tlv(0x17, b"210101000000Z")),
    certificate(name((CN, tlv(UTF8, b"not yet"))), not_before=tlv(0x18, b"20900101000000Z")),
    certificate(name((CN, tlv(UTF8, b"year 1"))), not_before=tlv(0x18, b"00010101000000Z")),
]


# BER: every constructed element gets an indefinite length, every long string comes in pieces.

STRINGS = {0x03, 0x04, 0x0C, 0x13, 0x14, 0x16, 0x1E}


def elements(data):
    at = 0
    while at < len(data):
        tag, size, start = data[at], data[at + 1], at + 2
        if size >= 0x80:
            start += size & 0x7F
            size = int.from_bytes(data[at + 2:start], "big")
        yield tag, data[start:start + size]
        at = start + size


def to_ber(data):
    out = b""
    for tag, content in elements(data):
        if tag & 0x20:
            out += bytes([tag, 0x80]) + to_ber(content) + b"\0\0"
        elif tag == 0x03 and len(content) > 8:
            out += b"\x23\x80" + tlv(0x03, b"\0", content[1:4]) + tlv(0x03, content[:1], content[4:]) + b"\0\0"
        elif tag in STRINGS and tag != 0x03 and len(content) > 4:
            out += bytes([0x20 | tag, 0x80]) + tlv(0x04, content[:3]) + tlv(0x04, content[3:]) + b"\0\0"
        else:
            out += tlv(tag, content)
    return out


def make_three(work):
    """Three certificates by another program, alone and in bundles."""
    for i, subject in enumerate(["/C=US/O=Acme/CN=Root", "/C=US/O=Acme/CN=Issuing", "/CN=www.example.org"]):
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                "-keyout", "ec.pem", "-out", f"{i}.pem", "-subj", subject, "-days", "20000", cwd=work)
        openssl("x509", "-in", f"{i}.pem", "-outform", "DER", "-out", OUT / f"three_{i}.der", cwd=work)
    three = "".join((work / f"{i}.pem").read_text() for i in range(3))
    (OUT / "three.pem").write_text(three)
    files = [word for i in range(3) for word in ("-certfile", f"{i}.pem")]
    for form in ("DER", "PEM"):
        openssl("crl2pkcs7", "-nocrl", *files, "-outform", form, "-out", OUT / f"three_{form.lower()}.p7b", cwd=work)
    (OUT / "three_ber.p7b").write_bytes(to_ber((OUT / "three_der.p7b").read_bytes()))
    openssl("x509", "-in", "0.pem", "-trustout", "-addtrust", "serverAuth", "-out", OUT / "trusted.pem", cwd=work)


def make_others(work):
    """Everything that is no certificate."""
    openssl("genrsa", "-traditional", "-out", OUT / "key_pkcs1.pem", "1024", cwd=work)
    rsa = str(OUT / "key_pkcs1.pem")
    openssl("pkcs8", "-topk8", "-nocrypt", "-in", rsa, "-out", OUT / "key_pkcs8.pem", cwd=work)
    openssl("pkcs8", "-topk8", "-passout", "pass:secret", "-in", rsa, "-out", OUT / "key_encrypted.pem", cwd=work)
    openssl("rsa", "-traditional", "-aes128", "-passout", "pass:secret", "-in", rsa,
            "-out", OUT / "key_legacy_encrypted.pem", cwd=work)
    openssl("ec", "-in", "ec.pem", "-no_public", "-outform", "DER", "-out", OUT / "key_sec1.der", cwd=work)
    openssl("genpkey", "-algorithm", "ed25519", "-outform", "DER", "-out", OUT / "key_ed25519.der", cwd=work)
    openssl("rsa", "-in", rsa, "-pubout", "-out", OUT / "public.pem", cwd=work)
    openssl("rsa", "-in", rsa, "-RSAPublicKey_out", "-out", OUT / "public_pkcs1.pem", cwd=work)
    openssl("req", "-new", "-key", "ec.pem", "-subj", "/CN=request", "-out", OUT / "request.pem", cwd=work)
    (work / "index.txt").write_text("")
    (work / "ca.cnf").write_text("[ca]\ndefault_ca=a\n[a]\ndatabase=index.txt\ndefault_md=sha256\n")
    openssl("ca", "-gencrl", "-config", "ca.cnf", "-crldays", "9", "-keyfile", "ec.pem", "-cert", "2.pem",
            "-out", OUT / "crl.pem", cwd=work)
    openssl("pkcs12", "-export", "-nokeys", "-in", "0.pem", "-passout", "pass:secret", "-out", OUT / "store.p12", cwd=work)


def main():
    OUT.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        make_three(work)
        make_others(work)
    (OUT / "hostile.pem").write_text("".join(pem(each) for each in HOSTILE))
    (OUT / "label.pem").write_text("a\n" + pem(HOSTILE[0], "ODD \x1b[31m LABEL")
                                   + pem(tlv(0x30, tlv(0x02, b"\1")), "ODD \x1b[31m LABEL"))


if __name__ == "__main__":
    main()

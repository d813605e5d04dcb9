#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets into seeds/ beside this script.

The seeds are small and cover each form that an input can take, so that a fuzzer starts from all of
them and a replay runs through all of them. Run it again after a change; the result is committed.
"""

import base64
import hashlib
import sys
import zlib
from pathlib import Path

SEEDS = Path(__file__).resolve().parent / "seeds"
SIGNED = SEEDS.parents[1] / "tests/data/signed_certificates.txt"
sys.path[:0] = [str(SEEDS.parents[1] / folder) for folder in ("tests/common", "tests/path")]

import make_chains  # noqa: E402
from der import items, seq as sequence, tlv as element  # noqa: E402


def indefinite(identifier, *parts):
    return bytes([identifier, 0x80]) + b"".join(parts) + b"\x00\x00"


def octets(content):
    return element(0x04, content)


def nested(count, innermost, wrap):
    for _ in range(count):
        innermost = wrap(innermost)
    return innermost


COMMON_NAME = element(0x06, bytes.fromhex("550403"))
RSA_SHA256 = sequence(element(0x06, bytes.fromhex("2A864886F70D01010B")), element(0x05))


def name(*values):
    return sequence(*(element(0x31, sequence(COMMON_NAME, value)) for value in values))


RSA_KEY = sequence(RSA_SHA256, element(0x03, b"\x00", bytes(range(64))))
BASIC_CONSTRAINTS = sequence(element(0x06, bytes.fromhex("551D13")), element(0x01, b"\xFF"),
                             octets(sequence(element(0x01, b"\xFF"))))


def extension(last_arc, value):
    return sequence(element(0x06, b"\x55\x1D" + bytes([last_arc])), octets(value))


def certificate(key=RSA_KEY,
                extensions=(BASIC_CONSTRAINTS, extension(17, sequence(element(0x82, b"host.example")))),
                issuer=b"Root & <Sons>"):
    tbs = sequence(
        element(0xA0, element(0x02, b"\x02")),
        element(0x02, bytes.fromhex("00F1E2D3C4B5")),
        RSA_SHA256,
        name(element(0x13, issuer)),
        sequence(element(0x17, b"200101000000Z"), element(0x18, b"20500101000000Z")),
        name(element(0x0C, "Zürich".encode()), element(0x1E, "Bern".encode("utf-16-be"))),
        key,
        element(0xA3, sequence(*extensions)))
    return sequence(tbs, RSA_SHA256, element(0x03, b"\x00", bytes(range(255, 127, -1))))


def members(der):
    return [whole for _, _, whole in items(items(der)[0][1])]


def as_xml(der):
    """The ASN.1 XML form, with every type but SEQUENCE and SET by its number."""
    text = ""
    for tag, content, _ in items(der):
        constructed = tag & 0x20 != 0
        inner = as_xml(content) if constructed else base64.b64encode(content).decode()
        name, number = ("contextSpecific", "tag") if tag & 0x80 else ("universal", "number")
        if tag in (0x30, 0x31):
            name = "sequence" if tag == 0x30 else "set"
            text += f"<{name}>{inner}</{name}>"
        else:
            text += f'<{name} {number}="{tag & 0x1F}" constructed="{int(constructed)}">{inner}</{name}>'
    return text


def bundle(*members):
    return sequence(element(0x06, bytes.fromhex("2A864886F70D010702")),
                    element(0xA0, sequence(element(0x02, b"\x01"), element(0x31), element(0xA0, *members))))


def der_round_trip():
    yield "certificate", certificate()
    yield "bundle", bundle(certificate())
    yield "hex_types", sequence(
        element(0x01, b"\xFF"), element(0x01), element(0x02, b"\x00\x80"), element(0x02),
        element(0x05), element(0x05, b"\x01"), element(0x0A, b"\x03"))
    yield "bits", sequence(
        element(0x03, b"\x00\xA5"), element(0x03, b"\x03\xA8"), element(0x03, b"\x00"),
        element(0x03), element(0x03, b"\x08\xA5"), element(0x03, b"\x01"))
    yield "octets", sequence(octets(b""), octets(b"a"), octets(b"ab"), octets(b"abc"))
    yield "oids", sequence(
        element(0x06, b"\x2A\x03"), element(0x06, b"\x88\x37\x83"), element(0x06, b"\x80\x01"),
        element(0x06), element(0x06, b"\x69" + b"\x84" * 15 + b"\x04"),
        element(0x06, b"\xBF" + b"\xFF" * 17 + b"\x7F"),
        element(0x06, b"\x2A" + b"\xFF" * 16 + b"\x7F"))
    yield "text", sequence(
        element(0x13, b"a<b>&\"c'"), element(0x16, b"\x00\t\r\n\x7F"), element(0x14, b"\xE9\x80"),
        element(0x0C, "é€😀".encode()), element(0x0C, b"\xE9\x00"), element(0x0C, b"  "))
    yield "numbered", sequence(
        element(0x1A, b"visible"), element(0x61, element(0x05)), element(0x41, b"\x01"),
        element(0xE2), element(0xC2, b"\x02"), element(0x80, b"key"), element(0xBE, octets(b"")),
        b"\x9F\x1F\x00", b"\x5F\x87\xFF\xFF\xFF\x7F\x01x", b"\x1F\x22\x01y")
    yield "misfits", sequence(
        element(0x10, b"\x05\x00"), element(0x11), element(0x22, element(0x02, b"\x01")),
        element(0x26), element(0x00), element(0x00, b"x"), element(0x20, element(0x05)))
    yield "indefinite", indefinite(0x30, indefinite(0xA0, element(0x05)), b"\x00\x81\x00",
                                   b"\x00\x01\x00", indefinite(0x31))
    yield "long_lengths", b"\x30\x84\x00\x00\x00\x0B" + (
        b"\x04\x81\x01a" + b"\x02\x82\x00\x01\x05" + b"\x05\x00")
    yield "segments", sequence(
        element(0x24, octets(b"ab"), octets(b"c")), indefinite(0x24, octets(b"d")),
        element(0x24), element(0x2C, octets(b"\xC3"), octets(b"\xA9")),
        element(0x33, element(0x13, b"own")), element(0x37, octets(b"2001"), octets(b"01000000Z")),
        element(0x38, octets(b"20500101000000Z")), element(0x3E, octets(b"\x00A")))
    yield "bit_segments", sequence(
        element(0x23, element(0x03, b"\x00\xAA"), element(0x03, b"\x04\xB0")), element(0x23),
        element(0x23, element(0x03, b"\x04\xB0"), element(0x03, b"\x00\xAA")),
        indefinite(0x23, element(0x23, element(0x03, b"\x01\xFE"))))
    yield "wrong_segments", sequence(
        element(0x24, octets(b"a"), element(0x03, b"\x00")), element(0x23, octets(b"a")),
        element(0x24, element(0x24, octets(b"a")), element(0x24, element(0x80))),
        element(0x2C, element(0x13, b"a")))
    yield "nested_segments", nested(
        99, octets(b"deep"), lambda inner: indefinite(0x24, octets(b"."), inner))
    yield "nested_wrong_segments", nested(
        98, element(0x24, element(0x05)), lambda inner: element(0x24, octets(b"."), inner))
    yield "deepest", nested(99, element(0x05), sequence)
    yield "too_deep", nested(100, element(0x05), sequence)
    yield "missing_end", b"\x30\x80\x30\x80\x00\x00"
    yield "trailing", element(0x05) + b"\x00"
    yield "overlong", b"\x30\x88\x80\x00\x00\x00\x00\x00\x00\x00"


def certificate_answers():
    yield "certificate", certificate()
    tbs, algorithm, signature = members(certificate(extensions=(BASIC_CONSTRAINTS,)))
    fields = members(tbs)
    for i in range(len(fields)):
        yield f"without_field_{i}", sequence(sequence(*fields[:i], *fields[i + 1:]), algorithm, signature)
    yield "without_algorithm", sequence(tbs, signature)
    yield "without_signature", sequence(tbs, algorithm)
    ec = sequence(element(0x06, bytes.fromhex("2A8648CE3D0201")),
                  element(0x06, bytes.fromhex("2A8648CE3D030107")))
    yield "ec_key", certificate(sequence(ec, element(0x03, b"\x00\x04", bytes(64))))
    dsa = sequence(element(0x06, bytes.fromhex("2A8648CE380401")),
                   sequence(*(element(0x02, bytes([n])) for n in (23, 11, 4))))
    yield "dsa_key", certificate(
        sequence(dsa, element(0x03, b"\x00", element(0x02, b"\x08"))))
    ed25519 = sequence(element(0x06, bytes.fromhex("2B6570")))
    yield "ed25519_key", certificate(sequence(ed25519, element(0x03, b"\x00", bytes(range(32)))))
    names = sequence(
        element(0xA0, element(0x06, b"\x2A\x03"), element(0xA0, element(0x0C, b"other"))),
        element(0x81, b"a@b.example"), element(0x82, b"host"), element(0xA4, name(octets(b"x"))),
        element(0x86, b"https://host/"), element(0x87, b"\x7F\x00\x00\x01"), element(0x88, b"\x2A\x03"))
    yield "alternative_names", certificate(extensions=(extension(17, names),))
    yield "key_identifiers", certificate(extensions=(
        extension(14, octets(b"own")),
        extension(35, sequence(element(0x80, b"issuer"), element(0xA1), element(0x82, b"\x01")))))
    text = base64.encodebytes(certificate())
    yield "pem", b"-----BEGIN CERTIFICATE-----\n" + text + b"-----END CERTIFICATE-----\n"
    yield "base64", text
    yield "xml", f"<certs><c>{as_xml(certificate(extensions=()))}</c></certs>".encode()
    yield "bundle", bundle(certificate(extensions=()), certificate(issuer=b"Other"))
    yield "ber_bundle", b"\x30\x80" + bundle(certificate())[4:] + b"\x00\x00"


def oid(hexadecimal):
    return element(0x06, bytes.fromhex(hexadecimal))


def with_extension(identifier, value):
    return certificate(extensions=(sequence(oid(identifier), octets(value)),), issuer=b"Root")


def both_faces():
    for title, data in certificate_answers():
        if title.endswith("key"):
            yield title, data
    uri, host = element(0x86, b"ldap://host/"), element(0x82, b"example.org")
    directory = element(0xA4, name(element(0x13, b"CA")))
    names = (host, uri, directory, element(0x81, b"a@b.example"), element(0x87, bytes(15) + b"\x01"),
             element(0x88, b"\x2A\x03"), element(0xA0, oid("2A03"), element(0xA0, element(0x0C, b"other"))))
    untyped = element(0xA3, element(0x30)), element(0xA5, element(0xA1, element(0x0C, b"party")))
    flag, number = element(0x80, b"\x02"), element(0x02, b"\x00")
    point = sequence(element(0xA0, element(0xA0, uri, directory)), element(0x81, b"\x01\x40"),
                     element(0xA2, directory))
    relative = sequence(element(0xA0, element(0xA1, sequence(COMMON_NAME, element(0x0C, b"CRL")))))
    access = sequence(sequence(oid("2B06010505073001"), uri))
    notice = sequence(sequence(element(0x0C, b"Acme"), sequence(number)), element(0x1A, b"notice"))
    policy = sequence(oid("2A0304"), sequence(
        sequence(oid("2B06010505070201"), element(0x16, b"https://cps")),
        sequence(oid("2B06010505070202"), notice), sequence(oid("2A0305"), element(0x05))))
    subnet = sequence(element(0x87, b"\xC0\x00\x02\x00\xFF\xFF\xFF\x00"))
    timestamp = b"\x00" + bytes(32) + b"\x00\x00\x01\x90\x00\x00\x00\x00" + b"\x00\x00\x04\x03\x00\x02ab"
    framed = len(timestamp).to_bytes(2, "big") + timestamp
    for title, identifier, value in (
            ("keyUsage", "551D0F", element(0x03, b"\x01\x06")),
            ("extKeyUsage", "551D25", sequence(oid("2B06010505070301"), oid("551D2500"))),
            ("nameConstraints", "551D1E", sequence(
                element(0xA0, sequence(host), subnet), element(0xA1, sequence(directory)))),
            ("crlDistributionPoints", "551D1F", sequence(point, relative)),
            ("freshestCRL", "551D2E", sequence(relative)),
            ("certificatePolicies", "551D20", sequence(policy)),
            ("policyMappings", "551D21", sequence(sequence(oid("2A0304"), oid("2A0305")))),
            ("policyConstraints", "551D24", sequence(flag, element(0x81, b"\x00"))),
            ("inhibitAnyPolicy", "551D36", number),
            ("subjectAltName", "551D11", sequence(*names)),
            ("issuerAltName", "551D12", sequence(*names, *untyped)),
            ("subjectKeyIdentifier", "551D0E", octets(b"own")),
            ("authorityKeyIdentifier", "551D23", sequence(
                element(0x80, b"issuer"), element(0xA1, directory), element(0x82, b"\x01"))),
            ("authorityInfoAccess", "2B06010505070101", access),
            ("subjectInfoAccess", "2B0601050507010B", access),
            ("signedTimestamps", "2B06010401D679020402",
             octets(len(framed).to_bytes(2, "big") + framed)),
            ("tlsFeature", "2B06010505070118", sequence(element(0x02, b"\x05"))),
            ("ocspNoCheck", "2B0601050507300105", element(0x05)),
            ("noRevAvail", "551D38", element(0x05)),
            # One face reads a key identifier beside a name that is no ASN.1, the other does not.
            ("malformed_issuer", "551D23",
             sequence(element(0x80, b"key"), element(0xA1, b"\xA4\x03\x30\x05\x31")))):
        yield title, with_extension(identifier, value)
    yield "malformed_critical", certificate(
        extensions=(sequence(oid("2A03"), element(0x01, b"\xFF"), element(0x05)),))
    # An EC key of 32 octets, as many as an Ed25519 key has.
    yield "short_ec_key", certificate(sequence(
        sequence(oid("2A8648CE3D0201"), oid("2A8648CE3D030107")), element(0x03, b"\x00\x04", bytes(5))))
    yield "self_signed", next(
        bytes.fromhex(line[7:]) for record in SIGNED.read_text().split("\n\n")
        if "Issuer = ed25519\n" in record for line in record.splitlines() if line.startswith("Cert = "))


def chains():
    scenes = make_chains.scenes()
    (SEEDS.parent / "chains.der").write_bytes(sequence(*(scene.der() for _, scene in scenes)))
    for number, (title, scene) in enumerate(scenes):
        for label, data in scene.seeds(number):
            yield title + label, data


# Each curve, Ed25519 and a modulus on each path, in a folder inside, since they are dear.
def arithmetic_paths():
    for what in range(11):
        for path in range(4):
            start = bytes([what, path])
            yield f"dear/{what}.{path}", start + hashlib.shake_128(start).digest(90)


# Octets within octets, more than are opened, of which one is no whole element; and text with a key beside it.
def viewer_session():
    inside = sequence(element(0x02, b"\x01"))
    for tag in 0x04, 0x03, 0x04, 0x04, 0x03:
        inside = sequence(element(tag, (b"\x00" if tag == 0x03 else b"") + inside), element(0x04, b"\x30\x05\x01"))
    yield "octets_in_octets", with_extension("2A03", inside)
    key = sequence(element(0x02, b"\x00"), sequence(oid("2B6570")), octets(octets(bytes(32))))
    yield "key_and_certificate", b"".join(
        b"-----BEGIN X-----\n" + base64.b64encode(each) + b"\n-----END X-----\n" for each in (key, certificate()))


# Streams of each kind of block, behind a way and a bound, and what is to be compressed.
def inflate():
    text = bytes(range(97, 123)) * 2 + b"the quick brown fox, the lazy dog, the quick one" + bytes(300)
    yield "compress", b"\0\0" + text
    for title, level, strategy in (("stored", 0, 0), ("fixed", 9, zlib.Z_FIXED), ("dynamic", 9, 0),
                                   ("huffman", 9, zlib.Z_HUFFMAN_ONLY), ("runs", 9, zlib.Z_RLE)):
        stream = zlib.compressobj(level, zlib.DEFLATED, -15, 9, strategy)
        raw = stream.compress(text) + stream.flush()
        yield title, b"\2\x40" + raw
        if title == "fixed":
            yield "framed", b"\1\x78" + raw
            yield "asks_for_a_dictionary", b"\r\x78" + raw


def xml_trees():
    text = """<a> <!-- c --><oid>2.5.4.3</oid><set tag="3" x='1'><utf8>&lt;&#10;\u00e9</utf8></set><?p?><b><![CDATA[ ]]></b></a>"""
    yield "text", text.encode()
    yield "utf16", b"\xFE\xFF" + text.encode("utf-16-be")
    # Twice 20 elements; the 17th, back, the 20th.
    yield "many", bytes.fromhex("00 0001000000 0001000000 0412010106 04000012 0415010106")
    for number in range(3):
        yield f"program{number}", hashlib.shake_128(bytes([number])).digest(99)


def matching():
    for title, text in (("host", "www.Example.org.\n*.example.org\nwww.example.ORG"), ("star", "a.b\n*.b"),
                        ("wild", "a.b.c\n*.b.c\n*.c"), ("six", "[2001:db8::1]"), ("four", "192.0.2.1"),
                        ("mapped", "::FFFF:192.0.2.1"),
                        ("mailbox", "a.B+1@Example.org\nA.b+1@example.org\na.B+1@example.ORG"), ("quoted", '"a \\" b"@c.d\n"a \\" b"@C.d'), ("pin", "#sha256, base64, x,\x89"),
                        ("hex", "#SHA-1,HEX,,\x90,\x84")):
        yield title, text.encode("latin-1")


def pieces():
    pem = (b"-----BEGIN CERTIFICATE-----\n%s-----END CERTIFICATE-----\n" % text
           for text in (b"MAA=\n", base64.encodebytes(certificate())))
    encrypted = b"-----BEGIN X-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: x\n\nAAAA\n-----END Y-----\n"
    yield "pem", b"\7\40text\r\n" + next(pem).replace(b"\n", b"\r\n") + encrypted
    yield "lines", b"\0\1key\tAAAA\n\nMAA=\n\tx\nlast"
    yield "dear/utf16", b"\7\40\xFF\xFE" + next(pem).decode().encode("utf-16-le")
    yield "dear/der", b"\7\40" + certificate() * 2 + b"\x30\x01"
    elements = b"<sequence><null></null></sequence>"
    yield "xml_list", (b"\3\1\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- - -- -->\n<l a='>'><c b=\"/>\">" + elements + b"</c>text<d/><c><e>"
                       + elements + b"</e></c></l>\n" + elements + b"<!-- --><x>&lt;</x>")
    yield "xml_cut", b"\3\1<l><c>" + elements + b"</d></l>" + elements
    yield "blank", b"\1\2 \r\n\t\n MAA=\n x"
    yield "no_mark", b"\1\2<\0s\0e\0"
    yield "key", b"\1\7" + sequence(element(0x02, b"\0"), sequence(oid("2A03")), octets(b"x")) + sequence(sequence())
    yield "crlf_in_base64", b"\1\3" + base64.b64encode(sequence(sequence(), octets(bytes(90)))).replace(b"A", b"A\r\n", 3) + b"==="
    for title, data in certificate_answers():
        if title in ("pem", "base64", "xml", "bundle", "ber_bundle"):
            yield f"dear/{title}", b"\3\17" + data


def options():
    yield "all", b"file\n--json\n--at=x\n--root\na\n--root=b\n-\n--\n--at"
    yield "twice", b"--at\n--json\n--at=\na\nb"


def names():
    types = ("2A864886F70D010901", "550403", "55040A", "550461", "550405", "55040C", "2A03", "0992268993F22C640119")
    texts = [element(0x0C, " a,b+\"c\\ü#".encode()), element(0x13, b"#1 "), element(0x1E, b"\0B\0=\xD8\0"),
             element(0x14, b"\xE9\x1B"), element(0x16, b"x"), element(0x1C, b"\0\0\0\xE9"), element(0x04, b"\0"), element(0x0C)]
    attributes = [sequence(oid(each), text) for each, text in zip(types, texts)]
    yield "each", sequence(*(element(0x31, each) for each in attributes[:7]))
    yield "other", sequence(*(element(0x31, sequence(oid(each), text)) for each, text in zip(types, texts[3:])))
    yield "one", sequence(element(0x31, *attributes[:3]), element(0x31, *attributes[5:7]), element(0x31, attributes[7]))
    yield "text", b"CN=Steve\\2C \\C3\\A9\\+,2.5.4.97=#0C0131+OU=a b\\ ,C=GB,DC=x=y"


# Entries with each form of a date, reason and critical extension; numbers that are there twice.
def crls():
    def entry(serial, *more):
        return sequence(element(0x02, bytes.fromhex(serial)), element(0x17, b"200101000000Z"), *more)

    def reason(code, *critical):
        return sequence(oid("551D15"), *critical, octets(element(0x0A, bytes([code]))))
    date = sequence(oid("551D18"), element(0x01, b"\xFF"), octets(element(0x18, b"20200101000000Z")))
    unknown = sequence(oid("2A03"), element(0x01, b"\xFF"), octets(b""))
    scope = sequence(oid("551D1C"), element(0x01, b"\xFF"), octets(sequence(element(0x81, b"\xFF"))))
    entries = (entry("05"), entry("00F1", sequence(reason(1), date)), entry("F1"), entry("05", sequence(unknown)),
               entry("07", sequence(reason(8))), entry("07", sequence(reason(6))), entry("0100000007"),
               entry("08", sequence(reason(7))), entry("09", sequence()), entry("0A", sequence(reason(1), reason(2))))
    for title, version, listed in (("all", (element(0x02, b"\1"),), entries), ("first", (), entries[:1]),
                                   ("good", (element(0x02, b"\1"),), entries[:3])):
        yield title, sequence(sequence(
            *version, RSA_SHA256, name(element(0x0C, b"CA")), element(0x17, b"200101000000Z"),
            element(0x17, b"300101000000Z"), sequence(*listed), *(element(0xA0, sequence(scope)) for _ in version)),
            RSA_SHA256, element(0x03, b"\0signed"))
    block = b"-----BEGIN X509 CRL-----\n%s-----END X509 CRL-----\n"
    yield "pem", b"text\n" + block % base64.encodebytes(sequence(sequence())) + block % b"MAA*\n" + block.replace(b"CRL", b"X") % b"MAA=\n"


def main():
    for target in (der_round_trip, certificate_answers, both_faces, chains, arithmetic_paths, viewer_session,
                   inflate, xml_trees, matching, pieces, crls, options, names):
        folder = SEEDS / target.__name__
        folder.mkdir(parents=True, exist_ok=True)
        for title, data in target():
            (folder / title).parent.mkdir(exist_ok=True)
            (folder / title).write_bytes(data)


if __name__ == "__main__":
    main()

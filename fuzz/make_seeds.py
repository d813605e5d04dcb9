#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets into seeds/ beside this script.

The seeds are small and cover each form that an input can take, so that a fuzzer starts from all of
them and a replay runs through all of them. Run it again after a change; the result is committed.
"""

import base64
from pathlib import Path

SEEDS = Path(__file__).resolve().parent / "seeds"


def length(size):
    if size < 0x80:
        return bytes([size])
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(octets)]) + octets


def element(identifier, *parts):
    content = b"".join(parts)
    return bytes([identifier]) + length(len(content)) + content


def indefinite(identifier, *parts):
    return bytes([identifier, 0x80]) + b"".join(parts) + b"\x00\x00"


def sequence(*members):
    return element(0x30, *members)


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
                extensions=(BASIC_CONSTRAINTS, extension(17, sequence(element(0x82, b"host.example"))))):
    tbs = sequence(
        element(0xA0, element(0x02, b"\x02")),
        element(0x02, bytes.fromhex("00F1E2D3C4B5")),
        RSA_SHA256,
        name(element(0x13, b"Root & <Sons>")),
        sequence(element(0x17, b"200101000000Z"), element(0x18, b"20500101000000Z")),
        name(element(0x0C, "Zürich".encode()), element(0x1E, "Bern".encode("utf-16-be"))),
        key,
        element(0xA3, sequence(*extensions)))
    return sequence(tbs, RSA_SHA256, element(0x03, b"\x00", bytes(range(255, 127, -1))))


def der_round_trip():
    yield "certificate", certificate()
    yield "bundle", sequence(
        element(0x06, bytes.fromhex("2A864886F70D010702")),
        element(0xA0, sequence(element(0x02, b"\x01"), element(0x31), element(0xA0, certificate()))))
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


def main():
    for target in der_round_trip, certificate_answers:
        folder = SEEDS / target.__name__
        folder.mkdir(parents=True, exist_ok=True)
        for title, data in target():
            (folder / title).write_bytes(data)


if __name__ == "__main__":
    main()

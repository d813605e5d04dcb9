#!/usr/bin/env python3
"""Writes sha_known_answers.txt, digests by an independent implementation (Python's hashlib).

Each line is "algorithm case digest". The cases: the example messages that FIPS 180-4 refers to, by
their text ("empty" for none); "million_a"; "lengths", the digest of the digests, one after the
other, of the messages of 0 to 300 bytes whose byte i is (7 * i + length) mod 256; and "beyond_4gib",
2^32 + 3 bytes 5a.
"""
import hashlib
import pathlib

FIPS_MESSAGES = [
    "abc",
    "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
    "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
]


def digest_of_lengths(algorithm):
    outer = hashlib.new(algorithm)
    for length in range(301):
        message = bytes((7 * i + length) % 256 for i in range(length))
        outer.update(hashlib.new(algorithm, message).digest())
    return outer.hexdigest()


def digest_beyond_4gib(algorithm):
    digest = hashlib.new(algorithm)
    piece = b"\x5a" * (1 << 24)
    for _ in range(1 << 8):
        digest.update(piece)
    digest.update(b"\x5a" * 3)
    return digest.hexdigest()


def lines():
    for algorithm in ("sha1", "sha256", "sha384", "sha512"):
        yield algorithm, "empty", hashlib.new(algorithm).hexdigest()
        for message in FIPS_MESSAGES:
            yield algorithm, message, hashlib.new(algorithm, message.encode()).hexdigest()
        yield algorithm, "million_a", hashlib.new(algorithm, b"a" * 1000000).hexdigest()
        yield algorithm, "lengths", digest_of_lengths(algorithm)
    yield "sha256", "beyond_4gib", digest_beyond_4gib("sha256")


out = pathlib.Path(__file__).with_name("sha_known_answers.txt")
out.write_text("".join(" ".join(line) + "\n" for line in lines()))

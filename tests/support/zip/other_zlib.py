#!/usr/bin/env python3
"""The other side of the compression tests: Python's zlib module.

  other_zlib.py vectors > zlib_vectors.txt   a few short streams, kept with the tests
  other_zlib.py write FILE                   many streams, whole and damaged, for the tests to read
  other_zlib.py check DIRECTORY              reads each NAME.z there and compares with NAME.raw

A line of the streams is "kind stream output": kind is "zlib" or "raw", stream and output are in
hexadecimal with "-" for nothing, and the output is "error" for a stream that is not whole.
"""
import pathlib
import random
import sys
import zlib

TEXT = b"".join(b"commonName=host%d.example.com;organizationName=Example %d;" % (i, i * i) for i in range(40))


def contents():
    rng = random.Random(1951)
    yield b""
    yield b"a"
    yield b"abc" * 50
    yield TEXT[:300]
    yield bytes(rng.choices(range(256), k=90))
    yield bytes(rng.choices(b"\0\1\2", weights=(90, 9, 1), k=400))


def larger_contents():
    rng = random.Random(1950)
    yield TEXT * 3
    yield bytes(rng.choices(range(256), weights=[1 << min(i // 8, 20) for i in range(256)], k=9000))
    yield bytes(70000) + rng.randbytes(3000) + bytes(70000)
    yield rng.randbytes(70000)
    yield b"".join(rng.choice((TEXT, rng.randbytes(40), b"z" * 700)) for _ in range(200))


def compress(data, level, wbits, strategy, flush_at=None):
    stream = zlib.compressobj(level, zlib.DEFLATED, wbits, 9, strategy)
    if flush_at is None:
        return stream.compress(data) + stream.flush()
    head = stream.compress(data[:flush_at]) + stream.flush(zlib.Z_FULL_FLUSH)
    return head + stream.compress(data[flush_at:]) + stream.flush()


def hexadecimal(data):
    return data.hex() or "-"


def line(kind, stream):
    reader = zlib.decompressobj(15 if kind == "zlib" else -15)
    try:
        output = hexadecimal(reader.decompress(stream))
    except zlib.error:
        output = "error"
    if not reader.eof or (kind == "zlib" and reader.unused_data):
        output = "error"
    return f"{kind} {hexadecimal(stream)} {output}\n"


def short_streams():
    for data in contents():
        yield line("zlib", compress(data, 9, 15, zlib.Z_DEFAULT_STRATEGY))
        yield line("raw", compress(data, 6, -15, zlib.Z_FIXED))
    yield line("zlib", compress(TEXT[:300], 6, 9, zlib.Z_DEFAULT_STRATEGY, 120))
    yield line("raw", compress(TEXT[:300], 6, -15, zlib.Z_HUFFMAN_ONLY))
    yield line("raw", compress(TEXT[:300], 0, -15, zlib.Z_DEFAULT_STRATEGY))


def damaged(stream, rng):
    for _ in range(rng.choice((1, 1, 1, 3))):
        at = rng.randrange(min(len(stream), 60) if rng.random() < 0.5 else len(stream))
        stream = stream[:at] + bytes([stream[at] ^ 1 << rng.randrange(8)]) + stream[at + 1:]
    return stream if rng.random() < 0.8 else stream[: rng.randrange(len(stream))]


def many_streams():
    strategies = (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED, zlib.Z_HUFFMAN_ONLY, zlib.Z_RLE, zlib.Z_FIXED)
    for data in [*contents(), *larger_contents()]:
        for level in (0, 1, 6, 9):
            yield line("zlib", compress(data, level, 15, zlib.Z_DEFAULT_STRATEGY))
        for strategy in strategies:
            yield line("raw", compress(data, 6, -15, strategy, len(data) // 2))
        for wbits in (9, 12):
            yield line("zlib", compress(data, 9, wbits, zlib.Z_DEFAULT_STRATEGY))
    rng = random.Random(32768)
    for data in contents():
        for strategy in strategies:
            stream = compress(data, 6, -15, strategy)
            for _ in range(150):
                yield line("raw", damaged(stream, rng))


def check(directory):
    names = sorted(directory.glob("*.z"))
    for name in names:
        if zlib.decompress(name.read_bytes()) != name.with_suffix(".raw").read_bytes():
            sys.exit(f"{name} does not decompress to what it was made from")
    return 0 if names else "no streams found"


if sys.argv[1] == "vectors":
    sys.stdout.writelines(short_streams())
elif sys.argv[1] == "write":
    pathlib.Path(sys.argv[2]).write_text("".join(many_streams()))
else:
    sys.exit(check(pathlib.Path(sys.argv[2])))

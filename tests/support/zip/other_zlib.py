#!/usr/bin/env python3
"""The other side of the compression tests: Python's zlib module.

  other_zlib.py vectors > zlib_vectors.txt   a few short streams, kept with the tests
  other_zlib.py check DIRECTORY              reads each NAME.z there and compares with NAME.raw

A line of the streams is "kind stream output": kind is "zlib" or "raw", stream and output are in
hexadecimal with "-" for nothing.
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


def compress(data, level, wbits, strategy, flush_at=None):
    stream = zlib.compressobj(level, zlib.DEFLATED, wbits, 9, strategy)
    if flush_at is None:
        return stream.compress(data) + stream.flush()
    head = stream.compress(data[:flush_at]) + stream.flush(zlib.Z_FULL_FLUSH)
    return head + stream.compress(data[flush_at:]) + stream.flush()


def hexadecimal(data):
    return data.hex() or "-"


def line(kind, data, *how):
    return f"{kind} {hexadecimal(compress(data, *how))} {hexadecimal(data)}\n"


def short_streams():
    for data in contents():
        yield line("zlib", data, 9, 15, zlib.Z_DEFAULT_STRATEGY)
        yield line("raw", data, 6, -15, zlib.Z_FIXED)
    yield line("zlib", TEXT[:300], 6, 9, zlib.Z_DEFAULT_STRATEGY, 120)
    yield line("raw", TEXT[:300], 6, -15, zlib.Z_HUFFMAN_ONLY)
    yield line("raw", TEXT[:300], 0, -15, zlib.Z_DEFAULT_STRATEGY)


def check(directory):
    names = sorted(directory.glob("*.z"))
    for name in names:
        if zlib.decompress(name.read_bytes()) != name.with_suffix(".raw").read_bytes():
            sys.exit(f"{name} does not decompress to what it was made from")
    return 0 if names else "no streams found"


if sys.argv[1] == "vectors":
    sys.stdout.writelines(short_streams())
else:
    sys.exit(check(pathlib.Path(sys.argv[2])))

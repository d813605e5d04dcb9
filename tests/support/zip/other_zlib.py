#!/usr/bin/env python3
"""The other side of the compression tests: Python's zlib module.

  other_zlib.py vectors > zlib_vectors.txt   a few short streams, kept with the tests, and some written bit by bit
  other_zlib.py check DIRECTORY              reads each NAME.z there and compares with NAME.raw

A line of the streams is "kind stream output": kind is "zlib" or "raw", stream and output are in
hexadecimal with "-" for nothing. Of a stream that is none the output is "!" and the number of the fault,
as InflateResult has it. Lines that begin with # say what the next stream is.
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


class Bits:
    """A stream written by hand, bit by bit."""

    def __init__(self):
        self.bits = ""

    def put(self, value, count):
        """A number, lowest bit first."""
        self.bits += f"{value:0{count}b}"[::-1][:count] if count else ""
        return self

    def code(self, word):
        """Code words, highest bit first."""
        self.bits += word.replace(" ", "")
        return self

    def block(self, kind, final=1):
        return self.put(final, 1).put(kind, 2)

    def counts(self, literals, distances):
        return self.block(2).put(literals - 257, 5).put(distances - 1, 5).put(19 - 4, 4)

    def dynamic(self, literals, distances):
        """The header of a dynamic block. The code lengths are sent in words of four bits each, so that any list of them can be."""
        self.counts(len(literals), len(distances))
        for symbol in (16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15):
            self.put(4 if symbol < 16 else 0, 3)
        return self.code("".join(f"{length:04b}" for length in literals + distances))

    def octets(self):
        padded = self.bits + "0" * (-len(self.bits) % 8)
        return bytes(int(padded[at:at + 8][::-1], 2) for at in range(0, len(padded), 8))


BLOCK_TYPE, STORED_LENGTH, CODE_LENGTHS, SYMBOL, DISTANCE, TRUNCATED = "!3", "!4", "!5", "!6", "!7", "!1"


def lengths(count, used):
    """Code lengths for some of `count` symbols, 0 for the rest."""
    return [used.get(symbol, 0) for symbol in range(count)]


def three_words(distances):
    """A block of which "a" is 0, the end 10 and a match of three 11."""
    return Bits().dynamic(lengths(258, {97: 1, 256: 2, 257: 2}), distances)


def fixed():
    return Bits().block(1).code(f"{0x30 + 97:08b}")


def written_by_hand():
    one_end = lengths(257, {97: 1, 256: 1})
    # The incomplete codes that writers use.
    yield "one distance", three_words([1]).code("0 11 0 10"), b"aaaa"
    yield "no distance", three_words([0]).code("0 10"), b"a"
    yield "only the end", Bits().dynamic(lengths(257, {256: 1}), [0]).code("0"), b""
    yield "stored", Bits().block(0).put(0, 5).put(1, 16).put(0xFFFE, 16).put(97, 8), b"a"
    yield "block type 3", Bits().block(3), BLOCK_TYPE
    yield "no final block", Bits().block(1, 0).code("0000000"), TRUNCATED
    yield "stored: lengths differ", Bits().block(0).put(0, 5).put(1, 16).put(1, 16), STORED_LENGTH
    yield "length symbol 286", fixed().code("11000110"), SYMBOL
    yield "distance symbol 30", fixed().code("0000001 11110"), SYMBOL
    yield "a distance before the start", fixed().code("0000001 00001 0000000"), DISTANCE
    yield "287 literal symbols", Bits().counts(287, 1).put(0, 32), CODE_LENGTHS
    yield "31 distance symbols", Bits().counts(257, 31).put(0, 32), CODE_LENGTHS
    yield "code-length code too full", Bits().counts(257, 1).put(0x249249, 24).put(0, 33), CODE_LENGTHS
    yield "code-length code of one", Bits().counts(257, 1).put(1, 3).put(0, 64), CODE_LENGTHS
    yield "a repetition of nothing", Bits().counts(257, 1).put(1, 3).put(0, 6).put(1, 3).put(0, 45).code("1").put(0, 32), CODE_LENGTHS
    yield "repetitions beyond the end", Bits().counts(257, 1).put(9 << 6, 57).code("11111111").put(255, 8).put(0, 32), CODE_LENGTHS
    yield "no code word for the end", Bits().dynamic(lengths(257, {97: 1, 98: 1}), [1, 1]), CODE_LENGTHS
    yield "literal code too full", Bits().dynamic(lengths(257, {1: 1, 2: 1, 256: 1}), [1, 1]), CODE_LENGTHS
    yield "literal code incomplete", Bits().dynamic(lengths(257, {1: 2, 256: 1}), [1, 1]), CODE_LENGTHS
    yield "one literal word of two bits", Bits().dynamic(lengths(257, {256: 2}), [1, 1]), CODE_LENGTHS
    yield "distance code incomplete", Bits().dynamic(one_end, [2, 2]), CODE_LENGTHS
    yield "distance code too full", Bits().dynamic(one_end, [1, 1, 1]), CODE_LENGTHS
    yield "the unused half of a single distance", three_words([1]).code("0 11 1 10").put(0, 32), SYMBOL
    yield "a match where no distances are", three_words([0]).code("0 11").put(0, 64), SYMBOL


def hand_made_lines():
    for what, stream, output in written_by_hand():
        yield f"# {what}\nraw {hexadecimal(stream.octets())} {output if isinstance(output, str) else hexadecimal(output)}\n"


def check(directory):
    names = sorted(directory.glob("*.z"))
    for name in names:
        if zlib.decompress(name.read_bytes()) != name.with_suffix(".raw").read_bytes():
            sys.exit(f"{name} does not decompress to what it was made from")
    return 0 if names else "no streams found"


if sys.argv[1] == "vectors":
    sys.stdout.writelines([*short_streams(), *hand_made_lines()])
else:
    sys.exit(check(pathlib.Path(sys.argv[2])))

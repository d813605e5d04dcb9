"""DER for what is written in Python: put together, and taken apart without any doubt in it."""
import functools


def tlv(tag, *parts):
    body = b"".join(parts)
    size = len(body)
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag]) + (bytes([size]) if size < 128 else bytes([128 | len(octets)]) + octets) + body


def seq(*parts):
    return tlv(0x30, *parts)


def integer(value):
    return tlv(2, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def base_128(value):
    octets = [value & 127]
    while value := value >> 7:
        octets.append(128 | value & 127)
    return bytes(reversed(octets))


@functools.cache
def oid(dotted):
    first, second, *arcs = map(int, dotted.split("."))
    return tlv(6, *map(base_128, [first * 40 + second, *arcs]))


def bits(body, unused=0):
    return tlv(3, bytes([unused]), body)


def items(body):
    """(tag, content, all of it) of each element in a row; low tag numbers alone. ValueError."""
    out, at = [], 0
    while at < len(body):
        head, size = at + 2, body[at + 1]
        if size > 127:
            head += size - 128
            size = int.from_bytes(body[at + 2:head], "big")
        if head + size > len(body):
            raise ValueError("an element that is longer than its input")
        out.append((body[at], body[head:head + size], body[at:head + size]))
        at = head + size
    return out


def dotted(body):
    """The text of an OID from its content."""
    arcs, arc = [], 0
    for octet in body:
        arc = arc << 7 | octet & 127
        if octet < 128:
            arcs, arc = arcs + [arc], 0
    first = min(arcs[0] // 40, 2)
    return ".".join(map(str, [first, arcs[0] - 40 * first, *arcs[1:]]))

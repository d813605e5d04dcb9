"""Cases that hold, in which one element of what is signed then is another one, with all lengths and the signature right."""
import copy
import random

import rows
from der import tlv

TAGS = (1, 2, 3, 4, 5, 6, 10, 12, 19, 22, 23, 24, 30, 0x30, 0x31, 0x80, 0x81, 0x82, 0x86, 0x87, 0xA0, 0xA1, 0xA3, 0xA4)


def elements(body):
    """[tag, content] of each, the content a list where it is elements in turn; none of what is not made of elements."""
    out, at = [], 0
    while at < len(body):
        if at + 2 > len(body) or body[at] & 31 == 31:
            return None
        head, size = at + 2, body[at + 1]
        if size > 127:
            head += size - 128
            size = int.from_bytes(body[at + 2:head], "big")
        if head + size > len(body):
            return None
        content = body[head:head + size]
        inner = elements(content) if body[at] & 0x20 or body[at] == 4 else None
        out.append([body[at], inner or content])
        at = head + size
    return out


def octets(found):
    return b"".join(tlv(tag, octets(content) if isinstance(content, list) else content) for tag, content in found)


def lists(found):
    """All lists of elements, the outermost first."""
    return [found, *(each for _, content in found if isinstance(content, list) for each in lists(content))]


def changed(rng, parts):
    """The parts of what is signed, in one."""
    found = elements(b"".join(parts))
    places = [(siblings, at) for siblings in lists(found) for at in range(len(siblings))]
    siblings, at = rng.choice(places)
    tag, content = siblings[at]
    how = rng.choice(("drop", "twice", "swap", "graft", "tag") + ("octet",) * 4 + ("longer", "shorter"))
    if how == "drop":
        del siblings[at]
    elif how == "twice":
        siblings.insert(at, copy.deepcopy(siblings[at]))
    elif how == "swap":
        other = rng.randrange(len(siblings))
        siblings[at], siblings[other] = siblings[other], siblings[at]
    elif how == "graft":
        others, other = rng.choice(places)
        siblings[at] = copy.deepcopy(others[other])
    elif how == "tag" or isinstance(content, list):
        siblings[at][0] = rng.choice(TAGS)
    elif how == "octet" and content:
        place = rng.randrange(len(content))
        octet = rng.choice((0, 1, 0x7F, 0x80, 0xFF, content[place] ^ 1 << rng.randrange(8), (content[place] + 1) % 256))
        siblings[at][1] = content[:place] + bytes([octet]) + content[place + 1:]
    else:
        place = rng.randrange(len(content) + 1)
        siblings[at][1] = content[:place] + (content[place + 1:] if how == "shorter" else bytes([rng.choice((0, 0x80, 0xFF))]) + content[place:])
    return [octets(found)]


def make_case(number):
    """Trust in an anchor comes from outside, so that what it is made of is as it is."""
    case = rows.make_case(number, [random.Random(number).choice(rows.ROWS)], False)
    signed = [each for each in [*case.way, *case.others, *case.crls] if all(each is not anchor for anchor in case.anchors)]
    if signed:  # beside anchors
        victim = case.rng.choice(signed)
        edit = victim.edit or (lambda parts: parts)
        victim.edit = lambda parts: changed(random.Random(f"{number}"), edit(parts))
    return case

"""Makes public-key infrastructures in which anything can be wrong: certificates and CRLs whose every part
can be given raw, shapes of ways to an anchor, and ROWS, each of which sets up what one rule is about and,
if asked to, breaks it. The same number always makes the same case."""
import base64
import dataclasses
import datetime
import functools
import hashlib
import inspect
import pathlib
import random
import sys
from dataclasses import field

from cryptography.hazmat.primitives import hashes
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.hazmat.primitives.serialization import Encoding, PublicFormat

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "common"))

from der import bits, dotted, integer, items, oid, seq, tlv  # noqa: E402, F401

SEED = 20260601
AT = 1780272000  # 2026-06-01T00:00:00Z; every case is judged at this second
DAY = 86400


# ---- DER
def long_form(der):
    """The same with its length in one octet more than it needs; of nothing, nothing."""
    if not der:
        return der
    at = 2 if der[1] < 128 else 2 + der[1] - 128
    return der[:1] + bytes([128 | (at - 1)]) + (b"\0" + der[2:at] if at > 2 else der[1:2]) + der[at:]


def time(seconds, tag=None):
    moment = datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)
    tag = tag or (0x17 if moment.year < 2050 else 0x18)
    return tlv(tag, moment.strftime("%y%m%d%H%M%SZ" if tag == 0x17 else "%Y%m%d%H%M%SZ").encode())


def rdn(kind, text, tag=0x0C):
    return tlv(0x31, seq(oid(kind), tlv(tag, text if isinstance(text, bytes) else text.encode())))


def name(common, organization="Example", tag=0x0C):
    return seq(rdn("2.5.4.10", organization, tag), *([rdn("2.5.4.3", common, tag)] if common else []))


CN, EMAIL = "2.5.4.3", "1.2.840.113549.1.9.1"
SKI, KU, SAN, IAN, BC = (f"2.5.29.{n}" for n in (14, 15, 17, 18, 19))
NC, CDP, CP, PM, AKI, PC, EKU, FRESH, IAP = (f"2.5.29.{n}" for n in (30, 31, 32, 33, 35, 36, 37, 46, 54))
NUMBER, REASON, DELTA, IDP, NOREV = (f"2.5.29.{n}" for n in (20, 21, 27, 28, 56))
AIA, SIA, FEATURE = (f"1.3.6.1.5.5.7.1.{n}" for n in (1, 11, 24))
POISON, NOCHECK = "1.3.6.1.4.1.11129.2.4.3", "1.3.6.1.5.5.7.48.1.5"
USES = {"server": 1, "client": 2, "code": 3, "email": 4, "time": 8, "ocsp": 9}
ANY_POLICY, ANY_USE = "2.5.29.32.0", "2.5.29.37.0"
P1, P2, P3 = (f"1.3.6.1.4.1.99999.{n}" for n in (1, 2, 3))
TRUE = tlv(1, b"\xff")
SUB = {"email": 1, "dns": 2, "dir": 4, "uri": 6, "ip": 7, "id": 8}


def general(kind, value):
    if kind == "mailbox":
        return tlv(0xA0, oid("1.3.6.1.5.5.7.8.9"), tlv(0xA0, tlv(0x0C, value.encode())))
    value = oid(value)[2:] if kind == "id" else value
    return tlv((0xA0 if kind == "dir" else 0x80) | SUB[kind], value.encode() if isinstance(value, str) else value)


def names(*pairs):
    return seq(*(general(*pair) for pair in pairs))


def subtrees(permitted=(), excluded=(), after=b""):
    def tree(tag, pairs):
        return tlv(tag, *(seq(general(*pair), after) for pair in pairs)) if pairs else b""
    return seq(tree(0xA0, permitted), tree(0xA1, excluded))


def key_usage(*numbers):
    value = sum(0x8000 >> n for n in numbers)
    unused = (value & -value).bit_length() - 1
    return bits(value.to_bytes(2, "big")[:2 - unused // 8], unused % 8)


def uses(*which):
    return seq(*(oid(ANY_USE if each == "any" else f"1.3.6.1.5.5.7.3.{USES[each]}") for each in which))


def policies(*which):
    return seq(*(seq(oid(each)) for each in which))


def points(*uris):
    return seq(*(seq(tlv(0xA0, tlv(0xA0, general("uri", uri)))) for uri in uris))


# ---- Keys, made from numbers so that they are the same everywhere
# Older versions of cryptography sign otherwise each time, which is just as good a signature.
SAME_EACH_TIME = {"deterministic_signing": True} if "deterministic_signing" in inspect.signature(ec.ECDSA).parameters else {}


class EcKey:
    def __init__(self, number):
        secret = int.from_bytes(hashlib.sha256(f"{SEED} {number}".encode()).digest(), "big") >> 1
        self.key = ec.derive_private_key(secret, ec.SECP256R1())
        self.spki = self.key.public_key().public_bytes(Encoding.DER, PublicFormat.SubjectPublicKeyInfo)

    def algorithm(self, sha1):
        return seq(oid("1.2.840.10045.4.1" if sha1 else "1.2.840.10045.4.3.2"))

    def sign(self, octets, sha1):
        how = hashes.SHA1() if sha1 else hashes.SHA256()  # RFC 6979: the same case has the same octets
        return self.key.sign(octets, ec.ECDSA(how, **SAME_EACH_TIME))


class RsaKey:
    def __init__(self, size):
        rng = random.Random(SEED + size)
        top = 3 << (size // 2 - 2)
        prime = lambda: next(p for p in iter(lambda: top | rng.getrandbits(size // 2 - 2) | 1, None)
                             if all(p % q for q in range(3, 2000, 2)) and pow(2, p - 1, p) == 1 and p % 65537 != 1)
        p, q = prime(), prime()
        self.n, self.d, self.octets = p * q, pow(65537, -1, (p - 1) * (q - 1)), size // 8
        self.spki = seq(seq(oid("1.2.840.113549.1.1.1"), b"\5\0"), bits(seq(integer(self.n), integer(65537))))

    def algorithm(self, sha1):
        return seq(oid("1.2.840.113549.1.1." + ("5" if sha1 else "11")), b"\5\0")

    def sign(self, octets, sha1):
        digest = (hashlib.sha1 if sha1 else hashlib.sha256)(octets).digest()
        info = seq(seq(oid("1.3.14.3.2.26" if sha1 else "2.16.840.1.101.3.4.2.1"), b"\5\0"), tlv(4, digest))
        block = b"\0\1" + b"\xff" * (self.octets - 3 - len(info)) + b"\0" + info
        return pow(int.from_bytes(block, "big"), self.d, self.n).to_bytes(self.octets, "big")


ec_key, rsa_key = functools.cache(EcKey), functools.cache(RsaKey)


# ---- Certificates and CRLs
@dataclasses.dataclass(eq=False)
class Signed:
    """What both have; each member that is octets stands in the DER as it is."""
    issuer: bytes
    signer: object
    exts: list = field(default_factory=list)  # (OID, critical, value) or octets
    sha1: bool = False
    algorithms: tuple = (None, None)  # inside and behind what is signed
    spoil: int = 0                    # turned over in the last octet of the signature
    unused: int = 0                   # unused bits of the signature
    edit: object = None               # a function of the parts of what is signed
    whole: object = None              # a function of the certificate

    def ext(self, which, value=None, critical=False):
        """Put in place of the extension of that kind; none: taken away."""
        self.exts = [each for each in self.exts if isinstance(each, bytes) or each[0] != which]
        if value is not None:
            self.exts.append((which, critical, value))

    def get(self, which):
        return next((each[2] for each in self.exts if each[0] == which), None)

    def sealed(self, parts):
        inner, outer = (given or self.signer.algorithm(self.sha1) for given in self.algorithms)
        parts = [inner if part is None else part for part in parts]
        body = seq(*(self.edit(parts) if self.edit else parts))
        signature = bytearray(self.signer.sign(body, self.sha1))
        signature[-1] ^= self.spoil
        der = seq(body, outer, bits(bytes(signature), self.unused))
        return self.whole(der) if self.whole else der


def extension(each):
    return each if isinstance(each, bytes) else seq(oid(each[0]), TRUE if each[1] else b"", tlv(4, each[2]))


@dataclasses.dataclass(eq=False)
class Cert(Signed):
    subject: bytes = b""
    key: object = None
    serial: bytes = b""
    version: int = 2
    dates: list = None  # DER

    def der(self):
        version = tlv(0xA0, integer(self.version)) if self.version else b""
        exts = tlv(0xA3, seq(*map(extension, self.exts))) if self.exts else b""
        return self.sealed([version, self.serial, None, self.issuer, seq(*self.dates), self.subject,
                            self.key.spki, exts])


@dataclasses.dataclass(eq=False)
class Crl(Signed):
    entries: list = field(default_factory=list)  # (serial, [extensions])
    dates: list = None

    def der(self):
        entries = [seq(serial, time(AT - DAY), seq(*map(extension, exts)) if exts else b"")
                   for serial, exts in self.entries]
        return self.sealed([integer(1), None, self.issuer, *self.dates, seq(*entries) if entries else b"",
                            tlv(0xA0, seq(*map(extension, self.exts))) if self.exts else b""])


def key_id(key):
    return hashlib.sha1(key.spki).digest()


def make(subject, key, issuer, signer, number, is_ca, is_root=False):
    """A certificate with which every profile is content."""
    days = 3650 if is_ca else 90
    out = Cert(issuer, signer, subject=subject, key=key, serial=integer(0x5000 + number),
               dates=[time(AT - (days // 2) * DAY), time(AT + (days // 2) * DAY)])
    if not is_root:
        out.ext(AKI, seq(tlv(0x80, key_id(signer))))
    if is_ca:
        out.ext(BC, seq(TRUE), True)
        out.ext(KU, key_usage(5, 6), True)
        out.ext(SKI, tlv(4, key_id(key)))
    else:
        out.ext(KU, key_usage(0), True)
        out.ext(EKU, uses("server"))
        out.ext(SAN, names(("dns", "www.example.com"), ("dns", "*.shop.example.com"), ("ip", b"\xc0\0\2\7")))
    return out


class Case:
    """A way from a leaf (first) to an anchor (last) that holds, and what else lies about."""

    def __init__(self, rng, length, shape):
        self.rng, self.shape, self.rows, self.crls = rng, shape, [], []
        self.others, self.anchors, self.count = [], [], 0
        self.options = {"purpose": "any"}
        self.way = [self.root("Root", 0)]
        for depth in range(1, length - 1):
            self.way.insert(0, self.below(self.way[0], f"CA {depth}", depth))
        self.way.insert(0, self.below(self.way[0], "www.example.com", 90, False))
        self.anchors = [self.way[-1]]
        getattr(self, shape)()

    def root(self, common, key):
        return self.new(name(common), ec_key(key), name(common), ec_key(key), True, True)

    def new(self, *arguments):
        self.count += 1
        return make(*arguments[:4], self.count, *arguments[4:])

    def below(self, issuer, common, key, is_ca=True):
        return self.new(name(common), ec_key(key), issuer.subject, issuer.key, is_ca)

    def twin(self, cert, **changes):
        self.count += 1
        copy = dataclasses.replace(cert, exts=list(cert.exts), serial=integer(0x5000 + self.count), **changes)
        return copy

    def again(self, cert, issuer):
        """The subject of one certificate certified by another CA."""
        return self.new(cert.subject, cert.key, issuer.subject, issuer.key, True)

    def plain(self):
        pass

    def many_anchors(self):
        self.anchors += [self.root(f"Root {n}", 20 + n) for n in range(3)]
        self.anchors.append(self.below(self.anchors[1], "Anchor below a root", 24))

    def bridge(self):
        home = self.root("Home", 30)
        middle = self.below(home, "Bridge", 31)
        self.anchors = [home]
        self.others += [self.way[-1], self.again(home, middle), self.again(self.way[-1], middle), middle]
        self.way[-1:] = [self.others[2], middle, home]
        self.others = self.others[:2]

    def cross(self):
        """The issuer of the leaf is certified by a second root too."""
        second = self.root("Second", 40)
        self.anchors.append(second)
        if len(self.way) > 2:
            self.others.append(self.again(self.way[1], second))

    def loop(self):
        cas = [self.way[1], self.below(self.way[1], "Loop A", 50)]
        cas.append(self.below(cas[1], "Loop B", 51))
        self.others += [cas[1], cas[2], self.again(cas[0], cas[2]), self.again(cas[1], cas[2]),
                        self.again(self.way[-1], cas[1])]

    def expired_twin(self):
        dead = [time(AT - 900 * DAY), time(AT - DAY)]
        self.anchors.append(self.twin(self.way[-1], dates=dead))
        self.others += [self.twin(each, dates=dead) for each in self.way[1:-1]]

    def other_keys(self):
        """The names of the way again, with keys that have nothing to do with it."""
        self.others += [self.below(self.way[-1], "x", 60 + n) for n in range(2)]
        self.others += [self.new(each.subject, ec_key(70 + n), name("Nobody"), ec_key(80), True)
                        for n, each in enumerate(self.way[1:])]
        self.others[0].subject = self.others[1].subject = self.way[1].subject

    def presented_root(self):
        """Name and key of the anchor in octets that are not the anchor's."""
        self.others.append(self.twin(self.way[-1]))
        self.others[-1].exts.append(("1.2.3.4", True, b"\5\0"))

    def self_issued(self):
        """A CA that gives itself a new key."""
        at = max(1, len(self.way) - 2)
        old = self.way[at]
        new = self.new(old.subject, ec_key(55), old.subject, old.key, True)
        self.way[at - 1].issuer, self.way[at - 1].signer = new.subject, new.key
        self.way[at - 1].ext(AKI, seq(tlv(0x80, key_id(new.key))))
        self.way.insert(at, new)

    def pinned(self):
        """The leaf itself is trusted."""
        self.anchors.append(self.way[0])

    # What rows use.
    def option(self, **options):
        self.options.update(options)

    def all_policies(self, *which, but=None):
        for each in self.way[:-1]:
            if each is not but:
                each.ext(CP, policies(*which))

    def crl(self, issuer, *serials, **changes):
        changes.setdefault("dates", [time(AT - DAY), time(AT + DAY)])
        made = Crl(issuer.subject, issuer.key, entries=[(serial, []) for serial in serials], **changes)
        made.ext(NUMBER, integer(1))
        made.ext(AKI, seq(tlv(0x80, key_id(issuer.key))))
        self.crls.append(made)
        return made

    def octets(self):
        """Leaf, anchors, others and CRLs as DER, in an order that says nothing."""
        others = self.way[1:] + self.others
        if self.shape != "plain":
            self.rng.shuffle(others)
        others = [each.der() for each in others if each not in self.anchors]
        return self.way[0].der(), [each.der() for each in self.anchors], others, [c.der() for c in self.crls]


SHAPES = ("plain", "many_anchors", "bridge", "cross", "loop", "expired_twin", "other_keys", "presented_root",
          "self_issued", "pinned")


def pem(label, *ders):
    return "".join(f"-----BEGIN {label}-----\n{base64.encodebytes(der).decode()}-----END {label}-----\n"
                   for der in ders)

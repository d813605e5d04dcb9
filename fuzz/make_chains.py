"""The infrastructures of the fuzz target of chains, for make_seeds.py: of each its roots, the ways that hold and
its CRLs (chains.der), and leaves that hold and that are refused, each beside all else there is (seeds/chains)."""
import hashlib

from cryptography.hazmat.primitives.asymmetric import ed25519
from cryptography.hazmat.primitives.serialization import Encoding, PublicFormat
from pki import (AT, BC, CDP, CP, DAY, EKU, IDP, KU, NC, NUMBER, P1, P2, P3, PC, PM, SAN, TRUE, Crl, ec_key, general,
                 integer, key_usage, make, name, names, oid, points, policies, rsa_key, seq, subtrees, time, tlv, uses)

DEAD = [time(AT - 900 * DAY), time(AT - DAY)]
HOST = ("dns", "www.example.com")


class EdKey:
    def __init__(self, number):
        self.key = ed25519.Ed25519PrivateKey.from_private_bytes(hashlib.sha256(bytes([number])).digest())
        self.spki = self.key.public_key().public_bytes(Encoding.DER, PublicFormat.SubjectPublicKeyInfo)

    def algorithm(self, _):
        return seq(oid("1.3.101.112"))

    def sign(self, octets, _):
        return self.key.sign(octets)


class Scene:
    def __init__(self):
        self.count, self.roots, self.good, self.refused, self.cas, self.crls = 0, [], [], {}, [], []

    def cert(self, common, key, issuer=None, is_ca=True, exts=(), **fields):
        self.count += 1
        subject = name(common)
        above = (issuer.subject, issuer.key) if issuer else (subject, key)
        out = make(subject, key, *above, self.count, is_ca, issuer is None)
        for ext in exts:
            out.ext(*ext)
        for field, value in fields.items():
            setattr(out, field, value)
        return out

    def root(self, *arguments, **fields):
        self.roots.append(self.cert(*arguments, **fields))
        return self.roots[-1]

    def ca(self, *arguments, **fields):
        self.cas.append(self.cert(*arguments, **fields))
        return self.cas[-1]

    def leaf(self, way, *exts, key=None, **fields):
        """One that holds over the CAs of the way, which begins with its issuer."""
        self.good.append([self.cert("www.example.com", key or way[0].key, way[0], False, exts, **fields), *way])

    def bad(self, label, issuer, *exts, key=None, **fields):
        self.refused[label] = self.cert("www.example.com", key or issuer.key, issuer, False, exts, **fields)

    def crl(self, issuer, *revoked, dates=(AT - DAY, AT + DAY), exts=()):
        """Of the issuer's name, signed with its key."""
        made = Crl(issuer.subject, issuer.key, entries=[(each.serial, []) for each in revoked],
                   dates=[time(each) for each in dates])
        for ext in ((NUMBER, integer(1)), *exts):
            made.ext(*ext)
        self.crls.append(made)

    def der(self):
        ways = (seq(*(each.der() for each in way)) for way in self.good)
        return seq(seq(*(each.der() for each in self.roots)), seq(*ways), seq(*(each.der() for each in self.crls)))

    def seeds(self, number):
        leaves = {f"_good_{n}": leaf for n, leaf in enumerate(dict.fromkeys(way[0] for way in self.good))}
        leaves |= {f"_refused/{label}": leaf for label, leaf in self.refused.items()}
        rest = seq(*(each.der() for each in self.cas)), seq(*(each.der() for each in self.crls))
        return [(label, seq(integer(number), leaf.der(), *rest)) for label, leaf in leaves.items()]


def server():
    scene, strong = Scene(), rsa_key(2048)
    root = scene.root("Root", strong)
    ca, old = scene.ca("CA", rsa_key(2056), root), scene.ca("Old", ec_key(1), root, dates=DEAD)
    scene.leaf([ca])
    scene.bad("host", ca, (SAN, names(("dns", "www.example.org"))))
    scene.bad("purpose", ca, (EKU, uses("client")))
    scene.bad("expired", ca, dates=DEAD)
    scene.bad("weak", ca, key=rsa_key(1024))
    scene.bad("sha1", ca, sha1=True)
    scene.bad("issuer_expired", old)
    return scene


def revocation():
    scene = Scene()
    root = scene.root("Root", ec_key(0))
    ca, gone, parts = scene.ca("CA", ec_key(1), root), scene.ca("Gone", ec_key(2), root), scene.ca("Parts", EdKey(3), root)
    scene.leaf([ca])
    scene.leaf([parts], (CDP, points("http://a/1")))
    scene.bad("revoked", ca)
    scene.bad("issuer_revoked", gone)
    scene.bad("other_point", parts, (CDP, points("http://a/2")))
    scene.crl(root, gone)
    scene.crl(gone)
    scene.crl(ca, scene.refused["revoked"])
    scene.crl(ca, dates=(AT - 9 * DAY, AT - DAY))  # says good, and is too old
    # Somebody else calls himself CA, and says good of everything.
    forged = scene.ca("CA", ec_key(9), root, signer=ec_key(9))
    scene.bad("forged", forged)
    scene.crl(forged, dates=(AT - 1, AT + DAY))
    scene.crl(parts, exts=[(IDP, seq(tlv(0xA0, tlv(0xA0, general("uri", "http://a/1")))), True)])
    return scene


def constraints():
    scene = Scene()
    root = scene.root("Root", EdKey(0))
    inside = subtrees([("dns", "example.com"), ("email", "example.com"), ("ip", b"\xc0\0\2\0\xff\xff\xff\0")],
                      [("dns", "secret.example.com"), ("dir", name("www.example.org"))])
    ca = scene.ca("CA", EdKey(1), root, exts=[(NC, inside, True), (BC, seq(TRUE, integer(0)), True)])
    below, deaf = scene.ca("Below", EdKey(2), ca), scene.ca("Deaf", EdKey(4), root, exts=[("1.2.3.4", b"\5\0", True)])
    scene.leaf([ca], (SAN, names(HOST, ("email", "a@example.com"), ("ip", b"\xc0\0\2\7"))))
    scene.bad("outside", ca, (SAN, names(HOST, ("dns", "example.org"))))
    scene.bad("excluded", ca, (SAN, names(HOST, ("dns", "a.secret.example.com"))))
    scene.bad("wildcard", ca, (SAN, names(HOST, ("dns", "*.example.com"))))
    scene.bad("too_long", below)
    scene.bad("critical", deaf)
    # A certificate that is no CA stands below the leaf, as an issuer.
    leaf = scene.good[0][0]
    scene.cas.append(leaf)
    scene.bad("below_leaf", leaf)
    return scene


def mapped():
    scene = Scene()
    root = scene.root("Root", ec_key(0))
    ca = scene.ca("CA", EdKey(1), root, exts=[
        (CP, policies(P1, P3)), (PM, seq(seq(oid(P1), oid(P2))), True), (PC, seq(tlv(0x80, b"\0"), tlv(0x81, b"\0")), True)])
    below = scene.ca("Below", ec_key(2), ca, exts=[(CP, policies(P2))])
    scene.leaf([below, ca], (CP, policies(P2)))
    scene.bad("no_policy", below)
    scene.bad("unmapped", ca, (CP, policies(P1)))
    scene.bad("not_asked", ca, (CP, policies(P3)))
    return scene


def crossed():
    """Two roots that certify one another's CAs, in rings."""
    scene = Scene()
    first, second = scene.root("First", ec_key(0)), scene.root("Second", EdKey(1))
    ca = scene.ca("CA", rsa_key(2048), first)
    again = scene.ca("CA", ca.key, second)
    other, back = scene.ca("Other", ec_key(2), ca), scene.ca("CA", ca.key)
    back.issuer, back.signer = other.subject, other.key
    scene.ca("CA", rsa_key(2056), first, exts=[(KU, key_usage(6), True)])
    scene.leaf([ca])
    scene.good.append([scene.good[0][0], again])
    scene.leaf([other, ca])
    scene.good.append([scene.good[2][0], other, again])
    scene.bad("anothers", second, signer=ec_key(7))
    return scene


def scenes():
    return [(make_scene.__name__, make_scene()) for make_scene in (server, revocation, constraints, mapped, crossed)]

#!/usr/bin/env python3
"""Measures how time and memory grow with what an attacker chooses: growth.py [--only WORD] BUILD.

Of each dimension an input of nearly 1 MB is made, or of what the limits leave, and one of a tenth. Every question that
bench_growth asks, and the commands, are timed on both. Printed is what grows more than fifteenfold with ten times
the input, what takes more than half a second or 64 MB for less than 1 MB, and of each dimension the dearest; the exit
status is 1 when there is any of the first two. What takes less than two milliseconds in a process, or twenty with one
that is started, says nothing of growth; what seems to grow is measured up to five times, since caches, pages and other
processes add to a time and take nothing from it. Of a command that still seems to grow then, whose short run is but a
millisecond or two beyond the start of a process, instructions are counted instead, where Valgrind is installed."""
import argparse
import collections
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "tests" / "path"))

from pki import *  # noqa: E402, F403
from der import base_128  # noqa: E402

FACTOR, SECONDS, MEGABYTES, TURNS = 15, 0.5, 64, 5
LEAST, LEAST_OF_COMMANDS = 0.002, 0.02
LIBRARY = ("VelmoraX509 ", "Certificate ", "readCertificates")
MOST = 1_000_000
SCTS, UNKNOWN, NULL, SHORT = "1.3.6.1.4.1.11129.2.4.2", "1.2.3", b"\5\0", b"\6\1\x2a"
SHORT_POLICY = seq(SHORT)
ROOT = make(name("Root"), ec_key(0), name("Root"), ec_key(0), 1, True, True)
CERTIFICATE = [["show"], ["show", "--json"], ["name", "--rfc4514"], ["name", "--json"], ["lint"], ["asn1"], ["asn1", "--compact"],
               ["expires"], ["key"], ["pin"], ["match", "sha256,base64,x"], ["diff", "roots.pem"], ["issuer", "roots.pem"], ["ext", "2.5.29.17"], ["tree"], ["split", "--force", "--out", "split"]]
VERIFY = ["verify", "--at", "2026-06-01", "--roots", "roots.pem", "--chain", "chain.pem"]


def leaf(subject=None, exts=(), **members):
    out = make(subject or name("www.example.com"), ec_key(90), ROOT.subject, ROOT.key, 2, False)
    out.exts += exts
    for member, value in members.items():
        setattr(out, member, value)
    return out


def with_value(value):
    """A certificate with a subject of one attribute."""
    return leaf(seq(tlv(0x31, seq(oid(CN), value)))).der()


def with_ext(which, value):
    out = leaf()
    out.ext(which, value)
    return out.der()


def raw_oid(octets):
    return tlv(6, octets)


def prefixed(octets):
    return len(octets).to_bytes(2, "big") + octets


def nested(depth):
    inner = NULL
    for _ in range(depth):
        inner = seq(inner)
    return inner


def many(count, one):
    return b"".join(map(one, range(count)))


def in_no_order(n):
    """Numbers for what is sorted. In an order that is one the short input is foreseen by a processor that sorted it before."""
    return random.Random(n).sample(range(n), n)


def host(i):
    return f"h{i:06}.example.com"


def der_pem(der):
    return pem("CERTIFICATE", der).encode()


SMALL = leaf().der()
# What is made of a number, and the largest number: what limits and a megabyte leave.
SINGLE = {
    "depth of the subject": (lambda n: with_value(nested(n)), 90),
    "depth of an extension": (lambda n: with_ext(UNKNOWN, nested(n)), 90),
    "elements": (lambda n: with_value(seq(NULL * n)), 120_000),
    "siblings with a member": (lambda n: with_value(seq(seq(b"\2\1\1") * n)), 80_000),
    "elements of an extension": (lambda n: with_ext(UNKNOWN, seq(NULL * n)), 120_000),
    "RDNs": (lambda n: leaf(seq(rdn(CN, "x") * n)).der(), 65_000),
    "RDNs, all different": (lambda n: leaf(seq(many(n, lambda i: rdn(CN, f"{i:06}")))).der(), 54_000),
    "attributes of an RDN": (lambda n: leaf(seq(tlv(0x31, many(n, lambda i: seq(oid(CN), tlv(12, b"%06d" % i)))))).der(), 45_000),
    "attributes of an RDN, downwards": (lambda n: leaf(seq(tlv(0x31, many(n, lambda i: seq(oid(CN), tlv(12, b"%06d" % (n - i))))))).der(), 45_000),
    "DNS names": (lambda n: with_ext(SAN, names(*(("dns", host(i)) for i in range(n)))), 32_500),
    "DNS names, all the same": (lambda n: with_ext(SAN, names(*[("dns", host(0))] * n)), 32_500),
    "DNS name of many labels": (lambda n: with_ext(SAN, names(("dns", "a." * n + "org"))), 480_000),
    "addresses of the network": (lambda n: with_ext(SAN, names(*(("ip", i.to_bytes(4, "big")) for i in range(n)))), 65_500),
    "e-mail names": (lambda n: with_ext(SAN, names(*(("email", f"m{i}@example.com") for i in range(n)))), 45_000),
    "e-mail address of the subject": (lambda n: leaf(seq(rdn(EMAIL, b"a" * n + b"@b", 22))).der(), 990_000),
    "URIs": (lambda n: with_ext(SAN, names(*(("uri", f"http://{host(i)}/") for i in range(n)))), 32_000),
    "directory names": (lambda n: with_ext(SAN, names(*(("dir", name(host(i))) for i in range(n)))), 18_500),
    "other names": (lambda n: with_ext(SAN, names(*(("mailbox", f"m{i}@example.com") for i in range(n)))), 25_000),
    "shortest DNS names": (lambda n: with_ext(SAN, seq(b"\x82\0" * n)), 65_500),
    "more DNS names than there may be": (lambda n: with_ext(SAN, seq(b"\x82\0" * n)), 490_000),
    "shortest purposes": (lambda n: with_ext(EKU, seq(SHORT * n)), 65_500),
    "shortest policies": (lambda n: with_ext(CP, seq(*(seq(tlv(6, b"\x2a", base_128(i))) for i in in_no_order(n)))), 65_500),
    "shortest mappings": (lambda n: with_ext(PM, seq(seq(SHORT, SHORT) * n)), 65_500),
    "shortest policies and mappings": (lambda n: leaf(exts=[
        (CP, False, seq(SHORT_POLICY * n)), (PM, False, seq(seq(SHORT, SHORT) * n))]).der(), 64_000),
    "shortest names, constraints and purposes": (lambda n: leaf(exts=[
        (IAN, False, seq(b"\x82\0" * n)), (NC, False, seq(tlv(0xA0, seq(b"\x82\0") * n))), (AIA, False, seq(seq(SHORT, b"\x86\0") * n))]).der(), 64_000),
    "shortest names of four extensions": (lambda n: leaf(exts=[
        (SAN, False, seq(b"\x88\1\x2a" * n)), (IAN, False, seq(b"\x88\1\x2a" * n)), (EKU, False, seq(SHORT * n)),
        (NC, False, seq(tlv(0xA0, seq(b"\x88\1\x2a") * n)))]).der(), 65_500),
    "shortest distribution points": (lambda n: with_ext(CDP, seq(seq(tlv(0xA0, tlv(0xA0, b"\x86\0"))) * n)), 32_500),
    "shortest accesses": (lambda n: with_ext(AIA, seq(seq(SHORT, b"\x86\0") * n)), 65_500),
    "shortest constraints": (lambda n: with_ext(NC, seq(tlv(0xA0, seq(b"\x82\0") * n))), 65_500),
    "shortest extensions": (lambda n: leaf(exts=[seq(SHORT, b"\4\0")] * n).der(), 100_000),
    "names with a comma": (lambda n: with_ext(SAN, names(*(("dns", "a,b") for i in range(n)))), 65_500),
    "extensions": (lambda n: leaf(exts=[(f"1.2.3.{i + 200}.1", False, b"x") for i in range(n)]).der(), 60_000),
    "extensions, all the same": (lambda n: leaf(exts=[("1.2.3.4", False, b"x")] * n).der(), 60_000),
    "extensions, all critical": (lambda n: leaf(exts=[(f"1.2.3.{i + 200}.1", True, b"x") for i in in_no_order(n)]).der(), 50_000),
    "extensions, all subjectAltName": (lambda n: leaf(exts=[(SAN, False, names(("dns", "a")))] * n).der(), 60_000),
    "arcs of a type": (lambda n: leaf(seq(tlv(0x31, seq(raw_oid(b"\x2a" * n), tlv(12, b"x"))))).der(), 990_000),
    "octets of an arc of a type": (lambda n: leaf(seq(tlv(0x31, seq(raw_oid(b"\x2a" + b"\xff" * n + b"\1"), tlv(12, b"x"))))).der(), 990_000),
    "types with an arc of 500 octets": (lambda n: leaf(seq(many(n, lambda i: tlv(0x31, seq(raw_oid(b"\x2a" + b"\xff" * 499 + b"\1"), tlv(12, b"x")))))).der(), 1_850),
    "arcs of an extension": (lambda n: leaf(exts=[seq(raw_oid(b"\x2a" * n), tlv(4, b"x"))]).der(), 990_000),
    "purposes": (lambda n: with_ext(EKU, seq(*(oid(f"1.2.3.{i}") for i in range(n)))), 65_500),
    "policies": (lambda n: with_ext(CP, policies(*(f"1.2.3.{i}" for i in in_no_order(n)))), 65_500),
    "policies, all the same": (lambda n: with_ext(CP, policies(*["1.2.3.4"] * n)), 65_500),
    "timestamps of logs": (lambda n: with_ext(SCTS, tlv(4, prefixed((prefixed(bytes(41) + b"\0\0\4\3\0\0")) * n))), 1_330),
    "mappings of policies": (lambda n: with_ext(PM, seq(*(seq(oid(f"1.2.3.{i}"), oid(f"1.2.4.{i}")) for i in in_no_order(n)))), 32_500),
    "distribution points": (lambda n: with_ext(CDP, points(*(f"http://{host(i)}/" for i in range(n)))), 25_000),
    "constraints": (lambda n: with_ext(NC, subtrees([("dns", host(i)) for i in range(n)])), 32_500),
    "characters of a name": (lambda n: with_value(tlv(12, b"x" * n)), 990_000),
    "characters beyond ASCII": (lambda n: with_value(tlv(12, "ü".encode() * n)), 490_000),
    "characters of a BMPString": (lambda n: with_value(tlv(30, b"\1\2" * n)), 490_000),
    "characters that are escaped": (lambda n: with_value(tlv(12, b"\0" * n)), 990_000),
    "spaces of a name": (lambda n: with_value(tlv(12, b" " * n + b"x")), 990_000),
    "commas and quotes of a name": (lambda n: with_value(tlv(12, b',"' * n)), 490_000),
    "octets of the serial number": (lambda n: leaf(serial=tlv(2, b"\1" * n)).der(), 990_000),
    "digits of a date": (lambda n: leaf(dates=[time(AT - DAY), tlv(0x18, b"20300101000000." + b"1" * n + b"Z")]).der(), 990_000),
    "octets of the signature": (lambda n: seq(SMALL[4:], bits(b"x" * n)) if n == 0 else seq(*(each[2] for each in items(SMALL[4:])[:2]), bits(b"x" * n)), 990_000),
    "octets of a key": (lambda n: leaf(key=collections.namedtuple("Key", "spki")(seq(seq(oid("1.2.840.113549.1.1.1"), NULL), bits(seq(tlv(2, b"\1" * n), integer(3)))))).der(), 980_000),
    "parameters of a key": (lambda n: leaf(key=collections.namedtuple("Key", "spki")(seq(seq(oid("1.2.840.113549.1.1.10"), seq(NULL * n)), bits(b"")))).der(), 120_000),
    "strings in segments": (lambda n: with_value(b"\x24\x80" + tlv(4, b"x") * n + b"\0\0"), 200_000),
    "strings in strings in segments": (lambda n: with_value(b"\x24\x80" * 80 + tlv(4, b"x") * n + b"\0\0" * 80), 200_000),
}
RAW = collections.namedtuple("Key", "spki algorithm sign")


def dear_key(i, octets):
    """An RSA key of so many octets, with the dearest exponent; nobody has its other half."""
    number = b"\0" + hashlib.shake_128(b"%d" % i).digest(octets - 1)[:-1].join((b"\xff", b"\1"))
    spki = seq(seq(oid("1.2.840.113549.1.1.1"), NULL), bits(seq(tlv(2, number), tlv(2, b"\0" + b"\xff" * 8))))
    return RAW(spki, lambda sha1: seq(oid("1.2.840.113549.1.1.11"), NULL), lambda *_: b"x" * octets)


def crowd_of_leaves(n, issuer=None, extra=()):
    """Half of them bear the name of the issuer of the others; or all are below one, with extensions of its own."""
    ca = make(name("CA"), ec_key(1), issuer or name("CA"), ec_key(2), 3, True, True)
    ca.exts += extra
    end = make(name("www.example.com"), ec_key(90), ca.subject, ec_key(2), 4, False).der()
    der = ca.der()
    return b"".join([*([der] if extra else (other_key(der, ca, i) for i in range(n // 2))), *(spoilt(end, None, i) for i in range(n // 2))])


def dear_issuers(n, octets):
    keys = [dear_key(i, octets) for i in range(16)]
    issuers = [make(name("CA"), key, name("CA"), key, 3, True, True).der() for key in keys]
    end = make(name("www.example.com"), ec_key(90), name("CA"), keys[0], 4, False).der()
    return b"".join([*issuers, *(spoilt(end, None, i) for i in range(n))])


STREAMS = {
    "leaves and a crowd of issuers": (lambda n: crowd_of_leaves(n), 2_000),
    "leaves and a crowd with a root's name": (lambda n: crowd_of_leaves(n, ROOT.subject), 2_000),
    "leaves and an issuer of many policies": (lambda n: crowd_of_leaves(n, ROOT.subject, [(CP, False, seq(*(seq(tlv(6, b"\x2a", base_128(i))) for i in in_no_order(30 * n))))]), 1_500),
    "leaves and an issuer of many critical extensions": (lambda n: crowd_of_leaves(n, ROOT.subject, [(f"1.2.3.{i + 200}.1", True, b"x") for i in in_no_order(15 * n)]), 1_500),
    "leaves and sixteen issuers with dear keys": (lambda n: dear_issuers(n, 2048), 350),
    "leaves and sixteen issuers of RSA-4096": (lambda n: dear_issuers(n, 512), 1_000),
    "certificates in a row": (lambda n: SMALL * n, 2_000),
    "PEM blocks": (lambda n: der_pem(SMALL) * n, 1_450),
    "text between blocks": (lambda n: der_pem(SMALL) + b"x" * n + b"\n" + der_pem(SMALL), 990_000),
    "lines between blocks": (lambda n: der_pem(SMALL) + b"x\n" * n + der_pem(SMALL), 490_000),
    "dashes between blocks": (lambda n: der_pem(SMALL) + b"-" * n + b"\n" + der_pem(SMALL), 990_000),
    "BEGIN without END": (lambda n: b"-----BEGIN X-----\n" * n + der_pem(SMALL), 55_000),
    "BEGIN that is none": (lambda n: b"-----BEGIN X\n" * n + der_pem(SMALL), 75_000),
    "header lines": (lambda n: b"-----BEGIN X-----\n" + b"a: b\n" * n + b"\n" + der_pem(SMALL).split(b"\n", 1)[1], 190_000),
    "keys beside certificates": (lambda n: pem("PRIVATE KEY", seq(integer(0), seq(oid("1.2.3")), tlv(4, b"x"))).encode() * n + der_pem(SMALL), 10_000),
    "empty lines of base64": (lambda n: base64.b64encode(SMALL)[:40] + b"\n" * n + base64.b64encode(SMALL)[40:], 990_000),
    "a bundle": (lambda n: seq(oid("1.2.840.113549.1.7.2"), tlv(0xA0, seq(integer(1), b"\x31\0", seq(oid("1.2.840.113549.1.7.1")), tlv(0xA0, SMALL * n), b"\x31\0"))), 2_000),
    "XML elements": (lambda n: b"<sequence>" + b"<null></null>" * n + b"</sequence>", 60_000),
    "XML documents": (lambda n: b"<sequence><null></null></sequence>\n" * n, 28_000),
    "XML comments": (lambda n: b"<sequence>" + b"<!-- -->" * n + b"</sequence>", 120_000),
    "XML depth": (lambda n: b"<sequence>" * n + b"</sequence>" * n, 45_000),
    "XML attributes": (lambda n: b"<sequence " + b" ".join(b"a%d=''" % i for i in range(n)) + b"/>", 80_000),
    "XML references": (lambda n: b"<sequence><utf8>" + b"&#65;" * n + b"</utf8></sequence>", 190_000),
    "XML in a wrapper without end": (lambda n: b"<l>" + b"<c>" * n, 300_000),
}


def constrained(n):
    ca = make(name("CA"), ec_key(1), ROOT.subject, ROOT.key, 3, True)
    half = [("dns", host(i)) for i in range(n)]
    ca.ext(NC, subtrees(half, [("dns", "x" + host(i)) for i in range(n)]), True)
    end = make(name("", ""), ec_key(90), ca.subject, ca.key, 4, False)
    end.ext(SAN, names(*half), True)
    return end.der(), [ca.der()], [ROOT.der()]


def way_with(n, which, value):
    ca = make(name("CA"), ec_key(1), ROOT.subject, ROOT.key, 3, True)
    end = make(name("www.example.com"), ec_key(90), ca.subject, ca.key, 4, False)
    for each in (ca, end):
        each.ext(which, value(n))
    return end.der(), [ca.der()], [ROOT.der()]


def crowd(n, changed):
    """Candidates of one name, each changed in its own way, behind which stands the real one."""
    ca = make(name("CA"), ec_key(1), ROOT.subject, ROOT.key, 3, True)
    end = make(name("www.example.com"), ec_key(90), ca.subject, ca.key, 4, False)
    der = ca.der()
    return end.der(), [*(changed(der, ca, i) for i in range(n)), der], [ROOT.der()]


def spoilt(der, ca, i):
    return der[:-2] + i.to_bytes(2, "big")


def other_key(der, ca, i):
    return der.replace(ca.key.spki[-8:], (int.from_bytes(ca.key.spki[-8:], "big") ^ i + 1).to_bytes(8, "big"))


def strangers(der, ca, i):
    return der.replace(b"CA", b"%02X" % (i % 256)).replace(b"Example", b"X%06X" % i)


def anchors(n):
    end, chain, roots = way_with(0, UNKNOWN, lambda _: b"x")
    return end, chain, [*(strangers(roots[0].replace(b"Root", b"CAxy"), None, i) for i in range(n)), *roots]


def revoking(entries):
    """A leaf that a CRL does not list, and the CRL."""
    crl = Crl(ROOT.subject, ROOT.key, entries=entries, dates=[time(AT - DAY), time(AT + DAY)])
    crl.ext(NUMBER, integer(1))
    return leaf().der(), [], [ROOT.der()], crl.der()


WAYS = {
    "CRL entries": (lambda n: revoking([(integer(1 << 32 | i), []) for i in range(n)]), 40_000),
    "CRL entries with reasons": (lambda n: revoking([(integer(1 << 32 | i), [(REASON, False, b"\x0a\1\1")]) for i in range(n)]), 24_000),
    "constraints times names": (constrained, 13_500),
    "policies of a way": (lambda n: way_with(n, CP, lambda n: policies(*(f"1.2.3.{i}" for i in in_no_order(n)))), 57_000),
    "candidates that did not sign": (lambda n: crowd(n, spoilt), 1_900),
    "candidates with other keys": (lambda n: crowd(n, other_key), 1_900),
    "certificates that are none": (lambda n: crowd(n, strangers), 1_900),
    "anchors": (anchors, 1_900),
}


class Measured:
    def __init__(self, build, folder):
        self.build, self.folder, self.rows, self.words = build, folder, [], {}
        self.start = min(self.cpu(["version"])[0] for _ in range(5))
        self.starting = self.instructions(["version"]) if shutil.which("valgrind") else 0

    def cpu(self, words):
        """Seconds and megabytes of a command. What time(1) tells of memory holds nothing of Python's."""
        told = self.folder / "memory"
        with open(os.devnull, "wb") as nothing:
            child = subprocess.Popen(["time", "-q", "-f", "%M", "-o", told, self.build / "velmora-x509", *words], cwd=self.folder,
                                     stdin=subprocess.DEVNULL, stdout=nothing, stderr=nothing)
            _, status, used = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        if not 0 <= child.returncode <= 3:
            sys.exit(f"{words} ended with {child.returncode}")
        return used.ru_utime + used.ru_stime, int(told.read_text()) * 1024 / 1e6

    def commands(self, words):
        seconds, megabytes = min(self.cpu(words) for _ in range(2))
        question = " ".join(words[:2] if words[0] != "verify" else words[:1])
        self.words[question] = words
        return {question: (seconds - self.start, megabytes)}

    def instructions(self, words):
        ran = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", self.build / "velmora-x509", *words],
                             cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        return int(re.search(r"Collected : (\d+)", ran.stderr)[1])

    def library(self, file):
        def told(*words):
            done = subprocess.run([self.build / "bench" / "bench_growth", *words, file], cwd=self.folder, capture_output=True, text=True, check=True)
            return {question: int(number) for number, question in (line.split(" ", 1) for line in done.stdout.splitlines())}
        octets = told("--memory")
        return {question: (nanoseconds / 1e9, octets[question] / 1e6) for question, nanoseconds in told().items()}

    def dimension(self, title, make_input, count, run):
        """Adds a row for each question; the least of each time, where something seems to grow of several turns."""
        sizes, least = {}, ({}, {})
        for turn in range(TURNS):
            for place, each in enumerate((count // 10, count)):
                sizes[place] = make_input(each)
                for question, (seconds, megabytes) in (pair for some in run() for pair in some.items()):
                    before = least[place].get(question, (seconds, megabytes))
                    least[place][question] = min(before[0], seconds), min(before[1], megabytes)
            rows = [(title, question, sizes[1], *used, used[0] / max(least[0][question][0], 1e-4) * 10 * sizes[0] / sizes[1])
                    for question, used in least[1].items()]
            if not any(is_growing(row) for row in rows):
                break
        asked = [row[1] for row in rows if is_growing(row) and row[1] in self.words and shutil.which("valgrind")]
        counts = {question: [] for question in asked}
        for each in (count // 10, count) if asked else ():
            make_input(each)
            for question in asked:
                counts[question].append(self.instructions(self.words[question]))
        for row in rows:
            if row[1] in counts:
                short, long = (each - self.starting for each in counts[row[1]])
                row = *row[:5], long / short * 10 * sizes[0] / sizes[1]
            self.rows.append(row)


def is_growing(row):
    return row[3] > (LEAST if row[1].startswith(LIBRARY) else LEAST_OF_COMMANDS) and row[5] > FACTOR


def main():
    words = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    words.add_argument("build", type=pathlib.Path)
    words.add_argument("--only", default="", metavar="WORD")
    said = words.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        measured = Measured(said.build.resolve(), folder)

        def put(files):
            for file, octets in files.items():
                (folder / file).write_bytes(octets)
            return sum(map(len, files.values()))

        def single():
            yield measured.library("input")
            for command in CERTIFICATE:
                yield measured.commands([*command, "input"])
            yield measured.commands([*VERIFY, "input"])

        def way():
            crls = ["--crl", "crl.der"] if (folder / "crl.der").stat().st_size else []
            yield measured.commands([*VERIFY, *crls, "input"])
            yield measured.commands(["issuer", "input", "chain.pem"])
            yield measured.commands(["tree", "input", "chain.pem", "roots.pem"])

        def put_way(made):
            end, chain, roots, *crls = made
            return put({"input": end, "chain.pem": b"".join(chain), "roots.pem": b"".join(roots), "crl.der": b"".join(crls)})

        put({"chain.pem": SMALL, "roots.pem": ROOT.der()})
        for title, (build, count) in {**SINGLE, **STREAMS}.items():
            if said.only in title:
                measured.dimension(title, lambda n: put({"input": build(n)}), count, single)
        for title, (build, count) in WAYS.items():
            if said.only in title:
                measured.dimension(title, lambda n: put_way(build(n)), count, way)
    sys.exit(report(measured.rows))


def report(rows):
    faults = 0
    for row in rows:
        dimension, question, size, seconds, megabytes, factor = row
        if is_growing(row) or size <= MOST and (seconds > SECONDS or megabytes > MEGABYTES):
            faults += 1
            print(f"{'GROWS' if is_growing(row) else 'DEAR ':5} {dimension}: {question}, {size:,} octets: {1000 * seconds:.1f} ms, "
                  f"{megabytes:.0f} MB, {factor:.1f} times")
    print(f"\n{'dearest of':34} {'octets':>9} {'ms':>7} {'MB':>5} {'factor':>6}")
    for dimension in dict.fromkeys(row[0] for row in rows):
        of = [row for row in rows if row[0] == dimension]
        _, question, size, seconds, _, factor = max(of, key=lambda row: row[3])
        print(f"{dimension:34} {size:9,} {1000 * seconds:7.1f} {max(row[4] for row in of):5.0f} {factor:6.1f}  {question}")
    print(f"{len(rows)} questions, {faults} of them grow faster than the input or are dear")
    return faults > 0


if __name__ == "__main__":
    main()

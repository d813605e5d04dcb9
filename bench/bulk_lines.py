#!/usr/bin/env python3
"""Measures and checks the command line on very many certificates: bulk_lines.py PROGRAM [HOW MANY].

Writes that many lines, each a key, a tab and a certificate of its own, and takes the time and the memory of
"show --json --lines" on them. Then it reads what comes out with Python's own json, base64 and hashlib: every line has
to be there once, in its place, with its key, and with the digest, the serial number and the name of the octets that
went in; one line in a hundred is broken on purpose, each in one of several ways, and has to be an error.

Signing a million certificates would take Python an hour. All are made of one template instead, in which the octets of
the serial number and of two names are other ones each time, so that what reads them meets no octets twice. Their
signatures hold for none of them, and nothing here looks at signatures.

Writes seconds and MiB as bench/report.py reads them.
"""

import base64
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

TEMPLATE = pathlib.Path(__file__).resolve().parent.parent / "examples" / "chain" / "leaf.der"
SERIAL = bytes.fromhex("1D5C0FFA3B90")
ORGANIZATION = b"Example Books, Ltd."
HOST = b"www.example.org"
BROKEN_EVERY = 100
OPENSSL_ROUNDS = 300


def distinct(number):
    """A certificate with the octets of its serial number, organization and host names changed."""
    serial = number.to_bytes(len(SERIAL) - 1, "big")
    return (TEMPLATE_DER.replace(SERIAL, b"\x01" + serial)
            .replace(ORGANIZATION, b"Books %013d" % number)
            .replace(HOST, b"h%010d.org" % number))


def line_of(number):
    """The line, and whether it can be read."""
    der = distinct(number)
    text = base64.b64encode(der)
    is_broken = number % BROKEN_EVERY == BROKEN_EVERY // 2
    if is_broken:
        kind = number // BROKEN_EVERY % 4
        text = (text[:-20], b"*" + text[1:], b"", base64.b64encode(der[:300] + b"\xff" + der[301 + 8:]))[kind]
    return b"key-%d\t%s\n" % (number, text), is_broken


def write_lines(path, count):
    with open(path, "wb") as file:
        for number in range(count):
            file.write(line_of(number)[0])


def measure(program, path, jobs):
    """Seconds, seconds of all cores, and the most memory in MiB, of a process that writes to nowhere."""
    start = time.perf_counter()
    process = subprocess.Popen([program, "show", "--json", "--lines", "--jobs", str(jobs), "--quiet", path],
                               stdout=subprocess.DEVNULL)
    _, status, used = os.wait4(process.pid, 0)
    assert os.waitstatus_to_exitcode(status) == 3, status  # some lines are broken
    return time.perf_counter() - start, used.ru_utime + used.ru_stime, used.ru_maxrss / 1024


def check(program, path, count):
    process = subprocess.Popen([program, "show", "--json", "--lines", "--jobs", "2", "--quiet", path],
                               stdout=subprocess.PIPE)
    number = -1
    for number, line in enumerate(process.stdout):
        answer = json.loads(line)
        is_broken = line_of(number)[1]
        assert (answer["index"], answer["key"], "error" in answer) == (number, f"key-{number}", is_broken), line
        if is_broken:
            continue
        der = distinct(number)
        assert answer["sha256"] == hashlib.sha256(der).hexdigest().upper(), line
        assert int(answer["serialNumber"], 16) == (1 << 40) + number, line
        assert f"O=Books {number:013d}" in answer["subject"], line
        assert answer["subjectAltNames"][0] == {"type": "dns", "value": f"h{number:010d}.org"}, line
    assert number == count - 1, f"{number + 1} answers to {count} lines"
    assert process.wait() == 3


def openssl_seconds():
    """Of one certificate, in a loop over the program that a shell would run."""
    start = time.perf_counter()
    for number in range(OPENSSL_ROUNDS):
        subprocess.run(["openssl", "x509", "-inform", "DER", "-noout", "-text"], input=distinct(number), check=True,
                       stdout=subprocess.DEVNULL)
    return (time.perf_counter() - start) / OPENSSL_ROUNDS


def main():
    program = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "lines")
        write_lines(path, count)
        theirs = openssl_seconds()
        values = {"lines/count": count, "lines/openssl": theirs * count}
        for jobs in (1, 2):
            seconds, busy, memory = measure(program, path, jobs)
            values.update({f"lines/{jobs}": seconds, f"lines/{jobs} busy": busy, f"lines/{jobs} memory": memory})
        check(program, path, count)
        print(json.dumps({"values": values}))


TEMPLATE_DER = TEMPLATE.read_bytes()
assert all(TEMPLATE_DER.count(part) for part in (SERIAL, ORGANIZATION, HOST))

if __name__ == "__main__":
    main()

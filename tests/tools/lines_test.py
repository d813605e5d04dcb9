#!/usr/bin/env python3
"""Drives "--lines" from outside: lines_test.py PROGRAM [unittest arguments]."""
import base64
import contextlib
import hashlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "data"))
import json_schema
from make_reader_data import CN, UTF8, certificate, name, oid, tlv, to_ber

PROGRAM = os.path.abspath(sys.argv.pop(1))
signal.signal(signal.SIGINT, signal.default_int_handler)  # what a shell starts in the background inherits that it is ignored
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "chain"
DATA = EXAMPLES.parent.parent / "tests" / "data" / "reader"
LEAF = (EXAMPLES / "leaf.der").read_bytes()
ADVICE = "no certificate in it; --lines reads base64, or a key, a tab and base64, a line each, and other files are read without it"
PIN = "sha256,base64,j9yJjlHYVkzYK0cLBZsoNiwE29LMzwzxAYAD1BGn4nI="


def run(command, *arguments, lines, status):
    done = subprocess.run([PROGRAM, command, "--lines", *arguments, "-"], input=lines, capture_output=True, timeout=120)
    assert done.returncode == status, (done.returncode, done.stderr)
    if "--json" in arguments:
        json_schema.check_lines(command, done.stdout.decode())
    return done.stdout.decode(), done.stderr.decode()


def feed(pipe, content):
    """Writes to a program that may stop reading."""
    with contextlib.suppress(BrokenPipeError):
        pipe.write(content)
    with contextlib.suppress(BrokenPipeError):
        pipe.close()


class Lines(unittest.TestCase):
    def test_what_a_line_may_be(self):
        good = base64.b64encode(LEAF)
        bundle = (DATA / "three_der.p7b").read_bytes()
        request = base64.b64decode(b"".join((DATA / "request.pem").read_bytes().splitlines()[1:-1]))
        cases = [  # the line, its key, and why it is no certificate
            (good, None, None), (b"k\t" + good, "k", None), (b"\t" + good + b"\r", "", None), (b" a b \t " + good + b" ", " a b ", None),
            (b"\xff\"\\\x1b\t" + good, "\ufffd\"\\\x1b", None), (b"\xef\xbb\xbf" + good, None, "the line is not base64"), (good.rstrip(b"="), None, None),
            (base64.b64encode(to_ber(LEAF)), None, None), (base64.b64encode((EXAMPLES / "leaf.pem").read_bytes()), None, None), (b"k\t", "k", "there is no certificate behind the key"),
            (b"k\tx\t" + good, "k", "the line is not base64"), (good[:99], None, "an element is longer than what holds it (offset 1 in the DER)"),
            (base64.b64encode(LEAF + b"\0"), None, f"octets that are no certificate follow (offset {len(LEAF)} in the DER)"),
            (base64.b64encode(LEAF + LEAF), None, "the line holds more than one certificate"), (base64.b64encode(bundle), None, "the line holds more than one certificate"),
            (base64.b64encode(request), None, "a certificate request, not a certificate"),
            (b"-----BEGIN CERTIFICATE-----", None, "the line is of PEM, which is read without --lines"),
        ]
        for line, key, error in cases:
            with self.subTest(line=line[:30], error=error):
                out, errors = run("show", "--json", lines=b"\xef\xbb\xbf\n \r\n" + line + b"\n\n", status=3 if error else 0)
                answer = json.loads(out)
                self.assertEqual((answer["index"], answer.get("key"), answer.get("error")), (2, key, error))
                source = "velmora-x509: standard input: "
                self.assertEqual(errors, f"{source}line 3: {error}\n{source}{ADVICE}\n" if error else "")

    def test_each_command_answers_in_order_with_the_key(self):
        error = '{"source":"-","index":1,"error":"the line is not base64","key":"b"}\n'
        lines = b"a\t%s\nb\t*\n%s" % (2 * (base64.b64encode(LEAF),))  # no end of the last line
        unsure = b"a\t" + base64.b64encode(LEAF.replace(b"\1\1\xff", b"\1\1\1", 1))
        self.assertEqual(run("pin", lines=lines, status=3)[0], f"a\t{PIN}\nb\t{error}{PIN}\n")
        self.assertEqual(run("match", PIN, lines=lines, status=3)[0], f"a\tyes  standard input: line 1\nb\t{error}yes  standard input: line 3\n")
        self.assertEqual(run("match", "sha256,base64,x", lines=b"a\t" + base64.b64encode(LEAF), status=1)[0], "a\tno   standard input: line 1\n")
        self.assertEqual(run("lint", lines=lines, status=3)[0], f"b\t{error}")
        self.assertRegex(run("lint", lines=unsure, status=1)[0], r"\Aa\tstandard input: line 1, offset 356, basicConstraints .*\n\Z")
        self.assertEqual([*json.loads(run("lint", "--json", lines=unsure, status=1)[0])], ["source", "index", "departures", "key"])
        self.assertEqual([*json.loads(run("show", "--json", "--with-der", lines=unsure, status=0)[0])][-2:], ["key", "der"])
        question = ["--json", "--roots", str(EXAMPLES / "root.pem"), "--chain", str(EXAMPLES / "intermediate.pem")]
        answers = [json.loads(line) for line in run("verify", *question, lines=lines, status=3)[0].splitlines()]
        self.assertEqual([each.get("verified") for each in answers], [True, None, True])
        self.assertEqual(list(answers[0])[-1], "key")
        self.assertEqual([(each["source"], each["index"]) for each in answers[2]["paths"][0]["certificates"][:1]], [("-", 2)])
        self.assertIn("BER", run("verify", *question, lines=base64.b64encode(to_ber(LEAF)), status=3)[0])

    def test_a_key_stands_before_no_more_lines_than_it_may(self):
        false = [tlv(0x30, oid(f"1.2.{i}"), b"\1\1\0", tlv(4, b"x")) for i in range(40)]
        encoded = base64.b64encode(certificate(name((CN, tlv(UTF8, b"x"))), extensions=false))
        count = run("lint", lines=b"k\t" + encoded, status=1)[0].count("\n")
        most = 16 * (len(encoded) + 1) // (count - 16)  # which with the key itself make the line
        for size, status in ((most, 1), (most + 1, 3)):
            out, errors = run("lint", lines=b"k" * size + b"\t" + encoded, status=status)
            self.assertEqual((out.count("\n"), "--json has it once" in errors), (count, False) if status == 1 else (1, True))

    def test_many_lines_keep_their_order_on_any_number_of_threads(self):
        ders = [certificate(name((CN, tlv(UTF8, b"%d " % i + b"x" * (i * 7919 % 3000))))) for i in range(3000)]
        lines = b"".join(b"%d\t%s\n" % (i, base64.b64encode(der) if i % 100 else b"?") for i, der in enumerate(ders))
        outputs = [run("show", "--json", "--jobs", jobs, lines=lines, status=3) for jobs in ("1", "5", "256")]
        self.assertEqual(outputs[1:], outputs[:1] * 2)
        answers = [json.loads(line) for line in outputs[0][0].splitlines()]
        expected = [(i, str(i), hashlib.sha256(der).hexdigest().upper() if i % 100 else None) for i, der in enumerate(ders)]
        self.assertEqual([(each["index"], each["key"], each.get("sha256")) for each in answers], expected)
        self.assertRegex(outputs[0][1], r"\A(.*line \d+01: the line is not base64\n|.*line 1: the line is not base64\n){5}.*: 25 more lines.*\n\Z")

    def test_a_line_beyond_the_limit_is_passed_over(self):
        most = ((64 << 20) + 2) // 3 * 4  # of base64, which leaves 64 KiB for a key and the tabulator
        for key, padding, error in ((1, "==", "neither"), (1, "=", "larger than 64 MiB"),
                                    ((64 << 10) - 1, "==", "neither"), (64 << 10, "==", "larger than 64 MiB")):
            with self.subTest(key=key, padding=padding):
                line = b"k" * key + b"\t" + b"A" * (most - len(padding)) + padding.encode()
                again = b"\n" + line if padding == "==" else b""  # without an end
                out, _ = run("show", "--json", lines=line + b"\nl\t" + base64.b64encode(LEAF) + again, status=3)
                first, second, *last = map(json.loads, out.splitlines())
                self.assertEqual((first["index"], second["index"], second["key"], len(last)), (0, 1, "l", bool(again)))
                for each in (first, *last):
                    self.assertIn(error, each["error"])

    def test_a_pipe_is_answered_at_once_and_ctrl_c_ends_in_order(self):
        for jobs, sent in (("1", signal.SIGINT), ("3", signal.SIGINT), ("3", signal.SIGTERM)):
            with subprocess.Popen([PROGRAM, "show", "--json", "--lines", "--jobs", jobs, "--progress", "-"], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE) as program:
                for i in range(20):
                    program.stdin.write(base64.b64encode(LEAF) + b"\n")
                    program.stdin.flush()
                    self.assertEqual(json.loads(program.stdout.readline())["index"], i)
                program.stdin.write(b"half of a li")
                program.stdin.flush()
                program.send_signal(sent)
                self.assertEqual((program.wait(60), program.stdout.read()), (130, b""))
                self.assertRegex(program.stderr.read(), rb"\Avelmora-x509: 20 certificates, 0 errors, [\d,]+/s, \d+ s\n\Z")

    def test_a_bulk_run_whose_output_or_input_fails_says_so(self):
        lines = b"".join(b"%d\t%s\n" % (i, base64.b64encode(LEAF)) for i in range(4000))
        for jobs in ("1", "3"):
            command = [PROGRAM, "pin", "--lines", "--jobs", jobs, "-"]
            for redirected, reason in ((">/dev/full", b"No space left on device"), (">&-", b"Bad file descriptor")):
                done = subprocess.run(["sh", "-c", f'exec "$0" "$@" {redirected}', *command], input=lines, stderr=subprocess.PIPE, timeout=60)
                self.assertEqual((done.returncode, done.stderr.count(reason), len(done.stderr.splitlines())), (3, 1, 1), done.stderr)
            with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0) as program:
                writer = threading.Thread(target=feed, args=(program.stdin, lines * 10))
                writer.start()
                self.assertTrue(program.stdout.readline().startswith(b"0\tsha256"))
                program.stdout.close()  # nobody reads any more, which is no news
                self.assertEqual((program.wait(60), program.stderr.read()), (3, b""))
                writer.join()
            # Interrupted between lines: what was begun is answered to its end, in order, and nothing behind it.
            with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as program:
                writer = threading.Thread(target=feed, args=(program.stdin, lines * 10))
                writer.start()
                first = program.stdout.readline()
                program.send_signal(signal.SIGINT)
                answers = (first + program.stdout.read()).decode().splitlines()
                self.assertEqual(program.wait(60), 130)
                writer.join()
                self.assertEqual([each.split("\t") for each in answers], [[str(i % 4000), PIN] for i in range(len(answers))])
                self.assertLess(len(answers), 40_000)
        out, errors = run("pin", "/proc/self/mem", lines=lines[:lines.index(b"\n", 9000)], status=3)
        self.assertEqual((out.count(PIN), bool(re.search("(?:Input/output|I/O) error", errors))), (lines[:lines.index(b"\n", 9000)].count(b"\n") + 1, True))

    def test_quiet_is_quiet_and_a_missing_file_is_told(self):
        self.assertEqual(run("pin", "--quiet", lines=b"?", status=3)[1], "")
        out, errors = run("show", "--json", "/absent", "/", lines=base64.b64encode(LEAF), status=3)[:2]
        self.assertEqual([(each["index"], each.get("error")) for each in map(json.loads, out.splitlines())],
                         [(0, "No such file or directory"), (0, "Is a directory"), (0, None)])
        self.assertEqual(errors, "velmora-x509: /absent: No such file or directory\nvelmora-x509: /: Is a directory\n")


if __name__ == "__main__":
    unittest.main()

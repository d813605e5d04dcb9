#!/usr/bin/env python3
"""Drives the program as its users do: cli_test.py PROGRAM [unittest arguments]."""
import base64
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
DATA = pathlib.Path(__file__).resolve().parent.parent / "data" / "reader"
THREE = ["C=US, O=Acme, CN=Root", "C=US, O=Acme, CN=Issuing", "CN=www.example.org"]
KEYS = ["source", "index", "subject", "issuer", "serialNumber", "version", "notBefore", "notAfter",
        "validNow", "signatureAlgorithm", "publicKeyAlgorithm"]
# What no output may hold, except the newlines between its lines.
STEERING = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069\ufeff]")


def data(name):
    return str(DATA / name)


def run(*arguments, stdin=b"", **options):
    done = subprocess.run([PROGRAM, *arguments], input=stdin, capture_output=True, timeout=120, **options)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def feed(program, pieces):
    """Writes to a program that may stop reading."""
    try:
        for piece in pieces:
            program.stdin.write(piece)
    except BrokenPipeError:
        pass
    try:
        program.stdin.close()
    except BrokenPipeError:
        pass
    program.stdin = None


def json_lines(text):
    return [json.loads(line) for line in text.splitlines()]


class Inputs(unittest.TestCase):
    def test_every_form_from_file_and_standard_input(self):
        pem = (DATA / "three.pem").read_bytes()
        _, xml, _ = run("asn1", data("three.pem"))
        _, compact, _ = run("asn1", "--compact", data("three.pem"))
        der = (DATA / "three_der.p7b").read_bytes()
        forms = {"pem": pem, "p7b": der, "p7b pem": (DATA / "three_pem.p7b").read_bytes(),
                 "p7b ber": (DATA / "three_ber.p7b").read_bytes(), "xml": xml.encode(),
                 "compact": compact.encode(), "base64": base64.b64encode(der)}
        with tempfile.TemporaryDirectory() as folder:
            for form, content in forms.items():
                with self.subTest(form):
                    path = pathlib.Path(folder, "misleading.der.txt")
                    path.write_bytes(content)
                    expected = (0, "".join(name + "\n" for name in THREE), "")
                    self.assertEqual(run("name", str(path)), expected)
                    self.assertEqual(run("name", "-", stdin=content), expected)
        self.assertEqual(len(compact.splitlines()), 3)

    def test_xml_reads_back_whatever_it_holds(self):
        for option in ([], ["--compact"]):
            _, xml, _ = run("asn1", *option, data("hostile.pem"))
            status, out, errors = run("show", "--json", "-", stdin=xml.encode())
            self.assertEqual((status, errors), (0, ""))
            expected = run("show", "--json", data("hostile.pem"))[1]
            self.assertEqual(out.replace('"source":"-"', ""),
                             expected.replace(f'"source":"{data("hostile.pem")}"', ""))

    def test_what_is_no_certificate(self):
        cases = {
            "key_pkcs1.pem": "a private key (PKCS #1), not a certificate",
            "key_pkcs8.pem": "a private key (PKCS #8), not a certificate",
            "key_ed25519.der": "a private key (PKCS #8), not a certificate",
            "key_sec1.der": "a private key (SEC 1), not a certificate",
            "key_encrypted.pem": "an encrypted private key (PKCS #8), not a certificate",
            "key_legacy_encrypted.pem": "an encrypted private key, not a certificate",
            "public.pem": "a public key, not a certificate",
            "public_pkcs1.pem": "a public key (PKCS #1), not a certificate",
            "request.pem": "a certificate request, not a certificate",
            "crl.pem": "a certificate revocation list, not a certificate",
            "store.p12": "a PKCS #12 store, which may be encrypted, not a certificate",
        }
        for name, reason in cases.items():
            with self.subTest(name):
                status, out, errors = run("show", "--json", data(name))
                self.assertEqual(status, 3)
                self.assertEqual(json_lines(out), [{"source": data(name), "index": 0, "error": reason}])
                self.assertRegex(errors, "^velmora-x509: " + re.escape(data(name)) + ": block 1[^\n]*: "
                                 + re.escape(reason) + "\n$")

    def test_what_cannot_be_read(self):
        cases = [("/dev/null", b"", "the input is empty"), (str(DATA), b"", "Is a directory"),
                 (data("absent"), b"", "No such file or directory"),
                 ("-", b"\x30\x88\x80" + bytes(9), "an element is longer than what holds it (offset 1 in the DER)"),
                 ("-", b"\x30\x80" * 10000, "elements are nested too deeply (offset 200 in the DER)")]
        for source, content, reason in cases:
            with self.subTest(reason):
                status, out, errors = run("show", "--json", source, stdin=content)
                self.assertEqual(status, 3)
                self.assertEqual(json_lines(out), [{"source": source, "index": 0, "error": reason}])
                self.assertIn(reason, errors)

    def test_a_bad_block_stops_nothing_and_uses_up_an_index(self):
        pem = (DATA / "three.pem").read_text()
        damaged = pem.replace("MII", "M*I", 1) + (DATA / "key_pkcs8.pem").read_text() + pem
        status, out, errors = run("show", "--json", data("absent"), "-", data("three.pem"), stdin=damaged.encode())
        lines = json_lines(out)
        self.assertEqual(status, 3)
        self.assertEqual([line["index"] for line in lines], [0, *range(7), *range(3)])
        self.assertEqual([i for i, line in enumerate(lines) if "error" in line], [0, 1, 4])
        self.assertEqual(len(errors.splitlines()), 3)

    def test_endless_input_is_refused_in_bounded_memory(self):
        limits = ["sh", "-c", 'ulimit -v 400000; exec "$0" "$@"', PROGRAM, "show", "-"]
        if b"__asan_init" in pathlib.Path(PROGRAM).read_bytes():
            limits = [PROGRAM, "show", "-"]  # the sanitizer itself maps more than that
        for start in (b"\0", b"0\0\0", b"M", b"-----BEGIN X-----\nM", b"<sequence>", b"-----BEGIN "):
            with self.subTest(start):
                program = subprocess.Popen(limits, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                chunk = (b"\0" if start in (b"\0", b"0\0\0") else b"M") * 2**20
                feed(program, [start, *[chunk] * 300])
                out, errors = program.communicate()
                self.assertEqual((program.returncode, out), (3, b""))
                self.assertEqual(len(errors.splitlines()), 1, errors)


class Show(unittest.TestCase):
    def test_json(self):
        lines = json_lines(run("show", "--json", data("hostile.pem"))[1])
        for line in lines:
            self.assertEqual(list(line), KEYS)
        first = dict(lines[0], source="")
        self.assertEqual(first, {
            "source": "", "index": 0, "subject": "CN=Zurich", "issuer": "CN=issuer", "serialNumber": "00ABCD",
            "version": 3, "notBefore": "2020-01-01T00:00:00Z", "notAfter": "2099-12-31T23:59:59Z",
            "validNow": True, "signatureAlgorithm": "1.2.840.113549.1.1.11",
            "publicKeyAlgorithm": "1.2.840.10045.2.1"})
        self.assertEqual([line["subject"] for line in lines[1:5]], ["CN=Zürich"] * 3 + ['E=a@example.org, O="Acme, Inc."'])
        self.assertEqual(lines[6]["subject"], "CN=host.example\0.evil.example")
        self.assertEqual(lines[7]["subject"], "CN=line\nvelmora-x509: forged\r\x1b[31mred\x07\x7f")
        facts = {line["subject"]: (line["version"], line["notBefore"], line["notAfter"], line["validNow"]) for line in lines}
        end = "2099-12-31T23:59:59Z"
        self.assertEqual(facts["CN=version 1"], (1, "2020-01-01T00:00:00Z", end, True))
        self.assertEqual(facts["CN=no dates"], (3, None, None, False))
        self.assertEqual(facts["CN=expired"], (3, "2020-01-01T00:00:00Z", "2021-01-01T00:00:00Z", False))
        self.assertEqual(facts["CN=not yet"], (3, "2090-01-01T00:00:00Z", end, False))
        self.assertEqual(facts["CN=year 1"], (3, "0001-01-01T00:00:00Z", end, True))

    def test_text_is_the_default_and_aligned(self):
        status, out, errors = run(data("hostile.pem"))
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(out, run("show", data("hostile.pem"))[1])
        blocks = out.split("\n\n")
        self.assertEqual(len(blocks), 15)
        self.assertRegex(blocks[0], r"""\ACertificate 1 of .*hostile.pem
  Subject              CN=Zurich
  Issuer               CN=issuer
  Serial number        00ABCD
  Version              3
  Valid from           2020-01-01T00:00:00Z
  Valid until          2099-12-31T23:59:59Z  valid, \d+ days left
  Signature algorithm  1.2.840.113549.1.1.11
  Key algorithm        1.2.840.10045.2.1\Z""")
        self.assertRegex(blocks[11], "Valid from +cannot be read\n +Valid until +cannot be read\n")
        self.assertRegex(blocks[12], r"2021-01-01T00:00:00Z  expired \d+ days ago\n")
        self.assertRegex(blocks[13], r"2090-01-01T00:00:00Z  not yet valid, starts in \d+ days\n")

    def test_colours_only_on_a_terminal_and_without_no_color(self):
        for variable, coloured in (({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)):
            leader, follower = os.openpty()
            subprocess.run([PROGRAM, data("three_0.der")], stdout=follower, check=True,
                           env={"TERM": "xterm", **variable})
            os.close(follower)
            self.assertEqual(b"\x1b[" in os.read(leader, 4096), coloured, variable)
            os.close(leader)


class Safety(unittest.TestCase):
    def test_nothing_that_is_printed_steers(self):
        with tempfile.TemporaryDirectory() as folder:
            name = os.path.join(folder, "a\n\x1b[31m\u202e")
            for content in (DATA / "hostile.pem", DATA / "label.pem"):
                pathlib.Path(name).write_bytes(content.read_bytes())
                for command in (["show"], ["show", "--json"], ["name"], ["asn1"], ["asn1", "--compact"]):
                    with self.subTest(f"{command} {content.name}"):
                        _, out, errors = run(*command, name)
                        self.assertEqual((STEERING.findall(out), STEERING.findall(errors)), ([], []))
                        self.assertFalse(any(line.startswith("velmora") for line in out.splitlines()))

    def test_names_escape_in_one_way(self):
        names = run("name", data("hostile.pem"))[1].splitlines()
        self.assertEqual(len(names), 15)
        self.assertEqual(names[6:10], [
            r"CN=host.example\x00.evil.example", r"CN=line\x0Avelmora-x509: forged\x0D\x1B[31mred\x07\x7F",
            r"CN=\u{202E}gnp.exe\u{2066} \u{200F}\u{2028}\u{0085}\u{009B}31m\u{FEFF}",
            r'CN=back\\slash "quote" <tag> & \\x0a'])

    def test_no_secret_is_printed(self):
        for name in ("key_pkcs1.pem", "key_pkcs8.pem", "key_sec1.der", "key_ed25519.der"):
            key = (DATA / name).read_bytes()
            der = base64.b64decode("".join(key.decode().splitlines()[1:-1])) if name.endswith("pem") else key
            for command in ("show", "asn1", "name"):
                _, out, errors = run(command, data(name))
                self.assertEqual(out, "")
                self.assertNotIn(der[-8:].hex(), errors.lower())
                self.assertEqual(len(errors.splitlines()), 1)

    def test_file_names_that_are_not_utf8(self):
        status, out, errors = run("show", "--json", b"/absent/\xff")
        self.assertEqual((status, json_lines(out)[0]["source"]), (3, "/absent/\ufffd"))
        self.assertIn(r"/absent/\xFF", errors)


class Name(unittest.TestCase):
    def test_options(self):
        cases = {
            "--issuer": "CN=issuer", "--values-only": "a@example.org, \"Acme, Inc.\"",
            "--reverse": 'O="Acme, Inc.", E=a@example.org',
            "--style=22": 'OID.1.2.840.113549.1.9.1=a@example.org,O="Acme, Inc."',
            "--keywords=dn_lowercase,DN_NoSpaceAfterComma": 'e=a@example.org,o="Acme, Inc."',
            "--keywords=DN_Lowercase --style=2": 'OID.1.2.840.113549.1.9.1=#160d61406578616d706c652e6f7267, o="Acme, Inc."',
        }
        for options, expected in cases.items():
            with self.subTest(options):
                status, out, _ = run("name", data("hostile.pem"), *options.split())
                self.assertEqual((status, out.splitlines()[4]), (0, expected))


class Usage(unittest.TestCase):
    def test_errors(self):
        cases = [([], "FILE"), (["show"], "FILE"), (["shwo", "x.pem"], 'mean "show"'),
                 (["name", "--isuer", "x"], 'mean "--issuer"'), (["name", "--style", "x", "y"], "--style"),
                 (["name", "--style"], "--style"), (["name", "--keywords", "x", "y"], "DN_Lowercase"),
                 (["show", "--json=1", "x"], "no value"), (["show", "--json", "--json", "x"], "twice"),
                 (["--what", "x"], "--what")]
        for arguments, hint in cases:
            with self.subTest(arguments):
                status, out, errors = run(*arguments)
                self.assertEqual((status, out), (2, ""))
                self.assertIn(hint, errors)
                self.assertIn("--help", errors)

    def test_help_and_version(self):
        status, out, errors = run("--help")
        self.assertEqual((status, errors), (0, ""))
        for command in ("show", "asn1", "name"):
            self.assertRegex(out, rf"(?m)^  {command} ")
            self.assertIn(f"velmora-x509 {command} ", run(command, "--help")[1])
        self.assertTrue(all(len(line) <= 80 for line in out.splitlines()))
        self.assertRegex(run("--version")[1], r"^velmora-x509 \d+\.\d+\.\d+\n$")

    def test_files_that_look_like_options_or_commands(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("show", "--json"):
                pathlib.Path(folder, name).write_bytes((DATA / "three_0.der").read_bytes())
            self.assertEqual(run("name", "--", "--json", "show", cwd=folder)[0], 0)
            self.assertEqual(run("--json", "show", cwd=folder)[0], 0)

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, data("three.pem")], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 3)
        self.assertIn(b"No space left on device", done.stderr)

    def test_a_reader_that_goes_away_is_no_news(self):
        program = subprocess.Popen([PROGRAM, "show", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        program.stdout.close()
        feed(program, [(DATA / "three.pem").read_bytes()] * 1000)
        self.assertEqual((program.wait(60), program.stderr.read()), (3, b""))
        program.stderr.close()


if __name__ == "__main__":
    unittest.main()

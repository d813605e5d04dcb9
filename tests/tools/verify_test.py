#!/usr/bin/env python3
"""Drives "verify" and "issuer" on chains made by openssl: verify_test.py PROGRAM [unittest arguments]."""
import base64
import json
import os
import pathlib
import shutil
import ssl
import subprocess
import sys
import tempfile
import unittest

import json_schema

PROGRAM = os.path.abspath(sys.argv.pop(1))
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "chain"
CRLS = EXAMPLES.parent / "crl"
SIGNED = pathlib.Path(__file__).resolve().parent.parent / "data" / "signed_certificates.txt"
BUNDLE = pathlib.Path("/etc/ssl/certs/ca-certificates.crt")
CA = "basicConstraints=critical,CA:TRUE\n"
IDS = "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
NO_IDS = "subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n"
KEYS = {"rsa": ["RSA"], "p256": ["EC", "-pkeyopt", "ec_paramgen_curve:P-256"], "ed448": ["ED448"]}


def run(*arguments):
    done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, timeout=120)
    if "--json" in arguments:
        json_schema.check_lines(arguments[0], done.stdout.decode())
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def verify(*arguments):
    """The exit status and the answer about each certificate."""
    status, out, _ = run("verify", "--json", *arguments)
    return status, [json.loads(line) for line in out.splitlines()]


def ids(answer, place=None, severity="failure"):
    """What was found on the first path: of its certificate at a place, or of all."""
    certificates = answer["paths"][0]["certificates"] if answer["paths"] else []
    return {each["id"] for at, certificate in enumerate(certificates) for each in certificate["findings"]
            if place in (None, at) and each["severity"] == severity}


@unittest.skipUnless(shutil.which("openssl"), "openssl makes the chains and is not installed")
class Made(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)

    def openssl(self, *arguments):
        done = subprocess.run(["openssl", *map(str, arguments)], capture_output=True)
        self.assertEqual(done.returncode, 0, done.stderr.decode())

    def key(self, name, kind):
        path = self.folder / f"{name}.key"
        self.openssl("genpkey", "-algorithm", *KEYS[kind], "-out", path)
        return path

    def make(self, name, issuer=None, subject=None, extensions=IDS, kind="p256", options=(), key=None):
        """A certificate in NAME.pem with a new key in NAME.key; without an issuer, signed by itself."""
        key = key or self.key(name, kind)
        certificate, request = self.folder / f"{name}.pem", self.folder / f"{name}.csr"
        text = self.folder / f"{name}.ext"
        text.write_text(extensions)
        self.openssl("req", "-new", "-key", key, "-subj", subject or f"/O=Test/CN={name}", "-out", request)
        signer = ["-CA", issuer, "-CAkey", issuer.with_suffix(".key")] if issuer else ["-signkey", key]
        self.openssl("x509", "-req", "-in", request, *signer, "-set_serial", str(abs(hash((name, subject))) + 1),
                     "-days", "3650", "-extfile", text, "-out", certificate, *options)
        if key != certificate.with_suffix(".key"):
            shutil.copy(key, certificate.with_suffix(".key"))
        return certificate

    def assert_refused(self, reason, *arguments):
        status, answers = verify(*arguments)
        self.assertEqual((status, [answer["verified"] for answer in answers]), (1, [False]))
        self.assertEqual(answers[0]["reason"], reason)
        return answers[0]

    def test_algorithms_that_cannot_be_checked(self):
        for number, (kind, options) in enumerate([("rsa", ["-sha224"]), ("p256", ["-sha224"]), ("ed448", [])]):
            with self.subTest(kind=kind, options=options):
                root = self.make(f"alg{number}", extensions=CA + IDS, kind=kind, options=options)
                leaf = self.make(f"alg{number}leaf", root, options=options)
                self.assert_refused("signatureNotChecked", "--roots", root, leaf)

    def test_dates(self):
        arguments = ["--roots", EXAMPLES / "root.pem", EXAMPLES / "intermediate.pem"]
        for at, reason in [("2024-12-31T23:59:59Z", "notYetValid"), ("2075-01-01", "expired")]:
            self.assert_refused(reason, "--at", at, *arguments)
        for at in ("2025-01-01", "2074-12-31T23:59:59Z"):
            self.assertEqual(verify("--at", at, *arguments)[0], 0)
        for at in ("2025-1-1", "2025-02-30", "2025-01-01T00:00:00", "tomorrow", ""):
            self.assertEqual(run("verify", "--at", at, *arguments)[0], 2)

    def test_candidates(self):
        root = self.make("same", extensions=CA + NO_IDS)
        others = [self.make(f"other{i}", root, subject="/O=Test/CN=middle", extensions=CA + NO_IDS) for i in range(4)]
        leaf = self.make("tried", others[2], extensions=NO_IDS)
        crowd = self.folder / "crowd.pem"
        crowd.write_text("".join(each.read_text() for each in others))
        status, (answer,) = verify("--roots", root, "--roots", others[0], "--chain", others[3], "--chain", crowd, leaf)
        self.assertEqual((status, [(each["source"], each["index"]) for each in answer["paths"][0]["certificates"]]),
                         (0, [(str(leaf), 0), (str(crowd), 2), (str(root), 0)]))
        self.assertEqual(verify("--roots", root, "--chain", crowd, "--issuer", others[2], leaf)[0], 0)
        refused = self.assert_refused("rejectedByCaller", "--roots", root, "--chain", crowd, "--issuer", others[1], leaf)
        self.assertEqual(refused["text"], f"The direct issuer is none of the certificates of --issuer {others[1]}.")
        self.assertEqual(ids(refused), {"rejectedByCaller"})
        self.assert_refused("tooManyCertificates", "--max-depth", "2", "--roots", root, "--chain", crowd, leaf)
        # Key identifiers forbid nothing; the signature decides.
        elsewhere = self.make("elsewhere", subject="/O=Test/CN=known", extensions=CA + IDS)
        known = self.make("known", extensions=CA + IDS)
        self.assert_refused("wrongSignature", "--roots", elsewhere, self.make("known leaf", known))
        self.assert_refused("noIssuer", "--roots", root, self.make("known leaf 2", known))

    def test_a_thousand_issuers_of_one_name(self):
        root = self.make("crowded", extensions=CA + NO_IDS)
        middle = self.make("one of many", root, extensions=CA + NO_IDS)
        der = ssl.PEM_cert_to_DER_cert(middle.read_text())
        at = der.index(bytes.fromhex("03420004")) + 4
        others = [der[:at] + i.to_bytes(4, "big") * 16 + der[at + 64:] for i in range(1000)]
        crowd = self.folder / "many.pem"
        crowd.write_text("".join(map(ssl.DER_cert_to_PEM_cert, others)) + middle.read_text())
        leaf = self.make("crowded leaf", middle, extensions=NO_IDS)
        self.assertEqual(verify("--roots", root, "--chain", crowd, leaf)[0], 0)
        crowd.write_text("".join(map(ssl.DER_cert_to_PEM_cert, others)))
        self.assert_refused("wrongSignature", "--roots", root, "--chain", crowd, leaf)
        # Of each of many leaves: what they may look at is limited for all together.
        leaves = self.folder / "many leaves.der"
        der = ssl.PEM_cert_to_DER_cert(leaf.read_text())
        leaves.write_bytes(b"".join(der[:-1] + bytes([i]) for i in range(250)))
        status, answers = verify("--roots", root, "--chain", crowd, leaves)
        self.assertEqual((status, len(answers)), (1, 250))
        self.assertEqual(sum(each["used"]["candidates"] for each in answers), (1 << 15) + 250 * 64)

    def test_certificates_that_certify_each_other_end(self):
        # Ten certificates of one name and key, each an issuer of all: no way leads to a root, and there
        # are millions of them.
        first = self.make("loop0", subject="/CN=Loop", extensions=CA + NO_IDS)
        all_of_them = [first] + [self.make(f"loop{i}", first, subject="/CN=Loop", extensions=CA + NO_IDS,
                                           key=first.with_suffix(".key")) for i in range(1, 10)]
        crowd = self.folder / "loop.pem"
        crowd.write_text("".join(each.read_text() for each in all_of_them))
        leaf = self.make("loop leaf", first, extensions=NO_IDS)
        self.assert_refused("noAnchors", "--chain", crowd, leaf)
        self.assert_refused("notTrusted", "--chain", crowd, "--roots", self.make("other", extensions=CA), leaf)

    def test_targets_and_purposes(self):
        root = self.make("host root", extensions=CA + IDS)
        names = "subjectAltName=DNS:www.example.org,DNS:*.example.net,IP:192.0.2.1,email:a@example.org\n"
        leaf = self.make("host", root, extensions=names + "extendedKeyUsage=serverAuth\n" + IDS)
        for status, *options in [(0, "--host", "WWW.example.org."), (0, "--host", "a.example.net"), (0, "--ip", "192.0.2.1"),
                                 (1, "--host", "a.b.example.net"), (1, "--host", "host"), (1, "--ip", "192.0.2.2"),
                                 (0, "--email", "a@example.org"), (1, "--email", "a@example.org", "--purpose", "email"),
                                 (0, "--purpose", "server", "--no-host"), (1, "--purpose", "client"),
                                 (2, "--no-host"), (2, "--purpose", "client", "--no-host"), (2, "--purpose", "server"), (2, "--purpose", "cook"), (2, "--host", "a..b"),
                                 (2, "--host", "www.b\u00fccher.example"), (2, "--host", "a.b", "--ip", "192.0.2.1"),
                                 (2, "--profile", "none"), (2, "--max-depth", "0"), (1, "--max-depth", "1"), (2, "--require-crl", "some"), (2, "--policy", "x")]:
            with self.subTest(options):
                self.assertEqual(run("verify", "--roots", root, *options, leaf)[0], status)
        for end, *options in [("add --purpose.\n",), ("add --purpose server.\n", "--host", "www.example.org"),
                              ("add --purpose email.\n", "--email", "a@example.org"), ("revocation (--crl), OCSP and certificate transparency.\n", "--purpose", "any")]:
            self.assertTrue(run("verify", "--roots", root, *options, leaf)[1].endswith(end), end)

    def test_what_is_said_to_people(self):
        root = self.make("tell root", extensions=CA + IDS)
        leaf = self.make("tell", root, subject="/CN=\x1b[31mred", extensions="1.2.3.4=critical,DER:0500\n" + IDS)
        status, out, _ = run("verify", "--roots", root, leaf)
        self.assertEqual(status, 1)
        self.assertIn("NOT verified: A critical extension is not known: 1.2.3.4.", out)
        self.assertIn("    \u2514 CN=\\x1B[31mred  (", out)
        self.assertIn("FAILED: A critical extension is not known: 1.2.3.4. (RFC 5280 \u00a76.1.4 (o), \u00a76.1.5 (f))", out)

    def test_issuer(self):
        root = self.make("i root", extensions=CA + IDS)
        twin = self.make("i twin", subject="/O=Other/CN=i root", extensions=CA + NO_IDS)
        leaf = self.make("i leaf", root)
        status, out, _ = run("issuer", "--json", leaf, root, twin, leaf)
        found = [(o["matches"], o["by"], o["wholeNamesEqual"], o["reasons"]) for o in map(json.loads, out.splitlines())]
        self.assertEqual((status, found), (0, [(True, "keyIdentifiers", True, []), (True, "names", False, ["wrongSignature"]),
                                              (False, "keyIdentifiers", False, ["wrongSignature", "notACa"])]))
        self.assertEqual(run("issuer", root, leaf)[0], 1)
        self.assertEqual(run("issuer", self.folder / "absent", leaf)[0], 3)


def signed_certificates():
    """The records that the library is tested with."""
    records = SIGNED.read_text().split("\n\n")[1:]
    return [dict(line.split(" = ", 1) for line in record.splitlines()) for record in records]


class Given(unittest.TestCase):
    EXAMPLE = ["--chain", EXAMPLES / "intermediate.pem", EXAMPLES / "leaf.pem"]

    def test_every_algorithm_and_what_can_be_wrong_with_it(self):
        records = signed_certificates()
        cases = [record for record in records if "Case" in record]
        roots = [record for record in records if "namesake" not in record.get("Issuer", "namesake")]
        with tempfile.TemporaryDirectory() as folder:
            for name, certificates in (("roots", roots), ("cases", cases)):
                pem = ("-----BEGIN CERTIFICATE-----\n%s\n-----END CERTIFICATE-----\n" %
                       base64.b64encode(bytes.fromhex(each["Cert"])).decode() for each in certificates)
                pathlib.Path(folder, name).write_text("".join(pem))
            _, answers = verify("--allow-sha1", "--roots", pathlib.Path(folder, "roots"), pathlib.Path(folder, "cases"))
        self.assertEqual(len(answers), len(cases))
        for case, answer in zip(cases, answers):
            with self.subTest(case["Case"]):
                if "error" in answer:
                    self.assertEqual((case["Case"], answer["error"]),
                                     ("lengths that are not DER", "BER, on which no decision may rest"))
                    continue
                is_good = case["Result"] == "valid" and "Strict" not in case and "Typed" not in case
                is_weak = "weakKey" in ids(answer)
                self.assertEqual(answer["verified"], is_good and not is_weak, ids(answer))
                self.assertEqual(ids(answer, 0) - {"weakKey"} != set(), not is_good)

    def test_sample_chain(self):
        status, out, errors = run("verify", "--purpose", "server", "--host", "www.example.org", "--roots",
                                  EXAMPLES / "root.pem", *self.EXAMPLE)
        self.assertEqual((status, errors), (0, ""))
        self.assertIn("leaf.pem: certificate 1: verified for server www.example.org\n", out)
        self.assertIn("Not judged:", out)
        self.assert_trust("wrongHost", "--host", "example.com", "--roots", EXAMPLES / "root.pem", *self.EXAMPLE)

    def test_reasons_are_those_of_findings_and_in_the_order_of_the_files(self):
        leaf = (EXAMPLES / "leaf.der").read_bytes()
        doubtful = leaf.replace(b"\1\1\xff", b"\1\1\1", 1)
        without_curve = leaf.replace(bytes.fromhex("06082a8648ce3d030107"), bytes.fromhex("04082a8648ce3d030107"))
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "doubtful.der")
            path.write_bytes(doubtful + without_curve)
            status, answers = verify("--profile", "web", "--no-host", "--purpose", "server", "--roots", EXAMPLES / "root.pem",
                                     "--chain", EXAMPLES / "intermediate.pem", path, os.devnull, EXAMPLES / "leaf.pem")
        self.assertEqual((status, [answer.get("reason") for answer in answers]), (3, ["wrongSignature", "wrongSignature", None, "webValidity"]))
        self.assertIn("valid for longer than public servers' may be", answers[3]["text"])
        self.assertIn("booleanNotDer", ids(answers[0]))
        self.assertEqual(ids(answers[1]), {"wrongSignature", "keyMalformed", "webKey", "webValidity"})

    def test_crls(self):
        crl, folder = (CRLS / "ca.crl").read_text(), tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = pathlib.Path(folder.name, "crls")
        torn = crl[:40] + "*" + crl[41:]
        line = ": block 1 (line 1): the PEM block holds a line that is not base64 (line 2); mend or remove the line"
        for content, options, expected, errors in [
                (crl, [], (1, [None, "revoked"]), ""), (torn + crl, [], (3, [None, "revoked"]), line),
                (torn, [], (3, ["revocationUnknown"] * 2), line),
                ("", ["--require-crl", "leaf"], (3, ["revocationUnknown"] * 2), ": block 1: the input holds no CRL")]:
            with self.subTest(content=content[:50], options=options):
                path.write_text(content)
                arguments = ["--roots", CRLS / "ca.pem", "--crl", path, *options, CRLS / "reader.pem", CRLS / "writer.pem"]
                status, answers = verify(*arguments)
                self.assertEqual((status, [answer["reason"] for answer in answers]), expected)
                self.assertEqual(run("verify", *arguments)[2], errors and f"velmora-x509: {path}{errors}\n")

    def assert_trust(self, reason, *arguments):
        self.assertEqual([answer["reason"] for answer in verify(*arguments)[1]], [reason])

    def test_nothing_is_trusted_unasked(self):
        status, answers = verify(EXAMPLES / "chain.pem")
        self.assertEqual((status, [answer["reason"] for answer in answers]), (1, ["noAnchors"] * 3))

    @unittest.skipUnless(BUNDLE.exists(), f"{BUNDLE} is not installed")
    def test_roots_of_the_system(self):
        status, answers = verify("--roots", "system", BUNDLE)
        self.assertGreater(len(answers), 50)
        expired = [answer for answer in answers if not answer["verified"]]
        for answer in expired:
            self.assertIn(answer["reason"], ("expired", "notYetValid"))
        for at in {answer["paths"][0]["certificates"][0]["notAfter"] for answer in expired}:
            again = {each["index"]: each["verified"] for each in verify("--roots", "system", "--at", at, BUNDLE)[1]}
            for answer in expired:
                if answer["paths"][0]["certificates"][0]["notAfter"] == at:
                    self.assertTrue(again[answer["index"]])


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Drives "verify" and "issuer" on chains made by openssl: verify_test.py PROGRAM [unittest arguments]."""
import base64
import json
import os
import pathlib
import re
import shutil
import ssl
import subprocess
import sys
import tempfile
import unittest

import json_schema

PROGRAM = os.path.abspath(sys.argv.pop(1))
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "chain"
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
    """The exit status and the object of each certificate."""
    status, out, _ = run("verify", "--json", *arguments)
    return status, [json.loads(line) for line in out.splitlines()]


def failures(chain):
    """All that went wrong, the reasons of signatures included."""
    found = [text for step in chain["chain"] for text in step["failures"]]
    return " | ".join(found + [step["signature"]["reason"] or "" for step in chain["chain"] if step["signature"]])


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
        status, chains = verify(*arguments)
        self.assertEqual((status, [chain["verified"] for chain in chains]), (1, [False]))
        self.assertIn(reason, failures(chains[0]))
        return chains[0]

    def test_algorithms_that_cannot_be_checked(self):
        for number, (kind, options) in enumerate([("rsa", ["-sha224"]), ("p256", ["-sha224"]), ("ed448", [])]):
            with self.subTest(kind=kind, options=options):
                root = self.make(f"alg{number}", extensions=CA + IDS, kind=kind, options=options)
                leaf = self.make(f"alg{number}leaf", root, options=options)
                chain = self.assert_refused("cannot check this algorithm", "--roots", root, leaf)
                self.assertEqual(chain["chain"][0]["signature"]["verdict"], "cannotCheck")

    def test_issuers_that_may_not_sign(self):
        root = self.make("strict", extensions=CA + IDS)
        cases = [("basicConstraints=CA:FALSE\n", "not a CA"), ("", "no basicConstraints"),
                 (CA + "keyUsage=digitalSignature\n", "keyUsage does not allow"),
                 (CA + "1.2.3.4=critical,DER:0500\n", "extension 1.2.3.4 is unknown"),
                 (CA + "keyUsage=DER:0500\n", "keyUsage cannot be read"),
                 ("basicConstraints=DER:3003010101\n", "basicConstraints cannot be read")]
        for number, (extensions, reason) in enumerate(cases):
            with self.subTest(reason):
                middle = self.make(f"middle{number}", root, extensions=extensions + IDS)
                self.assert_refused(reason, "--roots", root, "--chain", middle, self.make(f"below{number}", middle))
        self.assert_refused("1.2.3.4 is unknown", "--roots", root,
                            self.make("critical", root, extensions="1.2.3.4=critical,DER:0500\n"))
        # Each certificate below repeats what is wrong with its issuer, so that this has an end.
        many = "".join(f"1.2.3.{i}=critical,DER:0500\n" for i in range(20))
        chain = self.assert_refused("1.2.3.0 is", "--roots", root, self.make("many", root, extensions=many))
        self.assertLess(len(chain["chain"][0]["failures"]), 10)

    def test_path_length(self):
        root = self.make("long", extensions="basicConstraints=CA:TRUE,pathlen:1\n" + IDS)
        first = self.make("first", root, extensions=CA + IDS)
        second = self.make("second", first, extensions=CA + IDS)
        leaf, below = self.make("second leaf", second), self.make("first leaf", first)
        self.assertEqual(verify("--roots", root, "--chain", first, below)[0], 0)
        both = self.folder / "both.pem"
        both.write_text(first.read_text() + second.read_text())
        self.assert_refused("path length allows 1", "--roots", root, "--chain", both, leaf)
        # Where only the attributes differ, the certificate is not issued by itself.
        root = self.make("unit", subject="/O=Twin", extensions="basicConstraints=CA:TRUE,pathlen:0\n")
        middle = self.make("common", root, subject="/CN=Twin", extensions=CA)
        self.assert_refused("path length allows 0", "--roots", root, "--chain", middle, self.make("twin leaf", middle))
        self.assertEqual(verify("--roots", middle, root)[0], 3)

    def test_dates(self):
        arguments = ["--roots", EXAMPLES / "root.pem", EXAMPLES / "intermediate.pem"]
        for at, reason in [("2024-12-31T23:59:59Z", "not valid before"), ("2075-01-01", "expired at")]:
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
        status, (chain,) = verify("--roots", root, "--chain", crowd, leaf)
        self.assertEqual((status, chain["chain"][1]["index"]), (0, 2))
        self.assertEqual(verify("--roots", root, "--chain", crowd, "--issuer", others[2], leaf)[0], 0)
        self.assert_refused("wrong signature", "--roots", root, "--chain", crowd, "--issuer", others[1], leaf)
        # The key identifiers differ, so that the name alone is no link.
        elsewhere = self.make("elsewhere", subject="/O=Test/CN=known", extensions=CA + IDS)
        known = self.make("known", extensions=CA + IDS)
        self.assert_refused("another key identifier", "--roots", elsewhere, self.make("known leaf", known))
        self.assert_refused("no issuer of it", "--roots", root, self.make("known leaf 2", known))
        self.assert_refused("no issuer of it", "--roots", root, "--issuer", others[1], root)

    def test_the_key_identifier_tells_one_of_a_crowd(self):
        root = self.make("crowded", extensions=CA + IDS)
        middle = self.make("one of many", root, extensions=CA + IDS)
        der = ssl.PEM_cert_to_DER_cert(middle.read_text())
        at = der.index(bytes.fromhex("551d0e04160414")) + 7
        others = [der[:at] + bytes([i]) * 20 + der[at + 20:] for i in range(100)]
        crowd = self.folder / "many.pem"
        crowd.write_text("".join(map(ssl.DER_cert_to_PEM_cert, others)) + middle.read_text())
        leaf = self.make("crowded leaf", middle)
        for option in ("--chain", "--issuer"):
            self.assertEqual(verify("--roots", root, option, crowd, leaf)[0], 0)

    def test_names_that_only_look_alike(self):
        root = self.make("accent", subject="/CN=\u00e9", extensions=CA + NO_IDS)
        xml = run("asn1", "--compact", self.make("accent leaf", root, extensions=NO_IDS))[1]
        changed = self.folder / "accent.xml"
        for tag, reason in (("utf8", "wrong signature"), ("printable", "no issuer of it")):
            # One octet for each character is not what UTF-8 has.
            changed.write_text(re.sub("<utf8>([^<]*[^\0-~][^<]*)</utf8>", rf"<{tag}>\1</{tag}>", xml).replace(
                "accent leaf", "another leaf"))
            self.assert_refused(reason, "--roots", root, changed)

    def test_a_new_key_that_the_old_one_certifies(self):
        old = self.make("old", subject="/CN=Rolling", extensions="basicConstraints=CA:TRUE,pathlen:0\n" + IDS)
        new = self.make("new", old, subject="/CN=Rolling", extensions=CA + IDS)
        leaf = self.make("rolled", new)
        status, (chain,) = verify("--roots", old, "--chain", new, leaf)
        self.assertEqual((status, len(chain["chain"])), (0, 3))
        self.assert_refused("not a root", "--chain", new, leaf)

    def test_certificates_that_certify_each_other_end(self):
        # Ten certificates of one name and key, each an issuer of all: no way leads to a root, and there
        # are millions of them.
        first = self.make("loop0", subject="/CN=Loop", extensions=CA + NO_IDS)
        all_of_them = [first] + [self.make(f"loop{i}", first, subject="/CN=Loop", extensions=CA + NO_IDS,
                                           key=first.with_suffix(".key")) for i in range(1, 10)]
        crowd = self.folder / "loop.pem"
        crowd.write_text("".join(each.read_text() for each in all_of_them))
        leaf = self.make("loop leaf", first, extensions=NO_IDS)
        self.assert_refused("This is not a trusted root certificate.", "--chain", crowd, leaf)

    def test_issuer(self):
        root = self.make("i root", extensions=CA + IDS)
        twin = self.make("i twin", subject="/O=Other/CN=i root", extensions=CA + NO_IDS)
        leaf = self.make("i leaf", root)
        status, out, _ = run("issuer", "--json", leaf, root, twin, leaf)
        found = [(o["matches"], o["by"], o["wholeNamesEqual"]) for o in map(json.loads, out.splitlines())]
        self.assertEqual((status, found), (0, [(True, "keyIdentifiers", True), (True, "names", False),
                                              (False, "keyIdentifiers", False)]))
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
            _, chains = verify("--roots", pathlib.Path(folder, "roots"), pathlib.Path(folder, "cases"))
        self.assertEqual(len(chains), len(cases))
        for case, chain in zip(cases, chains):
            with self.subTest(case["Case"]):
                good = case["Result"] == "valid" and "Strict" not in case
                self.assertEqual(chain["verified"], good, failures(chain))
                signature = chain["chain"][0]["signature"]
                self.assertEqual(signature["verdict"] == "good", good)
                for step in chain["chain"]:
                    self.assertEqual(step["failures"], [])
                self.assertIn(case.get("Strict", ""), failures(chain))
                honest = re.fullmatch(r"(?:PSS with )?sha(\d+)\b.* by (\S+)", case["Case"])
                if honest:
                    digits, key = honest.groups()
                    self.assertEqual(signature["hash"], "SHA-" + digits)
                    words = ["SHA-1"] * (digits == "1") + ["2048"] * (key in ("rsa-1024", "rsa-pss-bound"))
                    words += ["DSA"] * key.startswith("dsa")
                    found = " ".join(signature["warnings"])
                    self.assertEqual([word for word in ("SHA-1", "2048", "DSA") if word in found], words)

    def test_sample_chain(self):
        status, out, errors = run("verify", "--roots", EXAMPLES / "root.pem", *self.EXAMPLE)
        self.assertEqual((status, errors), (0, ""))
        self.assertIn("not the whole of RFC 5280", out)
        self.assertIn("not the whole of RFC", run("verify", "--help")[1])
        self.assertEqual(run("verify", "--roots", EXAMPLES, *self.EXAMPLE[2:])[0], 3)  # not all are roots

    def test_nothing_is_trusted_unasked(self):
        status, chains = verify(EXAMPLES / "chain.pem")
        self.assertEqual((status, len(chains)), (1, 3))
        for chain in chains:
            self.assertIn("This is not a trusted root certificate.", failures(chain))

    @unittest.skipUnless(BUNDLE.exists(), f"{BUNDLE} is not installed")
    def test_roots_of_the_system(self):
        status, chains = verify("--roots", "system", BUNDLE)
        self.assertGreater(len(chains), 50)
        for chain in chains:
            if not chain["verified"]:
                self.assertRegex(failures(chain), "^(expired at|not valid before) ")
        expired = [chain["chain"][0]["notAfter"] for chain in chains if not chain["verified"]]
        for at in expired:
            again = {c["index"]: c["verified"] for c in verify("--roots", "system", "--at", at, BUNDLE)[1]}
            for chain in chains:
                if chain["chain"][0]["notAfter"] == at:
                    self.assertTrue(again[chain["index"]])
        for chain in verify(BUNDLE)[1]:
            self.assertIn("This is not a trusted root certificate.", failures(chain))


if __name__ == "__main__":
    unittest.main()

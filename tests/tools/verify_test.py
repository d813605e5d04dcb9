#!/usr/bin/env python3
"""Drives "verify" and "issuer" on chains made by openssl: verify_test.py PROGRAM [unittest arguments]."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "chain"
BUNDLE = pathlib.Path("/etc/ssl/certs/ca-certificates.crt")
CA = "basicConstraints=critical,CA:TRUE\n"
IDS = "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
NO_IDS = "subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n"
KEYS = {"rsa": ["RSA"], "rsa1024": ["RSA", "-pkeyopt", "rsa_keygen_bits:1024"], "pss": ["RSA-PSS"],
        "p256": ["EC", "-pkeyopt", "ec_paramgen_curve:P-256"], "p521": ["EC", "-pkeyopt", "ec_paramgen_curve:P-521"],
        "ed25519": ["ED25519"], "ed448": ["ED448"]}
PSS = ["-sigopt", "rsa_padding_mode:pss"]


def run(*arguments):
    done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, timeout=120)
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
        if kind == "dsa":
            self.openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:1024",
                         "-out", f"{path}.par")
            self.openssl("genpkey", "-paramfile", f"{path}.par", "-out", path)
        else:
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

    def patched(self, certificate, change):
        """A copy whose DER went through change(bytes)."""
        path = certificate.with_suffix(".der")
        self.openssl("x509", "-in", certificate, "-outform", "DER", "-out", path)
        path.write_bytes(change(path.read_bytes()))
        return path

    def assert_refused(self, reason, *arguments):
        status, chains = verify(*arguments)
        self.assertEqual((status, [chain["verified"] for chain in chains]), (1, [False]))
        self.assertIn(reason, failures(chains[0]))
        return chains[0]

    def test_algorithms(self):
        # key, options of signing, hash (None: cannot be checked), words that the warnings hold
        cases = [("rsa", ["-sha256"], "SHA-256", []), ("rsa", ["-sha384"], "SHA-384", []),
                 ("rsa", ["-sha512"], "SHA-512", []), ("rsa", ["-sha1"], "SHA-1", ["SHA-1"]),
                 ("rsa", ["-sha224"], None, []), ("rsa1024", ["-sha256"], "SHA-256", ["2048"]),
                 ("rsa", ["-sha384", *PSS], "SHA-384", []), ("pss", ["-sha256", *PSS], "SHA-256", []),
                 ("rsa", ["-sha1", *PSS], "SHA-1", ["SHA-1"]), ("p256", ["-sha256"], "SHA-256", []),
                 ("p521", ["-sha512"], "SHA-512", []), ("p256", ["-sha1"], "SHA-1", ["SHA-1"]),
                 ("p256", ["-sha224"], None, []), ("dsa", ["-sha1"], "SHA-1", ["SHA-1", "DSA"]),
                 ("dsa", ["-sha256"], "SHA-256", ["DSA"]), ("ed25519", [], "SHA-512", []), ("ed448", [], None, [])]
        for number, (kind, options, hash_name, warnings) in enumerate(cases):
            with self.subTest(kind=kind, options=options):
                root = self.make(f"alg{number}", extensions=CA + IDS, kind=kind, options=options)
                leaf = self.make(f"alg{number}leaf", root, options=options)
                status, (chain,) = verify("--roots", root, leaf)
                signature = chain["chain"][0]["signature"]
                if hash_name is None:
                    self.assertEqual((status, signature["verdict"]), (1, "cannotCheck"))
                    self.assertIn("cannot check this algorithm", signature["reason"])
                    continue
                self.assertEqual((status, signature["verdict"], signature["hash"]), (0, "good", hash_name), chain)
                self.assertEqual(len(signature["warnings"]), len(warnings))
                for word, warning in zip(warnings, signature["warnings"]):
                    self.assertIn(word, warning)

    def test_issuers_that_may_not_sign(self):
        root = self.make("strict", extensions=CA + IDS)
        cases = [("basicConstraints=CA:FALSE\n", "not a CA"), ("", "no basicConstraints"),
                 (CA + "keyUsage=digitalSignature\n", "keyUsage does not allow"),
                 (CA + "1.2.3.4=critical,DER:0500\n", "extension 1.2.3.4 is unknown"),
                 ("basicConstraints=DER:0500\n", "basicConstraints cannot be read")]
        for number, (extensions, reason) in enumerate(cases):
            with self.subTest(reason):
                middle = self.make(f"middle{number}", root, extensions=extensions + IDS)
                self.assert_refused(reason, "--roots", root, "--chain", middle, self.make(f"below{number}", middle))
        self.assert_refused("1.2.3.4 is unknown", "--roots", root,
                            self.make("critical", root, extensions="1.2.3.4=critical,DER:0500\n"))

    def test_path_length(self):
        root = self.make("long", extensions="basicConstraints=CA:TRUE,pathlen:1\n" + IDS)
        first = self.make("first", root, extensions=CA + IDS)
        second = self.make("second", first, extensions=CA + IDS)
        leaf, below = self.make("second leaf", second), self.make("first leaf", first)
        self.assertEqual(verify("--roots", root, "--chain", first, below)[0], 0)
        both = self.folder / "both.pem"
        both.write_text(first.read_text() + second.read_text())
        self.assert_refused("path length allows 1", "--roots", root, "--chain", both, leaf)

    def test_dates(self):
        arguments = ["--roots", EXAMPLES / "root.pem", EXAMPLES / "intermediate.pem"]
        for at, reason in [("2024-12-31T23:59:59Z", "not valid before"), ("2075-01-01", "expired at")]:
            self.assert_refused(reason, "--at", at, *arguments)
        for at in ("2025-01-01", "2074-12-31T23:59:59Z"):
            self.assertEqual(verify("--at", at, *arguments)[0], 0)
        for at in ("2025-1-1", "2025-02-30", "2025-01-01T00:00:00", "tomorrow", ""):
            self.assertEqual(run("verify", "--at", at, *arguments)[0], 2)

    def test_signatures_that_are_not_in_order(self):
        root = self.make("ed root", extensions=CA + IDS, kind="ed25519")
        leaf = self.make("ed leaf", root)
        algorithm = bytes.fromhex("06032b6570")

        def longer(der):
            at = der.rindex(b"\x03\x41\x00")
            size = int.from_bytes(der[2:4], "big") + 1
            return der[:2] + size.to_bytes(2, "big") + der[4:at] + b"\x03\x42" + der[at + 2:] + b"\0"

        def other_algorithm(der):
            at = der.rindex(algorithm)
            return der[:at] + bytes.fromhex("06032b6571") + der[at + 5:]

        cases = [(lambda der: der[:-1] + bytes([der[-1] ^ 1]), "wrong signature"),
                 (longer, "64 bytes, this one 65"), (other_algorithm, "two different signature algorithms")]
        for change, reason in cases:
            with self.subTest(reason):
                self.assert_refused(reason, "--roots", root, self.patched(leaf, change))
        rsa = self.make("rsa root", extensions=CA + IDS, kind="rsa")
        leaf = self.make("rsa leaf", rsa, options=["-sha256"])

        def other_hash(der):
            signed, signature = self.folder / "signed", self.folder / "signature"
            signed.write_bytes(der[4:8 + int.from_bytes(der[6:8], "big")])
            self.openssl("dgst", "-sha384", "-sign", rsa.with_suffix(".key"), "-out", signature, signed)
            return der[:-256] + signature.read_bytes()

        self.assert_refused("its algorithm another one", "--roots", rsa, self.patched(leaf, other_hash))
        other = self.make("ec root", subject="/O=Test/CN=ed root", extensions=CA + NO_IDS)
        leaf = self.make("plain leaf", root, extensions=NO_IDS)
        self.assert_refused("does not fit the issuer's key", "--roots", other, leaf)

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
        self.assert_refused("no issuer of it", "--roots", elsewhere, self.make("known leaf", known))
        self.assert_refused("no issuer of it", "--roots", root, self.make("known leaf 2", known))

    def test_a_new_key_that_the_old_one_certifies(self):
        old = self.make("old", subject="/CN=Rolling", extensions=CA + IDS)
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


class Given(unittest.TestCase):
    EXAMPLE = ["--chain", EXAMPLES / "intermediate.pem", EXAMPLES / "leaf.pem"]

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

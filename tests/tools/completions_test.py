#!/usr/bin/env python3
"""Loads the completions into the shells that are there and completes words with them, and sets the manual page:
completions_test.py PROGRAM."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
BASH = """source "$0"; cd "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _velmora_x509
printf '%s\\n' "${COMPREPLY[@]}" """
# The words so far, as bash has them, and what completes the last one beside files.
CASES = [
    (["s"], {"show", "split"}),
    (["ver"], {"verify", "version"}),
    (["help", "s"], {"show", "split"}),
    (["version", ""], set()),
    (["--v"], {"--version"}),
    (["one file.pem", "--x"], {"--xml"}),  # no command: show
    (["asn1", "--"], {"--compact", "--help"}),
    (["verify", "--purpose", ""], {"server", "client", "code", "email", "time", "ocsp", "any"}),
    (["verify", "--purpose", "=", "s"], {"server"}),
    (["verify", "--host", ""], set()),
    (["verify", "--roots", "s"], {"system"}),
    (["verify", "--chain", ""], {"one file.pem", "folder"}),
    (["split", "--out", ""], {"folder"}),
    (["match", ""], set()),
    (["match", "PINSET", "o"], {"one file.pem"}),
    (["issuer", "o"], {"one file.pem"}),
    (["completions", ""], {"bash", "zsh", "fish"}),
    (["manual", ""], set()),
]


def output(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, text=True, timeout=60, **options).stdout


class Completions(unittest.TestCase):
    def setUp(self):
        held = tempfile.TemporaryDirectory()
        self.addCleanup(held.cleanup)
        self.folder = held.name
        pathlib.Path(self.folder, "files", "folder").mkdir(parents=True)
        pathlib.Path(self.folder, "files", "one file.pem").touch()
        self.files = str(pathlib.Path(self.folder, "files"))

    def script(self, shell):
        path = pathlib.Path(self.folder, "script")
        path.write_text(output(PROGRAM, "completions", shell))
        return str(path)

    def test_bash_completes_words(self):
        script = self.script("bash")
        for words, expected in CASES:
            with self.subTest(words):
                printed = output("bash", "-c", BASH, script, self.files, "velmora-x509", *words)
                self.assertEqual(set(filter(None, printed.splitlines())), expected)

    @unittest.skipUnless(shutil.which("fish"), "fish is not there")
    def test_fish_completes_words(self):
        script = self.script("fish")
        for words, expected in CASES:
            line = " ".join(word.replace(" ", "\\ ") for word in ["velmora-x509", *words]).replace(" = ", "=")
            with self.subTest(line):
                printed = output("fish", "-N", "-c", f"source {script}; complete -C '{line}'", cwd=self.files)
                found = {row.split("\t")[0].replace("\\ ", " ").rstrip("/") for row in printed.splitlines()}
                self.assertLessEqual({word.split("=")[-1] for word in expected}, {each.split("=")[-1] for each in found})

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not there")
    def test_zsh_reads_its_script(self):
        output("zsh", "-f", "-n", self.script("zsh"))

    def test_words_that_are_offered_are_taken(self):
        rows = re.findall(r"^    '(\w+) (--[\w-]+)'\).* words='([^']*)'", output(PROGRAM, "completions", "bash"), re.M)
        self.assertGreaterEqual(len(rows), 6)
        for command, option, words in rows:
            for word in words.split():
                extra = ["--no-host"] if word == "server" else []
                done = subprocess.run([PROGRAM, command, option, word, *extra, os.devnull], capture_output=True)
                self.assertNotEqual(done.returncode, 2, (command, option, word))

    def test_usage(self):
        for words in (["completions"], ["completions", "csh"], ["completions", "bash", "more"], ["manual", "more"]):
            self.assertEqual(subprocess.run([PROGRAM, *words], capture_output=True).returncode, 2, words)


class Manual(unittest.TestCase):
    @unittest.skipUnless(shutil.which("groff"), "groff is not there")
    def test_is_set_without_a_warning_and_has_every_option(self):
        page = output(PROGRAM, "manual")
        self.assertTrue(page.isascii())
        done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-P-cbou"], input=page, capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(done.stdout, r"(?m)^ +1 +the answer is no$")
        commands = re.findall(r"^  ([a-z]\w+) +", output(PROGRAM, "--help").partition("Options:")[0], re.M)
        for command in commands:
            self.assertIn(f"   {command}\n", done.stdout)
            for option in re.findall(r"^  (--[\w-]+)", output(PROGRAM, command, "--help"), re.M):
                self.assertRegex(done.stdout, rf"(?m)^ +{option}\b")


if __name__ == "__main__":
    unittest.main()

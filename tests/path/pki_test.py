#!/usr/bin/env python3
"""Compares "verify" with a naive checker on infrastructures in which rules are broken alone and in pairs.

pki_test.py PROGRAM [--full] [--peers] [--case NUMBER] [--mutants N]    (PROGRAM "-": none, the naive checker alone)

Each row is first tried alone, as it holds and broken. With --full each is then broken at least fifty times. Then of
N cases (100) some element is another one: nothing is accepted then that the naive checker refuses.
--peers prints where OpenSSL and certtool answer otherwise: each kind once, counted, with an example, and NEW
before those that docs/path-peers.md does not list with who is right.
--case prints one case with all that is said of it and leaves its files in the folder "pki-case"."""
import collections
import datetime
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import mutants
import naive
import rows
from pki import ANY_POLICY, AT, USES, pem

LISTED = pathlib.Path(__file__).resolve().parent.parent.parent / "docs" / "path-peers.md"
FILES = {"leaf.pem": "CERTIFICATE", "roots.pem": "CERTIFICATE", "chain.pem": "CERTIFICATE", "crls.pem": "X509 CRL"}
# What the program calls what is one thing here.
SAME = {"malformedInput": "malformed", "algorithmsDiffer": "signatureAlgorithmsDiffer", "repeatedExtension": "extensionRepeated",
        "contentMalformed": "extensionMalformed", "generalNameMalformed": "extensionMalformed", "keyUsageEmpty": "extensionMalformed"}
# Beside what they are in another word.
BESIDE = {"signatureParameters": {"signatureRefused"}, "signatureNotOctets": {"signatureRefused", "unusedBitsSet"},
          "signatureAlgorithmsDiffer": {"signatureParameters"}, "booleanNotDer": {"unknownCriticalExtension"},
          "criticalNotProcessed": {"criticalityWrong"}, "nameNotJudged": {"extensionMalformed"},
          "extensionListMalformed": {"extensionMalformed", "nameNotJudged", "webAccess", "revocationUnknown"},
          "keyMalformed": {"extensionMalformed", "keyNotKnown", "wrongKeyUsage", "webKey"}, "weakKey": {"webKey"},
          "keyNotKnown": {"webKey", "wrongKeyUsage"}, "extensionRepeated": {"revocationUnknown"},  # by who signs CRLs
          "wrongSignature": {"signatureRefused"}, "extensionMalformed": {"nameNotJudged", "revocationUnknown", "booleanNotDer", "constraintsWithoutCa"},
          "lengthNotShortest": {"noIssuer", "notTrusted", "malformed", "extensionMalformed", "keyMalformed"}}
TARGETS = {"host", "ip", "email"}
PURPOSES = {"server": "sslserver", "client": "sslclient", "email": "smimesign", "time": "timestampsign", "ocsp": "ocsphelper"}


def run(*command):
    done = subprocess.run([*map(str, command)], capture_output=True, timeout=60)
    return done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace")


class Written:
    """A case as files."""

    def __init__(self, case, folder):
        self.case, self.octets, self.folder = case, case.octets(), folder
        groups = [[self.octets[0]], *self.octets[1:]]
        for (file, label), ders in zip(FILES.items(), groups):
            (folder / file).write_text(pem(label, *ders))
        self.at = {(file, n): der for file, ders in zip(FILES, groups) for n, der in enumerate(ders)}

    def path(self, file):
        return self.folder / file

    def naive(self, judge=naive.judge):
        return naive.verdict(*self.octets, AT, self.case.options, judge)

    def ask(self, program):
        options = []
        for option, value in self.case.options.items():
            word = "--" + option.replace("_", "-")
            options += [word] if value is True else [] if value is False else \
                [part for each in value for part in (word, each)] if isinstance(value, list) else [word, value]
        if self.case.options["purpose"] == "server" and not TARGETS & set(self.case.options):
            options.append("--no-host")
        chain = ["--chain", self.path("chain.pem")] if self.octets[2] else []
        crls = ["--crl", self.path("crls.pem")] if self.octets[3] else []
        moment = datetime.datetime.fromtimestamp(AT, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
        _, out, err = run(program, "verify", "--json", *options, "--at", moment, "--roots", self.path("roots.pem"),
                          *chain, *crls, self.path("leaf.pem"))
        answers = [json.loads(line) for line in out.splitlines()] or [{"error": err}]
        return next((each for each in answers if "error" in each), answers[0])  # also of octets behind the leaf

    def openssl(self):
        o = self.case.options
        options = ["-policy", o["policy"][0], "-explicit_policy"] if "policy" in o else ["-policy", ANY_POLICY]
        options += [each for option, each in (("explicit_policy", "-explicit_policy"), ("inhibit_any", "-inhibit_any"),
                                              ("inhibit_mapping", "-inhibit_map")) if o.get(option)]
        options += [part for option, each in (("host", "-verify_hostname"), ("ip", "-verify_ip"), ("email", "-verify_email"))
                    if option in o for part in (each, o[option])]
        options += ["-purpose", PURPOSES[o["purpose"]]] if o["purpose"] in PURPOSES else []
        options += {"leaf": ["-crl_check"], "all": ["-crl_check", "-crl_check_all"]}.get(o.get("require_crl"), [])
        options += ["-CRLfile", self.path("crls.pem")] if self.octets[3] else []
        options += ["-untrusted", self.path("chain.pem")] if self.octets[2] else []
        status, _, err = run("openssl", "verify", "-x509_strict", "-policy_check", "-partial_chain", "-attime", AT, "-auth_level",
                             0 if o.get("allow_sha1") else 2, "-no-CApath", "-no-CAstore", "-CAfile", self.path("roots.pem"),
                             *options, self.path("leaf.pem"))
        said = [line for line in err.splitlines() if "lookup" in line or "rror" in line]
        return status == 0, said[0] if said else err.strip()

    def certtool(self):
        """With its clock stopped at the moment; it reads one chain in order, and no policies."""
        o = self.case.options
        chain = pem("CERTIFICATE", *(each.der() for each in self.case.way[:-1]))
        self.path("way.pem").write_text(chain)
        options = [part for option, each in (("host", "--verify-hostname"), ("email", "--verify-email")) if option in o
                   for part in (each, o[option])]
        options += ["--verify-purpose", f"1.3.6.1.5.5.7.3.{USES[o['purpose']]}"] if o["purpose"] != "any" else []
        moment = datetime.datetime.fromtimestamp(AT, datetime.timezone.utc).strftime("%Y-%m-%d %H:%M:%S")
        status, out, err = run("env", "TZ=UTC", "faketime", "-f", moment, "certtool", "--verify", "--verify-profile", "medium",
                               "--load-ca-certificate", self.path("roots.pem"), "--infile", self.path("way.pem"), *options)
        said = [line.strip() for line in (out + err).splitlines() if "erified" in line or "rror" in line]
        return status == 0, said[-1] if said else (out + err).strip()[-200:]


def names_of(reasons):
    return reasons.union(*(BESIDE.get(each, ()) for each in reasons))


def objections(written, holds, judged, answer):
    """What is wrong with the program's answer: whether a way holds, its reason, and what it says of the way."""
    everything = set().union(*(reasons for _, reasons in judged))
    if answer.get("verified", False) != holds:
        return [f"the program says {answer}\n    naive: {holds} {[sorted(reasons) for _, reasons in judged]}"]
    if holds or "error" in answer:  # not read, as what is BER or no certificate
        return [] if holds or everything & {"malformed", "lengthNotShortest"} else [f"not read: {answer}"]
    out, reason = [], SAME.get(answer["reason"], answer["reason"])
    if reason not in names_of(everything):
        out.append(f"reason {reason}: {answer['text']}\n    naive: {sorted(everything)}")
    for path in answer["paths"] if reason not in ("noIssuer", "notTrusted") else ():  # of no way there
        ders = [written.at.get((pathlib.Path(each.get("source") or "").name, each.get("index"))) for each in path["certificates"]]
        reasons = next((reasons for way, reasons in judged if [c.der for c in way] == ders), everything)
        claimed = {SAME.get(f["id"], f["id"]) for each in path["certificates"] for f in each["findings"] if f["severity"] == "failure"}
        if claimed - names_of(reasons) or not claimed:
            out.append(f"reason {reason}, claims {sorted(claimed)}\n    naive: {sorted(reasons)}")
    return out


def cases(full, only):
    """(label, case, its reasons if one row stands alone): each row as it holds and broken, then the numbers."""
    for number, each in enumerate(rows.ROWS):
        for broken in (False, True):
            if only in (None, f"row {number} {broken}"):
                yield f"row {number} {broken}", rows.make_case(number, [each], broken, "plain"), each[2] if broken else set()
    for number in range(0, len(rows.ROWS) * 60, 1 if full else 50) if only is None else [int(only)] if only.isdigit() else ():
        yield str(number), rows.make_case(number), None


def accepted_mutants(program, folder, count):
    """Those that the program accepts and the naive checker refuses, or does not understand; and how many both accept."""
    failures, both = [], 0
    for number in range(count):
        case = mutants.make_case(number)
        if not is_asked(case.options):
            continue
        try:
            written = Written(case, folder)
        except ValueError:  # no case: nothing is left to sign
            continue
        if not written.ask(program).get("verified"):
            continue
        holds, judged = written.naive(naive.judge_anything)
        both += holds
        if not holds:
            failures.append(f"mutant {number}: accepted\n    naive: {[sorted(reasons) for _, reasons in judged]} {case.rows} {case.options}")
    return failures, both


def is_asked(options):
    """Whether it is one question: one target, and one that goes with the purpose."""
    targets = TARGETS & set(options)
    return len(targets) < 2 and targets <= {"email": {"email"}, "server": {"host", "ip"}}.get(options["purpose"], TARGETS)


def ask_peers(written, label, peers, holds, differing):
    case = written.case
    if len(case.rows) > 1 or "profile" in case.options:
        return
    for peer in peers:
        if peer == "certtool" and {"policy", "explicit_policy", "require_crl", "ip"} & set(case.options):
            continue
        says, why = getattr(written, peer)()
        if says != holds:
            title = "a trusted leaf" if case.shape == "pinned" and case.broken else case.rows[0][0] + ", held" * (not case.broken)
            title = "a way around" if holds and case.broken and case.shape != "plain" else title
            differing[peer, says, title].append(f"{label}: {why}")


def report_peers(differing):
    known = [line.split("|")[1:4] for line in LISTED.read_text().splitlines() if line.startswith("|")]
    for (peer, says, title), found in sorted(differing.items()):
        answer = "accepts" if says else "refuses"
        is_listed = any(peer in who and answer in what and f"`{title.strip()}`" in titles for who, what, titles in known)
        print(f"{'' if is_listed else 'NEW '}{peer} {answer}: {title} ({len(found)}, {found[0]})")


def main():
    program, *flags = sys.argv[1:]
    full, only = "--full" in flags, flags[flags.index("--case") + 1] if "--case" in flags else None
    failures, valid, total, differing, broken = [], 0, 0, collections.defaultdict(list), collections.Counter()
    peers = ["openssl"] + ["certtool"] * bool(shutil.which("certtool") and shutil.which("faketime")) if "--peers" in flags else []
    with tempfile.TemporaryDirectory() as folder:
        if only:
            folder = "pki-case"
            os.makedirs(folder, exist_ok=True)
        for label, case, expected in cases(full, only):
            if not is_asked(case.options):
                continue
            written = Written(case, pathlib.Path(folder))
            holds, judged = written.naive()
            valid, total = valid + holds, total + 1
            broken.update(title for title, _ in case.rows if case.broken)
            what = f"{label} {case.shape} {case.rows} {'broken' if case.broken else 'good'} {case.options}"
            reasons = set().union(*(each for _, each in judged))
            if expected is not None and (holds == bool(expected) or expected and not expected & reasons):
                failures.append(f"{what}\n    naive: {holds} {sorted(reasons)}, the row says {sorted(expected)}")
            answer = written.ask(os.path.abspath(program)) if program != "-" else None
            failures += [f"{what}\n    {each}" for each in (objections(written, holds, judged, answer) if answer else ())]
            ask_peers(written, label, peers, holds, differing)
            if failures and "--failfast" in flags:
                break
            if only:
                print(what, holds, *([c.subject for c in way] + [sorted(why)] for way, why in judged), sep="\n")
                print(answer, *(getattr(written, peer)() for peer in peers), sep="\n")
        count = int(flags[flags.index("--mutants") + 1]) if "--mutants" in flags else 100
        if program != "-" and not only:
            accepted, both = accepted_mutants(os.path.abspath(program), pathlib.Path(folder), count)
            failures += accepted
            print(f"{count} mutants, {both} of them accepted by both")
    report_peers(differing)
    print(*failures[:40], sep="\n")
    least = min((broken[each[0]] for each in rows.ROWS), default=0)
    print(f"{total} cases, {valid} of them valid, {len(failures)} failures; each row broken {least} times or more")
    sys.exit(1 if failures or not only and (valid * 5 < total or full and least < 50) else 0)


if __name__ == "__main__":
    main()

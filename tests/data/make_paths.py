#!/usr/bin/env python3
"""Makes paths.txt, the certificates and CRLs that verify() is asked about in tests/path/verify_test.cpp: a way
of three, and what differs from one of its parts in one thing; and what it answers of them. Every run makes the same octets."""
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "path"))

from pki import (AKI, AT, BC, CP, DAY, EKU, KU, NC, NUMBER, P1, P2, PM, SKI, Crl, ec_key, integer, key_id,  # noqa: E402
                 key_usage, make, name, oid, policies, seq, subtrees, time, tlv, uses)

UNKNOWN = "1.3.6.1.4.1.99999.9"
count = 0
made = {}


def cert(label, subject, key, issuer, signer, is_ca=True, exts=(), drop=(), **fields):
    global count
    count += 1
    out = make(name(subject), ec_key(key), name(issuer), ec_key(signer), count, is_ca, subject == issuer)
    for which in drop:
        out.ext(which)
    for ext in exts:
        out.ext(*ext)
    for field, value in fields.items():
        setattr(out, field, value)
    made[label] = out


def root(label, *exts, key=0, subject="Root", **fields):
    cert(label, subject, key, subject, key, True, exts, **fields)


# Leaf | anchors | issuers | the way that holds, or the reason why none does | what else is asked. Every purpose
# will do but in the rows "server"; in "undated" the dates of anchors do not count.
QUESTIONS = """
leaf | root | ca | leaf ca root
leaf |  | ca | noAnchors
leaf | second | ca root | notTrusted
# Name and key of the anchor in other octets, which would not bind or would be valid.
leaf | rootTwin | ca root | leaf ca rootTwin
leaf | rootExpired | ca root | expired
leaf | rootExpired root | ca | leaf ca root
leaf | rootExpired | ca root | leaf ca rootExpired | undated
leaf | rootLength0 | ca root | pathTooLong
leafOfRoot | rootLength0 | ca root | leafOfRoot rootLength0
leaf | rootLength1 | ca | leaf ca rootLength1
leaf | rootOrg | ca root | nameNotPermitted
leaf | rootCom | ca | leaf ca rootCom
leaf | rootClient | ca root | wrongPurpose | server
leaf | rootServer | ca | leaf ca rootServer | server
leaf | rootCritical | ca root | unknownCriticalExtension
leaf | rootUncritical | ca | leaf ca rootUncritical
# Its name with another key.
leaf | rootOtherKey | ca root | wrongSignature
leaf | rootOtherKey root | ca | leaf ca root
# What proves nothing about an anchor, and much about an issuer.
leaf | rootSpoilt | ca | leaf ca rootSpoilt
leaf | root | caSpoilt | wrongSignature
leaf | rootSha1 | ca | leaf ca rootSha1
leaf | root | caSha1 | weakHash
leaf | rootVersion1 | ca | leaf ca rootVersion1
leaf | root | caVersion1 | notACa
# Of version 3 an anchor has to say that it is a CA and may sign.
leaf | rootNoCa | ca root | notACa
leaf | rootNoBasic | ca root | notACa
leaf | rootMayNotSign | ca root | mayNotSign
# A leaf that is trusted itself is no CA, and no other octets are it.
leaf | leaf |  | leaf
leafTwin | leaf |  | noIssuer
# A loop's issuer is there, though he leads nowhere.
leaf | second | caOfLeaf | notTrusted
leaf | second | caOfNobody | noIssuer
leafOfLeaf | leaf |  | notACa
pinned | pinned |  | pinned
leafOfPinned | pinned | pinnedCa | notACa
leafOfPinned | pinnedCa |  | leafOfPinned pinnedCa
leafNotServer | leafNotServer |  | wrongPurpose | server
leafExpired | leafExpired |  | expired
leafExpired | leafExpired |  | leafExpired | undated
# It need not be self-issued.
leaf | ca | caTwin root | leaf ca
# An issuer's certificates that lead elsewhere do no harm.
leaf | second | ca caSpoilt caOfSecond root | leaf caOfSecond second
leaf | root | caWarned | leaf caWarned root
"""

DEAD = [time(AT - 900 * DAY), time(AT - DAY)]
LEAF = "www.example.com"

cert("leaf", LEAF, 9, "CA", 1, False)
cert("leafTwin", LEAF, 9, "CA", 1, False)
cert("leafNotServer", LEAF, 9, "CA", 1, False, [(EKU, uses("client"))])
cert("leafExpired", LEAF, 9, "CA", 1, False, dates=DEAD)
cert("leafOfRoot", LEAF, 9, "Root", 0, False)
cert("leafOfLeaf", "below", 8, LEAF, 9, False)
cert("leafOfPinned", "below", 8, "Pinned", 7, False)
cert("pinned", "Pinned", 7, "Pinned", 7, False)
cert("pinnedCa", "Pinned", 7, "Pinned", 7)
cert("ca", "CA", 1, "Root", 0)
cert("caTwin", "CA", 1, "Root", 0)
cert("caSpoilt", "CA", 1, "Root", 0, spoil=1)
cert("caSha1", "CA", 1, "Root", 0, sha1=True)
cert("caOfSecond", "CA", 1, "Second", 3)
cert("caWarned", "CA", 1, "Root", 0, serial=integer(0), dates=[time(AT - DAY), time(AT + 365 * DAY)])  # tried first
cert("caVersion1", "CA", 1, "Root", 0, version=0, drop=(AKI, BC, KU, SKI))

root("root")
root("rootTwin")
root("rootExpired", dates=DEAD)
root("rootOtherKey", key=2)
root("second", key=3, subject="Second")
root("rootSpoilt", spoil=1)
root("rootSha1", sha1=True)
root("rootVersion1", version=0, drop=(BC, KU, SKI))
root("rootLength0", (BC, seq(b"\1\1\xff", integer(0)), True))
root("rootLength1", (BC, seq(b"\1\1\xff", integer(1)), True))
root("rootCom", (NC, subtrees([("dns", "example.com")]), True))
root("rootOrg", (NC, subtrees([("dns", "example.org")]), True))
root("rootServer", (EKU, uses("server")))
root("rootClient", (EKU, uses("client")))
root("rootCritical", (UNKNOWN, b"\5\0", True))
root("rootUncritical", (UNKNOWN, b"\5\0", False))
root("rootNoCa", (BC, seq(), True))
root("rootNoBasic", drop=(BC,))
root("rootMayNotSign", (KU, key_usage(6), True))
cert("caOfLeaf", "CA", 1, LEAF, 9)
cert("caOfNobody", "CA", 1, "Nobody", 9)

cert("caMapping", "CA", 1, "Root", 0, exts=[(CP, policies(P1)), (PM, seq(seq(oid(P1), oid(P2))), True)])
cert("leafMapped", LEAF, 9, "CA", 1, False, [(CP, policies(P2))])

cert("middle", "Middle", 5, "CA", 1)
cert("lower", "Lower", 4, "Middle", 5)
cert("leafOfLower", LEAF, 9, "Lower", 4, False)

# Others of the root's name, who may have signed its CRLs.
cert("rootOfNobody", "Root", 2, "Nobody", 2)
cert("rootOfRoot", "Root", 2, "Root", 0)


def crl(label, issuer, key, *revoked, dates=(AT - DAY, AT + DAY)):
    out = Crl(name(issuer), ec_key(key), entries=[(made[each].serial, []) for each in revoked],
              dates=[time(each) for each in dates])
    out.ext(NUMBER, integer(1))
    out.ext(AKI, seq(tlv(0x80, key_id(ec_key(key)))))
    made[label] = out


crl("crlOfCa", "CA", 1)
crl("crlOfRoot", "Root", 0)
crl("crlRevoked", "CA", 1, "leaf")
crl("crlRevokedCa", "Root", 0, "ca")

with open(HERE / "paths.txt", "w", encoding="ascii") as out:
    out.write("# Made by make_paths.py.\n")
    for label, each in made.items():
        out.write(f"\n{'CRL' if isinstance(each, Crl) else 'Certificate'} = {label}\nDER = {each.der().hex()}\n")
    for row in QUESTIONS.strip().splitlines():
        if not row.startswith("#"):
            leaf, anchors, issuers, answer, *more = row.split(" | ")
            out.write(f"\nLeaf = {leaf}\nAnchors = {anchors}\nIssuers = {issuers}\nAnswer = {answer}\n")
            out.writelines(f"{each.capitalize()} = yes\n" for each in more)

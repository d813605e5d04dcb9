"""What one rule is about, each in a row that makes it hold or breaks it: (name, where, reasons, set-up).
Where: L the leaf, C a CA that is no anchor, N either, X either below a CA, U an issuer with CAs below it, I any
issuer, R the anchor. Reasons: one of them refuses a broken way that has no other; empty: it holds all the same. The
set-up gets the case, the certificate and whether to break the rule."""
from pki import *

ROWS = []
JUNK = seq(b"\2\3\1")  # says more than it has


def row(title, where, reasons, set_up):
    ROWS.append((title, where, set(reasons.split()), set_up))


def put(title, where, reasons, **members):
    """Members of a certificate: those of a good one, and of a broken one."""
    def set_up(case, cert, bad):
        for member, pair in members.items():
            setattr(cert, member, pair[bad])
    row(title, where, reasons, set_up)


def ext(title, where, reasons, which, good, bad, critical=(False, False), **options):
    def set_up(case, cert, broken):
        case.option(**options)
        cert.ext(which, bad if broken else good, critical[broken])
    row(title, where, reasons, set_up)


def leaf_names(title, reasons, good, bad, **options):
    ext(title, "L", reasons, SAN, names(*good), names(*bad), **options)


def edit(part, change):
    """Spoils a part of what is signed, counted from its end where it is negative."""
    def change_parts(parts):
        return [change(each) if index == part % len(parts) else each for index, each in enumerate(parts)]
    return (None, change_parts)


LONG, EARLY, LATE = 900 * DAY, time(AT - DAY), time(AT + DAY)

# ---- Dates: §4.1.2.5 and §6.1.3 (a)(2)
put("not yet valid", "N", "notYetValid", dates=([time(AT), LATE], [time(AT + 1), LATE]))
put("expired", "N", "expired", dates=([EARLY, time(AT)], [EARLY, time(AT - 1)]))
put("anchor not yet valid", "R", "notYetValid", dates=([time(AT), LATE], [time(AT + 1), LATE]))
put("anchor expired", "R", "expired", dates=([EARLY, time(AT)], [EARLY, time(AT - 1)]))
put("validity backwards", "N", "validityBackwards", dates=([time(AT), time(AT)], [LATE, EARLY]))
put("month 13", "N", "dateMalformed", dates=([EARLY, LATE], [tlv(0x17, b"251301000000Z"), LATE]))
put("date of letters", "N", "dateMalformed", dates=([EARLY, LATE], [EARLY, tlv(0x17, b"x")]))
put("anchor month 13", "R", "dateMalformed", dates=([EARLY, LATE], [EARLY, tlv(0x17, b"261301000000Z")]))
for title, late in (("seconds", tlv(0x17, b"2608010000Z")), ("Z", tlv(0x18, b"20260801000000")),
                    ("UTC", tlv(0x17, b"260801000000+1400")), ("whole seconds", tlv(0x18, b"20260801000000.5Z"))):
    put(f"date without {title}", "N", "dateNotDer", dates=([EARLY, LATE], [EARLY, late]))
    put(f"anchor date without {title}", "R", "dateNotDer", dates=([EARLY, LATE], [EARLY, late]))
put("GeneralizedTime early", "N", "", dates=([EARLY, LATE], [time(AT - DAY, 0x18), time(AT + DAY, 0x18)]))

# ---- CAs: §4.2.1.3, §4.2.1.9, §6.1.4 (k) to (n)
CA_TRUE = seq(TRUE)
ext("no basicConstraints", "C", "notACa", BC, CA_TRUE, None, (True, True))
ext("anchor no CA", "R", "notACa", BC, CA_TRUE, seq(), (True, True))
ext("cA false", "C", "notACa", BC, CA_TRUE, seq(), (True, True))
ext("cA 01", "C", "booleanNotDer", BC, CA_TRUE, seq(b"\1\1\1"), (True, True))
ext("cA two octets", "C", "extensionMalformed", BC, CA_TRUE, seq(b"\1\2\xff\xff"), (True, True))
ext("cA false is written", "L", "", BC, seq(), seq(b"\1\1\0"))
ext("no keyCertSign", "C", "mayNotSign", KU, key_usage(5), key_usage(6), (True, True))
ext("anchor without keyCertSign", "R", "mayNotSign", KU, key_usage(5), key_usage(6), (True, True))
ext("unused bits set", "N", "unusedBitsSet", KU, bits(b"\x84", 2), bits(b"\x87", 2), (True, True))
ext("trailing zero bits", "C", "", KU, bits(b"\x84", 2), bits(b"\x84", 0), (True, True))
ext("no keyUsage", "C", "", KU, key_usage(5), None, (True, True))


def path_length(case, cert, bad):
    at = case.way.index(cert)
    below = sum(each.subject != each.issuer for each in case.way[1:at])
    cert.ext(BC, seq(TRUE, integer(below - bad)), True)


row("path length", "U", "pathTooLong", path_length)

# ---- Extensions as such: §4.2
ext("unknown critical", "N", "unknownCriticalExtension", "1.2.3.4", b"\5\0", b"\5\0", (False, True))
ext("anchor unknown critical", "R", "unknownCriticalExtension", "1.2.3.4", b"\5\0", b"\5\0", (False, True))
ext("poison", "N", "unknownCriticalExtension", POISON, b"\5\0", b"\5\0", (False, True))


def beside(title, reasons, *raw):
    row(title, "N", reasons, lambda c, x, bad: bad and x.exts.extend(raw))


beside("repeated", "extensionRepeated", *[("1.2.3.4", False, b"\5\0")] * 2)
beside("repeated keyUsage", "extensionRepeated", *[(KU, False, key_usage(5))] * 2)
beside("extension without value", "extensionListMalformed", seq(oid("1.2.3.4")))
beside("critical 01", "booleanNotDer", seq(oid("1.2.3.4"), b"\1\1\1", tlv(4)))
beside("critical false is written", "", seq(oid("1.2.3.4"), b"\1\1\0", tlv(4)))
for each in "CLR":
    ext(f"critical qualifier of {each}", each, "criticalNotProcessed", CP, *[seq(seq(oid(P1), seq(seq(oid(
        qualifier), tlv(0x16, b"a"))))) for qualifier in ("1.3.6.1.5.5.7.2.1", "1.2.3.4")], (True, True))
put("empty list", "N", "extensionListMalformed", edit=edit(-1, lambda _: tlv(0xA3, seq())))
for which in (AIA, SIA):
    access = seq(seq(oid("1.3.6.1.5.5.7.48.2"), general("uri", "http://a.example/")))
    ext(f"critical access {which}", "N", "criticalNotProcessed", which, access, access, (False, True))
ext("critical issuerAltName", "N", "criticalNotProcessed", IAN, names(("dns", "a.b")), names(("dns", "a.b")),
    (False, True))
ext("critical freshestCRL", "N", "criticalNotProcessed", FRESH, points("http://a/"), points("http://a/"), (False, True))
ext("critical points", "N", "criticalNotProcessed", CDP, points("http://a/"), points("http://a/"), (False, True))
DECIDES = {"basicConstraints": BC, "keyUsage": KU, "extKeyUsage": EKU, "nameConstraints": NC, "policies": CP,
           "policyMappings": PM, "policyConstraints": PC, "inhibitAnyPolicy": IAP}
SHOWN = {"subjectAltName": SAN, "points": CDP, "subjectKeyId": SKI, "authorityKeyId": AKI, "infoAccess": AIA,
         "subjectAccess": SIA, "issuerAltName": IAN, "freshestCRL": FRESH, "feature": FEATURE, "noRevAvail": NOREV,
         "ocspNoCheck": NOCHECK}
for title, which in (DECIDES | SHOWN).items():
    for critical in (False, True):
        reasons = "extensionMalformed" if critical or title in DECIDES else ""
        def unreadable(case, cert, bad, which=which, critical=critical):
            if bad:
                cert.ext(which, JUNK, critical)
        row(f"unreadable {title}" + " critical" * critical, "N", reasons, unreadable)
        if critical:
            row(f"anchor's unreadable {title}", "R", reasons, unreadable)

# ---- Fields and signatures: §4.1
put("version 4", "N", "versionUnknown", version=(2, 3))
put("version 1 with extensions", "N", "extensionsInOldVersion", version=(2, 0))
put("version 2 with extensions", "N", "extensionsInOldVersion", version=(2, 1))
put("old CA", "C", "notACa", version=(2, 0), edit=edit(-1, lambda _: b""))
row("old leaf", "L", "", lambda c, x, bad: bad and (setattr(x, "version", 0), setattr(x, "exts", [])))
for version in (0, 1, 3):
    put(f"anchor of version {version + 1} that is no CA", "R", "notACa", version=(version, version), exts=(
        [(BC, True, CA_TRUE)], [(BC, True, seq())]))
row("anchor of version 0", "R", "notACa", lambda c, x, bad: (setattr(x, "version", -bad), setattr(x, "exts", [])))
row("old anchor", "R", "", lambda c, x, bad: bad and (setattr(x, "version", 0), setattr(x, "exts", [])))
for title, serial in (("zero", b"\2\1\0"), ("negative", b"\2\1\x80"), ("long", integer(1 << 168))):
    put(f"serial {title}", "N", "", serial=(integer(1 << 158), serial))
put("serial padded", "N", "integerPadded", serial=(integer(1 << 150), b"\2\2\0\1"))
ECDSA = "1.2.840.10045.4.3.2"
put("algorithms differ", "N", "signatureAlgorithmsDiffer", algorithms=((None, None), (None, seq(oid(ECDSA), b"\5\0"))))
put("parameters", "N", "signatureParameters", algorithms=((None, None), (seq(oid(ECDSA), b"\5\0"),) * 2))
put("unknown algorithm", "N", "signatureNotChecked", algorithms=((None, None), (seq(oid("1.2.3.4")),) * 2))
put("other algorithm", "N", "keyDoesNotFit",
    algorithms=((None, None), (seq(oid("1.2.840.113549.1.1.11"), b"\5\0"),) * 2))
put("SHA-1", "N", "weakHash", sha1=(False, True))
row("SHA-1 allowed", "N", "", lambda c, x, bad: (setattr(x, "sha1", True), c.option(allow_sha1=True)))
put("anchor SHA-1", "R", "", sha1=(False, True))
put("signature spoiled", "N", "wrongSignature signatureRefused", spoil=(0, 1))
put("anchor signature spoiled", "R", "", spoil=(0, 1))
row("signature of another", "N", "wrongSignature", lambda c, x, bad: bad and setattr(x, "signer", ec_key(99)))
put("signature of 7 bits", "N", "signatureNotOctets", unused=(0, 1))
for title, part in (("serial", 1), ("validity", -4), ("subject", -3), ("extensions", -1)):
    put(f"long form {title}", "N", "lengthNotShortest", edit=edit(part, long_form))
put("long form outside", "N", "lengthNotShortest", whole=(None, long_form))
put("trailing octet", "L", "malformed", whole=(None, lambda der: der + b"\0"))
row("weak key", "N", "weakKey", lambda c, x, bad: rekey(c, x, rsa_key(2040 if bad else 2048)))
row("weak anchor", "R", "weakKey", lambda c, x, bad: rekey(c, x, rsa_key(2040 if bad else 2048)))
row("2,056 bits", "L", "", lambda c, x, bad: rekey(c, x, rsa_key(2056 if bad else 2048)))


class SpkiOnly:
    def __init__(self, spki):
        self.spki = spki


def ec_spki(curve, point):
    return seq(seq(oid("1.2.840.10045.2.1"), oid(curve)), bits(point))


def rsa_spki(modulus, exponent, null=b"\5\0"):
    return seq(seq(oid("1.2.840.113549.1.1.1"), null), bits(seq(integer(modulus), integer(exponent))))


def dsa_spki(*parameters):
    p, y = 0xB << 2044 | 0x55, integer(3 << 2040)
    numbers = [seq(integer(p), integer(0xB << 252 | 1), integer(parameters[0]))] if parameters else []
    return seq(seq(oid("1.2.840.10040.4.1"), *numbers), bits(y))


P256, P192, ED25519 = "1.2.840.10045.3.1.7", "1.2.840.10045.3.1.1", seq(oid("1.3.101.112"))
G192 = bytes.fromhex("188da80eb03090f67cbf20eb43a18800f4ff0afd82ff1012")  # x of its base point
G224 = bytes.fromhex("b70e0cbd6bb4bf7f321390b94a03c1d356c21122343280d6115c1d21")
N2048 = rsa_key(2048).n
for title, reasons, good, broken in (
        ("form of the point", "keyMalformed", ec_key(95).spki, ec_spki(P256, b"\5" + ec_key(95).spki[-64:])),
        ("point off the curve", "keyMalformed", ec_key(95).spki, ec_spki(P256, ec_key(95).spki[-65:-1] + b"\0")),
        ("P-192", "weakKey", ec_spki("1.3.132.0.33", b"\2" + G224), ec_spki(P192, b"\3" + G192)),
        ("curve nobody knows", "keyNotKnown", ec_key(95).spki, ec_spki("1.2.3.4", ec_key(95).spki[-65:])),
        ("Ed25519 of small order", "keyMalformed", seq(ED25519, bits(b"\x58" + b"\x66" * 31)), seq(ED25519, bits(bytes(32)))),
        ("exponent 1", "keyMalformed", rsa_spki(N2048, 3), rsa_spki(N2048, 1)),
        ("even modulus", "keyMalformed", rsa_spki(N2048, 3), rsa_spki(N2048 + 1, 3)),
        ("DSA generator 1", "keyMalformed", dsa_spki(2), dsa_spki(1)),
        ("DSA parameters of the issuer", "keyMalformed", dsa_spki(2), dsa_spki())):
    row(f"leaf key {title}", "L", reasons, lambda c, x, bad, pair=(good, broken): setattr(x, "key", SpkiOnly(pair[bad])))
row("trusted leaf's key", "L", "keyMalformed", lambda c, x, bad: (c.anchors.append(x), setattr(
    x, "key", SpkiOnly(rsa_spki(N2048, 1 if bad else 3)))))
row("trusted leaf's key in DER", "L", "keyMalformed", lambda c, x, bad: (c.anchors.append(x), setattr(
    x, "key", SpkiOnly(rsa_spki(N2048, 3, b"\5\1\0" if bad else b"\5\0")))))


def rekey(case, cert, key):
    for each in [*case.way, *case.others, *case.crls]:
        if each.signer is cert.key:
            each.signer = key
    cert.key = key


def rename(case, cert, bad):
    """The issuer's name in another spelling: §7.1."""
    rest = case.way[case.way.index(cert) + 1].subject[2:]
    rest = rest[2 + rest[1]:]
    cert.issuer = seq(rdn("2.5.4.10", *(("Example", 0x14) if bad else (" eXample", 0x13))), rest)


row("name spelled otherwise", "N", "noIssuer notTrusted", rename)


# ---- Names: §4.2.1.10
LEAF = [("dns", "www.example.com"), ("ip", b"\xc0\0\2\7")]
MAIL, SITE = ("email", "user@mail.example.com"), ("uri", "https://host.example.com:8443/a?b")
BOX = ("mailbox", "user@mail.example.com")
NAME = name("www.example.com")
V6 = bytes.fromhex("20010db8000000000000000000000001")


def constrain(title, held, inside, outside, also=(), where="I"):
    """A name of the leaf under a constraint that covers it and one that does not, either way round."""
    def set_up(case, cert, bad, excluded):
        cover = outside if bad != excluded else inside
        value = subtrees(excluded=[cover]) if excluded else subtrees([cover])
        cert.ext(NC, value, bool(case.rng.getrandbits(1)) or case.options.get("profile") == "rfc5280")
        if held:
            case.way[0].ext(SAN, names(held), held[0] == "dir")
        for each in also:
            each(case)
    row(f"permitted {title}", where, "nameNotPermitted", lambda c, x, bad: set_up(c, x, bad, False))
    row(f"excluded {title}", where, "nameExcluded", lambda c, x, bad: set_up(c, x, bad, True))


DNS = ("dns", "www.example.com")
for title, held, inside, outside in (
        ("host", DNS, ("dns", "example.com"), ("dns", "ample.com")),
        ("host itself", DNS, ("dns", "WWW.example.com"), ("dns", "a.www.example.com")),
        ("host everything", DNS, ("dns", ""), ("dns", "com.example")),
        ("subdomains", DNS, ("dns", ".example.com"), ("dns", ".ww.example.com")),
        ("wildcard", ("dns", "*.shop.example.com"), ("dns", "shop.example.com"), ("dns", "x.a.example.com")),
        ("mailbox", MAIL, ("email", "user@MAIL.example.com"), ("email", "User@mail.example.com")),
        ("mail host", MAIL, ("email", "mail.example.com"), ("email", "example.com")),
        ("mail domain", MAIL, ("email", ".example.com"), ("email", ".ample.com")),
        ("smtp mailbox", BOX, ("email", "mail.example.com"), ("email", "example.com")),
        ("site host", SITE, ("uri", "host.example.com"), ("uri", "example.com")),
        ("site domain", SITE, ("uri", ".example.com"), ("uri", ".host.example.com")),
        ("address", ("ip", b"\xc0\0\2\7"), ("ip", b"\xc0\0\2\0\xff\xff\xff\0"), ("ip", b"\xc0\0\3\0\xff\xff\xff\0")),
        ("every address", ("ip", b"\xc0\0\2\7"), ("ip", bytes(8)), ("ip", b"\x80" + bytes(3) + b"\xc0" + bytes(3))),
        ("IPv6", ("ip", V6), ("ip", V6[:8] + bytes(8) + b"\xff" * 8 + bytes(8)), ("ip", bytes(16) + b"\xff" * 16)),
        ("other directory", ("dir", name("x")), ("dir", seq(rdn("2.5.4.10", "EXAMPLE", 0x13))),
         ("dir", seq(rdn("2.5.4.10", "Exam")))),
        ("subject", None, ("dir", seq(rdn("2.5.4.10", "example  "))), ("dir", name("x", "Else")))):
    constrain(title, held, inside, outside)


def under(title, reasons, held, good, bad, **subject):
    """A name of the leaf under two lists of constraints."""
    def set_up(case, cert, broken):
        cert.ext(NC, bad if broken else good, True)
        case.way[0].ext(SAN, names(*held))
        for member, value in subject.items():
            setattr(case.way[0], member, value)
    row(title, "I", reasons, set_up)


MAIL_SUBJECT = seq(rdn("2.5.4.10", "Example"), rdn(EMAIL, "user@example.com", 0x16))
REGISTERED = [*LEAF, ("id", "1.2.3.4")]
under("mail in the subject", "nameNotPermitted", LEAF, subtrees([("email", "example.com")]),
      subtrees([("email", "example.org")]), subject=MAIL_SUBJECT)
under("form nobody judges", "nameNotJudged nameNotPermitted", REGISTERED, subtrees([("dns", "")]),
      subtrees([("id", "1.2.3.4")]))
under("excluded form nobody judges", "nameNotJudged nameExcluded", REGISTERED, subtrees(excluded=[("dns", "a")]),
      subtrees(excluded=[("id", "1.2.3.5")]))
under("minimum", "extensionMalformed", LEAF, subtrees([("dns", "")]), subtrees([("dns", "")], after=tlv(0x80, b"\1")))
under("maximum", "extensionMalformed", LEAF, subtrees([("dns", "")]), subtrees([("dns", "")], after=tlv(0x81, b"\1")))
under("mask with gaps", "nameNotJudged generalNameMalformed extensionMalformed", LEAF, subtrees([("ip", bytes(8))]),
      subtrees([("ip", b"\xc0\0\2\0\xff\0\xff\0")]))
under("site without host", "nameNotJudged", [*LEAF, ("uri", "urn:a:b")], subtrees(excluded=[("dns", "a")]),
      subtrees(excluded=[("uri", "a.example")]))
under("site with address", "nameNotJudged", [*LEAF, ("uri", "http://192.0.2.1/")], subtrees(excluded=[("dns", "a")]),
      subtrees(excluded=[("uri", "a.example")]))
under("address of five octets", "nameNotJudged generalNameMalformed", [*LEAF, ("ip", bytes(5))], subtrees([("dns", "")]),
      subtrees([("dns", ""), ("ip", bytes(8))]))
under("wildcard expands out", "nameExcluded", [("dns", "*.example.com")], subtrees(excluded=[("dns", "a.b.example.com")]),
      subtrees(excluded=[("dns", "a.example.com")]))
under("empty mail", "", LEAF, subtrees([("dns", "example.com"), ("ip", bytes(8))]), subtrees([("email", "x.example")]))
under("other family", "nameNotPermitted", [("ip", V6)], subtrees([("ip", bytes(8)), ("ip", bytes(32))]),
      subtrees([("ip", bytes(8))]))


def own_names(case, cert, bad):
    """A CA that gives itself a new key may be called what it may call no other."""
    at = max(1, len(case.way) - 2)
    case.self_issued()
    case.way[at].ext(SAN, names(("email", "a@else.example")))
    case.way[at + 1].ext(NC, subtrees([("email", "example.com")]), True)
    if bad:
        case.way[at].subject = case.way[at - 1].issuer = name("Else")


row("names of a self-issued CA", "I", "nameNotPermitted", own_names)


# ---- Policies: §6.1
def policy(title, reasons, set_up, where="N"):
    def both(case, cert, bad):
        case.option(policy=[P1])
        case.all_policies(P1)
        set_up(case, cert, bad)
    row(title, where, reasons, both)


def mapped(case, cert, frm, to):
    cert.ext(PM, seq(seq(oid(frm), oid(to))), True)
    for each in case.way[:case.way.index(cert)]:
        each.ext(CP, policies(to))


def constraint(explicit=None, mapping=None):
    return seq(*(tlv(tag, bytes([n])) for tag, n in ((0x80, explicit), (0x81, mapping)) if n is not None))


policy("policy", "noPolicy", lambda c, x, bad: x.ext(CP, policies(P2 if bad else P1, P3)))
policy("no policies", "noPolicy", lambda c, x, bad: bad and x.ext(CP))
policy("any policy", "noPolicy", lambda c, x, bad: (x.ext(CP, policies(ANY_POLICY)), c.option(inhibit_any=bad)))
policy("inhibitAnyPolicy", "noPolicy", lambda c, x, bad: (c.way[0].ext(CP, policies(ANY_POLICY)), x.ext(
    IAP, integer(0 if bad else 9), True)), "C")
policy("mapping", "noPolicy", lambda c, x, bad: mapped(c, x, P1, P2) or bad and c.way[0].ext(CP, policies(P1)), "C")
policy("mapping inhibited", "noPolicy", lambda c, x, bad: (mapped(c, x, P1, P2), c.option(inhibit_mapping=bad)), "C")
policy("mapping inhibited above", "noPolicy", lambda c, x, bad: (mapped(c, c.way[1], P1, P2), c.way[-2].ext(
    PC, constraint(9, 0 if bad else 9), True)), "U")
policy("mapping of any", "noPolicy anyPolicyMapped", lambda c, x, bad: mapped(c, x, ANY_POLICY if bad else P1, P2), "C")
policy("any policy mapped on", "noPolicy", lambda c, x, bad: (mapped(c, x, P1, P2), x.ext(CP, policies(
    ANY_POLICY)), c.option(policy=[P2 if bad else P1])), "C")
row("explicit policy", "N", "noPolicy", lambda c, x, bad: (c.option(explicit_policy=True), c.all_policies(
    ANY_POLICY), bad and x.ext(CP)))
row("requireExplicitPolicy", "C", "noPolicy", lambda c, x, bad: (c.all_policies(P2), x.ext(PC, constraint(
    0), True), bad and c.way[0].ext(CP)))
row("requireExplicitPolicy of the leaf", "L", "noPolicy", lambda c, x, bad: x.ext(PC, constraint(0 if bad else 1), True))
row("policies without request", "N", "", lambda c, x, bad: bad and x.ext(CP, policies(P3)))
row("policies of the anchor", "R", "", lambda c, x, bad: (c.option(policy=[P1]), c.all_policies(P1), bad and x.ext(
    CP, policies(P3))))

# ---- Purposes and hosts: §4.2.1.12, RFC 9525, RFC 3161
for purpose, good, bad in (("server", ("client", "server"), ("client",)), ("client", ("any",), ("server",)),
                           ("code", ("code",), ("any",)), ("email", ("email",), ("code",)),
                           ("time", ("time",), ("time", "server")), ("ocsp", ("ocsp",), ("any", "server"))):
    pair = uses(*good), uses(*bad)
    ext(f"leaf for {purpose}", "L", "wrongPurpose", EKU, *pair, (purpose == "time",) * 2, purpose=purpose)
    if purpose not in ("time", "ocsp"):
        row(f"issuer for {purpose}", "I", "wrongPurpose", lambda c, x, bad, good=good, pair=pair, purpose=purpose: (
            c.option(purpose=purpose), c.way[0].ext(EKU, uses(*good)), x.ext(EKU, pair[0] if not bad else uses("time"))))
ext("time not critical", "L", "wrongPurpose", EKU, uses("time"), uses("time"), (True, False), purpose="time")
ext("said by nobody", "L", "wrongPurpose", EKU, uses("code"), None, purpose="code")
ext("server unsaid", "L", "", EKU, uses("server"), None, purpose="server")
row("issuer of OCSP signers", "I", "", lambda c, x, bad: (c.option(purpose="ocsp"), c.way[0].ext(
    EKU, uses("ocsp")), x.ext(EKU, uses("server") if bad else uses("any"))))
for purpose, good, bad in (("server", 0, 5), ("server", 4, 2), ("client", 4, 1), ("email", 1, 3)):
    row(f"{purpose} may {good} and not {bad}", "L", "wrongKeyUsage", lambda c, x, b, p=purpose, u=(good, bad): (
        c.option(purpose=p), x.ext(EKU, uses(p)), x.ext(KU, key_usage(u[b]), True)))
for title, held, good, bad in (
        ("host", "dns", "WWW.Example.com.", "example.com"), ("wildcard", "dns", "a.shop.example.com", "a.b.shop.example.com"),
        ("wildcard itself", "dns", "x.shop.example.com", "shop.example.com"), ("ip", "ip", "192.0.2.7", "192.0.2.8"),
        ("mapped address", "ip", "192.0.2.7", "::ffff:192.0.2.7"), ("email", "email", "user@MAIL.example.com", "User@mail.example.com")):
    row(f"target {title}", "L", "wrongHost", lambda c, x, b, k="host" if held == "dns" else held, t=(good, bad): (
        k == "email" and x.ext(SAN, names(MAIL)), c.option(**{"purpose": "server" if k == "host" else "any", k: t[b]})))
for title, good, bad in (("common name alone", [DNS], [("ip", b"\xc0\0\2\7")]), ("partial wildcard", [DNS], [("dns", "w*.example.com")]),
                         ("wide wildcard", [("dns", "*.example.com")], [("dns", "*.com")]),
                         ("trailing dot", [DNS], [("dns", "www.example.com.")])):
    leaf_names(title, "wrongHost", good, bad, purpose="server", host="www.example.com")
for kind in (CN, SAN, AIA):  # an attribute may have an extension's OID
    put(f"text of {kind}", "L", "nameTextMalformed", subject=(seq(rdn(kind, "x")), seq(rdn(kind, b"\xff"))))
for title, reasons, which, options in (("where a host is", "nameTextMalformed", SAN, {"purpose": "server", "host": "www.example.com"}),
                                       ("nobody asks", "", SAN, {}), ("nobody reads", "", IAN, {})):
    ext(f"text in names {title}", "L", reasons, which, *[names(DNS, ("dir", seq(rdn(CN, text)))) for text in ("x", b"\xff")], **options)
for trusted in (False, True):
    row("malformed name beside the host" + ", trusted" * trusted, "L", "extensionMalformed", lambda c, x, bad, trusted=trusted: (
        c.option(purpose="server", host="www.example.com"), x.ext(SAN, names(DNS, ("ip", bytes(5 if bad else 4)))),
        trusted and c.anchors.append(x)))
ext("unreadable names for a host", "L", "extensionMalformed", SAN, names(DNS), JUNK, purpose="server", host="www.example.com")


# ---- Revocation: §5, §6.3
def crl(title, reasons, change, scope="leaf", where="N"):
    """`change` gets the case, the certificate, the CRL of its issuer and whether to break."""
    def set_up(case, cert, bad):
        case.option(require_crl="all" if case.way.index(cert) else scope)
        made = {}
        for each, issuer in zip(case.way, case.way[1:]):
            if issuer.key not in made:
                made[issuer.key] = case.crl(issuer)
        change(case, cert, made[case.way[case.way.index(cert) + 1].key], bad)
    row(title, where, reasons, set_up)


def dated(*seconds):
    return [time(each) for each in seconds]


def member(attribute, good, bad):
    return lambda c, x, crl, b: setattr(crl, attribute, bad if b else good)


def point(*parts):
    return lambda c, x, crl, b: crl.ext(IDP, seq(*(part[b] for part in parts)), True)


def same_points(case, cert):
    """What the issuer's other certificates need, as the first CRL is of one point now."""
    key, issuer = cert.signer, case.way[case.way.index(cert) + 1]
    for each in case.way[:-1]:
        if each is not cert and each.signer is key:
            each.ext(CDP, cert.get(CDP))


UNKNOWN = "revocationUnknown"
FLAG = b"\xff"
crl("removed", UNKNOWN, lambda c, x, crl, b: b and crl.entries.append((x.serial, [(REASON, False, tlv(10, b"\x08"))])))


def other_signer(case, cert, crl, bad):
    """The CRL about a certificate is signed with another key of its issuer, which was revoked or was not."""
    issuer, above = case.way[case.way.index(cert) + 1:][:2]
    other = case.new(issuer.subject, ec_key(66), above.subject, above.key, False)
    other.exts = [(KU, True, key_usage(6))]
    case.others.append(other)
    crl.signer = other.key
    if bad:
        next(each for each in case.crls if each.signer is above.key).entries.append((other.serial, []))


def other_revoker(case, cert, crl, bad):
    """Who revokes the signer of the CRL about a certificate is another key of the name above."""
    other_signer(case, cert, crl, False)
    above, top = [*case.way[case.way.index(cert) + 2:], case.way[-1]][:2]
    other = case.new(above.subject, ec_key(67), top.subject, top.key, False)
    other.exts = [(KU, True, key_usage(6))]
    case.others.append(other)
    case.crl(other, case.others[-2].serial if bad else integer(3), dates=dated(AT - DAY // 2, AT + DAY))


def revoked_revoker(case, cert, crl, bad):
    """Who revokes the signer of the newest CRL, which lists the certificate, may be revoked itself: an older one lists nothing."""
    other_revoker(case, cert, crl, True)
    crl.entries.append((cert.serial if bad else integer(3), []))
    other, revoker = case.others[-2:]
    issuer = case.way[case.way.index(cert) + 1]
    next(each for each in case.crls if each.signer is revoker.signer).entries.append((revoker.serial, []))
    case.crl(issuer, dates=dated(AT - 2 * DAY, AT + DAY))


def twin_above(case, cert, crl, bad):
    """A way is tried before on which the CA above is one that may not sign CRLs, and so lets no other signer stand."""
    other_signer(case, cert, crl, False)
    if bad:
        above = case.way[case.way.index(cert) + 2]
        twin = case.twin(above, dates=[EARLY, LATE])
        twin.ext(KU, key_usage(5), True)
        (case.anchors if above in case.anchors else case.others).append(twin)


crl("twin above may not sign CRLs", "", twin_above, "all", "X")
crl("signer of the CRL revoked", UNKNOWN, other_signer, "all", "X")
crl("signer of the CRL revoked by another key", UNKNOWN, other_revoker, "all", "X")
crl("signer of the CRL revoked by who is revoked", UNKNOWN, revoked_revoker, "all", "X")
crl("revoked", "revoked", lambda c, x, crl, b: crl.entries.append((x.serial if b else integer(3), [])))
crl("on hold", "revoked", lambda c, x, crl, b: crl.entries.append((x.serial if b else integer(3), [
    (REASON, False, tlv(10, b"\6"))])))
crl("CRL stale", UNKNOWN, member("dates", dated(AT - DAY, AT), dated(AT - DAY, AT - 1)))
crl("CRL early", UNKNOWN, member("dates", dated(AT, AT + DAY), dated(AT + 1, AT + DAY)))
crl("CRL without end", UNKNOWN, member("dates", dated(AT - DAY, AT), dated(AT - DAY)))
crl("CRL spoiled", UNKNOWN, member("spoil", 0, 1))
crl("CRL SHA-1", UNKNOWN, member("sha1", False, True))
crl("CRL of another", UNKNOWN, lambda c, x, crl, b: b and setattr(crl, "signer", ec_key(98)))
crl("CRL algorithms differ", UNKNOWN, member("algorithms", (None, None), (None, seq(oid(ECDSA), b"\5\0"))))
crl("CRL long form", UNKNOWN, member("whole", None, long_form))
crl("no CRL", UNKNOWN, lambda c, x, crl, b: b and c.crls.remove(crl))
crl("CRL unknown critical", UNKNOWN, lambda c, x, crl, b: crl.ext("1.2.3.4", b"\5\0", b))
crl("CRL entry unknown critical", UNKNOWN, lambda c, x, crl, b: crl.entries.append((integer(3), [("1.2.3.4", b, b"\5\0")])))
crl("delta", UNKNOWN, lambda c, x, crl, b: b and crl.ext(DELTA, integer(1), True))
crl("CRL of others lists it", "revoked", lambda c, x, crl, b: setattr(c.crl(c.way[c.way.index(x) + 1], x.serial if b else integer(
    3)), "exts", [(IDP, True, seq(tlv(0x81 if x.get(BC) else 0x82, FLAG)))]))
crl("CRL of attributes lists it", "", lambda c, x, crl, b: setattr(c.crl(c.way[c.way.index(x) + 1], x.serial if b else integer(
    3)), "exts", [(IDP, True, seq(tlv(0x85, FLAG)))]))
crl("CRL lacks a Z", UNKNOWN, member("dates", [time(AT - DAY), tlv(0x18, b"20260801000000Z")], [
    time(AT - DAY), tlv(0x18, b"20260801000000")]))
crl("delta lists it", "revoked", lambda c, x, crl, b: b and (crl.ext(DELTA, integer(1), True), crl.entries.append((x.serial, []))))
crl("indirect", UNKNOWN, point((b"", tlv(0x84, FLAG))))
crl("CRL of CAs", UNKNOWN, point((tlv(0x81, FLAG), tlv(0x82, FLAG))), where="L")
crl("CRL of users", UNKNOWN, point((tlv(0x82, FLAG), tlv(0x81, FLAG))), where="C")
crl("CRL of attributes", UNKNOWN, point((b"", tlv(0x85, FLAG))))
crl("some reasons", UNKNOWN, lambda c, x, crl, b: (crl.ext(IDP, seq(tlv(0x83, bits(b"\x60", 5)[2:])), True), b or setattr(
    c.crl(c.way[c.way.index(x) + 1]), "exts", [(IDP, True, seq(tlv(0x83, bits(b"\x1f\x80", 7)[2:])))])))
crl("other point", UNKNOWN, lambda c, x, crl, b: (x.ext(CDP, points("http://a/1")), crl.ext(IDP, seq(tlv(0xA0, tlv(
    0xA0, general("uri", "http://a/2" if b else "http://a/1")))), True), same_points(c, x)))
crl("older says good", "revoked", lambda c, x, crl, b: setattr(
    c.crl(c.way[c.way.index(x) + 1], *([x.serial] if b else []), dates=dated(AT - DAY // 2, AT + DAY)), "sha1", False))
crl("issuer may not sign CRLs", UNKNOWN, lambda c, x, crl, b: c.way[c.way.index(x) + 1].ext(
    KU, key_usage(5) if b else key_usage(5, 6), True))


def rolled_over(case, anchor, bad):
    """The anchor's name with a newer key issues, and the older one signs the CRL."""
    case.option(require_crl="all")
    newer, below = case.new(anchor.subject, ec_key(56), anchor.subject, anchor.key, True), case.way[-2]
    below.signer = newer.key
    below.ext(AKI, seq(tlv(0x80, key_id(newer.key))))
    case.way.insert(-1, newer)
    for issuer in case.way[1:]:
        case.crl(issuer) if issuer is not newer else None
    anchor.ext(KU, key_usage(5) if bad else key_usage(5, 6), True)


row("CRL of the older key", "R", UNKNOWN, rolled_over)
crl("noRevAvail", "", lambda c, x, crl, b: b and (c.crls.remove(crl), x.ext(NOREV, b"\5\0")), where="L")
crl("points critical and read", "", lambda c, x, crl, b: x.ext(CDP, points("http://a/1"), b))
crl("critical and not read, though CRLs are", "criticalNotProcessed", lambda c, x, crl, b: x.ext(IAN, names(("dns", "a.b")), b))
crl("points unreadable", "extensionMalformed", lambda c, x, crl, b: x.ext(CDP, JUNK if b else points("http://a/1")))
row("CRLs where they are", "N", UNKNOWN, lambda c, x, bad: c.crl(c.way[c.way.index(x) + 1], dates=dated(
    AT - DAY, AT - 1 if bad else AT)))


# ---- Profiles: RFC 5280 §4, Baseline Requirements
def profile(which, title, where, reasons, set_up):
    def both(case, cert, bad):
        case.option(profile=which)
        set_up(case, cert, bad)
    row(f"{which}: {title}", where, reasons, both)


def asks(which, title, where, reasons, extension, good, bad, critical=(False, False)):
    profile(which, title, where, reasons, lambda c, x, b: x.ext(extension, bad if b else good, critical[b]))


KEEP = seq(tlv(0x80, b"key"))
DNS_ONLY = subtrees([("dns", ""), ("ip", bytes(8))])
for each in (("no subjectKeyId", "C", "caWithoutSubjectKeyId", SKI, tlv(4, b"k"), None),
             ("no authorityKeyId", "N", "noAuthorityKeyId", AKI, KEEP, None),
             ("unreadable subjectKeyId", "N", "extensionMalformed", SKI, tlv(4, b"k"), JUNK),
             ("unreadable authorityKeyId", "N", "extensionMalformed", AKI, KEEP, JUNK),
             ("five octets of address", "N", "extensionMalformed", IAN, names(("ip", bytes(4))), names(("ip", bytes(5)))),
             ("subjectKeyId critical", "N", "criticalityWrong", SKI, tlv(4, b"k"), tlv(4, b"k"), (False, True)),
             ("authorityKeyId critical", "N", "criticalityWrong", AKI, KEEP, KEEP, (False, True)),
             ("basicConstraints not critical", "C", "criticalityWrong", BC, CA_TRUE, CA_TRUE, (True, False)),
             ("no keyUsage", "C", "caWithoutKeyUsage", KU, key_usage(5), None, (True, True)),
             ("path length without cA", "L", "pathLengthWithoutCa", BC, seq(), seq(integer(0)), (True, True)),
             ("keyCertSign without cA", "L", "certSignWithoutCa", KU, key_usage(0), key_usage(0, 5), (True, True)),
             ("no names", "L", "extensionMalformed", SAN, names(DNS), seq()),
             ("cA false is written", "L", "defaultEncoded", BC, seq(), seq(b"\1\1\0")),
             ("name constraints not critical", "C", "criticalityWrong", NC, DNS_ONLY, DNS_ONLY, (True, False)),
             ("name constraints in a leaf", "L", "constraintsWithoutCa", NC, None, DNS_ONLY, (True, True)),
             ("policy constraints not critical", "C", "criticalityWrong", PC, constraint(9), constraint(9), (True, False)),
             ("policy constraints in a leaf", "L", "constraintsWithoutCa", PC, None, constraint(9), (True, True)),
             ("inhibitAnyPolicy not critical", "C", "criticalityWrong", IAP, integer(9), integer(9), (True, False)),
             ("purposes empty", "C", "extensionMalformed", EKU, uses("server"), seq())):
    asks("rfc5280", *each)


def self_issued(case, cert, bad):
    """Under the issuer's old key; only who signs with his own may leave the identifier out."""
    case.self_issued()
    if bad:
        next(each for each in case.way[:-1] if each.issuer == each.subject).ext(AKI)


profile("rfc5280", "self-issued without authorityKeyId", "L", "noAuthorityKeyId", self_issued)
for title, serial in (("zero", b"\2\1\0"), ("negative", b"\2\1\x80"), ("long", integer(1 << 168))):
    profile("rfc5280", f"serial {title}", "N", "serialZero serialNegative serialTooLong", lambda c, x, bad, serial=serial:
            setattr(x, "serial", serial if bad else integer(1 << 158)))
profile("rfc5280", "no subject", "L", "subjectEmpty criticalityWrong", lambda c, x, bad: (
    setattr(x, "subject", seq()), x.ext(SAN, names(DNS), not bad)))
WIDE = seq(tlv(0x80, b"key"), tlv(0xA1, general("dir", name("x"))), tlv(0x82, b"\1"))
for each in (("no names", "L", "webNoAlternativeNames", SAN, names(DNS), None),
             ("mail names", "L", "webOtherNames", SAN, names(DNS), names(DNS, MAIL)),
             ("strange common name", "L", "webCommonName", SAN, names(DNS), names(("dns", "a.example.com"))),
             ("CA as server", "L", "webServerIsCa", BC, seq(), CA_TRUE, (True, True)),
             ("key of serial", "N", "webAuthorityKeyId", AKI, KEEP, WIDE),
             ("no authorityKeyId", "N", "webAuthorityKeyId", AKI, KEEP, None),
             ("purpose unsaid", "L", "webNoServerAuth", EKU, uses("server"), None),
             ("any purpose too", "L", "webAnyPurpose", EKU, uses("server"), uses("server", "any")),
             ("access unreadable", "N", "webAccess", AIA, None, JUNK)):
    asks("web", *each)
profile("web", "2,052 bits", "L", "webKey", lambda c, x, bad: rekey(c, x, rsa_key(2052 if bad else 2056)))
profile("web", "200 days", "L", "webValidity", lambda c, x, bad: setattr(
    x, "dates", dated(AT - 50 * DAY, AT + 150 * DAY - (not bad))))


def make_case(number, chosen=None, broken=True, shape=None):
    """The case of a number: with one row or two, in turns of all rows, broken in five turns of six."""
    rng = random.Random(f"{SEED} {number}")
    if chosen is None:
        turn, first = divmod(number, len(ROWS))
        chosen = [ROWS[first]] + [rng.choice(ROWS)] * (turn % 2)
        broken = turn % 6 < 5
    least = max([2] + [4 if each[1] == "U" else 3 for each in chosen if each[1] in "CUX"])
    case = Case(rng, rng.randint(least, 5), shape or rng.choice(SHAPES))
    case.rng, case.broken = rng, broken
    for title, where, reasons, set_up in chosen:
        last = len(case.way) - 1
        places = {"L": [0], "C": range(1, last), "N": range(last), "U": range(2, last + 1), "I": range(1, last + 1),
                  "R": [last], "X": range(last - 1)}[where]
        at = rng.choice(places)
        if title == "path length":
            at = rng.choice([n for n in places if case.way[1].subject != case.way[1].issuer or n > 2])
        case.rows.append((title, at))
        set_up(case, case.way[at], broken)
    return case

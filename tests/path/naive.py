"""A second opinion on ways to an anchor, without any cleverness: every way is tried, and each rule is one plain
statement of RFC 5280 (and 9525, 3161, 9608) over what is read of the DER here. Good for small cases."""
import functools
import ipaddress
import re
import types
from datetime import datetime, timezone

from cryptography.exceptions import InvalidSignature, UnsupportedAlgorithm
from cryptography.hazmat.primitives import hashes
from cryptography.hazmat.primitives.asymmetric import dsa, ec, ed25519, rsa
from cryptography.hazmat.primitives.asymmetric.padding import PKCS1v15
from cryptography.hazmat.primitives.serialization import load_der_public_key

from pki import (AIA, AKI, ANY_POLICY, ANY_USE, BC, CDP, CN, CP, DAY, DELTA, EKU, EMAIL, FEATURE, FRESH, IAN, IAP, IDP,
                 KU, NC, NOCHECK, NOREV, NUMBER, PC, PM, REASON, SAN, SIA, SKI, SUB, USES, dotted)

MAIL, DNS, DIR, URI, IP = (SUB[kind] for kind in ("email", "dns", "dir", "uri", "ip"))
DOMAIN_COMPONENT, SMTP_MAILBOX = "0.9.2342.19200300.100.1.25", "1.3.6.1.5.5.7.8.9"
TARGETS = {"host", "ip", "email"}


class Bad(Exception):
    """Something cannot be read; the word says what."""


def need(holds, reason="extensionMalformed"):
    if not holds:
        raise Bad(reason)


def tried(flaws, read, *what):
    """What is read, or none and the reason among the flaws."""
    try:
        return read(*what)
    except (Bad, IndexError, ValueError) as bad:
        flaws.add(str(bad) if isinstance(bad, Bad) and str(bad) != "malformed" else "extensionMalformed")


def those(**rules):
    """The names of the rules that are broken."""
    return {name for name, is_broken in rules.items() if is_broken}


# ---- DER: (tag, content, all of it)
def items(body, flaws=None):
    out, at = [], 0
    while at < len(body):
        need(at + 2 <= len(body), "malformed")
        head, size = at + 2, body[at + 1]
        if size > 127:
            head, count = head + size - 128, size - 128
            size = int.from_bytes(body[at + 2:head], "big")
            if size < 128 or count > (size.bit_length() + 7) // 8:
                need(flaws is not None)
                flaws.add("lengthNotShortest")
        need(head + size <= len(body), "malformed")
        out.append((body[at], body[head:head + size], body[at:head + size]))
        at = head + size
    return out


def one(der, tag, flaws=None):
    found = items(der, flaws)
    need(len(found) == 1 and found[0][0] == tag, "malformed")
    return found[0][1]


def members(der, least=1):
    found = items(one(der, 0x30))
    need(len(found) >= least)
    return found


def walk(der):
    for tag, body, _ in items(der):
        walk(body) if tag & 0x20 else None


def number(body):
    value = int.from_bytes(body, "big", signed=True)
    need(len(body) == (value if value >= 0 else ~value).bit_length() // 8 + 1, "integerPadded")
    return value


def truth(body):
    need(len(body) == 1)
    need(body in (b"\0", b"\xff"), "booleanNotDer")
    return body == b"\xff"


def bit_numbers(body):
    need(body and body[0] < 8)
    need(len(body) == 1 or not body[-1] & ((1 << body[0]) - 1), "unusedBitsSet")
    return {8 * i + n for i, octet in enumerate(body[1:]) for n in range(8) if octet & 0x80 >> n}


def moment(tag, body):
    text = body.decode("latin1")
    is_ber = re.fullmatch(r"\d{10,14}(\.\d+)?(Z|[+-]\d{4})?", text)
    need(re.fullmatch(r"\d{12}Z" if tag == 0x17 else r"\d{14}Z", text), "dateNotDer" if is_ber else "dateMalformed")
    century = ("19" if text >= "50" else "20") if tag == 0x17 else ""
    try:
        return datetime.strptime(century + text, "%Y%m%d%H%M%SZ").replace(tzinfo=timezone.utc).timestamp()
    except ValueError:
        raise Bad("dateMalformed")


def folded(content):
    """A name as a list of sets (§7.1)."""
    def value(kind, tag, text):
        is_text = tag in (0x0C, 0x13) or tag == 0x16 and kind in (EMAIL, DOMAIN_COMPONENT)
        return b" ".join(text.lower().split()) if is_text else (tag, text)
    pairs = [[items(pair) for _, pair, _ in items(rdn)] for _, rdn, _ in items(content)]
    return [frozenset((dotted(k[1]), value(dotted(k[1]), v[0], v[1])) for k, v in rdn) for rdn in pairs]


def bad_text(name):
    texts = [value for rdn in name for _, value in rdn if isinstance(value, bytes)]
    return those(nameTextMalformed=any(text.decode(errors="ignore").encode() != text for text in texts))


# ---- Certificates and CRLs
def signed(der):
    """What both are: what is signed, algorithms and signature, and flaws of the encoding."""
    c = types.SimpleNamespace(der=der, flaws=set(), exts=[])
    parts = items(one(der, 0x30, c.flaws), c.flaws)
    need([part[0] for part in parts] == [0x30, 0x30, 3], "malformed")
    c.tbs, c.outer, c.signature = parts[0][2], parts[1][2], parts[2][1]
    return c, items(parts[0][1], c.flaws)


def extensions(body, flaws):
    """(OID, critical, value, whether false is written) of each, as far as the list can be read."""
    out = []
    try:
        listed = items(one(body, 0x30, flaws), flaws)
        need(listed)
        for _, each, _ in listed:
            parts = items(each, flaws)
            if [part[0] for part in parts] not in ([6, 4], [6, 1, 4]):
                flaws.add("extensionListMalformed")
                continue
            flag = parts[1][1] if len(parts) == 3 else None
            if flag is not None:
                tried(flaws, truth, flag)
            out.append((dotted(parts[0][1]), flag not in (None, b"\0"), parts[-1][1], flag == b"\0"))
    except Bad:
        flaws.add("extensionListMalformed")
    return out


def certificate(der):
    c, parts = signed(der)
    version = parts.pop(0)[1] if parts[0][0] == 0xA0 else None
    c.version = 1 if version is None else one(version, 2, c.flaws)[0] + 1
    need(len(parts) >= 6, "malformed")
    c.number, c.serial, c.inner, c.spki = parts[0][1], parts[0][2], parts[1][2], parts[5][2]
    tried(c.flaws, number, c.number)
    c.issuer, c.subject = folded(parts[2][1]), folded(parts[4][1])
    c.self_issued = c.issuer == c.subject
    c.flaws |= bad_text(c.issuer + c.subject)
    c.dates = tried(c.flaws, lambda: [moment(tag, body) for tag, body, _ in items(parts[3][1], c.flaws)])
    listed = [each[1] for each in parts[6:] if each[0] == 0xA3]
    c.exts = extensions(listed[0], c.flaws) if listed else []
    c.ext = {each[0]: each for each in reversed(c.exts)}
    c.flaws |= those(extensionRepeated=len(c.ext) < len(c.exts), extensionsInOldVersion=listed and c.version < 3,
                     versionUnknown=not 1 <= c.version <= 3)
    c.version_one_written = version is not None and c.version == 1
    basic = content(c, BC)
    c.is_ca = bool(basic and basic.ca)
    c.usage, c.uses = content(c, KU), content(c, EKU)
    c.kind, c.key = tried(set(), key_of, c.spki) or (None, None)
    return c


def content(c, which, otherwise=None):
    """What an extension says; what cannot be read says nothing and is met by the rule for that."""
    value = tried(set(), READ.get(which, walk), c.ext[which][2]) if which in c.ext else None
    return otherwise if value is None else value


def read_bc(der):
    parts = members(der, 0)
    out = types.SimpleNamespace(ca=False, length=None, written=False)
    if parts and parts[0][0] == 1:
        out.ca = truth(parts.pop(0)[1])
        out.written = not out.ca
    if parts:
        need(parts[0][0] == 2)
        out.length = number(parts.pop(0)[1])
    need(not parts)
    return out


def read_constraints(der):
    out = {tag & 31: number(body) for tag, body, _ in members(der)}
    need(set(out) <= {0, 1})
    return out


def read_subtrees(der):
    out = {0: [], 1: []}
    for tag, body, _ in members(der):
        for _, tree, _ in items(body):
            parts = items(tree)
            need(len(parts) == 1)  # minimum and maximum
            out[tag & 31].append((parts[0][0] & 31, parts[0][1]))
    return out


def read_points(der):
    walk(der)
    return set(re.findall(rb"(?s)\x86.(http://[a-z0-9/.]+)", der))  # a point here is one URI


def read_uses(der):
    need(all(each[0] == 6 for each in members(der)))
    return [dotted(each[1]) for each in members(der)]


def read_names(der):
    return [(tag & 31, body) for tag, body, _ in members(der)]


READ = {BC: read_bc, KU: lambda der: bit_numbers(one(der, 3)), NC: read_subtrees, PC: read_constraints, CDP: read_points,
        CP: lambda der: {dotted(items(each[1])[0][1]) for each in members(der)}, EKU: read_uses, SAN: read_names,
        PM: lambda der: {tuple(dotted(part[1]) for part in items(each[1])) for each in members(der)}, IAN: read_names,
        IAP: lambda der: number(one(der, 2))}


# ---- Signatures and keys
KINDS = {"rsa": rsa.RSAPublicKey, "ec": ec.EllipticCurvePublicKey, "dsa": dsa.DSAPublicKey, "ed25519": ed25519.Ed25519PublicKey}
CURVES = {"1.2.840.10045.3.1.7": 256, "1.3.132.0.33": 224, "1.2.840.10045.3.1.1": 192}
SMALL_ORDER = (0, 1, (1 << 255) - 20)  # y of points in which any signature would hold


@functools.cache
def key_of(spki):
    """Kind and key, whether or not its kind signs here."""
    kind, *parameters = items(members(spki)[0][1])
    if dotted(kind[1]) == "1.2.840.10045.2.1":
        size = CURVES.get(dotted(parameters[0][1]))
        need(size, "keyNotKnown")
        need(size >= 224, "weakKey")
    try:
        key = load_der_public_key(spki)
    except UnsupportedAlgorithm:
        raise Bad("keyNotKnown")
    except ValueError:
        raise Bad("keyMalformed")
    kind = next(kind for kind, made in KINDS.items() if isinstance(key, made))
    if kind == "rsa":
        n, e = key.public_numbers().n, key.public_numbers().e
        need(n % 2 and e % 2 and e > 1, "keyMalformed")
    need(kind != "dsa" or key.parameters().parameter_numbers().g > 1, "keyMalformed")
    need(kind != "ed25519" or int.from_bytes(spki[-32:], "little") % (1 << 255) not in SMALL_ORDER, "keyMalformed")
    return kind, key


SCHEMES = {"1.2.840.10045.4.1": ("ec", hashes.SHA1), "1.2.840.10045.4.3.2": ("ec", hashes.SHA256),
           "1.2.840.113549.1.1.5": ("rsa", hashes.SHA1), "1.2.840.113549.1.1.11": ("rsa", hashes.SHA256)}


def scheme_of(c):
    read = tried(set(), members, c.inner)
    return *SCHEMES.get(dotted(read[0][1]) if read else "", (None, None)), read and read[1:]


def bad_signature(c, spki):
    wanted, digest, parameters = scheme_of(c)
    kind, key = key_of(spki)
    out = those(signatureAlgorithmsDiffer=c.inner != c.outer, signatureNotChecked=wanted is None,
                signatureParameters=wanted == "ec" and parameters, signatureNotOctets=c.signature[0],
                keyDoesNotFit=wanted not in (None, kind))
    try:
        if not out:
            key.verify(c.signature[1:], c.tbs, *([ec.ECDSA(digest())] if kind == "ec" else [PKCS1v15(), digest()]))
    except InvalidSignature:
        return {"wrongSignature"}
    return out


def weak_hash(c, o):
    return those(weakHash=scheme_of(c)[1] is hashes.SHA1 and not o.get("allow_sha1"))


# ---- Rules of one certificate
def out_of_date(c, at):
    first, last = c.dates or (at, at)
    return those(validityBackwards=first > last, notYetValid=at < first, expired=at > last)


PROCESSED = {BC, KU, EKU, NC, CP, PM, PC, IAP, SAN, SKI, AKI}
KNOWN = {IAN, FRESH, AIA, SIA, FEATURE, CDP, NOREV, NOCHECK}
DECIDE = PROCESSED - {SAN, SKI, AKI}


def critical(c, o, is_leaf):
    processed = PROCESSED | ({CDP, NOREV} if o["judges_crls"] else set())
    processed |= {NOCHECK} if is_leaf and o["purpose"] == "ocsp" else set()
    passed_over = {each[0] for each in c.exts if each[1]} - processed
    if b"\6\3\x2a\3\4" in c.ext.get(CP, (None, False, b""))[2] and c.ext[CP][1]:  # the qualifier 1.2.3.4
        passed_over.add(CP)
    return those(criticalNotProcessed=passed_over & (KNOWN | {CP}), unknownCriticalExtension=passed_over - KNOWN - {CP})


def unreadable(c, decided, even_critical=PROCESSED | KNOWN):
    out = set()
    for which, is_critical, value, _ in c.exts:
        if which in decided or is_critical and which in even_critical:
            tried(out, READ.get(which, walk), value)
    return out


def bad_key(c):
    out = those(weakKey=c.kind == "rsa" and c.key.key_size < 2048)
    tried(out, key_of, c.spki)
    return out


def no_issuer(c, o):
    """What keeps it from issuing."""
    purpose = o["purpose"]
    is_bound = c.uses is not None and purpose not in ("any", "ocsp")
    return those(notACa=not c.is_ca and not (BC in c.ext and not content(c, BC)),
                 mayNotSign=c.usage is not None and 5 not in c.usage,
                 wrongPurpose=is_bound and not {ANY_USE, f"1.3.6.1.5.5.7.3.{USES[purpose]}"} & set(c.uses))


def own_faults(c, o, is_leaf, is_named=False):
    """What is wrong with a certificate that is no anchor, whoever signed it."""
    decided = DECIDE | ({CDP, NOREV} if o["judges_crls"] else set()) | ({SAN} if is_named else set())
    out = c.flaws | weak_hash(c, o) | bad_key(c) | out_of_date(c, o["at"]) | critical(c, o, is_leaf)
    out |= unreadable(c, decided) | (set() if is_leaf else no_issuer(c, o))
    profile = o.get("profile")
    return out | (rfc5280(c) if profile == "rfc5280" else web(c, is_leaf) if profile == "web" else set())


# Of each purpose: the bits of keyUsage of which a leaf has one, with a key for RSA, and with one on a curve.
KEY_USES = {"server": ({0}, {2}, {4}), "client": ({0}, set(), {4}), "code": ({0}, set(), set()),
            "time": ({0, 1}, set(), set()), "ocsp": ({0, 1}, set(), set()), "email": ({0, 1}, {2}, {4})}


def purpose_of_leaf(c, o):
    purpose = o["purpose"]
    if purpose == "any":
        return set()
    said, must_say = f"1.3.6.1.5.5.7.3.{USES[purpose]}", purpose in ("code", "time", "ocsp")
    if c.uses is None:
        holds = not must_say or EKU in c.ext  # or it is there and cannot be read
    elif purpose == "time":
        holds = c.uses == [said] and c.ext[EKU][1]
    else:
        holds = said in c.uses or ANY_USE in c.uses and not must_say
    always, rsa, curve = KEY_USES[purpose]
    wanted = always | {"rsa": rsa, "ec": curve}.get(c.kind, set())
    return those(wrongPurpose=not holds, wrongKeyUsage=c.usage is not None and c.kind and not wanted & c.usage)


def wrong_host(c, o):
    names = content(c, SAN, [])
    texts = {form: [value.decode("latin1") for kind, value in names if kind == form] for form in (DNS, MAIL)}
    found = True
    if "host" in o:
        wanted = o["host"].lower().removesuffix(".")
        rest = wanted.partition(".")[2]
        found = {wanted, "*." + rest if "." in rest else wanted} & {text.lower() for text in texts[DNS]}
    elif "ip" in o:
        found = (IP, ipaddress.ip_address(o["ip"]).packed) in names
    elif "email" in o:
        def halves(text):
            return text.rpartition("@")[0], text.rpartition("@")[2].lower()
        found = halves(o["email"]) in map(halves, texts[MAIL])
    return those(wrongHost=not found and not (SAN in c.ext and not names)) | (bad_names(c, SAN) if TARGETS & set(o) else set())


def bad_names(c, which):
    names = content(c, which, [])
    texts = [bad_text(folded(one(value, 0x30))) for form, value in names if form == DIR]
    return set().union(those(extensionMalformed=any(form == IP and len(value) not in (4, 16) for form, value in names)), *texts)


# ---- Names under constraints: §4.2.1.10
def is_host(text):
    return all(re.fullmatch(r"[A-Za-z0-9_](?:[A-Za-z0-9_-]*[A-Za-z0-9_])?", label) for label in text.split("."))


def names_of(c):
    """(form, value), values as they are compared; None for one that cannot be."""
    out = [(DIR, c.subject)] if c.subject else []
    out += [(MAIL, value.decode() if isinstance(value, bytes) else value[1].decode())
            for rdn in c.subject for kind, value in rdn if kind == EMAIL]
    for form, value in content(c, SAN, []):
        text = value.decode("latin1")
        if form == DIR:
            value = folded(one(value, 0x30))
        elif form == 0 and dotted(items(value)[0][1]) == SMTP_MAILBOX:
            form, value = MAIL, one(items(value)[1][1], 0x0C).decode()
        elif form == MAIL:
            value = text
        elif form == IP:
            value = value if len(value) in (4, 16) else None
        elif form == URI:
            host = re.match(r"[^:]*://([^/:?#]*)", text)
            value = host[1].lower() if host and not re.fullmatch(r"[\d.]*", host[1]) else None
        else:
            value = text.lower() if form == DNS and is_host(text.removeprefix("*.")) else None
        out.append((form, value))
    return out


def within(form, value, base, excluded):
    if form == DIR:
        prefix = folded(one(base, 0x30))
        return value[:len(prefix)] == prefix
    if form == IP:
        half = len(base) // 2
        return half == len(value) and all(v & m == b & m for v, b, m in zip(value, base, base[half:]))
    base = base.decode()
    if form == MAIL:
        local, _, host = value.rpartition("@")
        at, _, domain = base.rpartition("@")
        return at in ("", local) and within(URI, host.lower(), domain.encode(), excluded)
    base = base.lower()
    if form == URI:
        return value.endswith(base) if base[:1] == "." else value == base
    host = base.removeprefix(".")
    if value[:2] == "*.":  # excluded if any of its names is, permitted if all are
        return not host or ("." + value[2:]).endswith("." + host) or excluded and host.partition(".")[2] == value[2:]
    return not host or value.endswith("." + host) or value == host and (excluded or base == host)


def is_readable_base(form, base):
    mask = "".join(f"{octet:08b}" for octet in base[len(base) // 2:])
    return form != IP or len(base) in (8, 32) and "01" not in mask


def constrained(way):
    out = set()
    for at, c in enumerate(way):
        trees = content(c, NC, {0: [], 1: []})
        for subject in [each for each in way[:at] if any(trees.values()) and (each is way[0] or not each.self_issued)]:
            for form, value in names_of(subject):
                permitted, excluded = ([base for kind, base in trees[side] if kind == form] for side in (0, 1))
                bases = permitted + excluded
                if bases and (value is None or not all(is_readable_base(form, base) for base in bases)):
                    out.add("nameNotJudged")
                    continue
                out |= those(nameNotPermitted=permitted and not any(within(form, value, b, False) for b in permitted),
                             nameExcluded=any(within(form, value, base, True) for base in excluded))
    return out


# ---- Rules of a way, which is leaf first
def path_length(way):
    lengths = [(at, content(c, BC).length) for at, c in enumerate(way) if at and content(c, BC)]
    return those(pathTooLong=any(length is not None and sum(not c.self_issued for c in way[1:at]) > length
                                 for at, length in lengths))


def policies(way, o):
    """The tree of §6.1 by its branches: each the policies from the anchor down, with what it expects next."""
    certificates, n = way[-2::-1], len(way) - 1
    wanted = set(o.get("policy", ()))
    explicit = 0 if wanted or o.get("explicit_policy") else n + 1
    inhibit, mapping = (0 if o.get(each) else n + 1 for each in ("inhibit_any", "inhibit_mapping"))
    tree = {(ANY_POLICY,): {ANY_POLICY}}
    for i, c in enumerate(certificates, 1):
        held, above, tree = content(c, CP, set()), tree, {}
        for policy in held - {ANY_POLICY}:  # (d)
            ups = [up for up in above if policy in above[up]] or [up for up in above if up[-1] == ANY_POLICY]
            tree |= {(*up, policy): {policy} for up in ups}
        if ANY_POLICY in held and (inhibit > 0 or i < n and c.self_issued):
            tree = {(*up, policy): {policy} for up in above for policy in above[up]} | tree
        if explicit == 0 and not tree:  # (f)
            return {"noPolicy"}
        constraints = content(c, PC, {})
        if i == n:
            explicit = 0 if constraints.get(0) == 0 else max(explicit - 1, 0)
            break
        pairs = content(c, PM, set())
        if any(ANY_POLICY in pair for pair in pairs):
            return {"noPolicy", "anyPolicyMapped"}
        for policy in {pair[0] for pair in pairs}:  # §6.1.4 (b)
            branches = [each for each in tree if each[-1] == policy]
            if mapping == 0:
                tree = {each: next_ for each, next_ in tree.items() if each not in branches}
            else:
                branches = branches or [(*each[:-1], policy) for each in tree if each[-1] == ANY_POLICY]
                tree |= dict.fromkeys(branches, {pair[1] for pair in pairs if pair[0] == policy})
        if not c.self_issued:
            explicit, mapping, inhibit = (max(each - 1, 0) for each in (explicit, mapping, inhibit))
        explicit, mapping = (min(each, constraints.get(k, each)) for k, each in ((0, explicit), (1, mapping)))
        inhibit = min(inhibit, content(c, IAP, inhibit))
    roots = {next((each for each in branch if each != ANY_POLICY), ANY_POLICY) for branch in tree}
    return those(noPolicy=explicit == 0 and not (roots & (wanted | {ANY_POLICY}) if wanted else roots))


# ---- CRLs: §5, §6.3
def parse_crl(der):
    c, parts = signed(der)
    need(not c.flaws, "malformed")
    c.inner, c.issuer = parts[1][2], folded(parts[2][1])
    c.dates = tried(set(), lambda: [moment(tag, body) for tag, body, _ in parts[3:] if tag in (0x17, 0x18)]) or []
    tail = [part for part in parts[4:] if part[0] in (0x30, 0xA0)]
    c.exts = extensions(tail.pop()[1], c.flaws) if tail and tail[-1][0] == 0xA0 else []
    c.ext = {each[0]: each for each in c.exts}
    entries = [items(entry) for _, entry, _ in items(tail[0][1])] if tail else []
    c.entries = {entry[0][2]: extensions(entry[2][2], c.flaws) if entry[2:] else [] for entry in entries}
    c.scope = {tag & 31: body for tag, body, _ in members(c.ext[IDP][2], 0)} if IDP in c.ext else {}
    c.points = read_points(c.ext[IDP][2]) if 0 in c.scope else set()
    c.reasons = bit_numbers(c.scope[3]) if 3 in c.scope else set(range(1, 9))
    said = [each for exts in c.entries.values() for each in exts]
    c.removed = [serial for serial, exts in c.entries.items() if any(each[0] == REASON and each[2][-1] == 8 for each in exts)]
    c.unusable = DELTA in c.ext or 4 in c.scope or bool(c.removed) or any(
        [each[1] and each[0] not in (IDP, NUMBER, AKI) for each in c.exts] +
        [each[1] and each[0] != REASON for each in said])
    return c


def crl_signers(c, way, o, asks):
    """Its issuer, the anchor, and others of that name that somebody above issued and with which nothing is wrong; and those
    of the others who are in doubt, because what is known of their revocation is not enough."""
    above = way[way.index(c) + 1:]
    own, doubtful = [each for each in (above[0], above[-1]) if each.subject == c.issuer], []
    for each in o["others"]:
        if each.subject == c.issuer and own_faults(each, o, False) <= {"notACa", "mayNotSign"}:
            states = [stands(each, [each, *above[n:]], o, asks) for n, up in enumerate(above)
                      if up.subject == each.issuer and not bad_signature(each, up.spki)]
            (own if "good" in states else doubtful if "doubt" in states else []).append(each)
    return [[each for each in some if may_sign_crls(each)] for some in (own, doubtful)]


def stands(signer, way, o, asks):
    """The one above alone vouches and puts out; all who could revoke a CA there cast doubt."""
    alone, all_say = [asks and revoked(signer, way, o, False, [way[1]], others) for others in (False, True)]
    return "good" if not all_say else "out" if alone == {"revoked"} else "doubt"


def may_sign_crls(c):
    return KU not in c.ext or 6 in (c.usage or ())


def is_in_scope(crl, c):
    return not (1 in crl.scope and c.is_ca or 2 in crl.scope and not c.is_ca or 5 in crl.scope) and bool(
        0 not in crl.scope or crl.points & content(c, CDP, set()))


def revoked(c, way, o, is_leaf, vouching=None, others_list=True):
    """With some named who alone may vouch, the others' CRLs count for what they list, or not at all."""
    required = o.get("require_crl") == "all" or o.get("require_crl") == "leaf" and is_leaf
    theirs = [crl for crl in o["crls"] if crl.issuer == c.issuer]
    is_exempt = not c.is_ca and NOREV in c.ext and not {CDP, FRESH} & set(c.ext) and not unreadable(c, {NOREV}, set())
    if is_exempt or not required and not theirs:
        return set()
    signers, doubtful = crl_signers(c, way, o, vouching is None)
    alone = signers if vouching is None else [each for each in vouching if may_sign_crls(each)]
    in_time = [crl for crl in theirs if len(crl.dates) == 2 and crl.dates[0] <= o["at"] <= crl.dates[1] and not crl.flaws and
               not weak_hash(crl, o)]
    lists = lambda crl: c.serial in crl.entries and c.serial not in crl.removed and 5 not in crl.scope
    believed = [crl for crl in in_time if any(not bad_signature(crl, each.spki) for each in (
        signers if others_list and c.serial in crl.entries else alone))]
    usable = [crl for crl in believed if is_in_scope(crl, c) and not crl.unusable]
    newest = [crl for crl in usable if crl.dates[0] == max(each.dates[0] for each in usable if each.scope == crl.scope)]
    if any(c.serial in crl.entries for crl in newest) or any(lists(crl) for crl in believed if crl not in usable):
        return {"revoked"}
    is_doubted = any(lists(crl) and any(not bad_signature(crl, each.spki) for each in doubtful) and (
        crl.unusable or all(crl.dates[0] >= each.dates[0] for each in usable if each.scope == crl.scope)) for crl in in_time)
    return those(revocationUnknown=is_doubted or not set().union(*(crl.reasons for crl in newest)) >= set(range(1, 9)))


# ---- Profiles
def rfc5280(c):
    basic, signs = content(c, BC), bool(c.usage and 5 in c.usage)
    has_length = basic and basic.length is not None
    is_critical = {each[0]: each[1] for each in c.exts}
    return bad_names(c, SAN) | bad_names(c, IAN) | those(
        caWithoutSubjectKeyId=c.is_ca and SKI not in c.ext, caWithoutKeyUsage=c.is_ca and KU not in c.ext,
        noAuthorityKeyId=c.version == 3 and AKI not in c.ext,
        pathLengthWithoutCa=has_length and not (c.is_ca and (signs or c.usage is None)),
        certSignWithoutCa=signs and not c.is_ca,
        extensionMalformed=unreadable(c, {SKI, AKI, SAN, IAN}) or c.is_ca and EKU in c.ext and not c.uses,
        subjectEmpty=not c.subject and (c.is_ca or not is_critical.get(SAN)),
        criticalityWrong=is_critical.get(SKI) or is_critical.get(AKI) or c.is_ca and not is_critical[BC]
        or any(is_critical.get(each) is False for each in (NC, PC, IAP)) or not c.subject and not is_critical.get(SAN),
        constraintsWithoutCa=not c.is_ca and any(each in c.ext for each in (NC, PC, IAP)),
        serialTooLong=len(c.number) > 20, serialZero=c.number == b"\0", serialNegative=c.number[0] > 127,
        defaultEncoded=basic and basic.written or any(each[3] for each in c.exts), versionOneEncoded=c.version_one_written)


def web(c, is_leaf):
    use, names = c.uses or [], content(c, SAN, [])
    says_server = f"1.3.6.1.5.5.7.3.{USES['server']}" in use
    ids = tried(set(), members, c.ext[AKI][2]) if AKI in c.ext else None
    common = [value for rdn in c.subject for kind, value in rdn if kind == CN]
    hosts = [value.lower() for form, value in names if form == DNS]
    addresses = [ipaddress.ip_address(value) for form, value in names if form == IP and len(value) in (4, 16)]
    first, last = c.dates or (0, 0)
    issued = datetime.fromtimestamp(first, timezone.utc).date().isoformat()
    most = next(days for start, days in (("2029-03-15", 47), ("2027-03-15", 100), ("2026-03-15", 200), ("", 398))
                if issued >= start)
    of_all = those(webAuthorityKeyId=not ids or [each[0] for each in ids] != [0x80], webVersion=c.version != 3,
                   webKey=c.kind in ("dsa", "ed25519") or c.kind == "ec" and c.key.key_size < 256
                   or c.kind == "rsa" and (c.key.key_size < 2048 or c.key.key_size % 8),
                   webAnyPurpose=ANY_USE in use and (is_leaf or says_server),
                   webNoServerAuth=not says_server and (is_leaf or EKU in c.ext and ANY_USE not in use),
                   webAccess=unreadable(c, {AIA}, set()))
    return of_all | (those(webNoAlternativeNames=not names, webOtherNames=len(hosts + addresses) < len(names),
                           webCommonName=set(common) - set(hosts) - {str(each).encode() for each in addresses},
                           webServerIsCa=c.is_ca, webValidity=last - first + 1 > most * DAY) if is_leaf else set())


# ---- The judgement
def judge_anchor(anchor, o, is_leaf):
    binding = {BC, KU, NC, EKU} | ({SAN} if is_leaf and TARGETS & set(o) else set())
    out = out_of_date(anchor, o["at"]) | bad_key(anchor) | critical(anchor, o, is_leaf) | unreadable(anchor, binding)
    bound = [each[0] for each in anchor.exts if each[0] in binding | {each[0] for each in anchor.exts if each[1]}]
    out |= those(extensionRepeated=len(bound) > len(set(bound)))
    out |= anchor.flaws & {"extensionListMalformed", "dateMalformed", "dateNotDer", "lengthNotShortest", "booleanNotDer"}
    return out | (set() if is_leaf or anchor.version in (1, 2) and not anchor.exts else no_issuer(anchor, o))


def judge(way, o):
    """Every reason for which the way, leaf first and the anchor last, does not hold."""
    out = judge_anchor(way[-1], o, len(way) == 1) | purpose_of_leaf(way[0], o) | wrong_host(way[0], o)
    is_constrained = any(NC in c.ext for c in way[1:])
    for c, above in zip(way, way[1:]):
        out |= own_faults(c, o, c is way[0], is_constrained or c is way[0] and TARGETS & set(o))
        out |= bad_signature(c, above.spki) | (revoked(c, way, o, c is way[0]) if o["judges_crls"] else set())
    return out | (path_length(way) | constrained(way) | policies(way, o) if len(way) > 1 else set())


def ways(leaf, anchors, others, most=16):
    """Every way by names alone, without a name and key twice."""
    def climb(way):
        met = [(c.subject, c.spki) for c in way]
        above = [each for each in anchors + others if each.subject == way[-1].issuer and (each.subject, each.spki) not in met]
        for each in above:
            if any(each is anchor for anchor in anchors):
                yield [*way, each]
            elif len(way) + 2 <= most:
                yield from climb([*way, each])
    yield from ([leaf] for anchor in anchors if leaf.der == anchor.der)
    yield from climb([leaf])


def judge_anything(way, o):
    """The same of a way in which anything may be: what is not understood is a reason too."""
    try:
        return judge(way, o)
    except Exception as fault:
        return {repr(fault)}


def verdict(leaf, anchors, others, crls, at, options, judge=judge):
    """Whether a way holds; and (way, reasons) of each."""
    def readable(read, ders):
        return [each for each in (tried(set(), read, der) for der in ders) if each]
    options = {**options, "at": at, "crls": readable(parse_crl, crls), "others": readable(certificate, others),
               "judges_crls": bool(crls or options.get("require_crl"))}
    leaves = readable(certificate, [leaf])
    if not leaves:
        return False, [([], {"malformed"})]
    judged = [(way, judge(way, options)) for way in ways(leaves[0], readable(certificate, anchors), options["others"])]
    judged = judged or [([leaves[0]], leaves[0].flaws | {"noIssuer", "notTrusted"})]
    return any(not reasons for _, reasons in judged), judged

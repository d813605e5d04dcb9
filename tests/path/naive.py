"""A second opinion on ways to an anchor, without any cleverness: every way is tried, each rule is one plain
function of RFC 5280 (and 9525, 3161, 9608), policies are the tree of section 6.1. Good for small cases."""
import hashlib
import ipaddress
import re
import types
from datetime import datetime, timezone

from cryptography.exceptions import InvalidSignature
from cryptography.hazmat.primitives import hashes
from cryptography.hazmat.primitives.asymmetric import ec

from pki import (AIA, AKI, ANY_POLICY, ANY_USE, BC, CDP, CN, CP, DAY, DELTA, EKU, EMAIL, FEATURE, FRESH, IAN, IAP, IDP,
                 KU, NC, NOCHECK, NOREV, NUMBER, PC, PM, REASON, SAN, SIA, SKI, USES)


class Bad(Exception):
    pass


def need(holds, reason="extensionMalformed"):
    if not holds:
        raise Bad(reason)


def tried(flaws, read, *what):
    """What is read, or none and the reason among the flaws."""
    try:
        return read(*what)
    except (Bad, IndexError, ValueError) as bad:
        flaws.add(str(bad).replace("malformed", "extensionMalformed") if isinstance(bad, Bad) else "extensionMalformed")


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


def dotted(body):
    arcs, arc = [], 0
    for octet in body:
        arc = arc << 7 | octet & 127
        if octet < 128:
            arcs, arc = arcs + [arc], 0
    first = min(arcs[0] // 40, 2)
    return ".".join(map(str, [first, arcs[0] - 40 * first, *arcs[1:]]))


def number(body):
    value = int.from_bytes(body, "big", signed=True)
    need(len(body) == value.bit_length() // 8 + 1 or value < 0 and len(body) == (~value).bit_length() // 8 + 1,
         "integerPadded")
    return value


def truth(body):
    need(len(body) == 1)
    need(body in (b"\0", b"\xff"), "booleanNotDer")
    return body == b"\xff"


def bit_numbers(body):
    need(body and body[0] < 8)
    need(len(body) == 1 or not body[-1] & ((1 << body[0]) - 1), "unusedBitsSet")
    return {8 * i + n for i, octet in enumerate(body[1:]) for n in range(8) if octet & 0x80 >> n}


def walk(der):
    for tag, body, _ in items(der):
        walk(body) if tag & 0x20 else None


def moment(tag, body):
    text = body.decode("latin1")
    strange = "dateNotDer" if re.fullmatch(r"\d{10,14}(\.\d+)?(Z|[+-]\d{4})?", text) else "dateMalformed"
    need(re.fullmatch(r"\d{12}Z" if tag == 0x17 else r"\d{14}Z", text), strange)
    if tag == 0x17:
        text = ("19" if text >= "50" else "20") + text
    try:
        return datetime.strptime(text, "%Y%m%d%H%M%SZ").replace(tzinfo=timezone.utc).timestamp()
    except ValueError:
        raise Bad("dateMalformed")


def folded(content):
    """A name as a list of sets (§7.1)."""
    def value(kind, tag, text):
        if tag in (0x0C, 0x13) or tag == 0x16 and kind in (EMAIL, "0.9.2342.19200300.100.1.25"):
            return b" ".join(text.lower().split())
        return tag, text
    out = []
    for _, attributes, _ in items(content):
        pairs = [[*items(pair)] for _, pair, _ in items(attributes)]
        out.append(frozenset((dotted(k[1]), value(dotted(k[1]), v[0], v[1])) for k, v in pairs))
    return out


def bad_text(name):
    texts = [value if isinstance(value, bytes) else b"" for rdn in name for _, value in rdn]
    return {"nameTextMalformed"} if any(text.decode(errors="ignore").encode() != text for text in texts) else set()


# ---- Certificates and CRLs
def signed(der):
    flaws = set()
    parts = items(one(der, 0x30, flaws), flaws)
    need([part[0] for part in parts] == [0x30, 0x30, 3], "malformed")
    return flaws, parts[0], parts[1][2], parts[2][1]


def extensions(body, flaws):
    out = []
    try:
        listed = items(one(body, 0x30, flaws), flaws)
        need(listed)
        for _, each, _ in listed:
            parts = items(each, flaws)
            if [part[0] for part in parts] not in ([6, 4], [6, 1, 4]):
                flaws.add("extensionListMalformed")
                continue
            critical = (tried(flaws, truth, parts[1][1]) if len(parts) == 3 else False) is not False
            out.append((dotted(parts[0][1]), critical, parts[-1][1], len(parts) == 3 and not critical))
    except Bad:
        flaws.add("extensionListMalformed")
    if len({each[0] for each in out}) < len(out):
        flaws.add("extensionRepeated")
    return out


def certificate(der):
    flaws, tbs, outer, signature = signed(der)
    parts = items(tbs[1], flaws)
    version = parts.pop(0)[1] if parts[0][0] == 0xA0 else None
    c = types.SimpleNamespace(der=der, flaws=flaws, tbs=tbs[2], outer=outer, signature=signature, exts=[])
    c.version = 1 if version is None else one(version, 2, flaws)[0] + 1
    c.version_written = version is not None
    need(len(parts) >= 6, "malformed")
    c.serial, c.inner, c.spki, c.number = parts[0][2], parts[1][2], parts[5][2], parts[0][1]
    tried(flaws, number, c.number)
    c.issuer, c.subject = folded(parts[2][1]), folded(parts[4][1])
    c.self_issued = c.issuer == c.subject
    flaws |= bad_text(c.issuer + c.subject)
    c.dates = tried(flaws, lambda: [moment(tag, body) for tag, body, _ in items(parts[3][1], flaws)])
    rest = [each for each in parts[6:] if each[0] == 0xA3]
    if rest:
        c.exts = extensions(rest[0][1], flaws)
    flaws |= {"extensionsInOldVersion"} if rest and c.version < 3 else set()
    flaws |= set() if 1 <= c.version <= 3 else {"versionUnknown"}
    c.ext = {each[0]: each for each in reversed(c.exts)}
    return c


def content(c, which, otherwise=None):
    """What an extension says; what cannot be read says nothing and is met by the rule for that."""
    value = tried(set(), READ.get(which, walk), c.ext[which][2]) if which in c.ext else None
    return otherwise if value is None else value


# ---- Contents of extensions
def members(der, least=1):
    found = items(one(der, 0x30))
    need(len(found) >= least)
    return found


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
    return re.findall(rb"(?s)\x86.(http://[a-z0-9/.]+)", der)  # a point here is one URI


READ = {BC: read_bc, KU: lambda der: bit_numbers(one(der, 3)), NC: read_subtrees, PC: read_constraints, CDP: read_points,
        EKU: lambda der: [dotted(each[need(each[0] == 6) or 1]) for each in members(der)],
        CP: lambda der: [dotted(items(each[1])[0][1]) for each in members(der)],
        PM: lambda der: [tuple(dotted(part[1]) for part in items(each[1])) for each in members(der)],
        IAP: lambda der: number(one(der, 2)), SAN: lambda der: [(tag & 31, body) for tag, body, _ in members(der)]}
READ[IAN] = READ[SAN]


# ---- Signatures and keys
def key_of(spki):
    """Kind and key; of kinds that sign nothing here only whether it is one."""
    algorithm, key = items(one(spki, 0x30))
    kind, *parameters = items(algorithm[1])
    octets = key[1][1:]
    if dotted(kind[1]) == "1.2.840.113549.1.1.1":
        numbers = [number(each[1]) for each in items(one(octets, 0x30))]
        need(numbers[0] % 2 and numbers[1] % 2 and numbers[1] > 1, "keyMalformed")
        return "rsa", numbers
    if dotted(kind[1]) == "1.2.840.10040.4.1":
        need(parameters and number(items(parameters[0][1])[2][1]) > 1, "keyMalformed")
        return "dsa", None
    if dotted(kind[1]) == "1.3.101.112":
        need(int.from_bytes(octets, "little") % (1 << 255) not in (0, 1, (1 << 255) - 20), "keyMalformed")
        return "ed25519", None
    curve = dotted(parameters[0][1])
    need(curve != "1.2.840.10045.3.1.1", "weakKey")
    need(curve in ("1.2.840.10045.3.1.7", "1.3.132.0.33"), "keyNotKnown")
    if curve == "1.3.132.0.33":
        return "ec", None
    try:
        return "ec", ec.EllipticCurvePublicKey.from_encoded_point(ec.SECP256R1(), octets)
    except ValueError:
        raise Bad("keyMalformed")


ECDSA = {"1.2.840.10045.4.1": hashes.SHA1, "1.2.840.10045.4.3.2": hashes.SHA256}
RSA = {"1.2.840.113549.1.1.5": ("sha1", "3021300906052b0e03021a05000414"),
       "1.2.840.113549.1.1.11": ("sha256", "3031300d060960864801650304020105000420")}


def bad_signature(c, spki):
    if c.inner != c.outer:
        return {"signatureAlgorithmsDiffer"}
    algorithm, *parameters = items(one(c.inner, 0x30))
    which = dotted(algorithm[1])
    if which not in ECDSA and which not in RSA:
        return {"signatureNotChecked"}
    if which in ECDSA and parameters:
        return {"signatureParameters"}
    if c.signature[0]:
        return {"signatureNotOctets"}
    kind, key = key_of(spki)
    if (kind == "ec") != (which in ECDSA):
        return {"keyDoesNotFit"}
    if kind == "ec":
        try:
            key.verify(c.signature[1:], c.tbs, ec.ECDSA(ECDSA[which]()))
            return set()
        except InvalidSignature:
            return {"wrongSignature"}
    hash_name, prefix = RSA[which]
    size = (key[0].bit_length() + 7) // 8
    tail = b"\0" + bytes.fromhex(prefix) + hashlib.new(hash_name, c.tbs).digest()
    block = b"\0\1" + b"\xff" * (size - 2 - len(tail)) + tail
    is_right = pow(int.from_bytes(c.signature[1:], "big"), key[1], key[0]) == int.from_bytes(block, "big")
    return set() if is_right else {"wrongSignature"}


def weak_hash(c, o):
    weak = not o.get("allow_sha1") and any(dotted(items(one(c.inner, 0x30))[0][1]) in each for each in
                                           ("1.2.840.10045.4.1", "1.2.840.113549.1.1.5"))
    return {"weakHash"} if weak else set()


def key_kind(c):
    return (tried(set(), key_of, c.spki) or [None])[0]


def weak_key(c):
    out = set()
    kind, key = tried(out, key_of, c.spki) or (None, None)
    return out | ({"weakKey"} if kind == "rsa" and key[0].bit_length() < 2048 else set())


# ---- Rules of one certificate
def out_of_date(c, at):
    if not c.dates:
        return set()
    first, last = c.dates
    return {name for name, holds in (("validityBackwards", first > last), ("notYetValid", at < first),
                                     ("expired", at > last)) if holds}


PROCESSED = {BC, KU, EKU, NC, CP, PM, PC, IAP, SAN, SKI, AKI}
KNOWN = {IAN, FRESH, AIA, SIA, FEATURE, CDP, NOREV, NOCHECK}


def critical(c, o, is_leaf):
    out = set()
    crls = {CDP, NOREV} if o["crls"] or o.get("require_crl") else set()
    ocsp = {NOCHECK} if is_leaf and o["purpose"] == "ocsp" else set()
    for which, is_critical, *_ in c.exts:
        if is_critical and which not in PROCESSED | crls | ocsp:
            out.add("criticalNotProcessed" if which in KNOWN else "unknownCriticalExtension")
        if is_critical and which == CP and b"\6\3\x2a\3\4" in c.ext[CP][2]:  # the qualifier 1.2.3.4
            out.add("criticalNotProcessed")
    return out


def unreadable(exts, decided):
    out = set()
    for which, is_critical, value, _ in exts:
        if which in decided or is_critical and which in PROCESSED | KNOWN:
            tried(out, READ.get(which, walk), value)
    return out


def issuer(c, is_anchor=False):
    if is_anchor and c.version < 3 and not c.exts:
        return set()
    basic, usage = content(c, BC), content(c, KU)
    out = set() if basic and basic.ca or BC in c.ext and not basic else {"notACa"}
    return out | ({"mayNotSign"} if usage is not None and 5 not in usage else set())


def purposes_above(c, o):
    held, purpose = content(c, EKU), o["purpose"]
    if held is None or purpose in ("any", "ocsp"):
        return set()
    return set() if {ANY_USE, f"1.3.6.1.5.5.7.3.{USES[purpose]}"} & set(held) else {"wrongPurpose"}


def purpose_of_leaf(c, o):
    purpose = o["purpose"]
    if purpose == "any":
        return set()
    said = f"1.3.6.1.5.5.7.3.{USES[purpose]}"
    held, out = content(c, EKU), set()
    if EKU not in c.ext:
        out |= {"wrongPurpose"} if purpose in ("code", "time", "ocsp") else set()
    elif held is not None:
        holds = said in held or ANY_USE in held and purpose in ("server", "client", "email")
        if purpose == "time":
            holds = held == [said] and c.ext[EKU][1]
        out |= set() if holds else {"wrongPurpose"}
    also = {"rsa": 2, "ec": 4}.get(key_kind(c), 0)
    wanted = {"server": {0, also}, "client": {0, also & 4}, "code": {0}, "time": {0, 1},
              "ocsp": {0, 1}, "email": {0, 1, also}}[purpose]
    usage = content(c, KU)
    return out | ({"wrongKeyUsage"} if usage is not None and not wanted & usage and key_kind(c) else set())


def is_host(text):
    return all(re.fullmatch(r"[A-Za-z0-9_](?:[A-Za-z0-9_-]*[A-Za-z0-9_])?", label) for label in text.split("."))


def wrong_host(c, o):
    held = content(c, SAN, [])
    if "host" in o:
        wanted = o["host"].lower().removesuffix(".")
        rest = wanted.partition(".")[2]
        texts = [value.decode("latin1").lower() for form, value in held if form == 2]
        found = wanted in texts or rest.count(".") >= 1 and "*." + rest in texts
    elif "ip" in o:
        found = (7, ipaddress.ip_address(o["ip"]).packed) in held
    elif "email" in o:
        local, _, domain = o["email"].rpartition("@")
        found = any(form == 1 and value.decode("latin1").rpartition("@")[0] == local and
                    value.decode("latin1").rpartition("@")[2].lower() == domain.lower() for form, value in held)
    else:
        return set()
    strange = any(form == IP and len(value) not in (4, 16) for form, value in held)
    return bad_texts(c, SAN) | ({"extensionMalformed"} if strange else set()) | (set() if found or SAN in c.ext and not held else {"wrongHost"})


def bad_texts(c, which):
    return set().union(*(bad_text(folded(one(value, 0x30))) for form, value in content(c, which, []) if form == DIR))


# ---- Rules of a way, which is leaf first
def path_length(way):
    out = set()
    for at, c in enumerate(way[1:], 1):
        basic = content(c, BC)
        if basic and basic.length is not None and sum(not each.self_issued for each in way[1:at]) > basic.length:
            out.add("pathTooLong")
    return out


DNS, MAIL, URI, IP, DIR = 2, 1, 6, 7, 4


def names_of(c):
    """(form, value), values as they are compared; None for one that cannot be."""
    out = [(DIR, c.subject)] if c.subject else []
    out += [(MAIL, value.decode() if isinstance(value, bytes) else value[1].decode()) for rdn in c.subject
            for kind, value in rdn if kind == EMAIL]
    for form, value in content(c, SAN, []):
        if form == DIR:
            out.append((form, folded(one(value, 0x30))))
        elif form == 0 and dotted(items(value)[0][1]) == "1.3.6.1.5.5.7.8.9":
            out.append((MAIL, items(items(value)[1][1])[0][1].decode()))
        elif form == IP:
            out.append((form, value if len(value) in (4, 16) else None))
        elif form == URI:
            host = re.match(r"[^:]*://([^/:?#]*)", value.decode())
            out.append((form, host[1].lower() if host and not re.fullmatch(r"[\d.]*", host[1]) else None))
        elif form == DNS:
            text = value.decode("latin1").lower()
            out.append((form, text if is_host(text.removeprefix("*.")) else None))
        else:
            out.append((form, value.decode() if form == MAIL else None))
    return out


def within(form, value, base, excluded):
    if form == DIR:
        prefix = folded(one(base, 0x30))
        return value[:len(prefix)] == prefix
    if form == IP:
        half = len(base) // 2
        return half == len(value) and all(v & m == b & m for v, b, m in zip(value, base, base[half:]))
    base = base.decode().lower() if form != MAIL or b"@" not in base else base.decode()
    if form == MAIL:
        local, _, host = value.rpartition("@")
        at, _, domain = base.rpartition("@")
        host, domain = host.lower(), domain.lower()
        return (at == local and host == domain) if at else host.endswith(domain) if domain[:1] == "." else host == domain
    if form == URI:
        return value.endswith(base) if base[:1] == "." else value == base
    plain = base.removeprefix(".") if excluded else base
    suffix = "." + plain.removeprefix(".")
    if value.startswith("*.") and excluded and plain.partition(".")[2] == value[2:]:
        return True
    return not plain or value == plain or ("x" + value[1:] if value[0] == "*" else value).endswith(suffix)


def is_readable_base(form, base):
    if form != IP:
        return True
    mask = "".join(f"{octet:08b}" for octet in base[len(base) // 2:])
    return len(base) in (8, 32) and "01" not in mask


def constrained(way):
    out = set()
    for at, c in enumerate(way):
        trees = content(c, NC)
        for below, subject in enumerate(way[:at]) if trees else ():
            if below and subject.self_issued:
                continue
            for form, value in names_of(subject):
                permitted, excluded = ([base for kind, base in trees[side] if kind == form] for side in (0, 1))
                if not permitted and not excluded:
                    continue
                if value is None or not all(is_readable_base(form, base) for base in permitted + excluded):
                    out.add("nameNotJudged")
                    continue
                if permitted and not any(within(form, value, base, False) for base in permitted):
                    out.add("nameNotPermitted")
                if any(within(form, value, base, True) for base in excluded):
                    out.add("nameExcluded")
    return out


class Node:
    def __init__(self, policy, expected, parent):
        self.policy, self.expected, self.parent = policy, expected, parent


def pruned(levels):
    for above, below in zip(levels[-2::-1], levels[:0:-1]):
        above[:] = [node for node in above if any(child.parent is node for child in below)]
    return levels if levels[-1] else None


def cut(levels, doomed):
    gone = set(doomed)
    for level in levels:
        gone |= {node for node in level if node.parent in gone}
        level[:] = [node for node in level if node not in gone]
    return pruned(levels)


def policies(way, o):
    """The tree of §6.1 as it is written there, and what it makes of the way."""
    certificates, refused = way[-2::-1], {"noPolicy"}
    n = len(certificates)
    wanted = set(o.get("policy", ()))
    explicit = 0 if wanted or o.get("explicit_policy") else n + 1
    inhibit, mapping = (0 if o.get(each) else n + 1 for each in ("inhibit_any", "inhibit_mapping"))
    levels = [[Node(ANY_POLICY, {ANY_POLICY}, None)]]
    for i, c in enumerate(certificates, 1):
        held = content(c, CP)
        if held is None:
            levels = None
        if levels:
            above, level = levels[-1], []
            for policy in set(held) - {ANY_POLICY}:
                level += ([Node(policy, {policy}, up) for up in above if policy in up.expected] or
                          [Node(policy, {policy}, up) for up in above if up.policy == ANY_POLICY])
            if ANY_POLICY in held and (inhibit > 0 or i < n and c.self_issued):
                level += [Node(each, {each}, up) for up in above for each in up.expected
                          if not any(node.parent is up and node.policy == each for node in level)]
            levels = pruned(levels + [level])
        if explicit == 0 and not levels:
            return refused
        constraints = content(c, PC, {})
        if i == n:
            explicit = 0 if constraints.get(0) == 0 else max(explicit - 1, 0)
            break
        pairs = content(c, PM, [])
        if any(ANY_POLICY in pair for pair in pairs):
            return refused | {"anyPolicyMapped"}
        for policy in {pair[0] for pair in pairs} if levels else ():
            to = {pair[1] for pair in pairs if pair[0] == policy}
            nodes = [node for node in levels[-1] if node.policy == policy] if levels else []
            if mapping == 0:
                levels = levels and cut(levels, nodes)
            elif nodes:
                for node in nodes:
                    node.expected = to
            else:
                levels[-1] += [Node(policy, to, up) for up in levels[-2] if up.policy == ANY_POLICY
                               and any(node.policy == ANY_POLICY for node in levels[-1])]
        if not c.self_issued:
            explicit, mapping, inhibit = (max(each - 1, 0) for each in (explicit, mapping, inhibit))
        explicit, mapping = (min(each, constraints.get(k, each)) for k, each in ((0, explicit), (1, mapping)))
        inhibit = min(inhibit, content(c, IAP, inhibit))
    if levels and wanted:
        rooted = [node for level in levels[1:] for node in level if node.parent.policy == ANY_POLICY]
        ends = any(node.policy == ANY_POLICY for node in levels[-1])
        levels = ends or cut(levels, [node for node in rooted if node.policy not in wanted | {ANY_POLICY}])
    return set() if explicit > 0 or levels else refused


# ---- CRLs
def parse_crl(der):
    c = types.SimpleNamespace(flaws=set())
    c.flaws, tbs, c.outer, c.signature = signed(der)
    parts = items(tbs[1], c.flaws)
    c.tbs, c.inner, c.issuer = tbs[2], parts[1][2], folded(parts[2][1])
    c.dates = tried(set(), lambda: [moment(tag, body) for tag, body, _ in parts[3:] if tag in (0x17, 0x18)]) or []
    tail = [part for part in parts[4:] if part[0] in (0x30, 0xA0)]
    c.exts = extensions(tail.pop()[1], c.flaws) if tail and tail[-1][0] == 0xA0 else []
    c.ext = {each[0]: each for each in c.exts}
    c.entries = {}
    for _, entry, _ in items(tail[0][1]) if tail else ():
        serial, _, *exts = items(entry)
        c.entries[serial[2]] = extensions(exts[0][2], c.flaws) if exts else []
    c.scope = {tag & 31: body for tag, body, _ in items(one(c.ext[IDP][2], 0x30))} if IDP in c.ext else {}
    is_strange = any(each[1] and each[0] not in (IDP, NUMBER, AKI) for each in c.exts) or any(
        each[1] and each[0] != REASON or each[0] == REASON and each[2][-1] == 8 for exts in c.entries.values() for each in exts)
    c.unusable = is_strange or DELTA in c.ext or 4 in c.scope
    return c


def crl_signers(c, way, o):
    """Who may have signed a CRL about a certificate: its issuer, and others of that name that somebody above issued."""
    above = way[way.index(c) + 1:]
    others = [each for each in o["others"] if each.subject == c.issuer and not each.flaws and not out_of_date(each, o["at"])
              and any(up.subject == each.issuer and not bad_signature(each, up.spki) and not revoked(
                  each, [each, up], False, {**o, "others": []}) for up in above)]
    return [each for each in [above[0], *others] if KU not in each.ext or 6 in content(each, KU, ())]


def revoked(c, way, is_leaf, o):
    required = o.get("require_crl") == "all" or o.get("require_crl") == "leaf" and is_leaf
    theirs = [crl for crl in o["crls"] if crl.issuer == c.issuer]
    vouched = NOREV in c.ext and not unreadable([c.ext[NOREV]], {NOREV})
    basic = content(c, BC)
    is_ca = bool(basic and basic.ca)
    signers = crl_signers(c, way, o)
    if vouched and not is_ca or not required and not theirs:
        return set()
    newest, out = {}, set()
    for crl in sorted(theirs, key=lambda crl: crl.dates[:1]):
        if crl.flaws or weak_hash(crl, o) or all(bad_signature(crl, each.spki) for each in signers):
            continue
        in_time = len(crl.dates) == 2 and crl.dates[0] <= o["at"] <= crl.dates[1]
        points = read_points(crl.ext[IDP][2]) if 0 in crl.scope else []
        in_scope = not (1 in crl.scope and is_ca or 2 in crl.scope and not is_ca or 5 in crl.scope) and (
            0 not in crl.scope or set(points) & set(content(c, CDP, [])))
        if not in_time or not in_scope or crl.unusable:
            removed = any(each[0] == REASON and each[2][-1] == 8 for each in crl.entries.get(c.serial, ()))
            out |= {"revoked"} if in_time and c.serial in crl.entries and not removed and 5 not in crl.scope else set()
        else:
            newest.setdefault((repr(crl.scope), crl.dates[0]), []).append(crl)
    reasons = set()
    latest = {scope: moment for scope, moment in newest}  # they came by their dates
    for crl in (each for (scope, moment), crls in newest.items() if moment == latest[scope] for each in crls):
        out |= {"revoked"} if c.serial in crl.entries else set()
        reasons |= bit_numbers(crl.scope[3]) if 3 in crl.scope else set(range(1, 9))
    return out or (set() if reasons >= set(range(1, 9)) else {"revocationUnknown"})


SERVER = "1.3.6.1.5.5.7.3.1"


# ---- Profiles
def rfc5280(c):
    basic, usage = content(c, BC), content(c, KU)
    is_ca, signs = bool(basic and basic.ca), bool(usage and 5 in usage)
    is_critical = {each[0]: each[1] for each in c.exts}
    rules = {
        "caWithoutSubjectKeyId": is_ca and SKI not in c.ext,
        "noAuthorityKeyId": AKI not in c.ext and c.version == 3,
        "caWithoutKeyUsage": is_ca and KU not in c.ext,
        "pathLengthWithoutCa": basic and basic.length is not None and not (is_ca and (signs or usage is None)),
        "certSignWithoutCa": signs and not is_ca,
        "extensionMalformed": unreadable(c.exts, {SKI, AKI, SAN, IAN}) or is_ca and EKU in c.ext and not content(c, EKU) or any(
            form == IP and len(value) not in (4, 16) for which in (SAN, IAN) for form, value in content(c, which, [])),
        "nameTextMalformed": bad_texts(c, SAN) | bad_texts(c, IAN),
        "subjectEmpty": not c.subject and (is_ca or not is_critical.get(SAN)),
        "criticalityWrong": is_critical.get(SKI) or is_critical.get(AKI) or is_ca and not is_critical[BC]
        or any(is_critical.get(each) is False for each in (NC, PC, IAP)) or not c.subject and not is_critical.get(SAN),
        "constraintsWithoutCa": not is_ca and any(each in c.ext for each in (NC, PC, IAP)),
        "serialTooLong": len(c.number) > 20, "serialZero": c.number == b"\0", "serialNegative": c.number[0] > 127,
        "defaultEncoded": basic and basic.written or any(each[3] for each in c.exts),
        "versionOneEncoded": c.version_written and c.version == 1}
    return {name for name, broken in rules.items() if broken}


def web(c, is_leaf):
    use, basic = content(c, EKU, []), content(c, BC)
    ids = tried(set(), lambda: items(one(c.ext[AKI][2], 0x30))) if AKI in c.ext else None
    kind, key = tried(set(), key_of, c.spki) or ("", True)
    held = content(c, SAN, [])
    common = [value for rdn in c.subject for type_, value in rdn if type_ == CN]
    texts = [value.lower() if form == DNS else str(ipaddress.ip_address(value)).encode() for form, value in held
             if form == DNS or form == IP and len(value) in (4, 16)]
    issued = datetime.fromtimestamp(c.dates[0], timezone.utc).date().isoformat() if c.dates else ""
    most = next(days for start, days in (("2029-03-15", 47), ("2027-03-15", 100), ("2026-03-15", 200), ("", 398))
                if issued >= start)
    rules = {
        "webNoAlternativeNames": is_leaf and not held,
        "webOtherNames": is_leaf and any(form not in (DNS, IP) or form == IP and len(value) not in (4, 16) for form, value in held),
        "webCommonName": is_leaf and any(value not in texts for value in common),
        "webServerIsCa": is_leaf and basic and basic.ca,
        "webAuthorityKeyId": not ids or [each[0] for each in ids] != [0x80],
        "webNoServerAuth": SERVER not in use and (is_leaf or EKU in c.ext and ANY_USE not in use),
        "webAnyPurpose": ANY_USE in use and (is_leaf or SERVER in use),
        "webKey": kind == "rsa" and (key[0].bit_length() < 2048 or key[0].bit_length() % 8) or not key,
        "webVersion": c.version != 3,
        "webAccess": AIA in c.ext and bool(unreadable([c.ext[AIA]], {AIA})),
        "webValidity": is_leaf and c.dates and c.dates[1] - c.dates[0] + 1 > most * DAY}
    return {name for name, broken in rules.items() if broken}


# ---- The judgement
def judge(way, o):
    """Every reason for which the way, leaf first and the anchor last, does not hold."""
    anchor, out, trusted_leaf = way[-1], set(), len(way) == 1
    decided = {BC, KU, EKU, NC, CP, PM, PC, IAP} | ({CDP, NOREV} if o["crls"] or o.get("require_crl") else set())
    is_named = any(NC in c.ext for c in way[1:])
    for at, c in enumerate(way[:-1]):
        is_leaf = at == 0
        targeted = is_leaf and ({"host", "ip", "email"} & set(o))
        out |= c.flaws | bad_signature(c, way[at + 1].spki) | weak_hash(c, o) | weak_key(c) | out_of_date(c, o["at"])
        out |= critical(c, o, is_leaf) | unreadable(c.exts, decided | ({SAN} if targeted or is_named else set()))
        out |= revoked(c, way, is_leaf, o) if o["crls"] or o.get("require_crl") else set()
        out |= set() if is_leaf else issuer(c) | purposes_above(c, o)
        out |= {"rfc5280": lambda: rfc5280(c), "web": lambda: web(c, is_leaf)}.get(o.get("profile"), set)()
    out |= purpose_of_leaf(way[0], o) | wrong_host(way[0], o)
    out |= out_of_date(anchor, o["at"]) | weak_key(anchor) | critical(anchor, o, trusted_leaf)
    binding = {BC, KU, NC, EKU} | ({SAN} if trusted_leaf and {"host", "ip", "email"} & set(o) else set())
    out |= unreadable(anchor.exts, binding)
    out |= anchor.flaws & {"extensionListMalformed", "dateMalformed", "dateNotDer", "lengthNotShortest", "booleanNotDer"}
    held = [each[0] for each in anchor.exts if each[0] in binding | {each[0] for each in anchor.exts if each[1]}]
    out |= {"extensionRepeated"} if len(held) > len(set(held)) else set()
    if trusted_leaf:
        return out
    return out | issuer(anchor, True) | purposes_above(anchor, o) | path_length(way) | constrained(way) | policies(way, o)


def ways(leaf, anchors, others, most=16):
    """Every way by names alone, without a name and key twice."""
    who = lambda c: (tuple(c.subject), c.spki)
    if any(leaf.der == anchor.der for anchor in anchors):
        yield [leaf]
    def climb(way):
        met = {who(c) for c in way}
        yield from ([*way, each] for each in anchors if each.subject == way[-1].issuer and who(each) not in met)
        for each in others if len(way) + 2 <= most else ():
            if each.subject == way[-1].issuer and who(each) not in met:
                yield from climb([*way, each])
    yield from climb([leaf])


def verdict(leaf, anchors, others, crls, at, options):
    """Whether a way holds; and (way, reasons) of each."""
    def readable(read, ders):
        return [each for each in (tried(set(), read, der) for der in ders) if each]
    lists = [each for each in readable(parse_crl, crls) if not each.flaws]  # of a file that holds one that is none, none is used
    options = {**options, "at": at, "crls": lists if len(lists) == len(crls) else [], "others": readable(certificate, others)}
    leaves = readable(certificate, [leaf])
    if not leaves:
        return False, [([], {"malformed"})]
    judged = [(way, judge(way, options)) for way in
              ways(leaves[0], readable(certificate, anchors), options["others"])]
    return any(not reasons for _, reasons in judged), judged

"""What OpenSSL says of the names and extensions that "show --json" decodes; a part of compare_with_openssl.py."""
import ipaddress
import re
import subprocess

USES = {"Digital Signature": "digitalSignature", "Non Repudiation": "nonRepudiation", "Key Encipherment": "keyEncipherment",
        "Data Encipherment": "dataEncipherment", "Key Agreement": "keyAgreement", "Certificate Sign": "keyCertSign",
        "CRL Sign": "cRLSign", "Encipher Only": "encipherOnly", "Decipher Only": "decipherOnly"}
PURPOSES = {"TLS Web Server Authentication": "1.3.6.1.5.5.7.3.1", "TLS Web Client Authentication": "1.3.6.1.5.5.7.3.2",
            "Code Signing": "1.3.6.1.5.5.7.3.3", "E-mail Protection": "1.3.6.1.5.5.7.3.4", "Time Stamping": "1.3.6.1.5.5.7.3.8",
            "OCSP Signing": "1.3.6.1.5.5.7.3.9", "Any Extended Key Usage": "2.5.29.37.0"}
KINDS = {"othername": "otherName", "email": "email", "DNS": "dns", "X400Name": "x400", "DirName": "directory",
         "EdiPartyName": "ediParty", "URI": "uri", "IP Address": "ip", "Registered ID": "registeredId"}
KEYWORDS = {"CN": "2.5.4.3", "SN": "2.5.4.4", "serialNumber": "2.5.4.5", "C": "2.5.4.6", "L": "2.5.4.7", "ST": "2.5.4.8",
            "STREET": "2.5.4.9", "O": "2.5.4.10", "OU": "2.5.4.11", "title": "2.5.4.12", "description": "2.5.4.13",
            "businessCategory": "2.5.4.15", "postalCode": "2.5.4.17", "name": "2.5.4.41", "givenName": "2.5.4.42", "dnQualifier": "2.5.4.46",
            "DC": "0.9.2342.19200300.100.1.25", "UID": "0.9.2342.19200300.100.1.1", "emailAddress": "1.2.840.113549.1.9.1"}


def ask(der, *options):
    done = subprocess.run(["openssl", "x509", "-inform", "DER", "-noout", *options], input=der, capture_output=True)
    return done.stdout.decode("utf-8", "replace")


def rdns(text, text_of):
    """The RDNs of RFC 4514 text, each a sorted list of (OID, text); "#" and hexadecimal are given to text_of."""
    found = [[]]
    for attribute, separator in re.findall(r"((?:[^\\,+]|\\[0-9A-Fa-f]{2}|\\.)+)([,+]|$)", text, re.DOTALL):
        kind, value = attribute.split("=", 1)
        if value.startswith("#"):
            value = text_of(bytes.fromhex(value[1:]))
        else:
            octets = re.sub(rb"\\([0-9A-Fa-f]{2}|.)", lambda match: bytes.fromhex(match[1].decode()) if len(match[1]) == 2 else match[1],
                            value.encode(), flags=re.DOTALL)
            value = octets.decode("utf-8", "replace")
        found[-1].append((KEYWORDS.get(kind, kind), value))
        if separator == ",":
            found.append([])
    return [sorted(rdn) for rdn in found]


def split_names(text):
    """(kind, value) of each general name; values that hold commas are told from the next name by its kind."""
    parts = re.split(r",? *(?:^|(?<=, ))(%s): ?" % "|".join(KINDS), text)
    return [(KINDS[kind], value.removesuffix(", ")) for kind, value in zip(parts[1::2], parts[2::2])]


def said_names(text):
    values = [(kind, value if kind in ("dns", "email", "uri", "registeredId") else "") for kind, value in split_names(text)]
    addresses = iter([ipaddress.ip_address(value.strip()) for kind, value in split_names(text) if kind == "ip"])
    return [(kind, str(next(addresses)) if kind == "ip" else value) for kind, value in values]


def shown_names(names):
    return [(each["type"], each["value"] if each["type"] in ("dns", "email", "uri", "registeredId", "ip") else "") for each in names]


# Each gives what OpenSSL's words say and what the program does, to be the same.

def basic_constraints(text, said):
    length = re.search(r"pathlen:(\d+)", text)
    return ("CA:TRUE" in text, int(length[1]) if length else None), (said["ca"], said["pathLength"])


def key_identifier(text, said):
    return re.search(r"(?:keyid:)?([0-9A-F:]+)$", text.split("\n")[0])[1].replace(":", ""), said["keyIdentifier"]


def authority(text, said):
    key = re.search(r"^(?:keyid:)?((?:[0-9A-F]{2}:?)+)$", text, re.MULTILINE)
    serial = re.search(r"^serial:([0-9A-F:]+)$", text, re.MULTILINE)
    return ((key and key[1].replace(":", ""), serial and int(serial[1].replace(":", ""), 16), "DirName:" in text),
            (said["keyIdentifier"], said["serialNumber"] and int(said["serialNumber"], 16),
             any(each["type"] == "directory" for each in said["issuer"])))


def policies(text, said):
    found = [{"X509v3 Any Policy": "2.5.29.32.0"}.get(name, name) for name in re.findall(r"^Policy: (.*)$", text, re.MULTILINE)]
    statements = [each["uri"] for policy in said for each in policy["qualifiers"] if each["type"] == "cps"]
    return (found, re.findall(r"CPS: (.*)", text)), ([each["oid"] for each in said], statements)


def accesses(text, said):
    names = {"OCSP": "ocsp", "CA Issuers": "caIssuers"}
    found = [(names[method], uri) for method, uri in re.findall(r"^(OCSP|CA Issuers) - URI:(.*)$", text, re.MULTILINE)]
    return found, [(each["name"], each["location"]["value"]) for each in said
                   if each["name"] in names.values() and each["location"]["type"] == "uri"]


def points(text, said):
    return (re.findall(r"^ *URI:(.*)$", text, re.MULTILINE),
            [each["value"] for point in said for each in point["fullName"] if each["type"] == "uri"])


COMPARED = {
    "2.5.29.19": ("basicConstraints", "X509v3 Basic Constraints", basic_constraints),
    "2.5.29.15": ("keyUsage", "X509v3 Key Usage", lambda text, said: ([USES[use] for use in text.split(", ") if use], said)),
    "2.5.29.37": ("extendedKeyUsage", "X509v3 Extended Key Usage", lambda text, said: (
        [PURPOSES.get(name, name) for name in text.split(", ")],
        [each["oid"] if each["oid"] in PURPOSES.values() or re.search(re.escape(each["oid"]), text) else "?" for each in said])),
    "2.5.29.14": ("subjectKeyIdentifier", "X509v3 Subject Key Identifier", key_identifier),
    "2.5.29.35": ("authorityKeyIdentifier", "X509v3 Authority Key Identifier", authority),
    "2.5.29.17": ("subjectAltName", "X509v3 Subject Alternative Name", lambda text, said: (said_names(text), shown_names(said))),
    "2.5.29.32": ("certificatePolicies", "X509v3 Certificate Policies", policies),
    "1.3.6.1.5.5.7.1.1": ("authorityInfoAccess", "Authority Information Access", accesses),
    "2.5.29.31": ("crlDistributionPoints", "X509v3 CRL Distribution Points", points),
}


def differences(der, shown, text_of):
    """What OpenSSL says otherwise of the names as RFC 4514 text and of the decoded extensions."""
    forms = "esc_2253,utf8,dump_nostr,dump_der,sep_comma_plus,dn_rev,oid"
    for which in ("subject", "issuer"):
        said, ours = ask(der, "-" + which, "-nameopt", forms).rstrip("\n").split("=", 1)[1], shown[which + "Rfc4514"]
        if ours is None or rdns(said, text_of) != rdns(ours, text_of):
            yield f"{which}Rfc4514: {ours!r}, OpenSSL {said!r}"
    text = ask(der, "-ext", ",".join(name for name, _, _ in COMPARED.values()))
    sections = dict(re.findall(r"^(\S[^:\n]*): ?(?:critical)?\n((?: {4}.*\n|\n(?= ))*)", text, re.MULTILINE))
    for one in shown["extensions"]:
        said = one["decoded"]
        if one["oid"] not in COMPARED or said is None or "error" in said or "'malformed'" in str(said):
            continue
        name, title, compare = COMPARED[one["oid"]]
        lines = re.sub(r"^ {4}", "", sections.get(title, "").rstrip("\n"), flags=re.MULTILINE)
        theirs, ours = compare(lines, said)
        if theirs != ours:
            yield f"{name}: {ours!r}, OpenSSL {theirs!r} in {lines!r}"

#!/usr/bin/env python3
"""Compares what the command line says of certificates with what OpenSSL says of them.

compare_with_openssl.py PROGRAM [FILE]...   (default: the system's CA bundle, the sample files and the
                                             seeds that have one extension of each kind)

Of every certificate that OpenSSL reads: each key of "show --json"; and the ASN.1 XML form, which is
encoded to DER here and must give the certificate's bytes, and which the program must read back as it
wrote it.

OpenSSL is asked for the names, the serial number, the dates, the algorithms, the size and curve of the
key, the subject key identifier, the e-mail addresses, both names as RFC 4514 text, and of the decoded
extensions the basic constraints, key usage, extended key usage, key identifiers, kinds and values of
subject alternative names, policies with their statements, and the URIs of information access and
distribution points; a walk through the DER here gives the rest, and a second opinion on most of these.
Python's cryptography, where it is installed, is asked for both names, RDN by RDN and read back from their
RFC 4514 text, and for everything that is decoded of the extensions that it knows. The last lines name what
it was not asked, and why; the departures are compared with nobody.
Where OpenSSL is not believed:
- A date that is not in the form of RFC 5280 is a bad one to it.
- It does not read names that hold a VisibleString or text that is not of its type, nor dates of other
  types; those certificates are left out.
- It shows no key that it cannot load, and no list of general names of which one is malformed.
- Of an extension that is there twice it takes neither, the program the first.
- As an e-mail address it takes an IA5String alone, and of those with a NUL nothing.
And where the program is not what others are, by design: every string type that is none of UTF8String,
PrintableString, T61String and IA5String is read as UTF-16.
"""
import base64
import concurrent.futures
import datetime
import hashlib
import html
import ipaddress
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "common"))

import cryptography_decoded  # noqa: E402
import openssl_decoded  # noqa: E402
from der import base_128, dotted, items, oid, seq, tlv  # noqa: E402

BUNDLE = pathlib.Path("/etc/ssl/certs/ca-certificates.crt")
DATA = pathlib.Path(__file__).resolve().parent / "data"
EXAMPLES = DATA.parent.parent / "examples"
SEEDS = DATA.parent.parent / "fuzz/seeds/both_faces"

# The names of style 0; every other type is "OID." and the dotted OID.
NAMES = {
    "1.2.840.113549.1.9.1": "E", "0.9.2342.19200300.100.1.25": "DC", "2.5.4.3": "CN", "2.5.4.4": "SN",
    "2.5.4.5": "SERIALNUMBER", "2.5.4.6": "C", "2.5.4.7": "L", "2.5.4.8": "ST", "2.5.4.9": "STREET",
    "2.5.4.10": "O", "2.5.4.11": "OU", "2.5.4.12": "Title", "2.5.4.13": "Description",
    "2.5.4.14": "SearchGuide", "2.5.4.15": "BusinessCategory", "2.5.4.16": "PostalAddress",
    "2.5.4.17": "PostalCode", "2.5.4.18": "PostOfficeBox", "2.5.4.19": "PhysicalDeliveryOfficeName",
    "2.5.4.20": "TelephoneNumber", "2.5.4.23": "FaxNumber", "2.5.4.42": "G",
    "2.5.4.97": "OrganizationID"}

# What OpenSSL calls the algorithms of certificates. One it does not know it shows as an OID.
ALGORITHMS = {
    "rsaEncryption": "1.2.840.113549.1.1.1", "md5WithRSAEncryption": "1.2.840.113549.1.1.4",
    "sha1WithRSAEncryption": "1.2.840.113549.1.1.5", "rsassaPss": "1.2.840.113549.1.1.10",
    "sha256WithRSAEncryption": "1.2.840.113549.1.1.11", "sha384WithRSAEncryption": "1.2.840.113549.1.1.12",
    "sha512WithRSAEncryption": "1.2.840.113549.1.1.13", "id-ecPublicKey": "1.2.840.10045.2.1",
    "ecdsa-with-SHA1": "1.2.840.10045.4.1", "ecdsa-with-SHA256": "1.2.840.10045.4.3.2",
    "ecdsa-with-SHA384": "1.2.840.10045.4.3.3", "ecdsa-with-SHA512": "1.2.840.10045.4.3.4",
    "dsaEncryption": "1.2.840.10040.4.1", "dsa_with_SHA256": "2.16.840.1.101.3.4.3.2",
    "ED25519": "1.3.101.112"}

KEY_TYPES = {"1.2.840.113549.1.1.1": "RSA", "1.2.840.113549.1.1.10": "RSA-PSS", "1.2.840.10045.2.1": "EC",
             "1.2.840.10040.4.1": "DSA", "1.3.101.112": "Ed25519"}

# OID, the program's name and OpenSSL's.
CURVES = {"1.2.840.10045.3.1.1": ("P-192", "prime192v1"), "1.3.132.0.33": ("P-224", "secp224r1"),
          "1.2.840.10045.3.1.7": ("P-256", "prime256v1"), "1.3.132.0.34": ("P-384", "secp384r1"),
          "1.3.132.0.35": ("P-521", "secp521r1"), "1.3.132.0.10": ("secp256k1", "secp256k1"),
          "1.3.36.3.3.2.8.1.1.7": ("brainpoolP256r1", "brainpoolP256r1"),
          "1.3.36.3.3.2.8.1.1.11": ("brainpoolP384r1", "brainpoolP384r1"),
          "1.3.36.3.3.2.8.1.1.13": ("brainpoolP512r1", "brainpoolP512r1")}

# A curve that has a name, but on which nothing is computed.
NAMED_CURVES = {"1.3.132.0.27": "sect233r1"}

EMAIL = "1.2.840.113549.1.9.1"

MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec"

TAGS = {"bool": 0x01, "int": 0x02, "bits": 0x03, "octets": 0x04, "null": 0x05, "oid": 0x06,
        "enumerated": 0x0A, "utf8": 0x0C, "printable": 0x13, "t61": 0x14, "ia5": 0x16, "utctime": 0x17,
        "sequence": 0x30, "set": 0x31}


# DER, read here.

def members(der):
    """(tag, content) of each member of a content."""
    return [each[:2] for each in items(der)]


def fields(der):
    """Version and the dotted OIDs of the outer signature algorithm and the key's algorithm."""
    (_, tbs), (_, algorithm), _ = members(items(der)[0][1])
    parts = members(tbs)
    version = parts.pop(0)[1][-1] + 1 if parts[0][0] == 0xA0 else 1
    key_algorithm = members(parts[5][1])[0][1]
    listed = next((content for tag, content in parts[6:] if tag == 0xA3), b"")
    extensions = [extension(content) for _, content in members(members(listed)[0][1])] if listed else []
    names = general_names(extensions)
    attributes = {"subject": attributes_in(parts[4][1]), "issuer": attributes_in(parts[2][1])}
    return {"version": version, "signatureAlgorithm": dotted(members(algorithm)[0][1]),
            "publicKeyAlgorithm": dotted(members(key_algorithm)[0][1]),
            "subject": name_text(attributes["subject"]), "issuer": name_text(attributes["issuer"]),
            "selfIssued": name_text(attributes["subject"]) == name_text(attributes["issuer"]),
            "extensions": extensions, "subjectAltNames": [shown_name(*name) for name in names],
            "emails": addresses(attributes["subject"], names),
            "subjectKeyIdentifier": subject_key_identifier(extensions),
            "authorityKeyIdentifier": authority_key_identifier(extensions),
            "warnings": ["only a certificate of version 3 may have extensions"] if extensions and version < 3 else [],
            "publicKey": public_key(parts[5][1]), "sha1": hashlib.sha1(der).hexdigest().upper(),
            "sha256": hashlib.sha256(der).hexdigest().upper(),
            "spkiSha256": base64.b64encode(hashlib.sha256(seq(parts[5][1])).digest()).decode()}


def attributes_in(name):
    """(OID, tag, content) of each attribute of the content of a Name."""
    found = []
    for _, rdn in members(name):
        for _, attribute in members(rdn):
            (_, oid), (tag, content) = members(attribute)
            found.append((dotted(oid), tag, content))
    return found


def extension(content):
    parts = members(content)
    return {"oid": dotted(parts[0][1]), "critical": parts[1][0] == 1 and parts[1][1] != b"\0",
            "value": base64.b64encode(parts[-1][1]).decode()}


def extension_value(extensions, oid):
    """(tag, content) of the element in the first extension with that OID; (None, b"") without one."""
    for one in extensions:
        if one["oid"] == oid:
            try:
                found = members(base64.b64decode(one["value"]))
                return found[0] if len(found) == 1 else (None, b"")
            except (IndexError, ValueError):
                return None, b""
    return None, b""


def subject_key_identifier(extensions):
    tag, content = extension_value(extensions, "2.5.29.14")
    return content.hex().upper() if tag == 0x04 and content else None


def authority_key_identifier(extensions):
    tag, content = extension_value(extensions, "2.5.29.35")
    content = content if tag == 0x30 else b""
    return next((field.hex().upper() for tag, field in members(content) if tag == 0x80 and field), None)


def general_names(extensions):
    tag, content = extension_value(extensions, "2.5.29.17")
    return members(content) if tag == 0x30 else []


def shown_name(tag, content):
    """A general name as the program shows it; the data have no malformed one but of an IP address."""
    kinds = ["otherName", "email", "dns", "x400", "directory", "ediParty", "uri", "ip", "registeredId"]
    value = base64.b64encode(tlv(tag, content)).decode()
    if tag in (0x81, 0x82, 0x86):
        value = content.decode("utf-8", "replace")
    elif tag == 0x87 and len(content) not in (4, 16):
        return {"type": "ip", "value": None, "malformed": value}
    elif tag == 0x87:
        value = str(ipaddress.ip_address(content))
    elif tag == 0x88:
        value = dotted(content)
    elif tag == 0xA4:
        value = name_text(attributes_in(members(content)[0][1]))
    elif tag == 0xA0:
        (_, oid), (_, wrapped) = members(content)
        inner, text = members(wrapped)[0]
        value = {"oid": dotted(oid)}
        value.update({"text": text.decode()} if inner in (0x0C, 0x13, 0x16) else {"hex": wrapped.hex().upper()})
    return {"type": kinds[tag & 0x1F], "value": value}


def addresses(subject, names):
    found = [value_text(tag, content) for oid, tag, content in subject if oid == EMAIL]
    found += [content.decode("utf-8", "replace") for tag, content in names if tag == 0x81]
    return list(dict.fromkeys(address for address in found if address))


def public_key(info):
    (_, algorithm), (_, bits) = members(info)
    parts = members(algorithm)
    kind = KEY_TYPES.get(dotted(parts[0][1]), dotted(parts[0][1]))
    size = curve = None
    try:
        size, curve = size_and_curve(kind, parts[1:], bits[1:])
    except (IndexError, ValueError, StopIteration):
        pass  # a key that is none
    return {"type": kind, "bits": size, "curve": curve}


def size_and_curve(kind, parameters, bits):
    size = curve = None
    if kind in ("RSA", "RSA-PSS"):
        size = int.from_bytes(members(items(bits)[0][1])[0][1], "big").bit_length()
    elif kind == "DSA":
        size = int.from_bytes(members(parameters[0][1])[0][1], "big").bit_length()
    elif kind == "Ed25519":
        size = 255
    elif kind == "EC" and parameters[0][0] == 0x06:
        oid = dotted(parameters[0][1])
        curve = CURVES.get(oid, (NAMED_CURVES.get(oid, oid),))[0]
        # Every curve of the table has as many bits as its name says.
        size = int(re.search(r"\d{3}", curve)[0]) if oid in CURVES else None
    elif kind == "EC":
        _, field = members(parameters[0][1])[1]
        size = int.from_bytes(members(field)[1][1], "big").bit_length()
    return size, curve


# The ASN.1 XML form, encoded here.

def numbered(kind, number, content):
    """An element of a tag number that may be high."""
    return tlv(kind | number, content) if number < 31 else \
        bytes([kind | 0x1F]) + base_128(number) + tlv(0, content)[1:]


def der_of(name, attributes, text, inner):
    """The DER of one XML element; `inner` is that of its children."""
    if name in ("contextSpecific", "application", "private", "universal"):
        kind = {"universal": 0x00, "application": 0x40, "contextSpecific": 0x80, "private": 0xC0}[name]
        number = int(attributes["tag" if name == "contextSpecific" else "number"])
        if attributes.get("constructed") == "1":
            return numbered(kind | 0x20, number, inner)
        return numbered(kind, number, base64.b64decode(text, validate=True))
    if name in ("sequence", "set"):
        content = inner
    elif name in ("int", "enumerated", "bool", "null"):
        content = bytes.fromhex(text)
    elif name == "bits":
        content = bytes([int(attributes.get("unused", "0"))]) + bytes.fromhex(text)
    elif name == "octets":
        content = base64.b64decode(text, validate=True)
    elif name == "oid":
        return oid(text)
    elif name == "utf8" and "encoding" not in attributes:
        content = text.encode()
    else:
        content = text.encode("latin-1")
    return tlv(TAGS[name], content)


def xml_to_der(xml):
    """The DER of a compact ASN.1 XML text. Not every reader of XML takes &#0;, so it is read here."""
    open_elements, done = [], b""
    for close, name, attributes, text in re.findall(r"<(/?)(\w+)([^>]*)>|([^<]+)", xml):
        if text:
            # Every numeric reference stands for its character, also those that HTML replaces.
            open_elements[-1][2] = re.sub(r"&#(\d+);|&\w+;", lambda match: chr(int(match[1])) if match[1]
                                          else html.unescape(match[0]), text)
        elif not close:
            open_elements.append([name, dict(re.findall(r'(\w+)="([^"]*)"', attributes)), "", b""])
        else:
            done = der_of(*open_elements.pop())
            if open_elements:
                open_elements[-1][3] += done
    return done


# OpenSSL's view.

def openssl_view(der):
    """What OpenSSL says of a certificate; None when it does not read it."""
    command = ["openssl", "x509", "-inform", "DER", "-noout", "-subject", "-issuer", "-serial", "-dates",
               "-nameopt", "oid,dump_all,dump_der,sep_multiline", "-text", "-certopt",
               "no_header,no_version,no_serial,no_issuer,no_subject,no_validity,no_extensions,no_sigdump"]
    done = subprocess.run(command, input=der, capture_output=True)
    if done.returncode != 0:
        return None
    text = done.stdout.decode()

    # Beside other options openssl shows no more of these.
    identifier, emails = openssl_decoded.ask(der, "-ext", "subjectKeyIdentifier"), openssl_decoded.ask(der, "-email")

    def after(pattern, text=text):
        found = re.search(pattern, text, re.MULTILINE)
        return found[1].strip() if found else None

    return {"subject": attributes_of(text, "subject"), "issuer": attributes_of(text, "issuer"),
            "serialNumber": int(after(r"^serial=(.*)"), 16),
            "notBefore": date_of(after(r"^notBefore=(.*)")), "notAfter": date_of(after(r"^notAfter=(.*)")),
            "signatureAlgorithm": oid_of(after(r"Signature Algorithm: (.*)")),
            "publicKeyAlgorithm": oid_of(after(r"Public Key Algorithm: (.*)")),
            "bits": after(r"Public-Key: \((\d+) bit\)"), "curve": after(r"ASN1 OID: (.*)"),
            "subjectKeyIdentifier": after(r"Subject Key Identifier: *(?:critical)?\n *([0-9A-F:]+)$", identifier),
            "emails": [line for line in emails.splitlines() if re.fullmatch(r"[!-~]+@[!-~]+", line)]}


def attributes_of(text, name):
    """(OID, tag, content) of each attribute of a name, in order; each is shown as OID=#DER."""
    block = re.search(rf"^{name}=\s*((?:\n? *[\d.]+ ?= ?#[0-9A-F]+|\s*\+\s*)*)", text, re.MULTILINE)[1]
    found = []
    for oid, value in re.findall(r"([\d.]+) ?= ?#([0-9A-F]+)", block):
        found.append((oid, *members(bytes.fromhex(value))[0]))
    return found


def date_of(text):
    """ISO 8601 of OpenSSL's form of a date; None for what it says of one that is none."""
    found = re.fullmatch(r"([A-Z][a-z]{2}) +(\d+) ([\d:]{8}) (\d+) GMT", text)
    if not found:
        return None
    month, day, time, year = found.groups()
    return f"{int(year):04}-{MONTHS.index(month) // 3 + 1:02}-{int(day):02}T{time}Z"


def oid_of(name):
    """None for a name that is not in the table: the DER alone then decides."""
    return name if name is None or re.fullmatch(r"[\d.]+", name) else ALGORITHMS.get(name)


# The comparison.

def value_text(tag, content):
    if tag == 0x0C:
        try:
            return content.decode()
        except UnicodeDecodeError:
            return content.decode("latin-1")
    if tag in (0x13, 0x14, 0x16):
        return content.decode("latin-1")
    return content.decode("utf-16-be", "replace")


def text_of(der):
    return value_text(*members(der)[0])


def quoted(tag, content):
    value = value_text(tag, content)
    return f'"{value}"' if "," in value else value


def name_text(attributes):
    return ", ".join(NAMES.get(oid, "OID." + oid) + "=" + quoted(tag, content) for oid, tag, content in attributes)


def second_opinion(view, expected):
    """What OpenSSL sees differently from the walk through the DER, where it says anything at all."""
    key = expected["publicKey"]
    identifier = (view["subjectKeyIdentifier"] or "").replace(":", "")
    believed = {"bits": (view["bits"], str(key["bits"])), "identifier": (identifier, expected["subjectKeyIdentifier"]),
                "curve": (view["curve"], next((name for ours, name in CURVES.values() if ours == key["curve"]), None))}
    for what, (said, found) in believed.items():
        if said and found not in (said, "None", None):
            yield f"{what}: OpenSSL {said}, in the DER {found}"
    oids = [one["oid"] for one in expected["extensions"]]
    plain = [address for address in expected["emails"] if re.fullmatch(r"[!-~]+@[!-~]+", address)]
    if view["emails"] != plain and len(oids) == len(set(oids)):
        yield f"emails: OpenSSL {view['emails']}, in the DER {plain}"


def differences(der, view, shown, xml):
    """One line for each thing that is not as it should be."""
    if "error" in shown:
        yield "not read: " + shown["error"]
        return
    expected = fields(der)
    for key in ("signatureAlgorithm", "publicKeyAlgorithm"):
        if view[key] not in (None, expected[key]):
            yield f"{key}: OpenSSL {view[key]}, in the DER {expected[key]}"
    yield from second_opinion(view, expected)
    expected.update(subject=name_text(view["subject"]), issuer=name_text(view["issuer"]))
    # OpenSSL shows only dates in the form of RFC 5280; what it says of others is no answer.
    expected.update({key: view[key] for key in ("notBefore", "notAfter") if view[key]})
    now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    dates = shown["notBefore"], shown["notAfter"]
    expected["validNow"] = None if None in dates else dates[0] <= now <= dates[1]
    yield from openssl_decoded.differences(der, shown, text_of)
    yield from cryptography_decoded.differences(der, shown, name_text)
    for one in shown["extensions"]:
        del one["name"], one["decoded"]  # the one for people, the other compared
    for key, value in expected.items():
        if shown[key] != value:
            yield f"{key}: {shown[key]!r}, expected {value!r}"
    serial = int.from_bytes(bytes.fromhex(shown["serialNumber"]), "big", signed=True)
    if serial != view["serialNumber"]:
        yield f"serialNumber: {shown['serialNumber']}, expected {view['serialNumber']:X}"
    if xml_to_der(xml) != der:
        yield "the XML form is not that of the DER"


def certificates_of(path):
    """The DER of the certificates of a PEM or DER file. Blocks that are no base64 are passed over."""
    content = path.read_bytes()
    blocks = re.findall(rb"-----BEGIN CERTIFICATE-----([\sA-Za-z0-9+/=]+)-----END CERTIFICATE-----", content)
    candidates = [base64.b64decode(block) for block in blocks] or [content]
    for der in candidates:
        try:
            if len(items(der)) == 1:
                fields(der)
                yield der
        except (IndexError, ValueError, StopIteration):
            pass


def run(*command):
    """Standard output. Status 3 tells that something could not be read, which the output shows too."""
    done = subprocess.run(command, capture_output=True)
    if done.returncode not in (0, 3):
        sys.exit(f"{command} ended with {done.returncode}: {done.stderr.decode()}")
    return done.stdout.decode()


def main():
    if not shutil.which("openssl"):
        print("Skipped: there is no openssl here.")
        return 0
    program = sys.argv[1]
    paths = [pathlib.Path(name) for name in sys.argv[2:]]
    if not paths:
        paths = [BUNDLE] if BUNDLE.exists() else []
        paths += sorted(path for folder in (DATA, EXAMPLES) for path in folder.rglob("*") if path.suffix in (".pem", ".der", ".crt"))
        paths += sorted(path for path in SEEDS.iterdir() if not path.name.startswith("malformed"))
    ders = list(dict.fromkeys(der for path in paths for der in certificates_of(path)))
    with concurrent.futures.ThreadPoolExecutor() as pool:
        views = list(pool.map(openssl_view, ders))
    unread = views.count(None)
    if unread == len(views):
        sys.exit("There is no certificate to compare.")
    ders, views = zip(*[(der, view) for der, view in zip(ders, views) if view])

    with tempfile.TemporaryDirectory() as folder:
        pem, indented, compact = (f"{folder}/{name}" for name in ("all.pem", "indented.xml", "compact.xml"))
        with open(pem, "wb") as file:
            for der in ders:
                file.write(b"-----BEGIN CERTIFICATE-----\n" + base64.encodebytes(der) +
                           b"-----END CERTIFICATE-----\n")
        shown = [json.loads(line) for line in run(program, "show", "--json", pem).splitlines()]
        xml = run(program, "asn1", "--compact", pem)
        pathlib.Path(compact).write_text(xml)
        pathlib.Path(indented).write_text(run(program, "asn1", pem))
        faults = [f"the {form} XML form does not read back" for form, path in
                  (("compact", compact), ("indented", indented)) if run(program, "asn1", "--compact", path) != xml]

    lines = xml.split("\n")[:-1]
    if len(shown) != len(ders) or len(lines) != len(ders):
        sys.exit(f"{len(ders)} certificates, but {len(shown)} shown and {len(lines)} as XML")
    for der, view, said, line in zip(ders, views, shown, lines):
        faults += [f"{name_text(view['subject'])}: {text}" for text in differences(der, view, said, line)]
    version = " ".join(run("openssl", "version").split()[:2])
    left_out = ", ".join(f"{field} {count}" for field, count in sorted(cryptography_decoded.NOT_COMPARED.items()))
    print("\n".join(faults + [f"Not compared with Python's cryptography: {left_out or 'nothing'}.",
                              f"{len(ders)} certificates compared with {version}, {len(faults)} differences"
                              f" ({unread} certificates that OpenSSL does not read left out)."]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

"""What Python's cryptography says of the names and extensions that "show --json" decodes; a part of
compare_with_openssl.py. It reads strictly: what it refuses, or does not know, is counted by name in
NOT_COMPARED."""
import base64
import collections
import warnings

from openssl_decoded import KEYWORDS, USES

try:
    from cryptography import x509
except ImportError:
    x509 = None

NOT_COMPARED = collections.Counter()


def rdns(name):
    return [sorted((each.oid.dotted_string, each.value) for each in rdn) for rdn in name.rdns]


def general_name(name, name_text):
    value = name.value
    if isinstance(name, x509.OtherName):
        is_text = value[0] in (0x0C, 0x13, 0x16) and len(value) < 0x82
        value = {"text": value[2:].decode()} if is_text else {"hex": value.hex().upper()}
        return {"type": "otherName", "value": {"oid": name.type_id.dotted_string, **value}}
    if isinstance(name, x509.DirectoryName):
        value = name_text([(oid, 0x0C, text.encode()) for rdn in rdns(value) for oid, text in rdn])
    kind = {x509.RFC822Name: "email", x509.DNSName: "dns", x509.UniformResourceIdentifier: "uri", x509.IPAddress: "ip",
            x509.DirectoryName: "directory", x509.RegisteredID: "registeredId"}[type(name)]
    return {"type": kind, "value": getattr(value, "dotted_string", None) or str(value)}


def qualifier(each):
    if isinstance(each, str):
        return {"type": "cps", "uri": each}
    reference = each.notice_reference
    return {"type": "userNotice", "organization": reference and reference.organization,
            "numbers": list(reference.notice_numbers) if reference else [], "text": each.explicit_text}


def key_uses(value):
    # The last two are asked for only where keyAgreement is.
    snake = {"nonRepudiation": "content_commitment", "keyCertSign": "key_cert_sign", "cRLSign": "crl_sign"}
    names = [(use, snake.get(use) or "".join("_" + c.lower() if c.isupper() else c for c in use)) for use in USES.values()]
    return [use for use, name in names if getattr(value, "_" + name if name.endswith("_only") else name)]


def point(each, names):
    relative = each.relative_name and sorted((one.oid.dotted_string, one.value) for one in each.relative_name)
    reasons = each.reasons and sorted(reason.value for reason in each.reasons)
    return {"fullName": names(each.full_name), "relativeName": relative or [], "reasons": reasons, "crlIssuer": names(each.crl_issuer)}


def timestamp(each):
    return {"logId": base64.b64encode(each.log_id).decode(), "timestamp": each.timestamp.isoformat(timespec="milliseconds") + "Z",
            "extensions": base64.b64encode(each.extension_bytes).decode(), "signature": base64.b64encode(each.signature).decode(),
            "hashAlgorithm": {"sha256": 4}[each.signature_hash_algorithm.name], "signatureAlgorithm": each.signature_algorithm.value}


def decoded(value, name_text):
    """An extension as the program decodes it, without the names of OIDs; raises KeyError for others."""
    def names(listed):
        return [general_name(each, name_text) for each in listed or []]

    def accesses(value):
        return [{"oid": each.access_method.dotted_string, "location": general_name(each.access_location, name_text)} for each in value]

    def hexadecimal(octets):
        return None if octets is None else octets.hex().upper()

    def points(value):
        return [point(each, names) for each in value]

    return {
        "basicConstraints": lambda: {"ca": value.ca, "pathLength": value.path_length},
        "keyUsage": lambda: key_uses(value),
        "extendedKeyUsage": lambda: [{"oid": each.dotted_string} for each in value],
        "subjectKeyIdentifier": lambda: {"keyIdentifier": hexadecimal(value.digest)},
        "authorityKeyIdentifier": lambda: {"keyIdentifier": hexadecimal(value.key_identifier), "issuer": names(value.authority_cert_issuer),
                                           "serialNumber": value.authority_cert_serial_number},
        "subjectAltName": lambda: names(value), "issuerAltName": lambda: names(value),
        "authorityInfoAccess": lambda: accesses(value), "subjectInfoAccess": lambda: accesses(value),
        "cRLDistributionPoints": lambda: points(value), "freshestCRL": lambda: points(value),
        "certificatePolicies": lambda: [{"oid": each.policy_identifier.dotted_string, "qualifiers": [qualifier(one) for one in each.policy_qualifiers or []]}
                                        for each in value],
        "policyConstraints": lambda: {"requireExplicitPolicy": value.require_explicit_policy, "inhibitPolicyMapping": value.inhibit_policy_mapping},
        "inhibitAnyPolicy": lambda: {"skipCerts": value.skip_certs},
        "nameConstraints": lambda: {"permitted": names(value.permitted_subtrees), "excluded": names(value.excluded_subtrees)},
        "signedCertificateTimestampList": lambda: [timestamp(each) for each in value],
        "TLSFeature": lambda: [each.value for each in value], "OCSPNoCheck": lambda: {},
    }[value.oid._name]()


def plain(said):
    """What the program says in the same form."""
    if isinstance(said, list):
        return [plain(each) for each in said]
    if not isinstance(said, dict):
        return said
    said = {key: plain(value) for key, value in said.items() if key != "name"}
    if said.get("serialNumber"):
        said["serialNumber"] = int(said["serialNumber"], 16)
    if said.get("relativeName"):
        said["relativeName"] = sorted((each["oid"], each["value"]) for each in said["relativeName"])
    if said.get("reasons"):
        said["reasons"].sort()
    return said


def asked(field, ask):
    """What cryptography answers, in a list; an empty one, and a note, for what it refuses or lacks."""
    try:
        return [ask()]
    except (ValueError, KeyError, AttributeError, x509.DuplicateExtension, x509.InvalidVersion, x509.UnsupportedGeneralNameType) as refusal:
        NOT_COMPARED[f"{field} ({'unknown' if isinstance(refusal, KeyError) else 'refused'})"] += 1
        return []


def name_differences(certificate, shown):
    overrides = {keyword: x509.ObjectIdentifier(oid) for keyword, oid in KEYWORDS.items()}
    for which in ("subject", "issuer"):
        for theirs in asked(which + "Rdns", lambda: rdns(getattr(certificate, which))):
            ours = [sorted((each["oid"], each["value"]) for each in rdn) for rdn in shown[which + "Rdns"] or []]
            if theirs != ours:
                yield f"{which}Rdns: {ours!r}, cryptography {theirs!r}"
            text = shown[which + "Rfc4514"]
            for read in asked(which + "Rfc4514", lambda: rdns(x509.Name.from_rfc4514_string(text, overrides))):
                if read != ours and "#" not in text:
                    yield f"{which}Rfc4514: {text!r}, cryptography reads {read!r}"


def differences(der, shown, name_text):
    """What cryptography says otherwise of the names and of the decoded extensions."""
    if x509 is None:
        NOT_COMPARED["everything with Python's cryptography, which is not here"] = 1
        return
    warnings.simplefilter("ignore")
    for certificate in asked("certificate", lambda: x509.load_der_x509_certificate(der)):
        yield from name_differences(certificate, shown)
        listed = {each.oid.dotted_string: each for every in asked("extensions", lambda: certificate.extensions) for each in every}
        for one in shown["extensions"]:
            if one["oid"] not in listed or one["decoded"] is None:
                continue
            name = one["name"] or one["oid"]
            if "error" in one["decoded"]:  # a list that may not be empty is, and the like: stricter by design
                NOT_COMPARED[name + " (malformed to the program alone)"] += 1
                continue
            for theirs in asked(name, lambda: decoded(listed[one["oid"]].value, name_text)):
                if theirs != plain(one["decoded"]):
                    yield f"{name}: {plain(one['decoded'])!r}, cryptography {theirs!r}"

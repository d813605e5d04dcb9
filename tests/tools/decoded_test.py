#!/usr/bin/env python3
"""Drives "show --json" on single extensions and names: decoded_test.py PROGRAM [unittest arguments]."""
import base64
import json
import os
import pathlib
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "data"))
import json_schema
from make_reader_data import CN, IA5, O, UTF8, certificate, name, oid, tlv

PROGRAM = os.path.abspath(sys.argv.pop(1))
LEAF = pathlib.Path(__file__).resolve().parent.parent.parent / "examples" / "chain" / "leaf.pem"
CRITICAL = tlv(0x01, b"\xff")
# The members of names and the departures.
EXACT = json_schema.SCHEMA["$defs"]["show"]["required"][-5:]


def shown(octets):
    out = subprocess.run([PROGRAM, "show", "--json", "-"], input=octets, capture_output=True, check=True).stdout.decode()
    json_schema.check_lines("show", out)
    return json.loads(out)


def extension(kind, value):
    return tlv(0x30, oid(kind), tlv(0x04, value))


class Decoded(unittest.TestCase):
    def decoded(self, extensions):
        return [each["decoded"] for each in shown(certificate(name(), extensions=extensions))["extensions"]]

    def test_decoded(self):
        uri, url = tlv(0x86, b"u:x"), {"type": "uri", "value": "u:x"}
        party, other = tlv(0xA5, tlv(0xA1, tlv(UTF8, b"p"))), tlv(0x30, tlv(0x05))
        server = oid("1.3.6.1.5.5.7.3.1")
        directory = tlv(0xA4, name((CN, tlv(UTF8, b"d")), (O, tlv(UTF8, b"e, f"))))
        exact, large, huge = ((tlv(2, n.to_bytes(9, "big").lstrip(b"\0"))) for n in (2**53 - 1, 2**53, 2**70))
        log = bytes(range(32))

        def stamp(milliseconds, tail=b""):
            body = b"\0" + log + milliseconds.to_bytes(8, "big") + b"\0\0\4\3\0\2ok" + tail
            return tlv(0x04, (len(body) + 2).to_bytes(2, "big") + len(body).to_bytes(2, "big") + body)

        def stamped(text):
            return [{"logId": base64.b64encode(log).decode(), "timestamp": text, "extensions": "", "hashAlgorithm": 4,
                     "signatureAlgorithm": 3, "signature": "b2s="}]

        def policy(*qualifiers):
            return tlv(0x30, tlv(0x30, oid("1.2.3"), tlv(0x30, *qualifiers)))

        def point(*members):
            return tlv(0x30, tlv(0x30, *members))

        notice = tlv(0x30, oid("1.3.6.1.5.5.7.2.2"), tlv(0x30, tlv(0x30, tlv(UTF8, b"o"), tlv(0x30, tlv(2, b"\1"), huge)), tlv(UTF8, b"t")))
        relative = tlv(0xA0, tlv(0xA1, tlv(0x30, oid(CN), tlv(UTF8, b"r"))))
        empty = {"fullName": [], "relativeName": [], "reasons": None, "crlIssuer": []}
        # The OID, a value and what it says, and the same value with one thing that is not to the letter.
        cases = [
            ("2.5.29.19", tlv(0x30, CRITICAL, tlv(2, b"\3")), {"ca": True, "pathLength": 3}, tlv(0x30, CRITICAL, tlv(2, b"\0\3"))),
            ("2.5.29.19", tlv(0x30, CRITICAL, exact), {"ca": True, "pathLength": 2**53 - 1}, tlv(0x30, tlv(1, b"\1"), exact)),
            ("2.5.29.19", tlv(0x30, large), {"ca": False, "pathLength": None, "pathLengthAtLeast": 2**53}, tlv(0x30, large, large)),
            ("2.5.29.15", tlv(0x03, b"\7\x06\x80"), ["keyCertSign", "cRLSign", "decipherOnly"], tlv(0x03, b"\7\x06\xc0")),
            ("2.5.29.37", tlv(0x30, server, oid("1.2." + "1" * 200)), [
                {"oid": "1.3.6.1.5.5.7.3.1", "name": "serverAuth"}, {"oid": None, "name": None}], tlv(0x30)),
            ("2.5.29.14", tlv(0x04, b"\xab\1"), {"keyIdentifier": "AB01"}, tlv(0x05)),
            ("2.5.29.35", tlv(0x30, tlv(0x80, b"\1"), tlv(0xA1, uri), tlv(0x82, b"\0\xff")),
             {"keyIdentifier": "01", "issuer": [url], "serialNumber": "00FF"}, tlv(0x30, tlv(0x80, b"\1"), tlv(0xA1), tlv(0x82, b"\0\xff"))),
            ("2.5.29.35", tlv(0x30), {"keyIdentifier": None, "issuer": [], "serialNumber": None}, tlv(0x31)),
            ("2.5.29.17", tlv(0x30, party, directory, tlv(0x88, oid(f"1.2.{2**200}")[2:]), tlv(0x89, b"?"), tlv(0x87, b"12345"),
                              tlv(0xA0, oid("1.2.3"), tlv(0xA0, other)), tlv(0xA0, oid("1.2.3"), tlv(0xA0, tlv(UTF8, b"o"))),
                              tlv(0x82, b"\xff"), tlv(0x81, b"m"), tlv(0x87, bytes(16))), [
                {"type": "ediParty", "value": base64.b64encode(party).decode()}, {"type": "directory", "value": 'CN=d, O="e, f"'},
                {"type": "registeredId", "value": f"1.2.{2**200}"}, {"type": "unknown", "value": "iQE/"},
                {"type": "ip", "value": None, "malformed": "hwUxMjM0NQ=="}, {"type": "otherName", "value": {"oid": "1.2.3", "hex": "30020500"}},
                {"type": "otherName", "value": {"oid": "1.2.3", "text": "o"}}, {"type": "dns", "value": None, "malformed": "ggH/"},
                {"type": "email", "value": "m"}, {"type": "ip", "value": "::"}], tlv(0x30)),
            ("2.5.29.18", tlv(0x30, uri, tlv(0x88, b"\x2a" + b"\xff" * 512 + b"\1")), [url, {"type": "registeredId", "value": None}], tlv(0x30, uri) + b"\0"),
            ("1.3.6.1.5.5.7.1.1", tlv(0x30, tlv(0x30, oid("1.3.6.1.5.5.7.48.1"), uri)),
             [{"oid": "1.3.6.1.5.5.7.48.1", "name": "ocsp", "location": url}], tlv(0x30, tlv(0x30, oid("1.3.6.1.5.5.7.48.1")))),
            ("1.3.6.1.5.5.7.1.11", tlv(0x30, tlv(0x30, oid("1.2"), uri)), [{"oid": "1.2", "name": None, "location": url}], b""),
            ("2.5.29.31", point(tlv(0xA0, tlv(0xA0, uri)), tlv(0x81, b"\1\x42"), tlv(0xA2, directory)), [{
                "fullName": [url], "relativeName": [], "reasons": ["keyCompromise", "certificateHold"],
                "crlIssuer": [{"type": "directory", "value": 'CN=d, O="e, f"'}]}], point(tlv(0x81, b"\1\x42"))),
            ("2.5.29.46", point(relative), [dict(empty, relativeName=[{"oid": CN, "name": "CN", "value": "r"}])], point(tlv(0xA0, tlv(0xA1)))),
            ("2.5.29.32", policy(tlv(0x30, oid("1.3.6.1.5.5.7.2.1"), tlv(IA5, b"u")), notice, tlv(0x30, oid("1.2.4"), tlv(0x05))), [{
                "oid": "1.2.3", "name": None, "qualifiers": [
                    {"type": "cps", "uri": "u"}, {"type": "userNotice", "organization": "o", "numbers": [1, None], "text": "t"},
                    {"type": "other", "oid": "1.2.4", "hex": "0500"}]}], policy()),
            ("2.5.29.33", tlv(0x30, tlv(0x30, oid("1.2.3"), oid("2.5.29.32.0"))), [{
                "issuerPolicy": {"oid": "1.2.3", "name": None}, "subjectPolicy": {"oid": "2.5.29.32.0", "name": "anyPolicy"}}], tlv(0x30)),
            ("2.5.29.36", tlv(0x30, tlv(0x80, b"\0"), tlv(0x81, huge[2:])), {
                "requireExplicitPolicy": 0, "inhibitPolicyMapping": None, "inhibitPolicyMappingAtLeast": 2**53}, tlv(0x30)),
            ("2.5.29.54", tlv(2, b"\0"), {"skipCerts": 0}, tlv(2, b"\xff")),
            ("2.5.29.30", tlv(0x30, tlv(0xA0, tlv(0x30, tlv(0x87, bytes([10, 0, 0, 0, 255, 0, 0, 0])))), tlv(0xA1, tlv(0x30, tlv(0x82, b"y")))), {
                "permitted": [{"type": "ip", "value": "10.0.0.0/8"}], "excluded": [{"type": "dns", "value": "y"}]}, tlv(0x30)),
            ("1.3.6.1.4.1.11129.2.4.2", stamp(253402300799999), stamped("9999-12-31T23:59:59.999Z"), stamp(0, b"?")),
            ("1.3.6.1.4.1.11129.2.4.2", stamp(253402300800000), stamped(None), stamp(2**63)),
            ("1.3.6.1.4.1.11129.2.4.2", stamp(1_500_000_000_007), stamped("2017-07-14T02:40:00.007Z"), tlv(0x04)),
            ("1.3.6.1.5.5.7.1.24", tlv(0x30, tlv(2, b"\5"), tlv(2, b"\0\xff\xff")), [5, 65535], tlv(0x30, tlv(2, b"\1\0\0"))),
            ("1.3.6.1.5.5.7.48.1.5", tlv(0x05), {}, tlv(0x05, b"\0")), ("2.5.29.56", tlv(0x05), {}, tlv(0x30)),
        ]
        kinds = {kind for kind, *_ in cases}
        self.assertEqual(sorted(kinds), sorted(json_schema.SCHEMA["$defs"]["extension"]["allOf"][0]["if"]["properties"]["oid"]["enum"]))
        for kind, value, said, malformed in cases:
            with self.subTest(kind, value=value):
                self.assertEqual(self.decoded([extension(kind, value)]), [said])
                wrong = extension(kind, malformed)
                error, at = self.decoded([wrong])[0], certificate(name(), extensions=[wrong]).index(wrong)
                self.assertIn(error["offset"], range(at, at + len(wrong) + 1))
                self.assertEqual(error["error"], "an extension, or the list of them, is malformed")
                self.assertEqual(self.decoded([extension("1.2.3.4", value)]), [None])
        # Twice is no answer, also where one of the two is in order; what is no list ends the others.
        usage = extension("2.5.29.15", tlv(0x03, b"\7\x80"))
        self.assertEqual([each["error"] for each in self.decoded([usage, usage])], 2 * ["an extension is there more than once"])
        self.assertEqual(self.decoded([tlv(0x30, tlv(0x04, b"x")), usage])[1], ["digitalSignature"])
        self.assertIn("error", self.decoded([tlv(0x30, oid("2.5.29.15")), extension("1.2.3", b"")])[0])

    def test_what_is_no_der_is_told_from_what_is(self):
        """Names, extensions and departures of BER are those of its DER; an INTEGER in pieces has none."""
        plain = tlv(0x30, oid("2.5.29.19"), tlv(0x04, tlv(0x30)))
        der = shown(certificate(name((CN, tlv(UTF8, b"a\1"))), extensions=[plain]))
        pieces = tlv(0x2C, tlv(UTF8, b"a"), tlv(UTF8, b"\1"))
        octets = certificate(name((CN, pieces)), extensions=[plain])
        ber = shown(octets)
        self.assertEqual(der["subjectRfc4514"], "CN=a\\01")
        for key in EXACT[:-1] + ["extensions"]:
            self.assertEqual(ber[key], der[key])
        first = {"id": "notDer", "clause": "RFC 5280 §4.1", "offset": octets.index(pieces), "mayDecide": False, "about": None}
        self.assertEqual(ber["departures"], [first, *der["departures"]])
        none = subprocess.run([PROGRAM, "show", "--json", "-"], capture_output=True,
                              input=certificate(name((CN, tlv(0x22, tlv(2, b"\5")))), extensions=[plain]))
        self.assertEqual((none.returncode, json.loads(none.stdout)["error"]),
                         (3, f"ASN.1 that is not encoded as DER wants it (offset {first['offset']} in the DER)"))
        torn = shown(certificate(tlv(0x30, tlv(0x31))))
        self.assertEqual([torn[key] for key in EXACT[:-1]], [None, "CN=issuer", None, [[{"oid": CN, "name": "CN", "value": "issuer"}]]])

    def test_the_schema_refuses_what_it_does_not_name(self):
        line = shown(LEAF.read_bytes())
        show = json_schema.SCHEMA["$defs"]["show"]
        self.assertIsNone(json_schema.fault(line, show))
        extensions = line["extensions"]
        cases = [(line, "more", 1), (line, "index", True), (line, "index", -1), (line, "sha1", "00"), (line, "validNow", "yes"),
                 (line["publicKey"], "more", 1), (line["subjectAltNames"][0], "value", None), (line["subjectAltNames"][0], "type", "ip4"),
                 (extensions[0], "decoded", []), (extensions[0], "oid", "1.2.3"), (extensions[0]["decoded"], "more", 1),
                 (extensions[1]["decoded"], 0, "signing"), (extensions[2], "decoded", {"error": "?"}), (extensions[2], "decoded", []),
                 (line["subjectRdns"][0][0], "value", None), (line["subjectRdns"], 0, [])]
        for holder, key, value in cases:
            with self.subTest(key, value=value):
                before = dict(holder) if isinstance(holder, dict) else list(holder)
                holder[key] = value
                self.assertIsNotNone(json_schema.fault(line, show))
                holder.clear()
                holder.update(before) if isinstance(before, dict) else holder.extend(before)
        for key in show["required"]:
            self.assertIsNotNone(json_schema.fault({each: line[each] for each in line if each != key}, show))
        self.assertIsNone(json_schema.fault(line, show))


if __name__ == "__main__":
    unittest.main(verbosity=2)

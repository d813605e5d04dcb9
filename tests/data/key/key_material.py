"""What the scripts of this folder share: DER, the openssl command line, and records of test data."""

import subprocess
import tempfile

WORK = tempfile.mkdtemp()
HASH_OIDS = {"sha1": "2b0e03021a", "sha256": "608648016503040201", "sha384": "608648016503040202",
             "sha512": "608648016503040203"}
OID_RSA, OID_PSS = bytes.fromhex("2a864886f70d010101"), bytes.fromhex("2a864886f70d01010a")
OID_DSA, OID_EC, OID_ED25519 = bytes.fromhex("2a8648ce380401"), bytes.fromhex("2a8648ce3d0201"), b"\x2b\x65\x70"
OID_P256 = bytes.fromhex("2a8648ce3d030107")


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *arguments], input=stdin, check=True, cwd=WORK,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


# DER

def element(tag, *contents):
    content = b"".join(contents)
    size = len(content)
    if size < 0x80:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def sequence(*members):
    return element(0x30, *members)


def integer(value):
    return element(2, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def oid(content):
    return element(6, content)


def octets(content):
    return element(4, content)


NULL = element(5)


def split(der):
    """The (tag, content, whole) of the first element, and what follows it."""
    size, start = der[1], 2
    if size >= 0x80:
        start += size & 0x7F
        size = int.from_bytes(der[2:start], "big")
    return (der[0], der[start:start + size], der[:start + size]), der[start + size:]


def members(der):
    content, parts = split(der)[0][1], []
    while content:
        part, content = split(content)
        parts.append(part)
    return parts


def integers(der):
    return [int.from_bytes(content, "big") for tag, content, _ in members(der) if tag == 2]


def key_info(algorithm, parameters, bits, unused=0):
    return sequence(sequence(oid(algorithm), parameters), element(3, bytes([unused]), bits))


def key_bits(info):
    return members(info)[1][1][1:]


def new_key(name, *options):
    """Makes a key in a file of that name; gives the SubjectPublicKeyInfo."""
    openssl("genpkey", *options, "-out", name + ".pem")
    return openssl("pkey", "-in", name + ".pem", "-pubout", "-outform", "DER")


def new_dsa_key(name, bits, order_bits):
    openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", f"dsa_paramgen_bits:{bits}", "-pkeyopt",
            f"dsa_paramgen_q_bits:{order_bits}", "-out", "parameters.pem")
    return new_key(name, "-paramfile", "parameters.pem")


def new_ec_key(name, curve):
    return new_key(name, "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:" + curve)


def compressed(name):
    return openssl("ec", "-in", name + ".pem", "-pubout", "-conv_form", "compressed", "-outform", "DER")


def dsa_info(p, q, g, y):
    return key_info(OID_DSA, sequence(integer(p), integer(q), integer(g)), integer(y))


def dsa_numbers(info):
    """p, q and g."""
    return integers(members(members(info)[0][2])[1][2])


# Name, name on the command line, bits.
CURVES = (("P-192", "prime192v1", 192), ("P-224", "secp224r1", 224), ("P-256", "prime256v1", 256),
          ("P-384", "secp384r1", 384), ("P-521", "secp521r1", 521), ("secp256k1", "secp256k1", 256),
          ("brainpoolP256r1", "brainpoolP256r1", 256), ("brainpoolP384r1", "brainpoolP384r1", 384),
          ("brainpoolP512r1", "brainpoolP512r1", 512))


class Records:
    def __init__(self, name):
        self.file = open(name, "w", encoding="ascii")
        self.file.write("# Made by make_key_data.py.\n")

    def add(self, **values):
        self.file.write("\n")
        for key, value in values.items():
            text = value.hex() if isinstance(value, bytes) else value
            self.file.write(f"{key} = {text}\n")

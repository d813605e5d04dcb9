"""What the scripts of this folder share: DER, the openssl command line, and records of test data."""

import hashlib
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


# Blocks of PKCS #1, and signatures made without the private key for exponent 3.

def digest_info(hash_name, message, parameters=NULL):
    return sequence(sequence(oid(bytes.fromhex(HASH_OIDS[hash_name])), parameters),
                    octets(hashlib.new(hash_name, message).digest()))


def cube_root(value):
    root = 1 << (value.bit_length() + 2) // 3
    while True:
        better = (2 * root + value // (root * root)) // 3
        if better >= root:
            return root
        root = better


def forge_with_long_oid(size, message):
    """The block is a cube whose low end is a digest, whose high end is the padding and the headers,
    and whose middle is an OID. None for messages of which there is none."""
    low = b"\x01" + NULL + octets(hashlib.sha1(message).digest())  # the last octet of the OID
    content_size = size - 11
    oid_size = content_size - 6 - (len(low) - 1)
    high = (b"\x00\x01" + b"\xff" * 8 + b"\x00" + bytes([0x30, content_size - 2, 0x30, oid_size + 4, 6, oid_size]))
    if low[-1] % 2 == 0:
        return None
    bits = 8 * len(low)
    root = 1  # of the low end, lifted bit by bit
    for bit in range(1, bits):
        if (pow(root, 3) ^ int.from_bytes(low, "big")) >> bit & 1:
            root |= 1 << bit
    middle_bits = 8 * (size - len(high))
    start = cube_root((int.from_bytes(high, "big") << middle_bits) + (1 << (middle_bits - 1)))
    forged = (start >> bits << bits) | root
    block = pow(forged, 3).to_bytes(size, "big")
    arcs = block[len(high):len(high) + oid_size]
    padded = any(arcs[i] == 0x80 and (i == 0 or arcs[i - 1] < 0x80) for i in range(len(arcs)))
    if not block.startswith(high) or not block.endswith(low) or padded:
        return None
    return forged.to_bytes(size, "big")


def forge_with_octets_behind(size, message):
    start = b"\x00\x01" + b"\xff" * 8 + b"\x00" + digest_info("sha1", message)
    forged = cube_root(int.from_bytes(start + b"\xff" * (size - len(start)), "big"))
    assert pow(forged, 3).to_bytes(size, "big").startswith(start)
    return forged.to_bytes(size, "big")


ED_ORDER_8 = bytes.fromhex("26e8958fc2b227b045c3f489f2ef98f0d5dfac05d3c63339b13802886d53fc05")  # of a point, its y

# Name, name on the command line, bits.
CURVES = (("P-192", "prime192v1", 192), ("P-224", "secp224r1", 224), ("P-256", "prime256v1", 256),
          ("P-384", "secp384r1", 384), ("P-521", "secp521r1", 521), ("secp256k1", "secp256k1", 256),
          ("brainpoolP256r1", "brainpoolP256r1", 256), ("brainpoolP384r1", "brainpoolP384r1", 384),
          ("brainpoolP512r1", "brainpoolP512r1", 512))


class Records:
    def __init__(self, name):
        self.file = open(name, "w", encoding="ascii")
        self.file.write("# Made by the scripts of this folder.\n")

    def add(self, **values):
        self.file.write("\n")
        for key, value in values.items():
            text = value.hex() if isinstance(value, bytes) else value
            self.file.write(f"{key} = {text}\n")

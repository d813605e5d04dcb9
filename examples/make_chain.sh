#!/usr/bin/env bash
# Makes the sample chain in examples/chain: a root, an intermediate and a server's certificate, valid
# for fifty years, as PEM and in part as DER. Names, dates, serial numbers and extensions are the same
# each time, keys are not, and the private ones are thrown away.
set -euo pipefail
cd "$(dirname "$0")/chain"
keys=$(mktemp -d)
trap 'rm -rf "$keys"' EXIT

cat >"$keys/ca.conf" <<TEXT
[ca]
default_ca = sample
[sample]
database = $keys/issued.txt
serial = $keys/serial
new_certs_dir = $keys
default_md = sha384
unique_subject = no
policy = any_name
[any_name]
commonName = supplied
TEXT
touch "$keys/issued.txt"

new_key() { openssl genpkey -quiet -algorithm EC -pkeyopt "ec_paramgen_curve:$2" -out "$keys/$1.key"; }

# request NAME SUBJECT: a request in UTF-8 that a certificate is then issued for.
request() { openssl req -new -utf8 -key "$keys/$1.key" -subj "$2" -out "$keys/$1.csr"; }

# issue NAME SERIAL SIGNING-OPTION...: the certificate with the extensions on standard input.
issue() {
  echo "$2" >"$keys/serial"
  openssl ca -batch -notext -preserveDN -config "$keys/ca.conf" -in "$keys/$1.csr" -out "$1.pem" \
    -startdate 20250101000000Z -enddate 20741231235959Z -extfile /dev/stdin "${@:3}" 2>/dev/null
}

new_key root P-384
request root "/C=CH/O=Example Trust Services/CN=Example Root CA 1"
issue root 4F3A9C1277D05E8B61A2 -selfsign -keyfile "$keys/root.key" <<'TEXT'
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
TEXT

new_key intermediate P-256
request intermediate "/C=CH/O=Example Trust Services/CN=Example Server CA 3"
issue intermediate B7E15162 -cert root.pem -keyfile "$keys/root.key" <<'TEXT'
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
TEXT

new_key leaf P-256
request leaf "/C=CH/ST=Zürich/L=Zürich/O=Example Books, Ltd./CN=www.example.org"
issue leaf 1D5C0FFA3B90 -cert intermediate.pem -keyfile "$keys/intermediate.key" <<'TEXT'
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = serverAuth
subjectAltName = DNS:www.example.org, DNS:example.org, IP:192.0.2.17
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
TEXT

cat leaf.pem intermediate.pem root.pem >chain.pem
for name in leaf intermediate; do openssl x509 -in $name.pem -outform DER -out $name.der; done
openssl verify -CAfile root.pem -untrusted intermediate.pem leaf.pem

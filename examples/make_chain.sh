#!/usr/bin/env bash
# Makes the sample chain in examples/chain: a root, an intermediate and a server's certificate, as PEM
# and in part as DER.
set -euo pipefail
cd "$(dirname "$0")/chain"
. ../sample_ca.sh
start_ca sha384

request root P-384 "/C=CH/O=Example Trust Services/CN=Example Root CA 1"
issue root 4F3A9C1277D05E8B61A2 -selfsign -keyfile "$keys/root.key" <<'TEXT'
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
TEXT

request intermediate P-256 "/C=CH/O=Example Trust Services/CN=Example Server CA 3"
issue intermediate B7E15162 -cert root.pem -keyfile "$keys/root.key" <<'TEXT'
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
TEXT

request leaf P-256 "/C=CH/ST=Zürich/L=Zürich/O=Example Books, Ltd./CN=www.example.org"
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

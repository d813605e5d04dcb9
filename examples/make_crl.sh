#!/usr/bin/env bash
# Makes the sample in examples/crl: a CA, two certificates of clients, and the CA's CRL, which lists the
# second.
set -euo pipefail
mkdir -p "$(dirname "$0")/crl" && cd "$(dirname "$0")/crl"
. ../sample_ca.sh
start_ca sha256

request ca P-256 "/C=CH/O=Example Trust Services/CN=Example Client CA 1"
issue ca 3A01 -selfsign -keyfile "$keys/ca.key" <<'TEXT'
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
TEXT
serial=3B01
for name in reader writer; do
  request $name P-256 "/C=CH/CN=Example $name"
  issue $name "$serial" -cert ca.pem -keyfile "$keys/ca.key" <<'TEXT'
keyUsage = critical, digitalSignature
extendedKeyUsage = clientAuth
authorityKeyIdentifier = keyid
TEXT
  serial=3B02
done
signer=(-config "$keys/ca.conf" -cert ca.pem -keyfile "$keys/ca.key")
openssl ca "${signer[@]}" -revoke writer.pem -crl_reason keyCompromise 2>/dev/null
openssl ca "${signer[@]}" -gencrl -crl_lastupdate 20250101000000Z -crl_nextupdate 20741231235959Z -out ca.crl 2>/dev/null
openssl verify -crl_check -CRLfile ca.crl -CAfile ca.pem reader.pem

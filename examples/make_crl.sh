#!/usr/bin/env bash
# Makes the sample in examples/crl: a CA, two certificates of clients, and the CA's CRL, which lists the
# second. Valid for fifty years; keys are other ones each time, and the private ones are thrown away.
set -euo pipefail
mkdir -p "$(dirname "$0")/crl" && cd "$(dirname "$0")/crl"
keys=$(mktemp -d)
trap 'rm -rf "$keys"' EXIT

cat >"$keys/ca.conf" <<TEXT
[ca]
default_ca = sample
[sample]
database = $keys/issued.txt
serial = $keys/serial
crlnumber = $keys/number
new_certs_dir = $keys
default_md = sha256
policy = any_name
[any_name]
commonName = supplied
TEXT
touch "$keys/issued.txt"
echo 01 >"$keys/number"

# issue NAME SERIAL SUBJECT SIGNING-OPTION...: a certificate with the extensions on standard input.
issue() {
  echo "$2" >"$keys/serial"
  openssl genpkey -quiet -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$keys/$1.key"
  openssl req -new -utf8 -key "$keys/$1.key" -subj "$3" -out "$keys/$1.csr"
  openssl ca -batch -notext -preserveDN -config "$keys/ca.conf" -in "$keys/$1.csr" -out "$1.pem" \
    -startdate 20250101000000Z -enddate 20741231235959Z -extfile /dev/stdin "${@:4}" 2>/dev/null
}

issue ca 3A01 "/C=CH/O=Example Trust Services/CN=Example Client CA 1" -selfsign -keyfile "$keys/ca.key" <<'TEXT'
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
TEXT
serial=3B01
for name in reader writer; do
  issue $name "$serial" "/C=CH/CN=Example $name" -cert ca.pem -keyfile "$keys/ca.key" <<'TEXT'
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

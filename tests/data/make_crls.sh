#!/usr/bin/env bash
# Makes crls.pem: the certificate of an issuer, its CRL with four entries, and one without any that
# is bound to a distribution point. New keys are made in every run.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

cat >ca.cnf <<'END'
[ca]
default_ca = our_ca
[our_ca]
database = index.txt
crlnumber = number
default_md = sha256
[plain]
authorityKeyIdentifier = keyid
[scoped]
issuingDistributionPoint = critical, @point
[point]
fullname = URI:http://crl.example.org/part.crl
onlyuser = TRUE
END
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -noenc -keyout ca.key -out ca.pem \
  -subj "/C=US/O=Acme/CN=Root" -days 36500 2>/dev/null
revoke() { printf 'R\t351231235959Z\t%s\t%s\tunknown\t/CN=%s\n' "$1" "$2" "$2" >>index.txt; }
revoke 250105000000Z 01
revoke 250106000000Z,keyCompromise 7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF
revoke 250107000000Z,certificateHold 80
revoke 250108000000Z,superseded 0200
echo 01 >number
crl() { openssl ca -gencrl -config ca.cnf -cert ca.pem -keyfile ca.key -crlexts "$1" -crl_lastupdate 20250110000000Z -crl_nextupdate 20250210000000Z; }
{ cat ca.pem; crl plain; : >index.txt; crl scoped; } 2>/dev/null >"$here/crls.pem"

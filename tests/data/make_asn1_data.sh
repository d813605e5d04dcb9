#!/bin/sh
# Makes asn1/certificate.der, a self-signed certificate with the usual fields, with OpenSSL 3. The
# key is thrown away, so that another run gives another certificate of the same shape.
set -eu
cd "$(dirname "$0")"
mkdir -p asn1
openssl req -x509 -new -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -noenc -keyout /dev/null \
  -subj '/C=CH/O=Example & Söhne <AG>/CN=host.example/emailAddress=ca@host.example' -utf8 \
  -days 36500 -addext 'subjectAltName=DNS:host.example,IP:192.0.2.1' \
  -addext 'keyUsage=critical,keyCertSign,digitalSignature' \
  -outform DER -out asn1/certificate.der

# What make_chain.sh and make_crl.sh start with, sourced by them: a CA run with openssl whose keys and
# records stand in the folder $keys, which goes away with the script. Names, dates, serial numbers and
# extensions are the same each time, valid for fifty years; keys are other ones each time, and the
# private ones are thrown away.
keys=$(mktemp -d)
trap 'rm -rf "$keys"' EXIT

# start_ca DIGEST: the CA signs over that digest.
start_ca() {
  cat >"$keys/ca.conf" <<TEXT
[ca]
default_ca = sample
[sample]
database = $keys/issued.txt
serial = $keys/serial
crlnumber = $keys/number
new_certs_dir = $keys
default_md = $1
unique_subject = no
policy = any_name
[any_name]
commonName = supplied
TEXT
  touch "$keys/issued.txt"
  echo 01 >"$keys/number"
}

# request NAME CURVE SUBJECT: a new key, and a request in UTF-8 that a certificate is then issued for.
request() {
  openssl genpkey -quiet -algorithm EC -pkeyopt "ec_paramgen_curve:$2" -out "$keys/$1.key"
  openssl req -new -utf8 -key "$keys/$1.key" -subj "$3" -out "$keys/$1.csr"
}

# issue NAME SERIAL SIGNING-OPTION...: the certificate with the extensions on standard input.
issue() {
  echo "$2" >"$keys/serial"
  openssl ca -batch -notext -preserveDN -config "$keys/ca.conf" -in "$keys/$1.csr" -out "$1.pem" \
    -startdate 20250101000000Z -enddate 20741231235959Z -extfile /dev/stdin "${@:3}" 2>/dev/null
}

#!/bin/sh
# Makes the certificates of the tests, in sw/infrastructure_test/testsources/tls: an authority, what it has
# signed, and a stranger that signs itself. All are valid for a century but expired.pem. They protect nothing.
#   tools/make_certificates.sh [FOLDER]
set -eu
out=${1:-$(dirname "$0")/../sw/infrastructure_test/testsources/tls}
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

make_key() {
    openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1"
}

# sign NAME CN START END EXTENSION ...
sign() {
    name=$1 subject=/CN=$2 start=$3 end=$4
    shift 4
    printf '%s\n' "$@" >"$work/extensions"
    openssl req -new -key "$work/key" -subj "$subject" -out "$work/request"
    : >"$work/index"
    openssl ca -batch -notext -config "$work/config" -in "$work/request" -out "$out/$name.pem" \
        -startdate "$start" -enddate "$end" -extfile "$work/extensions" $self 2>"$work/errors" || {
        cat "$work/errors" >&2
        exit 1
    }
}

cat >"$work/config" <<END
[ca]
default_ca = tests
[tests]
database = $work/index
new_certs_dir = $work
certificate = $out/authority.pem
private_key = $work/authority.key
default_md = sha256
policy = any
rand_serial = yes
[any]
commonName = supplied
END

century="20000101000000Z 21000101000000Z"
names="subjectAltName=DNS:instrument.test,IP:127.0.0.1"

make_key "$work/authority.key"
self="-selfsign -keyfile $work/authority.key"
cp "$work/authority.key" "$work/key"
# shellcheck disable=SC2086
sign authority "authority of the tests" $century basicConstraints=critical,CA:TRUE

self=
make_key "$out/end.key"
cp "$out/end.key" "$work/key"
# shellcheck disable=SC2086
sign server instrument.test $century "$names"
# shellcheck disable=SC2086
sign client operator $century
sign expired operator 20000101000000Z 20010101000000Z "$names"
openssl pkey -in "$out/end.key" -aes128 -passout pass:secret -out "$out/locked.key"

make_key "$out/stranger.key"
cp "$out/stranger.key" "$work/key"
self="-selfsign -keyfile $out/stranger.key"
# shellcheck disable=SC2086
sign stranger operator $century "$names"

# shellcheck shell=bash
# Certificates of robots.

# make_certificate NAME SUBJECT: creates NAME.pem and NAME.key in the test's folder.
make_certificate() {
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=robot \
        -addext "subjectAltName=$2" -out "$TMPDIR/$1.pem" -keyout "$TMPDIR/$1.key" 2>/dev/null ||
        fail "no certificate"
}

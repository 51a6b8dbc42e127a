#!/bin/bash
# sign.sh FILE...: signs programs for Windows with the key and certificate in SIGN_CERTIFICATE, a PKCS #12 file, whose
# password is the first line of the file SIGN_PASSWORD_FILE. With a time stamp of the server SIGN_TIMESTAMP_URL, if that is
# set: without one the signatures end with the certificate. Where SIGN_CERTIFICATE is not set, nothing is signed.
set -euo pipefail
[[ -n ${SIGN_CERTIFICATE:-} ]] || exit 0
stamp=()
[[ -z ${SIGN_TIMESTAMP_URL:-} ]] || stamp=(-ts "$SIGN_TIMESTAMP_URL")
for file; do
    osslsigncode sign -pkcs12 "$SIGN_CERTIFICATE" -readpass "$SIGN_PASSWORD_FILE" "${stamp[@]}" -h sha256 \
        -n "Tessaloom Launcher" -in "$file" -out "$file.signed"
    mv "$file.signed" "$file"
done

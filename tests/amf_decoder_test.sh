#!/bin/bash
# Lets the npm packages amf-codec (AMF0) and amf-js (AMF3) read what `convert -o amf` writes.
# NODE_PATH may tell where they are. Usage: amf_decoder_test.sh VEXO_VARIANT. Exit code 77: node or
# a package is missing.
set -eu
command -v node > /dev/null || exit 77
exec node "${0%.sh}.cjs" "$1"

#!/bin/sh
# Flash is small where the library runs: what is left of it after STRIP has to fit into LIMIT bytes.
# Usage: size_test.sh STRIP LIBRARY LIMIT.
set -eu
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"$1" -o "$stripped" "$2"
size=$(wc -c < "$stripped")
echo "$size bytes of at most $3"
test "$size" -le "$3"

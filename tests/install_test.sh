#!/bin/sh
# Installs a build, moves the prefix elsewhere, and builds and runs a consumer against it.
# Usage: install_test.sh BUILD-DIR CONSUMER-DIR
set -eu
build=$1
consumer=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"
cmake -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/build" >/dev/null
"$work/build/consumer"

library=$(find "$work/prefix" -name libvexo_variant.so)
readelf -d "$library" | grep -q 'SONAME.*libvexo_variant\.so\.[0-9]' || {
  echo "no SONAME in $library" >&2
  exit 1
}
# What is exported belongs to the library: no helper of ours and no template of somebody else's
# that a host could collide with.
strange=$(nm -DC --defined-only "$library" | awk '$2 ~ /[TBDR]/' | cut -d' ' -f3- |
  grep -Ev '^(vexo::variant::|(vtable|typeinfo|typeinfo name) for vexo::variant::)' || true)
[ -z "$strange" ] || {
  echo "exported beside the interface: $strange" >&2
  exit 1
}
if [ -x "$work/prefix/bin/vexo-variant" ]; then
  [ "$(echo '{"a":[1,2]}' | "$work/prefix/bin/vexo-variant" -c)" = '{"a":[1,2]}' ]
fi

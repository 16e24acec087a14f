#!/bin/bash
# Compiles expressions.h with every compiler at hand, for every target and language mode: what
# callers write must mean the same whatever the width of long and time_t and the sign of char.
# Usage: expressions_test.sh TESTS-DIR INCLUDE-DIR GENERATED-INCLUDE-DIR
set -u
tests=$(realpath "$1") include=$(realpath "$2") generated=$(realpath "$3")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wno-psabi -Werror)
arm="arm-linux-gnueabihf"
passed=0 failed=0 skipped=0

skip() {
  echo "SKIPPED: $1"
  skipped=$((skipped + 1))
}

# accepts CONFIG-DIR COMPILER ARGUMENT...: in both language modes and with both signs of char.
accepts() {
  local config=$1 mode
  shift
  command -v "$1" > "$work/found" || { skip "$1 is not installed"; return; }
  for mode in "-std=c++"{17,20}" -f"{,un}signed-char; do
    # shellcheck disable=SC2086 # the options are split at blanks
    if "$@" $mode "${warnings[@]}" -I"$config" -I"$include" -I"$tests" -fsyntax-only -x c++ - \
      <<< '#include "expressions.h"' 2> "$work/errors"; then
      passed=$((passed + 1))
    else
      failed=$((failed + 1))
      echo "FAILED: $* $mode"
      grep -E 'error|instantiation of' "$work/errors" | head -n 10
    fi
  done
}

# Clang needs to be told where the C++ headers of the foreign compiler are; that one knows.
mapfile -t headers < <($arm-g++ -x c++ -E -v /dev/null 2>&1 > "$work/output" |
  sed -n '/^#include <...>/,/^End of search/s/^ /-isystem/p')

accepts "$generated" g++
accepts "$generated" clang++-14
# The generated header is that of the native build; ARM has a timeval of 8 or 16 bytes.
for size in 8 16; do
  mkdir -p "$work/$size/vexo_variant"
  sed "s/\(VEXO_VARIANT_TIMEVAL_SIZE\) .*/\1 $size/" "$generated/vexo_variant/config.h" \
    > "$work/$size/vexo_variant/config.h"
  time64=(-D_TIME_BITS=$((size * 4)) -D_FILE_OFFSET_BITS=$((size * 4)))
  accepts "$work/$size" $arm-g++ "${time64[@]}"
  if [ ${#headers[@]} -gt 0 ]; then
    accepts "$work/$size" clang++-14 --target=$arm -nostdinc++ "${headers[@]}" "${time64[@]}"
  else
    skip "clang++-14 for $arm, which needs the headers of $arm-g++"
  fi
done

echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]

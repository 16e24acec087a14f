#!/bin/bash
# Compiles expressions.h with every compiler at hand, for every target and language mode: what
# callers write must mean the same whatever the width of long and time_t and the sign of char. And
# tries the table of docs/cookbook.md: each line of code in its first column must be refused with a
# message that has the word in the second one; what the third one shows must compile.
# Usage: expressions_test.sh SOURCE-DIR GENERATED-INCLUDE-DIR
set -u
source=$(realpath "$1") generated=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wno-psabi -Werror)
arm="arm-linux-gnueabihf"
passed=0 failed=0 skipped=0

skip() {
  echo "SKIPPED: $1"
  skipped=$((skipped + 1))
}

# Every piece of code as a line of its own in a function; in $work/rows its number and the message.
{ echo '#include <iostream>'
  printf '#include "vexo_variant/%s.h"\n' lookup variant
  echo 'using namespace vexo::variant;'
  rows=0
  while IFS='|' read -r _ refused message instead _; do
    for column in refused instead; do
      while IFS='' read -r code; do
        rows=$((rows + 1))
        [ $column = instead ] && message=-
        echo "$rows ${message// or /|}" >&3
        echo "void row$rows(Variant& value, std::string text, const char* pointer) {"
        printf '#line %d "row"\n%s;\n(void)value, (void)text, (void)pointer; }\n' $rows "$code"
      done < <(grep -o '`[^`]*`' <<< "${!column}" | tr -d '`' | tr '\1' '|' | grep -v '[#]\|_begin')
    done
  done < <(sed -n '/^| Refused/,/^$/s/^| `/&/p' "$source/docs/cookbook.md" | sed 's/\\|/\x01/g')
} > "$work/table.cpp" 3> "$work/rows"

# compile CONFIG-DIR FILE COMPILER ARGUMENT...
compile() {
  "${@:3}" -I"$1" -I"$source"/{,platform/}include -fsyntax-only -x c++ "$2" 2> "$work/errors"
}

# tell STATUS WHAT...: counts a success or a failure.
tell() {
  if [ "$1" = 0 ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAILED: ${*:2}"
  fi
}

# try CONFIG-DIR COMPILER ARGUMENT...: in both language modes, with both signs of char, with and
# without exceptions.
try() {
  local mode row message said
  command -v "$2" > "$work/found" || { skip "$2 is not installed"; return; }
  for mode in "-std=c++"{17,20}" -f"{"signed-char","unsigned-char -fno-exceptions"}; do
    # shellcheck disable=SC2086 # the options are split at blanks
    compile "$1" "$source/tests/expressions.h" "${@:2}" $mode "${warnings[@]}"
    tell $? "${@:2}" "$mode"
    grep -E 'error|instantiation of' "$work/errors" | head -n 10
  done
  for mode in -std=c++{17,20}; do
    LC_ALL=C compile "$1" "$work/table.cpp" "${@:2}" $mode
    while read -r row message; do
      said=$(grep "^row:$row:.*error: " "$work/errors")
      [[ ${said:--} =~ $message ]]
      tell $? "${@:2}" $mode "$(grep -A1 "^#line $row " "$work/table.cpp"): ${said:-compiles}"
    done < "$work/rows"
  done
}

# Clang needs to be told where the C++ headers of the foreign compiler are; that one knows.
mapfile -t headers < <($arm-g++ -x c++ -E -v /dev/null 2>&1 > "$work/output" |
  sed -n '/^#include <...>/,/^End of search/s/^ /-isystem/p')

try "$generated" g++
try "$generated" clang++-14 -ferror-limit=0
# The generated header is that of the native build; ARM has a timeval of 8 or 16 bytes.
for size in 8 16; do
  mkdir -p "$work/$size/vexo_variant"
  sed "s/\(VEXO_VARIANT_TIMEVAL_SIZE\) .*/\1 $size/" "$generated/vexo_variant/config.h" \
    > "$work/$size/vexo_variant/config.h"
  time64=(-D_TIME_BITS=$((size * 4)) -D_FILE_OFFSET_BITS=$((size * 4)))
  try "$work/$size" $arm-g++ "${time64[@]}"
  if [ ${#headers[@]} -gt 0 ]; then
    try "$work/$size" clang++-14 -ferror-limit=0 --target=$arm -nostdinc++ "${headers[@]}" "${time64[@]}"
  else
    skip "clang++-14 for $arm, which needs the headers of $arm-g++"
  fi
done

echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]

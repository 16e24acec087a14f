#!/bin/bash
# Compares README.md and docs/cookbook.md with the programs of examples/cookbook and what they print:
# of a program that is named as `examples/cookbook/NAME.cpp`: the block ```cpp is the text, and the
# block ``` behind it the output. --update writes them instead.
# Usage: cookbook_test.sh [--update] SOURCE-DIR PROGRAM-DIR [RUNNER...]
set -eu -o pipefail
update=no
if [ "$1" = --update ]; then update=yes && shift; fi
source=$(realpath "$1") programs=$(realpath "$2")
shift 2
pages=("$source"/README.md "$source"/docs/cookbook.md) recipes=$source/examples/cookbook
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
for recipe in "$recipes"/*.cpp; do
  name=$(basename "$recipe" .cpp)
  "$@" "$programs/cookbook-$name" > "$name" 2> log || echo "(exit code $?)" >> "$name"
  grep -qF "\`examples/cookbook/$name.cpp\`:" "${pages[@]}" || { echo "no recipe $name" && exit 1; }
done
failed=0
for page in "${pages[@]}"; do
  awk -v recipes="$recipes/" '
    match($0, /`examples\/cookbook\/[a-z_]+\.cpp`:$/) { name = substr($0, RSTART + 19, RLENGTH - 25) }
    !inside || name == "" { print }
    /^```/ {
      inside = !inside
      if (name == "") next
      if (inside) {
        file = $0 == "```cpp" ? recipes name ".cpp" : name
        while ((getline line < file) > 0) print line
        close(file)
      } else {
        print
        if (file == name) name = ""
      }
    }' "$page" > page
  if [ $update = yes ]; then cp page "$page"; else diff -u "$page" page || failed=1; fi
done
exit $failed

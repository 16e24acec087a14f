#!/bin/bash
# Tries what docs/bin-format.md, docs/json.md and docs/kvp.md show as "input → what is shown of it".
# Usage: format_notes_test.sh TOOL SOURCE-DIR
set -u
tool=$1 docs=$2/docs
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tried=0 failed=0

# encode FORMAT INPUT: the bytes that the input stands for.
encode() {
  # shellcheck disable=SC2059
  if [ "$1" = bin ]; then printf "$(sed -E 's/ ?(..)/\\x\1/g' <<< "$2")"; else printf '%s' "${2//↵/$'\n'}"; fi
}
# decode FILE: the bytes as bin-format.md has them.
decode() { od -An -v -tx1 "$1" | tr 'a-f\n' 'A-F ' | tr -s ' ' | sed 's/^ //; s/ $//'; }

# differ INPUT EXPECTED SEEN
differ() { echo "FAILED: '$1' gives '$3', not '$2'" && failed=$((failed + 1)); }

for note in bin-format:bin json:json kvp:kvp; do
  format=${note#*:} before=$tried
  while read -r arrow row; do
    input=${row%%	*} expected=${row#*	} tried=$((tried + 1))
    encode "$format" "$input" > "$work/in"
    seen=$("$tool" show -q -p "$format" - < "$work/in" 2>&1 | tr -s '\n ' ' ' |
      sed 's/^vexo-variant: <stdin>: *//; s/ $//')
    [ "$seen" = "$expected" ] || differ "$input" "$expected" "$seen"
    [ "$arrow" = → ] && continue
    "$tool" -q -p "$format" -o "$format" - "$work/out" < "$work/in"
    seen=$(decode "$work/out")
    [ "$seen" = "$input" ] || differ "$input" "the same bytes" "$seen"
  done < <(sed -nE 's/^([^`].*[^ ]) +(→|↔) (.*)$/\2 \1\t\3/p' "$docs/${note%:*}.md")
  [ $tried -gt $((before + 30)) ] || { echo "FAILED: hardly anything in ${note%:*}.md" && exit 1; }
done
echo "$tried tried, $failed failed"
[ $failed -eq 0 ]

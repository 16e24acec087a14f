#!/bin/bash
# Types the commands of a session into gdb and compares what it answers with the session.
# Usage: gdb_test.sh PROGRAM LIBRARY-DIR SESSION. Exit code 77: gdb cannot be used here.
set -eu -o pipefail
program=$1 library=$2 session=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# No settings of the user's; no need of a shell, a terminal, or the right to fix addresses.
debug=(env LC_ALL=C TERM=dumb gdb -nx -batch -iex "add-auto-load-safe-path $library"
  -ex 'set disable-randomization off' -ex 'set startup-with-shell off' -ex 'set width 0')

skip() {
  echo "SKIPPED: $1"
  exit 77
}
command -v gdb > "$work/found" || skip 'gdb is not installed'
"${debug[@]}" -ex 'python print("has Python")' 2>&1 | grep -q '^has Python$' ||
  skip 'gdb is built without Python'
"${debug[@]}" -ex run "$(type -P true)" > "$work/true" 2>&1 || true
grep -q 'exited normally' "$work/true" ||
  skip "gdb may not run programs here: $(tr '\n' ' ' < "$work/true")"

# Each command is shown, then answered. Places in the program and addresses change. The exit code of
# gdb is that of the last command alone.
sed -n 's/^(gdb) //p' "$session" | while IFS= read -r command; do
  printf 'echo (gdb) %s\\n\n%s\n' "${command//\\/\\\\}" "$command"
done > "$work/commands"
"${debug[@]}" -ex 'break made' -ex 'break stop' -ex run -ex finish -x "$work/commands" "$program" \
  > "$work/answers" 2>&1 || true
sed -E '/^\(gdb\) /,$!d; /^$|^[0-9]+\t|gdb_program\.cpp:/d; s/0x[0-9a-f]{5,}/0x.../g' \
  "$work/answers" | diff -u "$session" -

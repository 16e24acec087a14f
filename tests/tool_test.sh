#!/bin/bash
# Runs the command vexo-variant and checks what it prints, what it says and how it ends: the cases of
# tool_cases.txt, and what takes more than one run.
# Usage: tool_test.sh TOOL SOURCE-DIR. TOOL_RUNNER, when set, is what starts the tool (an emulator).
set -u
shopt -s extglob
tool=$(realpath "$1")
example=$(realpath "$2")/examples/device.json
gateway=$(realpath "$2")/examples/gateway.toml
cases=$(dirname "$(realpath "$0")")/tool_cases.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" && unset NO_COLOR || exit 1
passed=0 failed=0

# A parent may have SIGPIPE ignored. The runner is a command with its arguments: split at blanks.
# shellcheck disable=SC2086
run() { env --default-signal=PIPE ${TOOL_RUNNER-} "$tool" "$@"; }

# verdict NAME: counts the outcome of the command before it.
verdict() {
  if [ $? -eq 0 ]; then ((++passed)); else ((++failed)) && echo "FAILED: $1"; fi
}

# said PATTERN: standard error is one line, the prefix and what matches; nothing for "".
# shellcheck disable=SC2053
said() {
  error=$(< err)
  [[ $error == ${1:+vexo-variant: $1} && $error != *$'\n'* ]]
}

# works STDIN ARGUMENTS...: what "did you mean" in the last error suggests works: a whole command
# line, or a word in place of the one in front of it.
works() {
  [[ ${error/: no such file or command/} =~ (member (.*)|([^ ]+))' (did you mean '(.*)'?)' ]] || return 0
  local mistake=${BASH_REMATCH[2]:-${BASH_REMATCH[3]}} meant=${BASH_REMATCH[4]} line=("${@:2}") i
  for i in "${!line[@]}"; do
    if [ "${line[i]}" = "$mistake" ]; then line[i]=$meant; fi
  done
  if [[ $meant == vexo-variant\ * ]]; then eval "line=(${meant#* })"; fi
  printf '%b' "${1:-"$json"}" | run "${line[@]}" > again 2>&1
}

# check CODE STDERR STDIN STDOUT ARGUMENTS: STDIN and STDOUT with escapes as of printf %b.
check() {
  local status arguments
  eval "arguments=(${5-})"
  printf '%b' "$4" > expected
  printf '%b' "$3" | run "${arguments[@]}" > out 2> err
  status=$?
  said "$2" && [ "$status" -eq "$1" ] && cmp -s out expected && works "$3" "${arguments[@]}"
  verdict "${5-} < '$3': exit $status instead of $1, or wrong output; said: ${error:0:300}"
}

json='{"a":{"b":[1,-2,"x\"y"]},"n":null,"raw":"b64:AAH+","t":"2026-11-22T19:33:00.000250Z"}'
printf '%s' "$json" | tee in.json edit.json > /dev/null
printf '\x80\x03\x01' | tee true.bin bin.json edit.dat > /dev/null
printf '{"a" 1}' | tee broken.json > $'a\nb.json'
mkdir dir && ln -s edit.json link.json && chmod 640 edit.json
truncate -s 2147483648 huge.json && truncate -s 4294967296 huge.bin
head -c 1000000 /dev/zero | tr '\0' '[' > half.json
{ cat half.json; tr '[' ']' < half.json; echo; } > deep.json  # a million levels
printf '{"x":1,"m":%.0s' {1..40000} > steep.json && printf '{%040001d' 0 | tr 0 '}' >> steep.json
printf '{"x%065535d":1}' 0 > long.json && printf 'a = 1\n' > set.toml
{ cat half.json; printf 5; tr '[' ']' < half.json; } > deeper.json
printf '{"a":1,"b":{"x":[1]},"c":18446744073709551615}' > right.json
printf '[[1.23456782],"x"]' > kinds.json && printf '[2.5,18446744073709551615]' > numbers.json
printf 'a=2026-01-02T03:04:05.000000Z' > time.kvp && printf '\xE0\x0C\x7F\xF8\0\0\0\0\0\0' > nan.bin
printf '{"a":{"k1":[7],"key/1":1,"[2]":2},"Ab":8,"word":9,"5":6}' > like.json

while IFS='|' read -r -a fields; do
  fields=("${fields[@]##+( )}")
  check "${fields[@]%%+( )}"
done < <(sed '/^#/d; /^$/d; s/ ;; /\n/g' "$cases")
TOOL_RUNNER="env LC_ALL=de_DE.UTF-8 ${TOOL_RUNNER-}" check 0 '' '[1.5]' '[1.500000]\n' -c
NO_COLOR=1 check 0 '' '[1]' '[\e[36m1\e[0m]\n' '-C -c'
run get "$(printf '%09000d' 0)" in.json 2> err
said 'in.json: no member 0*' && [ "$(wc -c < err)" -eq 8192 ]
verdict "a long message is cut off"

# --- comments, which writing in place drops ----
while IFS='|' read -r file text warning; do
  printf '%s\n' a=1 > c.kvp && printf '%s\n' "$text" > c.json && printf '%s\n' "$text" >> c.kvp
  check 0 '' '' '' "$file copy.bin" && check 0 "${warning:+warning: $file: $warning}" '' '' "-i $file"
done <<'EOF'
c.json|1 #c|comments are not kept
c.json|"\"/" // c|comments are not kept
c.json|{"a":1/**/}|comments are not kept
c.json|{"/":"#","\\":"\""}|
c.json|"//"|
c.kvp|#b=1|comments are not kept
c.kvp|b=#1|
EOF

# --- what the checks have left in files ----
run -c out.BIN | cmp -s - <(printf '%s\n' "$json"); verdict 'through a BIN file'
[ -L link.json ] && [ "$(stat -c %a edit.json)$(< edit.json)" = "640$json" ]; verdict 'in place'
cmp -s true.bin edit.dat && [ "$(< broken.json)" = '{"a" 1}' ]; verdict 'in place: format, failure'
cat out.json plain.json | cmp -s - <(printf '[7]\n[1]\n'); verdict 'files: line feed, no colours'
for file in indent compact binary; do cmp -s deep.json $file.json; verdict "deep: $file"; done
run show -q deep.json | cmp -s - deep.json; verdict 'deep tree shown compact'
run check in.json broken.json none.json set.toml > out 2> err
[ $? -eq 3 ] && [ "$(wc -l < err)" -eq 2 ] && [ ! -s out ]; verdict 'check goes on'
printf 'a\n%.0s' {1..9} | run -p kvp > out 2> err
[ "$(wc -l < err)" -eq 6 ] && grep -q ': 4 more lines' err; verdict 'many skipped lines'

# --- colours, pipes and streams ----
[ "$(run -h)" = "$(run --help)" ] && run -V | grep -Eqx 'vexo-variant [0-9]+\.[0-9]+\.[0-9]+'
verdict 'help and version'
for command in convert show; do
  run $command "$example" > plain && [ -s plain ] &&
    run $command -C "$example" | sed 's/\x1b\[[0-9;]*m//g' | cmp -s - plain
  verdict "$command: colours only add codes"
done
if script -qec true /dev/null < /dev/null > /dev/null 2>&1 && [ -z "${TOOL_RUNNER-}" ]; then
  terminal() { TERM=xterm script -qec "$*" /dev/null < /dev/null; }
  coloured() { terminal "${1-} '$tool' -c in.json" | grep -q $'\e'; }
  coloured && ! coloured NO_COLOR=1 && ! coloured TERM=dumb; verdict 'colours on a terminal'
  printf '{"a\e":"\xC2\x9B","k":"\x7F\t\xC2\x9B"}' > hostile.json
  steers() { terminal "$@" | tr -d '\t\r\n' | LC_ALL=C grep -q $'[\x01-\x1F\x7F\x9B]'; }
  steers cat hostile.json; verdict 'a hostile file'
  for command in -M 'show -M' 'get -r k' '-o kvp'; do
    ! steers "'$tool' $command hostile.json"; verdict "a terminal is not steered: $command"
  done
  for command in '-o bin' '-o amf' 'get -r raw'; do
    ! terminal "'$tool' $command in.json" > out && grep -q 'is a terminal' out &&
      terminal "'$tool' $command in.json --force" | tr -d '\r\n' |
      cmp -s - <(run $command in.json | tr -d '\r\n')
    verdict "bytes on a terminal: $command"
  done
  script -qec "'$tool'" /dev/null | grep -q 'no input: name a file'; verdict 'nothing to do'
fi
run in.json > /dev/full 2> err; [ $? -eq 5 ] && said '<stdout>: No space left on device'
verdict 'standard output is full'
# From where the loader finds room on, until the command has enough. At the edge the stack, which the
# limit counts too, cannot grow: that ends the process before the command can say anything.
limited() { (ulimit -v "$1" && run -c in.json 2> err) > out; }
if limited 1000000; then
  for ((room = 2000, exits = 0, status = 5; status != 0; room += 16)); do
    limited "$room"
    status=$?
    if [ $status -eq 5 ] && said 'out of memory'; then ((++exits)); fi
    [[ $status == @(0|5|125|127) || ( $status -eq 139 && $exits -lt 3 ) ]] || break
  done
  [ "$status" -eq 0 ] && [ "$exits" -gt 5 ]; verdict "out of memory: exit $status after $exits times 5"
fi
run < /dev/null >&- 2> err; [ $? -eq 3 ]; verdict 'closed output, unused'
run in.json >&- 2> err; [ $? -eq 5 ] && said '<stdout>: *'; verdict 'closed output'
run <&- 2> err; [ $? -eq 5 ] && said '<stdin>: *'; verdict 'closed input'
run <(cat in.json) -c | cmp -s - <(printf '%s\n' "$json"); verdict 'a pipe by name'
run "$gateway" -o bin | run diff - "$gateway"; verdict 'TOML and BIN'
run diff set.toml right.json > /dev/full 2> err; [ $? -eq 5 ] && said '<stdout>: *'
verdict 'diff: standard output is full'
run "$example" -o bin | run | run -o bin | run -c | cmp -s - <(run "$example" -c)
verdict 'round trip in pipes'
run -q deep.json 2> err | head -c 1 > out; [ "${PIPESTATUS[0]}" -eq 141 ] && said ''
verdict 'a reader that goes away'

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]

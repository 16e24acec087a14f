#!/bin/bash
# Runs the command vexo-variant and checks what it prints, what it says and how it ends.
# Usage: tool_test.sh TOOL SOURCE-DIR. TOOL_RUNNER, when set, is what starts the tool (an emulator).
set -u
tool=$(realpath "$1")
example=$(realpath "$2")/examples/device.json
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
unset NO_COLOR
passed=0
failed=0

# A parent may have SIGPIPE ignored. The runner is a command with its arguments: split at blanks.
# shellcheck disable=SC2086
run() { env --default-signal=PIPE ${TOOL_RUNNER-} "$tool" "$@"; }

# verdict NAME: counts the outcome of the command before it.
verdict() {
  if [ $? -eq 0 ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAILED: $1"
  fi
}

# said TEXT: standard error is TEXT as one line with the prefix; nothing for ""; any one line that
# starts with TEXT where that ends in *.
said() {
  local error
  error=$(cat err)
  case $1 in
    '') [ -z "$error" ] ;;
    *'*') [ "$(wc -l < err)" -eq 1 ] && [ "${error#"vexo-variant: ${1%?}"}" != "$error" ] ;;
    *) [ "$error" = "vexo-variant: $1" ] ;;
  esac
}

# check NAME CODE STDIN STDOUT STDERR ARGUMENT...: STDIN and STDOUT with escapes as of printf %b.
check() {
  local name=$1 code=$2 input=$3 output=$4 error=$5 status
  shift 5
  printf '%b' "$output" > expected
  printf '%b' "$input" | run "$@" > out 2> err
  status=$?
  [ "$status" -eq "$code" ] && cmp -s out expected && said "$error"
  verdict "$name: exit $status instead of $code, or wrong output; said: $(head -c 300 err)"
}

text='{"a":{"b":[1,-2,"x\\"y"]},"n":null,"raw":"b64:AAH+","t":"2026-11-22T19:33:00.000250Z"}'
json=${text//\\\\/\\}
printf '%s' "$json" > in.json
printf '\x80\x03\x01' > true.bin
mkdir dir

# --- convert ---------------------------------------------------------------------------------------
check 'indented'           0 '{"a":[1]}' '{\n    "a": [\n        1\n    ]\n}\n' ''
check 'compact'            0 ' {"a":[0x1 TRUE,null,]} // end\n' '{"a":[1,true,null]}\n' '' -c
check 'named command'      0 '[]' '[]\n' '' convert -c
check 'long options'       0 '[]' '[]\n' '' --compact --input-format json --output-format json -
check 'JSON to BIN'        0 '5' '\xE0\x04\x05' '' -o bin
check 'BIN by content'     0 '\xE0\x04\x05' '5\n' '' - -
check 'BIN by extension'   0 '' 'true\n' '' true.bin
check 'format by option'   3 '' '' 'true.bin:1:1: *' -p json true.bin
check 'output extension'   0 '' '' '' in.json out.BIN
check 'file to standard'   0 '' "$text\n" '' -c out.BIN
check 'standard to file'   0 '[7]' '' '' -c - out.json
printf '[7]\n' | cmp -s - out.json; verdict 'a JSON file ends with a line feed'
check 'same name as a command' 5 '' '' 'get: No such file or directory' convert get
check 'deaf to the locale' 0 '[1.5]' '[1.500000]\n' '' -c
TOOL_RUNNER="env LC_ALL=de_DE.UTF-8 ${TOOL_RUNNER-}" \
  check 'deaf to LC_ALL'   0 '[1.5]' '[1.500000]\n' '' -c
check 'help'               0 '' "$(run -h | sed 's/\\/\\\\/g')\n" '' --help
run -V | grep -Eqx 'vexo-variant [0-9]+\.[0-9]+\.[0-9]+'; verdict 'version'

# --- in place --------------------------------------------------------------------------------------
cp in.json edit.json && chmod 640 edit.json && ln -s edit.json link.json
check 'in place' 0 '' '' '' -c -i link.json
{ [ -L link.json ] && [ "$(stat -c %a edit.json)" = 640 ] && [ "$(cat edit.json)" = "$json" ]; }
verdict 'in place keeps the link, the permissions and the content'
cp true.bin edit.dat
check 'in place keeps the format' 0 '' '' '' -i edit.dat
cmp -s true.bin edit.dat; verdict 'in place keeps BIN'
printf '{"a" 1}' > broken.json
check 'broken in place' 3 '' '' "broken.json:1:6: expected ':' after member name" -i broken.json
[ "$(cat broken.json)" = '{"a" 1}' ]; verdict 'a broken file is left alone'

# --- show and get ----------------------------------------------------------------------------------
check 'show'           0 '{"a":[1]}' '{\n    "a": [\n        (INT8) 1\n    ]\n}\n' '' show
check 'show a scalar'  0 '\x80\x01' '(NULL) null\n' '' show -
check 'get a member'   0 '' '[1,-2,"x\\"y"]\n' '' get -c a/b in.json
check 'get an element' 0 '' '-2\n' '' get 'a/b/[1]' in.json
check 'get top array'  0 '[4]' '4\n' '' get '[0]'
check 'get all'        0 '[4]' '[4]\n' '' get -c .
check 'get all again'  0 '4' '4\n' '' get ''
check 'get as BIN'     0 '' '\x80\x01' '' get -o bin n in.json
check 'get a string'   0 '' '"x\\"y"\n' '' get 'a/b/[2]' in.json
check 'get it raw'     0 '' 'x"y\n' '' get -r 'a/b/[2]' in.json
check 'raw timestamp'  0 '' '2026-11-22T19:33:00.000250Z\n' '' get -r t in.json
check 'raw buffer'     0 '' '\x00\x01\xFE' '' get -r raw in.json
check 'raw number'     0 '' '1\n' '' get -r 'a/b/[0]' in.json
check 'missing'        1 '' '' 'in.json: no member a/c' get a/c in.json
check 'in a scalar'    1 '5' '' '<stdin>: no member a' get a
check 'wrong case'     1 '' '' 'in.json: no member A' get A in.json
check 'default'        0 '' '-x\n' '' get -d -x A in.json
check 'empty default'  0 '' '\n' '' get A in.json -d ''
check 'null with -e'   1 '' 'null\n' '' get -e n in.json
check 'false with -e'  1 '[false]' 'false\n' '' get -e '[0]'
check 'zero with -e'   0 '[0]' '0\n' '' get -e '[0]'

# --- colours ---------------------------------------------------------------------------------------
check 'colour on'   0 '{"a":1}' '{\e[1;34m"a"\e[0m:\e[36m1\e[0m}\n' '' -C -c
check 'colour off'  0 '[1]' '[1]\n' '' -M -c
NO_COLOR=1 check 'asked for colour' 0 '[1]' '[\e[36m1\e[0m]\n' '' -C -c
check 'no colour in files' 0 '[1]' '' '' -C -c - plain.json
[ "$(cat plain.json)" = '[1]' ]; verdict 'files are never coloured'
for command in convert show; do
  run $command "$example" > plain && [ -s plain ] &&
    run $command -C "$example" | sed 's/\x1b\[[0-9;]*m//g' | cmp -s - plain
  verdict "$command: colours only add codes"
done
if command -v script > /dev/null && [ -z "${TOOL_RUNNER-}" ]; then
  script -qec "'$tool' -c in.json" /dev/null < /dev/null | grep -q $'\e'; verdict 'a terminal'
  ! NO_COLOR=1 script -qec "'$tool' -c in.json" /dev/null < /dev/null | grep -q $'\e'
  verdict 'a terminal with NO_COLOR'
fi

# --- usage -----------------------------------------------------------------------------------------
for arguments in '-x' 'a b c' '-p xml' '-o xml' '-i' '-i a.json b.json' '-C -M' 'get' 'show a b'; do
  # shellcheck disable=SC2086
  check "usage: $arguments" 2 '{}' '' '*' $arguments
done

# --- inputs that do not parse ----------------------------------------------------------------------
check 'empty'             3 '' '' '<stdin>:1:1: *'
check 'second line'       3 '[1,\n  ?]' '' '<stdin>:2:3: *'
check 'columns count characters' 3 '["é", ?]' '' '<stdin>:1:7: *'
check 'trailing text'     3 '{}\n x' '' '<stdin>:2:2: expected end of text'
check 'unknown tag'       3 '\x00\x01' '' '<stdin>: not a BIN value' -p bin
check 'cut short'         3 '\x10\x10\x00\x01' '' '<stdin>: not a complete BIN value'
check 'trailing bytes'    0 '\x80\x01ab' 'null\n' 'warning: <stdin>: 2 bytes after the BIN value ignored'
check 'quiet'             0 '\x80\x01ab' 'null\n' '' -q
check 'trailing zeros'    0 '\x80\x01\x00\x00' 'null\n' ''
check 'bytes in a name'   3 '' '' $'a?b.json:1:1: *' "$(touch $'a\nb.json'; echo $'a\nb.json')"

# --- losses ----------------------------------------------------------------------------------------
check 'negative key' 4 '{"x":{"-1":0}}' '' \
  '<stdin>: integer keys outside 0 to 2^56-1 cannot be stored in BIN: 1, first at x/[-1]' -o bin
check 'huge key'     4 '{"72057594037927936":0}' '' '<stdin>: integer keys *' -o bin
check 'largest key'  0 '{"72057594037927935":null}' \
  '\x10\x10\x00\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\x80\x01\x00' '' -o bin
check 'rounding'     0 '\xE0\x0C\x3F\xF0\x00\x00\x00\x00\x00\x01' '1.000000\n' \
  'warning: <stdin>: doubles rounded to six decimals: 1, first at .'
check 'no rounding'  0 '\xE0\x0C\x3F\xB9\x99\x99\x99\x99\x99\x9A' '0.100000\n' ''
check 'infinity'     0 '\xE0\x0C\x7F\xF0\x00\x00\x00\x00\x00\x00' 'inf\n' 'warning: <stdin>: infinit*'
check 'typed map'    0 '\x10\x11\x00\x03cam\x00\x00' '"V_TYPED_MAP is not supported by JSON"\n' \
  'warning: <stdin>: typed maps replaced by a placeholder: 1, first at .'
check 'typed map kept' 0 '\x10\x11\x00\x03cam\x00\x00' '\x10\x11\x00\x03cam\x00\x00' '' -o bin

# --- files and pipes -------------------------------------------------------------------------------
check 'no such file' 5 '' '' 'none.json: No such file or directory' none.json
check 'a directory'  5 '' '' 'dir: Is a directory' dir
check 'onto a directory' 5 '[]' '' 'dir: *' - dir
check 'into no directory' 5 '[]' '' 'none/x.json: *' - none/x.json
check 'onto a full device' 5 '[]' '' '/dev/full: *' - /dev/full
truncate -s 2147483648 huge.json && truncate -s 4294967296 huge.bin
check 'huge JSON' 5 '' '' 'huge.json: too large: *' huge.json
check 'huge BIN'  5 '' '' 'huge.bin: too large: *' huge.bin
run in.json > /dev/full 2> err; [ $? -eq 5 ] && said '<stdout>: No space left on device'
verdict 'standard output is full'
run < /dev/null >&- 2> err; [ $? -eq 3 ]; verdict 'closed output, unused'
run in.json >&- 2> err; [ $? -eq 5 ] && said '<stdout>: *'; verdict 'closed output'
run <&- 2> err; [ $? -eq 5 ] && said '<stdin>: *'; verdict 'closed input'
run <(cat in.json) -c | cmp -s - <(printf '%s\n' "$json"); verdict 'a pipe by name'
run "$example" -c > one.json; verdict 'the example'
run "$example" -o bin | run | run -o bin | run -c | cmp -s - one.json; verdict 'round trip in pipes'

# --- a million levels ------------------------------------------------------------------------------
{ head -c 1000000 /dev/zero | tr '\0' '['; head -c 1000000 /dev/zero | tr '\0' ']'; } > deep.json
echo >> deep.json
check 'deep to compact' 0 '' '' '' -c deep.json copy.json
cmp -s deep.json copy.json; verdict 'deep and compact'
check 'deep to indented' 0 '' '' 'warning: deep.json: nested too deep to indent: *' deep.json copy.json
cmp -s deep.json copy.json; verdict 'deep text stays compact'
check 'deep to BIN'    0 '' '' '' deep.json deep.bin
check 'deep from BIN'  0 '' '' '' -c deep.bin copy.json
cmp -s deep.json copy.json; verdict 'deep through BIN'
check 'deep element'   0 '' '[]\n' '' get -c "$(printf '[0]/%.0s' {1..20})" <(head -c 21 deep.json; tail -c 22 deep.json)
run show -q deep.json | cmp -s - deep.json; verdict 'deep tree shown compact'
head -c 1000000 deep.json > half.json
check 'deep and cut short' 3 '' '' 'half.json:1:1000001: *' half.json
run -q deep.json 2> err | head -c 1 > out; [ "${PIPESTATUS[0]}" -eq 141 ] && said ''
verdict 'a reader that goes away'

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]

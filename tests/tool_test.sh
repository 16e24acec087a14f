#!/bin/bash
# Runs the command vexo-variant and checks what it prints, what it says and how it ends.
# Usage: tool_test.sh TOOL SOURCE-DIR. TOOL_RUNNER, when set, is what starts the tool (an emulator).
set -u
shopt -s extglob
tool=$(realpath "$1")
example=$(realpath "$2")/examples/device.json
gateway=$(realpath "$2")/examples/gateway.toml
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

# check CODE STDERR STDIN STDOUT ARGUMENTS: STDIN and STDOUT with escapes as of printf %b.
check() {
  local status arguments
  eval "arguments=(${5-})"
  printf '%b' "$4" > expected
  printf '%b' "$3" | run "${arguments[@]}" > out 2> err
  status=$?
  said "$2" && [ "$status" -eq "$1" ] && cmp -s out expected
  verdict "${5-} < '$3': exit $status instead of $1, or wrong output; said: ${error:0:300}"
}

# Checks the lines of standard input; ;; parts several checks on one line.
checkAll() {
  local fields
  while IFS='|' read -r -a fields; do
    fields=("${fields[@]##+( )}")
    check "${fields[@]%%+( )}"
  done < <(sed 's/ ;; /\n/g')
}

json='{"a":{"b":[1,-2,"x\"y"]},"n":null,"raw":"b64:AAH+","t":"2026-11-22T19:33:00.000250Z"}'
printf '%s' "$json" | tee in.json edit.json > /dev/null
printf '\x80\x03\x01' | tee true.bin bin.json edit.dat > /dev/null
printf '{"a" 1}' | tee broken.json > $'a\nb.json'
mkdir dir && ln -s edit.json link.json && chmod 640 edit.json
truncate -s 2147483648 huge.json && truncate -s 4294967296 huge.bin
head -c 1000000 /dev/zero | tr '\0' '[' > half.json
{ cat half.json; tr '[' ']' < half.json; echo; } > deep.json  # a million levels

checkAll <<'EOF'
0|| {"a":[1]}                | {\n    "a": [\n        1\n    ]\n}\n            |
0|| {"a":[0x1 TRUE,null,]} // end\n | {"a":[1,true,null]}\n | -c
0|| [1.5] | [1.500000]\n     | convert --compact --input-format json --output-format json -
0|| 5     | \xE0\x04\x05     | -o bin      ;; 0|| \xE0\x04\x05 | 5\n  | - -
0||       | true\n           | true.bin    ;; 3| true.bin:1:1: * |||   -p json true.bin
0|||                         | in.json out.BIN ;; 0|| [7]       |     | -c - out.json
5| get: No such file or directory ||| convert get
0|||                         | -c -i link.json ;; 0|||                | -i edit.dat
3| broken.json:1:6: expected ':' after member name |||                  -i broken.json
0|| {"a":[1]} | {\n    "a": [\n        (INT8) 1\n    ]\n}\n           | show
0|| \x80\x01  | (NULL) null\n   | show -   ;; 0||     | -2\n          | get a/b/[1] in.json
0|| [4]   | 4\n              | get [0]     ;; 0|| [4] | [4]\n         | get -c .
0|| 4     | 4\n              | get ''      ;; 0||     | \x80\x01      | get -o bin n in.json
0||       | "x\\"y"\n        | get a/b/[2] in.json ;; 0|| | x"y\n     | get -r a/b/[2] in.json
0||       | 2026-11-22T19:33:00.000250Z\n  | get -r t in.json
0||       | \x00\x01\xFE     | get -r raw in.json ;; 0|| | 1\n        | get -r a/b/[0] in.json
1| in.json: no member a/c ||| get a/c in.json    ;; 1| <stdin>: no member a | 5 || get a
0||       | -x\n             | get -d -x A in.json ;; 0|| | \n         | get A in.json -d ''
1||       | null\n           | get -e n in.json
1|| [false] | false\n        | get -e [0]  ;; 0|| [0] | 0\n           | get -e [0]
0|| {"a":1} | {\e[1;34m"a"\e[0m:\e[36m1\e[0m}\n | -C -c ;; 0|| [1]    || -C -c - plain.json
2| * | {} || -x ;; 2| * | {} || a b c ;; 2| * | {} || -p xml ;; 2| * | {} || -o xml
2| * | {} || -i ;; 2| * | {} || -C -M ;; 2| * | {} || get    ;; 2| * | {} || show a b
2| * | {} || -i a.json b.json ;; 3| <stdin>:1:1: * ||| ;; 0|| \x80\x01\0\0 | null\n |
3| <stdin>:1:7: * | ["é", ?] ||            ;; 3| <stdin>:2:2: expected end of text | {}\n x ||
3| <stdin>: not a BIN value | \x00\x01 || -p bin ;; 3| a?b.json:1:6: * ||| $'a\nb.json'
3| <stdin>: not a complete BIN value | \x10\x10\x00\x01 || ;; 0|| \x80\x01ab | null\n | -q
0| warning: <stdin>: 2 bytes after the BIN value ignored | \x80\x01ab | null\n |
4| <stdin>: integer keys outside 0 to 2^56-1 *: 1, first at x/\[-1\] | {"x":{"-1":0}} || -o bin
4| <stdin>: integer keys * | {"72057594037927936":0} || -o bin
0|| {"72057594037927935":null} | \x10\x10\0\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\x80\x01\0 | -o bin
0| warning: <stdin>: doubles rounded *: 1, first at . | \xE0\x0C\x3F\xF0\0\0\0\0\0\x01 | 1.000000\n |
0|| \xE0\x0C\x3F\xB9\x99\x99\x99\x99\x99\x9A | 0.100000\n |
0| warning: <stdin>: infinit* | \xE0\x0C\x7F\xF0\0\0\0\0\0\0 | inf\n |
0| warning: <stdin>: typed maps *: 1, first at . | \x10\x11\0\x03cam\0\0 | "V_TYPED_MAP is not supported by JSON"\n |
0|| \x10\x11\0\x03cam\0\0 | \x10\x11\0\x03cam\0\0 | -o bin
5| none.json: No such file or directory ||| none.json   ;; 5| dir: Is a directory ||| dir
5| dir: * | [] || - dir ;; 5| none/x: * | [] || - none/x ;; 5| huge.bin: too large: * ||| huge.bin
5| /dev/full: * | [] || - /dev/full        ;; 5| huge.json: too large: * ||| huge.json
0| warning: deep.json: nested too deep to indent: * ||| deep.json indent.json
0|||| -c deep.json compact.json            ;; 0|||| deep.json deep.bin
0|||| -c deep.bin binary.json              ;; 3| half.json:1:1000001: * ||| half.json
EOF
TOOL_RUNNER="env LC_ALL=de_DE.UTF-8 ${TOOL_RUNNER-}" check 0 '' '[1.5]' '[1.500000]\n' -c
NO_COLOR=1 check 0 '' '[1]' '[\e[36m1\e[0m]\n' '-C -c'
run get "$(printf '%09000d' 0)" in.json 2> err
said 'in.json: no member 0*' && [ "$(wc -c < err)" -eq 8192 ]
verdict "a long message is cut off"

# --- KVP, TOML and AMF, what they lose, diff and check ----
printf '{"x":1,"m":%.0s' {1..40000} > steep.json && printf '{%040001d' 0 | tr 0 '}' >> steep.json
printf '{"x%065535d":1}' 0 > long.json && printf 'a = 1\n' > set.toml
{ cat half.json; printf 5; tr '[' ']' < half.json; } > deeper.json
printf '{"a":1,"b":{"x":[1]},"c":18446744073709551615}' > right.json
printf '[[1.23456782],"x"]' > kinds.json && printf '[2.5,18446744073709551615]' > numbers.json
printf 'a=2026-01-02T03:04:05.000000Z' > time.kvp && printf '\xE0\x0C\x7F\xF8\0\0\0\0\0\0' > nan.bin
checkAll <<'EOF'
0|| {"a":[1,{"b":null}],"s":"x"} | a.0=1\na.1.b=\ns=x\n                 | -o kvp
0|| {"a":[1,true]} | \x03\0\x01a\x0A\0\0\0\x02\0\x3F\xF0\0\0\0\0\0\0\x01\x01\0\0\x09 | -o amf
0|| {"a":[1]} || - out.kvp ;; 0|||| -i out.kvp ;; 0|| | {"a":[1]}\n  | -c out.kvp
0|| {"a":{"b":1}} | a.b: 1\n     | -o kvp --kvp-separator ': ' ;; 0|| {} || - out.AMF
0|| a.b=1\nc=on   | {"a.b":1,"c":1}\n          | -c -p kvp --kvp-flat
0|| a.b=1\nc=on   | {"a":{"b":"1"},"c":"on"}\n | -c -p kvp --kvp-strings
2| out.AMF: AMF can only be written ||| out.AMF ;; 2| * ||| -p amf      ;; 2| * ||| -o toml
2| x.toml: TOML can only be read: * ||| - x.toml ;; 2| set.toml: TOML * ||| -i set.toml
0|| # c\n\n [a.b] # d\nx=1 | {"a":{"b":{"x":1}}}\n | -c ;; 0|| [[a]]\nx=1  | {"a":[{"x":1}]}\n | -c
0|| [true]\n      | [true]\n     | -c ;; 0|| [nuLL]        | [null]\n     | -c
0|| [0x1F]        | [31]\n       | -c ;; 0|| [-1]          | [-1]\n       | -c
0|| # a=b\n"x=y"  | "x=y"\n      | -c ;; 0|| // a=b\n5     | 5\n          | -c
0|| a . "b" = 'x' | {"a":{"b":"x"}}\n | -c ;; 0|| a = +1   | {"a":1}\n    | -c
0|| a = false     | {"a":false}\n     | -c ;; 0|| a = fals | {"a ":" fals"}\n | -c
0|| a = [2]       | {"a":[2]}\n       | -c ;; 0|| %a="{    | {"%a":"\\"{"}\n | -c
0| warning: <stdin>:2: line without '=' skipped | a=x\nb\nc=y | {"a":"x","c":"y"}\n | -c
0|| a=x\nb | {"a":"x"}\n | -c -q  ;; 3| <stdin>:2:7: * | a=x\nb=b64:!!!!\nc || -p kvp
3| <stdin>:2:6: *    | a = 1\n"ä"= \n ||             ;; 3| <stdin>:2:2: * used * | a = 1\n[a]\n ||
4| *: * V_MAP *      | 5 || -o kvp   ;; 4| *: keys can not contain `=` * | {"a=":1} || -o kvp
4| steep.json: KVP text would take 16001+([0-9]) bytes ||| steep.json steep.kvp
4| long.json: not representable in AMF: Key too long for AMF ||| -o amf long.json
0| *: doubles rounded *: 1, first at a  | {"a":0.1234567,"b":0.5} | a=0.123457\nb=0.500000\n | -o kvp
0| *: infinit* strings: 1, first at a   | a = inf        | a=inf\n     | -o kvp
0| *: empty maps *: 2, first at a       | {"a":[],"b":{}} |           | -o kvp
0| *: strings with *: 1, first at a     | {"a":"x\\ny"}  | a=x\ny\n    | -o kvp
0| *: keys that *: 3, first at ""       | {"":{"k":1}," b":1,"#c":1,"5":1} || - out.kvp
0| *: keys that *: 2, first at x/\[5\]  | {"x":{"#c":1," b":1,"d/e":1,"5":2,"[5]":1,"y.":1}} || - out.kvp
0| *: keys that *: 1, first at x/y      | {"x":{"y":1},"x/y":1}      || - out.kvp
0| *: keys that *: 1, first at t/05     | [t]\n05 = 1\nx-5 = 1 | t.05=1\nt.x-5=1\n | -o kvp
0| *: integers *: 2, first at \[0\]     | [-9007199254740993,9007199254740992,0xffffffffffffffff] || - out.amf
0| *: arrays *: 1, first at b           | a.0=x\na.1=y\nb.0=x\nb.2=y || - out.amf
0| *: names *: 1, first at .            | \x10\x11\0\x03cam\0\0 | \x03\0\0\x09 | -o amf
1|| {"a":2,"b":{"x":[1,2]},"c":-1,"n":null,"x\\n~\x7F":0} | - a = 2\n+ a = 1\n- b/x/[1] = 2\n- c = -1\n+ c = 18446744073709551615\n- n = null\n- x?~? = 0\n | diff - right.json
1|| [{"0":1.23456781},[2]] | - [0] = (MAP)\n+ [0] = (MAP, array)\n- [0]/[0] = (DOUBLE) 1.23456781\n+ [0]/[0] = (DOUBLE) 1.23456782\n- [1] = [2]\n+ [1] = "x"\n | diff - kinds.json
1|| a = 2026-01-02T03:04:05Z | - a = (TIMESTAMP) "2026-01-02T03:04:05.000000Z"\n+ a = (STRING) "2026-01-02T03:04:05.000000Z"\n | diff - time.kvp
1|| [2] | - [0] = 2\n+ [0] = 2.500000\n+ [1] = 18446744073709551615\n | diff - numbers.json
0|| \xE0\x0C\x7F\xF8\0\0\0\0\0\0 || diff - nan.bin    ;; 0|| a = 1.0 || diff -p toml set.toml -
1|||| diff -q set.toml right.json    ;; 1|||| diff -q deep.json deeper.json ;; 2| * ||| diff - -
3| broken.json:1:6: * ||| diff set.toml broken.json
0|||| check in.json true.bin deep.json $gateway ;; 5| none.json: * ||| check none.json in.json
EOF

# --- what people mistake, and what they are used to from other tools ----
printf '{"a":{"k1":[7],"key/1":1,"[2]":2},"Ab":8,"word":9,"5":6}' > like.json
checkAll <<'EOF'
1| in.json: no member A/b/1 (did you mean a/b/\[1\]?)            ||| get A/b/1 in.json
1| like.json: no member .a.k1\[0\] (did you mean a/k1/\[0\]?)    ||| get .a.k1[0] like.json
1| like.json: no member a/k1\[0\] (did you mean a/k1/\[0\]?)     ||| get a/k1[0] like.json
1| like.json: no member wrod (did you mean word?)                ||| get wrod like.json
1| like.json: no member \["wordy"\] (did you mean word?)         ||| get '["wordy"]' like.json
1| *: no member AB (did you mean Ab?) ||| get AB like.json    ;; 1| *: no member w | {"x":1} || get w
1| *: no member .5 (did you mean \[5\]?) ||| get .5 like.json ;; 1| *: no member wo/ ||| get wo/ like.json
1| *: no member word/x   ||| get word/x like.json ;; 1| *: no member //     ||| get // like.json
1| *: no member a/key_1  ||| get a/key_1 like.json ;; 1| *: no member a/<2> ||| get 'a/<2>' like.json
1| *: no member drow     ||| get drow like.json   ;; 1| *: no member wokdr  ||| get wokdr like.json
2| unknown option --output-fromat (did you mean --output-format?); see vexo-variant convert --help ||| --output-fromat json in.json
2| --output-format: unknown format jsn (did you mean json?): known are amf, bin, json, kvp; *     ||| -o jsn in.json
2| --input-format: AMF can only be written: choose one of bin, json, kvp, toml; *                 ||| -p=AMF get .
2| --input-format needs a value; * ||| get x -p   ;; 2| --compact takes no value; *       ||| --compact=no
2| -r is no option of show, but of get;* ||| show -r ;; 2| CHAIN is required; usage: *    ||| -q get
2| unknown option --bgous; * ||| get --bgous=1    ;; 2| too many arguments: c; usage: *   ||| in.json b c
2| set: no such command *      ||| set a 1 in.json ;; 5| .a: no such file (did you mean *get .a?) ||| .a
5| a/b: * (did you mean vexo-variant get a/b in.json?) ||| a/b in.json ;; 5| .: *get .?) ||| .
5| a: * (did you mean vexo-variant get a in.json?) ||| get in.json a
0| warning: out.yaml: no format *: written as JSON ||| in.json out.yaml
3| bin.json:1:1: * (it looks like BIN: *) ||| bin.json
5| chekc: no such file or command (did you mean check?) ||| chekc in.json
5| help: no such file or command (see vexo-variant --help) ||| help ;; 5| '': No such *   ||| get a ''
0|| [1] | [1]\n  | -c -p json get . -             ;; 0|| [1] | [1]\n | -cp bin convert -o=JSON -p=json
5| ./\[a,b\]: No such file *  ||| check '[a,b]'   ;; 5| get: No such file * ||| -c -- get
1|| {} | \e[32m+ a = 1\e[0m\n  | diff -C - set.toml ;; 1|| {"a":2} | \e[31m- a = 2\e[0m\n\e[32m+ a = 1\e[0m\n | diff -C - set.toml
1|| {"\xC2\x9B\xC2\xA9":"\e"} | + a = 1\n- ??\xC2\xA9 = "?"\n | diff - set.toml
EOF

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
  script -qec "'$tool'" /dev/null | grep -q 'no input: name a file'; verdict 'nothing to do'
fi
run in.json > /dev/full 2> err; [ $? -eq 5 ] && said '<stdout>: No space left on device'
verdict 'standard output is full'
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

#!/bin/sh
# A tour of the command vexo-variant. Usage: demo.sh TOOL. Fails where anything is not as promised.
set -eu
tool=$(realpath "$1")
here=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here/device.json" "$here/gateway.toml" "$work"
cd "$work"

exec 3>&1  # where the commands are shown, also when their output goes into a file

vexo() { "$tool" "$@"; }

say() { printf '\n# %s\n' "$1"; }

# try COMMAND...: prints the command, then runs it.
try() {
  printf '$ %s\n' "$*" | sed 's/^\$ vexo /$ vexo-variant /' >&3
  "$@"
}

# refused CODE COMMAND...: the command must end with this exit code.
refused() {
  expected=$1
  shift
  status=0
  try "$@" 2>&1 || status=$?
  echo "(exit code $status)"
  [ "$status" -eq "$expected" ]
}

say 'A configuration as people write it, and the tree that it stands for'
try head -n 16 device.json
try vexo show device.json > shown
head -n 40 shown
echo '    ...'

say 'To BIN and back'
try vexo device.json device.bin
try vexo -c device.json compact.json
try wc -c device.json compact.json device.bin
try vexo -c device.bin back.json
try cmp compact.json back.json
try vexo back.json back.bin
try cmp device.bin back.bin
echo 'Both formats carry the same tree.'

say 'Single members'
try vexo get network/ports device.json -c
try vexo get 'streams/[1]/title' device.bin
try vexo get -r 'streams/[1]/title' device.bin
try vexo get -r installedAt device.bin
try vexo get 'inputs/[5]/label' device.bin
try vexo get -d '(none)' network/wifi device.bin
try vexo get -r tls/certificate device.bin > certificate.der
try wc -c certificate.der
refused 1 vexo get -e maintenance device.bin

say 'TOML, to everything that can be written'
try sed -n '/^.limits/,/^$/p' gateway.toml
try vexo -c gateway.toml gateway.json
try vexo gateway.toml gateway.bin
try vexo gateway.toml gateway.amf
try vexo gateway.toml gateway.kvp
try wc -c gateway.toml gateway.json gateway.bin gateway.amf gateway.kvp
try vexo get -o kvp network gateway.toml

say 'What two files differ in: nothing in BIN; in KVP, what lines of text cannot carry'
try vexo diff gateway.toml gateway.bin
try vexo -c gateway.kvp back.json
try vexo get -c network/ntp back.json
refused 1 vexo diff gateway.toml gateway.kvp

say 'What cannot be done is said in one line'
printf '{\n    "port": 554,\n    "host" "camera"\n}\n' > broken.json
try cat broken.json
refused 3 vexo broken.json
printf '{"-3": true}\n' > negative.json
refused 4 vexo negative.json negative.bin
refused 1 vexo get network/wifi device.bin
printf 'port = 554\nhost = "camera\n' > broken.toml
refused 3 vexo broken.toml
refused 3 vexo check device.json gateway.toml broken.toml broken.json gateway.kvp
refused 2 vexo gateway.json gateway.toml

#!/bin/bash
# Compares what describes the command vexo-variant with its --help: the man page and the completions
# have the same commands, options and formats, no more and no less. Runs the bash completion, and
# the examples of docs/command.md.
# Usage: tool_help_test.sh TOOL SOURCE-DIR. TOOL_RUNNER, when set, is what starts the tool.
set -u
shopt -s lastpipe  # the end of a pipe counts in this shell
tool=$(realpath "$1")
root=$(realpath "$2")
man=$root/tools/vexo-variant.1
completions=$root/tools/completions
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/here" && cd "$work/here" && export HOME=$work LC_ALL=C || exit 1
passed=0 failed=0

# shellcheck disable=SC2086
vexo-variant() { env --default-signal=PIPE ${TOOL_RUNNER-} "$tool" "$@"; }

lines() { sed '/^$/d' | sort -u; }
words() { tr -s ' ,' '\n'; }

# same NAME EXPECTED: standard input has the same lines, in any order.
same() {
  if diff <(lines <<< "$2") <(lines) > "$work/differences"; then ((++passed)); else
    ((++failed)); echo "FAILED: $1 (< should be, > is)"; cat "$work/differences"
  fi
}

# --- what --help shows ----
declare -A help
for command in '' $(vexo-variant -h | sed -n '/^Commands:/,/^$/s/^  \([a-z]\{1,\}\) .*/\1/p'); do
  # shellcheck disable=SC2086
  help[$command.]=$(vexo-variant $command --help | sed -n 's/^  \(-[^ ]*\).*/\1/p')
done
commands=$(printf '%s\n' "${!help[@]}" | sed -n 's/^\(..*\)\.$/\1/p')
all=$(words <<< "${help[*]}")
formats() { vexo-variant convert -h | sed -n "s/.*format of the $1: //p" | sed 's/ or / /' | words; }
reads=$(formats input) writes=$(formats output)
[ "$(wc -l <<< "$commands")" -ge 5 ] && [ "$(wc -l <<< "$all")" -ge 50 ] && [ -n "$reads$writes" ]
same '--help is understood' 0 <<< $?
for option in p o; do
  vexo-variant -$option '?' 2>&1 | sed 's/.*known are//; s/;.*//' | words |
    same "formats of -$option" "$(if [ $option = p ]; then echo "$reads"; else echo "$writes"; fi)"
done

# --- the man page ----
# The letters and, where there are none, the names of the options of each command, as "COMMAND: -x".
awk '/^\.Sh DESCRIPTION/ { exit }
  $2 == "Cm" || $1 == ".Cm" { command = $NF }
  /^\.Op Fl -/ { print command ": -" $3; next }
  /^\.Op Fl/ { for (i = 1; i <= length($3); ++i) print command ": -" substr($3, i, 1) }' "$man" |
  same 'man: synopsis' "$(for command in $commands; do
    sed "s/,.*//; s/^/$command: /" <<< "${help[$command.]}"
  done)"
sed -n 's/^\.It Fl//p' "$man" | sed 's/ Ar [a-z]*//g; s/ Fl / /g' | words | sed '/^$/d; s/^/-/' |
  same 'man: options' "$all"
grep -o '^\.Fl -\?[a-zA-Z]*' "$man" | sed 's/\.Fl /-/' | grep -Fxv -- "$all" | same 'man: mentions' ''
sed -n '/^\.Ss Commands/,/^\.Ss/s/^\.It Cm //p' "$man" | same 'man: commands' "$commands"
sed -n '/^\.Ss Formats/,/^\.Sh/s/^\.It Cm \([a-z]*\) Ta \([a-z, ]*\) Ta .*/\1: \2/p' "$man" |
  sed 's/\(.*: \)read, written/\1read\n\1written/' | same 'man: formats' \
  "$(sed 's/$/: read/' <<< "$reads"; sed 's/$/: written/' <<< "$writes")"
for check in "mandoc -Tlint -W warning" "man --warnings -l" "groff -ww -mandoc -Tutf8"; do
  if [ -n "$(command -v "${check%% *}")" ]; then
    $check "$man" 2>&1 > /dev/null | grep -v outdated | same "$check" ''
  else
    echo "skipped: no ${check%% *}"
  fi
done

# --- completions: the options of each command, and of none ----
# shellcheck source=/dev/null
source "$completions/vexo-variant.bash"
compopt() { files=no; }  # all that the function does with it is to offer no files

# reply WORD...: what bash would offer for the last word.
reply() {
  files=
  COMP_WORDS=(vexo-variant "$@") COMP_CWORD=$#
  _vexo_variant
  [ "$files" != no ] || [ "${#COMPREPLY[@]}" -gt 0 ] || echo no files
  printf '%s\n' "${COMPREPLY[@]}"
}
zshOptions() {
  zsh -fc 'compdef() { : }; _arguments() { print -rl -- "${@:3}" }
    words=(vexo-variant '"$1"' -); CURRENT=$#words; source "$0"' "$completions/_vexo-variant" |
    sed -n 's/^\(([^)]*)\)\{0,1\}\(-[-a-zA-Z]*\).*/\2/p'
}
fishOptions() {
  for dash in - --; do
    fish -c 'source $argv[1]; complete -C "$argv[2]"' "$completions/vexo-variant.fish" \
      "vexo-variant $1 $dash"
  done | cut -f 1
}
bashOptions() { reply ${1:+"$1"} -; }
for shell in bash zsh fish; do
  if [ -z "$(command -v $shell)" ]; then echo "skipped: no $shell" && continue; fi
  for command in '' $commands; do
    ${shell}Options "$command" |
      same "$shell: options of '$command'" "$(words <<< "${help[${command:-convert}.]}")"
  done
done
# Whether or not a shell is there: the words of its file.
for file in "$completions"/*; do
  { grep -Eo -- '(^|[^-a-z_])--[a-z][-a-z]+' "$file" | grep -o -- '--.*'
    sed -n 's/^complete.* -l \([-a-z]*\).*/--\1/p' "$file"; } |
    same "options in ${file##*/}" "$(grep -e -- <<< "$all")"
  for names in "$reads" "$writes"; do
    grep -Eo "['(](bin|json)( [a-z]+)+['\")]" "$file" | tr -d "'()" | sed 's/.*/ & /' | while read -r line; do
      if [ "$(words <<< "$line" | sort)" = "$(sort <<< "$names")" ]; then echo found; fi
    done | same "formats in ${file##*/}" found
  done
done

# --- what bash offers for command lines ----
touch in.json 'in b.toml' && mkdir showcase
while IFS='|' read -r line expected; do
  eval "reply $line" | same "bash: $line" "$(eval "printf '%s\n' $expected")"
done <<END
sh                     | show showcase
''                     | $(echo $commands) in.json 'in b.toml' showcase
in                     | in.json 'in b.toml'
-c ch                  | check
-p json -c ch          | check
-p ''                  | $(echo $reads)
-cp j                  | json
get -p = ''            | $(echo $reads)
get --output-format = b | bin
get --output-format =  | $(echo $writes)
get x --output-fo      | --output-format
get net                | 'no files'
get net in             |
get -d ''              | 'no files'
get x -d -p            | 'no files'
get x -d ''            | 'no files'
get --default = sh     | 'no files'
get --default=x --def  | --default
-- --def               |
-- sh                  |
in.json sh             |
check sh               |
check -- -             |
diff show --monochr    | --monochrome
END

# --- the examples of the documentation ----
cp "$root"/examples/*.* . && sed -n '/^```console$/,/^```$/{/^```/d;p}' "$root/docs/command.md" > console
again() { return "$status"; }  # for an example that looks at the exit code of the one before
status=0
grep '^\$ ' console | while IFS= read -r line; do
  echo "$line" && again
  eval "${line#'$ '}" 2>&1 < /dev/null
  status=$?
done > transcript
if diff console transcript && [ -s console ]; then ((++passed)); else
  ((++failed)) && echo 'FAILED: docs/command.md (< should be, > is)'
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]

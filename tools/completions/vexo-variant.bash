# Completion of vexo-variant for bash.

# The option whose value is the word behind $1 or, after '=', a part of it; nothing for a flag.
_vexo_variant_option() {
  case $1 in
    -p | --input-format | -[!-]*p) echo -p ;;
    -o | --output-format | -[!-]*o) echo -o ;;
    -d | --default | -[!-]*d | --kvp-separator) echo text ;;
  esac
}

_vexo_variant() {
  local current=${COMP_WORDS[COMP_CWORD]} before=$((COMP_CWORD - 1))
  local command='' operands=0 ended='' i word
  # "=" is a word of its own.
  [[ $current == '=' ]] && current=''
  [[ ${COMP_WORDS[before]} == '=' ]] && ((before -= 1))
  for ((i = 1; i <= before; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ -z $ended && $word == -?* ]]; then
      [[ $word == -- ]] && ended=1
      [[ -z $(_vexo_variant_option "$word") ]] && continue
      [[ ${COMP_WORDS[i + 1]} == '=' ]] && ((++i))
      ((++i))
    elif [[ -z $ended && -z $command && $operands -eq 0 &&
      $word == @(convert|show|get|diff|check) ]]; then
      command=$word
    else
      ((++operands))
    fi
  done

  COMPREPLY=()
  case ${ended:+no}$(_vexo_variant_option "${COMP_WORDS[before]}") in
    -p)
      mapfile -t COMPREPLY < <(compgen -W 'bin json kvp toml' -- "$current")
      return
      ;;
    -o)
      mapfile -t COMPREPLY < <(compgen -W 'bin json kvp amf' -- "$current")
      return
      ;;
    text)
      compopt +o default
      return
      ;;
  esac

  if [[ -z $ended && $current == -* ]]; then
    local options='-p --input-format --kvp-flat --kvp-strings -q --quiet -h --help -V --version'
    if [[ $command != check ]]; then
      options+=' -C --colour --color -M --monochrome'
    fi
    if [[ $command == @(|convert|get) ]]; then
      options+=' -o --output-format -c --compact --kvp-separator --force'
    fi
    if [[ $command == @(|convert) ]]; then
      options+=' -i --in-place'
    elif [[ $command == get ]]; then
      options+=' -r --raw -d --default -e --exit-status'
    fi
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  elif [[ -z $ended && -z $command && $operands -eq 0 ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -W 'convert show get diff check' -- "$current"
      compgen -f -- "$current")
  elif [[ $command == get && $operands -eq 0 ]]; then
    compopt +o default  # a key chain
  fi
}

# Where the function has nothing to offer, names of files are.
complete -o default -F _vexo_variant vexo-variant

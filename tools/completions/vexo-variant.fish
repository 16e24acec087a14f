# Completion of vexo-variant for fish.

# Whether the command is one of the arguments; convert where no command word is given.
function __vexo_variant_command
    set -l words (commandline -opc)
    for word in $words[2..-1]
        if contains -- $word convert show get diff check
            contains -- $word $argv
            return
        end
    end
    contains -- convert $argv
end

function __vexo_variant_no_command
    not __fish_seen_subcommand_from convert show get diff check
end

complete -c vexo-variant -n __vexo_variant_no_command -a convert -d 'convert between formats'
complete -c vexo-variant -n __vexo_variant_no_command -a show -d 'show a tree with the types of its values'
complete -c vexo-variant -n __vexo_variant_no_command -a get -d 'print the member that a key chain leads to'
complete -c vexo-variant -n __vexo_variant_no_command -a diff -d 'print what two files differ in'
complete -c vexo-variant -n __vexo_variant_no_command -a check -d 'say which files do not parse'

complete -c vexo-variant -s h -l help -d 'show help'
complete -c vexo-variant -s V -l version -d 'show the version'
complete -c vexo-variant -s p -l input-format -x -a 'bin json kvp toml' -d 'format of the input'
complete -c vexo-variant -l kvp-flat -d 'KVP input: dots in keys mean nothing'
complete -c vexo-variant -l kvp-strings -d 'KVP input: all values stay strings'
complete -c vexo-variant -s q -l quiet -d 'no warnings'

complete -c vexo-variant -n 'not __vexo_variant_command check' -s C -l colour -d 'colours always'
complete -c vexo-variant -n 'not __vexo_variant_command check' -l color -d 'colours always'
complete -c vexo-variant -n 'not __vexo_variant_command check' -s M -l monochrome -d 'no colours'

complete -c vexo-variant -n '__vexo_variant_command convert get' -s o -l output-format -x -a 'bin json kvp amf' -d 'format of the output'
complete -c vexo-variant -n '__vexo_variant_command convert get' -s c -l compact -d 'JSON on one line'
complete -c vexo-variant -n '__vexo_variant_command convert get' -l force -d 'binary output even to a terminal'
complete -c vexo-variant -n '__vexo_variant_command convert get' -l kvp-separator -x -d 'KVP output: what stands between key and value'

complete -c vexo-variant -n '__vexo_variant_command convert' -s i -l in-place -d 'write back to the input'

complete -c vexo-variant -n '__vexo_variant_command get' -s r -l raw -d 'strings and timestamps without quotes, the bytes of a buffer'
complete -c vexo-variant -n '__vexo_variant_command get' -s d -l default -x -d 'what to print when there is no such member'
complete -c vexo-variant -n '__vexo_variant_command get' -s e -l exit-status -d 'exit 1 when the member is null or false'

# shellcheck shell=bash
# bash completion for "obvista"; bash finds this file by the program's name. The options come from the program's
# help, the viewers from the folder beside the program.

_obvista() {
    local cur prev words cword
    _init_completion || return
    local program
    program=$(type -P "${words[0]}") || return
    case $prev in
        --plugin)
            local folder
            folder=$(dirname "$(readlink -f "$program")")/../lib/obvista
            mapfile -t COMPREPLY < <(compgen -W "$(find "$folder" -maxdepth 1 -name 'lib*.so' -printf '%f\n' \
                2>/dev/null | sed 's/^lib//; s/\.so$//')" -- "$cur")
            ;;
        --ip | --port | --force-port) ;;
        *)
            mapfile -t COMPREPLY < <(compgen -W "$("$program" --help 2>/dev/null |
                grep -oE '^ .*--[a-z-]+' | grep -oE -- '--[a-z-]+')" -- "$cur")
            ;;
    esac
}

complete -F _obvista obvista

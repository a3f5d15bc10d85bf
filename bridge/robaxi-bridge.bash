# shellcheck shell=bash
# bash completion for "robaxi-bridge"; bash finds this file by the program's name. The options come from the
# program's help.

_robaxi_bridge() {
    local cur prev words cword
    _init_completion || return
    case $prev in
        --icon | --tls-certificate | --tls-key | --token-file) _filedir ;;
        *)
            local help
            help=$("${words[0]}" --help 2>/dev/null)
            # The option before takes a value, which only the user knows.
            grep -qE "^  (-h \[ )?${prev//[^a-z-]/.} (\] )?arg" <<<"$help" && return
            mapfile -t COMPREPLY < <(compgen -W "$(grep -oE '^  [^ ]*( \[ )?--[a-z-]+' <<<"$help" |
                grep -oE -- '--[a-z-]+')" -- "$cur")
            ;;
    esac
}

complete -F _robaxi_bridge robaxi-bridge

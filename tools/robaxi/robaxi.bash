# shellcheck shell=bash
# bash completion for "robaxi"; bash finds this file by the program's name. Commands, options and the kinds of
# their values come from the program's help; hosts, modules, methods, keys and cameras from the network, for
# which it waits two seconds at most.

# Adds the words that start with the user's input to COMPREPLY, with special characters escaped. A name from
# the network never reaches the shell as code.
_robaxi_offer() {
    local word
    COMPREPLY=()
    while IFS= read -r word; do
        [[ -n $word && $word == "$cur"* ]] && COMPREPLY+=("$(printf '%q' "$word")")
    done
}

_robaxi_ask() {
    timeout 2 "$program" "$@" --color never 2>/dev/null
}

_robaxi_modules() {
    _robaxi_ask modules "${given[0]}" --timeout 1
}

# Lists the topics of the given recording below /ROBOT/$1/.
_robaxi_recorded() {
    _robaxi_ask recording info "${given[1]}" --json |
        grep -o '"topic":"/[^/"]*/'"$1"'/[^"\]*"' | sed "s/^[^:]*:\"\/[^\/]*\/$1\///; s/\"$//"
}

# Lists the values of a kind, named as in the help, for the preceding words.
_robaxi_values() {
    case $1 in
        COMMAND) "$program" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p' ;;
        NAME) "$program" alias 2>/dev/null | sed 's/ .*//' ;;
        HOST)
            _robaxi_values NAME
            _robaxi_ask list --timeout 1 | sed -n '2,$s/ .*//p'
            ;;
        MODULE) _robaxi_modules | sed -n 's/^\([^ ][^:]*\):.*/\1/p' ;;
        METHOD)
            _robaxi_modules |
                sed -n "/^${given[1]//[^A-Za-z0-9_]/.}:/,/^[^ ]/s/^  \([^ (]*\).*/\1/p"
            ;;
        KEY)
            if [ "${words[1]}" = recording ]; then
                _robaxi_recorded memory
                return
            fi
            _robaxi_ask call "${given[0]}" KVMemory getDataList "\"\"" --json --timeout 1 |
                sed 's/^\["//; s/"\]$//; s/","/\n/g'
            ;;
        CHECK) "$program" conform --list | sed 's/ .*//' ;;
        CAMERA)
            if [ "${words[1]}" = recording ]; then
                _robaxi_recorded camera
                return
            fi
            _robaxi_ask snapshot "${given[0]}" --list --json --timeout 1 |
                sed -n 's/^{"name":"\([^"\]*\)",.*/\1/p'
            ;;
        *'|'*) printf '%s\n' "${1//|/$'\n'}" ;;
    esac
}

_robaxi() {
    local cur prev words cword
    # A colon is part of HOST:PORT, not a word separator.
    _init_completion -n : || return
    local program=${words[0]} help names value name position
    if [ "$cword" -eq 1 ]; then
        _robaxi_offer < <(_robaxi_values COMMAND; printf '%s\n' --help --version)
        return
    fi
    help=$("$program" "${words[1]}" --help 2>/dev/null) || return
    # The kinds of the options' values, from lines like "  -o,--output FILE   the file to write".
    local -A takes=()
    while read -r names value; do
        for name in ${names//,/ }; do
            takes[$name]=$value
        done
    done < <(sed -nE 's/^  ((-[a-z],)?--[a-z-]+)( ([^ ]+))?( .*)?$/\1 \4/p' <<<"$help")
    local -a given=()
    for ((position = 2; position < cword; position++)); do
        case ${words[position]} in
            -*) [ -z "${takes[${words[position]}]:-}" ] || ((position++)) ;;
            *) given+=("${words[position]}") ;;
        esac
    done
    value=${takes[$prev]:-}
    if [ -z "$value" ]; then
        if [[ $cur == -* ]]; then
            _robaxi_offer < <(printf '%s\n' "${!takes[@]}" | grep ^--)
            return
        fi
        # The kinds of the words, from "Usage: robaxi get [OPTION]... HOST KEY...".
        local -a kinds
        read -ra kinds <<<"${help%%$'\n'*}"
        value=${kinds[4 + ${#given[@]}]:-}
        [[ -z $value && ${kinds[*]} == *... ]] && value=${kinds[-1]}
    fi
    if [ "$value" = FILE ]; then
        _filedir
    else
        _robaxi_offer < <(_robaxi_values "${value//[^A-Za-z|]/}")
        __ltrim_colon_completions "$cur"
    fi
}

complete -F _robaxi robaxi

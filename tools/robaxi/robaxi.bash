# shellcheck shell=bash
# Completion of "robaxi" for bash, which finds this file by the program's name. Words come from the
# program itself: commands and options from its help, hosts, modules, methods and keys from the
# network, for which the user waits two seconds at most.

# The words that start with what the user has typed go to COMPREPLY, with blanks and the like made
# safe. A name from the network never reaches the shell as code.
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

_robaxi_commands() {
    "$program" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

_robaxi_options() {
    "$program" "$command" --help | sed -n 's/^  \(-[a-z] \[ \)\{0,1\}\(--[a-z-]*\).*/\2/p'
}

_robaxi_hosts() {
    _robaxi_ask list --timeout 1 | sed -n '2,$s/ .*//p'
}

_robaxi_modules() {
    _robaxi_ask modules "${words[0]}" --timeout 1 | sed -n 's/^\([^ ][^:]*\):.*/\1/p'
}

_robaxi_methods() {
    _robaxi_ask modules "${words[0]}" --timeout 1 |
        sed -n "/^${words[1]//[^A-Za-z0-9_]/.}:/,/^[^ ]/s/^  \([^ (]*\).*/\1/p"
}

_robaxi_keys() {
    _robaxi_ask call "${words[0]}" KVMemory getDataList "\"\"" --json --timeout 1 |
        sed 's/^\["//; s/"\]$//; s/","/\n/g'
}

_robaxi_cameras() {
    _robaxi_ask snapshot "${words[0]}" --list --json --timeout 1 |
        sed -n 's/^{"name":"\([^"\]*\)",.*/\1/p'
}

# What the next word may be, by the words that were given so far.
_robaxi_words() {
    case $command:${#words[@]} in
        list:*) ;;
        *:0) _robaxi_hosts ;;
        call:1) _robaxi_modules ;;
        call:2) _robaxi_methods ;;
        get:* | watch:* | set:1) _robaxi_keys ;;
        snapshot:1) _robaxi_cameras ;;
    esac
}

_robaxi() {
    local cur prev words cword
    # A colon parts HOST and PORT here, not two words.
    _init_completion -n : || return
    local program=${words[0]} command=${words[1]:-} position
    local -a given=()
    if [ "$cword" -eq 1 ]; then
        _robaxi_offer < <(_robaxi_commands; printf '%s\n' --help --version)
        return
    fi
    if [[ $cur == -* ]]; then
        _robaxi_offer < <(_robaxi_options)
        return
    fi
    case $prev in
        --color) _robaxi_offer <<<$'auto\nnever'; return ;;
        --format) _robaxi_offer <<<$'jpeg\npng\nppm\npgm'; return ;;
        -o | --output) _filedir; return ;;
        --timeout | --count | --rate | --interval) COMPREPLY=(); return ;;
        --module) words=("${words[2]}"); _robaxi_offer < <(_robaxi_modules); return ;;
    esac
    for ((position = 2; position < cword; position++)); do
        case ${words[position]} in
            --color | --timeout | --count | --rate | --interval | --module | --format | --output | -o)
                ((position++))
                ;;
            -*) ;;
            *) given+=("${words[position]}") ;;
        esac
    done
    words=("${given[@]}")
    _robaxi_offer < <(_robaxi_words)
    __ltrim_colon_completions "$cur"
}

complete -F _robaxi robaxi

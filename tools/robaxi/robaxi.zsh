#compdef robaxi
# zsh completion for "robaxi". Commands, options and the kinds of their values come from the program's help; hosts,
# modules, methods, keys and cameras from the network, for which it waits two seconds at most.

_robaxi_ask() {
    timeout 2 $words[1] "$@" --color never 2>/dev/null
}

# Lists the values of a kind, named as in the help. $given has the preceding words.
_robaxi_values() {
    local -a values
    case $1 in
        COMMAND)
            local -a described=(${(f)"$($words[1] --help 2>/dev/null |
                sed -n '/^Commands:/,/^$/s/^  \([a-z]*\)  *\(.*\)/\1:\2/p')"})
            _describe command described
            return
            ;;
        FILE) _files; return ;;
        NAME) values=(${(f)"$($words[1] alias 2>/dev/null | sed 's/ .*//')"}) ;;
        HOST) values=(${(f)"$($words[1] alias 2>/dev/null | sed 's/ .*//'; _robaxi_ask list --timeout 1 | sed -n '2,$s/ .*//p')"}) ;;
        MODULE) values=(${(f)"$(_robaxi_ask modules "$given[1]" --timeout 1 | sed -n 's/^\([^ ][^:]*\):.*/\1/p')"}) ;;
        METHOD)
            values=(${(f)"$(_robaxi_ask modules "$given[1]" --timeout 1 |
                sed -n "/^${given[2]//[^A-Za-z0-9_]/.}:/,/^[^ ]/s/^  \([^ (]*\).*/\1/p")"})
            ;;
        KEY)
            values=(${(f)"$(_robaxi_ask call "$given[1]" KVMemory getDataList '""' --json --timeout 1 |
                sed 's/^\["//; s/"\]$//; s/","/\n/g')"})
            ;;
        CHECK) values=(${(f)"$($words[1] conform --list | sed 's/ .*//')"}) ;;
        CAMERA)
            values=(${(f)"$(_robaxi_ask snapshot "$given[1]" --list --json --timeout 1 |
                sed -n 's/^{"name":"\([^"\]*\)",.*/\1/p')"})
            ;;
        *\|*) values=(${(s:|:)1}) ;;
    esac
    compadd -a values
}

_robaxi() {
    if (( CURRENT == 2 )); then
        _robaxi_values COMMAND
        compadd -- --help --version
        return
    fi
    local help="$($words[1] $words[2] --help 2>/dev/null)" line
    [[ -n $help ]] || return 1
    local -A takes texts
    for line in ${(f)help}; do
        [[ $line =~ '^  (-[a-z],)?(--[a-z-]+)( ([^ ]+))?( \(=[^)]*\))? *(.*)$' ]] || continue
        takes[$match[2]]=$match[4]
        texts[$match[2]]=$match[6]
        [[ -z $match[1] ]] || takes[${match[1]%,}]=$match[4]
    done
    local -a given
    local word skip=
    for word in $words[3,CURRENT-1]; do
        if [[ -n $skip ]]; then
            skip=
        elif [[ $word == -* ]]; then
            skip=$takes[$word]
        else
            given+=($word)
        fi
    done
    if [[ -n $skip ]]; then
        _robaxi_values ${skip//[^A-Za-z|]/}
    elif [[ $PREFIX == -* ]]; then
        local -a options
        for word in ${(k)texts}; do
            options+=("$word:$texts[$word]")
        done
        _describe option options
    else
        # The kinds of the words, from "Usage: robaxi get [OPTION]... HOST KEY...".
        local -a kinds=(${=${help%%$'\n'*}})
        local kind=$kinds[5+$#given]
        [[ -n $kind || $kinds[-1] != *... ]] || kind=$kinds[-1]
        _robaxi_values ${kind//[^A-Za-z|]/}
    fi
}

_robaxi "$@"

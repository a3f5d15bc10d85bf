#compdef robaxi-bridge
# zsh completion for "robaxi-bridge". The options and their texts come from the program's help.

local -a specs
local line name value text
for line in ${(f)"$(_call_program options $words[1] --help 2>/dev/null)"}; do
    [[ $line =~ '^  (-h \[ )?(--[a-z-]+)( \])?( arg( \([^)]*\))?)? +(.*)$' ]] || continue
    name=$match[2] value=$match[4] text=${match[6]//[\[\]]/}
    case $name in
        --icon | --tls-certificate | --tls-key | --token-file) value=':file:_files' ;;
        *) value=${value:+:value:} ;;
    esac
    specs+=("$name""[$text]$value")
done
_arguments $specs

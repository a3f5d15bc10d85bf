# shellcheck shell=bash
# Shared by the tests of completion.

PATH=$OBVISTA_BUILD_DIR/bin:$PATH
readonly completion_framework=/usr/share/bash-completion/bash_completion

# complete_words WORD...: prints the completions of the last word, in one line.
complete_words() {
    bash -c '
        shopt -s progcomp
        . "$1"
        . "$2"
        shift 2
        COMP_LINE="$*" COMP_POINT=${#COMP_LINE} COMP_TYPE=9 COMP_KEY=9
        # Bash splits words at colons; the framework joins them again.
        COMP_WORDS=()
        for word in "$@"; do
            while [[ $word == *:* ]]; do
                COMP_WORDS+=("${word%%:*}" ":")
                word=${word#*:}
            done
            COMP_WORDS+=("$word")
        done
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _robaxi
        printf "%s\n" "${COMPREPLY[@]}" | sort | paste -sd " "
    ' bash "$completion_framework" "$OBVISTA_BUILD_DIR/share/bash-completion/completions/robaxi" "$@" 2>&1
}

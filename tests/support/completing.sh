# shellcheck shell=bash
# Shared by the tests of completion.

PATH=$OBVISTA_BUILD_DIR/bin:$PATH
readonly completion_framework=/usr/share/bash-completion/bash_completion

# complete_words PROGRAM WORD...: prints the completions of the last word in bash, in one line.
complete_words() {
    bash -c '
        shopt -s progcomp
        . "$1"
        . "$2/$3"
        shift 2
        function=$(complete -p "$1" | sed "s/.*-F \([^ ]*\).*/\1/")
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
        "$function"
        printf "%s\n" "${COMPREPLY[@]}" | sort | paste -sd " "
    ' bash "$completion_framework" "$OBVISTA_BUILD_DIR/share/bash-completion/completions" "$@" 2>&1
}

# expect_offered WORDS PROGRAM WORD...: expects these completions. On a busy machine the program may answer later than
# in the second or two for which its completion waits.
expect_offered() {
    expect_eventually are_offered "$@"
}

are_offered() {
    [ "$(complete_words "${@:2}")" = "$1" ]
}

# complete_words_in_zsh LINE: prints the completions of the last word of the line, in one line. An interactive zsh
# in a pseudo-terminal completes; its "compadd", with which every completion ends, also reports the words.
complete_words_in_zsh() {
    zsh -f -c '
        zmodload zsh/zpty
        zpty shell zsh -f -i
        zpty -w shell "PROMPT=; fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -u -d ${(q)3}.dump"
        zpty -w shell "compadd() {
            [[ \${@[1,(i)(-|--)]} != *-[a-zA-Z]#[OAD]* ]] || { builtin compadd \"\$@\"; return }
            local -a hits; builtin compadd -A hits \"\$@\"; (( \$#hits == 0 )) || print -r -- \$hits >>${(q)3}
            builtin compadd \"\$@\"
        }"
        zpty -w shell "report() { zle list-choices; print done >>${(q)3} }; zle -N report; bindkey \"^X\" report"
        zpty -w shell "print ready >>${(q)3}"
        until grep -qs ready $3; do zpty -r -t shell >/dev/null; sleep 0.05; done
        zpty -w -n shell "$2"$(print "\C-x")
        until grep -qs done $3; do zpty -r -t shell >/dev/null; sleep 0.05; done
        zpty -d shell
    ' zsh "$OBVISTA_BUILD_DIR/share/zsh/site-functions" "$1" "$TMPDIR/words" </dev/null >/dev/null 2>&1
    sed '/^ready$/d; /^done$/d' "$TMPDIR/words" | tr ' ' '\n' | sort -u | paste -sd ' '
    rm "$TMPDIR/words"
}

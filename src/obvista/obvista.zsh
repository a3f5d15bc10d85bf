#compdef obvista
# zsh completion for "obvista". The viewers come from the folder beside the program.

_obvista_viewers() {
    local folder=${commands[obvista]:A:h}/../lib/obvista
    local -a viewers=($folder/lib*.so(N:t:r:s/lib//))
    compadd -a viewers
}

_arguments \
    '(-)'{-h,--help}'[print the options and end]' \
    '(-)--version[print the version and end]' \
    '--plugin[open this viewer at once]:viewer:_obvista_viewers' \
    '--ip[address of the robot]:address:_hosts' \
    '--port[port of the robot]:port:' \
    "--force-port[port of the viewer's broker]:port:"

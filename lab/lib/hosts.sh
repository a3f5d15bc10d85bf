# shellcheck shell=bash disable=SC2154  # the lab_* names are those of common.sh, read before
# Adds and removes hosts of the lab. All functions run in the namespaces of the switch.

# claim_host NAME [ADDRESS]: reserves the name, an address and a port of the switch.
claim_host() {
    local name=$1 address=${2:-} number
    [[ $name =~ ^[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?$ ]] ||
        die "'$name' cannot be a host name"
    # One host at a time: the lock file is open only in this subshell.
    (
        flock 9
        [ ! -e "$lab_hosts/$name" ] || die "there is a host '$name' already"
        read -r number <"$lab_state/next_port"
        echo $((number + 1)) >"$lab_state/next_port"
        [ -n "$address" ] || address=$lab_network.$((3 + number / 250)).$((1 + number % 250))
        require_free_address "$address"
        mkdir -p "$lab_hosts/$name"/{avahi,dbus}
        echo "$address" >"$lab_hosts/$name/address"
        echo "port$number" >"$lab_hosts/$name/port"
        : >"$lab_hosts/$name/output"
    ) 9>>"$lab_state/lock"
}

require_free_address() {
    local address=$1 holder
    [[ $address =~ ^${lab_network//./\\.}\.[0-9]{1,3}\.[0-9]{1,3}$ ]] ||
        die "'$address' is not an address of the lab ($lab_network.0.0/$lab_prefix_length)"
    # Its status is that of an error, even if it has found a holder, when another host is being removed.
    holder=$(grep -lx -- "$address" "$lab_hosts"/*/address 2>/dev/null) || true
    [ -n "$holder" ] || return 0
    holder=${holder%/address}
    die "the address $address is taken by '${holder##*/}'"
}

# start_host NAME [COMMAND...]: starts a claimed host. It is up when its bus and its Avahi daemon respond;
# then the command is started.
start_host() {
    local name=$1 namespaces=(--net --mount) answer
    # The observer uses the lab's process namespace and the machine's host name, which the user's X server
    # expects of its clients.
    [ "$name" = observer ] || namespaces+=(--uts --pid --fork)
    exec {born}< <(exec setsid unshare "${namespaces[@]}" "$lab/lib/host" "$@" \
        </dev/null 2>>"$lab_hosts/$name/daemons")
    read -r -t 60 -u "$born" answer || true
    exec {born}<&-
    [ "${answer:-}" = up ] && return
    complain "the host '$name' did not start:"
    cat "$lab_hosts/$name/daemons" >&2
    remove_host "$name"
    return 1
}

# wait_for_output NAME REGEX: waits for a line of output of the host's command. If the command exits without
# it, prints the output and fails.
wait_for_output() {
    local name=$1 expected=$2
    local output=$lab_hosts/$name/output
    # shellcheck disable=SC2317  # called by wait_until
    output_is_there_or_command_ended() {
        [ -e "$lab_hosts/$name/status" ] || grep -qE -- "$expected" "$output"
    }
    wait_until 60 output_is_there_or_command_ended || true
    grep -qE -- "$expected" "$output" && return
    complain "the command of '$name' $(command_state "$name") and did not write '$expected':"
    cat "$output" >&2
    return 1
}

# command_state NAME: prints the state of the host's command in words.
command_state() {
    local folder=$lab_hosts/$1
    if [ -e "$folder/status" ]; then
        echo "ended with $(<"$folder/status")"
    elif [ -e "$folder/command" ]; then
        echo "runs"
    else
        echo "none"
    fi
}

require_host() {
    if [ -z "${1:-}" ] || [ ! -e "$lab_hosts/$1/pid" ]; then
        die "there is no host '${1:-}'"
    fi
}

host_pid() {
    cat "$lab_hosts/$1/pid"
}

host_port() {
    cat "$lab_hosts/$1/port"
}

# make_host_entry NAME: sets host_entry to the words that, put before a command, run it in all namespaces of
# the host. The command ends with its nsenter, which forks to enter the process namespace of a host.
make_host_entry() {
    host_entry=(nsenter --target "$(host_pid "$1")" --net --mount)
    # The shell checks that its nsenter, which has no number in the host, had not ended before it was arranged
    # that the command ends with it; otherwise the parent is the host's process 1, and the command would stay.
    # shellcheck disable=SC2016  # expanded by that shell
    [ "$1" = observer ] ||
        host_entry+=(--uts --pid -- setpriv --pdeathsig TERM sh -c '[ "$PPID" = 0 ] && exec "$@"')
    host_entry+=(-- env -C "$PWD" "--default-signal=INT,QUIT" --)
}

# in_host NAME COMMAND...
in_host() {
    local host_entry
    make_host_entry "$1"
    shift
    "${host_entry[@]}" "$@"
}

# set_link NAME down|drop|up: a port that is not in the bridge drops packets, and its carrier stays.
set_link() {
    local port
    port=$(host_port "$1")
    unlimit_link "$1"
    case $2 in
        drop) ip link set "$port" nomaster ;;
        up) ip link set "$port" master "$lab_bridge" up ;;
        down) ip link set "$port" down ;;
    esac
}

# limit_link NAME RATE DELAY LOSS: forwards the frames of the host's port through a relay (lib/relay).
limit_link() {
    local name=$1 port answer
    port=$(host_port "$name")
    set_link "$name" up
    ip link add "${port}near" type veth peer name "${port}far"
    "$lab/lib/relay" prepare "${port}near"
    in_host "$name" "$lab/lib/relay" prepare eth0
    ip link set "$port" nomaster
    ip link set "${port}near" up
    ip link set "${port}far" master "$lab_bridge" up
    "$lab/lib/relay" prepare "${port}far"
    exec {relay_output}< <(exec setsid "$lab/lib/relay" run "$port" "${port}near" \
        --rate "$2" --delay "$3" --loss "$4" </dev/null 2>>"$lab_hosts/$name/daemons" &
        echo "$!" >"$lab_hosts/$name/relay"
        wait)
    read -r -t 30 -u "$relay_output" answer || true
    exec {relay_output}<&-
    if [ "${answer:-}" != up ]; then
        tail -n 3 "$lab_hosts/$name/daemons" >&2
        set_link "$name" up
        die "the link of '$name' cannot be limited"
    fi
}

unlimit_link() {
    local port relay
    [ -e "$lab_hosts/$1/relay" ] || return 0
    port=$(host_port "$1")
    relay=$(<"$lab_hosts/$1/relay")
    kill -KILL "$relay" 2>/dev/null || true
    wait_until 60 process_is_gone "$relay" || die "the relay of '$1' does not end"
    ip link delete "${port}near" 2>/dev/null || true
    rm -f -- "$lab_hosts/$1/relay"
}

# remove_host NAME: kills a host at once, without a goodbye on the network.
remove_host() {
    local name=$1 pid
    if ip link show "$(host_port "$name")" >/dev/null 2>&1; then
        set_link "$name" down
    fi
    if [ -e "$lab_hosts/$name/pid" ]; then
        pid=$(host_pid "$name")
        kill -KILL "$pid" 2>/dev/null || true
        wait_until 60 process_is_gone "$pid" || die "the host '$name' does not end"
    fi
    forget_host "$name"
}

forget_host() {
    unlimit_link "$1"
    ip link delete "$(host_port "$1")" 2>/dev/null || true
    rm -rf -- "${lab_hosts:?}/$1"
}

# find_robot_program: prints the path of robaxi-robot.
find_robot_program() {
    local candidate
    for candidate in "${ROBAXI_ROBOT:-}" "$lab/../build/release/bin/robaxi-robot"; do
        if [ -n "$candidate" ] && [ -x "$candidate" ]; then
            realpath "$candidate"
            return
        fi
    done
    command -v robaxi-robot ||
        die "robaxi-robot was not found (ROBAXI_ROBOT, build/release/bin, PATH)"
}

# shellcheck shell=bash
# Shared by the lab's programs. A lab consists of a switch, which is process 1 of the lab and has the bridge,
# and of hosts, each with separate namespaces. The observer is the host in which the command of lab/run runs.

# Debian installs ip and avahi-daemon in folders that are not on every user's path.
PATH=$PATH:/usr/sbin:/sbin
export PATH

# shellcheck disable=SC2034  # all of them are used by the programs that read this file
{
    readonly lab_state=/run/obvista-lab
    readonly lab_hosts=$lab_state/hosts
    readonly lab_bridge=lab0
    readonly lab_network=10.77
    readonly lab_prefix_length=16
    readonly observer_address=$lab_network.0.1

    # Both are in the private /run of each host, where programs look for them without knowing of the lab.
    readonly bus_address=unix:path=/run/dbus/system_bus_socket
    readonly avahi_run=/run/avahi-daemon

    # The lab itself failed; env also uses this status for its own failures.
    readonly lab_failed=125
}

complain() {
    echo "lab/${0##*/}: $*" >&2
}

die() {
    complain "$@"
    exit "$lab_failed"
}

usage_error() {
    complain "$@"
    exit 2
}

# wait_until SECONDS CONDITION...: waits until the condition, a command, succeeds; fails if it does not
# succeed in time.
wait_until() {
    local -i deadline=$(($(milliseconds) + $1 * 1000))
    shift
    until "$@"; do
        [ "$(milliseconds)" -lt "$deadline" ] || return 1
        sleep 0.02
    done
}

milliseconds() {
    echo $((${EPOCHREALTIME/[.,]/} / 1000))
}

# wait_for_child PID: waits for the end of a child, however many trapped signals arrive, and returns its exit
# status, which bash keeps. Suppresses bash's message about a killed child.
wait_for_child() {
    while ! process_is_gone "$1"; do
        wait "$1" 2>/dev/null || true
    done
    wait "$1"
}

process_is_gone() {
    ! kill -0 "$1" 2>/dev/null
}

# Bash starts background commands with these signals ignored, and their children cannot undo that.
with_default_signals() {
    exec env --default-signal=INT,QUIT -- "$@"
}

# Mounts the files that the switch has created over the machine's files, where these exist. The kernel removes
# such a mount when the machine replaces the file below it, as it does when a package is installed.
cover_etc_files() {
    local name
    for name in passwd group nsswitch.conf hosts avahi; do
        if [ -e "/etc/$name" ] && [ ! "/etc/$name" -ef "$lab_state/etc/$name" ]; then
            mount -n --bind "$lab_state/etc/$name" "/etc/$name"
        fi
    done
}

# The following functions control the Avahi daemon of the host in whose namespaces they run.

avahi_start() {
    local configuration=$1 log=$2 daemon
    # shellcheck disable=SC2317  # called by wait_until
    answers_or_has_ended() {
        avahi_answers || process_is_gone "$daemon"
    }
    cover_etc_files
    setsid avahi-daemon --no-drop-root --no-rlimits --no-chroot --file="$configuration" \
        </dev/null >>"$log" 2>&1 &
    daemon=$!
    wait_until 60 answers_or_has_ended && avahi_answers
}

# avahi_state: prints 2 when the host name is established on the network (AVAHI_SERVER_RUNNING).
avahi_state() {
    [ -S "$avahi_run/socket" ] || return 1
    dbus-send --bus="$bus_address" --print-reply=literal --dest=org.freedesktop.Avahi \
        / org.freedesktop.Avahi.Server.GetState 2>/dev/null
}

avahi_answers() {
    avahi_state >/dev/null
}

avahi_is_established() {
    [[ $(avahi_state) == *"int32 2" ]]
}

avahi_pid() {
    local pid
    [ -r "$avahi_run/pid" ] && read -r pid <"$avahi_run/pid" && echo "$pid"
}

# avahi_end SIGNAL: stops the daemon; with TERM it first sends a goodbye for the host.
avahi_end() {
    local pid
    pid=$(avahi_pid) || return 0
    kill -s "$1" "$pid" 2>/dev/null || true
    wait_until 20 process_is_gone "$pid" || kill -KILL "$pid"
    rm -f -- "$avahi_run/pid" "$avahi_run/socket"
}

# shellcheck shell=bash
# A DNS server that never answers, for tests in the lab.

# start_dead_dns NAME: starts it. NAME is a name that Avahi knows: of another one nothing might be asked.
start_dead_dns() {
    local listening=$TMPDIR/dead-dns-server
    python3 -c 'import socket, sys, time
server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
server.bind(("127.0.0.1", 53))
open(sys.argv[1], "w").close()
time.sleep(600)' "$listening" &
    dead_dns_pid=$!
    expect_eventually test -e "$listening"
    rm "$listening"
    # The longest time that the resolver takes, so that no test sees its end.
    printf 'nameserver 127.0.0.1\noptions timeout:30 attempts:5\n' >"$TMPDIR/resolv.conf"
    echo 'hosts: files mdns4_minimal [NOTFOUND=return] dns' >"$TMPDIR/nsswitch.conf"
    expect_status 124 with_dead_dns timeout 2 getent ahosts "$1" >/dev/null
}

stop_dead_dns() {
    kill "$dead_dns_pid"
}

# with_dead_dns COMMAND...: runs a command whose resolver uses that server.
with_dead_dns() {
    # shellcheck disable=SC2016  # expanded by the inner shell
    unshare --mount bash -c \
        'mount -n --bind "$TMPDIR/resolv.conf" /etc/resolv.conf &&
            mount -n --bind "$TMPDIR/nsswitch.conf" /etc/nsswitch.conf && exec "$@"' bash "$@"
}

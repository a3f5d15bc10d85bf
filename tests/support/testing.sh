# shellcheck shell=bash
# Shared by tests written as shell scripts: checks, and a runner for the functions named test_*.

# Where failures are reported, even by a check whose own standard error is redirected.
exec {failure_report}>&2

fail() {
    echo "  FAILED${running_test:+ in $running_test}: $*" >&"$failure_report"
    exit 1
}

# expect_equal EXPECTED ACTUAL
expect_equal() {
    [ "$1" = "$2" ] || fail "expected '$1' but got '$2'"
}

# expect_match REGEX TEXT
expect_match() {
    [[ $2 =~ $1 ]] || fail "expected a match of '$1' but got '$2'"
}

# expect_no_match REGEX TEXT
expect_no_match() {
    [[ ! $2 =~ $1 ]] || fail "expected no match of '$1' but got '$2'"
}

# expect_status STATUS COMMAND...
expect_status() {
    local expected=$1 status=0
    shift
    "$@" || status=$?
    [ "$status" -eq "$expected" ] || fail "expected status $expected of '$*' but got $status"
}

# In seconds, on a busy machine.
patience=60

# expect_eventually COMMAND...: expects that the command succeeds in time.
expect_eventually() {
    local -i deadline=$((SECONDS + patience))
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -le "$deadline" ] || fail "not within $patience s: $*"
        sleep 0.05
    done
}

# Waits for a child that may have been killed, and suppresses bash's message about it.
wait_quietly() {
    wait "$1" 2>/dev/null
}

is_gone() {
    ! kill -0 "$1" 2>/dev/null
}

has_line() {
    grep -q -- "$1" "$2"
}

elapsed_ms_since() {
    echo $(((${EPOCHREALTIME/[.,]/} - ${1/[.,]/}) / 1000))
}

# run_test NAME: runs the function in a separate shell, in which the first failure ends it.
run_test() {
    local running_test=$1
    (
        set -eu
        "$1"
    )
    # shellcheck disable=SC2181  # asked in an "if", bash would not stop at failures in it
    if [ $? -eq 0 ]; then
        echo "passed: $1"
    else
        echo "FAILED: $1"
        return 1
    fi
}

declare -i failed_tests=0

# Runs each test_* function. Succeeds if no test has failed so far.
run_tests() {
    local name
    for name in $(compgen -A function test_); do
        run_test "$name"
        failed_tests+=$?
    done
    [ "$failed_tests" -eq 0 ]
}

# run_tests_at_once NUMBER [PREFIX]: the same, with up to this number of tests at the same time, each with a
# separate TMPDIR.
run_tests_at_once() {
    local -i most=$1 running=0
    local name
    for name in $(compgen -A function "${2:-test_}"); do
        if [ "$running" -eq "$most" ]; then
            wait -n
            failed_tests+=$?
            running+=-1
        fi
        mkdir "$TMPDIR/$name"
        TMPDIR=$TMPDIR/$name run_test "$name" &
        running+=1
    done
    while [ "$running" -gt 0 ]; do
        wait -n
        failed_tests+=$?
        running+=-1
    done
    [ "$failed_tests" -eq 0 ]
}

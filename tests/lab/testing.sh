# shellcheck shell=bash
# Shared by the tests of the lab, in addition to the helpers of all shell tests.

# shellcheck source-path=SCRIPTDIR source=../support/testing.sh
. "$OBVISTA_SOURCE_DIR/tests/support/testing.sh"

# shellcheck disable=SC2034  # used by the tests
{
    lab_run=$OBVISTA_SOURCE_DIR/lab/run
    lab_ctl=$OBVISTA_SOURCE_DIR/lab/ctl
}

skip_without_namespaces() {
    local status=0
    "$lab_run" -- true || status=$?
    [ "$status" -ne 77 ] || exit 77
}

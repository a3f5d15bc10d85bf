# shellcheck shell=bash
# What the tests of the installation share.

# shellcheck source-path=SCRIPTDIR source=../support/testing.sh
. "$OBVISTA_SOURCE_DIR/tests/support/testing.sh"

# stage FOLDER [ARGUMENT...]: installs the build into the folder, quietly when that works.
stage() {
    local folder=$1 said
    shift
    said=$(cmake --install "$OBVISTA_BUILD_DIR" --prefix "$folder" "$@" 2>&1) || fail "$said"
}

# files_in FOLDER: its files and links, sorted, as paths below the folder.
files_in() {
    (cd "$1" && find . ! -type d | sed 's|^\./||' | sort)
}

# expect_files FOLDER FILE...
expect_files() {
    local folder=$1 file
    shift
    for file in "$@"; do
        [ -f "$folder/$file" ] || fail "there is no $file"
    done
}

# run_program COMMAND...: runs it without a display; sets program_status, program_output and
# program_errors.
# shellcheck disable=SC2034  # read by the tests
run_program() {
    program_status=0
    QT_QPA_PLATFORM=offscreen "$@" >"$TMPDIR/output" 2>"$TMPDIR/errors" || program_status=$?
    program_output=$(<"$TMPDIR/output")
    program_errors=$(<"$TMPDIR/errors")
}

# expect_program PROGRAM: the program of that file runs and tells its version.
expect_program() {
    run_program "$1" --version
    expect_equal "0: Obvista Version 1.14" "$program_status: $program_output"
}

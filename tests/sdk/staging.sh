# shellcheck shell=bash
# Shared by the tests of the installation.

# shellcheck source-path=SCRIPTDIR source=../support/testing.sh
. "$OBVISTA_SOURCE_DIR/tests/support/testing.sh"

# Nothing listens on it: it is privileged and no longer in use.
closed_port=1

# stage FOLDER [ARGUMENT...]: installs the build into the folder; silent on success.
stage() {
    local folder=$1 said
    shift
    said=$(cmake --install "$OBVISTA_BUILD_DIR" --prefix "$folder" "$@" 2>&1) || fail "$said"
}

# files_in FOLDER: prints its files and links, sorted, as paths below the folder.
files_in() {
    (cd "$1" && find . ! -type d | sed 's|^\./||' | sort)
}

# binaries_in FOLDER: lists programs and libraries, without links.
binaries_in() {
    find "$1/bin" "$1/lib" -type f \( -perm -u+x -o -name '*.so*' \)
}

# expect_files FOLDER FILE...
expect_files() {
    local folder=$1 file
    shift
    for file in "$@"; do
        [ -f "$folder/$file" ] || fail "there is no $file"
    done
}

# build_outside FOLDER NAME PREFIX: builds and installs a copy of the project in a folder, whose path may be
# relative to the source tree, with the installation in the prefix.
build_outside() {
    local sources=$TMPDIR/$2 build=$TMPDIR/$2-build said
    (cd "$OBVISTA_SOURCE_DIR" && cp -r "$1" "$sources")
    said=$(
        exec 2>&1
        cmake -S "$sources" -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$3" \
            -DCMAKE_EXPORT_COMPILE_COMMANDS=ON &&
            cmake --build "$build" && cmake --install "$build"
    ) || fail "$said"
}

# Sets the flags for what is built outside. An instrumented host and instrumented libraries need instrumented
# plugins and programs.
choose_flags() {
    export CXXFLAGS="-Wall -Wextra -Werror" LDFLAGS=-Wl,--no-undefined
    if [ -n "$OBVISTA_SANITIZE" ]; then
        CXXFLAGS+=" -fsanitize=$OBVISTA_SANITIZE -fno-sanitize-recover=all -g1"
        LDFLAGS="-fsanitize=$OBVISTA_SANITIZE"
    fi
}

# run_program COMMAND...: runs it without a display; sets program_status, program_output and program_errors.
# shellcheck disable=SC2034  # read by the tests
run_program() {
    program_status=0
    QT_QPA_PLATFORM=offscreen "$@" >"$TMPDIR/output" 2>"$TMPDIR/errors" || program_status=$?
    program_output=$(<"$TMPDIR/output")
    program_errors=$(<"$TMPDIR/errors")
}

# expect_working PROGRAM: checks that Obvista runs, and finds its plugins and libraries. A viewer that cannot
# connect reports it, but not if it could not be loaded.
expect_working() {
    run_program "$1" --plugin memoryviewer --port "$closed_port"
    expect_match '^Failed to load plugin: ' "$program_errors"
    expect_equal 0 "$program_status"
}

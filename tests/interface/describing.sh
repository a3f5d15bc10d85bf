# shellcheck shell=bash
# Shared by the test of the interfaces and scripts/record-interfaces: what programs and plugins that were built
# earlier, and robots and clients of other versions, rely on.

interface_folder=$OBVISTA_SOURCE_DIR/tests/interface
recorded_folder=${OBVISTA_RECORDED_INTERFACES:-$interface_folder/recorded}
# Debian's Python has protobuf; one that comes before it on the PATH may not.
interface_python=/usr/bin/python3
interface_libraries=(robaxi bonjour OBVISTA_PLUGINS OBVISTA_VIEWER)

# headers_of LIBRARY: prints its include folder and the folder of its headers below it.
headers_of() {
    case $1 in
        robaxi) echo "${OBVISTA_INTERFACE_ROOT:-$OBVISTA_SOURCE_DIR}/platform/robaxi/include robaxi" ;;
        bonjour) echo "${OBVISTA_INTERFACE_ROOT:-$OBVISTA_SOURCE_DIR}/platform/bonjour/include bonjour" ;;
        OBVISTA_PLUGINS) echo "${OBVISTA_INTERFACE_ROOT:-$OBVISTA_SOURCE_DIR}/plugins/include obvista" ;;
        OBVISTA_VIEWER) echo "${OBVISTA_INTERFACE_ROOT:-$OBVISTA_SOURCE_DIR}/plugins/viewer/include obvista/viewer" ;;
    esac
}

soname_of() {
    readelf -dW "$OBVISTA_BUILD_DIR/lib/lib$1.so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p'
}

# describe_types LIBRARY FILE: writes the layout of its public types, as abidw describes them.
describe_types() {
    local folder headers include
    local -a flags=(-std=c++17 -g -femit-class-debug-always -fPIC -shared -DQT_NO_KEYWORDS)
    read -r folder headers < <(headers_of "$1")
    for include in "${interface_libraries[@]}"; do
        flags+=("-I$(headers_of "$include" | cut -d ' ' -f 1)")
    done
    # Without optimisation, libraries and precompiled headers: the same in every build folder.
    read -ra qt < <(pkg-config --cflags Qt5Widgets)
    "$interface_python" "$interface_folder/public_types.py" "$folder" "$headers" >"$2.cpp" &&
        g++ "${flags[@]}" "${qt[@]}" -o "$2.so" "$2.cpp" &&
        abidw --headers-dir "$folder" --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs \
            --no-elf-needed --no-parameter-names --type-id-style hash --out-file "$2" "$2.so"
}

# list_symbols LIBRARY: prints its SONAME, then the functions and objects that others may be linked with. Weak ones
# are instances of templates and inline functions, which every program has. Those of the namespace robaxi are for
# librobaxi's engine, which has the same version, and a structure Private is for its class.
list_symbols() {
    local symbols
    soname_of "$1"
    symbols=$(nm -D --defined-only "$OBVISTA_BUILD_DIR/lib/lib$1.so" | awk '$2 ~ /^[TDBR]$/ { print $3 }')
    paste <(echo "$symbols") <(c++filt <<<"$symbols") |
        awk -F '\t' '$2 !~ /(^|for |to )([A-Za-z_:]*::Private(::|$)|robaxi::)/ { print $1 }' | LC_ALL=C sort
}

# list_protocol FILE: prints what the protocol's file defines.
list_protocol() {
    local folder=${OBVISTA_INTERFACE_ROOT:-$OBVISTA_SOURCE_DIR}/platform/robaxi/proto
    protoc "--proto_path=$folder" --descriptor_set_out="$1" robaxi/v1/robaxi.proto &&
        "$interface_python" "$interface_folder/protocol_listing.py" "$1"
}

# broken_library LIBRARY: prints how it differs from the recorded one, as far as that breaks what was built earlier.
broken_library() {
    local recorded=$recorded_folder/lib$1 described=$TMPDIR/$1.abi now status=0
    now=$(list_symbols "$1")
    if [ "$(head -1 "$recorded.symbols")" != "$(head -1 <<<"$now")" ]; then
        return  # what was built earlier does not load it
    fi
    LC_ALL=C comm -23 <(LC_ALL=C sort "$recorded.symbols") <(LC_ALL=C sort <<<"$now") | c++filt | sed 's/^/missing: /'
    describe_types "$1" "$described" || echo "lib$1 cannot be described"
    xz -dc "$recorded.abi.xz" >"$described.recorded"
    abidiff --no-added-syms "$described.recorded" "$described" >"$described.report" 2>&1 || status=$?
    [ "$status" -eq 0 ] || cat "$described.report"
}

# broken_protocol: prints the lines of the recorded protocol that are neither kept nor, for a field or a value,
# replaced by a reserved number.
broken_protocol() {
    local now line
    now=$(list_protocol "$TMPDIR/protocol.bin") || echo "the protocol cannot be read"
    while IFS= read -r line; do
        grep -qxF -- "$line" <<<"$now" && continue
        read -r name kind number _ <<<"$line"
        [[ $kind =~ ^(field|value)$ ]] && grep -qxF -- "$name reserved $number" <<<"$now" && continue
        echo "missing: $line"
    done <"$recorded_folder/protocol"
}

# Helpers of the orvik-util tables: install the build into a scratch prefix, run the
# installed tool (under the emulator on the device ABI) and compare.
#   source lib.sh BUILD_DIR WORK_DIR [EMULATOR...]
set -u
build=$1
work=$2
shift 2
emulator=("$@")
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" >"$work/install.log" || exit 1
tool=$work/prefix/bin/orvik-util
checks=0
failures=0

run() {
    "${emulator[@]}" "$tool" "$@" >"$work/out" 2>"$work/err"
    status=$?
    checks=$((checks + 1))
}

fault() {
    failures=$((failures + 1))
    echo "FAIL: orvik-util $1 -> status $status"
    echo "  stdout: $(head -c 600 "$work/out")"
    echo "  stderr: $(head -c 300 "$work/err")"
    [ -n "${2:-}" ] && echo "  wanted: $2"
}

# expect STATUS STDOUT ARGS...: the exit status and the whole of standard output.
expect() {
    local want=$1 output=$2
    shift 2
    run "$@"
    [ "$status" = "$want" ] && [ "$(cat "$work/out")" = "$output" ] ||
        fault "$*" "status $want, stdout '$output'"
}

# match STATUS REGEX ARGS...: the exit status and a line of standard output matching REGEX.
match() {
    local want=$1 pattern=$2
    shift 2
    run "$@"
    [ "$status" = "$want" ] && grep -Eq -- "$pattern" "$work/out" ||
        fault "$*" "status $want, a line matching '$pattern'"
}

# refuse STATUS REGEX ARGS...: the exit status, nothing on standard output, and exactly one
# line on standard error, "orvik-util: ..." matching REGEX.
refuse() {
    local want=$1 pattern=$2
    shift 2
    run "$@"
    [ "$status" = "$want" ] && [ ! -s "$work/out" ] && [ "$(wc -l <"$work/err")" = 1 ] &&
        grep -Eq -- "^orvik-util: .*$pattern" "$work/err" ||
        fault "$*" "status $want, one error line matching '$pattern'"
}

finish() {
    echo "$checks checks, $failures failed"
    [ "$failures" -eq 0 ]
}

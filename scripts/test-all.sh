#!/usr/bin/env bash
# The whole test suite on both targets: native x86_64, native under AddressSanitizer
# and UndefinedBehaviorSanitizer, and the device ABI (armel) under qemu-arm.
# Each is one CMake workflow preset (CMakePresets.json: configure, build, test); the
# results come from ctest's JUnit file. Prints one summary and exits non-zero when
# anything failed. ORVIK_BUILD_ROOT chooses where the trees go (default build/).
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" || exit 1
cd "$root" || exit 1

export ORVIK_BUILD_ROOT=${ORVIK_BUILD_ROOT:-$root/build}
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc 2>/dev/null || echo 2)}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$CMAKE_BUILD_PARALLEL_LEVEL}
mkdir -p "$ORVIK_BUILD_ROOT"

configs=(native asan arm)
total_passed=0
total_failed=0
summary=()

# attribute NAME FILE: the value of NAME on the JUnit file's <testsuite> element.
attribute() {
    tr '\n\t' '  ' <"$2" | grep -o '<testsuite [^>]*' | head -1 |
        grep -o " $1=\"[0-9]*\"" | grep -o '[0-9]*'
}

# step NAME COMMAND...: a check that is not a ctest test (run after the workflows), counted
# as one test; its output goes to $ORVIK_BUILD_ROOT/NAME.log.
step() {
    local name=$1
    shift
    echo "=== $name"
    if "$@" >"$ORVIK_BUILD_ROOT/$name.log" 2>&1; then
        total_passed=$((total_passed + 1))
        summary+=("$name: passed")
    else
        tail -20 "$ORVIK_BUILD_ROOT/$name.log"
        total_failed=$((total_failed + 1))
        summary+=("$name: FAILED (see $ORVIK_BUILD_ROOT/$name.log)")
    fi
}

for config in "${configs[@]}"; do
    dir="$ORVIK_BUILD_ROOT/test-$config"
    junit="$dir/junit.xml"
    echo "=== $config: workflow test-$config in $dir"
    rm -f "$junit"
    cmake --workflow --preset "test-$config" >"$dir.log" 2>&1
    if [ ! -f "$junit" ]; then
        grep -E -B2 -A8 'error|Error' "$dir.log" | head -80
        summary+=("$config: configure or build FAILED (see $dir.log)")
        total_failed=$((total_failed + 1))
        continue
    fi
    tests=$(attribute tests "$junit")
    failed=$(attribute failures "$junit")
    skipped=$(attribute skipped "$junit")
    grep -o '<testcase name="[^"]*"[^>]*status="fail"' "$junit" |
        sed 's/<testcase name="\([^"]*\)".*/  failed: \1/' | head -40
    passed=$((tests - failed - skipped))
    total_passed=$((total_passed + passed))
    total_failed=$((total_failed + failed))
    line="$config: $passed passed, $failed failed"
    [ "${skipped:-0}" -gt 0 ] && line+=", $skipped skipped"
    summary+=("$line")
done

# Further checks outside ctest go here, as: step <name> <command> [args...]
if command -v valgrind >/dev/null; then
    step memcheck "$root/scripts/memcheck.sh" "$ORVIK_BUILD_ROOT/test-native"
fi

library="$ORVIK_BUILD_ROOT/test-arm/src/liborvik_utilities.so"
if [ -f "$library" ]; then
    stripped=$(mktemp)
    arm-linux-gnueabi-strip -o "$stripped" "$library" &&
        summary+=("device liborvik_utilities.so (test tree, RelWithDebInfo), stripped: $(stat -c %s "$stripped") bytes; MinSizeRel: bench/device/size.py")
    rm -f "$stripped"
fi

echo
echo "=== summary"
printf '%s\n' "${summary[@]}"
echo "total: $total_passed passed, $total_failed failed"
[ "$total_failed" -eq 0 ]

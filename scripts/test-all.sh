#!/usr/bin/env bash
# The whole test suite on both targets: native x86_64, native under AddressSanitizer
# and UndefinedBehaviorSanitizer, and the device ABI (armel) under qemu-arm.
# Prints one summary and exits non-zero when anything failed.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" || exit 1

jobs=$(nproc 2>/dev/null || echo 2)
build_root=${ORVIK_BUILD_ROOT:-$root/build}
configs=(native asan arm)
declare -A flags=(
    [native]=""
    [asan]="-DORVIK_SANITIZE=ON -DORVIK_BUILD_BENCH=OFF"
    [arm]="-DCMAKE_TOOLCHAIN_FILE=$root/cmake/arm-linux-gnueabi.cmake -DORVIK_BUILD_BENCH=OFF"
)

total_passed=0
total_failed=0
summary=()
for config in "${configs[@]}"; do
    dir="$build_root/test-$config"
    echo "=== $config: configure and build in $dir"
    mkdir -p "$dir"
    # shellcheck disable=SC2086
    if ! cmake -S "$root" -B "$dir" ${flags[$config]} >"$dir.configure.log" 2>&1; then
        cat "$dir.configure.log"
        summary+=("$config: configure FAILED")
        total_failed=$((total_failed + 1))
        continue
    fi
    if ! cmake --build "$dir" -j "$jobs" >"$dir.build.log" 2>&1; then
        grep -E -B2 -A8 'error|Error' "$dir.build.log" | head -80
        summary+=("$config: build FAILED (see $dir.build.log)")
        total_failed=$((total_failed + 1))
        continue
    fi
    echo "=== $config: test"
    ctest --test-dir "$dir" -j "$jobs" --output-on-failure --timeout 600 >"$dir.test.log" 2>&1
    grep -E '(\*\*\*|Failed|Timeout|Not Run)' "$dir.test.log" | head -40
    line=$(grep -E '^[0-9]+% tests passed' "$dir.test.log" | tail -1)
    if [[ $line =~ ([0-9]+)\ tests?\ failed\ out\ of\ ([0-9]+) ]]; then
        failed=${BASH_REMATCH[1]}
        passed=$((BASH_REMATCH[2] - failed))
    else
        tail -20 "$dir.test.log"
        failed=1
        passed=0
    fi
    total_passed=$((total_passed + passed))
    total_failed=$((total_failed + failed))
    summary+=("$config: $passed passed, $failed failed")
done

if [ -f "$build_root/test-arm/src/liborvik_utilities.so" ]; then
    stripped=$(mktemp)
    arm-linux-gnueabi-strip -o "$stripped" "$build_root/test-arm/src/liborvik_utilities.so" &&
        summary+=("device liborvik_utilities.so, stripped: $(stat -c %s "$stripped") bytes")
    rm -f "$stripped"
fi

echo
echo "=== summary"
printf '%s\n' "${summary[@]}"
echo "total: $total_passed passed, $total_failed failed"
[ "$total_failed" -eq 0 ]

#!/bin/sh
# Line and branch coverage per subsystem, from the repository root:
#
#   scripts/coverage.sh          the tests that need no root (net and system: their pure half)
#   scripts/coverage.sh --all    also the kernel-facing tests (run as root)
#
# Builds an instrumented Debug tree (ORVIK_COVERAGE, gcc --coverage) in
# ${ORVIK_BUILD_ROOT:-build}/coverage, runs each subsystem's test program and the fuzz corpus
# replays, and prints gcovr's line and branch summary for src/<subsystem> together with
# include/orvik_utilities/<subsystem>. Per-file detail: build/coverage/coverage-<subsystem>.txt.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
tree=${ORVIK_BUILD_ROOT:-$root/build}/coverage
filter='-*EnvTest*'
[ "${1:-}" = "--all" ] && filter='*'

command -v gcovr >/dev/null || { echo "coverage.sh: gcovr is missing (scripts/install-deps.sh)" >&2; exit 1; }
cmake -S "$root" -B "$tree" -DCMAKE_BUILD_TYPE=Debug -DORVIK_COVERAGE=ON -DORVIK_BUILD_BENCH=OFF \
    -DORVIK_SANITIZE=OFF >"$tree.build.log" 2>&1
cmake --build "$tree" -j2 >>"$tree.build.log" 2>&1 || { tail -20 "$tree.build.log"; exit 1; }
find "$tree" -name '*.gcda' -delete

status=0
for s in text numbers containers config crypto net system; do
    "$tree/tests/$s/orvik_${s}_tests" --gtest_brief=1 --gtest_filter="$filter" \
        >"$tree/test-$s.log" 2>&1 || { echo "coverage.sh: $s tests failed, see $tree/test-$s.log"; status=1; }
done
ctest --test-dir "$tree" -L fuzz_replay -j2 >"$tree/test-fuzz_replay.log" 2>&1 || status=1

printf '%-11s %18s %18s\n' subsystem lines branches
for s in text numbers containers config crypto net system; do
    gcovr -r "$root" --object-directory "$tree" -f "$root/src/$s/" \
        -f "$root/include/orvik_utilities/$s/" --exclude-unreachable-branches \
        --exclude-throw-branches --txt "$tree/coverage-$s.txt" --print-summary 2>/dev/null |
        awk -v s="$s" '/^lines:/ {l = $2 " " $3 "/" $6}
                       /^branches:/ {b = $2 " " $3 "/" $6}
                       END {printf "%-11s %18s %18s\n", s, l, b}'
done
exit $status

#!/bin/sh
# Runs the tests that wait for the kernel (ctest label "privileged") many times in a row
# while two CPU-bound processes compete for the processors, and stops at the first failure.
# A test that sleeps instead of waiting for its event fails here long before it fails in CI.
#
#   scripts/stress-privileged.sh BUILD_DIR [RUNS]      (as root; RUNS defaults to 20)
set -u
tree=${1:?usage: stress-privileged.sh BUILD_DIR [RUNS]}
runs=${2:-20}

spin() { while :; do :; done; }
spin & a=$!
spin & b=$!
trap 'kill $a $b 2>/dev/null' EXIT INT TERM

i=1
while [ "$i" -le "$runs" ]; do
    if ! ctest --test-dir "$tree" -L privileged -j2 --output-on-failure >"$tree/stress-$i.log" 2>&1; then
        echo "stress-privileged: run $i of $runs failed, see $tree/stress-$i.log"
        exit 1
    fi
    echo "run $i of $runs: $(grep 'tests passed' "$tree/stress-$i.log")"
    i=$((i + 1))
done
echo "stress-privileged: $runs runs passed beside two busy processes"

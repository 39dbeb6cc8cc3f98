#!/bin/bash
# The native test programs under valgrind memcheck: an invalid access, a use of uninitialised
# memory or a definite or indirect leak fails the run. From the repository root:
#
#   scripts/memcheck.sh [BUILD_DIR]
#
# BUILD_DIR is a native tree without sanitizers (default ${ORVIK_BUILD_ROOT:-build}/memcheck,
# configured and built here when it has no test programs yet). Prints one line per program
# and exits non-zero on any error. Skipped, because they cannot run usefully under valgrind:
#   *.MessagesOf2To29BytesAndMoreCountIntoTheHighWord  (MD5 and SHA-1) hash 2^29 bytes each,
#       minutes under valgrind, and touch no heap memory
#   *EnvTest*  the kernel-facing tests: their namespaces, raw sockets and forked children
#       test the kernel, not the heap, and their deadlines are not meant for a 30-times
#       slower process
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
tree=${1:-${ORVIK_BUILD_ROOT:-$root/build}/memcheck}

command -v valgrind >/dev/null || { echo "memcheck.sh: valgrind is missing (scripts/install-deps.sh)" >&2; exit 1; }
if [ ! -x "$tree/tests/text/orvik_text_tests" ]; then
    cmake -S "$root" -B "$tree" -DORVIK_BUILD_BENCH=OFF -DORVIK_SANITIZE=OFF >"$tree.build.log" 2>&1 &&
        cmake --build "$tree" -j2 >>"$tree.build.log" 2>&1 || { tail -20 "$tree.build.log"; exit 1; }
fi

skip='-*.MessagesOf2To29BytesAndMoreCountIntoTheHighWord:*EnvTest*'
# The programs bring their own nothrow operator new (for the allocation failures): valgrind
# must take over only the C library's malloc, never theirs.
vg="valgrind --tool=memcheck --soname-synonyms=somalloc=nouserintercepts --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect --track-origins=yes --quiet"
logs=$tree/memcheck
rm -rf "$logs"
mkdir -p "$logs"

# One program: its memcheck log, and a line with the verdict.
check() {
    name=$1
    shift
    start=$(date +%s)
    if $vg --log-file="$logs/$name.valgrind" "$@" >"$logs/$name.out" 2>&1; then
        echo "memcheck: $name clean ($(($(date +%s) - start)) s)"
    else
        echo "memcheck: $name FAILED, see $logs/$name.valgrind and $logs/$name.out" | tee -a "$logs/failed"
    fi
}

{
    for s in text numbers containers config crypto net system; do
        echo "$s $tree/tests/$s/orvik_${s}_tests --gtest_brief=1 --gtest_filter=$skip"
    done
    for replay in "$tree"/fuzz/*_replay; do
        name=$(basename "$replay" _replay)
        echo "replay-$name $replay $root/fuzz/corpus/$name"
    done
} >"$logs/jobs"
# Two programs at a time.
while read -r name program arguments; do
    [ "$(jobs -pr | wc -l)" -ge 2 ] && wait -n
    check "$name" "$program" $arguments &
done <"$logs/jobs"
wait
[ ! -e "$logs/failed" ]

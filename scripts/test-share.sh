#!/bin/sh
# Prints the tests' size against the code they test: non-blank lines of C, C++ and shell
# sources, per subsystem (tests/<s> against src/<s> and its public headers) and for the
# whole tree (all of tests/ against src/, include/ and tools/). The house keeps each share
# at 20-40% and the whole under 35%: a suite twice that size costs more to keep than it finds.
cd "$(dirname "$0")/.." || exit 1

lines() {
    [ -e "$1" ] || { echo 0; return; }
    find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' -o -name '*.sh' \) \
        -not -path '*/corpus/*' -exec cat {} + | grep -c -v '^[[:space:]]*$'
}

share() { # name tests code
    printf '%-12s %6d %6d %4d%%\n' "$1" "$2" "$3" $(($2 * 100 / $3))
}

printf '%-12s %6s %6s %5s\n' area tests code share
for s in text numbers containers config net system crypto; do
    share "$s" "$(lines tests/$s)" "$(($(lines src/$s) + $(lines include/orvik_utilities/$s)))"
done
share whole "$(lines tests)" "$(lines src include tools)"

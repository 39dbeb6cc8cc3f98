#!/usr/bin/env bash
# The example programs built against the installed package, as an outside project would
# build them, then run: the daemon must stop cleanly on SIGTERM.
#   examples.sh SOURCE_DIR BUILD_DIR WORK_DIR [TOOLCHAIN_FILE] [EMULATOR...]
source_dir=$1
toolchain=${4:-}
set -- "$2" "$3" "${@:5}"
source "$(dirname "$0")/lib.sh" "$@"
cd "$work"
args=(-DCMAKE_PREFIX_PATH="$work/prefix")
[ -n "$toolchain" ] && args+=(-DCMAKE_TOOLCHAIN_FILE="$toolchain"
    -Dorvik_utilities_DIR="$(dirname "$(find "$work/prefix" -name orvik_utilitiesConfig.cmake)")")
cmake -S "$source_dir/examples" -B build "${args[@]}" >build.log 2>&1 &&
    cmake --build build >>build.log 2>&1 || { cat build.log; exit 1; }

# As root the daemon gets a /tmp and /etc/log of its own, so that its watchdog socket and
# log-level line land nowhere real.
private=()
[ "$(id -u)" = 0 ] && private=(unshare --mount --propagation private sh -c
    'mount -t tmpfs tmpfs /tmp; mount -t tmpfs tmpfs /etc/log 2>/dev/null; exec "$@"' sh)
# max_ticks ends it by itself should the signal never come.
# max_ticks ends it by itself should the signal never come.
printf 'name=orvik-example\nfeed_interval=1\nmax_ticks=30\n' >daemon.cfg
"${private[@]}" "${emulator[@]}" build/supervised-daemon/orvik-supervised-daemon daemon.cfg \
    >daemon.out 2>&1 &
daemon=$!
for _ in $(seq 100); do grep -q started daemon.out && break; sleep 0.1; done
sleep 1.5
# Signal the program itself (it names its pid), not the namespace wrapper around it.
kill -TERM "$(sed -n 's/.*started, pid \([0-9]*\)$/\1/p' daemon.out)"
wait "$daemon"
status=$?
checks=1
[ "$status" = 0 ] && [ "$(cat daemon.out)" = "orvik-example: started, pid $(sed -n 's/.*pid //p' daemon.out)
orvik-example: stopped" ] ||
    { failures=1; echo "FAIL: daemon status $status, output: $(cat daemon.out)"; }

checks=2
out=$("${emulator[@]}" build/uplink-check/orvik-uplink-check -n 1 -i 0 nosuch0 127.0.0.1 2>/dev/null)
status=$?
[ "$status" = 1 ] && [ "$out" = "127.0.0.1 via nosuch0: down (LEDs not reachable)" ] ||
    { failures=$((failures + 1)); echo "FAIL: uplink-check status $status, output: $out"; }
finish

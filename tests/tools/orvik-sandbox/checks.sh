#!/usr/bin/env bash
# The sandbox seen from inside (shell commands and a small daemon) and from outside (its
# events file), and the host as it was before. Usage: checks.sh TOOL PROBE [EMULATOR...]
# Exit 77 (skipped) where the machine gives no namespaces at all.
set -u
tool=$1 probe=$2
shift 2
emulator=("$@") # empty natively; "qemu-arm -L sysroot" for the device build
work=$(mktemp -d /tmp/orvik-sandbox-checks.XXXXXX)
trap 'rm -rf "$work"' EXIT
failures=0

sandbox() { "${emulator[@]}" "$tool" -q --events "$work/events" "$@"; }
run_probe() { echo "${emulator[*]} $probe $*"; }
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
# expect NAME TEXT PATTERN: PATTERN (an extended regular expression) is in TEXT.
expect() { grep -Eq -- "$3" <<<"$2" || fail "$1: no '$3' in: $2"; }
expect_not() { ! grep -Eq -- "$3" <<<"$2" || fail "$1: '$3' unwanted in: $2"; }
events() { cat "$work/events"; }

# What could be left on the host: interfaces, mounts, abstract sockets, the service files.
host_state() {
    ip -o link | awk -F': ' '{print $2}' | sort
    awk '{print $5}' /proc/self/mountinfo | sort
    grep -o '@orvik-sandbox[^ ]*' /proc/net/unix | sort
    ls -d /tmp/.watchdog_api* /tmp/status 2>/dev/null
}
before=$(host_state)

out=$(sandbox -- true 2>&1)
status=$?
if [ $status -eq 2 ] || [ $status -eq 125 ]; then
    echo "skipped: $out"
    exit 77
fi

# The summary and the exit status.
out=$(sandbox --model TQ5630 -- sh -c 'cat /proc/sysinfo/summary; '"$(run_probe model)"'; exit 7')
[ $? -eq 7 ] || fail "exit status is not COMMAND's"
expect model "$out" '^Product type: TQ5630$'
expect model "$out" '^model 1 4$'
expect model "$(events)" '^[0-9.]+ start pid=[0-9]+ control=orvik-sandbox\.[0-9]+ model=TQ5630 '
expect model "$(events)" ' exit status=7$'
if [ -n "${ORVIK_UTIL:-}" ]; then
    out=$(sandbox --model TQ5630 -- "${emulator[@]}" "$ORVIK_UTIL" model)
    expect orvik-util "$out" 'TQ5630'
fi
out=$(sandbox --model none -- sh -c 'cat /proc/sysinfo/summary; '"$(run_probe model)")
expect_not "model none" "$out" 'Product'
expect "model none" "$out" '^model 0 0$'

# /proc is live: the process table sees what COMMAND starts. Without the seccomp filter
# (under the emulator) it is a picture of the start.
if [ ${#emulator[@]} -eq 0 ]; then
    # The probe runs once both children have become "sleep" (5 s at most): under load a
    # forked child can still be a copy of the shell when the probe reads the table.
    wait_both='i=0; while [ "$(pgrep -xc sleep)" != 2 ] && [ $i -lt 250 ]; do sleep 0.02; i=$((i + 1)); done'
    out=$(sandbox -- sh -c "sleep 77 & sleep 77 & $wait_both; $(run_probe processes); ps -e -o pid=,args=")
    expect proc "$out" '^processes 2$'
    expect proc "$out" '^ +1 '
    expect proc "$out" 'sleep 77'
fi

# Syslog, watchdog and LEDs, from shell commands and from the daemon.
out=$(sandbox --watchdog-timeout 1 --log-level probed=err -- sh -c 'logger -t checker -p daemon.warning "hello there";
      printf "sig0 on" > /sys/devices/system/leds/leds0/event; '"$(run_probe log watchdog leds)"'; sleep 2')
ev=$(events)
expect syslog "$ev" ' syslog facility=daemon priority=warning ident=checker text="hello there"$'
expect syslog "$ev" ' syslog facility=user priority=err ident=probed pid=[0-9]+ text="probe started"$'
expect watchdog "$ev" ' watchdog command=register client=probed pid=[0-9]+ timeout=5 sender=/tmp/\.watchdog_api_probed$'
expect watchdog "$ev" ' watchdog command=feed client=probed '
expect watchdog "$ev" ' watchdog-silent client=probed pid=[0-9]+ seconds=1$'
expect leds "$ev" ' led led=sig0 state=on$'
expect leds "$ev" ' led led=ready state=slow$'
expect leds "$ev" ' led led=sig2 state=on$'
expect leds "$ev" ' led led=sig3 state=off$'

# The level file, and a change through the control socket that COMMAND is told of.
out=$(sandbox --log-level probed=3 --log-level other=debug -- cat /etc/log/log.cfg)
expect levels "$out" '^other 7$'
expect levels "$out" '^probed 3$'
sandbox --control "checks.$$" --log-level probed=3 --signal-reload -- $(run_probe ticks) >"$work/out" &
sandbox_pid=$!
for _ in $(seq 50); do grep -q ticking "$work/out" 2>/dev/null && break; sleep 0.1; done
reply=$("${emulator[@]}" "$tool" --send "checks.$$" log-level probed=7)
expect control "$reply" '^ok$'
wait $sandbox_pid
ev=$(events)
expect reload "$ev" ' log-level program=probed level=7$'
expect reload "$ev" ' reload signal=SIGUSR1$'
expect reload "$ev" 'text="\[Log level for probed set to 7\]"'
expect reload "$ev" ' priority=debug ident=probed pid=[0-9]+ text="tick [0-9]+"'

# The uplink, toggled from outside while COMMAND watches its file.
file=/tmp/status/linkGroupManager/hotLink.0/name
sandbox --uplink --control "uplink.$$" -- sh -c "$(run_probe uplink)
    for i in \$(seq 200); do [ -e $file ] || break; sleep 0.05; done; $(run_probe uplink)" >"$work/out" &
sandbox_pid=$!
for _ in $(seq 50); do grep -q uplink "$work/out" 2>/dev/null && break; sleep 0.1; done
reply=$("${emulator[@]}" "$tool" --send "uplink.$$" uplink toggle)
expect control "$reply" '^ok uplink down$'
wait $sandbox_pid
expect uplink "$(cat "$work/out")" '^uplink 1$'
expect uplink "$(tail -1 "$work/out")" '^uplink 0$'
expect uplink "$(events)" ' uplink state=up$'
expect uplink "$(events)" ' uplink state=down$'
reply=$("${emulator[@]}" "$tool" --send "uplink.$$" uplink toggle 2>&1)
[ $? -eq 1 ] || fail "a sandbox that ended still answers"

# The network: addresses, routes, carrier, the far host behind the gateway.
out=$(sandbox -- sh -c "ip -br address; ip route; hostname; cat /sys/class/net/wan0/carrier; $(run_probe carrier far)")
expect network "$out" '^wan0@[a-z0-9]+ +UP +10\.0\.0\.2/24'
expect network "$out" '^lan0@[a-z0-9]+ +UP +192\.168\.1\.1/24'
expect network "$out" '^default via 10\.0\.0\.1 dev wan0'
expect network "$out" '^orvik-device$'
expect network "$out" '^carrier 1$'
expect network "$out" '^far 1$'
out=$(sandbox --no-carrier wan0 -- sh -c "cat /sys/class/net/wan0/carrier; $(run_probe carrier)")
expect "no carrier" "$out" '^carrier 0$'
out=$(sandbox --loss 20% --delay 50ms -- tc qdisc show dev wan0 2>&1)
status=$?
if [ $status -eq 0 ]; then
    expect netem "$out" 'netem .*delay 50ms loss 20%'
else
    [ $status -eq 125 ] || fail "netem: status $status"
    expect netem "$out" 'sch_netem'
fi

# Privileges: which one is missing, and status 2.
if command -v capsh >/dev/null && [ "$(id -u)" -eq 0 ]; then
    out=$(capsh --drop=cap_net_admin -- -c "${emulator[*]} $tool -- true" 2>&1)
    [ $? -eq 2 ] || fail "no privilege: status is not 2"
    expect privilege "$out" 'needs CAP_NET_ADMIN'
fi

# The examples: a supervised daemon's syslog, watchdog and stop; the uplink checker's probe
# through the gateway to the far host and its LED.
if [ -n "${ORVIK_EXAMPLE_DAEMON:-}" ]; then
    # In the build tree: without a seccomp filter (qemu-user) the sandbox's /tmp is its own.
    config="$PWD/exampled.$$.cfg"
    printf 'name=exampled\nfeed_interval=1\nmax_ticks=2\n' >"$config"
    out=$(sandbox --log-level exampled=7 -- timeout 60 "${emulator[@]}" "$ORVIK_EXAMPLE_DAEMON" "$config" 2>&1)
    rm -f "$config"
    [ $? -eq 0 ] || fail "the supervised daemon failed: $out"
    ev=$(events)
    expect daemon-log "$ev" 'syslog .*ident=exampled .*text="started'
    expect daemon-register "$ev" 'watchdog command=register client=exampled'
    expect daemon-feed "$ev" 'watchdog command=feed client=exampled'
    expect daemon-unregister "$ev" 'watchdog command=unregister client=exampled'
    out=$(sandbox -- timeout 60 "${emulator[@]}" "$ORVIK_EXAMPLE_UPLINK" -i 1 -n 1 wan0 192.0.2.1 10.0.0.1 2>&1)
    [ $? -eq 0 ] || fail "the uplink checker got no answer: $out"
    expect uplink-led "$(events)" 'led led=ready state=on'
fi

# Killed: COMMAND by a signal, then the sandbox itself; nothing stays behind either way.
sandbox -- sh -c 'kill -9 $$'
[ $? -eq 137 ] || fail "a killed COMMAND gives 128+9"
"${emulator[@]}" "$tool" -q -- sleep 7321 &
sandbox_pid=$!
sleep 1
kill -9 $sandbox_pid
wait $sandbox_pid 2>/dev/null
for _ in $(seq 50); do pgrep -f 'sleep 7321' >/dev/null || break; sleep 0.1; done
pgrep -f 'sleep 7321' >/dev/null && fail "COMMAND outlived a killed sandbox"
after=$(host_state)
[ "$before" = "$after" ] || fail "the host changed: $(diff <(echo "$before") <(echo "$after"))"

[ $failures -eq 0 ] && echo "all sandbox checks passed"
exit $((failures > 0))

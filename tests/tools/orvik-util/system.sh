#!/usr/bin/env bash
# The subcommands that talk to the kernel, run as root in private mount, network and PID
# namespaces made here; everything made dies with them, also when a check fails.
#   system.sh BUILD_DIR WORK_DIR WATCHDOG_RECEIVER
if [ "$(id -u)" != 0 ]; then
    echo "needs root: private namespaces, interfaces and mounts"
    exit 77
fi
if [ -z "${ORVIK_UTIL_IN_NAMESPACES:-}" ]; then
    ORVIK_UTIL_IN_NAMESPACES=1 exec unshare --mount --net --pid --fork --mount-proc \
        --propagation private bash "$0" "$@"
fi
receiver=$3
source "$(dirname "$0")/lib.sh" "$1" "$2"
cd "$work"
set -e
ip link set lo up
# Indices 2 and 3, so that v0 still has one when v1 leaves: the default address scan
# stops at the first unused index.
ip link add v0 index 2 type veth peer name v1 index 3
ip addr add 10.60.0.1/24 dev v0
ip link set v0 up
# A peer host: a process in a network namespace of its own holding v1 at 10.60.0.2.
mkfifo "$work/ready"
unshare --net sh -c "echo >'$work/ready'; exec sleep 1000" &
peer=$!
read -r <"$work/ready"
ip link set v1 netns "$peer"
nsenter -t "$peer" -n sh -c 'ip link set lo up; ip addr add 10.60.0.2/24 dev v1; ip link set v1 up'
# This namespace's own sysfs, LED event file, /tmp, a writable /etc over the real one, and
# a silent console for syslog's fallback.
mount -t sysfs sysfs /sys
mount -t tmpfs tmpfs /sys/devices/system
mkdir -p /sys/devices/system/leds/leds0
touch /sys/devices/system/leds/leds0/event
mount -t tmpfs tmpfs /tmp
mkdir -p "$work/etc"
mount -t tmpfs tmpfs "$work/etc"
mkdir "$work/etc/upper" "$work/etc/work"
mount -t overlay overlay -o "lowerdir=/etc,upperdir=$work/etc/upper,workdir=$work/etc/work" /etc
mount --bind /dev/null /dev/console
set +e
sleep 0.5

# Host summary: the highest-indexed interface with an address is the default.
match 0 '^default address: 10\.60\.0\.1$'
for line in '^  lo +up +127\.0\.0\.1/8$' '^  v0 +up +10\.60\.0\.1/24$' '^processes: [1-9]' \
    '^self-test: md5 passed, sha1 passed$'; do
    grep -Eq "$line" out || fault "(summary)" "$line"
done
[ "$(grep -c '^  ' out)" = "$(ip -o link | wc -l)" ] || fault "(summary)" "every interface"

# Processes against ps.
sleep 301 &
sleep 302 &
expect 0 "$(ps -o pid=,args= -C sleep | sed 's/^ *//' | sort)" ps sleep
sort -o out out
[ "$(cat out)" = "$(ps -o pid=,args= -C sleep | sed 's/^ *//' | sort)" ] ||
    fault "ps sleep" "the sleeps ps shows"
refuse 1 "no process whose command line begins with 'nosuch'" ps nosuch

# Interfaces against ip.
expect 0 "name: v0
state: up
carrier: yes
address: $(ip -4 -o addr show v0 | awk '{print $4}' | cut -d/ -f1)
mask: 255.255.255.0
queue length: $(ip -o link show v0 | grep -o 'qlen [0-9]*' | cut -d' ' -f2)
uplink: none" iface v0
mkdir -p /tmp/status/linkGroupManager/hotLink.0
touch /tmp/status/linkGroupManager/hotLink.0/name
match 0 '^uplink: active$' iface v0
expect 0 "" iface v0 addr 10.60.0.9
expect 0 "" iface v0 mask 255.255.0.0
ip -4 -o addr show v0 | grep -q '10\.60\.0\.9/16' || fault "iface v0 addr, mask" "ip shows 10.60.0.9/16"
expect 0 "" iface v0 txqlen 77
ip -o link show v0 | grep -q 'qlen 77' || fault "iface v0 txqlen 77" "ip shows qlen 77"
expect 0 "" iface v0 down
ip -o link show v0 | grep -q '[<,]UP[,>]' && fault "iface v0 down" "ip shows v0 down"
match 0 '^state: down$' iface v0
expect 0 "" iface v0 up
ip addr flush dev v0 && ip addr add 10.60.0.1/24 dev v0
refuse 1 "no interface 'nosuch'" iface nosuch
refuse 2 "unknown action 'frob'" iface v0 frob x
refuse 2 "'1.2.3' is not a dotted IPv4 address" iface v0 addr 1.2.3
emulator=(setpriv --bounding-set=-net_admin --)
refuse 1 "cannot bring down v0: .*CAP_NET_ADMIN" iface v0 down
emulator=()

# LEDs: the event line as written, the signal bar LED by LED.
event=/sys/devices/system/leds/leds0/event
expect 0 "" led gps slow
[ "$(cat $event)" = "gps slow" ] || fault "led gps slow" "the event line 'gps slow'"
run rssi wwan -70
[ "$status" = 0 ] && [ "$(grep -c '^sig[0-3] o[nf]f*$' out)" = 4 ] &&
    [ "$(tail -1 out)" = "$(cat $event)" ] || fault "rssi wwan -70" "four LED lines"
rm -r /sys/devices/system/leds
refuse 1 "cannot open $event" led pwr on

# Device model from a system summary in a /proc of our own.
# The loader finds the library through /proc/self/exe, so self stays real.
mkdir -p "$work/proc/sysinfo" "$work/real-proc"
mount -t proc proc "$work/real-proc"
ln -s "$work/real-proc/self" "$work/proc/self"
mount --bind "$work/proc" /proc
# The leak checker of the sanitizer build reads this process's /proc entries at exit.
emulator=(env ASAN_OPTIONS=detect_leaks=0)
expect 0 "model: unknown (0)" model
printf 'System summary\nProduct type: TQ5321 rev 2\n' >"$work/proc/sysinfo/summary"
expect 0 $'model: TQ5321 (3)\nwwan: 4\ngnss: 2\nethernet-switch: 2' model
emulator=()
umount /proc

# Log levels from /etc/log/log.cfg; a program missing from it gets its line.
refuse 1 "cannot open /etc/log/log.cfg" loglevel daemond
mkdir -p /etc/log
printf 'daemond 3\n' >/etc/log/log.cfg
expect 0 "daemond: 3 (err)" loglevel daemond
expect 0 "newprog: 0 (emerg)" loglevel newprog
grep -qx 'newprog 0' /etc/log/log.cfg || fault "loglevel newprog" "the line 'newprog 0' added"

# Watchdog messages as the service receives them.
refuse 1 "did not take the message" watchdog register daemond 123
"$receiver" /tmp/.watchdog_api 4 >"$work/received" &
listener=$!
for _ in $(seq 50); do [ -S /tmp/.watchdog_api ] || sleep 0.1; done
expect 0 "registered 123 as daemond" watchdog register daemond 123 30
expect 0 "feed sent for 123" watchdog feed 123
expect 0 "unregister sent for 123" watchdog unregister 123
expect 0 "config sent" watchdog config daemond
wait $listener
[ "$(cat "$work/received")" = $'1 123 30 daemond\n3 123 0 \n2 123 0 \n4 0 0 ' ] ||
    fault "watchdog" "register, feed, unregister and config received"
refuse 2 "feed needs one PID" watchdog feed x

# Reachability, raw and through the unprivileged fallback.
match 0 '^2 packets transmitted, 2 received, 0% packet loss$' ping -c 2 127.0.0.1
match 0 '^2 packets transmitted, 2 received' ping -c 2 -I v0 10.60.0.2
match 0 '^reply from 10\.60\.0\.2: seq=1 time=' ping -c 1 -S 10.60.0.1 10.60.0.2
match 1 '^1 packets transmitted, 0 received, 100% packet loss$' ping -c 1 -W 1 10.60.0.3
grep -q 'no reply from 10.60.0.3' err || fault "ping 10.60.0.3" "no reply reported"
refuse 1 "cannot resolve 'no-such-host.invalid'" ping no-such-host.invalid
emulator=(setpriv --bounding-set=-net_raw --)
refuse 1 "ping needs CAP_NET_RAW: run as root" ping -c 1 127.0.0.1
refuse 1 "rawping needs CAP_NET_RAW" rawping v0 10.60.0.2
sysctl -qw net.ipv4.ping_group_range="0 0"
match 0 '^PING 10\.60\.0\.2 \(10\.60\.0\.2\): datagram socket$' ping -c 2 10.60.0.2
grep -q '2 received' out && grep -q 'using an unprivileged ICMP datagram socket' err ||
    fault "ping without CAP_NET_RAW" "replies through the datagram socket"
emulator=()
match 0 '^10\.60\.0\.2 answered through v0$' rawping v0 10.60.0.2
match 1 '^10\.60\.0\.3 did not answer through v0$' rawping v0 10.60.0.3
grep -q 'received no valid reply from 10.60.0.3' err || fault "rawping v0 10.60.0.3" "the log line"
refuse 1 "no interface 'nosuch'" rawping nosuch 10.60.0.2
finish

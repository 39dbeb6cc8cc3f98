#!/usr/bin/env bash
# The subcommands that need nothing from the machine, on both targets, checked against
# md5sum, sha1sum, openssl and base64 where the answer is theirs too.
source "$(dirname "$0")/lib.sh" "$@"
cd "$work"

# Inputs: nothing, a short text, and a stream that crosses the tool's 64 KiB read chunks
# at an odd length.
: >empty
printf 'abc' >abc
head -c 200003 /dev/urandom >random
head -c 100 /dev/urandom >long-key
printf 'key' >short-key

# Digests and codes, file by file, standard input as "-".
for file in empty abc random; do
    expect 0 "$(md5sum "$file")" md5 "$file"
    expect 0 "$(sha1sum "$file")" sha1 "$file"
    for hash in md5 sha1; do
        code=$(openssl dgst -"$hash" -hmac key "$file" | sed 's/.*= //')
        expect 0 "$code  $file" hmac --hash "$hash" --key key "$file"
        expect 0 "$code  $file" hmac --hash "$hash" --key-file short-key "$file"
        # A key longer than the 64-byte block is hashed first.
        code=$(openssl dgst -"$hash" -mac HMAC -macopt hexkey:"$(od -An -tx1 -v long-key |
            tr -d ' \n')" "$file" | sed 's/.*= //')
        expect 0 "$code  $file" hmac --hash "$hash" --key-file long-key "$file"
    done
done
[ "$(openssl dgst -sha1 -hmac key abc | sed 's/.*= //' | cut -c1-20)  abc" = \
    "$("${emulator[@]}" "$tool" hmac --hash sha1 --key key --length 10 abc)" ] ||
    fault "hmac --length 10" "the first 10 bytes of the code"
expect 0 "$(printf 'abc' | md5sum)" md5 <abc
expect 0 "$(printf 'abc' | sha1sum)" sha1 - <abc
# As md5sum: a missing file is reported, the others still summed, the status 1.
match 1 "^$(md5sum abc | cut -c1-32)  abc$" md5 missing abc
grep -q 'cannot read missing' "$work/err" || fault "md5 missing abc" "the missing file named"

# Base64 against base64(1): line widths, no wrapping, and back.
for file in empty abc random; do
    for width in 76 8 0; do
        expect 0 "$(base64 -w "$width" "$file")" base64 -w "$width" "$file"
    done
    base64 "$file" | "${emulator[@]}" "$tool" base64 -d | cmp -s - "$file" ||
        fault "base64 -d of $file" "the original bytes"
done
expect 0 "abc" base64 -d <<<$'Y W\n=Jj'

# The dump: memory-order words, 16 bytes a line, zeros after the last byte, no blank line
# between read chunks.
printf '\000\001\002\003\004\005\006\007\010\011\012\013\014\015\016\017\020\021' >bytes
expect 0 $'0x00010203 0x04050607 0x08090a0b 0x0c0d0e0f \n0x10110000 ' hexdump bytes
head -c 65552 /dev/zero >zeros
run hexdump zeros
[ "$status" = 0 ] && [ "$(wc -l <out)" = 4097 ] && ! grep -q '^$' out ||
    fault "hexdump zeros" "4097 full lines"

# Addresses: each form, and the classifications that tell addresses apart.
expect 0 "address: 192.168.1.20
mask: 255.255.255.0
prefix: 24
network: 192.168.1.0
broadcast: 192.168.1.255
class: C
class-abc: yes
loopback: no
local-group: no
host: no
default-route: no
network-type: no
interface: yes
limited-broadcast: no
directed-broadcast: no
valid: yes" ip 192.168.1.20/24
match 0 '^prefix: 16$' ip 10.0.0.1/255.255.0.0
match 0 '^directed-broadcast: yes$' ip 10.1.255.255/16
match 0 '^network-type: yes$' ip 10.1.0.0/16
match 0 '^limited-broadcast: yes$' ip 255.255.255.255
match 0 '^default-route: yes$' ip 0.0.0.0/0
match 0 '^loopback: yes$' ip 127.0.0.1/8
match 0 '^local-group: yes$' ip 224.0.0.5
match 0 '^host: yes$' ip 10.0.0.1
for bad in 300.1.1.1 1.2.3 10.1.2.3/33 10.0.0.1/255.0.255.0 " 1.2.3.4" 01.2.3.4; do
    refuse 2 "is not a dotted IPv4" ip "$bad"
done
refuse 2 "needs one ADDRESS" ip

# Configuration files: clean-up of tags and values, the first entry winning with the
# reader's notice, comments, CRLF, indexed tags.
printf 'a=1\r\n k e y = some value \n#c=3\n #d=4\nnone\na=2\nroute3=via wwan0\n' >test.cfg
expect 0 $'cfg: Ignoring duplicate tag:a=2\na=1\nkey=some value\n#d=4\nroute3=via wwan0' \
    cfg dump test.cfg
expect 0 "some value" cfg get test.cfg key
expect 0 "via wwan0" cfg get test.cfg 'route%lu' 3
printf 'a=1\n' >clean.cfg
printf 'mtu=1500\nhex=5DCh\nlow=5dcx\nsw=On\nbytes=1500 bytes\nc=0x10\nneg=-7\n' >num.cfg
expect 0 "1500" cfg get --int num.cfg mtu
expect 0 "1500" cfg get --int num.cfg hex
expect 0 "1500" cfg get --int num.cfg low
expect 0 "1" cfg get --int num.cfg sw
expect 0 "-7" cfg get --int num.cfg neg
refuse 1 "value '1500 bytes' of 'bytes' is not a number" cfg get --int num.cfg bytes
refuse 1 "value '0x10' of 'c' is not a number" cfg get --int num.cfg c
refuse 1 "no tag 'c' in clean.cfg" cfg get clean.cfg c
refuse 1 "cannot read missing.cfg" cfg get missing.cfg a
refuse 2 "INDEX 'x'" cfg get test.cfg 'route%lu' x
refuse 2 "dump needs one FILE" cfg dump

# Parameter lists: sorted, escaped, and read back.
form='<a%3cx%3e>50%25</a%3cx%3e><b>2</b><c></c>'
expect 0 "$form" params encode b=2 c= 'a<x>=50%'
expect 0 $'a<x>=50%\nb=2\nc=' params decode "$form"
expect 0 $'k=v' params decode '<k>v</k>junk<broken'
refuse 2 "'x' is not TAG=VALUE" params encode x

# Conventions: version, help for the tool and each subcommand, bad usage.
match 0 '^orvik-util [0-9]+\.[0-9]+\.[0-9]+$' --version
names=(ip cfg params base64 hexdump md5 sha1 hmac ps iface led rssi model watchdog loglevel
    ping rawping)
for name in "${names[@]}"; do
    match 0 "^  $name " --help
    match 0 "^usage: orvik-util $name" "$name" --help
done
refuse 2 "unknown subcommand 'frob'" frob
refuse 2 "unknown option '--frob'" base64 --frob
refuse 2 "LINE 'x'" base64 -w x
refuse 2 "needs --hash md5 or --hash sha1" hmac --key k abc
refuse 2 "exactly one of --key" hmac --hash md5 abc
refuse 2 "LENGTH 17 is longer" hmac --hash md5 --key k --length 17 abc
refuse 1 "cannot read missing" hexdump missing
refuse 2 "unknown LED 'frob'" led frob on
refuse 2 "COUNT '0'" ping -c 0 127.0.0.1
finish

#!/usr/bin/env bash
# Installs, with apt-get, whatever the build, the tests and the device cross build need
# and this machine lacks. Needs root (or sudo) only when something is missing.
set -eu

packages=(
    cmake g++ make pkg-config      # native build and the installed-package test
    libgtest-dev                   # unit tests (also built from source for the device)
    libbenchmark-dev               # benchmarks, run by hand
    libssl-dev                     # test oracle and benchmark peer for the digests
    g++-arm-linux-gnueabi          # the device ABI: armel, 32-bit long, unsigned char
    qemu-user                      # runs the device build's tests
    iproute2                       # network namespaces for the kernel-facing tests
    doxygen                        # the API reference (docs target and its test)
    dpkg-dev file                  # Debian packages: cpack's dpkg-shlibdeps and file checks
    lintian                        # package checks
    abigail-tools                  # interface guard: abidw and abidiff
    valgrind                       # memory check of the native tests (scripts/memcheck.sh)
    gcovr                          # coverage report (scripts/coverage.sh)
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

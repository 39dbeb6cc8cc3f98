#!/usr/bin/env bash
# Installs what is needed, builds the library, installs it to ./_install and runs the
# example program built against that installed package.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"

prefix=$root/_install
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DORVIK_BUILD_TESTS=OFF
cmake --build "$root/build/release" -j "$(nproc 2>/dev/null || echo 2)"
cmake --install "$root/build/release" --prefix "$prefix"

cmake -S "$root/examples/hello" -B "$root/build/hello" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix"
cmake --build "$root/build/hello"
cmake --install "$root/build/hello"
"$prefix/bin/orvik-hello" "$@"

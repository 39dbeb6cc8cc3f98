#!/usr/bin/env bash
# Installs what is needed, builds the library and orvik-util, installs them to ./_install,
# builds the example programs against that installed package, and ends with the host
# summary of the installed orvik-util.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"

jobs=$(nproc 2>/dev/null || echo 2)
prefix=$root/_install
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=Release -DORVIK_BUILD_TESTS=OFF \
    -DORVIK_BUILD_BENCH=OFF
cmake --build "$root/build/release" -j "$jobs"
cmake --install "$root/build/release" --prefix "$prefix"

cmake -S "$root/examples" -B "$root/build/examples" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix"
cmake --build "$root/build/examples" -j "$jobs"
cmake --install "$root/build/examples"
"$prefix/bin/orvik-hello" "$@"

echo
"$prefix/bin/orvik-util"

#!/bin/sh
# dpkg-shlibdeps for a cross-built package, called by CPack in its place.
#
# The target's C and C++ runtime are known to the build machine only as the cross
# toolchain's copies (libc6-armel-cross, ...). Told the target architecture and where
# those copies are, dpkg-shlibdeps finds them and their shlibs/symbols files, which
# name the target's packages with an architecture qualifier ("libc6:armel") or under
# the cross package's own name; both become the plain names a target system installs.
# Where that fails (no cross shlibs information), the dependencies are computed from
# the ELF files: each needed library mapped to its Debian package, libc with the
# newest GLIBC_ symbol version the files use.
#
# Environment: ORVIK_DEB_HOST_ARCH (armel, ...), ORVIK_CROSS_LIBDIRS (the toolchain's
# library directories, separated by colons) and ORVIK_CROSS_READELF (optional).
set -u
case "${1:-}" in
--version | --help) exec dpkg-shlibdeps "$@" ;;
esac
arch=${ORVIK_DEB_HOST_ARCH:?target Debian architecture not set}

err=$(mktemp)
trap 'rm -f "$err"' EXIT
search=
old_ifs=$IFS
IFS=:
for dir in ${ORVIK_CROSS_LIBDIRS:-}; do
    [ -d "$dir" ] && search="$search -l$dir"
done
IFS=$old_ifs
# shellcheck disable=SC2086
if out=$(DEB_HOST_ARCH=$arch dpkg-shlibdeps $search "$@" 2>"$err"); then
    cat "$err" >&2
    printf '%s\n' "$out" | sed -e "s/:$arch\\b//g" -e "s/-$arch-cross\\b//g"
    exit 0
fi
echo "cross-shlibdeps: dpkg-shlibdeps failed, computing the dependencies instead:" >&2
cat "$err" >&2

readelf=${ORVIK_CROSS_READELF:-readelf}
files=
for arg in "$@"; do
    case "$arg" in
    -*) ;;
    *) files="$files $arg" ;;
    esac
done
[ -n "$files" ] || { echo "shlibs:Depends="; exit 0; }

# shellcheck disable=SC2086
needed=$(for f in $files; do LC_ALL=C $readelf -d "$f"; done |
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort -u)
# shellcheck disable=SC2086
glibc=$(for f in $files; do LC_ALL=C $readelf -V "$f"; done |
    sed -n 's/.*Name: GLIBC_\([0-9.]*\).*/\1/p' | sort -t. -k1,1n -k2,2n -k3,3n | tail -1)

depends=
add() {
    case ", $depends, " in
    *", $1, "*) ;;
    *) depends=${depends:+$depends, }$1 ;;
    esac
}
for lib in $needed; do
    case "$lib" in
    libc.so.* | libm.so.* | libpthread.so.* | libdl.so.* | librt.so.* | ld-linux*)
        add "libc6${glibc:+ (>= $glibc)}" ;;
    libstdc++.so.6) add "libstdc++6" ;;
    libgcc_s.so.1) add "libgcc-s1" ;;
    liborvik_utilities.so.*) ;; # from this build: the tools package names it itself
    *)
        echo "cross-shlibdeps: no package known for $lib" >&2
        exit 1
        ;;
    esac
done
echo "shlibs:Depends=$depends"

#!/usr/bin/env python3
"""Device size: the armel MinSizeRel library, stripped, and its code and data per subsystem.

Configures and builds the library alone for armel at -Os (CMake's MinSizeRel), then
prints the size of the stripped shared object as the device ships it, and one row per
subsystem (or per object with --objects): text (code and read-only data) and data
(initialised writable data and relocated constants), as arm-linux-gnueabi-size counts them.

  bench/device/size.py [--build DIR] [--objects] [--markdown]
"""
import argparse
import collections
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
TRIPLE = "arm-linux-gnueabi"


def run(cmd):
    done = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        sys.exit(done.stdout[-4000:] + "\nsize.py: failed: " + " ".join(cmd))
    return done.stdout


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--build", default=os.path.join(ROOT, "build", "device-size"))
    ap.add_argument("--objects", action="store_true", help="one row per object file")
    ap.add_argument("--markdown", action="store_true")
    opt = ap.parse_args()

    run(["cmake", "-S", ROOT, "-B", opt.build,
         "-DCMAKE_TOOLCHAIN_FILE=" + os.path.join(ROOT, "cmake", TRIPLE + ".cmake"),
         "-DCMAKE_BUILD_TYPE=MinSizeRel", "-DORVIK_BUILD_TESTS=OFF", "-DORVIK_BUILD_BENCH=OFF"])
    run(["cmake", "--build", opt.build, "-j2", "--target", "orvik_utilities"])

    library = os.path.join(opt.build, "src", "liborvik_utilities.so")
    with tempfile.TemporaryDirectory() as scratch:
        stripped = os.path.join(scratch, "lib.so")
        run([TRIPLE + "-strip", "-o", stripped, library])
        shipped = os.path.getsize(stripped)

    objects_dir = os.path.join(opt.build, "src", "CMakeFiles", "orvik_utilities_objects.dir")
    objects = sorted(os.path.join(d, f) for d, _, files in os.walk(objects_dir)
                     for f in files if f.endswith(".o"))
    rows = collections.OrderedDict()
    for line in run([TRIPLE + "-size"] + objects).splitlines()[1:]:
        text, data, _bss, _dec, _hex, path = line.split(None, 5)
        relative = os.path.relpath(path, objects_dir)[: -len(".cpp.o")]
        key = relative if opt.objects else relative.split(os.sep)[0]
        total = rows.setdefault(key, [0, 0])
        total[0] += int(text)
        total[1] += int(data)

    header = ("object" if opt.objects else "subsystem", "text", "data")
    table = [(key, f"{t:,}", f"{d:,}") for key, (t, d) in sorted(rows.items())]
    table.append(("all objects", f"{sum(t for t, _ in rows.values()):,}",
                  f"{sum(d for _, d in rows.values()):,}"))
    print(f"liborvik_utilities.so, armel -Os, stripped: {shipped:,} bytes")
    if opt.markdown:
        print("| " + " | ".join(header) + " |")
        print("|---|---:|---:|")
        for row in table:
            print("| " + " | ".join(row) + " |")
    else:
        widths = [max(len(r[i]) for r in [header] + table) for i in range(3)]
        for row in [header] + table:
            print(row[0].ljust(widths[0]) + "  " +
                  "  ".join(c.rjust(w) for c, w in zip(row[1:], widths[1:])))
    return 0


if __name__ == "__main__":
    sys.exit(main())

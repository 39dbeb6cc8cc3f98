#!/usr/bin/env python3
"""Device cost table: ARM instructions per operation, the library against its peers.

Configures and builds bench/device for armel (the library in Release, every
*_cost.cpp probe at -O2), asks each probe for its cases ("prog list"), counts every
case and its peer with armcount, and prints one row per case:

  bench/device/run.py [--build DIR] [--jobs 2] [--budget 12000000] [--only REGEX]
                      [--markdown]

Each case is first counted roughly (0 and 10 repetitions); it is then counted with
armcount's own 100 and 1,100 repetitions, or with 10 and 110 when 1,100 repetitions
would execute more than the budget of instructions (qemu's single-stepping logs about
a million a second). Probes keep their work the same over any 100 consecutive
repetitions. A case whose peer is "-" and that is nobody's peer gets a row without a
ratio. The ratio is peer / ours: how many times fewer instructions the library executes.
"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
ARMCOUNT = os.environ.get("ARMCOUNT", "/work/shared/tools/armcount")
SYSROOT = "/usr/arm-linux-gnueabi"


def build(directory):
    configure = ["cmake", "-S", HERE, "-B", directory,
                 "-DCMAKE_TOOLCHAIN_FILE=" + os.path.join(ROOT, "cmake", "arm-linux-gnueabi.cmake"),
                 "-DCMAKE_BUILD_TYPE=Release"]
    for cmd in (configure, ["cmake", "--build", directory, "-j2"]):
        done = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            sys.exit(done.stdout[-4000:] + "\nrun.py: failed: " + " ".join(cmd))


def probes(directory):
    names = sorted(f[:-4] for f in os.listdir(HERE) if f.endswith("_cost.cpp"))
    return [(name, os.path.join(directory, name)) for name in names]


def cases(program):
    out = subprocess.run(["qemu-arm", "-L", SYSROOT, program, "list"], check=True,
                         stdout=subprocess.PIPE, text=True).stdout
    listed = []
    for line in out.splitlines():
        parts = line.split(None, 2)
        if len(parts) >= 2:
            listed.append((parts[0], parts[1], parts[2] if len(parts) == 3 else ""))
    return listed


def armcount(program, case, n1, n2):
    out = subprocess.run([ARMCOUNT, "--n1", str(n1), "--n2", str(n2), "--", program, case, "{n}"],
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    found = re.search(r"instructions/op:\s*([0-9.]+)", out.stdout)
    if out.returncode != 0 or not found:
        return None
    return float(found.group(1))


def count(program, case, budget):
    rough = armcount(program, case, 0, 10)
    if rough is None:
        return None
    if rough * 1100 <= budget:
        return armcount(program, case, 100, 1100)
    return armcount(program, case, 10, 110)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--build", default=os.path.join(ROOT, "build", "device-cost"))
    ap.add_argument("--jobs", type=int, default=2)
    ap.add_argument("--budget", type=int, default=12_000_000,
                    help="most instructions for the larger repetition count")
    ap.add_argument("--only", default="", help="count only cases whose name matches")
    ap.add_argument("--no-build", action="store_true")
    ap.add_argument("--markdown", action="store_true")
    opt = ap.parse_args()
    if not opt.no_build:
        build(opt.build)

    rows = []
    for area, program in probes(opt.build):
        listed = cases(program)
        peers = {peer for _, peer, _ in listed if peer != "-"}
        for name, peer, description in listed:
            if name in peers or not re.search(opt.only, name):
                continue
            rows.append((area[:-5], name, None if peer == "-" else peer, description, program))

    work = {}
    with concurrent.futures.ThreadPoolExecutor(max_workers=opt.jobs) as pool:
        for _, name, peer, _, program in rows:
            for case in filter(None, (name, peer)):
                work[(program, case)] = pool.submit(count, program, case, opt.budget)
        results = {key: future.result() for key, future in work.items()}

    def shown(value):
        return "failed" if value is None else f"{value:,.0f}"

    header = ("area", "operation", "ours", "peer", "peer case", "fewer")
    table = []
    for area, name, peer, description, program in rows:
        ours = results[(program, name)]
        theirs = results[(program, peer)] if peer else None
        ratio = f"{theirs / ours:.2f}x" if ours and theirs else "-"
        table.append((area, description, shown(ours), shown(theirs) if peer else "-",
                      peer or "-", ratio))
    if opt.markdown:
        print("| " + " | ".join(header) + " |")
        print("|" + "---|" * len(header))
        for row in table:
            print("| " + " | ".join(row) + " |")
    else:
        widths = [max(len(str(r[i])) for r in [header] + table) for i in range(len(header))]
        for row in [header] + table:
            print("  ".join(str(c).ljust(w) for c, w in zip(row, widths)).rstrip())
    failed = [key for key, value in results.items() if value is None]
    if failed:
        print("failed: " + ", ".join(f"{os.path.basename(p)} {c}" for p, c in failed),
              file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

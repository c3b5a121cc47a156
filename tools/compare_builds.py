#!/usr/bin/env python3
"""Before/after comparison of two builds of the library, bit for bit.

Compiles compare_driver.cpp (beside this script) against include/, runs it
once per library folder, each in a process of its own, and compares the
digest lines: every export of fennel_dsp.h over a grid of sizes, parameters
and block placements, each call's status and the bytes and sizes of all its
arrays, scalar outputs and plan slot.  Prints the calls whose digests differ
and exits 1 if any do (2 when a driver fails to run).

  tools/compare_builds.py --before /work/main/build/lib --after build/lib
  tools/compare_builds.py --before A --after B --placements 0 24 --keep out/

FENNEL_DSP_PLANNER is set to "estimate" unless given (FFTW's measured plans
may round differently from run to run).
"""

import argparse
import os
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
REPO = HERE.parent


def build_driver(out_dir, cxx):
    exe = out_dir / "compare_driver"
    cmd = ["nice", "-n", "10", cxx, "-std=c++20", "-O1", "-Wall", "-I", str(REPO / "include"),
           str(HERE / "compare_driver.cpp"), "-o", str(exe), "-ldl"]
    subprocess.run(cmd, check=True)
    return exe


def start(exe, libdir, placements, out_path):
    env = dict(os.environ)
    env.setdefault("FENNEL_DSP_PLANNER", "estimate")
    out = open(out_path, "w")
    cmd = ["nice", "-n", "19", str(exe), str(Path(libdir).resolve())] + [str(p) for p in placements]
    return subprocess.Popen(cmd, stdout=out, stderr=subprocess.PIPE, env=env, text=True), out


def key(line):
    for sep in (" st=", " missing"):
        if sep in line:
            return line[: line.index(sep)]
    return line


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--before", required=True, help="folder with libfennel_host.so and libfennel_dsp.so")
    ap.add_argument("--after", required=True, help="the other build's folder")
    ap.add_argument("--placements", type=int, nargs="*", default=[-1, 0, 8, 24, 40],
                    help="block placements modulo 64 (-1: the host's default)")
    ap.add_argument("--keep", help="folder to keep the two digest files in")
    ap.add_argument("--show", type=int, default=40, help="differences to print")
    ap.add_argument("--cxx", default=os.environ.get("CXX", "g++"))
    args = ap.parse_args()

    work = Path(args.keep) if args.keep else Path(tempfile.mkdtemp(prefix="fennel-compare-"))
    work.mkdir(parents=True, exist_ok=True)
    exe = build_driver(work, args.cxx)
    runs = {}
    for side in ("before", "after"):
        runs[side] = start(exe, getattr(args, side), args.placements, work / f"{side}.txt")
    for side, (proc, out) in runs.items():
        _, err = proc.communicate()
        out.close()
        if proc.returncode != 0:
            print(f"{side}: driver exited {proc.returncode}\n{err}", file=sys.stderr)
            if proc.returncode != 1:  # 1: exports missing, reported in the digests
                return 2
    before = (work / "before.txt").read_text().splitlines()
    after = (work / "after.txt").read_text().splitlines()

    diffs = []
    placement = None
    for i in range(max(len(before), len(after))):
        b = before[i] if i < len(before) else "<none>"
        a = after[i] if i < len(after) else "<none>"
        if b.startswith("== placement"):
            placement = b.split()[-1]
        if a != b:
            diffs.append((placement, b, a))
    calls = sum(1 for line in before if " st=" in line)
    print(f"{calls} calls per build over placements {args.placements}; {len(diffs)} digests differ")
    for placement, b, a in diffs[: args.show]:
        print(f"[placement {placement}] {key(b)}\n  before: {b[len(key(b)):].strip()}\n  after:  {a[len(key(a)):].strip()}")
    if len(diffs) > args.show:
        print(f"... {len(diffs) - args.show} more (--show, --keep)")
    return 1 if diffs else 0


if __name__ == "__main__":
    sys.exit(main())

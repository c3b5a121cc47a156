#!/usr/bin/python3
"""Runs the same benchmarks of two builds side by side, alternating the two
builds round by round, and prints the median time of each case in each build
and their ratio (after / before).

    bench/compare_builds.py --before /work/main/build/bin --after build/bin \
        --bench bench_fft1d --filter 'Z1D/(1024|65536)/0$' [--rounds 3]
"""
import argparse
import csv
import io
import os
import statistics
import subprocess


def run(binary, pattern, min_time, column):
    out = subprocess.run([binary, f"--benchmark_filter={pattern}", f"--benchmark_min_time={min_time}",
                          "--benchmark_format=csv"], capture_output=True, text=True, check=True,
                         env=dict(os.environ, FENNEL_DSP_PLANNER=os.environ.get("FENNEL_DSP_PLANNER", "measure")))
    text = out.stdout[out.stdout.index("name,"):]
    return {row["name"]: float(row[column]) for row in csv.DictReader(io.StringIO(text))}


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--before", required=True)
    ap.add_argument("--after", required=True)
    ap.add_argument("--bench", required=True, action="append")
    ap.add_argument("--filter", required=True, action="append")
    ap.add_argument("--rounds", type=int, default=3)
    ap.add_argument("--min-time", default="0.2")
    # cpu_time: the process's own time, steadier than wall time on a busy machine
    ap.add_argument("--time", choices=("real_time", "cpu_time"), default="real_time")
    args = ap.parse_args()
    print(f"{'case':44s} {'before':>11s} {'after':>11s} {'after/before':>12s}")
    for bench, pattern in zip(args.bench, args.filter):
        times = {"before": {}, "after": {}}
        for _ in range(args.rounds):
            for side in ("before", "after"):
                folder = getattr(args, side)
                for name, t in run(os.path.join(folder, bench), pattern, args.min_time, args.time).items():
                    times[side].setdefault(name, []).append(t)
        for name in times["before"]:
            b = statistics.median(times["before"][name])
            a = statistics.median(times["after"].get(name, [float("nan")]))
            print(f"{bench[6:] + ' ' + name:44s} {b:11.1f} {a:11.1f} {a / b:12.3f}")


if __name__ == "__main__":
    main()

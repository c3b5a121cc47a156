"""First calls and steady state of the planning policy beside raw FFTW.

Runs bench_first_call once per figure, each in a fresh process, in
alternation, and prints medians and their ratios:
  first call, cold cache        / FFTW_ESTIMATE plan + transform
  steady after the background   / FFTW_MEASURE steady state
  first call, warm cache        / FFTW_ESTIMATE plan + transform
  steady from the first call, warm cache / FFTW_MEASURE steady state
Usage: /usr/bin/python3 bench/first_call.py [repetitions] [build folder]
"""
import statistics
import subprocess
import sys
import tempfile
import os

REPS = int(sys.argv[1]) if len(sys.argv) > 1 else 3
BIN = os.path.join(sys.argv[2] if len(sys.argv) > 2 else "build", "bin", "bench_first_call")
GEOMETRIES = [("1024", ["1024"]), ("65536", ["65536"]), ("2^20", ["1048576"]),
              ("255255", ["255255"]), ("1024x1024", ["1024", "1024"])]


def run(args, env=None):
    out = subprocess.run([BIN] + args, capture_output=True, text=True, check=True,
                         env=dict(os.environ, **(env or {}))).stdout.split()
    return [float(v) for v in out]


def main():
    print(f"{'n':>10} {'est first ms':>12} {'cold first':>10} {'ratio':>6} {'warm first':>10} {'ratio':>6} "
          f"{'meas us':>9} {'bg steady':>9} {'ratio':>6} {'warm steady':>11} {'ratio':>6} {'bg wait s':>9}")
    for name, dims in GEOMETRIES:
        est, meas, cold, warm = [], [], [], []
        for _ in range(REPS):
            est.append(run(["fftw", "estimate"] + dims))
            meas.append(run(["fftw", "measure"] + dims))
            with tempfile.TemporaryDirectory() as folder:
                env = {"FENNEL_DSP_WISDOM_DIR": folder, "FENNEL_DSP_PLANNER": "default"}
                cold.append(run(["lib"] + dims, env))
                warm.append(run(["warm"] + dims, env))
        med = lambda rows, i: statistics.median(r[i] for r in rows)
        e1, m2 = med(est, 0), med(meas, 1)
        c1, c2, w1, w2 = med(cold, 0), med(cold, 1), med(warm, 0), med(warm, 1)
        print(f"{name:>10} {e1 * 1e3:12.3f} {c1 * 1e3:10.3f} {c1 / e1:6.2f} {w1 * 1e3:10.3f} {w1 / e1:6.2f} "
              f"{m2 * 1e6:9.1f} {c2 * 1e6:9.1f} {c2 / m2:6.2f} {w2 * 1e6:11.1f} {w2 / m2:6.2f} {med(cold, 2):9.2f}",
              flush=True)


if __name__ == "__main__":
    main()

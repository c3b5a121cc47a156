"""Convolution through the binding beside numpy and scipy, copies included.

Each pair of calls is timed alternately (ours, theirs, ours, ...) so that the
load of a shared machine falls on both; the ratio of the medians is printed
(above 1: the binding is faster).  Usage:
    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python python3 bench/py_correlation.py [--crossover]
"""
import sys
import time

import numpy as np
import scipy.signal as ss

import fennel_dsp as fd


def side_by_side(ours, theirs, repeat=15):
    ours(), theirs()
    a, b = [], []
    for _ in range(repeat):
        t = time.process_time()
        ours()
        a.append(time.process_time() - t)
        t = time.process_time()
        theirs()
        b.append(time.process_time() - t)
    return np.median(a), np.median(b)


def report(name, ours, theirs, yardstick, repeat=15):
    a, b = side_by_side(ours, theirs, repeat)
    print(f"{name:44s} {a * 1e3:9.3f} ms   {yardstick} {b * 1e3:9.3f} ms   ratio {b / a:5.2f}")


def targets():
    rng = np.random.default_rng(0)
    x, y = rng.standard_normal(1 << 16), rng.standard_normal(1 << 16)
    plan = fd.Plan()
    report("1D fft N = M = 2^16 (float64)", lambda: fd.convolve1d(x, y, method="fft", plan=plan),
           lambda: ss.fftconvolve(x, y), "fftconvolve")
    img, ker = rng.standard_normal((512, 512)), rng.standard_normal((64, 64))
    plan2 = fd.Plan()
    report("2D fft 512 x 512 * 64 x 64 (float64)",
           lambda: fd.convolve2d(img, ker, method="fft", plan=plan2),
           lambda: ss.fftconvolve(img, ker), "fftconvolve", repeat=9)
    for m in (16, 128):
        k = rng.standard_normal(m)
        report(f"1D direct N = 2^16, M = {m} (float64)", lambda: fd.convolve1d(x, k, method="direct"),
               lambda: np.convolve(x, k), "np.convolve")


def crossover():
    """Direct against frequency domain for N = 2^16 and growing M."""
    rng = np.random.default_rng(1)
    x = rng.standard_normal(1 << 16)
    plan = fd.Plan()
    for m in (8, 16, 24, 32, 48, 64, 96, 128, 256):
        k = rng.standard_normal(m)
        a, b = side_by_side(lambda: fd.convolve1d(x, k, method="fft", plan=plan),
                            lambda: fd.convolve1d(x, k, method="direct"), repeat=9)
        print(f"1D N = 2^16, M = {m:4d}: fft {a * 1e3:8.3f} ms  direct {b * 1e3:8.3f} ms  direct/fft {b / a:5.2f}")
    img = rng.standard_normal((512, 512))
    plan2 = fd.Plan()
    for m in (3, 5, 7, 9, 11, 15):
        k = rng.standard_normal((m, m))
        a, b = side_by_side(lambda: fd.convolve2d(img, k, method="fft", plan=plan2),
                            lambda: fd.convolve2d(img, k, method="direct"), repeat=5)
        print(f"2D 512 x 512, kernel {m:2d} x {m:2d}: fft {a * 1e3:8.3f} ms  direct {b * 1e3:8.3f} ms"
              f"  direct/fft {b / a:5.2f}")


if __name__ == "__main__":
    targets()
    if "--crossover" in sys.argv:
        crossover()

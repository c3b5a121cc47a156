"""The numpy-style binding beside scipy.fft in one process, copies included:
per-call cost at small sizes and the transform targets.

Each case times ours and scipy's in alternation and prints the median times
and scipy / ours (above 1: the binding is faster).  For the 1D cases it also
prints the binding's own cost: fd.fft's fastest time minus the fastest time
of the compiled call it makes (copy in, the library's call, copy out), i.e.
argument checks and dispatch.
    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python /usr/bin/python3 bench/py_binding.py [filter]
"""
import sys
import time

import numpy as np
import scipy.fft as sf

import fennel_dsp as fd
from fennel_dsp import _fastpath, fourier

FILTER = sys.argv[1] if len(sys.argv) > 1 else ""


def per_call(fn, target=0.02):
    t = time.perf_counter()
    fn()
    once = max(time.perf_counter() - t, 1e-7)
    number = max(1, int(target / once))
    t = time.perf_counter()
    for _ in range(number):
        fn()
    return (time.perf_counter() - t) / number


def side_by_side(*fns, pairs=15, best=False):
    """Median times per call of fns timed in alternation (best: the
    fastest round instead, for differences of a microsecond on a busy
    machine)."""
    for f in fns:
        f()
    times = [[] for _ in fns]
    for _ in range(pairs):
        for i, f in enumerate(fns):
            times[i].append(per_call(f))
    return [float(np.min(t) if best else np.median(t)) for t in times]


def noisy(rng, shape, dtype):
    x = rng.standard_normal(shape).astype(dtype)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.standard_normal(shape).astype(dtype)
    return x


def main():
    rng = np.random.default_rng(0)
    print(f"compiled call path: {'yes' if _fastpath.available else 'no (ctypes)'}")
    print(f"{'case':34s} {'ours/us':>10s} {'scipy/us':>10s} {'scipy/ours':>10s} {'binding/us':>10s}")
    for dtype in (np.complex128, np.float64):
        for n in (64, 1024, 4096, 16384):
            name = f"fft {np.dtype(dtype).name} n={n}"
            if FILTER not in name:
                continue
            x = noisy(rng, n, dtype)
            own = ""
            if _fastpath.available and x.nbytes <= fourier._FAST_BYTES:
                c = fourier._get(fourier._FWD1, x)
                ours, theirs = side_by_side(lambda: fd.fft(x), lambda: sf.fft(x))
                best, call = side_by_side(lambda: fd.fft(x), lambda: c(x, 1.0, 1.0, 0, 0, n, 0),
                                          pairs=31, best=True)
                own = f"{(best - call) * 1e6:10.2f}"
            else:
                ours, theirs = side_by_side(lambda: fd.fft(x), lambda: sf.fft(x))
            print(f"{name:34s} {ours * 1e6:10.2f} {theirs * 1e6:10.2f} {theirs / ours:10.2f} {own}",
                  flush=True)
    cases = [("fft2 complex128 1024x1024", fd.fft2, sf.fft2, (1024, 1024), np.complex128),
             ("fft2 float64 1024x1024", fd.fft2, sf.fft2, (1024, 1024), np.float64),
             ("fftn complex128 128^3", fd.fftn, sf.fftn, (128, 128, 128), np.complex128),
             ("fftn float64 128^3", fd.fftn, sf.fftn, (128, 128, 128), np.float64),
             ("fft axis=-1 complex128 1000x1024", fd.fft, sf.fft, (1000, 1024), np.complex128),
             ("fft axis=-1 float64 1000x1024", fd.fft, sf.fft, (1000, 1024), np.float64),
             ("rfft axis=-1 float64 1000x1024", fd.rfft, sf.rfft, (1000, 1024), np.float64),
             ("fft axis=0 complex128 1024x1000", lambda x: fd.fft(x, axis=0),
              lambda x: sf.fft(x, axis=0), (1024, 1000), np.complex128),
             ("dct float64 n=4096", fd.dct, sf.dct, (4096,), np.float64),
             ("dctn float64 512x512", fd.dctn, sf.dctn, (512, 512), np.float64)]
    for name, ours_f, theirs_f, shape, dtype in cases:
        if FILTER not in name:
            continue
        x = noisy(rng, shape, dtype)
        ours, theirs = side_by_side(lambda: ours_f(x), lambda: theirs_f(x), pairs=5)
        print(f"{name:34s} {ours * 1e6:10.1f} {theirs * 1e6:10.1f} {theirs / ours:10.2f}", flush=True)


if __name__ == "__main__":
    main()

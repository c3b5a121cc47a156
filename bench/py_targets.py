"""Every binding target in one run, for the idle-machine check.

Each case times the binding and its numpy/scipy yardstick in alternation
(ours, theirs, ours, ...), copies included, and prints the yardstick time /
ours (above 1: the binding is faster) as the median of three rounds, each
round the ratio of the two medians.  Wall time by default (the yardsticks run
on one thread; the engine uses both cores from 2^20 points); `--cpu` takes
process CPU time instead, for a machine shared with other work.

It measures the steady state: unless the caller sets FENNEL_DSP_PLANNER, it
is set to `measure` before the library loads, so that every geometry runs
its measured plan from the first timed call (under the default policy the
first seconds of a geometry run estimated plans while a background thread
measures).  First calls are `first_call.py`'s job.
    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python python3 bench/py_targets.py [--cpu] [filter]
"""
import os
import sys
import time

import numpy as np
import scipy.fft as sf
import scipy.signal as ss

os.environ.setdefault("FENNEL_DSP_PLANNER", "measure")
import fennel_dsp as fd  # noqa: E402  (after the planner setting)

CLOCK = time.process_time if "--cpu" in sys.argv else time.perf_counter
ARGS = [a for a in sys.argv[1:] if not a.startswith("--")]
FILTER = ARGS[0] if ARGS else ""


def timed(fn, number):
    t = CLOCK()
    for _ in range(number):
        fn()
    return (CLOCK() - t) / number


def ratio(ours, theirs, pairs=7, rounds=3):
    ours(), theirs()
    t = CLOCK()
    ours()
    number = max(1, int(0.01 / max(CLOCK() - t, 1e-7)))
    results = []
    for _ in range(rounds):
        a, b = [], []
        for _ in range(pairs):
            a.append(timed(ours, number))
            b.append(timed(theirs, number))
        results.append((np.median(a), np.median(b)))
    r = np.array(results)
    return float(np.median(r[:, 0])), float(np.median(r[:, 1])), float(np.median(r[:, 1] / r[:, 0]))


def row(name, target, ours, theirs, **kw):
    if FILTER not in name:
        return
    a, b, q = ratio(ours, theirs, **kw)
    print(f"{name:44s} {a * 1e3:10.3f} {b * 1e3:10.3f} {q:8.2f}  (target {target})", flush=True)


def noisy(rng, shape, dtype):
    x = rng.standard_normal(shape).astype(dtype)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.standard_normal(shape).astype(dtype)
    return x


def main():
    rng = np.random.default_rng(0)
    types = (np.complex128, np.float64, np.complex64, np.float32)
    print(f"{'case':44s} {'ours/ms':>10s} {'yard/ms':>10s} {'yard/ours':>8s}")
    for shape in ((1024, 1024), (128, 128, 128)):
        for dtype in types:
            x = noisy(rng, shape, dtype)
            ours, theirs = (fd.fft2d, sf.fft2) if len(shape) == 2 else (fd.fft3, sf.fftn)
            plan = fd.Plan()
            row(f"fft {np.dtype(dtype).name} {'x'.join(map(str, shape))}", ">= 2",
                lambda: ours(x, plan=plan), lambda: theirs(x), pairs=5)
    for dtype in (np.complex128, np.float64):
        for shape in ((1024, 1024), (128, 128, 128)):
            x = noisy(rng, shape, dtype)
            row(f"fftn {np.dtype(dtype).name} {'x'.join(map(str, shape))}", ">= 2",
                lambda: fd.fftn(x), lambda: sf.fftn(x), pairs=5)
        x = noisy(rng, (1000, 1024), dtype)
        row(f"fft(axis=-1) {np.dtype(dtype).name} 1000x1024", ">= 2", lambda: fd.fft(x),
            lambda: sf.fft(x))
    x = rng.standard_normal((1000, 1024))
    row("rfft(axis=-1) float64 1000x1024", ">= 2", lambda: fd.rfft(x), lambda: sf.rfft(x))
    for n in (4096, 16384, 65536):
        x = rng.standard_normal(n)
        row(f"dct {n}", ">= 2", lambda: fd.dct1d(x), lambda: sf.dct(x, type=2, norm="ortho"))
        row(f"dst {n}", ">= 2", lambda: fd.dst1d(x), lambda: sf.dst(x, type=1))
    for shape in ((1000, 1024), (4096, 64)):
        x = rng.standard_normal(shape)
        name = "x".join(map(str, shape))
        row(f"dct(axis=-1) {name}", "(rows)", lambda: fd.dct(x), lambda: sf.dct(x), pairs=3)
        row(f"dst(type=1, axis=-1) {name}", "(rows)", lambda: fd.dst(x, 1), lambda: sf.dst(x, 1),
            pairs=3)
        b, a = ss.butter(4, 0.2)
        row(f"lfilter(axis=-1) order 4 {name}", "(rows)", lambda: fd.lfilter(b, a, x),
            lambda: ss.lfilter(b, a, x), pairs=3)
    x = rng.standard_normal((512, 512))
    row("dctn 512x512", ">= 2", lambda: fd.dct2(x), lambda: sf.dctn(x, type=2, norm="ortho"))
    for dtype in types:
        for n in (4096, 16384, 65536, 1 << 20):
            x = noisy(rng, n, dtype)
            row(f"power spectrum {np.dtype(dtype).name} {n}", ">= 3", lambda: fd.power_spectrum(x),
                lambda: np.abs(np.fft.fft(x)) ** 2 / n**2)
    x, y = rng.standard_normal(1 << 16), rng.standard_normal(1 << 16)
    plan = fd.Plan()
    row("convolve fft 2^16 * 2^16", ">= 2", lambda: fd.convolve1d(x, y, method="fft", plan=plan),
        lambda: ss.fftconvolve(x, y))
    img, ker = rng.standard_normal((512, 512)), rng.standard_normal((64, 64))
    plan2 = fd.Plan()
    row("convolve2d fft 512x512 * 64x64", ">= 2",
        lambda: fd.convolve2d(img, ker, method="fft", plan=plan2), lambda: ss.fftconvolve(img, ker))
    for m in (16, 128):
        k = rng.standard_normal(m)
        row(f"convolve direct 2^16 * {m}", ">= 1", lambda: fd.convolve1d(x, k, method="direct"),
            lambda: np.convolve(x, k))
    for dtype in (np.float32, np.float64):
        x = rng.uniform(-1, 1, 1 << 20).astype(dtype)
        for up, down in ((3, 2), (2, 3), (160, 147)):
            h = ss.firwin(64 * up, 1.0 / max(up, down), window=("kaiser", 8.0)) * up
            hr = h.astype(dtype)
            name = f"resample {np.dtype(dtype).name} {up}/{down}"
            row(f"{name} vs upfirdn", ">= 1", lambda: fd.fir_resample(x, h, up, down / up, anti_alias=False),
                lambda: ss.upfirdn(hr, x, up, down), pairs=3)
            row(f"{name} vs resample_poly", ">= 1",
                lambda: fd.fir_resample(x, h, up, down / up, anti_alias=False),
                lambda: ss.resample_poly(x, up, down, window=hr), pairs=3)
    n = 1 << 20
    for dtype in (np.float64, np.float32, np.complex128):
        x = noisy(rng, n, dtype)
        row(f"window hann {np.dtype(dtype).name} 2^20", ">= 5", lambda: fd.cosine_window(x, fd.WINDOW_HANN),
            lambda: x * ss.get_window("hann", n))
    for dtype in (np.float64, np.float32):
        x = rng.standard_normal(n).astype(dtype)
        for order in (2, 4, 8, 16):
            b, a = (c.astype(dtype) for c in ss.butter(order, 0.2))
            row(f"iir order {order} {np.dtype(dtype).name}", ">= 1" if dtype == np.float64 else "> 1",
                lambda: fd.iir_filter(b, a, x), lambda: ss.lfilter(b, a, x), pairs=3)


if __name__ == "__main__":
    main()

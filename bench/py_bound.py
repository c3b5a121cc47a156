"""The reachable speed-up for the large targets: raw FFTW (Debian's shared
libfftw3, aligned out-of-place plans with the library's effort and thread
count) beside scipy.fft and the binding, in alternation, wall time, medians.
For real input's full spectrum ("r2c+fill") the bound is the r2c plan plus
one pass writing a new full-length array from the half spectrum.  For the
batched rows (DCT-II, DST-I, lfilter) it is the one library call the binding
builds them around.

The binding's FFTW is its own static copy, so loading Debian's here touches
no state of the library.  Prints scipy time / raw time (the bound) and
scipy time / binding time for each case.
    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python /usr/bin/python3 bench/py_bound.py [filter]
"""
import ctypes
import ctypes.util
import os
import sys
import time

import numpy as np
import scipy.fft as sf

import fennel_dsp as fd

FILTER = sys.argv[1] if len(sys.argv) > 1 else ""
MEASURE, ESTIMATE = 0, 1 << 6
EFFORT = ESTIMATE if os.environ.get("FENNEL_DSP_PLANNER") == "estimate" else MEASURE
THREADS = int(os.environ.get("FENNEL_DSP_THREADS", os.cpu_count() or 1))

_fftw = ctypes.CDLL("libfftw3.so.3", mode=ctypes.RTLD_LOCAL)
_threads = ctypes.CDLL("libfftw3_threads.so.3", mode=ctypes.RTLD_LOCAL)
_threads.fftw_init_threads()
_fftw.fftw_malloc.restype = ctypes.c_void_p
_fftw.fftw_malloc.argtypes = [ctypes.c_size_t]
_P = ctypes.c_void_p
_I = ctypes.POINTER(ctypes.c_int)
for name, extra in (("fftw_plan_many_dft", [ctypes.c_int, ctypes.c_uint]),
                    ("fftw_plan_many_dft_r2c", [ctypes.c_uint])):
    f = getattr(_fftw, name)
    f.restype = _P
    f.argtypes = [ctypes.c_int, _I, ctypes.c_int, _P, _I, ctypes.c_int, ctypes.c_int,
                  _P, _I, ctypes.c_int, ctypes.c_int] + extra
_fftw.fftw_execute.argtypes = [_P]


def aligned(shape, dtype):
    dtype = np.dtype(dtype)
    count = int(np.prod(shape))
    address = _fftw.fftw_malloc(count * dtype.itemsize)
    buf = (ctypes.c_char * (count * dtype.itemsize)).from_address(address)
    return np.frombuffer(buf, dtype).reshape(shape)


def raw_plan(x, dims, howmany, real):
    """An execute-only closure of an FFTW plan of x's rows (dims) into a new
    aligned output.  real="full": the r2c plan, then one pass that writes
    a new full-length spectrum from the half one (plain copies, no
    conjugation: the least memory traffic a full spectrum costs)."""
    n = (ctypes.c_int * len(dims))(*dims)
    src = aligned(x.shape, x.dtype)
    half = list(dims[:-1]) + [dims[-1] // 2 + 1] if real else list(dims)
    out = aligned((howmany, *half), np.complex128)
    total = int(np.prod(dims)) * howmany
    _threads.fftw_plan_with_nthreads(THREADS if total >= 1 << 18 else 1)
    idist, odist = int(np.prod(dims)), int(np.prod(half))
    if real:
        p = _fftw.fftw_plan_many_dft_r2c(len(dims), n, howmany, src.ctypes.data, None, 1, idist,
                                         out.ctypes.data, None, 1, odist, EFFORT)
    else:
        p = _fftw.fftw_plan_many_dft(len(dims), n, howmany, src.ctypes.data, None, 1, idist,
                                     out.ctypes.data, None, 1, odist, -1, EFFORT)
    src[...] = x
    if real != "full":
        return lambda: _fftw.fftw_execute(p)
    h, n = half[-1], dims[-1]
    full_shape = x.shape[:-1] + (n,)
    half_view = out.reshape(x.shape[:-1] + (h,))

    def full():
        _fftw.fftw_execute(p)
        y = np.empty(full_shape, np.complex128)
        y[..., :h] = half_view
        y[..., h:] = half_view[..., 1:n - h + 1]
        return y
    return full


def timed(fn, number):
    t = time.perf_counter()
    for _ in range(number):
        fn()
    return (time.perf_counter() - t) / number


def medians(fns, pairs=7, rounds=3):
    for f in fns:
        f()
    t = time.perf_counter()
    fns[0]()
    number = max(1, int(0.02 / max(time.perf_counter() - t, 1e-7)))
    rows = []
    for _ in range(rounds):
        samples = [[] for _ in fns]
        for _ in range(pairs):
            for s, f in zip(samples, fns):
                s.append(timed(f, number))
        rows.append([np.median(s) for s in samples])
    return np.median(np.array(rows), axis=0)


def case(name, x, dims, howmany, real, ours, theirs):
    if FILTER not in name:
        return
    raw = raw_plan(x, dims, howmany, real)
    t_raw, t_scipy, t_ours = medians([raw, theirs, ours])
    print(f"{name:34s} {t_raw * 1e3:8.2f} {t_scipy * 1e3:8.2f} {t_ours * 1e3:8.2f} "
          f"{t_scipy / t_raw:7.2f} {t_scipy / t_ours:7.2f}", flush=True)


def main():
    rng = np.random.default_rng(0)
    print(f"{'case':34s} {'raw/ms':>8s} {'scipy/ms':>8s} {'ours/ms':>8s} {'bound':>7s} "
          f"{'ours':>7s}   (ratios: scipy time / time)")
    z = rng.standard_normal((1024, 1024)) + 1j * rng.standard_normal((1024, 1024))
    case("fft2 complex128 1024x1024", z, (1024, 1024), 1, False, lambda: fd.fft2(z),
         lambda: sf.fft2(z))
    c = rng.standard_normal((128,) * 3) + 1j * rng.standard_normal((128,) * 3)
    case("fftn complex128 128^3", c, (128,) * 3, 1, False, lambda: fd.fftn(c),
         lambda: sf.fftn(c))
    b = rng.standard_normal((1000, 1024)) + 1j * rng.standard_normal((1000, 1024))
    case("fft complex128 1000x1024 rows", b, (1024,), 1000, False, lambda: fd.fft(b),
         lambda: sf.fft(b))
    r = rng.standard_normal((1000, 1024))
    case("rfft float64 1000x1024 rows", r, (1024,), 1000, True, lambda: fd.rfft(r),
         lambda: sf.rfft(r))
    case("fft float64 1000x1024 rows (r2c)", r, (1024,), 1000, True, lambda: fd.fft(r),
         lambda: sf.fft(r))
    case("fft float64 1000x1024 rows (r2c+fill)", r, (1024,), 1000, "full", lambda: fd.fft(r),
         lambda: sf.fft(r))
    q = rng.standard_normal((1024, 1024))
    case("fftn float64 1024x1024 (r2c+fill)", q, (1024, 1024), 1, "full", lambda: fd.fftn(q),
         lambda: sf.fftn(q))

    rows_cases()


def rows_cases():
    """Transforms of many rows that the binding builds around one library
    call: the bound is that call alone (the batched real FFT a DCT-II or
    DST-I feeds, the joined signal lfilter filters) against scipy."""
    import scipy.signal as ss
    from fennel_dsp import fourier, signal
    rng = np.random.default_rng(1)
    b, a = ss.butter(4, 0.2)
    for shape in ((1000, 1024), (4096, 64)):
        x = rng.standard_normal(shape)
        tag = "x".join(map(str, shape))
        inner = {"dct": np.empty(shape), "dst1": np.empty((shape[0], shape[1] + 1))}
        for name, ours, theirs, bound in [
                ("dct", lambda: fd.dct(x), lambda: sf.dct(x),
                 lambda: fourier._rfft_rows(inner["dct"], None)),
                ("dst1", lambda: fd.dst(x, 1), lambda: sf.dst(x, 1),
                 lambda: fourier._rfft_rows(inner["dst1"], None)),
                ("lfilter", lambda: fd.lfilter(b, a, x), lambda: ss.lfilter(b, a, x),
                 lambda: signal._filter(b, a, x.reshape(1, -1)))]:
            label = f"{name} rows {tag}"
            if FILTER not in label:
                continue
            t_bound, t_scipy, t_ours = medians([bound, theirs, ours])
            print(f"{label:34s} {t_bound * 1e3:8.2f} {t_scipy * 1e3:8.2f} {t_ours * 1e3:8.2f} "
                  f"{t_scipy / t_bound:7.2f} {t_scipy / t_ours:7.2f}", flush=True)


if __name__ == "__main__":
    main()

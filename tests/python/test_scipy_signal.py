"""The scipy.signal namesakes against scipy.signal on random shapes, types
and modes."""
import zlib

import numpy as np
import pytest
import scipy.signal as ss

import fennel_dsp as fd

TYPES = [np.float32, np.float64, np.complex64, np.complex128, np.int64]


def data(rng, shape, dtype):
    x = rng.standard_normal(shape) * (5 if np.dtype(dtype).kind == "i" else 1)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.standard_normal(shape)
    return x.astype(dtype)


def assert_like(got, want, single=False):
    assert got.shape == want.shape and got.dtype == want.dtype, (got.shape, want.shape,
                                                                 got.dtype, want.dtype)
    scale = max(1.0, float(np.abs(want).max())) if want.size else 1.0
    np.testing.assert_allclose(got, want, rtol=0, atol=scale * (1e-4 if single else 1e-9))


def single(*arrays):
    return any(np.dtype(a.dtype) in (np.float32, np.complex64) for a in arrays)


@pytest.mark.parametrize("name", ["convolve", "correlate", "fftconvolve", "oaconvolve",
                                  "convolve2d", "correlate2d"])
@pytest.mark.parametrize("mode", ["full", "same", "valid"])
def test_convolution_family(name, mode):
    rng = np.random.default_rng(zlib.crc32(repr((name, mode)).encode()))
    for _ in range(12):
        nd = 2 if name.endswith("2d") else int(rng.integers(1, 4))
        s1 = tuple(int(v) for v in rng.integers(1, 9, nd))
        s2 = tuple(int(v) for v in rng.integers(1, 9, nd))
        if mode == "valid":  # one operand at least as large in every dimension
            s2 = tuple(min(a, b) for a, b in zip(s1, s2))
            s1, s2 = (s2, s1) if rng.integers(0, 2) else (s1, s2)
        t1, t2 = (TYPES[int(i)] for i in rng.integers(0, len(TYPES), 2))
        a, b = data(rng, s1, t1), data(rng, s2, t2)
        kw = {}
        if name in ("convolve", "correlate"):
            kw["method"] = ["direct", "fft", "auto"][int(rng.integers(0, 3))]
        want = getattr(ss, name)(a, b, mode, **kw)
        assert_like(getattr(fd, name)(a, b, mode, **kw), want, single(a, b))


def test_fftconvolve_over_axes_broadcasts():
    rng = np.random.default_rng(2)
    a, b = data(rng, (4, 30, 3), np.float64), data(rng, (1, 7, 3), np.complex128)
    for mode in ("full", "same", "valid"):
        assert_like(fd.fftconvolve(a, b, mode, axes=1), ss.fftconvolve(a, b, mode, axes=1))


WINDOWS = ["hann", "hamming", "blackman", "blackmanharris", "nuttall", "boxcar", "bartlett",
           ("kaiser", 6.0), ("gaussian", 3.0), 7.5,
           # computed in the binding from their definitions
           "tukey", ("tukey", 1.5), ("general_cosine", [0.5, 0.3, 0.2]), "cosine", "triang",
           "parzen", "bohman", "barthann", "lanczos", ("exponential", None, 2.0),
           ("general_gaussian", 1.5, 7.0), ("taylor", 5, 40, False), ("chebwin", 60)]


@pytest.mark.parametrize("window", WINDOWS)
def test_windows_and_firwin(window):
    for n in (1, 2, 3, 8, 9, 64):
        for fftbins in (True, False):
            assert_like(fd.get_window(window, n, fftbins), ss.get_window(window, n, fftbins))
    for taps, cutoff, pass_zero in [(31, 0.3, True), (31, 0.3, False), (30, [0.2, 0.5], False),
                                    (31, [0.2, 0.5], "bandstop"), (64, 0.25, "lowpass")]:
        for scale in (True, False):
            kw = dict(window=window, pass_zero=pass_zero, scale=scale)
            assert_like(fd.firwin(taps, cutoff, **kw), ss.firwin(taps, cutoff, **kw))
        assert_like(fd.firwin(taps, cutoff, 0.1, pass_zero=pass_zero, fs=3.0),
                    ss.firwin(taps, cutoff, 0.1, pass_zero=pass_zero, fs=3.0))


@pytest.mark.parametrize("up, down", [(1, 1), (2, 1), (1, 3), (3, 2), (4, 6), (160, 147)])
def test_upfirdn_resample_poly_decimate(up, down):
    rng = np.random.default_rng(up * 1000 + down)
    for dtype in (np.float32, np.float64, np.complex128):
        x, h = data(rng, (2, 300), dtype), rng.standard_normal(11)
        assert_like(fd.upfirdn(h, x, up, down), ss.upfirdn(h, x, up, down), single(x))
        assert_like(fd.resample_poly(x, up, down, axis=1), ss.resample_poly(x, up, down, axis=1),
                    single(x))
        assert_like(fd.resample_poly(x.T, up, down, window=("kaiser", 8.0)),
                    ss.resample_poly(x.T, up, down, window=("kaiser", 8.0)), single(x))
    x = data(rng, (2, 600), np.float64)
    for ftype in ("iir", "fir") if 1 < down < 100 else ():
        for zero_phase in (True, False):
            assert_like(fd.decimate(x, down, ftype=ftype, zero_phase=zero_phase),
                        ss.decimate(x, down, ftype=ftype, zero_phase=zero_phase))

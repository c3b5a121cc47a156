"""The paths that compute on the caller's arrays (the strided FFT, forced
here for small arrays, beside the host-array path), batched IIR filtering,
and the scipy.signal cases built from library pieces, against numpy/scipy.
(The batched DCT/DST are covered by test_scipy_fft's N-d cases.)"""
import ctypes

import numpy as np
import pytest
import scipy.fft as sf
import scipy.signal as ss

import fennel_dsp as fd
from fennel_dsp import fourier
from fennel_dsp._strided import lib

F32, F64, C64, C128 = np.float32, np.float64, np.complex64, np.complex128


def data(rng, shape, dtype):
    x = rng.standard_normal(shape)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.standard_normal(shape)
    return x.astype(dtype)


def assert_like(got, want, single=False):
    assert got.shape == want.shape and got.dtype == want.dtype, (got.dtype, want.dtype)
    scale = max(1.0, float(np.abs(want).max())) if want.size else 1.0
    np.testing.assert_allclose(got, want, rtol=0, atol=scale * (1e-4 if single else 1e-10))


# (function, shape, dtype, view of the input, arguments)
FFTS = [
    ("fft", (6, 10), F64, None, dict(axis=0, n=9)),  # real: half spectrum, completed
    ("fft", (5, 8), F32, None, dict(n=8)),  # completed in pairs of bins
    ("fft", (4, 5, 6), C128, "T", dict(axis=1)),  # batch axes that merge in x only
    ("rfft", (7, 8), F32, None, dict(n=6, norm="ortho")),
    ("irfft", (5, 6), C64, None, dict(axis=0, n=9)),
    ("ifft", (3, 8), C128, "reversed", dict(norm="forward")),  # negative strides
    ("fftn", (4, 6, 5), F64, None, dict(s=(5, 7))),  # real over two axes
    ("fftn", (3, 4, 5), F32, None, dict()),
    ("rfftn", (3, 4, 5, 2), F64, None, dict(axes=(0, 2))),
    ("irfftn", (3, 4, 5), C128, None, dict(axes=(2, 0), s=(6, 4))),
    ("ifftn", (2, 3, 2, 3), C128, None, dict()),  # four axes
    ("fft", (0, 4), F64, None, dict(axis=0, n=3)),
]


@pytest.mark.parametrize("direct", [True, False])
@pytest.mark.parametrize("name, shape, dtype, view, kw", FFTS)
def test_strided_fft(monkeypatch, direct, name, shape, dtype, view, kw):
    monkeypatch.setattr(fourier, "_DIRECT_BYTES", 0 if direct else 1 << 40)
    x = data(np.random.default_rng(len(shape)), shape, dtype)
    if view == "T":  # axes 0 and 2 adjacent in memory
        x = np.ascontiguousarray(x.transpose(1, 0, 2)).transpose(1, 0, 2)
    elif view == "reversed":
        x = x[::-1]
    kept = x.copy()
    assert_like(getattr(fd, name)(x, **kw), getattr(sf, name)(x, **kw), dtype in (F32, C64))
    assert np.array_equal(x, kept)


# (b, a, shape, axis): joined rows, complex denominators, unstable filters,
# a[0] != 1, rows too short or too long to be joined, one row
FILTERS = [(ss.butter(3, 0.3)[0], ss.butter(3, 0.3)[1], (6, 40), 1),
           ([1.0, 0.2], [1.0, -0.5 + 0.3j], (5, 30), 0),
           ([1j, 0.2], [1.0, -0.2j, 0.1], (3, 2, 9), -1),
           ([1.0], [1.0, -1.5], (4, 20), 1),
           ([0.5, 0.25], [2.0, -0.5], (3, 30), 0),
           (ss.butter(4, 0.3)[0], ss.butter(4, 0.3)[1], (5, 3), 1),
           ([0.5, 0.5], [1.0, -0.9], (2, 2**14 + 3), 1),
           (ss.butter(5, 0.3)[0], ss.butter(5, 0.3)[1], (40,), 0)]


@pytest.mark.parametrize("dtype", [F32, F64, C128])
@pytest.mark.parametrize("b, a, shape, axis", FILTERS)
def test_lfilter_batches(b, a, shape, axis, dtype):
    rng = np.random.default_rng(shape[0])
    x = data(rng, shape, dtype)
    assert_like(fd.lfilter(b, a, x, axis), ss.lfilter(b, a, x, axis), dtype == F32)
    zs = list(shape)
    zs[axis] = max(len(a), len(b)) - 1
    zi = rng.standard_normal(zs)
    for got, want in zip(fd.lfilter(b, a, x, axis, zi), ss.lfilter(b, a, x, axis, zi)):
        assert_like(got, want, dtype == F32)


@pytest.mark.parametrize("boundary, fillvalue", [("fill", 1.5), ("wrap", 0), ("symm", 0)])
def test_convolve2d_boundaries(boundary, fillvalue):
    rng = np.random.default_rng(4)
    for s1, s2 in (((6, 7), (3, 2)), ((3, 4), (5, 6))):
        a, b = data(rng, s1, F64), data(rng, s2, F64)
        for name in ("convolve2d", "correlate2d"):
            for mode in ("full", "same", "valid"):
                assert_like(getattr(fd, name)(a, b, mode, boundary, fillvalue),
                            getattr(ss, name)(a, b, mode, boundary, fillvalue))


@pytest.mark.parametrize("window", ["flattop", ("general_hamming", 0.6)])
def test_cosine_sum_windows(window):
    for n in (2, 7, 16):
        for fftbins in (True, False):
            assert_like(fd.get_window(window, n, fftbins), ss.get_window(window, n, fftbins))
    for cutoff in (0.3, [0.1, 0.3, 0.6]):  # one band, and two with one at Nyquist
        kw = dict(window=window, pass_zero=False)
        assert_like(fd.firwin(31, cutoff, **kw), ss.firwin(31, cutoff, **kw))


def test_strided_export_refusals():
    f = lib.zStridedFFT  # argument types as the binding declares them
    x, y = np.zeros(8, C128), np.zeros(8, C128)
    n, one = (ctypes.c_int32 * 1)(8), (ctypes.c_int64 * 1)(1)
    plan = fd.Plan()
    ok = [x.ctypes.data, y.ctypes.data, 1, n, one, one, 1, 0, 0, 0, plan.ref()]
    # (argument, value, status): null or shared buffers, rank, count,
    # distance, direction, stride, length; each failure empties the slot
    for index, value, status in [(0, None, -20008), (1, x.ctypes.data, -20008), (2, 4, -20061),
                                 (6, 0, -20003), (7, -1, -20061), (9, 2, -20061),
                                 (4, (ctypes.c_int64 * 1)(0), -20061),
                                 (3, (ctypes.c_int32 * 1)(0), -20003)]:
        assert f(*ok) == 0 and plan.held
        args = list(ok)
        args[index] = value
        assert f(*args) == status and not plan.held, (index, status)

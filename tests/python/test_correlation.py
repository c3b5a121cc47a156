"""Convolution, correlation and autocorrelation against numpy and scipy."""
import numpy as np
import pytest
import scipy.signal as ss

import fennel_dsp as fd
from conftest import random_signal, tolerance

PAIRS = [(np.float32, np.float32), (np.float64, np.float64), (np.complex64, np.complex64),
         (np.complex128, np.complex128), (np.float32, np.complex64), (np.float64, np.complex128),
         (np.complex64, np.float32), (np.complex128, np.float64)]
METHODS = ["direct", "fft"]
SIZES = [(1, 1), (2, 1), (1, 2), (7, 13), (13, 7), (24, 24), (25, 3), (97, 25), (210, 45),
         (300, 101), (49, 300)]


def close(got, want, x, y, n):
    """Errors bounded by the operands' scale and the transform length."""
    dtype = np.result_type(got.dtype, np.float32)
    bound = tolerance(n, dtype) * 8 * max(1.0, np.abs(x).sum() * np.abs(y).max())
    assert got.shape == want.shape
    np.testing.assert_allclose(got, want, rtol=0, atol=bound)


@pytest.mark.parametrize("tx,ty", PAIRS)
@pytest.mark.parametrize("method", METHODS)
def test_convolve_all_modes_and_correlate_all_normalisations(tx, ty, method):
    for i, (n, m) in enumerate(SIZES):
        x, y = random_signal(n, tx, seed=i), random_signal(m, ty, seed=100 + i)
        full = np.convolve(x.astype(np.complex128), y.astype(np.complex128))
        got = fd.convolve1d(x, y, "full", method)
        assert got.dtype == np.result_type(tx, ty)
        close(got, full, x, y, n + m)
        same = fd.convolve1d(x, y, "same", method)
        close(same, full[m // 2:m // 2 + n], x, y, n + m)
        if m % 2:
            close(same, ss.convolve(x, y, "same"), x, y, n + m)
        if m <= n:
            close(fd.convolve1d(x, y, "valid", method), np.convolve(x, y, "valid"), x, y, n + m)
        want = ss.correlate(y, x, "full")
        close(fd.cross_correlate(x, y, method=method), want, x, y, n + m)
        lags = np.arange(n + m - 1) - (n - 1)
        counts = np.array([min(n, m - k) - max(0, -k) for k in lags])
        close(fd.cross_correlate(x, y, "unbiased", method), want / counts, x, y, n + m)
        close(fd.cross_correlate(x, y, "biased", method), want / max(n, m), x, y, n + m)


@pytest.mark.parametrize("dtype", [np.float32, np.float64, np.complex64, np.complex128])
@pytest.mark.parametrize("method", METHODS)
def test_autocorrelate(dtype, method):
    for n in (1, 2, 11, 60, 97, 300):
        x = random_signal(n, dtype, seed=n)
        want = np.correlate(x, x, "full")
        got = fd.autocorrelate(x, method=method)
        close(got, want, x, x, 2 * n)
        counts = n - np.abs(np.arange(2 * n - 1) - (n - 1))
        close(fd.autocorrelate(x, "unbiased", method), want / counts, x, x, 2 * n)
        close(fd.autocorrelate(x, "biased", method), want / n, x, x, 2 * n)


SHAPES = [((1, 9), (1, 4)), ((5, 6), (3, 3)), ((17, 12), (4, 7)), ((3, 3), (5, 2)),
          ((30, 8), (2, 26)), ((1, 1), (1, 1)), ((40, 33), (9, 9))]


@pytest.mark.parametrize("dtype", [np.float32, np.float64, np.complex64, np.complex128])
@pytest.mark.parametrize("method", METHODS)
def test_two_dimensional(dtype, method):
    rng = np.random.default_rng(7)
    for sx, sy in SHAPES:
        x = random_signal(int(np.prod(sx)), dtype, seed=rng.integers(1000)).reshape(sx)
        y = random_signal(int(np.prod(sy)), dtype, seed=rng.integers(1000)).reshape(sy)
        n = (sx[0] + sy[0]) * (sx[1] + sy[1])
        full = ss.convolve2d(x, y, "full")
        close(fd.convolve2d(x, y, "full", method=method), full, x, y, n)
        close(fd.convolve2d(x, y, "same", method=method), ss.convolve2d(x, y, "same"), x, y, n)
        close(fd.correlate2d(x, y, "same", method=method), ss.correlate2d(x, y, "same"), x, y, n)
        if (np.subtract(sy, sx) <= 0).all() or (np.subtract(sy, sx) >= 0).all():
            close(fd.convolve2d(x, y, "valid", method=method), ss.convolve2d(x, y, "valid"), x, y, n)
        else:
            with pytest.raises(ValueError, match="convolve2d"):
                fd.convolve2d(x, y, "valid", method=method)
        close(fd.cross_correlate2d(x, y, method), ss.correlate2d(y, x, "full"), x, y, n)
        close(fd.autocorrelate2d(x, method), ss.correlate2d(x, x, "full"), x, x, 4 * x.size)
    # A 1 x N matrix is the 1D convolution.
    x, y = random_signal(50, dtype, seed=1), random_signal(9, dtype, seed=2)
    close(fd.convolve2d(x[None, :], y[None, :], "same", method=method)[0],
          fd.convolve(x, y, "same", method), x, y, 60)

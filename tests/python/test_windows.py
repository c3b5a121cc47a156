"""Windows, windowed FIR design and the IIR filter through the binding, against
their defining formulas and scipy.signal at every element type (the
scipy.signal namesakes are tested in test_scipy_signal.py)."""
import numpy as np
import pytest
import scipy.signal as ss
import scipy.signal.windows as sw

import fennel_dsp as fd
from conftest import DTYPES, random_signal

COEFS = {
    0: [1.0], 1: [0.5, 0.5], 2: [0.54, 0.46], 3: [0.42323, 0.49755, 0.07922],
    4: [0.4265907136715391, 0.4965606190885641, 0.07684866723989682], 5: [0.42, 0.5, 0.08],
    6: [0.215578948, 0.41663158, 0.277263158, 0.083578947, 0.006947368],
    7: [0.35875, 0.48829, 0.14128, 0.01168],
    8: [0.27105140069342415, 0.43329793923448606, 0.21812299954311062, 0.0659254463880309,
        0.010811742098372268, 0.0007765848252250934, 1.3887217350903198e-05],
    9: [0.323215218, 0.471492057, 0.17553428, 0.028497078, 0.001261367],
    11: [0.3635819, 0.4891775, 0.1365995, 0.0106411],
}


def single(dtype):
    return np.dtype(dtype) in (np.float32, np.complex64)


def close(got, x, w, atol=0.0):
    """got is x times w to the rounding of x's precision."""
    assert got.dtype == x.dtype
    atol = max(atol, 1e-4 if single(x.dtype) else 1e-11)
    np.testing.assert_allclose(got, x.astype(np.complex128) * w, rtol=0, atol=atol)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", [2, 3, 4, 5, 16, 17, 100, 1001])
def test_windows_match_their_definitions(dtype, n):
    x = random_signal(n, dtype, seed=n)
    sym = n > 2  # two symmetric samples are both the window's edge
    close(fd.triangle_window(x), x, sw.bartlett(n + 1)[:n])
    close(fd.symmetric_window(x, 30), x, sw.bartlett(n) if sym else 1)
    for wtype, a in COEFS.items():
        for normalise in (False, True):
            w = sw.general_cosine(n, a, sym=False) / (a[0] if normalise else 1)
            close(fd.cosine_window(x, wtype, normalise), x, w)
        close(fd.symmetric_window(x, wtype), x, sw.general_cosine(n, a) if sym else 1)
    for sigma in (0.1, 0.37):
        close(fd.gaussian_window(x, sigma), x, sw.gaussian(n, sigma * (n + 1), sym=False))
        close(fd.symmetric_window(x, 62, sigma), x, sw.gaussian(n, sigma * n) if sym else 1)
    close(fd.symmetric_window(x, 62, -2.0), x, sw.gaussian(n, 0.2 * n) if sym else 1)
    for beta in (0.5, 8.6):  # the series is cut at terms of 1e-8
        close(fd.kaiser_window(x, beta), x, sw.kaiser(n, beta, sym=False), 1e-8)
        close(fd.symmetric_window(x, 60, beta), x, sw.kaiser(n, beta) if sym else 1, 1e-8)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
@pytest.mark.parametrize("m", [1, 3, 8, 31, 101])
def test_fir_bands_and_unit_gain(dtype, m):
    # The ideal bands from lowpasses (checked against scipy's firwin):
    # highpass = delta - lowpass, bandpass and bandstop their differences.
    def taps(ftype, f1, f2=0.0):
        return fd.fir_windowed_coefficients(m, 48000, f1, f2, ftype, 62, 0.3, False, dtype)
    delta, lp = np.arange(m) == (m - 1) / 2, [taps(0, f) for f in (3000, 9000)]
    tol = 1e-6 if single(dtype) else 1e-14
    np.testing.assert_allclose(taps(2, 3000, 9000), lp[1] - lp[0], rtol=0, atol=tol)
    if m % 2:  # highpass and bandstop have odd lengths
        np.testing.assert_allclose(taps(1, 9000), delta - lp[1], rtol=0, atol=tol)
        np.testing.assert_allclose(taps(3, 3000, 9000), delta + lp[0] - lp[1], rtol=0, atol=tol)
    # Unit gain: lowpass and bandstop at 0 Hz, highpass at fs/2, bandpass at the band's centre.
    for ftype, f in [(0, 0), (1, 24000), (2, 6000), (3, 0)]:
        if ftype in (1, 3) and m % 2 == 0:
            continue
        for wtype, param in [(0, 0), (8, 0), (60, 4.5), (62, 0.25)]:
            h, raw = (fd.fir_windowed_coefficients(m, 48000, 3000, 9000, ftype, wtype, param, unit,
                                                   dtype) for unit in (True, False))
            gain = abs(np.sum(raw * np.exp(-2j * np.pi * f / 48000 * np.arange(m))))
            assert h.dtype == dtype
            np.testing.assert_allclose(h, raw / gain, rtol=1e-5 if single(dtype) else 1e-12)


def stable_filter(order, rng):
    """Random b and a of the given order with poles inside radius 0.9."""
    poles = []
    while len(poles) < order:
        r, t = 0.9 * np.sqrt(rng.uniform()), rng.uniform(0, np.pi)
        poles += [r * np.exp(1j * t), r * np.exp(-1j * t)] if order - len(poles) >= 2 else [r]
    a = np.atleast_1d(np.real(np.poly(poles))) * rng.uniform(0.5, 2.0)
    return rng.uniform(-1, 1, order + 1), a


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("nb, na, n", [(1, 1, 160), (3, 1, 160), (2, 2, 160), (3, 3, 160), (5, 5, 160),
                                       (6, 4, 160), (4, 9, 160), (9, 6, 160), (17, 17, 160),
                                       (5, 5, 1300), (17, 17, 1300)])
def test_iir_block_by_block_matches_lfilter(dtype, nb, na, n):
    rng = np.random.default_rng(nb * 31 + na)
    real = np.float32 if single(dtype) else np.float64
    b, a = stable_filter(max(nb, na) - 1, rng)
    b, a = b[:nb].astype(real), a[:na].astype(real)
    x = random_signal(n, dtype, seed=na)
    f = fd.IIRFilter(b, a, dtype)
    zi = np.zeros(max(nb, na) - 1)
    edges = [0] + sorted(rng.choice(np.arange(1, n), size=4, replace=False)) + [n]
    for s, e in zip(edges, edges[1:]):
        want, zi = ss.lfilter(b.astype(np.float64), a.astype(np.float64), x[s:e].astype(np.complex128), zi=zi)
        got = f(x[s:e])
        assert got.dtype == x.dtype
        np.testing.assert_allclose(got, want, rtol=0, atol=(1e-4 if single(dtype) else 1e-11) * max(1, abs(want).max()))


def test_iir_pass_through_and_reset():
    x = np.arange(1.0, 6.0)
    assert np.array_equal(fd.iir_filter([], [], x), x)
    assert np.array_equal(fd.iir_filter([2.0], [4.0], x), x * 2 * 0.25)
    f = fd.IIRFilter([1, 1, 1], [1, -0.5])
    f(x)
    f.reset()
    assert np.array_equal(f(x), fd.iir_filter([1, 1, 1], [1, -0.5], x))

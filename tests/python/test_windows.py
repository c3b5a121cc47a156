"""Windows, windowed FIR design and the IIR filter through the binding, to the
last bit against a scalar model of the documented arithmetic (agreement with
scipy.signal is tested through the namesakes in test_scipy_signal.py)."""
import math

import numpy as np
import pytest
import scipy.signal as ss

import fennel_dsp as fd
from conftest import DTYPES, random_signal

PI, TWO_PI = 3.141592653589793, 6.283185307179586
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
SIZES = [2, 3, 4, 5, 16, 17, 100, 1001]


def real_of(dtype):
    return np.float32 if np.dtype(dtype) in (np.float32, np.complex64) else np.float64


# ---- scalar model: window values in float64, products in the element precision ----

def cosine_values(n, coefs, normalise):
    """The rotation recurrence over the first half, mirrored."""
    if len(coefs) == 1:
        return [1.0 if normalise else coefs[0]] * n
    d = coefs[0] if normalise else 1.0
    c = [(-1.0 if k % 2 else 1.0) * a / d for k, a in enumerate(coefs)]
    s = [0.0] * len(c)
    al, be = [0.0], [0.0]
    for k in range(1, len(c)):
        t = math.sin(k * PI / n)
        al.append(t * 2.0 * t)
        be.append(math.sin(k * TWO_PI / n))
    w = [0.0] * n

    def total():
        v = c[0]
        for ck in c[1:]:
            v = v + ck
        return v
    w[0] = total()
    for m in range(1, (n - 1) // 2 + 1):
        for k in range(1, len(c)):
            c[k], s[k] = c[k] - (be[k] * s[k] + al[k] * c[k]), s[k] - (al[k] * s[k] - be[k] * c[k])
        w[m] = w[n - m] = total()
    if n % 2 == 0:
        for k in range(1, len(c)):
            c[k] = c[k] - (al[k] * c[k] + be[k] * s[k])
        w[n // 2] = total()
    return w


def gauss_values(n, sigma, single):
    if single:
        s, n1 = np.float32(sigma), np.float32(n + 1)
        width = float(s * s * (n1 * n1))
    else:
        width = sigma * sigma * (float(n + 1) * float(n + 1))
    q = -0.5 / width
    rho, r, v = math.exp(2.0 * q), math.exp((1.0 - n) * q), math.exp(n * q * n * 0.25)
    w = [1.0] * n
    w[0] = v
    for m in range(1, (n - 1) // 2 + 1):
        v = v * r
        r = r * rho
        w[m] = w[n - m] = v
    return w


def bessel_series(y):
    total, term, d = 1.0, 1.0, 0.0
    for _ in range(25):
        d = d + 2.0
        term = term * y / (d * d)
        total = total + term
        if not term > 1e-8:
            break
    return total


def kaiser_values(n, beta, single):
    b2 = float(np.float32(beta) * np.float32(beta)) if single else beta * beta
    c = 1.0 / bessel_series(b2)
    w = [1.0] * n
    w[0] = c
    r, step = 1.0, 2.0 / n
    for m in range(1, (n - 1) // 2 + 1):
        r = r - step
        w[m] = w[n - m] = bessel_series((1.0 - r * r) * b2) * c
    return w


def triangle_values(n):
    w, t, step = [1.0] * n, 0.0, 2.0 / n * 1.0
    for i in range(1, (n - 1) // 2 + 1):
        t = t + step
        w[i] = w[n - i] = t
    return w


def apply(x, w):
    """x times w, each part of a complex sample by the same real factor."""
    x = np.array(x)
    wr = np.asarray(w, dtype=np.float64).astype(real_of(x.dtype))
    parts = x.view(real_of(x.dtype)).reshape(len(x), -1)
    parts *= wr[:, None]
    return x


def symmetric_model(x, wtype, param):
    n, single = len(x), real_of(x.dtype) == np.float32
    if wtype == 0 or n < 3:
        return np.array(x)
    if wtype == 30:
        y = apply(x[:-1], triangle_values(n - 1))
        y[0] = 0
        return np.concatenate([y, [0]]).astype(x.dtype)
    if wtype == 60:
        if math.isnan(param) or param == 0:
            return np.array(x)
        w = kaiser_values(n - 1, param, single)
    elif wtype == 62:
        w = gauss_values(n - 1, param if param > 0 else 0.2, single)
    else:
        w = cosine_values(n - 1, COEFS[wtype], False)
    return apply(x, w + [w[0]])


# ---- windows -------------------------------------------------------------------

@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", SIZES)
def test_windows_are_bit_exact(dtype, n):
    x = random_signal(n, dtype, seed=n)
    single = real_of(dtype) == np.float32
    for wtype, coefs in COEFS.items():
        for normalise in (False, True):
            got = fd.cosine_window(x, wtype, normalise)
            assert np.array_equal(got, apply(x, cosine_values(n, coefs, normalise))), (wtype, normalise)
    for sigma in (0.1, 0.37):
        assert np.array_equal(fd.gaussian_window(x, sigma), apply(x, gauss_values(n, sigma, single)))
    for beta in (0.5, 8.6):
        assert np.array_equal(fd.kaiser_window(x, beta), apply(x, kaiser_values(n, beta, single)))
    tri = apply(x, triangle_values(n))
    tri[0] = 0
    assert np.array_equal(fd.triangle_window(x), tri)
    for wtype, param in [(t, 0.0) for t in COEFS] + [(30, 0.0), (60, 5.5), (62, 0.3), (62, -2.0)]:
        assert np.array_equal(fd.symmetric_window(x, wtype, param), symmetric_model(x, wtype, param)), wtype


def test_flat_top_matches_scipy():
    # The one tabulated window the scipy.signal namesakes do not reach.
    x = np.ones(64)
    assert np.allclose(fd.cosine_window(x, 6), ss.windows.flattop(64, sym=False), rtol=0, atol=1e-8)
    assert np.allclose(fd.symmetric_window(x, 6), ss.windows.flattop(64), rtol=0, atol=1e-8)


# ---- windowed FIR design ------------------------------------------------------------

def fir_model(m, fs, f1, f2, ftype, wtype, param, normalise, dtype):
    if ftype in (0, 1):
        f2 = (fs * 0.5 + f1) * 0.5
    w1, w2 = f1 * TWO_PI / fs, f2 * TWO_PI / fs
    span = float(m - 1)
    a1, a2, den = span * w1 * -0.5, span * w2 * -0.5, span * -PI * 0.5
    h = [0.0] * m
    for i in range(m // 2):
        s1, s2 = math.sin(a1), math.sin(a2)
        h[i] = h[m - 1 - i] = [s1 / den, -s1 / den, (s2 - s1) / den, (s1 - s2) / den][ftype]
        a1, a2, den = a1 + w1, a2 + w2, den + PI
    if m % 2:
        h[m // 2] = [2.0 * f1 / fs, 1.0 - 2.0 * f1 / fs, 2.0 * (f2 - f1) / fs,
                     1.0 - 2.0 * (f2 - f1) / fs][ftype]
    taps = symmetric_model(np.array(h, dtype=dtype), wtype, param)
    if normalise:
        if ftype == 1:
            gain = 0.0
            for i, v in enumerate(taps):
                gain = gain - float(v) if i % 2 else gain + float(v)
            gain = abs(gain)
        elif ftype == 2:
            delta = -PI * (f1 + f2) / fs
            theta, c, s = (m - 1) * delta, 0.0, 0.0
            for v in taps:
                c, s, theta = c + math.cos(theta) * float(v), s + math.sin(theta) * float(v), theta + delta
            big, small = max(abs(c), abs(s)), min(abs(c), abs(s))  # LAPACK's dlapy2
            gain = big if small == 0 else big * math.sqrt(1.0 + (small / big) * (small / big))
        else:
            gain = float(lane_dot(list(taps), [dtype(1)] * m))
        taps = taps * dtype(1.0 / gain)
    return taps


FIR_CASES = [(ftype, m) for ftype in range(4) for m in (1, 2, 3, 8, 31, 64, 101)
             if not (ftype in (1, 3) and m % 2 == 0)]


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
@pytest.mark.parametrize("ftype, m", FIR_CASES)
def test_fir_is_bit_exact(dtype, ftype, m):
    for wtype, param in [(0, 0), (1, 0), (4, 0), (8, 0), (30, 0), (60, 4.5), (62, 0.25)]:
        for normalise in (False, True):
            got = fd.fir_windowed_coefficients(m, 48000, 3000, 9000, ftype, wtype, param, normalise, dtype)
            want = fir_model(m, 48000, 3000, 9000, ftype, wtype, param, normalise, dtype)
            assert got.dtype == dtype and np.array_equal(got, want), (wtype, normalise)


# ---- IIR filter -----------------------------------------------------------------------

def lane_dot(values, coefs):
    """Products of values (oldest first) with coefs, four interleaved partial
    sums each starting from its first product, added lane 0 to 3."""
    lanes = []
    for m, (v, c) in enumerate(zip(values, coefs)):
        if m < 4:
            lanes.append(v * c)
        else:
            lanes[m % 4] = lanes[m % 4] + v * c
    total = lanes[0]
    for lane in lanes[1:]:
        total = total + lane
    return total


def iir_model(x, b, a, fstate, rstate, R, padded):
    """One block of one real component; returns (y, fstate, rstate)."""
    n, nb, na = len(x), len(b), len(a)
    if nb == 1:
        w = [b[0] * v for v in x]
    else:
        q = 4 * ((nb + 3) // 4) if padded else nb
        bp = b + [R(0)] * (q - nb)
        w = [None] * n
        for i in range(n - 1, -1, -1):
            if i >= q - 1:
                w[i] = lane_dot(x[i - q + 1:i + 1], bp[::-1])
            else:
                acc = bp[0] * x[i]
                for k in range(1, i + 1):
                    acc = acc + bp[k] * x[i - k]
                for k in range(i + 1, nb):
                    acc = acc + b[k] * fstate[nb - 1 - (k - i)]
                w[i] = acc
        fstate = (fstate + list(x))[-(nb - 1):]
    if na == 0:
        return w, fstate, rstate
    g = R(1) / a[0]
    if na == 1:
        return [v * g for v in w], fstate, rstate
    y = [None] * n

    def past(i, k):
        return y[i - k] if i - k >= 0 else rstate[na - 1 - (k - i)]
    if not padded:
        for i in range(n):
            s = a[1] * past(i, 1)
            for k in range(2, na):
                s = s + a[k] * past(i, k)
            y[i] = (w[i] - s) * g
    else:
        p = 4 * ((na + 2) // 4)
        ap = a + [R(0)] * (p + 1 - na)
        for i in range(min(p, n)):
            acc = -w[i]
            for k in range(1, i + 1):
                acc = acc + ap[k] * y[i - k]
            for k in range(i + 1, na):
                acc = acc + a[k] * rstate[na - 1 - (k - i)]
            y[i] = -acc * g
        for i in range(p, n):
            y[i] = (w[i] - lane_dot(y[i - p:i], ap[p:0:-1])) * g
    return y, fstate, (rstate + y)[-(na - 1):]


def stable_filter(order, rng):
    """Random b and a of the given order with poles inside radius 0.9."""
    poles = []
    while len(poles) < order:
        r, t = 0.9 * np.sqrt(rng.uniform()), rng.uniform(0, np.pi)
        poles += [r * np.exp(1j * t), r * np.exp(-1j * t)] if order - len(poles) >= 2 else [r]
    a = np.atleast_1d(np.real(np.poly(poles))) * rng.uniform(0.5, 2.0)
    return rng.uniform(-1, 1, order + 1), a


def split(n, rng):
    cuts = sorted(rng.choice(np.arange(1, n), size=4, replace=False))
    return [0] + list(cuts) + [n]


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("nb, na, n", [(1, 0, 160), (1, 1, 160), (3, 1, 160), (2, 2, 160), (3, 3, 160),
                                       (5, 5, 160), (6, 4, 160), (4, 9, 160), (9, 6, 160), (17, 17, 160),
                                       (5, 5, 1300), (17, 17, 1300)])
def test_iir_is_bit_exact_blockwise(dtype, nb, na, n):
    rng = np.random.default_rng(nb * 31 + na)
    real = real_of(dtype)
    R = np.float32 if real == np.float32 else float
    padded = np.dtype(dtype) != np.complex128
    b, a = stable_filter(max(nb, na) - 1, rng)
    b, a = [R(v) for v in b[:nb].astype(real)], [R(v) for v in a[:na].astype(real)]
    x = random_signal(n, dtype, seed=na)
    f = fd.IIRFilter(b, a, dtype)
    edges = split(len(x), rng)
    got = np.concatenate([f(x[s:e]) for s, e in zip(edges, edges[1:])])
    parts = x.view(real).reshape(len(x), -1)
    for c in range(parts.shape[1]):
        fs, rs, want = [R(0)] * (nb - 1), [R(0)] * max(na - 1, 0), []
        for s, e in zip(edges, edges[1:]):
            y, fs, rs = iir_model([R(v) for v in parts[s:e, c]], b, a, fs, rs, R, padded)
            want += y
        got_c = got.view(real).reshape(len(x), -1)[:, c]
        assert np.array_equal(got_c, np.array(want, dtype=real)), c


def test_iir_pass_through_and_reset():
    x = np.arange(1.0, 6.0)
    assert np.array_equal(fd.iir_filter([], [], x), x)
    assert np.array_equal(fd.iir_filter([2.0], [4.0], x), x * 2 * 0.25)
    f = fd.IIRFilter([1, 1, 1], [1, -0.5])
    f(x)
    f.reset()
    assert np.array_equal(f(x), fd.iir_filter([1, 1, 1], [1, -0.5], x))

"""Power, auto power, cross power and cross power spectrum against numpy."""
import numpy as np
import pytest

import fennel_dsp as fd
from conftest import DTYPES, random_signal, tolerance

SIZES = [1, 2, 7, 16, 97, 210, 1000, 4096]


def one_sided(full, n, real):
    """The one-sided form of a two-sided spectrum as the library defines it."""
    half = full[: n // 2 + 1].copy()
    if real:
        interior = np.arange(1, n // 2 + 1) if n % 2 else np.arange(1, n // 2)
        half[interior] *= 2
    return half


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", SIZES)
def test_power_and_auto_power_match_numpy(n, dtype):
    x = random_signal(n, dtype, seed=n)
    ref = np.abs(np.fft.fft(x.astype(np.complex128))) ** 2 / n**2
    atol = tolerance(n, dtype) * 4 * ref.max()
    p = fd.power_spectrum(x)
    assert p.dtype == np.finfo(dtype).dtype
    np.testing.assert_allclose(p, ref, rtol=0, atol=atol)
    for spectrum_type in (0, 1):
        a, df = fd.auto_power_spectrum(x, dt=1e-3, spectrum_type=spectrum_type)
        want = ref if spectrum_type else one_sided(ref, n, np.dtype(dtype).kind == "f")
        np.testing.assert_allclose(a, want, rtol=0, atol=2 * atol)
        assert df == pytest.approx(1 / (n * 1e-3), rel=1e-15)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("nx,ny", [(1, 1), (2, 2), (16, 16), (97, 40), (40, 97), (210, 1000),
                                   (4096, 4095)])
def test_cross_power_and_cross_spectrum_match_numpy(nx, ny, dtype):
    x, y = random_signal(nx, dtype, seed=1), random_signal(ny, dtype, seed=2)
    L = max(nx, ny)
    P = np.conj(np.fft.fft(x.astype(np.complex128), L)) * np.fft.fft(y.astype(np.complex128), L) / L**2
    atol = tolerance(L, dtype) * 4 * np.abs(P).max()
    np.testing.assert_allclose(fd.cross_power(x, y), P, rtol=0, atol=atol)
    real = np.dtype(dtype).kind == "f"
    for spectrum_type in (0, 1):
        mag, phase, df = fd.cross_power_spectrum(x, y, dt=0.5, spectrum_type=spectrum_type)
        want = P if spectrum_type else one_sided(P, L, real)
        np.testing.assert_allclose(mag, np.abs(want), rtol=0, atol=2 * atol)
        well_defined = np.abs(want) > 1e-3 * np.abs(P).max()
        wrapped = np.angle(np.exp(1j * (phase.astype(np.float64) - np.angle(want))))
        assert np.all(np.abs(wrapped[well_defined]) < 1e-3)
        assert df == 1 / (L * 0.5)
        if real:  # DC and Nyquist: phase exactly 0 or pi
            edges = [0] + ([L // 2] if L % 2 == 0 else [])
            assert set(phase[edges]) <= {0, np.float32(np.pi) if dtype == np.float32 else np.pi}


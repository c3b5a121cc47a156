"""1D FFT through the binding against numpy.fft."""
import numpy as np
import pytest

import fennel_dsp as fd
from conftest import DTYPES, random_signal, tolerance

SIZES = [1, 2, 3, 8, 17, 100, 127, 210, 343, 1000, 4096, 8191, 2 ** 20]


def check_close(got, want, n, dtype):
    scale = max(1.0, float(np.max(np.abs(want))) if want.size else 1.0)
    assert got.shape == want.shape
    np.testing.assert_allclose(got, want, rtol=0, atol=tolerance(n, dtype) * scale * 4)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", SIZES)
def test_forward_and_round_trip(n, dtype):
    x = random_signal(n, dtype, seed=n)
    want = np.fft.fft(x.astype(np.complex128))
    with fd.Plan() as fwd, fd.Plan() as inv:
        for shift in (False, True):
            got = fd.fft1d(x, shift=shift, plan=fwd)
            assert got.dtype == np.result_type(x.dtype, np.complex64)
            check_close(got, np.fft.fftshift(want) if shift else want, n, dtype)
            back = fd.ifft1d(got, shift=shift, real=np.dtype(dtype).kind == "f", plan=inv)
            assert back.dtype == x.dtype
            check_close(back, x, n, dtype)


@pytest.mark.parametrize("dtype", DTYPES)
def test_padding_and_truncation(dtype, rng):
    for n in rng.integers(1, 400, 6):
        x = random_signal(int(n), dtype, seed=int(n))
        for L in (1, int(n) // 2 + 1, int(n) + 7, 2 * int(n) + 1):
            for shift in (False, True):
                want = np.fft.fft(x.astype(np.complex128), L)
                check_close(fd.fft1d(x, n=L, shift=shift), np.fft.fftshift(want) if shift else want,
                            L, dtype)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
def test_real_inverse_reads_the_non_negative_half(dtype):
    n = 10
    X = np.fft.fft(random_signal(n, dtype)).astype(np.complex64 if dtype == np.float32 else np.complex128)
    Y = X.copy()
    Y[n // 2 + 1:] = 123 - 45j
    np.testing.assert_array_equal(fd.ifft1d(X, real=True), fd.ifft1d(Y, real=True))
    np.testing.assert_allclose(fd.ifft1d(X, real=True), np.fft.irfft(X[: n // 2 + 1], n),
                               atol=tolerance(n, dtype) * 10)

"""DCT and DST through the binding against scipy.fft.

scipy's unnormalised DST-I carries a factor 2 that ours does not, so
dst = scipy dst / 2 and idst = 2 scipy idst (per dimension in 2D).
"""
import numpy as np
import pytest
import scipy.fft as sf

import fennel_dsp as fd
from conftest import random_signal, tolerance

REALS = [np.float32, np.float64]
SIZES = [1, 2, 3, 4, 5, 7, 8, 16, 17, 31, 64, 97, 360, 1000, 1024, 4099]


def close(got, want, dtype, n):
    assert got.dtype == np.dtype(dtype)
    assert got.shape == want.shape
    scale = max(1.0, np.abs(want).max())
    np.testing.assert_allclose(got, want, rtol=0, atol=8 * tolerance(n, dtype) * scale * np.sqrt(np.log2(n + 2)))


@pytest.mark.parametrize("dtype", REALS)
@pytest.mark.parametrize("n", SIZES)
def test_1d_against_scipy_and_round_trips(n, dtype):
    x = random_signal(n, dtype, seed=n)
    X = fd.dct1d(x)
    close(X, sf.dct(x.astype(np.float64), type=2, norm="ortho"), dtype, n)
    close(fd.idct1d(x), sf.idct(x.astype(np.float64), type=2, norm="ortho"), dtype, n)
    close(fd.idct1d(X), x.astype(dtype), dtype, n)
    S = fd.dst1d(x)
    close(S, sf.dst(x.astype(np.float64), type=1) / 2, dtype, n)
    close(fd.idst1d(x), 2 * sf.idst(x.astype(np.float64), type=1), dtype, n)
    close(fd.idst1d(S), x, dtype, n)
    padded = np.concatenate([x, np.zeros(3, dtype)]).astype(np.float64)
    close(fd.dct1d(x, n + 3), sf.dct(padded, norm="ortho"), dtype, n + 3)
    close(fd.dst1d(x, max(1, n - 1)), sf.dst(x[:max(1, n - 1)].astype(np.float64), type=1) / 2, dtype, n)
    assert fd.dct1d(np.arange(n)).dtype == np.float64  # other real types are taken as float64


@pytest.mark.parametrize("dtype", REALS)
@pytest.mark.parametrize("shape,size", [((1, 9), None), ((4, 4), None), ((5, 8), None), ((17, 6), None),
                                        ((64, 33), None), ((6, 5), (8, 3)), ((7, 7), (4, 10)),
                                        ((3, 4), (0, 6)), ((128, 96), (100, 128))])
def test_2d_against_scipy(shape, size, dtype):
    rng = np.random.default_rng(sum(shape))
    x = rng.uniform(-1, 1, shape).astype(dtype)
    L0, L1 = [s or d for s, d in zip(size or (0, 0), shape)]
    padded = np.zeros((L0, L1))
    r, c = min(L0, shape[0]), min(L1, shape[1])
    padded[:r, :c] = x[:r, :c]
    n = L0 * L1
    plan = fd.TrigPlan()
    close(fd.dct2(x, size, plan=plan), sf.dctn(padded, type=2, norm="ortho"), dtype, n)
    close(fd.dst2(x, size, plan=plan), sf.dstn(padded, type=1) / 4, dtype, n)
    close(fd.idct2(x, plan=plan), sf.idctn(x.astype(np.float64), type=2, norm="ortho"), dtype, n)
    close(fd.idst2(x, plan=plan), 4 * sf.idstn(x.astype(np.float64), type=1), dtype, n)
    close(fd.idct2(fd.dct2(x)), x, dtype, n)
    close(fd.idst2(fd.dst2(x)), x, dtype, n)
    plan.close()
    assert not plan.held

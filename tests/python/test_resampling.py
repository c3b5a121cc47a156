"""Decimation and upsampling against numpy slicing, reshape-mean and zero
insertion; the resampling stream against scipy's polyphase upfirdn."""
import numpy as np
import pytest
from scipy import signal

import fennel_dsp as fd
from conftest import DTYPES, random_signal

SIZES = [1, 2, 7, 97, 360, 4096, 100003]


def _float32_mean(runs):
    """Mean of each row in the documented float order: four partial sums over
    the whole groups of four, joined (p0 + p2) + (p1 + p3), then the rest."""
    count, factor = runs.shape
    whole = factor // 4 * 4
    p = np.zeros((count, 4), np.float32)
    if whole:
        p = np.cumsum(runs[:, :whole].reshape(count, -1, 4), axis=1, dtype=np.float32)[:, -1]
    total = (p[:, 0] + p[:, 2]) + (p[:, 1] + p[:, 3])
    e = runs[:, whole:]
    if e.shape[1] == 1:
        total = total + e[:, 0]
    elif e.shape[1] == 2:
        total = total + (e[:, 1] + e[:, 0])
    elif e.shape[1] == 3:
        total = total + ((e[:, 1] + e[:, 0]) + e[:, 2])
    return total / np.float32(factor)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", SIZES)
def test_decimate_matches_slicing_and_reshape_mean(dtype, n):
    x = random_signal(n, dtype, seed=n)
    for factor in sorted({f for f in (1, 2, 3, 4, 7, n // 3, n) if 1 <= f <= n}):
        count = n // factor
        np.testing.assert_array_equal(fd.downsample(x, factor), x[::factor][:count])
        runs = x[:count * factor].reshape(count, factor)
        got = fd.downsample(x, factor, average=True)
        assert got.dtype == x.dtype and got.shape == (count,)
        if x.dtype == np.float32:
            np.testing.assert_array_equal(got, _float32_mean(runs))
        eps = np.finfo(x.dtype).eps
        np.testing.assert_allclose(got, runs.astype(np.complex128).mean(axis=1), rtol=0,
                                   atol=4 * eps * factor)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("n", SIZES[:6])
def test_upsample_matches_zero_insertion(dtype, n):
    x = random_signal(n, dtype, seed=n + 1)
    for factor, phase in [(1, 0), (2, 1), (3, 0), (5, 4), (16, 7)]:
        want = np.zeros(n * factor, x.dtype)
        want[phase::factor] = x
        np.testing.assert_array_equal(fd.upsample(x, factor, phase), want)


def _prototype(up, down, zeros):
    """A lowpass at up times the rate whose centre is a multiple of up and
    down, so that our output k and upfirdn's output k + c / down coincide."""
    c = up * down * zeros
    h = signal.firwin(2 * c + 1, 1.0 / max(up, down), window=("kaiser", 6.0))
    return h, c


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("up, down", [(2, 3), (4, 1), (4, 3), (8, 5), (1, 3)])  # exact float ratios
def test_stream_matches_upfirdn_block_by_block(dtype, up, down):
    h, c = _prototype(up, down, 4)
    x = random_signal(1500, dtype, seed=up * 10 + down)
    want = up * signal.upfirdn(h, x.astype(np.complex128), up, down)[c // down:]
    rs = fd.Resampler(h, up, down / up, anti_alias=False)
    got, times = [], []
    for block in np.split(x, [0, 1, 50, 51, 400, 1100]):
        y, t = rs.process(block)
        times.append((t, len(y)))
        got.append(y)
    got = np.concatenate(got)
    # Every output whose taps end inside the signal: ceil((N - c / up) / ratio).
    assert got.dtype == x.dtype and len(got) == int(np.ceil((len(x) - c / up) * up / down))
    eps = np.finfo(x.dtype).eps
    np.testing.assert_allclose(got, want[:len(got)], rtol=0, atol=200 * eps)
    index = 0
    for t, k in times:  # every block continues the stream's time
        assert t == np.float32(index * down / up)
        index += k
    np.testing.assert_array_equal(got, fd.fir_resample(x, h, up, down / up, anti_alias=False))

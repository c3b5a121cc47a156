"""Dask arrays through the library on a local cluster of two worker
processes: 8 chunks give the single-array results."""
import pickle

import numpy as np
import pytest

import fennel_dsp as fd
from fennel_dsp import chunked

da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, \
            distributed.Client(cluster) as c:
        yield c


def test_functions_and_streams_pickle():
    h = fd.firwin(31, 0.3) * 2
    stream = fd.Resampler(h, 2, 0.75)
    x = np.random.default_rng(0).standard_normal(500)
    first, _ = stream.process(x[:200])
    copy = pickle.loads(pickle.dumps(stream))
    np.testing.assert_array_equal(copy.process(x[200:])[0], stream.process(x[200:])[0])
    assert pickle.loads(pickle.dumps(fd.fft)) is fd.fft
    lazy = chunked.resample(da.from_array(x, chunks=100), h, 2, 0.75)
    np.testing.assert_array_equal(lazy.compute(scheduler="threads"),
                                  lazy.compute(scheduler="threads"))
    err = pickle.loads(pickle.dumps(fd.FennelError(-20003, "d1DFFTH", "fennel_dsp.fft")))
    assert isinstance(err, ValueError) and err.name == "STATUS_EMPTY_ARRAY"


@pytest.mark.parametrize("dtype", [np.float32, np.complex128])
def test_eight_chunks_on_two_workers_equal_one_call(client, dtype):
    rng = np.random.default_rng(1)
    x = rng.standard_normal((3, 8000)).astype(dtype)
    chunks = da.from_array(x, chunks=(2, 1000))                 # 8 chunks along time
    np.testing.assert_allclose(chunked.fft(chunks, axis=0).compute(), fd.fft(x, axis=0),
                               rtol=1e-5)
    h = rng.standard_normal(1500)                               # tails span two chunks
    tol = 1e-3 if dtype == np.float32 else 1e-9
    for mode in ("full", "same", "valid"):
        want = np.stack([fd.convolve(row, h, mode) for row in x])
        got = chunked.convolve(chunks, h, mode).compute()
        np.testing.assert_allclose(got, want, rtol=0, atol=tol * np.abs(want).max())
    proto = fd.firwin(97, 1 / 3) * 3
    np.testing.assert_array_equal(chunked.resample(chunks, proto, 3, 2 / 3).compute(),
                                  fd.fir_resample(x, proto, 3, 2 / 3))

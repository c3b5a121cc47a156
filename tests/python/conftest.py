import numpy as np
import pytest

import fennel_dsp  # noqa: F401  (loads the host and the library once)

DTYPES = [np.float32, np.float64, np.complex64, np.complex128]


def tolerance(n, dtype):
    """Absolute tolerance per unit of signal scale for an FFT of n points."""
    eps = np.finfo(np.dtype(dtype)).eps
    return 8 * eps * np.log2(n + 2) + eps


def random_signal(n, dtype, seed=0):
    rng = np.random.default_rng(seed)
    dtype = np.dtype(dtype)
    x = rng.uniform(-1, 1, n)
    if dtype.kind == "c":
        x = x + 1j * rng.uniform(-1, 1, n)
    return x.astype(dtype)


@pytest.fixture
def rng():
    return np.random.default_rng(1234)

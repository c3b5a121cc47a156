"""The scipy.fft namesakes against scipy.fft on random shapes, dtypes, axes,
norms and sizes."""
import zlib

import numpy as np
import pytest
import scipy.fft as sf

import fennel_dsp as fd

NORMS = [None, "ortho", "forward"]
DTYPES = [np.float16, np.float32, np.float64, np.int32, np.complex64, np.complex128]


def data(rng, shape, dtype):
    x = rng.uniform(-1, 1, shape)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.uniform(-1, 1, shape)
    if np.dtype(dtype).kind == "i":
        x = np.round(x * 10)
    return x.astype(dtype)


def assert_like(got, want, dtype):
    """scipy's result type and values to rounding of the working precision."""
    assert got.shape == want.shape and got.dtype == want.dtype, (got.dtype, want.dtype)
    single = np.dtype(dtype) in (np.float16, np.float32, np.complex64)
    scale = max(1.0, float(np.max(np.abs(want)))) if want.size else 1.0
    np.testing.assert_allclose(got, want, rtol=0, atol=scale * (2e-5 if single else 1e-12))


def one_axis_case(rng, name, real_only):
    nd = int(rng.integers(1, 4))
    shape = tuple(int(v) for v in rng.integers(1, 9, nd))
    axis = int(rng.integers(-nd, nd))
    n = [None, int(rng.integers(1, 12))][int(rng.integers(0, 2))]
    if name in ("irfft", "hfft", "dct1", "idct1") and n is None and shape[axis] < 2:
        n = 4
    if name in ("dct1", "idct1") and n == 1:  # the DCT-I needs two points
        n = 2
    dtypes = [d for d in DTYPES if not (real_only and np.dtype(d).kind == "c")]
    return shape, axis, n, dtypes[int(rng.integers(0, len(dtypes)))]


ONE_AXIS = [("fft", False), ("ifft", False), ("rfft", True), ("irfft", False), ("hfft", False),
            ("ihfft", True)]


@pytest.mark.parametrize("name, real_only", ONE_AXIS)
@pytest.mark.parametrize("norm", NORMS)
def test_one_axis_transforms(name, real_only, norm):
    rng = np.random.default_rng(zlib.crc32(repr((name, norm)).encode()))
    for _ in range(25):
        shape, axis, n, dtype = one_axis_case(rng, name, real_only)
        x = data(rng, shape, dtype)
        want = getattr(sf, name)(x, n, axis, norm)
        assert_like(getattr(fd, name)(x, n, axis, norm), want, dtype)


N_AXES = ["fftn", "ifftn", "rfftn", "irfftn", "fft2", "ifft2", "rfft2", "irfft2", "hfftn",
          "ihfftn", "hfft2", "ihfft2"]


@pytest.mark.parametrize("name", N_AXES)
@pytest.mark.parametrize("norm", NORMS)
def test_several_axes(name, norm):
    rng = np.random.default_rng(zlib.crc32(repr((name, norm)).encode()))
    for _ in range(25):
        nd = int(rng.integers(2 if name.endswith("2") else 1, 5))
        shape = tuple(int(v) for v in rng.integers(2, 7, nd))
        axes = None
        if name.endswith("2") or rng.integers(0, 2):
            k = 2 if name.endswith("2") else int(rng.integers(1, nd + 1))
            axes = [int(a) for a in rng.permutation(nd)[:k]]
        s = None
        if rng.integers(0, 2):
            s = [int(v) for v in rng.integers(1, 9, len(axes) if axes else nd)]
        real_only = name.startswith(("rfft", "ihfft"))
        dtypes = [d for d in DTYPES if not (real_only and np.dtype(d).kind == "c")]
        dtype = dtypes[int(rng.integers(0, len(dtypes)))]
        x = data(rng, shape, dtype)
        kw = dict(s=s, norm=norm)
        if axes is not None:
            kw["axes"] = axes
        assert_like(getattr(fd, name)(x, **kw), getattr(sf, name)(x, **kw), dtype)


TRIG = [(name, type) for name in ("dct", "idct", "dst", "idst") for type in (1, 2, 3, 4)]


@pytest.mark.parametrize("name, type", TRIG)
@pytest.mark.parametrize("norm", NORMS)
@pytest.mark.parametrize("orthogonalize", [None, False, True])
def test_dct_and_dst(name, type, norm, orthogonalize):
    rng = np.random.default_rng(zlib.crc32(repr((name, type, norm, orthogonalize)).encode()))
    for _ in range(6):
        shape, axis, n, dtype = one_axis_case(rng, name + str(type), orthogonalize is not None)
        x = data(rng, shape, dtype)  # (scipy drops orthogonalize for complex x)
        want = getattr(sf, name)(x, type, n, axis, norm, orthogonalize=orthogonalize)
        assert_like(getattr(fd, name)(x, type, n, axis, norm, orthogonalize=orthogonalize), want,
                    dtype)
        s = [int(v) for v in rng.integers(1 + (type == 1 and "dct" in name), 7, len(shape))]
        want = getattr(sf, name + "n")(x, type, s, norm=norm, orthogonalize=orthogonalize)
        assert_like(getattr(fd, name + "n")(x, type, s, norm=norm, orthogonalize=orthogonalize),
                    want, dtype)


def test_helpers_equal_scipy():
    for n in (1, 2, 7, 97, 1000, 4097):
        assert fd.next_fast_len(n) == min(m for m in range(n, 2 * n + 1)
                                          if all(p in (2, 3, 5, 7) for p in _factors(m)))
    np.testing.assert_array_equal(fd.fftshift(np.arange(5)), sf.fftshift(np.arange(5)))
    np.testing.assert_array_equal(fd.rfftfreq(8, 0.5), sf.rfftfreq(8, 0.5))


def _factors(m):
    out, p = [], 2
    while m > 1:
        while m % p == 0:
            out.append(p)
            m //= p
        p += 1
    return out


BACKEND_CALLS = [
    ("fft", (5, 8), np.complex64, dict(n=6, axis=0, norm="ortho"), True),
    ("irfft", (3, 9), np.complex128, dict(norm="forward"), True),
    ("rfftn", (4, 6, 5), np.float32, dict(s=(3, 8), axes=(0, 2)), True),
    ("ifft2", (6, 6), np.float16, dict(s=(4, 7)), True),
    ("hfftn", (3, 5), np.complex128, dict(norm="ortho"), True),
    ("dctn", (5, 7), np.int64, dict(type=4, norm="ortho"), True),
    ("idst", (4, 9), np.float64, dict(type=2, n=12, axis=0), True),
    ("dct", (8,), np.longdouble, dict(type=2), False),
    ("dct", (6,), np.complex128, dict(norm="ortho", orthogonalize=False), False),
    ("fft", (0,), np.float64, dict(), False),           # scipy's own error
]


@pytest.mark.parametrize("name, shape, dtype, kw, computes", BACKEND_CALLS)
def test_backend_gives_scipys_results(name, shape, dtype, kw, computes):
    import fennel_dsp.scipy_fft as backend
    x = data(np.random.default_rng(3), shape, dtype)
    try:
        want = getattr(sf, name)(x, **kw)
    except Exception as e:
        want = e
    before = backend.handled["computed"]
    with sf.set_backend(backend, only=False):
        try:
            got = getattr(sf, name)(x, **kw)
        except Exception as e:
            got = e
    if isinstance(want, Exception):
        assert type(got) is type(want)
        return
    assert backend.handled["computed"] == before + computes
    assert_like(got, want, dtype if computes else np.float64)


FAST = [("fft", (64,)), ("fft", (3, 10)), ("ifft", (17,)), ("rfft", (9,)), ("rfft", (2, 8)),
        ("irfft", (5,)), ("fft2", (4, 6)), ("ifftn", (3, 5)), ("rfftn", (4, 7)), ("dct", (12,)),
        ("idct", (12,))]


@pytest.mark.parametrize("name, shape", FAST)
@pytest.mark.parametrize("norm", NORMS)
def test_compiled_and_ctypes_paths_agree(name, shape, norm, monkeypatch):
    from fennel_dsp import fourier
    rng = np.random.default_rng(len(shape) * 100 + shape[-1])
    for dtype in (np.float32, np.float64, np.complex64, np.complex128):
        if name.startswith("r") and np.dtype(dtype).kind == "c":
            continue
        x = data(rng, shape, dtype)
        fast = getattr(fd, name)(x, norm=norm)
        assert_like(fast, getattr(sf, name)(x, norm=norm), dtype)
        with monkeypatch.context() as m:
            m.setattr(fourier, "_FAST_BYTES", -1)
            np.testing.assert_allclose(getattr(fd, name)(x, norm=norm), fast, rtol=1e-6, atol=1e-6)

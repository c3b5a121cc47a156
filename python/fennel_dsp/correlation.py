"""The library's convolution, correlation and autocorrelation in one and two
dimensions, with its own conventions: "same" starts at index M // 2 of the
full result, and correlation conjugates its first operand (x) and takes
normalizations.  scipy.signal's convolve, correlate, convolve2d and
correlate2d are in fennel_dsp.signal.

method: "direct" (time-domain sums), "fft" (frequency domain), or "auto",
which takes the frequency-domain method once the shorter operand reaches
FFT_CROSSOVER elements (measured on the benchmark machine, bench/README.md).
"""
import ctypes

import numpy as np

from ._native import TYPE_CODES, Handle, HostArray, as_supported, check, export, plan_ref

__all__ = ["convolve1d", "cross_correlate", "autocorrelate", "cross_correlate2d",
           "autocorrelate2d", "FFT_CROSSOVER", "FFT_CROSSOVER_2D", "DIRECT_BLOCK"]

# Shorter-operand length (1D) and kernel element count (2D) from which the
# frequency-domain method is faster than the direct one on the benchmark
# machine.
FFT_CROSSOVER = 112
FFT_CROSSOVER_2D = 144

# Block length of the direct method: a block of the longer operand and of the
# result stay in the L1 cache while every scalar of the shorter one passes
# over them (the library's own default, 100000, suits longer caches and
# hands BLAS calls long enough to go multi-threaded; see bench/README.md).
DIRECT_BLOCK = 1024

_P = ctypes.c_void_p
_I = ctypes.c_int32
_PAIRS = ["s", "d", "c", "z", "sc", "dz", "cs", "zd"]
_CONV = {p: export(f"{p}1DConvolutionH", [Handle, Handle, Handle, _I, _I, _I, Handle, Handle, _P])
         for p in _PAIRS}
_CORR = {p: export(f"{p}1DCorrelationH", [Handle, Handle, Handle, _I, _I, _I, Handle, Handle, _P])
         for p in _PAIRS}
_AUTO = {p: export(f"{p}1DAutoCorrelationH", [Handle, Handle, _I, _I, _I, Handle, Handle, _P])
         for p in "sdcz"}
_CONV2 = {p: export(f"{p}2DConvolutionH", [Handle, Handle, Handle, _I, _I, Handle, Handle, _P])
          for p in "sdcz"}
_CORR2 = {p: export(f"{p}2DCorrelationH", [Handle, Handle, Handle, _I, Handle, Handle, _P])
          for p in "sdcz"}
_AUTO2 = {p: export(f"{p}2DAutoCorrelationH", [Handle, Handle, _I, Handle, Handle, _P])
          for p in "sdcz"}

_MODES = {"full": 0, "same": 1, "valid": 2}
_NORMS = {"none": 0, None: 0, "unbiased": 1, "biased": 2}
_REAL = {True: np.dtype(np.float64), False: np.dtype(np.float32)}
_CPLX = {True: np.dtype(np.complex128), False: np.dtype(np.complex64)}


def _pair(x, y, mixed=True):
    """Both operands in one precision; a real and a complex operand stay a
    mixed pair when `mixed`, else the real one is widened."""
    x, y = as_supported(x), as_supported(y)
    double = np.finfo(np.result_type(x.dtype, y.dtype)).bits == 64
    xc, yc = x.dtype.kind == "c", y.dtype.kind == "c"
    if not mixed and xc != yc:
        xc = yc = True
    x = x.astype(_CPLX[double] if xc else _REAL[double], copy=False)
    y = y.astype(_CPLX[double] if yc else _REAL[double], copy=False)
    px, py = TYPE_CODES[x.dtype][1], TYPE_CODES[y.dtype][1]
    prefix = px if px == py else px + py
    out_type = y.dtype if yc else x.dtype
    return x, y, prefix, out_type


def _algorithm(method, shorter, crossover=None):
    if method == "auto":
        return 1 if shorter >= (crossover or FFT_CROSSOVER) else 0
    if method in ("direct", "fft"):
        return 0 if method == "direct" else 1
    raise ValueError(f"method must be 'auto', 'direct' or 'fft', not {method!r}")


def _call(f, name, *args):
    check(f(*args), name)


def convolve1d(x, y, mode="full", method="auto", block_size=DIRECT_BLOCK, plan=None):
    """Linear convolution of two 1D sequences.

    mode: "full" (N + M - 1), "same" (N, centred on the full result) or
    "valid" (N - M + 1; needs M <= N).  block_size: block length of the direct
    method (below 1: the library's default of 100000).  A real and a complex operand are
    convolved as a mixed pair without widening the real one.

    Parameters
    ----------
    x, y : array_like
        1D operands.
    mode : {'full', 'same', 'valid'}, optional
        The library's modes ('same' starts at M // 2).
    method : {'auto', 'direct', 'fft'}, optional
        The computing method.
    block_size : int, optional
        Block length of the direct method.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Not 1D, an unknown mode or method.  FennelError: an empty operand, 'valid' with M > N.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.convolve1d([1.0, 2.0, 3.0], [1.0, 1.0], mode='same')
    array([3., 5., 3.])
    """
    x, y, prefix, out_type = _pair(_vector(x, "convolve1d"), _vector(y, "convolve1d"))
    _check_mode(mode, "convolve1d")
    algorithm = _algorithm(method, min(x.size, y.size))
    hx, hy = HostArray.from_numpy(x), HostArray.from_numpy(y)
    out, full, work = (HostArray.empty(out_type) for _ in range(3))
    _call(_CONV[prefix], f"{prefix}1DConvolutionH", hx.handle, hy.handle, out.handle,
          _MODES[mode], algorithm, int(block_size), full.handle, work.handle, plan_ref(plan))
    return out.to_numpy()


def cross_correlate(x, y, normalization="none", method="auto", block_size=DIRECT_BLOCK, plan=None):
    """Cross-correlation over all lags: r[k] = sum_j conj(x[j]) y[j + k - (N-1)].

    The result has N + M - 1 elements, lag 0 at index N - 1; it equals
    numpy.correlate(y, x, "full").  normalization: "none", "unbiased" (each
    lag divided by its number of products) or "biased" (divided by max(N, M)).

    Parameters
    ----------
    x, y : array_like
        1D operands.
    normalization : {'none', 'unbiased', 'biased'}, optional
        Scaling of each lag.
    method, block_size, plan
        As in `convolve1d`.

    Returns
    -------
    ndarray
        N + M - 1 lags.

    Raises
    ------
    ValueError
        Not 1D, an unknown normalization or method.  FennelError: an empty operand.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.cross_correlate([1.0, 2.0], [1.0, 1.0, 1.0])
    array([2., 3., 3., 1.])
    """
    x, y, prefix, out_type = _pair(_vector(x, "cross_correlate"), _vector(y, "cross_correlate"))
    if normalization not in _NORMS:
        raise ValueError(f"cross_correlate: normalization must be 'none', 'unbiased' or 'biased', not {normalization!r}")
    algorithm = _algorithm(method, min(x.size, y.size))
    hx, hy = HostArray.from_numpy(x), HostArray.from_numpy(y)
    out, work = HostArray.empty(out_type), HostArray.empty(out_type)
    rev = HostArray.empty(x.dtype)
    _call(_CORR[prefix], f"{prefix}1DCorrelationH", hx.handle, hy.handle, out.handle, algorithm,
          _NORMS[normalization], int(block_size), rev.handle, work.handle, plan_ref(plan))
    return out.to_numpy()


def autocorrelate(x, normalization="none", method="auto", block_size=DIRECT_BLOCK, plan=None):
    """Autocorrelation over lags -(N-1) .. N-1 (2N - 1 elements, lag 0 at
    index N - 1), normalized as in cross_correlate.

    Parameters
    ----------
    x : array_like
        1D signal.
    normalization, method, block_size, plan
        As in `cross_correlate`.

    Returns
    -------
    ndarray
        2N - 1 lags.

    Raises
    ------
    ValueError
        An unknown normalization.  FennelError: an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.autocorrelate([1.0, 2.0])
    array([2., 5., 2.])
    """
    x = as_supported(_vector(x, "autocorrelate"))
    if normalization not in _NORMS:
        raise ValueError(f"autocorrelate: normalization must be 'none', 'unbiased' or 'biased', not {normalization!r}")
    prefix = TYPE_CODES[x.dtype][1]
    algorithm = _algorithm(method, x.size)
    hx = HostArray.from_numpy(x)
    out, rev, work = (HostArray.empty(x.dtype) for _ in range(3))
    _call(_AUTO[prefix], f"{prefix}1DAutoCorrelationH", hx.handle, out.handle, algorithm,
          _NORMS[normalization], int(block_size), rev.handle, work.handle, plan_ref(plan))
    return out.to_numpy()


def _vector(x, name):
    x = np.asarray(x)
    if x.ndim != 1:
        raise ValueError(f"{name}: a 1D operand expected, got {x.ndim} dimensions")
    return x


def _check_mode(mode, name):
    if mode not in _MODES:
        raise ValueError(f"{name}: mode must be 'full', 'same' or 'valid', not {mode!r}")


def _matrices(x, y):
    x, y = np.asarray(x), np.asarray(y)
    if x.ndim != 2 or y.ndim != 2:
        raise ValueError("cross_correlate2d: 2D operands expected")
    x, y, prefix, out_type = _pair(x, y, mixed=False)
    return x, y, prefix, out_type


def cross_correlate2d(x, y, method="auto", plan=None):
    """2D cross-correlation over all lags, lag (0, 0) at (R1 - 1, C1 - 1); equals
    scipy.signal.correlate2d(y, x, "full").

    Parameters
    ----------
    x, y : array_like
        Matrices.
    method, plan
        As in `convolve1d`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Not 2D.  FennelError: an empty operand.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.cross_correlate2d(np.eye(2), np.ones((1, 1)))
    array([[1., 0.],
           [0., 1.]])
    """
    x, y, prefix, out_type = _matrices(x, y)
    algorithm = _algorithm(method, min(x.size, y.size), FFT_CROSSOVER_2D)
    hx, hy = HostArray.from_numpy(x), HostArray.from_numpy(y)
    out = HostArray.empty(out_type, 2)
    rev, work = HostArray.empty(out_type), HostArray.empty(out_type)
    _call(_CORR2[prefix], f"{prefix}2DCorrelationH", hx.handle, hy.handle, out.handle, algorithm,
          rev.handle, work.handle, plan_ref(plan))
    return out.take_numpy()


def autocorrelate2d(x, method="auto", plan=None):
    """2D autocorrelation, (2R - 1) x (2C - 1), lag (0, 0) at (R - 1, C - 1).

    Parameters
    ----------
    x : array_like
        Matrix.
    method, plan
        As in `convolve1d`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Not 2D.  FennelError: an empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.autocorrelate2d(np.ones((1, 2)))
    array([[1., 2., 1.]])
    """
    x = as_supported(x)
    if x.ndim != 2:
        raise ValueError("a 2D operand expected")
    prefix = TYPE_CODES[x.dtype][1]
    algorithm = _algorithm(method, x.size, FFT_CROSSOVER_2D)
    hx = HostArray.from_numpy(x)
    out = HostArray.empty(x.dtype, 2)
    rev, work = HostArray.empty(x.dtype), HostArray.empty(x.dtype)
    _call(_AUTO2[prefix], f"{prefix}2DAutoCorrelationH", hx.handle, out.handle, algorithm,
          rev.handle, work.handle, plan_ref(plan))
    return out.take_numpy()

"""scipy.signal namesakes computed by the library: convolve, correlate,
fftconvolve, oaconvolve, convolve2d, correlate2d, lfilter, firwin,
get_window, upfirdn, resample_poly and decimate, with scipy's arguments,
modes and result types.

One- and two-dimensional convolution and correlation run as one library
call (direct or frequency-domain); other shapes and `axes` go through the
library's FFTs.  IIR filtering runs the library's direct-form filter on
all signals joined into one (stable filters, signals of up to 2**14
samples) or per signal; its initial state `zi` is scipy's (transposed
direct form II)."""
import math
import operator
import warnings

import numpy as np

from . import correlation as _corr
from . import fourier
from . import resampling as _resampling
from . import windows as _win
from ._native import COMPLEX_OF, REAL_OF, TYPE_CODES, HostArray, check, plan_ref
from ._run import Unsupported, as_array, working_dtype

__all__ = ["convolve", "correlate", "fftconvolve", "oaconvolve", "convolve2d", "correlate2d",
           "lfilter", "firwin", "get_window", "upfirdn", "resample_poly", "decimate"]

_MODES = ("full", "same", "valid")
_METHODS = ("auto", "direct", "fft")


# ---- convolution and correlation ------------------------------------------

def _operands(in1, in2, name):
    a, b = as_array(in1, name), as_array(in2, name)
    for v in (a, b):
        working_dtype(v, name)
    if a.ndim != b.ndim:
        raise ValueError(f"{name}: in1 and in2 should have the same dimensionality")
    return a, b


def _mode(mode, name):
    if mode not in _MODES:
        raise ValueError(f"{name}: acceptable mode flags are 'valid', 'same', or 'full', "
                         f"not {mode!r}")


def _result_type(a, b):
    """scipy's output type; float16 and integer results are computed in
    single and double precision and converted back (exact for integers
    below 2**53)."""
    return np.result_type(a.dtype, b.dtype)


def _computed(a, b):
    """The operands in the precision the library computes them."""
    wa, wb = working_dtype(a, ""), working_dtype(b, "")
    single = wa in (np.float32, np.complex64) and wb in (np.float32, np.complex64)
    return (a.astype(wa if single else (COMPLEX_OF[np.dtype(np.float64)] if wa.kind == "c"
                                        else np.float64), copy=False),
            b.astype(wb if single else (COMPLEX_OF[np.dtype(np.float64)] if wb.kind == "c"
                                        else np.float64), copy=False))


def _back(y, rt):
    if rt.kind in "biu":
        return np.rint(y.real).astype(rt)
    return y.astype(rt, copy=False)


def _centred(full, shape):
    """The central part of `full` of `shape` (scipy's 'same')."""
    start = [(f - s) // 2 for f, s in zip(full.shape, shape)]
    return full[tuple(slice(st, st + s) for st, s in zip(start, shape))]


def _valid_shape(a, b, name):
    if all(p >= q for p, q in zip(a.shape, b.shape)) or \
            all(q >= p for p, q in zip(a.shape, b.shape)):
        return tuple(abs(p - q) + 1 for p, q in zip(a.shape, b.shape))
    raise ValueError(f"{name}: for 'valid' mode, one must be at least as large as the other "
                     f"in every dimension")


def _select(full, a, b, mode, name):
    if mode == "full":
        return full
    if mode == "same":
        return _centred(full, a.shape)
    return _centred(full, _valid_shape(a, b, name))


def _lib_full(x, y, correlation, method, name, plan):
    """The full convolution of x and y (1D or 2D), or the full correlation
    sum conj(x[j]) y[j + k], by one library call."""
    if x.ndim == 1:
        x, y, p, out_t = _corr._pair(x, y)
        algorithm = _corr._algorithm(method, min(x.size, y.size))
        hx, hy = HostArray.from_numpy(x), HostArray.from_numpy(y)
        out, s1, s2 = (HostArray.empty(out_t) for _ in range(3))
        if correlation:
            s1.close()
            s1 = HostArray.empty(x.dtype)
            symbol = f"{p}1DCorrelationH"
            status = _corr._CORR[p](hx.handle, hy.handle, out.handle, algorithm, 0,
                                    _corr.DIRECT_BLOCK, s1.handle, s2.handle, plan_ref(plan))
        else:
            symbol = f"{p}1DConvolutionH"
            status = _corr._CONV[p](hx.handle, hy.handle, out.handle, 0, algorithm,
                                    _corr.DIRECT_BLOCK, s1.handle, s2.handle, plan_ref(plan))
        check(status, symbol, name)
        return out.to_numpy()
    x, y, p, out_t = _corr._pair(x, y, mixed=False)
    x, y = np.ascontiguousarray(x), np.ascontiguousarray(y)
    algorithm = _corr._algorithm(method, min(x.size, y.size), _corr.FFT_CROSSOVER_2D)
    hx, hy = HostArray.from_numpy(x), HostArray.from_numpy(y)
    out = HostArray.empty(out_t, 2)
    s1, s2 = HostArray.empty(out_t), HostArray.empty(out_t)
    if correlation:
        symbol = f"{p}2DCorrelationH"
        status = _corr._CORR2[p](hx.handle, hy.handle, out.handle, algorithm, s1.handle,
                                 s2.handle, plan_ref(plan))
    else:
        symbol = f"{p}2DConvolutionH"
        status = _corr._CONV2[p](hx.handle, hy.handle, out.handle, 0, algorithm, s1.handle,
                                 s2.handle, plan_ref(plan))
    check(status, symbol, name)
    return out.take_numpy()


def _fft_full(a, b, axes, name):
    """Full convolution along `axes` (broadcasting over the others) through
    the library's FFTs."""
    shape = []
    for i in range(a.ndim):
        if i in axes:
            shape.append(a.shape[i] + b.shape[i] - 1)
        elif a.shape[i] != b.shape[i] and 1 not in (a.shape[i], b.shape[i]):
            raise ValueError(f"{name}: incompatible shapes for in1 and in2: {a.shape} and "
                             f"{b.shape}")
        else:
            shape.append(max(a.shape[i], b.shape[i]))
    if not axes:
        return a * b
    fast = [fourier.next_fast_len(shape[i]) for i in axes]
    if a.dtype.kind != "c" and b.dtype.kind != "c":
        y = fourier.irfftn(fourier.rfftn(a, fast, axes) * fourier.rfftn(b, fast, axes), fast, axes)
    else:
        y = fourier.ifftn(fourier.fftn(a, fast, axes) * fourier.fftn(b, fast, axes), fast, axes)
    return y[tuple(slice(0, n) for n in shape)]


def _convolve(in1, in2, mode, method, name, correlation, plan=None):
    a, b = _operands(in1, in2, name)
    _mode(mode, name)
    if method not in _METHODS:
        raise ValueError(f"{name}: acceptable method flags are 'auto', 'direct', or 'fft', "
                         f"not {method!r}")
    rt = _result_type(a, b)
    if a.ndim == 0:
        return _back(a * (np.conj(b) if correlation else b), rt)
    if a.size == 0 or b.size == 0:
        return np.array([], rt)
    if mode == "valid":
        _valid_shape(a, b, name)
    x, y = _computed(a, b)
    if a.ndim <= 2:
        # The library correlates conj(x) against y: correlate(in1, in2) is
        # its correlation of in2 against in1.
        full = _lib_full(y, x, True, method, name, plan) if correlation else \
            _lib_full(x, y, False, method, name, plan)
    else:
        if correlation:
            y = np.conj(y[(slice(None, None, -1),) * y.ndim])
        full = _fft_full(x, y, list(range(a.ndim)), name)
    return _back(np.ascontiguousarray(_select(full, a, b, mode, name)), rt)


def convolve(in1, in2, mode="full", method="auto", *, plan=None):
    """Convolution of two N-dimensional arrays, as `scipy.signal.convolve`.

    Parameters
    ----------
    in1, in2 : array_like
        Operands of the same number of dimensions (real or complex; a real
        and a complex 1D operand are convolved without widening the real
        one).
    mode : {"full", "same", "valid"}, optional
        The full result, its centre of in1's shape, or the part computed
        without zero padding.
    method : {"auto", "direct", "fft"}, optional
        The library's direct sums or frequency-domain method ("auto" picks
        by size).  Arrays of more than two dimensions go through the FFT.
    plan : fennel_dsp.Plan, optional
        Keeps the frequency-domain transform between calls.

    Returns
    -------
    ndarray
        Of scipy's result type (integer inputs give integers).

    Raises
    ------
    ValueError
        Different numbers of dimensions, an unknown mode or method, 'valid'
        with neither operand the larger in every dimension.
    TypeError
        Non-numeric operands, a plan that is not a Plan.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.convolve([1.0, 2.0, 3.0], [0.0, 1.0, 0.5])
    array([0. , 1. , 2.5, 4. , 1.5])
    >>> fd.convolve([1, 2, 3], [1, 1], mode="same")
    array([1, 3, 5])
    """
    return _convolve(in1, in2, mode, method, "fennel_dsp.convolve", False, plan)


def correlate(in1, in2, mode="full", method="auto", *, plan=None):
    """Cross-correlation of two N-dimensional arrays, as
    `scipy.signal.correlate`: z[k] = sum_l in1[l] conj(in2[l - k + M - 1])
    for the full mode.

    Parameters
    ----------
    in1, in2 : array_like
        Operands of the same number of dimensions.
    mode, method, plan
        As in `convolve`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError
        As in `convolve`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.correlate([1.0, 2.0, 3.0], [0.0, 1.0, 0.5])
    array([0.5, 2. , 3.5, 3. , 0. ])
    """
    return _convolve(in1, in2, mode, method, "fennel_dsp.correlate", True, plan)


def _axes(axes, ndim, name):
    if axes is None:
        return list(range(ndim))
    axes = [operator.index(a) for a in (axes if np.iterable(axes) else [axes])]
    out = []
    for a in axes:
        if not -ndim <= a < ndim:
            raise ValueError(f"{name}: axes exceeds dimensionality of input")
        out.append(a % ndim)
    if len(set(out)) != len(out):
        raise ValueError(f"{name}: all axes must be unique")
    return sorted(out)


def _fftconvolve(in1, in2, mode, axes, name):
    a, b = _operands(in1, in2, name)
    _mode(mode, name)
    rt = _result_type(a, b)
    if a.ndim == 0:
        return _back(a * b, rt)
    if a.size == 0 or b.size == 0:
        return np.array([], rt)
    axes = _axes(axes, a.ndim, name)
    # Axes where an operand has one point broadcast (a product, not a sum).
    axes = [i for i in axes if a.shape[i] != 1 and b.shape[i] != 1]
    for i in range(a.ndim):
        if i not in axes and a.shape[i] != b.shape[i] and 1 not in (a.shape[i], b.shape[i]):
            raise ValueError(f"{name}: incompatible shapes for in1 and in2: {a.shape} and "
                             f"{b.shape}")
    if mode == "valid":
        ok1 = all(a.shape[i] >= b.shape[i] for i in axes)
        ok2 = all(b.shape[i] >= a.shape[i] for i in axes)
        if not (ok1 or ok2):
            raise ValueError(f"{name}: for 'valid' mode, one must be at least as large as "
                             f"the other in every dimension")
        if not ok1:
            a, b = b, a
    if not axes:
        full = a * b
    else:
        if rt.kind in "biu":
            rt = np.dtype(np.float64)
        x, y = _computed(a, b)
        if len(axes) == a.ndim and a.ndim <= 2:
            full = _lib_full(x, y, False, "fft", name, None)
        else:
            full = _fft_full(x, y, axes, name)
    if mode == "full":
        return _back(full, rt)
    if mode == "same":
        return _back(np.ascontiguousarray(_centred(full, a.shape)), rt)
    shape = [full.shape[i] if i not in axes else a.shape[i] - b.shape[i] + 1
             for i in range(full.ndim)]
    return _back(np.ascontiguousarray(_centred(full, shape)), rt)


def fftconvolve(in1, in2, mode="full", axes=None):
    """Convolution through the library's FFTs, as `scipy.signal.fftconvolve`.

    Parameters
    ----------
    in1, in2 : array_like
        Operands of the same number of dimensions.
    mode : {"full", "same", "valid"}, optional
        As in `convolve`.
    axes : int or sequence of int, optional
        Axes to convolve over (default all); the others broadcast.

    Returns
    -------
    ndarray
        Floating point (integer inputs give float64).

    Raises
    ------
    ValueError
        Shapes that do not broadcast, and as in `convolve`.
    TypeError
        As in `convolve`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fftconvolve([1.0, 2.0, 3.0], [1.0, 1.0]).round(12)
    array([1., 3., 5., 3.])
    """
    return _fftconvolve(in1, in2, mode, axes, "fennel_dsp.fftconvolve")


def oaconvolve(in1, in2, mode="full", axes=None):
    """Convolution with scipy.signal.oaconvolve's arguments and results (the
    library's FFTs over the whole operands, which equals overlap-add to
    rounding).

    Parameters
    ----------
    in1, in2, mode, axes
        As in `fftconvolve`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError
        As in `fftconvolve`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.oaconvolve([1.0, 2.0, 3.0], [1.0, 1.0], mode="valid").round(12)
    array([3., 5.])
    """
    return _fftconvolve(in1, in2, mode, axes, "fennel_dsp.oaconvolve")


def _two_d(in1, in2, mode, boundary, fillvalue, name, correlation, method, plan):
    a, b = as_array(in1, name), as_array(in2, name)
    if a.ndim != 2 or b.ndim != 2:
        raise ValueError(f"{name}: in1 and in2 should have two dimensions")
    if boundary not in ("fill", "wrap", "symm"):
        raise ValueError(f"{name}: acceptable boundary flags are 'fill', 'wrap' and 'symm'")
    if (boundary != "fill" or fillvalue != 0) and mode != "valid":
        # in1 extended by the kernel's size less one on every side, as the
        # boundary says: its valid part is the full result over the
        # extended in1.
        _mode(mode, name)
        pad = [(m - 1, m - 1) for m in b.shape]
        if boundary == "fill":
            fill = np.asarray(fillvalue)
            if fill.ndim != 0:
                raise ValueError(f"{name}: fillvalue must be a scalar")
            if fill.dtype.kind == "c" and np.result_type(a, b).kind != "c":
                raise ValueError(f"{name}: a complex fillvalue for real operands")
            p = np.pad(a.astype(np.result_type(a, fill), copy=False), pad,
                       constant_values=fill)
        else:
            p = np.pad(a, pad, mode="wrap" if boundary == "wrap" else "symmetric")
        full = _convolve(p, b, "valid", method, name, correlation, plan)
        if mode == "full":
            return full
        r, c = ((m // 2 if correlation else (m - 1) // 2) for m in b.shape)
        return np.ascontiguousarray(full[r:r + a.shape[0], c:c + a.shape[1]])
    if correlation and mode == "valid" and not all(p >= q for p, q in zip(a.shape, b.shape)):
        # With the second operand the larger, correlate2d returns the
        # reversed correlation of in2 against in1 without conjugating it.
        return np.conj(_convolve(a, b, mode, method, name, True, plan))
    if correlation and mode == "same":
        # correlate2d's 'same' starts at (M0 // 2, M1 // 2) of the full result.
        _mode(mode, name)
        full = _convolve(a, b, "full", method, name, True, plan)
        r, c = b.shape[0] // 2, b.shape[1] // 2
        return np.ascontiguousarray(full[r:r + a.shape[0], c:c + a.shape[1]])
    return _convolve(a, b, mode, method, name, correlation, plan)


def convolve2d(in1, in2, mode="full", boundary="fill", fillvalue=0, *, method="auto", plan=None):
    """Two-dimensional convolution, as `scipy.signal.convolve2d`.

    Parameters
    ----------
    in1, in2 : array_like
        Matrices.
    mode : {"full", "same", "valid"}, optional
        As in `convolve`.
    boundary : {"fill", "wrap", "symm"}, optional
        How in1 is extended beyond its edges: with fillvalue, periodically,
        or mirrored (edge samples repeated).
    fillvalue : scalar, optional
        The value of "fill".
    method : {"auto", "direct", "fft"}, optional
        The library's method.
    plan : fennel_dsp.Plan, optional
        Keeps the frequency-domain transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Operands that are not 2D, an unknown mode or boundary.
    TypeError
        As in `convolve`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.convolve2d(np.eye(2), np.ones((1, 2)))
    array([[1., 1., 0.],
           [0., 1., 1.]])
    """
    return _two_d(in1, in2, mode, boundary, fillvalue, "fennel_dsp.convolve2d", False, method,
                  plan)


def correlate2d(in1, in2, mode="full", boundary="fill", fillvalue=0, *, method="auto", plan=None):
    """Two-dimensional cross-correlation, as `scipy.signal.correlate2d`.

    Parameters
    ----------
    in1, in2, mode, boundary, fillvalue, method, plan
        As in `convolve2d`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError
        As in `convolve2d`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.correlate2d(np.eye(2), np.ones((1, 2)))
    array([[1., 1., 0.],
           [0., 1., 1.]])
    """
    return _two_d(in1, in2, mode, boundary, fillvalue, "fennel_dsp.correlate2d", True, method,
                  plan)


# ---- IIR filtering --------------------------------------------------------

_IIR_PREFIX = {"s": "ss", "d": "dd", "c": "cs", "z": "zd"}


def _filter_rows(b, a, rows):
    """Every row of a 2D array through the library's direct-form filter from
    rest (b and a real, of the rows' real type)."""
    p = TYPE_CODES[rows.dtype][1]
    real = REAL_OF[rows.dtype]
    hb, ha = HostArray.from_numpy(b.astype(real)), HostArray.from_numpy(a.astype(real))
    fstate, rstate, tail = (HostArray.empty(rows.dtype) for _ in range(3))
    aws, bws = HostArray.empty(real), HostArray.empty(real)
    f = _win._IIR[p]
    out = None if rows.shape[0] == 1 else np.empty_like(rows)
    for i in range(rows.shape[0]):
        data = HostArray.from_numpy(np.ascontiguousarray(rows[i]))
        check(f(data.handle, ha.handle, hb.handle, fstate.handle, rstate.handle, 1, tail.handle,
                aws.handle, bws.handle), f"{_IIR_PREFIX[p]}IIRDirectFilterH", "fennel_dsp.lfilter")
        if out is None:  # one row: the host array's block, without a copy
            return data.take_numpy()[None]
        out[i] = data.to_numpy()
    return out


def _filter(b, a, rows):
    """Every row of rows (of a complex type when b or a is complex) through
    b(z) / a(z) from rest.  The library filters with real denominators: a
    complex a becomes a(z) conj(a)(z), whose coefficients are real, with b
    multiplied by conj(a); a complex b is filtered as its real and
    imaginary parts."""
    if a.dtype.kind == "c":
        b = np.convolve(b, np.conj(a))
        a = np.convolve(a, np.conj(a)).real
    if b.dtype.kind == "c":
        return _filter_rows(b.real, a, rows) + 1j * _filter_rows(b.imag, a, rows)
    return _filter_rows(b, a, rows)


# The tails' product in C on one thread (fennel_dsp._fast), or None: numpy's
# product goes to the BLAS, whose threads wait for a busy second core (0.17
# to 1.8 ms for 4096 rows of 64 on this machine).
_passes = fourier._passes

# Rows up to this long are filtered as one joined signal; the cost of a
# call per row matters only for shorter ones.
_JOIN_ROWS_UP_TO = 1 << 14


def _stable(a):
    return a.size < 2 or np.abs(np.roots(a)).max() < 1


def _final_state(bn, an, rows, y, zr):
    """scipy's transposed direct form II state after every row, from the
    row's last inputs and outputs (and what is left of zr when a row is
    shorter than the state)."""
    K = len(an) - 1
    n = rows.shape[1]
    zf = np.zeros((rows.shape[0], K), np.result_type(y.dtype, bn.dtype, an.dtype))
    for i in range(K):
        for j in range(min(n, K - i)):
            zf[:, i] += bn[i + 1 + j] * rows[:, n - 1 - j] - an[i + 1 + j] * y[:, n - 1 - j]
        if zr is not None and i + n < K:
            zf[:, i] += zr[:, i + n]
    return zf


def _state_response(a, K, n):
    """G (K x L), L <= n: row k is the zero-input response of 1 / a(z) to a
    unit state k (scipy's transposed direct form II), so that the response
    to states z is z @ G; it is the response to an impulse at k times a[0],
    cut where the stable filter's response has decayed below rounding."""
    m = min(n, 1024)
    while True:
        e = np.zeros((1, m))
        e[0, 0] = 1
        g = _filter(np.array([a[0]]), a, e)[0]
        big = np.nonzero(np.abs(g) > 1e-18 * np.abs(g).max())[0]
        L = min(n, (big[-1] + 1 if big.size else 0) + K)
        if L < m or m == n:
            break
        m = min(n, 8 * m)
    G = np.zeros((K, L), g.dtype)
    for k in range(min(K, L)):
        G[k, k:] = g[:L - k]
    return G


def lfilter(b, a, x, axis=-1, zi=None):
    """Filters x along axis with the rational transfer function b(z) / a(z),
    as `scipy.signal.lfilter`.

    Parameters
    ----------
    b, a : array_like
        Numerator and denominator coefficients (a[0] != 0), real or
        complex.
    x : array_like
        Signal, N-dimensional.
    axis : int, optional
        The axis to filter along.
    zi : array_like, optional
        Initial state of scipy's transposed direct form II, of length
        max(len(a), len(b)) - 1 along axis.

    Returns
    -------
    y : ndarray
    zf : ndarray
        The final state (only when zi is given).

    Raises
    ------
    ValueError
        a[0] == 0, empty coefficients, a zi of the wrong shape, an axis out of
        range.
    TypeError
        Non-numeric input.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.lfilter([1.0], [1.0, -0.5], [1.0, 0.0, 0.0, 0.0])
    array([1.   , 0.5  , 0.25 , 0.125])
    >>> fd.lfilter([1.0], [1.0, -0.5j], [1.0, 0.0, 0.0])
    array([ 1.  +0.j ,  0.  +0.5j, -0.25+0.j ])
    """
    name = "fennel_dsp.lfilter"
    b = np.atleast_1d(as_array(b, name))
    a = np.atleast_1d(as_array(a, name))
    x = as_array(x, name)
    for v in (b, a, x):
        working_dtype(v, name)
    if b.ndim != 1 or a.ndim != 1:
        raise ValueError(f"{name}: b and a must be one-dimensional")
    if b.size == 0 or a.size == 0:
        raise ValueError(f"{name}: b and a must not be empty")
    if a[0] == 0:
        raise ValueError(f"{name}: the first denominator coefficient must not be zero")
    rt = np.result_type(b.dtype, a.dtype, x.dtype, np.float16)
    if rt.kind in "biu" or rt == np.float16:
        rt = np.dtype(np.float32) if rt == np.float16 else np.dtype(np.float64)
    if rt == np.longdouble or rt == np.clongdouble:
        rt = np.dtype(np.complex128 if rt.kind == "c" else np.float64)
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    axis = operator.index(axis)
    if not -x.ndim <= axis < x.ndim:
        raise np.AxisError(axis, x.ndim, name)
    complex_work = "c" in (x.dtype.kind, b.dtype.kind, a.dtype.kind)
    work = COMPLEX_OF[np.dtype(rt)] if complex_work else rt
    K = max(len(a), len(b)) - 1
    xm = np.moveaxis(x, axis, -1)
    rows = np.ascontiguousarray(xm.reshape(-1, xm.shape[-1]), dtype=work)
    R, n = rows.shape
    ca = a.astype(np.complex128 if a.dtype.kind == "c" else np.float64)
    cb = b.astype(np.complex128 if b.dtype.kind == "c" else np.float64)
    bn = np.zeros(K + 1, np.result_type(cb, ca))
    an = np.zeros(K + 1, ca.dtype)
    bn[:len(b)] = cb / ca[0]
    an[:len(a)] = ca / ca[0]
    zr = None
    if zi is not None and K > 0:
        zi = np.asarray(zi)
        if zi.ndim != x.ndim or zi.shape[axis] != K:
            raise ValueError(f"{name}: zi must have x's dimensions with length "
                             f"max(len(a), len(b)) - 1 = {K} along axis")
        try:
            zr = np.broadcast_to(np.moveaxis(zi, axis, -1), xm.shape[:-1] + (K,)).reshape(-1, K)
        except ValueError:
            raise ValueError(f"{name}: zi's shape {zi.shape} does not fit x's {x.shape}") from None
    if R > 1 and K <= n <= _JOIN_ROWS_UP_TO and n > 0 and _stable(ca):
        # All rows as one signal in one library call; each row's start then
        # carries the state the previous row left, whose zero-input
        # response is taken off (the filter is stable, so it decays).
        y = _filter(cb, ca, rows.reshape(1, -1)).reshape(R, n)
        if K > 0:
            # The state a row leaves is its last K inputs and outputs times
            # fixed K x K matrices, so the responses to take off are one
            # product of those tails with (2K x L) matrices.
            G = _state_response(ca, K, n)
            L = G.shape[1]
            M = np.zeros((2 * K, K), np.result_type(bn.dtype, an.dtype))
            for j in range(K):
                M[j, :K - j] = bn[j + 1:]  # input n - 1 - j
                M[K + j, :K - j] = -an[j + 1:]  # output n - 1 - j
            tails = np.empty((R - 1, 2 * K), np.result_type(y.dtype, M.dtype))
            tails[:, :K] = rows[:-1, n - 1:n - K - 1 if n > K else None:-1]
            tails[:, K:] = y[:-1, n - 1:n - K - 1 if n > K else None:-1]
            y = y.astype(np.result_type(y, G, M), copy=False)
            MG = M @ G
            if _passes is None or _passes.sub_product(y[1:, :L], tails, MG) is NotImplemented:
                y[1:, :L] -= tails @ MG
            if zr is not None:
                y[:, :L] += zr @ G
    else:
        y = _filter(cb, ca, rows) if n > 0 else rows.copy()
        if zr is not None and n > 0:
            G = _state_response(ca, K, n)
            y = y.astype(np.result_type(y, G, zr), copy=False)
            y[:, :G.shape[1]] += zr @ G
    y = y.astype(work, copy=False)
    if zi is None:
        return np.moveaxis(y.reshape(xm.shape), -1, axis).astype(rt if work == rt else work,
                                                                  copy=False)
    if K == 0:
        zf = np.empty(x.shape[:axis] + (0,) + x.shape[axis + 1:], work)
        return np.moveaxis(y.reshape(xm.shape), -1, axis), zf
    zf = _final_state(bn, an, rows, y, zr)
    out_t = np.result_type(work, zr.dtype) if zr.dtype.kind in "fc" else work
    y = np.moveaxis(y.astype(out_t, copy=False).reshape(xm.shape), -1, axis)
    zf = np.moveaxis(zf.astype(out_t, copy=False).reshape(xm.shape[:-1] + (K,)), -1, axis)
    return y, zf


# ---- windows and FIR design -----------------------------------------------

_COSINE = {"hann": 1, "han": 1, "hanning": 1, "hamming": 2, "hamm": 2, "ham": 2, "blackman": 5,
           "black": 5, "blk": 5, "blackmanharris": 7, "blackharr": 7, "bkh": 7, "nuttall": 11,
           "nutl": 11, "nut": 11, "boxcar": 0, "box": 0, "ones": 0, "rect": 0,
           "rectangular": 0}
_TRIANGLE = ("bartlett", "bart", "brt")


# scipy's flat top has a[0] = 0.21557895, the library's 0.215578948: the
# same cosine sum plus this constant.
_FLATTOP_OFFSET = 0.21557895 - 0.215578948


# Windows computed here from their definitions, of M >= 2 points, symmetric
# (a periodic window is the symmetric one of M + 1 points without its last).
def _general_cosine(M, a):
    x = np.linspace(-np.pi, np.pi, M)
    w = np.zeros(M)
    for k, c in enumerate(a):
        w += c * np.cos(k * x)
    return w


def _tukey(M, alpha=0.5):
    if alpha <= 0:
        return np.ones(M)
    alpha = min(float(alpha), 1.0)  # 1 and above: the Hann window
    n = np.arange(M)
    taper = alpha * (M - 1)
    w = np.ones(M)
    width = int(np.floor(taper / 2))
    rise, fall = n[:width + 1], n[M - width - 1:]
    w[:width + 1] = 0.5 * (1 + np.cos(np.pi * (2.0 * rise / taper - 1)))
    w[M - width - 1:] = 0.5 * (1 + np.cos(np.pi * (2.0 * fall / taper - 2.0 / alpha + 1)))
    return w


def _offsets(M):
    return np.arange(M) - (M - 1) / 2.0


def _parzen(M):
    t = np.abs(_offsets(M)) / (M / 2.0)
    inner = np.abs(_offsets(M)) <= (M - 1) / 4.0
    return np.where(inner, 1 - 6 * t**2 + 6 * t**3, 2 * (1 - t) ** 3)


def _bohman(M):
    f = np.abs(np.linspace(-1, 1, M))
    w = (1 - f) * np.cos(np.pi * f) + np.sin(np.pi * f) / np.pi
    w[[0, -1]] = 0
    return w


def _exponential(M, center=None, tau=1.0):
    c = (M - 1) / 2 if center is None else center
    return np.exp(-np.abs(np.arange(M) - c) / tau)


def _taylor(M, nbar=4, sll=30, norm=True):
    # Sidelobes sll dB down, the first nbar - 1 of them kept at that level.
    A = np.arccosh(10 ** (sll / 20)) / np.pi
    s2 = nbar**2 / (A**2 + (nbar - 0.5) ** 2)
    m = np.arange(1, nbar)
    F = np.empty(nbar - 1)
    for i, mi in enumerate(m):
        others = np.delete(m, i)
        F[i] = ((-1) ** i * np.prod(1 - mi**2 / s2 / (A**2 + (m - 0.5) ** 2))
                / (2 * np.prod(1 - mi**2 / others**2)))

    def W(n):
        return 1 + 2 * np.dot(F, np.cos(2 * np.pi * m[:, None] * (n - M / 2.0 + 0.5) / M))

    w = W(np.arange(M))
    return w / W((M - 1) / 2) if norm else w


def _chebwin(M, at):
    """Dolph-Chebyshev: the inverse DFT of the Chebyshev polynomial of
    degree M - 1 sampled on beta cos(pi k / M) (half a sample later for even
    M), at dB sidelobes, peak 1."""
    if abs(at) < 45:
        warnings.warn("chebwin: below about 45 dB of attenuation the window's equivalent "
                      "noise bandwidth does not grow with the attenuation", UserWarning,
                      stacklevel=4)
    order = M - 1
    beta = np.cosh(np.arccosh(10 ** (abs(at) / 20.0)) / order)
    x = beta * np.cos(np.pi * np.arange(M) / M)
    inside = np.abs(x) <= 1
    p = np.cos(order * np.arccos(np.clip(x, -1, 1)))
    outside = np.cosh(order * np.arccosh(np.maximum(np.abs(x), 1)))
    p[~inside] = (outside * np.where(x < -1, (-1.0) ** order, 1.0))[~inside]
    if M % 2:
        w = fourier.fft(p).real
        h = (M + 1) // 2
        w = np.concatenate((w[h - 1:0:-1], w[:h]))
    else:
        w = fourier.fft(p * np.exp(1j * np.pi / M * np.arange(M))).real
        h = M // 2 + 1
        w = np.concatenate((w[h - 1:0:-1], w[1:h]))
    return w / w.max()


# name: (function of M and the parameters, number of required parameters)
_FORMULAS = {}
for _names, _entry in [
        (("general cosine", "general_cosine"), (_general_cosine, 1)),
        (("tukey", "tuk"), (_tukey, 0)),
        (("cosine", "halfcosine"), (lambda M: np.sin(np.pi / M * (np.arange(M) + 0.5)), 0)),
        (("triangle", "triang", "tri"),
         (lambda M: 1 - np.abs(2 * np.arange(M) - (M - 1)) / (M + M % 2), 0)),
        (("parzen", "parz", "par"), (_parzen, 0)),
        (("bohman", "bman", "bmn"), (_bohman, 0)),
        (("exponential", "poisson"), (_exponential, 0)),
        (("barthann", "brthan", "bth"),
         (lambda M: (lambda f: 0.62 - 0.48 * f + 0.38 * np.cos(2 * np.pi * f))(
             np.abs(np.arange(M) / (M - 1.0) - 0.5)), 0)),
        (("general gaussian", "general_gaussian", "general gauss", "general_gauss", "ggs"),
         (lambda M, p, sig: np.exp(-0.5 * np.abs(_offsets(M) / sig) ** (2 * p)), 2)),
        (("lanczos", "sinc"), (lambda M: np.sinc(2.0 * np.arange(M) / (M - 1) - 1.0), 0)),
        (("taylor", "taylorwin"), (_taylor, 0)),
        (("chebwin", "cheb"), (_chebwin, 1))]:
    for _name in _names:
        _FORMULAS[_name] = _entry


def _formula_window(window, n, sym, name):
    """The window from _FORMULAS (n points), or None for another name."""
    args = ()
    if isinstance(window, tuple) and window:
        window, *args = window
    entry = _FORMULAS.get(window.lower()) if isinstance(window, str) else None
    if entry is None:
        return None
    f, required = entry
    if len(args) < required:
        raise ValueError(f"{name}: the {window!r} window needs {required} parameter(s); pass a "
                         f"tuple")
    if f is _exponential and sym and args and args[0] is not None:
        raise ValueError(f"{name}: a symmetric exponential window takes no center")
    if n <= 1:
        return np.ones(n)
    return f(n if sym else n + 1, *args)[:n].astype(np.float64, copy=False)


def _window_parts(window, name):
    """(library window type, parameter, scipy's gaussian std or None, offset,
    gain): scipy's window is gain * (the library's) + offset."""
    param = None
    if isinstance(window, tuple):
        if not window:
            raise ValueError(f"{name}: empty window tuple")
        window, *args = window
        param = args[0] if args else None
    if isinstance(window, (int, float)) and not isinstance(window, bool):
        return 60, float(window), None, 0.0, 1.0
    if not isinstance(window, str):
        raise ValueError(f"{name}: window must be a string, a tuple or a Kaiser beta")
    key = window.lower()
    if key in _COSINE:
        return _COSINE[key], 0.0, None, 0.0, 1.0
    if key in ("flattop", "flat", "flt"):
        return 6, 0.0, None, _FLATTOP_OFFSET, 1.0
    if key in ("general hamming", "general_hamming"):
        if param is None:
            raise ValueError(f"{name}: the general Hamming window needs a parameter")
        # alpha - (1 - alpha) cos = (2 alpha - 1) + 2 (1 - alpha) hann.
        alpha = float(param)
        return 1, 0.0, None, 2 * alpha - 1, 2 * (1 - alpha)
    if key in _TRIANGLE:
        return 30, 0.0, None, 0.0, 1.0
    if key in ("kaiser", "ksr"):
        if param is None:
            raise ValueError(f"{name}: the Kaiser window needs a parameter")
        return 60, float(param), None, 0.0, 1.0
    if key in ("gaussian", "gauss", "gss"):
        if param is None:
            raise ValueError(f"{name}: the Gaussian window needs a parameter")
        return 62, None, float(param), 0.0, 1.0
    raise Unsupported(f"{name}: window {window!r} is not available in the library")


def get_window(window, Nx, fftbins=True):
    """A window of Nx points, as `scipy.signal.get_window`.

    Parameters
    ----------
    window : str, tuple or float
        "hann", "hamming", "blackman", "blackmanharris", "nuttall", "flattop",
        "boxcar", "bartlett", ("general_hamming", alpha), ("kaiser", beta) or a
        float beta, ("gaussian", std) from the library; "tukey" or ("tukey",
        alpha), ("general_cosine", a), "cosine", "triang", "parzen",
        "bohman", "barthann", "lanczos", "exponential" or ("exponential",
        center, tau), ("general_gaussian", p, sig), "taylor" or ("taylor",
        nbar, sll, norm), ("chebwin", at) from their definitions, with
        scipy's aliases.  Others ("dpss", "kbd") raise NotImplementedError.
    Nx : int
        Number of points.
    fftbins : bool, optional
        True: periodic (for spectral analysis); False: symmetric (for filter
        design).

    Returns
    -------
    ndarray
        float64.

    Raises
    ------
    ValueError
        Nx < 0, a window that needs a parameter without one.
    NotImplementedError
        Windows the library does not have.

    Examples
    --------
    >>> import fennel_dsp as fd
    >>> fd.get_window("hann", 4)
    array([0. , 0.5, 1. , 0.5])
    >>> fd.get_window("hann", 5, fftbins=False)
    array([0. , 0.5, 1. , 0.5, 0. ])
    """
    name = "fennel_dsp.get_window"
    n = operator.index(Nx)
    if n < 0:
        raise ValueError(f"{name}: Nx must be non-negative")
    w = _formula_window(window, n, not fftbins, name)
    if w is not None:
        return w
    wtype, param, std, offset, gain = _window_parts(window, name)
    if n == 0:
        return np.zeros(0)
    if n == 1:
        return np.ones(1)
    ones = np.ones(n)
    if not fftbins:
        if std is not None:
            param = std / n
        if n == 2:
            # Both points are the window's edge: that of three points (a
            # Gaussian of twice the width has the same edge value).
            w = _win.symmetric_window(np.ones(3), wtype, param if std is None else 2 * std / 3)
            w = np.full(2, w[0])
        else:
            w = _win.symmetric_window(ones, wtype, param)
    elif wtype == 60:
        w = _win.kaiser_window(ones, param)
    elif wtype == 62:
        w = _win.gaussian_window(ones, std / (n + 1))
    elif wtype == 30:
        w = _win.triangle_window(ones)
    else:
        w = _win.cosine_window(ones, wtype)
    if gain != 1.0:
        w *= gain
    if offset:
        w += offset
    return w


def _kaiser_beta(numtaps, width):
    atten = 2.285 * (numtaps - 1) * np.pi * width + 7.95
    if atten > 50:
        return 0.1102 * (atten - 8.7)
    if atten > 21:
        return 0.5842 * (atten - 21) ** 0.4 + 0.07886 * (atten - 21)
    return 0.0


def firwin(numtaps, cutoff, width=None, window="hamming", pass_zero=True, scale=True, fs=None):
    """Linear-phase FIR taps by the window method, as `scipy.signal.firwin`
    (any number of band edges).

    Parameters
    ----------
    numtaps : int
        Number of taps (odd for a passband at Nyquist).
    cutoff : float or sequence of floats
        Band edges, in the units of fs (default: relative to Nyquist = 1).
    width : float, optional
        Transition width: designs a Kaiser window for it.
    window : str or tuple, optional
        As in `get_window` (used symmetric).
    pass_zero : bool or {"lowpass", "highpass", "bandpass", "bandstop"}
        Whether 0 Hz is in the passband.
    scale : bool, optional
        Unit gain at 0 Hz, Nyquist or the band centre.
    fs : float, optional
        Sampling rate.

    Returns
    -------
    ndarray
        numtaps float64 coefficients.

    Raises
    ------
    ValueError
        An even number of taps with a passband at Nyquist, edges outside
        (0, fs/2), an unknown pass_zero.
    NotImplementedError
        A window the library does not have.

    Examples
    --------
    >>> import fennel_dsp as fd
    >>> fd.firwin(3, 0.5, window="boxcar").round(6)
    array([0.28005 , 0.439901, 0.28005 ])
    """
    name = "fennel_dsp.firwin"
    numtaps = operator.index(numtaps)
    if numtaps < 1:
        raise ValueError(f"{name}: numtaps must be at least 1")
    nyq = 0.5 * (2.0 if fs is None else float(fs))
    edges = np.atleast_1d(np.asarray(cutoff, dtype=float)) / nyq
    if edges.ndim != 1 or edges.size == 0 or np.any(edges <= 0) or np.any(edges >= 1):
        raise ValueError(f"{name}: invalid cutoff frequency: frequencies must be greater than 0 "
                         f"and less than fs/2")
    if np.any(np.diff(edges) <= 0):
        raise ValueError(f"{name}: invalid cutoff frequencies: must be strictly increasing")
    kinds = {"lowpass": True, "bandstop": True, "highpass": False, "bandpass": False}
    if isinstance(pass_zero, str):
        if pass_zero not in kinds or (pass_zero in ("lowpass", "highpass")) != (edges.size == 1):
            raise ValueError(f"{name}: pass_zero={pass_zero!r} does not fit {edges.size} cutoff(s)")
        pass_zero = kinds[pass_zero]
    pass_zero = bool(pass_zero)
    pass_nyquist = bool(edges.size & 1) ^ pass_zero
    if pass_nyquist and numtaps % 2 == 0:
        raise ValueError(f"{name}: a filter with a passband at the Nyquist frequency must have an "
                         f"odd number of taps")
    if width is not None:
        window = ("kaiser", _kaiser_beta(numtaps, float(width) / nyq))
    shape = _formula_window(window, numtaps, True, name)
    if shape is not None:
        window = "boxcar"  # the formula's window multiplies the taps below
    wtype, param, std, offset, gain = _window_parts(window, name)
    if std is not None:
        param = std / numtaps
    # The taps are linear in the bands and in the window: a sum of the
    # library's unscaled lowpass, highpass and bandpass designs, with the
    # window's offset as a rectangular-window part.
    bands = np.concatenate([[0.0] * pass_zero, edges, [1.0] * pass_nyquist]).reshape(-1, 2)
    parts = [(wtype, param or 0.0, gain)] + ([(0, 0.0, offset)] if offset else [])
    h = np.zeros(numtaps)
    for left, right in bands:
        ftype, f1, f2 = ((0, right, 0.0) if left == 0 else (1, left, 0.0) if right == 1
                         else (2, left, right))
        for t, prm, weight in parts:
            h += weight * _win.fir_windowed_coefficients(numtaps, 2.0, float(f1), float(f2),
                                                         ftype, t, prm, False)
    if shape is not None:
        h *= shape
    if scale:
        left, right = bands[0]
        f = 0.0 if left == 0 else 1.0 if right == 1 else 0.5 * (left + right)
        h /= np.sum(h * np.cos(np.pi * f * (np.arange(numtaps) - 0.5 * (numtaps - 1))))
    return h


# ---- resampling -----------------------------------------------------------

def _upfirdn_rows(h, rows, up, down):
    """Upsample every row by zero insertion (the library), convolve it with h
    (the library) and keep every down-th sample."""
    n = rows.shape[1]
    count = ((n - 1) * up + len(h) - 1) // down + 1
    out = None
    for i in range(rows.shape[0]):
        u = _resampling.upsample(rows[i], up) if up > 1 else rows[i]
        y = convolve(u, h)[: (n - 1) * up + len(h)][::down][:count]
        if out is None:
            out = np.empty((rows.shape[0], count), y.dtype)
        out[i] = y
    return out


def upfirdn(h, x, up=1, down=1, axis=-1, mode="constant", cval=0):
    """Upsample, FIR filter and downsample, as `scipy.signal.upfirdn`.

    Parameters
    ----------
    h : array_like
        FIR coefficients.
    x : array_like
        Signal, N-dimensional.
    up, down : int, optional
        Upsampling and downsampling factors (>= 1).
    axis : int, optional
        The axis to resample.
    mode : {"constant"}, optional
        Zero extension (scipy's other modes raise NotImplementedError).
    cval : float, optional
        0.

    Returns
    -------
    ndarray
        ((len - 1) * up + len(h) - 1) // down + 1 samples along axis.

    Raises
    ------
    ValueError
        up or down below 1, an empty h.
    NotImplementedError
        Other extension modes.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.upfirdn([1.0, 1.0], [1.0, 2.0, 3.0], up=2)
    array([1., 1., 2., 2., 3., 3.])
    """
    name = "fennel_dsp.upfirdn"
    h = np.atleast_1d(as_array(h, name))
    x = as_array(x, name)
    up, down = operator.index(up), operator.index(down)
    if up < 1 or down < 1:
        raise ValueError(f"{name}: up and down must be >= 1")
    if h.ndim != 1 or h.size == 0:
        raise ValueError(f"{name}: h must be 1-D with non-zero length")
    if mode != "constant" or cval != 0:
        raise Unsupported(f"{name}: the library extends with zeros only")
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    axis = operator.index(axis)
    if not -x.ndim <= axis < x.ndim:
        raise np.AxisError(axis, x.ndim, name)
    rt = np.result_type(h.dtype, x.dtype, np.float32)
    if rt == np.float32 and (h.dtype == np.float64 or x.dtype == np.float64):
        rt = np.dtype(np.float64)
    xm = np.moveaxis(x, axis, -1)
    rows = xm.reshape(-1, xm.shape[-1]).astype(rt)
    if rows.shape[1] == 0:
        raise ValueError(f"{name}: x must not be empty along axis")
    y = _upfirdn_rows(h.astype(rt), rows, up, down).astype(rt, copy=False)
    return np.moveaxis(y.reshape(xm.shape[:-1] + (y.shape[1],)), -1, axis)


def resample_poly(x, up, down, axis=0, window=("kaiser", 5.0), padtype="constant", cval=None):
    """Resampling by up / down through a polyphase lowpass, as
    `scipy.signal.resample_poly`.

    Parameters
    ----------
    x : array_like
        Signal.
    up, down : int
        The rate factors.
    axis : int, optional
        The axis to resample (scipy's default 0).
    window : str, tuple or array_like, optional
        The lowpass's window (as in `firwin`), or its taps.
    padtype : {"constant"}, optional
        Zero extension (others raise NotImplementedError).
    cval : None, optional
        Zero.

    Returns
    -------
    ndarray
        ceil(len * up / down) samples along axis.

    Raises
    ------
    ValueError
        up or down below 1.
    NotImplementedError
        Other pad types, windows the library does not have.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.resample_poly(np.ones(8), 1, 2).shape
    (4,)
    """
    name = "fennel_dsp.resample_poly"
    x = as_array(x, name)
    up, down = operator.index(up), operator.index(down)
    if up < 1 or down < 1:
        raise ValueError(f"{name}: up and down must be >= 1")
    if padtype != "constant" or cval not in (None, 0):
        raise Unsupported(f"{name}: the library extends with zeros only")
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    axis = operator.index(axis)
    if not -x.ndim <= axis < x.ndim:
        raise np.AxisError(axis, x.ndim, name)
    g = math.gcd(up, down)
    up, down = up // g, down // g
    if up == down == 1:
        return x.copy()
    x = x.astype(working_dtype(x, name), copy=False)
    n_in = x.shape[axis]
    n_out = n_in * up // down + bool(n_in * up % down)
    if isinstance(window, (list, np.ndarray)):
        h = np.asarray(window)
        half_len = (h.size - 1) // 2
    else:
        max_rate = max(up, down)
        half_len = 10 * max_rate
        h = firwin(2 * half_len + 1, 1.0 / max_rate, window=window) * up
    n_pre_pad = down - half_len % down
    n_post_pad = 0
    n_pre_remove = (half_len + n_pre_pad) // down

    def out_len(h_len):
        return ((n_in - 1) * up + h_len - 1) // down + 1

    while out_len(len(h) + n_pre_pad + n_post_pad) < n_out + n_pre_remove:
        n_post_pad += 1
    h = np.concatenate([np.zeros(n_pre_pad, h.dtype), h, np.zeros(n_post_pad, h.dtype)])
    h = h.astype(REAL_OF[x.dtype] if h.dtype.kind != "c" else COMPLEX_OF[x.dtype])
    y = upfirdn(h, x, up, down, axis)
    index = [slice(None)] * x.ndim
    index[axis] = slice(n_pre_remove, n_pre_remove + n_out)
    return y[tuple(index)]


def _odd_extend(x, n):
    left = 2 * x[:, :1] - x[:, n:0:-1]
    right = 2 * x[:, -1:] - x[:, -2:-(n + 2):-1]
    return np.concatenate([left, x, right], axis=1)


def _lfilter_zi(b, a):
    """The steady-state zi of lfilter for a unit step input."""
    n = max(len(a), len(b))
    b = np.r_[b, np.zeros(n - len(b))] / a[0]
    a = np.r_[a, np.zeros(n - len(a))] / a[0]
    companion = np.zeros((n - 1, n - 1))
    companion[0] = -a[1:]
    companion[1:, :-1] += np.eye(n - 2)
    IminusA = np.eye(n - 1) - companion.T
    B = b[1:] - a[1:] * b[0]
    return np.linalg.solve(IminusA, B)


def _filtfilt(b, a, rows):
    padlen = 3 * max(len(a), len(b))
    if rows.shape[1] <= padlen:
        raise ValueError(f"fennel_dsp.decimate: the signal must be longer than {padlen} samples")
    ext = _odd_extend(rows, padlen)
    zi = _lfilter_zi(b, a)
    y, _ = lfilter(b, a, ext, axis=-1, zi=zi[None, :] * ext[:, :1])
    y, _ = lfilter(b, a, y[:, ::-1], axis=-1, zi=zi[None, :] * y[:, -1:])
    return y[:, ::-1][:, padlen:-padlen]


def decimate(x, q, n=None, ftype="iir", axis=-1, zero_phase=True):
    """Lowpass filtering and downsampling by q, as `scipy.signal.decimate`.

    Parameters
    ----------
    x : array_like
        Signal.
    q : int
        Downsampling factor.
    n : int, optional
        Filter order (default 8 for "iir", 20 q for "fir").
    ftype : {"iir", "fir"}, optional
        A Chebyshev I lowpass (designed by scipy.signal.cheby1) or a Hamming
        windowed FIR (designed by the library); both filter through the
        library.
    axis : int, optional
        The axis to decimate.
    zero_phase : bool, optional
        Filter forwards and backwards (IIR) or centred (FIR).

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        q below 1, an unknown ftype.
    NotImplementedError
        An lti system as ftype.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.decimate(np.arange(40.0), 4, ftype="fir")[:3].round(3)
    array([0.358, 3.998, 7.951])
    """
    name = "fennel_dsp.decimate"
    x = as_array(x, name)
    q = operator.index(q)
    if q < 1:
        raise ValueError(f"{name}: q must be a positive integer")
    if ftype not in ("iir", "fir"):
        if isinstance(ftype, str):
            raise ValueError(f"{name}: invalid ftype {ftype!r}")
        raise Unsupported(f"{name}: lti systems are not supported")
    if n is not None:
        n = operator.index(n)
    working_dtype(x, name)
    if x.dtype.kind in "biu":
        x = x.astype(np.float64)
    axis = operator.index(axis)
    if not -x.ndim <= axis < x.ndim:
        raise np.AxisError(axis, x.ndim, name)
    step = [slice(None)] * x.ndim
    step[axis] = slice(None, None, q)
    if ftype == "fir":
        b = firwin((20 * q if n is None else n) + 1, 1.0 / q, window="hamming")
        if zero_phase:
            return resample_poly(x, 1, q, axis=axis, window=b)
        return lfilter(b, 1.0, x, axis=axis)[tuple(step)]
    from scipy.signal import cheby1  # the design only; the filtering is the library's
    b, a = cheby1(8 if n is None else n, 0.05, 0.8 / q)
    if zero_phase:
        xm = np.moveaxis(x, axis, -1)
        rows = xm.reshape(-1, xm.shape[-1])
        y = _filtfilt(b, a, rows).reshape(xm.shape)
        y = np.moveaxis(y, -1, axis)
    else:
        y = lfilter(b, a, x, axis=axis)
    return y[tuple(step)]


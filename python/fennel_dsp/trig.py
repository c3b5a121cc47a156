"""DCT and DST of real signals and matrices, float32 or float64.

dct1d is the orthonormal DCT-II and idct1d its inverse (the orthonormal DCT-III);
dst1d is the unscaled DST-I and idst1d its inverse (DST-I times 2/(n+1)).  The 2D
forms apply the 1D transform along every row, then along every column.

1D functions take plan=Plan(), 2D functions plan=TrigPlan().  Without a plan
each function keeps its committed transforms in a plan of its own per thread,
so repeated calls of one size do not plan again.  Each thread also keeps its
host arrays for input and output between calls (they hold the last call's
sizes).
"""
import threading

import numpy as np

from ._native import COMPLEX_OF, TYPE_CODES, Kept, Plan, TrigPlan, check, lib, raw

__all__ = ["dct1d", "idct1d", "dst1d", "idst1d", "dct2", "idct2", "dst2", "idst2"]

_FLOATS = (np.dtype(np.float32), np.dtype(np.float64))


class _Call:
    """One function in one thread: its raw entry, its plan and the host
    arrays it keeps (input, output, workspace; the library leaves the
    workspace empty after every call)."""

    def __init__(self, kind, inverse, ndim, dtype):
        prefix = TYPE_CODES[dtype][1]
        self.name = f"{prefix}{ndim}D{'Inv' if inverse else ''}{kind}H"
        self.f = raw(getattr(lib, self.name))
        self.plan = (Plan if ndim == 1 else TrigPlan)()
        self.plan_ref = self.plan.ref()
        self.src, self.out = Kept(dtype, ndim), Kept(dtype, ndim)
        self.ws = Kept(COMPLEX_OF[dtype] if inverse and kind == "DCT" else dtype, 1)


class _Local(threading.local):
    def __init__(self):
        self.calls = {}


_local = _Local()


def _real(x, ndim):
    if type(x) is not np.ndarray:
        x = np.asarray(x)
    if x.dtype not in _FLOATS:
        if x.dtype.kind == "c":
            raise TypeError("the DCT and DST take real data")
        x = x.astype(np.float64)
    if x.ndim != ndim:
        raise ValueError(f"expected a {ndim}D array, got {x.ndim}D")
    return x


def _run(kind, inverse, x, ndim, size, plan):
    x = _real(x, ndim)
    key = (kind, inverse, ndim, x.dtype)
    call = _local.calls.get(key)
    if call is None:
        call = _local.calls[key] = _Call(kind, inverse, ndim, x.dtype)
    if plan is None:
        ref = call.plan_ref
    elif type(plan) is (Plan if ndim == 1 else TrigPlan):
        ref = plan.ref()
    else:
        raise TypeError(f"{call.name} takes a {'Plan' if ndim == 1 else 'TrigPlan'}")
    call.src.load(x)  # copies x, so x need not be contiguous
    if inverse:
        shape = x.shape
        status = call.f(call.src.arg, call.out.arg, call.ws.arg, ref)
    elif ndim == 1:
        n = int(size or 0)
        shape = (n if n >= 1 else x.shape[0],)
        status = call.f(call.src.arg, call.out.arg, n, call.ws.arg, ref)
    else:
        rows, cols = size if size is not None else (0, 0)
        rows, cols = int(rows or 0), int(cols or 0)
        shape = (rows if rows >= 1 else x.shape[0], cols if cols >= 1 else x.shape[1])
        status = call.f(call.src.arg, call.out.arg, rows, cols, call.ws.arg, ref)
    if status < 0:
        call.out.forget()
        check(status, call.name)
    return call.out.result(shape)


def dct1d(x, n=None, plan=None):
    """Orthonormal DCT-II of a real 1D signal, zero-padded or cut to n.

    Parameters
    ----------
    x : array_like
        Real signal (float32 or float64).
    n : int, optional
        Transform length.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty signal.  TypeError: complex input, a TrigPlan.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dct1d(np.ones(4))
    array([2., 0., 0., 0.])
    """
    return _run("DCT", False, x, 1, n, plan)


def idct1d(X, plan=None):
    """Orthonormal DCT-III: the inverse of dct1d.

    Parameters
    ----------
    X : array_like
        Coefficients.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty input.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idct1d(np.array([2.0, 0.0, 0.0, 0.0]))
    array([1., 1., 1., 1.])
    """
    return _run("DCT", True, X, 1, None, plan)


def dst1d(x, n=None, plan=None):
    """Unscaled DST-I, y[k] = sum x[j] sin(pi (j+1)(k+1) / (n+1)), of a real
    1D signal zero-padded or cut to n.

    Parameters
    ----------
    x : array_like
        Real signal.
    n : int, optional
        Transform length.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dst1d(np.array([1.0, 0.0, 0.0]))
    array([0.70710678, 1.        , 0.70710678])
    """
    return _run("DST", False, x, 1, n, plan)


def idst1d(X, plan=None):
    """DST-I scaled by 2/(n+1): the inverse of dst1d.

    Parameters
    ----------
    X : array_like
        Coefficients.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty input.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idst1d(fd.dst1d(np.array([1.0, 2.0, 3.0])))
    array([1., 2., 3.])
    """
    return _run("DST", True, X, 1, None, plan)


def dct2(x, shape=None, plan=None):
    """2D orthonormal DCT-II (rows, then columns) of a real matrix; shape =
    (rows, columns) pads or cuts each dimension (None or 0 keeps it).

    Parameters
    ----------
    x : array_like
        Real matrix.
    shape : (int, int), optional
        Transform size.
    plan : TrigPlan, optional
        Keeps both transforms between calls.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty matrix.  TypeError: a Plan instead of a TrigPlan.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dct2(np.ones((2, 2)))
    array([[2., 0.],
           [0., 0.]])
    """
    return _run("DCT", False, x, 2, shape, plan)


def idct2(X, plan=None):
    """Inverse of dct2.

    Parameters
    ----------
    X : array_like
        Coefficients.
    plan : TrigPlan, optional
        As in `dct2`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idct2(np.array([[2.0, 0.0], [0.0, 0.0]]))
    array([[1., 1.],
           [1., 1.]])
    """
    return _run("DCT", True, X, 2, None, plan)


def dst2(x, shape=None, plan=None):
    """2D unscaled DST-I (rows, then columns) of a real matrix; shape as in
    dct2.

    Parameters
    ----------
    x : array_like
        Real matrix.
    shape : (int, int), optional
        Transform size.
    plan : TrigPlan, optional
        As in `dct2`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dst2(np.ones((1, 1)))
    array([[1.]])
    """
    return _run("DST", False, x, 2, shape, plan)


def idst2(X, plan=None):
    """Inverse of dst2.

    Parameters
    ----------
    X : array_like
        Coefficients.
    plan : TrigPlan, optional
        As in `dct2`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idst2(np.ones((1, 1)))
    array([[1.]])
    """
    return _run("DST", True, X, 2, None, plan)

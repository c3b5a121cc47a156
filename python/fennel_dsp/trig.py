"""DCT and DST of real signals and matrices, float32 or float64.

dct is the orthonormal DCT-II and idct its inverse (the orthonormal DCT-III);
dst is the unscaled DST-I and idst its inverse (DST-I times 2/(n+1)).  The 2D
forms apply the 1D transform along every row, then along every column.

1D functions take plan=Plan(), 2D functions plan=TrigPlan().  Without a plan
each function keeps its committed transforms in a plan of its own per thread,
so repeated calls of one size do not plan again.  Each thread also keeps its
host arrays for input and output between calls (they hold the last call's
sizes).
"""
import ctypes
import threading

import numpy as np

from ._native import (COMPLEX_OF, TYPE_CODES, Handle, HostArray, Plan, TrigPlan, check, export,
                      host)

__all__ = ["dct", "idct", "dst", "idst", "dct2", "idct2", "dst2", "idst2"]

_P = ctypes.c_void_p
_I = ctypes.c_int32
_FWD = {(kind, ndim, p): export(f"{p}{ndim}D{kind}H",
                                [Handle, Handle, _I, Handle, _P] if ndim == 1
                                else [Handle, Handle, _I, _I, Handle, _P])
        for kind in ("DCT", "DST") for ndim in (1, 2) for p in "sd"}
_INV = {(kind, ndim, p): export(f"{p}{ndim}DInv{kind}H", [Handle, Handle, Handle, _P])
        for kind in ("DCT", "DST") for ndim in (1, 2) for p in "sd"}

_resize = host.NumericArrayResize
_resize.restype = ctypes.c_int32
_resize.argtypes = [ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_void_p), ctypes.c_int64]
host.FennelHostDataOffset.restype = ctypes.c_int32
host.FennelHostDataOffset.argtypes = [ctypes.c_int32, ctypes.c_int32]
_OFFSET = {(code, ndim): host.FennelHostDataOffset(code, ndim) for code in (9, 10) for ndim in (1, 2)}


class _Local(threading.local):
    def __init__(self):
        self.arrays = {}
        self.plans = {}


_local = _Local()


def _array(role, dtype, ndim):
    """This thread's host array for a role (input, output, workspace) and type."""
    key = (role, dtype, ndim)
    a = _local.arrays.get(key)
    if a is None:
        a = _local.arrays[key] = HostArray.empty(dtype, ndim)
    return a


def _block(a):
    return ctypes.c_void_p.from_address(a.handle).value


def _load(a, x):
    """Sizes host array a to x's shape and copies x in."""
    block = _block(a)
    if block is None or tuple((_I * x.ndim).from_address(block)) != x.shape:
        if _resize(a.code, x.ndim, ctypes.byref(ctypes.c_void_p(a.handle)), x.size) != 0:
            raise MemoryError("host array")
        block = _block(a)
        (_I * x.ndim).from_address(block)[:] = x.shape
    if x.size:
        ctypes.memmove(block + _OFFSET[a.code, x.ndim], x.ctypes.data, x.nbytes)


def _take(a, ndim):
    """The content of host array a as a new numpy array."""
    block = _block(a)
    out = np.empty(tuple((_I * ndim).from_address(block)), dtype=a.dtype)
    if out.size:
        ctypes.memmove(out.ctypes.data, block + _OFFSET[a.code, ndim], out.nbytes)
    return out


def _real(x, ndim):
    x = np.asarray(x)
    if np.iscomplexobj(x):
        raise TypeError("the DCT and DST take real data")
    if x.dtype != np.float32 and x.dtype != np.float64:
        x = x.astype(np.float64)
    if x.ndim != ndim:
        raise ValueError(f"expected a {ndim}D array, got {x.ndim}D")
    return np.ascontiguousarray(x)


def _plan_ref(plan, cls, name):
    if plan is None:
        plan = _local.plans.get(name)
        if plan is None:
            plan = _local.plans[name] = cls()
    elif type(plan) is not cls:
        raise TypeError(f"{name} takes a {cls.__name__}")
    return plan.ref()


def _run(kind, inverse, x, ndim, size, plan):
    x = _real(x, ndim)
    prefix = TYPE_CODES[x.dtype][1]
    f = (_INV if inverse else _FWD)[kind, ndim, prefix]
    src, out = _array("in", x.dtype, ndim), _array("out", x.dtype, ndim)
    # The library leaves the workspace empty after every call.
    ws = _array("ws", COMPLEX_OF[x.dtype] if inverse and kind == "DCT" else x.dtype, 1)
    _load(src, x)
    ref = _plan_ref(plan, Plan if ndim == 1 else TrigPlan, f.__name__)
    if inverse:
        status = f(src.handle, out.handle, ws.handle, ref)
    elif ndim == 1:
        status = f(src.handle, out.handle, int(size or 0), ws.handle, ref)
    else:
        rows, cols = size if size is not None else (0, 0)
        status = f(src.handle, out.handle, int(rows or 0), int(cols or 0), ws.handle, ref)
    check(status, f.__name__)
    return _take(out, ndim)


def dct(x, n=None, plan=None):
    """Orthonormal DCT-II of a real 1D signal, zero-padded or cut to n."""
    return _run("DCT", False, x, 1, n, plan)


def idct(X, plan=None):
    """Orthonormal DCT-III: the inverse of dct."""
    return _run("DCT", True, X, 1, None, plan)


def dst(x, n=None, plan=None):
    """Unscaled DST-I, y[k] = sum x[j] sin(pi (j+1)(k+1) / (n+1)), of a real
    1D signal zero-padded or cut to n."""
    return _run("DST", False, x, 1, n, plan)


def idst(X, plan=None):
    """DST-I scaled by 2/(n+1): the inverse of dst."""
    return _run("DST", True, X, 1, None, plan)


def dct2(x, shape=None, plan=None):
    """2D orthonormal DCT-II (rows, then columns) of a real matrix; shape =
    (rows, columns) pads or cuts each dimension (None or 0 keeps it)."""
    return _run("DCT", False, x, 2, shape, plan)


def idct2(X, plan=None):
    """Inverse of dct2."""
    return _run("DCT", True, X, 2, None, plan)


def dst2(x, shape=None, plan=None):
    """2D unscaled DST-I (rows, then columns) of a real matrix; shape as in
    dct2."""
    return _run("DST", False, x, 2, shape, plan)


def idst2(X, plan=None):
    """Inverse of dst2."""
    return _run("DST", True, X, 2, None, plan)

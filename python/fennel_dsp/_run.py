"""Shared machinery of the numpy-style functions: argument checks with the
calling function's name, the working precision of an input, and runners
that call one library function with host arrays and a plan kept per thread.
"""
import operator
import os
import threading

import numpy as np

from ._native import COMPLEX_OF, REAL_OF, TYPE_CODES, Kept, Plan, TrigPlan, check, lib, raw

F32, F64 = np.dtype(np.float32), np.dtype(np.float64)
C64, C128 = np.dtype(np.complex64), np.dtype(np.complex128)
_WORKING = {F32: F32, F64: F64, C64: C64, C128: C128}

# Inputs of more bytes than this are not kept between calls (a kept block of
# this size would only hold memory; its page faults are small next to the
# transform).
KEEP_BYTES = 1 << 26


class Unsupported(NotImplementedError):
    """A call the library cannot compute (the scipy.fft backend answers
    NotImplemented for it)."""


def working_dtype(x, name, real=False):
    """The precision x is computed in: float32/complex64 stay single,
    float16 becomes single, integers and booleans double, long double
    double.  real=True refuses complex input."""
    dt = x.dtype
    w = _WORKING.get(dt)
    if w is None:
        kind = dt.kind
        if kind == "f":
            w = F32 if dt.itemsize < 4 else F64
        elif kind == "c":
            w = C128
        elif kind in "biu":
            w = F64
        else:
            raise TypeError(f"{name}: x must be an array of numbers, not of {dt}")
    if real and w.kind == "c":
        raise TypeError(f"{name}: x must be real, not {dt}")
    return w


def as_array(x, name):
    if type(x) is np.ndarray:
        return x
    try:
        x = np.asarray(x)
    except (TypeError, ValueError) as e:
        raise TypeError(f"{name}: x must be array-like: {e}") from None
    if x.dtype == object:
        try:
            x = x.astype(C128 if any(isinstance(v, complex) for v in x.flat) else F64)
        except (TypeError, ValueError) as e:
            raise TypeError(f"{name}: x must be an array of numbers: {e}") from None
    return x


def length(n, name, what="n"):
    """n as a positive int32 transform length."""
    try:
        v = operator.index(n)
    except TypeError:
        raise TypeError(f"{name}: {what} must be an integer, not {type(n).__name__}") from None
    if v < 1:
        raise ValueError(f"{name}: invalid number of data points ({v}) specified")
    if v >= 1 << 31:
        raise ValueError(f"{name}: {what} = {v} is above the library's limit of 2**31 - 1")
    return v


def axis_index(axis, ndim, name):
    try:
        a = operator.index(axis)
    except TypeError:
        raise TypeError(f"{name}: axis must be an integer, not {type(axis).__name__}") from None
    if not -ndim <= a < ndim:
        raise np.AxisError(a, ndim, name)
    return a % ndim


NORMS = {None: 0, "backward": 0, "ortho": 1, "forward": 2}


def norm_code(norm, name):
    try:
        return NORMS[norm]
    except (KeyError, TypeError):
        raise ValueError(f'{name}: invalid norm value {norm!r}, should be "backward", "ortho" '
                         f'or "forward"') from None


def check_workers(workers, name):
    """workers is accepted as scipy.fft accepts it; the library chooses its
    own thread count (FENNEL_DSP_THREADS)."""
    if workers is None:
        return
    try:
        w = operator.index(workers)
    except TypeError:
        raise TypeError(f"{name}: workers must be an integer, not {type(workers).__name__}") from None
    if w == 0:
        raise ValueError(f"{name}: workers must not be zero")
    if w < 0 and w + (os.cpu_count() or 1) + 1 <= 0:
        raise ValueError(f"{name}: workers value out of range; got {w}, must not be less "
                         f"than {-(os.cpu_count() or 1)}")


def shape_and_axes(x, s, axes, name):
    """scipy.fft's rules for s and axes: axes default to the last len(s)
    axes (or all), an s entry of -1 keeps the input's size."""
    if axes is not None:
        try:
            axes = [operator.index(a) for a in
                    (axes if np.iterable(axes) else [axes])]
        except TypeError:
            raise TypeError(f"{name}: axes must be integers") from None
        axes = [axis_index(a, x.ndim, name) for a in axes]
        if len(set(axes)) != len(axes):
            raise ValueError(f"{name}: all axes must be unique")
    if s is not None:
        try:
            s = [operator.index(v) for v in (s if np.iterable(s) else [s])]
        except TypeError:
            raise TypeError(f"{name}: s must be a sequence of integers") from None
        if axes is None:
            if len(s) > x.ndim:
                raise ValueError(f"{name}: s has more entries than x has dimensions")
            axes = list(range(x.ndim - len(s), x.ndim))
        elif len(s) != len(axes):
            raise ValueError(f"{name}: when given, axes and shape arguments have to be of the "
                             f"same length")
        s = [x.shape[a] if v == -1 else v for v, a in zip(s, axes)]
        for v in s:
            length(v, name, "s")
    else:
        if axes is None:
            axes = list(range(x.ndim))
        s = [x.shape[a] for a in axes]
    return s, axes


def plan_slot(plan, name, kind=Plan):
    """The slot address of a caller's plan (None: the runner's own)."""
    if plan is None:
        return None
    if type(plan) is not kind:
        raise TypeError(f"{name}: plan must be a fennel_dsp.{kind.__name__}, "
                        f"not {type(plan).__name__}")
    return plan.ref()


class Runner:
    """One library function in one thread: its raw entry, its own plan and
    the host arrays it keeps between calls (input, output, workspace; the
    library leaves the workspace empty after every call)."""

    __slots__ = ("symbol", "f", "plan", "plan_ref", "src", "out", "ws")

    def __init__(self, symbol, src_type, out_type, ws_type, ndim, plan_kind=Plan):
        self.symbol = symbol
        self.f = raw(getattr(lib, symbol))
        self.plan = plan_kind()
        self.plan_ref = self.plan.ref()
        self.src, self.out = Kept(src_type, ndim), Kept(out_type, ndim)
        self.ws = Kept(ws_type, 1)

    def fill(self, shape, x, region=None):
        """Sizes the input to `shape` and copies x in (casting to the input's
        type); with `region` (a tuple of slices) x fills only that part and
        the rest is zero, for padding."""
        src = self.src
        if src.shape != shape:
            src.resize(shape)
        if region is None:
            if x.size:
                src.view.reshape(x.shape)[...] = x
        else:
            src.view[...] = 0
            src.view[region] = x

    def view(self, status, shape, name):
        """The output of `shape` as a view of the kept host array, valid
        until the next call of this runner, or FennelError."""
        if status < 0:
            self.out.forget()
            check(status, self.symbol, name)
        out = self.out
        if shape != out.shape:
            out._view(int(out.master[0]), shape)
        return out.view

    def finish(self, status, shape, name):
        """The output of `shape` as a numpy array, or FennelError."""
        if self.src.view is not None and self.src.view.nbytes > KEEP_BYTES:
            self.src.resize((0,) * len(self.src.shape))
        if status < 0:
            self.out.forget()
            check(status, self.symbol, name)
        return self.out.result(shape)


class _Local(threading.local):
    def __init__(self):
        self.runners = {}


_local = _Local()


def runner(symbol, src_type, out_type, ws_type, ndim, plan_kind=Plan):
    r = _local.runners.get(symbol)
    if r is None:
        r = _local.runners[symbol] = Runner(symbol, src_type, out_type, ws_type, ndim, plan_kind)
    return r


def prefix(dtype):
    return TYPE_CODES[dtype][1]


__all__ = ["COMPLEX_OF", "REAL_OF", "TrigPlan"]

"""Power, auto power, cross power and cross power spectrum.

Without a plan argument each function keeps its committed transform in a
plan of its own per thread, so repeated calls of one length do not plan again;
pass plan=Plan() to hold it yourself.  Host arrays for the operands are kept
per thread and function as well (shrunk again above 65536 elements).
"""
import ctypes
import threading

import numpy as np

from ._native import COMPLEX_OF, REAL_OF, TYPE_CODES, Kept, Plan, as_supported, check, lib, raw

__all__ = ["power_spectrum", "auto_power_spectrum", "cross_power", "cross_power_spectrum"]

# Per thread and function: a plan and host arrays kept between calls, so that
# a call of an unchanged length makes no planning and no host allocation.
# Inputs above _KEEP elements are shrunk again after the call.
_KEEP = 1 << 16
_local = threading.local()
_SUPPORTED = tuple(TYPE_CODES)


class _Call:
    """One function for one element type in one thread: its raw entry, its
    plan and its kept host arrays (inputs first, then outputs, workspace
    last)."""

    def __init__(self, name, inputs, dtypes):
        self.name = name
        self.f = raw(getattr(lib, name))
        self.plan = Plan()
        self.plan_ref = self.plan.ref()
        self.inputs = inputs
        self.arrays = [Kept(d, 1) for d in dtypes]
        self.args = [a.arg for a in self.arrays]

    def ref(self, plan):
        return self.plan_ref if plan is None else plan.ref()

    def load(self, *xs):
        for a, x in zip(self.arrays, xs):
            a.load(x)

    def done(self, status, n):
        """Checks the status; shrinks inputs above _KEEP elements."""
        if n > _KEEP:
            for a in self.arrays[:self.inputs]:
                a.resize((0,))
        if status < 0:
            for a in self.arrays[self.inputs:]:
                a.forget()
            check(status, self.name)


def _call(name, inputs, dtypes):
    calls = getattr(_local, "calls", None)
    if calls is None:
        calls = _local.calls = {}
    call = calls.get(name)
    if call is None:
        call = calls[name] = _Call(name, inputs, dtypes)
    return call


def _one(x):
    if type(x) is not np.ndarray or x.dtype not in _SUPPORTED or x.ndim != 1:
        x = as_supported(x).ravel()
    return x, TYPE_CODES[x.dtype][1]


def _pair(x, y):
    """x and y as 1D arrays of one common element type."""
    x, y = as_supported(x), as_supported(y)
    common = np.result_type(x.dtype, y.dtype)
    return (x.astype(common, copy=False).ravel(), y.astype(common, copy=False).ravel(),
            TYPE_CODES[common][1])


def power_spectrum(x, plan=None):
    """Two-sided power spectrum |X_k|^2 / n^2 of a 1D signal (n real values:
    float32 for float32/complex64 input, float64 otherwise).

    Parameters
    ----------
    x : array_like
        1D signal.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        n real values.

    Raises
    ------
    FennelError
        An empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.power_spectrum(np.array([1.0, 1.0]))
    array([1., 0.])
    """
    x, p = _one(x)
    n = x.shape[0]
    c = _call(f"{p}PowerSpectrumH", 1, (x.dtype, REAL_OF[x.dtype], x.dtype))
    c.load(x)
    src, out, ws = c.args
    c.done(c.f(src, out, ws, c.ref(plan)), n)
    return c.arrays[1].result((n,))


def auto_power_spectrum(x, dt=1.0, spectrum_type=0, plan=None):
    """Power spectrum with sampling interval dt: returns (power, df).

    spectrum_type 0: one-sided, n // 2 + 1 bins, for real input every bin but
    DC and Nyquist doubled; 1: two-sided, n bins.  df = 1 / (n dt).

    Parameters
    ----------
    x : array_like
        1D signal.
    dt : float, optional
        Sampling interval (> 0).
    spectrum_type : {0, 1}, optional
        One-sided or two-sided.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    power : ndarray
    df : float

    Raises
    ------
    FennelError
        dt <= 0, an unknown type, an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.auto_power_spectrum(np.array([1.0, 0.0, 1.0, 0.0]), dt=0.5)
    (array([0.25, 0.  , 0.25]), 0.5)
    """
    x, p = _one(x)
    n = x.shape[0]
    c = _call(f"{p}AutoPowerSpectrumH", 1, (x.dtype, REAL_OF[x.dtype], x.dtype))
    c.load(x)
    src, out, ws = c.args
    df = ctypes.c_double()
    spectrum_type = int(spectrum_type)
    c.done(c.f(src, out, ctypes.c_double(float(dt)), ctypes.c_int32(spectrum_type), ctypes.byref(df),
               ws, c.ref(plan)), n)
    return c.arrays[1].result((n // 2 + 1 if spectrum_type == 0 else n,)), df.value


def cross_power(x, y, plan=None):
    """conj(X_k) Y_k / L^2 for the L = max(len(x), len(y)) bins, the shorter
    signal zero-padded at its end.

    Parameters
    ----------
    x, y : array_like
        1D signals.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        L complex values.

    Raises
    ------
    FennelError
        An empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.cross_power(np.array([1.0, 0.0]), np.array([0.0, 1.0]))
    array([ 0.25+0.j, -0.25+0.j])
    """
    x, y, p = _pair(x, y)
    L = max(x.shape[0], y.shape[0])
    c = _call(f"{p}CrossPowerH", 2, (x.dtype, x.dtype, COMPLEX_OF[x.dtype], x.dtype))
    c.load(x, y)
    xa, ya, out, ws = c.args
    c.done(c.f(xa, ya, out, ws, c.ref(plan)), L)
    return c.arrays[2].result((L,))


def cross_power_spectrum(x, y, dt=1.0, spectrum_type=0, plan=None):
    """Cross power as (magnitude, phase, df): |conj(X_k) Y_k| / L^2 and its
    angle, one-sided (spectrum_type 0, interior bins of real signals doubled)
    or two-sided (1); df = 1 / (L dt).

    Parameters
    ----------
    x, y : array_like
        1D signals.
    dt, spectrum_type, plan
        As in `auto_power_spectrum`.

    Returns
    -------
    magnitude, phase : ndarray
    df : float

    Raises
    ------
    FennelError
        dt <= 0, an unknown type, an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.cross_power_spectrum(np.array([1.0, 0.0]), np.array([1.0, 0.0]))
    (array([0.25, 0.25]), array([0., 0.]), 0.5)
    """
    x, y, p = _pair(x, y)
    L = max(x.shape[0], y.shape[0])
    real = REAL_OF[x.dtype]
    c = _call(f"{p}CrossPowerSpectrumH", 2, (x.dtype, x.dtype, real, real, x.dtype))
    c.load(x, y)
    xa, ya, mag, phase, ws = c.args
    df = ctypes.c_double()
    spectrum_type = int(spectrum_type)
    c.done(c.f(xa, ya, ctypes.c_double(float(dt)), ctypes.c_int32(spectrum_type), ctypes.byref(df),
               mag, phase, ws, c.ref(plan)), L)
    shape = (L // 2 + 1 if spectrum_type == 0 else L,)
    return c.arrays[2].result(shape), c.arrays[3].result(shape), df.value

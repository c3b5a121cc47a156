"""Power, auto power, cross power and cross power spectrum.

Without a plan argument each function keeps its committed transform in a
plan of its own per thread, so repeated calls of one length do not plan again;
pass plan=Plan() to hold it yourself.  Host arrays for the operands are kept
per thread and function as well (shrunk again above 65536 elements).
"""
import ctypes
import threading

import numpy as np

from ._native import (COMPLEX_OF, REAL_OF, TYPE_CODES, Handle, HostArray, Plan, as_supported,
                      check, export, host)

__all__ = ["power_spectrum", "auto_power_spectrum", "cross_power", "cross_power_spectrum"]

_P = ctypes.c_void_p
_D = ctypes.c_double
_I = ctypes.c_int32
_DP = ctypes.POINTER(ctypes.c_double)
_POWER = {p: export(f"{p}PowerSpectrumH", [Handle, Handle, Handle, _P]) for p in "sdcz"}
_AUTO = {p: export(f"{p}AutoPowerSpectrumH", [Handle, Handle, _D, _I, _DP, Handle, _P])
         for p in "sdcz"}
_CROSS = {p: export(f"{p}CrossPowerH", [Handle, Handle, Handle, Handle, _P]) for p in "sdcz"}
_CROSS_SPECTRUM = {p: export(f"{p}CrossPowerSpectrumH",
                             [Handle, Handle, _D, _I, _DP, Handle, Handle, Handle, _P])
                   for p in "sdcz"}

# Per thread and function: a plan and host arrays kept between calls, so that
# a call of an unchanged length makes no planning and no host allocation.
# Arrays above _KEEP elements are shrunk again after the call.
_KEEP = 1 << 16
_local = threading.local()
_resize = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_int32, ctypes.c_int32,
                           ctypes.POINTER(ctypes.c_void_p), ctypes.c_int64)(
    ("NumericArrayResize", host))


class _Kept:
    """A plan and host arrays of one function in one thread, with numpy views
    of the arrays' elements (remade when a block moves or changes length)."""

    def __init__(self, dtypes):
        self.plan = Plan()
        self.arrays = [HostArray.empty(d) for d in dtypes]
        self.views = [None] * len(dtypes)
        self.keys = [None] * len(dtypes)

    def view(self, i, n):
        a = self.arrays[i]
        block = _block(a)
        if self.keys[i] != (block, n):
            if n:
                offset = 4 if a.dtype in (np.float32, np.complex64) else 8
                raw = (ctypes.c_char * (n * a.dtype.itemsize)).from_address(block + offset)
                self.views[i] = np.frombuffer(raw, a.dtype)
            else:
                self.views[i] = np.empty(0, a.dtype)
            self.keys[i] = (block, n)
        return self.views[i]

    def put(self, i, x):
        n = x.shape[0]
        _set_length(self.arrays[i], n)
        self.view(i, n)[...] = x

    def take(self, i):
        return self.view(i, _length(self.arrays[i])).copy()

    def release(self, n):
        """Shrinks the arrays after a call of n elements above _KEEP."""
        if n > _KEEP:
            for i, a in enumerate(self.arrays):
                _set_length(a, 0)
                self.keys[i] = self.views[i] = None


def _kept(name, dtypes):
    cache = getattr(_local, "cache", None)
    if cache is None:
        cache = _local.cache = {}
    kept = cache.get(name)
    if kept is None:
        kept = cache[name] = _Kept(dtypes)
    return kept


def _block(a):
    return ctypes.c_void_p.from_address(a.handle).value


def _length(a):
    block = _block(a)
    return ctypes.c_int32.from_address(block).value if block else 0


def _set_length(a, n):
    if _length(a) == n:
        return
    handle = ctypes.c_void_p(a.handle)
    if _resize(a.code, 1, ctypes.byref(handle), n) != 0:
        raise MemoryError("host array")
    ctypes.c_int32.from_address(_block(a)).value = n


def _plan_ref(plan, kept):
    return (plan if plan is not None else kept.plan).ref()


def _one(x):
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
    float32 for float32/complex64 input, float64 otherwise)."""
    x, p = _one(x)
    name = f"{p}PowerSpectrumH"
    kept = _kept(name, (x.dtype, REAL_OF[x.dtype], x.dtype))
    src, out, ws = kept.arrays
    kept.put(0, x)
    try:
        check(_POWER[p](src.handle, out.handle, ws.handle, _plan_ref(plan, kept)), name)
        return kept.take(1)
    finally:
        kept.release(x.shape[0])


def auto_power_spectrum(x, dt=1.0, spectrum_type=0, plan=None):
    """Power spectrum with sampling interval dt: returns (power, df).

    spectrum_type 0: one-sided, n // 2 + 1 bins, for real input every bin but
    DC and Nyquist doubled; 1: two-sided, n bins.  df = 1 / (n dt).
    """
    x, p = _one(x)
    name = f"{p}AutoPowerSpectrumH"
    kept = _kept(name, (x.dtype, REAL_OF[x.dtype], x.dtype))
    src, out, ws = kept.arrays
    kept.put(0, x)
    df = ctypes.c_double()
    try:
        check(_AUTO[p](src.handle, out.handle, float(dt), int(spectrum_type), ctypes.byref(df),
                       ws.handle, _plan_ref(plan, kept)), name)
        return kept.take(1), df.value
    finally:
        kept.release(x.shape[0])


def cross_power(x, y, plan=None):
    """conj(X_k) Y_k / L^2 for the L = max(len(x), len(y)) bins, the shorter
    signal zero-padded at its end."""
    x, y, p = _pair(x, y)
    name = f"{p}CrossPowerH"
    kept = _kept(name, (x.dtype, x.dtype, COMPLEX_OF[x.dtype], x.dtype))
    xa, ya, out, ws = kept.arrays
    kept.put(0, x)
    kept.put(1, y)
    try:
        check(_CROSS[p](xa.handle, ya.handle, out.handle, ws.handle, _plan_ref(plan, kept)), name)
        return kept.take(2)
    finally:
        kept.release(max(x.shape[0], y.shape[0]))


def cross_power_spectrum(x, y, dt=1.0, spectrum_type=0, plan=None):
    """Cross power as (magnitude, phase, df): |conj(X_k) Y_k| / L^2 and its
    angle, one-sided (spectrum_type 0, interior bins of real signals doubled)
    or two-sided (1); df = 1 / (L dt)."""
    x, y, p = _pair(x, y)
    name = f"{p}CrossPowerSpectrumH"
    real = REAL_OF[x.dtype]
    kept = _kept(name, (x.dtype, x.dtype, real, real, x.dtype))
    xa, ya, mag, phase, ws = kept.arrays
    kept.put(0, x)
    kept.put(1, y)
    df = ctypes.c_double()
    try:
        check(_CROSS_SPECTRUM[p](xa.handle, ya.handle, float(dt), int(spectrum_type),
                                 ctypes.byref(df), mag.handle, phase.handle, ws.handle,
                                 _plan_ref(plan, kept)), name)
        return kept.take(2), kept.take(3), df.value
    finally:
        kept.release(max(x.shape[0], y.shape[0]))

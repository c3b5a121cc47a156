"""Power, auto power, cross power and cross power spectrum.

Without a plan argument each function keeps its committed transform in a
plan of its own per thread, so repeated calls of one length do not plan again;
pass plan=Plan() to hold it yourself.
"""
import ctypes
import threading

import numpy as np

from ._native import (COMPLEX_OF, REAL_OF, TYPE_CODES, Handle, HostArray, Plan, as_supported,
                      check, export)

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

_local = threading.local()


def _plan_ref(plan, name):
    """The given plan's slot, or this thread's own plan for the function."""
    if plan is None:
        plans = getattr(_local, "plans", None)
        if plans is None:
            plans = _local.plans = {}
        plan = plans.get(name)
        if plan is None:
            plan = plans[name] = Plan()
    return plan.ref()


def _one(x):
    x = as_supported(x).ravel()
    return x, TYPE_CODES[x.dtype][1]


def _pair(x, y):
    """x and y as 1D arrays of one common element type."""
    x, y = as_supported(x), as_supported(y)
    common = np.result_type(x.dtype, y.dtype)
    return x.astype(common, copy=False).ravel(), y.astype(common, copy=False).ravel(), \
        TYPE_CODES[common][1]


def power_spectrum(x, plan=None):
    """Two-sided power spectrum |X_k|^2 / n^2 of a 1D signal (n real values:
    float32 for float32/complex64 input, float64 otherwise)."""
    x, p = _one(x)
    src = HostArray.from_numpy(x)
    out = HostArray.empty(REAL_OF[x.dtype])
    ws = HostArray.empty(x.dtype)
    name = f"{p}PowerSpectrumH"
    check(_POWER[p](src.handle, out.handle, ws.handle, _plan_ref(plan, name)), name)
    return out.to_numpy()


def auto_power_spectrum(x, dt=1.0, spectrum_type=0, plan=None):
    """Power spectrum with sampling interval dt: returns (power, df).

    spectrum_type 0: one-sided, n // 2 + 1 bins, for real input every bin but
    DC and Nyquist doubled; 1: two-sided, n bins.  df = 1 / (n dt).
    """
    x, p = _one(x)
    src = HostArray.from_numpy(x)
    out = HostArray.empty(REAL_OF[x.dtype])
    ws = HostArray.empty(x.dtype)
    df = ctypes.c_double()
    name = f"{p}AutoPowerSpectrumH"
    check(_AUTO[p](src.handle, out.handle, float(dt), int(spectrum_type), ctypes.byref(df),
                   ws.handle, _plan_ref(plan, name)), name)
    return out.to_numpy(), df.value


def cross_power(x, y, plan=None):
    """conj(X_k) Y_k / L^2 for the L = max(len(x), len(y)) bins, the shorter
    signal zero-padded at its end."""
    x, y, p = _pair(x, y)
    xa, ya = HostArray.from_numpy(x), HostArray.from_numpy(y)
    out = HostArray.empty(COMPLEX_OF[x.dtype])
    ws = HostArray.empty(x.dtype)
    name = f"{p}CrossPowerH"
    check(_CROSS[p](xa.handle, ya.handle, out.handle, ws.handle, _plan_ref(plan, name)), name)
    return out.to_numpy()


def cross_power_spectrum(x, y, dt=1.0, spectrum_type=0, plan=None):
    """Cross power as (magnitude, phase, df): |conj(X_k) Y_k| / L^2 and its
    angle, one-sided (spectrum_type 0, interior bins of real signals doubled)
    or two-sided (1); df = 1 / (L dt)."""
    x, y, p = _pair(x, y)
    xa, ya = HostArray.from_numpy(x), HostArray.from_numpy(y)
    mag = HostArray.empty(REAL_OF[x.dtype])
    phase = HostArray.empty(REAL_OF[x.dtype])
    ws = HostArray.empty(x.dtype)
    df = ctypes.c_double()
    name = f"{p}CrossPowerSpectrumH"
    check(_CROSS_SPECTRUM[p](xa.handle, ya.handle, float(dt), int(spectrum_type), ctypes.byref(df),
                             mag.handle, phase.handle, ws.handle, _plan_ref(plan, name)), name)
    return mag.to_numpy(), phase.to_numpy(), df.value

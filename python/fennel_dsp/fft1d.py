"""The library's 1D FFT: forward with padding, truncation and centring, and
its inverse from a full spectrum (numpy-style transforms: fennel_dsp.fft)."""
import ctypes

import numpy as np

from ._native import (COMPLEX_OF, REAL_OF, TYPE_CODES, Handle, HostArray, as_supported, check,
                      export, plan_ref, workspace)

_P = ctypes.c_void_p
_FWD = {p: export(f"{p}1DFFTH", [Handle, Handle, ctypes.c_int32, ctypes.c_int32, Handle, _P])
        for p in "sdcz"}
_INV = {p: export(f"{p}1DInvFFTH", [Handle, Handle, ctypes.c_int32, Handle, _P]) for p in "sdcz"}


__all__ = ["fft1d", "ifft1d"]


def fft1d(x, n=None, shift=False, plan=None):
    """Full complex spectrum of a 1D signal (float32/64 or complex64/128).

    n: transform length (zero-padded or truncated); shift: zero frequency in
    the middle, at index n // 2; plan: a Plan reused between calls.

    Parameters
    ----------
    x : array_like
        1D signal.
    n : int, optional
        Transform length (zero-padded or truncated).
    shift : bool, optional
        Zero frequency at index n // 2.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        n complex bins.

    Raises
    ------
    FennelError
        An empty signal.  TypeError: a plan of another kind.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fft1d(np.array([1.0, 2.0, 3.0, 4.0]), shift=True)
    array([-2.+0.j, -2.-2.j, 10.+0.j, -2.+2.j])
    """
    x = as_supported(x)
    prefix = TYPE_CODES[x.dtype][1]
    src = HostArray.from_numpy(x.ravel())
    out = HostArray.empty(COMPLEX_OF[x.dtype])
    ws = workspace(x.dtype)
    check(_FWD[prefix](src.handle, out.handle, int(n or 0), int(bool(shift)), ws.handle,
                       plan_ref(plan)), f"{prefix}1DFFTH")
    return out.take_numpy()


def ifft1d(X, shift=False, real=False, plan=None):
    """Inverse of a full spectrum of N bins (natural order, or centred when
    shift), scaled by 1/N.  real=True returns real samples computed from the
    non-negative half of the spectrum only.

    Parameters
    ----------
    X : array_like
        Spectrum of N bins.
    shift : bool, optional
        X is centred.
    real : bool, optional
        Real samples from bins 0 .. N // 2.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        N samples, scaled by 1/N.

    Raises
    ------
    FennelError
        An empty spectrum.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifft1d(np.array([10, -2 + 2j, -2, -2 - 2j]), real=True)
    array([1., 2., 3., 4.])
    """
    X = as_supported(X, real_ok=False)
    prefix = TYPE_CODES[REAL_OF[X.dtype] if real else X.dtype][1]
    out_type = REAL_OF[X.dtype] if real else X.dtype
    src = HostArray.from_numpy(X.ravel())
    out = HostArray.empty(out_type)
    ws = workspace(out_type)
    check(_INV[prefix](src.handle, out.handle, int(bool(shift)), ws.handle, plan_ref(plan)),
          f"{prefix}1DInvFFTH")
    return out.take_numpy()

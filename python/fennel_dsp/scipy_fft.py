"""A scipy.fft backend computing through the library.

    import scipy.fft, fennel_dsp.scipy_fft
    with scipy.fft.set_backend(fennel_dsp.scipy_fft):
        y = scipy.fft.fft(x)           # computed by fennel_dsp

Calls the library cannot reproduce (long double, empty arrays, scipy's own
plans) answer NotImplemented, so scipy computes them itself.  `handled` counts the calls served and declined since
import, for measuring how much of a program the backend takes.
"""
import collections

import numpy as np

from . import fourier as _fft
from ._run import Unsupported

__ua_domain__ = "numpy.scipy.fft"

_FUNCTIONS = {name: getattr(_fft, name) for name in (
    "fft", "ifft", "rfft", "irfft", "hfft", "ihfft", "fft2", "ifft2", "rfft2", "irfft2",
    "fftn", "ifftn", "rfftn", "irfftn", "hfft2", "ihfft2", "hfftn", "ihfftn", "dct", "idct", "dst", "idst", "dctn", "idctn",
    "dstn", "idstn")}

_EXACT = {np.dtype(t) for t in (np.float16, np.float32, np.float64, np.complex64,
                                np.complex128)}

handled = collections.Counter()


def _computable(name, args, kwargs):
    """False for calls whose scipy result the library cannot reproduce."""
    x = args[0] if args else kwargs.get("x")
    if not isinstance(x, np.ndarray):
        x = np.asarray(x)
    kind = x.dtype.kind
    if kind not in "biufc" or (kind in "fc" and x.dtype not in _EXACT):
        return False
    if x.ndim == 0 or x.size == 0:
        return False  # scipy's own error messages
    if (kind == "c" and kwargs.get("orthogonalize") is not None
            and name.lstrip("i")[:3] in ("dct", "dst")):
        return False  # scipy drops orthogonalize for complex input
    if kwargs.get("plan") is not None:
        return False  # a plan of another backend
    return True


def __ua_function__(method, args, kwargs):
    name = method.__name__
    function = _FUNCTIONS.get(name)
    if function is None or not _computable(name, args, kwargs):
        handled["declined"] += 1
        handled["declined " + name] += 1
        return NotImplemented
    try:
        result = function(*args, **kwargs)
    except Unsupported:
        handled["declined"] += 1
        handled["declined " + name] += 1
        return NotImplemented
    handled["computed"] += 1
    return result


def __ua_convert__(dispatchables, coerce):
    return [d.value for d in dispatchables]

"""Windows applied to a signal, windowed FIR design and the IIR direct-form filter.

The window functions return a windowed copy of the signal (the library works
in place on its own copy).  Window types are the WINDOW_* numbers; filter
types the LOWPASS .. BANDSTOP numbers.
"""
import ctypes

import numpy as np

from ._native import REAL_OF, TYPE_CODES, Handle, HostArray, as_supported, check, export, workspace

__all__ = [
    "WINDOW_NONE", "WINDOW_HANN", "WINDOW_HAMMING", "WINDOW_BLACKMAN_HARRIS_3",
    "WINDOW_EXACT_BLACKMAN", "WINDOW_BLACKMAN", "WINDOW_FLAT_TOP", "WINDOW_BLACKMAN_HARRIS_4",
    "WINDOW_BLACKMAN_HARRIS_7", "WINDOW_LOW_SIDELOBE", "WINDOW_BLACKMAN_NUTTALL",
    "WINDOW_TRIANGLE", "WINDOW_KAISER", "WINDOW_GAUSSIAN",
    "LOWPASS", "HIGHPASS", "BANDPASS", "BANDSTOP",
    "cosine_window", "gaussian_window", "kaiser_window", "symmetric_window", "triangle_window",
    "fir_windowed_coefficients", "iir_filter", "IIRFilter",
]

WINDOW_NONE = 0
WINDOW_HANN = 1
WINDOW_HAMMING = 2
WINDOW_BLACKMAN_HARRIS_3 = 3
WINDOW_EXACT_BLACKMAN = 4
WINDOW_BLACKMAN = 5
WINDOW_FLAT_TOP = 6
WINDOW_BLACKMAN_HARRIS_4 = 7
WINDOW_BLACKMAN_HARRIS_7 = 8
WINDOW_LOW_SIDELOBE = 9
WINDOW_BLACKMAN_NUTTALL = 11
WINDOW_TRIANGLE = 30
WINDOW_KAISER = 60
WINDOW_GAUSSIAN = 62

LOWPASS, HIGHPASS, BANDPASS, BANDSTOP = 0, 1, 2, 3

_I = ctypes.c_int32
_PARAM = {"s": ctypes.c_float, "d": ctypes.c_double, "c": ctypes.c_float, "z": ctypes.c_double}
_ALLCOS = {p: export(f"{p}AllCosWinH", [Handle, _I, _I, Handle]) for p in "sdcz"}
_GAUSS = {p: export(f"{p}GaussWinH", [Handle, _PARAM[p]]) for p in "sdcz"}
_KAISER = {p: export(f"{p}KaiserWinH", [Handle, _PARAM[p]]) for p in "sdcz"}
_SYMM = {p: export(f"{p}SymmWinH", [Handle, _I, _PARAM[p], Handle]) for p in "sdcz"}
_TRIANGLE = {p: export(f"{p}TriangleWinH", [Handle]) for p in "sdcz"}
_D = ctypes.c_double
_FIR = {p: export(f"{p}FIRWindowedCoefH", [Handle, _D, _D, _D, _I, _I, _I, _PARAM[p], _I, Handle])
        for p in "sd"}
_IIR_PREFIX = {"s": "ss", "d": "dd", "c": "cs", "z": "zd"}
_IIR = {p: export(f"{_IIR_PREFIX[p]}IIRDirectFilterH", [Handle] * 5 + [_I] + [Handle] * 3)
        for p in "sdcz"}


def _in_place(function, name, x, *args):
    x = as_supported(x)
    prefix = TYPE_CODES[x.dtype][1]
    data = HostArray.from_numpy(x.ravel())
    check(function[prefix](data.handle, *args), f"{prefix}{name}")
    return data.take_numpy().reshape(x.shape)


def cosine_window(x, window_type=WINDOW_HANN, normalize=False):
    """x times the periodic cosine-sum window of the type (0..9, 11); with
    normalize the window's mean is 1.

    Parameters
    ----------
    x : array_like
        1D signal.
    window_type : int, optional
        WINDOW_HANN .. WINDOW_BLACKMAN_NUTTALL.
    normalize : bool, optional
        Divide by the window's mean.

    Returns
    -------
    ndarray
        The windowed copy.

    Raises
    ------
    FennelError
        An unknown type, an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.cosine_window(np.ones(4), fd.WINDOW_HANN)
    array([0. , 0.5, 1. , 0.5])
    """
    ws = workspace(np.float64)
    return _in_place(_ALLCOS, "AllCosWinH", x, int(window_type), int(bool(normalize)), ws.handle)


def gaussian_window(x, sigma=0.2):
    """x times the periodic Gaussian window of width sigma (relative to N+1).

    Parameters
    ----------
    x : array_like
        1D signal.
    sigma : float, optional
        Width relative to N + 1.

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
    >>> fd.gaussian_window(np.ones(3), 0.5).round(4)
    array([0.7548, 0.9692, 0.9692])
    """
    return _in_place(_GAUSS, "GaussWinH", x, float(sigma))


def kaiser_window(x, beta):
    """x times the periodic Kaiser window of shape beta.

    Parameters
    ----------
    x : array_like
        1D signal.
    beta : float
        Shape.

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
    >>> fd.kaiser_window(np.ones(4), 2.0).round(4)
    array([0.4387, 0.8348, 1.    , 0.8348])
    """
    return _in_place(_KAISER, "KaiserWinH", x, float(beta))


def symmetric_window(x, window_type=WINDOW_HANN, parameter=0.0):
    """x times the symmetric window (period N-1) of any window type;
    parameter is beta for WINDOW_KAISER, sigma for WINDOW_GAUSSIAN.

    Parameters
    ----------
    x : array_like
        1D signal.
    window_type : int, optional
        Any window type.
    parameter : float, optional
        Beta (Kaiser) or sigma (Gaussian).

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An unknown type, an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.symmetric_window(np.ones(5), fd.WINDOW_HANN)
    array([0. , 0.5, 1. , 0.5, 0. ])
    """
    ws = workspace(np.float64)
    return _in_place(_SYMM, "SymmWinH", x, int(window_type), float(parameter), ws.handle)


def triangle_window(x):
    """x times the periodic triangle window (zero at index 0).

    Parameters
    ----------
    x : array_like
        1D signal.

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
    >>> fd.triangle_window(np.ones(4))
    array([0. , 0.5, 1. , 0.5])
    """
    return _in_place(_TRIANGLE, "TriangleWinH", x)


def fir_windowed_coefficients(taps, fs, f1, f2=0.0, filter_type=LOWPASS, window_type=WINDOW_NONE,
                              window_parameter=0.0, normalize=False, dtype=np.float64):
    """Linear-phase FIR taps by the window method.

    f1 is the cut-off (lower edge for BANDPASS/BANDSTOP), f2 the upper edge of
    band filters; HIGHPASS and BANDSTOP need an odd number of taps.  normalize
    scales to unit gain at 0 Hz, fs/2 or the band centre.  dtype float32 or
    float64.

    Parameters
    ----------
    taps : int
        Number of taps.
    fs, f1, f2 : float
        Sampling rate and band edges.
    filter_type : int, optional
        LOWPASS, HIGHPASS, BANDPASS or BANDSTOP.
    window_type : int, optional
        A window type.
    window_parameter : float, optional
        Beta or sigma.
    normalize : bool, optional
        Unit gain in the passband.
    dtype : float32 or float64, optional
        The taps' type.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        Even taps for a highpass, edges above Nyquist, an unknown type.  TypeError: another dtype.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fir_windowed_coefficients(3, 1000.0, 250.0).round(4)
    array([0.3183, 0.5   , 0.3183])
    """
    prefix = TYPE_CODES[np.dtype(dtype)][1]
    if prefix not in _FIR:
        raise TypeError("FIR taps are float32 or float64")
    out = HostArray.empty(dtype)
    ws = workspace(np.float64)
    check(_FIR[prefix](out.handle, float(fs), float(f1), float(f2), int(taps), int(filter_type),
                       int(window_type), float(window_parameter), int(bool(normalize)), ws.handle),
          f"{prefix}FIRWindowedCoefH")
    return out.take_numpy()


class IIRFilter:
    """A direct-form filter y = (b * x - a[1:] * y) / a[0] that keeps its
    state between blocks.  The signal's type (float32, float64, complex64,
    complex128) is fixed by dtype; coefficients are of its real type.

    Parameters
    ----------
    b, a : array_like
        Forward and reverse coefficients.
    dtype : numpy dtype, optional
        The signal's type.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> f = fd.IIRFilter([1.0], [1.0, -0.5])
    >>> f(np.array([1.0, 0.0]))
    array([1. , 0.5])
    >>> f(np.array([0.0]))
    array([0.25])
    """

    def __init__(self, b, a, dtype=np.float64):
        self.dtype = np.dtype(dtype)
        self.prefix = TYPE_CODES[self.dtype][1]
        real = REAL_OF[self.dtype]
        self._b = HostArray.from_numpy(np.ascontiguousarray(np.atleast_1d(b), dtype=real))
        self._a = HostArray.from_numpy(np.ascontiguousarray(np.atleast_1d(a), dtype=real))
        self._fstate = HostArray.empty(self.dtype)
        self._rstate = HostArray.empty(self.dtype)
        self._tail = HostArray.empty(self.dtype)
        self._aws = HostArray.empty(real)
        self._bws = HostArray.empty(real)
        self._init = 0

    def reset(self):
        """The next block starts from rest."""
        self._init = 1

    @property
    def state(self):
        """(last len(b)-1 inputs, last len(a)-1 outputs), oldest first."""
        return self._fstate.to_numpy(), self._rstate.to_numpy()

    def __call__(self, x):
        x = np.asarray(x)
        if x.ndim != 1:
            raise ValueError(f"IIRFilter: a 1D signal expected, got {x.ndim} dimensions")
        if x.dtype.kind == "c" and self.dtype.kind != "c":
            raise TypeError(f"IIRFilter: complex samples for a filter of {self.dtype}")
        x = np.ascontiguousarray(x, dtype=self.dtype)
        data = HostArray.from_numpy(x)
        check(_IIR[self.prefix](data.handle, self._a.handle, self._b.handle, self._fstate.handle,
                                self._rstate.handle, self._init, self._tail.handle,
                                self._aws.handle, self._bws.handle),
              f"{_IIR_PREFIX[self.prefix]}IIRDirectFilterH")
        self._init = 0
        return data.take_numpy()


def iir_filter(b, a, x):
    """x filtered from rest by the direct-form filter of b and a.

    Parameters
    ----------
    b, a : array_like
        Forward and reverse coefficients.
    x : array_like
        1D signal.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        b empty with a given.  ValueError: not 1D.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.iir_filter([1.0], [1.0, -0.5], np.array([1.0, 0.0, 0.0]))
    array([1.  , 0.5 , 0.25])
    """
    x = as_supported(x)
    return IIRFilter(b, a, x.dtype)(x)

"""The library's decimation (downsample), upsampling by zero insertion, and
streaming resampling by an arbitrary step through a prototype lowpass filter
(scipy.signal's decimate, upfirdn and resample_poly are in fennel_dsp.signal)."""
import ctypes

import numpy as np

from ._native import REAL_OF, TYPE_CODES, Handle, HostArray, as_supported, check, export

__all__ = ["downsample", "upsample", "Resampler", "fir_resample", "ResampleParams", "ResampleState"]

_I = ctypes.c_int32


class ResampleParams(ctypes.Structure):
    """The parameter record read when a stream is reset."""
    _fields_ = [("ratio", ctypes.c_float), ("startOffset", ctypes.c_float), ("tapMode", _I)]


class ResampleState(ctypes.Structure):
    """The caller-owned stream state (see the C header for the fields)."""
    _fields_ = [("historyCount", _I), ("historyChannels", _I), ("historyCapacity", _I),
                ("tapMode", _I), ("tapSpacing", ctypes.c_double), ("ratio", ctypes.c_double),
                ("samplesSeen", ctypes.c_double), ("fraction", ctypes.c_double),
                ("position", _I)]


_DECIMATE = {p: export(f"{p}DecimateH", [Handle, Handle, _I, _I]) for p in "sdcz"}
_UPSAMPLE = {p: export(f"{p}UpsampleH", [Handle, Handle, _I, _I]) for p in "sdcz"}
_RESAMPLE_ARGS = [Handle, Handle, _I, ctypes.POINTER(ResampleParams), _I, _I, Handle,
                  ctypes.POINTER(ctypes.c_float), Handle, Handle, ctypes.POINTER(ResampleState)]
_RESAMPLE = {(p, 1): export(f"{p}ResampleC2CH", _RESAMPLE_ARGS) for p in "sdcz"}
_RESAMPLE.update({(p, 2): export(f"{p}ResampleMultiChC2CH", _RESAMPLE_ARGS) for p in "sdcz"})


def _one(x):
    x = as_supported(x)
    if x.ndim != 1:
        raise ValueError(f"a 1D signal expected, got {x.ndim} dimensions")
    return x, TYPE_CODES[x.dtype][1]


def downsample(x, factor, average=False):
    """Every factor-th sample of x (average=True: the mean of each run of
    factor samples); the last len(x) % factor samples are dropped.

    Parameters
    ----------
    x : array_like
        1D signal.
    factor : int
        1 .. len(x).
    average : bool, optional
        Mean of each run instead of its first sample.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Not 1D.  FennelError: a bad factor, an empty signal.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.downsample(np.arange(7.0), 3)
    array([0., 3.])
    >>> fd.downsample(np.arange(7.0), 3, average=True)
    array([1., 4.])
    """
    x, prefix = _one(x)
    src, out = HostArray.from_numpy(x), HostArray.empty(x.dtype)
    check(_DECIMATE[prefix](src.handle, out.handle, int(factor), int(bool(average))),
          f"{prefix}DecimateH")
    return out.to_numpy()


def upsample(x, factor, phase=0):
    """len(x) * factor samples: x[i] at i * factor + phase, zeros elsewhere.

    Parameters
    ----------
    x : array_like
        1D signal.
    factor : int
        >= 1.
    phase : int, optional
        0 .. factor - 1.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        Not 1D.  FennelError: a bad factor or phase.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.upsample(np.array([1.0, 2.0]), 3, 1)
    array([0., 1., 0., 0., 2., 0.])
    """
    x, prefix = _one(x)
    src, out = HostArray.from_numpy(x), HostArray.empty(x.dtype)
    check(_UPSAMPLE[prefix](src.handle, out.handle, int(factor), int(phase)), f"{prefix}UpsampleH")
    return out.to_numpy()


class Resampler:
    """A resampling stream.  Output k is the signal at input time
    start_offset + k * ratio, filtered by the prototype `coefficients`
    (designed at `interpolation` times the input rate; taps interpolated
    linearly, or the nearest tap when nearest=True).  With anti_alias and
    ratio > 1 the prototype is stretched to the output rate.

    process(x) takes the next block (1D, or 2D channels x N) and returns the
    outputs it completes and the stream time of the first of them; blocks may
    have any length, and the outputs equal those of one call on the whole
    signal.  The element type and channel count are fixed by the first block.

    Parameters
    ----------
    coefficients : array_like
        Prototype lowpass.
    interpolation : int
        Its oversampling factor.
    ratio : float
        Output step in input samples.
    start_offset : float, optional
        Stream time of the first output.
    nearest : bool, optional
        Nearest tap instead of linear interpolation.
    anti_alias : bool, optional
        Stretch the prototype when ratio > 1.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> r = fd.Resampler(np.ones(3), 1, 2.0)
    >>> r.process(np.ones(8))[0]
    array([1.5, 2.5, 2.5])
    """

    def __init__(self, coefficients, interpolation, ratio, start_offset=0.0, nearest=False,
                 anti_alias=True):
        self._coefficients = np.asarray(coefficients)
        self.interpolation = int(interpolation)
        self.params = ResampleParams(float(ratio), float(start_offset), 1 if nearest else 0)
        self.anti_alias = bool(anti_alias)
        self.state = ResampleState()
        self._dtype = None
        self._rank = None
        self._coef = self._hist_a = self._hist_b = None

    def reset(self):
        """The next block starts a new stream."""
        self._dtype = None

    def process(self, x):
        x = as_supported(x)
        if x.ndim not in (1, 2):
            raise ValueError("a block is 1D, or 2D channels x samples")
        reset = self._dtype is None
        if reset:
            self._dtype, self._rank = x.dtype, x.ndim
            real = REAL_OF[x.dtype]
            self._coef = HostArray.from_numpy(np.ascontiguousarray(self._coefficients, dtype=real))
            self._hist_a = HostArray.empty(x.dtype, x.ndim)
            self._hist_b = HostArray.empty(real)
        elif x.ndim != self._rank:
            raise ValueError("every block of a stream has the first block's number of dimensions")
        else:
            x = np.ascontiguousarray(x, dtype=self._dtype)
        prefix = TYPE_CODES[self._dtype][1]
        src = HostArray.from_numpy(x)
        out = HostArray.empty(self._dtype, self._rank)
        first = ctypes.c_float(0)
        status = _RESAMPLE[prefix, self._rank](
            src.handle, self._coef.handle, self.interpolation, ctypes.byref(self.params),
            int(reset), int(self.anti_alias), out.handle, ctypes.byref(first),
            self._hist_a.handle, self._hist_b.handle, ctypes.byref(self.state))
        if status < 0:
            self._dtype = None
        check(status, f"{prefix}Resample{'MultiCh' if self._rank == 2 else ''}C2CH")
        return out.to_numpy(), first.value


    def __getstate__(self):
        """A stream pickles with its state and histories, so that the next
        block may be processed in another process (a chunked computation
        passes the stream from task to task)."""
        arrays = None
        if self._dtype is not None:
            arrays = (self._dtype.str, self._rank, self._hist_a.to_numpy(),
                      self._hist_b.to_numpy())
        return {"coefficients": self._coefficients, "interpolation": self.interpolation,
                "params": bytes(self.params), "anti_alias": self.anti_alias,
                "state": bytes(self.state), "arrays": arrays}

    def __setstate__(self, d):
        self._coefficients = d["coefficients"]
        self.interpolation = d["interpolation"]
        self.params = ResampleParams.from_buffer_copy(d["params"])
        self.anti_alias = d["anti_alias"]
        self.state = ResampleState.from_buffer_copy(d["state"])
        self._dtype = self._rank = None
        self._coef = self._hist_a = self._hist_b = None
        if d["arrays"] is not None:
            dtype, self._rank, hist_a, hist_b = d["arrays"]
            self._dtype = np.dtype(dtype)
            real = REAL_OF[self._dtype]
            self._coef = HostArray.from_numpy(np.ascontiguousarray(self._coefficients, dtype=real))
            self._hist_a = HostArray.from_numpy(np.ascontiguousarray(hist_a))
            self._hist_b = HostArray.from_numpy(np.ascontiguousarray(hist_b))


def fir_resample(x, coefficients, interpolation, ratio, start_offset=0.0, nearest=False,
                 anti_alias=True):
    """All outputs of one stream over x (1D, or 2D channels x N).

    Parameters
    ----------
    x : array_like
        1D signal, or 2D channels x samples.
    coefficients, interpolation, ratio, start_offset, nearest, anti_alias
        As in `Resampler`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        A bad ratio or offset, no coefficients.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fir_resample(np.ones(8), np.ones(3), 1, 2.0)
    array([1.5, 2.5, 2.5])
    """
    return Resampler(coefficients, interpolation, ratio, start_offset, nearest,
                     anti_alias).process(x)[0]

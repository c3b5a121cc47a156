"""2D and 3D FFTs with padding, cropping and centring, their inverses, and the
multichannel 2D FFT (every row or every column of a matrix as a channel)."""
import ctypes

import numpy as np

from ._native import (COMPLEX_OF, REAL_OF, TYPE_CODES, Handle, HostArray, as_supported, check,
                      export, plan_ref)

__all__ = ["fft2d", "ifft2d", "fft3", "ifft3", "multichannel_fft", "multichannel_ifft"]

_P = ctypes.c_void_p
_I = ctypes.c_int32
_FWD2 = {p: export(f"{p}2DFFTH", [Handle, Handle, _I, _I, _I, Handle, _P]) for p in "sdcz"}
_INV2 = {p: export(f"{p}2DInvFFTH", [Handle, Handle, _I, Handle, _P]) for p in "sdcz"}
_FWD3 = {p: export(f"{p}3DFFTH", [Handle, Handle, _I, _I, _I, _I, Handle, _P]) for p in "sdcz"}
_INV3 = {p: export(f"{p}3DInvFFTH", [Handle, Handle, _I, Handle, _P]) for p in "sdcz"}
_FWDM = {p: export(f"{p}2DMultiChFFTH", [Handle, Handle, _I, _I, _I, Handle, _P]) for p in "sdcz"}
_INVM = {p: export(f"{p}2DInvMultiChFFTH", [Handle, Handle, _I, _I, Handle, _P]) for p in "sdcz"}

_ORIENTATION = {0: 0, 1: 1, "rows": 0, "columns": 1}


def _input(x, ndim, real_ok=True):
    x = as_supported(x, real_ok=real_ok)
    if x.ndim != ndim:
        raise ValueError(f"expected a {ndim}-dimensional array, got {x.ndim} dimensions")
    return x


def _sizes(shape, ndim):
    if shape is None:
        return (0,) * ndim
    shape = tuple(int(s or 0) for s in shape)
    if len(shape) != ndim:
        raise ValueError(f"shape must have {ndim} entries")
    return shape


class _Owner:
    """Lends a host array's elements to numpy without a copy; the numpy array
    keeps this object, and with it the host array, alive."""

    def __init__(self, array):
        self._array = array
        self.__array_interface__ = {"shape": array.shape(), "typestr": array.dtype.str,
                                    "data": (array.address(), False), "version": 3}


def _result(array):
    if 0 in array.shape():
        return array.to_numpy()
    return np.asarray(_Owner(array))


def _staged(x, plan):
    """x in a host array.  With a plan, the host array is kept on the plan and
    refilled by later calls of the same shape and type: fresh large blocks
    cost page faults that can exceed the transform itself."""
    if plan is None:
        return HostArray.from_numpy(x)
    staged = getattr(plan, "_fftmd_staged", None)
    if staged is None or staged.dtype != x.dtype or staged.shape() != x.shape:
        staged = HostArray.from_numpy(x)
        plan._fftmd_staged = staged
    elif x.size:
        ctypes.memmove(staged.address(), x.ctypes.data, x.nbytes)
    return staged


def _forward(table, name, x, sizes, extra, plan):
    prefix = TYPE_CODES[x.dtype][1]
    src = _staged(x, plan)
    out = HostArray.empty(COMPLEX_OF[x.dtype], x.ndim)
    ws = HostArray.empty(x.dtype)
    check(table[prefix](src.handle, out.handle, *sizes, *extra, ws.handle, plan_ref(plan)),
          f"{prefix}{name}")
    return _result(out)


def _inverse(table, name, X, real, extra, plan):
    out_type = REAL_OF[X.dtype] if real else X.dtype
    prefix = TYPE_CODES[out_type][1]
    src = _staged(X, plan)
    out = HostArray.empty(out_type, X.ndim)
    ws = HostArray.empty(X.dtype)
    check(table[prefix](src.handle, out.handle, *extra, ws.handle, plan_ref(plan)),
          f"{prefix}{name}")
    return _result(out)


def fft2d(x, shape=None, shift=False, plan=None):
    """Full complex 2D spectrum of a matrix (float32/64 or complex64/128).

    shape: (rows, columns) of the transform; larger pads with zeros, smaller
    crops to the top-left block, None or 0 keeps the input's size.
    shift: zero frequency at (rows // 2, columns // 2).  plan: a Plan reused
    between calls of this function.

    Parameters
    ----------
    x : array_like
        Matrix.
    shape : (int, int), optional
        Transform size (pads or crops).
    shift : bool, optional
        Centre the spectrum.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    FennelError
        An empty matrix, sizes too large.  ValueError: not 2D.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fft2d(np.eye(2))
    array([[2.+0.j, 0.+0.j],
           [0.+0.j, 2.+0.j]])
    """
    x = _input(x, 2)
    return _forward(_FWD2, "2DFFTH", x, _sizes(shape, 2), (int(bool(shift)),), plan)


def ifft2d(X, shift=False, real=False, plan=None):
    """Inverse of a full R x C spectrum (natural order, or centred when
    shift), scaled by 1/(R*C).  real=True returns real samples computed from
    columns 0 .. C//2 only.

    Parameters
    ----------
    X : array_like
        Spectrum.
    shift, real, plan
        As in `ifft1d`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty spectrum.  ValueError: not 2D.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifft2d(np.array([[2.0, 0.0], [0.0, 2.0]]), real=True)
    array([[1., 0.],
           [0., 1.]])
    """
    X = _input(X, 2, real_ok=False)
    return _inverse(_INV2, "2DInvFFTH", X, real, (int(bool(shift)),), plan)


def fft3(x, shape=None, shift=False, plan=None):
    """Full complex 3D spectrum of a volume (pages, rows, columns).

    shape: (pages, rows, columns) of the transform, in the array's order;
    entries that are None or 0 keep the input's size.  shift centres all
    three dimensions.

    Parameters
    ----------
    x : array_like
        Volume (pages, rows, columns).
    shape : (int, int, int), optional
        Transform size; 0 keeps a dimension.
    shift : bool, optional
        Centre all three dimensions.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    FennelError
        An empty volume, sizes too large.  ValueError: not 3D.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fft3(np.ones((1, 2, 2))).real
    array([[[4., 0.],
            [0., 0.]]])
    """
    x = _input(x, 3)
    pages, rows, cols = _sizes(shape, 3)
    # The library takes the sizes as rows, columns, pages.
    return _forward(_FWD3, "3DFFTH", x, (rows, cols, pages), (int(bool(shift)),), plan)


def ifft3(X, shift=False, real=False, plan=None):
    """Inverse of a full P x R x C spectrum, scaled by 1/(P*R*C); real=True
    reads columns 0 .. C//2 only.

    Parameters
    ----------
    X : array_like
        Spectrum.
    shift, real, plan
        As in `ifft1d`.

    Returns
    -------
    ndarray

    Raises
    ------
    FennelError
        An empty spectrum.  ValueError: not 3D.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifft3(fd.fft3(np.ones((1, 1, 2))), real=True)
    array([[[1., 1.]]])
    """
    X = _input(X, 3, real_ok=False)
    return _inverse(_INV3, "3DInvFFTH", X, real, (int(bool(shift)),), plan)


def _orientation(channels):
    if channels not in _ORIENTATION:
        raise ValueError("channels must be 'rows' (0) or 'columns' (1)")
    return _ORIENTATION[channels]


def multichannel_fft(x, n=None, channels="rows", shift=False, plan=None):
    """The 1D spectrum of every row (channels='rows', numpy axis 1) or every
    column (channels='columns', axis 0) of a matrix, each padded or truncated
    to n bins; shift puts zero frequency at index n // 2 of every channel.

    Parameters
    ----------
    x : array_like
        Matrix of channels.
    n : int, optional
        Transform length of every channel.
    channels : {'rows', 'columns'}, optional
        Which lines are channels.
    shift : bool, optional
        Centre every spectrum.
    plan : Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        Complex spectra in the same orientation.

    Raises
    ------
    ValueError
        An unknown orientation.  FennelError: an empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.multichannel_fft(np.eye(2), channels='columns')
    array([[ 1.+0.j,  1.+0.j],
           [ 1.+0.j, -1.+0.j]])
    """
    x = _input(x, 2)
    return _forward(_FWDM, "2DMultiChFFTH", x, (int(n or 0),),
                    (int(bool(shift)), _orientation(channels)), plan)


def multichannel_ifft(X, channels="rows", shift=False, real=False, plan=None):
    """Inverse of the spectra in every row or column of X (natural order, or
    centred when shift), each scaled by 1/N; real=True reads bins 0 .. N//2
    of every channel only.

    Parameters
    ----------
    X : array_like
        Spectra.
    channels, shift, real, plan
        As in `multichannel_fft` and `ifft1d`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError
        An unknown orientation.  FennelError: an empty matrix.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.multichannel_ifft(np.array([[2.0, 0.0], [4.0, 0.0]]), real=True)
    array([[1., 1.],
           [2., 2.]])
    """
    X = _input(X, 2, real_ok=False)
    return _inverse(_INVM, "2DInvMultiChFFTH", X, real,
                    (int(bool(shift)), _orientation(channels)), plan)

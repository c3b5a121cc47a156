"""Discrete Fourier, cosine and sine transforms with the arguments and the
results of scipy.fft (and numpy.fft): n / s, axis / axes, norm, workers,
overwrite_x, over N-dimensional arrays.

From 256 KiB of input, transforms over up to three axes run as one batched
call of the library's strided FFT on the numpy arrays themselves (the
other axes are the batch; real spectra stay half, and the library completes
a real input's full spectrum by symmetry).  Smaller inputs, and calls with a plan,
go through host arrays: one-dimensional transforms of a batch as one
multichannel library call (rows or columns as channels, without a
transposing copy when the axis is the first or the last one that is longer
than 1); 2D and 3D transforms over all axes of a 2D or 3D array as one
library call; other axis sets one axis after the other.  The DCT-II/III
and DST-I of several rows are batched real FFTs.  Single precision stays single
(float16 is computed in single), integers are computed in double.

The library's own conventions (centred spectra, the real inverse from a
full spectrum) are reached through `fft1d`, `fft2d`, `fft3`,
`multichannel_fft` and their inverses.
"""
import math

import numpy as np

from . import _fastpath, _run, _strided
from ._run import (C64, C128, COMPLEX_OF, F32, F64, REAL_OF, TrigPlan, Unsupported, as_array,
                   axis_index, check_workers, length, norm_code, plan_slot, prefix, runner,
                   shape_and_axes, working_dtype)

__all__ = ["fft", "ifft", "rfft", "irfft", "hfft", "ihfft", "fft2", "ifft2", "rfft2", "irfft2",
           "hfft2", "ihfft2", "hfftn", "ihfftn",
           "fftn", "ifftn", "rfftn", "irfftn", "dct", "idct", "dst", "idst", "dctn", "idctn",
           "dstn", "idstn", "fftshift", "ifftshift", "fftfreq", "rfftfreq", "next_fast_len"]

fftshift = np.fft.fftshift
ifftshift = np.fft.ifftshift
fftfreq = np.fft.fftfreq
rfftfreq = np.fft.rfftfreq

_SWAP = {None: "forward", "backward": "forward", "ortho": "ortho", "forward": "backward"}


def _scale(y, code, n, inverse):
    """Applies norm to a result the library computed unscaled (forward) or
    scaled by 1/n (inverse)."""
    if code == 0:
        return y
    if inverse:
        f = math.sqrt(n) if code == 1 else float(n)
    else:
        f = 1 / math.sqrt(n) if code == 1 else 1.0 / n
    y *= f
    return y


# ---- the compiled call path -------------------------------------------------
# Contiguous inputs of up to FAST_BYTES with default layouts go through one
# call of fennel_dsp._fast (input copy, library call without the GIL, output
# copy with the norm's scaling); anything it declines takes the general path.

_FAST_BYTES = _fastpath.FAST_BYTES if _fastpath.available else -1
_FAST_NORM = {None: 0, "backward": 0, "ortho": 1, "forward": 2}
_REALS = (F32, F64)
_COMPLEX = (C64, C128)


def _spec(symbol, src, out, ws, ndim, ints):
    return (symbol, src, out, ws, ndim, ndim, ints)


def _table(calls):
    """{dtype number: (cache key, call)}; the keys of all tables differ."""
    global _KEYS
    out = {}
    for t, call in calls.items():
        _KEYS += 1
        out[t.num] = (_KEYS, call)
    return out


_KEYS = 0


_FWD1 = _table({t: _spec(f"{prefix(t)}1DFFTH", t, COMPLEX_OF[t], t, 1, 2) for t in _REALS + _COMPLEX})
_INV1 = _table({t: _spec(f"{prefix(t)}1DInvFFTH", t, t, t, 1, 1) for t in _COMPLEX})
_IRFFT1 = _table({t: _spec(f"{prefix(REAL_OF[t])}1DInvFFTH", t, REAL_OF[t], REAL_OF[t], 1, 1)
           for t in _COMPLEX})
_ROWS = _table({t: _spec(f"{prefix(t)}2DMultiChFFTH", t, COMPLEX_OF[t], t, 2, 3) for t in _REALS + _COMPLEX})
_FWD2 = _table({t: _spec(f"{prefix(t)}2DFFTH", t, COMPLEX_OF[t], t, 2, 3) for t in _REALS + _COMPLEX})
_INV2 = _table({t: _spec(f"{prefix(t)}2DInvFFTH", t, t, t, 2, 1) for t in _COMPLEX})
_DCT2 = _table({t: _spec(f"{prefix(t)}1DDCTH", t, t, t, 1, 1) for t in _REALS})
_DCT3 = _table({t: _spec(f"{prefix(t)}1DInvDCTH", t, t, COMPLEX_OF[t], 1, 0) for t in _REALS})
_calls = _fastpath._local


def _get(table, x):
    """This thread's compiled call for x's type, or None."""
    entry = table.get(x.dtype.num)
    if entry is None:
        return None
    c = _calls.calls.get(entry[0])
    if c is None:
        c = _calls.calls[entry[0]] = _fastpath.make(*entry[1])
    return c


def _norm_factor(norm, n, inverse):
    """The norm's factor on the library's result, or None for a norm the
    general path must refuse."""
    code = _FAST_NORM.get(norm) if type(norm) is not list else None
    if code is None:
        return None
    if code == 0:
        return 1.0
    if inverse:
        return math.sqrt(n) if code == 1 else float(n)
    return 1 / math.sqrt(n) if code == 1 else 1.0 / n


# ---- one axis -------------------------------------------------------------

def _layout(x, axis):
    """How a transform along `axis` maps onto the library: (arranged view,
    its transform axis, batch, orientation, moved).  Orientation 0 takes
    rows as channels, 1 columns; `moved` means the view is x with the axis
    moved last (a transposing copy into the host array)."""
    shape = x.shape
    before = math.prod(shape[:axis])
    after = math.prod(shape[axis + 1:])
    if after == 1:
        return x, axis, before, 0, False
    if before == 1:
        return x, axis, after, 1, False
    return np.moveaxis(x, axis, -1), x.ndim - 1, before * after, 0, True


def _host_shape(orientation, batch, n):
    return (batch, n) if orientation == 0 else (n, batch)


def _region(ndim, axis, count):
    return (slice(None),) * axis + (slice(0, count),)


def _one_axis(x, n, axis, code, inverse, real_out, name, plan, wt):
    """The 1D transform of x (already of working type wt) along axis.
    real_out: the inverse reads bins 0 .. n/2 and returns real samples."""
    m = x.shape[axis]
    if n is None:
        n = m if not real_out else 2 * (m - 1)
        if n < 1:
            raise ValueError(f"{name}: invalid number of data points ({n}) specified")
    else:
        n = length(n, name)
    slot = plan_slot(plan, name)
    if x.size == 0:  # an empty batch or an empty axis padded to n, as scipy.fft
        shape = list(x.shape)
        shape[axis] = n
        return np.zeros(shape, REAL_OF[wt] if real_out else COMPLEX_OF[wt])
    if inverse:
        out_t = REAL_OF[wt] if real_out else wt
        p = prefix(out_t)
        ws_t = COMPLEX_OF[wt]
    else:
        out_t = COMPLEX_OF[wt]
        p = prefix(wt)
        ws_t = wt
    if x.ndim == 1:
        r = runner(f"{p}1D{'Inv' if inverse else ''}FFTH", wt, out_t, ws_t, 1)
        ref = slot or r.plan_ref
        if not inverse:
            r.fill(x.shape, x)
            y = r.finish(r.f(r.src.arg, r.out.arg, n, 0, r.ws.arg, ref), (n,), name)
        else:
            fill = n // 2 + 1 if real_out else n
            if m == n and not real_out:
                r.fill(x.shape, x)
            else:
                k = min(m, fill)
                r.fill((n,), x[:k], (slice(0, k),))
            y = r.finish(r.f(r.src.arg, r.out.arg, 0, r.ws.arg, ref), (n,), name)
        return _scale(y, code, n, inverse)
    xa, ax, batch, orient, moved = _layout(x, axis)
    host = _host_shape(orient, batch, m)
    out_host = _host_shape(orient, batch, n)
    if not inverse:
        r = runner(f"{p}2DMultiChFFTH", wt, out_t, ws_t, 2)
        r.fill(host, xa)
        y = r.finish(r.f(r.src.arg, r.out.arg, n, 0, orient, r.ws.arg, slot or r.plan_ref),
                     out_host, name)
    else:
        r = runner(f"{p}2DInvMultiChFFTH", wt, out_t, ws_t, 2)
        fill = n // 2 + 1 if real_out else n
        if m == n and not real_out:
            r.fill(host, xa)
        else:
            k = min(m, fill)
            sub = xa[_region(xa.ndim, ax, k)]
            shape = list(xa.shape)
            shape[ax] = n
            target = r.src  # sized to the padded shape, then viewed as xa's
            if target.shape != out_host:
                target.resize(out_host)
            v = target.view.reshape(shape)
            v[...] = 0
            v[_region(xa.ndim, ax, k)] = sub
        y = r.finish(r.f(r.src.arg, r.out.arg, 0, orient, r.ws.arg, slot or r.plan_ref),
                     out_host, name)
    shape = list(xa.shape)
    shape[ax] = n
    y = y.reshape(shape)
    if moved:
        y = np.moveaxis(y, -1, axis)
    return _scale(y, code, n, inverse)


def _prepare(x, name, norm, workers, real=False):
    x = as_array(x, name)
    wt = working_dtype(x, name, real)
    code = norm_code(norm, name)
    if workers is not None:
        check_workers(workers, name)
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    return x, wt, code


# Below this many input bytes the host-array path costs less than the
# strided call's set-up (its copies are small).
_DIRECT_BYTES = 1 << 18


def _direct(x, axes, sizes, code, inverse, real, wt, name):
    """The transform over axes (sizes after padding or truncation) in one
    strided call on the caller's array, or None when its layout cannot be
    passed.  real: forward, the half spectrum along the last axis ("half"),
    or the full one completed by symmetry ("full"); inverse,
    real output from the half spectrum.  wt: the computing type of the
    input (complex for inverses)."""
    rank = len(axes)
    if rank > 3 or rank == 0 or x.nbytes < _DIRECT_BYTES:
        return None
    if real == "full" and rank == 3 and _whole(x, axes):
        return None  # the library's own 3D full spectrum shares its work over the cores
    shape = list(x.shape)
    for a, n in zip(axes, sizes):
        shape[a] = n
    last = axes[-1]
    half = sizes[-1] // 2 + 1
    if not inverse:
        xin = _strided.fitted(x, wt, axes, sizes)
        if real == "half":
            shape[last] = half
        y = np.empty(shape, COMPLEX_OF[wt])
    else:
        fit = list(sizes)
        if real:
            fit[-1] = half
        xin = _strided.fitted(x, wt, axes, fit)
        y = np.empty(shape, REAL_OF[wt] if real else wt)
    direction = 1 if inverse else 2 if real == "full" else 0
    if not _strided.run(xin, y, axes, sizes, direction, name):
        return None
    f = _strided.factor(code, math.prod(sizes), inverse)
    if f != 1.0:
        y *= f
    return y


def fft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Discrete Fourier transform along one axis, as `scipy.fft.fft`.

    Parameters
    ----------
    x : array_like
        Input, real or complex, of any number of dimensions.
    n : int, optional
        Transform length: the axis is zero-padded or truncated to n.
    axis : int, optional
        The axis to transform (default the last).
    norm : {"backward", "ortho", "forward"}, optional
        Scaling of the forward transform: none, 1/sqrt(n) or 1/n.
    overwrite_x : bool, optional
        Accepted for compatibility; the input is never changed.
    workers : int, optional
        Accepted for compatibility (not zero); the library picks its threads.
    plan : fennel_dsp.Plan, optional
        Keeps the library's transform between calls (each thread keeps one
        per function otherwise).

    Returns
    -------
    ndarray
        Complex spectrum: complex64 for float16, float32 and complex64
        input, complex128 otherwise.

    Raises
    ------
    ValueError
        n < 1, an unknown norm, workers == 0, an axis out of range.
    TypeError
        A non-integer n, a non-numeric x, a plan that is not a Plan.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fft(np.array([1.0, 2.0, 3.0, 4.0]))
    array([10.+0.j, -2.+2.j, -2.+0.j, -2.-2.j])
    >>> fd.fft(np.ones((2, 4), np.float32), axis=0).dtype
    dtype('complex64')
    """
    if (type(x) is np.ndarray and n is None and axis == -1 and plan is None and workers is None
            and 0 < x.nbytes <= _FAST_BYTES and x.ndim <= 2):
        m = x.shape[-1]
        f = 1.0 if norm is None else _norm_factor(norm, m, False)
        if f is not None:
            if x.ndim == 1:
                c = _get(_FWD1, x)
                y = c(x, f, 1.0, 0, 0, m, 0) if c is not None else None
            else:
                c = _get(_ROWS, x)
                y = c(x, f, 1.0, 0, 0, m, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.fft"
    x, wt, code = _prepare(x, name, norm, workers)
    axis = axis_index(axis, x.ndim, name)
    if plan is None:
        m = x.shape[axis] if n is None else length(n, name)
        y = _direct(x, [axis], [m], code, False, "full" if wt in _REALS else None, wt, name)
        if y is not None:
            return y
    return _one_axis(x, n, axis, code, False, False, name, plan, wt)


def ifft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Inverse discrete Fourier transform along one axis, as `scipy.fft.ifft`.

    Parameters
    ----------
    x : array_like
        Spectrum, real or complex.
    n, axis, norm, overwrite_x, workers, plan
        As in `fft`; "backward" scales the inverse by 1/n.

    Returns
    -------
    ndarray
        Complex samples (complex64 for single-precision input).

    Raises
    ------
    ValueError, TypeError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifft(np.array([10, -2 + 2j, -2, -2 - 2j])).real
    array([1., 2., 3., 4.])
    """
    if (type(x) is np.ndarray and n is None and axis == -1 and plan is None and workers is None
            and 0 < x.nbytes <= _FAST_BYTES and x.ndim == 1):
        f = 1.0 if norm is None else _norm_factor(norm, x.shape[0], True)
        if f is not None:
            c = _get(_INV1, x)
            y = c(x, f, 1.0, 0, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.ifft"
    x, wt, code = _prepare(x, name, norm, workers)
    axis = axis_index(axis, x.ndim, name)
    if plan is None:
        m = x.shape[axis] if n is None else length(n, name)
        y = _direct(x, [axis], [m], code, True, None, COMPLEX_OF[wt], name)
        if y is not None:
            return y
    return _one_axis(x, n, axis, code, True, False, name, plan, COMPLEX_OF[wt])


def rfft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Spectrum of real input, the n//2 + 1 non-negative frequencies, as
    `scipy.fft.rfft`.

    Parameters
    ----------
    x : array_like
        Real input.
    n, axis, norm, overwrite_x, workers, plan
        As in `fft`.

    Returns
    -------
    ndarray
        n//2 + 1 complex bins along axis.

    Raises
    ------
    TypeError
        Complex x, and as in `fft`.
    ValueError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.rfft(np.array([1.0, 2.0, 3.0, 4.0]))
    array([10.+0.j, -2.+2.j, -2.+0.j])
    """
    if (type(x) is np.ndarray and n is None and axis == -1 and plan is None and workers is None
            and 0 < x.nbytes <= _FAST_BYTES and x.ndim <= 2):
        m = x.shape[-1]
        f = 1.0 if norm is None else _norm_factor(norm, m, False)
        if f is not None and x.dtype in _REALS:
            if x.ndim == 1:
                c = _get(_FWD1, x)
                y = c(x, f, 1.0, m // 2 + 1, 0, m, 0) if c is not None else None
            else:
                c = _get(_ROWS, x)
                y = c(x, f, 1.0, m // 2 + 1, 0, m, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.rfft"
    x, wt, code = _prepare(x, name, norm, workers, real=True)
    axis = axis_index(axis, x.ndim, name)
    if plan is None:
        m = x.shape[axis] if n is None else length(n, name)
        y = _direct(x, [axis], [m], code, False, "half", wt, name)
        if y is not None:
            return y
    y = _one_axis(x, n, axis, code, False, False, name, plan, wt)
    half = y.shape[axis] // 2 + 1
    return np.ascontiguousarray(y[_region(y.ndim, axis, half)])


def irfft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Inverse of `rfft`: n real samples from n//2 + 1 bins, as
    `scipy.fft.irfft`.

    Parameters
    ----------
    x : array_like
        Non-negative frequency bins.
    n : int, optional
        Output length (default 2 * (m - 1) for m bins); the bins are
        truncated or zero-padded to n//2 + 1.
    axis, norm, overwrite_x, workers, plan
        As in `fft`.

    Returns
    -------
    ndarray
        Real samples (float32 for single-precision input).

    Raises
    ------
    ValueError, TypeError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.irfft(np.array([10, -2 + 2j, -2]))
    array([1., 2., 3., 4.])
    """
    if (type(x) is np.ndarray and n is None and axis == -1 and plan is None and workers is None
            and 0 < x.nbytes <= _FAST_BYTES and x.ndim == 1 and x.shape[0] > 1):
        m = 2 * (x.shape[0] - 1)
        f = 1.0 if norm is None else _norm_factor(norm, m, True)
        if f is not None:
            c = _get(_IRFFT1, x)
            y = c(x, f, 1.0, 0, m, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.irfft"
    x, wt, code = _prepare(x, name, norm, workers)
    axis = axis_index(axis, x.ndim, name)
    if plan is None:
        m = 2 * (x.shape[axis] - 1) if n is None else length(n, name)
        if m >= 1:
            y = _direct(x, [axis], [m], code, True, "half", COMPLEX_OF[wt], name)
            if y is not None:
                return y
    return _one_axis(x, n, axis, code, True, True, name, plan, COMPLEX_OF[wt])


def hfft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Real spectrum of a Hermitian-symmetric signal given by its first half,
    as `scipy.fft.hfft`.

    Parameters
    ----------
    x : array_like
        The first n//2 + 1 samples of the signal.
    n, axis, norm, overwrite_x, workers, plan
        As in `irfft`.

    Returns
    -------
    ndarray
        n real values.

    Raises
    ------
    ValueError, TypeError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.hfft(np.array([1.0, 2.0, 3.0]))
    array([ 8., -2.,  0., -2.])
    """
    name = "fennel_dsp.hfft"
    x, wt, code = _prepare(x, name, norm, workers)
    axis = axis_index(axis, x.ndim, name)
    m = 2 * (x.shape[axis] - 1) if n is None else length(n, name)
    if m < 1:
        raise ValueError(f"{name}: invalid number of data points ({m}) specified")
    # The conjugate's real inverse, on irfft's paths (the compiled call, the
    # strided call on the array).
    return irfft(np.conj(x.astype(COMPLEX_OF[wt], copy=False)), None if n is None else m,
                 -1 if axis == x.ndim - 1 else axis, _SWAP[norm], workers=workers, plan=plan)


def ihfft(x, n=None, axis=-1, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Inverse of `hfft`, as `scipy.fft.ihfft`.

    Parameters
    ----------
    x : array_like
        Real input.
    n, axis, norm, overwrite_x, workers, plan
        As in `fft`.

    Returns
    -------
    ndarray
        n//2 + 1 complex values.

    Raises
    ------
    ValueError, TypeError
        As in `rfft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ihfft(np.array([8.0, -2.0, 0.0, -2.0])).real
    array([1., 2., 3.])
    """
    norm_code(norm, "fennel_dsp.ihfft")
    y = rfft(x, n, axis, _SWAP[norm], workers=workers, plan=plan)
    return np.conj(y, out=y)


# ---- several axes ---------------------------------------------------------

def _whole(x, axes):
    """True when axes are every axis of a 2D or 3D array."""
    return x.ndim in (2, 3) and len(axes) == x.ndim and sorted(axes) == list(range(x.ndim))


def _md_sizes(s, axes, ndim):
    """The transform sizes in array order."""
    sizes = [0] * ndim
    for v, a in zip(s, axes):
        sizes[a] = v
    return sizes


def _md_forward(x, sizes, name, plan, wt):
    out_t = COMPLEX_OF[wt]
    p = prefix(wt)
    slot = plan_slot(plan, name)
    if x.ndim == 2:
        r = runner(f"{p}2DFFTH", wt, out_t, wt, 2)
        r.fill(x.shape, x)
        status = r.f(r.src.arg, r.out.arg, sizes[0], sizes[1], 0, r.ws.arg, slot or r.plan_ref)
    else:
        r = runner(f"{p}3DFFTH", wt, out_t, wt, 3)
        r.fill(x.shape, x)
        status = r.f(r.src.arg, r.out.arg, sizes[1], sizes[2], sizes[0], 0, r.ws.arg,
                     slot or r.plan_ref)
    return r.finish(status, tuple(sizes), name)


def _md_inverse(x, sizes, real_out, name, plan, wt):
    """Complex (or, real_out, real from columns 0 .. C/2) inverse over a
    whole 2D or 3D array padded or cropped to sizes."""
    out_t = REAL_OF[wt] if real_out else wt
    p = prefix(out_t)
    slot = plan_slot(plan, name)
    r = runner(f"{p}{x.ndim}DInvFFTH", wt, out_t, wt, x.ndim)
    sizes = tuple(sizes)
    fill = list(sizes)
    if real_out:
        fill[-1] = sizes[-1] // 2 + 1
    if x.shape == sizes and not real_out:
        r.fill(sizes, x)
    else:
        k = tuple(min(a, b) for a, b in zip(x.shape, fill))
        region = tuple(slice(0, v) for v in k)
        r.fill(sizes, x[region], region)
    status = r.f(r.src.arg, r.out.arg, 0, r.ws.arg, slot or r.plan_ref)
    return r.finish(status, sizes, name)


def _c2c_nd(x, s, axes, code, inverse, name, plan, wt):
    """Complex transform over several axes (forward of real or complex x)."""
    total = math.prod(s)
    if _whole(x, axes):
        sizes = _md_sizes(s, axes, x.ndim)
        if inverse:
            y = _md_inverse(x, sizes, False, name, plan, COMPLEX_OF[wt])
        else:
            y = _md_forward(x, sizes, name, plan, wt)
        return _scale(y, code, total, inverse)
    y = x
    for n, a in reversed(list(zip(s, axes))):
        y = _one_axis(y, n, a, 0, inverse, False, name, plan,
                      COMPLEX_OF[wt] if inverse or y is not x else wt)
    if y is x:
        y = x.astype(COMPLEX_OF[wt])
    return _scale(y, code, total, inverse)


def _nd(x, s, axes, norm, workers, name, real=False):
    x, wt, code = _prepare(x, name, norm, workers, real)
    s, axes = shape_and_axes(x, s, axes, name)
    return x, wt, code, s, axes


def fftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """N-dimensional discrete Fourier transform, as `scipy.fft.fftn`.

    Parameters
    ----------
    x : array_like
        Input, real or complex.
    s : sequence of int, optional
        Transform sizes along `axes` (each axis zero-padded or truncated);
        -1 keeps an axis's size.
    axes : sequence of int, optional
        Axes to transform (default the last len(s), or all).
    norm, overwrite_x, workers, plan
        As in `fft`; norm scales by the product of the sizes.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    ValueError
        Repeated axes, s and axes of different lengths, sizes below 1, and
        as in `fft`.
    TypeError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fftn(np.ones((2, 3))).real
    array([[6., 0., 0.],
           [0., 0., 0.]])
    """
    if (type(x) is np.ndarray and s is None and x.ndim == 2 and plan is None and workers is None
            and (axes is None or axes == (-2, -1)) and 0 < x.nbytes <= _FAST_BYTES):
        f = 1.0 if norm is None else _norm_factor(norm, x.size, False)
        if f is not None:
            c = _get(_FWD2, x)
            y = c(x, f, 1.0, 0, 0, 0, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.fftn"
    x, wt, code, s, axes = _nd(x, s, axes, norm, workers, name)
    if plan is None:
        y = _direct(x, axes, s, code, False, "full" if wt in _REALS else None, wt, name)
        if y is not None:
            return y
    return _c2c_nd(x, s, axes, code, False, name, plan, wt)


def ifftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """N-dimensional inverse discrete Fourier transform, as `scipy.fft.ifftn`.

    Parameters
    ----------
    x : array_like
        Spectrum.
    s, axes, norm, overwrite_x, workers, plan
        As in `fftn`.

    Returns
    -------
    ndarray
        Complex samples.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifftn(fd.fftn(np.arange(6.0).reshape(2, 3))).real.round(12)
    array([[0., 1., 2.],
           [3., 4., 5.]])
    """
    if (type(x) is np.ndarray and s is None and x.ndim == 2 and plan is None and workers is None
            and (axes is None or axes == (-2, -1)) and 0 < x.nbytes <= _FAST_BYTES):
        f = 1.0 if norm is None else _norm_factor(norm, x.size, True)
        if f is not None:
            c = _get(_INV2, x)
            y = c(x, f, 1.0, 0, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.ifftn"
    x, wt, code, s, axes = _nd(x, s, axes, norm, workers, name)
    if plan is None:
        y = _direct(x, axes, s, code, True, None, COMPLEX_OF[wt], name)
        if y is not None:
            return y
    return _c2c_nd(x, s, axes, code, True, name, plan, wt)


def fft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional discrete Fourier transform, as `scipy.fft.fft2`.

    Parameters
    ----------
    x : array_like
        Input of at least two dimensions.
    s, axes, norm, overwrite_x, workers, plan
        As in `fftn`, with axes (-2, -1) by default.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.fft2(np.eye(2))
    array([[2.+0.j, 0.+0.j],
           [0.+0.j, 2.+0.j]])
    """
    return fftn(x, s, axes, norm, workers=workers, plan=plan)


def ifft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional inverse discrete Fourier transform, as
    `scipy.fft.ifft2`.

    Parameters
    ----------
    x : array_like
        Spectrum of at least two dimensions.
    s, axes, norm, overwrite_x, workers, plan
        As in `fft2`.

    Returns
    -------
    ndarray
        Complex samples.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ifft2(np.array([[2.0, 0.0], [0.0, 2.0]])).real
    array([[1., 0.],
           [0., 1.]])
    """
    return ifftn(x, s, axes, norm, workers=workers, plan=plan)


def rfftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """N-dimensional transform of real input, as `scipy.fft.rfftn`: the last
    of `axes` keeps its s//2 + 1 non-negative frequencies.

    Parameters
    ----------
    x : array_like
        Real input.
    s, axes, norm, overwrite_x, workers, plan
        As in `fftn`.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    TypeError
        Complex x, and as in `fftn`.
    ValueError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.rfftn(np.ones((2, 4))).shape
    (2, 3)
    """
    if (type(x) is np.ndarray and s is None and x.ndim == 2 and plan is None and workers is None
            and (axes is None or axes == (-2, -1)) and 0 < x.nbytes <= _FAST_BYTES
            and x.dtype in _REALS):
        f = 1.0 if norm is None else _norm_factor(norm, x.size, False)
        if f is not None:
            c = _get(_FWD2, x)
            y = c(x, f, 1.0, x.shape[1] // 2 + 1, 0, 0, 0, 0) if c is not None else None
            if y.__class__ is np.ndarray:
                return y
    name = "fennel_dsp.rfftn"
    x, wt, code, s, axes = _nd(x, s, axes, norm, workers, name, real=True)
    if plan is None:
        y = _direct(x, axes, s, code, False, "half", wt, name)
        if y is not None:
            return y
    last = axes[-1]
    if _whole(x, axes):
        y = _c2c_nd(x, s, axes, code, False, name, plan, wt)
        return np.ascontiguousarray(y[_region(y.ndim, last, s[-1] // 2 + 1)])
    y = _one_axis(x, s[-1], last, 0, False, False, name, plan, wt)
    y = np.ascontiguousarray(y[_region(y.ndim, last, s[-1] // 2 + 1)])
    for n, a in reversed(list(zip(s[:-1], axes[:-1]))):
        y = _one_axis(y, n, a, 0, False, False, name, plan, COMPLEX_OF[wt])
    return _scale(y, code, math.prod(s), False)


def irfftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Inverse of `rfftn`, as `scipy.fft.irfftn`.

    Parameters
    ----------
    x : array_like
        Spectrum as `rfftn` returns it.
    s : sequence of int, optional
        Output sizes along `axes` (the last defaults to 2 * (m - 1)).
    axes, norm, overwrite_x, workers, plan
        As in `fftn`.

    Returns
    -------
    ndarray
        Real samples.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.irfftn(fd.rfftn(np.arange(8.0).reshape(2, 4))).round(12)
    array([[0., 1., 2., 3.],
           [4., 5., 6., 7.]])
    """
    name = "fennel_dsp.irfftn"
    given = s is not None
    x, wt, code, s, axes = _nd(x, s, axes, norm, workers, name)
    last = axes[-1]
    if not given:
        s[-1] = 2 * (x.shape[last] - 1)
        length(s[-1], name, "s")
    ct = COMPLEX_OF[wt]
    if plan is None:
        y = _direct(x, axes, s, code, True, "half", ct, name)
        if y is not None:
            return y
    if _whole(x, axes) and last == x.ndim - 1:
        y = _md_inverse(x, _md_sizes(s, axes, x.ndim), True, name, plan, ct)
        return _scale(y, code, math.prod(s), True)
    y = x
    for n, a in reversed(list(zip(s[:-1], axes[:-1]))):
        y = _one_axis(y, n, a, 0, True, False, name, plan, ct)
    y = _one_axis(y, s[-1], last, 0, True, True, name, plan, ct)
    return _scale(y, code, math.prod(s), True)


def rfft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional `rfftn`, as `scipy.fft.rfft2`.

    Parameters
    ----------
    x : array_like
        Real input of at least two dimensions.
    s, axes, norm, overwrite_x, workers, plan
        As in `rfftn`, with axes (-2, -1) by default.

    Returns
    -------
    ndarray
        Complex spectrum.

    Raises
    ------
    ValueError, TypeError
        As in `rfftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.rfft2(np.ones((2, 2)))
    array([[4.+0.j, 0.+0.j],
           [0.+0.j, 0.+0.j]])
    """
    return rfftn(x, s, axes, norm, workers=workers, plan=plan)


def irfft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional `irfftn`, as `scipy.fft.irfft2`.

    Parameters
    ----------
    x : array_like
        Spectrum as `rfft2` returns it.
    s, axes, norm, overwrite_x, workers, plan
        As in `irfftn`, with axes (-2, -1) by default.

    Returns
    -------
    ndarray
        Real samples.

    Raises
    ------
    ValueError, TypeError
        As in `irfftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.irfft2(np.array([[4.0, 0.0], [0.0, 0.0]]))
    array([[1., 1.],
           [1., 1.]])
    """
    return irfftn(x, s, axes, norm, workers=workers, plan=plan)


def hfftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """N-dimensional `hfft`, as `scipy.fft.hfftn`: the real spectrum of a
    Hermitian-symmetric signal given by its first half along the last axis.

    Parameters
    ----------
    x : array_like
        The signal's half, as `rfftn` returns a spectrum.
    s, axes, norm, overwrite_x, workers, plan
        As in `irfftn`.

    Returns
    -------
    ndarray
        Real values.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.hfftn(np.array([[1.0, 0.0], [0.0, 0.0]]))
    array([[1., 1.],
           [1., 1.]])
    """
    name = "fennel_dsp.hfftn"
    norm_code(norm, name)
    x = as_array(x, name)
    wt = working_dtype(x, name)
    return irfftn(np.conj(x.astype(COMPLEX_OF[wt], copy=False)), s, axes, _SWAP[norm],
                  workers=workers, plan=plan)


def ihfftn(x, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Inverse of `hfftn`, as `scipy.fft.ihfftn`.

    Parameters
    ----------
    x : array_like
        Real input.
    s, axes, norm, overwrite_x, workers, plan
        As in `rfftn`.

    Returns
    -------
    ndarray
        Complex values, the last axis halved as by `rfftn`.

    Raises
    ------
    ValueError, TypeError
        As in `rfftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ihfftn(np.ones((2, 2))).real
    array([[1., 0.],
           [0., 0.]])
    """
    norm_code(norm, "fennel_dsp.ihfftn")
    y = rfftn(x, s, axes, _SWAP[norm], workers=workers, plan=plan)
    return np.conj(y, out=y)


def hfft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional `hfftn`, as `scipy.fft.hfft2`.

    Parameters
    ----------
    x : array_like
        The signal's half.
    s, axes, norm, overwrite_x, workers, plan
        As in `hfftn`, with axes (-2, -1) by default.

    Returns
    -------
    ndarray
        Real values.

    Raises
    ------
    ValueError, TypeError
        As in `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.hfft2(np.array([[4.0, 0.0], [0.0, 0.0]]))
    array([[4., 4.],
           [4., 4.]])
    """
    return hfftn(x, s, axes, norm, workers=workers, plan=plan)


def ihfft2(x, s=None, axes=(-2, -1), norm=None, overwrite_x=False, workers=None, *, plan=None):
    """Two-dimensional `ihfftn`, as `scipy.fft.ihfft2`.

    Parameters
    ----------
    x : array_like
        Real input.
    s, axes, norm, overwrite_x, workers, plan
        As in `ihfftn`, with axes (-2, -1) by default.

    Returns
    -------
    ndarray
        Complex values.

    Raises
    ------
    ValueError, TypeError
        As in `rfftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.ihfft2(np.ones((2, 2))).real
    array([[1., 0.],
           [0., 0.]])
    """
    return ihfftn(x, s, axes, norm, workers=workers, plan=plan)


def next_fast_len(target, real=False):
    """The smallest 2-3-5-7-smooth length >= target: lengths the library's
    transforms handle fastest.

    Parameters
    ----------
    target : int
        A length >= 1.
    real : bool, optional
        Accepted as in `scipy.fft.next_fast_len` (the same answer).

    Returns
    -------
    int

    Raises
    ------
    ValueError
        target < 1.  TypeError: not an integer.

    Examples
    --------
    >>> import fennel_dsp as fd
    >>> fd.next_fast_len(1021)
    1024
    """
    target = length(target, "fennel_dsp.next_fast_len", "target")
    best = None
    p7 = 1
    while True:
        p5 = p7
        while True:
            p3 = p5
            while True:
                v = p3
                while v < target:
                    v *= 2
                if best is None or v < best:
                    best = v
                if p3 >= target:
                    break
                p3 *= 3
            if p5 >= target:
                break
            p5 *= 5
        if p7 >= target:
            break
        p7 *= 7
    return best


# ---- DCT and DST ----------------------------------------------------------
# The library computes the orthonormal DCT-II, its inverse (the orthonormal
# DCT-III) and the unscaled DST-I, y[k] = sum x[j] sin(pi (j+1)(k+1)/(n+1)),
# in float32 and float64; scipy's scalings are applied to their results.
# Types 1 and 4 of the DCT and 2 to 4 of the DST are not available.

def _trig_rows(symbol, rows, n, plan, name):
    """The 1D library transform of every row of a 2D float array (the DCT
    and DST have no multichannel form: one call per row)."""
    wt = rows.dtype
    inverse = "Inv" in symbol
    ws_t = COMPLEX_OF[wt] if symbol.endswith("InvDCTH") else wt
    r = runner(symbol, wt, wt, ws_t, 1)
    slot = plan_slot(plan, name)
    ref = slot or r.plan_ref
    out = np.empty((rows.shape[0], n), wt)
    for i in range(rows.shape[0]):
        r.fill((rows.shape[1],), rows[i])
        if inverse:
            status = r.f(r.src.arg, r.out.arg, r.ws.arg, ref)
        else:
            status = r.f(r.src.arg, r.out.arg, n, r.ws.arg, ref)
        out[i] = r.view(status, (n,), name)
    return out


def _resized(rows, n):
    """Rows zero-padded or truncated to n columns."""
    m = rows.shape[1]
    if m == n:
        return rows
    out = np.zeros((rows.shape[0], n), rows.dtype)
    k = min(m, n)
    out[:, :k] = rows[:, :k]
    return out


# Batched DCT and DST run over blocks of rows of about this many points, so
# that the steps around the FFT work in cache.
_BLOCK_POINTS = 1 << 17


def _by_blocks(rows, n, step):
    """step(block, out) over blocks of rows into an (rows, n) result."""
    y = np.empty((rows.shape[0], n), rows.dtype)
    b = max(1, _BLOCK_POINTS // max(n, rows.shape[1]))
    for i in range(0, rows.shape[0], b):
        step(rows[i:i + b], y[i:i + b])
    return y


def _rfft_rows(v, plan):
    """The half spectra of the rows of v (2D) in one strided call, or
    through `rfft` with a caller's plan."""
    if plan is None:
        n = v.shape[1]
        V = np.empty((v.shape[0], n // 2 + 1), COMPLEX_OF[v.dtype])
        if _strided.run(v, V, [1], [n], 0, "fennel_dsp.rfft"):
            return V
    return rfft(v, axis=-1, plan=plan)


# The passes around the DCT's and DST's batched FFTs in C (fennel_dsp._fast),
# or None: numpy's steps then.
_passes = _fastpath._fast


def _batched_dct2(rows, plan, scale=1.0, first=1.0):
    """The DCT-II (2 sum x_j cos(pi k (2j + 1) / 2n)) of every row times
    scale, bin 0 times first once more, by batched real FFTs: even samples
    forwards, odd ones backwards, then a quarter-bin twiddle of the half
    spectrum gives bins k and n - k."""
    n = rows.shape[1]
    h, q = (n + 1) // 2, n // 2 + 1
    tw = (2 * np.exp(-0.5j * np.pi * np.arange(q) / n)).astype(COMPLEX_OF[rows.dtype])
    # The twiddles times scale, as real and imaginary rows, for the C pass.
    twr = (tw.real * scale).astype(rows.dtype).reshape(1, q)
    twi = (tw.imag * scale).astype(rows.dtype).reshape(1, q)

    def step(x, out):
        v = np.empty(x.shape, x.dtype)
        if _passes is None or _passes.dct2_pack(x, v) is NotImplemented:
            v[:, :h] = x[:, ::2]
            v[:, h:] = x[:, 1::2][:, ::-1]
        V = _rfft_rows(v, plan)
        if _passes is not None and _passes.dct2_unpack(V, twr, twi, out, first) is None:
            return
        V *= tw
        out[:, :q] = V.real
        np.negative(V.imag[:, n - q:0:-1], out=out[:, q:])
        out *= scale
        out[:, 0] *= first

    return _by_blocks(rows, n, step)


def _batched_idct2(u, plan):
    """The inverse of `_batched_dct2` for every row by batched real inverse
    FFTs (the same steps backwards)."""
    n = u.shape[1]
    h, q = (n + 1) // 2, n // 2 + 1
    ct = COMPLEX_OF[u.dtype]
    tw = (0.5 * np.exp(0.5j * np.pi * np.arange(q) / n)).astype(ct)

    def step(c, out):
        w = np.empty((c.shape[0], q), ct)
        w.real = c[:, :q]
        w.imag[:, 0] = 0
        np.negative(c[:, n - 1:n - q:-1], out=w.imag[:, 1:])
        w *= tw
        v = irfft(w, n, axis=-1, plan=plan)
        out[:, ::2] = v[:, :h]
        out[:, 1::2] = v[:, h:][:, ::-1]

    return _by_blocks(u, n, step)


def _dct23(rows, kind, n, code, orth, name, plan):
    """scipy's DCT-II (kind 2) or DCT-III (3) of every row, from the
    library's orthonormal pair (one row) or from one batched FFT."""
    g = (math.sqrt(2.0 * n), 1.0, 1.0 / math.sqrt(2.0 * n))[code]
    p = prefix(rows.dtype)
    if rows.shape[0] > 1:
        rows = _resized(rows, n)
        if kind == 2:
            return _batched_dct2(rows, plan, g / math.sqrt(2.0 * n),
                                 1 / math.sqrt(2.0) if orth else 1.0)
        if orth:
            rows = rows.copy()
            rows[:, 0] *= math.sqrt(2.0)
        y = _batched_idct2(rows, plan)
        y *= g * math.sqrt(2.0 * n)
        return y
    if kind == 2:
        y = _trig_rows(f"{p}1DDCTH", rows, n, plan, name)
        y *= g
        if not orth:
            y[:, 0] *= math.sqrt(2.0)
        return y
    rows = _resized(rows, n)
    if not orth:
        rows = rows.copy()
        rows[:, 0] /= math.sqrt(2.0)
    y = _trig_rows(f"{p}1DInvDCTH", rows, n, plan, name)
    y *= g
    return y


def _trig_kind(rows, kind, n, code, orth, name, plan):
    """Every row of a 2D real float array through one transform kind: the
    library's DCT-II/III and DST-I, the DST-II/III from them (alternating
    signs and reversal), the DCT-I, DCT-IV and DST-IV from its FFT."""
    if kind in (2, 3):
        return _dct23(rows, kind, n, code, orth, name, plan)
    if kind == "dst1":
        f = (2.0, math.sqrt(2.0 / (n + 1)), 1.0 / (n + 1))[code]
        if rows.shape[0] > 1 and _passes is not None:
            # From a real FFT of n + 1 points (half the odd extension's):
            # the input folded with sines, the odd outputs a running sum.
            sines = np.sin(np.pi / (n + 1) * np.arange(n + 1)).astype(rows.dtype)[None]

            def fold(x, out):
                y = np.empty((x.shape[0], n + 1), x.dtype)
                if _passes.dst1_fold(x, sines, y) is NotImplemented:
                    raise Unsupported("layout")
                if _passes.dst1_unfold(_rfft_rows(y, plan), out, f) is NotImplemented:
                    raise Unsupported("layout")

            try:
                return _by_blocks(_resized(rows, n), n, fold)
            except Unsupported:
                pass
        if rows.shape[0] > 1:
            # The odd extension [0, x, 0, -x reversed]: minus the imaginary
            # part of its FFT is twice the DST-I, for all rows at once.
            def step(x, out):
                z = np.zeros((x.shape[0], 2 * (n + 1)), x.dtype)
                z[:, 1:n + 1] = x
                np.negative(x[:, ::-1], out=z[:, n + 2:])
                np.multiply(_rfft_rows(z, plan)[:, 1:n + 1].imag, -0.5 * f, out=out)

            return _by_blocks(_resized(rows, n), n, step)
        y = _trig_rows(f"{prefix(rows.dtype)}1DDSTH", rows, n, plan, name)
        y *= f
        return y
    if kind in ("dst2", "dst3"):
        alt = np.where(np.arange(n) % 2 == 1, -1.0, 1.0).astype(rows.dtype)
        rows = _resized(rows, n)
        # orthogonalize scales the first output (DST-II) or input (DST-III),
        # not the one the reversal brings from the DCT's first term.
        if kind == "dst2":
            y = _dct23(rows * alt, 2, n, code, False, name, plan)[:, ::-1].copy()
            if orth:
                y[:, 0] /= math.sqrt(2.0)
            return y
        rows = np.ascontiguousarray(rows[:, ::-1])
        if orth:
            rows[:, -1] *= math.sqrt(2.0)
        y = _dct23(rows, 3, n, code, False, name, plan)
        y *= alt
        return y
    rows = _resized(rows, n)
    if kind == "dct1":
        if n < 2:
            raise Unsupported(f"{name}: the DCT-I needs at least 2 points")
        if orth:
            rows = rows.copy()
            rows[:, [0, -1]] *= math.sqrt(2.0)
        ext = np.concatenate([rows, rows[:, -2:0:-1]], axis=1)
        y = np.ascontiguousarray(rfft(ext, axis=-1, plan=plan).real)
        y *= (1.0, 1.0 / math.sqrt(2.0 * (n - 1)), 0.5 / (n - 1))[code]
        if orth:
            y[:, [0, -1]] /= math.sqrt(2.0)
        return y
    # DCT-IV and DST-IV: 2 e^{-i pi (2k+1)/(4n)} times the 2n-point DFT of
    # x[j] e^{-i pi j/(2n)}; the real part gives the DCT, minus the
    # imaginary part the DST.
    ct = COMPLEX_OF[rows.dtype]
    j = np.arange(n)
    z = rows * np.exp(-0.5j * np.pi * j / n).astype(ct)
    Z = fft(z, 2 * n, axis=-1, plan=plan)[:, :n]
    Z *= (2.0 * np.exp(-0.25j * np.pi * (2 * j + 1) / n)).astype(ct)
    y = np.ascontiguousarray(Z.real if kind == "dct4" else -Z.imag)
    y *= (1.0, 1.0 / math.sqrt(2.0 * n), 0.5 / n)[code]
    return y


def _trig_axis(x, kind, n, axis, norm, orthogonalize, name, plan):
    """scipy's DCT or DST of one kind of real float x along axis, with n,
    norm and orthogonalize."""
    m = x.shape[axis]
    n = m if n is None else length(n, name)
    xm = np.moveaxis(x, axis, -1)
    lead = xm.shape[:-1]
    rows = xm.reshape(-1, m)
    code = norm_code(norm, name)
    orth = (code == 1) if orthogonalize is None else bool(orthogonalize)
    y = _trig_kind(rows, kind, n, code, orth, name, plan)
    return np.moveaxis(y.reshape(lead + (n,)), -1, axis)


_TYPES = {("dct", 1): "dct1", ("dct", 2): 2, ("dct", 3): 3, ("dct", 4): "dct4",
          ("idct", 1): "dct1", ("idct", 2): 3, ("idct", 3): 2, ("idct", 4): "dct4",
          ("dst", 1): "dst1", ("dst", 2): "dst2", ("dst", 3): "dst3", ("dst", 4): "dst4",
          ("idst", 1): "dst1", ("idst", 2): "dst3", ("idst", 3): "dst2", ("idst", 4): "dst4"}


def _trig(family, x, type, n, axis, norm, workers, orthogonalize, name, plan):
    x = as_array(x, name)
    wt = working_dtype(x, name)
    norm_code(norm, name)
    check_workers(workers, name)
    try:
        type = int(type)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: type must be an integer 1 to 4") from None
    if type not in (1, 2, 3, 4):
        raise ValueError(f"{name}: type must be 1, 2, 3 or 4, not {type}")
    kind = _TYPES.get((family, type))
    if kind is None:
        raise Unsupported(f"{name}: type {type} is not available in the library")
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    axis = axis_index(axis, x.ndim, name)
    if family[0] == "i":
        norm = _SWAP[norm]
    if wt.kind == "c":
        rt = REAL_OF[wt]
        re = _trig_axis(x.real.astype(rt, copy=False), kind, n, axis, norm, orthogonalize, name,
                        plan)
        im = _trig_axis(x.imag.astype(rt, copy=False), kind, n, axis, norm, orthogonalize, name,
                        plan)
        return re + 1j * im
    return _trig_axis(x.astype(wt, copy=False), kind, n, axis, norm, orthogonalize, name, plan)


def _fast_dct(x, kind, norm):
    """The DCT-II (any norm) or the orthonormal DCT-III on the compiled path,
    or None."""
    code = _FAST_NORM.get(norm) if norm.__class__ is not list else None
    m = x.shape[0]
    if kind == 2 and code is not None:
        g = (math.sqrt(2.0 * m), 1.0, 1.0 / math.sqrt(2.0 * m))[code]
        c = _get(_DCT2, x)
        return c(x, g, 1.0 if code == 1 else math.sqrt(2.0), 0, 0, m) if c is not None else None
    if kind == 3 and code == 1:
        c = _get(_DCT3, x)
        return c(x, 1.0, 1.0, 0, 0) if c is not None else None
    return None


def dct(x, type=2, n=None, axis=-1, norm=None, overwrite_x=False, workers=None,
        orthogonalize=None, *, plan=None):
    """Discrete cosine transform, as `scipy.fft.dct` (types 2 and 3).

    Parameters
    ----------
    x : array_like
        Input; complex input transforms real and imaginary parts apart.
    type : {2, 3}, optional
        DCT type; 1 and 4 raise NotImplementedError.
    n : int, optional
        Transform length (zero-padded or truncated).
    axis : int, optional
        The axis to transform.
    norm : {"backward", "ortho", "forward"}, optional
        Scaling, as in scipy.fft.
    orthogonalize : bool, optional
        Default True with norm="ortho": the first term's extra scaling.
    overwrite_x, workers
        As in `fft`.
    plan : fennel_dsp.Plan, optional
        Keeps the transform between calls.

    Returns
    -------
    ndarray
        float32 for single-precision input, float64 otherwise.

    Raises
    ------
    ValueError
        A type outside 1 .. 4, and as in `fft`.
    NotImplementedError
        Types 1 and 4.
    TypeError
        As in `fft`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dct(np.array([1.0, 1.0, 1.0, 1.0]))
    array([8., 0., 0., 0.])
    >>> fd.dct(np.array([1.0, 1.0, 1.0, 1.0]), norm="ortho")
    array([2., 0., 0., 0.])
    """
    if (x.__class__ is np.ndarray and x.ndim == 1 and n is None and axis == -1 and plan is None
            and workers is None and orthogonalize is None and 0 < x.nbytes <= _FAST_BYTES
            and norm.__class__ is not list):
        y = _fast_dct(x, type, norm)
        if y.__class__ is np.ndarray:
            return y
    return _trig("dct", x, type, n, axis, norm, workers, orthogonalize, "fennel_dsp.dct", plan)


def idct(x, type=2, n=None, axis=-1, norm=None, overwrite_x=False, workers=None,
         orthogonalize=None, *, plan=None):
    """Inverse discrete cosine transform, as `scipy.fft.idct` (types 2, 3).

    Parameters
    ----------
    x : array_like
        Input.
    type, n, axis, norm, overwrite_x, workers, orthogonalize, plan
        As in `dct`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dct`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idct(np.array([8.0, 0.0, 0.0, 0.0]))
    array([1., 1., 1., 1.])
    """
    if (x.__class__ is np.ndarray and x.ndim == 1 and n is None and axis == -1 and plan is None
            and workers is None and orthogonalize is None and 0 < x.nbytes <= _FAST_BYTES
            and norm.__class__ is not list and norm in _SWAP):
        y = _fast_dct(x, 5 - type if type in (2, 3) else 0, _SWAP[norm])
        if y.__class__ is np.ndarray:
            return y
    return _trig("idct", x, type, n, axis, norm, workers, orthogonalize, "fennel_dsp.idct", plan)


def dst(x, type=2, n=None, axis=-1, norm=None, overwrite_x=False, workers=None,
        orthogonalize=None, *, plan=None):
    """Discrete sine transform, as `scipy.fft.dst` (type 1).

    Parameters
    ----------
    x : array_like
        Input.
    type : int, optional
        DST type: 1.  The default type 2, and 3 and 4, raise
        NotImplementedError (the library computes the DST-I).
    n, axis, norm, overwrite_x, workers, orthogonalize, plan
        As in `dct`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dct`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dst(np.array([1.0, 0.0, 0.0]), type=1)
    array([1.41421356, 2.        , 1.41421356])
    """
    return _trig("dst", x, type, n, axis, norm, workers, orthogonalize, "fennel_dsp.dst", plan)


def idst(x, type=2, n=None, axis=-1, norm=None, overwrite_x=False, workers=None,
         orthogonalize=None, *, plan=None):
    """Inverse discrete sine transform, as `scipy.fft.idst` (type 1).

    Parameters
    ----------
    x : array_like
        Input.
    type, n, axis, norm, overwrite_x, workers, orthogonalize, plan
        As in `dst`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dst`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idst(fd.dst(np.array([1.0, 2.0, 3.0]), type=1), type=1).round(12)
    array([1., 2., 3.])
    """
    return _trig("idst", x, type, n, axis, norm, workers, orthogonalize, "fennel_dsp.idst", plan)


def _trign(family, x, type, s, axes, norm, workers, orthogonalize, name, plan):
    x = as_array(x, name)
    working_dtype(x, name)
    if x.ndim == 0:
        raise ValueError(f"{name}: x must have at least one dimension")
    s, axes = shape_and_axes(x, s, axes, name)
    one = {"dct": dct, "idct": idct, "dst": dst, "idst": idst}[family]
    if not axes:
        return x.astype(working_dtype(x, name))
    kind = _TYPES.get((family, type)) if type.__class__ is int else None
    wt = working_dtype(x, name)
    if (x.ndim == 2 and len(axes) == 2 and kind in (2, 3) and wt.kind == "f"
            and (plan is None or plan.__class__ is TrigPlan)):
        norm_code(norm, name)
        check_workers(workers, name)
        sizes = _md_sizes(s, axes, 2)
        return _dct2d(x.astype(wt, copy=False), kind, sizes,
                      _SWAP[norm] if family[0] == "i" else norm, orthogonalize, name, plan)
    y = x
    for n, a in zip(s, axes):
        y = one(y, type, n, a, norm, workers=workers, orthogonalize=orthogonalize, plan=plan)
    return y


def _dct2d(x, kind, sizes, norm, orthogonalize, name, plan):
    """scipy's 2D DCT-II (kind 2) or DCT-III (3) over both axes of a real
    matrix by one call of the library's 2D transform (rows, then columns,
    orthonormal), scaled per axis."""
    code = norm_code(norm, name)
    orth = (code == 1) if orthogonalize is None else bool(orthogonalize)
    R, C = sizes
    wt = x.dtype
    p = prefix(wt)
    ref = plan_slot(plan, name, TrigPlan)
    if kind == 2:
        r = runner(f"{p}2DDCTH", wt, wt, wt, 2, TrigPlan)
        r.fill(x.shape, x)
        y = r.finish(r.f(r.src.arg, r.out.arg, R, C, r.ws.arg, ref or r.plan_ref), (R, C), name)
    else:
        r = runner(f"{p}2DInvDCTH", wt, wt, COMPLEX_OF[wt], 2, TrigPlan)
        k = (min(R, x.shape[0]), min(C, x.shape[1]))
        region = (slice(0, k[0]), slice(0, k[1]))
        r.fill((R, C), x[region], region)
        if not orth:  # the first row and column enter scaled by 1/sqrt(2)
            r.src.view[0] /= math.sqrt(2.0)
            r.src.view[:, 0] /= math.sqrt(2.0)
        y = r.finish(r.f(r.src.arg, r.out.arg, r.ws.arg, ref or r.plan_ref), (R, C), name)
    g = [(math.sqrt(2.0 * n), 1.0, 1.0 / math.sqrt(2.0 * n))[code] for n in (R, C)]
    if g[0] * g[1] != 1.0:
        y *= g[0] * g[1]
    if kind == 2 and not orth:
        y[0] *= math.sqrt(2.0)
        y[:, 0] *= math.sqrt(2.0)
    return y


def dctn(x, type=2, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *,
         orthogonalize=None, plan=None):
    """N-dimensional DCT, as `scipy.fft.dctn` (types 2 and 3): `dct` along
    every one of `axes`.

    Parameters
    ----------
    x : array_like
        Input.
    type : {2, 3}, optional
        As in `dct`.
    s, axes
        As in `fftn`.
    norm, overwrite_x, workers, orthogonalize, plan
        As in `dct`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dct` and `fftn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dctn(np.ones((2, 2)), norm="ortho")
    array([[2., 0.],
           [0., 0.]])
    """
    return _trign("dct", x, type, s, axes, norm, workers, orthogonalize, "fennel_dsp.dctn", plan)


def idctn(x, type=2, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *,
          orthogonalize=None, plan=None):
    """N-dimensional inverse DCT, as `scipy.fft.idctn`.

    Parameters
    ----------
    x : array_like
        Input.
    type, s, axes, norm, overwrite_x, workers, orthogonalize, plan
        As in `dctn`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dctn`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idctn(np.array([[2.0, 0.0], [0.0, 0.0]]), norm="ortho")
    array([[1., 1.],
           [1., 1.]])
    """
    return _trign("idct", x, type, s, axes, norm, workers, orthogonalize, "fennel_dsp.idctn",
                  plan)


def dstn(x, type=2, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *,
         orthogonalize=None, plan=None):
    """N-dimensional DST, as `scipy.fft.dstn` (type 1).

    Parameters
    ----------
    x : array_like
        Input.
    type, s, axes, norm, overwrite_x, workers, orthogonalize, plan
        As in `dst` and `fftn`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dst`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.dstn(np.ones((1, 1)), type=1)
    array([[4.]])
    """
    return _trign("dst", x, type, s, axes, norm, workers, orthogonalize, "fennel_dsp.dstn", plan)


def idstn(x, type=2, s=None, axes=None, norm=None, overwrite_x=False, workers=None, *,
          orthogonalize=None, plan=None):
    """N-dimensional inverse DST, as `scipy.fft.idstn` (type 1).

    Parameters
    ----------
    x : array_like
        Input.
    type, s, axes, norm, overwrite_x, workers, orthogonalize, plan
        As in `dstn`.

    Returns
    -------
    ndarray

    Raises
    ------
    ValueError, TypeError, NotImplementedError
        As in `dst`.

    Examples
    --------
    >>> import numpy as np, fennel_dsp as fd
    >>> fd.idstn(np.array([[4.0]]), type=1)
    array([[1.]])
    """
    return _trign("idst", x, type, s, axes, norm, workers, orthogonalize, "fennel_dsp.idstn",
                  plan)


del _run

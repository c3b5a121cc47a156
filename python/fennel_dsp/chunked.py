"""Dask arrays through the library: long recordings and many channels as
chunked arrays, on one machine or a distributed cluster.

- `fft`, `ifft`, `rfft`, `irfft`, `dct`, `idct` (and `apply_along` for any
  one-axis function of fennel_dsp): every chunk transformed by the library
  along an axis that is not split (the array is rechunked to one chunk along
  it when it is).
- `convolve`: overlap-add convolution along the last axis with a kernel that
  is a numpy array; every chunk is convolved by the library and the tails are
  added into the chunks that follow, so the result equals
  `fennel_dsp.convolve` of the whole array (to rounding).
- `resample`: streaming resampling along the last axis; the chunks pass
  through one `Resampler` in order, its state carried from task to task (it
  pickles with its histories), so the result equals `fir_resample` of the
  whole array bit for bit.

Every task calls module-level functions of fennel_dsp, which pickle by name;
each thread keeps its own plans and host arrays, and the library runs
without the GIL, so threads and worker processes both scale.
"""
import copy
import functools

import numpy as np

from . import fourier, resampling
from . import signal as _signal

__all__ = ["apply_along", "fft", "ifft", "rfft", "irfft", "dct", "idct", "convolve",
           "resample"]


def _da():
    import dask.array as da
    return da


def _out_length(function, n, length):
    if n is not None:
        return n // 2 + 1 if function is fourier.rfft else n
    if function is fourier.rfft:
        return length // 2 + 1
    if function is fourier.irfft:
        return 2 * (length - 1)
    return length


def _one_chunk(block, function, axis, kwargs):
    return function(block, axis=axis, **kwargs)


def apply_along(function, x, axis=-1, n=None, dtype=None, **kwargs):
    """A one-axis function of fennel_dsp (fft, rfft, dct, lfilter-like
    functions taking axis=) applied to every chunk of a dask array along an
    axis that is kept in one chunk.

    Parameters
    ----------
    function : callable
        For example `fennel_dsp.fft`; called as function(chunk, n=n,
        axis=axis, **kwargs).
    x : dask.array.Array
        Input.
    axis : int, optional
        The transform axis.
    n : int, optional
        Passed on; sets the output length along axis.
    dtype : numpy dtype, optional
        The result's type (default: from a call on a one-element chunk).
    **kwargs
        Passed on (norm=, type=, ...).

    Returns
    -------
    dask.array.Array

    Raises
    ------
    ValueError
        An axis out of range.

    Examples
    --------
    >>> import numpy as np, dask.array as da, fennel_dsp as fd
    >>> from fennel_dsp import chunked
    >>> x = da.from_array(np.arange(8.0).reshape(4, 2), chunks=(2, 2))
    >>> chunked.apply_along(fd.fft, x, axis=1).compute().real
    array([[ 1., -1.],
           [ 5., -1.],
           [ 9., -1.],
           [13., -1.]])
    """
    axis = axis % x.ndim if -x.ndim <= axis < x.ndim else None
    if axis is None:
        raise ValueError("fennel_dsp.chunked.apply_along: axis out of range")
    if len(x.chunks[axis]) > 1:
        x = x.rechunk({axis: -1})
    if n is not None:
        kwargs["n"] = n
    length = _out_length(function, n, x.shape[axis])
    if dtype is None:
        probe = np.ones([1] * (x.ndim - 1) + [max(2, x.shape[axis])], x.dtype)
        dtype = function(probe, axis=-1, **kwargs).dtype
    chunks = list(x.chunks)
    chunks[axis] = (length,)
    return x.map_blocks(_one_chunk, function, axis, kwargs, chunks=tuple(chunks), dtype=dtype)


def _transform(function):
    @functools.wraps(function)
    def along(x, n=None, axis=-1, norm=None, **kwargs):
        return apply_along(function, x, axis, n, norm=norm, **kwargs)
    along.__doc__ = (f"`fennel_dsp.{function.__name__}` of every chunk of a dask array along "
                     f"an unsplit axis (see `apply_along`).")
    return along


fft = _transform(fourier.fft)
ifft = _transform(fourier.ifft)
rfft = _transform(fourier.rfft)
irfft = _transform(fourier.irfft)
dct = _transform(fourier.dct)
idct = _transform(fourier.idct)


# ---- overlap-add convolution ------------------------------------------------

def _convolve_chunk(block, h, method):
    """The full convolution of one chunk with h along the last axis."""
    if block.ndim == 1:
        return _signal.convolve(block, h, "full", method)
    rows = block.reshape(-1, block.shape[-1])
    out = np.stack([_signal.convolve(r, h, "full", method) for r in rows])
    return out.reshape(block.shape[:-1] + (out.shape[-1],))


def _assemble(starts, lengths, start, length, *parts):
    """Output samples [start, start + length) as the sum of the chunks' full
    convolutions that reach into them (part k begins at starts[k])."""
    first = parts[0]
    out = np.zeros(first.shape[:-1] + (length,), np.result_type(*parts))
    for s, p in zip(starts, parts):
        lo, hi = max(start, s), min(start + length, s + p.shape[-1])
        if lo < hi:
            out[..., lo - start:hi - start] += p[..., lo - s:hi - s]
    return out


def convolve(x, h, mode="full", method="auto"):
    """Convolution along the last axis of a dask array with a 1D kernel, by
    overlap-add across chunk borders.

    Parameters
    ----------
    x : dask.array.Array
        Signal (last axis: time; other axes: channels), chunked along time.
    h : array_like
        The kernel, a numpy array (sent to every task).
    mode : {"full", "same", "valid"}, optional
        As in `fennel_dsp.convolve` of the whole signal.
    method : {"auto", "direct", "fft"}, optional
        The library's method per chunk.

    Returns
    -------
    dask.array.Array
        Chunked as x (the full mode adds a last chunk of len(h) - 1).

    Raises
    ------
    ValueError
        An empty kernel, an unknown mode.

    Examples
    --------
    >>> import numpy as np, dask.array as da, fennel_dsp as fd
    >>> from fennel_dsp import chunked
    >>> x = da.from_array(np.arange(10.0), chunks=3)
    >>> y = chunked.convolve(x, np.array([1.0, 1.0, 1.0])).compute()
    >>> np.allclose(y, fd.convolve(np.arange(10.0), [1.0, 1.0, 1.0]))
    True
    """
    import dask
    da = _da()
    h = np.asarray(h)
    if h.ndim != 1 or h.size == 0:
        raise ValueError("fennel_dsp.chunked.convolve: h must be a non-empty 1D array")
    if mode not in ("full", "same", "valid"):
        raise ValueError(f"fennel_dsp.chunked.convolve: unknown mode {mode!r}")
    if x.ndim > 1 and any(len(c) > 1 for c in x.chunks[:-1]):
        x = x.rechunk({i: -1 for i in range(x.ndim - 1)})
    m = h.size
    lengths = x.chunks[-1]
    starts = np.concatenate([[0], np.cumsum(lengths)[:-1]]).astype(int).tolist()
    blocks = x.to_delayed().reshape(-1)
    parts = [dask.delayed(_convolve_chunk)(b, h, method) for b in blocks]
    out_lengths = list(lengths) + ([m - 1] if m > 1 else [])
    out_starts = np.concatenate([[0], np.cumsum(out_lengths)[:-1]]).astype(int).tolist()
    dtype = np.result_type(x.dtype, h.dtype)
    if dtype.kind in "biu":
        dtype = np.dtype(np.int64) if dtype.kind != "b" else dtype
    lead = x.shape[:-1]
    pieces = []
    for start, length in zip(out_starts, out_lengths):
        # Chunk k's full convolution covers [starts[k], starts[k] + len_k + m - 1).
        use = [k for k in range(len(parts))
               if starts[k] < start + length and starts[k] + lengths[k] + m - 1 > start]
        task = dask.delayed(_assemble)([starts[k] for k in use], [lengths[k] for k in use],
                                       start, length, *[parts[k] for k in use])
        pieces.append(da.from_delayed(task, lead + (length,), dtype))
    full = da.concatenate(pieces, axis=-1)
    n = x.shape[-1]
    if mode == "full":
        return full
    if mode == "same":
        lo = (m - 1) // 2
        return full[..., lo:lo + n]
    return full[..., min(n, m) - 1:max(n, m)]


# ---- streaming resampling ----------------------------------------------------

def _resample_step(stream, block):
    """The next chunk through a copy of the stream (the graph may run
    again): (outputs, the stream after them)."""
    stream = copy.deepcopy(stream)
    y, _ = stream.process(block)
    return y, stream


def resample(x, coefficients, interpolation, ratio, start_offset=0.0, nearest=False,
             anti_alias=True):
    """Streaming resampling along the last axis of a dask array: the chunks
    pass through one `fennel_dsp.Resampler` in order, its state carried from
    task to task, so the result equals `fennel_dsp.fir_resample` of the
    whole array bit for bit.

    Parameters
    ----------
    x : dask.array.Array
        1D signal, or 2D channels x samples chunked along samples.
    coefficients, interpolation, ratio, start_offset, nearest, anti_alias
        As in `fennel_dsp.Resampler`.

    Returns
    -------
    dask.array.Array
        The outputs; chunk lengths are known once computed.

    Raises
    ------
    ValueError
        More than two dimensions.

    Examples
    --------
    >>> import numpy as np, dask.array as da, fennel_dsp as fd
    >>> from fennel_dsp import chunked
    >>> h = fd.firwin(31, 0.5) * 2
    >>> x = np.sin(np.arange(100.0))
    >>> y = chunked.resample(da.from_array(x, chunks=30), h, 2, 0.5).compute()
    >>> np.array_equal(y, fd.fir_resample(x, h, 2, 0.5))
    True
    """
    import dask
    da = _da()
    if x.ndim not in (1, 2):
        raise ValueError("fennel_dsp.chunked.resample: a 1D signal or 2D channels x samples")
    if x.ndim == 2 and len(x.chunks[0]) > 1:
        x = x.rechunk({0: -1})
    stream = resampling.Resampler(coefficients, interpolation, ratio, start_offset, nearest,
                                  anti_alias)
    dtype = np.dtype(x.dtype) if np.dtype(x.dtype) in (np.float32, np.float64, np.complex64,
                                                       np.complex128) else \
        np.dtype(np.complex128 if x.dtype.kind == "c" else np.float64)
    pieces = []
    state = dask.delayed(stream)
    for block in x.to_delayed().reshape(-1):
        step = dask.delayed(_resample_step, nout=2)(state, block)
        y, state = step[0], step[1]
        pieces.append(da.from_delayed(y, x.shape[:-1] + (np.nan,), dtype))
    return da.concatenate(pieces, axis=-1)

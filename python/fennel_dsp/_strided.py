"""Transforms straight on numpy arrays: one batched call of the library's
strided FFT (sStridedFFT ... zStridedFFT) reads the caller's array where it
lies and writes a new numpy array, with real spectra kept at half length
(or completed by symmetry in the same call).

The axes that are not transformed are the batch; adjacent ones merge when
their strides allow, and the library takes the innermost remaining one as
its batch, any others are looped over here.  Each thread keeps the plans of
its last few geometries.
"""
import collections
import ctypes
import math
import threading

import numpy as np

from ._errors import check
from ._native import Plan, lib
from ._run import C64, C128, F32, F64

_SYMBOLS = {F32: "sStridedFFT", F64: "dStridedFFT", C64: "cStridedFFT", C128: "zStridedFFT"}
_I32, _I64 = ctypes.c_int32, ctypes.c_int64
_FUNCTIONS = {}
for _t, _name in _SYMBOLS.items():
    _f = getattr(lib, _name)
    _f.restype = _I32
    _f.argtypes = [ctypes.c_void_p, ctypes.c_void_p, _I32, ctypes.POINTER(_I32),
                   ctypes.POINTER(_I64), ctypes.POINTER(_I64), _I32, _I64, _I64, _I32,
                   ctypes.c_void_p]
    _FUNCTIONS[_t] = _f

# Plans kept per thread (each a committed transform and its buffers).
KEPT_PLANS = 8


class _Plans(threading.local):
    def __init__(self):
        self.kept = collections.OrderedDict()


_plans = _Plans()


def _plan(key):
    kept = _plans.kept
    p = kept.get(key)
    if p is None:
        p = kept[key] = Plan()
        if len(kept) > KEPT_PLANS:
            kept.popitem(last=False)[1].close()
    else:
        kept.move_to_end(key)
    return p


def _elements(a):
    """a's strides in elements, or None when one is not a positive multiple
    of the item size (negative or zero strides, unaligned views)."""
    size = a.itemsize
    out = []
    for s, n in zip(a.strides, a.shape):
        if n == 1:
            s = size  # any stride serves a single element
        if s <= 0 or s % size:
            return None
        out.append(s // size)
    return out


def _batch(shape, istr, ostr, axes):
    """The non-transformed axes as (count, input stride, output stride),
    outermost first, with adjacent mergeable ones merged."""
    dims = []
    for a in range(len(shape)):
        if a in axes or shape[a] == 1:
            continue
        if dims:
            n, i, o = dims[-1]
            if i == istr[a] * shape[a] and o == ostr[a] * shape[a]:
                dims[-1] = (n * shape[a], istr[a], ostr[a])
                continue
        dims.append((shape[a], istr[a], ostr[a]))
    return dims


def run(x, out, axes, lengths, direction, name):
    """The transform of x into out (both numpy arrays of the library's
    element types, of the same batch shape): lengths along axes (the last
    one halved on the complex side of a real transform, except for
    direction 2, real input's full spectrum), unscaled.  Returns
    False when a layout cannot be passed (the caller takes another path)."""
    istr, ostr = _elements(x), _elements(out)
    if istr is None or ostr is None or len(axes) > 3:
        return False
    if out.size == 0:
        return True
    rank = len(axes)
    batch = _batch(x.shape, istr, ostr, axes)
    count, idist, odist = batch[-1] if batch else (1, 0, 0)
    outer = batch[:-1]
    lens = (_I32 * rank)(*lengths)
    si = (_I64 * rank)(*(istr[a] for a in axes))
    so = (_I64 * rank)(*(ostr[a] for a in axes))
    f = _FUNCTIONS[out.dtype if direction == 1 else x.dtype]
    # Direction 2 (real input's full spectrum) has direction 0's geometry.
    key = (f.__name__, direction & 1, tuple(lengths), tuple(si), tuple(so), count, idist, odist)
    slot = _plan(key).ref()
    xi, oi = x.itemsize, out.itemsize
    base_x, base_o = x.ctypes.data, out.ctypes.data
    if not outer:
        check(f(base_x, base_o, rank, lens, si, so, count, idist, odist, direction, slot),
              f.__name__, name)
        return True
    for index in np.ndindex(*(n for n, _, _ in outer)):
        px = base_x + xi * sum(k * i for k, (_, i, _) in zip(index, outer))
        po = base_o + oi * sum(k * o for k, (_, _, o) in zip(index, outer))
        check(f(px, po, rank, lens, si, so, count, idist, odist, direction, slot),
              f.__name__, name)
    return True


def fitted(x, wt, axes, sizes):
    """x as an array of type wt cropped or zero-padded to sizes along axes
    (a view where no padding and no conversion is needed)."""
    crop = [slice(None)] * x.ndim
    pad = False
    for a, n in zip(axes, sizes):
        if n < x.shape[a]:
            crop[a] = slice(0, n)
        elif n > x.shape[a]:
            pad = True
    x = x[tuple(crop)]
    if not pad:
        return x if x.dtype == wt else x.astype(wt)
    shape = list(x.shape)
    for a, n in zip(axes, sizes):
        shape[a] = n
    y = np.zeros(shape, wt)
    y[tuple(slice(0, v) for v in x.shape)] = x
    return y


def factor(code, total, inverse):
    """The norm's factor on the unscaled result (code 0 backward, 1 ortho,
    2 forward)."""
    if code == 1:
        return 1 / math.sqrt(total)
    if (code == 0) == inverse:
        return 1.0 / total
    return 1.0

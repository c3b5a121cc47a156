"""The compiled call path: fennel_dsp._fast, built beside the libraries
(build/lib/_fast*.so), calls one library function on a numpy array without
ctypes.  Without it (not built, or FENNEL_DSP_NO_EXT=1) `call` returns None
and the functions take their ctypes path.

Each thread keeps one Call per library function and element type, with its
own host arrays and plan; the functions use it for contiguous inputs of up
to FAST_BYTES bytes (above that the call costs more than the binding)."""
import ctypes
import importlib.machinery
import importlib.util
import os
import threading

import numpy as np

from ._native import HostArray, Plan, TYPE_CODES, _lib_dir, host, lib

FAST_BYTES = 1 << 18


def _load():
    if os.environ.get("FENNEL_DSP_NO_EXT"):
        return None
    for path in sorted(_lib_dir().glob("_fast*.so")):
        loader = importlib.machinery.ExtensionFileLoader("fennel_dsp._fast", str(path))
        found = importlib.util.spec_from_file_location("fennel_dsp._fast", str(path), loader=loader)
        module = importlib.util.module_from_spec(found)
        loader.exec_module(module)
        return module
    return None


_fast = _load()
_RESIZE = ctypes.cast(host.NumericArrayResize, ctypes.c_void_p).value
host.FennelHostDataOffset.restype = ctypes.c_int32
host.FennelHostDataOffset.argtypes = [ctypes.c_int32, ctypes.c_int32]

available = _fast is not None


class _Local(threading.local):
    def __init__(self):
        self.calls = {}


_local = _Local()


def _make(symbol, src_type, out_type, ws_type, ndim, out_ndim, ints):
    src_type, out_type = np.dtype(src_type), np.dtype(out_type)
    src = HostArray.empty(src_type, ndim)
    out = HostArray.empty(out_type, out_ndim)
    ws = HostArray.empty(ws_type, 1)
    plan = Plan()
    function = ctypes.cast(getattr(lib, symbol), ctypes.c_void_p).value
    src_code, out_code = TYPE_CODES[src_type][0], TYPE_CODES[out_type][0]
    return _fast.Call(function, ints, src.handle, out.handle, ws.handle,
                      ctypes.addressof(plan.slot), _RESIZE, src_code, ndim,
                      host.FennelHostDataOffset(src_code, ndim), src_type.num, out_ndim,
                      host.FennelHostDataOffset(out_code, out_ndim), out_type.num,
                      (src, out, ws, plan))


def make(symbol, src_type, out_type, ws_type, ndim, out_ndim, ints):
    """A Call of the library function `symbol` with host arrays and a plan of
    its own (the caller keeps one per thread), or None without the
    extension."""
    if _fast is None:
        return None
    return _make(symbol, src_type, out_type, ws_type, ndim, out_ndim, ints)

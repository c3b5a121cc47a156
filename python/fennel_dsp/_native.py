"""Loading of the stand-alone host and the library, and host-array conversion.

The host (libfennel_host.so) is loaded with global visibility first: the
library finds NumericArrayResize, DSNewPtr and DSDisposePtr in the process's
global symbols, and ends the process when they are missing, so the loader
checks that they resolve there to this host before it loads the library.

Libraries are looked up in $FENNEL_DSP_LIB_DIR when it is set (and only
there), else in this package's folder (an installed package carries both),
else in the build/lib folder of the source tree.
"""
import ctypes
import os
import pathlib
import threading

import numpy as np

_HERE = pathlib.Path(__file__).resolve().parent
LIB_DIR_VARIABLE = "FENNEL_DSP_LIB_DIR"
_NAMES = ("libfennel_host.so", "libfennel_dsp.so")


def _candidate_dirs():
    env = os.environ.get(LIB_DIR_VARIABLE)
    if env:
        return [pathlib.Path(env)]
    return [_HERE, _HERE.parent.parent / "build" / "lib"]


def _check_global_scope(host, path):
    """Raises ImportError unless the host's services are what a lookup in the
    process's global symbols finds (the library's own lookup)."""
    scope = ctypes.CDLL(None)
    ours = ctypes.cast(host.NumericArrayResize, ctypes.c_void_p).value
    try:
        found = ctypes.cast(scope.NumericArrayResize, ctypes.c_void_p).value
    except AttributeError:
        found = None
    if found != ours:
        if found is None:
            why = "is not in the process's global symbols, so the library's first call would end the process"
        else:
            why = "is shadowed by another module's in the global symbols, so the library would use that host"
        raise ImportError(f"fennel_dsp: loaded {path}, but its NumericArrayResize {why}")


def _load():
    tried = []
    for folder in _candidate_dirs():
        host_path, lib_path = (folder / name for name in _NAMES)
        if not (host_path.is_file() and lib_path.is_file()):
            tried.append(str(folder))
            continue
        try:
            host_lib = ctypes.CDLL(str(host_path), mode=ctypes.RTLD_GLOBAL)
            _check_global_scope(host_lib, host_path)
            return folder, host_lib, ctypes.CDLL(str(lib_path))
        except OSError as err:
            raise ImportError(f"fennel_dsp: cannot load the libraries in {folder}: {err} "
                              f"(set {LIB_DIR_VARIABLE} to a folder of working libraries)") from err
    raise ImportError(f"fennel_dsp: {' and '.join(_NAMES)} not found; tried {', '.join(tried)}. "
                      f"Install the package (pip install .), build the libraries (make), or set "
                      f"{LIB_DIR_VARIABLE} to the folder that holds them")


_LOADED_FROM, host, lib = _load()


def _lib_dir():
    """The folder the libraries were loaded from."""
    return _LOADED_FROM


Handle = ctypes.c_void_p            # a host array handle (void **)
PlanSlot = ctypes.c_void_p          # the content of a plan handle

host.FennelHostNewArray.restype = Handle
host.FennelHostNewArray.argtypes = [ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_int32)]
host.FennelHostNewArrayFrom.restype = Handle
host.FennelHostNewArrayFrom.argtypes = [ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_int32),
                                        ctypes.c_void_p]
host.FennelHostArrayData.restype = ctypes.c_void_p
host.FennelHostArrayData.argtypes = [Handle, ctypes.c_int32, ctypes.c_int32]
host.FennelHostArrayDims.restype = None
host.FennelHostArrayDims.argtypes = [Handle, ctypes.c_int32, ctypes.POINTER(ctypes.c_int32)]
host.FennelHostFreeArray.restype = None
host.FennelHostFreeArray.argtypes = [Handle]
for _name in ("FennelHostFailResize", "FennelHostFailNewPtr"):
    getattr(host, _name).argtypes = [ctypes.c_int64]
for _name in ("FennelHostResizeCalls", "FennelHostLiveArrays", "FennelHostLivePtrs"):
    getattr(host, _name).restype = ctypes.c_int64
host.FennelHostSetPlacement.argtypes = [ctypes.c_int32]

from ._codes import (STATUS_NAMES, TYPE_CODE_COMPLEX_DOUBLE, TYPE_CODE_COMPLEX_FLOAT,  # noqa: E402
                     TYPE_CODE_DOUBLE, TYPE_CODE_FLOAT)
from ._errors import FennelError, FennelValueError, check  # noqa: E402,F401


# numpy dtype -> (type code, export prefix)
TYPE_CODES = {
    np.dtype(np.float32): (TYPE_CODE_FLOAT, "s"),
    np.dtype(np.float64): (TYPE_CODE_DOUBLE, "d"),
    np.dtype(np.complex64): (TYPE_CODE_COMPLEX_FLOAT, "c"),
    np.dtype(np.complex128): (TYPE_CODE_COMPLEX_DOUBLE, "z"),
}
COMPLEX_OF = {np.dtype(np.float32): np.dtype(np.complex64), np.dtype(np.float64): np.dtype(np.complex128),
              np.dtype(np.complex64): np.dtype(np.complex64), np.dtype(np.complex128): np.dtype(np.complex128)}
REAL_OF = {np.dtype(np.float32): np.dtype(np.float32), np.dtype(np.float64): np.dtype(np.float64),
           np.dtype(np.complex64): np.dtype(np.float32), np.dtype(np.complex128): np.dtype(np.float64)}


def as_supported(x, real_ok=True):
    """x as a C-contiguous array of one of the four element types."""
    x = np.asarray(x)
    if x.dtype not in TYPE_CODES:
        x = x.astype(np.complex128 if np.iscomplexobj(x) else np.float64)
    if not real_ok and x.dtype.kind != "c":
        x = x.astype(COMPLEX_OF[x.dtype])
    return np.ascontiguousarray(x)


class HostArray:
    """An owned host array; freed when closed or collected."""

    def __init__(self, dtype, shape, source=None):
        self.dtype = np.dtype(dtype)
        self.code = TYPE_CODES[self.dtype][0]
        self.ndim = len(shape)
        dims = (ctypes.c_int32 * self.ndim)(*shape)
        self.handle = host.FennelHostNewArrayFrom(self.code, self.ndim, dims, source)
        if not self.handle:
            raise MemoryError("host array")

    @classmethod
    def from_numpy(cls, x):
        """A host array holding a copy of the C-contiguous array x."""
        return cls(x.dtype, x.shape, x.ctypes.data if x.size else None)

    @classmethod
    def empty(cls, dtype, ndim=1):
        return cls(dtype, (0,) * ndim)

    def address(self):
        return host.FennelHostArrayData(self.handle, self.code, self.ndim)

    def shape(self):
        dims = (ctypes.c_int32 * self.ndim)()
        host.FennelHostArrayDims(self.handle, self.ndim, dims)
        return tuple(dims)

    def to_numpy(self):
        """A numpy copy of the elements."""
        shape = self.shape()
        out = np.empty(shape, dtype=self.dtype)
        if out.size:
            ctypes.memmove(out.ctypes.data, self.address(), out.nbytes)
        return out

    def take_numpy(self):
        """A numpy view of the elements without a copy.  The view keeps this
        host array alive; use it only for an output that no later call
        resizes (a resize may move the block)."""
        shape = self.shape()
        if 0 in shape:
            return np.empty(shape, dtype=self.dtype)
        return np.asarray(_View(self, shape))

    def close(self):
        if self.handle:
            host.FennelHostFreeArray(self.handle)
            self.handle = None

    def __del__(self):
        self.close()


class _View:
    """Exposes a host array's elements to numpy and owns the host array."""

    def __init__(self, owner, shape):
        self.owner = owner
        self.__array_interface__ = {"shape": tuple(shape), "typestr": owner.dtype.str,
                                    "data": (owner.address(), False), "version": 3}


_local = threading.local()

_resize = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_int32, ctypes.c_int32,
                           ctypes.POINTER(ctypes.c_void_p), ctypes.c_int64)(("NumericArrayResize", host))
host.FennelHostDataOffset.restype = ctypes.c_int32
host.FennelHostDataOffset.argtypes = [ctypes.c_int32, ctypes.c_int32]

# Outputs of at least this many bytes are handed to numpy without a copy (the
# block goes with them; the next call sizes a fresh one, which the host takes
# from its kept large blocks once numpy releases the old one); smaller ones
# are copied, which costs less than a new host block.
HAND_OVER_BYTES = 1 << 20


class Kept:
    """A host array that one function keeps between calls, with a numpy view
    of its elements; the view is remade only when the block moves or the
    shape changes, so an unchanged call costs one copy and no ctypes work.

    `arg` is the handle as a ctypes value, ready to pass to a raw function
    (see `raw`)."""

    __slots__ = ("array", "arg", "master", "offset", "shape", "block", "view")

    def __init__(self, dtype, ndim):
        self.array = array = HostArray.empty(dtype, ndim)
        self.arg = ctypes.c_void_p(array.handle)
        # The handle points at the block's address; read it through numpy.
        self.master = np.frombuffer((ctypes.c_uint64 * 1).from_address(array.handle), np.uint64)
        self.offset = host.FennelHostDataOffset(array.code, array.ndim)
        self.shape = self.block = self.view = None

    def _view(self, block, shape):
        self.block, self.shape = block, shape
        count = int(np.prod(shape, dtype=np.int64))
        if count == 0:
            self.view = np.empty(shape, self.array.dtype)
        else:
            raw = (ctypes.c_char * (count * self.array.dtype.itemsize)).from_address(block + self.offset)
            self.view = np.frombuffer(raw, self.array.dtype).reshape(shape)

    def load(self, x):
        """Sizes the array to x's shape (x C-contiguous, of the array's type)
        and copies x in."""
        if x.shape != self.shape:  # only this object resizes an input array
            self.resize(x.shape)
        if x.size:
            self.view[...] = x

    def resize(self, shape):
        a = self.array
        count = int(np.prod(shape, dtype=np.int64))
        if _resize(a.code, a.ndim, ctypes.byref(ctypes.c_void_p(a.handle)), count) != 0:
            raise MemoryError("host array")
        block = int(self.master[0])
        (ctypes.c_int32 * a.ndim).from_address(block)[:] = shape
        self._view(block, tuple(shape))

    def result(self, shape):
        """The elements as a new numpy array of the given shape (what the
        library sized the array to): a copy, or for large arrays the block
        itself, this object's handle then holding an empty block."""
        # The library resizes only to another size, so an unchanged shape
        # means an unchanged block (failures and hand-overs forget the view).
        if shape != self.shape:
            block = int(self.master[0])
            dims = tuple((ctypes.c_int32 * self.array.ndim).from_address(block)) if block else None
            if dims != tuple(shape):
                raise RuntimeError(f"host array holds {dims}, expected {shape}")
            self._view(block, tuple(shape))
        if self.view.nbytes < HAND_OVER_BYTES:
            return self.view.copy()
        # Hand the block over: a fresh host array takes it (the two handles
        # exchange blocks), so this object's handle stays the one it passes.
        taker = HostArray.empty(self.array.dtype, self.array.ndim)
        theirs = np.frombuffer((ctypes.c_uint64 * 1).from_address(taker.handle), np.uint64)
        self.master[0], theirs[0] = theirs[0], self.master[0]
        out = np.asarray(_View(taker, self.shape))
        self.forget()
        return out

    def forget(self):
        """Drops the cached view (after a failed call emptied the array)."""
        self.shape = self.block = self.view = None


def raw(function):
    """The library function as a ctypes pointer without argument types: pass
    ctypes values for pointers (Kept.arg, byref) and Python ints for int32
    arguments; ctypes then converts nothing."""
    f = ctypes.CFUNCTYPE(ctypes.c_int32)(ctypes.cast(function, ctypes.c_void_p).value)
    return f


def workspace(dtype, ndim=1):
    """An empty workspace array of this thread (the library leaves workspace
    arrays empty after every call, so one per type serves all calls)."""
    cache = getattr(_local, "workspaces", None)
    if cache is None:
        cache = _local.workspaces = {}
    key = (np.dtype(dtype), ndim)
    ws = cache.get(key)
    if ws is None:
        ws = cache[key] = HostArray.empty(dtype, ndim)
    return ws


class Plan:
    """A plan handle: keeps the library's committed transform between calls.

    Pass the same Plan to repeated calls of one function; close() (or leaving
    a with-block) releases the transform.
    """

    _release = "FreeMKLDftiDescH"

    def __init__(self):
        self.slot = PlanSlot(None)

    def ref(self):
        return ctypes.byref(self.slot)

    @property
    def held(self):
        return bool(self.slot.value)

    def close(self):
        if self.slot.value:
            check(getattr(lib, self._release)(ctypes.byref(self.slot)), self._release)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __reduce__(self):
        # A plan caches a transform of this process: a copy starts empty.
        return (type(self), ())

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass


class TrigPlan(Plan):
    """The plan record of the two-dimensional DCT and DST."""

    _release = "FreeMKLDCTDSTiDescH"


def plan_ref(plan, kind=Plan):
    """The plan slot's address, or NULL for a one-off plan.  A plan of another
    kind is a TypeError: the library would keep a transform of one layout in
    a slot that is later released as the other."""
    if plan is None:
        return None
    if type(plan) is not kind:
        raise TypeError(f"plan must be a fennel_dsp.{kind.__name__}, not {type(plan).__name__}")
    return plan.ref()


def export(name, argtypes):
    """The library function `name` with int32 result and the given arguments."""
    f = getattr(lib, name)
    f.restype = ctypes.c_int32
    f.argtypes = argtypes
    return f

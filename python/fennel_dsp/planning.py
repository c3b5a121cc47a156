"""Planning ahead and FFTW's wisdom.

A transform's first call of a new geometry takes a plan from wisdom, else an
estimated plan, and the library measures it in the background later (the
README's "Planning").  These functions measure now instead, and move the
wisdom between processes and machines of the same kind.
"""
import ctypes
import sys
import time

import numpy as np

from ._native import lib

__all__ = ["plan_ahead", "export_wisdom", "import_wisdom", "forget_wisdom"]

_EFFORTS = {"estimate": 1, "measure": 2, "patient": 3}

lib.FDSetPlanningEffort.argtypes = [ctypes.c_int32, ctypes.c_double]
lib.FDSetPlanningEffort.restype = ctypes.c_int32
lib.FDSaveWisdom.argtypes = []
lib.FDSaveWisdom.restype = ctypes.c_int32
lib.FDExportWisdom.argtypes = [ctypes.c_char_p, ctypes.c_int64]
lib.FDExportWisdom.restype = ctypes.c_int64
lib.FDImportWisdom.argtypes = [ctypes.c_char_p]
lib.FDImportWisdom.restype = ctypes.c_int32
lib.FDForgetWisdom.argtypes = [ctypes.c_int32]
lib.FDForgetWisdom.restype = None


def _transforms(shape, dtype):
    """The forward and inverse calls of one shape, as the public functions make them."""
    from . import fourier
    shape = tuple(int(n) for n in shape)
    if not shape or min(shape) < 1:
        raise ValueError(f"plan_ahead: a shape needs positive lengths, got {shape}")
    rank = len(shape)
    pick = {1: ("fft", "ifft", "rfft", "irfft"), 2: ("fft2", "ifft2", "rfft2", "irfft2")}.get(
        rank, ("fftn", "ifftn", "rfftn", "irfftn"))
    if np.issubdtype(dtype, np.complexfloating):
        x = np.zeros(shape, dtype)
        return [lambda: getattr(fourier, pick[0])(x), lambda: getattr(fourier, pick[1])(x)]
    x = np.zeros(shape, dtype)
    half = np.zeros(shape[:-1] + (shape[-1] // 2 + 1,), np.result_type(dtype, np.complex64))
    size = {"n": shape[0]} if rank == 1 else {"s": shape}
    return [lambda: getattr(fourier, pick[2])(x), lambda: getattr(fourier, pick[3])(half, **size)]


def plan_ahead(shapes, dtype=np.complex128, effort="measure", time_limit=None):
    """Measures the transforms of the given shapes now and saves the wisdom.

    shapes: a shape (tuple of lengths) or a list of them; dtype: complex64,
    complex128 (complex transforms) or float32, float64 (real ones); effort:
    "measure" or "patient" ("estimate" records nothing worth keeping);
    time_limit: FFTW's planning time limit per transform in seconds (None:
    none).  Forward and inverse transforms of each shape are planned in this
    thread, then the wisdom goes to the cache folder.  A progress bar goes to
    standard error once planning has taken over a second.  For example
    fd.plan_ahead([(4096,), (512, 512)], dtype=np.float64).
    """
    if effort not in _EFFORTS:
        raise ValueError(f"plan_ahead: effort must be one of {sorted(_EFFORTS)}, got {effort!r}")
    dtype = np.dtype(dtype)
    if dtype not in (np.float32, np.float64, np.complex64, np.complex128):
        raise ValueError(f"plan_ahead: unsupported dtype {dtype}")
    if len(shapes) and np.ndim(shapes[0]) == 0:
        shapes = [shapes]
    calls = [call for shape in shapes for call in _transforms(shape, dtype)]
    start = time.perf_counter()
    shown = False
    previous = lib.FDSetPlanningEffort(_EFFORTS[effort], -1.0 if time_limit is None else float(time_limit))
    try:
        for i, call in enumerate(calls, 1):
            call()
            if shown or time.perf_counter() - start > 1.0:
                shown = True
                done = 30 * i // len(calls)
                sys.stderr.write(f"\rplanning [{'#' * done}{'.' * (30 - done)}] {i}/{len(calls)}")
                sys.stderr.flush()
    finally:
        lib.FDSetPlanningEffort(previous, -1.0)
        if shown:
            sys.stderr.write("\n")
    lib.FDSaveWisdom()


def export_wisdom():
    """The process's wisdom as text, for import_wisdom in another process."""
    size = lib.FDExportWisdom(None, 0)
    buffer = ctypes.create_string_buffer(size)
    lib.FDExportWisdom(buffer, size)
    return buffer.value.decode("ascii")


def import_wisdom(text):
    """Adds wisdom exported by export_wisdom; False (nothing added) when the
    text is not wisdom of this FFTW version and machine."""
    return bool(lib.FDImportWisdom(text.encode("ascii") if isinstance(text, str) else bytes(text)))


def forget_wisdom(files=True):
    """Forgets the process's wisdom (plans already made stay); with files,
    also removes the wisdom files of the cache folder."""
    lib.FDForgetWisdom(1 if files else 0)

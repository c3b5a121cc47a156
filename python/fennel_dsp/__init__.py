"""fennel_dsp: numpy binding of libfennel_dsp through its stand-alone host.

Every function takes numpy arrays of float32, float64, complex64 or
complex128 (other types are converted to float64/complex128), returns numpy
arrays, and raises FennelError with the library's status code on failure.
Transform functions accept plan=Plan() to keep the committed transform
between calls.
"""
from ._native import FennelError, Plan, TrigPlan, host, lib
from .fft import fft, ifft

__all__ = ["FennelError", "Plan", "TrigPlan", "fft", "ifft", "host", "lib"]

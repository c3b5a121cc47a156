"""fennel_dsp: numpy binding of libfennel_dsp through its stand-alone host.

Every function takes numpy arrays of float32, float64, complex64 or
complex128 (other types are converted to float64/complex128), returns numpy
arrays, and raises FennelError with the library's status code on failure.
Transform functions accept plan=Plan() to keep the committed transform
between calls.
"""
# The library's version (FENNEL_DSP_VERSION_* in fennel_dsp.h).
__version__ = "1.0.0"

from ._native import FennelError, Plan, TrigPlan, host, lib
from .fft import fft, ifft
from . import fftmd, trig, spectra, correlation, resampling, windows
from .fftmd import *        # noqa: F401,F403
from .trig import *         # noqa: F401,F403
from .spectra import *      # noqa: F401,F403
from .correlation import *  # noqa: F401,F403
from .resampling import *   # noqa: F401,F403
from .windows import *      # noqa: F401,F403

__all__ = (["FennelError", "Plan", "TrigPlan", "fft", "ifft", "host", "lib"] + fftmd.__all__
           + trig.__all__ + spectra.__all__ + correlation.__all__ + resampling.__all__
           + windows.__all__)

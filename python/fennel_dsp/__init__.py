"""fennel_dsp: numpy binding of libfennel_dsp through its stand-alone host.

Functions that share a name with numpy.fft, scipy.fft or scipy.signal take
the same arguments and give the same results (fft, rfftn, dct, convolve,
lfilter, firwin, ...); the library's own conventions are reached through
functions with their own names (fft1d, fft2d, fft3, multichannel_fft, dct1d,
dct2, power_spectrum, convolve1d, cross_correlate, autocorrelate, downsample,
upsample, Resampler, fir_resample, the *_window functions,
fir_windowed_coefficients, IIRFilter).  fennel_dsp.scipy_fft is a scipy.fft
backend; fennel_dsp.chunked runs the library on Dask arrays.

Library failures raise FennelError (a ValueError for refused arguments, a
RuntimeError otherwise) carrying the status code and its name.  Transform
functions accept plan=Plan() to keep the committed transform between calls.
"""
# The library's version (FENNEL_DSP_VERSION_* in fennel_dsp.h).
__version__ = "1.0.0"

from ._native import FennelError, FennelValueError, Plan, TrigPlan, host, lib
from . import fft1d as _fft1d_module
from . import fftmd, trig, spectra, correlation, resampling, windows
from .fft1d import fft1d, ifft1d
from .fftmd import *        # noqa: F401,F403
from .trig import *         # noqa: F401,F403
from .spectra import *      # noqa: F401,F403
from .correlation import *  # noqa: F401,F403
from .resampling import *   # noqa: F401,F403
from .windows import *      # noqa: F401,F403
from . import fourier as _fft_module
from .fourier import *          # noqa: F401,F403
from . import signal
from .signal import *           # noqa: F401,F403
from . import planning
from .planning import plan_ahead, export_wisdom, import_wisdom, forget_wisdom

__all__ = (["FennelError", "FennelValueError", "Plan", "TrigPlan", "host", "lib"]
           + _fft1d_module.__all__ + fftmd.__all__ + trig.__all__ + spectra.__all__
           + correlation.__all__ + resampling.__all__ + windows.__all__ + _fft_module.__all__ + signal.__all__ + planning.__all__)

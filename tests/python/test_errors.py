"""Refused calls raise FennelError with the library's status, or TypeError /
ValueError for arguments the binding refuses before calling the library."""
import numpy as np
import pytest

import fennel_dsp as fd

X, EMPTY = np.ones(8), np.zeros(0)

CASES = [
    # FFTs
    (lambda: fd.fft1d(EMPTY), -20003),
    (lambda: fd.fft2d(np.zeros((0, 4))), -20003),
    (lambda: fd.fft3(np.zeros((1, 1, 1)), (1024, 1024, 2048)), -20001),  # the size guard
    (lambda: fd.multichannel_fft(np.ones((3, 4)), channels="pages"), ValueError),
    # DCT and DST
    (lambda: fd.dct1d(EMPTY), -20003),
    (lambda: fd.idct2(np.zeros((0, 3))), -20003),
    (lambda: fd.dst2(np.zeros((2, 2)), (65536, 32768)), -20001),
    (lambda: fd.dct1d(np.ones(4, complex)), TypeError),
    (lambda: fd.dct2(np.ones((2, 2)), plan=fd.Plan()), TypeError),
    (lambda: fd.dct1d(X, plan=fd.TrigPlan()), TypeError),
    (lambda: fd.dct1d(np.ones((2, 2))), ValueError),
    # spectra
    (lambda: fd.power_spectrum(EMPTY), -20003),
    (lambda: fd.auto_power_spectrum(X, dt=0.0), -20140),
    (lambda: fd.auto_power_spectrum(X, dt=-1.0), -20140),
    (lambda: fd.auto_power_spectrum(X, spectrum_type=2), -20061),
    (lambda: fd.cross_power(X, EMPTY), -20003),
    (lambda: fd.cross_power_spectrum(X, X[:2], dt=0.0), -20140),
    (lambda: fd.cross_power_spectrum(X, X[:2], spectrum_type=-1), -20061),
    # convolution and correlation
    (lambda: fd.convolve1d(X, np.ones(30), "valid"), -20008),
    (lambda: fd.convolve1d(EMPTY, X), -20003),
    (lambda: fd.autocorrelate2d(np.zeros((0, 3))), -20003),
    # decimation, upsampling and resampling
    (lambda: fd.downsample(X[:5], 6), -20022),
    (lambda: fd.downsample(X[:5], 0), -20022),
    (lambda: fd.downsample(EMPTY, 1), -20003),
    (lambda: fd.upsample(X[:3], 0), -20140),
    (lambda: fd.upsample(X[:3], 1, 1), -20043),
    (lambda: fd.upsample(np.ones(65536, np.float32), 32767), -20046),
    (lambda: fd.fir_resample(X, X[:5], 1, 0.0), -20016),
    (lambda: fd.fir_resample(X, X[:5], 1, 1.0, start_offset=-1), -20059),
    (lambda: fd.fir_resample(X, EMPTY, 1, 1.0), -20008),
    # windows, FIR design and the IIR filter
    (lambda: fd.cosine_window(X, 10), -20061),
    (lambda: fd.cosine_window(X, 12), -20061),
    (lambda: fd.symmetric_window(X, 61), -20061),
    (lambda: fd.cosine_window(EMPTY, 1), -20003),
    (lambda: fd.symmetric_window(EMPTY, 62), -20003),
    (lambda: fd.triangle_window(EMPTY), -20003),
    (lambda: fd.gaussian_window(EMPTY), -20003),
    (lambda: fd.fir_windowed_coefficients(4, 1000, 100, 0, fd.HIGHPASS), -20033),
    (lambda: fd.fir_windowed_coefficients(3, 1000, 500.0001, 0, fd.LOWPASS), -20020),
    (lambda: fd.fir_windowed_coefficients(3, 1000, 100, 100, fd.BANDPASS), -20023),
    (lambda: fd.fir_windowed_coefficients(0, 1000, 100, 0, fd.LOWPASS), -20021),
    (lambda: fd.fir_windowed_coefficients(3, 1000, 100, 0, 4), -20061),
    (lambda: fd.fir_windowed_coefficients(5, 1000, 100, window_type=10), -20061),
    (lambda: fd.iir_filter([], [1.0, 0.5], X), -20008),
]


@pytest.mark.parametrize("call, error", CASES)
def test_refused_calls_raise(call, error):
    if isinstance(error, int):
        with pytest.raises(fd.FennelError) as err:
            call()
        assert err.value.status == error
    else:
        with pytest.raises(error):
            call()


M = np.ones((3, 4))
INVALID = [
    (lambda: fd.fft(X, n=0), ValueError, "fft: invalid number"),
    (lambda: fd.rfft(X, n=-5), ValueError, "rfft: invalid number"),
    (lambda: fd.ifft(X, n=2.7), TypeError, "ifft: n must be an integer"),
    (lambda: fd.fft(X, n=2**31), ValueError, "fft: n = 2147483648"),
    (lambda: fd.fftn(M, s=(4, 0)), ValueError, "fftn: invalid number"),
    (lambda: fd.fftn(M, axes=(0, 0)), ValueError, "fftn: all axes must be unique"),
    (lambda: fd.fftn(M, s=(4,), axes=(0, 1)), ValueError, "fftn: when given"),
    (lambda: fd.fft(X, axis=1), np.AxisError, "fft"),
    (lambda: fd.irfft(X, norm="bad"), ValueError, "irfft: invalid norm"),
    (lambda: fd.fft(X, workers=0), ValueError, "fft: workers must not be zero"),
    (lambda: fd.fft(X, workers=1.5), TypeError, "fft: workers must be an integer"),
    (lambda: fd.fft(X, workers=-10**6), ValueError, "fft: workers value out of range"),
    (lambda: fd.fft(np.array(["a"])), TypeError, "fft: x must be"),
    (lambda: fd.rfft(X + 1j), TypeError, "rfft: x must be real"),
    (lambda: fd.fft(X, plan=fd.TrigPlan()), TypeError, "fft: plan must be a fennel_dsp.Plan"),
    (lambda: fd.fft1d(X, plan=fd.TrigPlan()), TypeError, "plan must be a fennel_dsp.Plan"),
    (lambda: fd.dct(X, type=5), ValueError, "dct: type must be"),
    (lambda: fd.convolve(X, X, "sme"), ValueError, "convolve: acceptable mode"),
    (lambda: fd.correlate(X, X, method="fast"), ValueError, "correlate: acceptable method"),
    (lambda: fd.convolve(X, M), ValueError, "convolve: in1 and in2 should have the same"),
    (lambda: fd.convolve(np.ones((2, 5)), np.ones((3, 2)), "valid"), ValueError, "at least as"),
    (lambda: fd.convolve2d(X, X), ValueError, "convolve2d: in1 and in2 should have two"),
    (lambda: fd.convolve2d(M, M, fillvalue=1j), ValueError, "convolve2d: a complex fillvalue"),
    (lambda: fd.lfilter([1.0], [0.0, 1.0], X), ValueError, "lfilter: the first denominator"),
    (lambda: fd.lfilter([1.0, 1.0], [1.0], X, zi=[1.0, 2.0]), ValueError, "lfilter: zi"),
    (lambda: fd.firwin(4, 0.3, pass_zero=False), ValueError, "firwin: a filter with a passband"),
    (lambda: fd.firwin(5, 1.2), ValueError, "firwin: invalid cutoff"),
    (lambda: fd.get_window(("dpss", 3), 8), NotImplementedError, "get_window"),
    (lambda: fd.get_window("general_cosine", 8), ValueError, "get_window: the 'general_cosine"),
    (lambda: fd.get_window(("exponential", 3, 1.0), 8, False), ValueError, "takes no center"),
    (lambda: fd.upfirdn([1.0], X, up=0), ValueError, "upfirdn: up and down"),
    (lambda: fd.decimate(X, 2, ftype="cheby"), ValueError, "decimate: invalid ftype"),
    (lambda: fd.IIRFilter([1.0], [1.0])(X + 1j), TypeError, "IIRFilter: complex samples"),
    (lambda: fd.convolve1d(M, X), ValueError, "convolve1d: a 1D operand"),
    (lambda: fd.cross_correlate(X, X, "sum"), ValueError, "cross_correlate: normalization"),
]


@pytest.mark.parametrize("call, error, message", INVALID)
def test_invalid_arguments_name_the_function(call, error, message):
    with pytest.raises(error, match=message):
        call()


def test_library_failures_carry_status_name_and_kind():
    with pytest.raises(ValueError) as refused:
        fd.fft2d(np.zeros((0, 3)))
    assert isinstance(refused.value, fd.FennelError) and refused.value.name == "STATUS_EMPTY_ARRAY"
    assert "d2DFFTH" in str(refused.value)
    with pytest.raises(fd.FennelError) as memory:
        fd.fft3(np.zeros((1, 1, 1)), (1024, 1024, 2048))
    assert not isinstance(memory.value, ValueError) and memory.value.name == "STATUS_OUT_OF_MEMORY"


def test_generated_codes_are_current():
    import pathlib
    import subprocess
    import sys
    script = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "gen_python_codes.py"
    assert subprocess.run([sys.executable, str(script), "--check"]).returncode == 0

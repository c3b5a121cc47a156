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
    (lambda: fd.convolve(X, np.ones(30), "valid"), -20008),
    (lambda: fd.convolve(EMPTY, X), -20003),
    (lambda: fd.autocorrelate2d(np.zeros((0, 3))), -20003),
    # decimation, upsampling and resampling
    (lambda: fd.decimate(X[:5], 6), -20022),
    (lambda: fd.decimate(X[:5], 0), -20022),
    (lambda: fd.decimate(EMPTY, 1), -20003),
    (lambda: fd.upsample(X[:3], 0), -20140),
    (lambda: fd.upsample(X[:3], 1, 1), -20043),
    (lambda: fd.upsample(np.ones(65536, np.float32), 32767), -20046),
    (lambda: fd.resample(X, X[:5], 1, 0.0), -20016),
    (lambda: fd.resample(X, X[:5], 1, 1.0, start_offset=-1), -20059),
    (lambda: fd.resample(X, EMPTY, 1, 1.0), -20008),
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

"""A tour of the Python binding on built-in data: the spectrum of a chirp,
centred, and its inverse; then one call of each other family (window and
power spectrum, FIR design and filtering, convolution, resampling, DCT, 2D
FFT); then the numpy/scipy namesakes and the scipy.fft backend.  A plot is
written to examples/tour.png."""
import pathlib

import numpy as np

import fennel_dsp as fd

rate = 1000.0
t = np.arange(2000) / rate
x = np.sin(2 * np.pi * (50 + 40 * t) * t) + 0.2 * np.sin(2 * np.pi * 300 * t)

with fd.Plan() as plan:
    X = fd.fft1d(x, n=2048, shift=True, plan=plan)
freqs = (np.arange(2048) - 1024) * rate / 2048
peak = freqs[np.argmax(np.abs(X))]
print(f"tour: chirp 50 to 210 Hz plus a 300 Hz tone, 2000 samples padded to 2048")
print(f"  strongest bin at {abs(peak):.1f} Hz, 300 Hz bin magnitude {np.abs(X[np.argmin(abs(freqs - 300))]):.1f}")
y = fd.ifft1d(X, shift=True)
print(f"  inverse of the centred spectrum: first 2000 samples match, max error {np.max(np.abs(y[:2000] - x)):.2e}")
try:
    fd.fft1d(np.zeros(0))
except fd.FennelError as err:
    print(f"  an empty input is refused: {err}")

# Windowed power spectrum of the tone mixture, with its frequency step.
tones = np.sin(2 * np.pi * 100 * t) + 0.01 * np.sin(2 * np.pi * 260 * t)
windowed = fd.cosine_window(tones, fd.WINDOW_BLACKMAN_HARRIS_4)
power, df = fd.auto_power_spectrum(windowed, dt=1 / rate)
peaks = np.argsort(power)[::-1]
print(f"  4-term Blackman-Harris window, auto power spectrum: df = {df:.2f} Hz, "
      f"strongest at {peaks[0] * df:.1f} Hz; 40 dB weaker tone visible at "
      f"{np.argmax(power[int(200 / df):]) * df + int(200 / df) * df:.1f} Hz")

# A 51-tap lowpass designed by the window method removes the 300 Hz tone.
taps = fd.fir_windowed_coefficients(51, rate, 150.0, filter_type=fd.LOWPASS,
                                    window_type=fd.WINDOW_HAMMING, normalize=True)
smooth = fd.convolve1d(x, taps, mode="same")
residue = np.abs(fd.fft1d(smooth, n=2048))[np.argmin(abs(np.arange(2048) * rate / 2048 - 300))]
print(f"  FIR lowpass (51 taps, 150 Hz) by convolution: 300 Hz bin {152.5:.1f} -> {residue:.2f}")
iir = fd.IIRFilter(b=[0.0675, 0.1349, 0.0675], a=[1.0, -1.1430, 0.4128])  # 2nd-order lowpass
blocks = np.concatenate([iir(block) for block in np.array_split(tones, 7)])
whole = fd.iir_filter([0.0675, 0.1349, 0.0675], [1.0, -1.1430, 0.4128], tones)
print(f"  2nd-order IIR filter in 7 blocks against one call: largest difference "
      f"{np.max(np.abs(blocks - whole)):.1e} (the state carries the stream across blocks)")

# Decimation by averaging, and the DCT's energy compaction.
print(f"  decimate by 4 (average): {len(x)} -> {len(fd.downsample(x, 4, average=True))} samples")
c = fd.dct1d(np.cos(np.linspace(0, np.pi, 64)))
print(f"  orthonormal DCT-II of half a cosine: {100 * np.sum(c[:4] ** 2) / np.sum(c ** 2):.2f} % of the energy in 4 coefficients")

# 2D FFT of an image with one diagonal stripe pattern.
yy, xx = np.mgrid[0:64, 0:64]
image = np.cos(2 * np.pi * (3 * xx + 5 * yy) / 64)
F = fd.fft2d(image)
r, k = np.unravel_index(np.argmax(np.abs(F)), F.shape)
print(f"  2D FFT of a stripe pattern: peak at row {r}, column {k} (frequencies 5 and 3, or their mirror)")

# The numpy/scipy namesakes: same arguments, same results.
import scipy.fft
import scipy.signal
import fennel_dsp.scipy_fft

batch = np.random.default_rng(0).standard_normal((8, 1024)).astype(np.float32)
spectra = fd.rfft(batch, axis=-1, norm="ortho")
print(f"  fd.rfft of an 8 x 1024 float32 batch: {spectra.shape} {spectra.dtype}, "
      f"max difference from scipy.fft {np.max(np.abs(spectra - scipy.fft.rfft(batch, norm='ortho'))):.1e}")
b, a = scipy.signal.butter(4, 0.2)
print(f"  fd.lfilter against scipy.signal.lfilter: "
      f"{np.max(np.abs(fd.lfilter(b, a, x) - scipy.signal.lfilter(b, a, x))):.1e}; fd.resample_poly(x, 3, 2): "
      f"{fd.resample_poly(x, 3, 2).shape[0]} samples")
with scipy.fft.set_backend(fennel_dsp.scipy_fft):
    z = scipy.fft.fftn(image)  # unchanged scipy code, computed by the library
print(f"  scipy.fft.fftn under the fennel_dsp backend: equals fd.fft2d to {np.max(np.abs(z - F)):.1e}")

try:
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    fig, ax = plt.subplots(figsize=(8, 3))
    ax.plot(freqs, 20 * np.log10(np.abs(X) + 1e-12))
    ax.set_xlabel("frequency / Hz")
    ax.set_ylabel("magnitude / dB")
    ax.set_title("centred spectrum from fennel_dsp.fft")
    fig.tight_layout()
    out = pathlib.Path(__file__).with_name("tour.png")
    fig.savefig(out, dpi=80)
    print(f"  plot written to {out}")
except ImportError:
    pass

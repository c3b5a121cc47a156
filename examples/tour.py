"""A tour of the Python binding on built-in data: the spectrum of a chirp,
centred, and its inverse; a plot is written to examples/tour.png."""
import pathlib

import numpy as np

import fennel_dsp as fd

rate = 1000.0
t = np.arange(2000) / rate
x = np.sin(2 * np.pi * (50 + 40 * t) * t) + 0.2 * np.sin(2 * np.pi * 300 * t)

with fd.Plan() as plan:
    X = fd.fft(x, n=2048, shift=True, plan=plan)
freqs = (np.arange(2048) - 1024) * rate / 2048
peak = freqs[np.argmax(np.abs(X))]
print(f"tour: chirp 50 to 210 Hz plus a 300 Hz tone, 2000 samples padded to 2048")
print(f"  strongest bin at {abs(peak):.1f} Hz, 300 Hz bin magnitude {np.abs(X[np.argmin(abs(freqs - 300))]):.1f}")
y = fd.ifft(X, shift=True)
print(f"  inverse of the centred spectrum: first 2000 samples match, max error {np.max(np.abs(y[:2000] - x)):.2e}")
try:
    fd.fft(np.zeros(0))
except fd.FennelError as err:
    print(f"  an empty input is refused: {err}")

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

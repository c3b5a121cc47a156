"""A gallery of fennel_dsp on built-in data, written as PNG files.

    spectrogram.png   a linear chirp, frame by frame (multichannel FFT)
    filters.png       frequency responses of a windowed FIR and an IIR lowpass
    resampling.png    a signal before and after resampling by a factor of 2.5
    fft2d.png         an image-like array and its centred 2D spectrum

Every figure printed is measured on the results.  Usage:
    python examples/gallery.py [output folder]   (default: examples/gallery)
"""
import pathlib
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import fennel_dsp as fd  # noqa: E402


def db(x, floor=1e-12):
    return 20 * np.log10(np.maximum(np.abs(x), floor))


def crossing(freqs, level_db, threshold_db):
    """The first frequency where a falling response crosses threshold_db,
    interpolated linearly between bins."""
    k = int(np.argmax(level_db < threshold_db))
    f0, f1, l0, l1 = freqs[k - 1], freqs[k], level_db[k - 1], level_db[k]
    return f0 + (threshold_db - l0) * (f1 - f0) / (l1 - l0)


def spectrogram(out):
    rate, seconds, f_start, f_end = 8000.0, 2.0, 200.0, 3200.0
    t = np.arange(int(rate * seconds)) / rate
    sweep = (f_end - f_start) / seconds
    chirp = np.sin(2 * np.pi * (f_start * t + 0.5 * sweep * t ** 2))

    frame, hop = 256, 64
    starts = np.arange(0, len(chirp) - frame + 1, hop)
    window = fd.cosine_window(np.ones(frame), fd.WINDOW_HANN)
    frames = np.stack([chirp[s:s + frame] for s in starts]) * window
    spectra = fd.multichannel_fft(frames, channels="rows")[:, :frame // 2 + 1]
    power = db(spectra)

    bin_width = rate / frame
    centres = (starts + frame / 2) / rate
    ridge = np.argmax(power, axis=1) * bin_width
    expected = f_start + sweep * centres
    worst = np.max(np.abs(ridge - expected))

    fig, ax = plt.subplots(figsize=(8, 4))
    image = ax.imshow(power.T, origin="lower", aspect="auto", cmap="magma",
                      extent=[centres[0], centres[-1], 0, rate / 2], vmin=power.max() - 80)
    ax.plot(centres, expected, "c--", lw=0.8, label="instantaneous frequency")
    ax.set(xlabel="time / s", ylabel="frequency / Hz",
           title=f"chirp {f_start:.0f} to {f_end:.0f} Hz: Hann frames of {frame}, hop {hop}")
    ax.legend(loc="upper left")
    fig.colorbar(image, ax=ax, label="dB")
    fig.tight_layout()
    fig.savefig(out / "spectrogram.png", dpi=80)
    plt.close(fig)
    print(f"spectrogram: {len(starts)} frames of {frame} samples in one multichannel FFT; the peak bin "
          f"follows the chirp within {worst:.1f} Hz (bin width {bin_width:.2f} Hz)")


def filters(out):
    rate, cutoff, taps, n = 8000.0, 1000.0, 101, 8192
    freqs = np.arange(n // 2 + 1) * rate / n

    fir = fd.fir_windowed_coefficients(taps, rate, cutoff, filter_type=fd.LOWPASS,
                                       window_type=fd.WINDOW_HAMMING, normalize=True)
    fir_db = db(fd.fft(fir, n=n)[:n // 2 + 1])
    fir_half = crossing(freqs, fir_db, -6.02)
    stop = freqs >= cutoff + 4 * rate / taps     # beyond the Hamming transition band
    fir_stop = -np.max(fir_db[stop])

    # Second-order Butterworth lowpass by the bilinear transform.
    k = np.tan(np.pi * cutoff / rate)
    norm = 1 / (1 + np.sqrt(2) * k + k * k)
    b = np.array([k * k, 2 * k * k, k * k]) * norm
    a = np.array([1.0, 2 * (k * k - 1) * norm, (1 - np.sqrt(2) * k + k * k) * norm])
    impulse = np.zeros(n)
    impulse[0] = 1.0
    iir_db = db(fd.fft(fd.iir_filter(b, a, impulse))[:n // 2 + 1])
    iir_3db = crossing(freqs, iir_db, -3.01)
    at_double = np.interp(2 * cutoff, freqs, iir_db)

    fig, ax = plt.subplots(figsize=(8, 4))
    ax.plot(freqs, fir_db, label=f"FIR, {taps} taps, Hamming window")
    ax.plot(freqs, iir_db, label="IIR, 2nd-order Butterworth")
    ax.axvline(cutoff, color="grey", lw=0.6, ls=":")
    ax.set(xlabel="frequency / Hz", ylabel="gain / dB", ylim=(-120, 5),
           title=f"lowpass filters at {cutoff:.0f} Hz, sampled at {rate:.0f} Hz")
    ax.legend()
    fig.tight_layout()
    fig.savefig(out / "filters.png", dpi=80)
    plt.close(fig)
    print(f"filters: FIR {taps} taps, -6 dB at {fir_half:.1f} Hz, stop band at least {fir_stop:.1f} dB down; "
          f"IIR -3 dB at {iir_3db:.1f} Hz, {at_double:.1f} dB at {2 * cutoff:.0f} Hz")


def resampling(out):
    rate, factor, interpolation = 1000.0, 2.5, 32
    t = np.arange(200) / rate
    tones = ((30.0, 1.0), (70.0, 0.5))
    x = sum(amp * np.sin(2 * np.pi * f * t) for f, amp in tones)

    # Prototype lowpass at interpolation times the input rate.
    prototype = fd.fir_windowed_coefficients(interpolation * 16 + 1, interpolation * rate, 0.4 * rate,
                                             window_type=fd.WINDOW_KAISER, window_parameter=8.0,
                                             normalize=True)
    y, first = fd.Resampler(prototype, interpolation, 1 / factor).process(x)
    ty = (first + np.arange(len(y)) / factor) / rate
    exact = sum(amp * np.sin(2 * np.pi * f * ty) for f, amp in tones)
    settled = ty >= (len(prototype) / interpolation) / rate   # past the zero history at the start
    error = np.max(np.abs(y - exact)[settled])

    fig, ax = plt.subplots(figsize=(8, 3.5))
    ax.plot(ty * 1e3, y, ".-", ms=3, lw=0.6, label=f"resampled, {rate * factor:.0f} Hz ({len(y)} samples)")
    ax.plot(t * 1e3, x, "o", ms=4, mfc="none", label=f"input, {rate:.0f} Hz ({len(x)} samples)")
    ax.set(xlabel="time / ms", ylabel="amplitude", xlim=(0, 100),
           title=f"streaming resampler, step {1 / factor:g} input samples")
    ax.legend(loc="lower left")
    fig.tight_layout()
    fig.savefig(out / "resampling.png", dpi=80)
    plt.close(fig)
    print(f"resampling: {len(x)} samples at {rate:.0f} Hz -> {len(y)} at {rate * factor:.0f} Hz; after the "
          f"first {np.count_nonzero(~settled)} outputs, largest error against the exact signal {error:.1e}")


def fft2d(out):
    size = 128
    yy, xx = np.mgrid[0:size, 0:size]
    rng = np.random.default_rng(7)
    grating = (9, 4)          # cycles across the image: columns, rows
    image = ((np.abs(xx - 40) < 12) & (np.abs(yy - 80) < 20)).astype(float)
    image += 0.5 * np.cos(2 * np.pi * (grating[0] * xx + grating[1] * yy) / size)
    image += 0.2 * rng.standard_normal(image.shape)

    spectrum = fd.fft2d(image, shift=True)
    magnitude = np.abs(spectrum)
    centre = size // 2
    magnitude_no_dc = magnitude.copy()
    magnitude_no_dc[centre - 2:centre + 3, centre - 2:centre + 3] = 0
    row, col = np.unravel_index(np.argmax(magnitude_no_dc), magnitude.shape)
    back = fd.ifft2d(spectrum, shift=True, real=True)

    fig, (left, right) = plt.subplots(1, 2, figsize=(9, 4.2))
    left.imshow(image, cmap="gray")
    left.set_title("image: block, grating, noise")
    right.imshow(db(magnitude), cmap="viridis", extent=[-centre - 0.5, centre - 0.5, centre - 0.5, -centre - 0.5])
    right.set(title="centred 2D spectrum / dB (centre)", xlabel="cycles across", ylabel="cycles down",
              xlim=(-24, 24), ylim=(24, -24))
    fig.tight_layout()
    fig.savefig(out / "fft2d.png", dpi=80)
    plt.close(fig)
    print(f"fft2d: {size} x {size} image; strongest peak beside the centre at {col - centre:+d} cycles across, "
          f"{row - centre:+d} down (the grating: {grating[0]}, {grating[1]}, or its mirror); inverse error "
          f"{np.max(np.abs(back - image)):.1e}")


def main():
    out = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).with_name("gallery")
    out.mkdir(parents=True, exist_ok=True)
    for make in (spectrogram, filters, resampling, fft2d):
        make(out)
    print(f"gallery: {len(list(out.glob('*.png')))} PNG files in {out}")


if __name__ == "__main__":
    main()

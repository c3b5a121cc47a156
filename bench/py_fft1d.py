"""1D FFT through the binding beside scipy.fft, copies included.

Prints the median time per call of each and the ratio scipy / fennel_dsp
(above 1: the binding is faster).
"""
import timeit

import numpy as np
import scipy.fft

import fennel_dsp as fd


def median_time(fn, repeat=7):
    number = max(1, int(0.05 / max(min(timeit.repeat(fn, number=1, repeat=3)), 1e-7)))
    return float(np.median(timeit.repeat(fn, number=number, repeat=repeat))) / number


def main():
    rng = np.random.default_rng(0)
    print(f"{'case':28s} {'scipy/us':>10s} {'fennel/us':>10s} {'scipy/fennel':>12s}")
    for dtype in (np.float64, np.complex128, np.float32, np.complex64):
        for n in (1024, 4096, 65536, 1 << 20, 1000, 44100):
            x = rng.standard_normal(n).astype(dtype)
            if np.dtype(dtype).kind == "c":
                x = x + 1j * rng.standard_normal(n).astype(dtype)
            plan = fd.Plan()
            fd.fft1d(x, plan=plan)
            t_scipy = median_time(lambda: scipy.fft.fft(x))
            t_fd = median_time(lambda: fd.fft1d(x, plan=plan))
            plan.close()
            name = f"fft {np.dtype(dtype).name} n={n}"
            print(f"{name:28s} {t_scipy * 1e6:10.1f} {t_fd * 1e6:10.1f} {t_scipy / t_fd:12.2f}")


if __name__ == "__main__":
    main()

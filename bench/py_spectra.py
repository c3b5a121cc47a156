"""Power spectrum through the binding beside numpy's
abs(fft(x))**2 / n**2, copies included.

Runs three rounds and prints, per case, the median CPU time per call of each
and the median ratio numpy / fennel_dsp (above 1: the binding is faster).
"""
import time
import timeit

import numpy as np

import fennel_dsp as fd


def per_call(fn, repeat=5):
    # Process CPU time: both sides run on one thread, and the machine is shared.
    timer = timeit.Timer(fn, timer=time.process_time)
    number = max(1, int(0.02 / max(min(timer.repeat(number=1, repeat=3)), 1e-7)))
    return min(timer.repeat(number=number, repeat=repeat)) / number


def main(rounds=3):
    rng = np.random.default_rng(0)
    print(f"{'case':32s} {'numpy/us':>10s} {'fennel/us':>10s} {'numpy/fennel':>12s}")
    for dtype in (np.float64, np.complex128, np.float32, np.complex64):
        for n in (1024, 4096, 16384, 65536, 1 << 20):
            x = rng.uniform(-1, 1, n).astype(dtype)
            if np.dtype(dtype).kind == "c":
                x = x + 1j * rng.uniform(-1, 1, n).astype(dtype)
            fd.power_spectrum(x)  # plans once; later calls reuse the plan
            ours, theirs = [], []
            for _ in range(rounds):
                theirs.append(per_call(lambda: np.abs(np.fft.fft(x)) ** 2 / n**2))
                ours.append(per_call(lambda: fd.power_spectrum(x)))
            ratio = np.median(np.array(theirs) / np.array(ours))
            name = f"power_spectrum {np.dtype(dtype).name} n={n}"
            print(f"{name:32s} {np.median(theirs) * 1e6:10.1f} {np.median(ours) * 1e6:10.1f} "
                  f"{ratio:12.2f}")


if __name__ == "__main__":
    main()

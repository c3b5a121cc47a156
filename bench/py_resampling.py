"""Streaming resampling through the binding beside scipy's polyphase
upfirdn and resample_poly, with the same number of taps per output (64),
copies included.  Prints output samples per second and the ratios."""
import time

import numpy as np
from scipy import signal

import fennel_dsp as fd

TAPS = 64
N = 1 << 20
REPEATS = 3
# CPU time of this process: the machine is shared, and wall time counts the
# other tenants too.
CLOCK = time.process_time


def best_of(f, runs=5):
    times = []
    for _ in range(runs):
        t = CLOCK()
        f()
        times.append(CLOCK() - t)
    return min(times)


def main():
    rng = np.random.default_rng(0)
    print(f"rational resampling, {N} input samples, {TAPS} taps per output")
    print(f"{'dtype':>8} {'up/down':>8} {'ours Mout/s':>12} {'upfirdn':>9} {'poly':>9} "
          f"{'vs upfirdn':>11} {'vs poly':>8}")
    for dtype in (np.float32, np.float64):
        for up, down in ((3, 2), (2, 3), (160, 147)):
            h = signal.firwin(TAPS * up, 1.0 / max(up, down), window=("kaiser", 8.0)) * up
            x = rng.uniform(-1, 1, N).astype(dtype)
            hr = h.astype(dtype)
            outs = len(fd.fir_resample(x, h, up, down / up, anti_alias=False))
            rows = []
            for _ in range(REPEATS):
                ours = best_of(lambda: fd.fir_resample(x, h, up, down / up, anti_alias=False))
                fir = best_of(lambda: signal.upfirdn(hr, x, up, down))
                poly = best_of(lambda: signal.resample_poly(x, up, down, window=hr))
                rows.append((ours, fir, poly))
            ours, fir, poly = np.median(np.array(rows), axis=0)
            print(f"{np.dtype(dtype).name:>8} {f'{up}/{down}':>8} {outs / ours / 1e6:12.1f} "
                  f"{outs / fir / 1e6:9.1f} {outs / poly / 1e6:9.1f} {fir / ours:10.2f}x "
                  f"{poly / ours:7.2f}x")


if __name__ == "__main__":
    main()

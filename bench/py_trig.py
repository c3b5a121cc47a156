"""The DCT and DST through the binding beside scipy.fft, copies included.

Prints the median of three runs of each (process CPU time per call, which is
steadier than wall time on a shared machine) and the ratio scipy / ours.
"""
import statistics
import time

import numpy as np
import scipy.fft as sf

import fennel_dsp as fd


def per_call(f, seconds=0.3):
    f()
    runs = []
    for _ in range(3):
        count, start = 0, time.process_time()
        while True:
            f()
            count += 1
            spent = time.process_time() - start
            if spent >= seconds:
                break
        runs.append(spent / count)
    return statistics.median(runs)


def row(name, ours, theirs):
    a, b = per_call(ours), per_call(theirs)
    print(f"{name:<28} ours {a * 1e6:9.1f} us   scipy {b * 1e6:9.1f} us   scipy/ours {b / a:5.2f}")


def main():
    rng = np.random.default_rng(0)
    for n in (4096, 16384, 65536):
        x = rng.uniform(-1, 1, n)
        row(f"dct n={n}", lambda: fd.dct1d(x), lambda: sf.dct(x, type=2, norm="ortho"))
        row(f"dst n={n}", lambda: fd.dst1d(x), lambda: sf.dst(x, type=1))
    for n in (512, 1024):
        x = rng.uniform(-1, 1, (n, n))
        row(f"dct2 {n}x{n}", lambda: fd.dct2(x), lambda: sf.dctn(x, type=2, norm="ortho"))


if __name__ == "__main__":
    main()

"""Windows and the IIR filter through the binding beside numpy/scipy, copies
included.

Prints the median process CPU time per call of each (the machine is shared,
so wall time counts the other tenants) and the ratio yardstick / fennel_dsp
(above 1: the binding is faster).
"""
import time
import timeit

import numpy as np
import scipy.signal as ss

import fennel_dsp as fd


def median_time(fn, repeat=7):
    clock = time.process_time
    number = max(1, int(0.05 / max(min(timeit.repeat(fn, number=1, repeat=3, timer=clock)), 1e-7)))
    return float(np.median(timeit.repeat(fn, number=number, repeat=repeat, timer=clock))) / number


def row(name, t_ref, t_fd):
    print(f"{name:34s} {t_ref * 1e3:10.3f} {t_fd * 1e3:10.3f} {t_ref / t_fd:10.2f}")


def main():
    rng = np.random.default_rng(0)
    n = 1 << 20
    print(f"{'case':34s} {'ref/ms':>10s} {'fennel/ms':>10s} {'ref/fennel':>10s}")
    for dtype in (np.float64, np.float32, np.complex128):
        x = rng.standard_normal(n).astype(dtype)
        for wtype, name in ((fd.WINDOW_HANN, "hann"), (fd.WINDOW_BLACKMAN_HARRIS_7, None),
                            (fd.WINDOW_FLAT_TOP, "flattop")):
            if name is None:
                def reference():
                    return x * ss.windows.general_cosine(n, [0.27105140069342415, 0.43329793923448606,
                                                             0.21812299954311062, 0.0659254463880309,
                                                             0.010811742098372268, 0.0007765848252250934,
                                                             1.3887217350903198e-05], sym=False)
                name = "7-term"
            else:
                def reference(name=name):
                    return x * ss.get_window(name, n)
            row(f"window {name} {np.dtype(dtype).name}", median_time(reference),
                median_time(lambda: fd.cosine_window(x, wtype)))
    for dtype in (np.float64, np.float32):
        x = rng.standard_normal(n).astype(dtype)
        for order in (2, 4, 8, 16):
            b, a = ss.butter(order, 0.2)
            b, a = b.astype(dtype), a.astype(dtype)
            row(f"iir order {order} {np.dtype(dtype).name}", median_time(lambda: ss.lfilter(b, a, x)),
                median_time(lambda: fd.iir_filter(b, a, x)))


if __name__ == "__main__":
    main()

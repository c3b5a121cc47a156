"""2D and 3D FFTs through the binding beside scipy.fft, copies included.

Prints the median time per call of each and the ratio scipy / fennel_dsp
(above 1: the binding is faster).  Both are timed in alternation in each
repeat, so that the machine's load hits both alike.
"""
import timeit

import numpy as np
import scipy.fft

import fennel_dsp as fd


def paired_medians(a, b, repeat=7):
    ta, tb = [], []
    for _ in range(repeat):
        ta.append(min(timeit.repeat(a, number=1, repeat=2)))
        tb.append(min(timeit.repeat(b, number=1, repeat=2)))
    return float(np.median(ta)), float(np.median(tb))


def main():
    rng = np.random.default_rng(0)
    print(f"{'case':34s} {'scipy/ms':>9s} {'fennel/ms':>10s} {'scipy/fennel':>12s}")
    for shape in ((256, 256), (1024, 1024), (64, 64, 64), (128, 128, 128)):
        for dtype in (np.complex128, np.float64, np.complex64, np.float32):
            x = rng.standard_normal(shape).astype(dtype)
            if np.dtype(dtype).kind == "c":
                x = x + 1j * rng.standard_normal(shape).astype(dtype)
            ours = fd.fft2d if len(shape) == 2 else fd.fft3
            theirs = scipy.fft.fft2 if len(shape) == 2 else scipy.fft.fftn
            plan = fd.Plan()
            ours(x, plan=plan)  # plans once
            t_scipy, t_fd = paired_medians(lambda: theirs(x), lambda: ours(x, plan=plan))
            plan.close()
            name = f"{ours.__name__} {np.dtype(dtype).name} {'x'.join(map(str, shape))}"
            print(f"{name:34s} {t_scipy * 1e3:9.2f} {t_fd * 1e3:10.2f} {t_scipy / t_fd:12.2f}",
                  flush=True)


if __name__ == "__main__":
    main()

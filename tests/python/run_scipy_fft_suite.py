"""Runs scipy's own scipy.fft test modules with fennel_dsp.scipy_fft set as
the global backend (scipy's own backend registered behind it for what ours
declines) and prints the outcome and the share of calls ours computed.

    FENNEL_DSP_LIB_DIR=build/lib PYTHONPATH=python /usr/bin/python3 tests/python/run_scipy_fft_suite.py
"""
import os
import sys

import pytest
import scipy.fft

import fennel_dsp.scipy_fft as backend

MODULES = ["test_basic.py", "test_numpy.py", "test_real_transforms.py", "test_helper.py",
           "test_multithreading.py", "test_fft_function.py"]


class Plugin:
    def pytest_sessionstart(self, session):
        scipy.fft.set_global_backend(backend)
        scipy.fft.register_backend("scipy")


def main():
    folder = os.path.join(os.path.dirname(scipy.fft.__file__), "tests")
    paths = [os.path.join(folder, m) for m in MODULES if os.path.exists(os.path.join(folder, m))]
    code = pytest.main(["-q", "-p", "no:cacheprovider", *sys.argv[1:], *paths], plugins=[Plugin()])
    done, declined = backend.handled["computed"], backend.handled["declined"]
    total = max(1, done + declined)
    print(f"backend computed {done} of {total} calls ({100 * done / total:.1f} %), "
          f"declined {declined}")
    print(", ".join(f"{k}: {v}" for k, v in sorted(backend.handled.items()) if " " in k))
    return code


if __name__ == "__main__":
    sys.exit(main())

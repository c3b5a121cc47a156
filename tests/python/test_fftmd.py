"""2D, 3D and multichannel FFTs through the binding, against numpy.fft."""
import os
import subprocess
import sys

import numpy as np
import pytest

import fennel_dsp as fd
from conftest import DTYPES, random_signal, tolerance

SHAPES_2D = [(1, 1), (1, 9), (8, 1), (2, 2), (7, 5), (16, 12), (13, 17), (30, 21), (64, 49)]
SHAPES_3D = [(1, 1, 1), (1, 4, 6), (2, 3, 5), (5, 7, 4), (8, 8, 8), (11, 6, 13)]


def signal(shape, dtype, seed=0):
    return random_signal(int(np.prod(shape)), dtype, seed).reshape(shape)


def reference(x, shape, shift):
    X = np.fft.fftn(x.astype(np.complex128), s=shape)
    return np.fft.fftshift(X) if shift else X


def assert_close(got, ref, n, dtype):
    scale = max(1.0, np.sqrt(n))
    np.testing.assert_allclose(got, ref, rtol=0, atol=tolerance(n, dtype) * scale * 4)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("shape", SHAPES_2D + SHAPES_3D)
@pytest.mark.parametrize("shift", [False, True])
def test_forward_matches_numpy_with_padding_and_cropping(dtype, shape, shift):
    x = signal(shape, dtype, seed=sum(shape))
    if len(shape) == 2:
        fwd, R, C = fd.fft2d, *shape
        sizes = [None, (R + 3, C), (max(1, R // 2), C + 4)]
    else:  # a 0 keeps the input's size on that axis
        fwd, (P, R, C) = fd.fft3, shape
        sizes = [None, (2 * P, 0, 0), (P + 1, R + 2, max(1, C // 2)), (P, max(1, R - 1), C + 2)]
    for want in sizes:
        size = tuple(s if not w else w for s, w in zip(shape, want or (0,) * len(shape)))
        got = fwd(x, want, shift=shift)
        assert got.dtype == np.result_type(dtype, np.complex64) and got.shape == size
        assert_close(got, reference(x, size, shift), int(np.prod(size)), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("shape", SHAPES_2D[3:] + SHAPES_3D[1:])
@pytest.mark.parametrize("shift", [False, True])
def test_inverse_matches_numpy_and_round_trips(dtype, shape, shift):
    fwd, inv = (fd.fft2d, fd.ifft2d) if len(shape) == 2 else (fd.fft3, fd.ifft3)
    real = np.dtype(dtype).kind == "f"
    x = signal(shape, dtype, seed=3)
    X = fwd(x, shift=shift)
    back = inv(X, shift=shift, real=real)
    assert back.dtype == np.dtype(dtype) and back.shape == shape
    assert_close(back, x, int(np.prod(shape)), dtype)
    # On a spectrum that is not conjugate-symmetric the real inverse reads
    # the non-negative column half, as numpy's irfftn does.
    Y = signal(shape, np.result_type(dtype, np.complex64), seed=4)
    natural = np.fft.ifftshift(Y) if shift else Y
    if real:
        ref = np.fft.irfftn(natural[..., : shape[-1] // 2 + 1], s=shape)
    else:
        ref = np.fft.ifftn(natural)
    assert_close(inv(Y, shift=shift, real=real), ref, int(np.prod(shape)), dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("shape", [(1, 1), (1, 8), (6, 1), (5, 7), (12, 9), (33, 16)])
@pytest.mark.parametrize("channels", ["rows", "columns"])
@pytest.mark.parametrize("shift", [False, True])
def test_multichannel_matches_numpy_per_axis(dtype, shape, channels, shift):
    x = signal(shape, dtype, seed=5)
    axis = 1 if channels == "rows" else 0
    n = shape[axis]
    for length in [None, max(1, n // 2), n + 5]:
        L = length or n
        got = fd.multichannel_fft(x, length, channels=channels, shift=shift)
        ref = np.fft.fft(x.astype(np.complex128), n=L, axis=axis)
        if shift:
            ref = np.fft.fftshift(ref, axes=axis)
        assert_close(got, ref, L, dtype)
    X = fd.multichannel_fft(x, channels=channels, shift=shift)
    back = fd.multichannel_ifft(X, channels=channels, shift=shift,
                                real=np.dtype(dtype).kind == "f")
    assert_close(back, x, n, dtype)


@pytest.mark.skipif((os.cpu_count() or 1) < 2 or os.environ.get("FENNEL_DSP_THREADS") == "1",
                    reason="the expansion shares its work only with two cores")
def test_unloading_the_library_ends_its_helper_thread():
    # A thread left waiting in the library's code would run unmapped code on
    # its next wake-up: unloading must end it.
    script = (
        "import os, _ctypes, numpy as np, fennel_dsp as fd\n"
        "count = lambda: len(os.listdir('/proc/self/task'))\n"
        "fd.fft3(np.ones((128, 128, 128)))\n"  # 32 MB expanded on two threads
        "before = count()\n"
        "_ctypes.dlclose(fd.lib._handle)\n"
        "print(before - count())\n")
    out = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=True)
    assert out.stdout.split() == ["1"]

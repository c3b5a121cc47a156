"""Explicit plans across calls, and results against the arrays the binding
keeps between calls."""
import numpy as np
import pytest

import fennel_dsp as fd
from conftest import random_signal

PLAN_CALLS = {
    "fft": lambda x, plan: fd.fft1d(x, plan=plan),
    "fft2": lambda x, plan: fd.fft2d(x.reshape(8, 8), plan=plan),
    "convolve": lambda x, plan: fd.convolve1d(x, x[:30], method="fft", plan=plan),
    "auto_power": lambda x, plan: fd.auto_power_spectrum(x, plan=plan)[0],
}


@pytest.mark.parametrize("name", PLAN_CALLS)
def test_an_explicit_plan_is_kept_reused_and_released(name):
    call, x = PLAN_CALLS[name], random_signal(64, np.float64)
    with fd.Plan() as plan:
        first = call(x, plan)
        slot = plan.slot.value
        assert plan.held
        np.testing.assert_array_equal(call(x, plan), first)
        assert plan.slot.value == slot
    assert not plan.held


@pytest.mark.parametrize("call, shape, dtype", [
    (fd.power_spectrum, (5,), np.complex128), (fd.power_spectrum, (1 << 17,), np.complex128),
    (fd.dct1d, (5,), np.float64), (fd.idct1d, (150000,), np.float64), (fd.dct2, (400, 400), np.float64)])
def test_results_stay_valid_across_later_calls(call, shape, dtype):
    """Outputs of 1 MiB or more are handed over without a copy, smaller ones
    copied; either way a result must not change when the kept arrays serve
    later calls, including one that fails."""
    x, y = (random_signal(int(np.prod(shape)), dtype, seed=s).reshape(shape) for s in (1, 2))
    first = call(x)
    kept = first.copy()
    with pytest.raises(fd.FennelError):
        call(np.zeros((0,) * len(shape), dtype))
    second = call(y)
    np.testing.assert_array_equal(first, kept)
    np.testing.assert_array_equal(call(x), kept)
    assert not np.shares_memory(first, second)

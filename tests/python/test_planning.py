"""Planning ahead and wisdom: files in the cache folder, export and import."""
import numpy as np
import pytest

import fennel_dsp as fd


def test_plan_ahead_saves_wisdom_that_exports_and_imports(tmp_path, monkeypatch):
    monkeypatch.setenv("FENNEL_DSP_WISDOM_DIR", str(tmp_path))
    fd.forget_wisdom()
    empty = len(fd.export_wisdom())
    fd.plan_ahead([(96,), (6, 10)], dtype=np.float32)
    assert (tmp_path / "wisdom-float").is_file()
    text = fd.export_wisdom()
    assert len(text) > empty
    fd.forget_wisdom()
    assert not (tmp_path / "wisdom-float").exists()
    assert len(fd.export_wisdom()) == empty
    assert fd.import_wisdom(text) and len(fd.export_wisdom()) == len(text)
    assert not fd.import_wisdom(text.replace("fftw-3", "fftw-2"))
    x = np.arange(96, dtype=np.float32)
    np.testing.assert_allclose(fd.rfft(x), np.fft.rfft(x), rtol=1e-5, atol=1e-3)


@pytest.mark.parametrize("kwargs", [dict(effort="fast"), dict(dtype=np.int32), dict(shapes=[(0,)])])
def test_plan_ahead_refuses_bad_arguments(kwargs):
    args = {"shapes": [(8,)], **kwargs}
    with pytest.raises(ValueError):
        fd.plan_ahead(**args)

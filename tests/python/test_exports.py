"""The shared object exports exactly the functions that the header declares."""
import pathlib
import re
import subprocess

from fennel_dsp import _native

ROOT = pathlib.Path(__file__).resolve().parents[2]


def declared():
    text = (ROOT / "include" / "fennel_dsp.h").read_text()
    return set(re.findall(r"FENNEL_DSP_API\s+[\w\s\*]+?\b(\w+)\s*\(", text))


def exported():
    so = _native._lib_dir() / "libfennel_dsp.so"
    out = subprocess.run(["nm", "-D", "--defined-only", str(so)], capture_output=True, text=True,
                         check=True).stdout
    return {parts[2] for parts in (line.split() for line in out.splitlines())
            if len(parts) == 3 and parts[1] in "TWi"}


def test_exports_equal_header_declarations():
    d, e = declared(), exported()
    assert d, "no declarations found"
    assert e - d == set(), f"exported but not declared: {sorted(e - d)}"
    assert d - e == set(), f"declared but not exported: {sorted(d - e)}"

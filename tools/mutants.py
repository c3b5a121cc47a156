#!/usr/bin/env python3
"""Mutation run: applies one small source fault at a time to a scratch copy of
the tree, rebuilds the library and the C++ tests, runs the test suites and
reports which faults the tests catch.

Each mutant is (name, file under Source/FFT, exact source text, replacement,
what a user would suffer).  Every occurrence of the text in the file is
replaced; a text that is not found makes the mutant "not applicable" (the
code it targets was rewritten), a mutant that does not compile is "no build".

The source tree (Source/, include/, CMake files) and the tests (tests/ and
python/) can come from different revisions, so that one set of mutants can
score an older and a newer test suite on the same source:

  tools/mutants.py --source redesign --tests redesign --suite both
  tools/mutants.py --source HEAD --tests a167072 --suite cpp --only corr-
  tools/mutants.py --list            # applicability only, no build

A revision is anything git understands, or a directory holding a work tree.
The scratch tree and its build are kept (--scratch) so that later runs build
incrementally.  Results go to stdout and, one JSON object a line, to
<scratch>/results.jsonl.
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import time
from pathlib import Path

REPO = Path(__file__).resolve().parents[1]

# (name, file, text, replacement, what it breaks)
MUTANTS = [
    # ---- call frame and host arrays
    ("frame-output-kept-on-failure", "frame/call_frame.h",
     "if (e.kind == Entry::kOutput && !failed) continue;",
     "if (e.kind == Entry::kOutput) continue;",
     "a failed call leaves its outputs filled"),
    ("frame-workspace-kept", "frame/call_frame.h",
     "if (e.kind == Entry::kOutput && !failed) continue;", "if (!failed) continue;",
     "a successful call leaves its workspaces filled"),
    ("frame-plan-kept-on-failure", "frame/call_frame.h",
     "for (int i = plan_count_ - 1; failed && i >= 0; --i) plans_[i].release(plans_[i].slot);",
     "(void)failed;",
     "a failed call keeps its plan"),
    ("array-sizes-not-zeroed", "frame/host_array.h",
     "for (int i = 0; i < rank; ++i) header[i] = 0;", "",
     "an emptied array still reports its old sizes"),
    ("array-size-guard-off-by-one", "frame/host_array.h",
     "return bits < 31;", "return bits < 32;",
     "2D/3D sizes of 2^31 elements pass the size guard"),
    # ---- plan layer and engine
    ("plan-reuse-ignores-lengths", "dft/plan.cpp",
     "if (k.lengths[i] != g.lengths[i]) return false;", "(void)k.lengths[i];",
     "a plan of another length is reused"),
    ("plan-reuse-ignores-precision", "dft/plan.cpp",
     "if (k.rank != g.rank || k.precision != g.precision ||", "if (k.rank != g.rank ||",
     "a double plan is reused for float data"),
    ("plan-reuse-ignores-count", "dft/plan.cpp",
     "if (k.transforms != g.transforms ||", "if (",
     "a batch plan of another channel count is reused"),
    ("plan-reuse-ignores-scale", "dft/plan.cpp",
     "(g.inverse != (k.backward_scale != 1.0) && k.backward_scale != BackwardScale(g))",
     "false",
     "a forward plan is reused unscaled for an inverse call"),
    ("plan-scale-swapped", "dft/engine/dfti_fftw.cpp",
     "scaled && !forward ? d->g.backward_scale : 1.0",
     "scaled && forward ? d->g.backward_scale : 1.0",
     "the 1/N scale lands on the forward transform"),
    ("engine-misaligned-output-direct", "dft/engine/dfti_fftw.cpp",
     "const bool copy_out = Fftw<R>::AlignmentOf(out) != 0;", "const bool copy_out = false;",
     "an aligned plan writes a misaligned output"),
    ("engine-scaled-copy-skips-first", "dft/engine/dfti_fftw.cpp",
     "for (ptrdiff_t i = 0; i < count; ++i) dst[i] = src[i] * s;",
     "for (ptrdiff_t i = 1; i < count; ++i) dst[i] = src[i] * s;",
     "the first scaled output element is not scaled"),
    # ---- 1D FFT and spectrum reordering
    ("fft-conj-dropped", "transforms/spectrum.h",
     "return C(v.real(), R(-0.0) - v.imag());", "return C(v.real(), v.imag());",
     "the mirrored half of a real spectrum is not conjugated"),
    ("fft-real-centre-parity", "transforms/spectrum.h",
     "const int32_t t = (N % 2 == 0) ? 1 : 0;", "const int32_t t = (N % 2 == 0) ? 0 : 1;",
     "centred real spectra are misplaced by one bin"),
    ("fft-uncentre-odd-short", "transforms/spectrum.h",
     "for (int32_t i = 0; i <= half; ++i) W[i * ws] = X[(half + i) * xs];",
     "for (int32_t i = 0; i < half; ++i) W[i * ws] = X[(half + i) * xs];",
     "inverse of a centred odd spectrum drops a bin"),
    ("fft1d-pad-off-by-one", "transforms/fft1d.cpp",
     "std::fill(w + n, w + L, T(0));", "std::fill(w + n + 1, w + L, T(0));",
     "the first padding sample is not zeroed"),
    ("fftmd-half-spectrum-stride", "transforms/fftmd_core.h",
     "out[Rank - 1] = lengths[Rank - 1] / 2 + 1;", "out[Rank - 1] = lengths[Rank - 1] / 2;",
     "real 2D/3D spectra rows are packed one bin short"),
    ("multich-orientation-unchecked", "transforms/multichannel_fft.cpp",
     "orientation != 0 && orientation != 1)", "orientation != 0 && orientation != 1 && orientation != 2)",
     "orientation 2 is accepted"),
    # ---- DCT / DST
    ("dct-dc-scale", "transforms/dct_dst_kernels.h",
     "o[0] *= Roots<T>::kInvSqrt2;", "o[0] *= Roots<T>::kSqrt2;",
     "wrong DC scale of the DCT-II"),
    ("dst-odd-extension-sign", "transforms/dct_dst_kernels.h",
     "w[b.W(L - 1 - i, j, L)] = -v;", "w[b.W(L - 1 - i, j, L)] = v;",
     "the DST's odd extension is even"),
    ("invdct-odd-dc-scale", "transforms/dct_dst_kernels.h",
     "z0[0] *= Roots<T>::kSqrt2;", "z0[0] *= Roots<T>::kInvSqrt2;",
     "the inverse DCT of odd length scales DC wrongly"),
    ("invdst-scale-off-by-one", "transforms/dct_dst.cpp",
     "-1.0 / (static_cast<double>(n) + 1.0)", "-1.0 / static_cast<double>(n)",
     "the inverse DST divides by n instead of n + 1"),
    # ---- spectra
    ("power-one-sided-not-doubled", "spectra/power_spectrum.cpp",
     "const double scale2 = 2.0 / nn;", "const double scale2 = 1.0 / nn;",
     "one-sided power of real input is not doubled"),
    ("cross-conj-on-wrong-operand", "spectra/cross_power.cpp",
     "const double s = swapped ? scale : -scale;", "const double s = swapped ? -scale : scale;",
     "cross power conjugates the wrong spectrum"),
    ("cross-phase-sign", "spectra/cross_power.cpp",
     "const double pi = xr * yi - xi * yr;", "const double pi = xi * yr - xr * yi;",
     "cross spectrum phase has the wrong sign"),
    ("autopower-dt-zero-accepted", "spectra/power_spectrum.cpp",
     "if (dt != nullptr && *dt <= 0.0)", "if (dt != nullptr && *dt < 0.0)",
     "a zero sampling interval is accepted"),
    # ---- convolution and correlation
    ("corr-conj-dropped", "correlation/correlation_core.h",
     "return D(s.real(), -s.imag());", "return D(s.real(), s.imag());",
     "direct correlation does not conjugate x"),
    ("corr-bin-product-sign", "correlation/correlation_core.cpp",
     "d[2 * k + 1] = b * c + a * e;", "d[2 * k + 1] = b * c - a * e;",
     "frequency-domain products have the wrong imaginary part"),
    ("corr-biased-by-min", "correlation/correlation_core.cpp",
     "static_cast<typename Traits<T>::Real>(1.0 / hi));",
     "static_cast<typename Traits<T>::Real>(1.0 / lo));",
     "biased normalisation divides by the shorter length"),
    ("corr-unbiased-off-by-one", "correlation/correlation_core.cpp",
     "for (int32_t i = 0; i + 1 < lo; ++i) {", "for (int32_t i = 0; i + 2 < lo; ++i) {",
     "unbiased normalisation misses the outermost lags"),
    ("conv-axpy-rest-short", "correlation/correlation_core.cpp",
     "for (int32_t i = 0; i < lenA; ++i) Axpy(rest, a[i], b + s, 1, dest + s + i, 1);",
     "for (int32_t i = 0; i < lenA; ++i) Axpy(rest - 1, a[i], b + s, 1, dest + s + i, 1);",
     "direct convolution of long operands drops a term"),
    ("conv-same-centre", "correlation/correlation_core.h",
     "const T *from = full + (rowsB / 2) * width + colsB / 2;",
     "const T *from = full + (rowsB / 2) * width + (colsB - 1) / 2;",
     "'same' output is shifted for even kernels"),
    # ---- decimation, upsampling, resampling
    ("decimate-factor-above-n", "resampling/decimate.cpp",
     "factor < 1 || factor > n", "factor < 1",
     "a factor above the length is accepted"),
    ("upsample-phase-equal-factor", "resampling/upsample.cpp",
     "if (phase < 0 || phase >= factor)", "if (phase < 0 || phase > factor)",
     "phase = factor writes past each block"),
    ("resample-interpolation-zero", "resampling/rational_resampler.cpp",
     "if (interpolation < 1)", "if (interpolation < 0)",
     "interpolation 0 is accepted"),
    ("resample-antialias-upsampling", "resampling/rational_resampler.cpp",
     "P.s = antiAlias != 0 && ratio > 1.0 ?", "P.s = antiAlias != 0 ?",
     "anti-aliasing stretches the taps when upsampling"),
    # ---- windows, FIR design, IIR filter
    ("window-hamming-constant", "filters/cosine_windows.cpp",
     "{2, {0.54, 0.46}},", "{2, {0.54, 0.45}},",
     "wrong Hamming coefficient"),
    ("window-normalise-flipped", "filters/cosine_windows.cpp",
     "const double d = normalise != 0 ? coefs[0] : 1.0;",
     "const double d = normalise == 0 ? coefs[0] : 1.0;",
     "normalise works the wrong way round"),
    ("symmwin-two-samples", "filters/symmetric_windows.cpp",
     "if (n < 3) return STATUS_OK;", "if (n < 2) return STATUS_OK;",
     "two-sample symmetric windows are changed"),
    ("fir-bandstop-even-taps", "filters/fir_design.cpp",
     "if ((type == kHighpass || type == kBandstop) && m % 2 == 0)",
     "if (type == kHighpass && m % 2 == 0)",
     "a bandstop with an even tap count is accepted"),
    ("fir-upper-edge-unchecked", "filters/fir_design.cpp",
     "if (f1 > nyquist || f2 > nyquist)", "if (f1 > nyquist)",
     "a band edge above Nyquist is accepted"),
    ("iir-a0-not-divided", "filters/iir_filter.cpp",
     "const R g = R(1) / a[0];", "const R g = a[0];",
     "the feedback is not divided by a[0]"),
    ("iir-state-always-reset", "filters/iir_filter.cpp",
     "if (fstate.size() != nb - 1) {", "if (fstate.size() != nb) {",
     "block-wise filtering restarts from rest every call"),
]


def log(*a):
    print(*a, flush=True)


def run(cmd, cwd=None, env=None, timeout=None, out=None):
    """Runs cmd under nice 19; returns (returncode, seconds); -9 on timeout."""
    t = time.time()
    full = ["nice", "-n", "19"] + cmd
    with open(out, "a") if out else open(os.devnull, "w") as f:
        try:
            p = subprocess.run(full, cwd=cwd, env=env, stdout=f, stderr=subprocess.STDOUT,
                               timeout=timeout, start_new_session=True)
            rc = p.returncode
        except subprocess.TimeoutExpired:
            rc = -9
    return rc, time.time() - t


def export_tree(rev, dest, parts):
    """Writes the given top-level parts of a revision (or directory) into dest."""
    dest.mkdir(parents=True, exist_ok=True)
    src = Path(rev)
    if src.is_dir():
        for part in parts:
            if (src / part).is_dir():
                shutil.copytree(src / part, dest / part, ignore=shutil.ignore_patterns(
                    "build*", "__pycache__", ".git"))
            elif (src / part).exists():
                shutil.copy2(src / part, dest / part)
        return
    with tempfile.TemporaryFile() as tar:
        subprocess.run(["git", "archive", rev, "--"] + parts, cwd=REPO, stdout=tar, check=True)
        tar.seek(0)
        with tarfile.open(fileobj=tar) as t:
            t.extractall(dest)


def sync(fresh, tree):
    """Makes tree equal to fresh, touching only files whose bytes differ (keeps
    the incremental build valid)."""
    changed = 0
    for path in fresh.rglob("*"):
        if path.is_dir():
            continue
        rel = path.relative_to(fresh)
        target = tree / rel
        data = path.read_bytes()
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)
            changed += 1
    for path in sorted(tree.rglob("*"), reverse=True):
        rel = path.relative_to(tree)
        if not (fresh / rel).exists():
            path.rmdir() if path.is_dir() else path.unlink()
            changed += 1
    return changed


def prepare(args, scratch):
    tree = scratch / "tree"
    fresh = scratch / "fresh"
    shutil.rmtree(fresh, ignore_errors=True)
    src_parts = ["CMakeLists.txt", "Source", "include", "cmake", "examples", "bench", "scripts", "Makefile"]
    export_tree(args.source, fresh, src_parts)
    export_tree(args.tests, fresh, ["tests", "python"])
    tree.mkdir(parents=True, exist_ok=True)
    log(f"tree: {sync(fresh, tree)} files updated")
    shutil.rmtree(fresh)
    return tree


def build(tree, build_dir, targets, logfile, timeout):
    if not (build_dir / "CMakeCache.txt").exists():
        rc, _ = run(["cmake", "-S", str(tree), "-B", str(build_dir), "-DCMAKE_BUILD_TYPE=Release",
                     "-DFENNEL_BENCH=OFF"], out=logfile)
        if rc != 0:
            return rc
    cmd = ["cmake", "--build", str(build_dir), f"-j{os.cpu_count() or 2}"]
    for t in targets:
        cmd += ["--target", t]
    return run(cmd, out=logfile, timeout=timeout)[0]


def run_suites(args, tree, build_dir, logfile, failures=None):
    """Returns (failed suite or None, seconds per suite).  With --every-test
    the C++ suite runs to the end and the names of its failing tests are
    appended to `failures`."""
    env = dict(os.environ, FENNEL_DSP_PLANNER="estimate")
    times = {}
    if args.suite in ("cpp", "both"):
        stop = [] if args.every_test else ["--stop-on-failure"]
        out = Path(str(logfile) + ".ctest")
        out.write_text("")
        rc, times["cpp"] = run(["ctest", "-j2", "--timeout", "300"] + stop, cwd=build_dir, env=env,
                               timeout=args.timeout, out=out)
        text = out.read_text()
        with open(logfile, "a") as f:
            f.write(text)
        if failures is not None:
            failures += re.findall(r"^\s*\d+ - (.+) \([^()]*\)\s*$", text, re.M)
        if rc != 0:
            return "cpp" if rc != -9 else "cpp-timeout", times
    if args.suite in ("python", "both"):
        penv = dict(env, FENNEL_DSP_LIB_DIR=str(build_dir / "lib"), PYTHONPATH=str(tree / "python"))
        rc, times["python"] = run([args.python, "-m", "pytest", "-x", "-q", "-p", "no:cacheprovider",
                                   str(tree / "tests" / "python")], cwd=tree, env=penv,
                                  timeout=args.timeout, out=logfile)
        if rc != 0:
            return "python" if rc != -9 else "python-timeout", times
    return None, times


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--source", default="HEAD", help="revision or directory of the library source")
    ap.add_argument("--tests", default=None, help="revision or directory of tests/ and python/ "
                    "(default: the source's)")
    ap.add_argument("--suite", choices=["cpp", "python", "both"], default="both")
    ap.add_argument("--only", default="", help="comma-separated name prefixes of mutants to run")
    ap.add_argument("--scratch", default="/tmp/fennel-mutants", help="scratch tree and build")
    ap.add_argument("--timeout", type=int, default=1200, help="seconds per suite run")
    ap.add_argument("--python", default="/usr/bin/python3", help="interpreter with numpy and pytest")
    ap.add_argument("--list", action="store_true", help="only report which mutants apply")
    ap.add_argument("--every-test", action="store_true", help="run the whole C++ suite on each "
                    "mutant and record every failing test (which tests kill which mutant)")
    args = ap.parse_args()
    args.tests = args.tests or args.source

    names = [m[0] for m in MUTANTS]
    assert len(names) == len(set(names)), "duplicate mutant names"
    chosen = [m for m in MUTANTS
              if not args.only or any(m[0].startswith(p) for p in args.only.split(","))]

    scratch = Path(args.scratch).resolve()
    scratch.mkdir(parents=True, exist_ok=True)
    tree = prepare(args, scratch)
    fft = tree / "Source" / "FFT"
    if args.list:
        for name, file, text, _, what in chosen:
            p = fft / file
            n = p.read_text().count(text) if p.exists() else 0
            log(f"{name:36s} {'x' + str(n) if n else 'not applicable':>16s}  {file}")
        return 0

    build_dir = scratch / "build"
    logfile = scratch / "run.log"
    logfile.write_text("")
    log(f"source {args.source}, tests {args.tests}, suite {args.suite}, {len(chosen)} mutants")
    if build(tree, build_dir, [], logfile, None) != 0:
        log(f"baseline build failed, see {logfile}")
        return 2
    failed, times = run_suites(args, tree, build_dir, logfile)
    if failed:
        log(f"baseline suite fails ({failed}), see {logfile}")
        return 2
    log("baseline passes: " + ", ".join(f"{k} {v:.0f}s" for k, v in times.items()))

    results = scratch / "results.jsonl"
    counts = {"killed": 0, "survived": 0, "not applicable": 0, "no build": 0}
    survivors = []
    with open(results, "w") as out:
        for name, file, text, repl, what in chosen:
            path = fft / file
            original = path.read_text() if path.exists() else ""
            n = original.count(text)
            t0 = time.time()
            by = None
            failed = []
            if n == 0:
                verdict = "not applicable"
            else:
                path.write_text(original.replace(text, repl))
                try:
                    with open(logfile, "a") as f:
                        f.write(f"\n==== {name}\n")
                    if build(tree, build_dir, ["fennel_dsp", "fennel_tests"], logfile, 1800) != 0:
                        verdict = "no build"
                    else:
                        by, _ = run_suites(args, tree, build_dir, logfile, failed)
                        verdict = "killed" if by else "survived"
                finally:
                    path.write_text(original)
            counts[verdict] += 1
            if verdict == "survived":
                survivors.append(name)
            rec = {"name": name, "file": file, "verdict": verdict, "by": by, "what": what,
                   "occurrences": n, "seconds": round(time.time() - t0)}
            if args.every_test:
                rec["failed_tests"] = failed
            out.write(json.dumps(rec) + "\n")
            out.flush()
            log(f"{name:36s} {verdict + (' (' + by + ')' if by else ''):20s} {rec['seconds']:5d}s  {what}")
    # Leave the scratch build matching the unmutated source.
    build(tree, build_dir, ["fennel_dsp", "fennel_tests"], logfile, None)
    log("total: " + ", ".join(f"{k} {v}" for k, v in counts.items()))
    if survivors:
        log("survived: " + " ".join(survivors))
    return 0


if __name__ == "__main__":
    sys.exit(main())

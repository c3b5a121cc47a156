#!/usr/bin/env python3
"""Mutation run: applies one small source fault at a time to a scratch copy of
the tree, rebuilds the library and the C++ tests, runs the test suites and
reports which faults the tests catch.

Each mutant is (name, file under Source/FFT (the header as ../../include/...), exact source text, replacement,
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
     "const bool copy_out = kFftw[sizeof(R) == 4].alignment_of(out) != 0;", "const bool copy_out = false;",
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
    ("fft-mirror-lanes-not-conjugated", "transforms/spectrum.cpp",
     "6, 15, 4, 13, 2, 11, 0, 9", "6, 7, 4, 5, 2, 3, 0, 1",
     "the mirrored half of contiguous real spectra is not conjugated"),
    ("fft-spread-nyquist-unwritten", "transforms/spectrum.cpp",
     "if (N % 2 == 0) out[N / 2] = half[N / 2];", "",
     "a real 1D FFT of even length into a misaligned output leaves the Nyquist bin unset"),
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
    # ---- planning policy and wisdom files
    ("planning-measures-in-caller", "dft/planning/planner.cpp",
     "if (effort >= 2 || mode != Mode::kBackground) {", "if (true) {",
     "a first call measures in the caller's thread"),
    ("planning-wisdom-unused", "dft/planning/planner.cpp",
     "if (RawPlan *plan = engine::MakeRawPlanHow(problem, how)) return plan;\n    how.wisdom_only = false;",
     "how.wisdom_only = false;",
     "a geometry wisdom knows gets an estimated plan"),
    ("planning-never-measured", "dft/planning/planner.cpp",
     "if (CountRun(engine::SpecOf(plan)) == kMeasureAfter) Enqueue(engine::SpecOf(plan));",
     "CountRun(engine::SpecOf(plan));",
     "estimated plans are never measured"),
    ("planning-measures-in-estimate-mode", "dft/planning/planner.cpp",
     "if (CurrentMode() != Mode::kBackground) return;", "",
     "the reproducible setting measures in the background"),
    ("planning-switch-within-call", "dft/engine/dfti_fftw.cpp",
     "    RawPlan *&plan = d->plans[forward];",
     "    RefreshPlans(d);\n    RawPlan *&plan = d->plans[forward];",
     "a descriptor switches plans between the computations of one call"),
    ("planning-kept-plans-never-switch", "dft/engine/dfti_fftw.cpp",
     "for (int k = 0; d->attached_plans && k < 4; ++k)", "for (int k = 0; false && k < 4; ++k)",
     "plans a family keeps with a descriptor stay estimated"),
    ("planning-thread-never-stopped", "dft/planning/planner.cpp",
     "    b->quit = true;\n    b->cv.notify_all();", "    b->cv.notify_all();",
     "unloading never ends the planner thread"),
    ("planning-fork-unguarded", "dft/planning/planner.cpp",
     "pthread_atfork(&PrepareFork, &ParentAfterFork, &ChildAfterFork);",
     "(void)&PrepareFork; (void)&ParentAfterFork; (void)&ChildAfterFork;",
     "a process forked during a measurement is left with a held planner lock"),
    ("wisdom-stale-file-read", "dft/planning/wisdom_file.cpp",
     "std::memcmp(text, header.data(), header.size()) != 0", "std::memcmp(text, header.data(), 20) != 0",
     "wisdom of another FFTW version or machine is read"),
    ("wisdom-checksum-ignored", "dft/planning/wisdom_file.cpp",
     "if (n > size - start || Fnv1a(text + start, n) != sum) return false;",
     "if (n > size - start) return false;",
     "a damaged wisdom file is read"),
    ("wisdom-written-in-place", "dft/planning/wisdom_file.cpp",
     "const int fd = open(temp.c_str(),", "const int fd = open(path.c_str(),",
     "a reader can see a half-written wisdom file"),
    ("wisdom-not-merged", "dft/planning/wisdom_file.cpp",
     "    LoadWisdomFile(precision);\n    const std::string text = Pack(precision);",
     "    const std::string text = Pack(precision);",
     "a save drops the wisdom other processes wrote"),
    # ---- added for the tests that no earlier mutant singled out
    ("upsample-guard-off-by-one", "resampling/upsample.cpp",
     "if (BitLength(n) + BitLength(factor) >= 31)", "if (BitLength(n) + BitLength(factor) >= 32)",
     "an upsampled length of 2^31 passes the guard"),
    ("keep-input-never-copies", "frame/call_frame.h",
     "if (!aliased) return STATUS_OK;", "return STATUS_OK;",
     "one array passed as input and output is overwritten while it is read"),
    ("full-row-straddle-not-conjugated", "transforms/spectrum.h",
     "-0.0f - m[2 * k + 1]", "m[2 * k + 1]",
     "streamed complex-float rows lose a conjugate in the pair that straddles the half"),
    ("expand-stage-bound-short", "transforms/spectrum2d.h",
     "const ptrdiff_t lo = (J * half + Cols - 1) / Cols;", "const ptrdiff_t lo = (J * half) / Cols;",
     "the staged expansion overwrites packed rows it has not read"),
    ("expand-placed-off-by-one", "transforms/spectrum2d.h",
     "PlaceRow(X, q, Cols, m, m >= J, stream);", "PlaceRow(X, q, Cols, m, m > J, stream);",
     "the staged expansion reads a placed mirror row as packed"),
    ("load-env-restored-when-empty", "host/library_load.cpp",
     "if (state.restore_env && state.saved_env[0] != '\\0')", "if (state.restore_env)",
     "an empty saved variable is written back at unload"),
    ("load-runtime-kept-without-core", "host/library_load.cpp",
     "    if (state.core_module == nullptr) {\n        os.free_module(state.openmp_module);",
     "    if (state.core_module == nullptr) {\n        (void)0;",
     "a failed core load leaves the threading runtime loaded"),
    ("load-registry-no-separator", "host/library_load.cpp",
     "if (!EndsInBackslash(state.path)) Append(state.path, 512, L\"\\\\\");", "",
     "a registry folder without a trailing separator gives a wrong path"),
    ("load-last-module-wins", "host/library_load.cpp",
     "if ((module = os.find_loaded_module(name)) != nullptr) break;",
     "if (os.find_loaded_module(name) != nullptr) module = os.find_loaded_module(name);",
     "the engine folder comes from the last loaded module name, not the first"),
    ("load-no-registry-fallback", "host/library_load.cpp",
     "if (FindModuleDirectory(state) && LoadEngine(state, state.path) == 1) return 1;",
     "if (FindModuleDirectory(state)) return LoadEngine(state, state.path);",
     "a module folder without the engine does not fall back to the registry"),
    ("load-thread-buffers-kept", "host/library_load.cpp",
     "if (free_buffers != nullptr) free_buffers();", "(void)free_buffers;",
     "thread detach leaves the engine's thread buffers"),
    ("host-service-cached-across-modules", "host/host_services.cpp",
     "if (function == nullptr || record.module.load(std::memory_order_relaxed) != module) {",
     "if (function == nullptr) {",
     "a service found in one host module is called after the host module changed"),
    ("host-thread-slot-ignored", "host/host_services.cpp",
     "if (value != nullptr) return value;", "(void)value;",
     "the thread's host module slot is ignored"),
    ("host-module-order-swapped", "host/host_services.cpp",
     "module = os.find_loaded_module(L\"fnrt.dll\");\n    if (module == nullptr) module = os.find_loaded_module(L\"fnffrt.dll\");",
     "module = os.find_loaded_module(L\"fnffrt.dll\");\n    if (module == nullptr) module = os.find_loaded_module(L\"fnrt.dll\");",
     "the development runtime is preferred to the run-time engine"),
    ("decimate-float-sum-order", "resampling/decimate.cpp",
     "float sum = (p0 + p2) + (p1 + p3);", "float sum = (p0 + p1) + (p2 + p3);",
     "float averages are summed in another order (results change in the last bits)"),
    ("decimate-count-short", "resampling/decimate.cpp",
     "const int32_t count = n / factor;", "const int32_t count = (n - 1) / factor;",
     "decimation drops the last output sample when factor divides n"),
    ("resample-interpolation-slope-dropped", "resampling/rational_resampler.cpp",
     "taps[j] = static_cast<R>(g + d * (p - static_cast<double>(i)));", "taps[j] = static_cast<R>(g);",
     "linear interpolation of the prototype falls back to the lower tap"),
    ("fast-length-skips-seven", "correlation/correlation_core.cpp",
     "for (int64_t factor : {7, 5, 3, 2}) {", "for (int64_t factor : {5, 3, 2}) {",
     "transform lengths skip 7-smooth sizes (slower, other rounding)"),
    ("gauss-default-sigma", "filters/gaussian_kaiser.cpp",
     "if (!(sigma > R(0))) sigma = static_cast<R>(0.2);", "if (sigma < R(0)) sigma = static_cast<R>(0.2);",
     "sigma 0 or NaN is used as given instead of the default"),
    ("kaiser-step-off", "filters/gaussian_kaiser.cpp",
     "const double step = 2.0 / static_cast<double>(n);", "const double step = 2.0 / static_cast<double>(n - 1);",
     "Kaiser windows are stretched by one sample"),
    ("power-dc-in-element-precision", "spectra/power_spectrum.cpp",
     "out[0] = static_cast<R>(r0 * scale * r0);", "out[0] = static_cast<R>(static_cast<R>(r0 * r0) * scale);",
     "the DC power of single-precision data is rounded twice"),
    ("full3d-page-mirror", "transforms/full_spectrum_3d.cpp",
     "const ptrdiff_t mp = p == 0 ? 0 : pages - p;", "const ptrdiff_t mp = p;",
     "the threaded real 3D spectrum takes mirrors from the wrong page"),
    ("full-row-double-stream-not-conjugated", "transforms/spectrum.h",
     "_mm_move_sd(_mm_sub_pd(negZero, v), v)", "v",
     "streamed complex-double rows lose the conjugate of their mirrored half"),
    ("corr2d-size-guard-skipped", "correlation/correlation_2d.cpp",
     "if (!PassesSizeGuard(dims)) return STATUS_OUT_OF_MEMORY;", "",
     "2D correlation outputs of 2^31 elements are attempted"),
    ("trig-record-second-leaked", "dft/plan.cpp",
     "if (second != nullptr && DftiFreeDescriptor(&record->second) != 0)", "if (false)",
     "freeing a 2D DCT record leaks its second descriptor"),
    ("resample-fraction-not-carried", "resampling/rational_resampler.cpp",
     "state->fraction = clock.f;", "state->fraction = 0;",
     "a stream cut into blocks loses the fractional position between blocks"),
    ("resample-seen-not-counted", "resampling/rational_resampler.cpp",
     "state->samplesSeen += static_cast<double>(n);", "",
     "the first output time of later blocks is wrong"),
    ("resample-history-rows-shared", "resampling/rational_resampler.cpp",
     "const T *row = block + static_cast<int64_t>(ch) * n;", "const T *row = block;",
     "every channel keeps the first channel's samples as history"),
    ("linux-thread-slot-unread", "platform/platform_linux.cpp",
     "void *TlsGet(uint32_t index) { return pthread_getspecific(static_cast<pthread_key_t>(index)); }",
     "void *TlsGet(uint32_t) { return nullptr; }",
     "on Linux the thread's host module slot is never read"),
    ("linux-main-module-not-global", "platform/platform_linux.cpp",
     "return dlsym(module == &g_main_token ? RTLD_DEFAULT : module, name);",
     "return dlsym(module, name);",
     "on Linux the main program's services are looked up in the wrong scope"),
    ("full-row-float-stream-zero-sign", "transforms/spectrum.h",
     "_mm_andnot_ps(realLanes, _mm_sub_ps(negZero, w))", "_mm_andnot_ps(realLanes, _mm_sub_ps(_mm_setzero_ps(), w))",
     "streamed complex-float rows give +0 where the other paths give -0"),
    ("resample-antialias-stretch-inverted", "resampling/rational_resampler.cpp",
     "? interpolation / ratio :", "? interpolation * ratio :",
     "anti-aliased decimation squeezes the taps instead of stretching them"),
    ("resample-centre-shifted", "resampling/rational_resampler.cpp",
     "P.c = (static_cast<double>(M) - 1.0) / 2.0;", "P.c = static_cast<double>(M) / 2.0;",
     "the prototype's centre is half a tap off: every output is delayed"),
    ("conv-blocked-axpy-shifted", "correlation/correlation_core.cpp",
     "Axpy(block, a[i], b + s, 1, dest + s + i, 1);", "Axpy(block, a[i], b + s, 1, dest + s + i + 1, 1);",
     "blocked direct convolution adds each block one sample late"),
    ("fftmd-pad-not-zeroed", "transforms/fftmd_core.h",
     "std::memset(static_cast<void *>(ws.data()), 0, sizeof(T) * static_cast<size_t>(total));", "",
     "zero-padded 2D/3D transforms pad with whatever the workspace held"),
    ("plan-never-reused", "dft/plan.cpp",
     "if (Matches(*kept, g)) {", "if (false && Matches(*kept, g)) {",
     "every call makes a new plan (slow, and measured plans are planned again)"),
    ("trig-record-never-reused", "dft/plan.cpp",
     "} else if (r->tag != tag || r->sizes != sizes) {", "} else if (true) {",
     "the 2D DCT/DST record is planned again on every call"),
    ("resize-always-calls-host", "frame/host_array.h",
     "        if (same) return STATUS_OK;\n        int32_t total = 1;", "        int32_t total = 1;",
     "outputs of the right size are resized again (a host call per output per call)"),
    ("conv-mode-unchecked", "correlation/convolution.cpp",
     "        default: return STATUS_BAD_SELECTOR;", "        default: length = full; break;",
     "an unknown output mode of 1D convolution is taken as full"),
    ("corr2d-algorithm-unchecked", "correlation/correlation_2d.cpp",
     "if (algorithm != 0 && algorithm != 1) return STATUS_BAD_SELECTOR;", "",
     "an unknown algorithm of the 2D family is taken as direct"),
    ("spectrum-length-unchecked", "spectra/cross_power.cpp",
     "if (length < 0) return STATUS_BAD_SELECTOR;", "",
     "a cross power spectrum of an unknown type is computed"),
    ("corr2d-same-row-centre", "correlation/correlation_core.h",
     "const T *from = full + (rowsB / 2) * width + colsB / 2;",
     "const T *from = full + ((rowsB - 1) / 2) * width + colsB / 2;",
     "2D `same` results are cut one row off for even kernel heights"),
    ("trig-free-first-unchecked", "dft/plan.cpp",
     "if (record->first != nullptr && DftiFreeDescriptor(&record->first) != 0)",
     "if (DftiFreeDescriptor(&record->first) != 0)",
     "freeing a 2D DCT/DST record whose first pass was never planned fails"),
    ("multich-row-distance-unpadded", "transforms/multichannel_fft.cpp",
     "if (!columns) c.distance = n;", "",
     "padded or cropped row channels are read a wrong distance apart"),
    ("dct2d-rows-last-column-dropped", "transforms/dct_dst_2d.cpp",
     "const Pass<T, true> rows{chunk, x, C, std::min(C, L1), L1, out, L1};",
     "const Pass<T, true> rows{chunk, x, C, std::min(C, L1) - 1, L1, out, L1};",
     "the 2D DCT/DST row pass leaves out the last input column"),
    ("invdct-parity-exception-dropped", "dft/plan.cpp",
     "(!g.any_domain && k.domain != g.domain)", "(k.domain != g.domain)",
     "the inverse DCT rebuilds where the plan-handle rules keep the other parity's plan"),
    # ---- the public header's selector values (path from Source/FFT)
    ("header-output-same-value", "../../include/fennel_dsp.h",
     "OUTPUT_SAME = 1,", "OUTPUT_SAME = 2,",
     "OUTPUT_SAME selects the valid part"),
    ("header-biased-value", "../../include/fennel_dsp.h",
     "NORMALIZATION_BIASED = 2", "NORMALIZATION_BIASED = 1",
     "NORMALIZATION_BIASED selects the unbiased estimate"),
    ("header-lowpass-value", "../../include/fennel_dsp.h",
     "FILTER_LOWPASS = 0,", "FILTER_LOWPASS = 1,",
     "FILTER_LOWPASS designs a highpass"),
    ("header-status-text-swapped", "../../include/fennel_dsp.h",
     "case STATUS_EMPTY_ARRAY: return \"STATUS_EMPTY_ARRAY: an input array is empty\";",
     "case STATUS_EMPTY_ARRAY: return \"STATUS_EMPTY_OPERAND: an input array is empty\";",
     "the status text names another status"),
    # ---- one skipped cleanup per family
    ("skip-dct1d-empty-at-exit-ws", "transforms/dct_dst.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "dct1d: leaves a workspace filled (ws)"),
    ("skip-dct1d-release-on-fail-frame", "transforms/dct_dst.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "dct1d: keeps its plan on failure (frame)"),
    ("skip-fft1d-empty-at-exit-ws", "transforms/fft1d.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "fft1d: leaves a workspace filled (ws)"),
    ("skip-fft1d-release-on-fail-frame", "transforms/fft1d.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "fft1d: keeps its plan on failure (frame)"),
    ("skip-fftmd-empty-at-exit-ws", "transforms/fftmd_core.h",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "fftmd: leaves a workspace filled (ws)"),
    ("skip-fftmd-release-on-fail-frame", "transforms/fftmd_core.h",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "fftmd: keeps its plan on failure (frame)"),
    ("skip-multich-empty-at-exit-ws", "transforms/multichannel_fft.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "multich: leaves a workspace filled (ws)"),
    ("skip-multich-release-on-fail-frame", "transforms/multichannel_fft.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "multich: keeps its plan on failure (frame)"),
    ("skip-dct2d-empty-at-exit-ws", "transforms/dct_dst_2d.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "dct2d: leaves a workspace filled (ws)"),
    ("skip-dct2d-release-on-fail-frame", "transforms/dct_dst_2d.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "dct2d: keeps its plan on failure (frame)"),
    ("skip-power-empty-at-exit-ws", "spectra/power_spectrum.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "power: leaves a workspace filled (ws)"),
    ("skip-power-release-on-fail-frame", "spectra/power_spectrum.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "power: keeps its plan on failure (frame)"),
    ("skip-cross-empty-at-exit-ws", "spectra/cross_power.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "cross: leaves a workspace filled (ws)"),
    ("skip-cross-empty-on-fail-ph", "spectra/cross_power.cpp",
     "frame.EmptyOnFailure(ph);", "(void)0;",
     "cross: leaves an output filled on failure (ph)"),
    ("skip-conv-release-on-fail-frame", "correlation/convolution.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "conv: keeps its plan on failure (frame)"),
    ("skip-corrcore-release-on-fail-frame", "correlation/correlation_core.cpp",
     "plan.ReleaseOnFailure(frame);", "(void)0;",
     "corrcore: keeps its plan on failure (frame)"),
    ("skip-corr1d-empty-on-fail-out", "correlation/correlation.cpp",
     "frame.EmptyOnFailure(out);", "(void)0;",
     "corr1d: leaves an output filled on failure (out)"),
    ("skip-resample-empty-on-fail-histB", "resampling/rational_resampler.cpp",
     "frame.EmptyOnFailure(histB);", "(void)0;",
     "resample: leaves an output filled on failure (histB)"),
    ("skip-resample-zero-on-fail-state", "resampling/rational_resampler.cpp",
     "frame.ZeroOnFailure(state, kStateBytes);", "(void)0;",
     "resample: leaves the stream state on failure (state)"),
    ("skip-decimate-empty-on-fail-out", "resampling/decimate.cpp",
     "frame.EmptyOnFailure(out);", "(void)0;",
     "decimate: leaves an output filled on failure (out)"),
    ("skip-upsample-empty-on-fail-out", "resampling/upsample.cpp",
     "frame.EmptyOnFailure(out);", "(void)0;",
     "upsample: leaves an output filled on failure (out)"),
    ("skip-window-empty-on-fail-array", "filters/window_kernels.h",
     "frame.EmptyOnFailure(array);", "(void)0;",
     "window: leaves an output filled on failure (array)"),
    ("skip-symwin-empty-at-exit-ws", "filters/cosine_windows.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "symwin: leaves a workspace filled (ws)"),
    ("skip-iir-empty-at-exit-tail", "filters/iir_filter.cpp",
     "frame.EmptyAtExit(tail);", "(void)0;",
     "iir: leaves a workspace filled (tail)"),
    ("skip-iir-empty-on-fail-rstate", "filters/iir_filter.cpp",
     "frame.EmptyOnFailure(rstate);", "(void)0;",
     "iir: leaves an output filled on failure (rstate)"),
    ("skip-iir-empty-at-exit-ws", "filters/iir_filter.cpp",
     "frame.EmptyAtExit(ws);", "(void)0;",
     "iir: leaves a workspace filled (ws)"),
    ("skip-fir-empty-on-fail-out", "filters/fir_design.cpp",
     "frame.EmptyOnFailure(out);", "(void)0;",
     "fir: leaves an output filled on failure (out)"),
    # ---- window, FIR and IIR arithmetic past the documented cases, and the
    # binding's window calls (python/ paths are relative to Source/FFT)
    ("win-terms-steps-swapped", "filters/cosine_windows.cpp",
     "term[4 * q + 1] = __builtin_shufflevector(hi01, hi23, 0, 1, 4, 5);",
     "term[4 * q + 1] = __builtin_shufflevector(hi01, hi23, 0, 4, 1, 5);",
     "three- to seven-term windows put two samples' second term in each other's place"),
    ("win-terms-even-middle-unrotated", "filters/cosine_windows.cpp",
     "for (int q = 0; q < G; ++q) c[q] = c[q] - (al[q] * c[q] + be[q] * s[q]);",
     "for (int q = 0; q < 0; ++q) c[q] = c[q];",
     "the middle sample of an even three- to seven-term window is wrong"),
    ("win-seven-terms-short", "filters/cosine_windows.cpp",
     "case 7: RotateTermsAndApply<T, 7>(x, n, C, S, alpha, beta);",
     "case 7: RotateTermsAndApply<T, 5>(x, n, C, S, alpha, beta);",
     "the seven-term window drops its two smallest terms"),
    ("win-five-terms-short", "filters/cosine_windows.cpp",
     "case 5: RotateTermsAndApply<T, 5>(x, n, C, S, alpha, beta);",
     "case 5: RotateTermsAndApply<T, 4>(x, n, C, S, alpha, beta);",
     "the five-term windows drop their smallest term"),
    ("kaiser-series-cut-early", "filters/gaussian_kaiser.cpp",
     "if (!(term > 1e-8)) break;", "if (!(term > 1e-5)) break;",
     "Kaiser values off by up to 1e-5"),
    ("fir-bandpass-gain-at-upper-edge", "filters/fir_design.cpp",
     "const double delta = -kPi * (f1 + f2) / fs;", "const double delta = -kPi * (f2 + f2) / fs;",
     "a normalised bandpass has unit gain at its upper edge, not its centre"),
    ("fir-lowpass-gain-skips-tap", "filters/fir_design.cpp",
     "for (int32_t i = 4; i < m; ++i) lane[i % 4] = lane[i % 4] + h[i];",
     "for (int32_t i = 5; i < m; ++i) lane[i % 4] = lane[i % 4] + h[i];",
     "normalised lowpass and bandstop gains leave out the fifth tap"),
    ("iir-fused-old-feedback-group", "filters/iir_filter.cpp",
     "for (int t = 1; t < kOld; ++t) {", "for (int t = 1; t + 1 < kOld; ++t) {",
     "real filters of order 12 or more drop their oldest feedback taps on long blocks"),
    ("iir-fused-forward-group", "filters/iir_filter.cpp",
     "for (int t = 1; t < Q / 4; ++t) {", "for (int t = 1; t + 1 < Q / 4; ++t) {",
     "real filters of 5 or more taps drop their newest forward taps on long blocks"),
    ("iir-cfloat-oldest-state", "filters/iir_filter.cpp",
     "\n            FeedbackOutputs<P>(yr, n, ap, Pn, a, na, sr, g);",
     "\n            FeedbackOutputs<P>(yr, n, ap, Pn, a, na - 1, sr, g);",
     "complex float filters forget the oldest carried output at each block start"),
    ("iir-cdouble-state-ignored", "filters/iir_filter.cpp",
     "sr[(order - (k - i)) * P + c];", "R(0);",
     "complex double filters start the feedback of every block from rest"),
    ("py-window-normalize-dropped", "../../python/fennel_dsp/windows.py",
     "int(window_type), int(bool(normalize)), ws.handle)", "int(window_type), 0, ws.handle)",
     "cosine_window ignores normalize"),
    ("py-fir-normalize-dropped", "../../python/fennel_dsp/windows.py",
     "float(window_parameter), int(bool(normalize)), ws.handle)",
     "float(window_parameter), 0, ws.handle)",
     "fir_windowed_coefficients ignores normalize"),
    ("py-symmetric-parameter-dropped", "../../python/fennel_dsp/windows.py",
     "int(window_type), float(parameter), ws.handle)", "int(window_type), 0.0, ws.handle)",
     "symmetric_window ignores its parameter (no Kaiser, default Gaussian)"),
    ("py-iir-reset-ignored", "../../python/fennel_dsp/windows.py",
     "self._init = 1", "self._init = 0",
     "IIRFilter.reset does not restart the filter from rest"),
    ("py-next-fast-len-skips-sevens", "../../python/fennel_dsp/fourier.py",
     "p7 *= 7", "p7 *= 49", "next_fast_len skips lengths with a factor 7"),
    ("py-kept-shape-ignored", "../../python/fennel_dsp/_native.py",
     "if x.shape != self.shape:", "if self.shape is None:",
     "a kept input array is not resized for a call of another shape"),
    ("py-direct-full-not-mirrored", "transforms/strided_fft.cpp",
     "if (direction == 2) FillMirrored<T>(", "if (direction == 3) FillMirrored<T>(",
     "large real FFTs on the caller's array leave the negative frequencies unset"),
    ("py-direct-scale-skipped", "../../python/fennel_dsp/fourier.py",
     "    if f != 1.0:\n        y *= f", "    if False:\n        y *= f",
     "large FFTs on the caller's array are not normalised"),
    ("py-small-result-not-copied", "../../python/fennel_dsp/_native.py",
     "            return self.view.copy()", "            return self.view",
     "a small result is the kept array itself, overwritten by the next call"),
    ("plan-reuse-ignores-output-strides", "dft/plan.cpp",
     "if (k.input_strides[i] != in[i] || (outputs && k.output_strides[i] != out[i])) return false;",
     "if (k.input_strides[i] != in[i]) return false;",
     "a plan that writes another output layout is reused"),
    ("plan-reuse-ignores-domain", "dft/plan.cpp",
     "(!g.any_domain && k.domain != g.domain)", "false",
     "a complex plan is reused for real data of the same length, or the reverse"),
    ("plan-reuse-ignores-backward-layout", "dft/plan.cpp",
     "if (k.backward_layout != g.backward_layout) return false;", "",
     "a plan with its own backward layout is reused for one without"),
    ("symwin-gauss-default-sigma", "filters/symmetric_windows.cpp",
     "if (!(param > R(0))) param = static_cast<R>(0.2);",
     "if (!(param > R(0))) param = static_cast<R>(0.25);",
     "a symmetric Gaussian without a valid sigma takes 0.25"),
    ("fir-bandstop-sign", "filters/fir_design.cpp",
     "default: v = (std::sin(a1) - std::sin(a2)) / divisor; break;",
     "default: v = (std::sin(a2) - std::sin(a1)) / divisor; break;",
     "bandstop taps off the centre have the bandpass's sign"),
    ("fir-bandstop-centre", "filters/fir_design.cpp",
     "default: centre = 1.0 - 2.0 * (f2 - f1) / fs; break;",
     "default: centre = 1.0 - 2.0 * (f2 + f1) / fs; break;",
     "the bandstop's centre tap is wrong"),
    ("py-lfilter-join-carry-sign", "../../python/ext/fennel_fast.c",
     "row[l] -= c * mk[l];", "row[l] += c * mk[l];",
     "lfilter over joined rows adds the previous row's decay instead of removing it"),
    ("py-lfilter-zi-dropped", "../../python/fennel_dsp/signal.py",
     "            y[:, :G.shape[1]] += zr @ G",
     "            pass",
     "lfilter ignores zi on rows filtered one by one"),
    ("py-lfilter-complex-a-not-conjugated", "../../python/fennel_dsp/signal.py",
     "b = np.convolve(b, np.conj(a))",
     "b = np.convolve(b, a)",
     "lfilter with a complex denominator filters by the wrong numerator"),
    ("py-lfilter-short-row-state", "../../python/fennel_dsp/signal.py",
     "if zr is not None and i + n < K:",
     "if False:",
     "lfilter's final state drops zi's remainder for rows shorter than the state"),
    ("py-lfilter-unstable-joined", "../../python/fennel_dsp/signal.py",
     "K <= n <= _JOIN_ROWS_UP_TO and n > 0 and _stable(ca):",
     "K <= n <= _JOIN_ROWS_UP_TO and n > 0:",
     "lfilter joins the rows of an unstable filter, whose carried state never decays"),
    ("py-lfilter-complex-b-imag-dropped", "../../python/fennel_dsp/signal.py",
     "_filter_rows(b.real, a, rows) + 1j * _filter_rows(b.imag, a, rows)",
     "_filter_rows(b.real, a, rows) + 0j",
     "lfilter drops the imaginary part of a complex numerator"),
    ("py-lfilter-not-normalised", "../../python/fennel_dsp/signal.py",
     "bn[:len(b)] = cb / ca[0]",
     "bn[:len(b)] = cb",
     "lfilter's states ignore a[0] != 1"),
    ("py-fast-inverse-forward-norm", "../../python/fennel_dsp/fourier.py",
     "        return math.sqrt(n) if code == 1 else float(n)",
     "        return math.sqrt(n) if code == 1 else 1.0",
     "small inverse FFTs with norm='forward' are not scaled by n"),
    ("py-fast-dct-forward-norm", "../../python/fennel_dsp/fourier.py",
     "g = (math.sqrt(2.0 * m), 1.0, 1.0 / math.sqrt(2.0 * m))[code]",
     "g = (math.sqrt(2.0 * m), 1.0, 1.0 / math.sqrt(m))[code]",
     "small DCTs with norm='forward' are scaled by 1/sqrt(n) instead of 1/sqrt(2n)"),
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
            # Only the list of failures, not that of skipped tests.
            failed_list = text.split("The following tests FAILED:")[-1] if "FAILED:" in text else ""
            failures += re.findall(r"^\s*\d+ - (.+) \([^()]*\)\s*$", failed_list, re.M)
        if rc != 0 and not args.every_test:
            return "cpp" if rc != -9 else "cpp-timeout", times
        cpp = None if rc == 0 else "cpp" if rc != -9 else "cpp-timeout"
    else:
        cpp = None
    if args.suite in ("python", "both"):
        penv = dict(env, FENNEL_DSP_LIB_DIR=str(build_dir / "lib"), PYTHONPATH=str(tree / "python"))
        # With --every-test pytest runs to the end (doctests too) and each
        # failing test function is recorded once, as py:<file>::<function>.
        stop = ["-rf", "--doctest-modules", str(tree / "python" / "fennel_dsp")] \
            if args.every_test else ["-x"]
        out = Path(str(logfile) + ".pytest")
        out.write_text("")
        rc, times["python"] = run([args.python, "-m", "pytest", "-q", "-p", "no:cacheprovider"]
                                  + stop + [str(tree / "tests" / "python")], cwd=tree, env=penv,
                                  timeout=args.timeout, out=out)
        text = out.read_text()
        with open(logfile, "a") as f:
            f.write(text)
        if failures is not None:
            for test in re.findall(r"^FAILED (\S+?)(?:\[.*)?(?: - .*)?$", text, re.M):
                name = "py:" + test.split("/tests/python/")[-1].split("/python/")[-1]
                if name not in failures:
                    failures.append(name)
        if rc != 0:
            return cpp or ("python" if rc != -9 else "python-timeout"), times
    return cpp, times


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
    ap.add_argument("--every-test", action="store_true", help="run both whole suites on each "
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
                    if build(tree, build_dir, ["fennel_dsp", "fennel_tests", "fennel_py_fast"], logfile, 1800) != 0:
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
    build(tree, build_dir, ["fennel_dsp", "fennel_tests", "fennel_py_fast"], logfile, None)
    log("total: " + ", ".join(f"{k} {v}" for k, v in counts.items()))
    if survivors:
        log("survived: " + " ".join(survivors))
    return 0


if __name__ == "__main__":
    sys.exit(main())

// The multi-dimensional FFT written once for two and three dimensions: the
// handle level (sizes, size guard, output resize) and the computing routines
// (zero padding through the workspace, cropping through the input strides,
// expansion of real spectra, centring and uncentring).  fft2d.cpp and
// fft3d.cpp map their exports' arguments onto it.
#pragma once

#include <algorithm>
#include <cstring>

#include "dft/plan.h"
#include "frame/host_array.h"
#include "transforms/sizes.h"
#include "transforms/full_spectrum_3d.h"
#include "transforms/spectrum2d.h"

namespace fennel::md {

template <int Rank>
int32_t Product(const int32_t (&n)[Rank]) {
    int32_t p = 1;
    for (int a = 0; a < Rank; ++a) p *= n[a];
    return p;
}

// Row-major strides of a block of sizes n, in the engine's form {0, s0, ...}.
template <int Rank>
void RowMajorStrides(const int32_t (&n)[Rank], MKL_LONG (&strides)[4]) {
    strides[0] = 0;
    MKL_LONG s = 1;
    for (int a = Rank - 1; a >= 0; --a) {
        strides[a + 1] = s;
        s *= n[a];
    }
}

template <class T, int Rank>
PlanGeometry Geometry(const int32_t (&lengths)[Rank], const int32_t (&inputDims)[Rank],
                      bool inverse) {
    PlanGeometry g;
    g.precision = kPrecisionOf<T>;
    g.domain = kDomainOf<T>;
    g.rank = Rank;
    for (int a = 0; a < Rank; ++a) g.lengths[a] = lengths[a];
    g.strides = true;
    RowMajorStrides(inputDims, g.input_strides);
    // A real forward transform writes its half spectrum packed (rows of
    // L/2 + 1 bins) at the start of the output, where FFTW writes fastest;
    // the expansion then spreads it to the output's own row stride.
    int32_t out[Rank];
    for (int a = 0; a < Rank; ++a) out[a] = lengths[a];
    if (!Traits<T>::kComplex && !inverse) out[Rank - 1] = lengths[Rank - 1] / 2 + 1;
    RowMajorStrides(out, g.output_strides);
    // The 3D family sets the storage for its complex members too, where it
    // has no effect.
    g.complex_complex = !Traits<T>::kComplex || Rank == 3;
    g.inverse = inverse;
    return g;
}

// Copies the leading min(n, L) block of x (sizes n) into w (sizes L).
template <class T, int Rank>
void CopyBlock(const T *x, const int32_t (&n)[Rank], T *w, const int32_t (&L)[Rank]) {
    const int32_t pages = Rank == 3 ? std::min(n[0], L[0]) : 1;
    const int32_t rows = std::min(n[Rank - 2], L[Rank - 2]);
    const size_t cols = static_cast<size_t>(std::min(n[Rank - 1], L[Rank - 1]));
    const ptrdiff_t xRow = n[Rank - 1], wRow = L[Rank - 1];
    const ptrdiff_t xPage = Rank == 3 ? xRow * n[1] : 0, wPage = Rank == 3 ? wRow * L[1] : 0;
    for (int32_t p = 0; p < pages; ++p)
        for (int32_t r = 0; r < rows; ++r)
            std::memcpy(static_cast<void *>(w + p * wPage + r * wRow), x + p * xPage + r * xRow,
                        sizeof(T) * cols);
}

// Full spectrum from the packed half spectrum of a real transform of sizes
// L: element (p, r, k) from the conjugate of ((P - p) mod P, (R - r) mod R, k).
// On as many threads as the engine gave the transform (one where the engine
// sets its own threads, the one bound on Windows).
template <class C, int Rank>
void Expand(C *X, const int32_t (&L)[Rank]) {
    const ptrdiff_t pages = Rank == 3 ? L[0] : 1;
    const ptrdiff_t rows = L[Rank - 2];
    ExpandPacked(
        X, pages * rows, L[Rank - 1],
        [pages, rows](ptrdiff_t q) {
            const ptrdiff_t p = q / rows, r = q - p * rows;
            return (p == 0 ? 0 : pages - p) * rows + (r == 0 ? 0 : rows - r);
        },
        Plan::ThreadsFor(pages * rows * L[Rank - 1]));
}

// Forward computing routine: the L-sized transform of x (sizes n), padded
// with zeros through the workspace where L exceeds n, cropped otherwise.
template <class T, int Rank>
int32_t ForwardCore(CallFrame &frame, const T *x, const int32_t (&n)[Rank],
                    typename Traits<T>::Complex *out, const int32_t (&L)[Rank], bool shift,
                    FDArrayHandle workspace, Plan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    bool pad = false;
    for (int a = 0; a < Rank; ++a) pad = pad || L[a] > n[a];
    const T *source = x;
    if (pad) {
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        frame.EmptyAtExit(ws);
        const int32_t total = Product(L);
        FENNEL_TRY(ws.Resize(total));
        std::memset(static_cast<void *>(ws.data()), 0, sizeof(T) * static_cast<size_t>(total));
        CopyBlock(x, n, ws.data(), L);
        source = ws.data();
    }
    const PlanGeometry g = Geometry<T>(L, pad ? L : n, false);
    FENNEL_TRY(plan.Acquire(g));
    if constexpr (!Traits<T>::kComplex && Rank == 3) {
        // The full spectrum straight from pages and rows where that pays.
        bool done = false;
        MKL_LONG rowMajor[4];
        RowMajorStrides(L, rowMajor);
        const bool sameLayout = std::equal(rowMajor, rowMajor + 4, g.input_strides);
        FENNEL_TRY(ForwardFull(plan, sameLayout, source, out, L, &done));
        if (done) {
            if (shift) CentreMd(out, L);
            return STATUS_OK;
        }
    }
    FENNEL_TRY(plan.Forward(source, out));
    if constexpr (!Traits<T>::kComplex) Expand(out, L);
    if (shift) CentreMd(out, L);
    return STATUS_OK;
}

// Inverse computing routine: the spectrum X of sizes n (natural order, or
// centred when shift) into n samples scaled by 1 / (product of n).
template <class T, int Rank>
int32_t InverseCore(CallFrame &frame, const typename Traits<T>::Complex *X, const int32_t (&n)[Rank],
                    T *out, bool shift, FDArrayHandle workspace, Plan plan) {
    using C = typename Traits<T>::Complex;
    plan.ReleaseOnFailure(frame);
    HostArray<C, 1> ws(workspace);
    const C *source = X;
    if (shift) {
        frame.EmptyAtExit(ws);
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        FENNEL_TRY(ws.Resize(Product(n)));
        UncentreCopyMd(X, ws.data(), n, !Traits<T>::kComplex);
        source = ws.data();
    }
    FENNEL_TRY(plan.Acquire(Geometry<T>(n, n, true)));
    return plan.Backward(source, out);
}

// Handle level of the forward transform; requested[a] <= 0 keeps the
// input's size in dimension a.
template <class T, int Rank>
int32_t Forward(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                const int32_t (&requested)[Rank], int32_t shift, FDArrayHandle workspace,
                FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, Rank> in(input);
    HostArray<C, Rank> out(output);
    frame.EmptyOnFailure(out, Traits<T>::kComplexTypeCode);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    int32_t n[Rank], L[Rank];
    FENNEL_TRY(ReadSizes(in, n));
    for (int a = 0; a < Rank; ++a) L[a] = requested[a] > 0 ? requested[a] : n[a];
    FENNEL_TRY(SizeOutput(out, L, Traits<T>::kComplexTypeCode));
    return ForwardCore<T>(frame, in.data(), n, out.data(), L, shift != 0, workspace,
                          Plan::Of(frame, plan));
}

// Handle level of the inverse transform: the output has the input's sizes.
template <class T, int Rank>
int32_t Inverse(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, Rank> in(input);
    HostArray<T, Rank> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    int32_t n[Rank];
    FENNEL_TRY(ReadSizes(in, n));
    FENNEL_TRY(SizeOutput(out, n));
    return InverseCore<T>(frame, in.data(), n, out.data(), shift != 0, workspace,
                          Plan::Of(frame, plan));
}

}  // namespace fennel::md

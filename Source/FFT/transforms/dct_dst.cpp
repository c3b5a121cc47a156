#include "transforms/dct_dst.h"

#include <algorithm>
#include <climits>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "transforms/dct_dst_kernels.h"

namespace fennel {
namespace {

using trig::Batch;
using trig::LineDft;
using trig::Pass;

// Reuse-or-rebuild; with anyDomain a kept descriptor of the other domain
// stays (the inverse DCT's parity rule).  *domain receives the domain of the
// descriptor in the slot.
int32_t AcquireLine(Plan plan, PlanGeometry g, bool anyDomain, DFTI_CONFIG_VALUE *domain) {
    g.any_domain = anyDomain;
    FENNEL_TRY(plan.Acquire(g));
    *domain = g.domain;
    return anyDomain ? plan.Domain(domain) : STATUS_OK;
}

PlanGeometry LineGeometry(DFTI_CONFIG_VALUE precision, const LineDft &dft) {
    return Geometry1D(precision, dft.domain, dft.length, !dft.forward);
}

template <class T>
Pass<T, true> Line(const T *x, int32_t n, T *out, int32_t N) {
    return Pass<T, true>{Batch<true>{1}, x, n, std::min(n, N), N, out, N};
}

// The prologue of every 1D computing routine: the plan is released when the
// call fails, the workspace (W elements) emptied when it ends; the workspace
// is sized for the DFT of `dft`, and the plan acquired for it.
template <class W>
int32_t PrepareLine(CallFrame &frame, int32_t n, HostArray<W, 1> &ws, const LineDft &dft,
                    DFTI_CONFIG_VALUE precision, bool anyDomain, Plan plan, DFTI_CONFIG_VALUE *domain) {
    plan.ReleaseOnFailure(frame);
    frame.EmptyAtExit(ws);
    if (n <= 0) return STATUS_EMPTY_ARRAY;
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    FENNEL_TRY(ResizeWorkspace(ws, dft.work));
    return AcquireLine(plan, LineGeometry(precision, dft), anyDomain, domain);
}

// Forward DCT computing routine: N outputs from n samples.
template <class T>
int32_t DCTCore(CallFrame &frame, const T *x, int32_t n, T *out, int32_t N, FDArrayHandle workspace,
                Plan plan) {
    HostArray<T, 1> ws(workspace);
    const LineDft dft = trig::DftFor(trig::kDCT, N);
    DFTI_CONFIG_VALUE domain;
    FENNEL_TRY(PrepareLine(frame, n, ws, dft, kPrecisionOf<T>, false, plan, &domain));
    return trig::DCTPass(Line(x, n, out, N), ws.data(), plan);
}

// The DST-I of n samples padded or cut to N, times factor.
template <class T>
int32_t DSTCore(CallFrame &frame, const T *x, int32_t n, T *out, int32_t N, T factor,
                FDArrayHandle workspace, Plan plan) {
    HostArray<T, 1> ws(workspace);
    const LineDft dft = trig::DftFor(trig::kDST, N);
    DFTI_CONFIG_VALUE domain;
    FENNEL_TRY(PrepareLine(frame, n, ws, dft, kPrecisionOf<T>, false, plan, &domain));
    return trig::DSTPass(Line(x, n, out, N), factor, ws.data(), plan);
}

// Inverse DCT computing routine.  The cached descriptor is kept whenever its
// length matches, so a slot last used with the other parity can hold the
// other domain (n = 3 finds the complex 6-point descriptor of n = 6, n = 6
// the real one of n = 3).  Both cases still give the DCT-III: odd n runs the
// complex descriptor on the conjugate-even extension of Z, even n runs the
// real one on the conjugate-even part of Z, whose inverse is Re u.
template <class T>
int32_t InvDCTCore(CallFrame &frame, const T *X, int32_t n, T *out, FDArrayHandle workspace,
                   Plan plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, 1> ws(workspace);
    const LineDft dft = trig::DftFor(trig::kInvDCT, n);
    DFTI_CONFIG_VALUE domain;
    FENNEL_TRY(PrepareLine(frame, n, ws, dft, kPrecisionOf<T>, true, plan, &domain));
    const Pass<T, true> line = Line(X, n, out, n);
    T *work = reinterpret_cast<T *>(ws.data());
    if (domain == dft.domain) return trig::InvDCTPass(line, work, plan);

    const ptrdiff_t len = n;
    if (n % 2 != 0) {
        // Complex 2n-point descriptor: E = Z0 .. Zn, then conj(Z(n-1)) .. conj(Z1).
        trig::PackInvDCT(line, work, len + 1, plan);
        Scratch<T> scratch(static_cast<size_t>(8 * len));
        if (!scratch.ok()) return STATUS_OUT_OF_MEMORY;
        T *e = scratch.get();
        T *u = e + 4 * len;
        std::copy(work, work + 2 * (len + 1), e);
        for (ptrdiff_t k = 1; k < len; ++k) {
            e[2 * (2 * len - k)] = work[2 * k];
            e[2 * (2 * len - k) + 1] = -work[2 * k + 1];
        }
        FENNEL_TRY(plan.Backward(e, u));
        for (ptrdiff_t i = 0; i < len; ++i) out[i] = u[2 * i];
        return STATUS_OK;
    }
    // Real n-point descriptor: P_k = (Z_k + conj Z_(n-k)) / 2 for k <= n/2
    // into the second half of the workspace, its real inverse into the first.
    trig::PackInvDCT(line, work, len, plan);
    T *p = work + 2 * len;
    for (ptrdiff_t k = 0; k <= len / 2; ++k) {
        const ptrdiff_t r = k == 0 ? 0 : len - k;
        p[2 * k] = (work[2 * k] + work[2 * r]) * T(0.5);
        p[2 * k + 1] = (work[2 * k + 1] - work[2 * r + 1]) * T(0.5);
    }
    FENNEL_TRY(plan.Backward(p, work));
    trig::UnpackInvDCTEven(line, work, len, 1);
    return STATUS_OK;
}

// Handle level of the forward functions: reads n, sizes the output to N.
template <class T, class Core>
int32_t Forward(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t length,
                FDArrayHandle workspace, Core &&core) {
    HostArray<T, 1> in(input);
    HostArray<T, 1> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t n = in.size();
    if (n <= 0) return STATUS_EMPTY_ARRAY;
    const int32_t N = length >= 1 ? length : n;
    FENNEL_TRY(out.Resize(N));
    return core(in.data(), n, out.data(), N);
}

// Handle level of the inverse functions: the output takes the input's length.
template <class T, class Core>
int32_t Inverse(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, FDArrayHandle workspace,
                Core &&core) {
    HostArray<T, 1> in(input);
    HostArray<T, 1> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t n = in.size();
    FENNEL_TRY(out.Resize(n));
    return core(in.data(), n, out.data());
}

}  // namespace

template <class T>
int32_t InvDSTCore(CallFrame &frame, const T *x, int32_t n, T *out, int32_t direction,
                   FDArrayHandle workspace, Plan plan) {
    if (n > 0 && direction != 2 && direction != 3) {
        plan.ReleaseOnFailure(frame);
        HostArray<T, 1> ws(workspace);
        frame.EmptyAtExit(ws);
        return STATUS_BAD_SELECTOR;
    }
    // The factor is formed in double and rounded once.
    const T factor = static_cast<T>(direction == 2 ? -0.5 : -1.0 / (static_cast<double>(n) + 1.0));
    return DSTCore<T>(frame, x, n, out, n, factor, workspace, plan);
}

template <class T>
int32_t DCT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t length,
              FDArrayHandle workspace, FDPlanHandle *plan) {
    return Forward<T>(frame, input, output, length, workspace, [&](const T *x, int32_t n, T *out, int32_t N) {
        return DCTCore<T>(frame, x, n, out, N, workspace, Plan::Of(frame, plan));
    });
}

template <class T>
int32_t DST1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t length,
              FDArrayHandle workspace, FDPlanHandle *plan) {
    return Forward<T>(frame, input, output, length, workspace, [&](const T *x, int32_t n, T *out, int32_t N) {
        return DSTCore<T>(frame, x, n, out, N, T(-0.5), workspace, Plan::Of(frame, plan));
    });
}

template <class T>
int32_t InvDCT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, FDArrayHandle workspace,
                 FDPlanHandle *plan) {
    return Inverse<T>(frame, input, output, workspace, [&](const T *X, int32_t n, T *out) {
        return InvDCTCore<T>(frame, X, n, out, workspace, Plan::Of(frame, plan));
    });
}

template <class T>
int32_t InvDST1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, FDArrayHandle workspace,
                 FDPlanHandle *plan) {
    return Inverse<T>(frame, input, output, workspace, [&](const T *x, int32_t n, T *out) {
        return InvDSTCore<T>(frame, x, n, out, 3, workspace, Plan::Of(frame, plan));
    });
}

#define FENNEL_TRIG1D_INSTANCES(T)                                                              \
    template int32_t DCT1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle, \
                              FDPlanHandle *);                                                   \
    template int32_t DST1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle, \
                              FDPlanHandle *);                                                   \
    template int32_t InvDCT1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle,       \
                                 FDPlanHandle *);                                                \
    template int32_t InvDST1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle,       \
                                 FDPlanHandle *);                                                \
    template int32_t InvDSTCore<T>(CallFrame &, const T *, int32_t, T *, int32_t, FDArrayHandle,  \
                                   Plan);
FENNEL_TRIG1D_INSTANCES(float)
FENNEL_TRIG1D_INSTANCES(double)
#undef FENNEL_TRIG1D_INSTANCES

}  // namespace fennel

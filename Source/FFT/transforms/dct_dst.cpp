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
int32_t AcquireLine(DFTI_DESCRIPTOR_HANDLE *slot, PlanGeometry g, bool anyDomain,
                    DFTI_CONFIG_VALUE *domain) {
    g.any_domain = anyDomain;
    const int32_t status = AcquirePlan(slot, g);
    if (status < 0) return status;
    *domain = g.domain;
    if (anyDomain && DftiGetValue(*slot, DFTI_FORWARD_DOMAIN, domain) != 0) return STATUS_DFTI_SETUP_FAILED;
    return STATUS_OK;
}

PlanGeometry LineGeometry(DFTI_CONFIG_VALUE precision, const LineDft &dft) {
    return Geometry1D(precision, dft.domain, dft.length, !dft.forward);
}

// Sizes the workspace to `elements` of its type; counts beyond the host's
// 32-bit sizes are refused like a failed resize.
template <class W>
int32_t SizeWorkspace(HostArray<W, 1> &ws, int64_t elements) {
    if (elements > INT32_MAX) return STATUS_OUT_OF_MEMORY;
    return ws.Resize(static_cast<int32_t>(elements));
}

template <class T>
Pass<T, true> Line(const T *x, int32_t n, T *out, int32_t N) {
    return Pass<T, true>{Batch<true>{1}, x, n, std::min(n, N), N, out, N};
}

// Forward DCT computing routine: N outputs from n samples.
template <class T>
int32_t DCTCore(const T *x, int32_t n, T *out, int32_t N, FDArrayHandle workspace,
                DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> ws(workspace);
    EmptyAtExit<T, 1> ws_guard(ws, true);
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
    const LineDft dft = trig::DftFor(trig::kDCT, N);
    if ((status = SizeWorkspace(ws, dft.work)) < 0) return status;
    DFTI_CONFIG_VALUE domain;
    status = AcquireLine(slot, LineGeometry(kPrecisionOf<T>, dft), false, &domain);
    if (status < 0) return status;
    return status = trig::DCTPass(Line(x, n, out, N), ws.data(), *slot);
}

// The DST-I of n samples padded or cut to N, times factor.
template <class T>
int32_t DSTCore(const T *x, int32_t n, T *out, int32_t N, T factor, FDArrayHandle workspace,
                DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> ws(workspace);
    EmptyAtExit<T, 1> ws_guard(ws, true);
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
    const LineDft dft = trig::DftFor(trig::kDST, N);
    if ((status = SizeWorkspace(ws, dft.work)) < 0) return status;
    DFTI_CONFIG_VALUE domain;
    status = AcquireLine(slot, LineGeometry(kPrecisionOf<T>, dft), false, &domain);
    if (status < 0) return status;
    return status = trig::DSTPass(Line(x, n, out, N), factor, ws.data(), *slot);
}

// Inverse DCT computing routine.  The cached descriptor is kept whenever its
// length matches, so a slot last used with the other parity can hold the
// other domain (n = 3 finds the complex 6-point descriptor of n = 6, n = 6
// the real one of n = 3).  Both cases still give the DCT-III: odd n runs the
// complex descriptor on the conjugate-even extension of Z, even n runs the
// real one on the conjugate-even part of Z, whose inverse is Re u.
template <class T>
int32_t InvDCTCore(const T *X, int32_t n, T *out, FDArrayHandle workspace,
                   DFTI_DESCRIPTOR_HANDLE *slot) {
    using C = typename Traits<T>::Complex;
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<C, 1> ws(workspace);
    EmptyAtExit<C, 1> ws_guard(ws, true);
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
    const LineDft dft = trig::DftFor(trig::kInvDCT, n);
    if ((status = SizeWorkspace(ws, dft.work)) < 0) return status;
    DFTI_CONFIG_VALUE domain;
    status = AcquireLine(slot, LineGeometry(kPrecisionOf<T>, dft), true, &domain);
    if (status < 0) return status;
    const Pass<T, true> line = Line(X, n, out, n);
    T *work = reinterpret_cast<T *>(ws.data());
    if (domain == dft.domain) return status = trig::InvDCTPass(line, work, *slot);

    const ptrdiff_t len = n;
    if (n % 2 != 0) {
        // Complex 2n-point descriptor: E = Z0 .. Zn, then conj(Z(n-1)) .. conj(Z1).
        trig::PackInvDCT(line, work, len + 1, *slot);
        Scratch<T> scratch(static_cast<size_t>(8 * len));
        if (!scratch.ok()) return status = STATUS_OUT_OF_MEMORY;
        T *e = scratch.get();
        T *u = e + 4 * len;
        std::copy(work, work + 2 * (len + 1), e);
        for (ptrdiff_t k = 1; k < len; ++k) {
            e[2 * (2 * len - k)] = work[2 * k];
            e[2 * (2 * len - k) + 1] = -work[2 * k + 1];
        }
        if ((status = ComputePlan(*slot, false, e, u)) < 0) return status;
        for (ptrdiff_t i = 0; i < len; ++i) out[i] = u[2 * i];
        return status;
    }
    // Real n-point descriptor: P_k = (Z_k + conj Z_(n-k)) / 2 for k <= n/2
    // into the second half of the workspace, its real inverse into the first.
    trig::PackInvDCT(line, work, len, *slot);
    T *p = work + 2 * len;
    for (ptrdiff_t k = 0; k <= len / 2; ++k) {
        const ptrdiff_t r = k == 0 ? 0 : len - k;
        p[2 * k] = (work[2 * k] + work[2 * r]) * T(0.5);
        p[2 * k + 1] = (work[2 * k + 1] - work[2 * r + 1]) * T(0.5);
    }
    if ((status = ComputePlan(*slot, false, p, work)) < 0) return status;
    trig::UnpackInvDCTEven(line, work, len, 1);
    return status;
}

// Handle level of the forward functions: reads n, sizes the output to N.
template <class T, class Core>
int32_t Forward(FDArrayHandle input, FDArrayHandle output, int32_t length, Core &&core) {
    HostArray<T, 1> in(input);
    HostArray<T, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 1> out_guard(out, status, Traits<T>::kTypeCode);
    const int32_t n = in.size();
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    const int32_t N = length >= 1 ? length : n;
    if ((status = out.Resize(N)) < 0) return status;
    return status = core(in.data(), n, out.data(), N);
}

// Handle level of the inverse functions: the output takes the input's length.
template <class T, class Core>
int32_t Inverse(FDArrayHandle input, FDArrayHandle output, Core &&core) {
    HostArray<T, 1> in(input);
    HostArray<T, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 1> out_guard(out, status, Traits<T>::kTypeCode);
    const int32_t n = in.size();
    if ((status = out.Resize(n)) < 0) return status;
    return status = core(in.data(), n, out.data());
}

}  // namespace

template <class T>
int32_t InvDSTCore(const T *x, int32_t n, T *out, int32_t direction, FDArrayHandle workspace,
                   DFTI_DESCRIPTOR_HANDLE *slot) {
    if (n > 0 && direction != 2 && direction != 3) {
        int32_t status = STATUS_BAD_SELECTOR;
        FreePlanOnFailure plan_guard(slot, status);
        HostArray<T, 1> ws(workspace);
        ws.Empty();
        return status;
    }
    // The factor is formed in double and rounded once.
    const T factor = static_cast<T>(direction == 2 ? -0.5 : -1.0 / (static_cast<double>(n) + 1.0));
    return DSTCore<T>(x, n, out, n, factor, workspace, slot);
}

template <class T>
int32_t DCT1D(FDArrayHandle input, FDArrayHandle output, int32_t length, FDArrayHandle workspace,
              FDPlanHandle *plan) {
    return Forward<T>(input, output, length, [&](const T *x, int32_t n, T *out, int32_t N) {
        TransientPlan slot(plan);
        return DCTCore<T>(x, n, out, N, workspace, slot.get());
    });
}

template <class T>
int32_t DST1D(FDArrayHandle input, FDArrayHandle output, int32_t length, FDArrayHandle workspace,
              FDPlanHandle *plan) {
    return Forward<T>(input, output, length, [&](const T *x, int32_t n, T *out, int32_t N) {
        TransientPlan slot(plan);
        return DSTCore<T>(x, n, out, N, T(-0.5), workspace, slot.get());
    });
}

template <class T>
int32_t InvDCT1D(FDArrayHandle input, FDArrayHandle output, FDArrayHandle workspace,
                 FDPlanHandle *plan) {
    return Inverse<T>(input, output, [&](const T *X, int32_t n, T *out) {
        TransientPlan slot(plan);
        return InvDCTCore<T>(X, n, out, workspace, slot.get());
    });
}

template <class T>
int32_t InvDST1D(FDArrayHandle input, FDArrayHandle output, FDArrayHandle workspace,
                 FDPlanHandle *plan) {
    return Inverse<T>(input, output, [&](const T *x, int32_t n, T *out) {
        TransientPlan slot(plan);
        return InvDSTCore<T>(x, n, out, 3, workspace, slot.get());
    });
}

#define FENNEL_TRIG1D_INSTANCES(T)                                                             \
    template int32_t DCT1D<T>(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,             \
                              FDPlanHandle *);                                                  \
    template int32_t DST1D<T>(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,             \
                              FDPlanHandle *);                                                  \
    template int32_t InvDCT1D<T>(FDArrayHandle, FDArrayHandle, FDArrayHandle, FDPlanHandle *);  \
    template int32_t InvDST1D<T>(FDArrayHandle, FDArrayHandle, FDArrayHandle, FDPlanHandle *);  \
    template int32_t InvDSTCore<T>(const T *, int32_t, T *, int32_t, FDArrayHandle,             \
                                   DFTI_DESCRIPTOR_HANDLE *);
FENNEL_TRIG1D_INSTANCES(float)
FENNEL_TRIG1D_INSTANCES(double)
#undef FENNEL_TRIG1D_INSTANCES

}  // namespace fennel

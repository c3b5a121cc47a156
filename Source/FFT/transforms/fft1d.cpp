#include "transforms/fft1d.h"

#include <algorithm>
#include <cstring>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "transforms/spectrum.h"

namespace fennel {
namespace {

// Forward computing routine: L bins of x (n samples, zero-padded through the
// workspace when L > n, truncated when L < n) into out.
template <class T>
int32_t FFT1DCore(const T *x, int32_t n, typename Traits<T>::Complex *out, int32_t L, bool shift,
                  FDArrayHandle workspace, DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> ws(workspace);
    EmptyAtExit<T, 1> ws_guard(ws);
    const T *source = x;
    if (L > n) {
        if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
        ws_guard.Arm();
        if ((status = ws.Resize(L)) < 0) return status;
        T *w = ws.data();
        std::memcpy(w, x, sizeof(T) * static_cast<size_t>(n));
        std::fill(w + n, w + L, T(0));
        source = w;
    }
    status = AcquirePlan(slot, Geometry1D(Traits<T>::kPrecision, Traits<T>::kDomain, L, false));
    if (status < 0) return status;
    if ((status = ComputePlan(*slot, true, source, out)) < 0) return status;
    if constexpr (Traits<T>::kComplex) {
        if (shift) Centre(out, 1, L);
    } else {
        CompleteAndCentre(out, 1, L, shift);
    }
    return status;
}

// Inverse computing routine: N bins of X (natural order, or centred when
// shift) into N samples scaled by 1/N.
template <class T>
int32_t InvFFT1DCore(const typename Traits<T>::Complex *X, int32_t N, T *out, bool shift,
                     FDArrayHandle workspace, DFTI_DESCRIPTOR_HANDLE *slot) {
    using C = typename Traits<T>::Complex;
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> ws(workspace);
    EmptyAtExit<T, 1> ws_guard(ws, shift);
    const void *source = X;
    if (shift) {
        if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
        if constexpr (Traits<T>::kComplex) {
            if ((status = ws.Resize(N)) < 0) return status;
            UncentreCopy(X, 1, ws.data(), 1, N);
        } else {
            if ((status = ws.Resize(2 * (N / 2) + 2)) < 0) return status;
            GatherHalfSpectrum(X, N, reinterpret_cast<C *>(ws.data()));
        }
        source = ws.data();
    }
    status = AcquirePlan(slot, Geometry1D(Traits<T>::kPrecision, Traits<T>::kDomain, N, true));
    if (status < 0) return status;
    return status = ComputePlan(*slot, false, source, out);
}

}  // namespace

template <class T>
int32_t FFT1D(FDArrayHandle input, FDArrayHandle output, int32_t fftSize, int32_t shift,
              FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, 1> in(input);
    HostArray<C, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<C, 1> out_guard(out, status, Traits<T>::kComplexTypeCode);
    const int32_t n = in.size();
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    const int32_t L = fftSize > 0 ? fftSize : n;
    if ((status = out.Resize(L)) < 0) return status;
    TransientPlan slot(plan);
    return status = FFT1DCore<T>(in.data(), n, out.data(), L, shift != 0, workspace, slot.get());
}

template <class T>
int32_t InvFFT1D(FDArrayHandle input, FDArrayHandle output, int32_t shift, FDArrayHandle workspace,
                 FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, 1> in(input);
    HostArray<T, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 1> out_guard(out, status, Traits<T>::kTypeCode);
    const int32_t n = in.size();
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    if ((status = out.Resize(n)) < 0) return status;
    TransientPlan slot(plan);
    return status = InvFFT1DCore<T>(in.data(), n, out.data(), shift != 0, workspace, slot.get());
}

#define FENNEL_FFT1D_INSTANCES(T)                                                              \
    template int32_t FFT1D<T>(FDArrayHandle, FDArrayHandle, int32_t, int32_t, FDArrayHandle,    \
                              FDPlanHandle *);                                                  \
    template int32_t InvFFT1D<T>(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,          \
                                 FDPlanHandle *);
FENNEL_FFT1D_INSTANCES(float)
FENNEL_FFT1D_INSTANCES(double)
FENNEL_FFT1D_INSTANCES(cfloat)
FENNEL_FFT1D_INSTANCES(cdouble)
#undef FENNEL_FFT1D_INSTANCES

}  // namespace fennel

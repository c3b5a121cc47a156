#include "transforms/fft1d.h"

#include <algorithm>
#include <cstring>

#include "dft/plan.h"
#include "frame/host_array.h"
#include "transforms/spectrum.h"

namespace fennel {
namespace {

// An aligned block of `bytes` kept with the descriptor, or null.  A
// real transform whose output is misaligned computes its half spectrum
// there and writes the full spectrum out in one pass, where the engine
// would copy the half out of its own aligned buffer and the mirror would
// read it back.  Not above 16 MiB, the engine's limit for kept buffers.
struct KeptHalf {
    size_t bytes;
    char pad[56];  // the bins start 64 bytes into the engine's aligned block
    void *data() { return this + 1; }
};
constexpr uint32_t kHalfKey = 0x48414C46;  // "HALF"

void ReleaseHalf(void *half) { FreeAligned(half); }

void *HalfBlock(const Plan &plan, size_t bytes) {
    if (bytes > (size_t{16} << 20)) return nullptr;
    auto *kept = static_cast<KeptHalf *>(plan.Attachment(kHalfKey));
    if (kept != nullptr && kept->bytes >= bytes) return kept->data();
    kept = static_cast<KeptHalf *>(AllocateAligned(sizeof(KeptHalf) + bytes));
    if (kept == nullptr) return nullptr;
    kept->bytes = bytes;
    if (!plan.Attach(kHalfKey, kept, &ReleaseHalf)) return nullptr;
    return kept->data();
}

// Forward computing routine: L bins of x (n samples, zero-padded through the
// workspace when L > n, truncated when L < n) into out.
template <class T>
int32_t FFT1DCore(CallFrame &frame, const T *x, int32_t n, typename Traits<T>::Complex *out,
                  int32_t L, bool shift, FDArrayHandle workspace, Plan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    const T *source = x;
    if (L > n) {
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        frame.EmptyAtExit(ws);
        FENNEL_TRY(ws.Resize(L));
        T *w = ws.data();
        std::memcpy(w, x, sizeof(T) * static_cast<size_t>(n));
        std::fill(w + n, w + L, T(0));
        source = w;
    }
    FENNEL_TRY(plan.Acquire(Geometry1D<T>(L, false)));
    if constexpr (!Traits<T>::kComplex) {
        using C = typename Traits<T>::Complex;
        if (!shift && AlignmentClass(kPrecisionOf<T>, out) != 0)
            if (void *half = HalfBlock(plan, sizeof(C) * static_cast<size_t>(L / 2 + 1))) {
                FENNEL_TRY(plan.Forward(source, half));
                WriteFullSpectrum(out, static_cast<const C *>(half), L);
                return STATUS_OK;
            }
    }
    FENNEL_TRY(plan.Forward(source, out));
    if constexpr (Traits<T>::kComplex) {
        if (shift) Centre(out, 1, L);
    } else {
        CompleteAndCentre(out, 1, L, shift);
    }
    return STATUS_OK;
}

// Inverse computing routine: N bins of X (natural order, or centred when
// shift) into N samples scaled by 1/N.
template <class T>
int32_t InvFFT1DCore(CallFrame &frame, const typename Traits<T>::Complex *X, int32_t N, T *out,
                     bool shift, FDArrayHandle workspace, Plan plan) {
    using C = typename Traits<T>::Complex;
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    const void *source = X;
    if (shift) {
        frame.EmptyAtExit(ws);
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        if constexpr (Traits<T>::kComplex) {
            FENNEL_TRY(ws.Resize(N));
            UncentreCopy(X, 1, ws.data(), 1, N);
        } else {
            FENNEL_TRY(ws.Resize(2 * (N / 2) + 2));
            GatherHalfSpectrum(X, N, reinterpret_cast<C *>(ws.data()));
        }
        source = ws.data();
    }
    FENNEL_TRY(plan.Acquire(Geometry1D<T>(N, true)));
    return plan.Backward(source, out);
}

}  // namespace

template <class T>
int32_t FFT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
              int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, 1> in(input);
    HostArray<C, 1> out(output);
    frame.EmptyOnFailure(out, Traits<T>::kComplexTypeCode);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t n = in.size();
    if (n <= 0) return STATUS_EMPTY_ARRAY;
    const int32_t L = fftSize > 0 ? fftSize : n;
    FENNEL_TRY(out.Resize(L));
    return FFT1DCore<T>(frame, in.data(), n, out.data(), L, shift != 0, workspace,
                        Plan::Of(frame, plan));
}

template <class T>
int32_t InvFFT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                 FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, 1> in(input);
    HostArray<T, 1> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t n = in.size();
    if (n <= 0) return STATUS_EMPTY_ARRAY;
    FENNEL_TRY(out.Resize(n));
    return InvFFT1DCore<T>(frame, in.data(), n, out.data(), shift != 0, workspace,
                           Plan::Of(frame, plan));
}

#define FENNEL_FFT1D_INSTANCES(T)                                                              \
    template int32_t FFT1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t,      \
                              FDArrayHandle, FDPlanHandle *);                                   \
    template int32_t InvFFT1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,            \
                                 FDArrayHandle, FDPlanHandle *);
FENNEL_FFT1D_INSTANCES(float)
FENNEL_FFT1D_INSTANCES(double)
FENNEL_FFT1D_INSTANCES(cfloat)
FENNEL_FFT1D_INSTANCES(cdouble)
#undef FENNEL_FFT1D_INSTANCES

}  // namespace fennel

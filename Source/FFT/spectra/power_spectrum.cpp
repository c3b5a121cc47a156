// Power spectrum: |X_k|^2 / n^2 of one forward transform, two-sided; the core
// and kernel are shared with the auto power spectrum (one-sided as well).
#include "frame/host_array.h"
#include "dft/plan.h"
#include "spectra/spectra.h"

namespace fennel {

template <class T>
int32_t PowerFromSpectrum(typename Traits<T>::Real *__restrict out, int32_t n,
                          const T *__restrict spectrum, int32_t spectrumType) {
    using R = typename Traits<T>::Real;
    const auto *s = reinterpret_cast<const R *>(spectrum);
    const double nn = static_cast<double>(n) * static_cast<double>(n);
    if constexpr (Traits<T>::kComplex) {
        // No doubling or mirroring; a one-sided output holds the first
        // floor(n/2) + 1 bins only.  Sums of squares in the element precision,
        // scaled in double and rounded once.
        const double scale = 1.0 / nn;
        const int32_t bins = spectrumType == kOneSided ? n / 2 + 1 : n;
        for (int32_t k = 0; k < bins; ++k) {
            const R re = s[2 * k], im = s[2 * k + 1];
            const R p = re * re + im * im;
            out[k] = static_cast<R>(static_cast<double>(p) * scale);
        }
    } else {
        // CCS layout: R0 at 0, R_k and I_k at 2k and 2k + 1, R_{n/2} at n.
        // DC and Nyquist products are formed in double from the stored values.
        const int32_t m = (n - 1) / 2;
        const bool even = n % 2 == 0;
        const double r0 = s[0];
        if (spectrumType == kTwoSided) {
            const double scale = 1.0 / nn;
            out[0] = static_cast<R>(r0 * scale * r0);
            for (int32_t k = 1; k <= m; ++k) {
                const R re = s[2 * k], im = s[2 * k + 1];
                const R p = re * re + im * im;
                const R v = static_cast<R>(static_cast<double>(p) * scale);
                out[k] = v;
                out[n - k] = v;
            }
            if (even) {
                const double rh = s[n];
                out[n / 2] = static_cast<R>(rh * scale * rh);
            }
        } else {
            const double scale2 = 2.0 / nn;
            out[0] = static_cast<R>(r0 * (scale2 * 0.5) * r0);
            for (int32_t k = 1; k <= m; ++k) {
                const R re = s[2 * k], im = s[2 * k + 1];
                const R p = re * re + im * im;
                out[k] = static_cast<R>(static_cast<double>(p) * scale2);
            }
            if (even) {
                const double rh = s[n];
                out[n / 2] = static_cast<R>(rh * (scale2 * 0.5) * rh);
            }
        }
    }
    return STATUS_OK;
}

namespace {

// One forward transform of x (n samples) into the workspace, then the power
// kernel into out, which the caller has sized for the spectrum type.
template <class T>
int32_t PowerSpectrumCore(CallFrame &frame, const T *x, int32_t n, typename Traits<T>::Real *out,
                          int32_t spectrumType, FDArrayHandle workspace, Plan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    frame.EmptyAtExit(ws);
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    FENNEL_TRY(ResizeWorkspace(ws, int64_t{n} + 2));
    FENNEL_TRY(plan.Acquire(Geometry1D<T>(n, false)));
    FENNEL_TRY(plan.Forward(x, ws.data()));
    return PowerFromSpectrum<T>(out, n, ws.data(), spectrumType);
}

}  // namespace

template <class T>
int32_t PowerSpectrumSteps(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                           int32_t spectrumType, const double *dt, double *step,
                           FDArrayHandle workspace, FDPlanHandle *plan) {
    using R = typename Traits<T>::Real;
    HostArray<T, 1> in(input);
    HostArray<R, 1> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t n = in.size();
    if (n <= 0) return STATUS_EMPTY_ARRAY;
    // Written so that a NaN interval passes (its frequency step is NaN).
    if (dt != nullptr && *dt <= 0.0) return STATUS_BAD_SAMPLING_INTERVAL;
    const int32_t length = SpectrumLength(n, spectrumType);
    if (length < 0) return STATUS_BAD_SELECTOR;
    FENNEL_TRY(out.Resize(length));
    if (dt != nullptr) *step = 1.0 / (static_cast<double>(n) * *dt);
    return PowerSpectrumCore<T>(frame, in.data(), n, out.data(), spectrumType, workspace,
                                Plan::Of(frame, plan));
}

template <class T>
int32_t PowerSpectrum(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                      FDArrayHandle workspace, FDPlanHandle *plan) {
    return PowerSpectrumSteps<T>(frame, input, output, kTwoSided, nullptr, nullptr, workspace, plan);
}

#define FENNEL_POWER_SPECTRUM_INSTANCES(T)                                                     \
    template int32_t PowerFromSpectrum<T>(Traits<T>::Real *, int32_t, const T *, int32_t);     \
    template int32_t PowerSpectrumSteps<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,  \
                                           const double *, double *, FDArrayHandle,             \
                                           FDPlanHandle *);                                     \
    template int32_t PowerSpectrum<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle, \
                                      FDPlanHandle *);
FENNEL_POWER_SPECTRUM_INSTANCES(float)
FENNEL_POWER_SPECTRUM_INSTANCES(double)
FENNEL_POWER_SPECTRUM_INSTANCES(cfloat)
FENNEL_POWER_SPECTRUM_INSTANCES(cdouble)
#undef FENNEL_POWER_SPECTRUM_INSTANCES

}  // namespace fennel

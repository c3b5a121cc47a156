// Cross power conj(X_k) Y_k / L^2 of two signals, as complex values (cross
// power) or as magnitude and phase (cross power spectrum).  The shorter
// signal (x when the lengths are equal) is zero-padded to L = max(nx, ny)
// and transformed first; the longer one is transformed straight from its
// input.  Both transforms share one descriptor of length L.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dft/plan.h"
#include "numerics/blas.h"
#include "spectra/spectra.h"

namespace fennel {
namespace {

// The two signals ordered for transforming: the padded one first.
template <class T>
struct SignalPair {
    const T *shorter;
    int32_t short_length;
    const T *longer;
    int32_t length;  // L
    bool swapped;    // x is the longer signal: the first spectrum is Y
};

template <class T>
SignalPair<T> OrderSignals(const T *x, int32_t nx, const T *y, int32_t ny) {
    const bool swapped = nx > ny;
    return swapped ? SignalPair<T>{y, ny, x, nx, true} : SignalPair<T>{x, nx, y, ny, false};
}

template <class T>
void CopyPadded(T *to, const T *from, int32_t n, int32_t L) {
    std::memcpy(to, from, sizeof(T) * static_cast<size_t>(n));
    std::fill(to + n, to + L, T(0));
}

// conj(X) Y scale from the spectrum A of the padded signal and B of the
// longer one, written over B.  Real T: A and B in CCS layout; B is expanded
// in place to L complex values (mirrors land above every unread bin).
// Products and sums in double, rounded once.
template <class T>
void CrossPowerKernel(typename Traits<T>::Real *__restrict b,
                      const typename Traits<T>::Real *__restrict a, int32_t L, bool swapped) {
    using R = typename Traits<T>::Real;
    const double scale = 1.0 / (static_cast<double>(L) * static_cast<double>(L));
    // conj(A) B when A is X, conj(B) A when A is Y: only the sign of the
    // imaginary part differs.
    const double s = swapped ? scale : -scale;
    int32_t first = 0, last = L - 1;
    if constexpr (!Traits<T>::kComplex) {
        b[0] = static_cast<R>(static_cast<double>(b[0]) * scale * static_cast<double>(a[0]));
        b[1] = R(0);
        first = 1;
        last = (L - 1) / 2;
    }
    for (int32_t k = first; k <= last; ++k) {
        const double ar = a[2 * k], ai = a[2 * k + 1];
        const double br = b[2 * k], bi = b[2 * k + 1];
        const R re = static_cast<R>((ar * br + ai * bi) * scale);
        const R im = static_cast<R>((ai * br - ar * bi) * s);
        b[2 * k] = re;
        b[2 * k + 1] = im;
        if constexpr (!Traits<T>::kComplex) {
            b[2 * (L - k)] = re;
            b[2 * (L - k) + 1] = -im;
        }
    }
    if constexpr (!Traits<T>::kComplex) {
        if (L % 2 == 0) {
            const int32_t h = L / 2;
            b[2 * h] = static_cast<R>(static_cast<double>(a[2 * h]) *
                                      (static_cast<double>(b[2 * h]) * scale));
            b[2 * h + 1] = R(0);
        }
    }
}

// Magnitude |conj(X) Y| scale and phase atan2 of conj(X) Y for `count` bins.
// Real T: DC and Nyquist products are real (phase pi when negative), interior
// bins are doubled one-sided and mirrored two-sided.
template <class T>
void CrossSpectrumKernel(typename Traits<T>::Real *__restrict magnitude,
                         typename Traits<T>::Real *__restrict phase,
                         const typename Traits<T>::Real *X, const typename Traits<T>::Real *Y,
                         int32_t L, int32_t spectrumType, int32_t count) {
    using R = typename Traits<T>::Real;
    const double scale = 1.0 / (static_cast<double>(L) * static_cast<double>(L));
    auto interior = [&](int32_t k, double f, double &m, double &p) {
        const double xr = X[2 * k], xi = X[2 * k + 1];
        const double yr = Y[2 * k], yi = Y[2 * k + 1];
        const double pr = xr * yr + xi * yi;
        const double pi = xr * yi - xi * yr;
        m = std::sqrt(pr * pr + pi * pi) * f;
        p = std::atan2(pi, pr);
    };
    if constexpr (Traits<T>::kComplex) {
        for (int32_t k = 0; k < count; ++k) {
            double m, p;
            interior(k, scale, m, p);
            magnitude[k] = static_cast<R>(m);
            phase[k] = static_cast<R>(p);
        }
    } else {
        auto real_bin = [&](int32_t k, int32_t at) {
            const double v = static_cast<double>(X[at]) * scale * static_cast<double>(Y[at]);
            magnitude[k] = static_cast<R>(std::fabs(v));
            phase[k] = static_cast<R>(v < 0.0 ? kPi : 0.0);
        };
        const bool two_sided = spectrumType == kTwoSided;
        const double f = two_sided ? scale : 2.0 * scale;
        real_bin(0, 0);
        for (int32_t k = 1; k <= (L - 1) / 2; ++k) {
            double m, p;
            interior(k, f, m, p);
            magnitude[k] = static_cast<R>(m);
            phase[k] = static_cast<R>(p);
            if (two_sided) {
                magnitude[L - k] = static_cast<R>(m);
                phase[L - k] = static_cast<R>(-p);
            }
        }
        if (L % 2 == 0) real_bin(L / 2, L);
    }
}

template <class T>
int32_t CrossPowerCore(CallFrame &frame, const T *x, int32_t nx, const T *y, int32_t ny,
                       typename Traits<T>::Complex *out, FDArrayHandle workspace, Plan plan) {
    using R = typename Traits<T>::Real;
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    frame.EmptyAtExit(ws);
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    const SignalPair<T> p = OrderSignals(x, nx, y, ny);
    const int32_t L = p.length;
    FENNEL_TRY(ResizeWorkspace(ws, int64_t{L} + 2));
    // The output holds the padded signal until its transform is done.
    T *padded = reinterpret_cast<T *>(out);
    CopyPadded(padded, p.shorter, p.short_length, L);
    FENNEL_TRY(plan.Acquire(Geometry1D<T>(L, false)));
    FENNEL_TRY(plan.Forward(padded, ws.data()));
    FENNEL_TRY(plan.Forward(p.longer, out));
    CrossPowerKernel<T>(reinterpret_cast<R *>(out), reinterpret_cast<const R *>(ws.data()), L,
                        p.swapped);
    return STATUS_OK;
}

template <class T>
int32_t CrossPowerSpectrumCore(CallFrame &frame, const T *x, int32_t nx, const T *y, int32_t ny,
                               typename Traits<T>::Real *magnitude,
                               typename Traits<T>::Real *phase, int32_t spectrumType,
                               FDArrayHandle workspace, Plan plan) {
    using R = typename Traits<T>::Real;
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    frame.EmptyAtExit(ws);
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    const SignalPair<T> p = OrderSignals(x, nx, y, ny);
    const int32_t L = p.length;
    FENNEL_TRY(ResizeWorkspace(ws, 2 * int64_t{L} + 4));
    // First spectrum in [0, L + 2); the padded copy, then the second
    // spectrum over it, from L + 2 on.
    T *first = ws.data();
    T *second = first + (L + 2);
    CopyPadded(second, p.shorter, p.short_length, L);
    FENNEL_TRY(plan.Acquire(Geometry1D<T>(L, false)));
    FENNEL_TRY(plan.Forward(second, first));
    FENNEL_TRY(plan.Forward(p.longer, second));
    const auto *X = reinterpret_cast<const R *>(p.swapped ? second : first);
    const auto *Y = reinterpret_cast<const R *>(p.swapped ? first : second);
    CrossSpectrumKernel<T>(magnitude, phase, X, Y, L, spectrumType,
                           SpectrumLength(L, spectrumType));
    return STATUS_OK;
}

}  // namespace

template <class T>
int32_t CrossPower(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                   FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, 1> xa(x), ya(y);
    HostArray<C, 1> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(xa, {output, workspace}));
    FENNEL_TRY(frame.KeepInput(ya, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    const int32_t nx = xa.size(), ny = ya.size();
    if (nx < 1 || ny < 1) return STATUS_EMPTY_ARRAY;
    FENNEL_TRY(out.Resize(std::max(nx, ny)));
    return CrossPowerCore<T>(frame, xa.data(), nx, ya.data(), ny, out.data(), workspace,
                             Plan::Of(frame, plan));
}

template <class T>
int32_t CrossPowerSpectrum(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, double dt,
                           int32_t spectrumType, double *df, FDArrayHandle magnitude,
                           FDArrayHandle phase, FDArrayHandle workspace, FDPlanHandle *plan) {
    using R = typename Traits<T>::Real;
    HostArray<T, 1> xa(x), ya(y);
    HostArray<R, 1> mag(magnitude), ph(phase);
    if (df != nullptr) *df = std::numeric_limits<double>::quiet_NaN();
    frame.EmptyOnFailure(mag);
    frame.EmptyOnFailure(ph);
    FENNEL_TRY(frame.KeepInput(xa, {magnitude, phase, workspace}));
    FENNEL_TRY(frame.KeepInput(ya, {magnitude, phase, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {magnitude, phase}));
    const int32_t nx = xa.size(), ny = ya.size();
    if (nx < 1 || ny < 1) return STATUS_EMPTY_ARRAY;
    // Written so that a NaN interval passes (its frequency step is NaN).
    if (dt <= 0.0) return STATUS_BAD_SAMPLING_INTERVAL;
    const int32_t L = std::max(nx, ny);
    const int32_t length = SpectrumLength(L, spectrumType);
    if (length < 0) return STATUS_BAD_SELECTOR;
    FENNEL_TRY(mag.Resize(length));
    FENNEL_TRY(ph.Resize(length));
    FENNEL_TRY(CrossPowerSpectrumCore<T>(frame, xa.data(), nx, ya.data(), ny, mag.data(), ph.data(),
                                         spectrumType, workspace, Plan::Of(frame, plan)));
    if (df != nullptr) *df = 1.0 / (static_cast<double>(L) * dt);
    return STATUS_OK;
}

#define FENNEL_CROSS_POWER_INSTANCES(T)                                                        \
    template int32_t CrossPower<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle,   \
                                   FDArrayHandle, FDPlanHandle *);                             \
    template int32_t CrossPowerSpectrum<T>(CallFrame &, FDArrayHandle, FDArrayHandle, double,  \
                                           int32_t, double *, FDArrayHandle, FDArrayHandle,    \
                                           FDArrayHandle, FDPlanHandle *);
FENNEL_CROSS_POWER_INSTANCES(float)
FENNEL_CROSS_POWER_INSTANCES(double)
FENNEL_CROSS_POWER_INSTANCES(cfloat)
FENNEL_CROSS_POWER_INSTANCES(cdouble)
#undef FENNEL_CROSS_POWER_INSTANCES

}  // namespace fennel

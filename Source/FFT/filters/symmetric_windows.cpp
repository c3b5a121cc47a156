// Symmetric windows (period n-1, both ends at w[0]) built from the periodic
// shapes, the triangle multiplier, and their exports.
#include <cmath>

#include "frame/host_array.h"
#include "filters/window_kernels.h"
#include "filters/filters.h"

namespace fennel {

template <class T>
void TriangleMultiplier(T *x, int32_t L, double p) {
    using R = typename Traits<T>::Real;
    x[0] = T(0);
    const double step = 2.0 / static_cast<double>(L) * p;
    double t = 0.0;
    const int32_t half = (L - 1) / 2;
    for (int32_t i = 1; i <= half; ++i) {
        t = t + step;
        const R w = static_cast<R>(t);
        MultiplyBy(x[i], w);
        MultiplyBy(x[L - i], w);
    }
    if (L % 2 == 0) MultiplyBy(x[L / 2], static_cast<R>(p));
}

template <class T>
int32_t SymmetricWindow(CallFrame &frame, T *x, int32_t n, int32_t windowType,
                        typename Traits<T>::Real param, FDArrayHandle workspace) {
    using R = typename Traits<T>::Real;
    if (static_cast<uint32_t>(windowType) > 62u) return STATUS_BAD_SELECTOR;
    if (windowType == 0) return STATUS_OK;
    const bool cosine = (windowType >= 1 && windowType <= 9) || windowType == 11;
    if (!cosine && windowType != 30 && windowType != 60 && windowType != 62)
        return STATUS_BAD_SELECTOR;
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (n < 3) return STATUS_OK;
    R first = R(0);
    switch (windowType) {
        case 30:
            TriangleMultiplier(x, n - 1, 1.0);
            x[n - 1] = T(0);
            return STATUS_OK;
        case 60:
            if (std::isnan(param) || param == R(0)) return STATUS_OK;
            ApplyKaiserWin(x, n - 1, param, &first);
            break;
        case 62:
            if (!(param > R(0))) param = static_cast<R>(0.2);
            ApplyGaussWin(x, n - 1, param, &first);
            break;
        default: {
            double coefs[7];
            int32_t K = 0;
            AllCosWinCoefs(windowType, coefs, &K);
            FENNEL_TRY(ApplyAllCosWin(frame, x, n - 1, coefs, K, 0, &first, workspace));
            break;
        }
    }
    MultiplyBy(x[n - 1], first);
    return STATUS_OK;
}

template <class T>
int32_t SymmWin(CallFrame &frame, FDArrayHandle x, int32_t windowType,
                typename Traits<T>::Real param, FDArrayHandle workspace) {
    const auto [data, n] = WindowSamples<T>(frame, x);
    FENNEL_TRY(SeparateWorkspaces({workspace}, {x}));
    return SymmetricWindow(frame, data, n, windowType, param, workspace);
}

template <class T>
int32_t TriangleWin(CallFrame &frame, FDArrayHandle x) {
    const auto [data, n] = WindowSamples<T>(frame, x);
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (n > 1) TriangleMultiplier(data, n, 1.0);
    return STATUS_OK;
}

#define FENNEL_SYMMWIN_INSTANCES(T)                                                             \
    template void TriangleMultiplier<T>(T *, int32_t, double);                                  \
    template int32_t SymmetricWindow<T>(CallFrame &, T *, int32_t, int32_t, Traits<T>::Real,   \
                                        FDArrayHandle);                                       \
    template int32_t SymmWin<T>(CallFrame &, FDArrayHandle, int32_t, Traits<T>::Real,           \
                                FDArrayHandle);                                               \
    template int32_t TriangleWin<T>(CallFrame &, FDArrayHandle);
FENNEL_SYMMWIN_INSTANCES(float)
FENNEL_SYMMWIN_INSTANCES(double)
FENNEL_SYMMWIN_INSTANCES(cfloat)
FENNEL_SYMMWIN_INSTANCES(cdouble)
#undef FENNEL_SYMMWIN_INSTANCES

}  // namespace fennel

// Gaussian and Kaiser windows: periodic shapes applied in place, each value
// computed once for two mirrored samples.
#include <cmath>

#include "frame/host_array.h"
#include "filters/window_kernels.h"
#include "filters/filters.h"

namespace fennel {
namespace {

// The series of I0(x) in y = x^2: terms y^k / (2k)!!^2, cut at 25 terms or at
// a term not above 1e-8.
double BesselI0Series(double y) {
    double sum = 1.0, term = 1.0, d = 0.0;
    for (int i = 0; i < 25; ++i) {
        d = d + 2.0;
        term = term * y / (d * d);
        sum = sum + term;
        if (!(term > 1e-8)) break;
    }
    return sum;
}

}  // namespace

template <class T>
void ApplyGaussWin(T *x, int32_t n, typename Traits<T>::Real sigma,
                   typename Traits<T>::Real *firstValue) {
    using R = typename Traits<T>::Real;
    // sigma^2 (n+1)^2 in the parameter's precision, then widened.
    const R n1 = static_cast<R>(n + 1);
    const double width = static_cast<double>(sigma * sigma * (n1 * n1));
    const double q = -0.5 / width;
    const double length = static_cast<double>(n);
    const double rho = std::exp(2.0 * q);
    double r = std::exp((1.0 - length) * q);
    double v = std::exp(length * q * length * 0.25);
    MultiplyBy(x[0], static_cast<R>(v));
    if (firstValue != nullptr) *firstValue = static_cast<R>(v);
    const int32_t half = (n - 1) / 2;
    for (int32_t m = 1; m <= half; ++m) {
        v = v * r;
        r = r * rho;
        const R w = static_cast<R>(v);
        MultiplyBy(x[m], w);
        MultiplyBy(x[n - m], w);
    }
}

template <class T>
void ApplyKaiserWin(T *x, int32_t n, typename Traits<T>::Real beta,
                    typename Traits<T>::Real *firstValue) {
    using R = typename Traits<T>::Real;
    const double b2 = static_cast<double>(beta * beta);
    const double c = 1.0 / BesselI0Series(b2);
    MultiplyBy(x[0], static_cast<R>(c));
    if (firstValue != nullptr) *firstValue = static_cast<R>(c);
    const double step = 2.0 / static_cast<double>(n);
    double r = 1.0;
    const int32_t half = (n - 1) / 2;
    for (int32_t m = 1; m <= half; ++m) {
        r = r - step;
        const R w = static_cast<R>(BesselI0Series((1.0 - r * r) * b2) * c);
        MultiplyBy(x[m], w);
        MultiplyBy(x[n - m], w);
    }
}

template <class T>
int32_t GaussWin(CallFrame &frame, FDArrayHandle x, typename Traits<T>::Real sigma) {
    using R = typename Traits<T>::Real;
    const auto [data, n] = WindowSamples<T>(frame, x);
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (n == 1) return STATUS_OK;
    if (!(sigma > R(0))) sigma = static_cast<R>(0.2);
    ApplyGaussWin(data, n, sigma, static_cast<R *>(nullptr));
    return STATUS_OK;
}

template <class T>
int32_t KaiserWin(CallFrame &frame, FDArrayHandle x, typename Traits<T>::Real beta) {
    using R = typename Traits<T>::Real;
    const auto [data, n] = WindowSamples<T>(frame, x);
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (std::isnan(beta)) beta = R(0);
    if (n == 1 || beta == R(0)) return STATUS_OK;
    ApplyKaiserWin(data, n, beta, static_cast<R *>(nullptr));
    return STATUS_OK;
}

#define FENNEL_GAUSS_KAISER_INSTANCES(T)                                                   \
    template void ApplyGaussWin<T>(T *, int32_t, Traits<T>::Real, Traits<T>::Real *);      \
    template void ApplyKaiserWin<T>(T *, int32_t, Traits<T>::Real, Traits<T>::Real *);     \
    template int32_t GaussWin<T>(CallFrame &, FDArrayHandle, Traits<T>::Real);             \
    template int32_t KaiserWin<T>(CallFrame &, FDArrayHandle, Traits<T>::Real);
FENNEL_GAUSS_KAISER_INSTANCES(float)
FENNEL_GAUSS_KAISER_INSTANCES(double)
FENNEL_GAUSS_KAISER_INSTANCES(cfloat)
FENNEL_GAUSS_KAISER_INSTANCES(cdouble)
#undef FENNEL_GAUSS_KAISER_INSTANCES

}  // namespace fennel

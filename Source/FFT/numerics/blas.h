// Shared numerics: the constants the families use and the BLAS level-1
// routines overloaded by element type.
#pragma once

#include <cblas.h>

#include <algorithm>
#include <cstdint>

#include "frame/types.h"

namespace fennel {

inline constexpr double kPi = 3.14159265358979323846;

// y[i * incy] += a * x[i * incx] for i < n.
inline void Axpy(int32_t n, float a, const float *x, int32_t incx, float *y, int32_t incy) {
    cblas_saxpy(n, a, x, incx, y, incy);
}
inline void Axpy(int32_t n, double a, const double *x, int32_t incx, double *y, int32_t incy) {
    cblas_daxpy(n, a, x, incx, y, incy);
}
inline void Axpy(int32_t n, const cfloat &a, const cfloat *x, int32_t incx, cfloat *y, int32_t incy) {
    cblas_caxpy(n, &a, x, incx, y, incy);
}
inline void Axpy(int32_t n, const cdouble &a, const cdouble *x, int32_t incx, cdouble *y,
                 int32_t incy) {
    cblas_zaxpy(n, &a, x, incx, y, incy);
}
// A real scalar times a contiguous complex vector: the vector as 2n reals.
template <class R>
inline void Axpy(int32_t n, R a, const std::complex<R> *x, int32_t, std::complex<R> *y, int32_t) {
    constexpr int32_t kChunk = 1 << 29;  // keeps 2n within the BLAS integer
    for (int32_t done = 0; done < n; done += std::min(n - done, kChunk)) {
        const int32_t count = std::min(n - done, kChunk);
        Axpy(2 * count, a, reinterpret_cast<const R *>(x + done), 1, reinterpret_cast<R *>(y + done), 1);
    }
}

// x[i] *= g for i < n (a complex vector is scaled by a real factor).
inline void Scal(float *x, int32_t n, float g) { cblas_sscal(n, g, x, 1); }
inline void Scal(double *x, int32_t n, double g) { cblas_dscal(n, g, x, 1); }
inline void Scal(cfloat *x, int32_t n, float g) { cblas_csscal(n, g, x, 1); }
inline void Scal(cdouble *x, int32_t n, double g) { cblas_zdscal(n, g, x, 1); }

}  // namespace fennel

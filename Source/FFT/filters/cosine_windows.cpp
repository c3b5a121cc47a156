// Cosine-sum windows: the coefficient table, the rotation loops that apply a
// periodic window in place, and the handle-level routine.
#include <cmath>
#include <limits>

#include "filters/filters.h"
#include "filters/window_kernels.h"
#include "frame/host_array.h"
#include "numerics/blas.h"
#include "numerics/vectorize.h"

namespace fennel {

int32_t AllCosWinCoefs(int32_t windowType, double *coefs, int32_t *K) {
    struct Row {
        int32_t count;
        double a[7];
    };
    // Indexed by window type; type 10 has no row.
    static constexpr Row kTable[12] = {
        {1, {1.0}},
        {2, {0.5, 0.5}},
        {2, {0.54, 0.46}},
        {3, {0.42323, 0.49755, 0.07922}},
        {3, {0.4265907136715391, 0.4965606190885641, 0.07684866723989682}},
        {3, {0.42, 0.5, 0.08}},
        {5, {0.215578948, 0.41663158, 0.277263158, 0.083578947, 0.006947368}},
        {4, {0.35875, 0.48829, 0.14128, 0.01168}},
        {7,
         {0.27105140069342415, 0.43329793923448606, 0.21812299954311062, 0.0659254463880309,
          0.010811742098372268, 0.0007765848252250934, 1.3887217350903198e-05}},
        {5, {0.323215218, 0.471492057, 0.17553428, 0.028497078, 0.001261367}},
        {0, {}},
        {4, {0.3635819, 0.4891775, 0.1365995, 0.0106411}},
    };
    if (windowType < 0 || windowType > 11 || kTable[windowType].count == 0) {
        *K = 0;
        return STATUS_BAD_SELECTOR;
    }
    const Row &row = kTable[windowType];
    for (int32_t k = 0; k < row.count; ++k) coefs[k] = row.a[k];
    *K = row.count;
    return STATUS_OK;
}

namespace {

// The rotation loop over the first half of the window, each value applied to
// two mirrored samples.  c, s: the phasors of terms 0..K-1 (entry 0 constant),
// alpha = 2 sin^2(pi k / n), beta = sin(2 pi k / n).
template <class T, int K>
void RotateAndApply(T *x, int32_t n, const double *C, const double *S, const double *alpha,
                    const double *beta) {
    using R = typename Traits<T>::Real;
    double c[K], s[K], al[K], be[K];
    for (int k = 0; k < K; ++k) {
        c[k] = C[k];
        s[k] = S[k];
        al[k] = k > 0 ? alpha[k] : 0.0;
        be[k] = k > 0 ? beta[k] : 0.0;
    }
    const int32_t half = (n - 1) / 2;
    for (int32_t m = 1; m <= half; ++m) {
        // The rotations are independent of each other; the sum runs in order.
        for (int k = 1; k < K; ++k) {
            const double cn = c[k] - (be[k] * s[k] + al[k] * c[k]);
            const double sn = s[k] - (al[k] * s[k] - be[k] * c[k]);
            c[k] = cn;
            s[k] = sn;
        }
        double w = c[0];
        for (int k = 1; k < K; ++k) w = w + c[k];
        const R wr = static_cast<R>(w);
        MultiplyBy(x[m], wr);
        MultiplyBy(x[n - m], wr);
    }
    if (n % 2 == 0) {
        double w = c[0];
        for (int k = 1; k < K; ++k) {
            c[k] = c[k] - (al[k] * c[k] + be[k] * s[k]);
            w = w + c[k];
        }
        MultiplyBy(x[n / 2], static_cast<R>(w));
    }
}

// Four lanes of doubles.
typedef double Lanes4 __attribute__((vector_size(32)));

// The rotation loop of RotateAndApply for K >= 3 with the terms side by side
// in groups of four lanes: lane j of group q holds term 4q+j+1 (the spare
// lanes hold zeros and stay zero), so each step is four multiplies and four
// adds per group, and the terms' independent rotations overlap instead of
// queueing for the FP units.  Four steps at a time, the groups of the four
// steps are transposed so that the window sums of the four steps run side by
// side, each in term order.  Every lane rounds exactly as the scalar form.
template <class T, int K>
FENNEL_VECTORIZED void
RotateTermsAndApply(T *x, int32_t n, const double *C, const double *S, const double *alpha,
                    const double *beta) {
    using R = typename Traits<T>::Real;
    constexpr int G = (K + 2) / 4;
    Lanes4 c[G] = {}, s[G] = {}, al[G] = {}, be[G] = {};
    for (int k = 1; k < K; ++k) {
        c[(k - 1) / 4][(k - 1) % 4] = C[k];
        s[(k - 1) / 4][(k - 1) % 4] = S[k];
        al[(k - 1) / 4][(k - 1) % 4] = alpha[k];
        be[(k - 1) / 4][(k - 1) % 4] = beta[k];
    }
    const double c0 = C[0];
    const int32_t half = (n - 1) / 2;
    auto rotate = [&]() __attribute__((always_inline)) {
#pragma GCC unroll 2
        for (int q = 0; q < G; ++q) {
            const Lanes4 cn = c[q] - (be[q] * s[q] + al[q] * c[q]);
            const Lanes4 sn = s[q] - (al[q] * s[q] - be[q] * c[q]);
            c[q] = cn;
            s[q] = sn;
        }
    };
    int32_t m = 1;
    for (; m + 3 <= half; m += 4) {
        Lanes4 step[4][G];
#pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) {
            rotate();
#pragma GCC unroll 2
            for (int q = 0; q < G; ++q) step[j][q] = c[q];
        }
        // term[k-1] lane j: term k at step m+j.
        Lanes4 term[4 * G];
#pragma GCC unroll 2
        for (int q = 0; q < G; ++q) {
            const Lanes4 lo01 = __builtin_shufflevector(step[0][q], step[1][q], 0, 4, 2, 6);
            const Lanes4 hi01 = __builtin_shufflevector(step[0][q], step[1][q], 1, 5, 3, 7);
            const Lanes4 lo23 = __builtin_shufflevector(step[2][q], step[3][q], 0, 4, 2, 6);
            const Lanes4 hi23 = __builtin_shufflevector(step[2][q], step[3][q], 1, 5, 3, 7);
            term[4 * q + 0] = __builtin_shufflevector(lo01, lo23, 0, 1, 4, 5);
            term[4 * q + 1] = __builtin_shufflevector(hi01, hi23, 0, 1, 4, 5);
            term[4 * q + 2] = __builtin_shufflevector(lo01, lo23, 2, 3, 6, 7);
            term[4 * q + 3] = __builtin_shufflevector(hi01, hi23, 2, 3, 6, 7);
        }
        Lanes4 w = {c0, c0, c0, c0};
#pragma GCC unroll 8
        for (int k = 1; k < K; ++k) w = w + term[k - 1];
#pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) {
            const R wr = static_cast<R>(w[j]);
            MultiplyBy(x[m + j], wr);
            MultiplyBy(x[n - m - j], wr);
        }
    }
    for (; m <= half; ++m) {
        rotate();
        double w = c0;
#pragma GCC unroll 8
        for (int k = 1; k < K; ++k) w = w + c[(k - 1) / 4][(k - 1) % 4];
        const R wr = static_cast<R>(w);
        MultiplyBy(x[m], wr);
        MultiplyBy(x[n - m], wr);
    }
    if (n % 2 == 0) {
        double w = c0;
#pragma GCC unroll 2
        for (int q = 0; q < G; ++q) c[q] = c[q] - (al[q] * c[q] + be[q] * s[q]);
#pragma GCC unroll 8
        for (int k = 1; k < K; ++k) w = w + c[(k - 1) / 4][(k - 1) % 4];
        MultiplyBy(x[n / 2], static_cast<R>(w));
    }
}

// The same loop for a count known only at run time, on the workspace rows.
template <class T>
void RotateAndApplyRows(T *x, int32_t n, int32_t K, double *C, double *S, const double *alpha,
                        const double *beta) {
    using R = typename Traits<T>::Real;
    const int32_t half = (n - 1) / 2;
    for (int32_t m = 1; m <= half; ++m) {
        double w = C[0];
        for (int32_t k = 1; k < K; ++k) {
            const double cn = C[k] - (beta[k] * S[k] + alpha[k] * C[k]);
            const double sn = S[k] - (alpha[k] * S[k] - beta[k] * C[k]);
            C[k] = cn;
            S[k] = sn;
            w = w + cn;
        }
        const R wr = static_cast<R>(w);
        MultiplyBy(x[m], wr);
        MultiplyBy(x[n - m], wr);
    }
    if (n % 2 == 0) {
        double w = C[0];
        for (int32_t k = 1; k < K; ++k) {
            C[k] = C[k] - (alpha[k] * C[k] + beta[k] * S[k]);
            w = w + C[k];
        }
        MultiplyBy(x[n / 2], static_cast<R>(w));
    }
}

}  // namespace

template <class T>
int32_t ApplyAllCosWin(CallFrame &frame, T *x, int32_t n, const double *coefs, int32_t K,
                       int32_t normalise, typename Traits<T>::Real *firstValue,
                       FDArrayHandle workspace) {
    using R = typename Traits<T>::Real;
    HostArray<double, 1> ws(workspace);
    // The workspace is emptied on every path (a null handle is skipped).
    frame.EmptyAtExit(ws);
    auto fail = [&](int32_t status) {
        if (firstValue != nullptr) *firstValue = std::numeric_limits<R>::quiet_NaN();
        return status;
    };
    if (n < 1 || K < 1) return fail(STATUS_EMPTY_ARRAY);
    if (K == 1) {
        const double g = normalise == 0 ? coefs[0] : 1.0;
        Scal(x, n, static_cast<R>(g));
        if (firstValue != nullptr) *firstValue = static_cast<R>(g);
        return STATUS_OK;
    }
    if (ws.is_null()) return fail(STATUS_NO_WORKSPACE);
    if (ws.Resize(4 * K, TYPE_CODE_DOUBLE) < 0) return fail(STATUS_OUT_OF_MEMORY);
    double *S = ws.data();
    double *C = S + K;
    double *alpha = C + K;
    double *beta = alpha + K;

    const double d = normalise != 0 ? coefs[0] : 1.0;
    double sign = 1.0;
    for (int32_t k = 0; k < K; ++k) {
        C[k] = sign * coefs[k] / d;
        S[k] = 0.0;
        sign = -sign;
    }
    const double length = static_cast<double>(n);
    for (int32_t k = 1; k < K; ++k) {
        const double t = std::sin(static_cast<double>(k) * kPi / length);
        alpha[k] = t * 2.0 * t;
        beta[k] = std::sin(static_cast<double>(k) * (2.0 * kPi) / length);
    }
    double w = C[0];
    for (int32_t k = 1; k < K; ++k) w = w + C[k];
    MultiplyBy(x[0], static_cast<R>(w));
    if (firstValue != nullptr) *firstValue = static_cast<R>(w);

    switch (K) {
        case 2: RotateAndApply<T, 2>(x, n, C, S, alpha, beta); break;
        case 3: RotateTermsAndApply<T, 3>(x, n, C, S, alpha, beta); break;
        case 4: RotateTermsAndApply<T, 4>(x, n, C, S, alpha, beta); break;
        case 5: RotateTermsAndApply<T, 5>(x, n, C, S, alpha, beta); break;
        case 7: RotateTermsAndApply<T, 7>(x, n, C, S, alpha, beta); break;
        default: RotateAndApplyRows(x, n, K, C, S, alpha, beta); break;
    }
    return STATUS_OK;
}

template <class T>
int32_t AllCosWin(CallFrame &frame, FDArrayHandle x, int32_t windowType, int32_t normalise,
                  FDArrayHandle workspace) {
    const auto [data, n] = WindowSamples<T>(frame, x);
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (n == 1) return STATUS_OK;
    // X is windowed in place: it cannot also be the workspace.
    FENNEL_TRY(SeparateWorkspaces({workspace}, {x}));
    double coefs[7];
    int32_t K = 0;
    FENNEL_TRY(AllCosWinCoefs(windowType, coefs, &K));
    return ApplyAllCosWin(frame, data, n, coefs, K, normalise, nullptr, workspace);
}

#define FENNEL_COSWIN_INSTANCES(T)                                                               \
    template int32_t ApplyAllCosWin<T>(CallFrame &, T *, int32_t, const double *, int32_t,      \
                                       int32_t, Traits<T>::Real *, FDArrayHandle);               \
    template int32_t AllCosWin<T>(CallFrame &, FDArrayHandle, int32_t, int32_t, FDArrayHandle);
FENNEL_COSWIN_INSTANCES(float)
FENNEL_COSWIN_INSTANCES(double)
FENNEL_COSWIN_INSTANCES(cfloat)
FENNEL_COSWIN_INSTANCES(cdouble)
#undef FENNEL_COSWIN_INSTANCES

}  // namespace fennel

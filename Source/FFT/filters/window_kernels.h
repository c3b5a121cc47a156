// Window shapes on raw element pointers, shared by the window exports, the
// symmetric-window selector and the windowed FIR design.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"
#include "frame/host_array.h"
#include "frame/types.h"

namespace fennel {

// The cosine-sum coefficient table: fills coefs (room for 7) and K for a
// window type, or sets K to 0 and returns STATUS_BAD_SELECTOR.
int32_t AllCosWinCoefs(int32_t windowType, double *coefs, int32_t *K);

// Multiplies x[0 .. n-1] by the periodic cosine-sum window of the K
// coefficients (divided by coefs[0] when normalise is non-zero).  The window's
// value at 0 goes to firstValue (NaN on failure) when it is not null.  K >= 2
// needs the float64 workspace (4K elements while running, emptied when the
// call ends).
template <class T>
int32_t ApplyAllCosWin(CallFrame &frame, T *x, int32_t n, const double *coefs, int32_t K,
                       int32_t normalise, typename Traits<T>::Real *firstValue,
                       FDArrayHandle workspace);

// Periodic Gaussian and Kaiser shapes over n >= 2 samples; sigma must be
// positive, beta any number.  firstValue (may be null) receives w[0].
template <class T>
void ApplyGaussWin(T *x, int32_t n, typename Traits<T>::Real sigma,
                   typename Traits<T>::Real *firstValue);
template <class T>
void ApplyKaiserWin(T *x, int32_t n, typename Traits<T>::Real beta,
                    typename Traits<T>::Real *firstValue);

// Triangle multiplier over length L with peak factor p: x[0] is set to zero,
// x[i] and x[L-i] are multiplied by i*2p/L (by repeated addition).
template <class T>
void TriangleMultiplier(T *x, int32_t L, double p);

// The symmetric window of a type of the shared numbering (0, 1..9, 11, 30, 60,
// 62) over n samples; param is beta (60) or sigma (62).
template <class T>
int32_t SymmetricWindow(CallFrame &frame, T *x, int32_t n, int32_t windowType,
                        typename Traits<T>::Real param, FDArrayHandle workspace);

// The samples of an in-place window's array and their count, the array
// registered to be emptied when the call fails.
template <class T>
struct WindowSpan {
    T *data;
    int32_t n;
};
template <class T>
WindowSpan<T> WindowSamples(CallFrame &frame, FDArrayHandle x) {
    HostArray<T, 1> array(x);
    frame.EmptyOnFailure(array);
    return {array.data(), array.size()};
}

// x <- w * x for one element, in the element's precision.
template <class T>
inline void MultiplyBy(T &x, typename Traits<T>::Real w) {
    if constexpr (Traits<T>::kComplex) {
        auto *parts = reinterpret_cast<typename Traits<T>::Real *>(&x);
        parts[0] = w * parts[0];
        parts[1] = w * parts[1];
    } else {
        x = w * x;
    }
}

}  // namespace fennel

// Reordering routines of FFT outputs: complete-and-centre of real spectra,
// centring in place, the uncentre copy, and the gather of the non-negative
// half of a centred spectrum.  Elements are addressed X[k * stride] so that
// the two-dimensional and multichannel transforms can run them along columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace fennel {

// -0.0 - v: negates v and turns +0.0 into -0.0.
template <class C>
inline C Conj(const C &v) {
    using R = typename C::value_type;
    return C(v.real(), R(-0.0) - v.imag());
}

// On entry X[0..N/2] hold the bins of a real transform; on exit X holds the
// full spectrum, in natural order or (shift) centred with zero frequency at
// index N/2.
template <class C>
void CompleteAndCentre(C *X, ptrdiff_t s, int32_t N, bool shift) {
    const int32_t half = N / 2;
    const int32_t upper = (N - 1) / 2;  // bins 1 .. upper have a mirror
    if (!shift) {
        for (int32_t k = 1; k <= upper; ++k) X[(N - k) * s] = Conj(X[k * s]);
        return;
    }
    for (int32_t j = 0; j < upper; ++j) X[(half + 1 + j) * s] = X[(1 + j) * s];
    std::swap(X[0], X[half * s]);
    const int32_t t = (N % 2 == 0) ? 1 : 0;
    for (int32_t j = 0; j < upper; ++j) X[(t + j) * s] = Conj(X[(N - 1 - j) * s]);
}

// Centres a full spectrum in place: zero frequency to index N/2.
template <class C>
void Centre(C *X, ptrdiff_t s, int32_t N) {
    const int32_t half = N / 2;
    if (N % 2 == 0) {
        for (int32_t i = 0; i < half; ++i) std::swap(X[i * s], X[(i + half) * s]);
        return;
    }
    const C saved = X[0];
    for (int32_t i = 0; i < half; ++i) {
        X[i * s] = X[(i + half + 1) * s];
        X[(i + half + 1) * s] = X[(i + 1) * s];
    }
    X[half * s] = saved;
}

// Copies a centred spectrum X (stride xs) into natural order W (stride ws).
template <class C>
void UncentreCopy(const C *X, ptrdiff_t xs, C *W, ptrdiff_t ws, int32_t N) {
    const int32_t half = N / 2;
    if (N % 2 == 0) {
        for (int32_t i = 0; i < half; ++i) {
            W[i * ws] = X[(half + i) * xs];
            W[(half + i) * ws] = X[i * xs];
        }
        return;
    }
    for (int32_t i = 0; i <= half; ++i) W[i * ws] = X[(half + i) * xs];
    for (int32_t i = 0; i < half; ++i) W[(half + 1 + i) * ws] = X[i * xs];
}

// Gathers bins 0 .. N/2 of a centred spectrum X into W (N/2 + 1 bins), the
// input of a real inverse.  The imaginary parts of the zero and Nyquist bins
// are set to zero: a real inverse disregards them.
template <class C>
void GatherHalfSpectrum(const C *X, int32_t N, C *W) {
    const int32_t half = N / 2;
    if (N % 2 != 0) {
        for (int32_t i = 0; i <= half; ++i) W[i] = X[half + i];
        W[0] = C(W[0].real(), 0);
        return;
    }
    W[0] = C(X[half].real(), 0);
    for (int32_t i = 1; i < half; ++i) W[i] = X[half + i];
    W[half] = C(X[0].real(), 0);
}

}  // namespace fennel

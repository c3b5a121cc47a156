// Reordering routines of FFT outputs: complete-and-centre of real spectra,
// centring in place, the uncentre copy, and the gather of the non-negative
// half of a centred spectrum.  Elements are addressed X[k * stride] so that
// the two-dimensional and multichannel transforms can run them along columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <complex>
#include <cstring>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace fennel {

// -0.0 - v: negates v and turns +0.0 into -0.0.
template <class C>
inline C Conj(const C &v) {
    using R = typename C::value_type;
    return C(v.real(), R(-0.0) - v.imag());
}

// Writes one row of Cols bins of a real transform's full spectrum: bins
// 0 .. Cols/2 from own (moved, so own may overlap the row), bins Cols/2 + 1
// .. Cols - 1 as dst[Cols - k] = conj(mirror[k]) for k = 1 .. (Cols-1)/2,
// read downwards in mirror (consecutive rows read consecutive mirrors
// downwards).  With stream (dst 16-byte aligned, Cols even for float, own
// not overlapping the row) through stores that bypass the cache.
template <class C>
inline void WriteFullRow(C *dst, const C *own, const C *mirror, int32_t Cols, bool stream) {
    using Real = typename C::value_type;
    const ptrdiff_t half = Cols / 2 + 1;
    const int32_t upper = (Cols - 1) / 2;
#if defined(__SSE2__)
    if constexpr (sizeof(C) == 8) {
        if (stream && Cols % 2 == 0 && reinterpret_cast<uintptr_t>(dst) % 16 == 0) {
            // Two complex floats per store: own's bins, then a pair that
            // straddles half when half is odd, then mirror's conjugates.
            const float *o = reinterpret_cast<const float *>(own);
            const float *m = reinterpret_cast<const float *>(mirror);
            float *d = reinterpret_cast<float *>(dst);
            int32_t e = 0;
            for (; e + 1 < half; e += 2) _mm_stream_ps(d + 2 * e, _mm_loadu_ps(o + 2 * e));
            if (e < half) {
                const int32_t k = Cols - e - 1;
                _mm_stream_ps(d + 2 * e, _mm_setr_ps(o[2 * e], o[2 * e + 1], m[2 * k], -0.0f - m[2 * k + 1]));
                e += 2;
            }
            const __m128 negZero = _mm_set1_ps(-0.0f);
            const __m128 realLanes = _mm_castsi128_ps(_mm_setr_epi32(-1, 0, -1, 0));
            for (; e < Cols; e += 2) {
                // Bins Cols - e and Cols - e - 1 of mirror, swapped, conjugated.
                const __m128 v = _mm_loadu_ps(m + 2 * (Cols - e - 1));
                const __m128 w = _mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 0, 3, 2));
                _mm_stream_ps(d + 2 * e, _mm_or_ps(_mm_and_ps(realLanes, w),
                                                   _mm_andnot_ps(realLanes, _mm_sub_ps(negZero, w))));
            }
            return;
        }
    }
    if constexpr (sizeof(C) == 16) {
        if (stream) {
            const double *src = reinterpret_cast<const double *>(own);
            double *d = reinterpret_cast<double *>(dst);
            for (ptrdiff_t k = 0; k < half; ++k) _mm_stream_pd(d + 2 * k, _mm_loadu_pd(src + 2 * k));
            const double *sm = reinterpret_cast<const double *>(mirror);
            const __m128d negZero = _mm_set1_pd(-0.0);
            for (int32_t k = upper; k >= 1; --k) {
                const __m128d v = _mm_loadu_pd(sm + 2 * k);
                _mm_stream_pd(d + 2 * (Cols - k), _mm_move_sd(_mm_sub_pd(negZero, v), v));
            }
            return;
        }
    }
#else
    (void)stream;
#endif
    if (dst != own) std::memmove(static_cast<void *>(dst), own, sizeof(C) * half);
    // On the components (a complex is two reals), so that the loop
    // vectorises.
    const Real *s = reinterpret_cast<const Real *>(mirror);
    Real *d = reinterpret_cast<Real *>(dst);
    for (int32_t k = upper; k >= 1; --k) {
        d[2 * (Cols - k)] = s[2 * k];
        d[2 * (Cols - k) + 1] = Real(-0.0) - s[2 * k + 1];
    }
}

// row[N - k] = conj(mirror[k]) for k = 1 .. (N - 1) / 2, on contiguous
// rows; mirror may be row itself.
void MirrorRow(std::complex<float> *row, const std::complex<float> *mirror, ptrdiff_t N);
void MirrorRow(std::complex<double> *row, const std::complex<double> *mirror, ptrdiff_t N);
// The full spectrum of N bins into out from the N/2 + 1 bins of half, in
// one pass (out and half do not overlap).
void WriteFullSpectrum(std::complex<float> *out, const std::complex<float> *half, int32_t N);
void WriteFullSpectrum(std::complex<double> *out, const std::complex<double> *half, int32_t N);

// On entry X[0..N/2] hold the bins of a real transform; on exit X holds the
// full spectrum, in natural order or (shift) centred with zero frequency at
// index N/2.
template <class C>
void CompleteAndCentre(C *X, ptrdiff_t s, int32_t N, bool shift) {
    const int32_t half = N / 2;
    const int32_t upper = (N - 1) / 2;  // bins 1 .. upper have a mirror
    if (!shift && s == 1) return MirrorRow(X, X, N);
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

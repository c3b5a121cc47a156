// Shared pieces of convolution, correlation and autocorrelation in one and
// two dimensions: the workspace rule, the transform length rule, the direct and
// frequency-domain methods, the spectrum kernels and the croppers.
//
// Operand pairs: X and Y are the element types of the two operands; the
// result (and every scratch buffer of the result) has type OutOf<X, Y>, the
// complex type when either operand is complex.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "dft/plan.h"
#include "fennel_dsp.h"
#include "frame/call_frame.h"
#include "frame/host_array.h"
#include "frame/types.h"

namespace fennel::corr {

template <class X, class Y>
using OutOf = std::conditional_t<Traits<Y>::kComplex, Y, X>;

// Largest element count a host array can hold (its sizes are int32).
constexpr int64_t kMaxElements = INT32_MAX;

// The smallest number >= L whose only prime factors are 2, 3, 5 and 7.
int64_t FastLength(int64_t L);

// Registers the two workspaces of a call (null ones are skipped): each is
// left empty when the call ends, with no host call for one already empty.
template <class A, class B>
void LeaveEmpty(CallFrame &frame, FDArrayHandle first, FDArrayHandle second) {
    frame.EmptyAtExitIfHeld(HostArray<A, 1>(first));
    frame.EmptyAtExitIfHeld(HostArray<B, 1>(second));
}

// ---- element kernels ----------------------------------------------------

// d = conj(s) (s when real), widened to D (imaginary part 0).
template <class D, class S>
inline D ConjWiden(const S &s) {
    if constexpr (Traits<S>::kComplex)
        return D(s.real(), -s.imag());
    else if constexpr (Traits<D>::kComplex)
        return D(s, typename Traits<D>::Real(0));
    else
        return s;
}

// s widened to D.
template <class D, class S>
inline D Widen(const S &s) {
    if constexpr (Traits<D>::kComplex && !Traits<S>::kComplex)
        return D(s, typename Traits<D>::Real(0));
    else
        return s;
}

// d += b * a, the product written out term by term; a real scalar scales both
// parts of a complex b.
template <class D, class A, class B>
inline void MulAdd(D &d, const B &b, const A &a) {
    if constexpr (Traits<A>::kComplex) {
        const auto re = b.real() * a.real() - b.imag() * a.imag();
        const auto im = b.imag() * a.real() + b.real() * a.imag();
        d = D(d.real() + re, d.imag() + im);
    } else if constexpr (Traits<B>::kComplex) {
        d = D(d.real() + b.real() * a, d.imag() + b.imag() * a);
    } else {
        d = d + b * a;
    }
}

// dest[i] = conj(source[n - 1 - i]) (no conjugation for real source),
// widened to the destination type.
template <class D, class S>
void ReverseCopy(D *dest, const S *source, int64_t n) {
    for (int64_t i = 0; i < n; ++i) dest[i] = ConjWiden<D>(source[n - 1 - i]);
}

// Bins per row and row pitch (complex elements) of the spectra of rows of n
// points of element type T: real data keep the n/2 + 1 non-negative bins in
// rows of n complex elements; complex data keep all n bins.
template <class T>
constexpr int64_t SpectrumBins(int64_t n) {
    return Traits<T>::kComplex ? n : n / 2 + 1;
}

// d[k] = p[k] * q[k] over n interleaved complex values, the product written
// out term by term (vector code where the processor has it, same roundings).
// d may alias p or q.
void MultiplyBins(const float *p, const float *q, float *d, int64_t n);
void MultiplyBins(const double *p, const double *q, double *d, int64_t n);

// d[k] = p[k] * q[k] (no conjugation) over every bin of `rows` spectra of
// rows of n points of element type T.  d may alias p or q.
template <class T>
void MultiplySpectra(const typename Traits<T>::Complex *p, const typename Traits<T>::Complex *q,
                     typename Traits<T>::Complex *d, int64_t rows, int64_t n) {
    using C = typename Traits<T>::Complex;
    using R = typename Traits<T>::Real;
    static_assert(sizeof(C) == 2 * sizeof(R));
    const int64_t bins = SpectrumBins<T>(n);
    for (int64_t r = 0; r < rows; ++r)
        MultiplyBins(reinterpret_cast<const R *>(p + r * n), reinterpret_cast<const R *>(q + r * n),
                     reinterpret_cast<R *>(d + r * n), bins);
}

// d[k] = |s[k]|^2 (imaginary part 0) over the same bins as MultiplySpectra.
template <class T>
void SquareMagnitudes(const typename Traits<T>::Complex *s, typename Traits<T>::Complex *d,
                      int64_t rows, int64_t n) {
    using R = typename Traits<T>::Real;
    const int64_t bins = SpectrumBins<T>(n);
    for (int64_t r = 0; r < rows; ++r) {
        const R *sr = reinterpret_cast<const R *>(s + r * n);
        R *dr = reinterpret_cast<R *>(d + r * n);
        for (int64_t k = 0; k < bins; ++k) {
            const R a = sr[2 * k], b = sr[2 * k + 1];
            dr[2 * k] = a * a + b * b;
            dr[2 * k + 1] = R(0);
        }
    }
}

// The `same` part of a full result whose rows hold colsA + colsB - 1
// elements: rowsA rows of colsA elements from row rowsB/2, column colsB/2.
template <class T>
void CropSame(T *dest, const T *full, int32_t rowsA, int32_t colsA, int32_t rowsB, int32_t colsB) {
    const int64_t width = int64_t{colsA} + colsB - 1;
    const T *from = full + (rowsB / 2) * width + colsB / 2;
    for (int32_t r = 0; r < rowsA; ++r)
        for (int32_t c = 0; c < colsA; ++c) dest[int64_t{r} * colsA + c] = from[r * width + c];
}

// The `valid` part: rowsA - rowsB + 1 rows (none if below 1) of
// colsA - colsB + 1 elements from row rowsB - 1, column colsB - 1.
template <class T>
void CropValid(T *dest, const T *full, int32_t rowsA, int32_t colsA, int32_t rowsB, int32_t colsB) {
    const int64_t width = int64_t{colsA} + colsB - 1;
    const int32_t rows = rowsA - rowsB + 1, cols = colsA - colsB + 1;
    if (rows < 1 || cols < 1) return;
    const T *from = full + (rowsB - 1) * width + (colsB - 1);
    for (int32_t r = 0; r < rows; ++r)
        for (int32_t c = 0; c < cols; ++c) dest[int64_t{r} * cols + c] = from[r * width + c];
}

// ---- the two methods ---------------------------------------------------------

// Full 1D convolution of a (lenA elements, the scalars) with b (lenB) into
// dest (lenA + lenB - 1 elements).  Scalar loops while lenB < 25; otherwise
// axpy calls over blocks of blockSize elements of b (below 1: 100000), each
// block reused for every scalar of a.  A is real or equal to B.
template <class A, class B>
void DirectConvolve(const A *a, int32_t lenA, const B *b, int32_t lenB, int32_t blockSize,
                    OutOf<A, B> *dest);

// Full 2D convolution of two row-major matrices into dest ((R1 + R2 - 1) x
// (C1 + C2 - 1)).  The operand with fewer elements supplies the scalars (x on
// a tie); scalar loops when the other is below 25 in both dimensions, else
// one axpy per column (when it has more rows than columns) or per row.
template <class T>
void DirectConvolve2D(const T *x, int32_t r1, int32_t c1, const T *y, int32_t r2, int32_t c2,
                      T *dest);

// Full convolution (kind 0) or correlation (kind 1: x reversed in every
// dimension and conjugated) of x (r1 x c1) and y (r2 x c2) into dest
// ((r1 + r2 - 1) x (c1 + c2 - 1)) through transforms of FastLength sizes in
// `rank` dimensions (1: r1 = r2 = 1).  The plan is reused or rebuilt, and
// released when the call fails; fftScratch holds the work buffers and is
// emptied at the end.  When x and y are the same array only one forward
// transform is made; kind 1 then writes the lags rotated into place.
template <class X, class Y>
int32_t FrequencyDomainCore(CallFrame &frame, const X *x, int32_t r1, int32_t c1, const Y *y,
                            int32_t r2, int32_t c2, int rank, OutOf<X, Y> *dest, int32_t kind,
                            FDArrayHandle fftScratch, Plan plan);

// The 1D form.
template <class X, class Y>
int32_t FrequencyDomainCore(CallFrame &frame, const X *x, int32_t n, const Y *y, int32_t m,
                            OutOf<X, Y> *dest, int32_t kind, FDArrayHandle fftScratch, Plan plan) {
    return FrequencyDomainCore<X, Y>(frame, x, 1, n, y, 1, m, 1, dest, kind, fftScratch, plan);
}

// Correlation of x (n) and y (m) into out (n + m - 1 elements) by the direct
// (algorithm 0, through reverseScratch) or frequency-domain method, then the
// normalisation (0 none, 1 unbiased, 2 biased).  Shared by correlation and
// autocorrelation.
template <class X, class Y>
int32_t CorrelationCore(CallFrame &frame, const X *x, int32_t n, const Y *y, int32_t m,
                        OutOf<X, Y> *out, int32_t algorithm, int32_t normalization,
                        int32_t blockSize, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                        Plan plan);

// Divides each lag of a full correlation of lengths n and m by its number of
// products (unbiased, 1) or every lag by max(n, m) (biased, 2).
template <class T>
void Normalize(T *out, int32_t n, int32_t m, int32_t normalization);

}  // namespace fennel::corr

#include "correlation/correlation_core.h"

#include <algorithm>
#include <cstring>

#include "correlation/top_rows.h"
#include "dft/plan.h"
#include "numerics/blas.h"
#include "numerics/vectorize.h"

namespace fennel::corr {

int64_t FastLength(int64_t L) {
    for (int64_t candidate = L < 1 ? 1 : L;; ++candidate) {
        int64_t rest = candidate;
        for (int64_t factor : {7, 5, 3, 2}) {
            while (rest >= 2 && rest % factor == 0) rest /= factor;
        }
        if (rest == 1) return candidate;
    }
}

namespace {
template <class R>
FENNEL_VECTORIZED void
MultiplyBinsClones(const R *p, const R *q, R *d, int64_t n) {
    for (int64_t k = 0; k < n; ++k) {
        const R a = p[2 * k], b = p[2 * k + 1], c = q[2 * k], e = q[2 * k + 1];
        d[2 * k] = a * c - b * e;
        d[2 * k + 1] = b * c + a * e;
    }
}
}  // namespace

void MultiplyBins(const float *p, const float *q, float *d, int64_t n) {
    MultiplyBinsClones(p, q, d, n);
}
void MultiplyBins(const double *p, const double *q, double *d, int64_t n) {
    MultiplyBinsClones(p, q, d, n);
}

namespace {

// v * s, each part of a complex v.
template <class O>
inline O Scaled(const O &v, typename Traits<O>::Real s) {
    if constexpr (Traits<O>::kComplex)
        return O(v.real() * s, v.imag() * s);
    else
        return v * s;
}

// ---- frequency-domain helpers -----------------------------------------------

// Copies rows x cols of src into buf as rows of `pitch` elements (reversed in
// both dimensions and conjugated when `reversed`), zero-filling each row and
// then buf up to `region` elements.
template <class O, class S>
void LoadPadded(O *buf, const S *src, int32_t rows, int32_t cols, int64_t pitch, int64_t region,
                bool reversed) {
    for (int32_t r = 0; r < rows; ++r) {
        O *row = buf + r * pitch;
        if (reversed) {
            ReverseCopy(row, src + int64_t{rows - 1 - r} * cols, cols);
        } else if constexpr (std::is_same_v<O, S>) {
            std::memcpy(row, src + int64_t{r} * cols, sizeof(O) * static_cast<size_t>(cols));
        } else {
            const S *from = src + int64_t{r} * cols;
            for (int32_t c = 0; c < cols; ++c) row[c] = Widen<O>(from[c]);
        }
        std::fill(row + cols, row + pitch, O(0));
    }
    std::fill(buf + rows * pitch, buf + region, O(0));
}

// dest[0 .. n) <- src[0 .. n) times s (a plain copy when s is 1).
template <class O>
void CopyScaled(O *dest, const O *src, int64_t n, typename Traits<O>::Real s) {
    if (s == typename Traits<O>::Real(1)) {
        std::memcpy(dest, src, sizeof(O) * static_cast<size_t>(n));
        return;
    }
    for (int64_t i = 0; i < n; ++i) dest[i] = Scaled(src[i], s);
}

// dest (rows x cols) <- the top-left block of buf (rows of `pitch`), times s.
template <class O>
void Extract(O *dest, const O *buf, int64_t rows, int64_t cols, int64_t pitch,
             typename Traits<O>::Real s) {
    for (int64_t r = 0; r < rows; ++r) CopyScaled(dest + r * cols, buf + r * pitch, cols, s);
}

// dest ((2 r1 - 1) x (2 c1 - 1)) <- the circular autocorrelation in buf (lr x
// lc, rows of `pitch`) times s, with lag (0, 0) moved to (r1 - 1, c1 - 1).
template <class O>
void ExtractRotated(O *dest, const O *buf, int32_t r1, int32_t c1, int64_t lr, int64_t lc,
                    int64_t pitch, typename Traits<O>::Real s) {
    const int64_t rows = 2 * int64_t{r1} - 1, cols = 2 * int64_t{c1} - 1;
    for (int64_t r = 0; r < rows; ++r) {
        const int64_t lag = r - (r1 - 1);
        const O *row = buf + (lag < 0 ? lag + lr : lag) * pitch;
        O *out = dest + r * cols;
        // Negative column lags sit at the end of the row, the others at its start.
        CopyScaled(out, row + lc - (c1 - 1), c1 - 1, s);
        CopyScaled(out + (c1 - 1), row, c1, s);
    }
}

}  // namespace

template <class A, class B>
void DirectConvolve(const A *a, int32_t lenA, const B *b, int32_t lenB, int32_t blockSize,
                    OutOf<A, B> *dest) {
    using O = OutOf<A, B>;
    static_assert(std::is_same_v<A, B> || !Traits<A>::kComplex, "the scalars are real or of b's type");
    std::fill(dest, dest + (int64_t{lenA} + lenB - 1), O(0));
    if (lenB < 25) {
        for (int32_t i = 0; i < lenA; ++i)
            for (int32_t j = 0; j < lenB; ++j) MulAdd(dest[i + j], b[j], a[i]);
        return;
    }
    const int32_t block = blockSize < 1 ? 100000 : blockSize;
    int64_t s = 0;
    if (block < lenB) {
        do {
            for (int32_t i = 0; i < lenA; ++i) Axpy(block, a[i], b + s, 1, dest + s + i, 1);
            s += block;
        } while (s + block < lenB);
    }
    const auto rest = static_cast<int32_t>(lenB - s);
    for (int32_t i = 0; i < lenA; ++i) Axpy(rest, a[i], b + s, 1, dest + s + i, 1);
}

template <class T>
void DirectConvolve2D(const T *x, int32_t r1, int32_t c1, const T *y, int32_t r2, int32_t c2,
                      T *dest) {
    const int64_t width = int64_t{c1} + c2 - 1;
    std::fill(dest, dest + (int64_t{r1} + r2 - 1) * width, T(0));
    const bool x_scalars = int64_t{r1} * c1 <= int64_t{r2} * c2;
    const T *s = x_scalars ? x : y;
    const T *big = x_scalars ? y : x;
    const int32_t rs = x_scalars ? r1 : r2, cs = x_scalars ? c1 : c2;
    const int32_t rb = x_scalars ? r2 : r1, cb = x_scalars ? c2 : c1;
    for (int32_t i = 0; i < rs; ++i) {
        for (int32_t j = 0; j < cs; ++j) {
            const T a = s[int64_t{i} * cs + j];
            T *origin = dest + i * width + j;
            if (cb < 25 && rb < 25) {
                for (int32_t r = 0; r < rb; ++r)
                    for (int32_t c = 0; c < cb; ++c) MulAdd(origin[r * width + c], big[r * cb + c], a);
            } else if (rb > cb) {
                for (int32_t c = 0; c < cb; ++c)
                    Axpy(rb, a, big + c, cb, origin + c, static_cast<int32_t>(width));
            } else {
                for (int32_t r = 0; r < rb; ++r) Axpy(cb, a, big + int64_t{r} * cb, 1, origin + r * width, 1);
            }
        }
    }
}

template <class X, class Y>
int32_t FrequencyDomainCore(CallFrame &frame, const X *x, int32_t r1, int32_t c1, const Y *y,
                            int32_t r2, int32_t c2, int rank, OutOf<X, Y> *dest, int32_t kind,
                            FDArrayHandle fftScratch, Plan plan) {
    using O = OutOf<X, Y>;
    using C = typename Traits<O>::Complex;
    constexpr bool kReal = !Traits<O>::kComplex;
    const int64_t rows = int64_t{r1} + r2 - 1, cols = int64_t{c1} + c2 - 1;
    const int64_t lr = rank == 1 ? 1 : FastLength(rows), lc = FastLength(cols);
    if (kind != 0 && kind != 1) return STATUS_BAD_SELECTOR;

    plan.ReleaseOnFailure(frame);
    HostArray<O, 1> ws(fftScratch);

    // Layout of a work buffer.  Data: rows of lc elements (a 1D real buffer
    // is padded to lc + 2 reals).  Spectra: 1D real lc / 2 + 1 bins; complex
    // lr x lc bins; 2D real the non-negative column frequencies.  Those are
    // packed rows of lc / 2 + 1 bins, read and written in that layout by
    // both directions, where the engine lets the backward transform have
    // strides of its own.  A foreign engine has one set of strides for both
    // directions: there the transform is described column-first (lengths
    // {lc, lr}, strides {0, 1, lc}), so that its halved dimension is the rows
    // and the spectra are (lr / 2 + 1) packed rows of lc bins (rows of
    // lc / 2 + 1 bins at a pitch of lc, the other choice, run the transforms
    // about 1.5x slower and need twice the memory).
    const bool extensions = Plan::HasExtensions();
    const bool packed_rows = kReal && rank > 1 && extensions;
    const bool half_rows = kReal && rank > 1 && !packed_rows;
    const int64_t half = lc / 2 + 1;
    const int64_t region = kReal && rank == 1 ? lc + 2 : lr * lc;
    const int64_t w = half_rows ? (lr + 2) * lc : packed_rows ? 2 * lr * half : region;

    PlanGeometry g;
    g.precision = kPrecisionOf<O>;
    g.domain = kDomainOf<O>;
    g.rank = rank;
    g.lengths[0] = rank == 1 || half_rows ? lc : lr;
    g.lengths[1] = half_rows ? lr : lc;
    g.inverse = true;
    if (rank > 1) {
        g.strides = true;
        g.complex_complex = kReal;
        const MKL_LONG lcl = static_cast<MKL_LONG>(lc), hl = static_cast<MKL_LONG>(half);
        const MKL_LONG strides[3] = {0, half_rows ? 1 : lcl, half_rows ? lcl : 1};
        for (int i = 0; i < 3; ++i) g.input_strides[i] = g.output_strides[i] = strides[i];
        if (packed_rows) {
            const MKL_LONG spectra[3] = {0, hl, 1};
            g.backward_layout = true;
            for (int i = 0; i < 3; ++i) {
                g.output_strides[i] = g.backward_input_strides[i] = spectra[i];
                g.backward_output_strides[i] = strides[i];
            }
        }
    }
    // The spectrum kernels over that layout.
    const auto multiply = [&](const C *p, const C *q, C *d) {
        if (half_rows)
            MultiplySpectra<C>(p, q, d, lr / 2 + 1, lc);
        else if (packed_rows)
            MultiplySpectra<C>(p, q, d, 1, lr * half);
        else
            MultiplySpectra<O>(p, q, d, lr, lc);
    };
    const auto square = [&](const C *p, C *d) {
        if (half_rows)
            SquareMagnitudes<C>(p, d, lr / 2 + 1, lc);
        else if (packed_rows)
            SquareMagnitudes<C>(p, d, 1, lr * half);
        else
            SquareMagnitudes<O>(p, d, lr, lc);
    };
    // x and y the same array: one forward transform.  Each buffer starts on
    // a 64-byte boundary, wherever the host put the block: the transforms
    // then run their aligned (vectorised) code.
    const bool same = std::is_same_v<X, Y> && static_cast<const void *>(x) == static_cast<const void *>(y);
    constexpr int64_t kPad = 64 / sizeof(O);
    const int64_t stride = (w + kPad - 1) / kPad * kPad;
    const int64_t count = (same ? 2 : 3) * stride + kPad;
    if (count > kMaxElements) return STATUS_OUT_OF_MEMORY;  // before any planning
    FENNEL_TRY(plan.Acquire(g));
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    FENNEL_TRY(ResizeWorkspace(ws, count));
    O *block = ws.data();
    const auto address = reinterpret_cast<uintptr_t>(block);
    O *a = reinterpret_cast<O *>((address + 63) / 64 * 64);
    O *b = a + stride;
    const auto spectrum = [](O *p) { return reinterpret_cast<C *>(p); };

    // Forward: with packed rows only the operand's own rows are transformed
    // along the rows (the padding rows are zero and are neither written nor
    // read).  Backward: with the extensions the scale is left to the copy
    // out, which multiplies each element by it as the engine would.
    const auto load = [&](O *buf, const auto *src, int32_t r, int32_t c, bool reversed) {
        LoadPadded(buf, src, r, c, lc, packed_rows ? int64_t{r} * lc : region, reversed);
    };
    const auto forward = [&](O *in, int32_t r, O *out) -> int32_t {
        return packed_rows ? ForwardTopRows(plan, g, in, out, r) : plan.Forward(in, out);
    };
    using R = typename Traits<O>::Real;
    const R scale = extensions ? static_cast<R>(1.0 / (static_cast<double>(lr) * static_cast<double>(lc)))
                               : R(1);
    const auto backward = [&](O *in, O *out) -> int32_t {
        return extensions ? plan.BackwardUnscaled(in, out) : plan.Backward(in, out);
    };

    if (!same) {
        O *c = b + stride;
        load(a, x, r1, c1, kind == 1);
        load(b, y, r2, c2, false);
        FENNEL_TRY(forward(a, r1, c));
        FENNEL_TRY(forward(b, r2, a));
        multiply(spectrum(c), spectrum(a), spectrum(b));
        FENNEL_TRY(backward(b, a));
        Extract(dest, a, rows, cols, lc, scale);
        return STATUS_OK;
    }
    load(a, x, r1, c1, false);
    FENNEL_TRY(forward(a, r1, b));
    if (kind == 0)
        multiply(spectrum(b), spectrum(b), spectrum(a));
    else
        square(spectrum(b), spectrum(a));
    FENNEL_TRY(backward(a, b));
    if (kind == 0)
        Extract(dest, b, rows, cols, lc, scale);
    else
        ExtractRotated(dest, b, r1, c1, lr, lc, lc, scale);
    return STATUS_OK;
}

template <class T>
void Normalize(T *out, int32_t n, int32_t m, int32_t normalization) {
    const int64_t length = int64_t{n} + m - 1;
    const int32_t lo = std::min(n, m), hi = std::max(n, m);
    if (normalization == 2) {
        Scal(out, static_cast<int32_t>(length), static_cast<typename Traits<T>::Real>(1.0 / hi));
    } else if (normalization == 1) {
        for (int32_t i = 0; i + 1 < lo; ++i) {
            const auto f = static_cast<typename Traits<T>::Real>(1.0 / (i + 1));
            out[i] = Scaled(out[i], f);
            out[length - 1 - i] = Scaled(out[length - 1 - i], f);
        }
        Scal(out + (lo - 1), hi - lo + 1, static_cast<typename Traits<T>::Real>(1.0 / lo));
    }
}

template <class X, class Y>
int32_t CorrelationCore(CallFrame &frame, const X *x, int32_t n, const Y *y, int32_t m,
                        OutOf<X, Y> *out, int32_t algorithm, int32_t normalization,
                        int32_t blockSize, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                        Plan plan) {
    plan.ReleaseOnFailure(frame);
    if (algorithm == 1) {
        FENNEL_TRY((FrequencyDomainCore<X, Y>(frame, x, n, y, m, out, 1, fftScratch, plan)));
    } else {
        if (reverseScratch == nullptr) return STATUS_NO_WORKSPACE;
        HostArray<X, 1> rs(reverseScratch);
        FENNEL_TRY(ResizeWorkspace(rs, int64_t{n} + m - 1));
        X *reversed = rs.data();
        ReverseCopy(reversed, x, n);
        // The shorter operand supplies the scalars; of a mixed pair the real one.
        if constexpr (std::is_same_v<X, Y>) {
            if (n <= m)
                DirectConvolve(reversed, n, y, m, blockSize, out);
            else
                DirectConvolve(y, m, reversed, n, blockSize, out);
        } else if constexpr (!Traits<X>::kComplex) {
            DirectConvolve(reversed, n, y, m, blockSize, out);
        } else {
            DirectConvolve(y, m, reversed, n, blockSize, out);
        }
    }
    Normalize(out, n, m, normalization);
    return STATUS_OK;
}

#define FENNEL_CORR_PAIR(X, Y)                                                                     \
    template int32_t FrequencyDomainCore<X, Y>(CallFrame &, const X *, int32_t, int32_t,           \
                                               const Y *, int32_t, int32_t, int, OutOf<X, Y> *,     \
                                               int32_t, FDArrayHandle, Plan);                       \
    template int32_t CorrelationCore<X, Y>(CallFrame &, const X *, int32_t, const Y *, int32_t,    \
                                           OutOf<X, Y> *, int32_t, int32_t, int32_t, FDArrayHandle, \
                                           FDArrayHandle, Plan);
FENNEL_CORR_PAIR(float, float)
FENNEL_CORR_PAIR(double, double)
FENNEL_CORR_PAIR(cfloat, cfloat)
FENNEL_CORR_PAIR(cdouble, cdouble)
FENNEL_CORR_PAIR(float, cfloat)
FENNEL_CORR_PAIR(double, cdouble)
FENNEL_CORR_PAIR(cfloat, float)
FENNEL_CORR_PAIR(cdouble, double)
#undef FENNEL_CORR_PAIR

// Of a mixed pair the real operand supplies the scalars.
#define FENNEL_DIRECT(A, B) \
    template void DirectConvolve<A, B>(const A *, int32_t, const B *, int32_t, int32_t, OutOf<A, B> *);
FENNEL_DIRECT(float, float)
FENNEL_DIRECT(double, double)
FENNEL_DIRECT(cfloat, cfloat)
FENNEL_DIRECT(cdouble, cdouble)
FENNEL_DIRECT(float, cfloat)
FENNEL_DIRECT(double, cdouble)
#undef FENNEL_DIRECT

#define FENNEL_CORR_TYPE(T)                                                                      \
    template void DirectConvolve2D<T>(const T *, int32_t, int32_t, const T *, int32_t, int32_t, T *); \
    template void Normalize<T>(T *, int32_t, int32_t, int32_t);
FENNEL_CORR_TYPE(float)
FENNEL_CORR_TYPE(double)
FENNEL_CORR_TYPE(cfloat)
FENNEL_CORR_TYPE(cdouble)
#undef FENNEL_CORR_TYPE

}  // namespace fennel::corr

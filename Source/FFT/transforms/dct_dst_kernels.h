// The DCT and DST on real DFTs: how each transform packs its signal for the
// DFT, the DFT it needs, and the twiddled unpacking after it.  A pass runs on
// one line (the 1D transforms) or on a batch of lines: the rows or the columns
// of a matrix (the 2D transforms, one pass per dimension).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "dft/plan.h"
#include "numerics/blas.h"
#include "frame/types.h"

namespace fennel::trig {

enum Kind : int32_t { kDCT = 0, kDST = 1, kInvDCT = 2, kInvDST = 3 };

// The single- and double-precision constants of the DCT normalisation.
template <class T> struct Roots;
template <> struct Roots<float> {
    static constexpr float kSqrt2 = 1.4142135f;
    static constexpr float kInvSqrt2 = 0.70710677f;
};
template <> struct Roots<double> {
    static constexpr double kSqrt2 = 1.4142135623730951;
    static constexpr double kInvSqrt2 = 0.7071067811865476;
};


// The DFT behind a transform of N points.
struct LineDft {
    DFTI_CONFIG_VALUE domain;
    bool forward;
    ptrdiff_t length;   // DFT length
    ptrdiff_t in_len;   // per line: DFT input elements (real, or complex)
    ptrdiff_t out_len;  // per line: DFT output elements
    ptrdiff_t work;     // per line: workspace elements (in + out, workspace type)
};

inline LineDft DftFor(Kind kind, ptrdiff_t N) {
    switch (kind) {
        case kDCT: {
            const ptrdiff_t L = N % 2 == 0 ? N : 2 * N;
            return {DFTI_REAL, true, L, L, L / 2 + 1, 2 * L + 2};
        }
        case kDST:
        case kInvDST: {
            const ptrdiff_t L = 2 * N + 2;
            return {DFTI_REAL, true, L, L, N + 2, 2 * L + 2};
        }
        case kInvDCT:
            // Odd: conjugate-even Z0..ZN in, 2N reals out (N complex).
            // Even: N complex in, N complex out.
            if (N % 2 != 0) return {DFTI_REAL, false, 2 * N, N + 1, 2 * N, 2 * N + 1};
            return {DFTI_COMPLEX, false, N, N, N, 2 * N};
    }
    return {DFTI_REAL, true, 0, 0, 0, 0};
}

// A chunk of `count` lines of a batch, starting at line `first`.  The work
// areas (DFT input and output) hold the chunk's lines contiguously, line j of
// an area of len elements per line at j * len, with room for `lanes` lines
// (lanes >= count: the DFT always transforms that many; spare lanes are
// zero).  The signal areas (source, destination) hold each line contiguously
// too in a row batch (kRows); in a column batch element e of line j sits at
// e * stride + j, every signal area a matrix of `stride` columns, and the
// passes visit a few columns at a time so that both kinds of area are read
// and written along cache lines.
template <bool kRows>
struct Batch {
    ptrdiff_t count;
    ptrdiff_t lanes = count;
    ptrdiff_t first = 0;
    ptrdiff_t stride = 0;
    // Signal areas.
    ptrdiff_t At(ptrdiff_t e, ptrdiff_t j, ptrdiff_t len) const {
        if constexpr (kRows)
            return (first + j) * len + e;
        else
            return e * stride + first + j;
    }
    // Work areas.
    static ptrdiff_t W(ptrdiff_t e, ptrdiff_t j, ptrdiff_t len) { return j * len + e; }
    // Clears the spare lanes of a work area of len elements per line.
    template <class T>
    void ClearSpare(T *area, ptrdiff_t len) const {
        if (lanes > count) std::fill(area + count * len, area + lanes * len, T(0));
    }
    // Visits elements [e0, e1) of every line.
    template <class F>
    void Sweep(ptrdiff_t e0, ptrdiff_t e1, F &&f) const {
        if constexpr (kRows) {
            for (ptrdiff_t j = 0; j < count; ++j)
                for (ptrdiff_t e = e0; e < e1; ++e) f(e, j);
        } else {
            constexpr ptrdiff_t kColumns = 8;
            for (ptrdiff_t j0 = 0; j0 < count; j0 += kColumns) {
                const ptrdiff_t j1 = std::min(count, j0 + kColumns);
                for (ptrdiff_t e = e0; e < e1; ++e)
                    for (ptrdiff_t j = j0; j < j1; ++j) f(e, j);
            }
        }
    }
    // Bins [0, bins) with the twiddles of FillTwiddles: bins below split go
    // to lo, the others to hi (two loops without a branch).  The twiddles
    // come from `table` (cosines, then sines) or, when it is null, from the
    // recurrence run here; one sequence serves every line.
    template <class Lo, class Hi>
    void Twiddled(ptrdiff_t bins, ptrdiff_t split, const double *table, double amplitude,
                  double theta, Lo &&lo, Hi &&hi) const {
        split = std::min(split, bins);
        if (table != nullptr) {
            const double *tc = table, *ts = table + bins;
            if (count == 1) {
                for (ptrdiff_t k = 0; k < split; ++k) lo(k, 0, tc[k], ts[k]);
                for (ptrdiff_t k = split; k < bins; ++k) hi(k, 0, tc[k], ts[k]);
                return;
            }
            Sweep(0, split, [&](ptrdiff_t k, ptrdiff_t j) { lo(k, j, tc[k], ts[k]); });
            Sweep(split, bins, [&](ptrdiff_t k, ptrdiff_t j) { hi(k, j, tc[k], ts[k]); });
            return;
        }
        const double ct = std::cos(theta), st = std::sin(theta);
        double c = amplitude, s = 0.0;
        auto rotate = [&] {
            const double next = c * ct - s * st;
            s = s * ct + c * st;
            c = next;
        };
        if (count == 1) {
            for (ptrdiff_t k = 0; k < split; ++k, rotate()) lo(k, 0, c, s);
            for (ptrdiff_t k = split; k < bins; ++k, rotate()) hi(k, 0, c, s);
            return;
        }
        constexpr ptrdiff_t kBlock = 256;
        double tc[kBlock], ts[kBlock];
        for (ptrdiff_t k0 = 0; k0 < bins; k0 += kBlock) {
            const ptrdiff_t k1 = std::min(bins, k0 + kBlock);
            for (ptrdiff_t k = k0; k < k1; ++k, rotate()) {
                tc[k - k0] = c;
                ts[k - k0] = s;
            }
            const ptrdiff_t mid = std::clamp(split, k0, k1);
            Sweep(k0, mid, [&](ptrdiff_t k, ptrdiff_t j) { lo(k, j, tc[k - k0], ts[k - k0]); });
            Sweep(mid, k1, [&](ptrdiff_t k, ptrdiff_t j) { hi(k, j, tc[k - k0], ts[k - k0]); });
        }
    }
};

// The twiddles of `bins` bins: (c, s) starts at (A, 0) and after each bin is
// rotated by theta in double, never re-seeded, so bin k gets about
// A (cos k theta, sin k theta).  Cosines go to table[0, bins), sines to
// table[bins, 2 bins).
inline void FillTwiddles(ptrdiff_t bins, double amplitude, double theta, double *table) {
    const double ct = std::cos(theta), st = std::sin(theta);
    double c = amplitude, s = 0.0;
    for (ptrdiff_t k = 0; k < bins; ++k) {
        table[k] = c;
        table[bins + k] = s;
        const double next = c * ct - s * st;
        s = s * ct + c * st;
        c = next;
    }
}

// The twiddle table of a transform, kept with its descriptor as an
// attachment (dct_dst_twiddle.cpp): the twiddles depend only on the kind and
// the length, so the first call fills the table and later calls only read
// it.  Null where the engine keeps nothing; the passes then run the
// recurrence as they go, with the same values.
const double *KeptTwiddles(Plan plan, Kind kind, ptrdiff_t bins, double amplitude, double theta);
// Test control: with false no table is kept or read, as on the engine bound
// on Windows, so that tests can compare both paths.
void KeepTwiddleTables(bool keep);

// One line over a kept table (dct_dst_twiddle.cpp), c and s its cosines and
// sines from the first bin on:
//   TwiddleLow:   out[k] = y[2k] c[k] - y[2k+1] s[k];
//   TwiddleHigh:  out[k] = y[-2k] c[k] + y[-2k+1] s[k] (the conjugates of
//                 bins read backwards from y);
//   TwiddleScale: z[2k] = x[k] c[k], z[2k+1] = x[k] s[k];
// each product and sum in double, rounded once to T.
template <class T>
void TwiddleLow(const T *y, const double *c, const double *s, T *out, ptrdiff_t count);
template <class T>
void TwiddleHigh(const T *y, const double *c, const double *s, T *out, ptrdiff_t count);
template <class T>
void TwiddleScale(const T *x, const double *c, const double *s, T *z, ptrdiff_t count);
// Packing of one line for the DFT: PackEvenOdd sets w[i] = x[2i] and
// w[N-1-i] = x[2i+1] for i < half; PackMirror sets w[i] = w[L-1-i] = x[i]
// for i < m.
template <class T>
void PackEvenOdd(const T *x, ptrdiff_t half, T *w, ptrdiff_t N);
template <class T>
void PackMirror(const T *x, ptrdiff_t m, T *w, ptrdiff_t L);

// The DFT output area follows the `used` elements of its input area: right
// after them for a single line (the 1D workspace layout), from the next
// 64-byte boundary for a batch, so that batched DFTs run on aligned data.
constexpr ptrdiff_t kAlignBytes = 64;
template <class T>
T *Aligned(T *p) {
    const auto a = reinterpret_cast<uintptr_t>(p);
    return reinterpret_cast<T *>((a + kAlignBytes - 1) & ~static_cast<uintptr_t>(kAlignBytes - 1));
}
template <class T>
T *After(T *start, ptrdiff_t used, ptrdiff_t count) {
    return count == 1 ? start + used : Aligned(start + used);
}

// One pass over a chunk of lines: m samples of each source line
// (zero-padded to N) into N values of each destination line.  xlen and olen are the line
// lengths of the source and destination areas (row batches); work holds the
// DFT input area followed by the DFT output area.
template <class T, bool kRows>
struct Pass {
    Batch<kRows> b;
    const T *x;
    ptrdiff_t xlen;
    ptrdiff_t m;
    ptrdiff_t N;
    T *out;
    ptrdiff_t olen;
};

// Forward DCT-II, orthonormal.  Even N: even samples forward, odd samples
// backward from the end, N-point DFT.  Odd N: symmetric extension, 2N-point.
template <class T, bool kRows>
int32_t DCTPass(const Pass<T, kRows> &p, T *work, Plan plan) {
    const Batch<kRows> &b = p.b;
    const ptrdiff_t N = p.N, m = p.m;
    const bool even = N % 2 == 0;
    const ptrdiff_t L = even ? N : 2 * N;
    T *w = work;
    T *spectrum = After(work, b.lanes * L, b.lanes);
    b.ClearSpare(w, L);
    const T *x = p.x;
    if constexpr (kRows) {
        for (ptrdiff_t j = 0; j < b.count; ++j) {
            const T *xj = x + b.At(0, j, p.xlen);
            T *wj = w + b.W(0, j, L);
            if (even) {
                PackEvenOdd(xj, m / 2, wj, N);
                if (m % 2 != 0) wj[(m - 1) / 2] = xj[m - 1];
                std::fill(wj + (m + 1) / 2, wj + N - m / 2, T(0));
            } else {
                PackMirror(xj, m, wj, 2 * N);
                std::fill(wj + m, wj + 2 * N - m, T(0));
            }
        }
    } else if (even) {
        b.Sweep(0, m / 2, [&](ptrdiff_t i, ptrdiff_t j) {
            w[b.W(i, j, L)] = x[b.At(2 * i, j, p.xlen)];
            w[b.W(N - 1 - i, j, L)] = x[b.At(2 * i + 1, j, p.xlen)];
        });
        if (m % 2 != 0)
            b.Sweep(0, 1, [&](ptrdiff_t, ptrdiff_t j) {
                w[b.W((m - 1) / 2, j, L)] = x[b.At(m - 1, j, p.xlen)];
            });
        b.Sweep((m + 1) / 2, N - m / 2, [&](ptrdiff_t i, ptrdiff_t j) { w[b.W(i, j, L)] = T(0); });
    } else {
        b.Sweep(0, m, [&](ptrdiff_t i, ptrdiff_t j) {
            const T v = x[b.At(i, j, p.xlen)];
            w[b.W(i, j, L)] = v;
            w[b.W(2 * N - 1 - i, j, L)] = v;
        });
        b.Sweep(m, 2 * N - m, [&](ptrdiff_t i, ptrdiff_t j) { w[b.W(i, j, L)] = T(0); });
    }
    FENNEL_TRY(plan.Forward(w, spectrum));
    // Bins above L/2 (even N only) are the conjugates of bins L - k:
    // Re(V) c - Im(V) s with Im(V) = -Im(Y(L-k)).
    const ptrdiff_t half = L / 2, slen = L / 2 + 1;
    const double amplitude = (even ? 2.0 : 1.0) / std::sqrt(2.0 * static_cast<double>(N));
    const double theta = -kPi / (2.0 * static_cast<double>(N));
    T *out = p.out;
    const double *table = KeptTwiddles(plan, kDCT, N, amplitude, theta);
    if (kRows && table != nullptr) {
        const ptrdiff_t split = std::min(half + 1, N);
        for (ptrdiff_t j = 0; j < b.count; ++j) {
            const T *y = spectrum + 2 * b.W(0, j, slen);
            T *o = out + b.At(0, j, p.olen);
            TwiddleLow(y, table, table + N, o, split);
            TwiddleHigh(y + 2 * (L - split), table + split, table + N + split, o + split, N - split);
            o[0] *= Roots<T>::kInvSqrt2;
        }
        return STATUS_OK;
    }
    b.Twiddled(
        N, half + 1, table, amplitude, theta,
        [&](ptrdiff_t k, ptrdiff_t j, double c, double s) {
            const T *y = spectrum + 2 * b.W(k, j, slen);
            out[b.At(k, j, p.olen)] =
                static_cast<T>(static_cast<double>(y[0]) * c - static_cast<double>(y[1]) * s);
        },
        [&](ptrdiff_t k, ptrdiff_t j, double c, double s) {
            const T *y = spectrum + 2 * b.W(L - k, j, slen);
            out[b.At(k, j, p.olen)] =
                static_cast<T>(static_cast<double>(y[0]) * c + static_cast<double>(y[1]) * s);
        });
    b.Sweep(0, 1, [&](ptrdiff_t, ptrdiff_t j) { out[b.At(0, j, p.olen)] *= Roots<T>::kInvSqrt2; });
    return STATUS_OK;
}

// DST-I through the odd extension of length 2N + 2: out[k] = factor *
// Im(Y(k+1)), factor -1/2 for the unscaled forward transform and
// -1/(N+1) for the inverse.
template <class T, bool kRows>
int32_t DSTPass(const Pass<T, kRows> &p, T factor, T *work, Plan plan) {
    const Batch<kRows> &b = p.b;
    const ptrdiff_t N = p.N, m = p.m, L = 2 * N + 2, slen = N + 2;
    T *w = work;
    T *spectrum = After(work, b.lanes * L, b.lanes);
    b.ClearSpare(w, L);
    const T *x = p.x;
    b.Sweep(0, m, [&](ptrdiff_t i, ptrdiff_t j) {
        const T v = x[b.At(i, j, p.xlen)];
        w[b.W(i + 1, j, L)] = v;
        w[b.W(L - 1 - i, j, L)] = -v;
    });
    b.Sweep(0, 1, [&](ptrdiff_t, ptrdiff_t j) { w[b.W(0, j, L)] = T(0); });
    b.Sweep(m + 1, L - m, [&](ptrdiff_t i, ptrdiff_t j) { w[b.W(i, j, L)] = T(0); });
    FENNEL_TRY(plan.Forward(w, spectrum));
    T *out = p.out;
    b.Sweep(0, N, [&](ptrdiff_t k, ptrdiff_t j) {
        out[b.At(k, j, p.olen)] = factor * spectrum[2 * b.W(k + 1, j, slen) + 1];
    });
    return STATUS_OK;
}

// Inverse DCT (DCT-III, orthonormal), first step: Zk = A X[k] (cos, sin) of
// k pi / (2n), A = sqrt(2n), into z (lines of zlen complex elements).  Odd n
// then feeds Z0 (scaled by sqrt 2, real) ... Zn = 0 to a 2n-point real
// backward DFT; even n feeds Z (Z0 scaled by 1/sqrt 2) to an n-point complex
// backward DFT.
template <class T, bool kRows>
void PackInvDCT(const Pass<T, kRows> &p, T *z, ptrdiff_t zlen, Plan plan) {
    const Batch<kRows> &b = p.b;
    const ptrdiff_t n = p.N;
    const T *x = p.x;
    const double amplitude = std::sqrt(2.0 * static_cast<double>(n));
    const double theta = kPi / (2.0 * static_cast<double>(n));
    auto rotate = [&](ptrdiff_t k, ptrdiff_t j, double c, double s) {
        const double v = static_cast<double>(x[b.At(k, j, p.xlen)]);
        T *e = z + 2 * b.W(k, j, zlen);
        e[0] = static_cast<T>(v * c);
        e[1] = static_cast<T>(v * s);
    };
    const double *table = KeptTwiddles(plan, kInvDCT, n, amplitude, theta);
    if (kRows && table != nullptr)
        for (ptrdiff_t j = 0; j < b.count; ++j)
            TwiddleScale(x + b.At(0, j, p.xlen), table, table + n, z + 2 * b.W(0, j, zlen), n);
    else
        b.Twiddled(n, n, table, amplitude, theta, rotate, rotate);
    if (n % 2 != 0) {
        b.Sweep(0, 1, [&](ptrdiff_t, ptrdiff_t j) {
            T *z0 = z + 2 * b.W(0, j, zlen);
            z0[0] *= Roots<T>::kSqrt2;
            z0[1] = T(0);
            T *zn = z + 2 * b.W(n, j, zlen);
            zn[0] = T(0);
            zn[1] = T(0);
        });
    } else {
        b.Sweep(0, 1, [&](ptrdiff_t, ptrdiff_t j) {
            T *z0 = z + 2 * b.W(0, j, zlen);
            z0[0] *= Roots<T>::kInvSqrt2;
            z0[1] *= Roots<T>::kInvSqrt2;
        });
    }
}

// Even n, last step: out[2i] = Re u[i], out[2i+1] = Re u[n-1-i].  u is
// complex (ustep 2, lines of ulen) or, on the real fallback of the 1D
// transform, real (ustep 1).
template <class T, bool kRows>
void UnpackInvDCTEven(const Pass<T, kRows> &p, const T *u, ptrdiff_t ulen, ptrdiff_t ustep) {
    const Batch<kRows> &b = p.b;
    const ptrdiff_t n = p.N;
    T *out = p.out;
    b.Sweep(0, n / 2, [&](ptrdiff_t i, ptrdiff_t j) {
        out[b.At(2 * i, j, p.olen)] = u[ustep * b.W(i, j, ulen)];
        out[b.At(2 * i + 1, j, p.olen)] = u[ustep * b.W(n - 1 - i, j, ulen)];
    });
}

// The inverse DCT on the DFT that the parity of n calls for.
template <class T, bool kRows>
int32_t InvDCTPass(const Pass<T, kRows> &p, T *work, Plan plan) {
    const Batch<kRows> &b = p.b;
    const ptrdiff_t n = p.N;
    const LineDft dft = DftFor(kInvDCT, n);
    T *z = work;
    T *result = After(work, 2 * b.lanes * dft.in_len, b.lanes);
    b.ClearSpare(z, 2 * dft.in_len);
    PackInvDCT(p, z, dft.in_len, plan);
    FENNEL_TRY(plan.Backward(z, result));
    if (n % 2 != 0) {
        T *out = p.out;
        b.Sweep(0, n, [&](ptrdiff_t i, ptrdiff_t j) { out[b.At(i, j, p.olen)] = result[b.W(i, j, 2 * n)]; });
    } else {
        UnpackInvDCTEven(p, result, n, 2);
    }
    return STATUS_OK;
}

}  // namespace fennel::trig

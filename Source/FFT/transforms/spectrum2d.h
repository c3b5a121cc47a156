// Reordering routines of multi-dimensional FFT outputs: the expansion of a
// real transform's half spectrum to the full spectrum, centring along one
// axis of a row-major block, and the uncentre copies of 2D and 3D spectra.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "transforms/spectrum.h"

namespace fennel {

// Expansion of a real transform's half spectrum to the full spectrum, in
// place.  On entry the first Q * (Cols/2 + 1) elements of X hold Q packed rows
// of bins 0 .. Cols/2; on exit row q sits at q * Cols with
// X[q][Cols-k] = conj(X[mirror(q)][k]) for k = 1 .. (Cols-1)/2.  Rows are
// placed from the last to the first: packed row q lies at or below its final
// place, and its mirror row is either already placed (mirror >= q) or still
// packed below everything written so far (mirror < q), so no row is read
// after it was overwritten and the full spectrum is written in one pass.
template <class C, class Mirror>
void ExpandPacked(C *X, ptrdiff_t Q, int32_t Cols, Mirror mirror) {
    using Real = typename C::value_type;
    const ptrdiff_t half = Cols / 2 + 1;
    const int32_t upper = (Cols - 1) / 2;
    for (ptrdiff_t q = Q - 1; q >= 0; --q) {
        C *row = X + q * Cols;
        if (q > 0) std::memmove(static_cast<void *>(row), X + q * half, sizeof(C) * half);
        const ptrdiff_t m = mirror(q);
        // On the components (a complex is two reals), so that the loop
        // vectorises: d[Cols - k] = conj(s[k]).
        const Real *s = reinterpret_cast<const Real *>(X + m * (m >= q ? Cols : half));
        Real *d = reinterpret_cast<Real *>(row);
        for (int32_t k = 1; k <= upper; ++k) {
            d[2 * (Cols - k)] = s[2 * k];
            d[2 * (Cols - k) + 1] = Real(-0.0) - s[2 * k + 1];
        }
    }
}

// Moves zero frequency to index N/2 along the middle axis of an
// [outer][N][inner] block, in place: element i takes element (i - N/2) mod N.
// Whole runs of inner elements move at once, so columns and pages are
// centred at the speed of row copies; inner = 1 is the 1D centre routine.
template <class C>
void CentreAxis(C *X, ptrdiff_t outer, int32_t N, ptrdiff_t inner) {
    const ptrdiff_t block = static_cast<ptrdiff_t>(N) * inner;
    const ptrdiff_t middle = static_cast<ptrdiff_t>(N - N / 2) * inner;
    for (ptrdiff_t o = 0; o < outer; ++o) {
        C *line = X + o * block;
        if (inner == 1)
            Centre(line, 1, N);
        else
            std::rotate(line, line + middle, line + block);
    }
}

// Centres a row-major block of Rank dimensions in every dimension: zero
// frequency ends at (n0/2, n1/2[, n2/2]).
template <class C, int Rank>
void CentreMd(C *X, const int32_t (&n)[Rank]) {
    ptrdiff_t outer = 1;
    for (int a = 0; a < Rank; ++a) {
        ptrdiff_t inner = 1;
        for (int b = a + 1; b < Rank; ++b) inner *= n[b];
        CentreAxis(X, outer, n[a], inner);
        outer *= n[a];
    }
}

// Uncentre copy of a centred row-major spectrum X into W of the same shape:
// W[i..] = X[(i0 + n0/2) mod n0][...], zero frequency back to index 0 in
// every dimension.  Real mode (the input of a real inverse) writes only the
// columns 0 .. nLast/2 that the transform reads.
template <class C, int Rank>
void UncentreCopyMd(const C *X, C *W, const int32_t (&n)[Rank], bool realMode) {
    const int32_t cols = n[Rank - 1];
    const int32_t written = realMode ? cols / 2 + 1 : cols;
    const int32_t shiftCols = cols / 2;
    // Columns 0 .. written-1 come from X[shiftCols ..] and then from X[0 ..].
    const int32_t first = std::min(written, cols - shiftCols);
    const int32_t second = written - first;
    int32_t rows[2] = {1, 1};  // sizes of the axes before the last
    for (int a = 0; a + 1 < Rank; ++a) rows[a + 3 - Rank] = n[a];
    for (int32_t p = 0; p < rows[0]; ++p) {
        const int32_t sp = Rank == 3 ? (p + rows[0] / 2) % rows[0] : 0;
        for (int32_t r = 0; r < rows[1]; ++r) {
            const int32_t sr = (r + rows[1] / 2) % rows[1];
            const C *src = X + (static_cast<ptrdiff_t>(sp) * rows[1] + sr) * cols;
            C *dst = W + (static_cast<ptrdiff_t>(p) * rows[1] + r) * cols;
            std::memcpy(static_cast<void *>(dst), src + shiftCols, sizeof(C) * first);
            if (second > 0) std::memcpy(static_cast<void *>(dst + first), src, sizeof(C) * second);
        }
    }
}

// Uncentre copy along one line: W[i * ws] = X[((i + N/2) mod N) * xs] for the
// first `count` elements (N, or N/2 + 1 for the input of a real inverse).
template <class C>
void UncentreLine(const C *X, ptrdiff_t xs, C *W, ptrdiff_t ws, int32_t N, int32_t count) {
    const int32_t half = N / 2;
    for (int32_t i = 0; i < count; ++i) {
        int32_t j = i + half;
        if (j >= N) j -= N;
        W[i * ws] = X[j * xs];
    }
}

}  // namespace fennel

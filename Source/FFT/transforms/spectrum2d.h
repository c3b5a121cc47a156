// Reordering routines of multi-dimensional FFT outputs: the expansion of a
// real transform's half spectrum to the full spectrum, centring along one
// axis of a row-major block, and the uncentre copies of 2D and 3D spectra.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "transforms/spectrum.h"
#include "transforms/work_sharing.h"

namespace fennel {

// Expansion of a real transform's half spectrum to the full spectrum, in
// place.  On entry the first Q * (Cols/2 + 1) elements of X hold Q packed rows
// of bins 0 .. Cols/2; on exit row q sits at q * Cols with
// X[q][Cols-k] = conj(X[mirror(q)][k]) for k = 1 .. (Cols-1)/2.
//
// A packed row lies at or below its final place.  The rows are placed in
// stages: while rows 0 .. J-1 are still packed (they end at J * (Cols/2 + 1)),
// every row whose final place starts at or above that end can be placed in
// any order, reading its mirror at its final place if the mirror is >= J and
// packed otherwise.  Within a stage the rows go upwards, so that the packed
// rows, the placed rows and (for the usual mirrors) the mirror rows each form
// one stream.  A stage is cut into chunks of rows that one or two threads
// claim in turn; a chunk waits until every chunk of the earlier stages is
// done.  The last few rows are placed in one chunk from the last to the
// first: the mirror of row q is then either placed (mirror >= q) or still
// packed below everything written so far.  Each value is the same copy or
// conjugate whatever the order or thread count.

namespace expand {

// Places packed row q and fills its bins Cols/2 + 1 .. Cols - 1 from row m,
// read at its final place when placed, else packed; with stream (complex
// double rows, 16-byte aligned), through non-temporal stores.  The mirror loop runs
// downwards in m's bins: consecutive rows read consecutive mirrors downwards.
template <class C>
inline void PlaceRow(C *X, ptrdiff_t q, int32_t Cols, ptrdiff_t m, bool placed,
                     bool stream = false) {
    const ptrdiff_t half = Cols / 2 + 1;
    WriteFullRow(X + q * Cols, X + q * half, X + m * (placed ? Cols : half), Cols, stream);
}

// Rows from `from` - 1 down to 0, one at a time.
template <class C, class Mirror>
void PlaceDown(C *X, ptrdiff_t from, int32_t Cols, const Mirror &mirror) {
    for (ptrdiff_t q = from - 1; q >= 0; --q) {
        const ptrdiff_t m = mirror(q);
        PlaceRow(X, q, Cols, m, m >= q);
    }
}

// Asks for the cache lines of n elements from p, up to 1 KB: enough for the
// hardware prefetcher to take over a long row.
template <class C>
inline void Prefetch(const C *p, ptrdiff_t n) {
    const char *b = reinterpret_cast<const char *>(p);
    const ptrdiff_t bytes = std::min<ptrdiff_t>(n * static_cast<ptrdiff_t>(sizeof(C)), 1024);
    for (ptrdiff_t i = 0; i < bytes; i += 64) __builtin_prefetch(b + i);
}

// The stages and chunks of one expansion, and the counters of the chunks
// claimed and done; Run is the task each participating thread runs.
template <class C, class Mirror>
struct Job {
    static constexpr ptrdiff_t kAhead = 2;
    static constexpr int kMaxStages = 64;
    C *X;
    int32_t Cols;
    Mirror mirror;
    int stages = 0;
    ptrdiff_t bound[kMaxStages + 1];  // stage s places rows bound[s+1] .. bound[s]-1
    ptrdiff_t first[kMaxStages + 1];  // its first chunk; first[stages]: the last rows
    ptrdiff_t rowsPerChunk;
    bool stream = false;  // place the staged rows with non-temporal stores
    SharedPass pass;  // the chunks claimed and done

    Job(C *x, ptrdiff_t Q, int32_t cols, Mirror mir, ptrdiff_t minElements, ptrdiff_t chunkElements)
        : X(x), Cols(cols), mirror(mir) {
        const ptrdiff_t half = Cols / 2 + 1;
        rowsPerChunk = std::max<ptrdiff_t>(1, chunkElements / Cols);
        ptrdiff_t J = Q, chunks = 0;
        while (stages < kMaxStages && J * Cols >= minElements) {
            const ptrdiff_t lo = (J * half + Cols - 1) / Cols;
            if (lo >= J) break;
            bound[stages] = J;
            first[stages] = chunks;
            chunks += (J - lo + rowsPerChunk - 1) / rowsPerChunk;
            ++stages;
            J = lo;
        }
        bound[stages] = J;
        first[stages] = chunks;
    }

    void Chunk(ptrdiff_t c) {
        int s = 0;
        while (s < stages && c >= first[s + 1]) ++s;
        pass.WaitFor(first[s]);
        if (s == stages) {
            PlaceDown(X, bound[s], Cols, mirror);
            return;
        }
        const ptrdiff_t J = bound[s];
        const ptrdiff_t lo = bound[s + 1] + (c - first[s]) * rowsPerChunk;
        const ptrdiff_t hi = std::min(J, lo + rowsPerChunk);
        const ptrdiff_t half = Cols / 2 + 1;
        for (ptrdiff_t q = lo; q < hi; ++q) {
            // Each row starts two new read streams (its packed bins and its
            // mirror's), which the hardware prefetcher does not foresee: fetch
            // them a few rows ahead.
            const ptrdiff_t ahead = q + kAhead;
            if (ahead < bound[s]) {
                const ptrdiff_t ma = mirror(ahead);
                Prefetch(X + ahead * half, half);
                Prefetch(X + ma * (ma >= J ? Cols : half), half);
            }
            const ptrdiff_t m = mirror(q);
            PlaceRow(X, q, Cols, m, m >= J, stream);
        }
#if defined(__SSE2__)
        // Streamed rows are visible to the other thread and to later stages
        // once the chunk is counted done.
        if (stream) _mm_sfence();
#endif
    }

    static void Run(void *context) {
        Job &job = *static_cast<Job *>(context);
        job.pass.Run(job.first[job.stages] + 1, [&job](ptrdiff_t c) { job.Chunk(c); });
    }
};

}  // namespace expand

template <class C, class Mirror>
void ExpandPacked(C *X, ptrdiff_t Q, int32_t Cols, Mirror mirror, int threads = 1) {
    // Sizes in bytes of the full spectrum, measured on the 2-core machine
    // (bench/README.md).  Below kStagedFrom the spectrum sits in the caches
    // and the rows go fastest one by one from the last; from kShareFrom a
    // second thread pays (at 4 MB it gained nothing); from kStreamFrom the
    // spectrum outgrows the last-level cache and goes straight to memory
    // (which saves reading every written line first; slower at 16 MB).
    constexpr ptrdiff_t kStagedFrom = ptrdiff_t{4} << 20, kShareFrom = ptrdiff_t{8} << 20,
                        kStreamFrom = ptrdiff_t{24} << 20;
    // Rows per stage below which a stage is not worth sharing, and per chunk.
    constexpr ptrdiff_t kMinElements = ptrdiff_t{1} << 15, kChunkElements = ptrdiff_t{1} << 13;
    const ptrdiff_t bytes = Q * Cols * static_cast<ptrdiff_t>(sizeof(C));
    if (Cols > 2 && bytes >= kStagedFrom) {
        expand::Job<C, Mirror> job(X, Q, Cols, mirror, kMinElements, kChunkElements);
        job.stream = sizeof(C) == 16 && bytes >= kStreamFrom &&
                     reinterpret_cast<uintptr_t>(X) % 16 == 0;
        RunShared(job, threads > 1 && bytes >= kShareFrom);
        return;
    }
    expand::PlaceDown(X, Q, Cols, mirror);
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

// The mirror of a real transform's spectrum along a contiguous row, on the
// components so that each clone keeps a complex in one vector register (the
// values are those of Conj: the same operations, lane by lane).
#include "transforms/spectrum.h"

#include <cstring>

#include "numerics/vectorize.h"

namespace fennel {
namespace {

// d[m - 1 - j] = conj(s[j]) for j = 0 .. m - 1 (complex elements as pairs),
// four complex elements a step: reversed as pairs, imaginary parts negated.
template <class R>
FENNEL_VECTORIZED void MirrorLanes(const R *__restrict s, R *__restrict d, ptrdiff_t m) {
    typedef R Lanes __attribute__((vector_size(8 * sizeof(R))));
    ptrdiff_t j = 0;
    for (; j + 4 <= m; j += 4) {
        Lanes v;
        std::memcpy(&v, s + 2 * j, sizeof v);
        const Lanes negated = R(-0.0) - v;
        const Lanes r = __builtin_shufflevector(v, negated, 6, 15, 4, 13, 2, 11, 0, 9);
        std::memcpy(d + 2 * (m - 4 - j), &r, sizeof r);
    }
    for (; j < m; ++j) {
        d[2 * (m - 1 - j)] = s[2 * j];
        d[2 * (m - 1 - j) + 1] = R(-0.0) - s[2 * j + 1];
    }
}

// lo[j] = s[j] and hi[m - 1 - j] = conj(s[j]) for j = 0 .. m - 1: the
// mirror above, with the copy of the own bins in the same pass (which gcc
// would otherwise split off into a memcpy of its own).
#if defined(__clang__)
#define FENNEL_ONE_PASS
#else
#define FENNEL_ONE_PASS __attribute__((optimize("no-tree-loop-distribute-patterns")))
#endif
template <class R>
FENNEL_VECTORIZED FENNEL_ONE_PASS void SpreadLanes(const R *__restrict s, R *__restrict lo, R *__restrict hi,
                                                   ptrdiff_t m) {
    typedef R Lanes __attribute__((vector_size(8 * sizeof(R))));
    ptrdiff_t j = 0;
    for (; j + 4 <= m; j += 4) {
        Lanes v;
        std::memcpy(&v, s + 2 * j, sizeof v);
        std::memcpy(lo + 2 * j, &v, sizeof v);
        const Lanes negated = R(-0.0) - v;
        const Lanes r = __builtin_shufflevector(v, negated, 6, 15, 4, 13, 2, 11, 0, 9);
        std::memcpy(hi + 2 * (m - 4 - j), &r, sizeof r);
    }
    for (; j < m; ++j) {
        lo[2 * j] = s[2 * j];
        lo[2 * j + 1] = s[2 * j + 1];
        hi[2 * (m - 1 - j)] = s[2 * j];
        hi[2 * (m - 1 - j) + 1] = R(-0.0) - s[2 * j + 1];
    }
}

template <class R>
void Spread(std::complex<R> *out, const std::complex<R> *half, int32_t N) {
    const int32_t upper = (N - 1) / 2;
    out[0] = half[0];
    SpreadLanes(reinterpret_cast<const R *>(half + 1), reinterpret_cast<R *>(out + 1),
                reinterpret_cast<R *>(out + N - upper), upper);
    if (N % 2 == 0) out[N / 2] = half[N / 2];
}

}  // namespace

void WriteFullSpectrum(std::complex<float> *out, const std::complex<float> *half, int32_t N) {
    Spread(out, half, N);
}

void WriteFullSpectrum(std::complex<double> *out, const std::complex<double> *half, int32_t N) {
    Spread(out, half, N);
}

void MirrorRow(std::complex<float> *row, const std::complex<float> *mirror, ptrdiff_t N) {
    const ptrdiff_t upper = (N - 1) / 2;
    MirrorLanes(reinterpret_cast<const float *>(mirror + 1), reinterpret_cast<float *>(row + N - upper), upper);
}

void MirrorRow(std::complex<double> *row, const std::complex<double> *mirror, ptrdiff_t N) {
    const ptrdiff_t upper = (N - 1) / 2;
    MirrorLanes(reinterpret_cast<const double *>(mirror + 1), reinterpret_cast<double *>(row + N - upper), upper);
}

}  // namespace fennel

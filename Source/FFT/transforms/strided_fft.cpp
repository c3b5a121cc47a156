// Batched strided FFT on the caller's memory: the binding's path for arrays
// it holds itself, so that a transform of a numpy array costs no copy into
// host arrays and no expansion of real spectra to full length.  The caller
// describes its layout (lengths, strides, count and distances, in elements);
// one descriptor of that geometry is kept in the plan slot.  Direction 2
// gives real input's full spectrum: the half a real transform computes, and
// the rest filled here by symmetry in the same call.
#include <algorithm>
#include <climits>
#include <cstdint>

#include "dft/plan.h"
#include "transforms/fftmd.h"
#include "transforms/spectrum.h"
#include "transforms/work_sharing.h"

namespace fennel {
namespace {

bool FitsEngine(int64_t v) { return v >= 0 && v <= static_cast<int64_t>(LONG_MAX); }

// Bins L/2 + 1 .. L - 1 along the last dimension of full spectra whose other
// bins hold a real input's transform: X[i][k] = conj(X[-i][L - k]), -i the
// negated index modulo each outer length.  Lines (a transform's bins along
// the last dimension at one outer index) are split in chunks that the
// caller and the helper thread claim in turn; a line reads only bins below
// L/2 + 1, which no line writes.
template <class R>
struct FillJob {
    R *out;  // as interleaved components
    int32_t rank;
    int64_t lengths[3], strides[3];  // strides in complex elements
    int64_t distance, outer, lines, linesPerChunk;
    SharedPass pass;

    void Line(int64_t q) const {
        const int64_t t = q / outer;
        int64_t rest = q % outer, at = t * distance, from = at;
        for (int d = rank - 2; d >= 0; --d) {
            const int64_t n = lengths[d], i = rest % n;
            rest /= n;
            at += i * strides[d];
            from += (i == 0 ? 0 : n - i) * strides[d];
        }
        const int64_t n = lengths[rank - 1], s = 2 * strides[rank - 1];
        R *d = out + 2 * at;
        const R *m = out + 2 * from;
        using C = std::complex<R>;
        if (s == 2) return MirrorRow(reinterpret_cast<C *>(d), reinterpret_cast<const C *>(m), n);
        for (int64_t k = n - (n - 1) / 2; k < n; ++k) {
            d[k * s] = m[(n - k) * s];
            d[k * s + 1] = R(-0.0) - m[(n - k) * s + 1];
        }
    }

    static void Run(void *context) {
        FillJob &job = *static_cast<FillJob *>(context);
        const int64_t chunks = (job.lines + job.linesPerChunk - 1) / job.linesPerChunk;
        job.pass.Run(chunks, [&job](ptrdiff_t c) {
            const int64_t hi = std::min(job.lines, (c + 1) * job.linesPerChunk);
            for (int64_t q = c * job.linesPerChunk; q < hi; ++q) job.Line(q);
        });
    }
};

template <class R>
void FillMirrored(void *output, int32_t rank, const int32_t *lengths, const int64_t *strides,
                  int32_t transforms, int64_t distance) {
    // Lines per chunk: about 8K bins; a second thread from 4 MB of spectrum
    // and when the transform itself runs on two.
    constexpr int64_t kChunkBins = int64_t{1} << 13, kShareBytes = int64_t{4} << 20;
    FillJob<R> job;
    job.out = static_cast<R *>(output);
    job.rank = rank;
    job.outer = 1;
    for (int d = 0; d < rank; ++d) {
        job.lengths[d] = lengths[d];
        job.strides[d] = strides[d];
        if (d + 1 < rank) job.outer *= lengths[d];
    }
    if (lengths[rank - 1] < 3) return;
    job.distance = distance;
    job.lines = job.outer * transforms;
    job.linesPerChunk = std::max<int64_t>(1, kChunkBins / lengths[rank - 1]);
    const int64_t total = job.lines * lengths[rank - 1];
    RunShared(job, total * 2 * static_cast<int64_t>(sizeof(R)) >= kShareBytes &&
                       Plan::ThreadsFor(total) > 1);
}

}  // namespace

template <class T>
int32_t StridedFFT(CallFrame &frame, const void *input, void *output, int32_t rank,
                   const int32_t *lengths, const int64_t *inputStrides, const int64_t *outputStrides,
                   int32_t transforms, int64_t inputDistance, int64_t outputDistance,
                   int32_t direction, FDPlanHandle *plan) {
    // A failing call, refused arguments included, leaves the slot empty.
    const Plan p = Plan::Of(frame, plan);
    p.ReleaseOnFailure(frame);
    if (input == nullptr || output == nullptr || input == output || lengths == nullptr ||
        inputStrides == nullptr || outputStrides == nullptr)
        return STATUS_EMPTY_OPERAND;
    if (rank < 1 || rank > 3 || direction < 0 || direction > (Traits<T>::kComplex ? 1 : 2))
        return STATUS_BAD_SELECTOR;
    if (transforms < 1) return STATUS_EMPTY_ARRAY;
    PlanGeometry g;
    g.precision = kPrecisionOf<T>;
    g.domain = kDomainOf<T>;
    g.rank = rank;
    g.strides = true;
    g.complex_complex = !Traits<T>::kComplex;
    for (int i = 0; i < rank; ++i) {
        if (lengths[i] < 1) return STATUS_EMPTY_ARRAY;
        if (inputStrides[i] < 1 || outputStrides[i] < 1 || !FitsEngine(inputStrides[i]) ||
            !FitsEngine(outputStrides[i]))
            return STATUS_BAD_SELECTOR;
        g.lengths[i] = lengths[i];
        g.input_strides[i + 1] = static_cast<MKL_LONG>(inputStrides[i]);
        g.output_strides[i + 1] = static_cast<MKL_LONG>(outputStrides[i]);
    }
    if (!FitsEngine(inputDistance) || !FitsEngine(outputDistance)) return STATUS_BAD_SELECTOR;
    g.transforms = transforms;
    g.input_distance = static_cast<MKL_LONG>(inputDistance);
    g.output_distance = static_cast<MKL_LONG>(outputDistance);
    FENNEL_TRY(p.Acquire(g));
    if (direction == 1) return p.Backward(input, output);
    FENNEL_TRY(p.Forward(input, output));
    if constexpr (!Traits<T>::kComplex)
        if (direction == 2) FillMirrored<T>(output, rank, lengths, outputStrides, transforms, outputDistance);
    return STATUS_OK;
}

#define FENNEL_STRIDED_INSTANCES(T)                                                             \
    template int32_t StridedFFT<T>(CallFrame &, const void *, void *, int32_t, const int32_t *,  \
                                   const int64_t *, const int64_t *, int32_t, int64_t, int64_t, \
                                   int32_t, FDPlanHandle *);
FENNEL_STRIDED_INSTANCES(float)
FENNEL_STRIDED_INSTANCES(double)
FENNEL_STRIDED_INSTANCES(cfloat)
FENNEL_STRIDED_INSTANCES(cdouble)
#undef FENNEL_STRIDED_INSTANCES

}  // namespace fennel

// Batched strided FFT on the caller's memory: the binding's path for arrays
// it holds itself, so that a transform of a numpy array costs no copy into
// host arrays and no expansion of real spectra to full length.  The caller
// describes its layout (lengths, strides, count and distances, in elements);
// one descriptor of that geometry is kept in the plan slot.
#include <climits>
#include <cstdint>

#include "dft/plan.h"
#include "transforms/fftmd.h"

namespace fennel {
namespace {

bool FitsEngine(int64_t v) { return v >= 0 && v <= static_cast<int64_t>(LONG_MAX); }

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
    if (rank < 1 || rank > 3 || (direction != 0 && direction != 1)) return STATUS_BAD_SELECTOR;
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
    return direction == 0 ? p.Forward(input, output) : p.Backward(input, output);
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

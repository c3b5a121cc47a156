// The 2D FFT family: a matrix of R x C (rows slowest) and its requested
// sizes rows x columns.
#include "transforms/fftmd.h"
#include "transforms/fftmd_core.h"

namespace fennel {

template <class T>
int32_t FFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
              int32_t columns, int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    const int32_t requested[2] = {rows, columns};
    return md::Forward<T, 2>(frame, input, output, requested, shift, workspace, plan);
}

template <class T>
int32_t InvFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                 FDArrayHandle workspace, FDPlanHandle *plan) {
    return md::Inverse<T, 2>(frame, input, output, shift, workspace, plan);
}

#define FENNEL_FFT2D_INSTANCES(T)                                                          \
    template int32_t FFT2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t, \
                              int32_t, FDArrayHandle, FDPlanHandle *);                     \
    template int32_t InvFFT2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,       \
                                 FDArrayHandle, FDPlanHandle *);
FENNEL_FFT2D_INSTANCES(float)
FENNEL_FFT2D_INSTANCES(double)
FENNEL_FFT2D_INSTANCES(cfloat)
FENNEL_FFT2D_INSTANCES(cdouble)
#undef FENNEL_FFT2D_INSTANCES

}  // namespace fennel

// The 3D FFT family: a volume of P x R x C (pages slowest).  The exports take
// the requested sizes as rows, columns, pages.
#include "transforms/fftmd.h"
#include "transforms/fftmd_core.h"

namespace fennel {

template <class T>
int32_t FFT3D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
              int32_t columns, int32_t pages, int32_t shift, FDArrayHandle workspace,
              FDPlanHandle *plan) {
    const int32_t requested[3] = {pages, rows, columns};
    return md::Forward<T, 3>(frame, input, output, requested, shift, workspace, plan);
}

template <class T>
int32_t InvFFT3D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                 FDArrayHandle workspace, FDPlanHandle *plan) {
    return md::Inverse<T, 3>(frame, input, output, shift, workspace, plan);
}

#define FENNEL_FFT3D_INSTANCES(T)                                                          \
    template int32_t FFT3D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t, \
                              int32_t, int32_t, FDArrayHandle, FDPlanHandle *);            \
    template int32_t InvFFT3D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,       \
                                 FDArrayHandle, FDPlanHandle *);
FENNEL_FFT3D_INSTANCES(float)
FENNEL_FFT3D_INSTANCES(double)
FENNEL_FFT3D_INSTANCES(cfloat)
FENNEL_FFT3D_INSTANCES(cdouble)
#undef FENNEL_FFT3D_INSTANCES

}  // namespace fennel

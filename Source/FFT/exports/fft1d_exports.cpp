// 1D FFT entries.
#include "fennel_dsp.h"
#include "frame/types.h"
#include "transforms/fft1d.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t s1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT1D<float>, input, output, fftSize, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT1D<double>, input, output, fftSize, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT1D<cfloat>, input, output, fftSize, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z1DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                               int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT1D<cdouble>, input, output, fftSize, shift, workspace, plan);
}
FENNEL_DSP_API int32_t s1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT1D<float>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT1D<double>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT1D<cfloat>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z1DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT1D<cdouble>, input, output, shift, workspace, plan);
}

}  // extern "C"

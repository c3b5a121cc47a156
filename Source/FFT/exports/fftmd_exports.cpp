// 2D FFT, 3D FFT and multichannel 2D FFT entries.
#include "fennel_dsp.h"
#include "frame/types.h"
#include "transforms/fftmd.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t s2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT2D<float>, input, output, rows, columns, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT2D<double>, input, output, rows, columns, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT2D<cfloat>, input, output, rows, columns, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z2DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t shift, FDArrayHandle workspace,
                               FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT2D<cdouble>, input, output, rows, columns, shift, workspace, plan);
}
FENNEL_DSP_API int32_t s2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT2D<float>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT2D<double>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT2D<cfloat>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z2DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT2D<cdouble>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t s3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT3D<float>, input, output, rows, columns, pages, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT3D<double>, input, output, rows, columns, pages, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT3D<cfloat>, input, output, rows, columns, pages, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z3DFFTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, int32_t pages, int32_t shift,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::FFT3D<cdouble>, input, output, rows, columns, pages, shift, workspace, plan);
}
FENNEL_DSP_API int32_t s3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT3D<float>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t d3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT3D<double>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t c3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT3D<cfloat>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t z3DInvFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvFFT3D<cdouble>, input, output, shift, workspace, plan);
}
FENNEL_DSP_API int32_t s2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::MultiChFFT2D<float>, input, output, fftSize, shift, orientation, workspace,
                                          plan);
}
FENNEL_DSP_API int32_t d2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::MultiChFFT2D<double>, input, output, fftSize, shift, orientation, workspace,
                                          plan);
}
FENNEL_DSP_API int32_t c2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::MultiChFFT2D<cfloat>, input, output, fftSize, shift, orientation, workspace,
                                          plan);
}
FENNEL_DSP_API int32_t z2DMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                                      int32_t shift, int32_t orientation,
                                      FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::MultiChFFT2D<cdouble>, input, output, fftSize, shift, orientation, workspace,
                                          plan);
}
FENNEL_DSP_API int32_t s2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan) {
    return fennel::Call(fennel::InvMultiChFFT2D<float>, input, output, shift, orientation, workspace, plan);
}
FENNEL_DSP_API int32_t d2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan) {
    return fennel::Call(fennel::InvMultiChFFT2D<double>, input, output, shift, orientation, workspace, plan);
}
FENNEL_DSP_API int32_t c2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan) {
    return fennel::Call(fennel::InvMultiChFFT2D<cfloat>, input, output, shift, orientation, workspace, plan);
}
FENNEL_DSP_API int32_t z2DInvMultiChFFTH(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                                         int32_t orientation, FDArrayHandle workspace,
                                         FDPlanHandle *plan) {
    return fennel::Call(fennel::InvMultiChFFT2D<cdouble>, input, output, shift, orientation, workspace, plan);
}

}  // extern "C"

// Convolution, correlation and autocorrelation entries (1D and 2D).
#include "correlation/correlation.h"
#include "fennel_dsp.h"
#include "frame/types.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t s1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<float, float>, x, y, output, outputMode, algorithm, blockSize,
                                               fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t d1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<double, double>, x, y, output, outputMode, algorithm, blockSize,
                                                 fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t c1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<cfloat, cfloat>, x, y, output, outputMode, algorithm, blockSize,
                                                 fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t z1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<cdouble, cdouble>, x, y, output, outputMode, algorithm, blockSize,
                                                   fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t sc1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<float, cfloat>, x, y, output, outputMode, algorithm, blockSize,
                                                fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t dz1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<double, cdouble>, x, y, output, outputMode, algorithm, blockSize,
                                                  fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t cs1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<cfloat, float>, x, y, output, outputMode, algorithm, blockSize,
                                                fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t zd1DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t outputMode, int32_t algorithm, int32_t blockSize,
                                        FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution1D<cdouble, double>, x, y, output, outputMode, algorithm, blockSize,
                                                  fullScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t s1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<float, float>, x, y, output, algorithm, normalization, blockSize,
                                               reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t d1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<double, double>, x, y, output, algorithm, normalization, blockSize,
                                                 reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t c1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<cfloat, cfloat>, x, y, output, algorithm, normalization, blockSize,
                                                 reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t z1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, int32_t normalization, int32_t blockSize,
                                       FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<cdouble, cdouble>, x, y, output, algorithm, normalization,
                                                   blockSize, reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t sc1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<float, cfloat>, x, y, output, algorithm, normalization, blockSize,
                                                reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t dz1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<double, cdouble>, x, y, output, algorithm, normalization, blockSize,
                                                  reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t cs1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<cfloat, float>, x, y, output, algorithm, normalization, blockSize,
                                                reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t zd1DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                        int32_t algorithm, int32_t normalization, int32_t blockSize,
                                        FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                        FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation1D<cdouble, double>, x, y, output, algorithm, normalization, blockSize,
                                                  reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t s1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation1D<float>, x, output, algorithm, normalization, blockSize,
                                            reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t d1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation1D<double>, x, output, algorithm, normalization, blockSize,
                                             reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t c1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation1D<cfloat>, x, output, algorithm, normalization, blockSize,
                                             reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t z1DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           int32_t normalization, int32_t blockSize,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation1D<cdouble>, x, output, algorithm, normalization, blockSize,
                                              reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t s2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution2D<float>, x, y, output, outputMode, algorithm, fullScratch,
                                        fftScratch, plan);
}
FENNEL_DSP_API int32_t d2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution2D<double>, x, y, output, outputMode, algorithm, fullScratch,
                                         fftScratch, plan);
}
FENNEL_DSP_API int32_t c2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution2D<cfloat>, x, y, output, outputMode, algorithm, fullScratch,
                                         fftScratch, plan);
}
FENNEL_DSP_API int32_t z2DConvolutionH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t outputMode, int32_t algorithm,
                                       FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                                       FDPlanHandle *plan) {
    return fennel::Call(fennel::Convolution2D<cdouble>, x, y, output, outputMode, algorithm, fullScratch,
                                          fftScratch, plan);
}
FENNEL_DSP_API int32_t s2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation2D<float>, x, y, output, algorithm, reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t d2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation2D<double>, x, y, output, algorithm, reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t c2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation2D<cfloat>, x, y, output, algorithm, reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t z2DCorrelationH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                       int32_t algorithm, FDArrayHandle reverseScratch,
                                       FDArrayHandle fftScratch, FDPlanHandle *plan) {
    return fennel::Call(fennel::Correlation2D<cdouble>, x, y, output, algorithm, reverseScratch, fftScratch,
                                          plan);
}
FENNEL_DSP_API int32_t s2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation2D<float>, x, output, algorithm, reverseScratch, fftScratch, plan);
}
FENNEL_DSP_API int32_t d2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation2D<double>, x, output, algorithm, reverseScratch, fftScratch,
                                             plan);
}
FENNEL_DSP_API int32_t c2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation2D<cfloat>, x, output, algorithm, reverseScratch, fftScratch,
                                             plan);
}
FENNEL_DSP_API int32_t z2DAutoCorrelationH(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                                           FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                                           FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoCorrelation2D<cdouble>, x, output, algorithm, reverseScratch, fftScratch,
                                              plan);
}

}  // extern "C"

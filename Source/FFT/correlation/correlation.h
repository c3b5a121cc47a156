// Convolution, correlation and autocorrelation in one and two dimensions: the
// handle-level routines behind the exports.  X and Y are the operands'
// element types (a real one may pair with a complex one in 1D).
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"

namespace fennel {

template <class X, class Y>
int32_t Convolution1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t outputMode, int32_t algorithm, int32_t blockSize,
                      FDArrayHandle fullScratch, FDArrayHandle fftScratch, FDPlanHandle *plan);

template <class X, class Y>
int32_t Correlation1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t algorithm, int32_t normalization, int32_t blockSize,
                      FDArrayHandle reverseScratch, FDArrayHandle fftScratch, FDPlanHandle *plan);

template <class T>
int32_t AutoCorrelation1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle output,
                          int32_t algorithm, int32_t normalization, int32_t blockSize,
                          FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                          FDPlanHandle *plan);

template <class T>
int32_t Convolution2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t outputMode, int32_t algorithm, FDArrayHandle fullScratch,
                      FDArrayHandle fftScratch, FDPlanHandle *plan);

template <class T>
int32_t Correlation2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t algorithm, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                      FDPlanHandle *plan);

template <class T>
int32_t AutoCorrelation2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle output,
                          int32_t algorithm, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                          FDPlanHandle *plan);

}  // namespace fennel

// The 2D and 3D FFT families and the multichannel 2D FFT: forward and
// inverse, for float, double and complex data.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"

namespace fennel {

// T: the input element type of the forward transform, or the output element
// type of the inverse.  A requested size <= 0 means the input's size.
template <class T>
int32_t FFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
              int32_t columns, int32_t shift, FDArrayHandle workspace, FDPlanHandle *plan);
template <class T>
int32_t InvFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                 FDArrayHandle workspace, FDPlanHandle *plan);

// The sizes come as rows, columns, pages: dimensions 1, 2, 0 of the volume.
template <class T>
int32_t FFT3D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
              int32_t columns, int32_t pages, int32_t shift, FDArrayHandle workspace,
              FDPlanHandle *plan);
template <class T>
int32_t InvFFT3D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                 FDArrayHandle workspace, FDPlanHandle *plan);

// Every row (orientation 0) or every column (orientation 1) of a matrix
// transformed as a channel of its own.
template <class T>
int32_t MultiChFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                     int32_t shift, int32_t orientation, FDArrayHandle workspace,
                     FDPlanHandle *plan);
template <class T>
int32_t InvMultiChFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                        int32_t orientation, FDArrayHandle workspace, FDPlanHandle *plan);

// Batched strided transforms on the caller's memory (see sStridedFFT).
template <class T>
int32_t StridedFFT(CallFrame &frame, const void *input, void *output, int32_t rank,
                   const int32_t *lengths, const int64_t *inputStrides, const int64_t *outputStrides,
                   int32_t transforms, int64_t inputDistance, int64_t outputDistance,
                   int32_t direction, FDPlanHandle *plan);

}  // namespace fennel

// The 1D FFT family: forward and inverse, for float, double and complex data.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"

namespace fennel {

// T: the input element type of the forward transform, or the output element
// type of the inverse.
template <class T>
int32_t FFT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t fftSize, int32_t shift,
              FDArrayHandle workspace, FDPlanHandle *plan);
template <class T>
int32_t InvFFT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift, FDArrayHandle workspace,
                 FDPlanHandle *plan);

}  // namespace fennel

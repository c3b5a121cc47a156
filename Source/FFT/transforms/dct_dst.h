// The DCT and DST family: 1D and 2D, forward and inverse, float and double.
#pragma once

#include <cstdint>

#include "dft/plan.h"
#include "fennel_dsp.h"
#include "frame/call_frame.h"

namespace fennel {

// 1D handle-level routines.  Forward: N = length, or the input length when
// length < 1; the input is zero-padded or cut to N samples.
template <class T>
int32_t DCT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t length,
              FDArrayHandle workspace, FDPlanHandle *plan);
template <class T>
int32_t DST1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t length,
              FDArrayHandle workspace, FDPlanHandle *plan);
template <class T>
int32_t InvDCT1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                 FDArrayHandle workspace, FDPlanHandle *plan);
template <class T>
int32_t InvDST1D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                 FDArrayHandle workspace, FDPlanHandle *plan);

// The DST-I core on n samples: direction 2 scales by -1/2 (the unscaled
// forward transform), 3 by -1/(n+1) (the inverse); any other direction gives
// STATUS_BAD_SELECTOR.
template <class T>
int32_t InvDSTCore(CallFrame &frame, const T *x, int32_t n, T *out, int32_t direction,
                   FDArrayHandle workspace, Plan plan);

// 2D handle-level routine: kind 0 DCT, 1 DST, 2 inverse DCT, 3 inverse DST
// (other kinds give STATUS_BAD_SELECTOR).  The forward kinds take requested
// sizes (rows, columns; < 1 means the input's), the inverse kinds ignore them.
template <class T>
int32_t Trig2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t rows,
               int32_t columns, int32_t kind, FDArrayHandle workspace, FDPlanHandle *plan);

}  // namespace fennel

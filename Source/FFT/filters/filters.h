// The windows and filters family at the handle level: in-place windows, the
// windowed FIR design and the IIR direct-form filter.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"
#include "frame/types.h"

namespace fennel {

template <class T>
int32_t AllCosWin(CallFrame &frame, FDArrayHandle x, int32_t windowType, int32_t normalise,
                  FDArrayHandle workspace);
template <class T>
int32_t GaussWin(CallFrame &frame, FDArrayHandle x, typename Traits<T>::Real sigma);
template <class T>
int32_t KaiserWin(CallFrame &frame, FDArrayHandle x, typename Traits<T>::Real beta);
template <class T>
int32_t SymmWin(CallFrame &frame, FDArrayHandle x, int32_t windowType,
                typename Traits<T>::Real param, FDArrayHandle workspace);
template <class T>
int32_t TriangleWin(CallFrame &frame, FDArrayHandle x);

// T: float or double (the taps' type).
template <class T>
int32_t FIRWindowedCoef(CallFrame &frame, FDArrayHandle coefficients, double fs, double f1,
                        double f2, int32_t taps, int32_t filterType, int32_t windowType,
                        T windowParameter, int32_t normalise, FDArrayHandle workspace);

// T: the signal's type; the coefficients are Traits<T>::Real.
template <class T>
int32_t IIRDirectFilter(CallFrame &frame, FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                        FDArrayHandle forwardState, FDArrayHandle reverseState, int32_t init,
                        FDArrayHandle tailWorkspace, FDArrayHandle aWorkspace,
                        FDArrayHandle bWorkspace);

}  // namespace fennel

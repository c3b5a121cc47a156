// Spectral measures: the shared power spectrum core and kernel, and the
// handle-level routines of the power, auto power, cross power and cross power
// spectrum families.  T is the element type of the input signals.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"
#include "frame/types.h"

namespace fennel {

// Spectrum types: one-sided (floor(n/2) + 1 bins, interior bins doubled for
// real input) and two-sided (n bins).
inline constexpr int32_t kOneSided = 0;
inline constexpr int32_t kTwoSided = 1;

// Output length of a spectrum of n samples, or -1 for an unknown type.
inline int32_t SpectrumLength(int32_t n, int32_t spectrumType) {
    if (spectrumType == kOneSided) return n / 2 + 1;
    if (spectrumType == kTwoSided) return n;
    return -1;
}

// Power values |X_k|^2 / n^2 of the intermediate spectrum into out: the CCS
// layout (n + 2 reals) for real T, n complex values for complex T.  Real T
// with a type other than two-sided gives the one-sided form; complex T
// writes as many bins as the type's output holds.  Returns 0.
template <class T>
int32_t PowerFromSpectrum(typename Traits<T>::Real *out, int32_t n, const T *spectrum,
                          int32_t spectrumType);

// The power and auto power spectrum after their own checks: reads the input,
// refuses an empty one and (with dt given) a non-positive interval and an
// unknown type, sizes the output for the type, sets *step to the frequency
// step (with dt), then makes one forward transform of the input into the
// workspace (n + 2 elements of T, emptied at the end) and the power kernel
// into the output.  The plan is released when the call fails.
template <class T>
int32_t PowerSpectrumSteps(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                           int32_t spectrumType, const double *dt, double *step,
                           FDArrayHandle workspace, FDPlanHandle *plan);

template <class T>
int32_t PowerSpectrum(CallFrame &frame, FDArrayHandle input, FDArrayHandle output,
                      FDArrayHandle workspace, FDPlanHandle *plan);

template <class T>
int32_t AutoPowerSpectrum(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, double dt,
                          int32_t spectrumType, double *df, FDArrayHandle workspace,
                          FDPlanHandle *plan);

template <class T>
int32_t CrossPower(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                   FDArrayHandle workspace, FDPlanHandle *plan);

template <class T>
int32_t CrossPowerSpectrum(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, double dt,
                           int32_t spectrumType, double *df, FDArrayHandle magnitude,
                           FDArrayHandle phase, FDArrayHandle workspace, FDPlanHandle *plan);

}  // namespace fennel

// Decimation, upsampling and streaming rational resampling, for float,
// double and complex data.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/call_frame.h"

namespace fennel {

// Handle level: sizes, checks, output resize, cleanup on failure.
template <class T>
int32_t Decimate(CallFrame &frame, FDArrayHandle x, FDArrayHandle output, int32_t factor,
                 int32_t average);
template <class T>
int32_t Upsample(CallFrame &frame, FDArrayHandle x, FDArrayHandle output, int32_t factor,
                 int32_t phase);

// Computing routines on raw pointers.  DecimateCore writes over x when out is
// null.
template <class T>
int32_t DecimateCore(T *x, int32_t n, T *out, int32_t capacity, int32_t factor, int32_t average);
template <class T>
int32_t UpsampleCore(const T *x, int32_t n, T *out, int64_t capacity, int32_t factor,
                     int32_t phase);

// Rank 1: one channel; rank 2: one row per channel.
template <class T, int Rank>
int32_t Resample(CallFrame &frame, FDArrayHandle x, FDArrayHandle coefficients,
                 int32_t interpolation, const FDResampleParams *params, int32_t reset,
                 int32_t antiAlias, FDArrayHandle output, float *firstOutputTime,
                 FDArrayHandle historyA, FDArrayHandle historyB, FDResampleState *state);

}  // namespace fennel

// Decimation by an integer factor: keep every factor-th sample, or replace
// each run of factor samples by its mean.
#include <cstring>

#include "frame/host_array.h"
#include "resampling/resampling.h"

namespace fennel {
namespace {

// Sum of a run of float samples in the fixed order that sets the rounding:
// four partial sums over the whole groups of four, joined as
// (p0 + p2) + (p1 + p3), then the remainder.
inline float RunSum(const float *r, int32_t length) {
    float p0 = 0.0f, p1 = 0.0f, p2 = 0.0f, p3 = 0.0f;
    const int32_t whole = length / 4 * 4;
    for (int32_t i = 0; i < whole; i += 4) {
        p0 += r[i];
        p1 += r[i + 1];
        p2 += r[i + 2];
        p3 += r[i + 3];
    }
    float sum = (p0 + p2) + (p1 + p3);
    switch (length - whole) {
        case 1: sum += r[whole]; break;
        case 2: sum += r[whole + 1] + r[whole]; break;
        case 3: sum += (r[whole + 1] + r[whole]) + r[whole + 2]; break;
        default: break;
    }
    return sum;
}

// Double: one running sum in order.
inline double RunSum(const double *r, int32_t length) {
    double sum = 0.0;
    for (int32_t i = 0; i < length; ++i) sum += r[i];
    return sum;
}

template <class T>
void Average(const T *x, T *out, int32_t count, int32_t factor) {
    using R = typename Traits<T>::Real;
    const R divisor = static_cast<R>(factor);
    for (int32_t k = 0; k < count; ++k) {
        const T *run = x + static_cast<int64_t>(k) * factor;
        if constexpr (Traits<T>::kComplex) {
            // Real and imaginary parts: two running sums in order.
            const R *c = reinterpret_cast<const R *>(run);
            R re = 0, im = 0;
            for (int32_t i = 0; i < factor; ++i) {
                re += c[2 * i];
                im += c[2 * i + 1];
            }
            R *o = reinterpret_cast<R *>(out + k);
            o[0] = re / divisor;
            o[1] = im / divisor;
        } else {
            out[k] = RunSum(run, factor) / divisor;
        }
    }
}

}  // namespace

template <class T>
int32_t DecimateCore(T *x, int32_t n, T *out, int32_t capacity, int32_t factor, int32_t average) {
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (factor < 1 || factor > n) return STATUS_BAD_DECIMATION_FACTOR;
    const int32_t count = n / factor;
    if (out == nullptr) {
        out = x;  // in place: output k lands at or before the run it comes from
    } else if (capacity < count) {
        return STATUS_OUTPUT_TOO_LARGE;
    }
    if (factor == 1) {
        if (out != x) std::memmove(out, x, sizeof(T) * static_cast<size_t>(n));
    } else if (average == 0) {
        for (int32_t k = 0; k < count; ++k) out[k] = x[static_cast<int64_t>(k) * factor];
    } else {
        Average(x, out, count, factor);
    }
    return STATUS_OK;
}

template <class T>
int32_t Decimate(CallFrame &frame, FDArrayHandle x, FDArrayHandle output, int32_t factor,
                 int32_t average) {
    HostArray<T, 1> in(x);
    HostArray<T, 1> out(output);
    frame.EmptyOnFailure(out);
    const int32_t n = in.size();
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (factor < 1 || factor > n) return STATUS_BAD_DECIMATION_FACTOR;
    const int32_t count = n / factor;
    if (x == output) {
        // One handle for both: decimate in place, then shrink (the host keeps
        // the leading elements).
        FENNEL_TRY(DecimateCore<T>(in.data(), n, nullptr, 0, factor, average));
        return out.Resize(count);
    }
    FENNEL_TRY(out.Resize(count));
    return DecimateCore<T>(in.data(), n, out.data(), out.size(), factor, average);
}

#define FENNEL_DECIMATE_INSTANCES(T)                                                         \
    template int32_t DecimateCore<T>(T *, int32_t, T *, int32_t, int32_t, int32_t);          \
    template int32_t Decimate<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t);
FENNEL_DECIMATE_INSTANCES(float)
FENNEL_DECIMATE_INSTANCES(double)
FENNEL_DECIMATE_INSTANCES(cfloat)
FENNEL_DECIMATE_INSTANCES(cdouble)
#undef FENNEL_DECIMATE_INSTANCES

}  // namespace fennel

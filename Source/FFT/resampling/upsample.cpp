// Upsampling by zero insertion: each input sample lands at a chosen phase of
// its block of factor output samples; the rest of the block is zero.
#include <cstring>

#include "frame/host_array.h"
#include "resampling/resampling.h"

namespace fennel {
namespace {

int32_t CheckUpsample(int32_t n, int32_t factor, int32_t phase) {
    if (n < 1) return STATUS_EMPTY_ARRAY;
    if (factor <= 0) return STATUS_BAD_SAMPLING_INTERVAL;
    if (phase < 0 || phase >= factor) return STATUS_BAD_PHASE;
    // Keeps n * factor below 2^31.
    if (BitLength(n) + BitLength(factor) >= 31) return STATUS_OUTPUT_TOO_LARGE;
    return STATUS_OK;
}

// Small fixed factors: a forward pass the compiler can vectorise.
template <class T, int F>
void ZeroInsert(const T *x, int64_t n, T *out, int32_t phase) {
    for (int64_t i = 0; i < n; ++i)
        for (int j = 0; j < F; ++j) out[i * F + j] = j == phase ? x[i] : T(0);
}

// Each block written whole, from the last to the first: x[i] is read before
// its block is written, so x may share out's memory.
template <class T>
void ZeroInsertBackward(const T *x, int64_t n, T *out, int32_t factor, int32_t phase) {
    const size_t before = sizeof(T) * static_cast<size_t>(phase);
    const size_t after = sizeof(T) * static_cast<size_t>(factor - phase - 1);
    for (int64_t i = n - 1; i >= 0; --i) {
        const T v = x[i];
        T *block = out + i * factor;
        if (factor <= 8) {
            for (int32_t j = 0; j < factor; ++j) block[j] = T(0);
        } else {
            std::memset(static_cast<void *>(block), 0, before);
            std::memset(static_cast<void *>(block + phase + 1), 0, after);
        }
        block[phase] = v;
    }
}

}  // namespace

template <class T>
int32_t UpsampleCore(const T *x, int32_t n, T *out, int64_t capacity, int32_t factor,
                     int32_t phase) {
    FENNEL_TRY(CheckUpsample(n, factor, phase));
    const int64_t total = static_cast<int64_t>(n) * factor;
    if (capacity < total) return STATUS_OUTPUT_TOO_LARGE;
    if (factor == 1) {
        if (out != x) std::memmove(out, x, sizeof(T) * static_cast<size_t>(n));
        return STATUS_OK;
    }
    if (out + total <= x || x + n <= out) {
        // Separate memory: one forward pass, each block written whole.
        switch (factor) {
            case 2: ZeroInsert<T, 2>(x, n, out, phase); break;
            case 3: ZeroInsert<T, 3>(x, n, out, phase); break;
            case 4: ZeroInsert<T, 4>(x, n, out, phase); break;
            default: ZeroInsertBackward(x, n, out, factor, phase); break;
        }
    } else {
        ZeroInsertBackward(x, n, out, factor, phase);
    }
    return STATUS_OK;
}

template <class T>
int32_t Upsample(CallFrame &frame, FDArrayHandle x, FDArrayHandle output, int32_t factor,
                 int32_t phase) {
    HostArray<T, 1> in(x);
    HostArray<T, 1> out(output);
    frame.EmptyOnFailure(out);
    const int32_t n = in.size();
    FENNEL_TRY(CheckUpsample(n, factor, phase));
    FENNEL_TRY(out.Resize(n * factor));
    // The input is read after the resize: when x and output are one handle the
    // host has kept its samples at the front of the grown block.
    return UpsampleCore<T>(in.data(), n, out.data(), out.size(), factor, phase);
}

#define FENNEL_UPSAMPLE_INSTANCES(T)                                                   \
    template int32_t UpsampleCore<T>(const T *, int32_t, T *, int64_t, int32_t, int32_t); \
    template int32_t Upsample<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t);
FENNEL_UPSAMPLE_INSTANCES(float)
FENNEL_UPSAMPLE_INSTANCES(double)
FENNEL_UPSAMPLE_INSTANCES(cfloat)
FENNEL_UPSAMPLE_INSTANCES(cdouble)
#undef FENNEL_UPSAMPLE_INSTANCES

}  // namespace fennel

// 2D convolution (full, same, valid), cross-correlation and autocorrelation
// of matrices, by the direct or the frequency-domain method.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"

namespace fennel {
namespace {

// Checks the size guard of a 2D output and resizes it.
template <class T>
int32_t ResizeOutput(HostArray<T, 2> &out, int64_t rows, int64_t cols) {
    if (rows > corr::kMaxElements || cols > corr::kMaxElements) return STATUS_OUT_OF_MEMORY;
    const int32_t dims[2] = {static_cast<int32_t>(rows), static_cast<int32_t>(cols)};
    if (!PassesSizeGuard(dims)) return STATUS_OUT_OF_MEMORY;
    return out.Resize(dims);
}

template <class T>
int32_t ConvolutionCore2D(CallFrame &frame, const T *x, int32_t r1, int32_t c1, const T *y,
                          int32_t r2, int32_t c2, T *out, int32_t outputMode, int32_t algorithm,
                          FDArrayHandle fullScratch, FDArrayHandle fftScratch, Plan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> fs(fullScratch);
    T *full = out;
    if (outputMode != 0) {
        if (fs.is_null()) return STATUS_NO_WORKSPACE;
        FENNEL_TRY(ResizeWorkspace(fs, (int64_t{r1} + r2 - 1) * (int64_t{c1} + c2 - 1)));
        full = fs.data();
    }
    if (algorithm == 1)
        FENNEL_TRY((corr::FrequencyDomainCore<T, T>(frame, x, r1, c1, y, r2, c2, 2, full, 0,
                                                    fftScratch, plan)));
    else
        corr::DirectConvolve2D(x, r1, c1, y, r2, c2, full);
    if (outputMode == 1) corr::CropSame(out, full, r1, c1, r2, c2);
    if (outputMode == 2) corr::CropValid(out, full, r1, c1, r2, c2);
    return STATUS_OK;
}

template <class T>
int32_t CorrelationCore2D(CallFrame &frame, const T *x, int32_t r1, int32_t c1, const T *y,
                          int32_t r2, int32_t c2, T *out, int32_t algorithm,
                          FDArrayHandle reverseScratch, FDArrayHandle fftScratch, Plan plan) {
    plan.ReleaseOnFailure(frame);
    if (algorithm == 1)
        return corr::FrequencyDomainCore<T, T>(frame, x, r1, c1, y, r2, c2, 2, out, 1, fftScratch,
                                               plan);
    if (reverseScratch == nullptr) return STATUS_NO_WORKSPACE;
    HostArray<T, 1> rs(reverseScratch);
    const int64_t count = int64_t{r1} * c1;
    FENNEL_TRY(ResizeWorkspace(rs, count));
    // Reversing the row-major sequence reverses both dimensions.
    corr::ReverseCopy(rs.data(), x, count);
    corr::DirectConvolve2D(rs.data(), r1, c1, y, r2, c2, out);
    return STATUS_OK;
}

// Reads the two sizes of a matrix; false when one is below 1.
template <class T>
bool Sizes(const HostArray<T, 2> &a, int32_t &rows, int32_t &cols) {
    rows = a.size(0);
    cols = a.size(1);
    return rows >= 1 && cols >= 1;
}

}  // namespace

template <class T>
int32_t Convolution2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t outputMode, int32_t algorithm, FDArrayHandle fullScratch,
                      FDArrayHandle fftScratch, FDPlanHandle *plan) {
    HostArray<T, 2> xa(x), ya(y), out(output);
    frame.EmptyOnFailure(out);
    corr::LeaveEmpty<T, T>(frame, fullScratch, fftScratch);
    FENNEL_TRY(frame.KeepInput(xa, {output, fullScratch, fftScratch}));
    FENNEL_TRY(frame.KeepInput(ya, {output, fullScratch, fftScratch}));
    FENNEL_TRY(SeparateWorkspaces({fullScratch, fftScratch}, {output}, true));

    int32_t r1, c1, r2, c2;
    if (!Sizes(xa, r1, c1) || !Sizes(ya, r2, c2)) return STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return STATUS_BAD_SELECTOR;
    int64_t rows = 0, cols = 0;
    switch (outputMode) {
        case 0:
            rows = int64_t{r1} + r2 - 1;
            cols = int64_t{c1} + c2 - 1;
            break;
        case 1:
            rows = r1;
            cols = c1;
            break;
        case 2:
            rows = int64_t{r1} - r2 + 1;
            cols = int64_t{c1} - c2 + 1;
            if (rows < 1 || cols < 1) return STATUS_EMPTY_OPERAND;
            break;
        default: return STATUS_BAD_SELECTOR;
    }
    FENNEL_TRY(ResizeOutput(out, rows, cols));
    return ConvolutionCore2D<T>(frame, xa.data(), r1, c1, ya.data(), r2, c2, out.data(),
                                outputMode, algorithm, fullScratch, fftScratch,
                                Plan::Of(frame, plan));
}

template <class T>
int32_t Correlation2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t algorithm, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                      FDPlanHandle *plan) {
    HostArray<T, 2> xa(x), ya(y), out(output);
    frame.EmptyOnFailure(out);
    corr::LeaveEmpty<T, T>(frame, reverseScratch, fftScratch);
    FENNEL_TRY(frame.KeepInput(xa, {output, reverseScratch, fftScratch}));
    FENNEL_TRY(frame.KeepInput(ya, {output, reverseScratch, fftScratch}));
    FENNEL_TRY(SeparateWorkspaces({reverseScratch, fftScratch}, {output}, true));

    int32_t r1, c1, r2, c2;
    if (!Sizes(xa, r1, c1) || !Sizes(ya, r2, c2)) return STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return STATUS_BAD_SELECTOR;
    FENNEL_TRY(ResizeOutput(out, int64_t{r1} + r2 - 1, int64_t{c1} + c2 - 1));
    return CorrelationCore2D<T>(frame, xa.data(), r1, c1, ya.data(), r2, c2, out.data(), algorithm,
                                reverseScratch, fftScratch, Plan::Of(frame, plan));
}

// The correlation of the matrix with itself (one forward transform in the
// frequency-domain method).
template <class T>
int32_t AutoCorrelation2D(CallFrame &frame, FDArrayHandle x, FDArrayHandle output,
                          int32_t algorithm, FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                          FDPlanHandle *plan) {
    return Correlation2D<T>(frame, x, x, output, algorithm, reverseScratch, fftScratch, plan);
}

#define FENNEL_CORRELATION2D(T)                                                                 \
    template int32_t Convolution2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle,  \
                                      int32_t, int32_t, FDArrayHandle, FDArrayHandle,            \
                                      FDPlanHandle *);                                           \
    template int32_t Correlation2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle,  \
                                      int32_t, FDArrayHandle, FDArrayHandle, FDPlanHandle *);    \
    template int32_t AutoCorrelation2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,    \
                                          FDArrayHandle, FDArrayHandle, FDPlanHandle *);
FENNEL_CORRELATION2D(float)
FENNEL_CORRELATION2D(double)
FENNEL_CORRELATION2D(cfloat)
FENNEL_CORRELATION2D(cdouble)
#undef FENNEL_CORRELATION2D

}  // namespace fennel

// 2D convolution (full, same, valid), cross-correlation and autocorrelation
// of matrices, by the direct or the frequency-domain method.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"
#include "dft/plan.h"

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
int32_t ConvolutionCore2D(const T *x, int32_t r1, int32_t c1, const T *y, int32_t r2, int32_t c2,
                          T *out, int32_t outputMode, int32_t algorithm, FDArrayHandle fullScratch,
                          FDArrayHandle fftScratch, DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> fs(fullScratch);
    EmptyAtExit<T, 1> fs_guard(fs, outputMode != 0 && fullScratch != nullptr);
    T *full = out;
    if (outputMode != 0) {
        if (fullScratch == nullptr) return status = STATUS_NO_WORKSPACE;
        const int64_t count = (int64_t{r1} + r2 - 1) * (int64_t{c1} + c2 - 1);
        if ((status = corr::PrepareScratchArray(fs, count, &full)) < 0) return status;
    }
    if (algorithm == 1) {
        status = corr::FrequencyDomainCore<T, T>(x, r1, c1, y, r2, c2, 2, full, 0, fftScratch, slot);
        if (status < 0) return status;
    } else {
        corr::DirectConvolve2D(x, r1, c1, y, r2, c2, full);
    }
    if (outputMode == 1) corr::CropSame(out, full, r1, c1, r2, c2);
    if (outputMode == 2) corr::CropValid(out, full, r1, c1, r2, c2);
    return status;
}

template <class T>
int32_t CorrelationCore2D(const T *x, int32_t r1, int32_t c1, const T *y, int32_t r2, int32_t c2,
                          T *out, int32_t algorithm, FDArrayHandle reverseScratch,
                          FDArrayHandle fftScratch, DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    if (algorithm == 1) {
        status = corr::FrequencyDomainCore<T, T>(x, r1, c1, y, r2, c2, 2, out, 1, fftScratch, slot);
        return status;
    }
    if (reverseScratch == nullptr) return status = STATUS_NO_WORKSPACE;
    HostArray<T, 1> rs(reverseScratch);
    EmptyAtExit<T, 1> rs_guard(rs, true);
    T *reversed = nullptr;
    const int64_t count = int64_t{r1} * c1;
    if ((status = corr::PrepareScratchArray(rs, count, &reversed)) < 0) return status;
    // Reversing the row-major sequence reverses both dimensions.
    corr::ReverseCopy(reversed, x, count);
    corr::DirectConvolve2D(reversed, r1, c1, y, r2, c2, out);
    return status;
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
int32_t Convolution2D(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output, int32_t outputMode,
                      int32_t algorithm, FDArrayHandle fullScratch, FDArrayHandle fftScratch,
                      FDPlanHandle *plan) {
    HostArray<T, 2> xa(x), ya(y), out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 2> out_guard(out, status, Traits<T>::kTypeCode);
    corr::WorkspacesEmptied workspaces;
    workspaces.Add<T>(fullScratch);
    workspaces.Add<T>(fftScratch);

    int32_t r1, c1, r2, c2;
    if (!Sizes(xa, r1, c1) || !Sizes(ya, r2, c2)) return status = STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return status = STATUS_BAD_SELECTOR;
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
            if (rows < 1 || cols < 1) return status = STATUS_EMPTY_OPERAND;
            break;
        default: return status = STATUS_BAD_SELECTOR;
    }
    if ((status = ResizeOutput(out, rows, cols)) < 0) return status;
    TransientPlan slot(plan);
    return status = ConvolutionCore2D<T>(xa.data(), r1, c1, ya.data(), r2, c2, out.data(),
                                         outputMode, algorithm, fullScratch, fftScratch, slot.get());
}

template <class T>
int32_t Correlation2D(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output, int32_t algorithm,
                      FDArrayHandle reverseScratch, FDArrayHandle fftScratch, FDPlanHandle *plan) {
    HostArray<T, 2> xa(x), ya(y), out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 2> out_guard(out, status, Traits<T>::kTypeCode);
    corr::WorkspacesEmptied workspaces;
    workspaces.Add<T>(reverseScratch);
    workspaces.Add<T>(fftScratch);

    int32_t r1, c1, r2, c2;
    if (!Sizes(xa, r1, c1) || !Sizes(ya, r2, c2)) return status = STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return status = STATUS_BAD_SELECTOR;
    if ((status = ResizeOutput(out, int64_t{r1} + r2 - 1, int64_t{c1} + c2 - 1)) < 0) return status;
    TransientPlan slot(plan);
    return status = CorrelationCore2D<T>(xa.data(), r1, c1, ya.data(), r2, c2, out.data(),
                                         algorithm, reverseScratch, fftScratch, slot.get());
}

template <class T>
int32_t AutoCorrelation2D(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                          FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                          FDPlanHandle *plan) {
    HostArray<T, 2> xa(x), out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 2> out_guard(out, status, Traits<T>::kTypeCode);
    corr::WorkspacesEmptied workspaces;
    workspaces.Add<T>(reverseScratch);
    workspaces.Add<T>(fftScratch);

    int32_t r1, c1;
    if (!Sizes(xa, r1, c1)) return status = STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return status = STATUS_BAD_SELECTOR;
    if ((status = ResizeOutput(out, 2 * int64_t{r1} - 1, 2 * int64_t{c1} - 1)) < 0) return status;
    TransientPlan slot(plan);
    const T *data = xa.data();
    return status = CorrelationCore2D<T>(data, r1, c1, data, r1, c1, out.data(), algorithm,
                                         reverseScratch, fftScratch, slot.get());
}

#define FENNEL_CORRELATION2D(T)                                                                  \
    template int32_t Convolution2D<T>(FDArrayHandle, FDArrayHandle, FDArrayHandle, int32_t,       \
                                      int32_t, FDArrayHandle, FDArrayHandle, FDPlanHandle *);     \
    template int32_t Correlation2D<T>(FDArrayHandle, FDArrayHandle, FDArrayHandle, int32_t,       \
                                      FDArrayHandle, FDArrayHandle, FDPlanHandle *);              \
    template int32_t AutoCorrelation2D<T>(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,   \
                                          FDArrayHandle, FDPlanHandle *);
FENNEL_CORRELATION2D(float)
FENNEL_CORRELATION2D(double)
FENNEL_CORRELATION2D(cfloat)
FENNEL_CORRELATION2D(cdouble)
#undef FENNEL_CORRELATION2D

}  // namespace fennel

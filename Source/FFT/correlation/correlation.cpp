// 1D cross-correlation over all lags, with its normalisations, and the
// autocorrelation: the correlation of a sequence with itself, through one
// forward transform in the frequency-domain method.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"

namespace fennel {

template <class X, class Y>
int32_t Correlation1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t algorithm, int32_t normalization, int32_t blockSize,
                      FDArrayHandle reverseScratch, FDArrayHandle fftScratch, FDPlanHandle *plan) {
    using O = corr::OutOf<X, Y>;
    HostArray<X, 1> xa(x);
    HostArray<Y, 1> ya(y);
    HostArray<O, 1> out(output);
    frame.EmptyOnFailure(out);
    corr::LeaveEmpty<X, O>(frame, reverseScratch, fftScratch);
    FENNEL_TRY(frame.KeepInput(xa, {output, reverseScratch, fftScratch}));
    FENNEL_TRY(frame.KeepInput(ya, {output, reverseScratch, fftScratch}));
    FENNEL_TRY(SeparateWorkspaces({reverseScratch, fftScratch}, {output}, true));

    const int32_t n = xa.size(), m = ya.size();
    if (n < 1 || m < 1) return STATUS_EMPTY_ARRAY;
    if ((algorithm != 0 && algorithm != 1) || static_cast<uint32_t>(normalization) > 2)
        return STATUS_BAD_SELECTOR;
    const int64_t length = int64_t{n} + m - 1;
    if (length > corr::kMaxElements) return STATUS_OUT_OF_MEMORY;
    FENNEL_TRY(out.Resize(static_cast<int32_t>(length)));
    return corr::CorrelationCore<X, Y>(frame, xa.data(), n, ya.data(), m, out.data(), algorithm,
                                       normalization, blockSize, reverseScratch, fftScratch,
                                       Plan::Of(frame, plan));
}

template <class T>
int32_t AutoCorrelation1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle output,
                          int32_t algorithm, int32_t normalization, int32_t blockSize,
                          FDArrayHandle reverseScratch, FDArrayHandle fftScratch,
                          FDPlanHandle *plan) {
    return Correlation1D<T, T>(frame, x, x, output, algorithm, normalization, blockSize,
                               reverseScratch, fftScratch, plan);
}

#define FENNEL_CORRELATION1D(X, Y)                                                            \
    template int32_t Correlation1D<X, Y>(CallFrame &, FDArrayHandle, FDArrayHandle,            \
                                         FDArrayHandle, int32_t, int32_t, int32_t,             \
                                         FDArrayHandle, FDArrayHandle, FDPlanHandle *);
FENNEL_CORRELATION1D(float, float)
FENNEL_CORRELATION1D(double, double)
FENNEL_CORRELATION1D(cfloat, cfloat)
FENNEL_CORRELATION1D(cdouble, cdouble)
FENNEL_CORRELATION1D(float, cfloat)
FENNEL_CORRELATION1D(double, cdouble)
FENNEL_CORRELATION1D(cfloat, float)
FENNEL_CORRELATION1D(cdouble, double)
#undef FENNEL_CORRELATION1D

#define FENNEL_AUTOCORRELATION1D(T)                                                            \
    template int32_t AutoCorrelation1D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,  \
                                          int32_t, int32_t, FDArrayHandle, FDArrayHandle,      \
                                          FDPlanHandle *);
FENNEL_AUTOCORRELATION1D(float)
FENNEL_AUTOCORRELATION1D(double)
FENNEL_AUTOCORRELATION1D(cfloat)
FENNEL_AUTOCORRELATION1D(cdouble)
#undef FENNEL_AUTOCORRELATION1D

}  // namespace fennel

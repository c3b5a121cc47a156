// 1D cross-correlation over all lags, with its normalisations.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"
#include "dft/plan.h"

namespace fennel {

template <class X, class Y>
int32_t Correlation1D(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output, int32_t algorithm,
                      int32_t normalization, int32_t blockSize, FDArrayHandle reverseScratch,
                      FDArrayHandle fftScratch, FDPlanHandle *plan) {
    using O = corr::OutOf<X, Y>;
    HostArray<X, 1> xa(x);
    HostArray<Y, 1> ya(y);
    HostArray<O, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<O, 1> out_guard(out, status, Traits<O>::kTypeCode);
    corr::WorkspacesEmptied workspaces;
    workspaces.Add<X>(reverseScratch);
    workspaces.Add<O>(fftScratch);

    const int32_t n = xa.size(), m = ya.size();
    if (n < 1 || m < 1) return status = STATUS_EMPTY_ARRAY;
    if ((algorithm != 0 && algorithm != 1) || static_cast<uint32_t>(normalization) > 2)
        return status = STATUS_BAD_SELECTOR;
    const int64_t length = int64_t{n} + m - 1;
    if (length > corr::kMaxElements) return status = STATUS_OUT_OF_MEMORY;
    if ((status = out.Resize(static_cast<int32_t>(length))) < 0) return status;
    TransientPlan slot(plan);
    return status = corr::CorrelationCore<X, Y>(xa.data(), n, ya.data(), m, out.data(), algorithm,
                                                normalization, blockSize, reverseScratch,
                                                fftScratch, slot.get());
}

#define FENNEL_CORRELATION1D(X, Y)                                                              \
    template int32_t Correlation1D<X, Y>(FDArrayHandle, FDArrayHandle, FDArrayHandle, int32_t,  \
                                         int32_t, int32_t, FDArrayHandle, FDArrayHandle,         \
                                         FDPlanHandle *);
FENNEL_CORRELATION1D(float, float)
FENNEL_CORRELATION1D(double, double)
FENNEL_CORRELATION1D(cfloat, cfloat)
FENNEL_CORRELATION1D(cdouble, cdouble)
FENNEL_CORRELATION1D(float, cfloat)
FENNEL_CORRELATION1D(double, cdouble)
FENNEL_CORRELATION1D(cfloat, float)
FENNEL_CORRELATION1D(cdouble, double)
#undef FENNEL_CORRELATION1D

}  // namespace fennel

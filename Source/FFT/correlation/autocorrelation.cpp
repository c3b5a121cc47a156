// 1D autocorrelation: the correlation of a sequence with itself, through one
// forward transform in the frequency-domain method.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"
#include "dft/plan.h"

namespace fennel {

template <class T>
int32_t AutoCorrelation1D(FDArrayHandle x, FDArrayHandle output, int32_t algorithm,
                          int32_t normalization, int32_t blockSize, FDArrayHandle reverseScratch,
                          FDArrayHandle fftScratch, FDPlanHandle *plan) {
    HostArray<T, 1> xa(x);
    HostArray<T, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 1> out_guard(out, status, Traits<T>::kTypeCode);
    corr::WorkspacesEmptied workspaces;
    workspaces.Add<T>(reverseScratch);
    workspaces.Add<T>(fftScratch);

    const int32_t n = xa.size();
    if (n < 1) return status = STATUS_EMPTY_ARRAY;
    if ((algorithm != 0 && algorithm != 1) || static_cast<uint32_t>(normalization) > 2)
        return status = STATUS_BAD_SELECTOR;
    const int64_t length = 2 * int64_t{n} - 1;
    if (length > corr::kMaxElements) return status = STATUS_OUT_OF_MEMORY;
    if ((status = out.Resize(static_cast<int32_t>(length))) < 0) return status;
    TransientPlan slot(plan);
    const T *data = xa.data();
    return status = corr::CorrelationCore<T, T>(data, n, data, n, out.data(), algorithm,
                                                normalization, blockSize, reverseScratch,
                                                fftScratch, slot.get());
}

#define FENNEL_AUTOCORRELATION1D(T)                                                            \
    template int32_t AutoCorrelation1D<T>(FDArrayHandle, FDArrayHandle, int32_t, int32_t,      \
                                          int32_t, FDArrayHandle, FDArrayHandle, FDPlanHandle *);
FENNEL_AUTOCORRELATION1D(float)
FENNEL_AUTOCORRELATION1D(double)
FENNEL_AUTOCORRELATION1D(cfloat)
FENNEL_AUTOCORRELATION1D(cdouble)
#undef FENNEL_AUTOCORRELATION1D

}  // namespace fennel

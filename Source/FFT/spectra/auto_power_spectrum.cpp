// Auto power spectrum: the power spectrum with a sampling interval, one- or
// two-sided, reporting the frequency step of the bins.
#include <limits>

#include "spectra/spectra.h"

namespace fennel {

template <class T>
int32_t AutoPowerSpectrum(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, double dt,
                          int32_t spectrumType, double *df, FDArrayHandle workspace,
                          FDPlanHandle *plan) {
    double step = std::numeric_limits<double>::quiet_NaN();
    const int32_t status =
        PowerSpectrumSteps<T>(frame, input, output, spectrumType, &dt, &step, workspace, plan);
    if (df != nullptr) *df = status < 0 ? std::numeric_limits<double>::quiet_NaN() : step;
    return status;
}

#define FENNEL_AUTO_POWER_INSTANCES(T)                                                          \
    template int32_t AutoPowerSpectrum<T>(CallFrame &, FDArrayHandle, FDArrayHandle, double,    \
                                          int32_t, double *, FDArrayHandle, FDPlanHandle *);
FENNEL_AUTO_POWER_INSTANCES(float)
FENNEL_AUTO_POWER_INSTANCES(double)
FENNEL_AUTO_POWER_INSTANCES(cfloat)
FENNEL_AUTO_POWER_INSTANCES(cdouble)
#undef FENNEL_AUTO_POWER_INSTANCES

}  // namespace fennel

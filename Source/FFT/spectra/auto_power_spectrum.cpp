// Auto power spectrum: the power spectrum with a sampling interval, one- or
// two-sided, reporting the frequency step of the bins.
#include <limits>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "spectra/spectra.h"

namespace fennel {
namespace {

template <class T>
int32_t AutoPowerSpectrumSteps(FDArrayHandle input, FDArrayHandle output, double dt,
                               int32_t spectrumType, double &step, FDArrayHandle workspace,
                               FDPlanHandle *plan) {
    using R = typename Traits<T>::Real;
    HostArray<T, 1> in(input);
    HostArray<R, 1> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<R, 1> out_guard(out, status, Traits<R>::kTypeCode);
    const int32_t n = in.size();
    if (n <= 0) return status = STATUS_EMPTY_ARRAY;
    // Written so that a NaN interval passes (its frequency step is NaN).
    if (dt <= 0.0) return status = STATUS_BAD_SAMPLING_INTERVAL;
    const int32_t length = SpectrumLength(n, spectrumType);
    if (length < 0) return status = STATUS_BAD_SELECTOR;
    if ((status = out.Resize(length)) < 0) return status;
    step = 1.0 / (static_cast<double>(n) * dt);
    TransientPlan slot(plan);
    return status = PowerSpectrumCore<T>(in.data(), n, out.data(), spectrumType, workspace,
                                         slot.get());
}

}  // namespace

template <class T>
int32_t AutoPowerSpectrum(FDArrayHandle input, FDArrayHandle output, double dt,
                          int32_t spectrumType, double *df, FDArrayHandle workspace,
                          FDPlanHandle *plan) {
    double step = std::numeric_limits<double>::quiet_NaN();
    const int32_t status =
        AutoPowerSpectrumSteps<T>(input, output, dt, spectrumType, step, workspace, plan);
    if (df != nullptr) *df = status < 0 ? std::numeric_limits<double>::quiet_NaN() : step;
    return status;
}

#define FENNEL_AUTO_POWER_INSTANCES(T)                                                         \
    template int32_t AutoPowerSpectrum<T>(FDArrayHandle, FDArrayHandle, double, int32_t,       \
                                          double *, FDArrayHandle, FDPlanHandle *);
FENNEL_AUTO_POWER_INSTANCES(float)
FENNEL_AUTO_POWER_INSTANCES(double)
FENNEL_AUTO_POWER_INSTANCES(cfloat)
FENNEL_AUTO_POWER_INSTANCES(cdouble)
#undef FENNEL_AUTO_POWER_INSTANCES

}  // namespace fennel

// Power, auto power, cross power and cross power spectrum entries.
#include "fennel_dsp.h"
#include "frame/types.h"
#include "spectra/spectra.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t sPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::PowerSpectrum<float>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t dPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::PowerSpectrum<double>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t cPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::PowerSpectrum<cfloat>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t zPowerSpectrumH(FDArrayHandle input, FDArrayHandle output,
                                       FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::PowerSpectrum<cdouble>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t sAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoPowerSpectrum<float>, input, output, dt, spectrumType, df, workspace, plan);
}
FENNEL_DSP_API int32_t dAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoPowerSpectrum<double>, input, output, dt, spectrumType, df, workspace, plan);
}
FENNEL_DSP_API int32_t cAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoPowerSpectrum<cfloat>, input, output, dt, spectrumType, df, workspace, plan);
}
FENNEL_DSP_API int32_t zAutoPowerSpectrumH(FDArrayHandle input, FDArrayHandle output, double dt,
                                           int32_t spectrumType, double *df,
                                           FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::AutoPowerSpectrum<cdouble>, input, output, dt, spectrumType, df, workspace, plan);
}
FENNEL_DSP_API int32_t sCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPower<float>, x, y, output, workspace, plan);
}
FENNEL_DSP_API int32_t dCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPower<double>, x, y, output, workspace, plan);
}
FENNEL_DSP_API int32_t cCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPower<cfloat>, x, y, output, workspace, plan);
}
FENNEL_DSP_API int32_t zCrossPowerH(FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                                    FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPower<cdouble>, x, y, output, workspace, plan);
}
FENNEL_DSP_API int32_t sCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPowerSpectrum<float>, x, y, dt, spectrumType, df, magnitude, phase, workspace, plan);
}
FENNEL_DSP_API int32_t dCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPowerSpectrum<double>, x, y, dt, spectrumType, df, magnitude, phase, workspace, plan);
}
FENNEL_DSP_API int32_t cCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPowerSpectrum<cfloat>, x, y, dt, spectrumType, df, magnitude, phase, workspace, plan);
}
FENNEL_DSP_API int32_t zCrossPowerSpectrumH(FDArrayHandle x, FDArrayHandle y, double dt,
                                            int32_t spectrumType, double *df,
                                            FDArrayHandle magnitude, FDArrayHandle phase,
                                            FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::CrossPowerSpectrum<cdouble>, x, y, dt, spectrumType, df, magnitude, phase, workspace, plan);
}

}  // extern "C"

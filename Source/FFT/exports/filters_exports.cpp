// Windows, windowed FIR design and IIR filter entries.
#include "fennel_dsp.h"
#include "frame/types.h"
#include "filters/filters.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t sAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace) {
    return fennel::AllCosWin<float>(x, windowType, normalise, workspace);
}
FENNEL_DSP_API int32_t dAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace) {
    return fennel::AllCosWin<double>(x, windowType, normalise, workspace);
}
FENNEL_DSP_API int32_t cAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace) {
    return fennel::AllCosWin<cfloat>(x, windowType, normalise, workspace);
}
FENNEL_DSP_API int32_t zAllCosWinH(FDArrayHandle x, int32_t windowType, int32_t normalise,
                                   FDArrayHandle workspace) {
    return fennel::AllCosWin<cdouble>(x, windowType, normalise, workspace);
}
FENNEL_DSP_API int32_t sGaussWinH(FDArrayHandle x, float sigma) {
    return fennel::GaussWin<float>(x, sigma);
}
FENNEL_DSP_API int32_t dGaussWinH(FDArrayHandle x, double sigma) {
    return fennel::GaussWin<double>(x, sigma);
}
FENNEL_DSP_API int32_t cGaussWinH(FDArrayHandle x, float sigma) {
    return fennel::GaussWin<cfloat>(x, sigma);
}
FENNEL_DSP_API int32_t zGaussWinH(FDArrayHandle x, double sigma) {
    return fennel::GaussWin<cdouble>(x, sigma);
}
FENNEL_DSP_API int32_t sKaiserWinH(FDArrayHandle x, float beta) {
    return fennel::KaiserWin<float>(x, beta);
}
FENNEL_DSP_API int32_t dKaiserWinH(FDArrayHandle x, double beta) {
    return fennel::KaiserWin<double>(x, beta);
}
FENNEL_DSP_API int32_t cKaiserWinH(FDArrayHandle x, float beta) {
    return fennel::KaiserWin<cfloat>(x, beta);
}
FENNEL_DSP_API int32_t zKaiserWinH(FDArrayHandle x, double beta) {
    return fennel::KaiserWin<cdouble>(x, beta);
}
FENNEL_DSP_API int32_t sSymmWinH(FDArrayHandle x, int32_t windowType, float windowParameter,
                                 FDArrayHandle workspace) {
    return fennel::SymmWin<float>(x, windowType, windowParameter, workspace);
}
FENNEL_DSP_API int32_t dSymmWinH(FDArrayHandle x, int32_t windowType, double windowParameter,
                                 FDArrayHandle workspace) {
    return fennel::SymmWin<double>(x, windowType, windowParameter, workspace);
}
FENNEL_DSP_API int32_t cSymmWinH(FDArrayHandle x, int32_t windowType, float windowParameter,
                                 FDArrayHandle workspace) {
    return fennel::SymmWin<cfloat>(x, windowType, windowParameter, workspace);
}
FENNEL_DSP_API int32_t zSymmWinH(FDArrayHandle x, int32_t windowType, double windowParameter,
                                 FDArrayHandle workspace) {
    return fennel::SymmWin<cdouble>(x, windowType, windowParameter, workspace);
}
FENNEL_DSP_API int32_t sTriangleWinH(FDArrayHandle x) { return fennel::TriangleWin<float>(x); }
FENNEL_DSP_API int32_t dTriangleWinH(FDArrayHandle x) { return fennel::TriangleWin<double>(x); }
FENNEL_DSP_API int32_t cTriangleWinH(FDArrayHandle x) { return fennel::TriangleWin<cfloat>(x); }
FENNEL_DSP_API int32_t zTriangleWinH(FDArrayHandle x) { return fennel::TriangleWin<cdouble>(x); }
FENNEL_DSP_API int32_t sFIRWindowedCoefH(FDArrayHandle coefficients, double fs, double f1,
                                         double f2, int32_t taps, int32_t filterType,
                                         int32_t windowType, float windowParameter,
                                         int32_t normalise, FDArrayHandle workspace) {
    return fennel::FIRWindowedCoef<float>(coefficients, fs, f1, f2, taps, filterType, windowType,
                                        windowParameter, normalise, workspace);
}
FENNEL_DSP_API int32_t dFIRWindowedCoefH(FDArrayHandle coefficients, double fs, double f1,
                                         double f2, int32_t taps, int32_t filterType,
                                         int32_t windowType, double windowParameter,
                                         int32_t normalise, FDArrayHandle workspace) {
    return fennel::FIRWindowedCoef<double>(coefficients, fs, f1, f2, taps, filterType, windowType,
                                        windowParameter, normalise, workspace);
}
FENNEL_DSP_API int32_t ssIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace) {
    return fennel::IIRDirectFilter<float>(x, a, b, forwardState, reverseState, init, tailWorkspace,
                                         aWorkspace, bWorkspace);
}
FENNEL_DSP_API int32_t ddIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace) {
    return fennel::IIRDirectFilter<double>(x, a, b, forwardState, reverseState, init, tailWorkspace,
                                         aWorkspace, bWorkspace);
}
FENNEL_DSP_API int32_t csIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace) {
    return fennel::IIRDirectFilter<cfloat>(x, a, b, forwardState, reverseState, init, tailWorkspace,
                                         aWorkspace, bWorkspace);
}
FENNEL_DSP_API int32_t zdIIRDirectFilterH(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                                          FDArrayHandle forwardState, FDArrayHandle reverseState,
                                          int32_t init, FDArrayHandle tailWorkspace,
                                          FDArrayHandle aWorkspace, FDArrayHandle bWorkspace) {
    return fennel::IIRDirectFilter<cdouble>(x, a, b, forwardState, reverseState, init, tailWorkspace,
                                         aWorkspace, bWorkspace);
}

}  // extern "C"

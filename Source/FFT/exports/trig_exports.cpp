// DCT and DST entries, 1D and 2D.
#include "fennel_dsp.h"
#include "transforms/dct_dst.h"

namespace {
constexpr int32_t kDCT = 0, kDST = 1, kInvDCT = 2, kInvDST = 3;
}

extern "C" {

FENNEL_DSP_API int32_t s1DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::DCT1D<float>, input, output, length, workspace, plan);
}
FENNEL_DSP_API int32_t d1DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::DCT1D<double>, input, output, length, workspace, plan);
}
FENNEL_DSP_API int32_t s1DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::DST1D<float>, input, output, length, workspace, plan);
}
FENNEL_DSP_API int32_t d1DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t length,
                               FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::DST1D<double>, input, output, length, workspace, plan);
}
FENNEL_DSP_API int32_t s1DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvDCT1D<float>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t d1DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvDCT1D<double>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t s1DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvDST1D<float>, input, output, workspace, plan);
}
FENNEL_DSP_API int32_t d1DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::InvDST1D<double>, input, output, workspace, plan);
}

FENNEL_DSP_API int32_t s2DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<float>, input, output, rows, columns, kDCT, workspace, plan);
}
FENNEL_DSP_API int32_t d2DDCTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<double>, input, output, rows, columns, kDCT, workspace, plan);
}
FENNEL_DSP_API int32_t s2DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<float>, input, output, rows, columns, kDST, workspace, plan);
}
FENNEL_DSP_API int32_t d2DDSTH(FDArrayHandle input, FDArrayHandle output, int32_t rows,
                               int32_t columns, FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<double>, input, output, rows, columns, kDST, workspace, plan);
}
FENNEL_DSP_API int32_t s2DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<float>, input, output, 0, 0, kInvDCT, workspace, plan);
}
FENNEL_DSP_API int32_t d2DInvDCTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<double>, input, output, 0, 0, kInvDCT, workspace, plan);
}
FENNEL_DSP_API int32_t s2DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<float>, input, output, 0, 0, kInvDST, workspace, plan);
}
FENNEL_DSP_API int32_t d2DInvDSTH(FDArrayHandle input, FDArrayHandle output,
                                  FDArrayHandle workspace, FDPlanHandle *plan) {
    return fennel::Call(fennel::Trig2D<double>, input, output, 0, 0, kInvDST, workspace, plan);
}

}  // extern "C"

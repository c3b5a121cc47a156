// Decimation, upsampling and rational resampling entries.
#include "fennel_dsp.h"
#include "frame/types.h"
#include "resampling/resampling.h"

using fennel::cdouble;
using fennel::cfloat;

extern "C" {

FENNEL_DSP_API int32_t sDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average) {
    return fennel::Decimate<float>(x, output, factor, average);
}
FENNEL_DSP_API int32_t dDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average) {
    return fennel::Decimate<double>(x, output, factor, average);
}
FENNEL_DSP_API int32_t cDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average) {
    return fennel::Decimate<cfloat>(x, output, factor, average);
}
FENNEL_DSP_API int32_t zDecimateH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t average) {
    return fennel::Decimate<cdouble>(x, output, factor, average);
}

FENNEL_DSP_API int32_t sUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase) {
    return fennel::Upsample<float>(x, output, factor, phase);
}
FENNEL_DSP_API int32_t dUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase) {
    return fennel::Upsample<double>(x, output, factor, phase);
}
FENNEL_DSP_API int32_t cUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase) {
    return fennel::Upsample<cfloat>(x, output, factor, phase);
}
FENNEL_DSP_API int32_t zUpsampleH(FDArrayHandle x, FDArrayHandle output, int32_t factor,
                                  int32_t phase) {
    return fennel::Upsample<cdouble>(x, output, factor, phase);
}

#define FENNEL_RESAMPLE_ENTRY(name, T, Rank)                                                    \
    FENNEL_DSP_API int32_t name(FDArrayHandle x, FDArrayHandle coefficients,                     \
                                int32_t interpolation, const FDResampleParams *params,          \
                                int32_t reset, int32_t antiAlias, FDArrayHandle output,         \
                                float *firstOutputTime, FDArrayHandle historyA,                 \
                                FDArrayHandle historyB, FDResampleState *state) {               \
        return fennel::Resample<T, Rank>(x, coefficients, interpolation, params, reset,         \
                                         antiAlias, output, firstOutputTime, historyA,          \
                                         historyB, state);                                      \
    }
FENNEL_RESAMPLE_ENTRY(sResampleC2CH, float, 1)
FENNEL_RESAMPLE_ENTRY(dResampleC2CH, double, 1)
FENNEL_RESAMPLE_ENTRY(cResampleC2CH, cfloat, 1)
FENNEL_RESAMPLE_ENTRY(zResampleC2CH, cdouble, 1)
FENNEL_RESAMPLE_ENTRY(sResampleMultiChC2CH, float, 2)
FENNEL_RESAMPLE_ENTRY(dResampleMultiChC2CH, double, 2)
FENNEL_RESAMPLE_ENTRY(cResampleMultiChC2CH, cfloat, 2)
FENNEL_RESAMPLE_ENTRY(zResampleMultiChC2CH, cdouble, 2)
#undef FENNEL_RESAMPLE_ENTRY

}  // extern "C"

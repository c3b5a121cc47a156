// Every status-returning export, generated from the table in exports.def:
// each runs its family's routine in a call frame and returns the status.
#include "correlation/correlation.h"
#include "fennel_dsp.h"
#include "filters/filters.h"
#include "frame/call_frame.h"
#include "frame/types.h"
#include "resampling/resampling.h"
#include "spectra/spectra.h"
#include "transforms/dct_dst.h"
#include "transforms/fft1d.h"
#include "transforms/fftmd.h"

namespace {
using fennel::cdouble;
using fennel::cfloat;
// The kinds of the two-dimensional DCT and DST.
constexpr int32_t kDCT = 0, kDST = 1, kInvDCT = 2, kInvDST = 3;
}  // namespace

#define FENNEL_UNPAREN(...) __VA_ARGS__
// The signature expands to the parameter list and the argument list.
#define FENNEL_EXPORT(name, routine, types, signature) \
    FENNEL_EXPORT_WRAPPER(name, routine, types, signature)
#define FENNEL_EXPORT_WRAPPER(name, routine, types, params, args)                        \
    extern "C" FENNEL_DSP_API int32_t name params {                                      \
        return fennel::Call(fennel::routine<FENNEL_UNPAREN types>, FENNEL_UNPAREN args); \
    }
#include "exports/exports.def"

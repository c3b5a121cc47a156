// 1D convolution: full, same and valid parts, by the direct or the
// frequency-domain method.
#include "correlation/correlation.h"
#include "correlation/correlation_core.h"

namespace fennel {
namespace {

using corr::OutOf;

// Full result into the output (mode 0) or into fullScratch and then cropped.
template <class X, class Y>
int32_t ConvolutionCore(CallFrame &frame, const X *x, int32_t n, const Y *y, int32_t m,
                        OutOf<X, Y> *out, int32_t outputMode, int32_t algorithm, int32_t blockSize,
                        FDArrayHandle fullScratch, FDArrayHandle fftScratch, Plan plan) {
    using O = OutOf<X, Y>;
    plan.ReleaseOnFailure(frame);
    HostArray<O, 1> fs(fullScratch);
    O *full = out;
    if (outputMode != 0) {
        if (fs.is_null()) return STATUS_NO_WORKSPACE;
        FENNEL_TRY(ResizeWorkspace(fs, int64_t{n} + m - 1));
        full = fs.data();
    }
    if (algorithm == 1) {
        FENNEL_TRY((corr::FrequencyDomainCore<X, Y>(frame, x, n, y, m, full, 0, fftScratch, plan)));
    } else if constexpr (std::is_same_v<X, Y>) {
        // The shorter operand supplies the scalars (x on a tie).
        if (n > m)
            corr::DirectConvolve(y, m, x, n, blockSize, full);
        else
            corr::DirectConvolve(x, n, y, m, blockSize, full);
    } else if constexpr (!Traits<X>::kComplex) {
        corr::DirectConvolve(x, n, y, m, blockSize, full);  // the real operand supplies the scalars
    } else {
        corr::DirectConvolve(y, m, x, n, blockSize, full);
    }
    if (outputMode == 1) corr::CropSame(out, full, 1, n, 1, m);
    if (outputMode == 2) corr::CropValid(out, full, 1, n, 1, m);
    return STATUS_OK;
}

}  // namespace

template <class X, class Y>
int32_t Convolution1D(CallFrame &frame, FDArrayHandle x, FDArrayHandle y, FDArrayHandle output,
                      int32_t outputMode, int32_t algorithm, int32_t blockSize,
                      FDArrayHandle fullScratch, FDArrayHandle fftScratch, FDPlanHandle *plan) {
    using O = OutOf<X, Y>;
    HostArray<X, 1> xa(x);
    HostArray<Y, 1> ya(y);
    HostArray<O, 1> out(output);
    frame.EmptyOnFailure(out);
    corr::LeaveEmpty<O, O>(frame, fullScratch, fftScratch);
    FENNEL_TRY(frame.KeepInput(xa, {output, fullScratch, fftScratch}));
    FENNEL_TRY(frame.KeepInput(ya, {output, fullScratch, fftScratch}));
    FENNEL_TRY(SeparateWorkspaces({fullScratch, fftScratch}, {output}, true));

    const int32_t n = xa.size(), m = ya.size();
    if (n < 1 || m < 1) return STATUS_EMPTY_ARRAY;
    if (algorithm != 0 && algorithm != 1) return STATUS_BAD_SELECTOR;
    const int64_t full = int64_t{n} + m - 1;
    int64_t length = 0;
    switch (outputMode) {
        case 0: length = full; break;
        case 1: length = n; break;
        case 2:
            length = int64_t{n} - m + 1;
            if (length < 1) return STATUS_EMPTY_OPERAND;
            break;
        default: return STATUS_BAD_SELECTOR;
    }
    if (full > corr::kMaxElements) return STATUS_OUT_OF_MEMORY;
    FENNEL_TRY(out.Resize(static_cast<int32_t>(length)));
    return ConvolutionCore<X, Y>(frame, xa.data(), n, ya.data(), m, out.data(), outputMode,
                                 algorithm, blockSize, fullScratch, fftScratch,
                                 Plan::Of(frame, plan));
}

#define FENNEL_CONVOLUTION1D(X, Y)                                                              \
    template int32_t Convolution1D<X, Y>(CallFrame &, FDArrayHandle, FDArrayHandle,            \
                                         FDArrayHandle, int32_t, int32_t, int32_t,               \
                                         FDArrayHandle, FDArrayHandle, FDPlanHandle *);
FENNEL_CONVOLUTION1D(float, float)
FENNEL_CONVOLUTION1D(double, double)
FENNEL_CONVOLUTION1D(cfloat, cfloat)
FENNEL_CONVOLUTION1D(cdouble, cdouble)
FENNEL_CONVOLUTION1D(float, cfloat)
FENNEL_CONVOLUTION1D(double, cdouble)
FENNEL_CONVOLUTION1D(cfloat, float)
FENNEL_CONVOLUTION1D(cdouble, double)
#undef FENNEL_CONVOLUTION1D

}  // namespace fennel

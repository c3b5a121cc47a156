// The multichannel 2D FFT: every row (orientation 0) or every column
// (orientation 1) of an R x C matrix is a channel of its own, transformed with
// the 1D conventions (requested length with padding or truncation, shift,
// completion of real spectra, 1/N inverse) by one batched transform.
#include <algorithm>
#include <cstring>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "transforms/fftmd.h"
#include "transforms/spectrum2d.h"

namespace fennel {
namespace {

// Where the channels of an R x C matrix sit: row channels are contiguous and
// a row apart; column channels have stride C and are one element apart.
struct Channels {
    bool columns;
    int32_t count;       // number of channels
    int32_t length;      // samples per channel
    ptrdiff_t stride;    // between samples of a channel
    ptrdiff_t distance;  // between channels, for a matrix of `rowLength` columns

    static Channels Of(int32_t R, int32_t C, bool columns) {
        return columns ? Channels{true, C, R, C, 1} : Channels{false, R, C, 1, C};
    }
    // The same channels in a matrix whose channels hold n samples.
    Channels WithLength(int32_t n) const {
        Channels c = *this;
        c.length = n;
        if (!columns) c.distance = n;
        return c;
    }
    // Dimensions of the matrix that holds these channels.
    void Dims(int32_t (&dims)[2]) const {
        dims[0] = columns ? length : count;
        dims[1] = columns ? count : length;
    }
};

template <class T>
PlanGeometry BatchGeometry(const Channels &in, const Channels &out, bool inverse) {
    PlanGeometry g;
    g.precision = kPrecisionOf<T>;
    g.domain = kDomainOf<T>;
    g.lengths[0] = out.length;
    g.strides = true;
    g.input_strides[1] = in.stride;
    g.output_strides[1] = out.stride;
    g.complex_complex = !Traits<T>::kComplex;
    g.transforms = out.count;
    g.input_distance = in.distance;
    g.output_distance = out.distance;
    g.inverse = inverse;
    return g;
}

// Forward computing routine: L bins of every channel of x into out.
template <class T>
int32_t MultiChCore(const T *x, const Channels &in, typename Traits<T>::Complex *out, int32_t L,
                    bool shift, FDArrayHandle workspace, DFTI_DESCRIPTOR_HANDLE *slot) {
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<T, 1> ws(workspace);
    EmptyAtExit<T, 1> ws_guard(ws);
    const Channels spectra = in.WithLength(L);
    Channels source_layout = in;
    const T *source = x;
    if (L > in.length) {
        if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
        ws_guard.Arm();
        const int32_t total = L * in.count;
        if ((status = ws.Resize(total)) < 0) return status;
        T *w = ws.data();
        std::memset(static_cast<void *>(w), 0, sizeof(T) * static_cast<size_t>(total));
        if (in.columns) {
            std::memcpy(static_cast<void *>(w), x, sizeof(T) * in.length * in.count);
        } else {
            for (int32_t r = 0; r < in.count; ++r)
                std::memcpy(static_cast<void *>(w + static_cast<ptrdiff_t>(r) * L),
                            x + r * in.distance, sizeof(T) * in.length);
        }
        source_layout = spectra;
        source = w;
    }
    status = AcquirePlan(slot, BatchGeometry<T>(source_layout, spectra, false));
    if (status < 0) return status;
    if ((status = ComputePlan(*slot, true, source, out)) < 0) return status;
    if constexpr (Traits<T>::kComplex) {
        if (shift) {
            if (in.columns)
                CentreAxis(out, 1, L, in.count);
            else
                CentreAxis(out, in.count, L, 1);
        }
    } else {
        for (int32_t ch = 0; ch < in.count; ++ch)
            CompleteAndCentre(out + ch * spectra.distance, spectra.stride, L, shift);
    }
    return status;
}

// Inverse computing routine: every channel of X (N bins, natural order or
// centred when shift) into N samples scaled by 1/N.
template <class T>
int32_t InvMultiChCore(const typename Traits<T>::Complex *X, const Channels &ch, T *out,
                       bool shift, FDArrayHandle workspace, DFTI_DESCRIPTOR_HANDLE *slot) {
    using C = typename Traits<T>::Complex;
    int32_t status = STATUS_OK;
    FreePlanOnFailure plan_guard(slot, status);
    HostArray<C, 1> ws(workspace);
    EmptyAtExit<C, 1> ws_guard(ws, shift);
    const C *source = X;
    if (shift) {
        if (ws.is_null()) return status = STATUS_NO_WORKSPACE;
        if ((status = ws.Resize(ch.count * ch.length)) < 0) return status;
        C *w = ws.data();
        // A real inverse reads only bins 0 .. N/2 of each channel.
        const int32_t N = ch.length;
        const int32_t bins = Traits<T>::kComplex ? N : N / 2 + 1;
        if (ch.columns) {
            // Whole rows move together: row i of W is row (i + N/2) mod N of X.
            for (int32_t i = 0; i < bins; ++i)
                std::memcpy(static_cast<void *>(w + i * ch.stride),
                            X + ((i + N / 2) % N) * ch.stride, sizeof(C) * ch.count);
        } else {
            for (int32_t r = 0; r < ch.count; ++r)
                UncentreLine(X + r * ch.distance, 1, w + r * ch.distance, 1, N, bins);
        }
        source = w;
    }
    if ((status = AcquirePlan(slot, BatchGeometry<T>(ch, ch, true))) < 0) return status;
    return status = ComputePlan(*slot, false, source, out);
}

}  // namespace

template <class T>
int32_t MultiChFFT2D(FDArrayHandle input, FDArrayHandle output, int32_t fftSize, int32_t shift,
                     int32_t orientation, FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, 2> in(input);
    HostArray<C, 2> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<C, 2> out_guard(out, status, Traits<T>::kComplexTypeCode);
    const int32_t R = in.size(0), Cols = in.size(1);
    if (R <= 0 || Cols <= 0) return status = STATUS_EMPTY_ARRAY;
    if (orientation != 0 && orientation != 1) return status = STATUS_BAD_SELECTOR;
    const Channels channels = Channels::Of(R, Cols, orientation == 1);
    const int32_t L = fftSize > 0 ? fftSize : channels.length;
    int32_t dims[2];
    channels.WithLength(L).Dims(dims);
    if (!PassesSizeGuard(dims)) return status = STATUS_OUT_OF_MEMORY;
    if ((status = out.Resize(dims, Traits<T>::kComplexTypeCode)) < 0) return status;
    TransientPlan slot(plan);
    return status = MultiChCore<T>(in.data(), channels, out.data(), L, shift != 0, workspace,
                                   slot.get());
}

template <class T>
int32_t InvMultiChFFT2D(FDArrayHandle input, FDArrayHandle output, int32_t shift,
                        int32_t orientation, FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, 2> in(input);
    HostArray<T, 2> out(output);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 2> out_guard(out, status, Traits<T>::kTypeCode);
    const int32_t dims[2] = {in.size(0), in.size(1)};
    if (dims[0] <= 0 || dims[1] <= 0) return status = STATUS_EMPTY_ARRAY;
    if (orientation != 0 && orientation != 1) return status = STATUS_BAD_SELECTOR;
    if (!PassesSizeGuard(dims)) return status = STATUS_OUT_OF_MEMORY;
    if ((status = out.Resize(dims)) < 0) return status;
    TransientPlan slot(plan);
    return status = InvMultiChCore<T>(in.data(), Channels::Of(dims[0], dims[1], orientation == 1),
                                      out.data(), shift != 0, workspace, slot.get());
}

#define FENNEL_MULTICH_INSTANCES(T)                                                            \
    template int32_t MultiChFFT2D<T>(FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,   \
                                     FDArrayHandle, FDPlanHandle *);                            \
    template int32_t InvMultiChFFT2D<T>(FDArrayHandle, FDArrayHandle, int32_t, int32_t,         \
                                        FDArrayHandle, FDPlanHandle *);
FENNEL_MULTICH_INSTANCES(float)
FENNEL_MULTICH_INSTANCES(double)
FENNEL_MULTICH_INSTANCES(cfloat)
FENNEL_MULTICH_INSTANCES(cdouble)
#undef FENNEL_MULTICH_INSTANCES

}  // namespace fennel

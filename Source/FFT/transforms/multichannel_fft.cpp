// The multichannel 2D FFT: every row (orientation 0) or every column
// (orientation 1) of an R x C matrix is a channel of its own, transformed with
// the 1D conventions (requested length with padding or truncation, shift,
// completion of real spectra, 1/N inverse) by one batched transform.
#include <algorithm>
#include <cstring>

#include "frame/host_array.h"
#include "dft/plan.h"
#include "transforms/fftmd.h"
#include "transforms/sizes.h"
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
int32_t MultiChCore(CallFrame &frame, const T *x, const Channels &in, typename Traits<T>::Complex *out,
                    int32_t L, bool shift, FDArrayHandle workspace, Plan plan) {
    plan.ReleaseOnFailure(frame);
    HostArray<T, 1> ws(workspace);
    const Channels spectra = in.WithLength(L);
    Channels source_layout = in;
    const T *source = x;
    if (L > in.length) {
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        frame.EmptyAtExit(ws);
        const int32_t total = L * in.count;
        FENNEL_TRY(ws.Resize(total));
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
    FENNEL_TRY(plan.Acquire(BatchGeometry<T>(source_layout, spectra, false)));
    FENNEL_TRY(plan.Forward(source, out));
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
    return STATUS_OK;
}

// Inverse computing routine: every channel of X (N bins, natural order or
// centred when shift) into N samples scaled by 1/N.
template <class T>
int32_t InvMultiChCore(CallFrame &frame, const typename Traits<T>::Complex *X, const Channels &ch,
                       T *out, bool shift, FDArrayHandle workspace, Plan plan) {
    using C = typename Traits<T>::Complex;
    plan.ReleaseOnFailure(frame);
    HostArray<C, 1> ws(workspace);
    const C *source = X;
    if (shift) {
        frame.EmptyAtExit(ws);
        if (ws.is_null()) return STATUS_NO_WORKSPACE;
        FENNEL_TRY(ws.Resize(ch.count * ch.length));
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
    FENNEL_TRY(plan.Acquire(BatchGeometry<T>(ch, ch, true)));
    return plan.Backward(source, out);
}

// The prologue of both directions: the input's sizes (of a matrix), the
// orientation, and the output sized to dims once `Output` gives them.
template <class T, class O, class Dims>
int32_t ChannelsOf(CallFrame &frame, const HostArray<T, 2> &in, HostArray<O, 2> &out, int32_t orientation,
                   int32_t typeCode, Channels &channels, Dims &&outputDims) {
    frame.EmptyOnFailure(out, typeCode);
    int32_t n[2];
    FENNEL_TRY(ReadSizes(in, n));
    if (orientation != 0 && orientation != 1) return STATUS_BAD_SELECTOR;
    channels = Channels::Of(n[0], n[1], orientation == 1);
    int32_t dims[2];
    outputDims(channels, dims);
    return SizeOutput(out, dims, typeCode);
}

}  // namespace

template <class T>
int32_t MultiChFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t fftSize,
                     int32_t shift, int32_t orientation, FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<T, 2> in(input);
    HostArray<C, 2> out(output);
    frame.EmptyOnFailure(out, Traits<T>::kComplexTypeCode);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    Channels channels;
    int32_t L = 0;
    FENNEL_TRY(ChannelsOf(frame, in, out, orientation, Traits<T>::kComplexTypeCode, channels,
                          [&](const Channels &c, int32_t(&dims)[2]) {
                              L = fftSize > 0 ? fftSize : c.length;
                              c.WithLength(L).Dims(dims);
                          }));
    return MultiChCore<T>(frame, in.data(), channels, out.data(), L, shift != 0, workspace,
                          Plan::Of(frame, plan));
}

template <class T>
int32_t InvMultiChFFT2D(CallFrame &frame, FDArrayHandle input, FDArrayHandle output, int32_t shift,
                        int32_t orientation, FDArrayHandle workspace, FDPlanHandle *plan) {
    using C = typename Traits<T>::Complex;
    HostArray<C, 2> in(input);
    HostArray<T, 2> out(output);
    frame.EmptyOnFailure(out);
    FENNEL_TRY(frame.KeepInput(in, {output, workspace}));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {output}));
    Channels channels;
    FENNEL_TRY(ChannelsOf(frame, in, out, orientation, Traits<T>::kTypeCode, channels,
                          [](const Channels &c, int32_t(&dims)[2]) { c.Dims(dims); }));
    return InvMultiChCore<T>(frame, in.data(), channels, out.data(), shift != 0, workspace,
                             Plan::Of(frame, plan));
}

#define FENNEL_MULTICH_INSTANCES(T)                                                            \
    template int32_t MultiChFFT2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t, int32_t,   \
                                     FDArrayHandle, FDPlanHandle *);                            \
    template int32_t InvMultiChFFT2D<T>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t, int32_t,         \
                                        FDArrayHandle, FDPlanHandle *);
FENNEL_MULTICH_INSTANCES(float)
FENNEL_MULTICH_INSTANCES(double)
FENNEL_MULTICH_INSTANCES(cfloat)
FENNEL_MULTICH_INSTANCES(cdouble)
#undef FENNEL_MULTICH_INSTANCES

}  // namespace fennel

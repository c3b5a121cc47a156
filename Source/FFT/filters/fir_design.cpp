// Windowed FIR design: the ideal (sinc) response of a lowpass, highpass,
// bandpass or bandstop filter, shaped by a symmetric window and optionally
// scaled to unit gain at a reference frequency.
#include <cmath>

#include "filters/filters.h"
#include "filters/window_kernels.h"
#include "frame/host_array.h"
#include "numerics/blas.h"

extern "C" double dlapy2_(const double *, const double *);

namespace fennel {
namespace {

enum FilterType { kLowpass = 0, kHighpass = 1, kBandpass = 2, kBandstop = 3 };

// Fills the m taps with the ideal response; the mirrored pairs are computed
// with angles and divisor advanced by repeated addition.
template <class T>
int32_t IdealResponse(T *h, int32_t m, int32_t type, double fs, double f1, double f2) {
    const bool twoEdges = type == kBandpass || type == kBandstop;
    if (!(fs > 0.0) || !(f1 > 0.0)) return STATUS_BAD_FREQUENCY;
    if (twoEdges && (!(f2 > 0.0) || f1 >= f2)) return STATUS_BAD_FREQUENCY;
    if ((type == kHighpass || type == kBandstop) && m % 2 == 0) return STATUS_EVEN_TAPS;

    const double w1 = f1 * (2.0 * kPi) / fs;
    const double w2 = f2 * (2.0 * kPi) / fs;
    const double span = static_cast<double>(m - 1);
    double a1 = span * w1 * -0.5;
    double a2 = span * w2 * -0.5;
    double divisor = span * -kPi * 0.5;
    for (int32_t i = 0; i < m / 2; ++i) {
        double v;
        switch (type) {
            case kLowpass: v = std::sin(a1) / divisor; break;
            case kHighpass: v = -std::sin(a1) / divisor; break;
            case kBandpass: v = (std::sin(a2) - std::sin(a1)) / divisor; break;
            default: v = (std::sin(a1) - std::sin(a2)) / divisor; break;
        }
        h[i] = static_cast<T>(v);
        h[m - 1 - i] = static_cast<T>(v);
        a1 = a1 + w1;
        a2 = a2 + w2;
        divisor = divisor + kPi;
    }
    if (m % 2 == 1) {
        double centre;
        switch (type) {
            case kLowpass: centre = 2.0 * f1 / fs; break;
            case kHighpass: centre = 1.0 - 2.0 * f1 / fs; break;
            case kBandpass: centre = 2.0 * (f2 - f1) / fs; break;
            default: centre = 1.0 - 2.0 * (f2 - f1) / fs; break;
        }
        h[m / 2] = static_cast<T>(centre);
    }
    return STATUS_OK;
}

// The reference gain of the windowed taps for unit-gain scaling.
template <class T>
double ReferenceGain(const T *h, int32_t m, int32_t type, double fs, double f1, double f2) {
    if (type == kHighpass) {
        double sum = 0.0;
        for (int32_t i = 0; i < m; ++i)
            sum = (i % 2 == 0) ? sum + static_cast<double>(h[i]) : sum - static_cast<double>(h[i]);
        return std::fabs(sum);
    }
    if (type == kBandpass) {
        const double delta = -kPi * (f1 + f2) / fs;
        double theta = static_cast<double>(m - 1) * delta;
        double c = 0.0, s = 0.0;
        for (int32_t i = 0; i < m; ++i) {
            c = c + std::cos(theta) * static_cast<double>(h[i]);
            s = s + std::sin(theta) * static_cast<double>(h[i]);
            theta = theta + delta;
        }
        return dlapy2_(&c, &s);
    }
    // Lowpass and bandstop: the sum of the taps in their own precision, in
    // four interleaved partial sums (tap i in lane i mod 4, each lane starting
    // from its first tap), added lane 0 to lane 3.
    T lane[4] = {};
    const int32_t lanes = m < 4 ? m : 4;
    for (int32_t i = 0; i < lanes; ++i) lane[i] = h[i];
    for (int32_t i = 4; i < m; ++i) lane[i % 4] = lane[i % 4] + h[i];
    T sum = lane[0];
    for (int32_t i = 1; i < lanes; ++i) sum = sum + lane[i];
    return static_cast<double>(sum);
}

}  // namespace

template <class T>
int32_t FIRWindowedCoef(CallFrame &frame, FDArrayHandle coefficients, double fs, double f1,
                        double f2, int32_t taps, int32_t filterType, int32_t windowType,
                        T windowParameter, int32_t normalise, FDArrayHandle workspace) {
    HostArray<T, 1> out(coefficients);
    frame.EmptyOnFailure(out);
    if (static_cast<uint32_t>(filterType) > 3u) return STATUS_BAD_SELECTOR;
    if (taps < 1) return STATUS_BAD_TAP_COUNT;
    FENNEL_TRY(out.Resize(taps));

    const double nyquist = fs * 0.5;
    if (filterType == kLowpass || filterType == kHighpass) f2 = (nyquist + f1) * 0.5;
    if (f1 > nyquist || f2 > nyquist) return STATUS_BAND_EDGE_ABOVE_NYQUIST;

    T *h = out.data();
    FENNEL_TRY(IdealResponse(h, taps, filterType, fs, f1, f2));
    FENNEL_TRY(SeparateWorkspaces({workspace}, {coefficients}));
    FENNEL_TRY(SymmetricWindow(frame, h, taps, windowType, windowParameter, workspace));
    if (normalise != 0) {
        const double gain = ReferenceGain(h, taps, filterType, fs, f1, f2);
        Scal(h, taps, static_cast<T>(1.0 / gain));
    }
    return STATUS_OK;
}

template int32_t FIRWindowedCoef<float>(CallFrame &, FDArrayHandle, double, double, double,
                                        int32_t, int32_t, int32_t, float, int32_t, FDArrayHandle);
template int32_t FIRWindowedCoef<double>(CallFrame &, FDArrayHandle, double, double, double,
                                         int32_t, int32_t, int32_t, double, int32_t, FDArrayHandle);

}  // namespace fennel

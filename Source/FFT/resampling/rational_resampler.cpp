// Streaming resampling by an arbitrary step through a caller-supplied
// prototype FIR, single channel and multichannel.
//
// Time is counted in input samples.  Output k of the stream sits at time
// t_k = startOffset + k * ratio; the prototype's centre is placed on t_k and
// its taps, spaced s prototype samples per input sample, are read at the
// input samples around t_k.  Samples before the start of the stream count as
// zeros.  An output is produced by the first call whose input reaches the
// last sample its taps cover, so the stream lags the input by half the span.
//
// Block-wise and one-block results are equal bit for bit: the output times
// advance by exact steps (integer and fractional part of the ratio kept
// apart), the taps of an output depend only on its fraction, and every dot
// product runs over one contiguous run of the output's samples (a span that
// reaches back into the history is first gathered into a scratch run).
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/host_array.h"
#include "numerics/blas.h"
#include "numerics/vectorize.h"
#include "resampling/resampling.h"

namespace fennel {
namespace {

constexpr double kTimeLimit = 1073741824.0;  // 2^30: ratios and offsets stay below
constexpr int64_t kInt32Max = 2147483647;

// Bytes of the state record that the library owns (up to `position`).
constexpr size_t kStateBytes = offsetof(FDResampleState, position) + sizeof(int32_t);

// Where the output times stand: integer sample `pos` (relative to the
// history start) and fraction f in [0, 1).  Steps add the integer and the
// fractional part of the ratio separately; for a ratio and start offset
// given as floats every step is exact, so the times equal
// startOffset + k * ratio whatever the block boundaries.
struct Clock {
    int64_t pos;
    double f;
    int64_t whole;  // integer part of the ratio
    double part;    // fractional part of the ratio
    void Step() {
        f += part;
        if (f >= 1.0) {
            f -= 1.0;
            ++pos;
        }
        pos += whole;
    }
};

// Floor of a value well inside the int64 range, without a library call.
inline int64_t Floor(double v) {
    const int64_t i = static_cast<int64_t>(v);
    return static_cast<double>(i) > v ? i - 1 : i;
}

// Floor of v for v in [lo, lo + 3), lo a whole number: two comparisons
// instead of a round trip through the integers.
inline int64_t FloorFrom(double v, int64_t lo) {
    const double l = static_cast<double>(lo);
    return lo + (v >= l + 1.0) + (v >= l + 2.0);
}

// The fixed geometry of one call: prototype length and centre, tap spacing.
template <class R>
struct Prototype {
    const R *h;
    int64_t M;
    double c;       // centre (M - 1) / 2
    double s;       // tap spacing in prototype samples per input sample
    double a;       // c / s: half span in input samples
    int64_t fa;     // floor(a)
    int64_t step;   // s when it is a whole number, else 0
    bool nearest;   // nearest tap instead of linear interpolation
    // With a whole-number spacing, the prototype regrouped by residue modulo
    // step (sample i at start[i % step] + i / step) so that the taps of one
    // output are read contiguously: the samples g and, for linear taps, the
    // differences d to the next sample (0 after the last).
    const double *g = nullptr;
    const double *d = nullptr;
    const int64_t *start = nullptr;
};

// Taps of one output at fraction f: `left` of them on the samples up to the
// output's integer time, `right` after it; the first is read at prototype
// position p0 and the next ones every s.
struct Span {
    int64_t left;
    int64_t right;
    double p0;
    int64_t taps() const { return left + right; }
};

// Index of the prototype sample read by the first tap (nearest mode) or the
// lower one of the two it interpolates (linear mode).
template <class R>
__attribute__((always_inline)) inline int64_t FirstIndex(const Prototype<R> &P, double p0) {
    return P.nearest ? Floor(p0 + 0.5) : Floor(p0);
}

// The same for the last tap.
template <class R>
__attribute__((always_inline)) inline int64_t LastIndex(const Prototype<R> &P, const Span &sp) {
    const int64_t last = sp.taps() - 1;
    if (P.step != 0) return FirstIndex(P, sp.p0) + last * P.step;
    return FirstIndex(P, sp.p0 + static_cast<double>(last) * P.s);
}

template <class R>
__attribute__((always_inline)) inline Span Geometry(const Prototype<R> &P, double f) {
    Span sp;
    // With 0 <= f < 1, a - f lies in [fa - 1, fa + 1) and a + f in [fa, fa + 2].
    int64_t q = FloorFrom(P.a - f, P.fa - 1);
    double p0 = (P.c - P.s * f) - static_cast<double>(q) * P.s;
    // Keep 0 <= p0 < s against rounding, so every tap lies in the prototype.
    if (p0 < 0.0) {
        q -= 1;
        p0 += P.s;
    } else if (p0 >= P.s) {
        q += 1;
        p0 -= P.s;
    }
    if (p0 < 0.0) p0 = 0.0;
    sp.left = q + 1;
    sp.right = FloorFrom(P.a + f, P.fa);
    sp.p0 = p0;
    if (P.step != 0) {
        // Drop the taps past the prototype's end: the count whose last index
        // i0 + (T - 1) * step still lies inside it.
        if (sp.taps() > 0 && LastIndex(P, sp) > P.M - 1) {
            const int64_t i0 = FirstIndex(P, p0);
            sp.right = (i0 > P.M - 1 ? 0 : (P.M - 1 - i0) / P.step + 1) - sp.left;
        }
    } else {
        while (sp.taps() > 0 && LastIndex(P, sp) > P.M - 1) --sp.right;
    }
    return sp;
}

// Fills the regrouped prototype (g, d and the residue starts) of a
// whole-number spacing; each residue starts at a multiple of 8 entries.
template <class R>
void Regroup(const Prototype<R> &P, double *g, double *d, int64_t *start) {
    int64_t at = 0;
    for (int64_t r = 0; r < P.step && r < P.M; ++r) {
        start[r] = at;
        for (int64_t i = r; i < P.M; i += P.step, ++at) {
            g[at] = static_cast<double>(P.h[i]);
            d[at] = i < P.M - 1 ? static_cast<double>(P.h[i + 1]) - g[at] : 0.0;
        }
        at = (at + 7) / 8 * 8;
    }
}

// count taps g[j] + d[j] * phi, formed in double and stored in the tap type.
template <class R>
FENNEL_VECTORIZED void
LinearTaps(const double *g, const double *d, double phi, int64_t count, R *taps) {
    for (int64_t j = 0; j < count; ++j) taps[j] = static_cast<R>(g[j] + d[j] * phi);
}
// Float taps eight at a time: each group of eight doubles is rounded and
// stored as it stands (left to itself, the compiler pairs two groups into one
// wide store, which costs an extra shuffle per sixteen taps).
using Doubles8 = double __attribute__((vector_size(64)));
using Floats8 = float __attribute__((vector_size(32)));
template <>
FENNEL_VECTORIZED void
LinearTaps<float>(const double *g, const double *d, double phi, int64_t count, float *taps) {
    int64_t j = 0;
    for (; j + 8 <= count; j += 8) {
        Doubles8 a, b;
        std::memcpy(&a, g + j, sizeof a);
        std::memcpy(&b, d + j, sizeof b);
        const Floats8 t = __builtin_convertvector(a + b * phi, Floats8);
        std::memcpy(taps + j, &t, sizeof t);
    }
    for (; j < count; ++j) taps[j] = static_cast<float>(g[j] + d[j] * phi);
}

// Tap values: linear interpolation between prototype samples (formed in
// double, stored in the tap type) or the nearest prototype sample.  The
// regrouped and the direct reading give the same values.
template <class R>
__attribute__((always_inline)) inline void MakeTaps(const Prototype<R> &P, const Span &sp, R *taps) {
    const int64_t T = sp.taps();
    if (T <= 0) return;
    const R *h = P.h;
    const int64_t top = P.M - 1;
    if (P.step != 0) {
        const int64_t i0 = FirstIndex(P, sp.p0);
        if (P.g != nullptr) {
            // The first tap lies within the first `step` samples but for
            // rounding at the edge: no division in the common case.
            const int64_t at = i0 < P.step ? P.start[i0] : P.start[i0 % P.step] + i0 / P.step;
            if (P.nearest) {
                for (int64_t j = 0; j < T; ++j) taps[j] = static_cast<R>(P.g[at + j]);
            } else {
                LinearTaps(P.g + at, P.d + at, sp.p0 - static_cast<double>(i0), T, taps);
            }
        } else if (P.nearest) {
            for (int64_t j = 0; j < T; ++j) taps[j] = h[i0 + j * P.step];
        } else {
            // Whole-number spacing: every tap shares the fraction of p0.
            const double phi = sp.p0 - static_cast<double>(i0);
            for (int64_t j = 0; j < T; ++j) {
                const int64_t i = i0 + j * P.step;
                const double g = static_cast<double>(h[i]);
                const double d = i < top ? static_cast<double>(h[i + 1]) - g : 0.0;
                taps[j] = static_cast<R>(g + d * phi);
            }
        }
        return;
    }
    for (int64_t j = 0; j < T; ++j) {
        const double p = sp.p0 + static_cast<double>(j) * P.s;
        if (P.nearest) {
            taps[j] = h[FirstIndex(P, p)];
        } else {
            const int64_t i = Floor(p);
            const double g = static_cast<double>(h[i]);
            const double d = i < top ? static_cast<double>(h[i + 1]) - g : 0.0;
            taps[j] = static_cast<R>(g + d * (p - static_cast<double>(i)));
        }
    }
}

// Dot product of T real taps with T samples.  The float member uses the
// BLAS routine; the others sum in eight fixed lanes (tap j into lane j mod 8,
// lanes joined in a fixed tree), so the result never depends on where the
// data sit or which instruction set runs it.
inline float Dot(const float *taps, const float *x, int64_t T) {
    return cblas_sdot(static_cast<blasint>(T), taps, 1, x, 1);
}
FENNEL_VECTORIZED double
Dot(const double *taps, const double *x, int64_t T) {
    double acc[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    int64_t j = 0;
    for (; j + 8 <= T; j += 8)
        for (int l = 0; l < 8; ++l) acc[l] += taps[j + l] * x[j + l];
    for (int l = 0; j + l < T; ++l) acc[l] += taps[j + l] * x[j + l];
    return ((acc[0] + acc[4]) + (acc[2] + acc[6])) + ((acc[1] + acc[5]) + (acc[3] + acc[7]));
}
// Complex samples: the real taps applied to real and imaginary parts, each
// summed in four fixed lanes.
template <class R>
FENNEL_VECTORIZED
std::complex<R> Dot(const R *taps, const std::complex<R> *x, int64_t T) {
    const R *v = reinterpret_cast<const R *>(x);
    R re[4] = {0, 0, 0, 0}, im[4] = {0, 0, 0, 0};
    int64_t j = 0;
    for (; j + 4 <= T; j += 4)
        for (int l = 0; l < 4; ++l) {
            re[l] += taps[j + l] * v[2 * (j + l)];
            im[l] += taps[j + l] * v[2 * (j + l) + 1];
        }
    for (int l = 0; j + l < T; ++l) {
        re[l] += taps[j + l] * v[2 * (j + l)];
        im[l] += taps[j + l] * v[2 * (j + l) + 1];
    }
    return {(re[0] + re[2]) + (re[1] + re[3]), (im[0] + im[2]) + (im[1] + im[3])};
}

template <class T, int Rank>
int32_t ResizeRows(HostArray<T, Rank> &a, int32_t rows, int32_t columns) {
    if constexpr (Rank == 1) {
        return a.Resize(columns);
    } else {
        const int32_t dims[2] = {rows, columns};
        return a.Resize(dims);
    }
}

template <class T, int Rank>
bool HasRows(const HostArray<T, Rank> &a, int32_t rows, int32_t columns) {
    if constexpr (Rank == 1)
        return a.size(0) == columns;
    else
        return a.size(0) == rows && a.size(1) == columns;
}

// Starts a new stream from the parameter record and sizes both histories.
template <class T, int Rank>
int32_t Reset(const FDResampleParams *params, int64_t M, int32_t interpolation, int32_t channels,
              HostArray<T, Rank> &histA, HostArray<typename Traits<T>::Real, 1> &histB,
              FDResampleState *state) {
    if (params == nullptr) return STATUS_BAD_RESAMPLE_RATIO;
    const double ratio = params->ratio;
    const double offset = params->startOffset;
    if (!(ratio > 0.0) || !(ratio < kTimeLimit)) return STATUS_BAD_RESAMPLE_RATIO;
    if (!(offset >= 0.0) || !(offset < kTimeLimit)) return STATUS_BAD_START_OFFSET;
    if (interpolation < 1) return STATUS_BAD_RESAMPLE_RATIO;
    if (M < 1) return STATUS_EMPTY_OPERAND;
    const double s = interpolation / (ratio > 1.0 ? ratio : 1.0);
    const double half = std::floor(((static_cast<double>(M) - 1.0) / 2.0) / s);
    const double H = 2.0 * half + 2.0;
    if (!(H * channels < static_cast<double>(kInt32Max))) return STATUS_OUT_OF_MEMORY;
    const int32_t h = static_cast<int32_t>(H);
    std::memset(static_cast<void *>(state), 0, kStateBytes);
    state->historyChannels = channels;
    state->historyCapacity = h;
    state->tapMode = params->tapMode;
    state->tapSpacing = s;
    state->ratio = ratio;
    state->position = static_cast<int32_t>(offset);
    state->fraction = offset - static_cast<double>(state->position);
    FENNEL_TRY(ResizeRows(histA, channels, h));
    return histB.Resize(h);
}

}  // namespace

template <class T, int Rank>
int32_t Resample(CallFrame &frame, FDArrayHandle x, FDArrayHandle coefficients,
                 int32_t interpolation, const FDResampleParams *params, int32_t reset,
                 int32_t antiAlias, FDArrayHandle output, float *firstOutputTime,
                 FDArrayHandle historyA, FDArrayHandle historyB, FDResampleState *state) {
    using R = typename Traits<T>::Real;
    HostArray<T, Rank> in(x);
    HostArray<R, 1> coef(coefficients);
    HostArray<T, Rank> out(output);
    HostArray<T, Rank> histA(historyA);
    HostArray<R, 1> histB(historyB);
    // On failure: the output, then both histories, emptied (the frame empties
    // in the reverse order of registration), the time out-argument 0, the
    // state zeroed.
    frame.EmptyOnFailure(histB);
    frame.EmptyOnFailure(histA);
    frame.EmptyOnFailure(out);
    frame.ZeroOnFailure(firstOutputTime, sizeof(float));
    frame.ZeroOnFailure(state, kStateBytes);

    if (state == nullptr) return STATUS_BAD_RESAMPLE_RATIO;
    // Outputs and histories must be handles of their own: each is resized.
    if (historyA == nullptr || historyB == nullptr || historyA == historyB ||
        output == historyA || output == historyB || output == x || output == coefficients ||
        historyA == x || historyA == coefficients || historyB == x || historyB == coefficients)
        return STATUS_NO_WORKSPACE;
    const int32_t channels = Rank == 2 ? in.size(0) : 1;
    const int32_t n = in.size(Rank - 1);
    const int64_t M = coef.size(0);

    if (reset != 0) {
        if (channels < 1) return STATUS_EMPTY_ARRAY;
        FENNEL_TRY((Reset<T, Rank>(params, M, interpolation, channels, histA, histB, state)));
    }

    // The stream state, checked before use: the caller owns it.
    const double ratio = state->ratio;
    if (!(ratio > 0.0) || !(ratio < kTimeLimit)) return STATUS_BAD_RESAMPLE_RATIO;
    const double t0 = static_cast<double>(state->position) + state->fraction;
    if (!(t0 >= 0.0) || !(t0 < 2.0 * kTimeLimit)) return STATUS_BAD_START_OFFSET;
    if (interpolation < 1) return STATUS_BAD_RESAMPLE_RATIO;
    if (n < 0) return STATUS_BAD_START_OFFSET;
    if (channels < 1) return STATUS_EMPTY_ARRAY;
    if (M < 1) return STATUS_EMPTY_OPERAND;
    const int32_t H = state->historyCapacity;
    const int64_t held = state->historyCount;
    if (H < 2 || held < 0 || held > H || state->historyChannels != channels ||
        !HasRows(histA, channels, H) || histB.size(0) != H)
        return STATUS_TOO_MANY_TAPS;

    Prototype<R> P;
    P.h = coef.data();
    P.M = M;
    P.c = (static_cast<double>(M) - 1.0) / 2.0;
    P.s = antiAlias != 0 && ratio > 1.0 ? interpolation / ratio : static_cast<double>(interpolation);
    P.a = P.c / P.s;
    P.fa = Floor(P.a);
    P.step = P.s == static_cast<double>(Floor(P.s)) ? Floor(P.s) : 0;
    P.nearest = state->tapMode == 1;

    Clock start;
    start.pos = Floor(t0);
    start.f = t0 - static_cast<double>(start.pos);
    start.whole = Floor(ratio);
    start.part = ratio - static_cast<double>(start.whole);

    // Output count: every output whose span ends inside the samples held
    // now, pos + floor(a + f) <= L - 1.  That end grows with the output time,
    // so the outputs produced are always a prefix of those still due; the
    // taps actually read never reach past it.  The closed form bounds the
    // walk and the output size.
    const int64_t L = held + n;
    const double estimate = std::ceil((static_cast<double>(L) - P.a - t0) / ratio);
    if (!(estimate + 2.0 < static_cast<double>(kInt32Max) / channels)) return STATUS_OUT_OF_MEMORY;
    const int64_t cap = estimate > 0.0 ? static_cast<int64_t>(estimate) + 2 : 2;
    int64_t K = 0;
    Clock clock = start;
    for (; K < cap && clock.pos + FloorFrom(P.a + clock.f, P.fa) <= L - 1; ++K) clock.Step();
    // The history keeps the samples from one before the next output's first
    // tap onwards (at most H).
    const Span next = Geometry(P, clock.f);
    int64_t keep_from = clock.pos - next.left;
    if (keep_from < 0) keep_from = 0;
    if (keep_from > L) keep_from = L;
    if (L - keep_from > H || next.taps() > H) return STATUS_TOO_MANY_TAPS;
    if (clock.pos - keep_from > kInt32Max) return STATUS_BAD_START_OFFSET;

    FENNEL_TRY(ResizeRows(out, channels, static_cast<int32_t>(K)));
    if (firstOutputTime != nullptr)
        *firstOutputTime = static_cast<float>(
            (state->samplesSeen + static_cast<double>(start.pos - held)) + start.f);

    // Outputs run in batches of up to `slots`: first the clock and the tap
    // geometry of the whole batch, then the taps of each fraction not yet
    // held, then the dot products.  The three passes have no dependence
    // from one output to the next, so they overlap in the processor.  Slot
    // k mod `slots` holds the taps of output k together with the fraction
    // they were formed for; an output whose fraction equals the slot's
    // reuses them.  Fractions that repeat with a period dividing `slots`
    // (a ratio of 1.5 alternates two) are thus formed once per call.
    const size_t stride = (sizeof(R) * static_cast<size_t>(H) + 63) / 64 * 64;  // bytes per slot
    int64_t slots = 1;  // a power of two, up to 64 and 64 KiB of taps, not far above K
    while (slots < 64 && slots < K && stride * static_cast<size_t>(2 * slots) <= (size_t{64} << 10)) slots *= 2;
    const size_t batch_bytes = static_cast<size_t>(slots) * (stride + 6 * sizeof(int64_t));
    // Taken even when no output is due, so that the pointers below never
    // offset a null one.
    Scratch<char> work(batch_bytes + sizeof(T) * static_cast<size_t>(H) + 64);
    if (!work.ok()) return STATUS_OUT_OF_MEMORY;
    char *aligned = work.get() + (64 - reinterpret_cast<uintptr_t>(work.get()) % 64) % 64;
    R *tap_slots = reinterpret_cast<R *>(aligned);
    const int64_t slot_taps = static_cast<int64_t>(stride / sizeof(R));
    // Per slot, field by field (a whole Span stored and reloaded at once
    // would stall the store forwarding): the fraction the taps were formed
    // for, the span, and the first sample each output of the batch reads.
    double *keys = reinterpret_cast<double *>(aligned + static_cast<size_t>(slots) * stride);
    double *p0s = keys + slots;
    int64_t *lefts = reinterpret_cast<int64_t *>(p0s + slots);
    int64_t *counts = lefts + slots;
    int64_t *firsts = counts + slots;
    int64_t *pending = firsts + slots;                            // slots to fill in this batch
    T *run = reinterpret_cast<T *>(pending + slots);  // a span gathered from history and block
    for (int64_t i = 0; i < slots && K > 0; ++i) keys[i] = -1.0;  // no fraction is negative
    // Regroup the prototype when the outputs read more taps than it has.
    const bool regroup = P.step != 0 && K * H > 2 * M;
    const int64_t residues = P.step < M ? P.step : M;
    const int64_t padded = M + 8 * residues;  // each residue's run starts on a 64-byte boundary
    Scratch<double> table(regroup ? static_cast<size_t>(2 * padded + 8) : 0);
    Scratch<int64_t> starts(regroup ? static_cast<size_t>(residues) : 0);
    if (regroup) {
        if (!table.ok() || !starts.ok()) return STATUS_OUT_OF_MEMORY;
        double *g = table.get() + (8 - reinterpret_cast<uintptr_t>(table.get()) / sizeof(double) % 8) % 8;
        Regroup(P, g, g + padded, starts.get());
        P.g = g;
        P.d = g + padded;
        P.start = starts.get();
    }
    const T *block = in.data();
    T *hist = histA.data();
    T *y = out.data();

    clock = start;
    for (int64_t k0 = 0; k0 < K; k0 += slots) {
        const int64_t count = K - k0 < slots ? K - k0 : slots;
        int64_t fill = 0;
        for (int64_t b = 0; b < count; ++b, clock.Step()) {
            if (keys[b] != clock.f) {
                const Span sp = Geometry(P, clock.f);
                if (sp.taps() > H) return STATUS_TOO_MANY_TAPS;
                keys[b] = clock.f;
                p0s[b] = sp.p0;
                lefts[b] = sp.left;
                counts[b] = sp.taps();
                pending[fill++] = b;
            }
            firsts[b] = clock.pos - lefts[b] + 1;
        }
        for (int64_t i = 0; i < fill; ++i) {
            const int64_t b = pending[i];
            MakeTaps(P, Span{lefts[b], counts[b] - lefts[b], p0s[b]}, tap_slots + b * slot_taps);
        }
        for (int32_t ch = 0; ch < channels; ++ch) {
            const T *row = block + static_cast<int64_t>(ch) * n;
            T *yc = y + static_cast<int64_t>(ch) * K + k0;
            for (int64_t b = 0; b < count; ++b) {
                const int64_t taps = counts[b];
                const int64_t first = firsts[b];
                const T *src;
                if (first >= held) {
                    src = row + (first - held);
                } else {
                    // Gather history (zeros before the stream) and block samples.
                    const T *past = hist + static_cast<int64_t>(ch) * H;
                    for (int64_t j = 0; j < taps; ++j) {
                        const int64_t i = first + j;
                        run[j] = i < 0 ? T(0) : i < held ? past[i] : row[i - held];
                    }
                    src = run;
                }
                yc[b] = Dot(tap_slots + b * slot_taps, src, taps);
            }
        }
    }
    if (K > 0) {
        Scal(y, static_cast<int32_t>(K * channels), static_cast<R>(P.s));
        const int64_t last = (K - 1) % slots;
        std::memcpy(histB.data(), tap_slots + last * slot_taps, sizeof(R) * static_cast<size_t>(counts[last]));
    }

    // Keep samples keep_from ... L - 1 of history + block for the next call.
    const int64_t kept = L - keep_from;
    for (int32_t ch = 0; ch < channels; ++ch) {
        T *past = hist + static_cast<int64_t>(ch) * H;
        const T *row = block + static_cast<int64_t>(ch) * n;
        if (keep_from < held) {
            const int64_t old = held - keep_from;
            std::memmove(static_cast<void *>(past), past + keep_from, sizeof(T) * static_cast<size_t>(old));
            if (n > 0) std::memcpy(static_cast<void *>(past + old), row, sizeof(T) * static_cast<size_t>(n));
        } else if (kept > 0) {
            std::memcpy(static_cast<void *>(past), row + (keep_from - held), sizeof(T) * static_cast<size_t>(kept));
        }
    }
    state->historyCount = static_cast<int32_t>(kept);
    state->position = static_cast<int32_t>(clock.pos - keep_from);
    state->fraction = clock.f;
    state->tapSpacing = P.s;
    state->samplesSeen += static_cast<double>(n);
    return STATUS_OK;
}

#define FENNEL_RESAMPLE_INSTANCES(T)                                                          \
    template int32_t Resample<T, 1>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,         \
                                    const FDResampleParams *, int32_t, int32_t, FDArrayHandle,  \
                                    float *, FDArrayHandle, FDArrayHandle, FDResampleState *);  \
    template int32_t Resample<T, 2>(CallFrame &, FDArrayHandle, FDArrayHandle, int32_t,         \
                                    const FDResampleParams *, int32_t, int32_t, FDArrayHandle,  \
                                    float *, FDArrayHandle, FDArrayHandle, FDResampleState *);
FENNEL_RESAMPLE_INSTANCES(float)
FENNEL_RESAMPLE_INSTANCES(double)
FENNEL_RESAMPLE_INSTANCES(cfloat)
FENNEL_RESAMPLE_INSTANCES(cdouble)
#undef FENNEL_RESAMPLE_INSTANCES

}  // namespace fennel

// IIR direct-form filter, in place, with the filter's memory in two
// caller-held state arrays: an FIR stage over the forward coefficients that
// walks backwards through the block, then the feedback stage.
#include <algorithm>
#include <cstring>

#include "filters/filters.h"
#include "frame/host_array.h"
#include "numerics/blas.h"
#include "numerics/vectorize.h"

namespace fennel {
namespace {

// Components per element: 1 for real signals, 2 for complex ones.
template <class T>
constexpr int kParts = Traits<T>::kComplex ? 2 : 1;

// The complex double filter runs on unpadded coefficients.
template <class T>
constexpr bool kPadded = !std::is_same_v<T, cdouble>;

// Copies count coefficients followed by zeros up to padded into a workspace
// (emptied when the call ends).
template <class R>
int32_t PadCoefficients(CallFrame &frame, FDArrayHandle workspace, const R *c, int32_t count,
                        int32_t padded, const R **out) {
    HostArray<R, 1> ws(workspace);
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    frame.EmptyAtExit(ws);
    FENNEL_TRY(ws.Resize(padded));
    R *p = ws.data();
    std::memcpy(p, c, sizeof(R) * static_cast<size_t>(count));
    std::fill(p + count, p + padded, R(0));
    *out = p;
    return STATUS_OK;
}

// The dot product of count coefficients with count samples taken in memory
// order (oldest sample first): sample m is v[m * stride] and its coefficient
// c[-m].  Four interleaved partial sums (product m in lane m mod 4), each
// starting from its first product, are added lane 0 to lane 3.
template <class R>
inline R LaneDot(const R *v, ptrdiff_t stride, const R *c, int32_t count) {
    R lane[4] = {};
    const int32_t first = count < 4 ? count : 4;
    for (int32_t m = 0; m < first; ++m) lane[m] = v[m * stride] * c[-m];
    for (int32_t m = 4; m < count; ++m) lane[m % 4] = lane[m % 4] + v[m * stride] * c[-m];
    R s = lane[0];
    for (int32_t m = 1; m < first; ++m) s = s + lane[m];
    return s;
}

// FIR outputs count-1 down to 0 in place (P components per element): outputs
// i >= Q-1 by the lane dot product over the Q padded taps, the first outputs
// by the taps k <= i over the block and k > i over the forward state (x[-j] is
// state element nb-1-j), summed in the order of k.
template <int P, class R>
void ForwardOutputs(R *xr, int32_t count, const R *bp, int32_t Q, const R *b, int32_t nb,
                    const R *sr) {
    int32_t i = count - 1;
    for (; i >= Q - 1; --i)
        for (int c = 0; c < P; ++c) xr[i * P + c] = LaneDot(xr + (i - Q + 1) * P + c, P, bp + Q - 1, Q);
    for (; i >= 0; --i)
        for (int c = 0; c < P; ++c) {
            R acc = bp[0] * xr[i * P + c];
            for (int32_t k = 1; k <= i; ++k) acc = acc + bp[k] * xr[(i - k) * P + c];
            for (int32_t k = i + 1; k < nb; ++k) acc = acc + b[k] * sr[(nb - 1 - (k - i)) * P + c];
            xr[i * P + c] = acc;
        }
}

// Feedback outputs 0 .. count-1 over the padded reverse coefficients (order
// Pn, a multiple of four): the first Pn outputs start from -w and add the
// taps over the block, then over the reverse state (y[-j] is state element
// na-1-j); the others take the lane dot product.
template <int P, class R>
void FeedbackOutputs(R *yr, int32_t count, const R *ap, int32_t Pn, const R *a, int32_t na,
                     const R *sr, R g) {
    const int32_t first = count < Pn ? count : Pn;
    for (int32_t i = 0; i < first; ++i)
        for (int c = 0; c < P; ++c) {
            R acc = -yr[i * P + c];
            for (int32_t k = 1; k <= i; ++k) acc = acc + ap[k] * yr[(i - k) * P + c];
            for (int32_t k = i + 1; k < na; ++k) acc = acc + a[k] * sr[(na - 1 - (k - i)) * P + c];
            yr[i * P + c] = -acc * g;
        }
    for (int32_t i = Pn; i < count; ++i)
        for (int c = 0; c < P; ++c)
            yr[i * P + c] = (yr[i * P + c] - LaneDot(yr + (i - Pn) * P + c, P, ap + Pn, Pn)) * g;
}

// Four lanes of the real type, for the lane sums of the fused loop.
template <class R>
struct LanesOf;
template <>
struct LanesOf<float> {
    typedef float type __attribute__((vector_size(16)));
};
template <>
struct LanesOf<double> {
    typedef double type __attribute__((vector_size(32)));
};
template <class R>
using Lanes = typename LanesOf<R>::type;

// Four lanes from p (any alignment), then multiplied by c (by reference: a
// 32-byte vector is not passed in registers by the baseline ABI).
template <class R>
inline void Product(Lanes<R> &out, const R *p, const Lanes<R> &c) {
    Lanes<R> v;
    std::memcpy(&v, p, sizeof v);
    out = v * c;
}

// Both stages in one forward pass for real signals of fixed padded orders,
// from output h on (h >= Q-1 and h >= Pn; outputs before h are done): each
// output takes exactly the operations of the two-stage form.  Lane j of the
// forward sum takes the inputs m = j mod 4 of the Q-sample window (oldest
// first), which is one four-lane multiply and add per group of four taps;
// the feedback lanes likewise, with the older groups (outputs at least five
// back) read from the signal as vectors and the newest four outputs kept in
// registers, so the chain from one output to the next is one multiply and
// three adds.  The original inputs are copied chunk by chunk to a local
// buffer before their outputs overwrite them; saved holds the original
// inputs x[h-Q+1 .. h-1].
template <class R, int Q, int Pn, bool kUnit>
FENNEL_VECTORIZED void
FusedOutputs(R *x, int32_t n, int32_t h, const R *bp, const R *ap, R g, const R *saved) {
    using V = Lanes<R>;
    constexpr int kChunk = 512;
    constexpr int kOld = Pn / 4 - 1;  // feedback groups read back from the signal
    alignas(64) R in[Q - 1 + kChunk];
    V bv[Q / 4], av[kOld > 0 ? kOld : 1];
    R last[4];
    for (int t = 0; t < Q / 4; ++t)
        for (int j = 0; j < 4; ++j) bv[t][j] = bp[Q - 1 - (4 * t + j)];
    for (int t = 0; t < kOld; ++t)
        for (int j = 0; j < 4; ++j) av[t][j] = ap[Pn - (4 * t + j)];
    for (int j = 0; j < 4; ++j) last[j] = ap[4 - j];
    std::memcpy(in, saved, sizeof(R) * (Q - 1));
    R y0 = x[h - 4], y1 = x[h - 3], y2 = x[h - 2], y3 = x[h - 1];
    for (int32_t c0 = h; c0 < n; c0 += kChunk) {
        const int32_t count = std::min<int32_t>(kChunk, n - c0);
        std::memcpy(in + (Q - 1), x + c0, sizeof(R) * static_cast<size_t>(count));
        R *out = x + c0;
        // Output u from the four previous outputs ya (oldest) .. yd (newest).
        auto step = [&](int32_t u, R ya, R yb, R yc, R yd) __attribute__((always_inline)) {
            V f, p;
            Product(f, in + u, bv[0]);
#pragma GCC unroll 8
            for (int t = 1; t < Q / 4; ++t) {
                Product(p, in + u + 4 * t, bv[t]);
                f = f + p;
            }
            const R w = ((f[0] + f[1]) + f[2]) + f[3];
            R l0 = ya * last[0], l1 = yb * last[1], l2 = yc * last[2], l3 = yd * last[3];
            if constexpr (kOld > 0) {
                const R *old = out + u - Pn;
                V o;
                Product(o, old, av[0]);
#pragma GCC unroll 8
                for (int t = 1; t < kOld; ++t) {
                    Product(p, old + 4 * t, av[t]);
                    o = o + p;
                }
                l0 = o[0] + l0;
                l1 = o[1] + l1;
                l2 = o[2] + l2;
                l3 = o[3] + l3;
            }
            R y = w - (((l0 + l1) + l2) + l3);
            if constexpr (!kUnit) y = y * g;
            out[u] = y;
            return y;
        };
        // Unrolled by four with the names rotating, so that no register
        // copy sits on the chain from one output to the next.
        int32_t u = 0;
        for (; u + 4 <= count; u += 4) {
            y0 = step(u, y0, y1, y2, y3);
            y1 = step(u + 1, y1, y2, y3, y0);
            y2 = step(u + 2, y2, y3, y0, y1);
            y3 = step(u + 3, y3, y0, y1, y2);
        }
        for (; u < count; ++u) {
            const R y = step(u, y0, y1, y2, y3);
            y0 = y1;
            y1 = y2;
            y2 = y3;
            y3 = y;
        }
        std::memmove(in, in + count, sizeof(R) * (Q - 1));
    }
}

template <class R>
using FusedFn = void (*)(R *, int32_t, int32_t, const R *, const R *, R, const R *);

// The fused loop for padded orders Q (4..20) and Pn (4..16), or null.
template <class R, bool kUnit>
FusedFn<R> FindFused(int32_t Q, int32_t Pn) {
#define FENNEL_FUSED_ROW(q)                                                             \
    case q:                                                                            \
        switch (Pn) {                                                                  \
            case 4: return FusedOutputs<R, q, 4, kUnit>;                               \
            case 8: return FusedOutputs<R, q, 8, kUnit>;                               \
            case 12: return FusedOutputs<R, q, 12, kUnit>;                             \
            case 16: return FusedOutputs<R, q, 16, kUnit>;                             \
            default: return nullptr;                                                   \
        }
    switch (Q) {
        FENNEL_FUSED_ROW(4)
        FENNEL_FUSED_ROW(8)
        FENNEL_FUSED_ROW(12)
        FENNEL_FUSED_ROW(16)
        FENNEL_FUSED_ROW(20)
        default: return nullptr;
    }
#undef FENNEL_FUSED_ROW
}

// Forward stage: the workspaces, the outputs, the forward-state update.  With
// fused set (real signals, supported orders, long blocks) only the outputs
// before *head are computed, the original inputs that the rest needs are saved
// and the padded taps copied out before the workspaces are emptied.
template <class T>
int32_t ForwardStage(CallFrame &frame, T *x, int32_t n, const typename Traits<T>::Real *b,
                     int32_t nb, T *state, FDArrayHandle tailWorkspace, FDArrayHandle bWorkspace,
                     int32_t fusedHead, typename Traits<T>::Real *savedInputs,
                     typename Traits<T>::Real *paddedTaps, int32_t *paddedCount) {
    using R = typename Traits<T>::Real;
    constexpr int P = kParts<T>;
    if (nb == 1) {
        Scal(x, n, b[0]);
        return STATUS_OK;
    }
    HostArray<T, 1> tail(tailWorkspace);
    if (tail.is_null()) return STATUS_NO_WORKSPACE;
    frame.EmptyAtExit(tail);
    const int32_t L = std::min(nb - 1, n);
    FENNEL_TRY(tail.Resize(L));
    std::memcpy(tail.data(), x + (n - L), sizeof(T) * static_cast<size_t>(L));

    const R *bp = b;
    int32_t Q = nb;
    if constexpr (kPadded<T>) {
        Q = 4 * ((nb + 3) / 4);
        if (Q != nb) FENNEL_TRY(PadCoefficients(frame, bWorkspace, b, nb, Q, &bp));
    }

    R *xr = reinterpret_cast<R *>(x);
    const R *sr = reinterpret_cast<const R *>(state);
    if (fusedHead > 0) {
        std::memcpy(savedInputs, xr + (fusedHead - Q + 1), sizeof(R) * static_cast<size_t>(Q - 1));
        std::memcpy(paddedTaps, bp, sizeof(R) * static_cast<size_t>(Q));
        *paddedCount = Q;
        ForwardOutputs<P>(xr, fusedHead, bp, Q, b, nb, sr);
    } else {
        ForwardOutputs<P>(xr, n, bp, Q, b, nb, sr);
    }

    // The state keeps the last nb-1 inputs, oldest first.
    const int32_t keep = nb - 1;
    if (n < keep) {
        std::memmove(state, state + n, sizeof(T) * static_cast<size_t>(keep - n));
        std::memcpy(state + (keep - n), tail.data(), sizeof(T) * static_cast<size_t>(n));
    } else {
        std::memcpy(state, tail.data(), sizeof(T) * static_cast<size_t>(keep));
    }
    return STATUS_OK;
}

// Feedback stage on the forward stage's result w (in x):
// y[i] = (w[i] - sum over k >= 1 of a[k] y[i-k]) / a[0].  With fusedHead
// set, the first outputs are computed here and the rest in one fused pass.
template <class T>
int32_t FeedbackStage(CallFrame &frame, T *x, int32_t n, const typename Traits<T>::Real *a,
                      int32_t na, T *state, FDArrayHandle aWorkspace, int32_t fusedHead,
                      const typename Traits<T>::Real *savedInputs,
                      const typename Traits<T>::Real *paddedTaps, int32_t paddedCount) {
    using R = typename Traits<T>::Real;
    constexpr int P = kParts<T>;
    const R g = R(1) / a[0];
    if (na == 1) {
        Scal(x, n, g);
        return STATUS_OK;
    }
    R *yr = reinterpret_cast<R *>(x);
    const R *sr = reinterpret_cast<const R *>(state);
    const int32_t order = na - 1;

    if constexpr (!kPadded<T>) {
        // Every output by the filter equation over the unpadded coefficients.
        for (int32_t i = 0; i < n; ++i)
            for (int c = 0; c < P; ++c) {
                R s = R(0);
                for (int32_t k = 1; k < na; ++k) {
                    const R y = i - k >= 0 ? yr[(i - k) * P + c] : sr[(order - (k - i)) * P + c];
                    s = k == 1 ? a[k] * y : s + a[k] * y;
                }
                yr[i * P + c] = (yr[i * P + c] - s) * g;
            }
    } else {
        // The order rounded up to a multiple of four, coefficients padded.
        const int32_t Pn = 4 * ((na + 2) / 4);
        const R *ap = a;
        if (Pn + 1 != na) FENNEL_TRY(PadCoefficients(frame, aWorkspace, a, na, Pn + 1, &ap));
        if constexpr (P == 1) {
            if (fusedHead > 0) {
                FeedbackOutputs<P>(yr, fusedHead, ap, Pn, a, na, sr, g);
                const FusedFn<R> fused = g == R(1) ? FindFused<R, true>(paddedCount, Pn)
                                                   : FindFused<R, false>(paddedCount, Pn);
                fused(yr, n, fusedHead, paddedTaps, ap, g, savedInputs);
            } else {
                FeedbackOutputs<P>(yr, n, ap, Pn, a, na, sr, g);
            }
        } else {
            FeedbackOutputs<P>(yr, n, ap, Pn, a, na, sr, g);
        }
    }

    // The state keeps the last na-1 outputs, oldest first.
    if (n < order) {
        std::memmove(state, state + n, sizeof(T) * static_cast<size_t>(order - n));
        std::memcpy(state + (order - n), x, sizeof(T) * static_cast<size_t>(n));
    } else {
        std::memcpy(state, x + (n - order), sizeof(T) * static_cast<size_t>(order));
    }
    return STATUS_OK;
}

}  // namespace

template <class T>
int32_t IIRDirectFilter(CallFrame &frame, FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                        FDArrayHandle forwardState, FDArrayHandle reverseState, int32_t init,
                        FDArrayHandle tailWorkspace, FDArrayHandle aWorkspace,
                        FDArrayHandle bWorkspace) {
    using R = typename Traits<T>::Real;
    HostArray<T, 1> signal(x), fstate(forwardState), rstate(reverseState);
    HostArray<R, 1> ca(a), cb(b);
    frame.EmptyOnFailure(signal);
    frame.EmptyOnFailure(fstate);
    frame.EmptyOnFailure(rstate);
    const std::initializer_list<FDArrayHandle> written = {x, forwardState, reverseState, tailWorkspace,
                                                          aWorkspace, bWorkspace};
    FENNEL_TRY(frame.KeepInput(ca, written));
    FENNEL_TRY(frame.KeepInput(cb, written));
    FENNEL_TRY(SeparateWorkspaces({tailWorkspace, aWorkspace, bWorkspace}, {x, forwardState, reverseState},
                                  true));
    // The signal and the two states each end holding something else, so one
    // array cannot stand for two of them.
    FENNEL_TRY(SeparateWorkspaces({forwardState, reverseState}, {x}, true));

    const int32_t n = signal.size();
    if (n < 1) return STATUS_OK;
    const int32_t na = std::max(ca.size(), 0);
    const int32_t nb = std::max(cb.size(), 0);
    if (nb < 1) return na < 1 ? STATUS_OK : STATUS_EMPTY_OPERAND;

    // A state of the wrong length starts the filter from rest.
    bool reset = init != 0;
    if (fstate.size() != nb - 1) {
        FENNEL_TRY(fstate.Resize(nb - 1));
        reset = true;
    }
    if (na >= 1 && rstate.size() != na - 1) {
        FENNEL_TRY(rstate.Resize(na - 1));
        reset = true;
    }
    if (reset) {
        if (nb > 1) std::fill(fstate.data(), fstate.data() + (nb - 1), T(0));
        if (na > 1) std::fill(rstate.data(), rstate.data() + (na - 1), T(0));
    }

    // Real signals of supported orders run both stages in one pass after a
    // head of max(Q-1, Pn) outputs.
    int32_t head = 0;
    if constexpr (!Traits<T>::kComplex) {
        const int32_t Q = 4 * ((nb + 3) / 4), Pn = 4 * ((na + 2) / 4);
        const int32_t h = std::max(Q - 1, Pn);
        if (nb >= 2 && na >= 2 && n > h && FindFused<R, true>(Q, Pn) != nullptr) head = h;
    }
    R saved[20], taps[20];
    int32_t tapCount = 0;
    T *data = signal.data();
    {
        // The forward stage's workspaces are emptied when the stage ends,
        // before the feedback stage sizes its own.
        CallFrame stage;
        FENNEL_TRY(ForwardStage(stage, data, n, cb.data(), nb, fstate.data(), tailWorkspace,
                                bWorkspace, head, saved, taps, &tapCount));
    }
    if (na < 1) return STATUS_OK;
    return FeedbackStage(frame, data, n, ca.data(), na, rstate.data(), aWorkspace, head, saved,
                         taps, tapCount);
}

#define FENNEL_IIR_INSTANCES(T)                                                                \
    template int32_t IIRDirectFilter<T>(CallFrame &, FDArrayHandle, FDArrayHandle, FDArrayHandle, \
                                        FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,     \
                                        FDArrayHandle, FDArrayHandle);
FENNEL_IIR_INSTANCES(float)
FENNEL_IIR_INSTANCES(double)
FENNEL_IIR_INSTANCES(cfloat)
FENNEL_IIR_INSTANCES(cdouble)
#undef FENNEL_IIR_INSTANCES

}  // namespace fennel

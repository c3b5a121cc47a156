// IIR direct-form filter, in place, with the filter's memory in two
// caller-held state arrays: an FIR stage over the forward coefficients that
// walks backwards through the block, then the feedback stage.
#include <algorithm>
#include <cstring>

#include "frame/host_array.h"
#include "windows/window_engine.h"
#include "windows/windows.h"

namespace fennel {
namespace {

// Components per element: 1 for real signals, 2 for complex ones.
template <class T>
constexpr int kParts = Traits<T>::kComplex ? 2 : 1;

// The complex double filter runs on unpadded coefficients.
template <class T>
constexpr bool kPadded = !std::is_same_v<T, cdouble>;

// Copies count coefficients followed by zeros up to padded into a workspace.
template <class R>
int32_t PadCoefficients(HostArray<R, 1> &ws, EmptyAtExit<R, 1> &guard, const R *c, int32_t count,
                        int32_t padded, const R **out) {
    if (ws.is_null()) return STATUS_NO_WORKSPACE;
    guard.Arm();
    if (ws.Resize(padded) < 0) return STATUS_OUT_OF_MEMORY;
    R *p = ws.data();
    std::memcpy(p, c, sizeof(R) * static_cast<size_t>(count));
    std::fill(p + count, p + padded, R(0));
    *out = p;
    return STATUS_OK;
}

// Forward stage: x[i] <- sum over k of b[k] x[i-k], outputs from the last to
// the first so that each output overwrites an input no longer needed.
template <class T>
int32_t ForwardStage(T *x, int32_t n, const typename Traits<T>::Real *b, int32_t nb, T *state,
                     FDArrayHandle tailWorkspace, FDArrayHandle bWorkspace) {
    using R = typename Traits<T>::Real;
    constexpr int P = kParts<T>;
    if (nb == 1) {
        CblasScale(x, n, b[0]);
        return STATUS_OK;
    }
    HostArray<T, 1> tail(tailWorkspace);
    EmptyAtExit<T, 1> tail_guard(tail);
    if (tail.is_null()) return STATUS_NO_WORKSPACE;
    tail_guard.Arm();
    const int32_t L = std::min(nb - 1, n);
    if (tail.Resize(L) < 0) return STATUS_OUT_OF_MEMORY;
    std::memcpy(tail.data(), x + (n - L), sizeof(T) * static_cast<size_t>(L));

    HostArray<R, 1> padded(bWorkspace);
    EmptyAtExit<R, 1> padded_guard(padded);
    const R *bp = b;
    int32_t Q = nb;
    if constexpr (kPadded<T>) {
        Q = 4 * ((nb + 3) / 4);
        if (Q != nb) {
            const int32_t status = PadCoefficients(padded, padded_guard, b, nb, Q, &bp);
            if (status < 0) return status;
        }
    }

    R *xr = reinterpret_cast<R *>(x);
    const R *sr = reinterpret_cast<const R *>(state);
    int32_t i = n - 1;
    // Outputs that need only the block's inputs: four interleaved partial
    // sums over the (padded) taps, tap k in lane k mod 4.
    for (; i >= Q - 1; --i) {
        R s[P][4] = {};
        const R *xi = xr + static_cast<ptrdiff_t>(i) * P;
        int32_t k = 0;
        for (; k + 3 < Q; k += 4)
            for (int c = 0; c < P; ++c) {
                s[c][0] = s[c][0] + bp[k] * xi[c - k * P];
                s[c][1] = s[c][1] + bp[k + 1] * xi[c - (k + 1) * P];
                s[c][2] = s[c][2] + bp[k + 2] * xi[c - (k + 2) * P];
                s[c][3] = s[c][3] + bp[k + 3] * xi[c - (k + 3) * P];
            }
        for (int j = 0; k < Q; ++k, ++j)
            for (int c = 0; c < P; ++c) s[c][j] = s[c][j] + bp[k] * xi[c - k * P];
        for (int c = 0; c < P; ++c) xr[i * P + c] = s[c][0] + s[c][1] + s[c][2] + s[c][3];
    }
    // The first outputs: taps k <= i over the block, the rest over the state
    // (x[-j] is state element nb-1-j).
    for (; i >= 0; --i)
        for (int c = 0; c < P; ++c) {
            R acc = R(0);
            for (int32_t k = 0; k <= i; ++k) acc = acc + bp[k] * xr[(i - k) * P + c];
            for (int32_t k = i + 1; k < nb; ++k) acc = acc + b[k] * sr[(nb - 1 - (k - i)) * P + c];
            xr[i * P + c] = acc;
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
// y[i] = (w[i] - sum over k >= 1 of a[k] y[i-k]) / a[0].
template <class T>
int32_t FeedbackStage(T *x, int32_t n, const typename Traits<T>::Real *a, int32_t na, T *state,
                      FDArrayHandle aWorkspace) {
    using R = typename Traits<T>::Real;
    constexpr int P = kParts<T>;
    const R g = R(1) / a[0];
    if (na == 1) {
        CblasScale(x, n, g);
        return STATUS_OK;
    }
    R *yr = reinterpret_cast<R *>(x);
    const R *sr = reinterpret_cast<const R *>(state);
    const int32_t order = na - 1;

    HostArray<R, 1> padded(aWorkspace);
    EmptyAtExit<R, 1> padded_guard(padded);
    if constexpr (!kPadded<T>) {
        // Every output by the filter equation over the unpadded coefficients.
        for (int32_t i = 0; i < n; ++i)
            for (int c = 0; c < P; ++c) {
                R s = R(0);
                for (int32_t k = 1; k < na; ++k) {
                    const R y = i - k >= 0 ? yr[(i - k) * P + c] : sr[(order - (k - i)) * P + c];
                    s = s + a[k] * y;
                }
                yr[i * P + c] = (yr[i * P + c] - s) * g;
            }
    } else {
        // The order rounded up to a multiple of four, coefficients padded.
        const int32_t Pn = 4 * ((na + 2) / 4);
        const R *ap = a;
        if (Pn + 1 != na) {
            const int32_t status = PadCoefficients(padded, padded_guard, a, na, Pn + 1, &ap);
            if (status < 0) return status;
        }
        const int32_t first = std::min(Pn, n);
        for (int32_t i = 0; i < first; ++i)
            for (int c = 0; c < P; ++c) {
                R acc = -yr[i * P + c];
                for (int32_t k = 1; k <= i; ++k) acc = acc + ap[k] * yr[(i - k) * P + c];
                for (int32_t k = i + 1; k < na; ++k) acc = acc + a[k] * sr[(order - (k - i)) * P + c];
                yr[i * P + c] = -acc * g;
            }
        // Four interleaved partial sums over a[1..Pn], a[k] in lane (k-1) mod 4.
        for (int32_t i = Pn; i < n; ++i) {
            R s[P][4] = {};
            R *yi = yr + static_cast<ptrdiff_t>(i) * P;
            for (int32_t k = 1; k <= Pn; k += 4)
                for (int c = 0; c < P; ++c) {
                    s[c][0] = s[c][0] + ap[k] * yi[c - k * P];
                    s[c][1] = s[c][1] + ap[k + 1] * yi[c - (k + 1) * P];
                    s[c][2] = s[c][2] + ap[k + 2] * yi[c - (k + 2) * P];
                    s[c][3] = s[c][3] + ap[k + 3] * yi[c - (k + 3) * P];
                }
            for (int c = 0; c < P; ++c) yi[c] = (yi[c] - (s[c][0] + s[c][1] + s[c][2] + s[c][3])) * g;
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
int32_t IIRDirectFilter(FDArrayHandle x, FDArrayHandle a, FDArrayHandle b,
                        FDArrayHandle forwardState, FDArrayHandle reverseState, int32_t init,
                        FDArrayHandle tailWorkspace, FDArrayHandle aWorkspace,
                        FDArrayHandle bWorkspace) {
    using R = typename Traits<T>::Real;
    HostArray<T, 1> signal(x), fstate(forwardState), rstate(reverseState);
    HostArray<R, 1> ca(a), cb(b);
    int32_t status = STATUS_OK;
    EmptyOnFailure<T, 1> signal_guard(signal, status, Traits<T>::kTypeCode);
    EmptyOnFailure<T, 1> fstate_guard(fstate, status, Traits<T>::kTypeCode);
    EmptyOnFailure<T, 1> rstate_guard(rstate, status, Traits<T>::kTypeCode);

    const int32_t n = signal.size();
    if (n < 1) return status;
    const int32_t na = std::max(ca.size(), 0);
    const int32_t nb = std::max(cb.size(), 0);
    if (nb < 1) return status = na < 1 ? STATUS_OK : STATUS_EMPTY_OPERAND;

    // A state of the wrong length starts the filter from rest.
    bool reset = init != 0;
    if (fstate.size() != nb - 1) {
        if ((status = fstate.Resize(nb - 1)) < 0) return status;
        reset = true;
    }
    if (na >= 1 && rstate.size() != na - 1) {
        if ((status = rstate.Resize(na - 1)) < 0) return status;
        reset = true;
    }
    if (reset) {
        if (nb > 1) std::fill(fstate.data(), fstate.data() + (nb - 1), T(0));
        if (na > 1) std::fill(rstate.data(), rstate.data() + (na - 1), T(0));
    }

    T *data = signal.data();
    status = ForwardStage(data, n, cb.data(), nb, fstate.data(), tailWorkspace, bWorkspace);
    if (status < 0 || na < 1) return status;
    return status = FeedbackStage(data, n, ca.data(), na, rstate.data(), aWorkspace);
}

template int32_t IIRDirectFilter<float>(FDArrayHandle, FDArrayHandle, FDArrayHandle, FDArrayHandle,
                                        FDArrayHandle, int32_t, FDArrayHandle, FDArrayHandle,
                                        FDArrayHandle);
template int32_t IIRDirectFilter<double>(FDArrayHandle, FDArrayHandle, FDArrayHandle,
                                         FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,
                                         FDArrayHandle, FDArrayHandle);
template int32_t IIRDirectFilter<cfloat>(FDArrayHandle, FDArrayHandle, FDArrayHandle,
                                         FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,
                                         FDArrayHandle, FDArrayHandle);
template int32_t IIRDirectFilter<cdouble>(FDArrayHandle, FDArrayHandle, FDArrayHandle,
                                          FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle,
                                          FDArrayHandle, FDArrayHandle);

}  // namespace fennel

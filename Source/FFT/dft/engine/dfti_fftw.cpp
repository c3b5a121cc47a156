// The DFTI subset on FFTW 3.
//
// A descriptor records the configuration; commit checks it; the FFTW plan of
// each direction is made at its first computation and kept in the descriptor.
// FFTW runs a plan only on arrays of the alignment class it was planned for,
// and plans for different classes round differently.  So that results never
// depend on where the host put its blocks, every descriptor has one plan per
// direction, made for 16-byte aligned arrays: a misaligned input is copied to
// an aligned buffer first, a misaligned output is produced in an aligned
// buffer and copied out (scaled on the way when a scale is set).
// Multi-dimensional c2r overwrites its input in FFTW, so that input is
// copied (inputs are never modified) unless the caller gave the backward
// direction a layout of its own with its input as scratch.  The planner is
// not thread-safe: every planner call and plan destruction holds the lock of
// its precision (the two precisions are two planners).  A plan whose lock is
// busy when it is freed is destroyed by the lock's next holder, so that
// freeing never waits for a planner at work; a caller that needs the planner
// while a background measurement holds it cuts the measurement short.
#include <fftw3.h>

#include <algorithm>
#include <atomic>
#include <complex>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "dft/engine/dfti.h"
#include "dft/engine/settings.h"
#include "dft/engine/testing.h"

namespace {

std::mutex g_planner_mutex[2];  // [0] double, [1] single
// Whether the holder of a planner lock runs a measurement that may be cut
// short, whether it was, and how many callers wait for the lock; guarded by
// g_interrupt_mutex, so that FFTW's time limit is touched only while such a
// measurement runs and no waiter is missed.
std::mutex g_interrupt_mutex;
bool g_interruptible[2], g_interrupted[2];
int g_waiters[2];

// FFTW's planner reads its time limit at every check between the candidates
// it times: a limit of 0 ends the measurement at the next check.  Called
// with g_interrupt_mutex held.
void InterruptLocked(bool single) {
    if (!g_interruptible[single]) return;
    g_interrupted[single] = true;
    (single ? fftwf_set_timelimit : fftw_set_timelimit)(0.0);
}

void Interrupt(bool single) {
    std::lock_guard<std::mutex> lock(g_interrupt_mutex);
    InterruptLocked(single);
}

void SetInterruptible(bool single, bool interruptible, bool *interrupted) {
    std::lock_guard<std::mutex> lock(g_interrupt_mutex);
    if (interrupted != nullptr) *interrupted = g_interrupted[single];
    g_interruptible[single] = interruptible;
    g_interrupted[single] = false;
    if (g_waiters[single] > 0) InterruptLocked(single);  // a caller already waits
}

// Takes the planner lock of a precision, cutting short an interruptible
// measurement that holds it.
void LockPlanner(std::unique_lock<std::mutex> &lock, bool single) {
    if (lock.try_lock()) return;
    {
        std::lock_guard<std::mutex> guard(g_interrupt_mutex);
        ++g_waiters[single];
        InterruptLocked(single);
    }
    lock.lock();
    std::lock_guard<std::mutex> guard(g_interrupt_mutex);
    --g_waiters[single];
}

// ---- test counters and fault injection (atomics: no lock on any path) ------

using fennel::engine::Call;
std::atomic<long> g_creates{0}, g_commits{0}, g_frees{0}, g_computes{0}, g_live{0};
std::atomic<int> g_faults[static_cast<int>(Call::kCount)];

bool Fault(Call call) {
    std::atomic<int> &countdown = g_faults[static_cast<int>(call)];
    return countdown.load(std::memory_order_relaxed) > 0 &&
           countdown.fetch_sub(1, std::memory_order_relaxed) == 1;
}

// The first field of every descriptor: no pointer and no host block starts
// with it.
constexpr uint64_t kDescriptorMark = 0xFD5D1E5C0FF1CE00ull;

// ---- FFTW in two precisions ---------------------------------------------------

using fennel::engine::RawKind;

template <class R> struct Fftw;
#define FENNEL_FFTW(R, X)                                                                          \
    template <> struct Fftw<R> {                                                                   \
        static void *Plan(RawKind kind, int rank, const fftw_iodim64 *dims, int loops,             \
                          const fftw_iodim64 *loop, void *in, void *out, unsigned flags) {         \
            const auto *d = reinterpret_cast<const X(iodim64) *>(dims);                            \
            const auto *h = reinterpret_cast<const X(iodim64) *>(loop);                            \
            auto *ci = static_cast<X(complex) *>(in);                                              \
            auto *co = static_cast<X(complex) *>(out);                                             \
            switch (kind) {                                                                        \
                case RawKind::kRealForward:                                                        \
                    return X(plan_guru64_dft_r2c)(rank, d, loops, h, static_cast<R *>(in), co, flags); \
                case RawKind::kRealBackward:                                                       \
                    return X(plan_guru64_dft_c2r)(rank, d, loops, h, ci, static_cast<R *>(out), flags); \
                default:                                                                           \
                    return X(plan_guru64_dft)(rank, d, loops, h, ci, co,                            \
                                              kind == RawKind::kForward ? FFTW_FORWARD : FFTW_BACKWARD, \
                                              flags);                                              \
            }                                                                                      \
        }                                                                                          \
        static void Execute(RawKind kind, void *plan, void *in, void *out) {                       \
            const auto p = static_cast<X(plan)>(plan);                                             \
            if (kind == RawKind::kRealForward)                                                     \
                X(execute_dft_r2c)(p, static_cast<R *>(in), static_cast<X(complex) *>(out));       \
            else if (kind == RawKind::kRealBackward)                                               \
                X(execute_dft_c2r)(p, static_cast<X(complex) *>(in), static_cast<R *>(out));       \
            else                                                                                   \
                X(execute_dft)(p, static_cast<X(complex) *>(in), static_cast<X(complex) *>(out));  \
        }                                                                                          \
        static void Destroy(void *plan) { X(destroy_plan)(static_cast<X(plan)>(plan)); }           \
        static int AlignmentOf(const void *p) { return X(alignment_of)(static_cast<R *>(const_cast<void *>(p))); } \
    };
FENNEL_FFTW(double, FFTW_MANGLE_DOUBLE)
FENNEL_FFTW(float, FFTW_MANGLE_FLOAT)
#undef FENNEL_FFTW

// Geometry of one direction: the input and output side of the computation.
struct Layout {
    int rank;
    ptrdiff_t n[3];        // logical lengths
    ptrdiff_t in_dims[3];  // per-side lengths (the complex side of a real
    ptrdiff_t out_dims[3]; // transform holds n/2 + 1 in its last dimension)
    ptrdiff_t is[4], os[4];  // [0]: offset of the first element, then strides
    ptrdiff_t howmany, idist, odist;
    size_t in_bytes, out_bytes;  // bytes of one element on each side
};

}  // namespace

struct DFTI_DESCRIPTOR {
    uint64_t mark;  // kDescriptorMark: tells a descriptor from anything else in a plan slot
    DFTI_CONFIG_VALUE precision;
    DFTI_CONFIG_VALUE domain;
    int rank;
    MKL_LONG lengths[3];
    MKL_LONG in_strides[4];
    MKL_LONG out_strides[4];
    bool in_strides_set;
    bool out_strides_set;
    // The backward direction's own strides (extension), and whether its
    // input may be overwritten.
    MKL_LONG bwd_in_strides[4];
    MKL_LONG bwd_out_strides[4];
    bool bwd_strides_set;
    bool bwd_input_is_scratch;
    DFTI_CONFIG_VALUE placement;
    DFTI_CONFIG_VALUE ce_storage;
    DFTI_CONFIG_VALUE packed_format;
    double forward_scale;
    double backward_scale;
    MKL_LONG howmany;
    MKL_LONG in_distance;
    MKL_LONG out_distance;
    bool committed;
    fennel::engine::RawPlan *plans[2];  // [0] backward, [1] forward; null until first needed
    void *in_buffer;
    size_t in_buffer_bytes;
    void *out_buffer;
    size_t out_buffer_bytes;
    // The families' objects (Attach).
    struct {
        uint32_t key;
        void *object;
        void (*release)(void *);
    } attachments[4];
};

namespace {

void DestroyPlans(DFTI_DESCRIPTOR *d) {
    for (fennel::engine::RawPlan *&plan : d->plans) {
        fennel::engine::FreeRawPlan(plan);
        plan = nullptr;
    }
}

void ReleaseBuffers(DFTI_DESCRIPTOR *d) {
    for (auto &a : d->attachments) {
        if (a.object != nullptr) a.release(a.object);
        a = {};
    }
    fftw_free(d->in_buffer);
    fftw_free(d->out_buffer);
    d->in_buffer = d->out_buffer = nullptr;
    d->in_buffer_bytes = d->out_buffer_bytes = 0;
}

// Any change of configuration uncommits the descriptor.
void Uncommit(DFTI_DESCRIPTOR *d) {
    DestroyPlans(d);
    ReleaseBuffers(d);
    d->committed = false;
}

void RowMajor(int rank, const ptrdiff_t *dims, ptrdiff_t *strides) {
    strides[0] = 0;
    ptrdiff_t s = 1;
    for (int i = rank; i >= 1; --i) {
        strides[i] = s;
        s *= dims[i - 1];
    }
}

Layout MakeLayout(const DFTI_DESCRIPTOR *d, bool forward) {
    Layout l{};
    l.rank = d->rank;
    const bool real = d->domain == DFTI_REAL;
    ptrdiff_t real_dims[3], complex_dims[3];
    for (int i = 0; i < d->rank; ++i) {
        l.n[i] = d->lengths[i];
        real_dims[i] = complex_dims[i] = d->lengths[i];
    }
    if (real) complex_dims[d->rank - 1] = d->lengths[d->rank - 1] / 2 + 1;
    const size_t component = d->precision == DFTI_SINGLE ? 4 : 8;
    const size_t real_bytes = real ? component : 2 * component;
    const size_t complex_bytes = 2 * component;
    const ptrdiff_t *in_dims = forward ? real_dims : complex_dims;
    const ptrdiff_t *out_dims = forward ? complex_dims : real_dims;
    l.in_bytes = forward ? real_bytes : complex_bytes;
    l.out_bytes = forward ? complex_bytes : real_bytes;
    for (int i = 0; i < d->rank; ++i) {
        l.in_dims[i] = in_dims[i];
        l.out_dims[i] = out_dims[i];
    }
    if (!forward && d->bwd_strides_set) {
        for (int i = 0; i <= d->rank; ++i) {
            l.is[i] = d->bwd_in_strides[i];
            l.os[i] = d->bwd_out_strides[i];
        }
    } else if (d->in_strides_set) {
        for (int i = 0; i <= d->rank; ++i) l.is[i] = d->in_strides[i];
    } else {
        RowMajor(d->rank, in_dims, l.is);
    }
    if (!forward && d->bwd_strides_set) {
    } else if (d->out_strides_set) {
        for (int i = 0; i <= d->rank; ++i) l.os[i] = d->out_strides[i];
    } else {
        RowMajor(d->rank, out_dims, l.os);
    }
    ptrdiff_t in_count = 1, out_count = 1;
    for (int i = 0; i < d->rank; ++i) {
        in_count *= in_dims[i];
        out_count *= out_dims[i];
    }
    l.howmany = d->howmany;
    l.idist = d->in_distance != 0 ? d->in_distance : in_count;
    l.odist = d->out_distance != 0 ? d->out_distance : out_count;
    return l;
}

// Number of elements from the first touched element to the last, inclusive.
ptrdiff_t Span(int rank, const ptrdiff_t *dims, const ptrdiff_t *strides, ptrdiff_t howmany,
               ptrdiff_t dist) {
    ptrdiff_t last = (howmany - 1) * dist;
    for (int i = 0; i < rank; ++i) last += (dims[i] - 1) * strides[i + 1];
    return last + 1;
}

bool Dense(int rank, const ptrdiff_t *dims, const ptrdiff_t *strides, ptrdiff_t howmany,
           ptrdiff_t dist) {
    ptrdiff_t count = howmany;
    for (int i = 0; i < rank; ++i) count *= dims[i];
    return Span(rank, dims, strides, howmany, dist) == count;
}

// Ensures a buffer of at least bytes, aligned for every FFTW class 0 plan.
bool EnsureBuffer(void *&buffer, size_t &have, size_t bytes) {
    if (have >= bytes) return true;
    fftw_free(buffer);
    buffer = fftw_malloc(bytes);
    have = buffer != nullptr ? bytes : 0;
    return buffer != nullptr;
}

unsigned FlagsOf(fennel::engine::Effort effort) {
    switch (effort) {
        case fennel::engine::Effort::kEstimate: return FFTW_ESTIMATE;
        case fennel::engine::Effort::kMeasure: return FFTW_MEASURE;
        case fennel::engine::Effort::kPatient: return FFTW_PATIENT;
    }
    return FFTW_ESTIMATE;
}

// The plan of one direction, on the descriptor's layout.
fennel::engine::RawPlan *MakePlan(const DFTI_DESCRIPTOR *d, const Layout &l, bool forward) {
    fennel::engine::RawSpec s;
    s.precision = d->precision;
    const bool real = d->domain == DFTI_REAL;
    s.kind = real ? (forward ? RawKind::kRealForward : RawKind::kRealBackward)
                  : (forward ? RawKind::kForward : RawKind::kBackward);
    s.rank = l.rank;
    ptrdiff_t total = l.howmany;
    for (int i = 0; i < l.rank; ++i) {
        s.dims[i] = {l.n[i], l.is[i + 1], l.os[i + 1]};
        total *= l.n[i];
    }
    s.loop = true;
    s.loop_dim = {l.howmany, l.idist, l.odist};
    s.in_bytes = Span(l.rank, l.in_dims, l.is, l.howmany, l.idist) * l.in_bytes + 64;
    s.out_bytes = Span(l.rank, l.out_dims, l.os, l.howmany, l.odist) * l.out_bytes + 64;
    s.points = total;
    // 1D c2r can keep its input; multi-dimensional c2r runs on a copy.
    if (real && !forward) (l.rank == 1 ? s.preserve_input : s.destroy_input) = true;
    return fennel::engine::MakeRawPlan(s);
}

// dst[e] = src[e] * scale for every output element e the layout touches
// (src and dst may be the same array).
template <class R>
void CopyOut(const Layout &l, R *dst, const R *src, double scale, bool complex_out) {
    const R s = static_cast<R>(scale);
    const int k = complex_out ? 2 : 1;
    if (Dense(l.rank, l.out_dims, l.os, l.howmany, l.odist)) {
        const ptrdiff_t count = Span(l.rank, l.out_dims, l.os, l.howmany, l.odist) * k;
        if (scale == 1.0) {
            if (dst != src) std::memcpy(dst, src, sizeof(R) * count);
        } else {
            for (ptrdiff_t i = 0; i < count; ++i) dst[i] = src[i] * s;
        }
        return;
    }
    const ptrdiff_t d0 = l.out_dims[0], d1 = l.rank > 1 ? l.out_dims[1] : 1,
                    d2 = l.rank > 2 ? l.out_dims[2] : 1;
    const ptrdiff_t s0 = l.os[1], s1 = l.rank > 1 ? l.os[2] : 0, s2 = l.rank > 2 ? l.os[3] : 0;
    for (ptrdiff_t h = 0; h < l.howmany; ++h)
        for (ptrdiff_t i = 0; i < d0; ++i)
            for (ptrdiff_t j = 0; j < d1; ++j)
                for (ptrdiff_t m = 0; m < d2; ++m) {
                    const ptrdiff_t e = (h * l.odist + i * s0 + j * s1 + m * s2) * k;
                    for (int c = 0; c < k; ++c) dst[e + c] = src[e + c] * s;
                }
}

template <class R>
MKL_LONG Compute(DFTI_DESCRIPTOR *d, bool forward, void *input, void *output, bool scaled = true) {
    if (Fault(fennel::engine::Call::kCompute)) return DFTI_INCONSISTENT_CONFIGURATION;
    if (d == nullptr || !d->committed) return DFTI_BAD_DESCRIPTOR;
    if (input == nullptr || output == nullptr || input == output) return DFTI_INVALID_CONFIGURATION;
    const Layout l = MakeLayout(d, forward);
    char *in = static_cast<char *>(input) + l.is[0] * l.in_bytes;
    char *out = static_cast<char *>(output) + l.os[0] * l.out_bytes;
    const bool real = d->domain == DFTI_REAL;
    const size_t in_span = Span(l.rank, l.in_dims, l.is, l.howmany, l.idist) * l.in_bytes;
    const size_t out_span = Span(l.rank, l.out_dims, l.os, l.howmany, l.odist) * l.out_bytes;

    // One aligned plan per direction; misaligned data go through buffers.
    const bool copy_in = Fftw<R>::AlignmentOf(in) != 0 ||
                         (real && !forward && l.rank > 1 && !d->bwd_input_is_scratch);
    const bool copy_out = Fftw<R>::AlignmentOf(out) != 0;
    void *src = in;
    void *dst = out;
    if (copy_in) {
        if (!EnsureBuffer(d->in_buffer, d->in_buffer_bytes, in_span)) return DFTI_MEMORY_ERROR;
        std::memcpy(d->in_buffer, in, in_span);
        src = d->in_buffer;
    }
    if (copy_out) {
        if (!EnsureBuffer(d->out_buffer, d->out_buffer_bytes, out_span)) return DFTI_MEMORY_ERROR;
        dst = d->out_buffer;
    }

    fennel::engine::RawPlan *&plan = d->plans[forward ? 1 : 0];
    if (plan == nullptr && (plan = MakePlan(d, l, forward)) == nullptr) return DFTI_UNIMPLEMENTED;
    fennel::engine::ExecuteRawPlan(plan, src, dst);

    const double scale = !scaled ? 1.0 : forward ? d->forward_scale : d->backward_scale;
    if (copy_out || scale != 1.0)
        CopyOut<R>(l, reinterpret_cast<R *>(out), static_cast<const R *>(dst), scale, !real || forward);
    ++g_computes;
    return DFTI_NO_ERROR;
}

MKL_LONG Create(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE precision,
                DFTI_CONFIG_VALUE domain, MKL_LONG rank, const MKL_LONG *lengths) {
    if (handle == nullptr) return DFTI_INVALID_CONFIGURATION;
    *handle = nullptr;
    if (Fault(fennel::engine::Call::kCreate)) return DFTI_MEMORY_ERROR;
    if (domain != DFTI_REAL && domain != DFTI_COMPLEX) return DFTI_INVALID_CONFIGURATION;
    if (rank < 1 || rank > 3) return DFTI_UNIMPLEMENTED;
    for (MKL_LONG i = 0; i < rank; ++i)
        if (lengths[i] < 1) return DFTI_INVALID_CONFIGURATION;
    auto *d = static_cast<DFTI_DESCRIPTOR *>(fftw_malloc(sizeof(DFTI_DESCRIPTOR)));
    if (d == nullptr) return DFTI_MEMORY_ERROR;
    std::memset(static_cast<void *>(d), 0, sizeof *d);
    d->mark = kDescriptorMark;
    d->precision = precision;
    d->domain = domain;
    d->rank = static_cast<int>(rank);
    for (MKL_LONG i = 0; i < rank; ++i) d->lengths[i] = lengths[i];
    d->placement = DFTI_INPLACE;
    d->ce_storage = DFTI_COMPLEX_REAL;
    d->packed_format = DFTI_CCS_FORMAT;
    d->forward_scale = d->backward_scale = 1.0;
    d->howmany = 1;
    *handle = d;
    ++g_creates;
    ++g_live;
    return DFTI_NO_ERROR;
}

}  // namespace

// ---- the interface ------------------------------------------------------------

extern "C" {

MKL_LONG DftiCreateDescriptor_s_1d(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain, ...) {
    va_list ap;
    va_start(ap, domain);
    const MKL_LONG length = va_arg(ap, MKL_LONG);
    va_end(ap);
    return Create(handle, DFTI_SINGLE, domain, 1, &length);
}

MKL_LONG DftiCreateDescriptor_d_1d(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain, ...) {
    va_list ap;
    va_start(ap, domain);
    const MKL_LONG length = va_arg(ap, MKL_LONG);
    va_end(ap);
    return Create(handle, DFTI_DOUBLE, domain, 1, &length);
}

MKL_LONG DftiCreateDescriptor_s_md(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain,
                                   MKL_LONG dimension, ...) {
    va_list ap;
    va_start(ap, dimension);
    const MKL_LONG *lengths = va_arg(ap, const MKL_LONG *);
    va_end(ap);
    return Create(handle, DFTI_SINGLE, domain, dimension, lengths);
}

MKL_LONG DftiCreateDescriptor_d_md(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain,
                                   MKL_LONG dimension, ...) {
    va_list ap;
    va_start(ap, dimension);
    const MKL_LONG *lengths = va_arg(ap, const MKL_LONG *);
    va_end(ap);
    return Create(handle, DFTI_DOUBLE, domain, dimension, lengths);
}

MKL_LONG DftiSetValue(DFTI_DESCRIPTOR_HANDLE d, DFTI_CONFIG_PARAM param, ...) {
    if (Fault(fennel::engine::Call::kSetValue)) return DFTI_INVALID_CONFIGURATION;
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    va_list ap;
    va_start(ap, param);
    MKL_LONG status = DFTI_NO_ERROR;
    switch (param) {
        case DFTI_LENGTHS:
            if (d->rank == 1) {
                const MKL_LONG n = va_arg(ap, MKL_LONG);
                if (n < 1) status = DFTI_INVALID_CONFIGURATION;
                else d->lengths[0] = n;
            } else {
                const MKL_LONG *n = va_arg(ap, const MKL_LONG *);
                for (int i = 0; i < d->rank; ++i)
                    if (n[i] < 1) status = DFTI_INVALID_CONFIGURATION;
                if (status == DFTI_NO_ERROR)
                    for (int i = 0; i < d->rank; ++i) d->lengths[i] = n[i];
            }
            break;
        case DFTI_INPUT_STRIDES:
        case DFTI_OUTPUT_STRIDES: {
            const MKL_LONG *s = va_arg(ap, const MKL_LONG *);
            MKL_LONG *dst = param == DFTI_INPUT_STRIDES ? d->in_strides : d->out_strides;
            for (int i = 0; i <= d->rank; ++i) dst[i] = s[i];
            (param == DFTI_INPUT_STRIDES ? d->in_strides_set : d->out_strides_set) = true;
            break;
        }
        case DFTI_PLACEMENT: {
            const int v = va_arg(ap, int);
            if (v != DFTI_INPLACE && v != DFTI_NOT_INPLACE) status = DFTI_INVALID_CONFIGURATION;
            else d->placement = static_cast<DFTI_CONFIG_VALUE>(v);
            break;
        }
        case DFTI_CONJUGATE_EVEN_STORAGE: {
            const int v = va_arg(ap, int);
            if (v != DFTI_COMPLEX_COMPLEX && v != DFTI_COMPLEX_REAL) status = DFTI_INVALID_CONFIGURATION;
            else d->ce_storage = static_cast<DFTI_CONFIG_VALUE>(v);
            break;
        }
        case DFTI_PACKED_FORMAT: {
            const int v = va_arg(ap, int);
            if (v != DFTI_CCS_FORMAT && v != DFTI_CCE_FORMAT) status = DFTI_UNIMPLEMENTED;
            else d->packed_format = static_cast<DFTI_CONFIG_VALUE>(v);
            break;
        }
        case DFTI_FORWARD_SCALE: d->forward_scale = va_arg(ap, double); break;
        case DFTI_BACKWARD_SCALE: d->backward_scale = va_arg(ap, double); break;
        case DFTI_NUMBER_OF_TRANSFORMS: {
            const MKL_LONG n = va_arg(ap, MKL_LONG);
            if (n < 1) status = DFTI_INVALID_CONFIGURATION;
            else d->howmany = n;
            break;
        }
        case DFTI_INPUT_DISTANCE: d->in_distance = va_arg(ap, MKL_LONG); break;
        case DFTI_OUTPUT_DISTANCE: d->out_distance = va_arg(ap, MKL_LONG); break;
        default: status = DFTI_INVALID_CONFIGURATION; break;
    }
    va_end(ap);
    if (status == DFTI_NO_ERROR) {
        Uncommit(d);
        d->bwd_strides_set = d->bwd_input_is_scratch = false;
    }
    return status;
}

MKL_LONG DftiGetValue(DFTI_DESCRIPTOR_HANDLE d, DFTI_CONFIG_PARAM param, ...) {
    if (Fault(fennel::engine::Call::kGetValue)) return DFTI_INVALID_CONFIGURATION;
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    va_list ap;
    va_start(ap, param);
    MKL_LONG status = DFTI_NO_ERROR;
    switch (param) {
        case DFTI_LENGTHS: {
            MKL_LONG *out = va_arg(ap, MKL_LONG *);
            for (int i = 0; i < d->rank; ++i) out[i] = d->lengths[i];
            break;
        }
        case DFTI_DIMENSION: *va_arg(ap, MKL_LONG *) = d->rank; break;
        case DFTI_INPUT_STRIDES:
        case DFTI_OUTPUT_STRIDES: {
            MKL_LONG *out = va_arg(ap, MKL_LONG *);
            const bool input = param == DFTI_INPUT_STRIDES;
            if (input ? d->in_strides_set : d->out_strides_set) {
                for (int i = 0; i <= d->rank; ++i) out[i] = input ? d->in_strides[i] : d->out_strides[i];
            } else {
                const Layout l = MakeLayout(d, true);
                for (int i = 0; i <= d->rank; ++i) out[i] = input ? l.is[i] : l.os[i];
            }
            break;
        }
        case DFTI_PRECISION: *va_arg(ap, DFTI_CONFIG_VALUE *) = d->precision; break;
        case DFTI_FORWARD_DOMAIN: *va_arg(ap, DFTI_CONFIG_VALUE *) = d->domain; break;
        case DFTI_PLACEMENT: *va_arg(ap, DFTI_CONFIG_VALUE *) = d->placement; break;
        case DFTI_CONJUGATE_EVEN_STORAGE: *va_arg(ap, DFTI_CONFIG_VALUE *) = d->ce_storage; break;
        case DFTI_PACKED_FORMAT: *va_arg(ap, DFTI_CONFIG_VALUE *) = d->packed_format; break;
        case DFTI_COMMIT_STATUS:
            *va_arg(ap, DFTI_CONFIG_VALUE *) = d->committed ? DFTI_COMMITTED : DFTI_UNCOMMITTED;
            break;
        case DFTI_FORWARD_SCALE:
        case DFTI_BACKWARD_SCALE: {
            const double v = param == DFTI_FORWARD_SCALE ? d->forward_scale : d->backward_scale;
            if (d->precision == DFTI_SINGLE) *va_arg(ap, float *) = static_cast<float>(v);
            else *va_arg(ap, double *) = v;
            break;
        }
        case DFTI_NUMBER_OF_TRANSFORMS: *va_arg(ap, MKL_LONG *) = d->howmany; break;
        case DFTI_INPUT_DISTANCE: *va_arg(ap, MKL_LONG *) = d->in_distance; break;
        case DFTI_OUTPUT_DISTANCE: *va_arg(ap, MKL_LONG *) = d->out_distance; break;
        default: status = DFTI_INVALID_CONFIGURATION; break;
    }
    va_end(ap);
    return status;
}

MKL_LONG DftiCommitDescriptor(DFTI_DESCRIPTOR_HANDLE d) {
    if (Fault(fennel::engine::Call::kCommit)) return DFTI_INCONSISTENT_CONFIGURATION;
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    // Only out-of-place transforms with non-negative strides are offered.
    if (d->placement != DFTI_NOT_INPLACE) return DFTI_UNIMPLEMENTED;
    for (int i = 0; i <= d->rank; ++i)
        if ((d->in_strides_set && d->in_strides[i] < 0) || (d->out_strides_set && d->out_strides[i] < 0) ||
            (d->bwd_strides_set && (d->bwd_in_strides[i] < 0 || d->bwd_out_strides[i] < 0)))
            return DFTI_INVALID_CONFIGURATION;
    if (d->howmany > 1 && (d->in_distance < 0 || d->out_distance < 0))
        return DFTI_INVALID_CONFIGURATION;
    Uncommit(d);
    d->committed = true;
    ++g_commits;
    return DFTI_NO_ERROR;
}

MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE d, void *input, ...) {
    va_list ap;
    va_start(ap, input);
    void *output = va_arg(ap, void *);
    va_end(ap);
    if (d != nullptr && d->precision == DFTI_SINGLE) return Compute<float>(d, true, input, output);
    return Compute<double>(d, true, input, output);
}

MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE d, void *input, ...) {
    va_list ap;
    va_start(ap, input);
    void *output = va_arg(ap, void *);
    va_end(ap);
    if (d != nullptr && d->precision == DFTI_SINGLE) return Compute<float>(d, false, input, output);
    return Compute<double>(d, false, input, output);
}

MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *handle) {
    if (Fault(fennel::engine::Call::kFree)) return DFTI_MEMORY_ERROR;
    if (handle == nullptr || *handle == nullptr) return DFTI_BAD_DESCRIPTOR;
    Uncommit(*handle);
    (*handle)->mark = 0;
    fftw_free(*handle);
    *handle = nullptr;
    ++g_frees;
    --g_live;
    return DFTI_NO_ERROR;
}

}  // extern "C"

namespace fennel::engine {

MKL_LONG SetBackwardLayout(DFTI_DESCRIPTOR_HANDLE d, const MKL_LONG *input, const MKL_LONG *output,
                           bool input_is_scratch) {
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    for (int i = 0; i <= d->rank; ++i) {
        d->bwd_in_strides[i] = input[i];
        d->bwd_out_strides[i] = output[i];
    }
    d->bwd_strides_set = true;
    d->bwd_input_is_scratch = input_is_scratch;
    Uncommit(d);
    return DFTI_NO_ERROR;
}

bool GetBackwardLayout(DFTI_DESCRIPTOR_HANDLE d, MKL_LONG *input, MKL_LONG *output) {
    if (d == nullptr || !d->bwd_strides_set) return false;
    for (int i = 0; i <= d->rank; ++i) {
        input[i] = d->bwd_in_strides[i];
        output[i] = d->bwd_out_strides[i];
    }
    return true;
}

MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output) {
    if (d != nullptr && d->precision == DFTI_SINGLE) return Compute<float>(d, false, input, output, false);
    return Compute<double>(d, false, input, output, false);
}

bool HasExtensions() { return true; }

bool IsDescriptor(const void *p) {
    return p != nullptr && static_cast<const DFTI_DESCRIPTOR *>(p)->mark == kDescriptorMark;
}

void *Attachment(DFTI_DESCRIPTOR_HANDLE d, uint32_t key) {
    if (d == nullptr) return nullptr;
    for (const auto &a : d->attachments)
        if (a.object != nullptr && a.key == key) return a.object;
    return nullptr;
}

bool Attach(DFTI_DESCRIPTOR_HANDLE d, uint32_t key, void *object, void (*release)(void *)) {
    if (d == nullptr || !d->committed) {
        release(object);
        return false;
    }
    for (auto &a : d->attachments)
        if (a.object != nullptr && a.key == key) {
            a.release(a.object);
            a = {key, object, release};
            return true;
        }
    for (auto &a : d->attachments)
        if (a.object == nullptr) {
            a = {key, object, release};
            return true;
        }
    release(object);
    return false;
}

struct RawPlan {
    void *plan;
    bool single;
    RawKind kind;
    mutable PlanNote note;
    RawSpec spec;
    RawPlan *next_pending;  // in the list of plans waiting for their lock
};

namespace {

const PlanPolicy *g_policy = nullptr;
std::mutex g_pending_mutex;
RawPlan *g_pending[2] = {nullptr, nullptr};

void DestroyNow(RawPlan *raw) {
    if (raw->single)
        Fftw<float>::Destroy(raw->plan);
    else
        Fftw<double>::Destroy(raw->plan);
    fftw_free(raw);
}

// Destroys the plans left for this precision; called with its lock held.
void DrainPending(bool single) {
    RawPlan *list;
    {
        std::lock_guard<std::mutex> lock(g_pending_mutex);
        list = g_pending[single];
        g_pending[single] = nullptr;
    }
    while (list != nullptr) {
        RawPlan *next = list->next_pending;
        DestroyNow(list);
        list = next;
    }
}

// The planner lock of a precision, taken as LockPlanner does.
struct PlannerLock {
    std::unique_lock<std::mutex> lock;
    explicit PlannerLock(DFTI_CONFIG_VALUE precision)
        : lock(g_planner_mutex[precision == DFTI_SINGLE], std::defer_lock) {
        LockPlanner(lock, precision == DFTI_SINGLE);
    }
};

}  // namespace

RawPlan *MakeRawPlan(const RawSpec &s) {
    if (g_policy != nullptr) return g_policy->make(s);
    return MakeRawPlanHow(s, PlanHow{PlannerEffortFor(s.points), false, PlannerTimeLimit(), true});
}

RawPlan *MakeRawPlanHow(const RawSpec &s, const PlanHow &how) {
    auto *raw = static_cast<RawPlan *>(fftw_malloc(sizeof(RawPlan)));
    if (raw == nullptr) return nullptr;
    new (raw) RawPlan{nullptr, s.precision == DFTI_SINGLE, s.kind, PlanNote{}, s, nullptr};
    fftw_iodim64 dims[3];
    for (int i = 0; i < s.rank; ++i) dims[i] = {s.dims[i].n, s.dims[i].is, s.dims[i].os};
    const fftw_iodim64 loop{s.loop_dim.n, s.loop_dim.is, s.loop_dim.os};
    std::unique_lock<std::mutex> lock(g_planner_mutex[raw->single], std::defer_lock);
    if (how.wait)
        LockPlanner(lock, raw->single);
    else if (!lock.try_lock()) {
        if (how.busy != nullptr) *how.busy = true;
        fftw_free(raw);
        return nullptr;
    }
    DrainPending(raw->single);
    ApplyThreadCountOf(raw->single, s.one_thread ? 1 : s.points);
    (raw->single ? fftwf_set_timelimit : fftw_set_timelimit)(how.time_limit);
    if (how.interruptible) SetInterruptible(raw->single, true, nullptr);
    const unsigned flags = FlagsOf(how.effort) | (how.wisdom_only ? FFTW_WISDOM_ONLY : 0) |
                           (s.any_alignment ? FFTW_UNALIGNED : 0) |
                           (s.preserve_input ? FFTW_PRESERVE_INPUT : 0) |
                           (s.destroy_input ? FFTW_DESTROY_INPUT : 0);
    // Planning may overwrite its arrays: plan on aligned buffers of our own.
    char *in = static_cast<char *>(fftw_malloc(std::max<size_t>(s.in_bytes, 1)));
    char *out = s.in_place ? in : static_cast<char *>(fftw_malloc(std::max<size_t>(s.out_bytes, 1)));
    if (in != nullptr && out != nullptr) {
        // Only measuring runs transforms on them (estimating and reading
        // wisdom leave them untouched, and untouched pages cost nothing).
        if (how.effort != Effort::kEstimate && !how.wisdom_only) std::memset(in, 0, s.in_bytes);
        const int loops = s.loop ? 1 : 0;
        raw->plan = raw->single ? Fftw<float>::Plan(s.kind, s.rank, dims, loops, &loop, in, out, flags)
                                : Fftw<double>::Plan(s.kind, s.rank, dims, loops, &loop, in, out, flags);
    }
    bool interrupted = false;
    if (how.interruptible) SetInterruptible(raw->single, false, &interrupted);
    if (how.interrupted != nullptr) *how.interrupted = interrupted;
    if (out != in) fftw_free(out);
    fftw_free(in);
    if (raw->plan == nullptr) {
        fftw_free(raw);
        return nullptr;
    }
    raw->note.estimated = how.effort == Effort::kEstimate;
    return raw;
}

PlanNote &NoteOf(const RawPlan *plan) { return plan->note; }
const RawSpec &SpecOf(const RawPlan *plan) { return plan->spec; }

void SetPlanPolicy(const PlanPolicy *policy) { g_policy = policy; }

void RefreshPlans(DFTI_DESCRIPTOR_HANDLE d) {
    if (g_policy == nullptr || d == nullptr || !IsDescriptor(d)) return;
    for (RawPlan *&plan : d->plans)
        if (plan != nullptr && plan->note.estimated)
            if (RawPlan *better = g_policy->replacement(plan)) {
                FreeRawPlan(plan);
                plan = better;
            }
}

void StopPlanning() {
    if (g_policy != nullptr) g_policy->stop();
    for (int single = 0; single < 2; ++single) {
        std::lock_guard<std::mutex> lock(g_planner_mutex[single]);
        DrainPending(single != 0);
    }
}

void LockForFork() {
    for (bool single : {false, true}) {
        std::unique_lock<std::mutex> lock(g_planner_mutex[single], std::defer_lock);
        LockPlanner(lock, single);
        lock.release();
    }
    g_pending_mutex.lock();
    g_interrupt_mutex.lock();
}

void UnlockAfterFork() {
    g_interrupt_mutex.unlock();
    g_pending_mutex.unlock();
    for (std::mutex &planner : g_planner_mutex) planner.unlock();
}

void InterruptMeasurements() {
    Interrupt(false);
    Interrupt(true);
}

// Wisdom carries a signature of the planner's solvers, which the threads
// library extends: it is set up before wisdom is read or written.
char *ExportWisdom(DFTI_CONFIG_VALUE precision) {
    PlannerLock planner(precision);
    ApplyThreadCountOf(precision == DFTI_SINGLE, 1);
    return precision == DFTI_SINGLE ? fftwf_export_wisdom_to_string() : fftw_export_wisdom_to_string();
}

bool ImportWisdom(DFTI_CONFIG_VALUE precision, const char *text) {
    PlannerLock planner(precision);
    ApplyThreadCountOf(precision == DFTI_SINGLE, 1);
    return (precision == DFTI_SINGLE ? fftwf_import_wisdom_from_string(text)
                                     : fftw_import_wisdom_from_string(text)) != 0;
}

void ForgetWisdom(DFTI_CONFIG_VALUE precision) {
    PlannerLock planner(precision);
    (precision == DFTI_SINGLE ? fftwf_forget_wisdom : fftw_forget_wisdom)();
}

const char *FftwVersion() { return fftw_version; }

void ExecuteRawPlan(const RawPlan *raw, void *input, void *output) {
    if (raw->single)
        Fftw<float>::Execute(raw->kind, raw->plan, input, output);
    else
        Fftw<double>::Execute(raw->kind, raw->plan, input, output);
    if (raw->note.estimated && g_policy != nullptr) g_policy->ran_estimated(raw);
}

void FreeRawPlan(RawPlan *raw) {
    if (raw == nullptr) return;
    std::mutex &planner = g_planner_mutex[raw->single];
    if (planner.try_lock()) {
        DrainPending(raw->single);
        DestroyNow(raw);
        planner.unlock();
        return;
    }
    std::lock_guard<std::mutex> lock(g_pending_mutex);
    raw->next_pending = g_pending[raw->single];
    g_pending[raw->single] = raw;
}

void *AllocateAligned(size_t bytes) { return fftw_malloc(bytes); }
void FreeAligned(void *p) { fftw_free(p); }
int AlignmentClass(DFTI_CONFIG_VALUE precision, const void *p) {
    return precision == DFTI_SINGLE ? Fftw<float>::AlignmentOf(p) : Fftw<double>::AlignmentOf(p);
}

Counters GetCounters() {
    return Counters{g_creates.load(), g_commits.load(), g_frees.load(), g_computes.load(),
                    g_live.load()};
}

void ResetCounters() { g_creates = g_commits = g_frees = g_computes = 0; }

bool MeasurementUnderWay() {
    std::lock_guard<std::mutex> lock(g_interrupt_mutex);
    return g_interruptible[0] || g_interruptible[1];
}

PlanCounts PlansOf(const void *descriptor) {
    PlanCounts counts;
    if (!IsDescriptor(descriptor)) return counts;
    for (const RawPlan *plan : static_cast<const DFTI_DESCRIPTOR *>(descriptor)->plans)
        if (plan != nullptr) {
            ++counts.made;
            counts.estimated += plan->note.estimated ? 1 : 0;
        }
    return counts;
}

void FailCall(Call call, int nth) { g_faults[static_cast<int>(call)] = nth; }

void ClearFaults() {
    for (std::atomic<int> &countdown : g_faults) countdown = 0;
}

}  // namespace fennel::engine

// The DFTI part on FFTW 3.  A descriptor is made whole from its geometry,
// which fixes both directions' layouts; a direction's plan is made at its
// first computation.  Plans for different alignment classes round
// differently, so each direction has one plan, for 16-byte aligned arrays,
// and misaligned data go through aligned buffers: results never depend on
// where the host put a block.  FFTW's planner is not thread-safe: every
// planner call and plan destruction holds the lock of its precision.  A plan
// freed while that lock is busy is destroyed by the lock's next holder, and a
// caller that needs the planner while a background measurement holds it cuts
// the measurement short, so that no caller waits for a measurement.
#include <fftw3.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "dft/engine/dfti.h"
#include "dft/engine/settings.h"

using namespace fennel::engine;

namespace {

// FFTW's functions of each precision, [0] double, [1] single.
struct FftwApi {
    void *(*plan)(const RawSpec &s, void *in, void *out, unsigned flags);
    void (*execute)(RawKind kind, void *plan, void *in, void *out);
    void (*destroy)(void *plan);
    int (*alignment_of)(const void *p);
};
#define FENNEL_FFTW(R, X)                                                                          \
    FftwApi{                                                                                       \
        [](const RawSpec &s, void *in, void *out, unsigned flags) -> void * {                      \
            using C = X(complex);                                                                  \
            X(iodim64) d[3], h{s.loop_dim.n, s.loop_dim.is, s.loop_dim.os};                        \
            for (int i = 0; i < s.rank; ++i) d[i] = {s.dims[i].n, s.dims[i].is, s.dims[i].os};     \
            const int loops = s.loop ? 1 : 0;                                                      \
            if (s.kind == RawKind::kRealForward)                                                   \
                return X(plan_guru64_dft_r2c)(s.rank, d, loops, &h, (R *)in, (C *)out, flags);     \
            if (s.kind == RawKind::kRealBackward)                                                  \
                return X(plan_guru64_dft_c2r)(s.rank, d, loops, &h, (C *)in, (R *)out, flags);     \
            const int sign = s.kind == RawKind::kForward ? FFTW_FORWARD : FFTW_BACKWARD;           \
            return X(plan_guru64_dft)(s.rank, d, loops, &h, (C *)in, (C *)out, sign, flags);       \
        },                                                                                         \
        [](RawKind kind, void *plan, void *in, void *out) {                                        \
            using C = X(complex);                                                                  \
            if (kind == RawKind::kRealForward)                                                     \
                X(execute_dft_r2c)((X(plan))plan, (R *)in, (C *)out);                              \
            else if (kind == RawKind::kRealBackward)                                               \
                X(execute_dft_c2r)((X(plan))plan, (C *)in, (R *)out);                              \
            else                                                                                   \
                X(execute_dft)((X(plan))plan, (C *)in, (C *)out);                                  \
        },                                                                                         \
        [](void *plan) { X(destroy_plan)((X(plan))plan); },                                        \
        [](const void *p) { return X(alignment_of)((R *)p); },                                     \
    }
const FftwApi kFftw[2] = {FENNEL_FFTW(double, FFTW_MANGLE_DOUBLE), FENNEL_FFTW(float, FFTW_MANGLE_FLOAT)};
#undef FENNEL_FFTW

std::mutex g_planner_mutex[2];  // [0] double, [1] single
// Whether the holder of a planner lock runs a measurement that may be cut
// short, whether it was, and how many callers wait for the lock; written
// under g_interrupt_mutex, so that FFTW's time limit is touched only while
// such a measurement runs and no waiter is missed.
std::mutex g_interrupt_mutex;
std::atomic<bool> g_interruptible[2];
bool g_interrupted[2];
int g_waiters[2];

// FFTW's planner reads its time limit at every check between the candidates
// it times: a limit of 0 ends the measurement at the next check.  Called
// with g_interrupt_mutex held.
void InterruptLocked(bool single) {
    if (!g_interruptible[single]) return;
    g_interrupted[single] = true;
    (single ? fftwf_set_timelimit : fftw_set_timelimit)(0.0);
}

void SetInterruptible(bool single, bool interruptible, bool *interrupted) {
    std::lock_guard<std::mutex> lock(g_interrupt_mutex);
    if (interrupted != nullptr) *interrupted = g_interrupted[single];
    g_interruptible[single] = interruptible;
    g_interrupted[single] = false;
    if (g_waiters[single] > 0) InterruptLocked(single);  // a caller already waits
}

// The planner lock of a precision, cutting short an interruptible
// measurement that holds it.
std::unique_lock<std::mutex> LockPlanner(bool single) {
    std::unique_lock<std::mutex> lock(g_planner_mutex[single], std::try_to_lock);
    if (lock) return lock;
    {
        std::lock_guard<std::mutex> guard(g_interrupt_mutex);
        ++g_waiters[single];
        InterruptLocked(single);
    }
    lock.lock();
    std::lock_guard<std::mutex> guard(g_interrupt_mutex);
    --g_waiters[single];
    return lock;
}

// Test counters and fault injection: atomics, no lock on any path.
std::atomic<long> g_creates{0}, g_frees{0}, g_computes{0}, g_live{0};
std::atomic<int> g_faults[static_cast<int>(Call::kCount)];

bool Fault(Call call) {
    std::atomic<int> &countdown = g_faults[static_cast<int>(call)];
    return countdown.load(std::memory_order_relaxed) > 0 &&
           countdown.fetch_sub(1, std::memory_order_relaxed) == 1;
}

// The first field of every descriptor: no pointer and no host block starts with it.
constexpr uint64_t kDescriptorMark = 0xFD5D1E5C0FF1CE00ull;

// One direction's layout, fixed at creation: element strides ([0] the
// offset of the first), lengths per side (the complex side of a real
// transform holds n/2 + 1 in its last dimension), bytes per element and
// bytes from the first element to the last.
struct Layout {
    ptrdiff_t in_dims[3], out_dims[3], is[4], os[4], idist, odist;
    size_t in_bytes, out_bytes, in_span, out_span;
    bool dense_out;  // the output fills its span
    bool copy_in;    // the plan would overwrite its input
};

}  // namespace

struct DFTI_DESCRIPTOR {
    uint64_t mark;  // kDescriptorMark
    Geometry g;     // unset strides hold the forward direction's row-major ones
    // [0] backward, [1] forward; buffers [0] input, [1] output.
    Layout layouts[2];
    RawPlan *plans[2];
    void *buffers[2];
    size_t buffer_bytes[2];
    struct {
        uint32_t key;
        void *object;
        void (*release)(void *);
        RawPlan **plans;
        int plan_count;
    } attachments[4];
    bool attached_plans;  // some attachment has plans
};

namespace {

void Release(DFTI_DESCRIPTOR *d) {
    for (int i = 0; i < 2; ++i) {
        FreeRawPlan(d->plans[i]);
        fftw_free(d->buffers[i]);
    }
    for (auto &a : d->attachments)
        if (a.object != nullptr) a.release(a.object);
}

void RowMajor(MKL_LONG rank, const ptrdiff_t *dims, ptrdiff_t *strides) {
    strides[0] = 0;
    for (MKL_LONG i = rank, s = 1; i >= 1; s *= dims[--i]) strides[i] = s;
}

Layout MakeLayout(const DFTI_DESCRIPTOR *d, bool forward) {
    const Geometry &g = d->g;
    const bool real = g.domain == DFTI_REAL, own = !forward && g.backward_layout;
    const size_t component = g.precision == DFTI_SINGLE ? 4 : 8;
    Layout l{};
    ptrdiff_t in_count = 1, out_count = 1, in_last = 0, out_last = 0;
    for (int i = 0; i < g.rank; ++i) {
        const ptrdiff_t n = g.lengths[i], half = real && i == g.rank - 1 ? n / 2 + 1 : n;
        in_count *= l.in_dims[i] = forward ? n : half;
        out_count *= l.out_dims[i] = forward ? half : n;
    }
    // Strides not given are row-major on each direction's own sides.
    if (own || g.strides) {
        std::copy_n(own ? g.backward_input_strides : g.input_strides, g.rank + 1, l.is);
        std::copy_n(own ? g.backward_output_strides : g.output_strides, g.rank + 1, l.os);
    } else {
        RowMajor(g.rank, l.in_dims, l.is);
        RowMajor(g.rank, l.out_dims, l.os);
    }
    for (int i = 0; i < g.rank; ++i) {
        in_last += (l.in_dims[i] - 1) * l.is[i + 1];
        out_last += (l.out_dims[i] - 1) * l.os[i + 1];
    }
    l.idist = g.input_distance != 0 ? g.input_distance : in_count;
    l.odist = g.output_distance != 0 ? g.output_distance : out_count;
    l.in_bytes = forward && real ? component : 2 * component;
    l.out_bytes = !forward && real ? component : 2 * component;
    l.in_span = static_cast<size_t>((g.transforms - 1) * l.idist + in_last + 1) * l.in_bytes;
    l.out_span = static_cast<size_t>((g.transforms - 1) * l.odist + out_last + 1) * l.out_bytes;
    l.dense_out = l.out_span == static_cast<size_t>(out_count * g.transforms) * l.out_bytes;
    // FFTW's multi-dimensional c2r overwrites its input: it runs on a copy
    // unless the caller's backward layout gives the input as scratch.
    l.copy_in = real && !forward && g.rank > 1 && !g.backward_layout;
    return l;
}

// The FFTW plan of one direction, on its layout.
RawPlan *MakePlan(const DFTI_DESCRIPTOR *d, bool forward) {
    const Layout &l = d->layouts[forward];
    const bool real = d->g.domain == DFTI_REAL;
    RawSpec s;
    s.precision = d->g.precision;
    s.kind = real ? (forward ? RawKind::kRealForward : RawKind::kRealBackward)
                  : (forward ? RawKind::kForward : RawKind::kBackward);
    s.rank = static_cast<int>(d->g.rank);
    s.points = d->g.transforms;
    for (int i = 0; i < s.rank; ++i) {
        s.dims[i] = {d->g.lengths[i], l.is[i + 1], l.os[i + 1]};
        s.points *= d->g.lengths[i];
    }
    s.loop = true;
    s.loop_dim = {d->g.transforms, l.idist, l.odist};
    s.in_bytes = l.in_span + 64;
    s.out_bytes = l.out_span + 64;
    if (real && !forward) (s.rank == 1 ? s.preserve_input : s.destroy_input) = true;
    return MakeRawPlan(s);
}

// The descriptor's aligned buffer `which`, grown to at least `bytes`.
void *Buffer(DFTI_DESCRIPTOR *d, int which, size_t bytes) {
    if (d->buffer_bytes[which] < bytes) {
        fftw_free(d->buffers[which]);
        d->buffers[which] = fftw_malloc(bytes);
        d->buffer_bytes[which] = d->buffers[which] != nullptr ? bytes : 0;
    }
    return d->buffers[which];
}

// Frees the buffers above 16 MiB at the end of a call: a large misaligned
// transform would otherwise keep twice its data in the plan between calls.
// Smaller ones stay (freeing and faulting in 16 MiB per call costs a
// misaligned 2^20-point complex transform about half its speed).
void DropLargeBuffers(DFTI_DESCRIPTOR *d) {
    for (int i = 0; i < 2; ++i)
        if (d->buffer_bytes[i] > (size_t{16} << 20)) {
            fftw_free(d->buffers[i]);
            d->buffers[i] = nullptr;
            d->buffer_bytes[i] = 0;
        }
}

// dst[e] = src[e] * scale for every output element e the layout touches
// (src and dst may be the same array).
template <class R>
void CopyOut(const DFTI_DESCRIPTOR *d, const Layout &l, R *dst, const R *src, double scale) {
    const R s = static_cast<R>(scale);
    if (l.dense_out) {
        const ptrdiff_t count = static_cast<ptrdiff_t>(l.out_span / sizeof(R));
        if (scale == 1.0) {
            if (dst != src) std::memcpy(dst, src, l.out_span);
        } else {
            for (ptrdiff_t i = 0; i < count; ++i) dst[i] = src[i] * s;
        }
        return;
    }
    const MKL_LONG rank = d->g.rank;
    const int k = static_cast<int>(l.out_bytes / sizeof(R));
    const ptrdiff_t d1 = rank > 1 ? l.out_dims[1] : 1, d2 = rank > 2 ? l.out_dims[2] : 1;
    const ptrdiff_t s1 = rank > 1 ? l.os[2] : 0, s2 = rank > 2 ? l.os[3] : 0;
    for (ptrdiff_t h = 0; h < d->g.transforms; ++h)
        for (ptrdiff_t i = 0; i < l.out_dims[0]; ++i)
            for (ptrdiff_t j = 0; j < d1; ++j)
                for (ptrdiff_t m = 0; m < d2; ++m) {
                    const ptrdiff_t e = (h * l.odist + i * l.os[1] + j * s1 + m * s2) * k;
                    for (int c = 0; c < k; ++c) dst[e + c] = src[e + c] * s;
                }
}

template <class R>
MKL_LONG Compute(DFTI_DESCRIPTOR *d, bool forward, void *input, void *output, bool scaled) {
    if (Fault(Call::kCompute)) return DFTI_INCONSISTENT_CONFIGURATION;
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    if (input == nullptr || output == nullptr || input == output) return DFTI_INVALID_CONFIGURATION;
    const Layout &l = d->layouts[forward];
    char *in = static_cast<char *>(input) + l.is[0] * l.in_bytes;
    char *out = static_cast<char *>(output) + l.os[0] * l.out_bytes;
    void *src = in, *dst = out;
    const bool copy_out = kFftw[sizeof(R) == 4].alignment_of(out) != 0;
    if (l.copy_in || kFftw[sizeof(R) == 4].alignment_of(in) != 0) {
        if ((src = Buffer(d, 0, l.in_span)) == nullptr) return DFTI_MEMORY_ERROR;
        std::memcpy(src, in, l.in_span);
    }
    if (copy_out && (dst = Buffer(d, 1, l.out_span)) == nullptr) return DFTI_MEMORY_ERROR;
    RawPlan *&plan = d->plans[forward];
    if (plan == nullptr && (plan = MakePlan(d, forward)) == nullptr) return DFTI_UNIMPLEMENTED;
    ExecuteRawPlan(plan, src, dst);
    const double scale = scaled && !forward ? d->g.backward_scale : 1.0;
    if (copy_out || scale != 1.0) CopyOut<R>(d, l, reinterpret_cast<R *>(out), static_cast<const R *>(dst), scale);
    DropLargeBuffers(d);
    ++g_computes;
    return DFTI_NO_ERROR;
}

MKL_LONG Run(DFTI_DESCRIPTOR *d, bool forward, void *input, void *output, bool scaled = true) {
    if (d != nullptr && d->g.precision == DFTI_SINGLE) return Compute<float>(d, forward, input, output, scaled);
    return Compute<double>(d, forward, input, output, scaled);
}

}  // namespace

MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output) {
    return Run(d, true, input, output);
}

MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output) {
    return Run(d, false, input, output);
}

MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *handle) {
    if (Fault(Call::kFree)) return DFTI_MEMORY_ERROR;
    if (handle == nullptr || *handle == nullptr) return DFTI_BAD_DESCRIPTOR;
    Release(*handle);
    (*handle)->mark = 0;
    fftw_free(std::exchange(*handle, nullptr));
    ++g_frees;
    --g_live;
    return DFTI_NO_ERROR;
}

namespace fennel::engine {

bool HasExtensions() { return true; }

bool IsDescriptor(const void *p) {
    return p != nullptr && static_cast<const DFTI_DESCRIPTOR *>(p)->mark == kDescriptorMark;
}

// A committed descriptor in one call: what the interface does with
// DftiCreateDescriptor_d_1d (or _d_md, _s_1d, _s_md), DftiSetValue and
// DftiCommitDescriptor, which the Windows binding calls in turn, checked as
// those setters and the commit would check it.
MKL_LONG Create(DFTI_DESCRIPTOR_HANDLE *handle, const Geometry &g) {
    if (handle == nullptr) return DFTI_INVALID_CONFIGURATION;
    *handle = nullptr;
    if (Fault(Call::kCreate)) return DFTI_MEMORY_ERROR;
    if (g.rank < 1 || g.rank > 3) return DFTI_UNIMPLEMENTED;
    // Non-negative lengths, strides and distances only.
    bool bad = (g.domain != DFTI_REAL && g.domain != DFTI_COMPLEX) || g.transforms < 1 ||
               (g.transforms > 1 && (g.input_distance < 0 || g.output_distance < 0));
    for (int i = 0; i <= g.rank; ++i)
        bad |= (i < g.rank && g.lengths[i] < 1) || (g.strides && (g.input_strides[i] < 0 || g.output_strides[i] < 0)) ||
               (g.backward_layout && (g.backward_input_strides[i] < 0 || g.backward_output_strides[i] < 0));
    if (bad) return DFTI_INVALID_CONFIGURATION;
    void *block = fftw_malloc(sizeof(DFTI_DESCRIPTOR));
    if (block == nullptr) return DFTI_MEMORY_ERROR;
    auto *d = new (block) DFTI_DESCRIPTOR{};
    d->mark = kDescriptorMark;
    d->g = g;
    d->layouts[0] = MakeLayout(d, false);
    d->layouts[1] = MakeLayout(d, true);
    if (!g.strides) {
        std::copy(d->layouts[1].is, d->layouts[1].is + g.rank + 1, d->g.input_strides);
        std::copy(d->layouts[1].os, d->layouts[1].os + g.rank + 1, d->g.output_strides);
    }
    *handle = d;
    ++g_creates;
    ++g_live;
    return DFTI_NO_ERROR;
}

MKL_LONG GetGeometry(DFTI_DESCRIPTOR_HANDLE d, const Geometry **geometry) {
    if (Fault(Call::kQuery)) return DFTI_INVALID_CONFIGURATION;
    if (d == nullptr) return DFTI_BAD_DESCRIPTOR;
    *geometry = &d->g;
    return DFTI_NO_ERROR;
}

MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output) {
    return Run(d, false, input, output, false);
}

void *Attachment(DFTI_DESCRIPTOR_HANDLE d, uint32_t key) {
    for (int i = 0; d != nullptr && i < 4; ++i)
        if (d->attachments[i].object != nullptr && d->attachments[i].key == key) return d->attachments[i].object;
    return nullptr;
}

bool Attach(DFTI_DESCRIPTOR_HANDLE d, uint32_t key, void *object, void (*release)(void *), RawPlan **plans,
            int count) {
    // The entry of the same key, else the first free one.
    int slot = -1;
    for (int i = 0; d != nullptr && i < 4; ++i) {
        const auto &a = d->attachments[i];
        if (a.object != nullptr && a.key == key) slot = i;
        else if (a.object == nullptr && slot < 0) slot = i;
    }
    if (slot < 0) {
        release(object);
        return false;
    }
    auto &a = d->attachments[slot];
    if (a.object != nullptr) a.release(a.object);
    a = {key, object, release, plans, count};
    d->attached_plans |= count > 0;
    return true;
}

struct RawPlan {
    void *plan;
    bool single;
    mutable PlanNote note;
    RawSpec problem;
    RawPlan *next_pending;  // in the list of plans waiting for their lock
};

namespace {

const PlanPolicy *g_policy = nullptr;
std::mutex g_pending_mutex;
RawPlan *g_pending[2] = {nullptr, nullptr};

// Destroys the plans left for this precision; called with its lock held.
void DrainPending(bool single) {
    RawPlan *list;
    {
        std::lock_guard<std::mutex> lock(g_pending_mutex);
        list = std::exchange(g_pending[single], nullptr);
    }
    while (list != nullptr) {
        RawPlan *next = list->next_pending;
        kFftw[single].destroy(list->plan);
        fftw_free(list);
        list = next;
    }
}

}  // namespace

RawPlan *MakeRawPlan(const RawSpec &s) {
    if (g_policy != nullptr) return g_policy->make(s);
    PlanHow how;
    how.effort = DefaultEffort();
    return MakeRawPlanHow(s, how);
}

RawPlan *MakeRawPlanHow(const RawSpec &s, const PlanHow &how) {
    const bool single = s.precision == DFTI_SINGLE;
    std::unique_lock<std::mutex> lock(g_planner_mutex[single], std::defer_lock);
    if (how.wait) {
        lock = LockPlanner(single);
    } else if (!lock.try_lock()) {
        if (how.busy != nullptr) *how.busy = true;
        return nullptr;
    }
    DrainPending(single);
    SetPlanThreads(single, s.one_thread ? 1 : s.points);
    (single ? fftwf_set_timelimit : fftw_set_timelimit)(how.time_limit);
    if (how.interruptible) SetInterruptible(single, true, nullptr);
    constexpr unsigned kEffortFlags[] = {FFTW_ESTIMATE, FFTW_MEASURE, FFTW_PATIENT};  // by Effort
    const unsigned flags = kEffortFlags[static_cast<int>(how.effort)] |
                           (how.wisdom_only ? FFTW_WISDOM_ONLY : 0) | (s.any_alignment ? FFTW_UNALIGNED : 0) |
                           (s.preserve_input ? FFTW_PRESERVE_INPUT : 0) |
                           (s.destroy_input ? FFTW_DESTROY_INPUT : 0);
    // Planning may overwrite its arrays: plan on aligned buffers of our own.
    // Only measuring runs transforms on them, so only then are they written
    // (untouched pages cost nothing).
    void *plan = nullptr;
    char *in = static_cast<char *>(fftw_malloc(std::max<size_t>(s.in_bytes, 1)));
    char *out = s.in_place ? in : static_cast<char *>(fftw_malloc(std::max<size_t>(s.out_bytes, 1)));
    if (in != nullptr && out != nullptr) {
        if (how.effort != Effort::kEstimate && !how.wisdom_only) std::memset(in, 0, s.in_bytes);
        plan = kFftw[single].plan(s, in, out, flags);
    }
    bool interrupted = false;
    if (how.interruptible) SetInterruptible(single, false, &interrupted);
    if (how.interrupted != nullptr) *how.interrupted = interrupted;
    if (out != in) fftw_free(out);
    fftw_free(in);
    auto *raw = plan != nullptr ? static_cast<RawPlan *>(fftw_malloc(sizeof(RawPlan))) : nullptr;
    if (raw == nullptr) {
        if (plan != nullptr) kFftw[single].destroy(plan);
        return nullptr;
    }
    return new (raw) RawPlan{plan, single, PlanNote{how.effort == Effort::kEstimate}, s, nullptr};
}

void ExecuteRawPlan(const RawPlan *raw, void *input, void *output) {
    kFftw[raw->single].execute(raw->problem.kind, raw->plan, input, output);
    if (raw->note.estimated && g_policy != nullptr) g_policy->ran_estimated(raw);
}

void FreeRawPlan(RawPlan *raw) {
    if (raw == nullptr) return;
    std::unique_lock<std::mutex> planner(g_planner_mutex[raw->single], std::try_to_lock);
    if (!planner) {
        std::lock_guard<std::mutex> lock(g_pending_mutex);
        raw->next_pending = std::exchange(g_pending[raw->single], raw);
        return;
    }
    DrainPending(raw->single);
    kFftw[raw->single].destroy(raw->plan);
    fftw_free(raw);
}

PlanNote &NoteOf(const RawPlan *plan) { return plan->note; }
const RawSpec &SpecOf(const RawPlan *plan) { return plan->problem; }

void SetPlanPolicy(const PlanPolicy *policy) { g_policy = policy; }

namespace {
void Refresh(RawPlan *&plan) {
    if (plan != nullptr && plan->note.estimated)
        if (RawPlan *better = g_policy->replacement(plan)) FreeRawPlan(std::exchange(plan, better));
}
}  // namespace

void RefreshPlans(DFTI_DESCRIPTOR_HANDLE d) {
    if (g_policy == nullptr || !IsDescriptor(d)) return;
    for (RawPlan *&plan : d->plans) Refresh(plan);
    for (int k = 0; d->attached_plans && k < 4; ++k)
        for (int i = 0; i < d->attachments[k].plan_count; ++i) Refresh(d->attachments[k].plans[i]);
}

void StopPlanning() {
    if (g_policy != nullptr) g_policy->stop();
    for (bool single : {false, true}) {
        std::lock_guard<std::mutex> lock(g_planner_mutex[single]);
        DrainPending(single);
    }
}

void InterruptMeasurements() {
    std::lock_guard<std::mutex> lock(g_interrupt_mutex);
    InterruptLocked(false);
    InterruptLocked(true);
}

void LockForFork() {
    for (bool single : {false, true}) LockPlanner(single).release();
    g_pending_mutex.lock();
    g_interrupt_mutex.lock();
}

void UnlockAfterFork() {
    g_interrupt_mutex.unlock();
    g_pending_mutex.unlock();
    for (std::mutex &planner : g_planner_mutex) planner.unlock();
}

// Wisdom carries a signature of the planner's solvers, which the threads
// library extends: it is set up before wisdom is read or written.
char *ExportWisdom(DFTI_CONFIG_VALUE precision) {
    const bool single = precision == DFTI_SINGLE;
    auto lock = LockPlanner(single);
    SetPlanThreads(single, 1);
    return (single ? fftwf_export_wisdom_to_string : fftw_export_wisdom_to_string)();
}

bool ImportWisdom(DFTI_CONFIG_VALUE precision, const char *text) {
    const bool single = precision == DFTI_SINGLE;
    auto lock = LockPlanner(single);
    SetPlanThreads(single, 1);
    return (single ? fftwf_import_wisdom_from_string : fftw_import_wisdom_from_string)(text) != 0;
}

void ForgetWisdom(DFTI_CONFIG_VALUE precision) {
    const bool single = precision == DFTI_SINGLE;
    auto lock = LockPlanner(single);
    (single ? fftwf_forget_wisdom : fftw_forget_wisdom)();
}

const char *FftwVersion() { return fftw_version; }

void *AllocateAligned(size_t bytes) { return fftw_malloc(bytes); }
void FreeAligned(void *p) { fftw_free(p); }
int AlignmentClass(DFTI_CONFIG_VALUE precision, const void *p) {
    return kFftw[precision == DFTI_SINGLE].alignment_of(p);
}

// ---- test controls

Counters GetCounters() { return {g_creates, g_frees, g_computes, g_live}; }
void ResetCounters() { g_creates = g_frees = g_computes = 0; }

void FailCall(Call call, int nth) { g_faults[static_cast<int>(call)] = nth; }
void ClearFaults() {
    for (std::atomic<int> &countdown : g_faults) countdown = 0;
}

PlanCounts PlansOf(const void *descriptor) {
    PlanCounts counts;
    const auto count = [&](const RawPlan *plan) {
        counts.made += plan != nullptr;
        counts.estimated += plan != nullptr && plan->note.estimated;
    };
    if (!IsDescriptor(descriptor)) return counts;
    const auto *d = static_cast<const DFTI_DESCRIPTOR *>(descriptor);
    for (const RawPlan *plan : d->plans) count(plan);
    for (const auto &a : d->attachments)
        for (int i = 0; i < a.plan_count; ++i) count(a.plans[i]);
    return counts;
}

bool MeasurementUnderWay() { return g_interruptible[0] || g_interruptible[1]; }

}  // namespace fennel::engine

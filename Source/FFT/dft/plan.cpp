#include "dft/plan.h"

#include "host/host_services.h"

namespace fennel {
namespace {

double BackwardScale(const PlanGeometry &g) {
    double points = 1.0;
    for (int i = 0; i < g.rank; ++i) points *= static_cast<double>(g.lengths[i]);
    return g.inverse ? 1.0 / points : 1.0;
}

bool Matches(const engine::Geometry &k, const PlanGeometry &g) {
    // Another function's descriptor of the same lengths would read and
    // write other amounts of memory: precision, domain and rank decide too.
    if (k.rank != g.rank || k.precision != g.precision || (!g.any_domain && k.domain != g.domain))
        return false;
    for (int i = 0; i < g.rank; ++i)
        if (k.lengths[i] != g.lengths[i]) return false;
    // One line, contiguous both ways, unless the geometry gives strides.
    // The output strides too: a real forward transform writes its spectrum
    // packed, the inverse of the same sizes and input strides does not.
    static constexpr MKL_LONG kUnit[4] = {0, 1, 0, 0};
    const MKL_LONG *in = g.rank > 1 || g.strides ? g.input_strides : kUnit;
    const MKL_LONG *out = g.strides ? g.output_strides : kUnit;
    const bool outputs = g.rank == 1 || g.strides;
    for (int i = 0; i <= g.rank; ++i)
        if (k.input_strides[i] != in[i] || (outputs && k.output_strides[i] != out[i])) return false;
    // A backward layout of its own, when either side has one.
    if (k.backward_layout != g.backward_layout) return false;
    for (int i = 0; g.backward_layout && i <= g.rank; ++i)
        if (k.backward_input_strides[i] != g.backward_input_strides[i] ||
            k.backward_output_strides[i] != g.backward_output_strides[i])
            return false;
    // The count of transforms always: a kept batch of the same length would
    // overrun the output.  The backward scale, for a slot shared by a forward
    // and an inverse call: of the same lengths a kept scale is 1 or 1 / points,
    // so it is computed only when it is 1 for an inverse (one point) or not 1
    // for a forward transform.
    if (k.transforms != g.transforms ||
        (g.inverse != (k.backward_scale != 1.0) && k.backward_scale != BackwardScale(g)))
        return false;
    return g.transforms == 1 ||
           (k.input_distance == g.input_distance && k.output_distance == g.output_distance);
}

}  // namespace

int32_t Plan::Acquire(const PlanGeometry &g) const {
    DFTI_DESCRIPTOR_HANDLE *slot = slot_;
    // A two-dimensional DCT record left by another function's call.
    if (IsTrigRecord(*slot) && FreeTrigPlan(reinterpret_cast<FDPlanHandle *>(slot)) != STATUS_OK)
        return STATUS_DFTI_FREE_FAILED;
    if (*slot != nullptr) {
        const engine::Geometry *kept;
        if (engine::GetGeometry(*slot, &kept) != 0) return STATUS_DFTI_SETUP_FAILED;
        if (Matches(*kept, g)) {
            engine::RefreshPlans(*slot);  // a call boundary: a better plan may take over here
            return STATUS_OK;
        }
        if (DftiFreeDescriptor(slot) != 0) return STATUS_DFTI_FREE_FAILED;
    }
    engine::Geometry made = g;
    made.backward_scale = BackwardScale(g);
    return engine::Create(slot, made) == 0 ? STATUS_OK : STATUS_DFTI_SETUP_FAILED;
}

int32_t Plan::Domain(DFTI_CONFIG_VALUE *domain) const {
    const engine::Geometry *kept;
    if (engine::GetGeometry(*slot_, &kept) != 0) return STATUS_DFTI_SETUP_FAILED;
    *domain = kept->domain;
    return STATUS_OK;
}

int32_t Plan::Forward(const void *input, void *output) const {
    // The engine's interface takes a non-const input; it never writes it.
    return DftiComputeForward(*slot_, const_cast<void *>(input), output) == 0 ? STATUS_OK
                                                                             : STATUS_DFTI_COMPUTE_FAILED;
}

int32_t Plan::Backward(const void *input, void *output) const {
    return DftiComputeBackward(*slot_, const_cast<void *>(input), output) == 0 ? STATUS_OK
                                                                              : STATUS_DFTI_COMPUTE_FAILED;
}

int32_t Plan::BackwardUnscaled(const void *input, void *output) const {
    return engine::ComputeBackwardUnscaled(*slot_, const_cast<void *>(input), output) == 0
               ? STATUS_OK
               : STATUS_DFTI_COMPUTE_FAILED;
}

int32_t Plan::Release() const {
    if (slot_ == nullptr || *slot_ == nullptr) return STATUS_OK;
    // A record left by the 2D DCT/DST in a slot given to another function.
    if (IsTrigRecord(*slot_)) return FreeTrigPlan(reinterpret_cast<FDPlanHandle *>(slot_));
    return DftiFreeDescriptor(slot_) == 0 ? STATUS_OK : STATUS_DFTI_FREE_FAILED;
}

namespace {
int32_t ReleaseSlot(void *slot) { return Plan(static_cast<DFTI_DESCRIPTOR_HANDLE *>(slot)).Release(); }
}  // namespace

Plan Plan::Of(CallFrame &frame, FDPlanHandle *plan) {
    return plan != nullptr ? Plan(plan) : Plan(reinterpret_cast<FDPlanHandle *>(frame.LocalSlot(&ReleaseSlot)));
}

void Plan::ReleaseOnFailure(CallFrame &frame) const { frame.FreePlanOnFailure(slot_, &ReleaseSlot); }

bool Plan::HasExtensions() { return engine::HasExtensions(); }

int Plan::ThreadsFor(ptrdiff_t points) { return engine::HasExtensions() ? engine::ThreadsFor(points) : 1; }

void *Plan::Attachment(uint32_t key) const { return engine::Attachment(*slot_, key); }

bool Plan::Attach(uint32_t key, void *object, void (*release)(void *object), engine::RawPlan **plans,
                  int count) const {
    return engine::Attach(*slot_, key, object, release, plans, count);
}

namespace {
int32_t ReleaseTrigSlot(void *slot) { return FreeTrigPlan(static_cast<FDPlanHandle *>(slot)); }

// A record's tag carries this mark in its top bits; a descriptor never holds
// it at the same place (the engine's holds its rank there).
constexpr int64_t kRecordMark = int64_t{0x7FD5} << 48;
constexpr int64_t kMarkMask = int64_t{0x7FFF} << 48;
}  // namespace

bool IsTrigRecord(const void *p) {
    return p != nullptr && (static_cast<const TrigPlanRecord *>(p)->tag & kMarkMask) == kRecordMark;
}

namespace {
// Whether a slot's content is a descriptor: the engine tells its own; with
// the foreign engine anything but a marked record is taken for one.
bool IsDescriptor(const void *p) {
    return p != nullptr && (engine::HasExtensions() ? engine::IsDescriptor(p) : !IsTrigRecord(p));
}
}  // namespace

TrigPlan TrigPlan::Of(CallFrame &frame, FDPlanHandle *plan) {
    return TrigPlan(plan != nullptr ? plan : frame.LocalSlot(&ReleaseTrigSlot));
}

void TrigPlan::ReleaseOnFailure(CallFrame &frame) const { frame.FreePlanOnFailure(slot_, &ReleaseTrigSlot); }

int32_t TrigPlan::Acquire(int64_t tag, int64_t sizes) const {
    tag |= kRecordMark;
    // A plain descriptor left by another function's call: released first.
    if (IsDescriptor(*slot_) &&
        DftiFreeDescriptor(reinterpret_cast<DFTI_DESCRIPTOR_HANDLE *>(slot_)) != 0)
        return STATUS_DFTI_FREE_FAILED;
    TrigPlanRecord *r = record();
    if (r == nullptr) {
        r = static_cast<TrigPlanRecord *>(HostNewPtr(sizeof(TrigPlanRecord)));
        if (r == nullptr) return STATUS_OUT_OF_MEMORY;
        r->first = r->second = nullptr;
        r->tag = tag;
        r->sizes = sizes;
        *slot_ = r;
    } else if (r->tag != tag || r->sizes != sizes) {
        if (r->first != nullptr && DftiFreeDescriptor(&r->first) != 0) return STATUS_DFTI_FREE_FAILED;
        if (r->second != nullptr && DftiFreeDescriptor(&r->second) != 0) return STATUS_DFTI_FREE_FAILED;
        r->tag = tag;
        r->sizes = sizes;
    }
    return STATUS_OK;
}

int32_t FreeDftiPlan(FDPlanHandle *plan) { return Plan(plan).Release(); }

int32_t FreeTrigPlan(FDPlanHandle *plan) {
    if (plan == nullptr || *plan == nullptr) return STATUS_OK;
    if (IsDescriptor(*plan)) return Plan(plan).Release();
    auto *record = static_cast<TrigPlanRecord *>(*plan);
    DFTI_DESCRIPTOR_HANDLE second = record->second;
    if (record->first != nullptr && DftiFreeDescriptor(&record->first) != 0)
        return STATUS_DFTI_FREE_FAILED;
    if (second != nullptr && DftiFreeDescriptor(&record->second) != 0)
        return STATUS_DFTI_FREE_FAILED;
    HostDisposePtr(record);
    *plan = nullptr;
    return STATUS_OK;
}

}  // namespace fennel

#include "dft/plan.h"

#include "host/host_services.h"

namespace fennel {
namespace {

// Whether the descriptor's strides of one kind equal the expected ones; a
// failed query sets the status.
bool SameStrides(DFTI_DESCRIPTOR_HANDLE d, DFTI_CONFIG_PARAM which, const MKL_LONG *expected, int rank,
                 int32_t &status) {
    MKL_LONG strides[4] = {0, 0, 0, 0};
    if (DftiGetValue(d, which, strides) != 0) {
        status = STATUS_DFTI_SETUP_FAILED;
        return false;
    }
    for (int i = 0; i <= rank; ++i)
        if (strides[i] != expected[i]) return false;
    return true;
}

bool Matches(DFTI_DESCRIPTOR_HANDLE d, const PlanGeometry &g, int32_t &status) {
    MKL_LONG lengths[3] = {0, 0, 0};
    if (DftiGetValue(d, DFTI_LENGTHS, lengths) != 0) {
        status = STATUS_DFTI_SETUP_FAILED;
        return false;
    }
    for (int i = 0; i < g.rank; ++i)
        if (lengths[i] != g.lengths[i]) return false;
    // The output strides too: a real forward transform writes its spectrum
    // packed, the inverse of the same sizes and input strides does not.
    if ((g.rank > 1 || g.strides) && !SameStrides(d, DFTI_INPUT_STRIDES, g.input_strides, g.rank, status))
        return false;
    if (g.strides && !SameStrides(d, DFTI_OUTPUT_STRIDES, g.output_strides, g.rank, status))
        return false;
    // A backward layout of its own, when either side has one.
    MKL_LONG in[4] = {}, out[4] = {};
    if (engine::GetBackwardLayout(d, in, out) != g.backward_layout) return false;
    if (g.backward_layout)
        for (int i = 0; i <= g.rank; ++i)
            if (in[i] != g.backward_input_strides[i] || out[i] != g.backward_output_strides[i])
                return false;
    // Batched workers compare the count even when they now need one
    // transform: a cached batch of the same length would overrun the output.
    if (g.transforms > 1 || g.strides) {
        MKL_LONG count = 0, in_distance = 0, out_distance = 0;
        if (DftiGetValue(d, DFTI_NUMBER_OF_TRANSFORMS, &count) != 0 ||
            DftiGetValue(d, DFTI_INPUT_DISTANCE, &in_distance) != 0 ||
            DftiGetValue(d, DFTI_OUTPUT_DISTANCE, &out_distance) != 0) {
            status = STATUS_DFTI_SETUP_FAILED;
            return false;
        }
        if (count != g.transforms) return false;
        if (g.transforms > 1 &&
            (in_distance != g.input_distance || out_distance != g.output_distance))
            return false;
    }
    return true;
}

MKL_LONG Configure(DFTI_DESCRIPTOR_HANDLE d, const PlanGeometry &g) {
    MKL_LONG r = DftiSetValue(d, DFTI_PLACEMENT, DFTI_NOT_INPLACE);
    if (r == 0 && g.complex_complex)
        r = DftiSetValue(d, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX);
    if (r == 0 && g.strides) {
        r = DftiSetValue(d, DFTI_INPUT_STRIDES, g.input_strides);
        if (r == 0) r = DftiSetValue(d, DFTI_OUTPUT_STRIDES, g.output_strides);
    }
    if (r == 0 && g.transforms > 1) {
        r = DftiSetValue(d, DFTI_NUMBER_OF_TRANSFORMS, g.transforms);
        if (r == 0) r = DftiSetValue(d, DFTI_INPUT_DISTANCE, g.input_distance);
        if (r == 0) r = DftiSetValue(d, DFTI_OUTPUT_DISTANCE, g.output_distance);
    }
    if (r == 0 && g.inverse) {
        double points = 1.0;
        for (int i = 0; i < g.rank; ++i) points *= static_cast<double>(g.lengths[i]);
        r = DftiSetValue(d, DFTI_BACKWARD_SCALE, 1.0 / points);
    }
    if (r == 0 && g.backward_layout)
        r = engine::SetBackwardLayout(d, g.backward_input_strides, g.backward_output_strides, true);
    if (r == 0) r = DftiCommitDescriptor(d);
    return r;
}

}  // namespace

int32_t AcquirePlan(DFTI_DESCRIPTOR_HANDLE *slot, const PlanGeometry &g) {
    if (*slot != nullptr) {
        int32_t status = STATUS_OK;
        if (Matches(*slot, g, status)) return STATUS_OK;
        if (status != STATUS_OK) return status;
        if (DftiFreeDescriptor(slot) != 0) return STATUS_DFTI_FREE_FAILED;
    }
    if (DftiCreateDescriptor(slot, g.precision, g.domain, g.rank, g.lengths) != 0) {
        if (*slot != nullptr) DftiFreeDescriptor(slot);
        return STATUS_DFTI_SETUP_FAILED;
    }
    if (Configure(*slot, g) != 0) {
        DftiFreeDescriptor(slot);
        return STATUS_DFTI_SETUP_FAILED;
    }
    return STATUS_OK;
}

int32_t ComputePlan(DFTI_DESCRIPTOR_HANDLE plan, bool forward, const void *input, void *output) {
    // The engine's interface takes a non-const input; it never writes it.
    void *in = const_cast<void *>(input);
    const MKL_LONG r = forward ? DftiComputeForward(plan, in, output)
                               : DftiComputeBackward(plan, in, output);
    return r == 0 ? STATUS_OK : STATUS_DFTI_COMPUTE_FAILED;
}

FreePlanOnFailure::~FreePlanOnFailure() {
    if (status_ < 0 && slot_ != nullptr && *slot_ != nullptr) DftiFreeDescriptor(slot_);
}

int32_t FreeDftiPlan(FDPlanHandle *plan) {
    DFTI_DESCRIPTOR_HANDLE *slot = PlanSlot(plan);
    if (slot == nullptr || *slot == nullptr) return STATUS_OK;
    return DftiFreeDescriptor(slot) == 0 ? STATUS_OK : STATUS_DFTI_FREE_FAILED;
}

int32_t FreeTrigPlan(FDPlanHandle *plan) {
    if (plan == nullptr || *plan == nullptr) return STATUS_OK;
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

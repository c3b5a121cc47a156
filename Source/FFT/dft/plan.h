// Transform plan handles: reuse-or-rebuild of the committed descriptor in a
// caller's slot, the compute step, and the guard that frees the plan when a
// computing routine fails.
#pragma once

#include <cstdint>

#include "dft/engine/dfti.h"
#include "fennel_dsp.h"

namespace fennel {

// What a worker needs from its descriptor.
struct PlanGeometry {
    DFTI_CONFIG_VALUE precision = DFTI_DOUBLE;
    DFTI_CONFIG_VALUE domain = DFTI_COMPLEX;
    int rank = 1;
    MKL_LONG lengths[3] = {1, 1, 1};
    // Explicit strides ([0] offset, then one per dimension), for rank > 1 or
    // batched transforms; compared with the cached input strides on reuse.
    bool strides = false;
    MKL_LONG input_strides[4] = {};
    MKL_LONG output_strides[4] = {};
    // Conjugate-even storage as complex elements (multi-dimensional real).
    bool complex_complex = false;
    // Batched transforms: count and distances, compared on reuse.
    MKL_LONG transforms = 1;
    MKL_LONG input_distance = 0;
    MKL_LONG output_distance = 0;
    // Inverse transforms set the backward scale 1 / (product of lengths).
    bool inverse = false;
    // The backward direction's own strides and its input as scratch (an
    // engine extension, only where engine::kHasBackwardLayout); compared on
    // reuse.
    bool backward_layout = false;
    MKL_LONG backward_input_strides[4] = {};
    MKL_LONG backward_output_strides[4] = {};
};

inline PlanGeometry Geometry1D(DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain,
                               MKL_LONG length, bool inverse) {
    PlanGeometry g;
    g.precision = precision;
    g.domain = domain;
    g.lengths[0] = length;
    g.inverse = inverse;
    return g;
}

// Keeps the descriptor in *slot when its geometry matches g, otherwise frees
// it and builds and commits a new one.  -359502 (setup) or -359503 (free of
// the outdated descriptor) on failure.
int32_t AcquirePlan(DFTI_DESCRIPTOR_HANDLE *slot, const PlanGeometry &g);

// Runs the transform; -359501 when the engine reports failure.
int32_t ComputePlan(DFTI_DESCRIPTOR_HANDLE plan, bool forward, const void *input, void *output);

// The plan handle as the engine's descriptor slot.
inline DFTI_DESCRIPTOR_HANDLE *PlanSlot(FDPlanHandle *plan) {
    return reinterpret_cast<DFTI_DESCRIPTOR_HANDLE *>(plan);
}

// Frees the descriptor in the slot at scope exit when the watched status is
// negative, leaving the slot null (a failed free leaves it set).
class FreePlanOnFailure {
   public:
    FreePlanOnFailure(DFTI_DESCRIPTOR_HANDLE *slot, const int32_t &status)
        : slot_(slot), status_(status) {}
    ~FreePlanOnFailure();
    FreePlanOnFailure(const FreePlanOnFailure &) = delete;
    FreePlanOnFailure &operator=(const FreePlanOnFailure &) = delete;

   private:
    DFTI_DESCRIPTOR_HANDLE *slot_;
    const int32_t &status_;
};

// The plan record of the two-dimensional DCT and DST: two descriptors, then
// fields of the family's own; 32 bytes from DSNewPtr.
struct TrigPlanRecord {
    DFTI_DESCRIPTOR_HANDLE first;
    DFTI_DESCRIPTOR_HANDLE second;
    int64_t reserved[2];
};

// The two plan-handle releases.
int32_t FreeDftiPlan(FDPlanHandle *plan);
int32_t FreeTrigPlan(FDPlanHandle *plan);

}  // namespace fennel

namespace fennel {

// The caller's slot, or for a null plan address a slot of this call only,
// released at scope exit.
class TransientPlan {
   public:
    explicit TransientPlan(FDPlanHandle *plan) : plan_(plan != nullptr ? plan : &local_) {}
    ~TransientPlan() {
        if (plan_ == &local_) FreeDftiPlan(&local_);
    }
    TransientPlan(const TransientPlan &) = delete;
    TransientPlan &operator=(const TransientPlan &) = delete;
    DFTI_DESCRIPTOR_HANDLE *get() const { return PlanSlot(plan_); }

   private:
    FDPlanHandle local_ = nullptr;
    FDPlanHandle *plan_;
};

}  // namespace fennel

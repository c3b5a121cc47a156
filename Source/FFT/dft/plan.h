// The plan layer: the only way the families reach the transform engine.
// A Plan is a view of a caller's plan slot holding one committed descriptor:
// it keeps the descriptor while the call's geometry (precision and domain
// included) matches, rebuilds it otherwise, computes, keeps the family's own
// objects attached to the descriptor, and registers the rule that a failing
// call releases it.  A TrigPlan is the second kind of slot: the record of the
// two-dimensional DCT and DST with two descriptors.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dft/engine/dfti.h"
#include "fennel_dsp.h"
#include "frame/call_frame.h"
#include "frame/types.h"

namespace fennel {

// The engine's precision and domain of an element type.
template <class T>
inline constexpr DFTI_CONFIG_VALUE kPrecisionOf =
    sizeof(typename Traits<T>::Real) == 4 ? DFTI_SINGLE : DFTI_DOUBLE;
template <class T>
inline constexpr DFTI_CONFIG_VALUE kDomainOf = Traits<T>::kComplex ? DFTI_COMPLEX : DFTI_REAL;

// What a worker needs from its descriptor: the engine's geometry (strides,
// batch and backward layout compared on reuse) and two rules of the plan layer.
struct PlanGeometry : engine::Geometry {
    // A kept descriptor of the other domain is kept (the inverse 1D DCT,
    // whose domain follows the parity of its length).
    bool any_domain = false;
    // Inverse transforms have the backward scale 1 / (product of lengths).
    bool inverse = false;
};

// One-dimensional geometry.
inline PlanGeometry Geometry1D(DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain, MKL_LONG length,
                               bool inverse) {
    PlanGeometry g;
    g.precision = precision;
    g.domain = domain;
    g.lengths[0] = length;
    g.inverse = inverse;
    return g;
}
template <class T>
PlanGeometry Geometry1D(MKL_LONG length, bool inverse) {
    return Geometry1D(kPrecisionOf<T>, kDomainOf<T>, length, inverse);
}

// A caller's DFTI plan slot.
class Plan {
   public:
    explicit Plan(DFTI_DESCRIPTOR_HANDLE *slot) : slot_(slot) {}
    explicit Plan(FDPlanHandle *plan) : slot_(reinterpret_cast<DFTI_DESCRIPTOR_HANDLE *>(plan)) {}
    // The caller's slot, or for a null plan address a slot of this call only.
    static Plan Of(CallFrame &frame, FDPlanHandle *plan);

    // Keeps the descriptor in the slot when its geometry matches g, otherwise
    // frees it and builds and commits a new one.  -359502 (setup) or -359503
    // (free of the outdated descriptor) on failure.
    int32_t Acquire(const PlanGeometry &g) const;
    // The transform of the kept descriptor; -359501 when the engine fails.
    int32_t Forward(const void *input, void *output) const;
    int32_t Backward(const void *input, void *output) const;
    // The backward transform without its scale, for a caller that applies
    // it while copying out (extension).
    int32_t BackwardUnscaled(const void *input, void *output) const;
    // Frees the descriptor, leaving the slot null; -359503 on failure.
    int32_t Release() const;
    // Releases the descriptor when the call of the frame fails.
    void ReleaseOnFailure(CallFrame &frame) const;

    DFTI_DESCRIPTOR_HANDLE descriptor() const { return *slot_; }
    // The kept descriptor's domain.
    int32_t Domain(DFTI_CONFIG_VALUE *domain) const;
    DFTI_DESCRIPTOR_HANDLE *slot() const { return slot_; }

    // ---- engine extensions (the FFTW engine; the engine bound on Windows
    // is a foreign one without them) ----
    static bool HasExtensions();
    // The threads the engine runs a transform of `points` on (1 without the
    // extensions: the foreign engine sets its own).
    static int ThreadsFor(ptrdiff_t points);
    // The family's object kept with the descriptor under `key`, or null.
    void *Attachment(uint32_t key) const;
    // Keeps `object` with the descriptor under `key` (releasing the object
    // kept before under that key); release(object) runs when the descriptor
    // is reconfigured, committed again or freed.  The object's `count` plans
    // at `plans` may be replaced by better ones in Acquire, as the
    // descriptor's own.  False, with release(object) run, when nothing can
    // be kept.
    bool Attach(uint32_t key, void *object, void (*release)(void *object), engine::RawPlan **plans = nullptr,
                int count = 0) const;

   private:
    DFTI_DESCRIPTOR_HANDLE *slot_;
};

// Plans of a family's own geometry and the engine's aligned memory, kept as
// attachments of a Plan (extensions: they fail without them).
using engine::AlignmentClass;
using engine::AllocateAligned;
using engine::ExecuteRawPlan;
using engine::FreeAligned;
using engine::FreeRawPlan;
using engine::MakeRawPlan;
using engine::RawKind;
using engine::RawPlan;
using engine::RawSpec;

// The plan record of the two-dimensional DCT and DST: two descriptors, then
// what they were built for; 32 bytes from DSNewPtr.
struct TrigPlanRecord {
    DFTI_DESCRIPTOR_HANDLE first;   // the row pass
    DFTI_DESCRIPTOR_HANDLE second;  // the column pass
    int64_t tag;                    // kind, precision and row count of the row pass
    int64_t sizes;                  // the output sizes
};
static_assert(sizeof(TrigPlanRecord) == 32);

// A caller's plan slot of the two-dimensional DCT and DST, holding a
// TrigPlanRecord (or null until the first call).
class TrigPlan {
   public:
    explicit TrigPlan(FDPlanHandle *plan) : slot_(plan) {}
    // The caller's slot, or for a null plan address a slot of this call only.
    static TrigPlan Of(CallFrame &frame, FDPlanHandle *plan);

    // Keeps the record when it was built for tag and sizes, otherwise frees
    // its descriptors (-359503 on failure) and records tag and sizes; makes
    // the record through the host (STATUS_OUT_OF_MEMORY when refused) when
    // the slot holds none.
    int32_t Acquire(int64_t tag, int64_t sizes) const;
    // The row and the column pass's descriptors (after Acquire).
    Plan First() const { return Plan(&record()->first); }
    Plan Second() const { return Plan(&record()->second); }
    // Releases the whole record, leaving the slot null, when the call of the
    // frame fails.
    void ReleaseOnFailure(CallFrame &frame) const;

   private:
    TrigPlanRecord *record() const { return static_cast<TrigPlanRecord *>(*slot_); }
    FDPlanHandle *slot_;
};

// Whether a slot's content is a record of the two-dimensional DCT and DST
// (its tag carries a mark) rather than a descriptor: a slot passed to both
// kinds of function is released and rebuilt as the kind the call needs,
// never read as the other.
bool IsTrigRecord(const void *p);

// The two plan-handle releases (each releases either kind).
int32_t FreeDftiPlan(FDPlanHandle *plan);
int32_t FreeTrigPlan(FDPlanHandle *plan);

// The plan handle as the engine's descriptor slot.
inline DFTI_DESCRIPTOR_HANDLE *PlanSlot(FDPlanHandle *plan) {
    return reinterpret_cast<DFTI_DESCRIPTOR_HANDLE *>(plan);
}

}  // namespace fennel

// The transform engine: the DFTI computations and constants the library uses,
// descriptors made from and read back as one Geometry, and the FFTW engine's
// extensions.  On Linux it runs on FFTW (dfti_fftw.cpp), its symbols hidden
// inside the library; on Windows it binds a foreign engine (dfti_windows.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

// long on every platform: 32 bits on 64-bit Windows, 64 bits on Linux.
using MKL_LONG = long;

enum DFTI_CONFIG_VALUE {
    DFTI_COMPLEX = 32, DFTI_REAL = 33, DFTI_SINGLE = 35, DFTI_DOUBLE = 36,
};
enum : MKL_LONG {
    DFTI_NO_ERROR = 0, DFTI_MEMORY_ERROR = 1, DFTI_INVALID_CONFIGURATION = 2,
    DFTI_INCONSISTENT_CONFIGURATION = 3, DFTI_BAD_DESCRIPTOR = 5, DFTI_UNIMPLEMENTED = 6,
};

struct DFTI_DESCRIPTOR;
using DFTI_DESCRIPTOR_HANDLE = DFTI_DESCRIPTOR *;

// Out of place; inputs are never modified.
MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE handle, void *input, void *output);
MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE handle, void *input, void *output);
// Frees the descriptor and sets *handle to null.
MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *handle);

namespace fennel::engine {

// A descriptor's geometry, given whole to Create and read back whole by
// GetGeometry.  Strides are [0] the offset, then one per dimension; without
// `strides` each direction is row-major on its own sides (and reads back as
// the forward direction's).  A backward layout gives the backward direction
// strides of its own and lets it overwrite its input (FFTW engine only).
struct Geometry {
    DFTI_CONFIG_VALUE precision = DFTI_DOUBLE, domain = DFTI_COMPLEX;
    MKL_LONG rank = 1, lengths[3] = {1, 1, 1};
    bool strides = false;
    MKL_LONG input_strides[4] = {}, output_strides[4] = {};
    bool complex_complex = false;  // half spectra as complex elements (this engine's only storage)
    MKL_LONG transforms = 1, input_distance = 0, output_distance = 0;
    double backward_scale = 1.0;
    bool backward_layout = false;
    MKL_LONG backward_input_strides[4] = {}, backward_output_strides[4] = {};
};
// Makes a committed out-of-place descriptor of g; *handle stays null on failure.
MKL_LONG Create(DFTI_DESCRIPTOR_HANDLE *handle, const Geometry &g);
// *g: the descriptor's geometry, valid while it lives (on Windows, until the
// thread's next query).  No copy: the plan layer reads it on every call.
MKL_LONG GetGeometry(DFTI_DESCRIPTOR_HANDLE d, const Geometry **g);

// ---- extensions: on Windows HasExtensions() is false and every one fails
// (DFTI_UNIMPLEMENTED, null or false), so the families take their portable path.
bool HasExtensions();
// True when p is a descriptor of this engine (its first field is a mark).
bool IsDescriptor(const void *p);
// The backward transform without its scale, for a caller that applies it
// while it copies the result out.
MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output);

// FFTW plans of a family's own geometry, in FFTW's guru terms (element
// strides), for 16-byte aligned arrays.
struct Dim {
    ptrdiff_t n, is, os;
};
enum class RawKind { kForward, kBackward, kRealForward, kRealBackward };
struct RawSpec {
    DFTI_CONFIG_VALUE precision = DFTI_DOUBLE;
    RawKind kind = RawKind::kForward;
    int rank = 1;
    Dim dims[3] = {};
    bool loop = false;
    Dim loop_dim = {};
    size_t in_bytes = 0, out_bytes = 0;  // the arrays the plan spans
    bool in_place = false;
    bool preserve_input = false, destroy_input = false;  // FFTW's input rules
    bool any_alignment = false;  // later arrays may sit in another alignment class
    ptrdiff_t points = 0;        // the transform size the threads follow
    bool one_thread = false;
};
struct RawPlan;
// Made as the planning policy chooses (DefaultEffort() without one).
RawPlan *MakeRawPlan(const RawSpec &wanted);
void ExecuteRawPlan(const RawPlan *plan, void *input, void *output);
void FreeRawPlan(RawPlan *plan);

// A family's object kept with a descriptor, one per key: release(object)
// runs when the descriptor is freed or another object replaces it.  The
// object's `count` plans at `plans` are offered to the policy at each call
// boundary, as the descriptor's own are.  Attach returns false, having
// released the object, when no entry is free.
void *Attachment(DFTI_DESCRIPTOR_HANDLE d, uint32_t key);
bool Attach(DFTI_DESCRIPTOR_HANDLE d, uint32_t key, void *object, void (*release)(void *object),
            RawPlan **plans = nullptr, int count = 0);
// The engine's aligned memory; FFTW's alignment class of an address (0: aligned).
void *AllocateAligned(size_t bytes);
void FreeAligned(void *p);
int AlignmentClass(DFTI_CONFIG_VALUE precision, const void *p);
// The threads FFTW runs a transform of `points` on.
int ThreadsFor(ptrdiff_t points);
// FFTW's parallel loops run through `share`, which runs task(context) on the
// caller and on a second thread the library owns, or returns false having
// run nothing when that thread is busy.  Set once at load (Linux).
void SetWorkSharing(bool (*share)(void (*task)(void *), void *context));

// ---- planning primitives (the policy lives in dft/planning/) ---------------
// FFTW's planner of each precision has a lock of its own.
enum class Effort { kEstimate, kMeasure, kPatient };
struct PlanHow {
    Effort effort = Effort::kEstimate;
    bool wisdom_only = false;  // a plan only if wisdom knows the problem
    double time_limit = -1.0;  // seconds, negative: none
    bool wait = true;          // false: null at once when the planner is busy
    bool *busy = nullptr;      // set when that happened
    // A caller waiting for the planner cuts this plan's measurement short
    // (FFTW keeps what it has timed so far); `interrupted` tells.
    bool interruptible = false;
    bool *interrupted = nullptr;
};
RawPlan *MakeRawPlanHow(const RawSpec &problem, const PlanHow &how);
// What the policy keeps with each plan.
struct PlanNote {
    bool estimated = false;
    unsigned generation = 0;  // of the wisdom when the plan was made or last checked
    unsigned runs = 0;
};
PlanNote &NoteOf(const RawPlan *plan);
const RawSpec &SpecOf(const RawPlan *plan);
struct PlanPolicy {
    RawPlan *(*make)(const RawSpec &problem);
    void (*ran_estimated)(const RawPlan *plan);  // after each run of an estimated plan
    RawPlan *(*replacement)(const RawPlan *plan);  // at a call boundary: a better plan or null
    void (*stop)();  // ends the policy's work before the library goes away
};
void SetPlanPolicy(const PlanPolicy *policy);
// At the start of a call: each estimated plan of the descriptor and its
// attachments is offered to the policy's replacement; a replaced one is freed.
void RefreshPlans(DFTI_DESCRIPTOR_HANDLE d);
// Ends the policy's work (unload).
void StopPlanning();
// Cuts short an interruptible measurement under way in either precision.
void InterruptMeasurements();
// Around fork(): takes the planner locks (cutting a measurement short) and
// the engine's other locks, so that the child starts with none held.
void LockForFork();
void UnlockAfterFork();
// FFTW's wisdom of one precision, under its planner lock.  ExportWisdom's
// text is released with std::free; null when FFTW gave none.
char *ExportWisdom(DFTI_CONFIG_VALUE precision);
bool ImportWisdom(DFTI_CONFIG_VALUE precision, const char *text);
void ForgetWisdom(DFTI_CONFIG_VALUE precision);
const char *FftwVersion();

// ---- test controls (atomics, no lock), reached by the C++ tests through
// the static library.
enum class Call { kCreate, kQuery, kCompute, kFree, kCount };
struct Counters {
    long creates = 0, frees = 0, computes = 0;  // successful calls
    long live = 0;  // descriptors created and not yet freed
};
Counters GetCounters();
void ResetCounters();  // zeroes all but live
// Makes the nth next call of the given function fail (n = 1: the next one).
void FailCall(Call call, int nth = 1);
void ClearFaults();
// The plans of the descriptor and its attachments made so far, and how many
// of them are estimated.
struct PlanCounts {
    int made = 0, estimated = 0;
};
PlanCounts PlansOf(const void *descriptor);
// Whether a measurement that a waiter may cut short holds a planner lock.
bool MeasurementUnderWay();

}  // namespace fennel::engine

// The part of the DFTI transform interface that the library calls, with the
// interface's numeric constants, and the engine's extensions.  On Linux it
// runs on FFTW (dfti_fftw.cpp), its symbols hidden inside the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dft/engine/settings.h"

// long on every platform: 32 bits on 64-bit Windows, 64 bits on Linux.
using MKL_LONG = long;

enum DFTI_CONFIG_PARAM {
    DFTI_FORWARD_DOMAIN = 0, DFTI_DIMENSION = 1, DFTI_LENGTHS = 2, DFTI_PRECISION = 3,
    DFTI_FORWARD_SCALE = 4, DFTI_BACKWARD_SCALE = 5, DFTI_NUMBER_OF_TRANSFORMS = 7,
    DFTI_CONJUGATE_EVEN_STORAGE = 10, DFTI_PLACEMENT = 11, DFTI_INPUT_STRIDES = 12,
    DFTI_OUTPUT_STRIDES = 13, DFTI_INPUT_DISTANCE = 14, DFTI_OUTPUT_DISTANCE = 15,
};
enum DFTI_CONFIG_VALUE {
    DFTI_COMPLEX = 32, DFTI_REAL = 33, DFTI_SINGLE = 35, DFTI_DOUBLE = 36,
    DFTI_COMPLEX_COMPLEX = 39, DFTI_INPLACE = 43, DFTI_NOT_INPLACE = 44,
};
enum : MKL_LONG {
    DFTI_NO_ERROR = 0, DFTI_MEMORY_ERROR = 1, DFTI_INVALID_CONFIGURATION = 2,
    DFTI_INCONSISTENT_CONFIGURATION = 3, DFTI_BAD_DESCRIPTOR = 5, DFTI_UNIMPLEMENTED = 6,
};

struct DFTI_DESCRIPTOR;
using DFTI_DESCRIPTOR_HANDLE = DFTI_DESCRIPTOR *;

// The interface's four creation functions in one: `dimension` lengths.
MKL_LONG DftiCreateDescriptor(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE precision,
                              DFTI_CONFIG_VALUE domain, MKL_LONG dimension, const MKL_LONG *lengths);
// Values: MKL_LONG for counts and distances, DFTI_CONFIG_VALUE for placement
// and storage, double for scales, const MKL_LONG * for strides ([0] offset,
// then one per dimension).
MKL_LONG DftiSetValue(DFTI_DESCRIPTOR_HANDLE handle, DFTI_CONFIG_PARAM param, ...);
// Out-arguments: MKL_LONG * (or an array of them), DFTI_CONFIG_VALUE *, and
// for scales float * or double * by the descriptor's precision.
MKL_LONG DftiGetValue(DFTI_DESCRIPTOR_HANDLE handle, DFTI_CONFIG_PARAM param, ...);
MKL_LONG DftiCommitDescriptor(DFTI_DESCRIPTOR_HANDLE handle);
// Out of place; inputs are never modified.
MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE handle, void *input, void *output);
MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE handle, void *input, void *output);
// Frees the descriptor and sets *handle to null.
MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *handle);

// ---- extensions of the FFTW engine --------------------------------------------
// The engine bound on Windows is a foreign one: there HasExtensions() is
// false, every extension fails (DFTI_UNIMPLEMENTED, null or false) and the
// families take their portable path.
namespace fennel::engine {

bool HasExtensions();
// True when p is a descriptor of this engine (its first field is a mark).
bool IsDescriptor(const void *p);

// A descriptor's whole geometry in one query: the values DftiGetValue would
// report (unset strides read as the forward direction's row-major ones) and
// the backward direction's own strides.
struct Geometry {
    DFTI_CONFIG_VALUE precision, domain;
    MKL_LONG rank, lengths[3], input_strides[4], output_strides[4];
    MKL_LONG transforms, input_distance, output_distance;
    bool backward_layout;
    MKL_LONG backward_input_strides[4], backward_output_strides[4];
};
MKL_LONG GetGeometry(DFTI_DESCRIPTOR_HANDLE d, Geometry *geometry);

// Strides of the backward direction's own, so that a real transform reads
// and writes its half spectrum where FFTW prefers it both ways; with
// `input_is_scratch` the backward transform may overwrite its input (a
// multi-dimensional c2r otherwise runs on a copy).  Set before the commit;
// any DftiSetValue clears it.
MKL_LONG SetBackwardLayout(DFTI_DESCRIPTOR_HANDLE d, const MKL_LONG *input, const MKL_LONG *output,
                           bool input_is_scratch);
// The backward transform without its scale, for a caller that applies it
// while it copies the result out.
MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output);

// A family's objects kept with a descriptor, one per key: release(object)
// runs when the descriptor is reconfigured, committed again or freed, or
// another object is attached under the key.  Attach returns false, having
// released the object, when the descriptor cannot keep it.
void *Attachment(DFTI_DESCRIPTOR_HANDLE d, uint32_t key);
bool Attach(DFTI_DESCRIPTOR_HANDLE d, uint32_t key, void *object, void (*release)(void *object));

// FFTW plans of a family's own geometry, in FFTW's guru terms (element
// strides), made under the planner lock with the engine's effort, for
// 16-byte aligned arrays.
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
    ptrdiff_t points = 0;        // the transform size the effort and threads follow
    bool one_thread = false;
};
struct RawPlan;
// Made the way the planning policy chooses (dft/planning/), or with the
// engine's planner effort when no policy is installed.
RawPlan *MakeRawPlan(const RawSpec &wanted);
void ExecuteRawPlan(const RawPlan *plan, void *input, void *output);
void FreeRawPlan(RawPlan *plan);
// The engine's aligned memory; FFTW's alignment class of an address (0: aligned).
void *AllocateAligned(size_t bytes);
void FreeAligned(void *p);
int AlignmentClass(DFTI_CONFIG_VALUE precision, const void *p);
// The threads FFTW runs a transform of `points` on (settings.cpp).
int ThreadsFor(ptrdiff_t points);

// ---- planning primitives (the policy lives in dft/planning/) ---------------
// FFTW's planner of each precision has a lock of its own.
struct PlanHow {
    Effort effort = Effort::kEstimate;
    bool wisdom_only = false;  // a plan only if wisdom knows the problem
    double time_limit = -1.0;  // seconds, negative: none
    bool wait = true;          // false: null at once when the planner is busy
    bool *busy = nullptr;      // set when that happened
    // A caller waiting for the planner cuts this plan's measurement short
    // (FFTW then keeps what it has timed so far); `interrupted` tells.
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
// Offers each plan of the descriptor to the policy's replacement, at the
// start of a call; a replaced plan is freed.
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

// FFTW's parallel loops run through `share`, which runs task(context) on the
// caller and on a second thread the library owns, or returns false having
// run nothing when that thread is busy.  Set once at load (Linux).
void SetWorkSharing(bool (*share)(void (*task)(void *), void *context));

// Test controls, linked into the C++ tests through the static library.
enum class Call { kCreate, kSetValue, kGetValue, kCommit, kCompute, kFree, kCount };
struct Counters {
    long creates = 0, commits = 0, frees = 0, computes = 0;  // successful calls
    long live = 0;  // descriptors created and not yet freed
};
Counters GetCounters();
void ResetCounters();  // zeroes all but live
// Makes the nth next call of the given function fail (n = 1: the next one).
void FailCall(Call call, int nth = 1);
void ClearFaults();
// The descriptor's plans made so far, and how many of them are estimated.
struct PlanCounts {
    int made = 0, estimated = 0;
};
PlanCounts PlansOf(const void *descriptor);
// Whether a measurement that a waiter may cut short holds a planner lock.
bool MeasurementUnderWay();

}  // namespace fennel::engine

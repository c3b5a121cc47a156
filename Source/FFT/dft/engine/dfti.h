// The subset of the DFTI transform interface that the library calls, with the
// interface's own numeric constants.  On Linux it is implemented on FFTW
// (dfti_fftw.cpp); its symbols stay hidden inside the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dft/engine/settings.h"

// The interface's integer type: long on every platform (32 bits on 64-bit
// Windows, 64 bits on Linux).
using MKL_LONG = long;

enum DFTI_CONFIG_PARAM {
    DFTI_FORWARD_DOMAIN = 0,
    DFTI_DIMENSION = 1,
    DFTI_LENGTHS = 2,
    DFTI_PRECISION = 3,
    DFTI_FORWARD_SCALE = 4,
    DFTI_BACKWARD_SCALE = 5,
    DFTI_NUMBER_OF_TRANSFORMS = 7,
    DFTI_COMPLEX_STORAGE = 8,
    DFTI_REAL_STORAGE = 9,
    DFTI_CONJUGATE_EVEN_STORAGE = 10,
    DFTI_PLACEMENT = 11,
    DFTI_INPUT_STRIDES = 12,
    DFTI_OUTPUT_STRIDES = 13,
    DFTI_INPUT_DISTANCE = 14,
    DFTI_OUTPUT_DISTANCE = 15,
    DFTI_PACKED_FORMAT = 21,
    DFTI_COMMIT_STATUS = 22,
};

enum DFTI_CONFIG_VALUE {
    DFTI_COMMITTED = 30,
    DFTI_UNCOMMITTED = 31,
    DFTI_COMPLEX = 32,
    DFTI_REAL = 33,
    DFTI_SINGLE = 35,
    DFTI_DOUBLE = 36,
    DFTI_COMPLEX_COMPLEX = 39,
    DFTI_COMPLEX_REAL = 40,
    DFTI_REAL_COMPLEX = 41,
    DFTI_REAL_REAL = 42,
    DFTI_INPLACE = 43,
    DFTI_NOT_INPLACE = 44,
    DFTI_CCS_FORMAT = 54,
    DFTI_CCE_FORMAT = 57,
};

enum : MKL_LONG {
    DFTI_NO_ERROR = 0,
    DFTI_MEMORY_ERROR = 1,
    DFTI_INVALID_CONFIGURATION = 2,
    DFTI_INCONSISTENT_CONFIGURATION = 3,
    DFTI_BAD_DESCRIPTOR = 5,
    DFTI_UNIMPLEMENTED = 6,
};

struct DFTI_DESCRIPTOR;
using DFTI_DESCRIPTOR_HANDLE = DFTI_DESCRIPTOR *;

extern "C" {
// 1D: the trailing argument is the length (MKL_LONG).  md: dimension, then a
// pointer to the lengths (const MKL_LONG *).
MKL_LONG DftiCreateDescriptor_s_1d(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain, ...);
MKL_LONG DftiCreateDescriptor_d_1d(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain, ...);
MKL_LONG DftiCreateDescriptor_s_md(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain,
                                   MKL_LONG dimension, ...);
MKL_LONG DftiCreateDescriptor_d_md(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE domain,
                                   MKL_LONG dimension, ...);
// Values: MKL_LONG for counts, lengths (1D) and distances; DFTI_CONFIG_VALUE
// for placement, storage and format; double for scales; const MKL_LONG * for
// strides and multi-dimensional lengths.
MKL_LONG DftiSetValue(DFTI_DESCRIPTOR_HANDLE handle, DFTI_CONFIG_PARAM param, ...);
// Out-arguments: MKL_LONG * (or an array of them), DFTI_CONFIG_VALUE *, and
// for scales float * or double * by the descriptor's precision.
MKL_LONG DftiGetValue(DFTI_DESCRIPTOR_HANDLE handle, DFTI_CONFIG_PARAM param, ...);
MKL_LONG DftiCommitDescriptor(DFTI_DESCRIPTOR_HANDLE handle);
// Out of place: (handle, input, output).  Inputs are never modified.
MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE handle, void *input, ...);
MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE handle, void *input, ...);
// Frees the descriptor and sets *handle to null.
MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *handle);
}


// The dispatching form used by the library.
inline MKL_LONG DftiCreateDescriptor(DFTI_DESCRIPTOR_HANDLE *handle, DFTI_CONFIG_VALUE precision,
                                     DFTI_CONFIG_VALUE domain, MKL_LONG dimension,
                                     const MKL_LONG *lengths) {
    if (dimension == 1)
        return precision == DFTI_SINGLE ? DftiCreateDescriptor_s_1d(handle, domain, lengths[0])
                                        : DftiCreateDescriptor_d_1d(handle, domain, lengths[0]);
    return precision == DFTI_SINGLE ? DftiCreateDescriptor_s_md(handle, domain, dimension, lengths)
                                    : DftiCreateDescriptor_d_md(handle, domain, dimension, lengths);
}

// ---- extensions of the FFTW engine (not part of the DFTI interface) --------
// The engine bound on Windows is a foreign one: there HasExtensions() is
// false, every extension call fails (DFTI_UNIMPLEMENTED, null or false) and
// the families take their portable path.
namespace fennel::engine {

bool HasExtensions();
// True when p is a descriptor of this engine (its first field is the
// engine's mark).
bool IsDescriptor(const void *p);

// Objects a family keeps with a descriptor (sub-plans, tables, blocks), one
// per key: release(object) runs when the descriptor is reconfigured,
// committed again or freed, or when another object is attached under the
// same key.  Attach returns false (having released the object) when the
// descriptor cannot keep it.
void *Attachment(DFTI_DESCRIPTOR_HANDLE d, uint32_t key);
bool Attach(DFTI_DESCRIPTOR_HANDLE d, uint32_t key, void *object, void (*release)(void *object));

// FFTW plans of a family's own geometry, made (under the planner lock, with
// the engine's planner effort) for 16-byte aligned arrays of the engine's
// allocator.  Dimensions and one loop in FFTW's guru terms (element strides).
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
// The engine's aligned memory, FFTW's alignment class of an address (0:
// aligned) and the threads FFTW runs a transform of `points` on.
void *AllocateAligned(size_t bytes);
void FreeAligned(void *p);
int AlignmentClass(DFTI_CONFIG_VALUE precision, const void *p);
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
RawPlan *MakeRawPlanHow(const RawSpec &spec, const PlanHow &how);
// What the policy keeps with each plan.
struct PlanNote {
    bool estimated = false;
    unsigned generation = 0;  // of the wisdom when the plan was made or last checked
    unsigned runs = 0;
};
PlanNote &NoteOf(const RawPlan *plan);
const RawSpec &SpecOf(const RawPlan *plan);
struct PlanPolicy {
    RawPlan *(*make)(const RawSpec &spec);
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
// caller and on a second thread the library owns (and ends at unload) and
// returns false, having run nothing, when no second thread is free: FFTW
// then starts no threads of its own.  Set once at load (Linux).
void SetWorkSharing(bool (*share)(void (*task)(void *), void *context));

// A backward transform with a layout of its own, so that a real transform can
// read and write its packed half spectrum where FFTW prefers it in both
// directions.  `input` and `output` are the backward direction's strides
// ({offset, one per dimension}); with `input_is_scratch` the backward
// transform may overwrite its input (a multi-dimensional real backward
// transform otherwise runs on a copy).  Set before the commit; any
// DftiSetValue clears it.
MKL_LONG SetBackwardLayout(DFTI_DESCRIPTOR_HANDLE d, const MKL_LONG *input, const MKL_LONG *output,
                           bool input_is_scratch);
// True, with the strides, when the descriptor has a backward layout of its own.
bool GetBackwardLayout(DFTI_DESCRIPTOR_HANDLE d, MKL_LONG *input, MKL_LONG *output);
// The backward transform without the backward scale, for a caller that
// applies it while it copies the result out (the same products, one pass
// less).
MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE d, void *input, void *output);

}  // namespace fennel::engine

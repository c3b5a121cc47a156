// The planning policy: which FFTW plan a transform gets, in which thread.
//
// By default the first computation of a geometry never measures in the
// caller's thread: it takes the plan wisdom knows (wisdom read once from the
// cache folder, wisdom_file.h) or else an estimated plan.  An estimated plan
// that has run a few times is measured by one low-priority thread of the
// library; the wisdom it records reaches the cache file,
// and a descriptor whose plan was estimated takes the measured plan at the
// start of a later call (never within one).  So a call's results may change
// in the last bits from one call to the next while that happens.
//
// How long a caller can wait: FFTW's planner is one per precision and not
// thread-safe, and a measurement cannot run outside its lock.  A caller
// that needs the planner while the background thread measures cuts the
// measurement short (FFTW stops at its next check, after the candidate it
// is timing: milliseconds, up to about one transform of the size measured)
// and the measurement is tried again later.  A call that reuses its plan, a
// switch to a measured plan and a release never wait (they try the lock
// and otherwise come back to it later).  Unloading cuts a measurement short
// in the same way.
#pragma once

#include <cstdint>
#include <string>

namespace fennel::planning {

enum class Mode {
    kBackground,  // the default: wisdom or an estimate now, measured in the background
    kEstimate,    // estimated plans only, no persistent wisdom: reproducible within a process
    kMeasure,     // measured in the caller's thread (with persistent wisdom)
    kPatient,
};

// From FENNEL_DSP_PLANNER (default|background|estimate|measure|patient).
Mode CurrentMode();

// Hands the policy to the engine (at load).
void Install();

// The effort of the plans the calling thread makes from now on, for planning
// ahead: 0 the policy's, 1 estimate, 2 measure, 3 patient, with a time limit
// in seconds (negative: none).  Returns the previous effort, or -1 (nothing
// changed) for an unknown one.
int SetThreadEffort(int effort, double time_limit);

// Wisdom of both precisions: saved to the cache folder (true when written),
// exported as one text, imported from such a text (false when it is not
// one of this FFTW and machine), forgotten (and the files removed).
bool SaveWisdom();
std::string ExportWisdomText();
bool ImportWisdomText(const char *text);
void ForgetWisdom(bool remove_files);

// For tests: the wisdom generation, the measurements queued so far and cut
// short so far, and a wait until the background thread has nothing queued
// or running.
unsigned Generation();
long QueuedCount();
long InterruptedCount();
void WaitUntilIdle();

}  // namespace fennel::planning

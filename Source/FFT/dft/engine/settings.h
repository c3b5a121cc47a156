// Planner effort and thread use of the FFTW engine.
#pragma once

#include <cstddef>

namespace fennel::engine {

enum class Effort { kEstimate, kMeasure, kPatient };

// The planner effort for a transform of `total` points (all dimensions and
// batches), and the planner's time limit in seconds (negative: none), when
// no planning policy is installed (dft/planning/ installs one at load):
// FFTW_MEASURE without a limit; FENNEL_DSP_PLANNER=estimate|measure|patient
// forces an effort ("default" keeps the default).
Effort PlannerEffortFor(std::ptrdiff_t total);
// The effort FENNEL_DSP_PLANNER forces, or -1 (unset or "default").
int PlannerOverride();
double PlannerTimeLimit();

// The number of threads FFTW runs a plan of `total` points on.
int ThreadsFor(std::ptrdiff_t total);

// Sets FFTW's thread count for the next plan of `total` points.  Called with
// the planner lock held.
void ApplyThreadCount(std::ptrdiff_t total);
// The same for one precision's planner only (held under that planner's lock).
void ApplyThreadCountOf(bool single, std::ptrdiff_t total);

}  // namespace fennel::engine

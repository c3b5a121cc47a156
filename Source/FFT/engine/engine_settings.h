// Planner effort and thread use of the FFTW engine.
#pragma once

#include <cstddef>

namespace fennel::engine {

enum class Effort { kEstimate, kMeasure, kPatient };

// The planner effort for a transform of `total` points (all dimensions and
// batches).  FENNEL_DSP_PLANNER=estimate|measure|patient overrides the
// default, which the benchmarks chose (bench/README.md).
Effort PlannerEffortFor(std::ptrdiff_t total);

// Sets FFTW's thread count for the next plan of `total` points.  Called with
// the planner lock held.
void ApplyThreadCount(std::ptrdiff_t total);

}  // namespace fennel::engine

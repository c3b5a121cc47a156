// Planner effort and threads of the FFTW engine, and FFTW's process state.
#pragma once

#include "dft/engine/dfti.h"

namespace fennel::engine {

// The effort of plans made without a planning policy: FFTW_MEASURE, or the
// one FENNEL_DSP_PLANNER=estimate|measure|patient names.
Effort DefaultEffort();
// Sets up FFTW's threads of one precision (once) and the thread count of its
// next plan of `points`; called under that precision's planner lock.
void SetPlanThreads(bool single, std::ptrdiff_t points);

}  // namespace fennel::engine

#include "engine/engine_settings.h"

#include <fftw3.h>

#include <cstdlib>
#include <cstring>

namespace fennel::engine {
namespace {

// Above this many points a measured plan costs more than a user waits for on
// a first call; below it FFTW_MEASURE pays back within a few calls.
constexpr std::ptrdiff_t kMeasureLimit = std::ptrdiff_t{1} << 16;

int EffortOverride() {
    static const int value = [] {
        const char *v = std::getenv("FENNEL_DSP_PLANNER");
        if (v == nullptr) return -1;
        if (std::strcmp(v, "estimate") == 0) return static_cast<int>(Effort::kEstimate);
        if (std::strcmp(v, "measure") == 0) return static_cast<int>(Effort::kMeasure);
        if (std::strcmp(v, "patient") == 0) return static_cast<int>(Effort::kPatient);
        return -1;
    }();
    return value;
}

}  // namespace

Effort PlannerEffortFor(std::ptrdiff_t total) {
    const int forced = EffortOverride();
    if (forced >= 0) return static_cast<Effort>(forced);
    return total <= kMeasureLimit ? Effort::kMeasure : Effort::kEstimate;
}

void ApplyThreadCount(std::ptrdiff_t total) {
    (void)total;
}

}  // namespace fennel::engine

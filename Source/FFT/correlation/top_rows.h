// The forward transform of a 2D real operand whose padding rows are zero,
// taken apart so that only the operand's own rows are read and transformed
// along the rows: the frequency-domain correlation's zero-row rule.
#pragma once

#include <cstdint>

#include "dft/plan.h"

namespace fennel::corr {

// The forward transform, under the plan acquired for g, of lr x lc reals
// (g.lengths; rows of lc, packed spectrum rows of lc / 2 + 1 bins, as g's
// strides must say) whose rows from `rows` on are zero and not read: the
// real transforms of the leading rows, zero spectrum rows below them, then
// the transforms along the columns in place.  The plans of the passes are
// kept with the plan's descriptor.  Needs the engine's extensions
// (Plan::HasExtensions), 16-byte aligned arrays and rows in 1 .. lr; -359501
// otherwise or when a pass cannot be planned.
int32_t ForwardTopRows(const Plan &plan, const PlanGeometry &g, const void *input, void *output,
                       int64_t rows);

}  // namespace fennel::corr

// The forward transform of a real volume straight to its full spectrum,
// taken apart by pages and by pairs of rows on two threads, where that is
// faster than the engine's 3D transform followed by the expansion.
#pragma once

#include <cstdint>

#include "dft/plan.h"
#include "frame/types.h"

namespace fennel::md {

// The transform of the P x R x C reals at `input` (row-major, the pages
// slowest; `rowMajor` says whether the plan's input layout is that) into
// the full P x R x C spectrum at `output`.  *done is false, with
// STATUS_OK, when the volume is not worth taking apart (or the engine
// cannot): the caller then runs the plan and expands.  The sub-plans and
// blocks stay attached to the plan's descriptor.
template <class R>
int32_t ForwardFull(Plan plan, bool rowMajor, const R *input, typename Traits<R>::Complex *output,
                    const int32_t (&L)[3], bool *done);

}  // namespace fennel::md

// The sizes of the multi-dimensional families' arrays: the input's sizes
// read and checked, the output sized within the size guard.
#pragma once

#include <cstdint>

#include "fennel_dsp.h"
#include "frame/host_array.h"

namespace fennel {

// The sizes of an array, each at least 1 (STATUS_EMPTY_ARRAY otherwise).
template <class T, int Rank>
int32_t ReadSizes(const HostArray<T, Rank> &in, int32_t (&n)[Rank]) {
    for (int a = 0; a < Rank; ++a)
        if ((n[a] = in.size(a)) <= 0) return STATUS_EMPTY_ARRAY;
    return STATUS_OK;
}

// Sizes the output of a multi-dimensional routine to dims, refusing sizes
// beyond the size guard as a failed resize.
template <class T, int Rank>
int32_t SizeOutput(HostArray<T, Rank> &out, const int32_t (&dims)[Rank],
                   int32_t typeCode = Traits<T>::kTypeCode) {
    if (!PassesSizeGuard(dims)) return STATUS_OUT_OF_MEMORY;
    return out.Resize(dims, typeCode);
}

}  // namespace fennel

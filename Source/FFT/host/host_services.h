// The host's memory services, looked up by name at run time (the library never
// links against a host).
#pragma once

#include <cstddef>
#include <cstdint>

namespace fennel {

// NumericArrayResize(typeCode, numDims, &handle, totalElements): 0 on success.
int32_t HostNumericArrayResize(int32_t typeCode, int32_t numDims, void ***handle,
                               int64_t totalElements) noexcept;
// DSNewPtr(size): a raw block or null.
void *HostNewPtr(size_t size) noexcept;
// DSDisposePtr(pointer).
void HostDisposePtr(void *pointer) noexcept;

// The host module named by the host (null: the default search).
void SetHostModule(void *module) noexcept;
// The host's thread-local slot that names the host module (0xFFFFFFFF: none).
void SetHostTlsIndex(uint32_t index) noexcept;

}  // namespace fennel

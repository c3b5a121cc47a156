// Views over host array handles, the resize rules, and the RAII guards that
// empty outputs and workspaces and release scratch memory on every path.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fennel_dsp.h"
#include "host/host_services.h"
#include "frame/types.h"

namespace fennel {

// Byte offset of the first element: the first multiple of the scalar
// component size after the Rank int32 sizes.
template <class T, int Rank>
constexpr size_t DataOffset() {
    constexpr size_t component = sizeof(typename Traits<T>::Real);
    return (4 * Rank + component - 1) / component * component;
}

// Bits needed for x - 1 (0 for x <= 1): the size guard of 2D/3D arrays.
inline int BitLength(int32_t x) {
    int bits = 0;
    for (uint32_t v = x > 1 ? static_cast<uint32_t>(x - 1) : 0u; v != 0; v >>= 1) ++bits;
    return bits;
}

// True when the product of the sizes fits the 32-bit arithmetic of the host
// sizes (the sum of the bit lengths is below 31).
template <int Rank>
bool PassesSizeGuard(const int32_t (&dims)[Rank]) {
    int bits = 0;
    for (int i = 0; i < Rank; ++i) bits += BitLength(dims[i]);
    return bits < 31;
}

// Resizes the array of a handle to 0 elements (result ignored) and stores 0
// in each of its `rank` sizes.
inline void EmptyArray(FDArrayHandle handle, int32_t typeCode, int rank) {
    if (handle == nullptr) return;
    HostNumericArrayResize(typeCode, rank, &handle, 0);
    if (*handle == nullptr) return;
    auto *header = static_cast<int32_t *>(*handle);
    for (int i = 0; i < rank; ++i) header[i] = 0;
}

template <class T, int Rank>
class HostArray {
   public:
    explicit HostArray(FDArrayHandle handle) : handle_(handle) {}

    bool is_null() const { return handle_ == nullptr; }
    FDArrayHandle handle() const { return handle_; }

    // Size of dimension i; 0 when there is no block.
    int32_t size(int i = 0) const {
        if (handle_ == nullptr || *handle_ == nullptr) return 0;
        return static_cast<const int32_t *>(*handle_)[i];
    }
    // True when any dimension is not positive.
    bool empty() const {
        for (int i = 0; i < Rank; ++i)
            if (size(i) <= 0) return true;
        return false;
    }
    T *data() const {
        if (handle_ == nullptr || *handle_ == nullptr) return nullptr;
        return reinterpret_cast<T *>(static_cast<char *>(*handle_) + DataOffset<T, Rank>());
    }

    // Resizes to dims, with no host call when the sizes already match.
    int32_t Resize(const int32_t (&dims)[Rank], int32_t typeCode = Traits<T>::kTypeCode) {
        if (handle_ == nullptr) return STATUS_OUT_OF_MEMORY;
        bool same = *handle_ != nullptr;
        for (int i = 0; same && i < Rank; ++i) same = size(i) == dims[i];
        if (same) return STATUS_OK;
        int32_t total = 1;
        for (int i = 0; i < Rank; ++i) total *= dims[i];
        if (HostNumericArrayResize(typeCode, Rank, &handle_, static_cast<int64_t>(total)) != 0)
            return STATUS_OUT_OF_MEMORY;
        auto *header = static_cast<int32_t *>(*handle_);
        for (int i = 0; i < Rank; ++i) header[i] = dims[i];
        return STATUS_OK;
    }
    int32_t Resize(int32_t length, int32_t typeCode = Traits<T>::kTypeCode)
        requires(Rank == 1)
    {
        const int32_t dims[1] = {length};
        return Resize(dims, typeCode);
    }

    // Resizes to 0 elements (result ignored) and stores 0 in every size.
    void Empty(int32_t typeCode = Traits<T>::kTypeCode) { EmptyArray(handle_, typeCode, Rank); }

   private:
    FDArrayHandle handle_;
};

// Empties an array at scope exit once armed (workspace arrays: emptied on
// success and failure alike).
template <class T, int Rank>
class EmptyAtExit {
   public:
    explicit EmptyAtExit(HostArray<T, Rank> &array, bool armed = false)
        : array_(array), armed_(armed) {}
    ~EmptyAtExit() {
        if (armed_) array_.Empty();
    }
    void Arm() { armed_ = true; }
    EmptyAtExit(const EmptyAtExit &) = delete;
    EmptyAtExit &operator=(const EmptyAtExit &) = delete;

   private:
    HostArray<T, Rank> &array_;
    bool armed_;
};

// Empties an output at scope exit when the watched status is negative.
template <class T, int Rank>
class EmptyOnFailure {
   public:
    EmptyOnFailure(HostArray<T, Rank> &array, const int32_t &status, int32_t typeCode)
        : array_(array), status_(status), type_code_(typeCode) {}
    ~EmptyOnFailure() {
        if (status_ < 0) array_.Empty(type_code_);
    }
    EmptyOnFailure(const EmptyOnFailure &) = delete;
    EmptyOnFailure &operator=(const EmptyOnFailure &) = delete;

   private:
    HostArray<T, Rank> &array_;
    const int32_t &status_;
    int32_t type_code_;
};

// A scratch buffer of count elements from DSNewPtr, released with
// DSDisposePtr at scope exit.  Its content is never assumed cleared.
template <class T>
class Scratch {
   public:
    explicit Scratch(size_t count)
        : data_(count == 0 ? nullptr : static_cast<T *>(HostNewPtr(count * sizeof(T)))) {}
    ~Scratch() {
        if (data_ != nullptr) HostDisposePtr(data_);
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    T *get() const { return data_; }
    bool ok() const { return data_ != nullptr; }

   private:
    T *data_;
};

}  // namespace fennel

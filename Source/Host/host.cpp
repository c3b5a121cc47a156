// The stand-alone host: memory services over the C heap, array helpers and
// test controls.
#include "fennel_host.h"

#include <cstdlib>
#if defined(_WIN32)
#include <malloc.h>
#endif
#include <cstring>
#include <mutex>
#include <unordered_map>

namespace {

struct Block {
    void *base;       // what aligned_alloc returned
    size_t size;      // usable bytes from the placed start
    size_t capacity;  // bytes allocated at base
};

// Large blocks that were released, kept for reuse: a host that hands the
// same large block back and forth (a workspace resized up and down on every
// call) would otherwise pay fresh pages each time.  Sanitizer builds keep
// nothing, so that a use after release is still caught.
#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kCacheBlocks = 0;
#else
constexpr size_t kCacheBlocks = 4;
#endif
constexpr size_t kCacheFrom = size_t{1} << 16;  // bytes
struct CachedBlock {
    void *base;
    size_t capacity;
};
CachedBlock g_cache[kCacheBlocks > 0 ? kCacheBlocks : 1];
size_t g_cached = 0;

std::mutex g_mutex;
std::unordered_map<void *, Block> g_blocks;  // placed start -> block
int64_t g_live_arrays = 0;
int64_t g_live_ptrs = 0;
int64_t g_resize_calls = 0;
int64_t g_fail_resize = 0;   // countdown; the call that takes it to 0 fails
int64_t g_fail_new_ptr = 0;
int32_t g_placement = -1;  // negative: first element on a 64-byte boundary
int g_fill = -1;           // negative: fresh memory is left as allocated

// Element size and scalar component size of a type code; 0 when unknown.
size_t ElementSize(int32_t code, size_t *component) {
    size_t e = 0, c = 0;
    switch (code) {
        case 1: case 5: e = c = 1; break;
        case 2: case 6: e = c = 2; break;
        case 3: case 7: case 9: e = c = 4; break;
        case 4: case 8: case 10: e = c = 8; break;
        case 12: e = 8; c = 4; break;
        case 13: e = 16; c = 8; break;
        default: break;
    }
    if (component != nullptr) *component = c;
    return e;
}

size_t Offset(int32_t code, int32_t dims) {
    size_t c = 0;
    ElementSize(code, &c);
    if (c == 0) return 0;
    return (4 * static_cast<size_t>(dims) + c - 1) / c * c;
}

bool Countdown(int64_t &counter) {
    if (counter <= 0) return false;
    return --counter == 0;
}

#if defined(_WIN32)
void *AlignedAlloc(size_t alignment, size_t size) { return _aligned_malloc(size, alignment); }
void AlignedFree(void *p) { _aligned_free(p); }
#else
void *AlignedAlloc(size_t alignment, size_t size) { return std::aligned_alloc(alignment, size); }
void AlignedFree(void *p) { std::free(p); }
#endif

// A block of size bytes starting at g_placement modulo 64, or placed so that
// the byte at data_offset is 64-byte aligned; mutex held.  Raw blocks keep
// the 16-byte alignment that a C allocator guarantees.
void *Allocate(size_t size, size_t data_offset = 0, bool raw = false) {
    size_t total = (size + 64 + 63) / 64 * 64;
    void *base = nullptr;
    for (size_t i = 0; i < g_cached; ++i) {
        // Reuse a kept block that fits without wasting more than half of it.
        if (g_cache[i].capacity >= total && g_cache[i].capacity / 2 <= total) {
            base = g_cache[i].base;
            total = g_cache[i].capacity;
            g_cache[i] = g_cache[--g_cached];
            break;
        }
    }
    if (base == nullptr) base = AlignedAlloc(64, total);
    if (base == nullptr) return nullptr;
    size_t placement = g_placement >= 0 ? static_cast<size_t>(g_placement) : (64 - data_offset % 64) % 64;
    if (raw) placement &= ~size_t{15};
    char *start = static_cast<char *>(base) + placement;
    g_blocks[start] = Block{base, size, total};
    return start;
}

void Release(void *start) {
    auto it = g_blocks.find(start);
    if (it == g_blocks.end()) return;
    const Block b = it->second;
    g_blocks.erase(it);
    if (b.capacity < kCacheFrom || kCacheBlocks == 0) {
        AlignedFree(b.base);
        return;
    }
    if (g_cached == kCacheBlocks) {  // drop the oldest kept block
        AlignedFree(g_cache[0].base);
        for (size_t i = 1; i < g_cached; ++i) g_cache[i - 1] = g_cache[i];
        --g_cached;
    }
    g_cache[g_cached++] = CachedBlock{b.base, b.capacity};
}

}  // namespace

extern "C" {

// Marks this process as a host: the library takes the main executable (here,
// the global symbol scope) as the host module when it exports this name.
FENNEL_HOST_API extern const uint32_t gFNRTVersion;
const uint32_t gFNRTVersion = 0x0D000000;

int32_t NumericArrayResize(int32_t typeCode, int32_t numDims, void ***handle,
                           int64_t totalElements) {
    std::lock_guard<std::mutex> lock(g_mutex);
    ++g_resize_calls;
    if (Countdown(g_fail_resize)) return 2;
    const size_t element = ElementSize(typeCode, nullptr);
    if (handle == nullptr || element == 0 || numDims < 1 || numDims > 8 || totalElements < 0)
        return 1;
    const size_t offset = Offset(typeCode, numDims);
    const size_t bytes = offset + element * static_cast<size_t>(totalElements);
    void *block = Allocate(bytes, offset);
    if (block == nullptr) return 2;
    if (*handle == nullptr) {
        void **h = static_cast<void **>(std::malloc(sizeof(void *)));
        if (h == nullptr) {
            Release(block);
            return 2;
        }
        if (g_fill >= 0) std::memset(block, g_fill, bytes);
        std::memset(block, 0, 4 * static_cast<size_t>(numDims));
        *h = block;
        *handle = h;
        ++g_live_arrays;
        return 0;
    }
    void *old = **handle;
    size_t keep = 0;
    if (old != nullptr) {
        auto it = g_blocks.find(old);
        keep = it != g_blocks.end() ? it->second.size : 0;
    }
    if (keep > bytes) keep = bytes;
    if (keep > 0) std::memcpy(block, old, keep);
    if (g_fill >= 0) std::memset(static_cast<char *>(block) + keep, g_fill, bytes - keep);
    if (old != nullptr) Release(old);
    **handle = block;
    return 0;
}

void *DSNewPtr(size_t size) {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (Countdown(g_fail_new_ptr)) return nullptr;
    void *p = Allocate(size, 0, true);
    if (p == nullptr) return nullptr;
    if (g_fill >= 0) std::memset(p, g_fill, size);
    ++g_live_ptrs;
    return p;
}

void DSDisposePtr(void *pointer) {
    if (pointer == nullptr) return;
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_blocks.count(pointer) == 0) return;
    Release(pointer);
    --g_live_ptrs;
}

void **FennelHostNewArrayFrom(int32_t typeCode, int32_t numDims, const int32_t *dims,
                              const void *elements) {
    const size_t element = ElementSize(typeCode, nullptr);
    if (element == 0 || numDims < 1 || numDims > 8) return nullptr;
    int64_t total = 1;
    for (int32_t i = 0; i < numDims; ++i) total *= dims[i] > 0 ? dims[i] : 0;
    const size_t offset = Offset(typeCode, numDims);
    const size_t data_bytes = element * static_cast<size_t>(total);
    std::lock_guard<std::mutex> lock(g_mutex);
    void **h = static_cast<void **>(std::malloc(sizeof(void *)));
    if (h == nullptr) return nullptr;
    void *block = Allocate(offset + data_bytes, offset);
    if (block == nullptr) {
        std::free(h);
        return nullptr;
    }
    std::memset(block, 0, offset);
    for (int32_t i = 0; i < numDims; ++i) static_cast<int32_t *>(block)[i] = dims[i];
    char *data = static_cast<char *>(block) + offset;
    if (elements != nullptr) {
        if (data_bytes > 0) std::memcpy(data, elements, data_bytes);
    } else {
        std::memset(data, 0, data_bytes);
    }
    *h = block;
    ++g_live_arrays;
    return h;
}

void **FennelHostNewArray(int32_t typeCode, int32_t numDims, const int32_t *dims) {
    return FennelHostNewArrayFrom(typeCode, numDims, dims, nullptr);
}

void FennelHostArrayDims(void **handle, int32_t numDims, int32_t *dims) {
    for (int32_t i = 0; i < numDims; ++i)
        dims[i] = (handle != nullptr && *handle != nullptr) ? static_cast<int32_t *>(*handle)[i] : 0;
}

void *FennelHostArrayData(void **handle, int32_t typeCode, int32_t numDims) {
    if (handle == nullptr || *handle == nullptr) return nullptr;
    return static_cast<char *>(*handle) + Offset(typeCode, numDims);
}

int32_t FennelHostDataOffset(int32_t typeCode, int32_t numDims) {
    return static_cast<int32_t>(Offset(typeCode, numDims));
}

void FennelHostFreeArray(void **handle) {
    if (handle == nullptr) return;
    std::lock_guard<std::mutex> lock(g_mutex);
    if (*handle != nullptr) Release(*handle);
    std::free(handle);
    --g_live_arrays;
}

void FennelHostFailResize(int64_t nth) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_fail_resize = nth;
}

void FennelHostFailNewPtr(int64_t nth) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_fail_new_ptr = nth;
}

int64_t FennelHostResizeCalls(void) {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_resize_calls;
}

int64_t FennelHostLiveArrays(void) {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_live_arrays;
}

int64_t FennelHostLivePtrs(void) {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_live_ptrs;
}

void FennelHostSetPlacement(int32_t offsetModulo64) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_placement = offsetModulo64 < 0 ? -1 : (offsetModulo64 & 63) & ~3;
}

void FennelHostSetFillByte(int32_t value) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_fill = value < 0 ? -1 : value & 0xFF;
}

void FennelHostReset(void) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_fail_resize = g_fail_new_ptr = 0;
    g_resize_calls = 0;
    g_placement = -1;
    g_fill = -1;
}

}  // extern "C"

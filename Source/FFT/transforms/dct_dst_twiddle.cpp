// The twiddle loops of a single line, over a kept twiddle table: one product
// pair per bin, vectorised (each lane does the same double operations as the
// scalar code, so every width gives the same values).
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "numerics/vectorize.h"
#include "transforms/dct_dst_kernels.h"

namespace fennel::trig {

namespace {

std::atomic<bool> g_keep_tables{true};

// A table kept with a descriptor: what it was filled for, then the table.
struct KeptTable {
    uint64_t key;
    size_t bytes;
    double *table() { return reinterpret_cast<double *>(this + 1); }
};
static_assert(sizeof(KeptTable) % 16 == 0);
constexpr uint32_t kTableKey = 0x54574944;  // "TWID"

void ReleaseTable(void *table) { FreeAligned(table); }

}  // namespace

const double *KeptTwiddles(Plan plan, Kind kind, ptrdiff_t bins, double amplitude, double theta) {
    const uint64_t key = (static_cast<uint64_t>(kind) << 56) | static_cast<uint64_t>(bins);
    const size_t bytes = 2 * static_cast<size_t>(bins) * sizeof(double);
    if (bytes == 0 || !g_keep_tables.load(std::memory_order_relaxed)) return nullptr;
    auto *kept = static_cast<KeptTable *>(plan.Attachment(kTableKey));
    if (kept != nullptr && kept->key == key && kept->bytes == bytes) return kept->table();
    kept = static_cast<KeptTable *>(AllocateAligned(sizeof(KeptTable) + bytes));
    if (kept == nullptr) return nullptr;
    kept->key = key;
    kept->bytes = bytes;
    if (!plan.Attach(kTableKey, kept, &ReleaseTable)) return nullptr;
    FillTwiddles(bins, amplitude, theta, kept->table());
    return kept->table();
}

void KeepTwiddleTables(bool keep) { g_keep_tables.store(keep, std::memory_order_relaxed); }

// The family calls the clones through plain wrappers below.
namespace {

template <class T>
FENNEL_VECTORIZED void TwiddleLowLanes(const T *__restrict y, const double *__restrict c,
                                           const double *__restrict s, T *__restrict out,
                                           ptrdiff_t count) {
    for (ptrdiff_t k = 0; k < count; ++k)
        out[k] = static_cast<T>(static_cast<double>(y[2 * k]) * c[k] -
                                static_cast<double>(y[2 * k + 1]) * s[k]);
}

// Walks the bins upwards in memory (the outputs downwards), which
// vectorises where a downward walk over pairs does not.
template <class T>
FENNEL_VECTORIZED void TwiddleHighLanes(const T *__restrict y, const double *__restrict c,
                                            const double *__restrict s, T *__restrict out,
                                            ptrdiff_t count) {
    const T *low = y - 2 * (count - 1);
    for (ptrdiff_t i = 0; i < count; ++i) {
        const ptrdiff_t k = count - 1 - i;
        out[k] = static_cast<T>(static_cast<double>(low[2 * i]) * c[k] +
                                static_cast<double>(low[2 * i + 1]) * s[k]);
    }
}

template <class T>
FENNEL_VECTORIZED void TwiddleScaleLanes(const T *__restrict x, const double *__restrict c,
                                             const double *__restrict s, T *__restrict z,
                                             ptrdiff_t count) {
    for (ptrdiff_t k = 0; k < count; ++k) {
        const double v = static_cast<double>(x[k]);
        z[2 * k] = static_cast<T>(v * c[k]);
        z[2 * k + 1] = static_cast<T>(v * s[k]);
    }
}

// The backward halves are written downwards while the samples are read
// upwards, the order that vectorises.
template <class T>
FENNEL_VECTORIZED void PackEvenOddLanes(const T *__restrict x, ptrdiff_t half,
                                            T *__restrict w, ptrdiff_t N) {
    for (ptrdiff_t i = 0; i < half; ++i) w[i] = x[2 * i];
    T *top = w + N - 1;
    for (ptrdiff_t i = 0; i < half; ++i) top[-i] = x[2 * i + 1];
}

template <class T>
FENNEL_VECTORIZED void PackMirrorLanes(const T *__restrict x, ptrdiff_t m, T *__restrict w,
                                           ptrdiff_t L) {
    for (ptrdiff_t i = 0; i < m; ++i) w[i] = x[i];
    T *top = w + L - 1;
    for (ptrdiff_t i = 0; i < m; ++i) top[-i] = x[i];
}

}  // namespace

template <class T>
void TwiddleLow(const T *y, const double *c, const double *s, T *out, ptrdiff_t count) {
    TwiddleLowLanes(y, c, s, out, count);
}
template <class T>
void TwiddleHigh(const T *y, const double *c, const double *s, T *out, ptrdiff_t count) {
    TwiddleHighLanes(y, c, s, out, count);
}
template <class T>
void TwiddleScale(const T *x, const double *c, const double *s, T *z, ptrdiff_t count) {
    TwiddleScaleLanes(x, c, s, z, count);
}
template <class T>
void PackEvenOdd(const T *x, ptrdiff_t half, T *w, ptrdiff_t N) {
    PackEvenOddLanes(x, half, w, N);
}
template <class T>
void PackMirror(const T *x, ptrdiff_t m, T *w, ptrdiff_t L) {
    PackMirrorLanes(x, m, w, L);
}

#define FENNEL_TWIDDLE_INSTANCES(T)                                                              \
    template void TwiddleLow<T>(const T *, const double *, const double *, T *, ptrdiff_t);     \
    template void TwiddleHigh<T>(const T *, const double *, const double *, T *, ptrdiff_t);    \
    template void TwiddleScale<T>(const T *, const double *, const double *, T *, ptrdiff_t);   \
    template void PackEvenOdd<T>(const T *, ptrdiff_t, T *, ptrdiff_t);                          \
    template void PackMirror<T>(const T *, ptrdiff_t, T *, ptrdiff_t);
FENNEL_TWIDDLE_INSTANCES(float)
FENNEL_TWIDDLE_INSTANCES(double)
#undef FENNEL_TWIDDLE_INSTANCES

}  // namespace fennel::trig

// Windows: the DFTI and CBLAS functions the library calls are bound by name
// from the engine's core module, which the library loaded from the toolkit's
// directory at attach.  Each entry resolves its function on first use.
#if defined(_WIN32)

#include <windows.h>

#include <cstdint>

#include "dft/engine/dfti.h"
#include "host/library_load.h"

namespace {

void *CoreFunction(const char *name) {
    HMODULE core = GetModuleHandleW(fennel::kCoreModule);
    return core != nullptr ? reinterpret_cast<void *>(GetProcAddress(core, name)) : nullptr;
}

template <class F>
F Bound(F &slot, const char *name) {
    if (slot == nullptr) slot = reinterpret_cast<F>(CoreFunction(name));
    return slot;
}

constexpr MKL_LONG kMissing = DFTI_UNIMPLEMENTED;

// The interface's configuration parameters and values the library sets.
enum DFTI_CONFIG_PARAM {
    DFTI_FORWARD_DOMAIN = 0, DFTI_DIMENSION = 1, DFTI_LENGTHS = 2, DFTI_PRECISION = 3,
    DFTI_BACKWARD_SCALE = 5, DFTI_NUMBER_OF_TRANSFORMS = 7, DFTI_CONJUGATE_EVEN_STORAGE = 10,
    DFTI_PLACEMENT = 11, DFTI_INPUT_STRIDES = 12, DFTI_OUTPUT_STRIDES = 13, DFTI_INPUT_DISTANCE = 14,
    DFTI_OUTPUT_DISTANCE = 15,
};
constexpr MKL_LONG DFTI_COMPLEX_COMPLEX = 39, DFTI_NOT_INPLACE = 44;

using CreateFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE *, DFTI_CONFIG_VALUE, ...);
using CreateMdFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE *, DFTI_CONFIG_VALUE, MKL_LONG, ...);
using ValueFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE, DFTI_CONFIG_PARAM, ...);
using CommitFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE);
using ComputeFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE, void *, ...);
using FreeFn = MKL_LONG (*)(DFTI_DESCRIPTOR_HANDLE *);

CreateFn g_create_s_1d, g_create_d_1d;
CreateMdFn g_create_s_md, g_create_d_md;
ValueFn g_set, g_get;
CommitFn g_commit;
ComputeFn g_forward, g_backward;
FreeFn g_free;

// The interface's creation functions: 1D takes the length, md the dimension
// and a pointer to the lengths.
MKL_LONG CreateDescriptor(DFTI_DESCRIPTOR_HANDLE *h, DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain,
                          MKL_LONG dimension, const MKL_LONG *lengths) {
    const bool single = precision == DFTI_SINGLE;
    if (dimension == 1) {
        CreateFn f = single ? Bound(g_create_s_1d, "DftiCreateDescriptor_s_1d")
                            : Bound(g_create_d_1d, "DftiCreateDescriptor_d_1d");
        return f ? f(h, domain, lengths[0]) : kMissing;
    }
    CreateMdFn f = single ? Bound(g_create_s_md, "DftiCreateDescriptor_s_md")
                          : Bound(g_create_d_md, "DftiCreateDescriptor_d_md");
    return f ? f(h, domain, dimension, lengths) : kMissing;
}

// One value follows the parameter, in one 64-bit slot: the scale as a
// double, anything else as an integer or pointer.
MKL_LONG Set(DFTI_DESCRIPTOR_HANDLE h, DFTI_CONFIG_PARAM p, MKL_LONG v) {
    ValueFn f = Bound(g_set, "DftiSetValue");
    return f ? f(h, p, static_cast<intptr_t>(v)) : kMissing;
}
MKL_LONG Set(DFTI_DESCRIPTOR_HANDLE h, DFTI_CONFIG_PARAM p, const MKL_LONG *v) {
    ValueFn f = Bound(g_set, "DftiSetValue");
    return f ? f(h, p, v) : kMissing;
}
MKL_LONG Get(DFTI_DESCRIPTOR_HANDLE h, DFTI_CONFIG_PARAM p, void *out) {
    ValueFn f = Bound(g_get, "DftiGetValue");
    return f ? f(h, p, out) : kMissing;
}

MKL_LONG Configure(DFTI_DESCRIPTOR_HANDLE h, const fennel::engine::Geometry &g) {
    // The foreign engine keeps no backward layouts.
    if (g.backward_layout) return kMissing;
    ValueFn set = Bound(g_set, "DftiSetValue");
    CommitFn commit = Bound(g_commit, "DftiCommitDescriptor");
    if (set == nullptr || commit == nullptr) return kMissing;
    MKL_LONG r = Set(h, DFTI_PLACEMENT, DFTI_NOT_INPLACE);
    if (r == 0 && g.complex_complex) r = Set(h, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX);
    if (r == 0 && g.strides) {
        r = Set(h, DFTI_INPUT_STRIDES, g.input_strides);
        if (r == 0) r = Set(h, DFTI_OUTPUT_STRIDES, g.output_strides);
    }
    if (r == 0 && g.transforms > 1) {
        r = Set(h, DFTI_NUMBER_OF_TRANSFORMS, g.transforms);
        if (r == 0) r = Set(h, DFTI_INPUT_DISTANCE, g.input_distance);
        if (r == 0) r = Set(h, DFTI_OUTPUT_DISTANCE, g.output_distance);
    }
    if (r == 0 && g.backward_scale != 1.0) r = set(h, DFTI_BACKWARD_SCALE, g.backward_scale);
    return r == 0 ? commit(h) : r;
}

}  // namespace

MKL_LONG DftiComputeForward(DFTI_DESCRIPTOR_HANDLE h, void *in, void *out) {
    ComputeFn f = Bound(g_forward, "DftiComputeForward");
    return f ? f(h, in, out) : kMissing;
}

MKL_LONG DftiComputeBackward(DFTI_DESCRIPTOR_HANDLE h, void *in, void *out) {
    ComputeFn f = Bound(g_backward, "DftiComputeBackward");
    return f ? f(h, in, out) : kMissing;
}

MKL_LONG DftiFreeDescriptor(DFTI_DESCRIPTOR_HANDLE *h) {
    FreeFn f = Bound(g_free, "DftiFreeDescriptor");
    return f ? f(h) : kMissing;
}

extern "C" {

// CBLAS level 1 and dlapy2 from the same module.
#define FENNEL_BIND_VOID(name, params, args)          \
    void name params {                                \
        static void(*f) params = nullptr;             \
        if (Bound(f, #name) != nullptr) f args;       \
    }
#define FENNEL_BIND_VALUE(type, name, params, args)   \
    type name params {                                \
        static type(*f) params = nullptr;             \
        return Bound(f, #name) != nullptr ? f args : type(0); \
    }

FENNEL_BIND_VOID(cblas_sscal, (int n, float a, float *x, int incx), (n, a, x, incx))
FENNEL_BIND_VOID(cblas_dscal, (int n, double a, double *x, int incx), (n, a, x, incx))
FENNEL_BIND_VOID(cblas_csscal, (int n, float a, void *x, int incx), (n, a, x, incx))
FENNEL_BIND_VOID(cblas_zdscal, (int n, double a, void *x, int incx), (n, a, x, incx))
FENNEL_BIND_VOID(cblas_saxpy, (int n, float a, const float *x, int incx, float *y, int incy),
                 (n, a, x, incx, y, incy))
FENNEL_BIND_VOID(cblas_daxpy, (int n, double a, const double *x, int incx, double *y, int incy),
                 (n, a, x, incx, y, incy))
FENNEL_BIND_VOID(cblas_caxpy, (int n, const void *a, const void *x, int incx, void *y, int incy),
                 (n, a, x, incx, y, incy))
FENNEL_BIND_VOID(cblas_zaxpy, (int n, const void *a, const void *x, int incx, void *y, int incy),
                 (n, a, x, incx, y, incy))
FENNEL_BIND_VALUE(float, cblas_sdot, (int n, const float *x, int incx, const float *y, int incy),
                  (n, x, incx, y, incy))
FENNEL_BIND_VALUE(double, cblas_ddot, (int n, const double *x, int incx, const double *y, int incy),
                  (n, x, incx, y, incy))

// The library spells LAPACK's routine with the trailing underscore of the
// Linux libraries; the core module exports it as "dlapy2".
double dlapy2_(const double *x, const double *y) {
    static double (*f)(const double *, const double *) = nullptr;
    return Bound(f, "dlapy2") != nullptr ? f(x, y) : 0.0;
}

}  // extern "C"

// The foreign engine offers none of the FFTW engine's extensions: the
// families take their portable path.
namespace fennel::engine {
bool HasExtensions() { return false; }
bool IsDescriptor(const void *) { return false; }
void *Attachment(DFTI_DESCRIPTOR_HANDLE, uint32_t) { return nullptr; }
bool Attach(DFTI_DESCRIPTOR_HANDLE, uint32_t, void *object, void (*release)(void *), RawPlan **, int) {
    release(object);
    return false;
}
RawPlan *MakeRawPlan(const RawSpec &) { return nullptr; }
void ExecuteRawPlan(const RawPlan *, void *, void *) {}
void FreeRawPlan(RawPlan *) {}
void RefreshPlans(DFTI_DESCRIPTOR_HANDLE) {}
void *AllocateAligned(size_t) { return nullptr; }
void FreeAligned(void *) {}
int AlignmentClass(DFTI_CONFIG_VALUE, const void *) { return 0; }
int ThreadsFor(ptrdiff_t) { return 1; }

MKL_LONG Create(DFTI_DESCRIPTOR_HANDLE *h, const Geometry &g) {
    if (h == nullptr) return DFTI_INVALID_CONFIGURATION;
    *h = nullptr;
    MKL_LONG r = CreateDescriptor(h, g.precision, g.domain, g.rank, g.lengths);
    if (r == 0) r = Configure(*h, g);
    if (r != 0 && *h != nullptr) {
        DftiFreeDescriptor(h);
        *h = nullptr;
    }
    return r;
}

// Value by value; the scale in the descriptor's precision.
MKL_LONG GetGeometry(DFTI_DESCRIPTOR_HANDLE h, const Geometry **kept) {
    thread_local Geometry queried;
    Geometry *k = &queried;
    *k = {};
    *kept = k;
    float single_scale = 1.0f;
    bool failed = Get(h, DFTI_DIMENSION, &k->rank) != 0 || Get(h, DFTI_LENGTHS, k->lengths) != 0 ||
                  Get(h, DFTI_PRECISION, &k->precision) != 0 || Get(h, DFTI_FORWARD_DOMAIN, &k->domain) != 0 ||
                  Get(h, DFTI_INPUT_STRIDES, k->input_strides) != 0 ||
                  Get(h, DFTI_OUTPUT_STRIDES, k->output_strides) != 0 ||
                  Get(h, DFTI_NUMBER_OF_TRANSFORMS, &k->transforms) != 0 ||
                  Get(h, DFTI_INPUT_DISTANCE, &k->input_distance) != 0 ||
                  Get(h, DFTI_OUTPUT_DISTANCE, &k->output_distance) != 0;
    if (!failed && k->precision == DFTI_SINGLE) {
        failed = Get(h, DFTI_BACKWARD_SCALE, &single_scale) != 0;
        k->backward_scale = single_scale;
    } else if (!failed) {
        failed = Get(h, DFTI_BACKWARD_SCALE, &k->backward_scale) != 0;
    }
    return failed ? DFTI_INVALID_CONFIGURATION : DFTI_NO_ERROR;
}
MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE, void *, void *) {
    return DFTI_UNIMPLEMENTED;
}
}  // namespace fennel::engine

#endif  // _WIN32

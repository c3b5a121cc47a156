// Windows: the DFTI and CBLAS functions the library calls are bound by name
// from the engine's core module, which the library loaded from the toolkit's
// directory at attach.  Each entry resolves its function on first use.
#if defined(_WIN32)

#include <windows.h>

#include <cstdarg>

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

bool IsScale(DFTI_CONFIG_PARAM p) { return p == DFTI_FORWARD_SCALE || p == DFTI_BACKWARD_SCALE; }

}  // namespace

// The interface's creation functions: 1D takes the length, md the dimension
// and a pointer to the lengths.
MKL_LONG DftiCreateDescriptor(DFTI_DESCRIPTOR_HANDLE *h, DFTI_CONFIG_VALUE precision, DFTI_CONFIG_VALUE domain,
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

// One value follows the parameter: a double for the scales, otherwise an
// integer, enumeration or pointer, each passed in one 64-bit slot.
MKL_LONG DftiSetValue(DFTI_DESCRIPTOR_HANDLE h, DFTI_CONFIG_PARAM p, ...) {
    ValueFn f = Bound(g_set, "DftiSetValue");
    if (f == nullptr) return kMissing;
    va_list ap;
    va_start(ap, p);
    MKL_LONG r;
    if (IsScale(p)) {
        const double v = va_arg(ap, double);
        r = f(h, p, v);
    } else {
        void *v = va_arg(ap, void *);
        r = f(h, p, v);
    }
    va_end(ap);
    return r;
}

MKL_LONG DftiGetValue(DFTI_DESCRIPTOR_HANDLE h, DFTI_CONFIG_PARAM p, ...) {
    ValueFn f = Bound(g_get, "DftiGetValue");
    if (f == nullptr) return kMissing;
    va_list ap;
    va_start(ap, p);
    void *out = va_arg(ap, void *);
    va_end(ap);
    return f(h, p, out);
}

MKL_LONG DftiCommitDescriptor(DFTI_DESCRIPTOR_HANDLE h) {
    CommitFn f = Bound(g_commit, "DftiCommitDescriptor");
    return f ? f(h) : kMissing;
}

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
bool Attach(DFTI_DESCRIPTOR_HANDLE, uint32_t, void *object, void (*release)(void *)) {
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
MKL_LONG SetBackwardLayout(DFTI_DESCRIPTOR_HANDLE, const MKL_LONG *, const MKL_LONG *, bool) {
    return DFTI_UNIMPLEMENTED;
}
MKL_LONG GetGeometry(DFTI_DESCRIPTOR_HANDLE, Geometry *) { return DFTI_UNIMPLEMENTED; }
MKL_LONG ComputeBackwardUnscaled(DFTI_DESCRIPTOR_HANDLE, void *, void *) {
    return DFTI_UNIMPLEMENTED;
}
}  // namespace fennel::engine

#endif  // _WIN32

// A stand-in for the toolkit's core module in the Windows tests: the DFTI
// and CBLAS names the library binds, over a plain O(n^2) DFT in double.
#include <windows.h>

#include <cmath>
#include <complex>
#include <cstdarg>
#include <cstring>
#include <vector>

#define EXPORT extern "C" __declspec(dllexport)

using MKL_LONG = long;
using cd = std::complex<double>;

namespace {

constexpr double kPi = 3.14159265358979323846;

enum { kDimension = 1, kLengths = 2, kBackwardScale = 5, kTransforms = 7, kCeStorage = 10, kPlacement = 11,
       kInStrides = 12, kOutStrides = 13, kInDistance = 14, kOutDistance = 15, kPrecision = 3, kDomain = 0 };
enum { kReal = 33, kSingle = 35, kDouble = 36, kNotInPlace = 44 };

struct Desc {
    int precision, domain, rank;
    long n[3];
    long is[4], os[4];
    bool is_set, os_set;
    double bscale;
    long howmany, idist, odist;
    int placement;
    bool committed;
};

int g_free_buffer_calls = 0;

MKL_LONG Create(Desc **h, int precision, int domain, long rank, const long *n) {
    Desc *d = new Desc{};
    d->precision = precision;
    d->domain = domain;
    d->rank = static_cast<int>(rank);
    for (long i = 0; i < rank; ++i) d->n[i] = n[i];
    d->bscale = 1.0;
    d->howmany = 1;
    d->placement = 43;
    *h = d;
    return 0;
}

struct Side {
    long dims[3];
    long s[4];
    long dist;
};

void RowMajor(int rank, const long *dims, long *s) {
    s[0] = 0;
    long k = 1;
    for (int i = rank; i >= 1; --i) {
        s[i] = k;
        k *= dims[i - 1];
    }
}

void Layout(const Desc *d, bool forward, Side &in, Side &out) {
    long rdims[3], cdims[3], rc = 1, cc = 1;
    for (int i = 0; i < d->rank; ++i) rdims[i] = cdims[i] = d->n[i];
    if (d->domain == kReal) cdims[d->rank - 1] = d->n[d->rank - 1] / 2 + 1;
    for (int i = 0; i < d->rank; ++i) rc *= rdims[i], cc *= cdims[i];
    const long *idims = forward ? rdims : cdims, *odims = forward ? cdims : rdims;
    for (int i = 0; i < d->rank; ++i) in.dims[i] = idims[i], out.dims[i] = odims[i];
    if (d->is_set) std::memcpy(in.s, d->is, sizeof in.s); else RowMajor(d->rank, idims, in.s);
    if (d->os_set) std::memcpy(out.s, d->os, sizeof out.s); else RowMajor(d->rank, odims, out.s);
    in.dist = d->idist ? d->idist : (forward ? rc : cc);
    out.dist = d->odist ? d->odist : (forward ? cc : rc);
}

template <class R>
cd Load(const void *base, long index, bool complex) {
    const R *p = static_cast<const R *>(base);
    return complex ? cd(p[2 * index], p[2 * index + 1]) : cd(p[index], 0.0);
}

template <class R>
void Store(void *base, long index, cd v, bool complex) {
    R *p = static_cast<R *>(base);
    if (complex) {
        p[2 * index] = static_cast<R>(v.real());
        p[2 * index + 1] = static_cast<R>(v.imag());
    } else {
        p[index] = static_cast<R>(v.real());
    }
}

// Naive DFT of a row-major array along every axis.
void Dft(std::vector<cd> &a, const long *n, int rank, int sign) {
    long inner = 1;
    for (int ax = rank - 1; ax >= 0; --ax) {
        const long len = n[ax], outer = static_cast<long>(a.size()) / (len * inner);
        std::vector<cd> line(len), res(len);
        for (long o = 0; o < outer; ++o)
            for (long i = 0; i < inner; ++i) {
                for (long k = 0; k < len; ++k) line[k] = a[(o * len + k) * inner + i];
                for (long k = 0; k < len; ++k) {
                    cd s = 0;
                    for (long j = 0; j < len; ++j) {
                        const double t = sign * 2 * kPi * static_cast<double>((j * k) % len) / len;
                        s += line[j] * cd(std::cos(t), std::sin(t));
                    }
                    res[k] = s;
                }
                for (long k = 0; k < len; ++k) a[(o * len + k) * inner + i] = res[k];
            }
        inner *= len;
    }
}

template <class R>
MKL_LONG Compute(Desc *d, bool forward, const void *in, void *out) {
    if (d == nullptr || !d->committed) return 5;
    Side si, so;
    Layout(d, forward, si, so);
    const int rank = d->rank;
    long total = 1;
    for (int i = 0; i < rank; ++i) total *= d->n[i];
    const bool real = d->domain == kReal;
    const long last = d->n[rank - 1];
    auto index = [&](long idx, long *k) {  // the multi-index of element idx
        for (int ax = rank - 1; ax >= 0; --ax) k[ax] = idx % d->n[ax], idx /= d->n[ax];
    };
    const double scale = forward ? 1.0 : d->bscale;
    for (long h = 0; h < d->howmany; ++h) {
        auto offset = [&](const Side &side, const long *k) {
            long off = side.s[0] + h * side.dist;
            for (int ax = 0; ax < rank; ++ax) off += k[ax] * side.s[ax + 1];
            return off;
        };
        std::vector<cd> a(total);
        for (long idx = 0; idx < total; ++idx) {
            long k[3] = {0, 0, 0};
            index(idx, k);
            // A real inverse reads the half spectrum: Hermitian expansion.
            const bool mirror = real && !forward && k[rank - 1] > last / 2;
            if (mirror)
                for (int ax = 0; ax < rank; ++ax) k[ax] = (d->n[ax] - k[ax]) % d->n[ax];
            const cd v = Load<R>(in, offset(si, k), !real || !forward);
            a[idx] = mirror ? std::conj(v) : v;
        }
        Dft(a, d->n, rank, forward ? -1 : 1);
        for (long idx = 0; idx < total; ++idx) {
            long k[3] = {0, 0, 0};
            index(idx, k);
            if (real && forward && k[rank - 1] > last / 2) continue;
            Store<R>(out, offset(so, k), a[idx] * scale, !real || forward);
        }
    }
    return 0;
}

}  // namespace

// The library calls these, and the two Compute functions, with variadic
// arguments: in the x64 convention integers and pointers arrive where these
// fixed parameters read them.
EXPORT MKL_LONG DftiCreateDescriptor_s_1d(Desc **h, int domain, long n) { return Create(h, kSingle, domain, 1, &n); }
EXPORT MKL_LONG DftiCreateDescriptor_d_1d(Desc **h, int domain, long n) { return Create(h, kDouble, domain, 1, &n); }
EXPORT MKL_LONG DftiCreateDescriptor_s_md(Desc **h, int domain, MKL_LONG rank, const long *n) {
    return Create(h, kSingle, domain, rank, n);
}
EXPORT MKL_LONG DftiCreateDescriptor_d_md(Desc **h, int domain, MKL_LONG rank, const long *n) {
    return Create(h, kDouble, domain, rank, n);
}

EXPORT MKL_LONG DftiSetValue(Desc *d, int param, ...) {
    va_list ap;
    va_start(ap, param);
    MKL_LONG r = 0;
    switch (param) {
        case kBackwardScale: d->bscale = va_arg(ap, double); break;
        case kTransforms: d->howmany = va_arg(ap, long); break;
        case kInDistance: d->idist = va_arg(ap, long); break;
        case kOutDistance: d->odist = va_arg(ap, long); break;
        case kPlacement: d->placement = va_arg(ap, int); break;
        case kCeStorage: break;  // the library asks for the full complex layout only
        case kInStrides: std::memcpy(d->is, va_arg(ap, const long *), sizeof(long) * (d->rank + 1)); d->is_set = true; break;
        case kOutStrides: std::memcpy(d->os, va_arg(ap, const long *), sizeof(long) * (d->rank + 1)); d->os_set = true; break;
        default: r = 2;
    }
    va_end(ap);
    d->committed = false;
    return r;
}

EXPORT MKL_LONG DftiGetValue(Desc *d, int param, ...) {
    va_list ap;
    va_start(ap, param);
    void *out = va_arg(ap, void *);
    va_end(ap);
    Side si, so;
    Layout(d, true, si, so);
    switch (param) {
        case kDimension: *static_cast<long *>(out) = d->rank; return 0;
        case kLengths: std::memcpy(out, d->n, sizeof(long) * d->rank); return 0;
        case kInStrides: std::memcpy(out, si.s, sizeof(long) * (d->rank + 1)); return 0;
        case kOutStrides: std::memcpy(out, so.s, sizeof(long) * (d->rank + 1)); return 0;
        case kTransforms: *static_cast<long *>(out) = d->howmany; return 0;
        case kInDistance: *static_cast<long *>(out) = d->idist; return 0;
        case kOutDistance: *static_cast<long *>(out) = d->odist; return 0;
        case kPrecision: *static_cast<int *>(out) = d->precision; return 0;
        case kDomain: *static_cast<int *>(out) = d->domain; return 0;
        default: return 2;
    }
}

EXPORT MKL_LONG DftiCommitDescriptor(Desc *d) {
    if (d->placement != kNotInPlace) return 6;
    d->committed = true;
    return 0;
}

static MKL_LONG ComputeAny(Desc *d, bool forward, void *in, void *out) {
    return d->precision == kSingle ? Compute<float>(d, forward, in, out) : Compute<double>(d, forward, in, out);
}
EXPORT MKL_LONG DftiComputeForward(Desc *d, void *in, void *out) { return ComputeAny(d, true, in, out); }
EXPORT MKL_LONG DftiComputeBackward(Desc *d, void *in, void *out) { return ComputeAny(d, false, in, out); }

EXPORT MKL_LONG DftiFreeDescriptor(Desc **h) {
    if (h == nullptr || *h == nullptr) return 5;
    delete *h;
    *h = nullptr;
    return 0;
}

EXPORT void MKL_Thread_Free_Buffers() { ++g_free_buffer_calls; }
EXPORT int StandInFreeBufferCalls() { return g_free_buffer_calls; }

template <class T> void Scal(int n, T a, T *x, int inc) { for (int i = 0; i < n; ++i) x[i * inc] *= a; }
template <class T> void Axpy(int n, T a, const T *x, int ix, T *y, int iy) {
    for (int i = 0; i < n; ++i) y[i * iy] += a * x[i * ix];
}
template <class T> T Dot(int n, const T *x, int ix, const T *y, int iy) {
    T s = 0;
    for (int i = 0; i < n; ++i) s += x[i * ix] * y[i * iy];
    return s;
}

EXPORT void cblas_sscal(int n, float a, float *x, int inc) { Scal(n, a, x, inc); }
EXPORT void cblas_dscal(int n, double a, double *x, int inc) { Scal(n, a, x, inc); }
EXPORT void cblas_csscal(int n, float a, void *x, int inc) {
    for (int i = 0; i < n; ++i) static_cast<float *>(x)[2 * i * inc] *= a, static_cast<float *>(x)[2 * i * inc + 1] *= a;
}
EXPORT void cblas_zdscal(int n, double a, void *x, int inc) {
    for (int i = 0; i < n; ++i) static_cast<double *>(x)[2 * i * inc] *= a, static_cast<double *>(x)[2 * i * inc + 1] *= a;
}
EXPORT void cblas_saxpy(int n, float a, const float *x, int ix, float *y, int iy) { Axpy(n, a, x, ix, y, iy); }
EXPORT void cblas_daxpy(int n, double a, const double *x, int ix, double *y, int iy) { Axpy(n, a, x, ix, y, iy); }
EXPORT void cblas_caxpy(int n, const void *a, const void *x, int ix, void *y, int iy) {
    using C = std::complex<float>;
    Axpy(n, *static_cast<const C *>(a), static_cast<const C *>(x), ix, static_cast<C *>(y), iy);
}
EXPORT void cblas_zaxpy(int n, const void *a, const void *x, int ix, void *y, int iy) {
    Axpy(n, *static_cast<const cd *>(a), static_cast<const cd *>(x), ix, static_cast<cd *>(y), iy);
}
EXPORT float cblas_sdot(int n, const float *x, int ix, const float *y, int iy) { return Dot(n, x, ix, y, iy); }
EXPORT double dlapy2(const double *x, const double *y) { return std::hypot(*x, *y); }

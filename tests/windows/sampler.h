// A few calls of each family with fixed inputs, printed one value per line as
// "<export> <index> <value>", so that the Linux build and the Windows build
// can be compared.  Exports are looked up through `resolve`.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace sampler {

using Resolve = void *(*)(const char *name);

inline void **Array1D(int32_t code, int32_t n) { return FennelHostNewArray(code, 1, &n); }

inline void **Array2D(int32_t code, int32_t rows, int32_t cols) {
    const int32_t dims[2] = {rows, cols};
    return FennelHostNewArray(code, 2, dims);
}

// Fills an array of any rank with a fixed signal.
inline void Fill(void **h, int32_t code, int32_t rank, double seed) {
    int32_t dims[3] = {0, 0, 0};
    FennelHostArrayDims(h, rank, dims);
    int64_t n = 1;
    for (int i = 0; i < rank; ++i) n *= dims[i];
    const int k = (code == 12 || code == 13) ? 2 : 1;
    for (int64_t i = 0; i < n * k; ++i) {
        const double v = std::sin(seed * (i + 1)) + 0.25 * std::cos(3.0 * seed * i);
        if (code == 9 || code == 12)
            static_cast<float *>(FennelHostArrayData(h, code, rank))[i] = static_cast<float>(v);
        else
            static_cast<double *>(FennelHostArrayData(h, code, rank))[i] = v;
    }
}

inline void Print(FILE *out, const char *name, int32_t status, void **h, int32_t code, int32_t rank) {
    int32_t dims[3] = {0, 0, 0};
    FennelHostArrayDims(h, rank, dims);
    int64_t n = 1;
    for (int i = 0; i < rank; ++i) n *= dims[i];
    const int k = (code == 12 || code == 13) ? 2 : 1;
    std::fprintf(out, "%s status %d\n", name, static_cast<int>(status));
    for (int64_t i = 0; i < n * k; ++i) {
        const double v = (code == 9 || code == 12)
                             ? static_cast<float *>(FennelHostArrayData(h, code, rank))[i]
                             : static_cast<double *>(FennelHostArrayData(h, code, rank))[i];
        std::fprintf(out, "%s %lld %.17g\n", name, static_cast<long long>(i), v);
    }
}

template <class F>
F Get(Resolve resolve, const char *name) {
    return reinterpret_cast<F>(resolve(name));
}

// Runs the samples; returns the number of exports that could not be found.
inline int Run(Resolve resolve, FILE *out) {
    int missing = 0;
    auto need = [&](void *f, const char *name) {
        if (f == nullptr) {
            std::fprintf(out, "%s missing\n", name);
            ++missing;
        }
        return f != nullptr;
    };
    using Fft1 = int32_t (*)(void **, void **, int32_t, int32_t, void **, FDPlanHandle *);
    using Inv1 = int32_t (*)(void **, void **, int32_t, void **, FDPlanHandle *);
    using Free = int32_t (*)(FDPlanHandle *);
    auto free_plan = Get<Free>(resolve, "FreeMKLDftiDescH");
    if (!need(reinterpret_cast<void *>(free_plan), "FreeMKLDftiDescH")) return missing;

    // 1D FFT, forward with padding and shift, and the inverse.
    for (const char *name : {"s1DFFTH", "d1DFFTH", "c1DFFTH", "z1DFFTH"}) {
        auto f = Get<Fft1>(resolve, name);
        if (!need(reinterpret_cast<void *>(f), name)) continue;
        const int32_t code = name[0] == 's' ? 9 : name[0] == 'd' ? 10 : name[0] == 'c' ? 12 : 13;
        const int32_t out_code = (code == 9 || code == 12) ? 12 : 13;
        void **x = Array1D(code, 12), **y = Array1D(out_code, 0), **w = Array1D(code, 0);
        Fill(x, code, 1, 0.37);
        FDPlanHandle plan = nullptr;
        Print(out, name, f(x, y, 15, 1, w, &plan), y, out_code, 1);
        free_plan(&plan);
        FennelHostFreeArray(x);
        FennelHostFreeArray(y);
        FennelHostFreeArray(w);
    }
    for (const char *name : {"s1DInvFFTH", "d1DInvFFTH", "c1DInvFFTH", "z1DInvFFTH"}) {
        auto f = Get<Inv1>(resolve, name);
        if (!need(reinterpret_cast<void *>(f), name)) continue;
        const int32_t out_code = name[0] == 's' ? 9 : name[0] == 'd' ? 10 : name[0] == 'c' ? 12 : 13;
        const int32_t in_code = (out_code == 9 || out_code == 12) ? 12 : 13;
        void **x = Array1D(in_code, 9), **y = Array1D(out_code, 0), **w = Array1D(out_code, 0);
        Fill(x, in_code, 1, 0.21);
        FDPlanHandle plan = nullptr;
        Print(out, name, f(x, y, 1, w, &plan), y, out_code, 1);
        free_plan(&plan);
        FennelHostFreeArray(x);
        FennelHostFreeArray(y);
        FennelHostFreeArray(w);
    }
    return missing;
}

}  // namespace sampler

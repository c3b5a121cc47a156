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
    // One or two exports of every other family, double precision unless
    // noted, on small fixed inputs.
    using Arr = void **;
    auto sample = [&](const char *name, auto call) {
        void *f = resolve(name);
        if (need(f, name)) call(f);
    };
    auto d1 = [](int32_t n, double seed) { Arr a = Array1D(10, n); Fill(a, 10, 1, seed); return a; };
    auto d2 = [](int32_t r, int32_t c, double seed) { Arr a = Array2D(10, r, c); Fill(a, 10, 2, seed); return a; };
    auto done = [](std::initializer_list<Arr> arrays) { for (Arr a : arrays) FennelHostFreeArray(a); };
    auto free_trig = Get<Free>(resolve, "FreeMKLDCTDSTiDescH");

    sample("d2DFFTH", [&](void *f) {
        Arr x = d2(5, 6, 0.3), y = Array2D(13, 0, 0), w = Array2D(10, 0, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d2DFFTH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, int32_t, int32_t, Arr, FDPlanHandle *)>(f)(x, y, 6, 7, 1, w, &p), y, 13, 2);
        free_plan(&p);
        done({x, y, w});
    });
    sample("d2DMultiChFFTH", [&](void *f) {
        Arr x = d2(4, 6, 0.5), y = Array2D(13, 0, 0), w = Array2D(10, 0, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d2DMultiChFFTH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, int32_t, int32_t, Arr, FDPlanHandle *)>(f)(x, y, 0, 1, 1, w, &p), y, 13, 2);
        free_plan(&p);
        done({x, y, w});
    });
    sample("d1DDCTH", [&](void *f) {
        Arr x = d1(11, 0.7), y = Array1D(10, 0), w = Array1D(10, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d1DDCTH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, Arr, FDPlanHandle *)>(f)(x, y, 0, w, &p), y, 10, 1);
        free_plan(&p);
        done({x, y, w});
    });
    sample("d1DDSTH", [&](void *f) {
        Arr x = d1(10, 0.9), y = Array1D(10, 0), w = Array1D(10, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d1DDSTH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, Arr, FDPlanHandle *)>(f)(x, y, 0, w, &p), y, 10, 1);
        free_plan(&p);
        done({x, y, w});
    });
    sample("d2DDCTH", [&](void *f) {
        Arr x = d2(4, 5, 0.4), y = Array2D(10, 0, 0), w = Array2D(10, 0, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d2DDCTH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, int32_t, Arr, FDPlanHandle *)>(f)(x, y, 0, 0, w, &p), y, 10, 2);
        if (free_trig) free_trig(&p);
        done({x, y, w});
    });
    sample("dPowerSpectrumH", [&](void *f) {
        Arr x = d1(13, 0.6), y = Array1D(10, 0), w = Array1D(10, 0);
        FDPlanHandle p = nullptr;
        Print(out, "dPowerSpectrumH", reinterpret_cast<int32_t (*)(Arr, Arr, Arr, FDPlanHandle *)>(f)(x, y, w, &p), y, 10, 1);
        free_plan(&p);
        done({x, y, w});
    });
    sample("dCrossPowerSpectrumH", [&](void *f) {
        Arr x = d1(12, 0.6), y = d1(9, 0.8), m = Array1D(10, 0), ph = Array1D(10, 0), w = Array1D(13, 0);
        FDPlanHandle p = nullptr;
        double df = 0;
        const int32_t st = reinterpret_cast<int32_t (*)(Arr, Arr, double, int32_t, double *, Arr, Arr, Arr, FDPlanHandle *)>(f)(x, y, 0.5, 0, &df, m, ph, w, &p);
        Print(out, "dCrossPowerSpectrumH", st, m, 10, 1);
        Print(out, "dCrossPowerSpectrumH.phase", st, ph, 10, 1);
        free_plan(&p);
        done({x, y, m, ph, w});
    });
    for (int32_t algorithm : {0, 1}) {
        sample("d1DConvolutionH", [&](void *f) {
            Arr x = d1(20, 0.2), y = d1(7, 0.9), o = Array1D(10, 0), s1 = Array1D(10, 0), s2 = Array1D(13, 0);
            FDPlanHandle p = nullptr;
            Print(out, algorithm ? "d1DConvolutionH.fft" : "d1DConvolutionH.direct",
                  reinterpret_cast<int32_t (*)(Arr, Arr, Arr, int32_t, int32_t, int32_t, Arr, Arr, FDPlanHandle *)>(f)(x, y, o, 0, algorithm, 0, s1, s2, &p), o, 10, 1);
            free_plan(&p);
            done({x, y, o, s1, s2});
        });
    }
    sample("d2DConvolutionH", [&](void *f) {
        Arr x = d2(6, 7, 0.2), y = d2(3, 2, 0.9), o = Array2D(10, 0, 0), s1 = Array2D(10, 0, 0), s2 = Array1D(13, 0);
        FDPlanHandle p = nullptr;
        Print(out, "d2DConvolutionH", reinterpret_cast<int32_t (*)(Arr, Arr, Arr, int32_t, int32_t, Arr, Arr, FDPlanHandle *)>(f)(x, y, o, 1, 1, s1, s2, &p), o, 10, 2);
        free_plan(&p);
        done({x, y, o, s1, s2});
    });
    sample("dDecimateH", [&](void *f) {
        Arr x = d1(25, 0.3), y = Array1D(10, 0);
        Print(out, "dDecimateH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, int32_t)>(f)(x, y, 3, 1), y, 10, 1);
        done({x, y});
    });
    sample("dUpsampleH", [&](void *f) {
        Arr x = d1(6, 0.3), y = Array1D(10, 0);
        Print(out, "dUpsampleH", reinterpret_cast<int32_t (*)(Arr, Arr, int32_t, int32_t)>(f)(x, y, 3, 1), y, 10, 1);
        done({x, y});
    });
    sample("dAllCosWinH", [&](void *f) {
        Arr x = d1(16, 0.1), w = Array1D(10, 0);
        Print(out, "dAllCosWinH", reinterpret_cast<int32_t (*)(Arr, int32_t, int32_t, Arr)>(f)(x, 1, 0, w), x, 10, 1);
        done({x, w});
    });
    sample("dKaiserWinH", [&](void *f) {
        Arr x = d1(15, 0.1);
        Print(out, "dKaiserWinH", reinterpret_cast<int32_t (*)(Arr, double)>(f)(x, 4.0), x, 10, 1);
        done({x});
    });
    sample("dFIRWindowedCoefH", [&](void *f) {
        Arr c = Array1D(10, 0), w = Array1D(10, 0);
        Print(out, "dFIRWindowedCoefH", reinterpret_cast<int32_t (*)(Arr, double, double, double, int32_t, int32_t, int32_t, double, int32_t, Arr)>(f)(c, 1000.0, 100.0, 200.0, 21, 2, 1, 0.0, 1, w), c, 10, 1);
        done({c, w});
    });
    sample("ddIIRDirectFilterH", [&](void *f) {
        Arr x = d1(30, 0.4), a = Array1D(10, 3), b = Array1D(10, 3), fs = Array1D(10, 0), rs = Array1D(10, 0),
            t = Array1D(10, 0), aw = Array1D(10, 0), bw = Array1D(10, 0);
        double *av = static_cast<double *>(FennelHostArrayData(a, 10, 1)), *bv = static_cast<double *>(FennelHostArrayData(b, 10, 1));
        av[0] = 1.0, av[1] = -0.5, av[2] = 0.25;
        bv[0] = 0.2, bv[1] = 0.3, bv[2] = 0.1;
        Print(out, "ddIIRDirectFilterH", reinterpret_cast<int32_t (*)(Arr, Arr, Arr, Arr, Arr, int32_t, Arr, Arr, Arr)>(f)(x, a, b, fs, rs, 1, t, aw, bw), x, 10, 1);
        done({x, a, b, fs, rs, t, aw, bw});
    });
    return missing;
}

}  // namespace sampler

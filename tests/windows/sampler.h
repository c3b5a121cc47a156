// A few calls of each family with fixed inputs, printed one value per line as
// "<export> <index> <value>", so that the Linux build and the Windows build
// can be compared.  Exports are looked up through `resolve`.
#pragma once

#include <cmath>
#include <cstdio>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace sampler {

using Resolve = void *(*)(const char *name);
using Arr = void **;
using FreePlan = int32_t (*)(FDPlanHandle *);

// The host arrays and the plan of one sampled call, released at its end.
class Sample {
  public:
    Sample(FILE *out, FreePlan free_plan) : out_(out), free_plan_(free_plan) {}
    ~Sample() {
        if (plan != nullptr && free_plan_ != nullptr) free_plan_(&plan);
        for (const Item &a : arrays_) FennelHostFreeArray(a.h);
    }

    // A new array of the given dimensions; filled with a fixed signal unless
    // seed is 0.
    Arr New(int32_t code, std::vector<int32_t> dims, double seed = 0) {
        Item a{FennelHostNewArray(code, static_cast<int32_t>(dims.size()), dims.data()), code,
               static_cast<int32_t>(dims.size())};
        arrays_.push_back(a);
        const int64_t n = seed != 0 ? Count(a) : 0;
        for (int64_t i = 0; i < n; ++i) {
            const double v = std::sin(seed * (i + 1)) + 0.25 * std::cos(3.0 * seed * i);
            if (Single(a)) static_cast<float *>(Data(a))[i] = static_cast<float>(v);
            else static_cast<double *>(Data(a))[i] = v;
        }
        return a.h;
    }

    void Print(const char *name, int32_t status, Arr h) {
        const Item &a = Find(h);
        std::fprintf(out_, "%s status %d\n", name, static_cast<int>(status));
        for (int64_t i = 0; i < Count(a); ++i) {
            const double v = Single(a) ? static_cast<float *>(Data(a))[i] : static_cast<double *>(Data(a))[i];
            std::fprintf(out_, "%s %lld %.17g\n", name, static_cast<long long>(i), v);
        }
    }

    FDPlanHandle plan = nullptr;

  private:
    struct Item { Arr h; int32_t code, rank; };
    static bool Single(const Item &a) { return a.code == 9 || a.code == 12; }
    static void *Data(const Item &a) { return FennelHostArrayData(a.h, a.code, a.rank); }
    // Real numbers held: elements, twice that for complex types.
    static int64_t Count(const Item &a) {
        int32_t dims[3] = {0, 0, 0};
        FennelHostArrayDims(a.h, a.rank, dims);
        int64_t n = (a.code == 12 || a.code == 13) ? 2 : 1;
        for (int i = 0; i < a.rank; ++i) n *= dims[i];
        return n;
    }
    const Item &Find(Arr h) const {
        for (const Item &a : arrays_)
            if (a.h == h) return a;
        return arrays_.front();
    }

    FILE *out_;
    FreePlan free_plan_;
    std::vector<Item> arrays_;
};

// Calls the resolved export f with the header's signature of `name`.
#define SAMPLER_CALL(name, ...) reinterpret_cast<decltype(&name)>(f)(__VA_ARGS__)

// Runs the samples; returns the number of exports that could not be found.
inline int Run(Resolve resolve, FILE *out) {
    int missing = 0;
    auto free_plan = reinterpret_cast<FreePlan>(resolve("FreeMKLDftiDescH"));
    auto free_trig = reinterpret_cast<FreePlan>(resolve("FreeMKLDCTDSTiDescH"));
    // Calls `call(f, sample)` with the export `name`, or reports it missing.
    auto sample = [&](const char *name, auto call, bool trig = false) {
        void *f = resolve(name);
        if (f == nullptr) {
            std::fprintf(out, "%s missing\n", name);
            ++missing;
            return;
        }
        Sample s(out, trig ? free_trig : free_plan);
        call(f, s);
    };
    if (free_plan == nullptr) {
        std::fprintf(out, "FreeMKLDftiDescH missing\n");
        return 1;
    }

    // 1D FFT of every element type, forward with padding and shift, and the
    // inverse.
    for (int t = 0; t < 4; ++t) {
        const int32_t code = 9 + t + (t >= 2), spectrum = (t % 2) ? 13 : 12;
        char forward[] = "s1DFFTH", inverse[] = "s1DInvFFTH";
        forward[0] = inverse[0] = "sdcz"[t];
        sample(forward, [&](void *f, Sample &s) {
            Arr x = s.New(code, {12}, 0.37), y = s.New(spectrum, {0});
            s.Print(forward, SAMPLER_CALL(s1DFFTH, x, y, 15, 1, s.New(code, {0}), &s.plan), y);
        });
        sample(inverse, [&](void *f, Sample &s) {
            Arr x = s.New(spectrum, {9}, 0.21), y = s.New(code, {0});
            s.Print(inverse, SAMPLER_CALL(s1DInvFFTH, x, y, 1, s.New(code, {0}), &s.plan), y);
        });
    }
    // One or two exports of every other family, double precision, on small
    // fixed inputs.
    sample("d2DFFTH", [&](void *f, Sample &s) {
        Arr y = s.New(13, {0, 0});
        s.Print("d2DFFTH", SAMPLER_CALL(d2DFFTH, s.New(10, {5, 6}, 0.3), y, 6, 7, 1, s.New(10, {0, 0}), &s.plan), y);
    });
    sample("d2DMultiChFFTH", [&](void *f, Sample &s) {
        Arr y = s.New(13, {0, 0});
        s.Print("d2DMultiChFFTH",
                SAMPLER_CALL(d2DMultiChFFTH, s.New(10, {4, 6}, 0.5), y, 0, 1, 1, s.New(10, {0, 0}), &s.plan), y);
    });
    sample("d1DDCTH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0});
        s.Print("d1DDCTH", SAMPLER_CALL(d1DDCTH, s.New(10, {11}, 0.7), y, 0, s.New(10, {0}), &s.plan), y);
    });
    sample("d1DDSTH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0});
        s.Print("d1DDSTH", SAMPLER_CALL(d1DDSTH, s.New(10, {10}, 0.9), y, 0, s.New(10, {0}), &s.plan), y);
    });
    sample("d2DDCTH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0, 0});
        s.Print("d2DDCTH", SAMPLER_CALL(d2DDCTH, s.New(10, {4, 5}, 0.4), y, 0, 0, s.New(10, {0, 0}), &s.plan), y);
    }, true);
    sample("dPowerSpectrumH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0});
        s.Print("dPowerSpectrumH", SAMPLER_CALL(dPowerSpectrumH, s.New(10, {13}, 0.6), y, s.New(10, {0}), &s.plan), y);
    });
    sample("dCrossPowerSpectrumH", [&](void *f, Sample &s) {
        Arr m = s.New(10, {0}), ph = s.New(10, {0});
        double df = 0;
        const int32_t st = SAMPLER_CALL(dCrossPowerSpectrumH, s.New(10, {12}, 0.6), s.New(10, {9}, 0.8), 0.5, 0, &df,
                                        m, ph, s.New(13, {0}), &s.plan);
        s.Print("dCrossPowerSpectrumH", st, m);
        s.Print("dCrossPowerSpectrumH.phase", st, ph);
    });
    for (int32_t algorithm : {0, 1}) {
        sample("d1DConvolutionH", [&](void *f, Sample &s) {
            Arr o = s.New(10, {0});
            s.Print(algorithm ? "d1DConvolutionH.fft" : "d1DConvolutionH.direct",
                    SAMPLER_CALL(d1DConvolutionH, s.New(10, {20}, 0.2), s.New(10, {7}, 0.9), o, 0, algorithm, 0,
                                 s.New(10, {0}), s.New(13, {0}), &s.plan), o);
        });
    }
    sample("d2DConvolutionH", [&](void *f, Sample &s) {
        Arr o = s.New(10, {0, 0});
        s.Print("d2DConvolutionH", SAMPLER_CALL(d2DConvolutionH, s.New(10, {6, 7}, 0.2), s.New(10, {3, 2}, 0.9), o, 1,
                                                1, s.New(10, {0, 0}), s.New(13, {0}), &s.plan), o);
    });
    sample("dDecimateH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0});
        s.Print("dDecimateH", SAMPLER_CALL(dDecimateH, s.New(10, {25}, 0.3), y, 3, 1), y);
    });
    sample("dUpsampleH", [&](void *f, Sample &s) {
        Arr y = s.New(10, {0});
        s.Print("dUpsampleH", SAMPLER_CALL(dUpsampleH, s.New(10, {6}, 0.3), y, 3, 1), y);
    });
    sample("dAllCosWinH", [&](void *f, Sample &s) {
        Arr x = s.New(10, {16}, 0.1);
        s.Print("dAllCosWinH", SAMPLER_CALL(dAllCosWinH, x, 1, 0, s.New(10, {0})), x);
    });
    sample("dKaiserWinH", [&](void *f, Sample &s) {
        Arr x = s.New(10, {15}, 0.1);
        s.Print("dKaiserWinH", SAMPLER_CALL(dKaiserWinH, x, 4.0), x);
    });
    sample("dFIRWindowedCoefH", [&](void *f, Sample &s) {
        Arr c = s.New(10, {0});
        s.Print("dFIRWindowedCoefH",
                SAMPLER_CALL(dFIRWindowedCoefH, c, 1000.0, 100.0, 200.0, 21, 2, 1, 0.0, 1, s.New(10, {0})), c);
    });
    sample("ddIIRDirectFilterH", [&](void *f, Sample &s) {
        Arr x = s.New(10, {30}, 0.4), a = s.New(10, {3}), b = s.New(10, {3});
        const double av[] = {1.0, -0.5, 0.25}, bv[] = {0.2, 0.3, 0.1};
        for (int i = 0; i < 3; ++i) {
            static_cast<double *>(FennelHostArrayData(a, 10, 1))[i] = av[i];
            static_cast<double *>(FennelHostArrayData(b, 10, 1))[i] = bv[i];
        }
        s.Print("ddIIRDirectFilterH", SAMPLER_CALL(ddIIRDirectFilterH, x, a, b, s.New(10, {0}), s.New(10, {0}), 1,
                                                   s.New(10, {0}), s.New(10, {0}), s.New(10, {0})), x);
    });
    return missing;
}

#undef SAMPLER_CALL

}  // namespace sampler

// DCT-II and DST-I with a cached plan beside FFTW's own r2r transforms of the
// same kind and length (REDFT10, RODFT00; FFTW_MEASURE, out of place), and
// the 2D DCT-II beside FFTW's 2D REDFT10.  Run with
// --benchmark_repetitions=3 and compare medians of each pair.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <random>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

template <class T> struct Kind;
template <> struct Kind<float> {
    static constexpr int32_t kCode = TYPE_CODE_FLOAT;
    static constexpr auto dct = s1DDCTH;
    static constexpr auto dst = s1DDSTH;
    static constexpr auto dct2 = s2DDCTH;
};
template <> struct Kind<double> {
    static constexpr int32_t kCode = TYPE_CODE_DOUBLE;
    static constexpr auto dct = d1DDCTH;
    static constexpr auto dst = d1DDSTH;
    static constexpr auto dct2 = d2DDCTH;
};

template <class T>
void Fill(T *p, size_t n) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> u(-1, 1);
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<T>(u(rng));
}

// The library, 1D (dst = false: DCT-II, true: DST-I).
template <class T, bool kDst>
void Fennel1D(benchmark::State &state) {
    const int32_t n = static_cast<int32_t>(state.range(0)), zero = 0;
    void **in = FennelHostNewArray(Kind<T>::kCode, 1, &n);
    void **out = FennelHostNewArray(Kind<T>::kCode, 1, &zero);
    void **ws = FennelHostNewArray(Kind<T>::kCode, 1, &zero);
    Fill(static_cast<T *>(FennelHostArrayData(in, Kind<T>::kCode, 1)), n);
    FDPlanHandle plan = nullptr;
    const auto f = kDst ? Kind<T>::dst : Kind<T>::dct;
    f(in, out, 0, ws, &plan);  // plans outside the timing
    for (auto _ : state) benchmark::DoNotOptimize(f(in, out, 0, ws, &plan));
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    FennelHostFreeArray(ws);
}

template <class T, bool kDst>
void Fftw1D(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const auto kind = kDst ? FFTW_RODFT00 : FFTW_REDFT10;
    if constexpr (std::is_same_v<T, float>) {
        float *in = fftwf_alloc_real(n), *out = fftwf_alloc_real(n);
        fftwf_plan p = fftwf_plan_r2r_1d(n, in, out, kind, FFTW_MEASURE);
        Fill(in, n);
        for (auto _ : state) fftwf_execute(p);
        fftwf_destroy_plan(p);
        fftwf_free(in);
        fftwf_free(out);
    } else {
        double *in = fftw_alloc_real(n), *out = fftw_alloc_real(n);
        fftw_plan p = fftw_plan_r2r_1d(n, in, out, kind, FFTW_MEASURE);
        Fill(in, n);
        for (auto _ : state) fftw_execute(p);
        fftw_destroy_plan(p);
        fftw_free(in);
        fftw_free(out);
    }
}

template <class T>
void Fennel2D(benchmark::State &state) {
    const int32_t dims[2] = {static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(0))};
    const int32_t zero[2] = {0, 0};
    void **in = FennelHostNewArray(Kind<T>::kCode, 2, dims);
    void **out = FennelHostNewArray(Kind<T>::kCode, 2, zero);
    void **ws = FennelHostNewArray(Kind<T>::kCode, 1, zero);
    Fill(static_cast<T *>(FennelHostArrayData(in, Kind<T>::kCode, 2)), size_t(dims[0]) * dims[1]);
    FDPlanHandle plan = nullptr;
    Kind<T>::dct2(in, out, 0, 0, ws, &plan);
    for (auto _ : state) benchmark::DoNotOptimize(Kind<T>::dct2(in, out, 0, 0, ws, &plan));
    FreeMKLDCTDSTiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    FennelHostFreeArray(ws);
}

void Fftw2D(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    double *in = fftw_alloc_real(size_t(n) * n), *out = fftw_alloc_real(size_t(n) * n);
    fftw_plan p = fftw_plan_r2r_2d(n, n, in, out, FFTW_REDFT10, FFTW_REDFT10, FFTW_MEASURE);
    Fill(in, size_t(n) * n);
    for (auto _ : state) fftw_execute(p);
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

}  // namespace

#define SIZES ->Arg(1024)->Arg(4096)->Arg(16384)->Arg(65536)
BENCHMARK(Fennel1D<double, false>) SIZES;
BENCHMARK(Fftw1D<double, false>) SIZES;
BENCHMARK(Fennel1D<float, false>) SIZES;
BENCHMARK(Fftw1D<float, false>) SIZES;
BENCHMARK(Fennel1D<double, true>) SIZES;
BENCHMARK(Fftw1D<double, true>) SIZES;
BENCHMARK(Fennel1D<float, true>) SIZES;
BENCHMARK(Fftw1D<float, true>) SIZES;
BENCHMARK(Fennel2D<double>)->Arg(512)->Arg(1024);
BENCHMARK(Fftw2D)->Arg(512)->Arg(1024);

BENCHMARK_MAIN();

// Convolution exports beside raw FFTW doing the same work (two r2c
// transforms, the spectrum product, one c2r, aligned single-threaded
// FFTW_MEASURE plans, no copies), and the direct method beside a plain
// scalar loop.  Ratios to read: export time / yardstick time for the same
// sizes.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstring>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

void Fill(double *p, int64_t n) {
    for (int64_t i = 0; i < n; ++i) p[i] = 1.0 / static_cast<double>(i % 97 + 1) - 0.3;
}

// Raw FFTW: the full linear convolution of two real sequences (or matrices)
// of lengths n and m through transforms of length (rows x) lf.
void RawFftConvolution(benchmark::State &state, bool twoD) {
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    const int lf = static_cast<int>(state.range(2));
    const int rows = twoD ? lf : 1;
    const int half = lf / 2 + 1;
    double *a = fftw_alloc_real(static_cast<size_t>(rows) * lf);
    double *b = fftw_alloc_real(static_cast<size_t>(rows) * lf);
    fftw_complex *fa = fftw_alloc_complex(static_cast<size_t>(rows) * half);
    fftw_complex *fb = fftw_alloc_complex(static_cast<size_t>(rows) * half);
    fftw_plan fwd = twoD ? fftw_plan_dft_r2c_2d(rows, lf, a, fa, FFTW_MEASURE)
                         : fftw_plan_dft_r2c_1d(lf, a, fa, FFTW_MEASURE);
    fftw_plan bwd = twoD ? fftw_plan_dft_c2r_2d(rows, lf, fa, a, FFTW_MEASURE)
                         : fftw_plan_dft_c2r_1d(lf, fa, a, FFTW_MEASURE);
    std::vector<double> x(static_cast<size_t>(twoD ? n * n : n)), y(static_cast<size_t>(twoD ? m * m : m));
    Fill(x.data(), static_cast<int64_t>(x.size()));
    Fill(y.data(), static_cast<int64_t>(y.size()));
    const int xr = twoD ? n : 1, yr = twoD ? m : 1;
    for (auto _ : state) {
        std::memset(a, 0, sizeof(double) * rows * lf);
        std::memset(b, 0, sizeof(double) * rows * lf);
        for (int r = 0; r < xr; ++r) std::memcpy(a + r * lf, x.data() + r * n, sizeof(double) * n);
        for (int r = 0; r < yr; ++r) std::memcpy(b + r * lf, y.data() + r * m, sizeof(double) * m);
        fftw_execute_dft_r2c(fwd, a, fa);
        fftw_execute_dft_r2c(fwd, b, fb);
        const double s = 1.0 / (static_cast<double>(rows) * lf);
        for (int64_t k = 0; k < static_cast<int64_t>(rows) * half; ++k) {
            const double re = fa[k][0] * fb[k][0] - fa[k][1] * fb[k][1];
            const double im = fa[k][1] * fb[k][0] + fa[k][0] * fb[k][1];
            fa[k][0] = re * s;
            fa[k][1] = im * s;
        }
        fftw_execute_dft_c2r(bwd, fa, a);
        benchmark::DoNotOptimize(a[0]);
    }
    fftw_destroy_plan(fwd);
    fftw_destroy_plan(bwd);
    for (void *p : {static_cast<void *>(a), static_cast<void *>(b), static_cast<void *>(fa), static_cast<void *>(fb)})
        fftw_free(p);
}

// d1DConvolutionH / d2DConvolutionH, full mode, with host arrays.
void ExportConvolution(benchmark::State &state, bool twoD, int32_t algorithm, int32_t blockSize) {
    const int32_t n = static_cast<int32_t>(state.range(0)), m = static_cast<int32_t>(state.range(1));
    const int32_t rank = twoD ? 2 : 1;
    const int32_t xd[2] = {n, n}, yd[2] = {m, m}, zero[2] = {0, 0};
    void **x = FennelHostNewArray(10, rank, xd), **y = FennelHostNewArray(10, rank, yd);
    Fill(static_cast<double *>(FennelHostArrayData(x, 10, rank)), twoD ? int64_t{n} * n : n);
    Fill(static_cast<double *>(FennelHostArrayData(y, 10, rank)), twoD ? int64_t{m} * m : m);
    void **out = FennelHostNewArray(10, rank, zero), **full = FennelHostNewArray(10, 1, zero),
         **fft = FennelHostNewArray(10, 1, zero);
    FDPlanHandle plan = nullptr;
    auto run = [&] {
        return twoD ? d2DConvolutionH(x, y, out, 0, algorithm, full, fft, &plan)
                    : d1DConvolutionH(x, y, out, 0, algorithm, blockSize, full, fft, &plan);
    };
    if (run() != 0) state.SkipWithError("convolution failed");  // plans outside the timing
    for (auto _ : state) benchmark::DoNotOptimize(run());
    FreeMKLDftiDescH(&plan);
    for (void **h : {x, y, out, full, fft}) FennelHostFreeArray(h);
}

// The direct method's yardstick: the plain double loop over all products.
void ScalarLoop(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    std::vector<double> x(n), y(m), out(n + m - 1);
    Fill(x.data(), n);
    Fill(y.data(), m);
    for (auto _ : state) {
        std::fill(out.begin(), out.end(), 0.0);
        for (int j = 0; j < m; ++j)
            for (int i = 0; i < n; ++i) out[i + j] += x[i] * y[j];
        benchmark::DoNotOptimize(out[0]);
    }
}

void Fft1D(benchmark::State &s) { ExportConvolution(s, false, 1, 0); }
void Raw1D(benchmark::State &s) { RawFftConvolution(s, false); }
void Fft2D(benchmark::State &s) { ExportConvolution(s, true, 1, 0); }
void Raw2D(benchmark::State &s) { RawFftConvolution(s, true); }
void Direct1D(benchmark::State &s) { ExportConvolution(s, false, 0, static_cast<int32_t>(s.range(2))); }
void Direct2D(benchmark::State &s) { ExportConvolution(s, true, 0, 0); }

// {n, m, FastLength(n + m - 1)}.  The raw plans are made first, before the
// library sets up FFTW's threads, so that they stay single-threaded.
BENCHMARK(Raw1D)->Args({65536, 65536, 131072})->Args({65536, 128, 65856})->Unit(benchmark::kMillisecond);
BENCHMARK(Raw2D)->Args({512, 64, 576})->Unit(benchmark::kMillisecond);
BENCHMARK(Fft1D)->Args({65536, 65536, 131072})->Args({65536, 128, 65856})->Unit(benchmark::kMillisecond);
BENCHMARK(Fft2D)->Args({512, 64, 576})->Unit(benchmark::kMillisecond);
// {n, m, blockSize}
BENCHMARK(Direct1D)
    ->Args({65536, 16, 0})->Args({65536, 128, 0})->Args({65536, 128, 512})->Args({65536, 128, 1024})
    ->Args({65536, 128, 2048})->Args({65536, 128, 4096})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ScalarLoop)->Args({65536, 16})->Args({65536, 128})->Unit(benchmark::kMillisecond);
BENCHMARK(Direct2D)->Args({512, 5})->Args({512, 9})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

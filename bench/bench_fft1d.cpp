// The eight 1D FFT exports beside raw FFTW (aligned FFTW_MEASURE plan, no
// wrapper) on the same sizes, with host blocks at several placements modulo
// 64.  The ratio to read is export time / raw time for the same n.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <complex>
#include <cstring>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

const std::vector<int64_t> kSizes = {64, 256, 1024, 4096, 16384, 65536, 262144, 1048576,
                                     1000, 2100, 44100,  // 7-smooth
                                     1009, 65537};       // primes

// Raw FFTW: complex double, aligned, out of place.
void RawComplex(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    fftw_complex *in = fftw_alloc_complex(n), *out = fftw_alloc_complex(n);
    fftw_plan p = fftw_plan_dft_1d(n, in, out, FFTW_FORWARD, FFTW_MEASURE);
    for (int i = 0; i < n; ++i) in[i][0] = in[i][1] = 1.0 / (i + 1);
    for (auto _ : state) {
        fftw_execute(p);
        benchmark::DoNotOptimize(out[0][0]);
    }
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

// Raw FFTW: real double r2c (half spectrum only).
void RawReal(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    double *in = fftw_alloc_real(n);
    fftw_complex *out = fftw_alloc_complex(n / 2 + 1);
    fftw_plan p = fftw_plan_dft_r2c_1d(n, in, out, FFTW_MEASURE);
    for (int i = 0; i < n; ++i) in[i] = 1.0 / (i + 1);
    for (auto _ : state) {
        fftw_execute(p);
        benchmark::DoNotOptimize(out[0][0]);
    }
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

// The least a misaligned call can cost when every placement must give the
// same bits (one plan, for aligned arrays): raw FFTW on aligned buffers plus
// the copy in from, and the copy out to, data at 8 bytes modulo 16.  Real:
// the half spectrum only, as RawReal, or (Full) n bins written out, the
// half twice, as a real export that returns the full spectrum must.
template <bool Real, bool Full = false>
void RawCopies(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const size_t in_bytes = Real ? sizeof(double) * n : sizeof(fftw_complex) * n;
    const size_t out_bytes = sizeof(fftw_complex) * (Real ? n / 2 + 1 : n);
    char *host_in = static_cast<char *>(fftw_malloc(in_bytes + 64)) + 8;
    char *host_out = static_cast<char *>(fftw_malloc(2 * out_bytes + 64)) + 8;
    void *in = fftw_malloc(in_bytes), *out = fftw_malloc(out_bytes);
    fftw_plan p = Real ? fftw_plan_dft_r2c_1d(n, static_cast<double *>(in), static_cast<fftw_complex *>(out), FFTW_MEASURE)
                       : fftw_plan_dft_1d(n, static_cast<fftw_complex *>(in), static_cast<fftw_complex *>(out),
                                          FFTW_FORWARD, FFTW_MEASURE);
    for (size_t i = 0; i < in_bytes / sizeof(double); ++i) reinterpret_cast<double *>(host_in)[i] = 1.0 / (i + 1);
    for (auto _ : state) {
        std::memcpy(in, host_in, in_bytes);
        fftw_execute(p);
        std::memcpy(host_out, out, out_bytes);
        if (Full) std::memcpy(host_out + sizeof(fftw_complex) * (n / 2), out, out_bytes - 2 * sizeof(fftw_complex));
        benchmark::DoNotOptimize(host_out[0]);
    }
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
    fftw_free(host_in - 8);
    fftw_free(host_out - 8);
}

// An export with input and output blocks placed at `placement` modulo 64.
template <int32_t InCode, class Call>
void Export(benchmark::State &state, Call call) {
    const int32_t n = static_cast<int32_t>(state.range(0));
    FennelHostSetPlacement(static_cast<int32_t>(state.range(1)));
    void **in = FennelHostNewArray(InCode, 1, &n);
    int32_t zero = 0;
    void **out = FennelHostNewArray(13, 1, &zero);
    void **ws = FennelHostNewArray(InCode, 1, &zero);
    FDPlanHandle plan = nullptr;
    call(in, out, ws, &plan);  // sizes the output and plans
    for (auto _ : state) benchmark::DoNotOptimize(call(in, out, ws, &plan));
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    FennelHostFreeArray(ws);
    FennelHostSetPlacement(-1);
}

void Z1D(benchmark::State &s) {
    Export<13>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return z1DFFTH(i, o, 0, 0, w, p); });
}
void Z1DInv(benchmark::State &s) {
    Export<13>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return z1DInvFFTH(i, o, 0, w, p); });
}
void D1D(benchmark::State &s) {
    Export<10>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return d1DFFTH(i, o, 0, 0, w, p); });
}
void D1DInv(benchmark::State &s) {
    Export<13>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return d1DInvFFTH(i, o, 0, w, p); });
}
void C1D(benchmark::State &s) {
    Export<12>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return c1DFFTH(i, o, 0, 0, w, p); });
}
void C1DInv(benchmark::State &s) {
    Export<12>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return c1DInvFFTH(i, o, 0, w, p); });
}
void S1D(benchmark::State &s) {
    Export<9>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return s1DFFTH(i, o, 0, 0, w, p); });
}
void S1DInv(benchmark::State &s) {
    Export<12>(s, [](void **i, void **o, void **w, FDPlanHandle *p) { return s1DInvFFTH(i, o, 0, w, p); });
}

void Sizes(benchmark::internal::Benchmark *b) {
    for (int64_t n : kSizes) b->Arg(n);
}
// Placements: every 4 bytes modulo 64 at n = 1024 and 65536, else 0 and 8
// (the two alignment classes of 8-byte data).
void SizesAndPlacements(benchmark::internal::Benchmark *b) {
    for (int64_t n : kSizes) {
        if (n == 1024 || n == 65536) {
            for (int64_t p = 0; p < 64; p += 4) b->Args({n, p});
        } else {
            b->Args({n, 0});
            b->Args({n, 8});
        }
    }
}
void Placement0(benchmark::internal::Benchmark *b) {
    for (int64_t n : kSizes) b->Args({n, 0});
}

BENCHMARK(RawComplex)->Apply(Sizes);
BENCHMARK_TEMPLATE(RawCopies, false)->Apply(Sizes);
BENCHMARK(Z1D)->Apply(SizesAndPlacements);
BENCHMARK(Z1DInv)->Apply(Placement0);
BENCHMARK(RawReal)->Apply(Sizes);
BENCHMARK_TEMPLATE(RawCopies, true)->Apply(Sizes);
BENCHMARK_TEMPLATE(RawCopies, true, true)->Apply(Sizes);
BENCHMARK(D1D)->Apply(SizesAndPlacements);
BENCHMARK(D1DInv)->Apply(Placement0);
BENCHMARK(C1D)->Apply(Placement0);
BENCHMARK(C1DInv)->Apply(Placement0);
BENCHMARK(S1D)->Apply(Placement0);
BENCHMARK(S1DInv)->Apply(Placement0);

}  // namespace

BENCHMARK_MAIN();

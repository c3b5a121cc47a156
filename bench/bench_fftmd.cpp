// The 2D and 3D FFT exports beside raw FFTW on the same shape, timed in
// alternation within one benchmark so that the machine's load hits both
// alike.  Each row reports the export's time and `ratio` = export / raw.
//
// The raw yardstick is an aligned out-of-place FFTW plan with the planner
// effort and thread count that the library uses for that many points
// (FFTW_MEASURE within a 1 s planning limit; every core from kThreadsFrom
// points).  The Threads rows time raw complex 2D plans on one and
// on two threads: `ratio` = two threads / one thread.  The Expansion rows time
// the in-place expansion of a real transform's packed half spectrum (complex
// double) the same way: `ratio` = two threads / one thread.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <unistd.h>

#include <chrono>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"
#include "transforms/spectrum2d.h"

namespace {

constexpr long kThreadsFrom = 1L << 18;  // the library's thread crossover
constexpr double kPlanSeconds = 1.0;     // the library's planning limit

// The yardstick's FFTW thread count (thread support initialised once first).
void PlanThreads(int n) {
    static const bool ready = (fftw_init_threads(), fftwf_init_threads(), true);
    (void)ready;
    fftw_plan_with_nthreads(n);
    fftwf_plan_with_nthreads(n);
}

int LibraryThreads(long points) {
    return points >= kThreadsFrom ? static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)) : 1;
}
// FENNEL_DSP_PLANNER=measure lifts the library's limit; the yardstick follows.
unsigned LibraryFlags(long) {
    const char *forced = std::getenv("FENNEL_DSP_PLANNER");
    const double limit = forced != nullptr && std::strcmp(forced, "measure") == 0 ? -1.0 : kPlanSeconds;
    fftw_set_timelimit(limit);
    fftwf_set_timelimit(limit);
    return FFTW_MEASURE;
}

using Clock = std::chrono::steady_clock;

// Times a and b in alternation; the iteration time is a's, the counter
// `ratio` is time(a) / time(b).
template <class A, class B>
void Alternate(benchmark::State &state, A a, B b) {
    double ta = 0, tb = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        b();
        const auto t1 = Clock::now();
        a();
        const auto t2 = Clock::now();
        const double da = std::chrono::duration<double>(t2 - t1).count();
        tb += std::chrono::duration<double>(t1 - t0).count();
        ta += da;
        state.SetIterationTime(da);
    }
    state.counters["ratio"] = ta / tb;
    state.counters["raw_ms"] = tb / static_cast<double>(state.iterations()) * 1e3;
}

std::vector<int32_t> Shape(const benchmark::State &state) {
    std::vector<int32_t> dims;
    for (int i = 0; i < 3; ++i)
        if (state.range(i) > 0) dims.push_back(static_cast<int32_t>(state.range(i)));
    return dims;
}

long Points(const std::vector<int32_t> &dims) {
    long p = 1;
    for (int32_t d : dims) p *= d;
    return p;
}

// Precision-specific pieces of the yardstick.
template <class R> struct Raw;
template <> struct Raw<double> {
    using Plan = fftw_plan;
    static void *Alloc(size_t bytes) { return fftw_malloc(bytes); }
    static void Free(void *p) { fftw_free(p); }
    static Plan Complex(const std::vector<int32_t> &d, void *in, void *out, unsigned flags) {
        return fftw_plan_dft(static_cast<int>(d.size()), d.data(), static_cast<fftw_complex *>(in),
                             static_cast<fftw_complex *>(out), FFTW_FORWARD, flags);
    }
    static Plan Real(const std::vector<int32_t> &d, void *in, void *out, unsigned flags) {
        return fftw_plan_dft_r2c(static_cast<int>(d.size()), d.data(), static_cast<double *>(in),
                                 static_cast<fftw_complex *>(out), flags);
    }
    static void Run(Plan p) { fftw_execute(p); }
    static void Destroy(Plan p) { fftw_destroy_plan(p); }
};
template <> struct Raw<float> {
    using Plan = fftwf_plan;
    static void *Alloc(size_t bytes) { return fftwf_malloc(bytes); }
    static void Free(void *p) { fftwf_free(p); }
    static Plan Complex(const std::vector<int32_t> &d, void *in, void *out, unsigned flags) {
        return fftwf_plan_dft(static_cast<int>(d.size()), d.data(), static_cast<fftwf_complex *>(in),
                              static_cast<fftwf_complex *>(out), FFTW_FORWARD, flags);
    }
    static Plan Real(const std::vector<int32_t> &d, void *in, void *out, unsigned flags) {
        return fftwf_plan_dft_r2c(static_cast<int>(d.size()), d.data(), static_cast<float *>(in),
                                  static_cast<fftwf_complex *>(out), flags);
    }
    static void Run(Plan p) { fftwf_execute(p); }
    static void Destroy(Plan p) { fftwf_destroy_plan(p); }
};

// The export on host arrays (at the host's default placement) beside
// the raw plan.  Code: the input's host type code; R: its real type.
template <class R, bool Complex>
void ExportVsRaw(benchmark::State &state) {
    const std::vector<int32_t> dims = Shape(state);
    const int rank = static_cast<int>(dims.size());
    const long points = Points(dims);
    const int32_t code = Complex ? (sizeof(R) == 4 ? 12 : 13) : (sizeof(R) == 4 ? 9 : 10);
    const std::vector<int32_t> zeros(rank, 0);
    void **in = FennelHostNewArray(code, rank, dims.data());
    void **out = FennelHostNewArray(sizeof(R) == 4 ? 12 : 13, rank, zeros.data());
    void **ws = FennelHostNewArray(code, 1, zeros.data());
    R *x = static_cast<R *>(FennelHostArrayData(in, code, rank));
    const long scalars = points * (Complex ? 2 : 1);
    for (long i = 0; i < scalars; ++i) x[i] = static_cast<R>((i % 17) * 0.125 - 1.0);
    FDPlanHandle plan = nullptr;
    auto call = [&] {
        int32_t s;
        if (rank == 2) {
            if constexpr (Complex)
                s = sizeof(R) == 4 ? c2DFFTH(in, out, 0, 0, 0, ws, &plan) : z2DFFTH(in, out, 0, 0, 0, ws, &plan);
            else
                s = sizeof(R) == 4 ? s2DFFTH(in, out, 0, 0, 0, ws, &plan) : d2DFFTH(in, out, 0, 0, 0, ws, &plan);
        } else {
            if constexpr (Complex)
                s = sizeof(R) == 4 ? c3DFFTH(in, out, 0, 0, 0, 0, ws, &plan)
                                   : z3DFFTH(in, out, 0, 0, 0, 0, ws, &plan);
            else
                s = sizeof(R) == 4 ? s3DFFTH(in, out, 0, 0, 0, 0, ws, &plan)
                                   : d3DFFTH(in, out, 0, 0, 0, 0, ws, &plan);
        }
        benchmark::DoNotOptimize(s);
    };
    call();  // sizes the output and plans (and starts FFTW's threads)

    std::vector<int32_t> half = dims;
    half.back() = half.back() / 2 + 1;
    const size_t in_bytes = static_cast<size_t>(scalars) * sizeof(R);
    const size_t out_bytes = static_cast<size_t>(Complex ? points : Points(half)) * 2 * sizeof(R);
    void *rin = Raw<R>::Alloc(in_bytes), *rout = Raw<R>::Alloc(out_bytes);
    PlanThreads(LibraryThreads(points));
    auto p = Complex ? Raw<R>::Complex(dims, rin, rout, LibraryFlags(points))
                     : Raw<R>::Real(dims, rin, rout, LibraryFlags(points));
    std::memcpy(rin, x, in_bytes);
    Alternate(state, call, [&] { Raw<R>::Run(p); });

    Raw<R>::Destroy(p);
    Raw<R>::Free(rin);
    Raw<R>::Free(rout);
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    FennelHostFreeArray(ws);
}

// Raw complex double 2D n x n on two threads beside one thread.
void Threads(benchmark::State &state) {
    const std::vector<int32_t> dims = Shape(state);
    const long points = Points(dims);
    {  // one library call initialises FFTW's threads
        const int32_t one[2] = {1, 1};
        void **in = FennelHostNewArray(13, 2, one), **out = FennelHostNewArray(13, 2, one);
        FDPlanHandle plan = nullptr;
        z2DFFTH(in, out, 0, 0, 0, nullptr, &plan);
        FreeMKLDftiDescH(&plan);
        FennelHostFreeArray(in);
        FennelHostFreeArray(out);
    }
    const size_t bytes = static_cast<size_t>(points) * sizeof(fftw_complex);
    auto *in = static_cast<fftw_complex *>(fftw_malloc(bytes));
    auto *out = static_cast<fftw_complex *>(fftw_malloc(bytes));
    PlanThreads(1);
    fftw_plan one = fftw_plan_dft(static_cast<int>(dims.size()), dims.data(), in, out, FFTW_FORWARD,
                                  LibraryFlags(points));
    PlanThreads(2);
    fftw_plan two = fftw_plan_dft(static_cast<int>(dims.size()), dims.data(), in, out, FFTW_FORWARD,
                                  LibraryFlags(points));
    for (long i = 0; i < points; ++i) in[i][0] = in[i][1] = (i % 13) * 0.25;
    Alternate(state, [&] { fftw_execute(two); }, [&] { fftw_execute(one); });
    fftw_destroy_plan(one);
    fftw_destroy_plan(two);
    fftw_free(in);
    fftw_free(out);
}

// The expansion of a P x R x C packed half spectrum on two threads beside one
// thread; each run starts from a fresh copy of the packed data (not timed).
void Expansion(benchmark::State &state) {
    using C = std::complex<double>;
    const ptrdiff_t P = state.range(0) > 0 ? state.range(0) : 1, R = state.range(1);
    const int32_t cols = static_cast<int32_t>(state.range(2));
    const ptrdiff_t Q = P * R, half = cols / 2 + 1;
    std::vector<C> packed(static_cast<size_t>(Q * half));
    for (size_t i = 0; i < packed.size(); ++i) packed[i] = C((i % 13) * 0.25, (i % 7) * -0.5);
    auto *X = static_cast<C *>(fftw_malloc(sizeof(C) * static_cast<size_t>(Q * cols)));
    auto mirror = [P, R](ptrdiff_t q) {
        const ptrdiff_t p = q / R, r = q - p * R;
        return (p == 0 ? 0 : P - p) * R + (r == 0 ? 0 : R - r);
    };
    auto run = [&](int threads) {
        std::memcpy(static_cast<void *>(X), packed.data(), sizeof(C) * packed.size());
        const auto t0 = Clock::now();
        fennel::ExpandPacked(X, Q, cols, mirror, threads);
        return std::chrono::duration<double>(Clock::now() - t0).count();
    };
    run(2);
    double one = 0, two = 0;
    for (auto _ : state) {
        one += run(1);
        const double t = run(2);
        two += t;
        state.SetIterationTime(t);
    }
    state.counters["ratio"] = two / one;
    state.counters["one_ms"] = one / static_cast<double>(state.iterations()) * 1e3;
    fftw_free(X);
}

// From 8 MB of spectrum, where the library lets two threads share the pass.
BENCHMARK(Expansion)
    ->Args({0, 512, 1024})->Args({0, 1024, 1024})->Args({128, 128, 128})
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Threads)
    ->Args({64, 64, 0})->Args({128, 128, 0})->Args({256, 256, 0})
    ->Args({512, 512, 0})->Args({1024, 1024, 0})->Args({2048, 1024, 0})->Args({32, 32, 32})
    ->Args({64, 64, 64})->Args({128, 128, 128})
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ExportVsRaw<double, true>)
    ->Args({256, 256, 0})->Args({1024, 1024, 0})->Args({64, 64, 64})->Args({128, 128, 128})
    ->Args({256, 256, 256})
    ->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ExportVsRaw<float, true>)
    ->Args({256, 256, 0})->Args({1024, 1024, 0})->Args({64, 64, 64})
    ->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ExportVsRaw<double, false>)
    ->Args({256, 256, 0})->Args({1024, 1024, 0})->Args({64, 64, 64})->Args({128, 128, 128})
    ->Args({32, 32, 32})->Args({63, 63, 63})->Args({8, 256, 256})->Args({256, 64, 64})
    ->Args({16, 128, 128})->Args({160, 160, 160})
    ->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ExportVsRaw<float, false>)
    ->Args({256, 256, 0})->Args({1024, 1024, 0})->Args({64, 64, 64})->Args({128, 128, 128})
    ->Args({32, 32, 32})->Args({63, 63, 63})->Args({8, 256, 256})->Args({256, 64, 64})
    ->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

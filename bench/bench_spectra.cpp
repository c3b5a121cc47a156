// dPowerSpectrumH and zPowerSpectrumH with a cached plan, beside raw FFTW
// (the same planner effort as the library) followed by a plain power loop.  Prints the ratio library / yardstick of CPU time per
// size (CPU time: the machine is shared, wall time is noisier).
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <complex>
#include <cstdint>
#include <cstring>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

const int kSizes[] = {1024, 4096, 16384, 65536};

// The library plans with FFTW_MEASURE up to 2^16 points.
unsigned Effort(int n) { return n <= 65536 ? FFTW_MEASURE : FFTW_ESTIMATE; }

template <int Code, class T>
void **NewFilled(int n) {
    void **h = FennelHostNewArray(Code, 1, &n);
    auto *data = static_cast<T *>(FennelHostArrayData(h, Code, 1));
    std::mt19937 rng(n);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < n; ++i) {
        if constexpr (Code == TYPE_CODE_DOUBLE)
            data[i] = u(rng);
        else
            data[i] = T(u(rng), u(rng));
    }
    return h;
}

template <int Code, class T, class Export>
void RunLibrary(benchmark::State &state, Export power) {
    const int n = static_cast<int>(state.range(0));
    void **in = NewFilled<Code, T>(n);
    int zero = 0;
    void **out = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &n);
    void **ws = FennelHostNewArray(Code, 1, &zero);
    FDPlanHandle plan = nullptr;
    power(in, out, ws, &plan);
    for (auto _ : state) {
        if (power(in, out, ws, &plan) != 0) state.SkipWithError("call failed");
        benchmark::DoNotOptimize(*out);
    }
    FreeMKLDftiDescH(&plan);
    FennelHostFreeArray(in);
    FennelHostFreeArray(out);
    FennelHostFreeArray(ws);
}

void BM_Library_dPowerSpectrumH(benchmark::State &state) {
    RunLibrary<TYPE_CODE_DOUBLE, double>(state, dPowerSpectrumH);
}
void BM_Library_zPowerSpectrumH(benchmark::State &state) {
    RunLibrary<TYPE_CODE_COMPLEX_DOUBLE, std::complex<double>>(state, zPowerSpectrumH);
}

// FFTW on its own aligned buffers (aligned), or reading the host array the
// library reads (host data: the input's alignment class as the library sees
// it), then a plain power loop.
template <bool kComplex>
void RunFftw(benchmark::State &state, bool host_data) {
    using Cx = fftw_complex;
    const int n = static_cast<int>(state.range(0));
    const int bins = kComplex ? n : n / 2 + 1;
    constexpr int kCode = kComplex ? TYPE_CODE_COMPLEX_DOUBLE : TYPE_CODE_DOUBLE;
    void **host = nullptr;
    if constexpr (kComplex)
        host = NewFilled<kCode, std::complex<double>>(n);
    else
        host = NewFilled<kCode, double>(n);
    void *in = FennelHostArrayData(host, kCode, 1);
    double *own = fftw_alloc_real(kComplex ? 2 * n : n);
    std::memcpy(own, in, (kComplex ? 16 : 8) * static_cast<size_t>(n));
    if (!host_data) in = own;
    Cx *X = fftw_alloc_complex(bins);
    double *out = fftw_alloc_real(n);
    // Planning may write its arrays: plan on a copy of the same alignment.
    std::vector<char> probe((kComplex ? 16 : 8) * static_cast<size_t>(n) + 16);
    void *plan_in = probe.data() + (reinterpret_cast<uintptr_t>(in) - reinterpret_cast<uintptr_t>(probe.data())) % 16;
    fftw_plan p = kComplex ? fftw_plan_dft_1d(n, static_cast<Cx *>(plan_in), X, FFTW_FORWARD, Effort(n))
                           : fftw_plan_dft_r2c_1d(n, static_cast<double *>(plan_in), X, Effort(n));
    const double scale = 1.0 / (static_cast<double>(n) * n);
    for (auto _ : state) {
        if constexpr (kComplex)
            fftw_execute_dft(p, static_cast<Cx *>(in), X);
        else
            fftw_execute_dft_r2c(p, static_cast<double *>(in), X);
        for (int k = 0; k < bins; ++k) out[k] = (X[k][0] * X[k][0] + X[k][1] * X[k][1]) * scale;
        if constexpr (!kComplex)
            for (int k = 1; k < (n + 1) / 2; ++k) out[n - k] = out[k];
        benchmark::DoNotOptimize(out);
    }
    fftw_destroy_plan(p);
    fftw_free(own);
    fftw_free(X);
    fftw_free(out);
    FennelHostFreeArray(host);
}

void BM_Fftw_dPowerSpectrumH(benchmark::State &state) { RunFftw<false>(state, false); }
void BM_FftwHost_dPowerSpectrumH(benchmark::State &state) { RunFftw<false>(state, true); }
void BM_Fftw_zPowerSpectrumH(benchmark::State &state) { RunFftw<true>(state, false); }
void BM_FftwHost_zPowerSpectrumH(benchmark::State &state) { RunFftw<true>(state, true); }

// Pairs library and yardstick runs by name and prints their ratio.
class RatioReporter : public benchmark::ConsoleReporter {
   public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &r : runs) {
            if (r.run_type != Run::RT_Iteration) continue;
            times_[r.benchmark_name()] = r.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Ratios() const {
        std::printf("\n%-16s %6s %11s %11s %11s %9s %9s\n", "export", "n", "library",
                    "fftw", "fftw host", "/fftw", "/host");
        for (const char *name : {"dPowerSpectrumH", "zPowerSpectrumH"}) {
            for (int n : kSizes) {
                const std::string rest = std::string(name) + "/" + std::to_string(n);
                const auto l = times_.find("BM_Library_" + rest), a = times_.find("BM_Fftw_" + rest),
                           h = times_.find("BM_FftwHost_" + rest);
                if (l == times_.end() || a == times_.end() || h == times_.end()) continue;
                std::printf("%-16s %6d %11.1f %11.1f %11.1f %9.3f %9.3f\n", name, n, l->second,
                            a->second, h->second, l->second / a->second, l->second / h->second);
            }
        }
    }

   private:
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char **argv) {
    for (int n : kSizes) {
        // Library and yardstick side by side for each size.
        benchmark::RegisterBenchmark("BM_Library_dPowerSpectrumH", BM_Library_dPowerSpectrumH)->Arg(n);
        benchmark::RegisterBenchmark("BM_Fftw_dPowerSpectrumH", BM_Fftw_dPowerSpectrumH)->Arg(n);
        benchmark::RegisterBenchmark("BM_FftwHost_dPowerSpectrumH", BM_FftwHost_dPowerSpectrumH)->Arg(n);
        benchmark::RegisterBenchmark("BM_Library_zPowerSpectrumH", BM_Library_zPowerSpectrumH)->Arg(n);
        benchmark::RegisterBenchmark("BM_Fftw_zPowerSpectrumH", BM_Fftw_zPowerSpectrumH)->Arg(n);
        benchmark::RegisterBenchmark("BM_FftwHost_zPowerSpectrumH", BM_FftwHost_zPowerSpectrumH)->Arg(n);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.Ratios();
    benchmark::Shutdown();
    return 0;
}

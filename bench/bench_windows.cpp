// A cosine-sum window applied in place beside memcpy of the same array
// (the bandwidth yardstick), and the IIR filter beside a plain direct-form
// II transposed loop.  Both sides count the bytes read and written, so the
// bytes_per_second columns compare directly; after the run the ratios
// window / memcpy bandwidth and loop time / filter time are printed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

std::map<std::string, double> g_seconds;  // CPU seconds per iteration, by name

template <class T>
constexpr int32_t Code() { return sizeof(T) == 4 ? TYPE_CODE_FLOAT : TYPE_CODE_DOUBLE; }

template <class T>
void **NewArray(int n) {
    void **h = FennelHostNewArray(Code<T>(), 1, &n);
    T *d = static_cast<T *>(FennelHostArrayData(h, Code<T>(), 1));
    for (int i = 0; i < n; ++i) d[i] = static_cast<T>(1.0 + (i % 17) * 0.01);
    return h;
}

void Record(benchmark::State &state, double bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

template <class T>
void Memcpy(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<T> a(n, T(1)), b(n);
    for (auto _ : state) {
        std::memcpy(b.data(), a.data(), sizeof(T) * n);
        benchmark::ClobberMemory();
    }
    Record(state, 2.0 * sizeof(T) * n);
}

template <class T>
void Window(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0));
    const int type = static_cast<int>(state.range(1));
    void **x = NewArray<T>(n);
    int zero = 0;
    void **ws = FennelHostNewArray(TYPE_CODE_DOUBLE, 1, &zero);
    auto apply = Code<T>() == TYPE_CODE_FLOAT ? sAllCosWinH : dAllCosWinH;
    for (auto _ : state) {
        // Normalised Hann keeps the data bounded over many passes.
        apply(x, type, 1, ws);
        benchmark::ClobberMemory();
    }
    Record(state, 2.0 * sizeof(T) * n);
    FennelHostFreeArray(x);
    FennelHostFreeArray(ws);
}

// The filter of order m: b and a of m+1 coefficients (a stable low-order
// recursion padded with small taps).
template <class T>
void Coefficients(int m, std::vector<T> &b, std::vector<T> &a) {
    b.assign(m + 1, T(0.01));
    a.assign(m + 1, T(0));
    a[0] = 1;
    a[1] = T(-0.5);
    a[2] = T(0.2);
    for (int k = 3; k <= m; ++k) a[k] = T(0.001);
}

template <class T>
void Iir(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    std::vector<T> bv, av;
    Coefficients(m, bv, av);
    void **x = NewArray<T>(n);
    int len = m + 1, zero = 0;
    void **a = FennelHostNewArray(Code<T>(), 1, &len), **b = FennelHostNewArray(Code<T>(), 1, &len);
    std::memcpy(FennelHostArrayData(a, Code<T>(), 1), av.data(), sizeof(T) * len);
    std::memcpy(FennelHostArrayData(b, Code<T>(), 1), bv.data(), sizeof(T) * len);
    void **h[5];
    for (auto &v : h) v = FennelHostNewArray(Code<T>(), 1, &zero);
    auto filter = Code<T>() == TYPE_CODE_FLOAT ? ssIIRDirectFilterH : ddIIRDirectFilterH;
    for (auto _ : state) {
        filter(x, a, b, h[0], h[1], 1, h[2], h[3], h[4]);
        benchmark::ClobberMemory();
    }
    Record(state, 2.0 * sizeof(T) * n);
    for (auto v : h) FennelHostFreeArray(v);
    FennelHostFreeArray(x);
    FennelHostFreeArray(a);
    FennelHostFreeArray(b);
}

// Direct form II transposed, the usual recursive-filter loop, as yardstick.
template <class T>
void Df2t(benchmark::State &state) {
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    std::vector<T> b, a;
    Coefficients(m, b, a);
    std::vector<T> x(n), y(n), z(m + 1);
    for (int i = 0; i < n; ++i) x[i] = static_cast<T>(1.0 + (i % 17) * 0.01);
    for (auto _ : state) {
        std::fill(z.begin(), z.end(), T(0));
        for (int i = 0; i < n; ++i) {
            const T xi = x[i], yi = z[0] + b[0] * xi;
            for (int k = 0; k < m - 1; ++k) z[k] = z[k + 1] + xi * b[k + 1] - yi * a[k + 1];
            z[m - 1] = xi * b[m] - yi * a[m];
            y[i] = yi;
        }
        benchmark::ClobberMemory();
    }
    Record(state, 2.0 * sizeof(T) * n);
}

BENCHMARK_TEMPLATE(Memcpy, double)->Arg(1 << 20)->Arg(1 << 24);
BENCHMARK_TEMPLATE(Window, double)->Args({1 << 20, 1})->Args({1 << 20, 8})->Args({1 << 24, 1})->Args({1 << 24, 8});
BENCHMARK_TEMPLATE(Memcpy, float)->Arg(1 << 20)->Arg(1 << 24);
BENCHMARK_TEMPLATE(Window, float)->Args({1 << 20, 1})->Args({1 << 20, 8})->Args({1 << 24, 1})->Args({1 << 24, 8});
BENCHMARK_TEMPLATE(Df2t, double)->Args({1 << 20, 2})->Args({1 << 20, 4})->Args({1 << 20, 8})->Args({1 << 20, 16});
BENCHMARK_TEMPLATE(Iir, double)->Args({1 << 20, 2})->Args({1 << 20, 4})->Args({1 << 20, 8})->Args({1 << 20, 16});
BENCHMARK_TEMPLATE(Df2t, float)->Args({1 << 20, 2})->Args({1 << 20, 4})->Args({1 << 20, 8})->Args({1 << 20, 16});
BENCHMARK_TEMPLATE(Iir, float)->Args({1 << 20, 2})->Args({1 << 20, 4})->Args({1 << 20, 8})->Args({1 << 20, 16});

// Keeps every run's CPU time per iteration for the ratio table.
class RatioReporter : public benchmark::ConsoleReporter {
   public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &r : runs)
            if (r.iterations > 0) g_seconds[r.benchmark_name()] = r.GetAdjustedCPUTime() / 1e9;
        ConsoleReporter::ReportRuns(runs);
    }
};

double Seconds(const std::string &name) {
    const auto it = g_seconds.find(name);
    return it == g_seconds.end() ? 0.0 : it->second;
}

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nwindow bandwidth / memcpy bandwidth (1 = memcpy speed)\n");
    for (const char *t : {"double", "float"})
        for (const auto &[n, type] : std::vector<std::pair<int, int>>{{1 << 20, 1}, {1 << 20, 8}, {1 << 24, 1}, {1 << 24, 8}}) {
            const double w = Seconds("Window<" + std::string(t) + ">/" + std::to_string(n) + "/" + std::to_string(type));
            const double c = Seconds("Memcpy<" + std::string(t) + ">/" + std::to_string(n));
            if (w > 0 && c > 0) std::printf("  %-6s n=%-9d type %d  %.2f\n", t, n, type, c / w);
        }
    std::printf("\nIIR: direct-form II transposed loop time / filter time (above 1: the filter is faster)\n");
    for (const char *t : {"double", "float"})
        for (int m : {2, 4, 8, 16}) {
            const std::string args = "/" + std::to_string(1 << 20) + "/" + std::to_string(m);
            const double f = Seconds("Iir<" + std::string(t) + ">" + args);
            const double d = Seconds("Df2t<" + std::string(t) + ">" + args);
            if (f > 0 && d > 0) std::printf("  %-6s order %-2d  %.2f\n", t, m, d / f);
        }
    benchmark::Shutdown();
    return 0;
}

// Decimation and upsampling beside memcpy of the same bytes (bandwidth
// ratio), and streaming resampling throughput in output samples per second
// for a 64-tap-per-output prototype, one channel and eight.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "fennel_dsp.h"
#include "fennel_host.h"

namespace {

constexpr int32_t kN = 1 << 24;

struct HostArrayOwner {
    FDArrayHandle h;
    HostArrayOwner(int32_t code, std::vector<int32_t> dims)
        : h(FennelHostNewArray(code, static_cast<int32_t>(dims.size()), dims.data())) {}
    ~HostArrayOwner() { FennelHostFreeArray(h); }
    template <class T> T *data(int rank = 1) {
        return static_cast<T *>(FennelHostArrayData(h, sizeof(T) == 4 ? TYPE_CODE_FLOAT : TYPE_CODE_DOUBLE, rank));
    }
};

void Fill(float *x, int64_t n) {
    for (int64_t i = 0; i < n; ++i) x[i] = static_cast<float>(std::sin(0.001 * static_cast<double>(i)));
}

// memcpy of n floats: 2n * 4 bytes moved (read and written).
void BM_Memcpy(benchmark::State &state) {
    const int64_t n = state.range(0);
    std::vector<float> a(n, 1.0f), b(n);
    for (auto _ : state) {
        std::memcpy(b.data(), a.data(), n * sizeof(float));
        benchmark::DoNotOptimize(b.data());
    }
    state.SetBytesProcessed(state.iterations() * 2 * n * static_cast<int64_t>(sizeof(float)));
}
BENCHMARK(BM_Memcpy)->Arg(kN)->Arg(kN + kN / 2)->Arg(3 * kN)->Unit(benchmark::kMillisecond);

// Bytes counted: the input read plus the output written.
void BM_Decimate(benchmark::State &state) {
    const int32_t factor = static_cast<int32_t>(state.range(0)), average = static_cast<int32_t>(state.range(1));
    HostArrayOwner x(TYPE_CODE_FLOAT, {kN}), out(TYPE_CODE_FLOAT, {kN / factor});
    Fill(x.data<float>(), kN);
    for (auto _ : state) benchmark::DoNotOptimize(sDecimateH(x.h, out.h, factor, average));
    state.SetBytesProcessed(state.iterations() * (kN + kN / factor) * static_cast<int64_t>(sizeof(float)));
}
BENCHMARK(BM_Decimate)->Args({2, 0})->Args({2, 1})->Args({8, 1})->Unit(benchmark::kMillisecond);

void BM_Upsample(benchmark::State &state) {
    const int32_t factor = static_cast<int32_t>(state.range(0));
    HostArrayOwner x(TYPE_CODE_FLOAT, {kN}), out(TYPE_CODE_FLOAT, {kN * factor});
    Fill(x.data<float>(), kN);
    for (auto _ : state) benchmark::DoNotOptimize(sUpsampleH(x.h, out.h, factor, 1));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kN) * (1 + factor) * sizeof(float));
}
BENCHMARK(BM_Upsample)->Arg(2)->Unit(benchmark::kMillisecond);

// A Kaiser-free windowed sinc, 64 taps per output at `up` times the rate.
std::vector<float> Prototype(int32_t up, int32_t down) {
    const int32_t M = 64 * up + 1;
    const double c = (M - 1) / 2.0, pi = 3.14159265358979323846, cut = 1.0 / (up > down ? up : down);
    std::vector<float> h(M);
    for (int32_t n = 0; n < M; ++n) {
        const double u = (n - c) * cut;
        h[n] = static_cast<float>((u == 0 ? 1.0 : std::sin(pi * u) / (pi * u)) * cut *
                                  (0.5 + 0.5 * std::cos(pi * (n - c) / (c + 1))));
    }
    return h;
}

// Output samples per second (per channel) over 2^20 input samples in blocks
// of 16384.  Args: up, down, channels.
void BM_Resample(benchmark::State &state) {
    const int32_t up = static_cast<int32_t>(state.range(0)), down = static_cast<int32_t>(state.range(1));
    const int32_t channels = static_cast<int32_t>(state.range(2)), block = 16384, blocks = 64;
    const auto proto = Prototype(up, down);
    HostArrayOwner coef(TYPE_CODE_FLOAT, {static_cast<int32_t>(proto.size())});
    std::memcpy(coef.data<float>(), proto.data(), proto.size() * sizeof(float));
    const bool multi = channels > 1;
    std::vector<int32_t> xdims = multi ? std::vector<int32_t>{channels, block} : std::vector<int32_t>{block};
    HostArrayOwner x(TYPE_CODE_FLOAT, xdims), out(TYPE_CODE_FLOAT, std::vector<int32_t>(xdims.size(), 0)),
        histA(TYPE_CODE_FLOAT, std::vector<int32_t>(xdims.size(), 0)), histB(TYPE_CODE_FLOAT, {0});
    Fill(x.data<float>(multi ? 2 : 1), static_cast<int64_t>(channels) * block);
    FDResampleParams params{static_cast<float>(down) / static_cast<float>(up), 0.0f, 0};
    FDResampleState st{};
    auto *fn = multi ? sResampleMultiChC2CH : sResampleC2CH;
    int64_t outputs = 0;
    for (auto _ : state) {
        for (int b = 0; b < blocks; ++b) {
            float t;
            fn(x.h, coef.h, up, &params, b == 0, 0, out.h, &t, histA.h, histB.h, &st);
            int32_t dims[2];
            FennelHostArrayDims(out.h, multi ? 2 : 1, dims);
            outputs += dims[multi ? 1 : 0];
        }
    }
    state.counters["out/s"] = benchmark::Counter(static_cast<double>(outputs), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Resample)->Args({3, 2, 1})->Args({2, 3, 1})->Args({160, 147, 1})->Args({3, 2, 8})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

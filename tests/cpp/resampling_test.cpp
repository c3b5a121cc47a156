// Decimation, upsampling and the streaming resampler: documented cases,
// status codes and failure hygiene, and stream properties (block splits,
// delayed copy, tone frequency, multichannel against single channel).
#include <cstddef>
#include <limits>

#include "resampling/resampling.h"
#include "support.h"

namespace fennel::test {
namespace {

static_assert(sizeof(FDResampleParams) == 12);
static_assert(offsetof(FDResampleState, tapMode) == 12 && offsetof(FDResampleState, tapSpacing) == 16 &&
              offsetof(FDResampleState, ratio) == 24 && offsetof(FDResampleState, samplesSeen) == 32 &&
              offsetof(FDResampleState, fraction) == 40 && offsetof(FDResampleState, position) == 48);

template <class T> using RealOf = typename Traits<T>::Real;

// A sample with a distinct imaginary part for complex types.
template <class T>
T Sample(double v) {
    if constexpr (Traits<T>::kComplex)
        return T(static_cast<RealOf<T>>(v), static_cast<RealOf<T>>(-2 * v));
    else
        return static_cast<T>(v);
}
template <class T>
std::vector<T> Samples(std::initializer_list<double> v) {
    std::vector<T> out;
    for (double d : v) out.push_back(Sample<T>(d));
    return out;
}

template <class T>
class ResamplingTest : public HostTest {};
using Types = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(ResamplingTest, Types);

// ---- decimation and upsampling ----------------------------------------------

TYPED_TEST(ResamplingTest, DecimationCases) {
    using T = TypeParam;
    const auto x = Samples<T>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    struct Case { int32_t factor, average; std::vector<double> want; };
    const Case cases[] = {{3, 0, {0, 3, 6}},          {3, 1, {1, 4, 7}},  {10, 0, {0}},
                          {10, 1, {4.5}},             {1, 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
                          {1, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}, {4, 1, {1.5, 5.5}}};
    for (const Case &c : cases) {
        Array<T> in(x), out;
        ASSERT_EQ(Fn<T>::decimate(in.h(), out.h(), c.factor, c.average), 0) << c.factor;
        std::vector<T> want;
        for (double v : c.want) want.push_back(Sample<T>(v));
        EXPECT_EQ(out.values(), want) << "factor " << c.factor << " average " << c.average;
        EXPECT_EQ(in.values(), x);
    }
    // One handle for input and output: decimated in place.
    Array<T> both(x);
    ASSERT_EQ(Fn<T>::decimate(both.h(), both.h(), 3, 1), 0);
    EXPECT_EQ(both.values(), Samples<T>({1, 4, 7}));
}

TYPED_TEST(ResamplingTest, DecimationFailuresEmptyTheOutput) {
    using T = TypeParam;
    const auto x = Samples<T>({1, 2, 3, 4, 5});
    for (int32_t factor : {0, -1, 6, std::numeric_limits<int32_t>::min()}) {
        Array<T> in(x), out(x);
        EXPECT_EQ(Fn<T>::decimate(in.h(), out.h(), factor, 0), STATUS_BAD_DECIMATION_FACTOR);
        EXPECT_TRUE(out.empty());
    }
    Array<T> empty, out(x);
    EXPECT_EQ(Fn<T>::decimate(empty.h(), out.h(), 1, 0), STATUS_EMPTY_ARRAY);
    EXPECT_TRUE(out.empty());
    Array<T> in(x), small;
    FennelHostFailResize(1);
    EXPECT_EQ(Fn<T>::decimate(in.h(), small.h(), 2, 1), STATUS_OUT_OF_MEMORY);
    EXPECT_TRUE(small.empty());
    // An output of the right size is not passed to the host.
    Array<T> sized(Samples<T>({0, 0}));
    FennelHostReset();
    ASSERT_EQ(Fn<T>::decimate(in.h(), sized.h(), 2, 0), 0);
    EXPECT_EQ(FennelHostResizeCalls(), 0);
    // The worker refuses a short output and decimates in place without one.
    std::vector<T> buffer = x, two(2);
    EXPECT_EQ(DecimateCore<T>(buffer.data(), 5, two.data(), 1, 2, 0), STATUS_OUTPUT_TOO_LARGE);
    ASSERT_EQ(DecimateCore<T>(buffer.data(), 5, nullptr, 0, 2, 0), 0);
    EXPECT_EQ(buffer[1], x[2]);
}

TYPED_TEST(ResamplingTest, UpsamplingCases) {
    using T = TypeParam;
    FennelHostSetFillByte(0xFF);  // unwritten output would read as NaN
    Array<T> in(Samples<T>({1, 2, 3})), out;
    ASSERT_EQ(Fn<T>::upsample(in.h(), out.h(), 3, 1), 0);
    EXPECT_EQ(out.values(), Samples<T>({0, 1, 0, 0, 2, 0, 0, 3, 0}));
    ASSERT_EQ(Fn<T>::upsample(in.h(), out.h(), 12, 11), 0);
    EXPECT_EQ(out.values()[35], Sample<T>(3));
    EXPECT_EQ(out.values()[34], Sample<T>(0));
    ASSERT_EQ(Fn<T>::upsample(in.h(), out.h(), 1, 0), 0);
    EXPECT_EQ(out.values(), in.values());
    Array<T> both(Samples<T>({1, 2, 3}));
    ASSERT_EQ(Fn<T>::upsample(both.h(), both.h(), 2, 0), 0);
    EXPECT_EQ(both.values(), Samples<T>({1, 0, 2, 0, 3, 0}));

    struct Bad { int32_t factor, phase, status; };
    for (const Bad &b : {Bad{1, 1, STATUS_BAD_PHASE}, Bad{3, -1, STATUS_BAD_PHASE}, Bad{3, 3, STATUS_BAD_PHASE},
                         Bad{0, 0, STATUS_BAD_SAMPLING_INTERVAL}, Bad{-2, 0, STATUS_BAD_SAMPLING_INTERVAL}}) {
        Array<T> o(Samples<T>({7}));
        EXPECT_EQ(Fn<T>::upsample(in.h(), o.h(), b.factor, b.phase), b.status) << b.factor << "," << b.phase;
        EXPECT_TRUE(o.empty());
    }
    Array<T> empty, o;
    EXPECT_EQ(Fn<T>::upsample(empty.h(), o.h(), 2, 0), STATUS_EMPTY_ARRAY);
    std::vector<T> small(8);
    EXPECT_EQ(UpsampleCore<T>(in.data(), 3, small.data(), 8, 3, 0), STATUS_OUTPUT_TOO_LARGE);
}

TEST(UpsamplingGuard, BitLengthsOfLengthAndFactorStayBelow31) {
    // Accepted sizes reach the resize (made to fail here, to spare the memory).
    struct Case { int32_t n, factor, status; };
    const Case cases[] = {{65536, 32768, STATUS_OUTPUT_TOO_LARGE}, {65536, 32767, STATUS_OUTPUT_TOO_LARGE},
                          {65536, 16384, STATUS_OUT_OF_MEMORY},    {1, 1073741824, STATUS_OUT_OF_MEMORY},
                          {1, 1073741825, STATUS_OUTPUT_TOO_LARGE}, {3, 536870912, STATUS_OUTPUT_TOO_LARGE}};
    for (const Case &c : cases) {
        FennelHostReset();
        Array<float> in({c.n}), out;
        FennelHostFailResize(1);
        EXPECT_EQ(sUpsampleH(in.h(), out.h(), c.factor, 0), c.status) << c.n << " x " << c.factor;
        EXPECT_TRUE(out.empty());
    }
    FennelHostReset();
}

// ---- rational resampling ------------------------------------------------------

// One stream: prototype, parameters, histories and state.
template <class T, int Rank>
struct Stream {
    using R = RealOf<T>;
    Array<R> coef;
    Array<T> histA{std::vector<int32_t>(Rank, 0), typename Array<T>::Shape{}};
    Array<R> histB;
    FDResampleParams params;
    FDResampleState state{};
    int32_t interpolation, antiAlias;
    Stream(const std::vector<R> &h, int32_t I, float ratio, float offset = 0, int32_t mode = 0, int32_t aa = 0)
        : coef(h), params{ratio, offset, mode}, interpolation(I), antiAlias(aa) {}
    int32_t Feed(const Array<T> &x, Array<T> &out, float *time, int32_t reset) {
        return Fn<T>::resample[Rank - 1](x.h(), coef.h(), interpolation, &params, reset, antiAlias,
                                              out.h(), time, histA.h(), histB.h(), &state);
    }
    bool Zeroed() const {
        const FDResampleState zero{};
        return std::memcmp(&state, &zero, offsetof(FDResampleState, position) + 4) == 0;
    }
};

// A symmetric prototype whose taps at whole input samples are 1/I at the
// centre and 0 elsewhere: at ratio 1 and offset 0 it passes the input exactly.
template <class R>
std::vector<R> Passing(int32_t I, int32_t zeros, unsigned seed) {
    const int32_t M = 2 * I * zeros + 1, c = I * zeros;
    auto h = Random<R>(M, seed);
    for (int32_t i = 0; i <= c; ++i) h[M - 1 - i] = h[i];
    for (int32_t i = c % I; i < M; i += I) h[i] = 0;
    h[c] = R(1) / static_cast<R>(I);
    return h;
}

// Windowed sinc lowpass at I times the rate, cut-off at the input Nyquist,
// unit DC gain.
template <class R>
std::vector<R> Lowpass(int32_t I, int32_t zeros) {
    const int32_t M = 2 * I * zeros + 1;
    const double c = (M - 1) / 2.0, pi = 3.14159265358979323846;
    std::vector<double> h(M);
    double sum = 0;
    for (int32_t n = 0; n < M; ++n) {
        const double u = (n - c) / I;
        const double sinc = u == 0 ? 1.0 : std::sin(pi * u) / (pi * u);
        h[n] = sinc * (0.5 + 0.5 * std::cos(pi * (n - c) / (c + 1)));
        sum += h[n];
    }
    std::vector<R> out(M);
    for (int32_t n = 0; n < M; ++n) out[n] = static_cast<R>(h[n] / sum);
    return out;
}

// Feeds channels (rows) in blocks cut at `cuts`; collects each channel's
// output, and each block's first output time and count.
template <class T, int Rank>
struct Fed {
    std::vector<std::vector<T>> y;
    std::vector<std::pair<float, int32_t>> blocks;
};
template <class T, int Rank>
Fed<T, Rank> FeedBlocks(Stream<T, Rank> &st, const std::vector<std::vector<T>> &rows, std::vector<size_t> cuts) {
    const size_t C = rows.size(), N = rows[0].size();
    cuts.push_back(N);
    Fed<T, Rank> fed;
    fed.y.resize(C);
    size_t from = 0;
    for (size_t b = 0; b < cuts.size(); ++b) {
        const int32_t n = static_cast<int32_t>(cuts[b] - from);
        Array<T> x(Rank == 1 ? std::vector<int32_t>{n} : std::vector<int32_t>{static_cast<int32_t>(C), n},
                   typename Array<T>::Shape{});
        for (size_t ch = 0; ch < C; ++ch)
            if (n > 0) std::memcpy(x.data() + ch * n, rows[ch].data() + from, n * sizeof(T));
        Array<T> out(std::vector<int32_t>(Rank, 0), typename Array<T>::Shape{});
        float time = -1;
        EXPECT_EQ(st.Feed(x, out, &time, b == 0), 0);
        const int32_t K = out.dims()[Rank - 1];
        const auto v = out.values();
        for (size_t ch = 0; ch < C; ++ch) fed.y[ch].insert(fed.y[ch].end(), v.begin() + ch * K, v.begin() + (ch + 1) * K);
        fed.blocks.push_back({time, K});
        from = cuts[b];
    }
    return fed;
}

std::vector<size_t> RandomCuts(size_t N, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<size_t> cuts;
    for (size_t at = 0;;) {
        const size_t step = rng() % 3 == 0 ? rng() % 3 : rng() % 60;  // empty and tiny blocks too
        if (at + step >= N) break;
        cuts.push_back(at += step);
    }
    return cuts;
}

TYPED_TEST(ResamplingTest, RatioOneWithASymmetricPrototypeGivesTheDelayedInput) {
    using T = TypeParam;
    Stream<T, 1> st(Passing<RealOf<T>>(4, 3, 5), 4, 1.0f);
    const auto x = Random<T>(50, 9);
    // Half span 12 / 4 = 3 samples: a block shorter than that gives nothing.
    Array<T> head(std::vector<T>(x.begin(), x.begin() + 2)), out;
    float time = -1;
    ASSERT_EQ(st.Feed(head, out, &time, 1), 0);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(time, 0.0f);
    EXPECT_EQ(st.state.historyCount, 2);
    EXPECT_EQ(st.histB.count(), 8);  // H = 2 floor(12 / 4) + 2
    Array<T> rest(std::vector<T>(x.begin() + 2, x.end()));
    ASSERT_EQ(st.Feed(rest, out, &time, 0), 0);
    EXPECT_EQ(time, 0.0f);
    EXPECT_EQ(out.values(), std::vector<T>(x.begin(), x.end() - 3));
    // Nearest taps snap an offset of 0.1 samples back onto the same taps.
    Stream<T, 1> near(Passing<RealOf<T>>(4, 3, 5), 4, 1.0f, 0.1f, 1);
    Array<T> all(x);
    ASSERT_EQ(near.Feed(all, out, &time, 1), 0);
    EXPECT_EQ(time, 0.1f);
    EXPECT_EQ(out.values(), std::vector<T>(x.begin(), x.end() - 3));
    // Linear taps are linear in the position: with taps stretched to a
    // spacing of 2.5 prototype samples (I = 4, ratio 1.6, anti-aliased),
    // shifting every tap by 1/32 of a sample moves no tap past a prototype
    // sample, so the middle offset gives the mean of the outer two.
    std::vector<std::vector<T>> y;
    for (float offset : {0.0f, 0.0125f, 0.025f}) {
        Stream<T, 1> lin(Lowpass<RealOf<T>>(4, 3), 4, 1.6f, offset, 0, 1);
        ASSERT_EQ(lin.Feed(all, out, &time, 1), 0);
        y.push_back(out.values());
    }
    const size_t n = std::min({y[0].size(), y[1].size(), y[2].size()});
    ASSERT_GT(n, 20u);
    for (size_t k = 0; k < n; ++k)
        EXPECT_LT(std::abs(Widen(y[1][k]) - (Widen(y[0][k]) + Widen(y[2][k])) / 2.0L), 1e-5L) << k;
}

TYPED_TEST(ResamplingTest, BlockSplitsGiveTheSameSamplesBitForBit) {
    using T = TypeParam;
    struct Case { int32_t I, zeros; float ratio, offset; int32_t mode, aa; };
    const Case cases[] = {{4, 3, 0.75f, 0.0f, 0, 0},  {8, 4, 1.37f, 2.25f, 0, 1}, {3, 2, 2.5f, 0.6f, 1, 1},
                          {5, 3, 0.3f, 0.0f, 0, 0},   {2, 5, 3.1f, 7.0f, 0, 0},   {1, 2, 1.0f, 0.5f, 0, 0},
                          {6, 2, 2.0f, 0.0f, 0, 1},   {4, 3, 0.1f, 1.3f, 1, 0}};
    const auto x = Random<T>(700, 3);
    unsigned seed = 11;
    for (const Case &c : cases) {
        auto h = Random<RealOf<T>>(2 * c.I * c.zeros + 1, seed);  // not symmetric on purpose
        Stream<T, 1> one(h, c.I, c.ratio, c.offset, c.mode, c.aa);
        const auto whole = FeedBlocks(one, {x}, {});
        ASSERT_GT(whole.y[0].size(), 10u);
        for (int split = 0; split < 3; ++split) {
            Stream<T, 1> st(h, c.I, c.ratio, c.offset, c.mode, c.aa);
            const auto part = FeedBlocks(st, {x}, RandomCuts(x.size(), ++seed));
            ASSERT_EQ(part.y[0], whole.y[0]) << "ratio " << c.ratio << " split " << split;
            // Each block's first output time continues the stream.
            int64_t index = 0;
            for (const auto &[time, K] : part.blocks) {
                EXPECT_EQ(time, static_cast<float>(c.offset + static_cast<double>(index) * c.ratio));
                index += K;
            }
        }
    }
}

// Anti-aliasing stretches the taps only when decimating: at a ratio of 1 or
// below it gives the samples of the plain stream.
TYPED_TEST(ResamplingTest, AntiAliasChangesOnlyDecimation) {
    using T = TypeParam;
    const auto h = Lowpass<RealOf<T>>(6, 4);
    const auto x = Random<T>(200, 8);
    for (const float ratio : {0.3f, 0.75f, 1.0f, 1.5f}) {
        Stream<T, 1> plain(h, 6, ratio, 0.4f, 0, 0), aa(h, 6, ratio, 0.4f, 0, 1);
        const bool same = FeedBlocks(plain, {x}, {}).y[0] == FeedBlocks(aa, {x}, {}).y[0];
        EXPECT_EQ(same, ratio <= 1.0f) << "ratio " << ratio;
    }
}

TYPED_TEST(ResamplingTest, MultichannelEqualsOneCallPerChannel) {
    using T = TypeParam;
    const auto h = Lowpass<RealOf<T>>(6, 4);
    std::vector<std::vector<T>> rows;
    for (unsigned ch = 0; ch < 3; ++ch) rows.push_back(Random<T>(300, 20 + ch));
    const auto cuts = RandomCuts(300, 4);
    Stream<T, 2> multi(h, 6, 1.7f, 0.4f, 0, 1);
    const auto all = FeedBlocks(multi, rows, cuts);
    for (size_t ch = 0; ch < rows.size(); ++ch) {
        Stream<T, 1> single(h, 6, 1.7f, 0.4f, 0, 1);
        const auto one = FeedBlocks(single, {rows[ch]}, cuts);
        EXPECT_EQ(all.y[ch], one.y[0]) << "channel " << ch;
        EXPECT_EQ(all.blocks, one.blocks);
    }
}

TYPED_TEST(ResamplingTest, FailuresLeaveEverythingEmptyAndTheStateZeroed) {
    using T = TypeParam;
    using R = RealOf<T>;
    const auto h = Passing<R>(4, 3, 2);
    const auto x = Random<T>(40, 1);
    auto expect_clean = [](Stream<T, 1> &st, Array<T> &out, float time, const char *what) {
        EXPECT_TRUE(out.empty()) << what;
        EXPECT_TRUE(st.histA.empty()) << what;
        EXPECT_TRUE(st.histB.empty()) << what;
        EXPECT_EQ(time, 0.0f) << what;
        EXPECT_TRUE(st.Zeroed()) << what;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Bad { float ratio, offset; int32_t I; int32_t status; const char *what; };
    for (const Bad &b : {Bad{0, 0, 4, STATUS_BAD_RESAMPLE_RATIO, "ratio 0"},
                         Bad{-1, 0, 4, STATUS_BAD_RESAMPLE_RATIO, "ratio -1"},
                         Bad{nan, 0, 4, STATUS_BAD_RESAMPLE_RATIO, "ratio NaN"},
                         Bad{1, -0.5f, 4, STATUS_BAD_START_OFFSET, "offset -0.5"},
                         Bad{1, 0, 0, STATUS_BAD_RESAMPLE_RATIO, "interpolation 0"}}) {
        Stream<T, 1> st(h, b.I, b.ratio, b.offset);
        Array<T> in(x), out(x);
        float time = 5;
        EXPECT_EQ(st.Feed(in, out, &time, 1), b.status) << b.what;
        expect_clean(st, out, time, b.what);
        // A zeroed state must be reset first.
        EXPECT_EQ(st.Feed(in, out, &time, 0), STATUS_BAD_RESAMPLE_RATIO) << b.what;
    }
    {
        Stream<T, 1> st({}, 4, 1.0f);
        Array<T> in(x), out;
        float time = 5;
        EXPECT_EQ(st.Feed(in, out, &time, 1), STATUS_EMPTY_OPERAND);
        expect_clean(st, out, time, "no coefficients");
    }
    {
        // More taps than the history holds: a longer prototype mid-stream.
        Stream<T, 1> st(h, 4, 1.0f);
        Array<T> in(x), out;
        float time;
        ASSERT_EQ(st.Feed(in, out, &time, 1), 0);
        Array<R> longer(Lowpass<R>(4, 9));
        EXPECT_EQ(Fn<T>::resample[0](in.h(), longer.h(), 4, &st.params, 0, 0, out.h(), &time, st.histA.h(),
                                          st.histB.h(), &st.state),
                  STATUS_TOO_MANY_TAPS);
        expect_clean(st, out, time, "too many taps");
    }
    {
        Stream<T, 1> st(h, 4, 1.0f);
        Array<T> in(x), out;
        float time;
        static_cast<int32_t *>(*in.h())[0] = -3;
        EXPECT_EQ(st.Feed(in, out, &time, 1), STATUS_BAD_START_OFFSET);
        static_cast<int32_t *>(*in.h())[0] = 40;
        expect_clean(st, out, time, "negative length");
        EXPECT_EQ(Fn<T>::resample[0](in.h(), st.coef.h(), 4, &st.params, 1, 0, out.h(), &time, nullptr,
                                          st.histB.h(), &st.state),
                  STATUS_NO_WORKSPACE);
    }
    // Every resize and scratch failure of a reset call and of a call whose
    // outputs reach into the history.
    for (int64_t nth = 1;; ++nth) {
        Stream<T, 1> st(h, 4, 1.0f);
        Array<T> in(x), out;
        float time = 5;
        FennelHostFailResize(nth);
        const int32_t status = st.Feed(in, out, &time, 1);
        FennelHostFailResize(0);
        if (status == 0) break;
        EXPECT_EQ(status, STATUS_OUT_OF_MEMORY) << nth;
        expect_clean(st, out, time, "resize failure");
    }
    int64_t failures = 0;
    for (int64_t nth = 1;; ++nth) {
        Stream<T, 1> st(h, 4, 1.0f);
        Array<T> in(x), out;
        float time;
        ASSERT_EQ(st.Feed(in, out, &time, 1), 0);
        FennelHostFailNewPtr(nth);
        const int32_t status = st.Feed(in, out, &time, 0);
        FennelHostFailNewPtr(0);
        if (status == 0) break;
        ++failures;
        EXPECT_EQ(status, STATUS_OUT_OF_MEMORY) << nth;
        expect_clean(st, out, time, "scratch failure");
    }
    EXPECT_GT(failures, 0);
}

}  // namespace
}  // namespace fennel::test

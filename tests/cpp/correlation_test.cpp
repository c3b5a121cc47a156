// Convolution, correlation and autocorrelation (1D and 2D): documented
// examples, both methods against a long-double reference for every element
// type and mixed pair, plan reuse, and failure hygiene under every fault.
#include <algorithm>
#include <cstring>
#include <functional>
#include <span>
#include <string>

#include "correlation/correlation_core.h"
#include "support.h"

namespace fennel::test {
namespace {

using LC = std::complex<long double>;

template <class X, class Y>
struct Pair {
    using A = X;
    using B = Y;
    using O = corr::OutOf<X, Y>;
};

// The 1D exports of each pair, and the single-type exports of each type.
template <class X, class Y>
struct Fns1D;
#define PAIR_FNS(X, Y, p)                               \
    template <>                                         \
    struct Fns1D<X, Y> {                                \
        static constexpr auto conv = p##1DConvolutionH; \
        static constexpr auto corr = p##1DCorrelationH; \
    };
PAIR_FNS(float, float, s)
PAIR_FNS(double, double, d)
PAIR_FNS(cfloat, cfloat, c)
PAIR_FNS(cdouble, cdouble, z)
PAIR_FNS(float, cfloat, sc)
PAIR_FNS(double, cdouble, dz)
PAIR_FNS(cfloat, float, cs)
PAIR_FNS(cdouble, double, zd)
#undef PAIR_FNS

// Full 2D convolution (rows of 1 give 1D) of row-major matrices; with
// `correlate` x is reversed and conjugated first.
std::vector<LC> Reference(std::vector<LC> x, int r1, int c1, const std::vector<LC> &y, int r2, int c2,
                          bool correlate) {
    if (correlate) {
        std::reverse(x.begin(), x.end());
        for (auto &e : x) e = std::conj(e);
    }
    const int cols = c1 + c2 - 1;
    std::vector<LC> out(static_cast<size_t>((r1 + r2 - 1) * cols));
    for (int i = 0; i < r1; ++i)
        for (int j = 0; j < c1; ++j)
            for (int r = 0; r < r2; ++r)
                for (int c = 0; c < c2; ++c) out[(i + r) * cols + j + c] += x[i * c1 + j] * y[r * c2 + c];
    return out;
}

// Compares got with want within a bound that scales with the operands.
template <class T>
void ExpectNear(const std::vector<T> &got, const std::vector<LC> &want, double scale, size_t n,
                const std::string &what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    const double tol = Tolerance<typename Traits<T>::Real>(n) * 4 * std::max(scale, 1.0);
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_LE(std::abs(Widen(got[i]) - want[i]), tol) << what << " at " << i;
}

template <class T>
double L1(const std::vector<T> &v) {
    double s = 0;
    for (const T &e : v) s += std::abs(static_cast<double>(std::abs(Widen(e))));
    return s;
}

class CorrelationTest : public HostTest {};

// ---- shared pieces ------------------------------------------------------------

TEST_F(CorrelationTest, FastLengthIsTheNextSevenSmoothNumber) {
    const std::pair<int64_t, int64_t> table[] = {{1, 1},           {2, 2},     {11, 12},   {13, 14},
                                                 {17, 18},         {121, 125}, {143, 144}, {575, 576},
                                                 {131071, 131072}, {22, 24},   {29, 30},   {997, 1000}};
    for (auto [in, want] : table) EXPECT_EQ(corr::FastLength(in), want) << in;
}

// ---- documented examples ----------------------------------------------------------

TEST_F(CorrelationTest, DocumentedExamplesByBothMethods) {
    struct Case {
        const char *what;
        std::vector<double> x, y;  // y empty: autocorrelation
        int normalization;
        std::vector<double> want;
    };
    const Case cases[] = {
        {"corr [1,2] [1,1,1]", {1, 2}, {1, 1, 1}, 0, {2, 3, 3, 1}},
        {"corr unbiased 3x3", {1, 1, 1}, {1, 1, 1}, 1, {1, 1, 1, 1, 1}},
        {"corr biased N=4 M=2", {1, 2, 3, 4}, {1, 1}, 2, {4.0 / 4, 7.0 / 4, 5.0 / 4, 3.0 / 4, 1.0 / 4}},
        {"corr unbiased N=2 M=4", {1, 1}, {1, 2, 3, 4}, 1, {1, 3.0 / 2, 5.0 / 2, 7.0 / 2, 4}},
        {"auto [1,2,3]", {1, 2, 3}, {}, 0, {3, 8, 14, 8, 3}},
        {"auto unbiased", {1, 2, 3}, {}, 1, {3, 4, 14.0 / 3, 4, 3}},
        {"auto biased", {1, 2, 3}, {}, 2, {1, 8.0 / 3, 14.0 / 3, 8.0 / 3, 1}},
        {"auto N=1 unbiased", {-3}, {}, 1, {9}},
        {"auto N=1 biased", {-3}, {}, 2, {9}},
    };
    for (const Case &c : cases)
        for (int algorithm : {0, 1}) {
            Array<double> x(c.x), y(c.y), out, rev, fft;
            FDPlanHandle plan = nullptr;
            const int32_t status = c.y.empty()
                                       ? d1DAutoCorrelationH(x.h(), out.h(), algorithm, c.normalization, 0,
                                                             rev.h(), fft.h(), &plan)
                                       : d1DCorrelationH(x.h(), y.h(), out.h(), algorithm, c.normalization, 0,
                                                         rev.h(), fft.h(), &plan);
            ASSERT_EQ(status, 0) << c.what;
            const auto got = out.values();
            ASSERT_EQ(got.size(), c.want.size()) << c.what;
            for (size_t i = 0; i < got.size(); ++i)
                EXPECT_NEAR(got[i], c.want[i], 1e-12) << c.what << " " << i;
            EXPECT_TRUE(rev.empty() && fft.empty()) << c.what;
            EXPECT_EQ(FreeMKLDftiDescH(&plan), 0);
        }
}

// ---- both methods against the reference, every type and pair -------------------

template <class P>
class CorrelationPairTest : public HostTest {};
using Pairs =
    ::testing::Types<Pair<float, float>, Pair<double, double>, Pair<cfloat, cfloat>, Pair<cdouble, cdouble>,
                     Pair<float, cfloat>, Pair<double, cdouble>, Pair<cfloat, float>, Pair<cdouble, double>>;
TYPED_TEST_SUITE(CorrelationPairTest, Pairs);

TYPED_TEST(CorrelationPairTest, ConvolutionAndCorrelationMatchTheReference) {
    using X = typename TypeParam::A;
    using Y = typename TypeParam::B;
    using O = typename TypeParam::O;
    using F = Fns1D<X, Y>;
    // Sizes around the 25-tap switch, blocks shorter than the longer operand
    // (dividing it or not) and the default block (0, negative).
    const struct {
        int n, m, block;
    } sizes[] = {{1, 1, 0},   {5, 3, 0},    {3, 5, 0},     {24, 7, 0},   {7, 24, 0}, {25, 7, 0},
                 {7, 25, -3}, {100, 30, 7}, {30, 100, 10}, {60, 60, 59}, {11, 1, 0}, {64, 40, 1}};
    FennelHostSetFillByte(0xFF);  // unwritten scratch reads as NaN
    FDPlanHandle plan = nullptr;
    for (const auto &s : sizes) {
        const auto xv = Random<X>(s.n, s.n * 31 + s.m), yv = Random<Y>(s.m, s.m * 17 + 5);
        Array<X> x(xv);
        Array<Y> y(yv);
        const double scale = L1(xv);
        const auto conv = Reference(Widened(xv), 1, s.n, Widened(yv), 1, s.m, false);
        const auto corr = Reference(Widened(xv), 1, s.n, Widened(yv), 1, s.m, true);
        for (int algorithm : {0, 1}) {
            const std::string what =
                std::to_string(s.n) + "x" + std::to_string(s.m) + " alg " + std::to_string(algorithm);
            for (int mode : {0, 1, 2}) {
                if (mode == 2 && s.m > s.n) continue;
                Array<O> out, full;
                Array<O> fft;
                ASSERT_EQ(F::conv(x.h(), y.h(), out.h(), mode, algorithm, s.block, full.h(), fft.h(), &plan),
                          0)
                    << what;
                const int start = mode == 0 ? 0 : mode == 1 ? s.m / 2 : s.m - 1;
                const int len = mode == 0 ? s.n + s.m - 1 : mode == 1 ? s.n : s.n - s.m + 1;
                ExpectNear(out.values(), std::vector<LC>(conv.begin() + start, conv.begin() + start + len),
                           scale, s.n + s.m, what + " mode " + std::to_string(mode));
                EXPECT_TRUE(full.empty() && fft.empty()) << what;
            }
            Array<O> out, fft;
            Array<X> rev;
            ASSERT_EQ(F::corr(x.h(), y.h(), out.h(), algorithm, 0, s.block, rev.h(), fft.h(), &plan), 0)
                << what;
            ExpectNear(out.values(), corr, scale, s.n + s.m, what + " correlation");
            EXPECT_TRUE(rev.empty() && fft.empty()) << what;
        }
    }
    EXPECT_EQ(FreeMKLDftiDescH(&plan), 0);
}

template <class T>
class CorrelationTypeTest : public HostTest {};
using Types = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(CorrelationTypeTest, Types);

TYPED_TEST(CorrelationTypeTest, TwoDimensionalFamilyMatchesTheReference) {
    using T = TypeParam;
    const auto &F = Fn<T>::conv2;
    FennelHostSetFillByte(0xFF);
    FDPlanHandle plan = nullptr;
    // 1 x N rows (the 1D case), small kernels, kernels longer than 25 in
    // either dimension (axpy by rows or by columns), x smaller than y.
    const struct {
        int r1, c1, r2, c2;
    } shapes[] = {{1, 9, 1, 4},  {5, 6, 3, 3},  {4, 7, 2, 2}, {6, 30, 2, 3},
                  {30, 4, 3, 2}, {2, 3, 5, 26}, {1, 1, 1, 1}, {7, 5, 7, 5}};
    for (const auto &s : shapes) {
        const auto xv = Random<T>(s.r1 * s.c1, s.r1 + 7 * s.c1), yv = Random<T>(s.r2 * s.c2, s.r2 * 3 + s.c2);
        Array<T> x({s.r1, s.c1}), y({s.r2, s.c2});
        std::copy(xv.begin(), xv.end(), x.data());
        std::copy(yv.begin(), yv.end(), y.data());
        const auto conv = Reference(Widened(xv), s.r1, s.c1, Widened(yv), s.r2, s.c2, false);
        const auto corr = Reference(Widened(xv), s.r1, s.c1, Widened(yv), s.r2, s.c2, true);
        const auto self = Reference(Widened(xv), s.r1, s.c1, Widened(xv), s.r1, s.c1, true);
        const int fr = s.r1 + s.r2 - 1, fc = s.c1 + s.c2 - 1;
        const size_t n = static_cast<size_t>(fr * fc);
        for (int algorithm : {0, 1}) {
            const std::string what = std::to_string(s.r1) + "x" + std::to_string(s.c1) + " * " +
                                     std::to_string(s.r2) + "x" + std::to_string(s.c2) + " alg " +
                                     std::to_string(algorithm);
            for (int mode : {0, 1, 2}) {
                Array<T> out({0, 0}), full, fft;
                const int32_t status = F(x.h(), y.h(), out.h(), mode, algorithm, full.h(), fft.h(), &plan);
                if (mode == 2 && (s.r2 > s.r1 || s.c2 > s.c1)) {
                    EXPECT_EQ(status, STATUS_EMPTY_OPERAND) << what;
                    EXPECT_TRUE(out.empty());
                    continue;
                }
                ASSERT_EQ(status, 0) << what << " mode " << mode;
                const int r0 = mode == 0 ? 0 : mode == 1 ? s.r2 / 2 : s.r2 - 1;
                const int c0 = mode == 0 ? 0 : mode == 1 ? s.c2 / 2 : s.c2 - 1;
                const int rows = mode == 0 ? fr : mode == 1 ? s.r1 : s.r1 - s.r2 + 1;
                const int cols = mode == 0 ? fc : mode == 1 ? s.c1 : s.c1 - s.c2 + 1;
                EXPECT_EQ(out.dims(), (std::vector<int32_t>{rows, cols})) << what;
                std::vector<LC> want;
                for (int r = 0; r < rows; ++r)
                    for (int c = 0; c < cols; ++c) want.push_back(conv[(r0 + r) * fc + c0 + c]);
                ExpectNear(out.values(), want, L1(xv), n, what + " mode " + std::to_string(mode));
                EXPECT_TRUE(full.empty() && fft.empty());
            }
            Array<T> out({0, 0}), rev, fft;
            ASSERT_EQ(Fn<T>::corr2(x.h(), y.h(), out.h(), algorithm, rev.h(), fft.h(), &plan), 0) << what;
            EXPECT_EQ(out.dims(), (std::vector<int32_t>{fr, fc}));
            ExpectNear(out.values(), corr, L1(xv), n, what + " correlation");
            // The same array twice takes the one-transform path.
            ASSERT_EQ(Fn<T>::corr2(x.h(), x.h(), out.h(), algorithm, rev.h(), fft.h(), &plan), 0) << what;
            ExpectNear(out.values(), self, L1(xv), n, what + " x with x");
            Array<T> out2({0, 0});
            ASSERT_EQ(Fn<T>::auto2(x.h(), out2.h(), algorithm, rev.h(), fft.h(), &plan), 0) << what;
            EXPECT_EQ(out2.dims(), (std::vector<int32_t>{2 * s.r1 - 1, 2 * s.c1 - 1}));
            ExpectNear(out2.values(), self, L1(xv), n, what + " autocorrelation");
            EXPECT_TRUE(rev.empty() && fft.empty());
        }
    }
    EXPECT_EQ(FreeMKLDftiDescH(&plan), 0);
}

// ---- plan reuse and the one-transform paths -------------------------------------

// ---- failures ---------------------------------------------------------------------

using Call4 = std::function<int32_t(FDArrayHandle out, FDArrayHandle s1, FDArrayHandle s2, FDPlanHandle *)>;
struct BadCall {
    const char *what;
    int32_t status;
    int null_workspace;  // 1 or 2: that workspace is passed as NULL
    Call4 call;
};
// A row whose call is `expr` over (o, a, b, p): output, workspaces, plan.
#define ROW(what, status, null_ws, expr) \
    { what, status, null_ws, [&](auto o, auto a, auto b, auto p) { return expr; } }

TEST_F(CorrelationTest, BadArgumentsGiveTheirStatusAndAnEmptyOutput) {
    Array<double> x(Random<double>(8, 1)), y(Random<double>(3, 2)), e;
    Array<double> mx({4, 5}), my({2, 6}), me({0, 3});
    const BadCall calls[] = {
        ROW("conv empty x", STATUS_EMPTY_ARRAY, 0, d1DConvolutionH(e.h(), y.h(), o, 0, 0, 0, a, b, p)),
        ROW("conv empty y", STATUS_EMPTY_ARRAY, 0, d1DConvolutionH(x.h(), e.h(), o, 0, 0, 0, a, b, p)),
        ROW("conv algorithm 2", STATUS_BAD_SELECTOR, 0, d1DConvolutionH(x.h(), y.h(), o, 0, 2, 0, a, b, p)),
        ROW("conv mode 3", STATUS_BAD_SELECTOR, 0, d1DConvolutionH(x.h(), y.h(), o, 3, 0, 0, a, b, p)),
        ROW("conv mode -1", STATUS_BAD_SELECTOR, 0, d1DConvolutionH(x.h(), y.h(), o, -1, 0, 0, a, b, p)),
        ROW("conv valid M > N", STATUS_EMPTY_OPERAND, 0, d1DConvolutionH(y.h(), x.h(), o, 2, 0, 0, a, b, p)),
        ROW("conv same, no full scratch", STATUS_NO_WORKSPACE, 1, d1DConvolutionH(x.h(), y.h(), o, 1, 0, 0, a, b, p)),
        ROW("conv fft, no fft scratch", STATUS_NO_WORKSPACE, 2, d1DConvolutionH(x.h(), y.h(), o, 0, 1, 0, a, b, p)),
        ROW("corr normalization -1", STATUS_BAD_SELECTOR, 0, d1DCorrelationH(x.h(), y.h(), o, 0, -1, 0, a, b, p)),
        ROW("corr normalization 3", STATUS_BAD_SELECTOR, 0, d1DCorrelationH(x.h(), y.h(), o, 0, 3, 0, a, b, p)),
        ROW("corr direct, no reverse scratch", STATUS_NO_WORKSPACE, 1, d1DCorrelationH(x.h(), y.h(), o, 0, 0, 0, a, b, p)),
        ROW("corr fft, no fft scratch", STATUS_NO_WORKSPACE, 2, d1DCorrelationH(x.h(), y.h(), o, 1, 0, 0, a, b, p)),
        ROW("auto empty", STATUS_EMPTY_ARRAY, 0, d1DAutoCorrelationH(e.h(), o, 0, 0, 0, a, b, p)),
        ROW("auto algorithm -1", STATUS_BAD_SELECTOR, 0, d1DAutoCorrelationH(x.h(), o, -1, 0, 0, a, b, p)),
        ROW("auto fft, no fft scratch", STATUS_NO_WORKSPACE, 2, d1DAutoCorrelationH(x.h(), o, 1, 0, 0, a, b, p)),
    };
    const BadCall calls2d[] = {
        ROW("2D conv empty", STATUS_EMPTY_ARRAY, 0, d2DConvolutionH(me.h(), my.h(), o, 0, 0, a, b, p)),
        ROW("2D conv algorithm 5", STATUS_BAD_SELECTOR, 0, d2DConvolutionH(mx.h(), my.h(), o, 0, 5, a, b, p)),
        ROW("2D conv mode 4", STATUS_BAD_SELECTOR, 0, d2DConvolutionH(mx.h(), my.h(), o, 4, 0, a, b, p)),
        ROW("2D valid, kernel wider", STATUS_EMPTY_OPERAND, 0, d2DConvolutionH(mx.h(), my.h(), o, 2, 1, a, b, p)),
        ROW("2D valid, no full scratch", STATUS_NO_WORKSPACE, 1, d2DConvolutionH(mx.h(), mx.h(), o, 2, 0, a, b, p)),
        ROW("2D conv fft, no fft scratch", STATUS_NO_WORKSPACE, 2, d2DConvolutionH(mx.h(), my.h(), o, 0, 1, a, b, p)),
        ROW("2D corr empty", STATUS_EMPTY_ARRAY, 0, d2DCorrelationH(mx.h(), me.h(), o, 0, a, b, p)),
        ROW("2D corr direct, no reverse scratch", STATUS_NO_WORKSPACE, 1, d2DCorrelationH(mx.h(), my.h(), o, 0, a, b, p)),
        ROW("2D auto algorithm 2", STATUS_BAD_SELECTOR, 0, d2DAutoCorrelationH(mx.h(), o, 2, a, b, p)),
        ROW("2D auto fft, no fft scratch", STATUS_NO_WORKSPACE, 2, d2DAutoCorrelationH(mx.h(), o, 1, a, b, p)),
    };
    for (int rank : {1, 2}) {
        for (const BadCall &c :
             rank == 1 ? std::span<const BadCall>(calls) : std::span<const BadCall>(calls2d)) {
            // Outputs and workspaces that held data before the call.
            Array<double> out(std::vector<int32_t>(rank, 2), Array<double>::Shape{}), s1(Random<double>(5, 1)),
                s2(Random<double>(5, 2));
            FDPlanHandle plan = nullptr;
            FDArrayHandle h1 = c.null_workspace == 1 ? nullptr : s1.h(),
                          h2 = c.null_workspace == 2 ? nullptr : s2.h();
            EXPECT_EQ(c.call(out.h(), h1, h2, &plan), c.status) << c.what;
            EXPECT_TRUE(out.empty()) << c.what;
            EXPECT_TRUE((h1 == nullptr || s1.empty()) && (h2 == nullptr || s2.empty())) << c.what;
            EXPECT_EQ(plan, nullptr) << c.what;
        }
    }
}

TEST_F(CorrelationTest, TwoDimensionalSizeGuard) {
    // Sizes whose product overflows the 32-bit host sizes are refused before
    // any data is read: the headers claim them, the blocks are small.
    Array<float> x({1, 1}), y({1, 1}), out({0, 0}), rev, fft;
    FDPlanHandle plan = nullptr;
    auto *header = static_cast<int32_t *>(*x.h());
    header[0] = 32769;  // 2R - 1 = 65537: 17 bits
    header[1] = 16384;  // 2C - 1 = 32767: 15 bits
    EXPECT_EQ(s2DAutoCorrelationH(x.h(), out.h(), 0, rev.h(), fft.h(), &plan), STATUS_OUT_OF_MEMORY);
    EXPECT_TRUE(out.empty());
    header[0] = 65536;
    header[1] = 32768;
    EXPECT_EQ(s2DConvolutionH(x.h(), y.h(), out.h(), 0, 0, rev.h(), fft.h(), &plan), STATUS_OUT_OF_MEMORY);
    EXPECT_EQ(s2DCorrelationH(y.h(), x.h(), out.h(), 1, rev.h(), fft.h(), &plan), STATUS_OUT_OF_MEMORY);
    EXPECT_TRUE(out.empty());
    header[0] = header[1] = 1;
}

// Every host resize and every engine call made to fail in turn: the status is
// the documented one, the output and every workspace are empty, and a plan
// is freed when the failure is inside the computation (not when the output
// itself could not be sized).
TEST_F(CorrelationTest, EveryFaultLeavesACleanState) {
    Array<cfloat> x(Random<cfloat>(9, 1)), y(Random<cfloat>(4, 2));
    Array<cfloat> mx({3, 4}), my({2, 2});
    std::copy_n(Random<cfloat>(12, 3).data(), 12, mx.data());
    std::copy_n(Random<cfloat>(4, 4).data(), 4, my.data());
    const BadCall calls[] = {
        ROW("conv same fft", 0, 0, c1DConvolutionH(x.h(), y.h(), o, 1, 1, 0, a, b, p)),
        ROW("conv valid direct", 0, 0, c1DConvolutionH(x.h(), y.h(), o, 2, 0, 0, a, b, p)),
        ROW("corr fft", 0, 0, c1DCorrelationH(x.h(), y.h(), o, 1, 1, 0, a, b, p)),
        ROW("corr direct", 0, 0, c1DCorrelationH(x.h(), y.h(), o, 0, 2, 0, a, b, p)),
        ROW("auto fft", 0, 0, c1DAutoCorrelationH(x.h(), o, 1, 1, 0, a, b, p)),
        ROW("2D conv same fft", 0, 0, c2DConvolutionH(mx.h(), my.h(), o, 1, 1, a, b, p)),
        ROW("2D corr direct", 0, 0, c2DCorrelationH(mx.h(), my.h(), o, 0, a, b, p)),
        ROW("2D auto fft", 0, 0, c2DAutoCorrelationH(mx.h(), o, 1, a, b, p)),
    };
    for (const BadCall &c : calls) {
        const char *what = c.what;
        const Call4 &call = c.call;
        const int rank = what[0] == '2' ? 2 : 1;
        // Host resizes: the first one sizes the output.
        for (int nth = 1;; ++nth) {
            Array<cfloat> out(std::vector<int32_t>(rank, 0), Array<cfloat>::Shape{}), s1, s2;
            FDPlanHandle plan = nullptr;
            ASSERT_EQ(call(out.h(), s1.h(), s2.h(), &plan), 0);  // primes the plan
            Array<cfloat> fresh(std::vector<int32_t>(rank, 0), Array<cfloat>::Shape{});
            FennelHostFailResize(nth);
            const bool primed = plan != nullptr;
            const int32_t status = call(fresh.h(), s1.h(), s2.h(), &plan);
            FennelHostFailResize(0);
            EXPECT_TRUE(s1.empty() && s2.empty()) << what << " resize " << nth;
            if (status != 0) {
                EXPECT_EQ(status, STATUS_OUT_OF_MEMORY) << what << " resize " << nth;
                EXPECT_TRUE(fresh.empty()) << what << " resize " << nth;
                // The output's own resize fails before the computation starts.
                EXPECT_EQ(plan != nullptr, nth == 1 && primed) << what << " resize " << nth;
            }
            EXPECT_EQ(FreeMKLDftiDescH(&plan), 0);
            if (status == 0) break;
        }
        // Engine calls, with a primed plan of another length so that the
        // query and the free are exercised too.
        if (std::strstr(what, "fft") == nullptr) continue;  // the direct method calls no engine
        for (engine::Call kind : {engine::Call::kQuery, engine::Call::kFree, engine::Call::kCreate,
                                  engine::Call::kCompute})
            for (int nth = 1; nth <= 3; ++nth) {
                Array<cfloat> out(std::vector<int32_t>(rank, 0), Array<cfloat>::Shape{}), s1, s2;
                Array<cfloat> other(Random<cfloat>(40, 9)), other2({9, 9});
                FDPlanHandle plan = nullptr;
                ASSERT_EQ(rank == 1 ? c1DAutoCorrelationH(other.h(), out.h(), 1, 0, 0, s1.h(), s2.h(), &plan)
                                    : c2DAutoCorrelationH(other2.h(), out.h(), 1, s1.h(), s2.h(), &plan),
                          0);
                engine::FailCall(kind, nth);
                const int32_t status = call(out.h(), s1.h(), s2.h(), &plan);
                engine::ClearFaults();
                EXPECT_TRUE(s1.empty() && s2.empty()) << what;
                if (status != 0) {
                    EXPECT_TRUE(status == STATUS_DFTI_COMPUTE_FAILED || status == STATUS_DFTI_SETUP_FAILED ||
                                status == STATUS_DFTI_FREE_FAILED)
                        << what << " " << status;
                    EXPECT_TRUE(out.empty()) << what;
                    EXPECT_EQ(plan, nullptr) << what;
                }
                EXPECT_EQ(FreeMKLDftiDescH(&plan), 0);
            }
    }
}

#undef ROW

}  // namespace
}  // namespace fennel::test

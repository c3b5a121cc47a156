// DCT and DST, 1D and 2D: values against direct sums in long double, round
// trips, plan reuse, and the state left behind by every failure.
#include <functional>

#include "dft/engine/dfti.h"
#include "dft/plan.h"
#include "support.h"
#include "transforms/dct_dst.h"

namespace fennel::test {
namespace {

using engine::Call;
using LD = long double;
const LD kPi = 3.141592653589793238462643383279502884L;

using Fwd = int32_t (*)(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle, FDPlanHandle *);

// Direct sums: kind 0 DCT-II, 1 DST-I, 2 DCT-III, 3 DST-I times 2/(N+1);
// x is zero-padded or cut to N.
std::vector<LD> Reference(int kind, const std::vector<LD> &x, size_t N) {
    std::vector<LD> y(N, 0.0L);
    const size_t m = std::min(x.size(), N);
    const LD n = static_cast<LD>(N);
    for (size_t k = 0; k < N; ++k)
        for (size_t j = 0; j < m; ++j) {
            if (kind == 0)
                y[k] += x[j] * std::cos(kPi * k * (2 * j + 1) / (2 * n)) * std::sqrt(2 / n) *
                        (k == 0 ? 1 / std::sqrt(2.0L) : 1);
            else if (kind == 2)
                y[k] += x[j] * std::cos(kPi * j * (2 * k + 1) / (2 * n)) * std::sqrt(2 / n) *
                        (j == 0 ? 1 / std::sqrt(2.0L) : 1);
            else
                y[k] += x[j] * std::sin(kPi * (j + 1) * (k + 1) / (n + 1)) * (kind == 3 ? 2 / (n + 1) : 1);
        }
    return y;
}

// Rows, then columns, of an R x C matrix into L0 x L1.
std::vector<LD> Reference2D(int kind, const std::vector<LD> &x, size_t R, size_t C, size_t L0, size_t L1) {
    std::vector<LD> rows(std::min(R, L0) * L1), out(L0 * L1);
    for (size_t r = 0; r < std::min(R, L0); ++r) {
        const auto y = Reference(kind, std::vector<LD>(x.begin() + r * C, x.begin() + (r + 1) * C), L1);
        std::copy(y.begin(), y.end(), rows.begin() + r * L1);
    }
    for (size_t c = 0; c < L1; ++c) {
        std::vector<LD> col(std::min(R, L0));
        for (size_t r = 0; r < col.size(); ++r) col[r] = rows[r * L1 + c];
        const auto y = Reference(kind, col, L0);
        for (size_t r = 0; r < L0; ++r) out[r * L1 + c] = y[r];
    }
    return out;
}

template <class T>
std::vector<LD> Wide(const std::vector<T> &v) {
    return std::vector<LD>(v.begin(), v.end());
}

template <class T>
void ExpectNear(const std::vector<T> &got, const std::vector<LD> &want, double tol, const std::string &what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(static_cast<double>(got[i]), static_cast<double>(want[i]), tol) << what << " at " << i;
}

template <class T>
double Tol(size_t n) {
    return Tolerance<T>(n) * 8 * std::sqrt(static_cast<double>(n) + 1);
}

template <class T>
class TrigTest : public HostTest {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TrigTest, Reals);

// The inverses match their sums and undo the forwards.
TYPED_TEST(TrigTest, InversesMatchDirectSumsAndRoundTrip) {
    using T = TypeParam;
    FennelHostSetFillByte(0xFF);
    for (int n : {1, 2, 3, 4, 5, 6, 7, 9, 16, 31, 64}) {
        const auto x = Random<T>(n, n);
        Array<T> in(x), mid, back, ws;
        FDPlanHandle pf = nullptr, pi = nullptr;
        for (int kind : {0, 1}) {
            const std::string what = "kind " + std::to_string(kind) + " n " + std::to_string(n);
            ASSERT_EQ((kind ? RealFn<T>::idst : RealFn<T>::idct)(in.h(), back.h(), ws.h(), &pi), STATUS_OK);
            ExpectNear(back.values(), Reference(kind ? 3 : 2, Wide(x), n), Tol<T>(n) * 2, what);
            ASSERT_EQ((kind ? RealFn<T>::dst : RealFn<T>::dct)(in.h(), mid.h(), 0, ws.h(), &pf), STATUS_OK);
            ASSERT_EQ((kind ? RealFn<T>::idst : RealFn<T>::idct)(mid.h(), back.h(), ws.h(), &pi), STATUS_OK);
            ExpectNear(back.values(), Wide(x), Tol<T>(n) * 2, what + " round trip");
            EXPECT_TRUE(ws.empty());
            EXPECT_EQ(FreeMKLDftiDescH(&pf), STATUS_OK);
            EXPECT_EQ(FreeMKLDftiDescH(&pi), STATUS_OK);
        }
    }
}

// The inverse DCT keeps a descriptor of the right length whatever its
// domain: 6 then 3 keeps the complex 6-point one, 3 then 6 the real one;
// the values stay right either way.
TYPED_TEST(TrigTest, InverseDCTReusesByLengthAcrossParities) {
    using T = TypeParam;
    for (auto sizes : {std::pair{6, 3}, std::pair{3, 6}, std::pair{10, 5}, std::pair{1, 2}}) {
        FDPlanHandle plan = nullptr;
        Array<T> out, ws;
        engine::ResetCounters();
        for (int n : {sizes.first, sizes.second, sizes.first}) {
            const auto x = Random<T>(n, n + 40);
            Array<T> in(x);
            ASSERT_EQ(RealFn<T>::idct(in.h(), out.h(), ws.h(), &plan), STATUS_OK);
            ExpectNear(out.values(), Reference(2, Wide(x), n), Tol<T>(n) * 2, "n " + std::to_string(n));
        }
        EXPECT_EQ(engine::GetCounters().creates, 1) << sizes.first << " then " << sizes.second;
        EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    }
}

// Every failure of a 1D function; an empty input reaches the computing
// routine only in the inverses.
TEST_F(HostTest, TrigFailuresLeaveCleanState) {
    auto inverse = [](SimpleCall f) {
        Family family = Simple(f);
        family.empty_reaches_core = true;
        return family;
    };
    RunFailureTable<float, float>(Simple([](auto i, auto o, auto w, auto p) { return s1DDCTH(i, o, 0, w, p); }), {8}, {5});
    RunFailureTable<double, double>(Simple([](auto i, auto o, auto w, auto p) { return d1DDCTH(i, o, -1, w, p); }), {8}, {5});
    RunFailureTable<double, double>(Simple([](auto i, auto o, auto w, auto p) { return d1DDSTH(i, o, 0, w, p); }), {8}, {5});
    RunFailureTable<float, float>(inverse(s1DInvDCTH), {8}, {5});
    RunFailureTable<double, double>(inverse(d1DInvDCTH), {8}, {5});
    RunFailureTable<double, double>(inverse(d1DInvDSTH), {8}, {5});
}

// ---- 2D ----------------------------------------------------------------

TYPED_TEST(TrigTest, TwoDimensionalMatchesRowsThenColumns) {
    using T = TypeParam;
    struct Shape { int R, C, L0, L1; };
    const Shape shapes[] = {{1, 6, 0, 0}, {1, 7, 0, 0}, {3, 4, 0, 0}, {5, 7, 0, 0}, {4, 6, 0, 0},
                            {2, 3, 5, 2}, {6, 5, 3, 8}, {4, 4, 7, 9}, {7, 1, 0, 0}, {1, 1, 0, 0},
                            {70, 12, 0, 0}, {9, 70, 0, 67}, {5, 3, 80, 0}};  // several chunks of lines
    FennelHostSetFillByte(0xFF);
    // The plan records are allocated at placement 0 (scratch blocks of a real
    // host are aligned) and kept, re-targeted, across shapes and placements.
    FDPlanHandle plans[2][2] = {};
    for (int placement : {0, 1, 3})
        for (const Shape &s : shapes) {
            FennelHostSetPlacement(placement * static_cast<int>(sizeof(T)));
            const auto x = Random<T>(s.R * s.C, s.R * 10 + s.C);
            Array<T> in({s.R, s.C}), out({0, 0}), back({0, 0}), ws;
            std::copy(x.begin(), x.end(), in.data());
            const int L0 = s.L0 ? s.L0 : s.R, L1 = s.L1 ? s.L1 : s.C;
            for (int kind : {0, 1}) {
                const std::string what = "kind " + std::to_string(kind) + " " + std::to_string(s.R) + "x" +
                                         std::to_string(s.C) + " to " + std::to_string(L0) + "x" + std::to_string(L1);
                FDPlanHandle &pf = plans[kind][0], &pi = plans[kind][1];
                ASSERT_EQ((kind ? RealFn<T>::dst2 : RealFn<T>::dct2)(in.h(), out.h(), s.L0, s.L1, ws.h(), &pf), STATUS_OK);
                EXPECT_EQ(out.dims(), (std::vector<int32_t>{L0, L1}));
                const double tol = Tol<T>(L0 * L1) * (kind ? L0 * L1 : 1);
                ExpectNear(out.values(), Reference2D(kind, Wide(x), s.R, s.C, L0, L1), tol, what);
                ASSERT_EQ((kind ? RealFn<T>::idst2 : RealFn<T>::idct2)(in.h(), back.h(), ws.h(), &pi), STATUS_OK);
                ExpectNear(back.values(), Reference2D(kind ? 3 : 2, Wide(x), s.R, s.C, s.R, s.C), tol, what + " inverse");
                if (L0 == s.R && L1 == s.C) {
                    ASSERT_EQ((kind ? RealFn<T>::idst2 : RealFn<T>::idct2)(out.h(), back.h(), ws.h(), &pi), STATUS_OK);
                    ExpectNear(back.values(), Wide(x), tol, what + " round trip");
                }
                EXPECT_TRUE(ws.empty());
            }
        }
    for (auto &p : plans)
        for (FDPlanHandle &plan : p) EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK);
}

TEST_F(HostTest, Trig2DRecordKeptWhileNothingChanges) {
    Array<double> a({4, 6}), b({5, 6}), out({0, 0}), ws;
    FDPlanHandle plan = nullptr;
    ASSERT_EQ(d2DDCTH(a.h(), out.h(), 0, 0, ws.h(), &plan), STATUS_OK);
    const FDPlanHandle record = plan;
    ASSERT_EQ(d2DDCTH(a.h(), out.h(), 0, 0, ws.h(), &plan), STATUS_OK);
    EXPECT_EQ(engine::GetCounters().creates, 2);
    EXPECT_EQ(plan, record);
    struct Step { std::function<int32_t()> call; long creates; };
    const Step steps[] = {
        {[&] { return d2DDCTH(b.h(), out.h(), 4, 0, ws.h(), &plan); }, 2},   // same sizes, same rows used
        {[&] { return d2DDCTH(b.h(), out.h(), 0, 0, ws.h(), &plan); }, 4},   // 5 rows
        {[&] { return d2DDSTH(b.h(), out.h(), 0, 0, ws.h(), &plan); }, 6},   // another kind
        {[&] { return d2DInvDSTH(b.h(), out.h(), ws.h(), &plan); }, 8},      // inverse scaling
        {[&] { return d2DInvDSTH(b.h(), out.h(), ws.h(), &plan); }, 8},
    };
    for (const Step &s : steps) {
        ASSERT_EQ(s.call(), STATUS_OK);
        EXPECT_EQ(engine::GetCounters().creates, s.creates);
    }
    EXPECT_EQ(engine::GetCounters().live - live_, 2);
    EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK);
    EXPECT_EQ(plan, nullptr);
}

TEST_F(HostTest, Trig2DFailuresLeaveCleanState) {
    Array<float> x({3, 5}), empty({0, 4}), out({2, 2}), ws;
    std::fill(x.data(), x.data() + 15, 1.0f);
    FDPlanHandle plan = nullptr;
    // Handle level: the plan is untouched.
    ASSERT_EQ(s2DDCTH(x.h(), out.h(), 0, 0, ws.h(), &plan), STATUS_OK);
    const FDPlanHandle record = plan;
    EXPECT_EQ(s2DDCTH(empty.h(), out.h(), 0, 0, ws.h(), &plan), STATUS_EMPTY_ARRAY);
    EXPECT_EQ(fennel::Call(Trig2D<float>, x.h(), out.h(), 0, 0, 4, ws.h(), &plan), STATUS_BAD_SELECTOR);
    EXPECT_EQ(fennel::Call(Trig2D<float>, x.h(), out.h(), 0, 0, -1, ws.h(), &plan), STATUS_BAD_SELECTOR);
    EXPECT_EQ(out.dims(), (std::vector<int32_t>{0, 0}));
    const int64_t resizes = FennelHostResizeCalls();
    EXPECT_EQ(s2DDSTH(x.h(), out.h(), 65536, 32768, ws.h(), &plan), STATUS_OUT_OF_MEMORY);
    EXPECT_LE(FennelHostResizeCalls() - resizes, 1);  // at most emptying the output
    FennelHostFailResize(1);
    EXPECT_EQ(s2DDCTH(x.h(), out.h(), 0, 0, ws.h(), &plan), STATUS_OUT_OF_MEMORY);
    EXPECT_EQ(plan, record);
    EXPECT_TRUE(ws.empty());
    EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK);

    // Inside the computing routine the record is released, fresh or cached
    // (cached for the inverse DCT, so the failing call rebuilds both).
    struct Case { const char *what; std::function<void()> arm; int32_t status; bool withWorkspace; };
    const Case cases[] = {
        {"no workspace", [] {}, STATUS_NO_WORKSPACE, false},
        {"record", [] { FennelHostFailNewPtr(1); }, STATUS_OUT_OF_MEMORY, true},
        {"workspace", [] { FennelHostFailResize(2); }, STATUS_OUT_OF_MEMORY, true},
        {"free", [] { engine::FailCall(Call::kFree, 1); }, STATUS_DFTI_FREE_FAILED, true},
        {"create 1", [] { engine::FailCall(Call::kCreate, 1); }, STATUS_DFTI_SETUP_FAILED, true},
        {"create 2", [] { engine::FailCall(Call::kCreate, 2); }, STATUS_DFTI_SETUP_FAILED, true},
        {"compute 1", [] { engine::FailCall(Call::kCompute, 1); }, STATUS_DFTI_COMPUTE_FAILED, true},
        {"compute 2", [] { engine::FailCall(Call::kCompute, 2); }, STATUS_DFTI_COMPUTE_FAILED, true},
    };
    for (const Case &c : cases)
        for (bool cached : {false, true}) {
            const std::string what = std::string(c.what) + (cached ? " cached" : " fresh");
            const bool needsRecord = std::string(c.what) == "record", needsCache = std::string(c.what) == "free";
            if (cached == needsRecord && (needsRecord || needsCache)) continue;
            if (!cached && needsCache) continue;
            Array<float> result({2, 2});
            if (cached) {
                ASSERT_EQ(s2DInvDCTH(x.h(), result.h(), ws.h(), &plan), STATUS_OK) << what;
            }
            c.arm();
            EXPECT_EQ(s2DDCTH(x.h(), result.h(), 4, 6, c.withWorkspace ? ws.h() : nullptr, &plan), c.status) << what;
            engine::ClearFaults();
            FennelHostReset();
            EXPECT_EQ(result.dims(), (std::vector<int32_t>{0, 0})) << what;
            EXPECT_TRUE(ws.empty()) << what;
            EXPECT_EQ(plan, nullptr) << what;
            EXPECT_EQ(FreeMKLDCTDSTiDescH(&plan), STATUS_OK) << what;
        }
    // A null plan address plans for the one call.
    EXPECT_EQ(s2DDCTH(x.h(), out.h(), 0, 0, ws.h(), nullptr), STATUS_OK);
}

}  // namespace
}  // namespace fennel::test

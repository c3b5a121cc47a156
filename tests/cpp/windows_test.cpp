// Windows applied in place, windowed FIR design and the IIR direct-form
// filter: documented edge cases, refusals and failure hygiene (agreement with
// scipy and with a model of the arithmetic is tested through the binding).
#include <limits>

#include "support.h"

namespace fennel::test {
namespace {

using LD = long double;

template <class T> using Real = typename Traits<T>::Real;
template <class T> double Eps() { return std::is_same_v<Real<T>, float> ? 1.2e-7 : 2.3e-16; }

// A test signal of n samples whose every sample is (1, 2) for complex types
// and 1 for real ones, so the result holds the multipliers.
template <class T>
std::vector<T> Ones(size_t n) {
    if constexpr (Traits<T>::kComplex)
        return std::vector<T>(n, T(1, 2));
    else
        return std::vector<T>(n, T(1));
}

// The multipliers that took a signal of Ones to y (checking that both parts
// of a complex sample were scaled alike).
template <class T>
std::vector<double> Multipliers(const std::vector<T> &y) {
    std::vector<double> w;
    for (const T &v : y) {
        if constexpr (Traits<T>::kComplex) {
            EXPECT_EQ(v.imag(), Real<T>(2) * v.real()) << "parts scaled differently";
            w.push_back(v.real());
        } else {
            w.push_back(v);
        }
    }
    return w;
}

void ExpectNear(const std::vector<double> &got, const std::vector<double> &want, double tol,
                const std::string &what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], tol) << what << " at " << i;
}

template <class T>
class WindowsTest : public HostTest {};
using ElementTypes = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(WindowsTest, ElementTypes);

// ---- Cosine-sum windows -----------------------------------------------------

TYPED_TEST(WindowsTest, CosineSumDocumentedCases) {
    using T = TypeParam;
    struct Case {
        int32_t n, type, normalise;
        bool null_ws;
        std::vector<double> want;
    };
    const std::vector<Case> cases = {
        {4, 1, 0, false, {0, 0.5, 1, 0.5}},
        {4, 1, 1, false, {0, 1, 2, 1}},
        {2, 1, 0, false, {0, 1}},
        {2, 2, 0, false, {0.08, 1}},
        {2, 2, 1, false, {0.08 / 0.54, 1 / 0.54}},
        {1, 10, 0, true, {1}},  // one sample: nothing is looked at
        {1, -5, 1, true, {1}},
        {6, 0, 0, true, {1, 1, 1, 1, 1, 1}},
        {3, 0, 1, true, {1, 1, 1}},
        {3, 0, 0, false, {1, 1, 1}},
        {5, 1, 0, false, {0, 0.3454915028125263, 0.9045084971874737, 0.9045084971874737, 0.3454915028125263}},
    };
    for (const Case &c : cases) {
        Array<T> x(Ones<T>(c.n));
        Array<double> ws(std::vector<double>(3, 7.0));
        EXPECT_EQ(Fn<T>::allCos(x.h(), c.type, c.normalise, c.null_ws ? nullptr : ws.h()), 0);
        ExpectNear(Multipliers(x.values()), c.want, 4 * Eps<T>(), "n=" + std::to_string(c.n));
        if (c.n > 1 && !c.null_ws) {
            EXPECT_TRUE(ws.empty());
        }
    }
}

// ---- Gaussian and Kaiser --------------------------------------------------

LD BesselI0(LD x) {
    LD sum = 1, term = 1;
    for (int k = 1; k < 200; ++k) {
        term *= (x / 2) * (x / 2) / (static_cast<LD>(k) * k);
        sum += term;
    }
    return sum;
}

TYPED_TEST(WindowsTest, GaussianAndKaiserEdgeCases) {
    using T = TypeParam;
    const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN();
    for (Real<T> param : {Real<T>(0), nan}) {  // Kaiser: no window; Gaussian: sigma 0.2
        Array<T> x(Ones<T>(5)), g(Ones<T>(5)), g02(Ones<T>(5));
        EXPECT_EQ(Fn<T>::kaiser(x.h(), param), 0);
        ExpectNear(Multipliers(x.values()), {1, 1, 1, 1, 1}, 0, "kaiser beta 0/NaN");
        EXPECT_EQ(Fn<T>::gauss(g.h(), param), 0);
        EXPECT_EQ(Fn<T>::gauss(g02.h(), Real<T>(0.2)), 0);
        EXPECT_EQ(g.values(), g02.values());
    }
    {
        Array<T> x(Ones<T>(4));
        const Real<T> beta = 2.5;
        ASSERT_EQ(Fn<T>::kaiser(x.h(), beta), 0);
        const double i0 = static_cast<double>(BesselI0(beta));
        const double mid = static_cast<double>(BesselI0(beta * std::sqrt(0.75L))) / i0;
        ExpectNear(Multipliers(x.values()), {1 / i0, mid, 1, mid}, 1e-8 + 4 * Eps<T>(), "kaiser n 4");
        EXPECT_EQ(Multipliers(x.values())[2], 1.0) << "middle element untouched";
    }
    {
        Array<T> x(Ones<T>(2));
        const Real<T> sigma = 0.3;
        ASSERT_EQ(Fn<T>::gauss(x.h(), sigma), 0);
        const double s = sigma;
        ExpectNear(Multipliers(x.values()), {std::exp(-0.5 * std::pow(1 / (s * 3), 2)), 1}, 4 * Eps<T>(), "gauss n 2");
    }
    for (auto call : {+[](FDArrayHandle h) { return Fn<T>::gauss(h, Real<T>(0.3)); },
                      +[](FDArrayHandle h) { return Fn<T>::kaiser(h, Real<T>(3)); },
                      +[](FDArrayHandle h) { return Fn<T>::triangle(h); }}) {
        Array<T> one(Ones<T>(1)), none(Ones<T>(0));
        EXPECT_EQ(call(one.h()), 0);
        ExpectNear(Multipliers(one.values()), {1}, 0, "one sample");
        EXPECT_EQ(call(none.h()), STATUS_EMPTY_ARRAY);
        EXPECT_TRUE(none.empty());
    }
}

// ---- Symmetric and triangle windows ------------------------------------------

TYPED_TEST(WindowsTest, SymmetricAndTriangleDocumentedCases) {
    using T = TypeParam;
    const double nan = std::nan("");
    struct Case {
        int32_t n, type;
        double param;
        int32_t status;
        std::vector<double> want;
    };
    const std::vector<Case> cases = {
        {5, 1, 0, 0, {0, 0.5, 1, 0.5, 0}},
        {5, 30, 0, 0, {0, 0.5, 1, 0.5, 0}},
        {6, 30, 0, 0, {0, 0.4, 0.8, 0.8, 0.4, 0}},
        {2, 1, 0, 0, {1, 1}},
        {2, 30, 0, 0, {1, 1}},
        {2, 60, 3, 0, {1, 1}},
        {2, 62, 0.3, 0, {1, 1}},
        {2, 10, 0, STATUS_BAD_SELECTOR, {}},
        {5, 10, 0, STATUS_BAD_SELECTOR, {}},
        {5, 61, 0, STATUS_BAD_SELECTOR, {}},
        {5, 63, 0, STATUS_BAD_SELECTOR, {}},
        {5, -1, 0, STATUS_BAD_SELECTOR, {}},
        {0, 0, 0, 0, {}},
        {0, 1, 0, STATUS_EMPTY_ARRAY, {}},
        {0, 62, 0, STATUS_EMPTY_ARRAY, {}},
        {4, 0, 0, 0, {1, 1, 1, 1}},
        {5, 60, nan, 0, {1, 1, 1, 1, 1}},
        {5, 60, 0, 0, {1, 1, 1, 1, 1}},
    };
    for (const Case &c : cases) {
        Array<T> x(Ones<T>(c.n));
        Array<double> ws;
        EXPECT_EQ(Fn<T>::symm(x.h(), c.type, static_cast<Real<T>>(c.param), ws.h()), c.status) << c.type;
        ExpectNear(Multipliers(x.values()), c.want, 4 * Eps<T>(), "type " + std::to_string(c.type));
        EXPECT_TRUE(ws.empty());
    }
    // Symmetric windows of every parametrised type: symmetric, ends at w[0].
    for (int32_t type : {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 60, 62}) {
        for (int32_t n : {3, 4, 11, 64}) {
            Array<T> x(Ones<T>(n));
            Array<double> ws;
            ASSERT_EQ(Fn<T>::symm(x.h(), type, Real<T>(type == 60 ? 5 : 0.35), ws.h()), 0);
            const auto w = Multipliers(x.values());
            for (int32_t i = 0; i < n; ++i) EXPECT_NEAR(w[i], w[n - 1 - i], 8 * Eps<T>()) << type << " " << n;
            EXPECT_EQ(w[0], w[n - 1]);
        }
    }
    // Triangle: periodic, and x[0] is assigned zero even over NaN or infinity.
    for (const auto &[n, want] : std::vector<std::pair<int32_t, std::vector<double>>>{
             {4, {0, 0.5, 1, 0.5}}, {5, {0, 0.4, 0.8, 0.8, 0.4}}, {2, {0, 1}}}) {
        Array<T> x(Ones<T>(n));
        ASSERT_EQ(Fn<T>::triangle(x.h()), 0);
        ExpectNear(Multipliers(x.values()), want, 4 * Eps<T>(), "triangle");
    }
    auto special = Ones<T>(3);
    special[0] = T(std::numeric_limits<Real<T>>::infinity());
    if constexpr (Traits<T>::kComplex) special[0] = T(std::numeric_limits<Real<T>>::quiet_NaN(), 1);
    Array<T> x(special);
    ASSERT_EQ(Fn<T>::triangle(x.h()), 0);
    EXPECT_TRUE(x.values()[0] == T(0));
}

// ---- Windowed FIR design ------------------------------------------------------

template <class T>
class FirTest : public HostTest {};
using TapTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FirTest, TapTypes);

TYPED_TEST(FirTest, DocumentedDesignsAndRefusals) {
    using T = TypeParam;
    const double e = std::sin(0.2 * M_PI) / M_PI;
    struct Case {
        double fs, f1, f2;
        int32_t m, filter, window, status;
        std::vector<double> want;
    };
    const std::vector<Case> cases = {
        {1000, 100, 0, 1, 0, 0, 0, {0.2}},
        {1000, 100, 0, 3, 1, 0, 0, {-e, 0.8, -e}},
        {1000, 100, 0, 4, 1, 0, STATUS_EVEN_TAPS, {}},
        {1000, 100, 300, 4, 3, 0, STATUS_EVEN_TAPS, {}},
        {1000, 500, 0, 3, 0, 0, 0, {std::sin(M_PI) / M_PI, 1.0, std::sin(M_PI) / M_PI}},
        {1000, 500.001, 0, 3, 0, 0, STATUS_BAND_EDGE_ABOVE_NYQUIST, {}},
        {1000, 100, 500.5, 3, 2, 0, STATUS_BAND_EDGE_ABOVE_NYQUIST, {}},
        {1000, 100, 100, 3, 2, 0, STATUS_BAD_FREQUENCY, {}},
        {1000, 200, 100, 3, 3, 0, STATUS_BAD_FREQUENCY, {}},
        {1000, 0, 0, 3, 0, 0, STATUS_BAD_FREQUENCY, {}},
        {-1, 100, 0, 3, 0, 0, STATUS_BAND_EDGE_ABOVE_NYQUIST, {}},
        {0, -1, 0, 3, 1, 0, STATUS_BAD_FREQUENCY, {}},
        {1000, 100, 0, 0, 0, 0, STATUS_BAD_TAP_COUNT, {}},
        {1000, 100, 0, 5, 4, 0, STATUS_BAD_SELECTOR, {}},
        {1000, 100, 0, 5, -1, 0, STATUS_BAD_SELECTOR, {}},
        {1000, 100, 0, 5, 0, 10, STATUS_BAD_SELECTOR, {}},
        {1000, 100, 0, 5, 0, 31, STATUS_BAD_SELECTOR, {}},
    };
    for (const Case &c : cases) {
        Array<T> out(std::vector<T>(2, T(9)));
        Array<double> ws;
        EXPECT_EQ(RealFn<T>::fir(out.h(), c.fs, c.f1, c.f2, c.m, c.filter, c.window, 0, 0, ws.h()), c.status)
            << c.f1 << " " << c.m << " " << c.filter;
        const auto taps = out.values();
        std::vector<double> got(taps.begin(), taps.end());
        ExpectNear(got, c.want, 4 * Eps<T>(), "fir");
        EXPECT_TRUE(ws.empty());
    }
}

// ---- IIR direct-form filter ----------------------------------------------------

template <class T>
struct Filter {
    using R = Real<T>;
    Array<R> a, b;
    Array<T> fstate, rstate, tail;
    Array<R> aws, bws;
    Filter(const std::vector<double> &bv, const std::vector<double> &av)
        : a(std::vector<R>(av.begin(), av.end())), b(std::vector<R>(bv.begin(), bv.end())) {}
    int32_t Run(Array<T> &x, int32_t init = 0) {
        return Fn<T>::iir(x.h(), a.h(), b.h(), fstate.h(), rstate.h(), init, tail.h(), aws.h(), bws.h());
    }
    bool WorkspacesEmpty() const { return tail.empty() && aws.empty() && bws.empty(); }
};

TYPED_TEST(WindowsTest, IirEdgeCases) {
    using T = TypeParam;
    using R = Real<T>;
    const auto x = Random<T>(10, 9);
    {  // b = [1], a empty: unchanged; the forward state is emptied, the reverse one untouched.
        Filter<T> f({1}, {});
        Array<T> sig(x);
        Array<T> fs(std::vector<T>(3, T(1))), rs(std::vector<T>(2, T(1)));
        ASSERT_EQ(Fn<T>::iir(sig.h(), f.a.h(), f.b.h(), fs.h(), rs.h(), 0, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(sig.values(), x);
        EXPECT_TRUE(fs.empty());
        EXPECT_EQ(rs.dims()[0], 2);
    }
    {  // b = [2], a = [4]: scaled by 2 then 0.25, no workspace needed.
        Filter<T> f({2}, {4});
        Array<T> sig(x);
        ASSERT_EQ(Fn<T>::iir(sig.h(), f.a.h(), f.b.h(), f.fstate.h(), f.rstate.h(), 0, nullptr, nullptr, nullptr), 0);
        const auto y = sig.values();
        for (size_t i = 0; i < x.size(); ++i) EXPECT_EQ(y[i], x[i] * R(2) * R(0.25));
    }
    {  // Both coefficient arrays empty, or an empty signal: nothing changes.
        Filter<T> f({}, {});
        Array<T> sig(x), none;
        Array<T> fs(std::vector<T>(2, T(3)));
        EXPECT_EQ(Fn<T>::iir(sig.h(), f.a.h(), f.b.h(), fs.h(), nullptr, 0, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(sig.values(), x);
        EXPECT_EQ(fs.dims()[0], 2);
        Filter<T> g({1, 2}, {1, 0.5});
        EXPECT_EQ(g.Run(none), 0);
        EXPECT_TRUE(g.fstate.empty());
    }
    {  // a given, b empty: refused, everything emptied.
        Filter<T> f({}, {1, 0.5});
        Array<T> sig(x);
        Array<T> fs(std::vector<T>(2, T(3))), rs(std::vector<T>(1, T(3)));
        EXPECT_EQ(Fn<T>::iir(sig.h(), f.a.h(), f.b.h(), fs.h(), rs.h(), 0, nullptr, nullptr, nullptr),
                  STATUS_EMPTY_OPERAND);
        EXPECT_TRUE(sig.empty() && fs.empty() && rs.empty());
    }
    {  // A block shorter than nb-1 shifts the forward state and appends the block.
        Filter<T> f({1, 1, 1, 1, 1, 1}, {1});
        Array<T> first(std::vector<T>(x.begin(), x.begin() + 5)), second(std::vector<T>(x.begin() + 5, x.begin() + 7));
        ASSERT_EQ(f.Run(first), 0);
        ASSERT_EQ(f.Run(second), 0);
        EXPECT_EQ(f.fstate.values(), std::vector<T>(x.begin() + 2, x.begin() + 7));
        // Output and reverse-state shift for a short block of a recursive filter.
        Filter<T> g({1}, {1, 0, 0, 0, 0, -0.5});
        Array<T> one(std::vector<T>(x.begin(), x.begin() + 1)), two(std::vector<T>(x.begin() + 1, x.begin() + 3));
        ASSERT_EQ(g.Run(one), 0);
        ASSERT_EQ(g.Run(two), 0);
        const std::vector<T> want = {T(0), T(0), x[0], x[1], x[2]};
        EXPECT_EQ(g.rstate.values(), want);
    }
    {  // init clears correctly sized states first.
        Filter<T> f({0.5, 0.5}, {1, -0.5});
        Array<T> warm(x), cold(x), fresh(x);
        ASSERT_EQ(f.Run(warm), 0);
        ASSERT_EQ(f.Run(cold, 1), 0);
        Filter<T> g({0.5, 0.5}, {1, -0.5});
        ASSERT_EQ(g.Run(fresh), 0);
        EXPECT_EQ(cold.values(), fresh.values());
    }
    {  // a[0] = 0 follows IEEE arithmetic: every non-zero output is infinite or NaN.
        Filter<T> f({1, 1}, {0, 0.5});
        Array<T> sig(x);
        ASSERT_EQ(f.Run(sig), 0);
        for (const T &v : sig.values()) EXPECT_FALSE(std::isfinite(std::abs(Widen(v))));
    }
}

// Every resize fails in turn: a failure empties the signal, both states and
// all workspaces; a failing cleanup resize changes no result.  Null
// workspaces that are needed are refused.
TYPED_TEST(WindowsTest, IirFailureSweep) {
    using T = TypeParam;
    const auto x = Random<T>(20, 3);
    const std::vector<double> b = {0.2, 0.3, 0.2}, a = {1, -0.5, 0.2};
    Filter<T> clean(b, a);
    Array<T> want(x);
    const int64_t before = FennelHostResizeCalls();
    ASSERT_EQ(clean.Run(want), 0);
    const int64_t calls = FennelHostResizeCalls() - before;
    int failures = 0;
    for (int64_t nth = 1; nth <= calls; ++nth) {
        Filter<T> f(b, a);
        Array<T> sig(x);
        FennelHostFailResize(nth);
        const int32_t status = f.Run(sig);
        FennelHostFailResize(0);
        if (status < 0) {
            ++failures;
            EXPECT_EQ(status, STATUS_OUT_OF_MEMORY);
            EXPECT_TRUE(sig.empty() && f.fstate.empty() && f.rstate.empty()) << nth;
            EXPECT_TRUE(f.WorkspacesEmpty()) << nth;
        } else {
            EXPECT_EQ(sig.values(), want.values()) << nth;
        }
    }
    // States, tail, and (but for zd) the two padded coefficient arrays.
    EXPECT_EQ(failures, (std::is_same_v<T, cdouble> ? 3 : 5));
    for (int which = 0; which < 3; ++which) {
        Filter<T> f(b, a);
        Array<T> sig(x);
        const bool zd = std::is_same_v<T, cdouble>;
        const int32_t status = Fn<T>::iir(sig.h(), f.a.h(), f.b.h(), f.fstate.h(), f.rstate.h(), 0,
                                           which == 0 ? nullptr : f.tail.h(), which == 1 ? nullptr : f.aws.h(),
                                           which == 2 ? nullptr : f.bws.h());
        EXPECT_EQ(status, zd && which > 0 ? 0 : STATUS_NO_WORKSPACE) << which;
        EXPECT_TRUE(f.WorkspacesEmpty());
        if (status < 0) {
            EXPECT_TRUE(sig.empty() && f.fstate.empty() && f.rstate.empty());
        }
    }
}

}  // namespace
}  // namespace fennel::test

// Power, auto power, cross power and cross power spectrum: values against a
// naive DFT, the documented edge cases, plan reuse, and every row of the
// failure tables with the state of outputs, workspace, plan and df afterwards.
#include <limits>

#include "spectra/spectra.h"
#include "support.h"

namespace fennel::test {
namespace {

using LC = std::complex<long double>;
constexpr double kPi = 3.141592653589793;

// Spectrum of x zero-padded to L.
template <class T>
std::vector<LC> Spectrum(const std::vector<T> &x, size_t L) {
    std::vector<LC> w(L);
    for (size_t i = 0; i < x.size(); ++i) w[i] = Widen(x[i]);
    return NaiveDft(w, -1);
}

template <class T>
class SpectraTest : public HostTest {
   protected:
    using R = typename Traits<T>::Real;
    using C = typename Traits<T>::Complex;
};
using ElementTypes = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(SpectraTest, ElementTypes);

// Power and auto power of every type against |X_k|^2 / n^2, doubled one-sided
// for real input except at DC and Nyquist; Parseval; df; plan reuse.
TYPED_TEST(SpectraTest, PowerAndAutoPowerMatchTheDefinition) {
    using T = TypeParam;
    using R = typename TestFixture::R;
    constexpr bool kReal = !Traits<T>::kComplex;
    Array<R> out;
    Array<T> ws;
    FDPlanHandle plan = nullptr;
    for (int32_t n : {1, 2, 3, 4, 5, 8, 13, 64}) {
        const auto x = Random<T>(n, n);
        Array<T> in(x);
        const auto X = Spectrum(x, n);
        const double tol = Tolerance<R>(n) * 8;
        engine::ResetCounters();
        ASSERT_EQ(Fn<T>::power(in.h(), out.h(), ws.h(), &plan), STATUS_OK);
        const auto two = out.values();
        ASSERT_EQ(two.size(), static_cast<size_t>(n));
        for (int32_t k = 0; k < n; ++k) {
            EXPECT_NEAR(two[k], std::norm(X[k]) / (n * n), tol) << "n=" << n << " k=" << k;
            if (kReal && k > 0) { EXPECT_EQ(two[k], two[n - k]); }
        }
        double df = 0;
        ASSERT_EQ(Fn<T>::autop(in.h(), out.h(), 0.5, 0, &df, ws.h(), &plan), STATUS_OK);
        EXPECT_EQ(df, 1.0 / (n * 0.5));
        const auto one = out.values();
        ASSERT_EQ(one.size(), static_cast<size_t>(n / 2 + 1));
        double sum_one = 0, sum_two = 0;
        for (int32_t k = 0; k <= n / 2; ++k) {
            const bool doubled = kReal && k != 0 && 2 * k != n;
            EXPECT_NEAR(one[k], two[k] * (doubled ? 2 : 1), tol) << "n=" << n << " k=" << k;
            sum_one += one[k];
        }
        for (R v : two) sum_two += v;
        if (kReal) { EXPECT_NEAR(sum_one, sum_two, tol * n); }
        ASSERT_EQ(Fn<T>::autop(in.h(), out.h(), 2.0, 1, &df, ws.h(), &plan), STATUS_OK);
        EXPECT_EQ(out.values(), two);
        EXPECT_TRUE(ws.empty());
        // One plan per length, reused by the second and third calls.
        EXPECT_EQ(engine::GetCounters().creates, 1);
    }
    // A constant real signal has all its power at DC; NaN dt passes.
    Array<T> constant(std::vector<T>(6, T(3)));
    double df = 0;
    ASSERT_EQ(Fn<T>::autop(constant.h(), out.h(), std::nan(""), 1, &df, ws.h(), &plan), STATUS_OK);
    EXPECT_TRUE(std::isnan(df));
    EXPECT_EQ(out.values(), (std::vector<R>{9, 0, 0, 0, 0, 0}));
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
}

// Cross power and cross power spectrum against conj(X) Y / L^2, with padding
// either way, at every block placement with NaN-filled fresh memory.
TYPED_TEST(SpectraTest, CrossPowerMatchesTheDefinition) {
    using T = TypeParam;
    using R = typename TestFixture::R;
    using C = typename TestFixture::C;
    constexpr bool kReal = !Traits<T>::kComplex;
    FennelHostSetFillByte(0xFF);
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {5, 5}, {4, 7}, {7, 4}, {8, 3}, {3, 10}};
    int32_t placement = 0;
    for (auto [nx, ny] : sizes) {
        FennelHostSetPlacement(placement = (placement + 24) % 64);  // multiples of 8
        const auto x = Random<T>(nx, nx), y = Random<T>(ny, 100 + ny);
        const int32_t L = std::max(nx, ny);
        const auto X = Spectrum(x, L), Y = Spectrum(y, L);
        Array<T> xa(x), ya(y), ws;
        Array<C> out;
        Array<R> mag, ph;
        FDPlanHandle plan = nullptr;
        ASSERT_EQ(Fn<T>::cross(xa.h(), ya.h(), out.h(), ws.h(), &plan), STATUS_OK);
        const auto P = out.values();
        ASSERT_EQ(P.size(), static_cast<size_t>(L));
        const double tol = Tolerance<R>(L) * 8;
        for (int32_t k = 0; k < L; ++k) {
            const LC ref = std::conj(X[k]) * Y[k] / static_cast<long double>(L * L);
            EXPECT_NEAR(P[k].real(), static_cast<double>(ref.real()), tol) << nx << "," << ny << " k=" << k;
            EXPECT_NEAR(P[k].imag(), static_cast<double>(ref.imag()), tol) << nx << "," << ny << " k=" << k;
        }
        for (int32_t type : {0, 1}) {
            double df = 0;
            ASSERT_EQ(Fn<T>::cross_spectrum(xa.h(), ya.h(), 0.25, type, &df, mag.h(), ph.h(),
                                                 ws.h(), &plan), STATUS_OK);
            EXPECT_EQ(df, 1.0 / (L * 0.25));
            const auto m = mag.values(), p = ph.values();
            ASSERT_EQ(m.size(), static_cast<size_t>(type == 1 ? L : L / 2 + 1));
            ASSERT_EQ(p.size(), m.size());
            for (size_t k = 0; k < m.size(); ++k) {
                const bool edge = kReal && (k == 0 || 2 * k == static_cast<size_t>(L));
                const double f = kReal && type == 0 && !edge ? 2 : 1;
                const std::complex<double> got = std::polar<double>(m[k], p[k]);
                EXPECT_NEAR(std::abs(got - f * std::complex<double>(P[k])), 0, tol * 2) << k;
                if (edge) { EXPECT_TRUE(p[k] == R(0) || p[k] == R(kPi)) << p[k]; }
                if (kReal && type == 1 && k > 0 && !edge) {
                    EXPECT_EQ(m[L - k], m[k]);
                    EXPECT_EQ(p[L - k], -p[k]);
                }
            }
        }
        EXPECT_TRUE(ws.empty());
        EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    }
}

// The single-precision kernel forms DC and Nyquist products in double, so
// values whose square overflows float still give finite powers.
using SpectraKernelTest = HostTest;
TEST_F(SpectraKernelTest, SinglePrecisionDcAndNyquistAreFormedInDouble) {
    const int32_t n = 1 << 16;
    std::vector<float> ccs(n + 2, 0.0f), out(n);
    ccs[0] = 1e20f;
    ccs[n] = -1e20f;
    PowerFromSpectrum<float>(out.data(), n, ccs.data(), 1);
    const float expected = static_cast<float>(1e40 / (65536.0 * 65536.0));
    EXPECT_FLOAT_EQ(out[0], expected);
    EXPECT_FLOAT_EQ(out[n / 2], expected);
}

TYPED_TEST(SpectraTest, FailureTables) {
    using T = TypeParam;
    using R = typename TestFixture::R;
    using C = typename TestFixture::C;
    // The second signal of the cross families is shorter than both inputs,
    // so that L follows the first.
    Array<T> y(Random<T>(3, 9));
    RunFailureTable<T, R>(Simple([](auto in, auto o, auto ws, auto plan) { return Fn<T>::power(in, o, ws, plan); }),
                          {8}, {5});
    RunFailureTable<T, R>({[](auto in, auto o, auto, auto ws, double dt, int32_t type, double *df, auto plan) {
                               return Fn<T>::autop(in, o, dt, type, df, ws, plan);
                           },
                           1, 1, true},
                          {8}, {5});
    RunFailureTable<T, C>({[&y](auto in, auto o, auto, auto ws, double, int32_t, double *, auto plan) {
                               return Fn<T>::cross(in, y.h(), o, ws, plan);
                           },
                           1, 2},
                          {8}, {5});
    RunFailureTable<T, R>({[&y](auto in, auto o0, auto o1, auto ws, double dt, int32_t type, double *df, auto plan) {
                               return Fn<T>::cross_spectrum(y.h(), in, dt, type, df, o0, o1, ws, plan);
                           },
                           2, 2, true},
                          {8}, {5});
}

}  // namespace
}  // namespace fennel::test

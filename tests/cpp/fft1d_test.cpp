// The 1D FFT family against a naive DFT, its edge cases, and every row of its
// failure table with the state of output, workspace and plan afterwards.
#include <functional>
#include <thread>

#include "support.h"

namespace fennel::test {
namespace {

// Spectrum of x padded or truncated to L, natural or centred order.
template <class T>
std::vector<std::complex<long double>> Reference(const std::vector<T> &x, int32_t L, bool shift) {
    std::vector<std::complex<long double>> w(L);
    for (int32_t i = 0; i < L && i < static_cast<int32_t>(x.size()); ++i) w[i] = Widen(x[i]);
    const auto X = NaiveDft(w, -1);
    if (!shift) return X;
    std::vector<std::complex<long double>> c(L);
    for (int32_t i = 0; i < L; ++i) c[i] = X[(i - L / 2 + L) % L];
    return c;
}

template <class T>
class FFT1DTest : public HostTest {
   protected:
    using R = typename Traits<T>::Real;
    using C = typename Traits<T>::Complex;
};
using ElementTypes = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(FFT1DTest, ElementTypes);

// Forward against the naive DFT (padding, truncation, centring); the inverse
// of an unpadded spectrum returns the input.  Blocks at the host's default
// placement and misaligned (the real spectra then take their own path).
TYPED_TEST(FFT1DTest, ForwardMatchesNaiveDftAndInverseReturnsTheInput) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    using R = typename TestFixture::R;
    FDPlanHandle plan = nullptr, inv = nullptr;
    for (int32_t placement : {-1, 0}) {
    FennelHostSetPlacement(placement);
    Array<C> out;
    Array<T> ws, back;
    for (int32_t n : {1, 2, 3, 5, 7, 8, 9, 16, 60, 64, 97, 101}) {
        const auto x = Random<T>(n, n);
        Array<T> in(x);
        for (int32_t fft_size : {0, -3, n, n / 2, n + 5, 2 * n}) {
            const int32_t L = fft_size > 0 ? fft_size : n;
            if (L == 0) continue;
            for (int shift : {0, 1}) {
                ASSERT_EQ(Fn<T>::fwd1(in.h(), out.h(), fft_size, shift, ws.h(), &plan), STATUS_OK);
                ASSERT_EQ(out.dims(), std::vector<int32_t>{L});
                EXPECT_TRUE(ws.empty());
                const auto ref = Reference(x, L, shift != 0);
                const auto got = out.values();
                const double tol = Tolerance<R>(L) * std::sqrt(static_cast<double>(L)) * 2;
                for (int32_t k = 0; k < L; ++k)
                    EXPECT_LE(std::abs(Widen(got[k]) - ref[k]), tol)
                        << "n=" << n << " L=" << L << " shift=" << shift << " k=" << k;
                if constexpr (!Traits<T>::kComplex) {
                    if (!shift) {  // exact conjugate symmetry, bit for bit
                        for (int32_t k = 1; k < L; ++k) {
                            EXPECT_EQ(got[L - k].real(), got[k].real());
                            EXPECT_EQ(got[L - k].imag(), R(-0.0) - got[k].imag());
                        }
                    }
                }
                if (fft_size != 0) continue;
                ASSERT_EQ(Fn<T>::inv1(out.h(), back.h(), shift, ws.h(), &inv), STATUS_OK);
                EXPECT_TRUE(ws.empty());
                const auto y = back.values();
                ASSERT_EQ(y.size(), x.size());
                for (int32_t i = 0; i < n; ++i)
                    EXPECT_LE(std::abs(Widen(y[i]) - Widen(x[i])), Tolerance<R>(n) * 4)
                        << "n=" << n << " shift=" << shift << " round trip";
            }
        }
    }
    }
    FennelHostSetPlacement(-1);
    EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    EXPECT_EQ(FreeMKLDftiDescH(&inv), STATUS_OK);
}

// Calls on different plans may run at once: planning is serialised inside the
// engine, execution is not; the largest runs on the library's two threads.
TEST_F(HostTest, ConcurrentCallsOnSeparatePlansAgreeWithSerialCalls) {
    const std::vector<int32_t> sizes = {30, 64, 97, 128, 210, 256, 1 << 18};
    std::vector<std::vector<cdouble>> serial(sizes.size()), parallel(sizes.size());
    auto run = [&](size_t i, std::vector<cdouble> &result) {
        Array<cdouble> in(Random<cdouble>(sizes[i], static_cast<unsigned>(i))), out;
        FDPlanHandle plan = nullptr;
        for (int rep = 0; rep < 20; ++rep) z1DFFTH(in.h(), out.h(), 0, 1, nullptr, &plan);
        result = out.values();
        FreeMKLDftiDescH(&plan);
    };
    for (size_t i = 0; i < sizes.size(); ++i) run(i, serial[i]);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < sizes.size(); ++i) threads.emplace_back(run, i, std::ref(parallel[i]));
    for (auto &t : threads) t.join();
    EXPECT_EQ(parallel, serial);
}

// Padding (the workspace is needed) to a length that follows the input, so
// that a plan made for the other input is rebuilt; the inverse with shift.
TYPED_TEST(FFT1DTest, FailureTables) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    RunFailureTable<T, C>(Simple([](FDArrayHandle in, FDArrayHandle out, FDArrayHandle ws, FDPlanHandle *plan) {
                              int32_t n = 0;
                              FennelHostArrayDims(in, 1, &n);
                              return Fn<T>::fwd1(in, out, n + 4, 1, ws, plan);
                          }),
                          {8}, {5});
    RunFailureTable<C, T>(Simple([](FDArrayHandle in, FDArrayHandle out, FDArrayHandle ws, FDPlanHandle *plan) {
                              return Fn<T>::inv1(in, out, 1, ws, plan);
                          }),
                          {8}, {5});
}

}  // namespace
}  // namespace fennel::test

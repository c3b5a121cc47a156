// The DFTI engine on its own: the real inverse's reading of its edge bins,
// and the engine's refusals, failures and counters.
#include <limits>

#include "dft/engine/dfti.h"
#include "support.h"

namespace fennel::test {
namespace {

template <class R>
class EngineTest : public HostTest {
   protected:
    static constexpr DFTI_CONFIG_VALUE kPrecision = std::is_same_v<R, float> ? DFTI_SINGLE : DFTI_DOUBLE;
    using C = std::complex<R>;

    // A real 1D descriptor of n points.
    DFTI_DESCRIPTOR_HANDLE Make(long n) {
        DFTI_DESCRIPTOR_HANDLE d = nullptr;
        engine::Geometry g;
        g.precision = kPrecision;
        g.domain = DFTI_REAL;
        g.lengths[0] = n;
        EXPECT_EQ(engine::Create(&d, g), 0);
        return d;
    }
};

using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineTest, Precisions);

// A real inverse disregards the imaginary parts of the zero and Nyquist bins.
TYPED_TEST(EngineTest, RealInverseIgnoresImaginaryPartsOfZeroAndNyquist) {
    using R = TypeParam;
    using C = typename TestFixture::C;
    for (long n : {1L, 2L, 8L, 9L}) {
        DFTI_DESCRIPTOR_HANDLE d = this->Make(n);
        std::vector<C> spectrum(n / 2 + 1, C(1, 0)), spec_nan = spectrum;
        spec_nan[0] = C(1, std::numeric_limits<R>::quiet_NaN());
        if (n % 2 == 0) spec_nan[n / 2] = C(1, std::numeric_limits<R>::quiet_NaN());
        std::vector<R> a(n), b(n);
        ASSERT_EQ(DftiComputeBackward(d, spectrum.data(), a.data()), 0);
        ASSERT_EQ(DftiComputeBackward(d, spec_nan.data(), b.data()), 0);
        for (long i = 0; i < n; ++i) EXPECT_EQ(a[i], b[i]) << n << " at " << i;
        EXPECT_EQ(DftiFreeDescriptor(&d), 0);
    }
}

TEST_F(HostTest, EngineFaultsCountersAndConfigurationRules) {
    using engine::Call;
    DFTI_DESCRIPTOR_HANDLE d = nullptr;
    engine::Geometry g;
    g.lengths[0] = 8;
    g.backward_scale = 0.5;
    engine::FailCall(Call::kCreate);
    EXPECT_NE(engine::Create(&d, g), 0);
    EXPECT_EQ(d, nullptr);
    // Negative strides are refused.
    g.strides = true;
    g.input_strides[1] = -1;
    g.output_strides[1] = 1;
    EXPECT_NE(engine::Create(&d, g), 0);
    EXPECT_EQ(d, nullptr);
    g.strides = false;
    ASSERT_EQ(engine::Create(&d, g), 0);
    std::vector<std::complex<double>> a(8, 1.0), b(8);
    engine::FailCall(Call::kCompute, 2);
    EXPECT_EQ(DftiComputeForward(d, a.data(), b.data()), 0);
    EXPECT_NE(DftiComputeForward(d, a.data(), b.data()), 0);
    EXPECT_DOUBLE_EQ(b[0].real(), 8.0);
    // The backward scale applies backward only.
    ASSERT_EQ(DftiComputeBackward(d, a.data(), b.data()), 0);
    EXPECT_DOUBLE_EQ(b[0].real(), 4.0);
    engine::FailCall(Call::kFree);
    EXPECT_NE(DftiFreeDescriptor(&d), 0);
    EXPECT_NE(d, nullptr);
    const engine::Counters c = engine::GetCounters();
    EXPECT_EQ(c.creates, 1);
    EXPECT_EQ(c.computes, 2);
    EXPECT_EQ(DftiFreeDescriptor(&d), 0);
    EXPECT_EQ(engine::GetCounters().frees, 1);
}

}  // namespace
}  // namespace fennel::test

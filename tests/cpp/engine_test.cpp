// The DFTI engine on its own: every geometry the library uses against a naive
// DFT, at every alignment class, with inputs left untouched.
#include <cstdlib>
#include <limits>

#include "correlation/top_rows.h"
#include "dft/engine/dfti.h"
#include "support.h"

namespace fennel::test {
namespace {

using LC = std::complex<long double>;

// A raw buffer whose data start `offset` bytes after a 64-byte boundary.
class Buffer {
   public:
    Buffer(size_t bytes, size_t offset)
        : base_(static_cast<char *>(std::aligned_alloc(64, (bytes + offset + 127) / 64 * 64))),
          data_(base_ + offset) {}
    ~Buffer() { std::free(base_); }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    template <class T> T *as() const { return reinterpret_cast<T *>(data_); }

   private:
    char *base_;
    char *data_;
};

// Full complex DFT of a row-major array of the given dims, naive per axis.
std::vector<LC> NaiveDftMd(std::vector<LC> x, const std::vector<long> &dims, int sign) {
    long inner = 1;
    for (size_t a = dims.size(); a-- > 0;) {
        const long n = dims[a];
        const long outer = static_cast<long>(x.size()) / (n * inner);
        for (long o = 0; o < outer; ++o)
            for (long i = 0; i < inner; ++i) {
                std::vector<LC> line(n);
                for (long k = 0; k < n; ++k) line[k] = x[(o * n + k) * inner + i];
                line = NaiveDft(line, sign);
                for (long k = 0; k < n; ++k) x[(o * n + k) * inner + i] = line[k];
            }
        inner *= n;
    }
    return x;
}

struct Case {
    std::vector<long> dims;
    size_t in_offset;
    size_t out_offset;
};

template <class R>
class EngineTest : public HostTest {
   protected:
    static constexpr DFTI_CONFIG_VALUE kPrecision = std::is_same_v<R, float> ? DFTI_SINGLE : DFTI_DOUBLE;
    using C = std::complex<R>;

    DFTI_DESCRIPTOR_HANDLE Make(DFTI_CONFIG_VALUE domain, const std::vector<long> &dims,
                                double backward_scale) {
        DFTI_DESCRIPTOR_HANDLE d = nullptr;
        EXPECT_EQ(DftiCreateDescriptor(&d, kPrecision, domain, static_cast<long>(dims.size()), dims.data()), 0);
        EXPECT_EQ(DftiSetValue(d, DFTI_PLACEMENT, DFTI_NOT_INPLACE), 0);
        if (domain == DFTI_REAL && dims.size() > 1) {
            EXPECT_EQ(DftiSetValue(d, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX), 0);
        }
        EXPECT_EQ(DftiSetValue(d, DFTI_BACKWARD_SCALE, backward_scale), 0);
        EXPECT_EQ(DftiCommitDescriptor(d), 0);
        return d;
    }

    static std::vector<Case> Cases() {
        std::vector<Case> cases;
        const std::vector<std::vector<long>> shapes = {{1}, {2}, {7}, {16}, {60}, {97},
                                                       {1, 5}, {4, 6}, {5, 3}, {3, 2, 5}, {2, 4, 4}};
        for (const auto &s : shapes)
            for (size_t in : {0, 4, 8, 12})
                for (size_t out : {0, 8}) cases.push_back({s, in, out});
        return cases;
    }
};

using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(EngineTest, Precisions);

// Complex and real transforms against the naive DFT at every alignment
// class; the backward transform returns the input and neither transform
// writes to its input.
TYPED_TEST(EngineTest, MatchesNaiveDftAtEveryAlignmentAndKeepsItsInput) {
    using R = TypeParam;
    using C = typename TestFixture::C;
    for (const Case &c : TestFixture::Cases()) {
        long n = 1;
        for (long d : c.dims) n *= d;
        if (c.in_offset % sizeof(R) != 0) continue;
        const double tol = Tolerance<R>(n) * std::sqrt(static_cast<double>(n)) * 2;
        const auto z = Random<C>(n, static_cast<unsigned>(n));
        std::vector<LC> wide(n);
        for (long i = 0; i < n; ++i) wide[i] = Widen(z[i]);
        const auto ref = NaiveDftMd(wide, c.dims, -1);
        std::vector<R> xr(n);  // the real input: the real parts, its reference their transform
        for (long i = 0; i < n; ++i) xr[i] = z[i].real(), wide[i] = Widen(xr[i]);
        const auto ref_real = NaiveDftMd(wide, c.dims, -1);
        for (bool real : {false, true}) {
            const long last = c.dims.back(), cols = real ? last / 2 + 1 : last, nc = n / last * cols;
            const size_t in_bytes = n * (real ? sizeof(R) : sizeof(C));
            const void *x = real ? static_cast<const void *>(xr.data()) : z.data();
            DFTI_DESCRIPTOR_HANDLE d = this->Make(real ? DFTI_REAL : DFTI_COMPLEX, c.dims, 1.0 / static_cast<double>(n));
            Buffer in(in_bytes, c.in_offset), spectrum(nc * sizeof(C), c.out_offset), copy(nc * sizeof(C), 0),
                back(in_bytes, real ? c.in_offset : c.out_offset);
            std::memcpy(in.as<char>(), x, in_bytes);
            ASSERT_EQ(DftiComputeForward(d, in.as<void>(), spectrum.as<C>()), 0);
            std::memcpy(copy.as<C>(), spectrum.as<C>(), nc * sizeof(C));
            ASSERT_EQ(DftiComputeBackward(d, spectrum.as<C>(), back.as<void>()), 0);
            EXPECT_EQ(std::memcmp(in.as<char>(), x, in_bytes), 0) << "forward input modified";
            EXPECT_EQ(std::memcmp(spectrum.as<C>(), copy.as<C>(), nc * sizeof(C)), 0) << "backward input modified";
            for (long r = 0; r < n / last; ++r)
                for (long k = 0; k < cols; ++k) {
                    const C got = spectrum.as<C>()[r * cols + k];
                    const LC want = (real ? ref_real : ref)[r * last + k];
                    EXPECT_NEAR(got.real(), static_cast<double>(want.real()), tol) << n << " real " << real;
                    EXPECT_NEAR(got.imag(), static_cast<double>(want.imag()), tol) << n << " real " << real;
                }
            for (long i = 0; i < n; ++i) {
                const C got = real ? C(back.as<R>()[i]) : back.as<C>()[i];
                EXPECT_NEAR(std::abs(got - (real ? C(xr[i]) : z[i])), 0, tol) << n << " real " << real;
            }
            EXPECT_EQ(DftiFreeDescriptor(&d), 0);
            EXPECT_EQ(d, nullptr);
        }
    }
}

// A real inverse disregards the imaginary parts of the zero and Nyquist bins.
TYPED_TEST(EngineTest, RealInverseIgnoresImaginaryPartsOfZeroAndNyquist) {
    using R = TypeParam;
    using C = typename TestFixture::C;
    for (long n : {1L, 2L, 8L, 9L}) {
        DFTI_DESCRIPTOR_HANDLE d = this->Make(DFTI_REAL, {n}, 1.0);
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

// The forward transform taken apart by rows and columns reads only the
// leading rows and agrees with the 2D transform of the zero-padded data;
// the unscaled backward transform is the scaled one without the scale.
TYPED_TEST(EngineTest, LeadingRowsForwardAndUnscaledBackward) {
    using R = TypeParam;
    using C = typename TestFixture::C;
    const long lr = 12, lc = 10, half = lc / 2 + 1;
    const MKL_LONG data[3] = {0, lc, 1}, spectra[3] = {0, half, 1};
    DFTI_DESCRIPTOR_HANDLE d = nullptr;
    const long len[2] = {lr, lc};
    ASSERT_EQ(DftiCreateDescriptor(&d, TestFixture::kPrecision, DFTI_REAL, 2, len), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_PLACEMENT, DFTI_NOT_INPLACE), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_INPUT_STRIDES, data), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_OUTPUT_STRIDES, spectra), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_BACKWARD_SCALE, 0.25), 0);
    ASSERT_EQ(engine::SetBackwardLayout(d, spectra, data, false), 0);
    ASSERT_EQ(DftiCommitDescriptor(d), 0);
    PlanGeometry g;  // what the descriptor was made for
    g.precision = TestFixture::kPrecision;
    g.domain = DFTI_REAL;
    g.rank = 2;
    g.lengths[0] = lr;
    g.lengths[1] = lc;
    g.strides = g.complex_complex = true;
    std::copy_n(data, 3, g.input_strides);
    std::copy_n(spectra, 3, g.output_strides);
    Buffer in(sizeof(R) * lr * lc, 0), padded(sizeof(R) * lr * lc, 0), back(sizeof(R) * lr * lc, 0),
        scaled(sizeof(R) * lr * lc, 0), got(sizeof(C) * lr * half, 0), want(sizeof(C) * lr * half, 0);
    for (long rows : {1L, 5L, lr}) {
        const auto x = Random<R>(lr * lc, static_cast<unsigned>(rows));
        for (long i = 0; i < lr * lc; ++i) {
            in.as<R>()[i] = i < rows * lc ? x[i] : std::numeric_limits<R>::quiet_NaN();
            padded.as<R>()[i] = i < rows * lc ? x[i] : R(0);
        }
        ASSERT_EQ(corr::ForwardTopRows(Plan(&d), g, in.as<R>(), got.as<C>(), rows), 0) << rows;
        ASSERT_EQ(DftiComputeForward(d, padded.as<R>(), want.as<C>()), 0);
        for (long k = 0; k < lr * half; ++k) {
            EXPECT_NEAR(got.as<C>()[k].real(), want.as<C>()[k].real(), 1e-4) << rows << " " << k;
            EXPECT_NEAR(got.as<C>()[k].imag(), want.as<C>()[k].imag(), 1e-4) << rows << " " << k;
        }
        ASSERT_EQ(engine::ComputeBackwardUnscaled(d, want.as<C>(), back.as<R>()), 0);
        ASSERT_EQ(DftiComputeBackward(d, want.as<C>(), scaled.as<R>()), 0);
        for (long i = 0; i < lr * lc; ++i) EXPECT_EQ(back.as<R>()[i] * R(0.25), scaled.as<R>()[i]) << i;
    }
    // Misaligned arrays and row counts outside 1 .. lr are refused.
    Buffer odd(sizeof(R) * lr * lc + 8, sizeof(R) == 4 ? 4 : 8);
    EXPECT_NE(corr::ForwardTopRows(Plan(&d), g, odd.as<R>(), got.as<C>(), 2), 0);
    EXPECT_NE(corr::ForwardTopRows(Plan(&d), g, in.as<R>(), got.as<C>(), 0), 0);
    EXPECT_NE(corr::ForwardTopRows(Plan(&d), g, in.as<R>(), got.as<C>(), lr + 1), 0);
    EXPECT_EQ(DftiFreeDescriptor(&d), 0);
}

TEST_F(HostTest, EngineFaultsCountersAndConfigurationRules) {
    using engine::Call;
    DFTI_DESCRIPTOR_HANDLE d = nullptr;
    engine::FailCall(Call::kCreate);
    EXPECT_NE(DftiCreateDescriptor_d_1d(&d, DFTI_COMPLEX, MKL_LONG{8}), 0);
    EXPECT_EQ(d, nullptr);
    ASSERT_EQ(DftiCreateDescriptor_d_1d(&d, DFTI_COMPLEX, MKL_LONG{8}), 0);
    std::vector<std::complex<double>> a(8, 1.0), b(8);
    // In-place is not offered, and an uncommitted descriptor does not compute.
    EXPECT_NE(DftiCommitDescriptor(d), 0);
    EXPECT_NE(DftiComputeForward(d, a.data(), b.data()), 0);
    ASSERT_EQ(DftiSetValue(d, DFTI_PLACEMENT, DFTI_NOT_INPLACE), 0);
    engine::FailCall(Call::kCommit);
    EXPECT_NE(DftiCommitDescriptor(d), 0);
    ASSERT_EQ(DftiCommitDescriptor(d), 0);
    engine::FailCall(Call::kCompute, 2);
    EXPECT_EQ(DftiComputeForward(d, a.data(), b.data()), 0);
    EXPECT_NE(DftiComputeForward(d, a.data(), b.data()), 0);
    EXPECT_DOUBLE_EQ(b[0].real(), 8.0);
    // Changing a value uncommits.
    ASSERT_EQ(DftiSetValue(d, DFTI_BACKWARD_SCALE, 0.5), 0);
    EXPECT_NE(DftiComputeBackward(d, a.data(), b.data()), 0);
    double scale = 0;
    ASSERT_EQ(DftiGetValue(d, DFTI_BACKWARD_SCALE, &scale), 0);
    EXPECT_EQ(scale, 0.5);
    engine::FailCall(Call::kFree);
    EXPECT_NE(DftiFreeDescriptor(&d), 0);
    EXPECT_NE(d, nullptr);
    const engine::Counters c = engine::GetCounters();
    EXPECT_EQ(c.creates, 1);
    EXPECT_EQ(c.commits, 1);
    EXPECT_EQ(c.computes, 1);
    EXPECT_EQ(DftiFreeDescriptor(&d), 0);
    EXPECT_EQ(engine::GetCounters().frees, 1);
}

}  // namespace
}  // namespace fennel::test

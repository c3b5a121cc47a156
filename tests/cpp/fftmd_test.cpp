// The 2D, 3D and multichannel 2D FFT families against a naive DFT, their
// edge cases, and their failure tables with the state of output, workspace
// and plan afterwards.
#include <functional>
#include <sstream>

#include "support.h"
#include "transforms/spectrum2d.h"

namespace fennel::test {
namespace {

using LC = std::complex<long double>;
using Dims = std::vector<int32_t>;

// ---- reference: naive transforms along chosen axes of a row-major block ----

int64_t Count(const Dims &d) {
    int64_t c = 1;
    for (int32_t v : d) c *= v;
    return c;
}

// Elements before and after axis a.
void Around(const Dims &d, size_t a, int64_t &outer, int64_t &inner) {
    outer = inner = 1;
    for (size_t i = 0; i < a; ++i) outer *= d[i];
    for (size_t i = a + 1; i < d.size(); ++i) inner *= d[i];
}

// x (sizes from) cropped or zero-padded to sizes to.
std::vector<LC> Resized(const std::vector<LC> &x, const Dims &from, const Dims &to) {
    std::vector<LC> y(Count(to));
    for (int64_t i = 0; i < Count(to); ++i) {
        int64_t rest = i, src = 0, scale = 1;
        bool inside = true;
        for (size_t a = to.size(); a-- > 0;) {
            const int64_t k = rest % to[a];
            rest /= to[a];
            inside = inside && k < from[a];
            src += k * scale;
            scale *= from[a];
        }
        if (inside) y[i] = x[src];
    }
    return y;
}

// Transforms (sign -1 forward) and optionally centres along one axis.
std::vector<LC> AlongAxis(std::vector<LC> x, const Dims &d, size_t a, int sign, bool centre) {
    int64_t outer, inner;
    Around(d, a, outer, inner);
    const int32_t n = d[a];
    for (int64_t o = 0; o < outer; ++o)
        for (int64_t i = 0; i < inner; ++i) {
            std::vector<LC> line(n);
            for (int32_t k = 0; k < n; ++k) line[k] = x[(o * n + k) * inner + i];
            if (sign != 0) line = NaiveDft(line, sign);
            for (int32_t k = 0; k < n; ++k)
                x[(o * n + k) * inner + i] = centre ? line[(k - n / 2 + n) % n] : line[k];
        }
    return x;
}

// Expects got == ref within a tolerance for `points`-point transforms of
// unit-scale data.
template <class R, class C>
void ExpectNear(const std::vector<C> &got, const std::vector<LC> &ref, size_t points,
                const std::string &what) {
    ASSERT_EQ(got.size(), ref.size()) << what;
    const double tol = Tolerance<R>(points) * std::sqrt(static_cast<double>(points)) * 2;
    for (size_t k = 0; k < got.size(); ++k)
        ASSERT_NEAR(std::abs(Widen(got[k]) - ref[k]), 0.0, tol) << what << " k=" << k;
}

std::string Describe(const Dims &d, const Dims &L, int shift) {
    std::ostringstream s;
    s << "dims";
    for (int32_t v : d) s << ' ' << v;
    s << " L";
    for (int32_t v : L) s << ' ' << v;
    s << " shift " << shift;
    return s.str();
}

template <class T>
class FFTMdTest : public HostTest {
   protected:
    using R = typename Traits<T>::Real;
    using C = typename Traits<T>::Complex;

    // The 2D or 3D forward with sizes in array order.
    static int32_t Forward(const Array<T> &in, Array<C> &out, const Dims &L, int shift,
                           FDArrayHandle ws, FDPlanHandle *plan) {
        if (L.size() == 2) return Fn<T>::fwd2(in.h(), out.h(), L[0], L[1], shift, ws, plan);
        return Fn<T>::fwd3(in.h(), out.h(), L[1], L[2], L[0], shift, ws, plan);
    }
    static int32_t Inverse(const Array<C> &in, Array<T> &out, int shift, FDArrayHandle ws,
                           FDPlanHandle *plan) {
        if (in.dims().size() == 2) return Fn<T>::inv2(in.h(), out.h(), shift, ws, plan);
        return Fn<T>::inv3(in.h(), out.h(), shift, ws, plan);
    }
};

using ElementTypes = ::testing::Types<float, double, cfloat, cdouble>;
TYPED_TEST_SUITE(FFTMdTest, ElementTypes);

struct MdCase {
    Dims dims;
    Dims requested;  // array order; <= 0 keeps the input's size
};
const MdCase kMdCases[] = {
    {{1, 1}, {0, 0}},       {{1, 8}, {0, 0}},        {{5, 1}, {0, 0}},      {{1, 12}, {0, 15}},
    {{4, 6}, {0, 0}},       {{7, 5}, {0, 0}},        {{3, 9}, {5, 4}},      // pad rows, crop columns
    {{6, 4}, {3, -1}},      {{4, 7}, {6, 10}},       {{5, 5}, {2, 3}},      // crop, pad, crop both
    {{2, 2}, {0, 0}},       {{5, 8}, {0, 0}},        {{7, 9}, {0, 0}},
    {{1, 1, 1}, {0, 0, 0}}, {{2, 3, 4}, {0, 0, 0}},  {{3, 5, 2}, {0, 0, 0}},  {{1, 3, 4}, {0, 0, 0}},
    {{3, 4, 5}, {0, 0, 0}}, {{4, 5, 6}, {0, 0, 0}},
    {{3, 4, 5}, {6, 0, 0}},  // pages only: the (0, 0, 2P) call
    {{4, 3, 6}, {2, 5, 3}}, {{2, 6, 5}, {3, 4, 7}},  {{5, 2, 3}, {1, 1, 1}},  {{1, 5, 6}, {0, 7, 0}},
};

// Forward against the naive DFT; the inverse of an unpadded spectrum returns
// the input and leaves the spectrum alone.
TYPED_TEST(FFTMdTest, ForwardMatchesNaiveDftAndInverseReturnsTheInput) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    using R = typename TestFixture::R;
    Array<C> out2({0, 0}), out3({0, 0, 0});
    Array<T> ws;
    FDPlanHandle plan2 = nullptr, plan3 = nullptr, inv = nullptr;
    unsigned seed = 1;
    for (const MdCase &c : kMdCases) {
        const bool three = c.dims.size() == 3;
        Filled<T> in(c.dims, ++seed);
        const auto x = in.values();
        Dims L = c.dims;
        for (size_t a = 0; a < L.size(); ++a)
            if (c.requested[a] > 0) L[a] = c.requested[a];
        for (int shift : {0, 1}) {
            Array<C> &out = three ? out3 : out2;
            ASSERT_EQ(TestFixture::Forward(in, out, c.requested, shift, ws.h(), three ? &plan3 : &plan2),
                      STATUS_OK);
            const std::string what = Describe(c.dims, L, shift);
            ASSERT_EQ(out.dims(), L) << what;
            EXPECT_TRUE(ws.empty()) << what;
            EXPECT_EQ(in.values(), x) << "input modified: " << what;
            auto ref = Resized(Widened(x), c.dims, L);
            for (size_t a = 0; a < L.size(); ++a) ref = AlongAxis(ref, L, a, -1, shift != 0);
            const auto got = out.values();
            ExpectNear<R>(got, ref, static_cast<size_t>(Count(L)), what);
            if constexpr (!Traits<T>::kComplex) {
                if (!shift) {  // the expansion is an exact conjugate mirror
                    const int32_t P = three ? L[0] : 1, Rr = L[L.size() - 2], Cc = L.back();
                    for (int32_t p = 0; p < P; ++p)
                        for (int32_t r = 0; r < Rr; ++r)
                            for (int32_t k = 1; k <= (Cc - 1) / 2; ++k) {
                                const C a = got[(static_cast<int64_t>(p) * Rr + r) * Cc + Cc - k];
                                const C b = got[(static_cast<int64_t>((P - p) % P) * Rr + (Rr - r) % Rr) * Cc + k];
                                EXPECT_EQ(a.real(), b.real());
                                EXPECT_EQ(a.imag(), R(-0.0) - b.imag());
                            }
                }
            }
            if (L != c.dims) continue;
            Array<T> back(Dims(L.size(), 0), typename Array<T>::Shape{});
            ASSERT_EQ(TestFixture::Inverse(out, back, shift, ws.h(), &inv), STATUS_OK);
            EXPECT_TRUE(ws.empty());
            EXPECT_EQ(out.values(), got) << "input modified: " << what;
            ASSERT_EQ(back.dims(), L);
            ExpectNear<R>(back.values(), Widened(x), static_cast<size_t>(Count(L)), what + " round trip");
        }
    }
    EXPECT_EQ(FreeMKLDftiDescH(&plan2), STATUS_OK);
    EXPECT_EQ(FreeMKLDftiDescH(&plan3), STATUS_OK);
    EXPECT_EQ(FreeMKLDftiDescH(&inv), STATUS_OK);
}

// ---- multichannel ---------------------------------------------------------

TYPED_TEST(FFTMdTest, MultichannelMatchesPerChannelDftAndRoundTrips) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    using R = typename TestFixture::R;
    FDPlanHandle fwd = nullptr, inv = nullptr;
    Array<C> out({0, 0});
    Array<T> back({0, 0}), ws;
    // The plan follows the shape: 3 channels, then 1 of the same length.
    for (const Dims &d : {Dims{3, 8}, Dims{1, 8}, Dims{8, 1}, Dims{5, 7}, Dims{6, 4}}) {
        Filled<T> in(d, 11);
        const auto x = Widened(in.values());
        for (int orientation : {0, 1}) {
            const size_t axis = orientation == 0 ? 1 : 0;
            const int32_t n = d[axis];
            for (int32_t fft_size : {0, n / 2, n + 3}) {
                const int32_t L = fft_size > 0 ? fft_size : n;
                if (L == 0) continue;
                Dims Ld = d;
                Ld[axis] = L;
                for (int shift : {0, 1}) {
                    const std::string what = Describe(d, Ld, shift) + " orientation " + std::to_string(orientation);
                    ASSERT_EQ(Fn<T>::fwdm(in.h(), out.h(), fft_size, shift, orientation, ws.h(), &fwd), STATUS_OK);
                    ASSERT_EQ(out.dims(), Ld) << what;
                    EXPECT_TRUE(ws.empty());
                    const auto ref = AlongAxis(Resized(x, d, Ld), Ld, axis, -1, shift != 0);
                    ExpectNear<R>(out.values(), ref, static_cast<size_t>(L), what);
                    if (L != n) continue;
                    ASSERT_EQ(Fn<T>::invm(out.h(), back.h(), shift, orientation, ws.h(), &inv), STATUS_OK);
                    EXPECT_TRUE(ws.empty());
                    ExpectNear<R>(back.values(), x, static_cast<size_t>(n), what + " round trip");
                }
            }
        }
    }
    FreeMKLDftiDescH(&fwd);
    FreeMKLDftiDescH(&inv);
}

TYPED_TEST(FFTMdTest, MultichannelRefusesOtherOrientations) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    Filled<T> in({3, 4}, 1);
    Array<T> back({2, 2});
    Filled<C> spectrum({3, 4}, 2);
    Array<C> out({2, 2});
    Array<T> ws({3});
    FDPlanHandle plan = nullptr;
    ASSERT_EQ(Fn<T>::fwdm(in.h(), out.h(), 0, 0, 0, ws.h(), &plan), STATUS_OK);
    const FDPlanHandle held = plan;
    for (int32_t orientation : {-1, 2, 7}) {
        EXPECT_EQ(Fn<T>::fwdm(in.h(), out.h(), 0, 0, orientation, ws.h(), &plan), STATUS_BAD_SELECTOR);
        EXPECT_TRUE(out.empty());
        EXPECT_EQ(Fn<T>::invm(spectrum.h(), back.h(), 1, orientation, ws.h(), &plan), STATUS_BAD_SELECTOR);
        EXPECT_TRUE(back.empty());
        EXPECT_EQ(ws.dims(), Dims{3});
        EXPECT_EQ(plan, held);
    }
    // An empty input is reported before the selector.
    Array<T> none({0, 4});
    EXPECT_EQ(Fn<T>::fwdm(none.h(), out.h(), 0, 0, 5, ws.h(), &plan), STATUS_EMPTY_ARRAY);
    FreeMKLDftiDescH(&plan);
}

// ---- failure tables -----------------------------------------------------------

TYPED_TEST(FFTMdTest, FailureTables) {
    using T = TypeParam;
    using C = typename TestFixture::C;
    // Forwards that pad (rows, pages, channels), inverses with shift.
    RunFailureTable<T, C>(Simple([](auto in, auto out, auto ws, auto plan) {
                              int32_t d[2] = {};
                              FennelHostArrayDims(in, 2, d);
                              return Fn<T>::fwd2(in, out, d[0] + 2, d[1], 1, ws, plan);
                          }),
                          {4, 5}, {3, 3});
    RunFailureTable<C, T>(Simple([](auto in, auto out, auto ws, auto plan) { return Fn<T>::inv2(in, out, 1, ws, plan); }),
                          {4, 5}, {3, 3});
    RunFailureTable<T, C>(Simple([](auto in, auto out, auto ws, auto plan) {
                              int32_t d[3] = {};
                              FennelHostArrayDims(in, 3, d);
                              return Fn<T>::fwd3(in, out, 0, 0, d[0] * 2, 1, ws, plan);
                          }),
                          {2, 3, 4}, {2, 2, 2});
    RunFailureTable<C, T>(Simple([](auto in, auto out, auto ws, auto plan) { return Fn<T>::inv3(in, out, 1, ws, plan); }),
                          {2, 3, 4}, {2, 2, 2});
    for (int orientation : {0, 1}) {
        SCOPED_TRACE("multichannel, orientation " + std::to_string(orientation));
        RunFailureTable<T, C>(Simple([orientation](auto in, auto out, auto ws, auto plan) {
                                  int32_t d[2] = {};
                                  FennelHostArrayDims(in, 2, d);
                                  return Fn<T>::fwdm(in, out, d[1 - orientation] + 3, 1, orientation, ws, plan);
                              }),
                              {4, 5}, {3, 3});
        RunFailureTable<C, T>(Simple([orientation](auto in, auto out, auto ws, auto plan) {
                                  return Fn<T>::invm(in, out, 1, orientation, ws, plan);
                              }),
                              {4, 5}, {3, 3});
    }
}

// The in-place expansion of a packed half spectrum, on one thread and
// shared by two, against the full spectrum built out of place: shapes that
// take the staged path (odd and even columns, 2D and 3D mirrors; one large
// enough for the streaming stores, one below the size that two threads
// share) and one that does not.
TEST(ExpandPackedTest, MatchesOutOfPlaceExpansionOnOneAndTwoThreads) {
    struct Shape { ptrdiff_t pages, rows; int32_t cols; };
    for (const Shape &sh : {Shape{1, 2048, 256}, Shape{1, 2100, 257}, Shape{32, 129, 130},
                            Shape{128, 64, 64}, Shape{1, 2, 300000}, Shape{3, 5, 6},
                            Shape{64, 64, 64}, Shape{97, 128, 128}}) {
        const ptrdiff_t Q = sh.pages * sh.rows, half = sh.cols / 2 + 1;
        auto mirror = [&sh](ptrdiff_t q) {
            const ptrdiff_t p = q / sh.rows, r = q - p * sh.rows;
            return (p == 0 ? 0 : sh.pages - p) * sh.rows + (r == 0 ? 0 : sh.rows - r);
        };
        std::mt19937 rng(7);
        std::uniform_real_distribution<double> u(-1, 1);
        std::vector<cdouble> packed(static_cast<size_t>(Q * half)), want(static_cast<size_t>(Q * sh.cols));
        for (cdouble &v : packed) v = {u(rng), u(rng)};
        for (ptrdiff_t q = 0; q < Q; ++q)
            for (int32_t k = 0; k < sh.cols; ++k) {
                const bool low = k < half;
                const cdouble v = packed[static_cast<size_t>((low ? q : mirror(q)) * half + (low ? k : sh.cols - k))];
                want[static_cast<size_t>(q * sh.cols + k)] = low ? v : cdouble(v.real(), -0.0 - v.imag());
            }
        for (int threads : {1, 2}) {
            std::vector<cdouble> X(want.size());
            std::copy(packed.begin(), packed.end(), X.begin());
            ExpandPacked(X.data(), Q, sh.cols, mirror, threads);
            EXPECT_EQ(std::memcmp(X.data(), want.data(), sizeof(cdouble) * want.size()), 0)
                << sh.pages << " x " << sh.rows << " x " << sh.cols << ", " << threads << " threads";
        }
    }
}

// One full spectrum row from its own bins and its mirror's, with and without
// the streaming stores, against the definition bit for bit (signed zeros
// included): even columns with an odd and an even half, odd columns.
template <class C>
void CheckWriteFullRow() {
    using R = typename C::value_type;
    for (int32_t cols : {2, 3, 6, 8, 64, 65, 130}) {
        const int32_t half = cols / 2 + 1;
        std::vector<C> own(static_cast<size_t>(half)), mirror(static_cast<size_t>(half));
        for (int32_t k = 0; k < half; ++k) {
            own[k] = C(R(k) - R(0.5), k % 3 == 0 ? R(0.0) : R(k));
            mirror[k] = C(R(-k), k % 2 == 0 ? R(0.0) : R(-0.0));
        }
        std::vector<C> want(static_cast<size_t>(cols));
        for (int32_t k = 0; k < cols; ++k)
            want[k] = k < half ? own[k] : C(mirror[cols - k].real(), R(-0.0) - mirror[cols - k].imag());
        for (bool stream : {false, true}) {
            alignas(64) C got[130];
            WriteFullRow(got, own.data(), mirror.data(), cols, stream);
            EXPECT_EQ(std::memcmp(got, want.data(), sizeof(C) * want.size()), 0)
                << sizeof(R) << "-byte components, " << cols << " columns, stream " << stream;
        }
    }
}

TEST(WriteFullRowTest, MatchesTheDefinitionWithAndWithoutStreaming) {
    CheckWriteFullRow<cfloat>();
    CheckWriteFullRow<cdouble>();
}

// Real 3D transforms large enough to run on two threads, which the engine
// takes apart by pages and by pairs of rows and writes out with the mirrors
// (streaming from 2 MB), against the complex transform of the same data:
// even and odd sizes, rows of an odd and an even half, one centred.  Every
// placement of the blocks (copies for a misaligned input, plain stores for a
// misaligned output) and the second call on the kept plan give the same bits.
template <class T>
void CheckLargeReal3D() {
    using C = typename Traits<T>::Complex;
    struct Case { Dims dims; int shift; };
    for (const Case &c : {Case{{64, 64, 64}, 0}, Case{{9, 171, 171}, 0}, Case{{8, 130, 256}, 1},
                         Case{{9, 512, 64}, 0}}) {
        const std::string what = Describe(c.dims, c.dims, c.shift) + (sizeof(T) == 4 ? " float" : " double");
        Filled<T> in(c.dims, 3);
        Array<C> complexIn(c.dims, typename Array<C>::Shape{}), ref({0, 0, 0});
        for (int64_t i = 0; i < in.count(); ++i) complexIn.data()[i] = C(in.data()[i], 0);
        Array<C> ws;
        FDPlanHandle refPlan = nullptr, plan = nullptr;
        ASSERT_EQ(Fn<C>::fwd3(complexIn.h(), ref.h(), 0, 0, 0, c.shift, ws.h(), &refPlan), STATUS_OK);
        std::vector<C> first;
        for (int32_t placement : {0, static_cast<int32_t>(sizeof(T)), 0}) {
            FennelHostSetPlacement(placement);
            Filled<T> x(c.dims, 3);
            Array<C> out({0, 0, 0});
            ASSERT_EQ(Fn<T>::fwd3(x.h(), out.h(), 0, 0, 0, c.shift, ws.h(), &plan), STATUS_OK) << what;
            if (first.empty()) {
                first = out.values();
                ExpectNear<typename Traits<T>::Real>(first, Widened(ref.values()),
                                                     static_cast<size_t>(Count(c.dims)), what);
            } else {
                EXPECT_TRUE(out.values() == first) << what << ", placement " << placement;
            }
        }
        FennelHostSetPlacement(0);
        FreeMKLDftiDescH(&plan);
        FreeMKLDftiDescH(&refPlan);
    }
}

class LargeReal3DTest : public HostTest {};

TEST_F(LargeReal3DTest, MatchesTheComplexTransformAtEveryPlacement) {
    CheckLargeReal3D<float>();
    CheckLargeReal3D<double>();
}

}  // namespace
}  // namespace fennel::test

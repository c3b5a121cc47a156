// Shared helpers of the C++ tests: host arrays with RAII, random data, a
// naive DFT, and a fixture that checks nothing leaks.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <random>
#include <vector>

#include "dft/engine/dfti.h"
#include "fennel_dsp.h"
#include "fennel_host.h"
#include "frame/types.h"

namespace fennel::test {

template <class T> constexpr int32_t kCode = Traits<T>::kTypeCode;

// An owned host array of element type T (type code by T).
template <class T>
class Array {
   public:
    // Array<T>() is 1D and empty; Array<T>({rows, cols}) has the given sizes
    // (zeroed); Array<T>(values) is 1D with a copy of the values.
    Array() : Array({0}) {}
    Array(std::initializer_list<int32_t> dims) : Array(std::vector<int32_t>(dims), Shape{}) {}
    struct Shape {};
    Array(const std::vector<int32_t> &dims, Shape) : rank_(static_cast<int32_t>(dims.size())) {
        handle_ = FennelHostNewArray(kCode<T>, rank_, dims.data());
    }
    explicit Array(const std::vector<T> &values)
        : Array({static_cast<int32_t>(values.size())}) {
        if (!values.empty()) std::memcpy(data(), values.data(), values.size() * sizeof(T));
    }
    ~Array() { FennelHostFreeArray(handle_); }
    Array(const Array &) = delete;
    Array &operator=(const Array &) = delete;

    FDArrayHandle h() const { return handle_; }
    T *data() const { return static_cast<T *>(FennelHostArrayData(handle_, kCode<T>, rank_)); }
    std::vector<int32_t> dims() const {
        std::vector<int32_t> d(rank_);
        FennelHostArrayDims(handle_, rank_, d.data());
        return d;
    }
    int64_t count() const {
        int64_t c = 1;
        for (int32_t d : dims()) c *= d;
        return c;
    }
    bool empty() const {
        for (int32_t d : dims())
            if (d != 0) return false;
        return true;
    }
    std::vector<T> values() const {
        std::vector<T> v(static_cast<size_t>(count()));
        if (!v.empty()) std::memcpy(v.data(), data(), v.size() * sizeof(T));
        return v;
    }

   private:
    int32_t rank_;
    FDArrayHandle handle_;
};

// The exports of one element type, by family.
template <class T> struct Fn;
#define FENNEL_TEST_EXPORTS(T, p, iir_p) \
    template <> struct Fn<T> { \
        static constexpr auto fwd1 = p##1DFFTH; \
        static constexpr auto inv1 = p##1DInvFFTH; \
        static constexpr auto fwd2 = p##2DFFTH; \
        static constexpr auto inv2 = p##2DInvFFTH; \
        static constexpr auto fwd3 = p##3DFFTH; \
        static constexpr auto inv3 = p##3DInvFFTH; \
        static constexpr auto fwdm = p##2DMultiChFFTH; \
        static constexpr auto invm = p##2DInvMultiChFFTH; \
        static constexpr auto power = p##PowerSpectrumH; \
        static constexpr auto autop = p##AutoPowerSpectrumH; \
        static constexpr auto cross = p##CrossPowerH; \
        static constexpr auto cross_spectrum = p##CrossPowerSpectrumH; \
        static constexpr auto autocorr = p##1DAutoCorrelationH; \
        static constexpr auto conv2 = p##2DConvolutionH; \
        static constexpr auto corr2 = p##2DCorrelationH; \
        static constexpr auto auto2 = p##2DAutoCorrelationH; \
        static constexpr auto allCos = p##AllCosWinH; \
        static constexpr auto symm = p##SymmWinH; \
        static constexpr auto gauss = p##GaussWinH; \
        static constexpr auto kaiser = p##KaiserWinH; \
        static constexpr auto triangle = p##TriangleWinH; \
        static constexpr auto iir = iir_p##IIRDirectFilterH; \
        static constexpr auto decimate = p##DecimateH; \
        static constexpr auto upsample = p##UpsampleH; \
        static constexpr decltype(&p##ResampleC2CH) resample[2] = {p##ResampleC2CH, p##ResampleMultiChC2CH}; \
    };
FENNEL_TEST_EXPORTS(float, s, ss)
FENNEL_TEST_EXPORTS(double, d, dd)
FENNEL_TEST_EXPORTS(cfloat, c, cs)
FENNEL_TEST_EXPORTS(cdouble, z, zd)
#undef FENNEL_TEST_EXPORTS

// The exports that take real data only.
template <class T> struct RealFn;
#define FENNEL_TEST_REAL_EXPORTS(T, p) \
    template <> struct RealFn<T> { \
        static constexpr auto dct = p##1DDCTH; \
        static constexpr auto dst = p##1DDSTH; \
        static constexpr auto idct = p##1DInvDCTH; \
        static constexpr auto idst = p##1DInvDSTH; \
        static constexpr auto dct2 = p##2DDCTH; \
        static constexpr auto dst2 = p##2DDSTH; \
        static constexpr auto idct2 = p##2DInvDCTH; \
        static constexpr auto idst2 = p##2DInvDSTH; \
        static constexpr auto fir = p##FIRWindowedCoefH; \
    };
FENNEL_TEST_REAL_EXPORTS(float, s)
FENNEL_TEST_REAL_EXPORTS(double, d)
#undef FENNEL_TEST_REAL_EXPORTS

template <class T>
std::vector<T> Random(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<T> v(n);
    for (auto &x : v) {
        if constexpr (Traits<T>::kComplex)
            x = T(static_cast<typename T::value_type>(u(rng)), static_cast<typename T::value_type>(u(rng)));
        else
            x = static_cast<T>(u(rng));
    }
    return v;
}

// Naive DFT in long double: sign -1 forward, +1 backward (unscaled).
inline std::vector<std::complex<long double>> NaiveDft(const std::vector<std::complex<long double>> &x,
                                                       int sign) {
    const size_t n = x.size();
    std::vector<std::complex<long double>> y(n);
    const long double pi = 3.141592653589793238462643383279502884L;
    for (size_t k = 0; k < n; ++k) {
        std::complex<long double> s = 0;
        for (size_t j = 0; j < n; ++j) {
            const long double a = sign * 2 * pi * static_cast<long double>((j * k) % n) / n;
            s += x[j] * std::complex<long double>(std::cos(a), std::sin(a));
        }
        y[k] = s;
    }
    return y;
}

template <class T>
std::complex<long double> Widen(const T &v) {
    if constexpr (Traits<T>::kComplex)
        return {static_cast<long double>(v.real()), static_cast<long double>(v.imag())};
    else
        return {static_cast<long double>(v), 0.0L};
}

template <class T>
std::vector<std::complex<long double>> Widened(const std::vector<T> &v) {
    std::vector<std::complex<long double>> w(v.size());
    for (size_t i = 0; i < v.size(); ++i) w[i] = Widen(v[i]);
    return w;
}

// An array of the given sizes holding random values.
template <class T>
struct Filled : Array<T> {
    Filled(const std::vector<int32_t> &dims, unsigned seed) : Array<T>(dims, typename Array<T>::Shape{}) {
        const auto v = Random<T>(static_cast<size_t>(this->count()), seed);
        if (!v.empty()) std::memcpy(this->data(), v.data(), v.size() * sizeof(T));
    }
};

// Tolerance for an FFT of n points in precision R relative to the signal's
// scale.
template <class R>
double Tolerance(size_t n) {
    const double eps = std::is_same_v<R, float> ? 1.2e-7 : 2.3e-16;
    return 16.0 * eps * std::log2(static_cast<double>(n) + 2.0) + eps;
}

// Resets the host's controls and checks at the end that the test left no
// arrays, scratch blocks or descriptors behind.
class HostTest : public ::testing::Test {
   protected:
    void SetUp() override {
        FennelHostReset();
        engine::ClearFaults();
        engine::ResetCounters();
        arrays_ = FennelHostLiveArrays();
        ptrs_ = FennelHostLivePtrs();
        live_ = engine::GetCounters().live;
    }
    void TearDown() override {
        FennelHostReset();
        engine::ClearFaults();
        EXPECT_EQ(FennelHostLivePtrs(), ptrs_) << "scratch blocks leaked";
        EXPECT_EQ(engine::GetCounters().live, live_) << "descriptors leaked";
        EXPECT_EQ(FennelHostLiveArrays(), arrays_) << "host arrays leaked";
    }
    int64_t arrays_ = 0, ptrs_ = 0;
    long live_ = 0;
};

// ---- failure tables of the transform families ----------------------------

// One row: how the failure is provoked and what the call leaves behind.
struct FailureRow {
    const char *name;
    int resize_fault;  // -k: output k's resize fails; k > 0: the kth resize after the outputs
    engine::Call engine_fault;  // kCount: none
    int engine_nth;
    bool empty_input, null_workspace, bad_dt, bad_type;
    bool plan_same_length;  // the plan held before the call fits the call
    int32_t status;
    bool core_ran;  // the workspace is emptied and the plan freed
};

inline const FailureRow kFailureRows[] = {
    {"input empty", 0, engine::Call::kCount, 0, true, false, false, false, true, STATUS_EMPTY_ARRAY, false},
    {"dt 0", 0, engine::Call::kCount, 0, false, false, true, false, true, STATUS_BAD_SAMPLING_INTERVAL, false},
    {"type 2", 0, engine::Call::kCount, 0, false, false, false, true, true, STATUS_BAD_SELECTOR, false},
    {"output resize", -1, engine::Call::kCount, 0, false, false, false, false, true, STATUS_OUT_OF_MEMORY, false},
    {"second output resize", -2, engine::Call::kCount, 0, false, false, false, false, true, STATUS_OUT_OF_MEMORY,
     false},
    {"workspace null", 0, engine::Call::kCount, 0, false, true, false, false, true, STATUS_NO_WORKSPACE, true},
    {"workspace resize", 1, engine::Call::kCount, 0, false, false, false, false, true, STATUS_OUT_OF_MEMORY, true},
    {"query", 0, engine::Call::kQuery, 1, false, false, false, false, true, STATUS_DFTI_SETUP_FAILED, true},
    {"create", 0, engine::Call::kCreate, 1, false, false, false, false, false, STATUS_DFTI_SETUP_FAILED, true},
    {"free outdated", 0, engine::Call::kFree, 1, false, false, false, false, false, STATUS_DFTI_FREE_FAILED, true},
    {"compute", 0, engine::Call::kCompute, 1, false, false, false, false, true, STATUS_DFTI_COMPUTE_FAILED, true},
    {"compute, new plan", 0, engine::Call::kCompute, 1, false, false, false, false, false,
     STATUS_DFTI_COMPUTE_FAILED, true},
    {"second compute", 0, engine::Call::kCompute, 2, false, false, false, false, true, STATUS_DFTI_COMPUTE_FAILED,
     true},
};

// A family under test, called as (input, out0, out1, workspace, dt, type, df, plan).
using FamilyCall = std::function<int32_t(FDArrayHandle, FDArrayHandle, FDArrayHandle, FDArrayHandle, double,
                                         int32_t, double *, FDPlanHandle *)>;
using SimpleCall = std::function<int32_t(FDArrayHandle, FDArrayHandle, FDArrayHandle, FDPlanHandle *)>;
struct Family {
    FamilyCall call;
    int outputs = 1;    // resizes before the workspace's
    int computes = 1;   // transforms per call
    bool has_dt = false;  // takes dt, type and df
    bool empty_reaches_core = false;  // an empty input is refused inside the computing routine
};
// A family called as (input, output, workspace, plan).
inline Family Simple(SimpleCall f) {
    return {[f](FDArrayHandle in, FDArrayHandle out, FDArrayHandle, FDArrayHandle ws, double, int32_t, double *,
                FDPlanHandle *plan) { return f(in, out, ws, plan); }};
}

// Runs every row that applies to the family: the status is the row's, the
// outputs are empty, the workspace emptied and the plan freed once the
// computing routine ran (the plan held before untouched otherwise), df NaN.
// `other` sizes an input whose plan must be rebuilt for `dims`.
template <class In, class Out>
void RunFailureTable(const Family &f, const std::vector<int32_t> &dims, const std::vector<int32_t> &other) {
    for (const FailureRow &row : kFailureRows) {
        if ((row.bad_dt || row.bad_type) && !f.has_dt) continue;
        if (row.engine_fault == engine::Call::kCompute && row.engine_nth > f.computes) continue;
        if (-row.resize_fault > f.outputs) continue;
        SCOPED_TRACE(row.name);
        std::vector<int32_t> empty_dims = dims;
        empty_dims[0] = 0;
        Filled<In> in(row.empty_input ? empty_dims : dims, 1);
        Filled<In> prep(row.plan_same_length && !row.empty_input ? dims : other, 2);
        const std::vector<int32_t> ones(dims.size(), 1), zeros(dims.size(), 0);
        Array<Out> out0(ones, typename Array<Out>::Shape{}), out1(ones, typename Array<Out>::Shape{});
        Array<Out> prep0(zeros, typename Array<Out>::Shape{}), prep1(zeros, typename Array<Out>::Shape{});
        Array<In> prep_ws;
        FDPlanHandle plan = nullptr;
        double df = 0;
        ASSERT_EQ(f.call(prep.h(), prep0.h(), prep1.h(), prep_ws.h(), 1.0, 1, &df, &plan), STATUS_OK);
        const FDPlanHandle before = plan;
        Array<In> ws({2});
        FennelHostReset();
        if (row.resize_fault)
            FennelHostFailResize(row.resize_fault < 0 ? -row.resize_fault : f.outputs + row.resize_fault);
        if (row.engine_fault != engine::Call::kCount) engine::FailCall(row.engine_fault, row.engine_nth);
        EXPECT_EQ(f.call(in.h(), out0.h(), out1.h(), row.null_workspace ? nullptr : ws.h(), row.bad_dt ? 0.0 : 1.0,
                         row.bad_type ? 2 : 1, &df, &plan),
                  row.status);
        engine::ClearFaults();
        FennelHostReset();
        const bool core_ran = row.core_ran || (row.empty_input && f.empty_reaches_core);
        EXPECT_TRUE(out0.empty());
        if (f.outputs == 2) { EXPECT_TRUE(out1.empty()); }
        if (f.has_dt) { EXPECT_TRUE(std::isnan(df)); }
        if (!row.null_workspace) { EXPECT_EQ(ws.empty(), core_ran); }
        EXPECT_EQ(plan, core_ran ? nullptr : before);
        EXPECT_EQ(FreeMKLDftiDescH(&plan), STATUS_OK);
    }
}

}  // namespace fennel::test

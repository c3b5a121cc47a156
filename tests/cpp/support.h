// Shared helpers of the C++ tests: host arrays with RAII, random data, a
// naive DFT, and a fixture that checks nothing leaks.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <initializer_list>
#include <random>
#include <vector>

#include "engine/engine_testing.h"
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

}  // namespace fennel::test

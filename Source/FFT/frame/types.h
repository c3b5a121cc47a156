// Element types and their traits: real type, host type codes and the engine's
// precision and domain for each of the four element types.
#pragma once

#include <complex>
#include <cstdint>

#include "dft/engine/dfti.h"
#include "fennel_dsp.h"

namespace fennel {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

template <class T> struct Traits;

template <> struct Traits<float> {
    using Real = float;
    using Complex = cfloat;
    static constexpr bool kComplex = false;
    static constexpr int32_t kTypeCode = TYPE_CODE_FLOAT;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_FLOAT;
    static constexpr DFTI_CONFIG_VALUE kPrecision = DFTI_SINGLE;
    static constexpr DFTI_CONFIG_VALUE kDomain = DFTI_REAL;
};
template <> struct Traits<double> {
    using Real = double;
    using Complex = cdouble;
    static constexpr bool kComplex = false;
    static constexpr int32_t kTypeCode = TYPE_CODE_DOUBLE;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
    static constexpr DFTI_CONFIG_VALUE kPrecision = DFTI_DOUBLE;
    static constexpr DFTI_CONFIG_VALUE kDomain = DFTI_REAL;
};
template <> struct Traits<cfloat> {
    using Real = float;
    using Complex = cfloat;
    static constexpr bool kComplex = true;
    static constexpr int32_t kTypeCode = TYPE_CODE_COMPLEX_FLOAT;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_FLOAT;
    static constexpr DFTI_CONFIG_VALUE kPrecision = DFTI_SINGLE;
    static constexpr DFTI_CONFIG_VALUE kDomain = DFTI_COMPLEX;
};
template <> struct Traits<cdouble> {
    using Real = double;
    using Complex = cdouble;
    static constexpr bool kComplex = true;
    static constexpr int32_t kTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
    static constexpr DFTI_CONFIG_VALUE kPrecision = DFTI_DOUBLE;
    static constexpr DFTI_CONFIG_VALUE kDomain = DFTI_COMPLEX;
};

}  // namespace fennel

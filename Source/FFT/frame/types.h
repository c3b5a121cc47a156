// Element types and their traits: real type, complex type, whether complex, and
// the host type codes of the four element types.
#pragma once

#include <complex>
#include <cstdint>

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
};
template <> struct Traits<double> {
    using Real = double;
    using Complex = cdouble;
    static constexpr bool kComplex = false;
    static constexpr int32_t kTypeCode = TYPE_CODE_DOUBLE;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
};
template <> struct Traits<cfloat> {
    using Real = float;
    using Complex = cfloat;
    static constexpr bool kComplex = true;
    static constexpr int32_t kTypeCode = TYPE_CODE_COMPLEX_FLOAT;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_FLOAT;
};
template <> struct Traits<cdouble> {
    using Real = double;
    using Complex = cdouble;
    static constexpr bool kComplex = true;
    static constexpr int32_t kTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
    static constexpr int32_t kComplexTypeCode = TYPE_CODE_COMPLEX_DOUBLE;
};

}  // namespace fennel

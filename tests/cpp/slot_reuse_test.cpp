// One plan slot passed to two functions in turn: the second call gives the
// result it gives on a fresh slot (the kept transform of another precision,
// domain, batch or slot kind is rebuilt, never run on the wrong memory), and
// either release frees whatever the slot holds.
#include <functional>

#include "support.h"

namespace fennel::test {
namespace {

// A call on a slot, returning the bytes of its output.
using SlotCall = std::function<std::vector<unsigned char>(FDPlanHandle *)>;

template <class T>
std::vector<unsigned char> Bytes(const Array<T> &a) {
    const std::vector<T> v = a.values();
    const auto *p = reinterpret_cast<const unsigned char *>(v.data());
    return std::vector<unsigned char>(p, p + v.size() * sizeof(T));
}

// The forward 1D FFT of 64 points of element type T.
template <class T>
SlotCall Fft1D(int32_t (*fn)(FDArrayHandle, FDArrayHandle, int32_t, int32_t, FDArrayHandle, FDPlanHandle *)) {
    return [fn](FDPlanHandle *plan) {
        Array<T> x(Random<T>(64, 3));
        Array<typename Traits<T>::Complex> out;
        EXPECT_EQ(fn(x.h(), out.h(), 0, 0, nullptr, plan), STATUS_OK);
        return Bytes(out);
    };
}

// The inverse 1D FFT of 64 bins to element type T.
template <class T>
SlotCall InvFft1D(int32_t (*fn)(FDArrayHandle, FDArrayHandle, int32_t, FDArrayHandle, FDPlanHandle *)) {
    return [fn](FDPlanHandle *plan) {
        Array<typename Traits<T>::Complex> x(Random<typename Traits<T>::Complex>(64, 4));
        Array<T> out;
        EXPECT_EQ(fn(x.h(), out.h(), 0, nullptr, plan), STATUS_OK);
        return Bytes(out);
    };
}

// The 2D DCT of an 8 x 8 block (a two-descriptor record in the slot).
SlotCall Dct2D() {
    return [](FDPlanHandle *plan) {
        Array<double> x({8, 8}), out, ws;
        const std::vector<double> v = Random<double>(64, 5);
        std::memcpy(x.data(), v.data(), sizeof(double) * 64);
        EXPECT_EQ(d2DDCTH(x.h(), out.h(), 0, 0, ws.h(), plan), STATUS_OK);
        return Bytes(out);
    };
}

// The multichannel FFT (or its inverse) of `channels` rows of 64 points.
SlotCall Multichannel(int32_t channels, bool inverse = false) {
    return [channels, inverse](FDPlanHandle *plan) {
        Array<cdouble> x({channels, 64});
        const std::vector<cdouble> v = Random<cdouble>(static_cast<size_t>(channels) * 64, 6);
        std::memcpy(x.data(), v.data(), sizeof(cdouble) * v.size());
        Array<cdouble> out({0, 0}), ws;
        EXPECT_EQ(inverse ? z2DInvMultiChFFTH(x.h(), out.h(), 0, 0, ws.h(), plan)
                          : z2DMultiChFFTH(x.h(), out.h(), 0, 0, 0, nullptr, plan),
                  STATUS_OK);
        return Bytes(out);
    };
}

TEST_F(HostTest, ASlotPassedToAnotherFunctionGivesThatFunctionsResult) {
    struct Row {
        const char *what;
        SlotCall first, second;
    };
    const Row rows[] = {
        {"double then float forward", Fft1D<double>(d1DFFTH), Fft1D<float>(s1DFFTH)},
        {"float then double forward", Fft1D<float>(s1DFFTH), Fft1D<double>(d1DFFTH)},
        {"double then float inverse", InvFft1D<double>(d1DInvFFTH), InvFft1D<float>(s1DInvFFTH)},
        {"real then complex", Fft1D<double>(d1DFFTH), Fft1D<cdouble>(z1DFFTH)},
        {"1D FFT then 2D DCT", Fft1D<double>(d1DFFTH), Dct2D()},
        {"2D DCT then 1D FFT", Dct2D(), Fft1D<double>(d1DFFTH)},
        {"4 channels then 2", Multichannel(4), Multichannel(2)},
        {"2 channels then 4", Multichannel(2), Multichannel(4)},
        {"4 channels forward then inverse", Multichannel(4), Multichannel(4, true)},
        {"1D FFT then 3 channels", Fft1D<cdouble>(z1DFFTH), Multichannel(3)},
    };
    for (const Row &r : rows) {
        for (auto release : {FreeMKLDftiDescH, FreeMKLDCTDSTiDescH}) {
            FDPlanHandle fresh = nullptr, shared = nullptr;
            const auto expected = r.second(&fresh);
            r.first(&shared);
            EXPECT_EQ(r.second(&shared), expected) << r.what;
            EXPECT_EQ(release(&fresh), STATUS_OK) << r.what;
            EXPECT_EQ(release(&shared), STATUS_OK) << r.what;
            EXPECT_EQ(shared, nullptr) << r.what;
        }
    }
    // A failing call releases whatever kind the slot holds.
    FDPlanHandle slot = nullptr;
    Dct2D()(&slot);
    Array<cdouble> X(Random<cdouble>(8, 1));
    Array<double> y;
    EXPECT_EQ(d1DInvFFTH(X.h(), y.h(), 1, nullptr, &slot), STATUS_NO_WORKSPACE);
    EXPECT_EQ(slot, nullptr);
}

}  // namespace
}  // namespace fennel::test

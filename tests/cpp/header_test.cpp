// The header's own helpers: the status texts, and the named selector values
// checked against what the library does with them.
#include <string>
#include <utility>

#include "support.h"

namespace fennel::test {
namespace {

TEST(HeaderTest, StatusTextNamesEveryCode) {
#define ROW(code) std::pair<int32_t, const char *>{code, #code}
    const std::pair<int32_t, const char *> rows[] = {
        ROW(STATUS_OK), ROW(STATUS_OUT_OF_MEMORY), ROW(STATUS_EMPTY_ARRAY), ROW(STATUS_EMPTY_OPERAND),
        ROW(STATUS_BAD_RESAMPLE_RATIO), ROW(STATUS_BAND_EDGE_ABOVE_NYQUIST), ROW(STATUS_BAD_TAP_COUNT),
        ROW(STATUS_BAD_DECIMATION_FACTOR), ROW(STATUS_BAD_FREQUENCY), ROW(STATUS_EVEN_TAPS),
        ROW(STATUS_BAD_PHASE), ROW(STATUS_OUTPUT_TOO_LARGE), ROW(STATUS_BAD_START_OFFSET),
        ROW(STATUS_BAD_SELECTOR), ROW(STATUS_TOO_MANY_TAPS), ROW(STATUS_BAD_SAMPLING_INTERVAL),
        ROW(STATUS_NO_WORKSPACE), ROW(STATUS_DFTI_COMPUTE_FAILED), ROW(STATUS_DFTI_SETUP_FAILED),
        ROW(STATUS_DFTI_FREE_FAILED)};
#undef ROW
    for (const auto &[code, name] : rows)
        EXPECT_EQ(std::string(FDStatusText(code)).rfind(std::string(name) + ": ", 0), 0u) << name;
    EXPECT_STREQ(FDStatusText(-20002), "unknown status");
}

class SelectorTest : public HostTest {};

TEST_F(SelectorTest, WindowAndFilterTypes) {
    const int32_t windows[] = {WINDOW_NONE, WINDOW_HANN, WINDOW_HAMMING, WINDOW_BLACKMAN_HARRIS_3,
                               WINDOW_EXACT_BLACKMAN, WINDOW_BLACKMAN, WINDOW_FLAT_TOP,
                               WINDOW_BLACKMAN_HARRIS_4, WINDOW_BLACKMAN_HARRIS_7, WINDOW_LOW_SIDELOBE,
                               WINDOW_BLACKMAN_NUTTALL, WINDOW_TRIANGLE, WINDOW_KAISER, WINDOW_GAUSSIAN};
    Array<double> ws;
    for (int32_t type : windows) {
        Array<double> x(std::vector<double>(8, 1.0));
        EXPECT_EQ(dSymmWinH(x.h(), type, 2.0, ws.h()), STATUS_OK) << type;
        // The cosine sums are exactly the types below the triangle.
        Array<double> y(std::vector<double>(8, 1.0));
        EXPECT_EQ(dAllCosWinH(y.h(), type, 0, ws.h()), type < WINDOW_TRIANGLE ? STATUS_OK : STATUS_BAD_SELECTOR)
            << type;
    }
    // Two designs tell the four types apart: highpass and bandstop refuse even
    // taps, only band filters refuse f1 >= f2.
    struct FilterRow { int32_t type, even_taps, edges_reversed; };
    const FilterRow filters[] = {{FILTER_LOWPASS, STATUS_OK, STATUS_OK},
                                 {FILTER_HIGHPASS, STATUS_EVEN_TAPS, STATUS_OK},
                                 {FILTER_BANDPASS, STATUS_OK, STATUS_BAD_FREQUENCY},
                                 {FILTER_BANDSTOP, STATUS_EVEN_TAPS, STATUS_BAD_FREQUENCY},
                                 {4, STATUS_BAD_SELECTOR, STATUS_BAD_SELECTOR}};
    for (const auto &row : filters) {
        Array<double> taps;
        EXPECT_EQ(dFIRWindowedCoefH(taps.h(), 1000.0, 100.0, 200.0, 10, row.type, WINDOW_HANN, 0.0, 0, ws.h()),
                  row.even_taps) << row.type;
        EXPECT_EQ(dFIRWindowedCoefH(taps.h(), 1000.0, 200.0, 100.0, 11, row.type, WINDOW_HANN, 0.0, 0, ws.h()),
                  row.edges_reversed) << row.type;
    }
}

TEST_F(SelectorTest, ConvolutionCorrelationAndSpectrumSelectors) {
    Array<double> x(std::vector<double>(4, 1.0)), y(std::vector<double>(4, 1.0)), out, full, fft;
    FDPlanHandle plan = nullptr, spectrum_plan = nullptr, channel_plan = nullptr;  // one per function
    const std::pair<int32_t, int32_t> modes[] = {{OUTPUT_FULL, 7}, {OUTPUT_SAME, 4}, {OUTPUT_VALID, 1}};
    for (int32_t algorithm : {ALGORITHM_DIRECT, ALGORITHM_FREQUENCY_DOMAIN})
        for (const auto &[mode, length] : modes) {
            ASSERT_EQ(d1DConvolutionH(x.h(), y.h(), out.h(), mode, algorithm, 0, full.h(), fft.h(), &plan), 0);
            EXPECT_EQ(out.dims()[0], length) << mode;
        }
    // Lag -(N-1) has one product and lag 0 four: (none, unbiased, biased).
    const std::pair<int32_t, std::pair<double, double>> norms[] = {{NORMALIZATION_NONE, {1.0, 4.0}},
                                                                   {NORMALIZATION_UNBIASED, {1.0, 1.0}},
                                                                   {NORMALIZATION_BIASED, {0.25, 1.0}}};
    for (const auto &[norm, expected] : norms) {
        ASSERT_EQ(d1DCorrelationH(x.h(), y.h(), out.h(), ALGORITHM_DIRECT, norm, 0, full.h(), fft.h(), &plan), 0);
        EXPECT_NEAR(out.values()[0], expected.first, 1e-12) << norm;
        EXPECT_NEAR(out.values()[3], expected.second, 1e-12) << norm;
    }
    double df = 0;
    Array<double> signal(std::vector<double>(8, 1.0));
    for (const auto &[type, bins] : {std::pair{SPECTRUM_ONE_SIDED, 5}, std::pair{SPECTRUM_TWO_SIDED, 8}}) {
        ASSERT_EQ(dAutoPowerSpectrumH(signal.h(), out.h(), 1.0, type, &df, fft.h(), &spectrum_plan), 0);
        EXPECT_EQ(out.dims()[0], bins);
    }
    Array<double> matrix({2, 4});
    Array<cdouble> spectra({0, 0});
    for (const auto &[orientation, dims] : {std::pair{ORIENTATION_ROWS, std::vector<int32_t>{2, 5}},
                                            std::pair{ORIENTATION_COLUMNS, std::vector<int32_t>{5, 4}}}) {
        ASSERT_EQ(d2DMultiChFFTH(matrix.h(), spectra.h(), 5, 0, orientation, fft.h(), &channel_plan), 0);
        EXPECT_EQ(spectra.dims(), dims);
    }
    for (FDPlanHandle *slot : {&plan, &spectrum_plan, &channel_plan}) EXPECT_EQ(FreeMKLDftiDescH(slot), 0);
}

}  // namespace
}  // namespace fennel::test

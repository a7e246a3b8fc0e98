// Quantisation to the output word length, with and without TPDF dither.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tools/render/Dither.h"

namespace {

constexpr int32_t kCodes16 = 1 << 16;  // left-justification of a 16-bit word

}  // namespace

TEST(Quantiser, PlainRoundingIsExactOnCodesAndRoundsBetweenThem) {
    Quantiser q(16, false);
    EXPECT_EQ(q.quantise(1000.0 / 32768.0), 1000 * kCodes16);
    EXPECT_EQ(q.quantise(-32768.0 / 32768.0), -32768 * kCodes16);
    EXPECT_EQ(q.quantise(10.4 / 32768.0), 10 * kCodes16);
    EXPECT_EQ(q.quantise(10.6 / 32768.0), 11 * kCodes16);
    EXPECT_EQ(q.quantise(-10.6 / 32768.0), -11 * kCodes16);
    EXPECT_EQ(q.clippedCount(), 0);
}

TEST(Quantiser, WordsAreLeftJustifiedForEveryLength) {
    EXPECT_EQ(Quantiser(8, false).quantise(-0.5), -64 << 24);
    EXPECT_EQ(Quantiser(24, false).quantise(0.25), (1 << 21) << 8);
    EXPECT_EQ(Quantiser(32, false).quantise(-0.5), -(1 << 30));
}

TEST(Quantiser, ClampsAndCountsWhatDoesNotFit) {
    Quantiser q(16, false);
    EXPECT_EQ(q.quantise(1.0), 32767 * kCodes16);
    EXPECT_EQ(q.quantise(-1.5), -32768 * kCodes16);
    EXPECT_EQ(q.quantise(std::numeric_limits<double>::infinity()), 32767 * kCodes16);
    EXPECT_EQ(q.quantise(-std::numeric_limits<double>::infinity()), -32768 * kCodes16);
    EXPECT_EQ(q.clippedCount(), 4);
    Quantiser wide(32, false);
    EXPECT_EQ(wide.quantise(2.0), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(wide.clippedCount(), 1);
}

TEST(Quantiser, NotANumberBecomesSilence) {
    Quantiser q(24, false);
    EXPECT_EQ(q.quantise(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(q.notNumberCount(), 1);
    EXPECT_EQ(q.clippedCount(), 0);
    Quantiser dithered(16, true);
    const int32_t code = dithered.quantise(std::numeric_limits<double>::quiet_NaN()) / kCodes16;
    EXPECT_LE(std::abs(code), 1);
}

TEST(TpdfDither, IsATriangleOverOneLsbEachSide) {
    TpdfDither d;
    constexpr int kDraws = 200000;
    double sum = 0.0, squares = 0.0;
    int inner = 0;  // |x| < 0.5 holds 3/4 of a triangle over (-1, 1)
    for (int k = 0; k < kDraws; ++k) {
        const double x = d.next();
        ASSERT_GT(x, -1.0);
        ASSERT_LT(x, 1.0);
        sum += x;
        squares += x * x;
        inner += std::fabs(x) < 0.5;
    }
    EXPECT_NEAR(sum / kDraws, 0.0, 0.01);
    EXPECT_NEAR(squares / kDraws, 1.0 / 6.0, 0.005);
    EXPECT_NEAR(double(inner) / kDraws, 0.75, 0.01);
}

TEST(Quantiser, DitheredErrorIsUnbiasedAndBounded) {
    Quantiser q(16, true);
    constexpr int kSamples = 100000;
    double sum = 0.0, squares = 0.0;
    for (int k = 0; k < kSamples; ++k) {
        const double lsb = 0.37 + 0.001 * (k % 1000);  // between codes, away from either
        const double error = double(q.quantise(lsb / 32768.0) / kCodes16) - lsb;
        ASSERT_LE(std::fabs(error), 1.5);
        sum += error;
        squares += error * error;
    }
    // Rounding after a triangle of +-1 LSB: no bias, error power 1/12 + 1/6.
    EXPECT_NEAR(sum / kSamples, 0.0, 0.01);
    EXPECT_NEAR(squares / kSamples, 0.25, 0.01);
}

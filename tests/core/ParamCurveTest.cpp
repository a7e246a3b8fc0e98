// The mapping curves between normalised and real values.

#include <gtest/gtest.h>

#include <cmath>

#include "core/ParamTable.h"

namespace {

// Curves that are true inverses of each other: a round trip from any
// normalised value comes back within double rounding.
class ContinuousCurve : public ::testing::TestWithParam<int32_t> {};

TEST_P(ContinuousCurve, RoundTripsOverTheWholeRange) {
    const int32_t curve = GetParam();
    const double min = curve == kCurveLog ? 10.0 : -36.0;
    const double max = curve == kCurveLog ? 22000.0 : 36.0;
    for (int k = 0; k <= 100; ++k) {
        const double n = k / 100.0;
        const double r = curveToReal(curve, min, max, n);
        EXPECT_GE(r, min);
        EXPECT_LE(r, max);
        EXPECT_NEAR(curveToNorm(curve, min, max, r), n, 1e-9) << "curve " << curve << " n " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Curves, ContinuousCurve,
                         ::testing::Values(kCurveLinear, kCurveLog, kCurveSquare, kCurveCube, kCurveSCube,
                                           kCurveFourth));

TEST(ParamCurve, ClosedFormsAtTheMidpoint) {
    EXPECT_DOUBLE_EQ(curveToReal(kCurveLinear, -36, 36, 0.5), 0.0);
    EXPECT_NEAR(curveToReal(kCurveLog, 10, 22000, 0.5), std::sqrt(10.0 * 22000.0), 1e-9);  // geometric mean
    EXPECT_DOUBLE_EQ(curveToReal(kCurveSquare, 0, 8, 0.5), 2.0);
    EXPECT_DOUBLE_EQ(curveToReal(kCurveCube, 0, 8, 0.5), 1.0);
    EXPECT_DOUBLE_EQ(curveToReal(kCurveFourth, 0, 16, 0.5), 1.0);
    EXPECT_DOUBLE_EQ(curveToReal(kCurveSCube, 0, 8, 0.5), 4.0);  // S-curve is flat through its centre
    EXPECT_DOUBLE_EQ(curveToReal(kCurveSCube, 0, 8, 0.75), 8.0 * (0.5 + 0.5 * 0.125));
    EXPECT_DOUBLE_EQ(curveToNorm(kCurveSCube, 0, 8, 0.0), 0.0);
}

TEST(ParamCurve, StepCurvesHitEveryIntegerAndComeBack) {
    for (int r = 0; r <= 8; ++r) EXPECT_EQ(curveToReal(kCurveInt, 0, 8, curveToNorm(kCurveInt, 0, 8, r)), r);
    for (int r = 1; r <= 32; ++r) EXPECT_EQ(curveToReal(kCurveInt, 1, 32, curveToNorm(kCurveInt, 1, 32, r)), r);
    // Norm 1 of an integer curve lands one past max and is clamped back.
    EXPECT_EQ(curveToReal(kCurveInt, 0, 8, 1.0), 8.0);
    // Two choices split at one half, since the curve counts max-min+1 steps.
    EXPECT_EQ(curveToReal(kCurveInt, 0, 1, 0.49), 0.0);
    EXPECT_EQ(curveToReal(kCurveInt, 0, 1, 0.5), 1.0);
}

TEST(ParamCurve, SixesAndTwelvesSnapDownToTheirGrid) {
    // Slope at norm 0.5: floor(6 + 43*0.5 + 0.5) = 28, minus 28 mod 6 = 24.
    EXPECT_EQ(curveToReal(kCurveSixes, 6, 48, 0.5), 24.0);
    for (int k = 0; k <= 100; ++k) {
        const double six = curveToReal(kCurveSixes, 6, 48, k / 100.0);
        EXPECT_EQ(std::fmod(six, 6.0), 0.0);
        const double twelve = curveToReal(kCurveTwelves, 0, 120, k / 100.0);
        EXPECT_EQ(std::fmod(twelve, 12.0), 0.0);
    }
    for (int r = 6; r <= 48; r += 6) EXPECT_EQ(curveToReal(kCurveSixes, 6, 48, curveToNorm(kCurveSixes, 6, 48, r)), r);
}

TEST(ParamCurve, BoolAndFloorTruncate) {
    EXPECT_EQ(curveToReal(kCurveBool, 0, 1, 0.99), 0.0);  // only the very top is on
    EXPECT_EQ(curveToReal(kCurveBool, 0, 1, 1.0), 1.0);
    EXPECT_EQ(curveToReal(kCurveFloor, 0, 10, 0.55), 5.0);
}

TEST(ParamCurve, OctaveIsDeliberatelyNotItsOwnInverse) {
    // Forward: floor(min * 2^floor(log2((max/min)^n))).
    EXPECT_EQ(curveToReal(kCurveOctave, 1, 1024, 0.5), 32.0);
    EXPECT_EQ(curveToReal(kCurveOctave, 1, 1024, 0.45), 16.0);
    // Backward takes the floor of a natural logarithm: ln 32 = 3.47 -> 3.
    EXPECT_NEAR(curveToNorm(kCurveOctave, 1, 1024, 32), 3.0 / std::log(1024.0), 1e-12);
    EXPECT_NE(curveToNorm(kCurveOctave, 1, 1024, 32), 0.5);
}

TEST(ParamCurve, InputsAndResultsAreClamped) {
    EXPECT_EQ(curveToReal(kCurveLinear, -36, 36, -0.5), -36.0);
    EXPECT_EQ(curveToReal(kCurveLinear, -36, 36, 7.0), 36.0);
    EXPECT_EQ(curveToNorm(kCurveLog, 10, 22000, 5), 0.0);
    EXPECT_EQ(curveToNorm(kCurveLog, 10, 22000, 1e9), 1.0);
    EXPECT_EQ(curveToNorm(kCurveLinear, -36, 36, std::nan("")), 0.0);
}

TEST(ParamCurve, UnknownCurveMapsToZeroInsideTheRange) {
    EXPECT_EQ(curveToReal(42, -1, 1, 0.7), 0.0);
    EXPECT_EQ(curveToReal(42, 10, 20, 0.7), 10.0);  // 0 clamped into the range
    EXPECT_EQ(curveToNorm(42, 10, 20, 15), 0.0);
}

TEST(ParamCurve, StepCountsFollowTheCurveKind) {
    EXPECT_EQ(curveStepCount(kCurveBool, 0, 1), 1);
    EXPECT_EQ(curveStepCount(kCurveInt, 0, 8), 9);
    EXPECT_EQ(curveStepCount(kCurveSixes, 6, 48), 8);
    EXPECT_EQ(curveStepCount(kCurveTwelves, 0, 120), 11);
    EXPECT_EQ(curveStepCount(kCurveLog, 10, 22000), 0);
}

}  // namespace
